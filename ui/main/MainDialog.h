// The program's main window: a modeless dialog from template 130, the main
// thread's message filter and idle handler. It closes itself by destroying its
// window and posting WM_QUIT with the command that closed it, which becomes the
// process exit code.
#pragma once

#include "acl/Handles.h"
#include "ui/DialogBase.h"
#include "app/MessageLoop.h"

#include <optional>
#include <string>

namespace krn {

// The title the main window sets on itself; a second copy looks for exactly this.
inline constexpr wchar_t kMainWindowTitle[] = L"Kestrune™ Properties x64";

class MainDialog : public DialogBase, public MessageFilter, public IdleHandler {
public:
    static constexpr UINT kTemplateId = 130;
    static constexpr UINT kCommandExit = 32776;  // File, Exit

    MainDialog() = default;
    ~MainDialog() override;

    // Creates the (hidden) window; null when it could not be created.
    HWND Create(HWND owner);
    // Command-line mode: the folder path, kept verbatim, that the window opens
    // while it initialises. Set before Create.
    void SetCommandLinePath(const wchar_t* path);

    bool PreTranslateMessage(MSG* msg) override;
    bool OnIdle(int idleCount) override;

    // Unsaved changes; enables the Apply button to match.
    void SetModified(bool modified);

protected:
    std::optional<LRESULT> OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    BOOL OnInitDialog();
    void OnCommand(UINT id, UINT code, HWND control);
    void OnOK();
    void OnClose(UINT id);
    void CloseMainWindow(UINT quitCode);
    void SetIcons();

    std::optional<std::wstring> commandLinePath_;
    bool commandLineMode_ = false;
    bool modified_ = false;
    acl::unique_hicon largeIcon_;
    acl::unique_hicon smallIcon_;
};

} // namespace krn
