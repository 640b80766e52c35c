// The look the dialogs share: fonts made from the dialog font, centring over
// the owner or on the work area, and the header band's colour schemes.
#include "app/DialogLook.h"

#include "support/Gui.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

constexpr UINT kTemplate = 130;

INT_PTR CALLBACK PlainDialogProc(HWND, UINT message, WPARAM, LPARAM)
{
    return message == WM_INITDIALOG;
}

// A dialog from the main window's template, destroyed with the object.
struct PlainDialog {
    explicit PlainDialog(HWND owner = nullptr)
        : window(CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(kTemplate), owner, PlainDialogProc, 0))
    {
    }
    ~PlainDialog() { DestroyWindow(window); }
    HWND window;
};

LOGFONTW FontOf(HFONT font)
{
    LOGFONTW lf{};
    GetObjectW(font, sizeof lf, &lf);
    return lf;
}

RECT WindowRect(HWND window)
{
    RECT r{};
    GetWindowRect(window, &r);
    return r;
}

TEST(DialogLook, BoldFontsAreTheDialogFontHeavierAndTwoUnitsLarger)
{
    PlainDialog dialog;
    ASSERT_TRUE(dialog.window);
    const LOGFONTW base = FontOf(reinterpret_cast<HFONT>(SendMessageW(dialog.window, WM_GETFONT, 0, 0)));
    const krn::DialogFonts fonts = krn::MakeDialogFonts(dialog.window);
    ASSERT_TRUE(fonts.bold);
    ASSERT_TRUE(fonts.largeBold);
    const LOGFONTW bold = FontOf(fonts.bold.get());
    const LOGFONTW large = FontOf(fonts.largeBold.get());
    EXPECT_EQ(bold.lfWeight, FW_BOLD);
    EXPECT_EQ(large.lfWeight, FW_BOLD);
    EXPECT_EQ(bold.lfHeight, base.lfHeight);
    EXPECT_EQ(large.lfHeight, base.lfHeight < 0 ? base.lfHeight - 2 : base.lfHeight + 2);
    EXPECT_STREQ(bold.lfFaceName, base.lfFaceName);
}

TEST(DialogLook, DialogIsCentredOverAVisibleOwnerElseOnTheWorkArea)
{
    RECT work{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
    constexpr LONG kFlushRight = -1;  // pushed back inside the work area
    const struct {
        const char* name;
        RECT owner;  // empty: the owner stays hidden
        LONG centreX, centreY;
    } cases[] = {
        {"visible owner", {200, 150, 900, 750}, 550, 450},
        {"owner near the edge", {work.right - 300, 100, work.right + 100, 500}, kFlushRight, 300},
        {"hidden owner: the work area", {}, (work.left + work.right) / 2, (work.top + work.bottom) / 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        HWND owner = CreateWindowExW(0, L"Static", L"owner", WS_POPUP, c.owner.left, c.owner.top,
                                     c.owner.right - c.owner.left, c.owner.bottom - c.owner.top, nullptr, nullptr,
                                     nullptr, nullptr);
        if (c.owner.right > c.owner.left)
            ShowWindow(owner, SW_SHOWNA);
        {
            PlainDialog dialog(owner);
            krn::CentreDialog(dialog.window);
            // Halving an odd size may put the centre half a pixel off.
            const RECT r = WindowRect(dialog.window);
            if (c.centreX == kFlushRight) {
                EXPECT_EQ(r.right, work.right);
            } else {
                EXPECT_LE(std::abs(r.left + r.right - 2 * c.centreX), 1) << r.left << ".." << r.right;
            }
            EXPECT_LE(std::abs(r.top + r.bottom - 2 * c.centreY), 1) << r.top << ".." << r.bottom;
        }
        DestroyWindow(owner);
    }
}

} // namespace
