// The block operations of "Run application": everything a program needs to read,
// compare and copy the kind's blocks, without the dialog and the list cell
// (RunAction.cpp), so that the watcher reads configurations without them.
#include "actions/RunAction.h"

#include <memory>

#include "config/XmlDom.h"

namespace krn {

HRESULT RunActionBase::CloneParams(void** copy, const void* source)
{
    *copy = nullptr;
    if (!source)
        return S_OK;
    *copy = new RunParams(*AsRunParams(source));
    return S_OK;
}

int RunActionBase::CompareParams(const void* left, const void* right)
{
    if (!left || !right)
        return 1;
    const RunParams& a = *AsRunParams(left);
    const RunParams& b = *AsRunParams(right);
    if (a.path != b.path)
        return 1;
    return a.params != b.params ? 1 : 0;
}

HRESULT RunActionBase::LoadParams(IXMLDOMDocument*, IXMLDOMNode* node, void** params)
{
    *params = nullptr;
    base::com_ptr<IXMLDOMElement> element;
    HRESULT hr = QueryElement(node, element);
    if (FAILED(hr))
        return hr;
    auto block = std::make_unique<RunParams>();
    // An absent attribute is read as an empty text, never as an absent one.
    if (GetTextAttribute(element.get(), L"Path", block->path) != S_OK)
        block->path.emplace();
    if (GetTextAttribute(element.get(), L"Params", block->params) != S_OK)
        block->params.emplace();
    *params = block.release();
    return S_OK;
}

void RunActionBase::FreeParams(void* params)
{
    delete static_cast<RunParams*>(params);
}

} // namespace krn
