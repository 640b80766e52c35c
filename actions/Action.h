// An action kind: one object per kind, kept in the ActionKindRegistry. All
// handling of a slot's parameter block goes through the kind, so nothing else
// ever looks inside a block.
#pragma once

#include <windows.h>
#include <msxml2.h>

#include <string>

#include "acl/Handles.h"
#include "config/FolderEntry.h"

namespace acl {
class ListView_Cell;
}

namespace krn {

class Action {
public:
    Action(const Action&) = delete;
    Action& operator=(const Action&) = delete;

    // Writes the block as attributes of `element`, which the caller attaches
    // to `actions` afterwards.
    virtual HRESULT SaveParams(const void* params, IXMLDOMDocument* document, IXMLDOMElement* actions,
                               IXMLDOMElement* element) = 0;
    virtual ~Action() = default;
    virtual HRESULT CloneParams(void** copy, const void* source) = 0;
    // 0 when equal.
    virtual int CompareParams(const void* left, const void* right) = 0;
    virtual HRESULT LoadParams(IXMLDOMDocument* document, IXMLDOMNode* node, void** params) = 0;
    virtual void FreeParams(void* params) = 0;
    virtual HRESULT Reserved1() = 0;
    virtual HRESULT Reserved2() = 0;
    // Lets the user create (isNew) or change the slot's block in a modal dialog.
    virtual HRESULT EditParams(HWND owner, bool isNew, ActionSlot& slot) = 0;
    // Shows the block in a list-view cell as cell items.
    virtual HRESULT FillParamsCell(acl::ListView_Cell* cell, const void* params) = 0;

    std::wstring displayName;
    OptionalText description;  // no kind sets it
    std::wstring tag;          // the name of the kind's XML element
    acl::unique_hbitmap bitmap;  // stored by the main window after loading it
    bool unique = false;         // at most one slot of this kind per folder
    bool editable = false;       // EditParams has something to edit

protected:
    Action(const wchar_t* displayNameText, const wchar_t* tagText, bool isUnique, bool isEditable)
        : displayName(displayNameText), tag(tagText), unique(isUnique), editable(isEditable)
    {
    }
};

// The block operations of a kind without parameters: every block is null.
class ParameterlessActionBase : public Action {
public:
    HRESULT CloneParams(void** copy, const void* source) override;
    int CompareParams(const void* left, const void* right) override;
    HRESULT LoadParams(IXMLDOMDocument* document, IXMLDOMNode* node, void** params) override;
    void FreeParams(void* params) override;

protected:
    using Action::Action;
};

// The user-facing operations of a kind without parameters.
template <typename Base>
class ParameterlessAction : public Base {
public:
    HRESULT SaveParams(const void*, IXMLDOMDocument*, IXMLDOMElement*, IXMLDOMElement*) override { return S_OK; }
    HRESULT Reserved1() override { return E_NOTIMPL; }
    HRESULT Reserved2() override { return E_NOTIMPL; }
    HRESULT EditParams(HWND, bool, ActionSlot& slot) override
    {
        slot.params = nullptr;
        return S_OK;
    }
    HRESULT FillParamsCell(acl::ListView_Cell*, const void*) override { return S_OK; }
};

} // namespace krn
