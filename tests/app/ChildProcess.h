// Starting a built program of this tree from a test and watching it from the
// outside: its exit code in full and its top-level windows.
#pragma once

#include <windows.h>

#include <string>

namespace krn::test {

// A Windows path for a path of the build tree as CMake knows it.
std::wstring WindowsPath(const char* buildPath);

class ChildProcess {
public:
    // Starts `program` with `tail` after its quoted name, as the system passes it.
    ChildProcess(const std::wstring& program, const std::wstring& tail);
    ~ChildProcess();  // ends the program if it is still running
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool started() const { return process_ != nullptr; }
    DWORD id() const { return id_; }
    // The exit code, or STILL_ACTIVE when the program did not end in time.
    DWORD Wait(DWORD timeoutMs);
    // The program's top-level window of this class and caption (either may be
    // null: any), visible unless `visibleOnly` is false; null when none shows
    // up in time.
    HWND FindWindow(const wchar_t* cls, const wchar_t* caption, DWORD timeoutMs, bool visibleOnly = true) const;

private:
    HANDLE process_ = nullptr;
    DWORD id_ = 0;
};

} // namespace krn::test
