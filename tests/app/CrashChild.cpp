// A test-only program that installs the crash reporter exactly as the program
// does and then fails on purpose:
//   krn_crash_child <scratch key> fault|bad-alloc|owned-fault
// The scratch key (below HKEY_CURRENT_USER) stands in for HKEY_CURRENT_USER, so
// the dump goes to the test's own documents folder.
#include "app/CrashReporter.h"
#include "app/Startup.h"

#include <windows.h>

#include <cstdint>
#include <limits>
#include <new>
#include <string>

namespace {

void RedirectCurrentUser(const wchar_t* keyName)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, keyName, 0, KEY_ALL_ACCESS, &key) == ERROR_SUCCESS)
        RegOverridePredefKey(HKEY_CURRENT_USER, key);
}

[[gnu::noinline]] void WriteThrough(volatile int* target)
{
    *target = 1;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc < 3)
        return 2;
    // Should the reporter ever miss, the test must not wait on Wine's own crash dialog.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    RedirectCurrentUser(argv[1]);
    krn::InstallCrashReporting();
    const std::wstring mode = argv[2];
    if (mode == L"owned-fault") {
        HWND owner = CreateWindowExW(0, L"Static", L"Crash owner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50, 300, 200,
                                     nullptr, nullptr, nullptr, nullptr);
        krn::CrashReporter::SetOwnerWindow(owner);
    }
    if (mode == L"bad-alloc") {
        // The allocator's own failure, uncaught.
        void* block = ::operator new(std::numeric_limits<std::size_t>::max() / 2);
        ::operator delete(block);
        return 3;
    }
    WriteThrough(reinterpret_cast<volatile int*>(static_cast<std::uintptr_t>(argc - 3)));
    return 4;
}
