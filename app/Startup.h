// The process itself: the entry point's steps in order, the single-instance
// rule and the main window's run.
#pragma once

#include <windows.h>

namespace krn {

inline constexpr wchar_t kStartupMutexName[] = L"BrimwellPro.PropertiesStartupMutex";
inline constexpr wchar_t kCrashTitle[] = L"Brimwell™ Pro x64 edition";
inline constexpr wchar_t kCrashMessage[] =
    L"The program has crashed.\nPlease send us the crash report file (.dmp), which you can find in the 'My "
    L"Documents' folder.\nThis will help us to fix this problem sooner.";
inline constexpr wchar_t kCrashDumpFileName[] = L"KRN Properties.dmp";

// Installs the crash reporter with the program's texts.
void InstallCrashReporting();

// When `startupMutex` was already there and another copy's main window is
// found, brings that window to the front and returns true.
bool BringOtherCopyToFront(HANDLE startupMutex, DWORD createError);

// Runs the program's window with the command-line tail and the show state
// the process was given, and returns the exit code.
using RunWindowFunction = int (*)(const wchar_t* commandTail, int show);

// The entry point's steps around the window's run: returns the process exit
// code. The window is handed in by the entry point, the one place that knows
// the main dialog, so that the shell stays below the windows it runs.
int ProgramMain(HINSTANCE instance, const wchar_t* commandTail, int show, RunWindowFunction runWindow);

} // namespace krn
