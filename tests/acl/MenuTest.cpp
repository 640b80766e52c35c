#include "acl/Menu.h"

#include "resource.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using krn::test::Pixels;

// The main dialog's colours, with distinct frame, separator and check colours
// so that every part of a drawing can be told apart.
constexpr COLORREF kBack = RGB(0xFA, 0xFA, 0xFF), kSelection = RGB(0x8A, 0xA6, 0xD6), kWhite = RGB(255, 255, 255);
constexpr COLORREF kFrame = RGB(0, 0, 255), kSeparator = RGB(0, 128, 0), kCheck = RGB(255, 0, 0);

// A window that hands its menu's measure and draw messages to the menu.
struct Owner {
    Owner()
    {
        WNDCLASSW wc{};
        wc.lpfnWndProc = &Proc;
        wc.lpszClassName = L"AclMenuTestOwner";
        RegisterClassW(&wc);
        window = CreateWindowExW(WS_EX_TOPMOST, wc.lpszClassName, L"menu", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 820, 20,
                                 300, 200, nullptr, nullptr, nullptr, nullptr);
    }
    ~Owner() { DestroyWindow(window); }
    static LRESULT CALLBACK Proc(HWND w, UINT m, WPARAM wp, LPARAM lp)
    {
        if (m == WM_MEASUREITEM && wp == 0 && current) {
            ++current->measured;
            current->menu->MeasureItem(*reinterpret_cast<MEASUREITEMSTRUCT*>(lp));
            return TRUE;
        }
        if (m == WM_DRAWITEM && wp == 0 && current) {
            ++current->drawn;
            current->menu->DrawItem(*reinterpret_cast<const DRAWITEMSTRUCT*>(lp));
            return TRUE;
        }
        return DefWindowProcW(w, m, wp, lp);
    }

    static inline Owner* current = nullptr;
    HWND window = nullptr;
    ACL_Menu* menu = nullptr;
    int measured = 0, drawn = 0;
};

class MenuTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(owner.window);
        ASSERT_EQ(menu.Attach(GetModuleHandleW(nullptr), IDR_MAIN_MENU, IDR_MENU_IMAGES, IDB_MENU_IMAGES, owner.window),
                  0u);
        menu.SetImageMetrics(16, 16, ACL_Menu::kKeep, ACL_Menu::kKeep);
        menu.SetColors(kBack, kSelection, kWhite, kSelection, RGB(0, 0, 0), kWhite, GetSysColor(COLOR_GRAYTEXT), kFrame,
                       kSeparator, kCheck);
        owner.menu = &menu;
        Owner::current = &owner;
    }
    void TearDown() override { Owner::current = nullptr; }

    ACL_MenuItem* Record(UINT command) const
    {
        MENUITEMINFOW info{sizeof(info), MIIM_DATA};
        GetMenuItemInfoW(menu.menu(), command, FALSE, &info);
        return reinterpret_cast<ACL_MenuItem*>(info.dwItemData);
    }
    const ACL_MenuImage* Image(UINT command) const
    {
        for (const auto& image : menu.images())
            if (image->commandId == command)
                return image.get();
        return nullptr;
    }
    Pixels Draw(ACL_MenuItem* record, UINT state, int width = 200, int height = 20)
    {
        return krn::test::Render(width, height, RGB(1, 1, 1), [&](HDC dc) {
            DRAWITEMSTRUCT dis{ODT_MENU, 0, 0, ODA_DRAWENTIRE, state, nullptr, dc, {0, 0, width, height}};
            dis.itemData = reinterpret_cast<ULONG_PTR>(record);
            EXPECT_EQ(menu.DrawItem(dis), 0u);
        });
    }
    // Calls `check` with every pixel of the command's image that is not transparent.
    static int ForEachOpaque(const ACL_MenuImage& image, const std::function<void(int, int, COLORREF)>& check)
    {
        const Pixels source = krn::test::Render(16, 16, 0, [&](HDC dc) {
            HDC bitmapDc = CreateCompatibleDC(dc);
            HGDIOBJ old = SelectObject(bitmapDc, image.bitmap.get());
            BitBlt(dc, 0, 0, 16, 16, bitmapDc, 0, 0, SRCCOPY);
            SelectObject(bitmapDc, old);
            DeleteDC(bitmapDc);
        });
        int n = 0;
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 16; ++x)
                if (source.at(x, y) != image.transparentColor && ++n)
                    check(x, y, source.at(x, y));
        return n;
    }
    static SIZE TextSize(const wchar_t* text)
    {
        acl::unique_hfont font = acl::CreateMenuFont();
        HDC dc = CreateCompatibleDC(nullptr);
        HGDIOBJ old = SelectObject(dc, font.get());
        RECT r{};
        DrawTextW(dc, text, -1, &r, DT_CALCRECT | DT_SINGLELINE);
        SelectObject(dc, old);
        DeleteDC(dc);
        return {r.right, r.bottom};
    }
    UINT MeasuredWidth(ACL_MenuItem* record, UINT* height)
    {
        MEASUREITEMSTRUCT mis{ODT_MENU};
        mis.itemData = reinterpret_cast<ULONG_PTR>(record);
        EXPECT_EQ(menu.MeasureItem(mis), 0u);
        *height = mis.itemHeight;
        return mis.itemWidth;
    }

    Owner owner;
    ACL_Menu menu;
};

