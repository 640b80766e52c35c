#include "ui/main/MainWindowRun.h"

#include "app/AppModule.h"
#include "app/MessageLoop.h"
#include "settings/RegistryValues.h"
#include "settings/WindowPlacementStore.h"
#include "ui/main/MainDialog.h"

#include <memory>

namespace krn {

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
