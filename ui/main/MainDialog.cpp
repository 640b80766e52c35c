#include "ui/main/MainDialog.h"

#include "actions/StandardKinds.h"
#include "app/AppModule.h"
#include "app/CrashReporter.h"
#include "config/ConfigDocument.h"
#include "config/Locations.h"
#include "resource.h"
#include "settings/HelpLauncher.h"
#include "settings/RegistryValues.h"
#include "settings/WindowPlacementStore.h"
#include "ui/MakerPages.h"
#include "ui/dialogs/AboutDialog.h"
#include "ui/dialogs/FolderDialog.h"
#include "ui/dialogs/PropertiesDialog.h"

#include <commctrl.h>
#include <commdlg.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>

namespace krn {
namespace {

constexpr wchar_t kNotLoadedQuestion[] =
    L"Configuration file was not loaded.\nDo you want to start with a new (empty) configuration?\nPlease note: the "
    L"old configuration data will be lost.";
constexpr wchar_t kNotSavedQuestion[] =
    L"Configuration file was not saved.\nDo you want to close the application with an unsaved configuration (all "
    L"unsaved data will be lost)?";
constexpr wchar_t kCloseModifiedQuestion[] =
    L"Settings were modified.\nAre you sure you want to close the application without saving changes?";

// Import and export offer the same files; both want an existing file, so an
// export never asks about overwriting.
constexpr wchar_t kConfigurationFilter[] = L"Configuration files\0*.xml\0All\0*.*\0";
constexpr DWORD kConfigurationFileFlags = OFN_PATHMUSTEXIST | OFN_FILEMUSTEXIST;

constexpr UINT kImageCacheIds[] = {IDB_FOLDER, IDB_LOCAL_FOLDER, IDB_DRIVE_ROOT, IDB_NETWORK_FOLDER,
                                   IDB_REMOVABLE_DRIVE};

// The menu in the window's colours.
constexpr COLORREF kMenuBackground = RGB(0xFA, 0xFA, 0xFF);
constexpr COLORREF kWhite = RGB(0xFF, 0xFF, 0xFF);
constexpr COLORREF kBlack = RGB(0x00, 0x00, 0x00);
constexpr COLORREF kLinkColor = RGB(0x00, 0x00, 0xFF);

// How a control follows the window when it is resized.
struct ResizeRule {
    int id;
    bool moveX;
    bool moveY;
    bool growWidth;
    bool growHeight;
};
constexpr ResizeRule kResizeRules[] = {
    {IDCANCEL, true, true, false, false},
    {IDC_APPLY, true, true, false, false},
    {IDC_HEADER_LINE, false, false, true, false},
    {IDC_FOLDER_LIST, false, false, true, true},
    {IDC_ADD, true, true, false, false},
    {IDC_EDIT, true, true, false, false},
    {IDC_DELETE, true, true, false, false},
    {IDC_STATUS_LINE, false, true, true, false},
    {IDC_STATUS_LABEL, false, true, false, false},
    {IDC_STATUS_LINK, false, true, false, false},
    {IDOK, true, true, false, false},
};

void ApplyResizeRule(HWND dialog, const ResizeRule& rule, int dx, int dy)
{
    const HWND control = GetDlgItem(dialog, rule.id);
    RECT r{};
    if (!control || !GetWindowRect(control, &r))
        return;
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&r), 2);
    const int x = r.left + (rule.moveX ? dx : 0);
    const int y = r.top + (rule.moveY ? dy : 0);
    const int width = r.right - r.left + (rule.growWidth ? dx : 0);
    const int height = r.bottom - r.top + (rule.growHeight ? dy : 0);
    SetWindowPos(control, nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
    InvalidateRect(control, nullptr, FALSE);
}

// The standard open or save dialog for a configuration file; the chosen path,
// or nothing when the user cancelled.
std::optional<std::wstring> ChooseConfigurationFile(HWND owner, bool save)
{
    wchar_t file[MAX_PATH] = L"";
    OPENFILENAMEW ofn{};
    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = owner;
    ofn.lpstrFilter = kConfigurationFilter;
    ofn.nFilterIndex = 1;
    ofn.lpstrFile = file;
    ofn.nMaxFile = MAX_PATH;
    ofn.Flags = kConfigurationFileFlags;
    const BOOL chosen = save ? GetSaveFileNameW(&ofn) : GetOpenFileNameW(&ofn);
    if (!chosen)
        return std::nullopt;
    return std::wstring(file);
}

} // namespace

