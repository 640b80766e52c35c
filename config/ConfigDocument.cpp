#include "config/ConfigDocument.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>

#include "config/XmlDom.h"

namespace krn {
namespace {

constexpr wchar_t kNewDocumentText[] =
    L"<?xml version=\"1.0\" encoding=\"utf-8\"?><Configuration><Settings/><Folders/></Configuration>";
constexpr wchar_t kConfigVersion[] = L"1.3";

HRESULT SelectNode(IXMLDOMNode* from, const wchar_t* path, base::com_ptr<IXMLDOMNode>& node)
{
    return from->selectSingleNode(MakeBstr(path).get(), node.put());
}

// The element behind the node a list call has just fetched: the call's own
// status when it gave none, S_FALSE for a null node.
HRESULT ElementOfFetched(HRESULT fetched, const base::com_ptr<IXMLDOMNode>& node,
                         base::com_ptr<IXMLDOMElement>& element)
{
    if (fetched != S_OK)
        return fetched;
    if (!node)
        return S_FALSE;
    return QueryElement(node.get(), element);
}

std::uint16_t UnitsFromName(const std::wstring& name)
{
    for (std::uint16_t units = 0; units < kSizeUnitCount; ++units) {
        if (name == LimitUnitNames[units])
            return units;
    }
    return SizeUnit_B;
}

bool IsBlank(wchar_t c)
{
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}

bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

// Copies the digits at `p` to `out`; returns how many there were.
std::size_t TakeDigits(const wchar_t*& p, std::string& out)
{
    std::size_t count = 0;
    for (; IsDigit(*p); ++p, ++count)
        out.push_back(static_cast<char>(*p));
    return count;
}

// Whether a number from_chars found out of range lies above the largest
// double (rather than below the smallest): by the position of its first
// significant digit.
bool AboveRange(const std::string& number)
{
    const std::size_t exponentAt = number.find_first_of("eE");
    const std::string mantissa = number.substr(0, exponentAt);
    long long magnitude = 0;
    if (exponentAt != std::string::npos) {
        std::string_view exponent(number);
        exponent.remove_prefix(exponentAt + 1);
        const bool negative = !exponent.empty() && exponent.front() == '-';
        if (!exponent.empty() && (exponent.front() == '-' || exponent.front() == '+'))
            exponent.remove_prefix(1);
        for (char c : exponent)
            magnitude = std::min(magnitude * 10 + (c - '0'), 1000000LL);
        if (negative)
            magnitude = -magnitude;
    }
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t first = mantissa.find_first_not_of("0.");
    if (first == std::string::npos)
        return false;
    magnitude += first < point ? static_cast<long long>(point - first) : -static_cast<long long>(first - point);
    return magnitude > 0;
}

} // namespace

std::wstring FormatLimitValue(double value)
{
    // Plain decimals cannot say "infinite"; a number beyond every double reads
    // back as one.
    if (std::isinf(value))
        return value > 0 ? L"1e999" : L"-1e999";
    char digits[400];
    const auto result = std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::fixed);
    return std::wstring(digits, result.ptr);
}

double ParseLimitValue(const wchar_t* text)
{
    if (!text)
        return 0.0;
    const wchar_t* p = text;
    while (IsBlank(*p))
        ++p;
    const bool negative = *p == L'-';
    if (*p == L'-' || *p == L'+')
        ++p;
    std::string number;
    std::size_t digits = TakeDigits(p, number);
    if (*p == L'.') {
        number.push_back('.');
        ++p;
        digits += TakeDigits(p, number);
    }
    if (digits == 0)
        return 0.0;
    if ((*p == L'e' || *p == L'E') &&
        (IsDigit(p[1]) || ((p[1] == L'+' || p[1] == L'-') && IsDigit(p[2])))) {
        number.push_back('e');
        ++p;
        if (*p == L'+' || *p == L'-')
            number.push_back(static_cast<char>(*p++));
        TakeDigits(p, number);
    }
    double value = 0.0;
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    if (result.ec == std::errc::result_out_of_range)
        value = AboveRange(number) ? std::numeric_limits<double>::infinity() : 0.0;
    return negative ? -value : value;
}

HRESULT ConfigDocument::NewDocument()
{
    if (!document_) {
        const HRESULT hr = CreateDomDocument(document_);
        if (FAILED(hr))
            return hr;
    }
    VARIANT_BOOL loaded = VARIANT_FALSE;
    HRESULT hr = document_->loadXML(MakeBstr(kNewDocumentText).get(), &loaded);
    if (hr != S_OK)
        return hr;
    base::com_ptr<IXMLDOMNode> settings;
    hr = SelectNode(document_.get(), L"Configuration/Settings", settings);
    if (hr != S_OK)
        return hr;
    base::com_ptr<IXMLDOMElement> version;
    hr = CreateElement(document_.get(), L"ConfigVersion", version);
    if (hr == S_OK)
        hr = SetTextAttribute(version.get(), L"Version", OptionalText(kConfigVersion));
    if (hr == S_OK)
        hr = AppendChild(settings.get(), version.get());
    return hr;
}

