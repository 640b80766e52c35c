// The built programs of this tree as tests see them from outside: a program
// started and watched (its exit code in full, its top-level windows), the
// running copies of one, the watcher asked and ended through COM, a server
// unregistered for a while, and the prefix's registry values those programs
// read, put back afterwards.
#pragma once

#include <windows.h>

#include "Kestrune.h"
#include "base/Com.h"
#include "base/Handles.h"
#include "support/Scratch.h"  // WindowsPath

#include <string>
#include <vector>

namespace krn::test {

class ChildProcess {
public:
    // Starts `program` with `tail` after its quoted name, as the system passes it.
    ChildProcess(const std::wstring& program, const std::wstring& tail);
    // Starts a whole command line the way the shell and the Run key do: the
    // system finds the program in it, an unquoted path with blanks included.
    explicit ChildProcess(std::wstring commandLine);
    ~ChildProcess();  // ends the program if it is still running

    bool started() const { return static_cast<bool>(process_); }
    // The exit code, or STILL_ACTIVE when the program did not end in time.
    DWORD Wait(DWORD timeoutMs = 30000);
    // The program's visible top-level window of this class and caption (null:
    // any); null when none shows up in time.
    HWND FindWindow(const wchar_t* cls, const wchar_t* caption, DWORD timeoutMs) const;

private:
    base::unique_kernel_handle process_;
    DWORD id_ = 0;
};

// The ids of the running copies of the program `exe` (a path or a file name).
std::vector<DWORD> RunningCopies(const std::wstring& exe);

// The watcher activated through COM, and its state (-1 when the call failed).
HRESULT CreateWatcher(base::com_ptr<IWatcherControl>& control);
LONG State(IWatcherControl* control);
// Whether a watcher runs: its presence mutex exists.
bool WatcherRunning();
// Ends a running watcher with Disable, never by killing it (Wine would keep a
// dead copy's class registered), and waits for its mutex to go.
void StopWatcher(DWORD timeoutMs = 10000);

// Puts a value of HKEY_CURRENT_USER back as it was found (or removes it when
// there was none): the servers read the prefix's own.
class RegValueGuard {
public:
    RegValueGuard(const wchar_t* key, const wchar_t* name) : key_(key), name_(name) {}
    ~RegValueGuard();
    RegValueGuard(const RegValueGuard&) = delete;
    RegValueGuard& operator=(const RegValueGuard&) = delete;

private:
    const wchar_t* key_;
    const wchar_t* name_;
    DWORD type_ = 0;
    std::string data_;
    const bool had_ = ReadRegValue(key_, name_, &type_, &data_);
};

// A string value of the 64-bit view; "<absent>" when there is none.
std::wstring ReadString(HKEY root, const std::wstring& key, const wchar_t* name = nullptr);

// A COM server of the build unregistered for the guard's life (which also
// ends its running copy), registered again afterwards, as the `servers`
// fixture left it.
class ServerUnregistered {
public:
    explicit ServerUnregistered(const std::wstring& exe);
    ~ServerUnregistered();
    ServerUnregistered(const ServerUnregistered&) = delete;
    ServerUnregistered& operator=(const ServerUnregistered&) = delete;

private:
    const std::wstring exe_;
};

} // namespace krn::test
