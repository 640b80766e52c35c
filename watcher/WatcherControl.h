// The watcher's control surface: the WatcherControl class that the
// configuration program creates to switch the watcher off, to ask what it
// does and to make it read its configuration again.
#pragma once

#include <windows.h>

#include "Kestrune.h"
#include "server/ServerObject.h"
#include "idl/PresenceMutex.h"
#include "watcher/WatcherState.h"

namespace krn {

class WatcherControl final : public server::ServerObject<IWatcherControl> {
public:
    using Context = WatcherState;

    WatcherControl(server::ServerModule& module, WatcherState& state) noexcept;

    HRESULT STDMETHODCALLTYPE Disable() noexcept override;
    HRESULT STDMETHODCALLTYPE GetState(LONG* state) noexcept override;
    HRESULT STDMETHODCALLTYPE ReloadConfiguration() noexcept override;

private:
    WatcherState& state_;
};

// Exit codes of the watcher besides the end through Disable (0).
inline constexpr int kWatcherAlreadyRunning = 1;

// The watcher's run: claims the presence mutex (another copy running: ends at
// once with kWatcherAlreadyRunning), reads its configuration, serves
// WatcherControl, and ends when Disable is called.
int RunWatcher();

} // namespace krn
