#include "ChildProcess.h"

#include "idl/PresenceMutex.h"
#include "support/Gui.h"

#include <gtest/gtest.h>
#include <tlhelp32.h>

namespace krn::test {

ChildProcess::ChildProcess(const std::wstring& program, const std::wstring& tail)
    : ChildProcess(L"\"" + program + L"\"" + (tail.empty() ? L"" : L" " + tail))
{
}

ChildProcess::ChildProcess(std::wstring commandLine)
{
    STARTUPINFOW startup{sizeof startup};
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info))
        return;
    CloseHandle(info.hThread);
    process_.reset(info.hProcess);
    id_ = info.dwProcessId;
}

ChildProcess::~ChildProcess()
{
    if (process_ && TerminateProcess(process_.get(), 0xDEAD))  // fails when it has ended
        WaitForSingleObject(process_.get(), 5000);
}

DWORD ChildProcess::Wait(DWORD timeoutMs)
{
    DWORD code = STILL_ACTIVE;
    if (process_ && WaitForSingleObject(process_.get(), timeoutMs) == WAIT_OBJECT_0)
        GetExitCodeProcess(process_.get(), &code);
    return code;
}

HWND ChildProcess::FindWindow(const wchar_t* cls, const wchar_t* caption, DWORD timeoutMs) const
{
    HWND found = nullptr;
    const auto shown = [&] {
        for (found = GetTopWindow(nullptr); found; found = GetWindow(found, GW_HWNDNEXT)) {
            DWORD process = 0;
            GetWindowThreadProcessId(found, &process);
            if (process == id_ && IsWindowVisible(found) && (!cls || ClassName(found) == cls) &&
                (!caption || WindowText(found) == caption))
                return true;
        }
        return false;
    };
    PumpUntil(shown, timeoutMs);
    return found;
}

std::vector<DWORD> RunningCopies(const std::wstring& exe)
{
    const std::wstring name = exe.substr(exe.rfind(L'\\') + 1);  // npos + 1: the whole name
    std::vector<DWORD> ids;
    const base::unique_kernel_handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{sizeof entry};
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more; more = Process32NextW(snapshot.get(), &entry))
        if (_wcsicmp(entry.szExeFile, name.c_str()) == 0)
            ids.push_back(entry.th32ProcessID);
    return ids;
}

HRESULT CreateWatcher(base::com_ptr<IWatcherControl>& control)
{
    return CoCreateInstance(CLSID_WatcherControl, nullptr, CLSCTX_LOCAL_SERVER, IID_IWatcherControl,
                            control.put_void());
}

LONG State(IWatcherControl* control)
{
    LONG state = -1;
    EXPECT_EQ(control->GetState(&state), S_OK);
    return state;
}

bool WatcherRunning()
{
    return static_cast<bool>(base::unique_kernel_handle(OpenMutexW(SYNCHRONIZE, FALSE, kWatcherMutexName)));
}

void StopWatcher(DWORD timeoutMs)
{
    base::com_ptr<IWatcherControl> control;
    if (WatcherRunning() && SUCCEEDED(CreateWatcher(control)))
        control->Disable();
    EXPECT_TRUE(PumpUntil([] { return !WatcherRunning(); }, timeoutMs)) << "the watcher did not end";
}

// Waits up to `timeoutMs` for every running copy of `exe` to end; false when
// one still runs.
static bool CopiesEnded(const std::wstring& exe, DWORD timeoutMs)
{
    const ULONGLONG deadline = GetTickCount64() + timeoutMs;
    for (const DWORD id : RunningCopies(exe)) {
        const base::unique_kernel_handle process(OpenProcess(SYNCHRONIZE, FALSE, id));
        const ULONGLONG now = GetTickCount64();
        if (process && WaitForSingleObject(process.get(), static_cast<DWORD>(deadline > now ? deadline - now : 0)) !=
                           WAIT_OBJECT_0)
            return false;
    }
    return true;
}

RegValueGuard::~RegValueGuard()
{
    if (had_)
        WriteRegBinary(key_, name_, type_, data_.data(), DWORD(data_.size()));
    else
        RegDeleteKeyValueW(HKEY_CURRENT_USER, key_, name_);
}

std::wstring ReadString(HKEY root, const std::wstring& key, const wchar_t* name)
{
    wchar_t text[1024] = {};
    DWORD size = sizeof text;
    const bool found = RegGetValueW(root, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size) == ERROR_SUCCESS;
    return found ? text : L"<absent>";
}

ServerUnregistered::ServerUnregistered(const std::wstring& exe) : exe_(exe)
{
    EXPECT_EQ(ChildProcess(exe_, L"/UnregServer").Wait(), 0u);
    EXPECT_TRUE(CopiesEnded(exe_, 10000));
}

ServerUnregistered::~ServerUnregistered()
{
    EXPECT_EQ(ChildProcess(exe_, L"/RegServer").Wait(), 0u);
}

} // namespace krn::test
