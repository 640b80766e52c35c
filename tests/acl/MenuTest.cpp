#include "acl/Menu.h"

#include "resource.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using krn::test::Pixels;

// The main dialog's colours, with distinct frame and check colours so that
// every part of a drawing can be told apart.
constexpr COLORREF kBack = RGB(0xFA, 0xFA, 0xFF);
constexpr COLORREF kSelection = RGB(0x8A, 0xA6, 0xD6);
constexpr COLORREF kWhite = RGB(255, 255, 255);
constexpr COLORREF kFrame = RGB(0, 0, 255);
constexpr COLORREF kSeparator = RGB(0, 128, 0);
constexpr COLORREF kCheck = RGB(255, 0, 0);

// A window that hands its menu's measure and draw messages to the menu.
class Owner {
public:
    Owner()
    {
        WNDCLASSW wc{};
        wc.lpfnWndProc = &Proc;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.lpszClassName = L"AclMenuTestOwner";
        RegisterClassW(&wc);
        window = CreateWindowExW(WS_EX_TOPMOST, wc.lpszClassName, L"menu", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 820, 20,
                                 300, 200, nullptr, nullptr, wc.hInstance, this);
    }
    ~Owner() { DestroyWindow(window); }

    HWND window = nullptr;
    ACL_Menu* menu = nullptr;
    int measured = 0;
    int drawn = 0;

private:
    static LRESULT CALLBACK Proc(HWND w, UINT m, WPARAM wp, LPARAM lp)
    {
        if (m == WM_NCCREATE)
            SetWindowLongPtrW(w, GWLP_USERDATA,
                              reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lp)->lpCreateParams));
        auto* self = reinterpret_cast<Owner*>(GetWindowLongPtrW(w, GWLP_USERDATA));
        if (self && self->menu && m == WM_MEASUREITEM && wp == 0) {
            ++self->measured;
            self->menu->MeasureItem(*reinterpret_cast<MEASUREITEMSTRUCT*>(lp));
            return TRUE;
        }
        if (self && self->menu && m == WM_DRAWITEM && wp == 0) {
            ++self->drawn;
            self->menu->DrawItem(*reinterpret_cast<const DRAWITEMSTRUCT*>(lp));
            return TRUE;
        }
        return DefWindowProcW(w, m, wp, lp);
    }
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
    }

    ACL_MenuItem* Record(UINT command) const
    {
        MENUITEMINFOW info{};
        info.cbSize = sizeof(info);
        info.fMask = MIIM_DATA;
        if (!GetMenuItemInfoW(menu.menu(), command, FALSE, &info))
            return nullptr;
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
            DRAWITEMSTRUCT dis{};
            dis.CtlType = ODT_MENU;
            dis.itemAction = ODA_DRAWENTIRE;
            dis.itemState = state;
            dis.hDC = dc;
            dis.rcItem = {0, 0, width, height};
            dis.itemData = reinterpret_cast<ULONG_PTR>(record);
            EXPECT_EQ(menu.DrawItem(dis), 0u);
        });
    }
    // The image's own pixels, read back from its bitmap.
    static Pixels PixelsOf(const ACL_MenuImage& image)
    {
        return krn::test::Render(16, 16, 0, [&](HDC dc) {
            HDC source = CreateCompatibleDC(dc);
            HGDIOBJ old = SelectObject(source, image.bitmap.get());
            BitBlt(dc, 0, 0, 16, 16, source, 0, 0, SRCCOPY);
            SelectObject(source, old);
            DeleteDC(source);
        });
    }
    static SIZE TextSize(const std::wstring& text)
    {
        acl::unique_hfont font = acl::CreateMenuFont();
        HDC dc = CreateCompatibleDC(nullptr);
        HGDIOBJ old = SelectObject(dc, font.get());
        RECT r{};
        DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &r, DT_CALCRECT | DT_EXPANDTABS | DT_SINGLELINE);
        SelectObject(dc, old);
        DeleteDC(dc);
        return {r.right, r.bottom};
    }

    Owner owner;
    ACL_Menu menu;
};

