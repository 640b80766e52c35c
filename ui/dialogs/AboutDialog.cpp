#include "ui/dialogs/AboutDialog.h"

#include "app/AppModule.h"
#include "resource.h"
#include "app/DialogLook.h"
#include "ui/MakerPages.h"

namespace krn {
namespace {

constexpr wchar_t kTitle[] = L"About Brimwell™ Pro x64";
constexpr wchar_t kVersion[] = L"Version 5.00.x64";
constexpr COLORREF kBlack = RGB(0x00, 0x00, 0x00);
constexpr COLORREF kLabelColor = RGB(0x32, 0x32, 0x32);
constexpr COLORREF kLinkColor = RGB(0x00, 0x00, 0xC8);
constexpr COLORREF kLinkHoverColor = RGB(0x00, 0x00, 0xFF);

} // namespace

INT_PTR AboutDialog::Run(HWND owner)
{
    return RunModal(kTemplateId, owner);
}

std::optional<LRESULT> AboutDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        return OnInitDialog();
    case WM_COMMAND:
        if (LOWORD(wParam) != IDOK && LOWORD(wParam) != IDCANCEL)  // IDCANCEL: also Esc and the close box
            break;
        EndDialog(window(), 0);
        return 0;
    case WM_DESTROY:
        // The links' controls go with the window: give them their procedures back first.
        DetachLinks();
        return std::nullopt;
    }
    return AnswerColorMessage(*this, message, wParam, lParam);
}

BOOL AboutDialog::OnInitDialog()
{
    CentreDialog(window());
    SetUpLook();
    SetUpLinks();
    SetWindowTextW(window(), kTitle);
    SetDlgItemTextW(window(), IDC_ABOUT_VERSION, kVersion);
    // The focus is left to the dialog manager: activating the box gives it to
    // OK, its only tab stop.
    return FALSE;
}

// Everything on the About colour, the labels and the version in bold and a
// softer black. The scheme set answers all six colour messages, so the
// "default" scheme also paints the dialog's own background.
void AboutDialog::SetUpLook()
{
    AddScheme(L"default", nullptr, 0, kBlack, acl::kAboutColor);
    AddFontScheme(*this, window(), L"list1",
                  {IDC_ABOUT_VERSION, IDC_CONTACT_LABEL, IDC_HOME_LABEL, IDC_SUPPORT_LABEL}, acl::kAboutColor,
                  MakeDialogFonts(window()).bold, kLabelColor);
    useDefault = 1;
}

// A click opens the page with the shell, with no owner window. The links
// keep the controls' own font.
void AboutDialog::SetUpLinks()
{
    linkSettings_.flags = acl::Hyperlink_Settings::kUnderline;
    linkSettings_.background = acl::kAboutColor;
    linkSettings_.textColor = kLinkColor;
    linkSettings_.hoverColor = kLinkHoverColor;
    // A private copy (not LR_SHARED): the record destroys it.
    linkSettings_.cursor.reset(static_cast<HCURSOR>(LoadImageW(Module().instance(), MAKEINTRESOURCEW(IDC_LINK_HAND),
                                                               IMAGE_CURSOR, 0, 0, LR_DEFAULTSIZE)),
                               true);
    // The two address links show the address they open.
    SetDlgItemTextW(window(), IDC_HOME_LINK, kMakerHomePage);
    SetDlgItemTextW(window(), IDC_SUPPORT_LINK, kMakerSupportPage);
    const struct {
        acl::Hyperlink& link;
        int id;
        const wchar_t* page;
    } links[] = {
        {homeLink_, IDC_HOME_LINK, kMakerHomePage},
        {supportLink_, IDC_SUPPORT_LINK, kMakerSupportPage},
        {contactLink_, IDC_CONTACT_LINK, kMakerContactPage},
    };
    for (const auto& l : links)
        l.link.Init(acl::Hyperlink::kOpen, GetDlgItem(window(), l.id), window(), l.page, &linkSettings_);
}

void AboutDialog::DetachLinks()
{
    for (acl::Hyperlink* link : {&homeLink_, &supportLink_, &contactLink_})
        link->Detach();
}

} // namespace krn
