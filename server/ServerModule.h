// The module of a local server: whether this copy may serve, how long the
// process lives (its objects and locks, the linger after the last one), its
// apartment's message loop and its end.
//
// The module is made before COM is initialised and goes after COM's
// uninitialisation, so every object (which holds the module while it lives)
// finds it there, the last ones released by that uninitialisation included.
#pragma once

#include "base/Handles.h"

#include <windows.h>
#include <objbase.h>

#include <atomic>

namespace server {

// What a local server is and how its process lives.
struct ServerTraits {
    static constexpr DWORD kNeverEnd = INFINITE;

    const CLSID& clsid;
    const wchar_t* friendlyName;
    // How long the server runs on with no object and no lock before it ends;
    // kNeverEnd for a server that ends only by Quit or an end request.
    DWORD lingerMs;
    // When set, one copy serves at a time, and holds this mutex for its whole
    // run.
    const wchar_t* presenceMutex = nullptr;
    // The exit code of a copy that finds another one serving.
    int alreadyRunningExit = 1;
    // How the serving thread joins COM. The product's servers are
    // apartment-threaded: calls come one at a time through the thread's
    // messages. A free-threaded server (COINIT_MULTITHREADED) gets its calls
    // on COM's own threads, at once.
    DWORD apartment = COINIT_APARTMENTTHREADED;
    // How long a context with threads of its own (one with a Stop(timeoutMs)
    // that says whether they all ended) gets to stop them when the server
    // ends.
    DWORD stopMs = 1000;
};

// One per server process, on the thread that registers the class object and
// pumps the apartment's messages (an STA): calls, activations and the linger
// all come through that thread. Lock, Unlock and Quit may be called from any
// thread.
class ServerModule {
public:
    explicit ServerModule(const ServerTraits& traits) noexcept;
    ~ServerModule();
    ServerModule(const ServerModule&) = delete;
    ServerModule& operator=(const ServerModule&) = delete;

    // With a presence mutex: true when this copy got it and serves. A copy
    // that finds another one starting, and was started by COM for an
    // activation (`embedding`), waits a bounded time for that copy to serve
    // (or takes over when it ended) before it gives up, so that the
    // activation finds a server. Without a presence mutex: true.
    bool ClaimInstance(bool embedding);

    // An object was made, or a client called LockServer(TRUE): the process
    // lock (CoAddRefServerProcess).
    void Lock() noexcept;
    // CoReleaseServerProcess. The last one suspends the class objects on
    // Windows; a server that lingers resumes them, and keeps serving.
    void Unlock() noexcept;

    // Ends Serve with `exitCode`: from now on no object is made. Posted, so a
    // call that asks for it still gets its reply out first.
    void Quit(int exitCode = 0) noexcept;
    bool ending() const noexcept { return ending_; }

    // The serve sequence once everything is ready: registers `factory`
    // suspended and resumes it (on Windows nothing is visible before), pumps
    // messages until Quit, an end request (RequestEnd) or the linger's end,
    // then revokes the class object and answers the calls already on their
    // way (a client's Release after its Disable) for a bounded time. Returns
    // the exit code, or the failed registration's HRESULT.
    int Serve(IUnknown* factory);

    // Pumps until Quit or the linger's end; the exit code.
    int Run();

    // After Serve: whether COM's uninitialisation can end. It waits for the
    // calls in progress on the objects it releases, and under Wine each of
    // those waits for this thread's messages, which nobody pumps any more. So
    // only when the clients let go of every object and went quiet; otherwise
    // the process ends without it, and their calls fail.
    bool MayUninitialize() const noexcept;

private:
    void ArmLinger() noexcept;
    void DisarmLinger() noexcept;
    void OnLingerElapsed() noexcept;
    void FinishCalls() noexcept;
    void MarkServing(bool serving) noexcept;
    void OpenEndRequest() noexcept;

    const ServerTraits traits_;
    const DWORD thread_;
    const ULONGLONG started_;
    std::atomic<bool> ending_{false};
    bool quiet_ = false;  // FinishCalls saw no message for a while
    base::unique_kernel_handle lingerTimer_;  // empty: the server never lingers out
    base::unique_kernel_handle endRequest_;
    base::unique_kernel_handle presence_;
    base::unique_kernel_handle serving_;      // set while this copy serves its class
};

// Asks the running copy of the server of `clsid`, if any, to end, and waits
// (a bounded time) until it has. Unregistering a server does this: an
// uninstall must be able to remove the exe, and a server lingering for
// minutes would hold it and keep serving a class that is gone.
void RequestEnd(const CLSID& clsid);

} // namespace server