TEST_F(MenuTest, AttachCutsOneImagePerCommandAndConvertsEveryItem)
{
    EXPECT_EQ(menu.Attach(GetModuleHandleW(nullptr), IDR_MAIN_MENU, IDR_MENU_IMAGES, IDB_MENU_IMAGES, owner.window),
              static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    const std::vector<uint32_t> expected{ID_FILE_IMPORT, ID_FILE_EXPORT, ID_FILE_PROPERTIES, ID_FILE_EXIT,
                                         ID_HELP_HELP,   ID_HELP_WEBSITE, ID_HELP_SUPPORT,   ID_HELP_ABOUT};
    std::vector<uint32_t> commands;
    for (const auto& image : menu.images()) {
        commands.push_back(image->commandId);
        BITMAP bm{};
        GetObjectW(image->bitmap.get(), sizeof(bm), &bm);
        EXPECT_EQ(bm.bmWidth, 16);
        EXPECT_EQ(bm.bmHeight, 16);
        EXPECT_EQ(image->transparentColor, RGB(255, 0, 255)) << "the top-left pixel of image " << image->commandId;
    }
    EXPECT_EQ(commands, expected);

    ASSERT_EQ(menu.items().size(), 14u);  // 2 on the bar, 6 + 6 in the drop-downs
    std::vector<std::wstring> texts;
    for (const auto& item : menu.items())
        texts.push_back(item->text);
    EXPECT_EQ(texts[0], L"&File");
    EXPECT_EQ(texts[6], L"E&xit");
    EXPECT_EQ(texts[7], L"&Help");
    EXPECT_EQ(menu.items()[0]->topLevel, 1u);
    EXPECT_EQ(menu.items()[1]->topLevel, 0u);
    EXPECT_TRUE(menu.items()[3]->state & MF_SEPARATOR);
    EXPECT_EQ(Record(ID_FILE_EXIT)->image, Image(ID_FILE_EXIT));

    const HMENU file = GetSubMenu(menu.menu(), 0);
    for (HMENU m : {menu.menu(), file}) {
        for (int i = 0; i < GetMenuItemCount(m); ++i) {
            MENUITEMINFOW info{};
            info.cbSize = sizeof(info);
            info.fMask = MIIM_FTYPE | MIIM_DATA;
            ASSERT_TRUE(GetMenuItemInfoW(m, i, TRUE, &info));
            EXPECT_TRUE(info.fType & MFT_OWNERDRAW) << "position " << i;
            EXPECT_NE(info.dwItemData, 0u) << "position " << i;
        }
    }
}

TEST_F(MenuTest, MeasuresSeparatorsItemsAndBarItems)
{
    MEASUREITEMSTRUCT mis{};
    mis.CtlType = ODT_MENU;
    mis.itemData = reinterpret_cast<ULONG_PTR>(menu.items()[3].get());  // the File menu's first separator
    EXPECT_EQ(menu.MeasureItem(mis), 0u);
    EXPECT_EQ(mis.itemWidth, 43u);
    EXPECT_EQ(mis.itemHeight, 5u);

    const SIZE exit = TextSize(L"E&xit");
    ASSERT_LT(exit.cy + 4, 20) << "the menu font is too large for this case";
    mis.itemData = reinterpret_cast<ULONG_PTR>(Record(ID_FILE_EXIT));
    menu.MeasureItem(mis);
    EXPECT_EQ(mis.itemWidth, static_cast<UINT>(22 + 2 * 10 + exit.cx));
    EXPECT_EQ(mis.itemHeight, 20u) << "a short item is as high as the image cell";

    const SIZE bar = TextSize(L"&File");
    mis.itemData = reinterpret_cast<ULONG_PTR>(menu.items()[0].get());
    menu.MeasureItem(mis);
    EXPECT_EQ(mis.itemWidth, static_cast<UINT>(bar.cx + 4));
    EXPECT_EQ(mis.itemHeight, static_cast<UINT>(bar.cy + 4));

    menu.SetImageMetrics(24, 24, 4, ACL_Menu::kKeep);
    EXPECT_EQ(menu.cellWidth(), 32u);
    EXPECT_EQ(menu.cellHeight(), 28u);
    mis.itemData = reinterpret_cast<ULONG_PTR>(menu.items()[3].get());
    menu.MeasureItem(mis);
    EXPECT_EQ(mis.itemWidth, 53u);
}

TEST_F(MenuTest, AHighlightedImageMovesUpLeftOverItsShadow)
{
    const ACL_MenuImage& image = *Image(ID_FILE_IMPORT);
    const Pixels source = PixelsOf(image);
    const Pixels p = Draw(Record(ID_FILE_IMPORT), ODS_SELECTED);
    const COLORREF shadow = menu.colors().shadowColor;
    auto opaque = [&](int x, int y) {
        return x >= 0 && y >= 0 && x < 16 && y < 16 && source.at(x, y) != image.transparentColor;
    };
    int shadows = 0;
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            if (opaque(x, y)) {
                EXPECT_EQ(p.at(2 + x, 1 + y), source.at(x, y)) << "image pixel " << x << "," << y;
            }
            // The shadow shows where the image, two pixels up-left of it, does not cover it.
            if (opaque(x, y) && !opaque(x + 2, y + 2)) {
                EXPECT_EQ(p.at(4 + x, 3 + y), shadow) << "shadow pixel " << x << "," << y;
                ++shadows;
            }
        }
    }
    EXPECT_GT(shadows, 10);
    EXPECT_EQ(p.at(0, 0), kFrame);
    EXPECT_EQ(p.at(199, 19), kFrame);
    EXPECT_EQ(p.at(1, 1), kSelection);
    EXPECT_EQ(p.at(198, 10), kSelection);
}

