#include "watcher/WatcherControl.h"

#include "base/Com.h"
#include "base/Handles.h"
#include "server/ServerModule.h"
#include "watcher/Monitor.h"

namespace krn {

WatcherControl::WatcherControl(server::ServerModule& module, WatcherState& state) noexcept
    : ServerObject(module), state_(state)
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

int RunWatcher()
{
    // One copy at a time, whether started by hand, from the Run key or by
    // COM: the mutex is held for the whole run and tells the configuration
    // program that the watcher is on.
    base::unique_kernel_handle presence(CreateMutexW(nullptr, FALSE, kWatcherMutexName));
    if (!presence || GetLastError() == ERROR_ALREADY_EXISTS)
        return kWatcherAlreadyRunning;

    base::ComInit com(COINIT_APARTMENTTHREADED);
    if (FAILED(com.status()))
        return com.status();
    WatcherState state;
    // The monitor works from a copy of what was read: a reload never
    // changes what its thread is looking at.
    Monitor monitor;
    state.SetReloadListener([&monitor](const WatcherState& read) {
        monitor.Configure({MakeFolderPlans(read.folders()), read.logFile(), read.disableAlertOnStartup()});
    });
    state.Reload();

    // Served also when started by hand, so that an activation while it runs
    // reaches this copy instead of starting another.
    server::ServerModule module(server::ServerModule::kNeverEnd);
    server::ClassFactory<WatcherControl> factory(module, state);
    server::ClassObjectRegistration registration(CLSID_WatcherControl, &factory);
    if (FAILED(registration.status()))
        return registration.status();
    module.QuitOnEndRequest(CLSID_WatcherControl);
    const int exitCode = module.Run();
    registration.Revoke();
    module.FinishCalls();
    return exitCode;
}

} // namespace krn
