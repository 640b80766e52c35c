// The owner-drawn menu on the main window's menu: attaching and converting,
// measuring, adding and deleting items, themes, and the drawing, checked in a
// real popup menu of a window that hands its menu messages to the menu.
#include "acl/Menu.h"

#include "TestDialog.h"
#include "resource.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using krn::test::Pixels;

// The main window's colours.
constexpr COLORREF kBack = RGB(0xFA, 0xFA, 0xFF), kSelection = RGB(0x8A, 0xA6, 0xD6);
constexpr COLORREF kWhite = RGB(255, 255, 255), kBlack = RGB(0, 0, 0);
const COLORREF kGrayText = GetSysColor(COLOR_GRAYTEXT);

// The main window's menu as the main window has it: attached with the window
// as owner, its image size and colours, and WM_MEASUREITEM / WM_DRAWITEM for
// menus handed to the menu. Every drawing request that arrives is recorded.
class MenuTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        host.Create(20, 20);
        ASSERT_EQ(menu.Attach(GetModuleHandleW(nullptr), IDR_MAIN_MENU, IDR_MENU_IMAGES, IDB_MENU_IMAGES, host.window()),
                  0u);
        menu.SetImageMetrics(16, 16, ACL_Menu::kKeep, ACL_Menu::kKeep);
        menu.SetColors(kBack, kSelection, kWhite, kSelection, kBlack, kWhite, kGrayText, kBlack, kBlack, kBlack);
    }

    // The record of an owner-drawn item; null for any other.
    ACL_MenuItem* Record(UINT item, HMENU in = nullptr, BOOL byPosition = FALSE) const
    {
        MENUITEMINFOW info{sizeof(info), MIIM_FTYPE | MIIM_DATA};
        GetMenuItemInfoW(in ? in : menu.menu(), item, byPosition, &info);
        return info.fType & MFT_OWNERDRAW ? reinterpret_cast<ACL_MenuItem*>(info.dwItemData) : nullptr;
    }
    const ACL_MenuImage* Image(UINT command) const
    {
        for (const auto& image : menu.images())
            if (image->commandId == command)
                return image.get();
        return nullptr;
    }

    // Opens `popup` as a context menu of the window, captures it once every
    // item is drawn, lets the keyboard highlight its first item and captures
    // it again. Below the other tests' topmost windows and away from the
    // pointer, which would hot-track an item it is over.
    void Track(HMENU popup)
    {
        tracked = popup;
        tracking = this;
        POINT cursor{};
        GetCursorPos(&cursor);
        const UINT_PTR timer = SetTimer(nullptr, 0, 20, &OnTrackTimer);
        started = GetTickCount();
        TrackPopupMenu(popup, TPM_RETURNCMD, cursor.x > 400 ? 100 : 900, 600, 0, host.window(), nullptr);
        KillTimer(nullptr, timer);
        tracking = nullptr;
    }

    // Runs inside the menu's own modal loop; gives up after 5 s.
    static void CALLBACK OnTrackTimer(HWND, UINT, UINT_PTR, DWORD)
    {
        MenuTest& self = *tracking;
        const HWND window = FindWindowW(L"#32768", nullptr);  // the popup menu's window class
        const bool visible = window && IsWindowVisible(window);
        if (GetTickCount() - self.started > 5000) {
            EndMenu();
        } else if (visible && self.shown.empty() &&
                   self.draws.size() >= static_cast<size_t>(GetMenuItemCount(self.tracked))) {
            self.shown = krn::test::CaptureScreen(window);
            PostMessageW(self.host.window(), WM_KEYDOWN, VK_DOWN, 0);  // the menu's loop takes any key of the thread
        } else if (visible && !self.shown.empty() && self.Highlighted()) {
            self.highlighted = krn::test::CaptureScreen(window);
            EndMenu();
        }
    }

    const DRAWITEMSTRUCT* Highlighted() const
    {
        for (const DRAWITEMSTRUCT& dis : draws)
            if (dis.itemState & ODS_SELECTED)
                return &dis;
        return nullptr;
    }

    bool Forward(UINT message, LPARAM lParam)
    {
        if (message == WM_MEASUREITEM && reinterpret_cast<const MEASUREITEMSTRUCT*>(lParam)->CtlType == ODT_MENU) {
            menu.MeasureItem(*reinterpret_cast<MEASUREITEMSTRUCT*>(lParam));
            return true;
        }
        if (message == WM_DRAWITEM && reinterpret_cast<const DRAWITEMSTRUCT*>(lParam)->CtlType == ODT_MENU) {
            draws.push_back(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
            menu.DrawItem(draws.back());
            return true;
        }
        return false;
    }

    static inline MenuTest* tracking = nullptr;
    ACL_Menu menu;
    acl::test::TestDialog host{[this](UINT message, WPARAM, LPARAM lParam, INT_PTR*) { return Forward(message, lParam); }};
    HMENU tracked = nullptr;
    DWORD started = 0;
    std::vector<DRAWITEMSTRUCT> draws;
    Pixels shown, highlighted;
};