HRESULT ConfigDocument::AddFolder(const FolderEntry& entry)
{
    if (!document_)
        return E_POINTER;
    base::com_ptr<IXMLDOMNode> folders;
    HRESULT hr = SelectNode(document_.get(), L"Configuration/Folders", folders);
    if (hr != S_OK)
        return hr;
    base::com_ptr<IXMLDOMElement> folder;
    hr = CreateElement(document_.get(), L"Folder", folder);
    if (hr == S_OK)
        hr = SetTextAttribute(folder.get(), L"Path", entry.path);
    if (hr == S_OK)
        hr = AppendChild(folders.get(), folder.get());
    // From here on a failure leaves a partly written Folder in the tree.
    if (hr == S_OK && (entry.flags & FolderEntry::HasMin))
        hr = AddLimit(folder.get(), L"Min", entry.min);
    if (hr == S_OK && (entry.flags & FolderEntry::HasMax))
        hr = AddLimit(folder.get(), L"Max", entry.max);
    if (hr == S_OK)
        hr = AddActions(folder.get(), entry.actions);
    return hr;
}

HRESULT ConfigDocument::AddLimit(IXMLDOMElement* folder, const wchar_t* name, const SizeLimit& limit)
{
    base::com_ptr<IXMLDOMElement> element;
    HRESULT hr = CreateElement(document_.get(), name, element);
    if (hr == S_OK)
        hr = SetTextAttribute(element.get(), L"Value", FormatLimitValue(limit.value));
    if (hr == S_OK) {
        const wchar_t* units = limit.units < kSizeUnitCount ? LimitUnitNames[limit.units] : LimitUnitNames[0];
        hr = SetTextAttribute(element.get(), L"Units", OptionalText(units));
    }
    if (hr == S_OK)
        hr = SetTextAttribute(element.get(), L"Msg", limit.msg);
    if (hr == S_OK)
        hr = AppendChild(folder, element.get());
    return hr;
}

HRESULT ConfigDocument::AddActions(IXMLDOMElement* folder, const std::vector<ActionSlot>& slots)
{
    base::com_ptr<IXMLDOMElement> actions;
    HRESULT hr = CreateElement(document_.get(), L"Actions", actions);
    if (hr == S_OK)
        hr = AppendChild(folder, actions.get());
    for (auto slot = slots.begin(); hr == S_OK && slot != slots.end(); ++slot) {
        if (!slot->kind)
            continue;  // nothing to name it by
        base::com_ptr<IXMLDOMElement> element;
        hr = CreateElement(document_.get(), slot->kind->tag.c_str(), element);
        if (hr == S_OK)
            hr = slot->kind->SaveParams(slot->params, document_.get(), actions.get(), element.get());
        if (hr == S_OK)
            hr = AppendChild(actions.get(), element.get());
    }
    return hr;
}

HRESULT ConfigDocument::SaveToFile(const wchar_t* path)
{
    if (!document_)
        return E_POINTER;
    base::unique_variant target;
    SetStringVariant(target, path ? path : L"");
    const HRESULT hr = document_->save(target.get());
    if (hr == S_OK)
        document_.reset();
    return hr;
}

HRESULT ConfigDocument::Load(const wchar_t* path)
{
    Close();
    HRESULT hr = CreateDomDocument(document_);
    if (FAILED(hr))
        return hr;
    // The load must be complete when the call returns.
    document_->put_async(VARIANT_FALSE);
    base::unique_variant source;
    SetStringVariant(source, path ? path : L"");
    VARIANT_BOOL loaded = VARIANT_FALSE;
    hr = document_->load(source.get(), &loaded);
    if (hr != S_OK)
        return hr;
    hr = CheckVersion();
    if (hr != S_OK)
        return hr;
    hr = document_->getElementsByTagName(MakeBstr(L"Folder").get(), folders_.put());
    if (hr != S_OK)
        return hr;
    return folders_->reset();
}

// A file without a version is read; one with another version is not.
HRESULT ConfigDocument::CheckVersion()
{
    base::com_ptr<IXMLDOMNodeList> list;
    HRESULT hr = document_->getElementsByTagName(MakeBstr(L"ConfigVersion").get(), list.put());
    if (hr != S_OK)
        return hr;
    base::com_ptr<IXMLDOMNode> node;
    base::com_ptr<IXMLDOMElement> element;
    hr = ElementOfFetched(list->get_item(0, node.put()), node, element);
    if (hr != S_OK)
        return hr;
    base::unique_variant version;
    element->getAttribute(MakeBstr(L"Version").get(), version.put());
    base::unique_variant expected;
    SetStringVariant(expected, kConfigVersion);
    const HRESULT order = VarCmp(&version.get(), &expected.get(), LOCALE_USER_DEFAULT, 0);
    return order == VARCMP_LT || order == VARCMP_GT ? E_ABORT : S_OK;
}