TEST_F(MenuTest, ADisabledItemIsGreyUnshiftedAndNeverHighlighted)
{
    const ACL_MenuImage& image = *Image(ID_FILE_EXPORT);
    const Pixels source = PixelsOf(image);
    const Pixels p = Draw(Record(ID_FILE_EXPORT), ODS_SELECTED | ODS_GRAYED);
    int grey = 0;
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            const COLORREF c = source.at(x, y);
            if (c == image.transparentColor)
                continue;
            EXPECT_EQ(p.at(3 + x, 2 + y), acl::GreyOf(c)) << "pixel " << x << "," << y;
            ++grey;
        }
    }
    EXPECT_GT(grey, 50);
    EXPECT_EQ(p.at(199, 0), kBack);
    EXPECT_EQ(p.at(0, 0), kWhite) << "the image column starts with the gradient's first colour";
    EXPECT_EQ(acl::GreyOf(RGB(200, 100, 50)), RGB(124, 124, 124));
    EXPECT_EQ(acl::GreyOf(RGB(255, 255, 255)), RGB(255, 255, 255));
}

TEST_F(MenuTest, ACheckedItemWithoutBitmapShowsAFramedCellAndAMark)
{
    const Pixels p = Draw(Record(ID_FILE_EXPORT), ODS_CHECKED);
    // The cell, 22 wide, is framed.
    for (auto [x, y] : {std::pair{0, 0}, {21, 0}, {0, 19}, {21, 19}, {21, 10}})
        EXPECT_EQ(p.at(x, y), kFrame) << x << "," << y;
    EXPECT_NE(p.at(22, 10), kFrame);
    // The mark: centre (11, 13), a thick stroke from (8, 9) and a thin one up to (18, 4).
    EXPECT_EQ(p.at(10, 12), kCheck);
    EXPECT_EQ(p.at(9, 10), kCheck);
    EXPECT_EQ(p.at(15, 8), kCheck);
    int marks = 0;
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 22; ++x)
            marks += p.at(x, y) == kCheck;
    EXPECT_GT(marks, 12);
    EXPECT_LT(marks, 40);
    // The image is not drawn.
    const ACL_MenuImage& image = *Image(ID_FILE_EXPORT);
    const Pixels source = PixelsOf(image);
    EXPECT_NE(p.at(3 + 7, 2 + 10), source.at(7, 10));
}

