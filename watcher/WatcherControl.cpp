#include "watcher/WatcherControl.h"

#include "server/ServerModule.h"

namespace krn {

// The monitor works from a copy of what was read: a reload never changes
// what its thread is looking at.
Watcher::Watcher()
{
    state.SetReloadListener([this](const WatcherState& read) {
        monitor.Configure({MakeFolderPlans(read.folders()), read.logFile(), read.disableAlertOnStartup()});
    });
    state.Reload();
}

WatcherControl::WatcherControl(server::ServerModule& module, Watcher& watcher) noexcept
    : ServerObject(module), state_(watcher.state)
{
}

HRESULT WatcherControl::Disable() noexcept
{
    module().Quit(0);
    return S_OK;
}

HRESULT WatcherControl::GetState(LONG* state) noexcept
{
    if (!state)
        return E_POINTER;
    *state = state_.IsWatching() ? KRN_WATCHER_WATCHING : KRN_WATCHER_IDLE;
    return S_OK;
}

// A configuration that does not load is not the caller's failure: the watcher
// goes on with nothing to watch, which GetState reports.
HRESULT WatcherControl::ReloadConfiguration() noexcept
{
    state_.Reload();
    return S_OK;
}

} // namespace krn
