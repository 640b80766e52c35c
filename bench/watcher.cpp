// How long the configuration program waits on the watcher: activation when
// the watcher must start, a warm create + call + release, a call on a proxy it
// keeps, a reload, and how soon the mutex goes after Disable. The watcher must
// be registered (tools/run.sh or `build/wine-run "build/KRN Watcher.exe"
// /RegServer`); it reads the prefix's own config.xml.
//   build/wine-run build/bench/bench_watcher.exe [runs]
#include <windows.h>
#include <objbase.h>

#include <cstdio>
#include <cwchar>

#include "Kestrune.h"
#include "base/Com.h"
#include "base/Handles.h"
#include "idl/PresenceMutex.h"

namespace {

double Now()
{
    LARGE_INTEGER t, frequency;
    QueryPerformanceCounter(&t);
    QueryPerformanceFrequency(&frequency);
    return 1000.0 * static_cast<double>(t.QuadPart) / static_cast<double>(frequency.QuadPart);
}

bool WatcherRunning()
{
    base::unique_kernel_handle mutex(OpenMutexW(SYNCHRONIZE, FALSE, krn::kWatcherMutexName));
    return static_cast<bool>(mutex);
}

HRESULT Create(base::com_ptr<IWatcherControl>& control)
{
    return CoCreateInstance(CLSID_WatcherControl, nullptr, CLSCTX_LOCAL_SERVER, IID_IWatcherControl,
                            control.put_void());
}

// Disables the running watcher; the milliseconds until its mutex is gone.
double Stop()
{
    base::com_ptr<IWatcherControl> control;
    if (FAILED(Create(control)))
        return -1;
    const double start = Now();
    control->Disable();
    while (WatcherRunning() && Now() - start < 10000)
        Sleep(1);
    return Now() - start;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const int runs = argc > 1 ? _wtoi(argv[1]) : 3;
    base::ComInit com;
    if (WatcherRunning())
        Stop();

    double activation = 0, stop = 0;
    for (int run = 0; run < runs; ++run) {
        base::com_ptr<IWatcherControl> control;
        const double start = Now();
        const HRESULT hr = Create(control);
        activation += Now() - start;
        if (FAILED(hr)) {
            std::printf("CoCreateInstance failed: 0x%08lX (is the watcher registered?)\n", hr);
            return 1;
        }
        control.reset();
        stop += Stop();
    }
    std::printf("activation, watcher not running: %8.2f ms (mean of %d)\n", activation / runs, runs);
    std::printf("Disable until the mutex is gone: %8.2f ms\n", stop / runs);

    base::com_ptr<IWatcherControl> kept;
    Create(kept);
    constexpr int kWarm = 100, kCalls = 1000, kReloads = 20;
    double start = Now();
    for (int i = 0; i < kWarm; ++i) {
        base::com_ptr<IWatcherControl> control;
        LONG state = 0;
        if (SUCCEEDED(Create(control)))
            control->GetState(&state);
    }
    std::printf("warm create + GetState + release: %8.2f ms\n", (Now() - start) / kWarm);

    start = Now();
    for (int i = 0; i < kCalls; ++i) {
        LONG state = 0;
        kept->GetState(&state);
    }
    std::printf("GetState on a kept proxy:         %8.3f ms\n", (Now() - start) / kCalls);

    start = Now();
    for (int i = 0; i < kReloads; ++i)
        kept->ReloadConfiguration();
    std::printf("ReloadConfiguration:              %8.2f ms\n", (Now() - start) / kReloads);

    kept.reset();
    Stop();
    return 0;
}
