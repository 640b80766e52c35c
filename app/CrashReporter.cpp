#include "app/CrashReporter.h"

#include "base/Handles.h"

#include <dbghelp.h>
#include <shlobj.h>
#include <strsafe.h>

#include <exception>
#include <string>

namespace krn {
namespace {

using MiniDumpWriteDumpProc = BOOL(WINAPI*)(HANDLE, DWORD, HANDLE, MINIDUMP_TYPE, PMINIDUMP_EXCEPTION_INFORMATION,
                                            PMINIDUMP_USER_STREAM_INFORMATION, PMINIDUMP_CALLBACK_INFORMATION);

// Written at start-up and by the main window's initialisation, on the GUI
// thread, before anything can fault; the filter reads it without locking.
struct CrashState {
    std::wstring title;
    std::wstring message;
    std::wstring dumpFileName;
    HWND owner = nullptr;
};

CrashState& State()
{
    static CrashState state;
    return state;
}

[[noreturn]] void RaiseUncaughtCppException()
{
    RaiseException(CrashReporter::kUncaughtCppException, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    std::abort();
}

// The documents folder with the dump file name, each piece bounded to MAX_PATH.
void DumpPath(wchar_t (&path)[MAX_PATH])
{
    path[0] = L'\0';
    SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, SHGFP_TYPE_CURRENT, path);
    StringCchCatW(path, MAX_PATH, L"\\");
    StringCchCatW(path, MAX_PATH, State().dumpFileName.c_str());
}

} // namespace

void CrashReporter::Install(const wchar_t* title, const wchar_t* message, const wchar_t* dumpFileName)
{
    CrashState& state = State();
    state.title = title;
    state.message = message;
    state.dumpFileName = dumpFileName;
    SetUnhandledExceptionFilter(&CrashReporter::ExceptionFilter);
    // The runtime would let an uncaught exception (bad_alloc from the
    // allocator among them) end in abort() and never reach the filter.
    std::set_terminate(&RaiseUncaughtCppException);
}

void CrashReporter::SetOwnerWindow(HWND owner)
{
    State().owner = owner;
}

LONG WINAPI CrashReporter::ExceptionFilter(EXCEPTION_POINTERS* exception) noexcept
{
    // Loaded only now and never unloaded; without it the system handles the crash.
    HMODULE dbghelp = LoadLibraryW(L"dbghelp.dll");
    auto writeDump = dbghelp ? reinterpret_cast<MiniDumpWriteDumpProc>(GetProcAddress(dbghelp, "MiniDumpWriteDump"))
                             : nullptr;
    if (!writeDump)
        return EXCEPTION_CONTINUE_SEARCH;

    MINIDUMP_EXCEPTION_INFORMATION info{GetCurrentThreadId(), exception, FALSE};
    wchar_t path[MAX_PATH];
    DumpPath(path);
    {
        // A file that cannot be created still leads to the message; the dump
        // call then fails.
        base::unique_file file(
            CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        writeDump(GetCurrentProcess(), GetCurrentProcessId(), file.get(), MiniDumpNormal,
                  exception ? &info : nullptr, nullptr, nullptr);
    }
    const CrashState& state = State();
    MessageBoxW(state.owner, state.message.c_str(), state.title.c_str(), MB_OK | MB_ICONERROR);
    ExitProcess(kExitCode);
}

} // namespace krn