MainDialog::MainDialog() : folders_(images_), monitor_(folders_, linkSettings_) {}

// Destroying the window here, while the whole object still exists, lets it
// see its last messages (the status link detaches on WM_DESTROY).
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
    if (HWND apply = GetDlgItem(window(), IDC_APPLY))
        EnableWindow(apply, modified);
}

std::optional<LRESULT> MainDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        return OnInitDialog();
    case WM_ERASEBKGND:
        OnEraseBackground(reinterpret_cast<HDC>(wParam));
        return 0;
    case WM_DROPFILES:
        OnDropFiles(reinterpret_cast<HDROP>(wParam));
        return 0;
    case WM_MEASUREITEM:
        return OnMeasureItem(*reinterpret_cast<MEASUREITEMSTRUCT*>(lParam));
    case WM_DRAWITEM:
        return OnDrawItem(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
    case WM_TIMER:
        monitor_.OnTimer(wParam);
        return 0;
    case WM_SIZE:
        OnSize(static_cast<UINT>(wParam), LOWORD(lParam), HIWORD(lParam));
        return 0;
    case WM_HELP:
        ShowHelp(1);
        return TRUE;
    case WM_COMMAND:
        OnCommand(LOWORD(wParam), HIWORD(wParam));
        return 0;
    case WM_NOTIFY:
        OnNotify(*reinterpret_cast<const NMHDR*>(lParam));
        return 0;
    case WM_DESTROY:
        // The link's control goes with the window: give it its procedure back first.
        statusLink_.Detach();
        return std::nullopt;
    }
    return AnswerColorMessage(*this, message, wParam, lParam);
}

BOOL MainDialog::OnInitDialog()
{
    SetWindowTextW(window(), kMainWindowTitle);
    CrashReporter::SetOwnerWindow(window());
    const HINSTANCE instance = Module().instance();
    AddStandardKinds(kinds_, instance);
    images_.Load(instance, kImageCacheIds);
    DialogFonts fonts = MakeDialogFonts(window());
    boldFont_ = std::move(fonts.bold);
    SetIcons();
    handCursor_.reset(static_cast<HCURSOR>(
        LoadImageW(instance, MAKEINTRESOURCEW(IDC_LINK_HAND), IMAGE_CURSOR, 0, 0, LR_DEFAULTSIZE)));
    JoinMessageLoop(Module().GetMessageLoop(), this, this);
    SetModified(false);
    AddHeaderSchemes(*this, window(), std::move(fonts.largeBold), {kHeaderTextId, kHeaderPictureId});
    SetUpMenu();
    SetUpStatusLink();
    folders_.Attach(window(), IDC_FOLDER_LIST);
    if (!LoadConfigurationAtStart())
        return TRUE;  // the user refused to start empty: the window is gone
    RECT client{};
    GetClientRect(window(), &client);
    layout_ = {client.right, client.bottom, true};
    monitor_.Start(window(), GetDlgItem(window(), IDC_STATUS_LINK), handCursor_.get());
    if (commandLinePath_)
        RunCommandLineMode();
    return TRUE;
}

void MainDialog::SetIcons()
{
    const HINSTANCE instance = Module().instance();
    largeIcon_.reset(static_cast<HICON>(LoadImageW(instance, MAKEINTRESOURCEW(IDI_APP), IMAGE_ICON,
                                                   GetSystemMetrics(SM_CXICON), GetSystemMetrics(SM_CYICON), 0)));
    smallIcon_.reset(static_cast<HICON>(LoadImageW(instance, MAKEINTRESOURCEW(IDI_APP), IMAGE_ICON,
                                                   GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON), 0)));
    SendMessageW(window(), WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(largeIcon_.get()));
    SendMessageW(window(), WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(smallIcon_.get()));
}