TEST_F(MenuTest, ACheckBitmapReplacesTheMarkAndIsDeletedUnlessShared)
{
    HDC screen = GetDC(nullptr);
    HBITMAP first = CreateCompatibleBitmap(screen, 16, 16);
    HBITMAP shared = CreateCompatibleBitmap(screen, 16, 16);
    ReleaseDC(nullptr, screen);
    // A green square on a magenta ground.
    for (HBITMAP b : {first, shared}) {
        HDC dc = CreateCompatibleDC(nullptr);
        HGDIOBJ old = SelectObject(dc, b);
        RECT all{0, 0, 16, 16}, inner{4, 4, 12, 12};
        HBRUSH magenta = CreateSolidBrush(RGB(255, 0, 255)), green = CreateSolidBrush(RGB(0, 200, 0));
        FillRect(dc, &all, magenta);
        FillRect(dc, &inner, green);
        DeleteObject(magenta);
        DeleteObject(green);
        SelectObject(dc, old);
        DeleteDC(dc);
    }
    EXPECT_EQ(menu.SetCheckBitmap(first, 0), 0u);
    EXPECT_EQ(menu.checkTransparentColor(), RGB(255, 0, 255));
    const Pixels p = Draw(Record(ID_FILE_EXPORT), ODS_CHECKED | ODS_SELECTED);
    EXPECT_EQ(p.at(2 + 4, 1 + 4), RGB(0, 200, 0)) << "moved up and left";
    EXPECT_EQ(p.at(4 + 11, 3 + 11), menu.colors().shadowColor);
    EXPECT_EQ(p.at(2 + 1, 1 + 1), kSelection) << "transparent pixels are not drawn";

    EXPECT_EQ(menu.SetCheckBitmap(shared, 1), 0u);
    EXPECT_EQ(GetObjectType(first), 0u) << "the unshared bitmap is deleted when replaced";
    EXPECT_EQ(menu.SetCheckBitmap(ACL_Menu::kKeepCheckBitmap, 1), 0u);
    EXPECT_EQ(menu.checkBitmap(), shared);
    EXPECT_EQ(menu.SetCheckBitmap(nullptr, 0), 0u);
    EXPECT_EQ(GetObjectType(shared), static_cast<DWORD>(OBJ_BITMAP)) << "a shared bitmap stays";
    DeleteObject(shared);
}

TEST_F(MenuTest, SeparatorsAndBarItemsDraw)
{
    const Pixels sep = Draw(menu.items()[3].get(), 0, 100, 10);
    EXPECT_EQ(sep.at(0, 0), kWhite);
    EXPECT_EQ(sep.at(0, 7), kBack) << "the image column is filled only 5 pixels high";
    EXPECT_EQ(sep.at(32, 5), kSeparator);
    EXPECT_EQ(sep.at(99 - 1, 5), kSeparator);
    EXPECT_EQ(sep.at(31, 5), kBack);
    EXPECT_EQ(sep.at(40, 4), kBack);

    ACL_MenuItem* bar = menu.items()[0].get();
    const COLORREF barBack = menu.colors().barBackground;
    const Pixels hot = Draw(bar, ODS_HOTLIGHT, 40, 20);
    EXPECT_EQ(hot.at(0, 0), barBack);
    EXPECT_EQ(hot.at(1, 2), kFrame);
    EXPECT_EQ(hot.at(35, 19), kFrame);
    EXPECT_EQ(hot.at(37, 19), barBack);
    EXPECT_EQ(hot.at(3, 5), kSelection);
    const Pixels open = Draw(bar, ODS_SELECTED, 40, 20);
    EXPECT_EQ(open.at(38, 10), menu.colors().shadowColor);
    EXPECT_EQ(open.at(38, 3), barBack);
    const Pixels plain = Draw(bar, 0, 40, 20);
    EXPECT_EQ(plain.at(3, 5), barBack);
}

