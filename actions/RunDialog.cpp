#include "actions/RunDialog.h"

#include "resource.h"
#include "settings/HelpLauncher.h"
#include "app/DialogLook.h"

#include <commdlg.h>
#include <shellapi.h>

#include <string>

namespace krn {
namespace {

constexpr COLORREF kLinkColor = RGB(0x00, 0x00, 0xFF);

// The extractor answers 1 instead of an icon for a file that is neither a
// program, a library nor an icon file: that is no icon to show or destroy.
acl::unique_hicon ExtractFirstIcon(HINSTANCE module, const wchar_t* path)
{
    const HICON icon = ExtractIconW(module, path, 0);
    if (reinterpret_cast<UINT_PTR>(icon) <= 1)
        return {};
    return acl::unique_hicon(icon);
}

std::wstring ControlText(HWND dialog, int id)
{
    const HWND control = GetDlgItem(dialog, id);
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
    text.resize(static_cast<size_t>(GetWindowTextW(control, text.data(), static_cast<int>(text.size()))));
    return text;
}

} // namespace

INT_PTR RunDialog::Run(HWND owner)
{
    return RunModal(IDD_RUN, owner);
}

std::optional<LRESULT> RunDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        return OnInitDialog();
    case WM_ERASEBKGND:
        acl::PaintBody(window(), reinterpret_cast<HDC>(wParam));
        return 0;
    case WM_COMMAND:
        if (OnCommand(LOWORD(wParam), HIWORD(wParam)))
            return 0;
        return std::nullopt;
    }
    return AnswerColorMessage(*this, message, wParam, lParam);
}

BOOL RunDialog::OnInitDialog()
{
    CentreDialog(window());
    AddBodyScheme(*this, window());
    if (!params_)
        return TRUE;
    if (params_->path) {
        SetDlgItemTextW(window(), IDC_RUN_PATH, params_->path->c_str());
        RefreshIcon(params_->path->c_str());
    }
    if (params_->params)
        SetDlgItemTextW(window(), IDC_RUN_PARAMS, params_->params->c_str());
    InitHelpLink();
    return TRUE;  // the focus goes to the first tab stop, the path
}

void RunDialog::InitHelpLink()
{
    // LoadCursorW hands out the module's shared copy, which nobody destroys:
    // the settings only borrow it.
    const HCURSOR hand = LoadCursorW(module_, MAKEINTRESOURCEW(IDC_LINK_HAND));
    linkSettings_.flags = acl::Hyperlink_Settings::kUnderline;
    linkSettings_.background = acl::kBodyColor;
    linkSettings_.textColor = kLinkColor;
    linkSettings_.hoverColor = kLinkColor;
    linkSettings_.cursor.reset(hand, false);
    linkSettings_.font.reset();
    helpLink_.Init(acl::Hyperlink::kCommand, GetDlgItem(window(), IDC_RUN_HELP_LINK), window(),
                   static_cast<uint32_t>(IDC_RUN_HELP_LINK), &linkSettings_);
}

bool RunDialog::OnCommand(UINT id, UINT code)
{
    switch (id) {
    case IDC_BROWSE:
        if (code != BN_CLICKED)
            return false;
        Browse();
        return true;
    case IDC_RUN_HELP_LINK:
        ShowHelp();
        return true;
    case IDOK:
        Accept();
        return true;
    case IDCANCEL:  // also Esc and the close box
        EndDialog(window(), ERROR_CANCELLED);
        return true;
    }
    return false;
}

// Only initialisation and browsing show a new icon: while the user types, the
// text is rarely a file yet.
void RunDialog::RefreshIcon(const wchar_t* path)
{
    acl::unique_hicon icon = ExtractFirstIcon(module_, path);
    SendDlgItemMessageW(window(), IDC_RUN_ICON, STM_SETICON, reinterpret_cast<WPARAM>(icon.get()), 0);
    // The old icon goes only once the control no longer shows it.
    icon_ = std::move(icon);
}

void RunDialog::Browse()
{
    // The path box's text is not offered: it may hold quotes or variables
    // that the dialog would not understand.
    wchar_t file[MAX_PATH] = {};
    OPENFILENAMEW request{};
    request.lStructSize = sizeof request;
    request.hwndOwner = window();
    request.lpstrFilter = L"Executable\0*.exe;*.cmd;*.bat\0All\0*.*\0";
    request.nFilterIndex = 1;
    request.lpstrFile = file;
    request.nMaxFile = MAX_PATH;
    request.Flags = OFN_PATHMUSTEXIST;
    if (!GetOpenFileNameW(&request))
        return;
    SetDlgItemTextW(window(), IDC_RUN_PATH, file);
    RefreshIcon(file);
}

void RunDialog::ShowHelp()
{
    HelpLauncher::ShowPage(window(), HelpPage::RunApplication);
}

void RunDialog::Accept()
{
    // Without a block there is nothing to store; OK still means OK.
    if (params_) {
        params_->path = ControlText(window(), IDC_RUN_PATH);
        params_->params = ControlText(window(), IDC_RUN_PARAMS);
    }
    EndDialog(window(), ERROR_SUCCESS);
}

} // namespace krn
