// The About box: what it shows, on which colour, where its links lead (a
// click reaches the shell, whose browser launcher hands the address to the
// stand-in opener, see FAKE_OPENER), and that it ends with 0 however it closes.
#include "ui/dialogs/AboutDialog.h"

#include "resource.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace krn::test {
namespace {

// The version replaces the template's text; each link shows its text and
// opens its page; the box, its labels and its links are on #9EBAEA. OK, Esc
// and the close box all end it with 0.
TEST(AboutDialogTest, ShowsTheVersionAndLinksToTheMakersPagesAndEndsWithZero)
{
    const std::pair<int, const wchar_t*> links[] = {
        {IDC_HOME_LINK, L"https://www.norlath.com/kestrune/"},
        {IDC_SUPPORT_LINK, L"https://www.norlath.com/kestrune/support/"},
        {IDC_CONTACT_LINK, L"Click here to contact us via our Web site."},
    };
    const DialogDriver::Action closings[] = {
        [](HWND dialog) { DialogDriver::Click(dialog, IDOK); },
        [](HWND dialog) { PostMessageW(dialog, WM_KEYDOWN, VK_ESCAPE, 0); },
        [](HWND dialog) { PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0); },
    };
    DeleteFileW(OpenedAddressLog().c_str());
    Pixels shot;
    RECT label{}, link{};
    for (const auto& close : closings) {
        DialogDriver driver;
        driver.Expect(L"About Brimwell™ Pro x64", [&](HWND dialog) {
            if (shot.empty()) {  // the first run: everything it shows
                EXPECT_EQ(WindowText(GetDlgItem(dialog, IDC_ABOUT_VERSION)), L"Version 5.00.x64");
                for (const auto& [id, text] : links) {
                    EXPECT_EQ(WindowText(GetDlgItem(dialog, id)), text);
                    SendDlgItemMessageW(dialog, id, WM_LBUTTONUP, 0, MAKELPARAM(2, 2));
                }
                for (auto [id, place] : {std::pair{IDC_SUPPORT_LABEL, &label}, std::pair{IDC_CONTACT_LINK, &link}}) {
                    GetWindowRect(GetDlgItem(dialog, id), place);
                    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(place), 2);
                }
                SetWindowPos(dialog, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
                RedrawWindow(dialog, nullptr, nullptr, RDW_ERASE | RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
                shot = CaptureScreen(dialog);
            }
            close(dialog);
        });
        EXPECT_EQ(AboutDialog().Run(nullptr), 0);
        EXPECT_EQ(driver.Report(), "");
    }
    const std::vector<std::string> expected = {"https://www.norlath.com/contact/", "https://www.norlath.com/kestrune/",
                                               "https://www.norlath.com/kestrune/support/"};
    PumpUntil([&] { return OpenedAddresses().size() >= expected.size(); }, 10000);
    EXPECT_EQ(OpenedAddresses(), expected);
    ASSERT_FALSE(shot.empty());
    const COLORREF about = RGB(0x9E, 0xBA, 0xEA);
    EXPECT_EQ(shot.at(3, 3), about) << "dialog";
    EXPECT_EQ(shot.at(label.right - 2, label.top + 4), about) << "label past its text";
    EXPECT_EQ(shot.at(link.right - 2, link.top + 4), about) << "link past its text";
}

} // namespace
} // namespace krn::test