TEST(MenuThemes, NineToFourteenChangeNothingAndLightComesFromTheHighlight)
{
    ACL_Menu menu;
    menu.SetTheme(3);
    const ACL_MenuColors three = menu.colors();
    EXPECT_EQ(three.background, RGB(0xBC, 0x95, 0x65));
    EXPECT_EQ(three.separatorColor, RGB(0x82, 0x67, 0x46));
    for (unsigned theme = 9; theme <= 14; ++theme) {
        menu.SetTheme(theme);
        EXPECT_TRUE(menu.colors() == three) << "theme " << theme;
    }
    const COLORREF highlight = GetSysColor(COLOR_HIGHLIGHT);
    menu.SetTheme(17);
    EXPECT_EQ(menu.colors().selectionBackground, acl::LightenedHighlight(highlight));
    EXPECT_EQ(menu.colors().gradientEnd, highlight);
    EXPECT_EQ(menu.colors().separatorColor, highlight);
    menu.SetTheme(0);
    EXPECT_EQ(menu.colors().background, GetSysColor(COLOR_MENU));
    EXPECT_EQ(menu.colors().selectedTextColor, GetSysColor(COLOR_HIGHLIGHTTEXT));
    EXPECT_EQ(menu.colors().shadowColor, GetSysColor(COLOR_BTNSHADOW));

    EXPECT_EQ(acl::LightenedHighlight(RGB(0, 99, 255)), RGB(179, 179 + 27, 254));
    ACL_Menu fresh;  // theme 15
    EXPECT_EQ(fresh.colors().gradientEnd, RGB(0xA6, 0xC4, 0xF5));
    EXPECT_EQ(fresh.colors().selectionBackground, acl::LightenedHighlight(highlight));
    EXPECT_EQ(fresh.cellWidth(), 22u);
    EXPECT_EQ(fresh.cellHeight(), 20u);
}

TEST_F(MenuTest, ItemsAddedLaterAreConvertedAndGetImages)
{
    const HMENU file = GetSubMenu(menu.menu(), 0);
    ASSERT_TRUE(AppendMenuW(file, MF_STRING, ID_HELP_ABOUT, L"About again"));
    ASSERT_TRUE(AppendMenuW(file, MF_STRING, 900, L"No picture"));
    const size_t before = menu.items().size();
    menu.Refresh();
    EXPECT_EQ(menu.items().size(), before + 2);
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_FTYPE | MIIM_DATA;
    ASSERT_TRUE(GetMenuItemInfoW(file, 6, TRUE, &info));
    EXPECT_TRUE(info.fType & MFT_OWNERDRAW);
    EXPECT_EQ(reinterpret_cast<ACL_MenuItem*>(info.dwItemData)->image, Image(ID_HELP_ABOUT));

    EXPECT_EQ(menu.SetItemImage(900, IDB_ACTION_LOG), 0u);
    EXPECT_EQ(menu.images().size(), 9u);
    EXPECT_EQ(Record(900)->image, Image(900));
    EXPECT_EQ(menu.items().size(), before + 2) << "the item had its record already";
    EXPECT_NE(menu.SetItemImage(900, 4711), 0u) << "no such bitmap";

    EXPECT_EQ(menu.CopyItemImage(ID_FILE_EXIT, ID_HELP_SUPPORT), 0u);
    EXPECT_EQ(Record(ID_FILE_EXIT)->image, Image(ID_HELP_SUPPORT));
    EXPECT_EQ(menu.CopyItemImage(ID_FILE_EXIT, 4711), static_cast<DWORD>(ERROR_NOT_FOUND));
}

TEST_F(MenuTest, AddedItemsAreOwnerDrawnAndOnlyByPositionOnTheBarAreBarItems)
{
    const HMENU help = GetSubMenu(menu.menu(), 1);
    EXPECT_EQ(menu.AppendItem(MF_STRING, 901, L"Added", help), 1);
    EXPECT_EQ(menu.InsertItem(0, MF_BYPOSITION | MF_STRING, 902, L"Bar", false), 1);
    EXPECT_EQ(menu.AppendItem(MF_STRING, 903, L"Bar too"), 1);
    const size_t added = menu.items().size();
    EXPECT_EQ(menu.AppendItem(MF_STRING, 904, L"x", reinterpret_cast<HMENU>(0x4711)), 0) << "no such menu";
    EXPECT_EQ(menu.items().size(), added);
    EXPECT_EQ(Record(901)->topLevel, 0u);
    EXPECT_EQ(Record(901)->state, static_cast<uint32_t>(MF_STRING | MF_OWNERDRAW));
    EXPECT_EQ(Record(901)->text, L"Added");
    EXPECT_EQ(Record(902)->topLevel, 1u);
    EXPECT_EQ(Record(903)->topLevel, 0u) << "appended by command, so not a bar item";
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_FTYPE;
    GetMenuItemInfoW(help, 901, FALSE, &info);
    EXPECT_TRUE(info.fType & MFT_OWNERDRAW);
}

