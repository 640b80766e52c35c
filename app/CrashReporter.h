// Turns an unhandled exception anywhere in the process into a minidump in the
// user's documents folder, a message asking the user to send it, and an exit
// with 65535. Uncaught C++ exceptions end the same way.
#pragma once

#include <windows.h>

namespace krn {

class CrashReporter {
public:
    static constexpr UINT kExitCode = 0xFFFF;
    // Raised from the terminate handler so that an uncaught C++ exception
    // reaches the exception filter instead of abort().
    static constexpr DWORD kUncaughtCppException = 0xE04B524E;

    // Copies the three texts (replacing earlier ones) and registers the filter.
    static void Install(const wchar_t* title, const wchar_t* message, const wchar_t* dumpFileName);
    // The owner window of the crash message box.
    static void SetOwnerWindow(HWND owner);

    static LONG WINAPI ExceptionFilter(EXCEPTION_POINTERS* exception) noexcept;
};

} // namespace krn