TEST_F(MenuTest, AttachCutsOneImagePerCommandAndConvertsEveryItem)
{
    EXPECT_EQ(menu.Attach(nullptr, IDR_MAIN_MENU, 0, 0, nullptr), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    const std::vector<uint32_t> expected{ID_FILE_IMPORT, ID_FILE_EXPORT,  ID_FILE_PROPERTIES, ID_FILE_EXIT,
                                         ID_HELP_HELP,   ID_HELP_WEBSITE, ID_HELP_SUPPORT,    ID_HELP_ABOUT};
    std::vector<uint32_t> commands;
    for (const auto& image : menu.images()) {
        commands.push_back(image->commandId);
        EXPECT_EQ(image->transparentColor, RGB(255, 0, 255)) << "the top-left pixel of image " << image->commandId;
    }
    EXPECT_EQ(commands, expected);

    // In menu order: 2 bar items, each followed by the 6 items of its drop-down.
    ASSERT_EQ(menu.items().size(), 14u);
    EXPECT_EQ(menu.items()[0]->text, L"&File");
    EXPECT_EQ(menu.items()[0]->topLevel, 1u);
    EXPECT_EQ(menu.items()[6]->text, L"E&xit");
    EXPECT_EQ(menu.items()[6]->topLevel, 0u);
    EXPECT_TRUE(menu.items()[3]->state & MF_SEPARATOR);
    EXPECT_EQ(Record(ID_FILE_EXIT)->image, Image(ID_FILE_EXIT));
    for (HMENU m : {menu.menu(), GetSubMenu(menu.menu(), 1)}) {
        for (int i = 0; i < GetMenuItemCount(m); ++i) {
            MENUITEMINFOW info{sizeof(info), MIIM_FTYPE | MIIM_DATA};
            GetMenuItemInfoW(m, i, TRUE, &info);
            EXPECT_TRUE(info.fType & MFT_OWNERDRAW) << "position " << i;
            EXPECT_NE(info.dwItemData, 0u) << "position " << i;
        }
    }
}

TEST_F(MenuTest, MeasuresSeparatorsItemsAndBarItems)
{
    UINT height = 0;
    EXPECT_EQ(MeasuredWidth(menu.items()[3].get(), &height), 43u) << "a separator";
    EXPECT_EQ(height, 5u);
    const SIZE exit = TextSize(L"E&xit");
    ASSERT_LT(exit.cy + 4, 20) << "the menu font is too large for this case";
    EXPECT_EQ(MeasuredWidth(Record(ID_FILE_EXIT), &height), static_cast<UINT>(22 + 2 * 10 + exit.cx));
    EXPECT_EQ(height, 20u) << "a short item is as high as the image cell";
    const SIZE bar = TextSize(L"&File");
    EXPECT_EQ(MeasuredWidth(menu.items()[0].get(), &height), static_cast<UINT>(bar.cx + 4));
    EXPECT_EQ(height, static_cast<UINT>(bar.cy + 4));

    menu.SetImageMetrics(24, 24, 4, ACL_Menu::kKeep);
    EXPECT_EQ(menu.cellHeight(), 28u);
    EXPECT_EQ(MeasuredWidth(menu.items()[3].get(), &height), 53u);
}

TEST_F(MenuTest, AHighlightedImageMovesUpLeftOverItsShadow)
{
    const Pixels p = Draw(Record(ID_FILE_IMPORT), ODS_SELECTED);
    const ACL_MenuImage& image = *Image(ID_FILE_IMPORT);
    // Shadow first, one pixel down-right of the image's place (3, 2), then the
    // image one pixel up-left of it: the shadow shows where the image does not cover it.
    std::vector<COLORREF> want(22 * 20, 0xFFFFFFFF);
    const COLORREF shadow = menu.colors().shadowColor;
    ForEachOpaque(image, [&](int x, int y, COLORREF) { want[(3 + y) * 22 + 4 + x] = shadow; });
    ForEachOpaque(image, [&](int x, int y, COLORREF c) { want[(1 + y) * 22 + 2 + x] = c; });
    int shadows = 0;
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 22; ++x) {
            const COLORREF w = want[y * 22 + x];
            if (w != 0xFFFFFFFF) {
                EXPECT_EQ(p.at(x, y), w) << "at " << x << "," << y;
            }
            shadows += w == shadow;
        }
    }
    EXPECT_GT(shadows, 10);
    EXPECT_EQ(p.at(0, 0), kFrame);
    EXPECT_EQ(p.at(199, 19), kFrame);
    EXPECT_EQ(p.at(198, 10), kSelection);
}

