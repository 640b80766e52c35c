// The program's main window: a modeless dialog from template 130 with the
// folder list, the menu and the status line. It is a coordinator: the folder
// list keeps the folders, the folder dialog edits one, the configuration file
// procedures read and write them; this class only wires them to the commands.
// It closes itself by destroying its window and posting WM_QUIT with the
// command that closed it, which becomes the process exit code.
#pragma once

#include "acl/ColorSchemes.h"
#include "acl/Handles.h"
#include "acl/Hyperlink.h"
#include "acl/Menu.h"
#include "app/MessageLoop.h"
#include "config/ActionKindRegistry.h"
#include "config/Configuration.h"
#include "app/DialogBase.h"
#include "app/DialogLook.h"
#include "ui/main/FolderList.h"
#include "ui/main/MonitorControl.h"

#include <windows.h>
#include <shellapi.h>

#include <optional>
#include <string>

namespace krn {

class MainDialog : public DialogBase,
                   public MessageFilter,
                   public IdleHandler,
                   public acl::ColorSchemes<MainDialog>,
                   public ConfigurationOwner {
public:
    static constexpr UINT kTemplateId = 130;
    static constexpr UINT kCommandExit = 32776;  // File, Exit

    MainDialog();
    ~MainDialog() override;

    // Creates the (hidden) window; null when it could not be created or when
    // it closed itself while it initialised.
    HWND Create(HWND owner);
    // Command-line mode: the folder path, kept verbatim, that the window opens
    // while it initialises. Set before Create.
    void SetCommandLinePath(const wchar_t* path);

    bool PreTranslateMessage(MSG* msg) override;
    bool OnIdle(int idleCount) override;

    // Unsaved changes; enables the Apply button to match.
    void SetModified(bool modified);

    // 0 when a folder was added, 1223 when the dialog was cancelled.
    DWORD AddFolder(const wchar_t* path);
    // 0 when the folder was changed, 1223 when not, 14 when there is no such row.
    DWORD EditFolder(int row);
    void DeleteFolder(int row);

    FolderList& folders() { return folders_; }
    const FolderList& folders() const { return folders_; }
    const MonitorControl& monitor() const { return monitor_; }

protected:
    std::optional<LRESULT> OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    // The dialog's layout record: the client size the controls were last
    // arranged for.
    struct Layout {
        LONG width = 0;
        LONG height = 0;
        bool recorded = false;
    };

    BOOL OnInitDialog();
    void SetIcons();
    void SetUpMenu();
    void SetUpStatusLink();
    bool LoadConfigurationAtStart();
    void RunCommandLineMode();
    void OnEraseBackground(HDC dc);
    void OnDropFiles(HDROP drop);
    LRESULT OnMeasureItem(MEASUREITEMSTRUCT& item);
    LRESULT OnDrawItem(const DRAWITEMSTRUCT& item);
    void OnSize(UINT type, int width, int height);
    void OnCommand(UINT id, UINT code);
    void OnNotify(const NMHDR& header);
    void OnOK();
    void OnClose(UINT id);
    void CloseMainWindow(UINT quitCode);
    void OnApply();
    DWORD OnImport();
    void OnExport();
    void OnHelpCommand(UINT id);
    void ShowHelp(int topic);
    void InvalidateList() const;

    // ConfigurationOwner
    void OnConfigurationSaved() override;
    void OnFoldersLoaded() override;

    Layout layout_;
    std::optional<std::wstring> commandLinePath_;
    ActionKindRegistry kinds_;
    ImageCache images_;  // before the list, whose rows borrow its bitmaps
    FolderList folders_;
    ACL_Menu menu_;
    acl::unique_hcursor handCursor_;
    acl::Hyperlink_Settings linkSettings_;  // before the link, which uses it to the end
    acl::Hyperlink statusLink_;
    MonitorControl monitor_;
    bool commandLineMode_ = false;
    bool modified_ = false;
    acl::unique_hfont boldFont_;  // the large bold one belongs to the "header" scheme
    BandBrushes brushes_;
    acl::unique_hicon largeIcon_;
    acl::unique_hicon smallIcon_;
};

} // namespace krn
