// A test-only program that installs the crash reporter exactly as the program
// does and then fails on purpose:
//   krn_crash_child <scratch key> fault|bad-alloc|owned-fault|control-bad-alloc
// The scratch key stands in for HKEY_CURRENT_USER, so the dump goes to the
// test's own documents folder.
#include "acl/Hyperlink.h"
#include "app/CrashReporter.h"
#include "app/Startup.h"

#include <cstdint>
#include <limits>
#include <new>
#include <string>

namespace {

// A subclassed control whose procedure runs out of memory.
class FailingControl : public acl::SubclassControlBase {
public:
    LRESULT WindowProc(HWND, UINT message, WPARAM, LPARAM) override
    {
        if (message == WM_APP)
            throw std::bad_alloc();
        return 0;
    }
};

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc < 3)
        return 2;
    // Should the reporter ever miss, the test must not wait on Wine's own crash dialog.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, argv[1], 0, KEY_ALL_ACCESS, &key) == ERROR_SUCCESS)
        RegOverridePredefKey(HKEY_CURRENT_USER, key);
    krn::InstallCrashReporting();
    const std::wstring mode = argv[2];
    if (mode == L"owned-fault")
        krn::CrashReporter::SetOwnerWindow(CreateWindowExW(0, L"Static", L"Crash owner", WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                                                           50, 50, 300, 200, nullptr, nullptr, nullptr, nullptr));
    if (mode == L"control-bad-alloc") {  // inside the system's dispatch of a subclassed control
        FailingControl control;
        control.Attach(CreateWindowExW(0, L"Static", L"", 0, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr), 0);
        SendMessageW(control.window(), WM_APP, 0, 0);
        return 5;  // the fault was swallowed
    }
    if (mode == L"bad-alloc")  // the allocator's own failure, uncaught
        ::operator delete(::operator new(std::numeric_limits<std::size_t>::max() / 2));
    *reinterpret_cast<volatile int*>(static_cast<std::uintptr_t>(argc - 3)) = 1;
    return 4;
}
