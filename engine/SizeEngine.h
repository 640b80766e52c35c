// The size engine's COM class: the folders' totals of one FolderSizes cache,
// shared by every object and every client of the server process.
#pragma once

#include <windows.h>

#include "Kestrune.h"
#include "engine/FolderSizes.h"
#include "server/ServerObject.h"

namespace krn {

class SizeEngine final : public server::ServerObject<ISizeEngine2> {
public:
    using Context = engine::FolderSizes;

    SizeEngine(server::ServerModule& module, engine::FolderSizes& sizes) noexcept;

    // ISizeEngine2 derives from ISizeEngine: one object answers for both.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) noexcept override;

    HRESULT STDMETHODCALLTYPE GetFileCount(BSTR folder, UINT64* files) noexcept override;
    HRESULT STDMETHODCALLTYPE ScanNow(BSTR folder) noexcept override;
    HRESULT STDMETHODCALLTYPE GetScanState(BSTR folder, LONG* state) noexcept override;
    HRESULT STDMETHODCALLTYPE StopWatching(BSTR folder) noexcept override;
    HRESULT STDMETHODCALLTYPE GetTotalSize(BSTR folder, UINT64* size) noexcept override;
    HRESULT STDMETHODCALLTYPE GetTotalAndState(BSTR folder, UINT64* size, LONG* state) noexcept override;

private:
    HRESULT GetTotals(BSTR folder, engine::Totals& totals, engine::ScanState& state) noexcept;

    engine::FolderSizes& sizes_;
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
inline const server::ServerSpec kSizeEngineServer{
    .clsid = CLSID_SizeEngine,
    .friendlyName = L"Kestrune Size Engine",
    .lingerMs = kSizeEngineLingerMs,
    .apartment = COINIT_MULTITHREADED,
    .stopMs = kSizeEngineStopMs,
};

} // namespace krn
