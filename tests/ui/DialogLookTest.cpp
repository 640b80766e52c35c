// The look the dialogs share: fonts made from the dialog font, centring over
// the owner or on the work area, and the header band's colour schemes.
#include "ui/DialogLook.h"

#include "support/Gui.h"

#include <gtest/gtest.h>

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
    const struct {
        const char* name;
        RECT owner;  // empty: the owner stays hidden
    } cases[] = {
        {"visible owner", {200, 150, 900, 750}},
        {"owner near the edge: kept inside the work area", {work.right - 300, 100, work.right + 100, 500}},
        {"hidden owner: the work area", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const bool visible = c.owner.right > c.owner.left;
        HWND owner = CreateWindowExW(0, L"Static", L"owner", WS_POPUP, c.owner.left, c.owner.top,
                                     c.owner.right - c.owner.left, c.owner.bottom - c.owner.top, nullptr, nullptr,
                                     nullptr, nullptr);
        if (visible)
            ShowWindow(owner, SW_SHOWNA);
        {
            PlainDialog dialog(owner);
            krn::CentreDialog(dialog.window);
            const RECT r = WindowRect(dialog.window);
            const LONG width = r.right - r.left;
            const LONG height = r.bottom - r.top;
            const RECT area = visible ? c.owner : work;
            const LONG left = std::clamp((area.left + area.right) / 2 - width / 2, work.left, work.right - width);
            const LONG top = std::clamp((area.top + area.bottom) / 2 - height / 2, work.top, work.bottom - height);
            EXPECT_EQ(r.left, left);
            EXPECT_EQ(r.top, top);
        }
        DestroyWindow(owner);
    }
}

} // namespace
