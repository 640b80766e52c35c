// The module of a local server: how many objects and locks keep it alive, how
// long it lingers after the last one went, and the thread's message loop.
#pragma once

#include "base/Handles.h"

#include <windows.h>
#include <objbase.h>

#include <string>

namespace server {

// One per server thread, the thread that registers the class objects and
// pumps the apartment's messages (an STA). Lock, Unlock and Run are called on
// that thread; Quit from any thread.
class ServerModule {
public:
    static constexpr DWORD kNeverEnd = INFINITE;

    // `lingerMs`: how long the server keeps running with no object and no
    // lock before it ends; kNeverEnd for a server that ends only by Quit.
    explicit ServerModule(DWORD lingerMs) noexcept;
    ~ServerModule();
    ServerModule(const ServerModule&) = delete;
    ServerModule& operator=(const ServerModule&) = delete;

    // An object was created or a client called LockServer(TRUE).
    void Lock() noexcept;
    void Unlock() noexcept;
    LONG lockCount() const noexcept { return locks_; }

    // Ends Run with `exitCode`. Posted: a call that asks for it still gets its
    // reply out first.
    void Quit(int exitCode = 0) noexcept;

    // Also ends Run when another process asks the copy serving `clsid` to
    // end (RequestEnd). False when the request cannot be listened for.
    bool QuitOnEndRequest(const CLSID& clsid) noexcept;

    // Pumps messages until Quit or until the linger after the last Unlock
    // expires; a server nobody ever uses ends after one linger too.
    int Run();

    // After Run, with the class object revoked: answers the calls already on
    // their way (a client's last Release follows its Disable at once) until
    // none came for a moment. COM's uninitialisation waits for a call in
    // progress on an object, and that call waits for this thread's messages:
    // under Wine a server that went straight on would never end.
    void FinishCalls() noexcept;

private:
    void ArmLinger() noexcept;
    void DisarmLinger() noexcept;
    static void CALLBACK OnLingerElapsed(HWND, UINT, UINT_PTR timer, DWORD) noexcept;
    static void CALLBACK OnEndRequest(void* module, BOOLEAN) noexcept;

    const DWORD linger_;
    const DWORD thread_;
    LONG locks_ = 0;
    UINT_PTR lingerTimer_ = 0;
    base::unique_kernel_handle endRequest_;
    HANDLE endWait_ = nullptr;
};

// Asks the running copy of the server of `clsid`, if any, to end, and waits a
// few seconds for it to let go of the request. Unregistering a server does
// this: an uninstall must be able to remove the exe, and a server lingering
// for minutes would hold it and keep serving a class that is gone.
void RequestEnd(const CLSID& clsid);

// Keeps one class object registered for activation by other processes
// (CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE: one process serves every client)
// and revokes it on destruction.
class ClassObjectRegistration {
public:
    ClassObjectRegistration(REFCLSID clsid, IUnknown* factory) noexcept;
    ~ClassObjectRegistration();
    ClassObjectRegistration(const ClassObjectRegistration&) = delete;
    ClassObjectRegistration& operator=(const ClassObjectRegistration&) = delete;

    HRESULT status() const noexcept { return status_; }
    // No further activation reaches this process.
    void Revoke() noexcept;

private:
    DWORD cookie_ = 0;
    HRESULT status_;
    bool revoked_ = false;
};

} // namespace server
