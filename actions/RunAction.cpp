#include "actions/RunAction.h"

#include <shellapi.h>

#include <memory>
#include <utility>

#include "acl/ListView.h"
#include "actions/RunDialog.h"
#include "config/XmlDom.h"

namespace krn {

HRESULT RunAction::SaveParams(const void* params, IXMLDOMDocument*, IXMLDOMElement*, IXMLDOMElement* element)
{
    static const RunParams none;
    const RunParams& block = params ? *AsRunParams(params) : none;
    const HRESULT hr = SetTextAttribute(element, L"Path", block.path);
    if (hr != S_OK)
        return hr;
    return SetTextAttribute(element, L"Params", block.params);
}

HRESULT RunAction::EditParams(HWND owner, bool isNew, ActionSlot& slot)
{
    // A new action starts from an empty block; a block the caller already
    // holds is never replaced (it would be lost).
    if (isNew && slot.params)
        return E_INVALIDARG;
    if (isNew)
        slot.params = new RunParams;
    auto* block = static_cast<RunParams*>(slot.params);
    if (!block)
        return E_POINTER;
    RunDialog dialog(module_);
    dialog.SetParams(block);
    // Anything but OK counts as a cancel, a dialog that could not be created too.
    if (dialog.Run(owner) == ERROR_SUCCESS)
        return S_OK;
    if (!isNew)
        return S_FALSE;
    FreeParams(std::exchange(slot.params, nullptr));
    return E_FAIL;
}

HRESULT RunAction::FillParamsCell(acl::ListView_Cell* cell, const void* params)
{
    if (!cell)
        return E_ABORT;
    const RunParams* block = AsRunParams(params);
    if (!block || !block->path)
        return S_OK;
    // The path is used as it stands: quoted or with variables it names no
    // file, and only the text shows.
    acl::unique_hicon large;
    acl::unique_hicon small;
    const UINT extracted = ExtractIconExW(block->path->c_str(), 0, large.put(), small.put(), 1);
    if (extracted == 0 || extracted == UINT_MAX) {
        // A failed extraction may leave anything in the handles (Wine leaves
        // what was on its stack): they are no icons to show or to destroy.
        large.release();
        small.release();
    }
    large.reset();  // the list shows the small one only
    if (small)
        cell->AddItem(std::make_unique<acl::ListView_Icon>(std::move(small)));
    cell->AddItem(std::make_unique<acl::ListView_Text>(block->path->c_str()));
    return S_OK;
}

} // namespace krn
