#include "engine/SizeEngine.h"

#include "base/Com.h"

#include <string_view>

namespace krn {

namespace {

// A BSTR carries its length: a name with an embedded NUL stays one name, and
// MakeFolderPath refuses it.
std::wstring_view Name(BSTR folder) noexcept
{
    return folder ? std::wstring_view(folder, SysStringLen(folder)) : std::wstring_view();
}

HRESULT FromError(DWORD error) noexcept
{
    return error ? HRESULT_FROM_WIN32(error) : S_OK;
}

} // namespace

SizeEngine::SizeEngine(server::ServerModule& module, engine::FolderSizes& sizes) noexcept
    : ServerObject(module), sizes_(sizes)
{
}

HRESULT SizeEngine::GetTotals(BSTR folder, engine::Totals& totals) noexcept
{
    totals = {};
    if (Name(folder).empty())
        return E_INVALIDARG;
    return FromError(sizes_.GetTotals(Name(folder), totals));
}

HRESULT SizeEngine::GetFileCount(BSTR folder, UINT64* files) noexcept
{
    if (!files)
        return E_POINTER;
    engine::Totals totals;
    const HRESULT result = GetTotals(folder, totals);
    *files = totals.files;
    return result;
}

HRESULT SizeEngine::GetTotalSize(BSTR folder, UINT64* size) noexcept
{
    if (!size)
        return E_POINTER;
    engine::Totals totals;
    const HRESULT result = GetTotals(folder, totals);
    *size = totals.bytes;
    return result;
}

HRESULT SizeEngine::ScanNow(BSTR folder) noexcept
{
    if (Name(folder).empty())
        return E_INVALIDARG;
    return FromError(sizes_.ScanNow(Name(folder)));
}

HRESULT SizeEngine::GetScanState(BSTR folder, LONG* state) noexcept
{
    if (!state)
        return E_POINTER;
    *state = KRN_SCAN_UNKNOWN;
    if (Name(folder).empty())
        return E_INVALIDARG;
    engine::ScanState known = engine::ScanState::Unknown;
    const DWORD error = sizes_.GetScanState(Name(folder), known);
    *state = static_cast<LONG>(known);
    return FromError(error);
}

HRESULT SizeEngine::StopWatching(BSTR folder) noexcept
{
    if (Name(folder).empty())
        return E_INVALIDARG;
    bool wasFollowed = false;
    if (const DWORD error = sizes_.StopWatching(Name(folder), wasFollowed))
        return FromError(error);
    return wasFollowed ? S_OK : S_FALSE;
}

} // namespace krn
