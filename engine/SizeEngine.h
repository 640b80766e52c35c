// The size engine's COM class: the folders' totals of one FolderSizes cache,
// shared by every object and every client of the server process.
#pragma once

#include <windows.h>

#include "Kestrune.h"
#include "engine/FolderSizes.h"
#include "server/ServerObject.h"

namespace krn {

class SizeEngine final : public server::ServerObject<ISizeEngine> {
public:
    using Context = engine::FolderSizes;

    SizeEngine(server::ServerModule& module, engine::FolderSizes& sizes) noexcept;

    HRESULT STDMETHODCALLTYPE GetFileCount(BSTR folder, UINT64* files) noexcept override;
    HRESULT STDMETHODCALLTYPE ScanNow(BSTR folder) noexcept override;
    HRESULT STDMETHODCALLTYPE GetScanState(BSTR folder, LONG* state) noexcept override;
    HRESULT STDMETHODCALLTYPE StopWatching(BSTR folder) noexcept override;
    HRESULT STDMETHODCALLTYPE GetTotalSize(BSTR folder, UINT64* size) noexcept override;

private:
    HRESULT GetTotals(BSTR folder, engine::Totals& totals) noexcept;

    engine::FolderSizes& sizes_;
};

// The configuration program creates and releases one object per folder every
// three seconds: the server outlives its last object by minutes, so that the
// cache, and the notifications that keep it true, survive between refreshes.
inline constexpr DWORD kSizeEngineLingerMs = 5 * 60 * 1000;

inline const server::ServerSpec kSizeEngineServer{CLSID_SizeEngine, L"Kestrune Size Engine", kSizeEngineLingerMs};

} // namespace krn
