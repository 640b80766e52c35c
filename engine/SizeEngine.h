// The size engine's COM class: the folders' totals of one FolderSizes cache,
// shared by every object and every client of the server process.
#pragma once

#include <windows.h>

#include "Kestrune.h"
#include "engine/FolderSizes.h"
#include "engine/HistoryStore.h"
#include "server/ServerObject.h"

namespace krn {

// What every object of the server shares: the totals, and the folders'
// histories, sampled as complete totals are answered and saved every ten
// minutes (on a pool thread: the file is the user's own, never a watched
// folder's) and when the server ends.
class EngineState {
public:
    static constexpr DWORD kSaveEveryMs = 10 * 60 * 1000;

    explicit EngineState(std::wstring historyFile = engine::DefaultHistoryFile());
    ~EngineState();
    EngineState(const EngineState&) = delete;
    EngineState& operator=(const EngineState&) = delete;

    // Saves the history, then stops the totals' threads (FolderSizes::Stop).
    bool Stop(DWORD timeoutMs);

    engine::FolderSizes sizes;
    engine::HistoryStore history;

private:
    static void CALLBACK OnSaveTimer(void* state, BOOLEAN) noexcept;
    HANDLE saveTimer_ = nullptr;  // a timer-queue timer; deleted by Stop
};

class SizeEngine final : public server::ServerObject<ISizeEngine3> {
public:
    using Context = EngineState;

    SizeEngine(server::ServerModule& module, EngineState& state) noexcept;

    // ISizeEngine3 derives from ISizeEngine2 and ISizeEngine: one object
    // answers for all three.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) noexcept override;

    HRESULT STDMETHODCALLTYPE GetFileCount(BSTR folder, UINT64* files) noexcept override;
    HRESULT STDMETHODCALLTYPE ScanNow(BSTR folder) noexcept override;
    HRESULT STDMETHODCALLTYPE GetScanState(BSTR folder, LONG* state) noexcept override;
    HRESULT STDMETHODCALLTYPE StopWatching(BSTR folder) noexcept override;
    HRESULT STDMETHODCALLTYPE GetTotalSize(BSTR folder, UINT64* size) noexcept override;
    HRESULT STDMETHODCALLTYPE GetTotalAndState(BSTR folder, UINT64* size, LONG* state) noexcept override;
    HRESULT STDMETHODCALLTYPE GetGrowth(BSTR folder, INT64* day, INT64* week, LONG* known) noexcept override;
    HRESULT STDMETHODCALLTYPE GetMinutesUntil(BSTR folder, UINT64 limit, LONG* minutes) noexcept override;

private:
    // A complete total is also a sample of the folder's history, kept under
    // the folder's final name (`finalName`, when given).
    HRESULT GetTotals(BSTR folder, engine::Totals& totals, engine::ScanState& state,
                      std::wstring* finalName = nullptr) noexcept;
    // The complete total and the history of the folder, for GetGrowth and
    // GetMinutesUntil; S_FALSE when the total is not complete or the folder
    // has no history.
    HRESULT GetHistory(BSTR folder, std::uint64_t& total, std::optional<engine::FolderHistory>& history) noexcept;

    EngineState& state_;
};

// The configuration program creates and releases one object per folder every
// three seconds: the server outlives its last object by minutes, so that the
// cache, and the notifications that keep it true, survive between refreshes.
inline constexpr DWORD kSizeEngineLingerMs = 5 * 60 * 1000;

// How long the engine's threads get to end when the server ends: within the
// 2 s an uninstall waits, also when a thread is stuck on storage.
inline constexpr DWORD kSizeEngineStopMs = 1000;

// Serves SizeEngine until the linger after the last object expires. Free-
// threaded: each call is answered on COM's own threads at once, not queued
// behind another client's on one thread; FolderSizes is safe for that, and
// the objects hold nothing else.
inline const server::ServerTraits kSizeEngineServer{
    .clsid = CLSID_SizeEngine,
    .friendlyName = L"Kestrune Size Engine",
    .lingerMs = kSizeEngineLingerMs,
    .apartment = COINIT_MULTITHREADED,
    .stopMs = kSizeEngineStopMs,
};

} // namespace krn
