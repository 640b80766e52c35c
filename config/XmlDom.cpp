#include "config/XmlDom.h"

#include <new>

namespace krn {

HRESULT CreateDomDocument(base::com_ptr<IXMLDOMDocument>& document)
{
    return CoCreateInstance(kClsidDomDocument, nullptr, CLSCTX_ALL, kIidXmlDomDocument, document.put_void());
}

base::unique_bstr MakeBstr(std::wstring_view text)
{
    base::unique_bstr result(text.data(), static_cast<UINT>(text.size()));
    if (!result)
        throw std::bad_alloc();
    return result;
}

void SetStringVariant(base::unique_variant& value, std::wstring_view text)
{
    base::unique_bstr string = MakeBstr(text);
    VARIANT* v = value.put();
    v->vt = VT_BSTR;
    v->bstrVal = string.release();
}

HRESULT QueryElement(IUnknown* node, base::com_ptr<IXMLDOMElement>& element)
{
    if (!node)
        return E_POINTER;
    return node->QueryInterface(kIidXmlDomElement, element.put_void());
}

HRESULT SetTextAttribute(IXMLDOMElement* element, const wchar_t* name, const OptionalText& text)
{
    base::unique_variant value;
    SetStringVariant(value, text ? std::wstring_view(*text) : std::wstring_view());
    return element->setAttribute(MakeBstr(name).get(), value.get());
}

HRESULT GetTextAttribute(IXMLDOMElement* element, const wchar_t* name, OptionalText& text)
{
    base::unique_variant value;
    const HRESULT hr = element->getAttribute(MakeBstr(name).get(), value.put());
    if (hr != S_OK)
        return hr;
    const VARIANT& v = value.get();
    if (v.vt != VT_BSTR)
        return S_FALSE;
    text.emplace(v.bstrVal ? std::wstring(v.bstrVal, SysStringLen(v.bstrVal)) : std::wstring());
    return S_OK;
}

HRESULT CreateElement(IXMLDOMDocument* document, const wchar_t* name, base::com_ptr<IXMLDOMElement>& element)
{
    return document->createElement(MakeBstr(name).get(), element.put());
}

HRESULT AppendChild(IXMLDOMNode* parent, IXMLDOMNode* child)
{
    base::com_ptr<IXMLDOMNode> added;
    return parent->appendChild(child, added.put());
}

} // namespace krn