TEST_F(MenuTest, ADisabledItemIsGreyUnshiftedAndNeverHighlighted)
{
    const Pixels p = Draw(Record(ID_FILE_EXPORT), ODS_SELECTED | ODS_GRAYED);
    const int opaque = ForEachOpaque(*Image(ID_FILE_EXPORT), [&](int x, int y, COLORREF c) {
        EXPECT_EQ(p.at(3 + x, 2 + y), acl::GreyOf(c)) << "pixel " << x << "," << y;
    });
    EXPECT_GT(opaque, 50);
    EXPECT_EQ(p.at(199, 0), kBack);
    EXPECT_EQ(p.at(0, 0), kWhite) << "the image column starts with the gradient's first colour";
    EXPECT_EQ(acl::GreyOf(RGB(200, 100, 50)), RGB(124, 124, 124));  // (15400 + 15000 + 1450) / 256
}

TEST_F(MenuTest, ACheckedItemWithoutBitmapShowsAFramedCellAndAMark)
{
    const Pixels p = Draw(Record(ID_FILE_EXPORT), ODS_CHECKED);
    for (auto [x, y] : {std::pair{0, 0}, {21, 0}, {0, 19}, {21, 19}, {21, 10}})
        EXPECT_EQ(p.at(x, y), kFrame) << "the cell's frame at " << x << "," << y;
    // Centre (11, 13): a thick stroke from (8, 9), a thin one on to (18, 4).
    for (auto [x, y] : {std::pair{9, 10}, {10, 12}, {15, 8}})
        EXPECT_EQ(p.at(x, y), kCheck) << "the mark at " << x << "," << y;
    int marks = 0;
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 22; ++x)
            marks += p.at(x, y) == kCheck;
    EXPECT_GT(marks, 12);
    EXPECT_LT(marks, 40) << "the image is not drawn";
}

TEST(MenuThemes, NineToFourteenChangeNothingAndLightComesFromTheHighlight)
{
    ACL_Menu menu;
    const COLORREF highlight = GetSysColor(COLOR_HIGHLIGHT);
    EXPECT_EQ(menu.colors().gradientEnd, RGB(0xA6, 0xC4, 0xF5)) << "theme 15 from the start";
    EXPECT_EQ(menu.colors().selectionBackground, acl::LightenedHighlight(highlight));
    menu.SetTheme(3);
    const ACL_MenuColors three = menu.colors();
    EXPECT_EQ(three.background, RGB(0xBC, 0x95, 0x65));
    for (unsigned theme = 9; theme <= 14; ++theme) {
        menu.SetTheme(theme);
        EXPECT_TRUE(menu.colors() == three) << "theme " << theme;
    }
    menu.SetTheme(17);
    EXPECT_EQ(menu.colors().frameColor, highlight);
    menu.SetTheme(0);
    EXPECT_EQ(menu.colors().background, GetSysColor(COLOR_MENU));
    EXPECT_EQ(acl::LightenedHighlight(RGB(0, 99, 255)), RGB(179, 179 + 27, 254));
}