HRESULT ConfigDocument::ReadNextFolder(FolderEntry& entry)
{
    if (!document_ || !folders_)
        return E_ABORT;
    entry.Reset();
    base::com_ptr<IXMLDOMNode> node;
    base::com_ptr<IXMLDOMElement> folder;
    HRESULT hr = ElementOfFetched(folders_->nextNode(node.put()), node, folder);
    if (hr != S_OK)
        return hr;
    hr = GetTextAttribute(folder.get(), L"Path", entry.path);
    if (hr != S_OK)
        return hr;
    hr = ReadLimit(folder.get(), L"Min", FolderEntry::HasMin, entry.min, entry.flags);
    if (SUCCEEDED(hr))
        hr = ReadLimit(folder.get(), L"Max", FolderEntry::HasMax, entry.max, entry.flags);
    if (FAILED(hr))
        return hr;
    // The writer always gives a folder its Actions: a folder without them ends
    // the load, this one and all after it.
    base::com_ptr<IXMLDOMNode> actions;
    hr = SelectNode(folder.get(), L"Actions", actions);
    if (hr != S_OK)
        return hr;
    ReadActions(actions.get(), entry);
    return S_OK;
}

// A limit element sets its flag; one that is not there leaves the limit alone.
HRESULT ConfigDocument::ReadLimit(IXMLDOMElement* folder, const wchar_t* name, std::uint32_t flag, SizeLimit& limit,
                                  std::uint32_t& flags)
{
    base::com_ptr<IXMLDOMNode> node;
    if (SelectNode(folder, name, node) != S_OK)
        return S_OK;
    base::com_ptr<IXMLDOMElement> element;
    const HRESULT hr = QueryElement(node.get(), element);
    if (FAILED(hr))
        return hr;
    OptionalText text;
    limit.value = GetTextAttribute(element.get(), L"Value", text) == S_OK ? ParseLimitValue(text->c_str()) : 0.0;
    text.reset();
    limit.units = GetTextAttribute(element.get(), L"Units", text) == S_OK ? UnitsFromName(*text) : std::uint16_t{SizeUnit_B};
    if (GetTextAttribute(element.get(), L"Msg", limit.msg) != S_OK)
        limit.msg.emplace();
    flags |= flag;
    return S_OK;
}

// Elements named by no kind (and text, comments) are skipped, and so are
// slots whose parameters do not load.
void ConfigDocument::ReadActions(IXMLDOMNode* actions, FolderEntry& entry)
{
    base::com_ptr<IXMLDOMNode> child;
    HRESULT hr = actions->get_firstChild(child.put());
    while (hr == S_OK && child) {
        base::unique_bstr name;
        Action* kind = nullptr;
        if (child->get_nodeName(name.put()) == S_OK && registry_)
            kind = registry_->FindKindByTag(name.get());
        void* params = nullptr;
        if (kind && kind->LoadParams(document_.get(), child.get(), &params) == S_OK)
            entry.actions.emplace_back(params, kind);
        base::com_ptr<IXMLDOMNode> next;
        hr = child->get_nextSibling(next.put());
        child = std::move(next);
    }
}

void ConfigDocument::Close()
{
    folders_.reset();
    document_.reset();
}

DWORD SaveConfiguration(const wchar_t* path, const FolderEntries& folders, ConfigurationOwner* owner)
{
    ConfigDocument document;
    document.NewDocument();
    if (!document.HasDocument())
        return ERROR_CONFIG_NOT_SAVED;
    // One folder that fails to write does not keep the others out of the file.
    for (const auto& entry : folders) {
        if (entry)
            document.AddFolder(*entry);
    }
    if (document.SaveToFile(path) != S_OK)
        return ERROR_CONFIG_NOT_SAVED;
    if (owner)
        owner->OnConfigurationSaved();
    return ERROR_SUCCESS;
}

DWORD LoadConfiguration(const wchar_t* path, const ActionKindRegistry& registry, FolderEntries& folders,
                        ConfigurationOwner* owner)
{
    ConfigDocument document(&registry);
    if (document.Load(path) != S_OK)
        return ERROR_CONFIG_NOT_LOADED;
    for (;;) {
        auto entry = std::make_unique<FolderEntry>();
        const HRESULT hr = document.ReadNextFolder(*entry);
        if (hr == S_FALSE || FAILED(hr))
            break;
        folders.push_back(std::move(entry));
    }
    document.Close();
    if (owner)
        owner->OnFoldersLoaded();
    return ERROR_SUCCESS;
}

} // namespace krn