void MainDialog::SetUpMenu()
{
    menu_.Attach(Module().instance(), IDR_MAIN_MENU, IDR_MENU_IMAGES, IDB_MENU_IMAGES, window());
    menu_.SetImageMetrics(16, 16, ACL_Menu::kKeep, ACL_Menu::kKeep);
    menu_.SetColors(kMenuBackground, acl::kBodyColor, kWhite, acl::kBodyColor, kBlack, kWhite,
                    GetSysColor(COLOR_GRAYTEXT), kBlack, kBlack, kBlack);
    // The template has no menu: the window grows by the menu bar, so that the
    // controls keep the whole client area they were laid out in.
    RECT client{};
    GetClientRect(window(), &client);
    SetMenu(window(), menu_.menu());
    RECT frame = client;
    AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongPtrW(window(), GWL_STYLE)), TRUE,
                       static_cast<DWORD>(GetWindowLongPtrW(window(), GWL_EXSTYLE)));
    SetWindowPos(window(), nullptr, 0, 0, frame.right - frame.left, frame.bottom - frame.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void MainDialog::SetUpStatusLink()
{
    linkSettings_.flags = acl::Hyperlink_Settings::kUnderline;
    linkSettings_.background = acl::kBodyColor;
    linkSettings_.textColor = kLinkColor;
    linkSettings_.hoverColor = kLinkColor;
    linkSettings_.cursor.reset(handCursor_.get(), false);
    statusLink_.Init(acl::Hyperlink::kCommand, GetDlgItem(window(), IDC_STATUS_LINK), window(), IDC_STATUS_LINK,
                     &linkSettings_);
}

// A missing file is a first start; a folder that cannot be found, a path that
// does not fit or a file that does not load needs the user's word before the
// configuration is started anew. False when the user refused (the window is
// closed then).
bool MainDialog::LoadConfigurationAtStart()
{
    std::wstring path;
    if (GetConfigPath(path) == ERROR_SUCCESS) {
        if (!PathFileExistsW(path.c_str()))
            return true;
        const DWORD loaded = folders_.LoadConfiguration(path.c_str(), kinds_);
        OnFoldersLoaded();
        if (loaded == ERROR_SUCCESS)
            return true;
    }
    if (MessageBoxW(window(), kNotLoadedQuestion, kMainWindowTitle, MB_OKCANCEL | MB_ICONEXCLAMATION) == IDOK)
        return true;
    OnClose(0);
    return false;
}

// Opens only the folder dialog for the path of the command line: the folder
// of the list with that path (letter case aside), or a new one. A confirmed
// change is saved at once.
void MainDialog::RunCommandLineMode()
{
    int match = -1;
    for (int row = 0; row < folders_.RowCount() && match < 0; ++row) {
        const FolderEntry* entry = folders_.EntryAt(row);
        if (entry->path && CompareIgnoringAsciiCase(*entry->path, *commandLinePath_) == 0)
            match = row;
    }
    const DWORD result = match >= 0 ? EditFolder(match) : AddFolder(commandLinePath_->c_str());
    // OK closes the window before the mode is recorded, so that close still
    // stores the window placement, as the program has always done.
    if (result == ERROR_SUCCESS)
        OnOK();
    commandLineMode_ = true;
    commandLinePath_.reset();
}

void MainDialog::OnEraseBackground(HDC dc)
{
    acl::PaintHeaderBand(window(), dc, brushes_.header.get(), brushes_.body.get());
}

void MainDialog::OnDropFiles(HDROP drop)
{
    wchar_t name[MAX_PATH] = L"";
    const UINT copied = DragQueryFileW(drop, 0, name, MAX_PATH);
    DragFinish(drop);
    if (copied > 0 && PathIsDirectoryW(name))
        AddFolder(name);
}

LRESULT MainDialog::OnMeasureItem(MEASUREITEMSTRUCT& item)
{
    // The list asks before WM_INITDIALOG too; it is answered from what the
    // list knows then and asked again once it is set up.
    if (item.CtlType != ODT_MENU && item.CtlID == IDC_FOLDER_LIST)
        return folders_.view().OnMeasureItem(item.CtlID, item);
    menu_.MeasureItem(item);
    return TRUE;
}

LRESULT MainDialog::OnDrawItem(const DRAWITEMSTRUCT& item)
{
    if (item.CtlType != ODT_MENU && item.CtlID == IDC_FOLDER_LIST)
        return folders_.view().OnDrawItem(item.CtlID, item);
    menu_.DrawItem(item);
    return TRUE;
}

// The controls below the header follow the bottom and right edges; the header
// itself stays where it is.
void MainDialog::OnSize(UINT type, int width, int height)
{
    // Sizes seen while the window is set up are its own doing: the layout is
    // recorded once it is complete.
    if (!layout_.recorded || type == SIZE_MINIMIZED || (width == layout_.width && height == layout_.height))
        return;
    const int dx = width - layout_.width;
    const int dy = height - layout_.height;
    for (const ResizeRule& rule : kResizeRules)
        ApplyResizeRule(window(), rule, dx, dy);
    layout_.width = width;
    layout_.height = height;
}

void MainDialog::OnCommand(UINT id, UINT code)
{
    switch (id) {
    case IDOK:
        OnOK();
        break;
    case IDCANCEL:  // also Esc and the close box
    case kCommandExit:
        OnClose(id);
        break;
    case ID_FILE_IMPORT:
        OnImport();
        break;
    case ID_FILE_EXPORT:
        OnExport();
        break;
    case ID_FILE_PROPERTIES:
        // The program-wide settings go to the registry at once; the
        // configuration's modified state is not theirs.
        PropertiesDialog().Run(window());
        break;
    case ID_HELP_HELP:
    case ID_HELP_WEBSITE:
    case ID_HELP_SUPPORT:
    case ID_HELP_ABOUT:
        OnHelpCommand(id);
        break;
    case IDC_STATUS_LINK:
        if (!monitor_.toggleBusy())
            monitor_.OnToggleWatcher();
        break;
    case IDC_ADD:
        if (code == BN_CLICKED)
            AddFolder(nullptr);
        break;
    case IDC_EDIT:
        if (code == BN_CLICKED)
            EditFolder(folders_.GetSelectedRow());
        break;
    case IDC_DELETE:
        if (code == BN_CLICKED)
            DeleteFolder(folders_.GetSelectedRow());
        break;
    case IDC_APPLY:
        // A disabled button can still be sent its command: only changes apply.
        if (code == BN_CLICKED && modified_)
            OnApply();
        break;
    }
}

void MainDialog::OnNotify(const NMHDR& header)
{
    if (header.code == TTN_GETDISPINFOW &&
        header.idFrom == reinterpret_cast<UINT_PTR>(folders_.view().GetListWindow())) {
        monitor_.OnTooltipText(const_cast<NMTTDISPINFOW&>(reinterpret_cast<const NMTTDISPINFOW&>(header)));
        return;
    }
    if (header.idFrom != IDC_FOLDER_LIST)
        return;
    if (header.code == NM_DBLCLK) {
        const int row = reinterpret_cast<const NMITEMACTIVATE&>(header).iItem;
        if (row >= 0)
            EditFolder(row);
    } else if (header.code == LVN_COLUMNCLICK) {
        folders_.Sort(reinterpret_cast<const NMLISTVIEW&>(header).iSubItem);
        InvalidateList();
    }
}

DWORD MainDialog::AddFolder(const wchar_t* path)
{
    FolderDialog dialog(kinds_);
    auto entry = std::make_unique<FolderEntry>();
    if (path)
        entry->path = path;
    if (dialog.Run(window(), entry.get()) != 1)
        return ERROR_CANCELLED;
    folders_.AppendRow(std::move(entry));
    SetModified(true);
    return ERROR_SUCCESS;
}

DWORD MainDialog::EditFolder(int row)
{
    FolderEntry* entry = folders_.EntryAt(row);
    if (!entry)
        return ERROR_OUTOFMEMORY;
    FolderDialog dialog(kinds_);
    if (dialog.Run(window(), entry) != 1)
        return ERROR_CANCELLED;
    folders_.SetRow(row);
    InvalidateList();
    SetModified(true);
    return ERROR_SUCCESS;
}

void MainDialog::DeleteFolder(int row)
{
    if (!folders_.DeleteRow(row))
        return;
    InvalidateList();
    SetModified(true);
}

void MainDialog::OnOK()
{
    if (modified_)
        OnApply();
    OnClose(IDOK);
}

void MainDialog::OnClose(UINT id)
{
    if (modified_ &&
        MessageBoxW(window(), kCloseModifiedQuestion, kMainWindowTitle, MB_YESNO | MB_ICONQUESTION) != IDYES)
        return;
    folders_.SaveListSettings();
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

void MainDialog::OnApply()
{
    std::wstring path;
    if (GetConfigPath(path) == ERROR_SUCCESS &&
        SaveConfiguration(path.c_str(), folders_.Entries(), this) == ERROR_SUCCESS) {
        monitor_.NotifyWatcherReload();
        SetModified(false);
        return;
    }
    // Yes gives the changes up, so that closing does not ask again.
    if (MessageBoxW(window(), kNotSavedQuestion, kMainWindowTitle, MB_YESNO | MB_ICONEXCLAMATION) == IDYES)
        SetModified(false);
}

// A file that does not load leaves an empty list, marked modified all the
// same: the user chose to replace the configuration.
DWORD MainDialog::OnImport()
{
    const std::optional<std::wstring> file = ChooseConfigurationFile(window(), false);
    if (!file)
        return ERROR_CANCELLED;
    folders_.DeleteAllRows();
    folders_.LoadConfiguration(file->c_str(), kinds_);
    OnFoldersLoaded();
    SetModified(true);
    return ERROR_SUCCESS;
}

// Saving through the same procedure as Apply also clears the modified state,
// although config.xml itself was not written.
void MainDialog::OnExport()
{
    if (const std::optional<std::wstring> file = ChooseConfigurationFile(window(), true))
        SaveConfiguration(file->c_str(), folders_.Entries(), this);
}

void MainDialog::OnHelpCommand(UINT id)
{
    switch (id) {
    case ID_HELP_HELP:
        ShowHelp(0);
        break;
    case ID_HELP_WEBSITE:
        ShellExecuteW(nullptr, L"open", kMakerHomePage, L"", L"", SW_SHOW);
        break;
    case ID_HELP_SUPPORT:
        ShellExecuteW(nullptr, L"open", kMakerSupportPage, L"", L"", SW_SHOW);
        break;
    case ID_HELP_ABOUT:
        AboutDialog().Run(window());
        break;
    }
}

// Topic 0 is the help file, 1 the page on managing folders; any other topic
// passes the bare program folder.
void MainDialog::ShowHelp(int topic)
{
    const HelpPage page = topic == 0 ? HelpPage::Contents : topic == 1 ? HelpPage::ManageFolders : HelpPage::FolderOnly;
    HelpLauncher::ShowPage(window(), page);
}

void MainDialog::InvalidateList() const
{
    InvalidateRect(GetDlgItem(window(), IDC_FOLDER_LIST), nullptr, TRUE);
}

void MainDialog::OnConfigurationSaved()
{
    SetModified(false);
}

void MainDialog::OnFoldersLoaded()
{
    InvalidateList();
}

} // namespace krn
