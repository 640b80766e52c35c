#include "ui/main/MainDialog.h"

#include "app/AppModule.h"
#include "app/CrashReporter.h"
#include "resource.h"
#include "settings/RegistryValues.h"
#include "settings/WindowPlacementStore.h"

namespace krn {
namespace {

constexpr int kApplyButton = 3;
constexpr wchar_t kCloseModifiedQuestion[] =
    L"Settings were modified.\nAre you sure you want to close the application without saving changes?";

} // namespace

MainDialog::~MainDialog()
{
    if (HWND w = window(); w && IsWindow(w))
        DestroyWindow(w);
}

HWND MainDialog::Create(HWND owner)
{
    return CreateModeless(kTemplateId, owner);
}

void MainDialog::SetCommandLinePath(const wchar_t* path)
{
    if (path)
        commandLinePath_ = path;
    else
        commandLinePath_.reset();
}

bool MainDialog::PreTranslateMessage(MSG* msg)
{
    // Tab, Enter and Esc work as in any dialog box.
    return window() && IsDialogMessageW(window(), msg);
}

bool MainDialog::OnIdle(int)
{
    return false;
}

void MainDialog::SetModified(bool modified)
{
    modified_ = modified;
    if (HWND apply = GetDlgItem(window(), kApplyButton))
        EnableWindow(apply, modified);
}

std::optional<LRESULT> MainDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        return OnInitDialog();
    case WM_COMMAND:
        OnCommand(LOWORD(wParam), HIWORD(wParam), reinterpret_cast<HWND>(lParam));
        return 0;
    }
    return std::nullopt;
}

BOOL MainDialog::OnInitDialog()
{
    SetWindowTextW(window(), kMainWindowTitle);
    CrashReporter::SetOwnerWindow(window());
    SetIcons();
    JoinMessageLoop(Module().GetMessageLoop(), this, this);
    SetModified(false);
    if (commandLinePath_) {
        // Command-line mode: the window is never shown and keeps no placement.
        commandLineMode_ = true;
        commandLinePath_.reset();
    }
    return TRUE;
}

void MainDialog::SetIcons()
{
    HINSTANCE instance = Module().instance();
    largeIcon_.reset(static_cast<HICON>(LoadImageW(instance, MAKEINTRESOURCEW(IDI_APP), IMAGE_ICON,
                                                   GetSystemMetrics(SM_CXICON), GetSystemMetrics(SM_CYICON), 0)));
    smallIcon_.reset(static_cast<HICON>(LoadImageW(instance, MAKEINTRESOURCEW(IDI_APP), IMAGE_ICON,
                                                   GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON), 0)));
    SendMessageW(window(), WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(largeIcon_.get()));
    SendMessageW(window(), WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(smallIcon_.get()));
}

void MainDialog::OnCommand(UINT id, UINT, HWND)
{
    switch (id) {
    case IDOK:
        OnOK();
        break;
    case IDCANCEL:  // also Esc and the close box
    case kCommandExit:
        OnClose(id);
        break;
    }
}

void MainDialog::OnOK()
{
    OnClose(IDOK);
}

void MainDialog::OnClose(UINT id)
{
    if (modified_ && MessageBoxW(window(), kCloseModifiedQuestion, kMainWindowTitle, MB_YESNO | MB_ICONQUESTION) != IDYES)
        return;
    CloseMainWindow(id);
}

void MainDialog::CloseMainWindow(UINT quitCode)
{
    if (!commandLineMode_) {
        WindowPlacementStore store(nullptr, nullptr);
        if (store.SetKey(registry::kSettingsKey, HKEY_CURRENT_USER))
            store.SavePlacement(window());
    }
    // Id 0 is not the refresh timer's id; destroying the window ends every
    // timer anyway.
    KillTimer(window(), 0);
    DestroyWindow(window());
    PostQuitMessage(static_cast<int>(quitCode));
}

} // namespace krn
