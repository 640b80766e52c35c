// The watcher's control surface: the WatcherControl class that the
// configuration program creates to switch the watcher off, to ask what it
// does and to make it read its configuration again.
#pragma once

#include <windows.h>

#include "Kestrune.h"
#include "idl/PresenceMutex.h"
#include "server/ServerObject.h"
#include "watcher/Monitor.h"
#include "watcher/WatcherState.h"

namespace krn {

// What the watcher's objects share: what it read, and the monitoring that
// works from it.
struct Watcher {
    Watcher();
    WatcherState state;
    Monitor monitor;
};

class WatcherControl final : public server::ServerObject<IWatcherControl> {
public:
    using Context = Watcher;

    WatcherControl(server::ServerModule& module, Watcher& watcher) noexcept;

    HRESULT STDMETHODCALLTYPE Disable() noexcept override;
    HRESULT STDMETHODCALLTYPE GetState(LONG* state) noexcept override;
    HRESULT STDMETHODCALLTYPE ReloadConfiguration() noexcept override;

private:
    WatcherState& state_;
};

// Exit codes of the watcher besides the end through Disable (0).
inline constexpr int kWatcherAlreadyRunning = 1;

// One copy at a time, whether started by hand, from the Run key or by COM:
// the mutex is held for the whole run and tells the configuration program
// that the watcher is on. A copy started by hand serves too, so that an
// activation while it runs reaches it instead of starting another. It ends
// only when Disable is called.
inline const server::ServerTraits kWatcherServer{CLSID_WatcherControl, L"Kestrune Watcher Control",
                                               server::ServerTraits::kNeverEnd, kWatcherMutexName,
                                               kWatcherAlreadyRunning};

} // namespace krn
