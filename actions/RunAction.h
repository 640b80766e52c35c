// "Run application": the watcher starts a program. Its block is a RunParams,
// kept exactly as typed (quotes, %currentdir% and variables are the watcher's
// business).
#pragma once

#include "actions/Action.h"

namespace krn {

struct RunParams {
    OptionalText path;
    OptionalText params;
};

inline const RunParams* AsRunParams(const void* params)
{
    return static_cast<const RunParams*>(params);
}

class RunActionBase : public Action {
public:
    HRESULT CloneParams(void** copy, const void* source) override;
    int CompareParams(const void* left, const void* right) override;
    HRESULT LoadParams(IXMLDOMDocument* document, IXMLDOMNode* node, void** params) override;
    void FreeParams(void* params) override;

protected:
    RunActionBase() : Action(L"Run application", L"Run", false, true) {}
};

class RunAction final : public RunActionBase {
public:
    // `module` holds the Run dialog's template, its cursor, and is the
    // instance its icons are extracted for.
    explicit RunAction(HINSTANCE module) : module_(module) {}

    HRESULT SaveParams(const void* params, IXMLDOMDocument* document, IXMLDOMElement* actions,
                       IXMLDOMElement* element) override;
    HRESULT Reserved1() override { return E_NOTIMPL; }
    HRESULT Reserved2() override { return E_NOTIMPL; }
    HRESULT EditParams(HWND owner, bool isNew, ActionSlot& slot) override;
    HRESULT FillParamsCell(acl::ListView_Cell* cell, const void* params) override;

private:
    HINSTANCE module_;
};

} // namespace krn
