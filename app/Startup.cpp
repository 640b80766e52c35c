#include "app/Startup.h"

#include "base/Com.h"
#include "base/Handles.h"
#include "app/AppModule.h"
#include "app/CrashReporter.h"
#include "app/DialogLook.h"
#include "app/MessageLoop.h"

#include <commctrl.h>
#include <ole2.h>

namespace krn {

void InstallCrashReporting()
{
    CrashReporter::Install(kCrashTitle, kCrashMessage, kCrashDumpFileName);
}

bool BringOtherCopyToFront(HANDLE startupMutex, DWORD createError)
{
    // The mutex only says where to look; the window title decides. A mutex
    // without the window lets this copy run beside the other.
    if (!startupMutex || createError != ERROR_ALREADY_EXISTS)
        return false;
    HWND other = FindWindowW(nullptr, kMainWindowTitle);
    if (!other)
        return false;
    SetForegroundWindow(other);
    BringWindowToTop(other);
    return true;
}

int ProgramMain(HINSTANCE instance, const wchar_t* commandTail, int show, RunWindowFunction runWindow)
{
    InstallCrashReporting();
    base::unique_kernel_handle startupMutex(CreateMutexW(nullptr, FALSE, kStartupMutexName));
    const DWORD createError = GetLastError();
    if (BringOtherCopyToFront(startupMutex.get(), createError))
        return 1;  // before OLE: the other copy does the work
    int result;
    {
        base::OleInit ole;
        INITCOMMONCONTROLSEX controls{sizeof controls, ICC_BAR_CLASSES};
        InitCommonControlsEx(&controls);
        AppModule& module = Module();
        module.Init(instance);
        result = runWindow(commandTail, show);
        module.Term();
    }
    return result;  // the mutex closes last
}

} // namespace krn
