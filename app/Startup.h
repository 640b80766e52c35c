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

// The entry point: returns the process exit code.
int ProgramMain(HINSTANCE instance, const wchar_t* commandTail, int show);

// Creates the main window and pumps its messages until it closes; with a
// command-line tail only the folder dialog runs and the result is 0.
int RunMainWindow(const wchar_t* commandTail, int show);

} // namespace krn
