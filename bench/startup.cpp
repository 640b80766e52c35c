// How long the program takes to show its main window, to close on OK, and how
// long a second copy takes to hand over to the first and end.
//   build/wine-run build/bench/bench_startup.exe [runs]
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

namespace {

constexpr wchar_t kTitle[] = L"Kestrune™ Properties x64";

double Milliseconds(LARGE_INTEGER from, LARGE_INTEGER to)
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return 1000.0 * static_cast<double>(to.QuadPart - from.QuadPart) / static_cast<double>(frequency.QuadPart);
}

LARGE_INTEGER Now()
{
    LARGE_INTEGER t;
    QueryPerformanceCounter(&t);
    return t;
}

HANDLE Start(const std::wstring& program)
{
    std::wstring commandLine = L"\"" + program + L"\"";
    STARTUPINFOW startup{sizeof startup};
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &info))
        return nullptr;
    CloseHandle(info.hThread);
    return info.hProcess;
}

HWND WaitForMainWindow(DWORD timeoutMs)
{
    const DWORD start = GetTickCount();
    while (GetTickCount() - start < timeoutMs) {
        HWND window = FindWindowW(L"#32770", kTitle);
        if (window && IsWindowVisible(window))
            return window;
        Sleep(1);
    }
    return nullptr;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const int runs = argc > 1 ? _wtoi(argv[1]) : 5;
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring program = path;
    program = program.substr(0, program.rfind(L'\\'));
    program = program.substr(0, program.rfind(L'\\')) + L"\\KRN Properties.exe";

    double shown = 0, closed = 0, second = 0;
    for (int run = 0; run < runs; ++run) {
        const LARGE_INTEGER t0 = Now();
        HANDLE first = Start(program);
        HWND window = first ? WaitForMainWindow(20000) : nullptr;
        if (!window) {
            std::fwprintf(stderr, L"the main window did not appear\n");
            return 1;
        }
        const LARGE_INTEGER t1 = Now();
        HANDLE copy = Start(program);
        WaitForSingleObject(copy, 20000);
        const LARGE_INTEGER t2 = Now();
        CloseHandle(copy);
        PostMessageW(window, WM_COMMAND, IDOK, 0);
        WaitForSingleObject(first, 20000);
        const LARGE_INTEGER t3 = Now();
        CloseHandle(first);
        shown += Milliseconds(t0, t1);
        second += Milliseconds(t1, t2);
        closed += Milliseconds(t2, t3);
    }
    std::wprintf(L"runs: %d\n", runs);
    std::wprintf(L"start to visible main window: %.1f ms\n", shown / runs);
    std::wprintf(L"second copy, start to exit:   %.1f ms\n", second / runs);
    std::wprintf(L"OK to process exit:           %.1f ms\n", closed / runs);
    return 0;
}
