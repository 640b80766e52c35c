#include "engine/FolderPath.h"

#include <algorithm>

namespace engine {

namespace {

constexpr std::wstring_view kVerbatim = L"\\\\?\\";
constexpr std::wstring_view kVerbatimUnc = L"\\\\?\\UNC\\";

bool IsSlash(wchar_t c) noexcept
{
    return c == L'\\' || c == L'/';
}

bool IsDriveRoot(std::wstring_view s) noexcept
{
    return s.size() >= 3 && ((s[0] >= L'A' && s[0] <= L'Z') || (s[0] >= L'a' && s[0] <= L'z')) && s[1] == L':' &&
           IsSlash(s[2]);
}

bool StartsWithNoCase(std::wstring_view s, std::wstring_view prefix) noexcept
{
    return s.size() >= prefix.size() && EqualNoCase(s.substr(0, prefix.size()), prefix);
}

// Characters that end a UNC prefix's server or share name: \\server\share.
size_t UncRootLength(std::wstring_view rest) noexcept
{
    const size_t server = rest.find(L'\\');
    if (server == 0 || server == std::wstring_view::npos)
        return 0;
    const size_t share = rest.find(L'\\', server + 1);
    if (share == server + 1 || server + 1 == rest.size())
        return 0;
    return share == std::wstring_view::npos ? rest.size() : share;
}

// A verbatim name is taken as it stands, so "." and ".." would reach the file
// system as names: refused, like empty components.
bool HasOnlyPlainComponents(std::wstring_view s) noexcept
{
    size_t start = 0;
    while (start <= s.size()) {
        size_t end = s.find(L'\\', start);
        if (end == std::wstring_view::npos)
            end = s.size();
        const std::wstring_view part = s.substr(start, end - start);
        if (part.empty() || part == L"." || part == L"..")
            return false;
        start = end + 1;
    }
    return true;
}

void TrimTrailingSlashes(std::wstring& path, size_t rootLength)
{
    while (path.size() > rootLength && path.back() == L'\\')
        path.pop_back();
}

DWORD TakeVerbatim(std::wstring_view name, std::wstring& path)
{
    std::wstring_view trimmed = name;
    while (trimmed.size() > kVerbatim.size() && trimmed.back() == L'\\')
        trimmed.remove_suffix(1);
    const std::wstring_view rest = trimmed.substr(kVerbatim.size());
    if (StartsWithNoCase(trimmed, kVerbatimUnc)) {
        const std::wstring_view unc = trimmed.substr(kVerbatimUnc.size());
        if (UncRootLength(unc) == 0 || !HasOnlyPlainComponents(unc))
            return ERROR_INVALID_NAME;
        path.assign(trimmed);
        return 0;
    }
    // "\\?\C:\" is the drive's root; "\\?\C:" alone is the volume, not a folder.
    if (rest.size() == 2 && trimmed.size() < name.size() && IsDriveRoot(name.substr(kVerbatim.size()))) {
        path.assign(name.substr(0, kVerbatim.size() + 3));
        return 0;
    }
    // Volume GUID names and the object namespace are not folders a client
    // lists.
    if (!IsDriveRoot(rest) || rest[2] != L'\\' || !HasOnlyPlainComponents(rest.substr(3)))
        return ERROR_INVALID_NAME;
    path.assign(trimmed);
    return 0;
}

// GetFullPathNameW resolves "." and "..", turns "/" into "\" and reports a
// device name as "\\.\NAME"; it works on the string only.
DWORD FullPath(const std::wstring& name, std::wstring& full)
{
    full.resize(MAX_PATH);
    for (;;) {
        const DWORD length = GetFullPathNameW(name.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
        if (length == 0)
            return ERROR_INVALID_NAME;
        if (length < full.size()) {
            full.resize(length);
            return 0;
        }
        if (length > kMaxPathChars + 1)
            return ERROR_FILENAME_EXCED_RANGE;
        full.resize(length);
    }
}

} // namespace

bool NoCaseLess::operator()(std::wstring_view a, std::wstring_view b) const noexcept
{
    return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()), TRUE) ==
           CSTR_LESS_THAN;
}

bool EqualNoCase(std::wstring_view a, std::wstring_view b) noexcept
{
    return CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()), TRUE) ==
           CSTR_EQUAL;
}

DWORD MakeFolderPath(std::wstring_view name, std::wstring& path)
{
    path.clear();
    if (name.empty())
        return ERROR_INVALID_PARAMETER;
    if (name.size() > kMaxPathChars)
        return ERROR_FILENAME_EXCED_RANGE;
    if (name.find(L'\0') != std::wstring_view::npos)
        return ERROR_INVALID_NAME;
    if (name.starts_with(kVerbatim))
        return TakeVerbatim(name, path);

    const bool unc = name.size() > 2 && IsSlash(name[0]) && IsSlash(name[1]);
    if (!unc && !IsDriveRoot(name))
        return ERROR_INVALID_NAME;
    if (unc && (name[2] == L'.' || name[2] == L'?'))
        return ERROR_INVALID_NAME;  // "\\.\" devices, "//?/"

    std::wstring full;
    if (const DWORD error = FullPath(std::wstring(name), full))
        return error;
    if (full.starts_with(L"\\\\.\\") || full.starts_with(kVerbatim))
        return ERROR_INVALID_NAME;
    if (unc) {
        if (!full.starts_with(L"\\\\"))
            return ERROR_INVALID_NAME;
        const std::wstring_view rest = std::wstring_view(full).substr(2);
        if (UncRootLength(rest) == 0)
            return ERROR_INVALID_NAME;
        path.reserve(kVerbatimUnc.size() + rest.size());
        path.assign(kVerbatimUnc).append(rest);
        TrimTrailingSlashes(path, kVerbatimUnc.size() + UncRootLength(rest));
    } else {
        if (!IsDriveRoot(full))
            return ERROR_INVALID_NAME;
        path.reserve(kVerbatim.size() + full.size());
        path.assign(kVerbatim).append(full);
        TrimTrailingSlashes(path, kVerbatim.size() + 3);
    }
    if (path.size() > kMaxPathChars) {
        path.clear();
        return ERROR_FILENAME_EXCED_RANGE;
    }
    return 0;
}

} // namespace engine
