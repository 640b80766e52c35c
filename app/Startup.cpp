#include "app/Startup.h"

#include "base/Com.h"
#include "base/Handles.h"
#include "app/AppModule.h"
#include "app/CrashReporter.h"
#include "app/MessageLoop.h"
#include "settings/RegistryValues.h"
#include "settings/WindowPlacementStore.h"
#include "ui/main/MainDialog.h"

#include <commctrl.h>
#include <ole2.h>

#include <memory>

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

int ProgramMain(HINSTANCE instance, const wchar_t* commandTail, int show)
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
        result = RunMainWindow(commandTail, show);
        module.Term();
    }
    return result;  // the mutex closes last
}

namespace {

void RestoreMainWindowPlacement(HWND window)
{
    auto store = std::make_unique<WindowPlacementStore>(registry::kSettingsKey, HKEY_CURRENT_USER);
    store->RestorePlacement(window, registry::kWindowPlacement.name, true);
}

// Registers a loop for the calling thread for the lifetime of the guard.
class LoopRegistration {
public:
    explicit LoopRegistration(MessageLoop* loop) { Module().AddMessageLoop(loop); }
    ~LoopRegistration() { Module().RemoveMessageLoop(); }
    LoopRegistration(const LoopRegistration&) = delete;
    LoopRegistration& operator=(const LoopRegistration&) = delete;
};

} // namespace

int RunMainWindow(const wchar_t* commandTail, int show)
{
    // Torn down in reverse: the registration, the main window, the loop.
    MessageLoop loop;
    auto mainDialog = std::make_unique<MainDialog>();
    LoopRegistration registration(&loop);

    const bool commandLineMode = commandTail && *commandTail;
    // Taken verbatim: quotes stay and nothing is split. Everything the mode
    // does happens while the window initialises; it is never shown.
    if (commandLineMode)
        mainDialog->SetCommandLinePath(commandTail);
    if (!mainDialog->Create(nullptr) || commandLineMode)
        return 0;
    RestoreMainWindowPlacement(mainDialog->window());
    ShowWindow(mainDialog->window(), show);
    return loop.Run();
}

} // namespace krn
