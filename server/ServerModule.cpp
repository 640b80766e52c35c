#include "server/ServerModule.h"

#include "app/MessageLoop.h"
#include "server/Registration.h"

namespace server {
namespace {

// A thread timer's callback gets no context; the module of its thread is it.
thread_local ServerModule* threadModule = nullptr;

constexpr ULONGLONG kEndWaitMs = 10000;
// FinishCalls: this long without a message means the clients are done; and
// however busy they are, the server ends after the longer time.
constexpr DWORD kQuietMs = 250;
constexpr ULONGLONG kFinishCallsMaxMs = 3000;

// Local: a request comes from the same session, like the activations.
std::wstring EndRequestName(const CLSID& clsid)
{
    return L"Local\\Kestrune End " + GuidText(clsid);
}

} // namespace

ServerModule::ServerModule(DWORD lingerMs) noexcept : linger_(lingerMs), thread_(GetCurrentThreadId())
{
    threadModule = this;
}

ServerModule::~ServerModule()
{
    // Waits for a callback under way: it uses this module.
    if (endWait_)
        UnregisterWaitEx(endWait_, INVALID_HANDLE_VALUE);
    DisarmLinger();
    threadModule = nullptr;
}

void ServerModule::Lock() noexcept
{
    if (++locks_ == 1)
        DisarmLinger();
}

void ServerModule::Unlock() noexcept
{
    if (--locks_ == 0)
        ArmLinger();
}

void ServerModule::Quit(int exitCode) noexcept
{
    PostThreadMessageW(thread_, WM_QUIT, static_cast<WPARAM>(exitCode), 0);
}

bool ServerModule::QuitOnEndRequest(const CLSID& clsid) noexcept
{
    endRequest_.reset(CreateEventW(nullptr, TRUE, FALSE, EndRequestName(clsid).c_str()));
    return endRequest_ && RegisterWaitForSingleObject(&endWait_, endRequest_.get(), &ServerModule::OnEndRequest, this,
                                                      INFINITE, WT_EXECUTEONLYONCE);
}

void CALLBACK ServerModule::OnEndRequest(void* module, BOOLEAN) noexcept
{
    static_cast<ServerModule*>(module)->Quit(0);
}

int ServerModule::Run()
{
    if (locks_ == 0)
        ArmLinger();
    // Activations and calls arrive as messages of the apartment's window.
    krn::MessageLoop loop;
    const int exitCode = loop.Run();
    DisarmLinger();
    return exitCode;
}

void ServerModule::FinishCalls() noexcept
{
    for (const ULONGLONG deadline = GetTickCount64() + kFinishCallsMaxMs; GetTickCount64() < deadline;) {
        if (MsgWaitForMultipleObjectsEx(0, nullptr, kQuietMs, QS_ALLINPUT, MWMO_INPUTAVAILABLE) != WAIT_OBJECT_0)
            return;
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
}

// A thread timer with a callback, not a posted message: the callback also
// runs inside modal loops (a message box, COM's own), which drop thread
// messages.
void ServerModule::ArmLinger() noexcept
{
    if (linger_ == kNeverEnd)
        return;
    DisarmLinger();
    lingerTimer_ = SetTimer(nullptr, 0, linger_, &ServerModule::OnLingerElapsed);
}

void ServerModule::DisarmLinger() noexcept
{
    if (lingerTimer_)
        KillTimer(nullptr, lingerTimer_);
    lingerTimer_ = 0;
}

void CALLBACK ServerModule::OnLingerElapsed(HWND, UINT, UINT_PTR timer, DWORD) noexcept
{
    ServerModule* module = threadModule;
    if (!module || timer != module->lingerTimer_) {
        KillTimer(nullptr, timer);
        return;
    }
    module->DisarmLinger();
    if (module->locks_ == 0)
        module->Quit(0);
}

ClassObjectRegistration::ClassObjectRegistration(REFCLSID clsid, IUnknown* factory) noexcept
    : status_(CoRegisterClassObject(clsid, factory, CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE, &cookie_))
{
}

ClassObjectRegistration::~ClassObjectRegistration()
{
    Revoke();
}

void ClassObjectRegistration::Revoke() noexcept
{
    if (SUCCEEDED(status_) && !revoked_)
        CoRevokeClassObject(cookie_);
    revoked_ = true;
}

void RequestEnd(const CLSID& clsid)
{
    const std::wstring name = EndRequestName(clsid);
    {
        const base::unique_kernel_handle request(OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
        if (!request)
            return;  // no copy is running
        SetEvent(request.get());
    }
    // The request is gone with the copy's own handle to it, as the copy ends.
    for (const ULONGLONG deadline = GetTickCount64() + kEndWaitMs; GetTickCount64() < deadline; Sleep(50))
        if (!base::unique_kernel_handle(OpenEventW(SYNCHRONIZE, FALSE, name.c_str())))
            return;
}

} // namespace server
