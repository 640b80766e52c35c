// The look the dialogs share: the common controls 6 that the manifest asks
// for, fonts made from the dialog font, and centring over the owner or on the
// work area.
#include "acl/Handles.h"
#include "app/DialogLook.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

// A dialog from the main window's template.
acl::unique_hwnd PlainDialog(HWND owner = nullptr)
{
    const DLGPROC proc = [](HWND, UINT message, WPARAM, LPARAM) -> INT_PTR { return message == WM_INITDIALOG; };
    return acl::unique_hwnd(CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(130), owner, proc, 0));
}

LOGFONTW FontOf(HFONT font)
{
    LOGFONTW lf{};
    GetObjectW(font, sizeof lf, &lf);
    return lf;
}

TEST(DialogLook, TheManifestLoadsCommonControlsVersion6)
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(GetModuleHandleW(L"comctl32.dll"), path, MAX_PATH);
    EXPECT_NE(std::wstring(path).find(L"amd64_microsoft.windows.common-controls"), std::wstring::npos)
        << "comctl32 came from " << testing::PrintToString(std::wstring(path)) << ": the manifest was not applied";
}

TEST(DialogLook, BoldFontsAreTheDialogFontHeavierAndTwoUnitsLarger)
{
    const acl::unique_hwnd dialog = PlainDialog();
    ASSERT_TRUE(dialog);
    const LOGFONTW base = FontOf(reinterpret_cast<HFONT>(SendMessageW(dialog.get(), WM_GETFONT, 0, 0)));
    const krn::DialogFonts fonts = krn::MakeDialogFonts(dialog.get());
    const LOGFONTW bold = FontOf(fonts.bold.get()), large = FontOf(fonts.largeBold.get());
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
    // The owner (empty: it stays hidden) and where the dialog's centre goes.
    const std::tuple<const char*, RECT, LONG, LONG> cases[] = {
        {"visible owner", {200, 150, 900, 750}, 550, 450},
        {"owner near the edge", {work.right - 300, 100, work.right + 100, 500}, kFlushRight, 300},
        {"hidden owner: the work area", {}, (work.left + work.right) / 2, (work.top + work.bottom) / 2},
    };
    for (const auto& [name, owned, centreX, centreY] : cases) {
        SCOPED_TRACE(name);
        const acl::unique_hwnd owner(CreateWindowExW(0, L"Static", L"owner", WS_POPUP, owned.left, owned.top,
                                                     owned.right - owned.left, owned.bottom - owned.top, nullptr,
                                                     nullptr, nullptr, nullptr));
        if (owned.right > owned.left)
            ShowWindow(owner.get(), SW_SHOWNA);
        const acl::unique_hwnd dialog = PlainDialog(owner.get());  // goes before its owner
        krn::CentreDialog(dialog.get());
        // Halving an odd size may put the centre half a pixel off.
        RECT r{};
        GetWindowRect(dialog.get(), &r);
        EXPECT_LE(std::abs(centreX == kFlushRight ? r.right - work.right : r.left + r.right - 2 * centreX),
                  centreX == kFlushRight ? 0 : 1)
            << r.left << ".." << r.right;
        EXPECT_LE(std::abs(r.top + r.bottom - 2 * centreY), 1) << r.top << ".." << r.bottom;
    }
}

} // namespace