// A menu image as pixels.
Pixels PixelsOf(const ACL_MenuImage& image)
{
    return krn::test::Render(16, 16, 0, [&](HDC dc) {
        const acl::unique_hdc bitmapDc(CreateCompatibleDC(dc));
        acl::SelectGuard select(bitmapDc.get(), image.bitmap.get());
        BitBlt(dc, 0, 0, 16, 16, bitmapDc.get(), 0, 0, SRCCOPY);
    });
}

// How many of the image's opaque pixels the capture does not show, as `look`
// makes them (or as they are), with the image's top-left corner at (x, y).
int Misplaced(const Pixels& p, const ACL_MenuImage& image, int x, int y, COLORREF (*look)(COLORREF) = nullptr)
{
    const Pixels source = PixelsOf(image);
    int opaque = 0, misplaced = 0;
    for (int i = 0; i < 16 * 16; ++i)
        if (const COLORREF pixel = source.at(i % 16, i / 16); pixel != image.transparentColor) {
            ++opaque;
            misplaced += p.at(x + i % 16, y + i / 16) != (look ? look(pixel) : pixel);
        }
    EXPECT_GT(opaque, 50) << "too few pixels in image " << image.commandId << " to tell its place";
    return misplaced;
}

std::string Hex(const std::set<COLORREF>& colours)
{
    std::ostringstream out;
    for (const COLORREF colour : colours)
        out << std::hex << colour << " ";
    return out.str();
}

// The colours of the capture in a rectangle, or on its one-pixel border only.
std::string Colours(const Pixels& p, const RECT& r, bool border = false)
{
    std::set<COLORREF> colours;
    for (LONG y = r.top; y < r.bottom; ++y)
        for (LONG x = r.left; x < r.right; ++x)
            if (!border || x == r.left || x == r.right - 1 || y == r.top || y == r.bottom - 1)
                colours.insert(p.at(x, y));
    return Hex(colours);
}

