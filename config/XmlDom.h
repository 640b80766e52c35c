// The few pieces of the MSXML DOM the configuration file needs. MinGW's import
// libraries lack the MSXML GUIDs, so they are defined here.
#pragma once

#include <windows.h>
#include <msxml2.h>

#include <string_view>

#include "base/Com.h"
#include "config/FolderEntry.h"

namespace krn {

inline constexpr GUID kClsidDomDocument = {0x2933BF90, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
inline constexpr GUID kIidXmlDomDocument = {0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
inline constexpr GUID kIidXmlDomElement = {0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

HRESULT CreateDomDocument(base::com_ptr<IXMLDOMDocument>& document);

// A BSTR for a DOM call; running out of memory here is the program's
// out-of-memory condition, not a status.
base::unique_bstr MakeBstr(std::wstring_view text);

// Makes `value` a string variant holding `text`.
void SetStringVariant(base::unique_variant& value, std::wstring_view text);

HRESULT QueryElement(IUnknown* node, base::com_ptr<IXMLDOMElement>& element);

// Sets a string attribute; an absent text is written as an empty value.
HRESULT SetTextAttribute(IXMLDOMElement* element, const wchar_t* name, const OptionalText& text);

// Reads an attribute as text. S_OK with the text, or the DOM's status (S_FALSE
// when the attribute is absent) with `text` left alone.
HRESULT GetTextAttribute(IXMLDOMElement* element, const wchar_t* name, OptionalText& text);

HRESULT CreateElement(IXMLDOMDocument* document, const wchar_t* name, base::com_ptr<IXMLDOMElement>& element);
HRESULT AppendChild(IXMLDOMNode* parent, IXMLDOMNode* child);

} // namespace krn
