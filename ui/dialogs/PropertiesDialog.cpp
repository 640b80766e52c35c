#include "ui/dialogs/PropertiesDialog.h"

#include "base/Handles.h"
#include "config/Locations.h"
#include "resource.h"
#include "settings/RegistrySettings.h"
#include "settings/RegistryValues.h"
#include "app/DialogLook.h"

#include <commdlg.h>
#include <shellapi.h>

#include <string>

namespace krn {
namespace {

constexpr wchar_t kWatcherFileName[] = L"\\KRN Watcher.exe";
// "Log files files" is the product's own wording, kept so that the dialog reads
// the way its users know it.
constexpr wchar_t kLogFileFilter[] = L"Log files files\0*.log;*.txt\0All\0*.*\0";
// The save dialog is told of 520 characters; the buffer holds all of them, so
// a long choice cannot run past it.
constexpr DWORD kChosenFileChars = 520;

bool IsChecked(HWND dialog, int id)
{
    return SendDlgItemMessageW(dialog, id, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

// Only the presence of the value counts: an entry that starts another copy of
// the watcher still means "start with Windows".
bool StartsWithWindows()
{
    base::unique_hkey run;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, registry::kRunKey, 0, KEY_READ, run.put()) != ERROR_SUCCESS)
        return false;
    return RegQueryValueExW(run.get(), registry::kStartWithWindows.name, nullptr, nullptr, nullptr, nullptr) ==
           ERROR_SUCCESS;
}

// The watcher installed beside this program, at most MAX_PATH - 1 characters.
std::wstring ThisInstallationsWatcher()
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring path(program);
    if (const size_t slash = path.rfind(L'\\'); slash != std::wstring::npos)
        path.resize(slash);
    path += kWatcherFileName;
    if (path.size() > MAX_PATH - 1)
        path.resize(MAX_PATH - 1);
    return path;
}

} // namespace

INT_PTR PropertiesDialog::Run(HWND owner)
{
    return RunModal(kTemplateId, owner);
}

std::optional<LRESULT> PropertiesDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        return OnInitDialog();
    case WM_ERASEBKGND:
        return OnEraseBackground(reinterpret_cast<HDC>(wParam));
    case WM_COMMAND:
        OnCommand(LOWORD(wParam), HIWORD(wParam));
        return 0;
    }
    return AnswerColorMessage(*this, message, wParam, lParam);
}

BOOL PropertiesDialog::OnInitDialog()
{
    CentreDialog(window());
    SetUpLook();
    LoadSettings();
    return TRUE;  // the focus goes to the first tab stop
}

void PropertiesDialog::SetUpLook()
{
    DialogFonts fonts = MakeDialogFonts(window());
    boldFont_ = std::move(fonts.bold);
    AddHeaderSchemes(*this, window(), std::move(fonts.largeBold), {kHeaderTextId});
}

// Opening a key for reading creates it: the settings keys exist afterwards,
// empty when nothing was stored yet.
void PropertiesDialog::LoadSettings()
{
    wchar_t defaultLog[kLogPathChars] = {};
    if (GetDefaultLogPath(defaultLog) != ERROR_SUCCESS)
        defaultLog[0] = L'\0';
    acl::RegistrySettings settings;
    settings.Open(HKEY_CURRENT_USER, registry::kDisableAlertOnStartup.key, KEY_READ);
    settings.LoadCheck(GetDlgItem(window(), IDC_DISABLE_ALERTS), registry::kDisableAlertOnStartup.name);
    settings.Open(HKEY_CURRENT_USER, registry::kLogFile.key, KEY_READ);
    settings.LoadText(GetDlgItem(window(), IDC_LOG_PATH), registry::kLogFile.name, defaultLog);
    CheckDlgButton(window(), IDC_START_WITH_WINDOWS, StartsWithWindows() ? BST_CHECKED : BST_UNCHECKED);
}

// The brushes are made for this paint only: the dialog is small and seldom open.
std::optional<LRESULT> PropertiesDialog::OnEraseBackground(HDC dc)
{
    if (!acl::PaintHeaderBand(window(), dc))
        return std::nullopt;
    return 0;
}

void PropertiesDialog::OnCommand(UINT id, UINT code)
{
    switch (id) {
    case IDOK:  // whatever the notification
        SaveAndClose();
        return;
    case IDCANCEL:  // also Esc and the close box
        EndDialog(window(), 0);
        return;
    }
    if (code != BN_CLICKED)
        return;
    switch (id) {
    case IDC_CHOOSE_LOG:
        ChooseLogFile();
        break;
    case IDC_VIEW_LOG:
        ViewLog();
        break;
    }
}

// All three values are written even when nothing changed; no failure is shown.
void PropertiesDialog::SaveAndClose()
{
    acl::RegistrySettings settings;
    settings.Open(HKEY_CURRENT_USER, registry::kDisableAlertOnStartup.key, KEY_WRITE);
    settings.SaveCheck(GetDlgItem(window(), IDC_DISABLE_ALERTS), registry::kDisableAlertOnStartup.name);
    settings.Open(HKEY_CURRENT_USER, registry::kLogFile.key, KEY_WRITE);
    settings.SaveText(GetDlgItem(window(), IDC_LOG_PATH), registry::kLogFile.name);
    SaveStartWithWindows();
    EndDialog(window(), 1);
}

// The entry always names this installation's watcher, replacing whatever it
// named before. Windows takes an unquoted path with spaces as it stands.
void PropertiesDialog::SaveStartWithWindows()
{
    base::unique_hkey run;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, registry::kRunKey, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                        nullptr, run.put(), nullptr) != ERROR_SUCCESS)
        return;
    if (!IsChecked(window(), IDC_START_WITH_WINDOWS)) {
        RegDeleteValueW(run.get(), registry::kStartWithWindows.name);
        return;
    }
    const std::wstring watcher = ThisInstallationsWatcher();
    RegSetValueExW(run.get(), registry::kStartWithWindows.name, 0, REG_SZ, reinterpret_cast<const BYTE*>(watcher.c_str()),
                   static_cast<DWORD>((watcher.size() + 1) * sizeof(wchar_t)));
}

// The current path is not offered, and the file need not exist yet: the
// watcher creates it on its first entry.
void PropertiesDialog::ChooseLogFile()
{
    wchar_t chosen[kChosenFileChars] = {};
    OPENFILENAMEW ofn{};
    ofn.lStructSize = sizeof ofn;
    ofn.hwndOwner = window();
    ofn.lpstrFilter = kLogFileFilter;
    ofn.nFilterIndex = 1;
    ofn.lpstrFile = chosen;
    ofn.nMaxFile = kChosenFileChars;
    ofn.Flags = OFN_PATHMUSTEXIST;
    if (GetSaveFileNameW(&ofn))
        SetDlgItemTextW(window(), IDC_LOG_PATH, chosen);
}

// The path in the field now, saved or not, handed to Notepad as it stands.
void PropertiesDialog::ViewLog()
{
    wchar_t path[kLogPathChars] = {};
    GetDlgItemTextW(window(), IDC_LOG_PATH, path, static_cast<int>(kLogPathChars));
    ShellExecuteW(nullptr, L"open", L"notepad.exe", path, nullptr, SW_SHOW);
}

} // namespace krn
