#include "actions/Action.h"

namespace krn {

HRESULT ParameterlessActionBase::CloneParams(void** copy, const void*)
{
    *copy = nullptr;
    return S_OK;
}

int ParameterlessActionBase::CompareParams(const void*, const void*)
{
    return 0;
}

HRESULT ParameterlessActionBase::LoadParams(IXMLDOMDocument*, IXMLDOMNode*, void** params)
{
    *params = nullptr;
    return S_OK;
}

void ParameterlessActionBase::FreeParams(void*) {}

} // namespace krn
