#include "engine/SizeEngine.h"

#include "base/Com.h"

#include <climits>
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

EngineState::EngineState(std::wstring historyFile) : history(std::move(historyFile))
{
    if (!CreateTimerQueueTimer(&saveTimer_, nullptr, &EngineState::OnSaveTimer, this, kSaveEveryMs, kSaveEveryMs,
                               WT_EXECUTELONGFUNCTION)) {
        saveTimer_ = nullptr;
        OutputDebugStringW(L"Kestrune Size Engine: no timer to save the history with; it is saved at the end\n");
    }
}

EngineState::~EngineState()
{
    Stop(0);
}

void CALLBACK EngineState::OnSaveTimer(void* state, BOOLEAN) noexcept
{
    static_cast<EngineState*>(state)->history.Save();
}

bool EngineState::Stop(DWORD timeoutMs)
{
    if (saveTimer_) {
        DeleteTimerQueueTimer(nullptr, saveTimer_, INVALID_HANDLE_VALUE);  // waits for a save under way
        saveTimer_ = nullptr;
    }
    history.Save();
    return sizes.Stop(timeoutMs);
}

SizeEngine::SizeEngine(server::ServerModule& module, EngineState& state) noexcept
    : ServerObject(module), state_(state)
{
}

HRESULT SizeEngine::QueryInterface(REFIID iid, void** out) noexcept
{
    if (out && (IsEqualIID(iid, IID_ISizeEngine) || IsEqualIID(iid, IID_ISizeEngine2))) {
        *out = static_cast<ISizeEngine3*>(this);
        AddRef();
        return S_OK;
    }
    return ServerObject::QueryInterface(iid, out);
}

// A complete total is a sample of the folder's history: the history takes it
// when it changed and five minutes passed, and ignores it otherwise.
HRESULT SizeEngine::GetTotals(BSTR folder, engine::Totals& totals, engine::ScanState& state,
                              std::wstring* finalName) noexcept
{
    totals = {};
    state = engine::ScanState::Unknown;
    if (Name(folder).empty())
        return E_INVALIDARG;
    std::wstring name;
    const HRESULT result = FromError(state_.sizes.GetTotals(Name(folder), totals, state, &name));
    if (result == S_OK && state == engine::ScanState::Complete)
        state_.history.Record(name, engine::MinuteNow(), totals.bytes);
    if (finalName)
        *finalName = std::move(name);
    return result;
}

HRESULT SizeEngine::GetHistory(BSTR folder, std::uint64_t& total, std::optional<engine::FolderHistory>& history) noexcept
{
    engine::Totals totals;
    engine::ScanState state;
    std::wstring name;
    const HRESULT result = GetTotals(folder, totals, state, &name);
    total = totals.bytes;
    if (FAILED(result) || state != engine::ScanState::Complete)
        return FAILED(result) ? result : S_FALSE;
    history = state_.history.Find(name);
    return history ? S_OK : S_FALSE;
}

HRESULT SizeEngine::GetGrowth(BSTR folder, INT64* day, INT64* week, LONG* known) noexcept
{
    if (!day || !week || !known)
        return E_POINTER;
    *day = *week = 0;
    *known = 0;
    std::uint64_t total = 0;
    std::optional<engine::FolderHistory> history;
    const HRESULT result = GetHistory(folder, total, history);
    if (result != S_OK)
        return FAILED(result) ? result : S_OK;  // nothing known: the outputs say so
    const std::uint32_t now = engine::MinuteNow();
    constexpr std::uint32_t kDay = 24 * 60;
    if (const std::optional<std::int64_t> growth = history->Growth(now, total, kDay)) {
        *day = *growth;
        *known |= 1;
    }
    if (const std::optional<std::int64_t> growth = history->Growth(now, total, 7 * kDay)) {
        *week = *growth;
        *known |= 2;
    }
    return S_OK;
}

HRESULT SizeEngine::GetMinutesUntil(BSTR folder, UINT64 limit, LONG* minutes) noexcept
{
    if (!minutes)
        return E_POINTER;
    *minutes = -1;
    std::uint64_t total = 0;
    std::optional<engine::FolderHistory> history;
    const HRESULT result = GetHistory(folder, total, history);
    if (result != S_OK)
        return FAILED(result) ? result : S_OK;  // nothing known: the outputs say so
    const std::optional<std::uint32_t> until = history->MinutesUntil(engine::MinuteNow(), total, limit);
    if (until && *until <= static_cast<std::uint32_t>(LONG_MAX))
        *minutes = static_cast<LONG>(*until);
    return S_OK;
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
    return FromError(state_.sizes.ScanNow(Name(folder)));
}

HRESULT SizeEngine::GetScanState(BSTR folder, LONG* state) noexcept
{
    if (!state)
        return E_POINTER;
    *state = KRN_SCAN_UNKNOWN;
    if (Name(folder).empty())
        return E_INVALIDARG;
    engine::ScanState known = engine::ScanState::Unknown;
    const DWORD error = state_.sizes.GetScanState(Name(folder), known);
    *state = static_cast<LONG>(known);
    return FromError(error);
}

HRESULT SizeEngine::StopWatching(BSTR folder) noexcept
{
    if (Name(folder).empty())
        return E_INVALIDARG;
    bool wasFollowed = false;
    if (const DWORD error = state_.sizes.StopWatching(Name(folder), wasFollowed))
        return FromError(error);
    return wasFollowed ? S_OK : S_FALSE;
}

} // namespace krn
