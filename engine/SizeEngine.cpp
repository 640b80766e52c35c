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

HRESULT SizeEngine::QueryInterface(REFIID iid, void** out) noexcept
{
    if (out && IsEqualIID(iid, IID_ISizeEngine)) {
        *out = static_cast<ISizeEngine*>(this);
        AddRef();
        return S_OK;
    }
    return ServerObject::QueryInterface(iid, out);
}

HRESULT SizeEngine::GetTotals(BSTR folder, engine::Totals& totals, engine::ScanState& state) noexcept
{
    totals = {};
    state = engine::ScanState::Unknown;
    if (Name(folder).empty())
        return E_INVALIDARG;
    return FromError(sizes_.GetTotals(Name(folder), totals, state));
}

HRESULT SizeEngine::GetFileCount(BSTR folder, UINT64* files) noexcept
{
    if (!files)
        return E_POINTER;
    engine::Totals totals;
    engine::ScanState state;
    const HRESULT result = GetTotals(folder, totals, state);
    *files = totals.files;
    return result;
}

HRESULT SizeEngine::GetTotalSize(BSTR folder, UINT64* size) noexcept
{
    if (!size)
        return E_POINTER;
    engine::Totals totals;
    engine::ScanState state;
    const HRESULT result = GetTotals(folder, totals, state);
    *size = totals.bytes;
    return result;
}

HRESULT SizeEngine::GetTotalAndState(BSTR folder, UINT64* size, LONG* state) noexcept
{
    if (!size || !state)
        return E_POINTER;
    engine::Totals totals;
    engine::ScanState known;
    const HRESULT result = GetTotals(folder, totals, known);
    *size = totals.bytes;
    *state = static_cast<LONG>(known);
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
