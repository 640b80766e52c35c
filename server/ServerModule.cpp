#include "server/ServerModule.h"

#include "app/MessageLoop.h"

namespace server {
namespace {

// A thread timer's callback gets no context; the module of its thread is it.
thread_local ServerModule* threadModule = nullptr;

} // namespace

ServerModule::ServerModule(DWORD lingerMs) noexcept : linger_(lingerMs), thread_(GetCurrentThreadId())
{
    threadModule = this;
}

ServerModule::~ServerModule()
{
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
    if (SUCCEEDED(status_))
        CoRevokeClassObject(cookie_);
}

} // namespace server
