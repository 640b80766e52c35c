#include "ChildProcess.h"

#include "support/Gui.h"

namespace krn::test {

std::wstring WindowsPath(const char* buildPath)
{
    std::wstring path(buildPath, buildPath + strlen(buildPath));
    if (!path.empty() && path[0] == L'/')
        path = L"Z:" + path;  // Wine's drive for the Unix root
    for (wchar_t& c : path)
        if (c == L'/')
            c = L'\\';
    return path;
}

ChildProcess::ChildProcess(const std::wstring& program, const std::wstring& tail)
{
    std::wstring commandLine = L"\"" + program + L"\"";
    if (!tail.empty())
        commandLine += L" " + tail;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &info))
        return;
    CloseHandle(info.hThread);
    process_ = info.hProcess;
    id_ = info.dwProcessId;
}

ChildProcess::~ChildProcess()
{
    if (!process_)
        return;
    if (WaitForSingleObject(process_, 0) == WAIT_TIMEOUT) {
        TerminateProcess(process_, 0xDEAD);
        WaitForSingleObject(process_, 5000);
    }
    CloseHandle(process_);
}

DWORD ChildProcess::Wait(DWORD timeoutMs)
{
    DWORD code = STILL_ACTIVE;
    if (process_ && WaitForSingleObject(process_, timeoutMs) == WAIT_OBJECT_0)
        GetExitCodeProcess(process_, &code);
    return code;
}

HWND ChildProcess::FindWindow(const wchar_t* cls, const wchar_t* caption, DWORD timeoutMs, bool visibleOnly) const
{
    struct Search {
        DWORD process;
        const wchar_t* cls;
        const wchar_t* caption;
        bool visibleOnly;
        HWND found;
    } search{id_, cls, caption, visibleOnly, nullptr};
    auto match = [](HWND window, LPARAM param) -> BOOL {
        auto* s = reinterpret_cast<Search*>(param);
        DWORD process = 0;
        GetWindowThreadProcessId(window, &process);
        if (process != s->process || (s->visibleOnly && !IsWindowVisible(window)))
            return TRUE;
        if ((s->cls && ClassName(window) != s->cls) || (s->caption && WindowText(window) != s->caption))
            return TRUE;
        s->found = window;
        return FALSE;
    };
    PumpUntil(
        [&] {
            EnumWindows(match, reinterpret_cast<LPARAM>(&search));
            return search.found != nullptr;
        },
        timeoutMs);
    return search.found;
}

} // namespace krn::test