TEST_F(MenuTest, ItemsAddedLaterAreConvertedAndGetImages)
{
    const HMENU file = GetSubMenu(menu.menu(), 0);
    AppendMenuW(file, MF_STRING, ID_HELP_ABOUT, L"About again");
    AppendMenuW(file, MF_STRING, 900, L"No picture");
    const size_t before = menu.items().size();
    menu.Refresh();
    EXPECT_EQ(menu.items().size(), before + 2);
    MENUITEMINFOW info{sizeof(info), MIIM_FTYPE | MIIM_DATA};
    GetMenuItemInfoW(file, 6, TRUE, &info);
    EXPECT_TRUE(info.fType & MFT_OWNERDRAW);
    EXPECT_EQ(reinterpret_cast<ACL_MenuItem*>(info.dwItemData)->image, Image(ID_HELP_ABOUT));

    EXPECT_EQ(menu.SetItemImage(900, IDB_ACTION_LOG), 0u);
    EXPECT_EQ(Record(900)->image, Image(900));
    EXPECT_EQ(menu.CopyItemImage(ID_FILE_EXIT, 900), 0u);
    EXPECT_EQ(Record(ID_FILE_EXIT)->image, Image(900));
    EXPECT_EQ(menu.CopyItemImage(ID_FILE_EXIT, 4711), static_cast<DWORD>(ERROR_NOT_FOUND));
}

TEST(MenuDelete, ByPositionADropDownLosesEverySecondItem)
{
    ACL_Menu menu;
    HMENU bar = CreateMenu(), drop = CreatePopupMenu();
    for (const wchar_t* text : {L"a", L"b", L"c", L"d", L"e"})
        AppendMenuW(drop, MF_STRING, text[0], text);
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(drop), L"&Edit");
    AppendMenuW(bar, MF_STRING, 10, L"&Go");
    ASSERT_EQ(menu.AttachMenu(nullptr, bar, 0, 0, nullptr, 1), 0u);
    ASSERT_EQ(menu.items().size(), 7u);

    EXPECT_EQ(menu.DeleteItem(0, MF_BYPOSITION), 1);
    std::vector<std::wstring> left;
    for (const auto& item : menu.items())
        left.push_back(item->text);
    EXPECT_EQ(left, (std::vector<std::wstring>{L"b", L"d", L"&Go"}));
    EXPECT_EQ(menu.DeleteItem(10, MF_BYCOMMAND), 1);
    EXPECT_EQ(menu.DeleteItem(10, MF_BYCOMMAND), 0) << "gone already";
    EXPECT_EQ(GetMenuItemCount(bar), 0);
}

TEST_F(MenuTest, AWindowMeasuresAndDrawsItsBarAndDropDown)
{
    ASSERT_TRUE(SetMenu(owner.window, menu.menu()));
    DrawMenuBar(owner.window);
    krn::test::PumpUntil([&] { return owner.measured >= 2 && owner.drawn >= 2; }, 3000);
    EXPECT_GE(owner.measured, 2) << "the bar's two items";
    EXPECT_GE(owner.drawn, 2);

    // Open the File drop-down and close it again from a timer.
    owner.measured = owner.drawn = 0;
    const UINT_PTR timer = SetTimer(nullptr, 0, 300, [](HWND, UINT, UINT_PTR, DWORD) { EndMenu(); });
    TrackPopupMenuEx(GetSubMenu(menu.menu(), 0), TPM_RETURNCMD | TPM_NONOTIFY, 830, 60, owner.window, nullptr);
    KillTimer(nullptr, timer);
    EXPECT_GE(owner.measured, 6) << "every item of the drop-down";
    EXPECT_GE(owner.drawn, 6);
    SetMenu(owner.window, nullptr);
}

} // namespace
