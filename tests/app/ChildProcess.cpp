#include "ChildProcess.h"

#include "support/Gui.h"

namespace krn::test {

std::wstring WindowsPath(const char* buildPath)
{
    std::wstring path(buildPath, buildPath + strlen(buildPath));
    if (!path.empty() && path[0] == L'/')
        path = L"Z:" + path;  // Wine's drive for the Unix root
    for (wchar_t& c : path)
        c = c == L'/' ? L'\\' : c;
    return path;
}

ChildProcess::ChildProcess(const std::wstring& program, const std::wstring& tail)
{
    Start(program.c_str(), L"\"" + program + L"\"" + (tail.empty() ? L"" : L" " + tail));
}

ChildProcess::ChildProcess(const std::wstring& commandLine)
{
    Start(nullptr, commandLine);
}

void ChildProcess::Start(const wchar_t* program, std::wstring commandLine)
{
    STARTUPINFOW startup{sizeof startup};
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(program, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info))
        return;
    CloseHandle(info.hThread);
    process_ = info.hProcess;
    id_ = info.dwProcessId;
}

ChildProcess::~ChildProcess()
{
    if (process_ && WaitForSingleObject(process_, 0) == WAIT_TIMEOUT) {
        TerminateProcess(process_, 0xDEAD);
        WaitForSingleObject(process_, 5000);
    }
    if (process_)
        CloseHandle(process_);
}

DWORD ChildProcess::Wait(DWORD timeoutMs)
{
    DWORD code = STILL_ACTIVE;
    if (process_ && WaitForSingleObject(process_, timeoutMs) == WAIT_OBJECT_0)
        GetExitCodeProcess(process_, &code);
    return code;
}

HWND ChildProcess::FindWindow(const wchar_t* cls, const wchar_t* caption, DWORD timeoutMs) const
{
    HWND found = nullptr;
    PumpUntil(
        [&] {
            for (HWND w = GetTopWindow(nullptr); w && !found; w = GetWindow(w, GW_HWNDNEXT)) {
                DWORD process = 0;
                GetWindowThreadProcessId(w, &process);
                if (process == id_ && IsWindowVisible(w) && (!cls || ClassName(w) == cls) &&
                    (!caption || WindowText(w) == caption))
                    found = w;
            }
            return found != nullptr;
        },
        timeoutMs);
    return found;
}

} // namespace krn::test
