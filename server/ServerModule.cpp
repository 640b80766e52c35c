#include "server/ServerModule.h"

#include "server/Registration.h"

#include <string>

namespace server {
namespace {

// RequestEnd waits this long at most for the copy to be gone; a server ends
// within 2 s.
constexpr ULONGLONG kEndWaitMs = 3000;
// FinishCalls: this long without a message means the clients are done; and
// however busy they are, the server goes on after the longer time.
constexpr DWORD kQuietMs = 100;
constexpr ULONGLONG kFinishCallsMaxMs = 500;
// A copy started by COM while another copy starts waits this long at most
// for that one to serve.
constexpr ULONGLONG kWaitForServingMs = 10000;
// ...and lives at least this long. Wine's activation watches the process it
// started during its first second only, and fails at once (E_NOINTERFACE) if
// that process ends then; afterwards it looks for the class again every
// second, and finds the copy that serves.
constexpr ULONGLONG kStartedCopyLifeMs = 1500;

// Local: requests and activations come from the same session.
std::wstring EventName(const wchar_t* what, const CLSID& clsid)
{
    return std::wstring(L"Local\\Kestrune ") + what + L" " + GuidText(clsid);
}

void Report(const wchar_t* what, DWORD error)
{
    OutputDebugStringW((L"Kestrune server: " + std::wstring(what) + L" failed, error " + std::to_wstring(error) +
                        L"\n")
                           .c_str());
}

} // namespace

ServerModule::ServerModule(const ServerTraits& traits) noexcept
    : traits_(traits), thread_(GetCurrentThreadId()), started_(GetTickCount64())
{
    if (traits_.lingerMs != ServerTraits::kNeverEnd) {
        lingerTimer_.reset(CreateWaitableTimerW(nullptr, FALSE, nullptr));
        if (!lingerTimer_)
            Report(L"creating the linger timer (the server ends only when asked)", GetLastError());
    }
    if (traits_.presenceMutex) {
        serving_.reset(CreateEventW(nullptr, TRUE, FALSE, EventName(L"Serving", traits_.clsid).c_str()));
        if (!serving_)
            Report(L"creating the serving event", GetLastError());
    }
}

ServerModule::~ServerModule() = default;

bool ServerModule::ClaimInstance(bool embedding)
{
    if (!traits_.presenceMutex) {
        OpenEndRequest();
        return true;
    }
    for (;;) {
        presence_.reset(CreateMutexW(nullptr, FALSE, traits_.presenceMutex));
        const DWORD error = GetLastError();
        if (!presence_) {
            Report(L"creating the presence mutex", error);
            return false;
        }
        if (error != ERROR_ALREADY_EXISTS) {
            MarkServing(false);  // left set by a copy that did not end cleanly
            OpenEndRequest();
            return true;
        }
        // The mutex tells that a copy runs: a copy that only waits must not
        // hold it.
        presence_.reset();
        if (!embedding || GetTickCount64() - started_ >= kWaitForServingMs)
            return false;
        // Polled: the other copy may end instead, and this one then serves.
        if (serving_ ? WaitForSingleObject(serving_.get(), 50) == WAIT_OBJECT_0 : (Sleep(50), false)) {
            const ULONGLONG lived = GetTickCount64() - started_;
            if (lived < kStartedCopyLifeMs)
                Sleep(static_cast<DWORD>(kStartedCopyLifeMs - lived));
            return false;
        }
    }
}

void ServerModule::Lock() noexcept
{
    if (CoAddRefServerProcess() == 1)
        DisarmLinger();
}

void ServerModule::Unlock() noexcept
{
    if (CoReleaseServerProcess() != 0 || ending_)
        return;
    CoResumeClassObjects();
    ArmLinger();
}

void ServerModule::Quit(int exitCode) noexcept
{
    ending_ = true;
    PostThreadMessageW(thread_, WM_QUIT, static_cast<WPARAM>(exitCode), 0);
}

int ServerModule::Serve(IUnknown* factory)
{
    OpenEndRequest();
    DWORD cookie = 0;
    const HRESULT hr = CoRegisterClassObject(traits_.clsid, factory, CLSCTX_LOCAL_SERVER,
                                             REGCLS_MULTIPLEUSE | REGCLS_SUSPENDED, &cookie);
    if (FAILED(hr))
        return hr;
    CoResumeClassObjects();
    MarkServing(true);
    const int exitCode = Run();
    ending_ = true;
    MarkServing(false);
    CoRevokeClassObject(cookie);
    FinishCalls();
    return exitCode;
}

int ServerModule::Run()
{
    ArmLinger();
    HANDLE waits[2];
    DWORD count = 0;
    if (endRequest_)
        waits[count++] = endRequest_.get();
    if (lingerTimer_)
        waits[count++] = lingerTimer_.get();
    for (;;) {
        const DWORD woke = MsgWaitForMultipleObjectsEx(count, waits, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (woke == WAIT_FAILED) {
            Report(L"waiting for messages", GetLastError());
            ending_ = true;
            return static_cast<int>(HRESULT_FROM_WIN32(GetLastError()));
        }
        if (woke < WAIT_OBJECT_0 + count && waits[woke - WAIT_OBJECT_0] == endRequest_.get()) {
            ending_ = true;
            return 0;
        }
        if (woke < WAIT_OBJECT_0 + count)
            OnLingerElapsed();
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.message == WM_QUIT) {
                DisarmLinger();
                return static_cast<int>(message.wParam);
            }
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
}

void ServerModule::FinishCalls() noexcept
{
    for (const ULONGLONG deadline = GetTickCount64() + kFinishCallsMaxMs; GetTickCount64() < deadline;) {
        if (MsgWaitForMultipleObjectsEx(0, nullptr, kQuietMs, QS_ALLINPUT, MWMO_INPUTAVAILABLE) != WAIT_OBJECT_0) {
            quiet_ = true;
            return;
        }
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
}

bool ServerModule::MayUninitialize() const noexcept
{
    if (!quiet_)
        return false;
    const bool objectsLeft = CoAddRefServerProcess() > 1;
    CoReleaseServerProcess();
    return !objectsLeft;
}

void ServerModule::ArmLinger() noexcept
{
    if (!lingerTimer_)
        return;
    LARGE_INTEGER due;
    due.QuadPart = -10000LL * traits_.lingerMs;  // relative, in 100 ns units
    if (!SetWaitableTimer(lingerTimer_.get(), &due, 0, nullptr, nullptr, FALSE))
        Report(L"arming the linger timer", GetLastError());
}

void ServerModule::DisarmLinger() noexcept
{
    if (lingerTimer_)
        CancelWaitableTimer(lingerTimer_.get());
}

// The count is read with the class objects suspended (on Windows), so that
// no activation lands between the reading and the end; one that came while
// the timer ran keeps the server.
void ServerModule::OnLingerElapsed() noexcept
{
    CoSuspendClassObjects();
    const bool used = CoAddRefServerProcess() > 1;
    CoReleaseServerProcess();
    if (used) {
        CoResumeClassObjects();
        return;
    }
    Quit(0);
}

void ServerModule::MarkServing(bool serving) noexcept
{
    if (serving_)
        serving ? SetEvent(serving_.get()) : ResetEvent(serving_.get());
}

// Opened as soon as this copy is the one to serve, before COM and the
// context start: an /UnregServer that comes meanwhile (an uninstall right after
// logon started the watcher) then finds it, and the copy ends as soon as it
// serves, instead of being missed and keeping its exe in use.
void ServerModule::OpenEndRequest() noexcept
{
    if (endRequest_)
        return;
    endRequest_.reset(CreateEventW(nullptr, TRUE, FALSE, EventName(L"End", traits_.clsid).c_str()));
    if (!endRequest_)
        Report(L"creating the end request event (/UnregServer cannot end this copy)", GetLastError());
}

void RequestEnd(const CLSID& clsid)
{
    const std::wstring name = EventName(L"End", clsid);
    {
        const base::unique_kernel_handle request(OpenEventW(EVENT_MODIFY_STATE, FALSE, name.c_str()));
        if (!request)
            return;  // no copy is running
        SetEvent(request.get());
    }
    // The event is gone with the copy's own handle to it, as the copy ends.
    for (const ULONGLONG deadline = GetTickCount64() + kEndWaitMs; GetTickCount64() < deadline; Sleep(20))
        if (!base::unique_kernel_handle(OpenEventW(SYNCHRONIZE, FALSE, name.c_str())))
            return;
}

} // namespace server