TEST(MenuDelete, ByPositionADropDownLosesEverySecondItem)
{
    ACL_Menu menu;
    HMENU bar = CreateMenu();
    HMENU drop = CreatePopupMenu();
    for (UINT id = 1; id <= 5; ++id)
        AppendMenuW(drop, MF_STRING, id, std::wstring(1, static_cast<wchar_t>(L'a' + id - 1)).c_str());
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(drop), L"&Edit");
    AppendMenuW(bar, MF_STRING, 10, L"&Go");
    ASSERT_EQ(menu.AttachMenu(GetModuleHandleW(nullptr), bar, 0, 0, nullptr, 1), 0u);
    ASSERT_EQ(menu.items().size(), 7u);
    EXPECT_EQ(menu.AttachMenu(nullptr, CreateMenu(), 0, 0, nullptr, 1), static_cast<DWORD>(ERROR_ALREADY_EXISTS));

    EXPECT_EQ(menu.DeleteItem(0, MF_BYPOSITION), 1);
    std::vector<std::wstring> left;
    for (const auto& item : menu.items())
        left.push_back(item->text);
    EXPECT_EQ(left, (std::vector<std::wstring>{L"b", L"d", L"&Go"}));
    EXPECT_EQ(GetMenuItemCount(bar), 1);

    EXPECT_EQ(menu.DeleteItem(10, MF_BYCOMMAND), 1);
    EXPECT_EQ(menu.items().size(), 2u);
    EXPECT_EQ(menu.DeleteItem(10, MF_BYCOMMAND), 0) << "gone already";

    AppendMenuW(bar, MF_STRING, 11, L"foreign");
    MENUITEMINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_DATA;
    info.dwItemData = 0x1234;
    SetMenuItemInfoW(bar, 11, FALSE, &info);
    EXPECT_EQ(menu.DeleteItem(11, MF_BYCOMMAND), 0) << "its data is none of this menu's records";
    EXPECT_EQ(GetMenuItemCount(bar), 0) << "the item itself is deleted all the same";
}

TEST(MenuAttach, FailuresAreReported)
{
    ACL_Menu menu;
    EXPECT_EQ(menu.AttachMenu(nullptr, nullptr, 0, 0, nullptr, 0), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_NE(menu.Attach(GetModuleHandleW(nullptr), 4711, IDR_MENU_IMAGES, IDB_MENU_IMAGES, nullptr), 0u);
    EXPECT_FALSE(menu.menu());
}

TEST(MenuImages, SizesFromTheStripWhenAsked)
{
    ACL_Menu menu;
    menu.SetImageMetrics(ACL_Menu::kFromStrip, ACL_Menu::kFromStrip, 1, 1);
    HMENU bar = CreateMenu();
    AppendMenuW(bar, MF_STRING, ID_FILE_EXIT, L"E&xit");
    ASSERT_EQ(menu.AttachMenu(GetModuleHandleW(nullptr), bar, IDR_MENU_IMAGES, IDB_MENU_IMAGES, nullptr, 0), 0u);
    EXPECT_EQ(menu.imageWidth(), 16u);  // a 128-pixel strip of 8 commands
    EXPECT_EQ(menu.imageHeight(), 16u);
    EXPECT_EQ(menu.cellWidth(), 18u);
    EXPECT_EQ(menu.items().size(), 0u) << "bar items stay as they are unless converted";
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