TEST_F(MenuTest, AttachCutsOneImagePerCommandAndConvertsEveryItemAndRefreshTheLaterOnes)
{
    EXPECT_EQ(menu.Attach(nullptr, IDR_MAIN_MENU, 0, 0, nullptr), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
    std::vector<uint32_t> commands;
    for (const auto& image : menu.images()) {
        commands.push_back(image->commandId);
        EXPECT_EQ(image->transparentColor, RGB(255, 0, 255)) << "the top-left pixel of image " << image->commandId;
    }
    EXPECT_EQ(commands, (std::vector<uint32_t>{ID_FILE_IMPORT, ID_FILE_EXPORT, ID_FILE_PROPERTIES, ID_FILE_EXIT,
                                               ID_HELP_HELP, ID_HELP_WEBSITE, ID_HELP_SUPPORT, ID_HELP_ABOUT}));
    // In menu order: 2 bar items, each followed by the 6 items of its drop-down
    // (the measuring and the popup below show which is which).
    ASSERT_EQ(menu.items().size(), 14u);
    EXPECT_EQ(menu.items()[6]->text, L"E&xit");
    for (UINT i = 0; i < 2; ++i)
        EXPECT_TRUE(Record(i, menu.menu(), TRUE)) << "bar item " << i << " not owner-drawn";

    const HMENU file = GetSubMenu(menu.menu(), 0);
    AppendMenuW(file, MF_STRING, ID_HELP_ABOUT, L"About again");
    AppendMenuW(file, MF_STRING, 900, L"No picture");
    menu.Refresh();
    EXPECT_EQ(menu.items().size(), 16u);
    ASSERT_TRUE(Record(6, file, TRUE));
    EXPECT_EQ(Record(6, file, TRUE)->image, Image(ID_HELP_ABOUT));
    EXPECT_EQ(menu.SetItemImage(900, IDB_ACTION_LOG), 0u);
    EXPECT_EQ(Record(900)->image, Image(900));
    EXPECT_EQ(menu.CopyItemImage(ID_FILE_EXIT, 900), 0u);
    EXPECT_EQ(Record(ID_FILE_EXIT)->image, Image(900));
    EXPECT_EQ(menu.CopyItemImage(ID_FILE_EXIT, 4711), static_cast<DWORD>(ERROR_NOT_FOUND));
}

TEST_F(MenuTest, MeasuresSeparatorsItemsAndBarItems)
{
    const acl::unique_hfont font = acl::CreateMenuFont();
    const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
    acl::SelectGuard select(dc.get(), font.get());
    RECT exit{}, bar{};
    DrawTextW(dc.get(), L"E&xit", -1, &exit, DT_CALCRECT | DT_SINGLELINE);
    DrawTextW(dc.get(), L"&File", -1, &bar, DT_CALCRECT | DT_SINGLELINE);
    ASSERT_LT(exit.bottom + 4, 20) << "the menu font is too large for this case";
    const struct {
        ACL_MenuItem* record;
        uint32_t imageSize;
        LONG width, height;
    } cases[] = {
        {menu.items()[3].get(), 16, 43, 5},               // separator
        {Record(ID_FILE_EXIT), 16, 42 + exit.right, 20},  // as high as the image cell
        {menu.items()[0].get(), 16, bar.right + 4, bar.bottom + 4},  // bar item
        {menu.items()[3].get(), 24, 51, 5},
        {Record(ID_FILE_EXIT), 24, 50 + exit.right, 28},
    };
    for (const auto& c : cases) {
        menu.SetImageMetrics(c.imageSize, c.imageSize, ACL_Menu::kKeep, ACL_Menu::kKeep);
        MEASUREITEMSTRUCT mis{ODT_MENU};
        mis.itemData = reinterpret_cast<ULONG_PTR>(c.record);
        EXPECT_EQ(menu.MeasureItem(mis), 0u);
        EXPECT_EQ(mis.itemWidth, static_cast<UINT>(c.width)) << c.record->text << ", images of " << c.imageSize;
        EXPECT_EQ(mis.itemHeight, static_cast<UINT>(c.height)) << c.record->text << ", images of " << c.imageSize;
    }
}

// InsertItem puts the item where InsertMenuW puts it, owner-drawn, with a new
// record; only a by-position add to the bar itself makes a bar item.
TEST_F(MenuTest, InsertItemPutsAnOwnerDrawnItemWithItsRecordAtThePlaceGiven)
{
    enum Menu { kBar, kFile, kHelp };
    const struct {
        const char* what;
        Menu target, landsIn;  // target kBar: null, the attached menu
        UINT position, flags;
        bool append;
        UINT landsAt;
        uint32_t topLevel;
    } cases[] = {
        {"into a drop-down by position", kHelp, kHelp, 1, MF_BYPOSITION | MF_STRING, false, 1, 0},
        {"into the bar by position", kBar, kBar, 1, MF_BYPOSITION | MF_STRING, false, 1, 1},
        {"into the bar before a drop-down's command", kBar, kFile, ID_FILE_EXIT, MF_BYCOMMAND | MF_STRING, false, 5, 0},
        {"appended to a drop-down", kHelp, kHelp, 0, MF_STRING | MF_GRAYED, true, 6, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ACL_Menu fresh;
        ASSERT_EQ(fresh.Attach(GetModuleHandleW(nullptr), IDR_MAIN_MENU, 0, 0, host.window()), 0u);
        const HMENU menus[] = {fresh.menu(), GetSubMenu(fresh.menu(), 0), GetSubMenu(fresh.menu(), 1)};
        const HMENU target = c.target == kBar ? nullptr : menus[c.target];
        ASSERT_EQ(fresh.InsertItem(c.position, c.flags, 900, L"&New", c.append, target), 1);
        EXPECT_EQ(GetMenuItemID(menus[c.landsIn], c.landsAt), 900u);
        EXPECT_EQ(Record(c.landsAt, menus[c.landsIn], TRUE), fresh.items().back().get()) << "owner-drawn, new record";
        const ACL_MenuItem& record = *fresh.items().back();
        EXPECT_EQ(record.state, c.flags | MF_OWNERDRAW);
        EXPECT_EQ(record.topLevel, c.topLevel);
        EXPECT_EQ(record.text, L"&New");
    }
}

// The Help drop-down, with "Norlath web-site" checked and "About" disabled,
// opened in a real popup menu: each part is where the drawing rules put it,
// first with nothing highlighted, then with the first item highlighted by the
// keyboard.
TEST_F(MenuTest, APopupShowsItemsSeparatorsAndTheHighlightWhereTheRulesPutThem)
{
    const HMENU help = GetSubMenu(menu.menu(), 1);
    CheckMenuItem(help, ID_HELP_WEBSITE, MF_BYCOMMAND | MF_CHECKED);
    EnableMenuItem(help, ID_HELP_ABOUT, MF_BYCOMMAND | MF_GRAYED);
    Track(help);
    ASSERT_FALSE(shown.empty()) << "the popup did not show all its items";
    ASSERT_FALSE(highlighted.empty()) << "the keyboard highlighted nothing";
    ASSERT_EQ(Highlighted()->itemID, static_cast<UINT>(ID_HELP_HELP));

    // Draws 0 to 5 are the items in menu order: Help, a separator, the checked
    // web-site, Support, a separator, the disabled About.
    ASSERT_EQ(draws[5].itemID, static_cast<UINT>(ID_HELP_ABOUT)) << "the first draws are the items in menu order";
    const RECT item = draws[0].rcItem, separator = draws[1].rcItem, checked = draws[2].rcItem,
               disabled = draws[5].rcItem, lit = Highlighted()->rcItem;
    const LONG cell = static_cast<LONG>(menu.cellWidth()), textX = cell + static_cast<LONG>(menu.textGapX());
    const LONG w = item.right - item.left, h = item.bottom - item.top;
    const auto at = [](const RECT& r, LONG left, LONG top, LONG right, LONG bottom) {
        return RECT{r.left + left, r.top + top, r.left + right, r.top + bottom};
    };
    const LONG line = 3;  // bottom - height / 2 of the 5 rows
    const auto pixel = [&](const RECT& r, LONG x, LONG y) { return at(r, x, y, x + 1, y + 1); };
    const LONG markX = cell / 2, markY = 2 * h / 3;  // a thick stroke from 3 left and 4 up, a thin one on
    const struct {
        const char* what;
        const Pixels& capture;
        RECT area;
        std::set<COLORREF> colours;
        bool border = false;  // only the area's one-pixel border
    } areas[] = {
        {"an item: the gradient's first column", shown, at(item, 0, 0, 1, h), {kWhite}},
        {"an item: from the image column to the text", shown, at(item, cell, 0, textX, h), {kBack}},
        {"an item: the text", shown, at(item, textX, 0, w, h), {kBack, kBlack}},
        {"a separator: the gradient's first column", shown, at(separator, 0, 0, 1, 5), {kWhite}},
        {"a separator: above the line", shown, at(separator, cell, 0, w, line), {kBack}},
        {"a separator: before the line", shown, at(separator, cell, line, textX, line + 1), {kBack}},
        {"a separator: the line, from the text on", shown, at(separator, textX, line, w, line + 1), {kBlack}},
        {"a separator: below the line", shown, at(separator, cell, line + 1, w, 5), {kBack}},
        {"a checked item: the cell's frame", shown, at(checked, 0, 0, cell, h), {kBlack}, true},
        {"a checked item: the mark's thick stroke", shown, pixel(checked, markX - 2, markY - 3), {kBlack}},
        {"a checked item: the mark's corner", shown, pixel(checked, markX - 1, markY - 1), {kBlack}},
        {"a checked item: the mark's thin stroke", shown, pixel(checked, markX + 4, markY - 5), {kBlack}},
        {"a disabled item: the text", shown, at(disabled, textX, 0, w, h), {kBack, kGrayText}},
        {"highlighted: the frame", highlighted, at(lit, 0, 0, w, h), {kBlack}, true},
        {"highlighted: the fill left of the image", highlighted, at(lit, 1, 1, 2, h - 1), {kSelection}},
        {"highlighted: the fill from the image column to the text", highlighted, at(lit, cell, 1, textX, h - 1),
         {kSelection}},
        {"highlighted: the text", highlighted, at(lit, textX, 1, w - 1, h - 1), {kSelection, kWhite}},
    };
    for (const auto& a : areas)
        EXPECT_EQ(Colours(a.capture, a.area, a.border), Hex(a.colours)) << a.what;

    // The gradient's last column is one step short of its end colour.
    const COLORREF last = shown.at(item.left + cell - 1, item.top);
    EXPECT_NEAR(GetRValue(last), GetRValue(kSelection), 6);
    EXPECT_NEAR(GetGValue(last), GetGValue(kSelection), 6);
    EXPECT_NEAR(GetBValue(last), GetBValue(kSelection), 6);
    int stray = 0;  // besides its mark, the checked item's cell shows the gradient a separator shows
    for (LONG y = 1; y < h - 1; ++y)
        for (LONG x = 1; x < cell - 1; ++x)
            if (const COLORREF c = shown.at(checked.left + x, checked.top + y); c != kBlack)
                stray += c != shown.at(separator.left + x, separator.top);
    EXPECT_EQ(stray, 0) << "pixels of the checked item's cell neither mark nor gradient";

    // Images at marginX, marginY; a disabled one grey; a highlighted one a pixel
    // up and left, over its shadow: the opaque pixel furthest down and right
    // casts a shadow nothing covers.
    const ACL_MenuImage& image = *Image(ID_HELP_HELP);
    EXPECT_EQ(Misplaced(shown, image, item.left + 3, item.top + 2), 0) << "an item's image";
    EXPECT_EQ(Misplaced(shown, *Image(ID_HELP_ABOUT), disabled.left + 3, disabled.top + 2, acl::GreyOf), 0);
    EXPECT_EQ(Misplaced(highlighted, image, lit.left + 2, lit.top + 1), 0) << "the raised image";
    const Pixels source = PixelsOf(image);
    POINT corner{};
    for (int i = 0; i < 16 * 16; ++i)
        if (source.at(i % 16, i / 16) != image.transparentColor && i % 16 + i / 16 >= corner.x + corner.y)
            corner = {i % 16, i / 16};
    EXPECT_EQ(highlighted.at(lit.left + 4 + corner.x, lit.top + 3 + corner.y), menu.colors().shadowColor) << "shadow";

    // Highlighted, a disabled item looks just the same.
    const Pixels disabledLit = krn::test::Render(w, h, RGB(1, 2, 3), [&](HDC dc) {
        DRAWITEMSTRUCT dis = draws[5];
        dis.hDC = dc;
        dis.itemState |= ODS_SELECTED;
        dis.rcItem = {0, 0, w, h};
        menu.DrawItem(dis);
    });
    EXPECT_EQ(Colours(disabledLit, {0, 0, w, h}), Colours(shown, disabled)) << "the disabled item highlighted";
}

// Theme 15 from the start; 9 to 14 change nothing; L, the lightened
// highlight, is 179 + 3 (c / 10) per channel; grey is (77 R + 150 G + 29 B) / 256
// (full red, green and blue show each weight and the rounding down).
TEST(MenuThemes, NineToFourteenChangeNothingAndLightAndGreyFollowTheirRules)
{
    ACL_Menu menu;
    const COLORREF h = GetSysColor(COLOR_HIGHLIGHT);
    EXPECT_EQ(menu.colors().gradientEnd, RGB(0xA6, 0xC4, 0xF5)) << "theme 15 from the start";
    EXPECT_EQ(menu.colors().selectionBackground, acl::LightenedHighlight(h));
    menu.SetTheme(3);
    const ACL_MenuColors three = menu.colors();
    EXPECT_EQ(three.background, RGB(0xBC, 0x95, 0x65));
    for (unsigned theme = 9; theme <= 14; ++theme) {
        menu.SetTheme(theme);
        EXPECT_EQ(menu.colors(), three) << "theme " << theme;
    }
    menu.SetTheme(17);
    EXPECT_EQ(menu.colors().frameColor, h);
    const std::tuple<COLORREF, COLORREF, COLORREF> colours[] = {
        // colour, lightened, grey
        {RGB(255, 0, 0), RGB(254, 179, 179), RGB(76, 76, 76)},
        {RGB(0, 255, 0), RGB(179, 254, 179), RGB(149, 149, 149)},
        {RGB(0, 0, 255), RGB(179, 179, 254), RGB(28, 28, 28)},
        {RGB(49, 106, 197), RGB(191, 209, 236), RGB(99, 99, 99)},
    };
    for (const auto& [colour, lightened, grey] : colours) {
        EXPECT_EQ(acl::LightenedHighlight(colour), lightened) << std::hex << colour;
        EXPECT_EQ(acl::GreyOf(colour), grey) << std::hex << colour;
    }
}

// Deleting a drop-down by position empties it position by position, so every
// second item goes; a lent check bitmap stays, a given one goes with the menu.
TEST(MenuOwnership, ADropDownDeletedByPositionLosesEverySecondItemAndALentCheckBitmapStays)
{
    const HBITMAP given = CreateBitmap(16, 16, 1, 32, nullptr), lent = CreateBitmap(16, 16, 1, 32, nullptr);
    {
        ACL_Menu menu;
        const HMENU bar = CreateMenu(), drop = CreatePopupMenu();
        for (const wchar_t* text : {L"a", L"b", L"c", L"d", L"e"})
            AppendMenuW(drop, MF_STRING, text[0], text);
        AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(drop), L"&Edit");
        ASSERT_EQ(menu.AttachMenu(nullptr, bar, 0, 0, nullptr, 1), 0u);
        EXPECT_EQ(menu.AppendItem(MF_STRING, 10, L"&Go"), 1);
        EXPECT_EQ(menu.DeleteItem(0, MF_BYPOSITION), 1);
        std::vector<std::wstring> left;
        for (const auto& item : menu.items())
            left.push_back(item->text);
        EXPECT_EQ(left, (std::vector<std::wstring>{L"b", L"d", L"&Go"}));
        EXPECT_EQ(menu.DeleteItem(10, MF_BYCOMMAND), 1);
        EXPECT_EQ(menu.DeleteItem(10, MF_BYCOMMAND), 0) << "gone already";
        EXPECT_EQ(GetMenuItemCount(bar), 0);

        menu.SetCheckBitmap(lent, 0);
        menu.SetCheckBitmap(ACL_Menu::kKeepCheckBitmap, 1);  // the flag decides for a kept bitmap too
        menu.SetCheckBitmap(given, 0);
    }
    EXPECT_EQ(GetObjectType(given), 0u) << "a given check bitmap goes with the menu";
    EXPECT_EQ(GetObjectType(lent), static_cast<DWORD>(OBJ_BITMAP)) << "a lent one stays";
    DeleteObject(lent);
}

} // namespace
