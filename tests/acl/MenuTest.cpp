// The owner-drawn menu on the main window's menu: attaching and converting,
// measuring, adding and deleting items, themes, and the drawing, checked in a
// real popup menu of a window that hands its menu messages to the menu.
#include "acl/Menu.h"

#include "TestDialog.h"
#include "resource.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

void PrintTo(const ACL_MenuColors& c, std::ostream* os)
{
    *os << std::hex << "{background " << c.background << ", selection " << c.selectionBackground << ", gradient "
        << c.gradientStart << ".." << c.gradientEnd << ", text " << c.textColor << ", selected text "
        << c.selectedTextColor << ", disabled text " << c.disabledTextColor << ", frame " << c.frameColor
        << ", separator " << c.separatorColor << ", check " << c.checkColor << ", bar " << c.barBackground
        << ", shadow " << c.shadowColor << "}";
}

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
    // it again.
    void Track(HMENU popup)
    {
        tracked = popup;
        tracking = this;
        POINT cursor{};
        GetCursorPos(&cursor);
        // Below the other tests' topmost windows and away from the pointer, which
        // would hot-track an item it is over.
        const int x = cursor.x > 400 ? 100 : 900;
        const UINT_PTR timer = SetTimer(nullptr, 0, 20, &OnTrackTimer);
        started = GetTickCount();
        TrackPopupMenu(popup, TPM_LEFTALIGN | TPM_TOPALIGN | TPM_RETURNCMD, x, 600, 0, host.window(), nullptr);
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
// makes them, with the image's top-left corner at (x, y).
int Misplaced(const Pixels& p, const ACL_MenuImage& image, int x, int y, COLORREF (*look)(COLORREF))
{
    const Pixels source = PixelsOf(image);
    int opaque = 0, misplaced = 0;
    for (int row = 0; row < 16; ++row)
        for (int col = 0; col < 16; ++col)
            if (const COLORREF pixel = source.at(col, row); pixel != image.transparentColor) {
                ++opaque;
                misplaced += p.at(x + col, y + row) != look(pixel);
            }
    EXPECT_GT(opaque, 50) << "too few pixels in image " << image.commandId << " to tell its place";
    return misplaced;
}

COLORREF AsIs(COLORREF color) { return color; }

// The colours of the capture in a rectangle.
std::set<COLORREF> Colours(const Pixels& p, LONG left, LONG top, LONG right, LONG bottom)
{
    std::set<COLORREF> colours;
    for (LONG y = top; y < bottom; ++y)
        for (LONG x = left; x < right; ++x)
            colours.insert(p.at(x, y));
    return colours;
}

// The points of the capture that are not `colour`, as "x,y: colour" relative
// to `origin`; empty when all are.
std::string Unlike(const Pixels& p, const std::vector<POINT>& points, COLORREF colour, POINT origin)
{
    std::ostringstream out;
    for (const POINT at : points)
        if (p.at(at.x, at.y) != colour)
            out << at.x - origin.x << "," << at.y - origin.y << ": " << std::hex << p.at(at.x, at.y) << std::dec << "; ";
    return out.str();
}

// The one-pixel border of a rectangle.
std::vector<POINT> Border(LONG left, LONG top, LONG right, LONG bottom)
{
    std::vector<POINT> points;
    for (LONG x = left; x < right; ++x)
        points.insert(points.end(), {POINT{x, top}, POINT{x, bottom - 1}});
    for (LONG y = top; y < bottom; ++y)
        points.insert(points.end(), {POINT{left, y}, POINT{right - 1, y}});
    return points;
}

TEST_F(MenuTest, AttachCutsOneImagePerCommandAndConvertsEveryItemAndRefreshTheLaterOnes)
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
    EXPECT_EQ(menu.items()[6]->text, L"E&xit");
    EXPECT_EQ(menu.items()[0]->topLevel, 1u) << "a bar item";
    EXPECT_EQ(menu.items()[6]->topLevel, 0u) << "a drop-down item";
    EXPECT_TRUE(menu.items()[3]->state & MF_SEPARATOR);
    EXPECT_EQ(Record(ID_FILE_EXIT)->image, Image(ID_FILE_EXIT));
    for (HMENU m : {menu.menu(), GetSubMenu(menu.menu(), 1)})
        for (int i = 0; i < GetMenuItemCount(m); ++i)
            EXPECT_TRUE(Record(i, m, TRUE)) << "not owner-drawn: position " << i;

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
    const auto text = [&](const wchar_t* s) {
        RECT r{};
        DrawTextW(dc.get(), s, -1, &r, DT_CALCRECT | DT_SINGLELINE);
        return r;
    };
    const RECT exit = text(L"E&xit"), bar = text(L"&File");
    ASSERT_LT(exit.bottom + 4, 20) << "the menu font is too large for this case";
    const struct {
        ACL_MenuItem* record;
        uint32_t imageSize;
        LONG width, height;
    } cases[] = {
        {menu.items()[3].get(), 16, 43, 5},  // separator
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
        Menu target;  // kBar: null, the attached menu
        UINT position, flags;
        bool append;
        Menu landsIn;
        int landsAt;
        uint32_t topLevel;
    } cases[] = {
        {"into a drop-down by position", kHelp, 1, MF_BYPOSITION | MF_STRING, false, kHelp, 1, 0},
        {"into the bar by position", kBar, 1, MF_BYPOSITION | MF_STRING, false, kBar, 1, 1},
        {"into the bar before a command, which is in a drop-down", kBar, ID_FILE_EXIT, MF_BYCOMMAND | MF_STRING, false,
         kFile, 5, 0},
        {"appended to a drop-down", kHelp, 0, MF_STRING | MF_GRAYED, true, kHelp, 6, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ACL_Menu fresh;
        ASSERT_EQ(fresh.Attach(GetModuleHandleW(nullptr), IDR_MAIN_MENU, 0, 0, host.window()), 0u);
        const HMENU menus[] = {fresh.menu(), GetSubMenu(fresh.menu(), 0), GetSubMenu(fresh.menu(), 1)};
        ASSERT_EQ(fresh.InsertItem(c.position, c.flags, 900, L"&New", c.append, c.target == kBar ? nullptr : menus[c.target]),
                  1);
        EXPECT_EQ(GetMenuItemID(menus[c.landsIn], c.landsAt), 900u);
        MENUITEMINFOW info{sizeof(info), MIIM_FTYPE | MIIM_DATA};
        ASSERT_TRUE(GetMenuItemInfoW(menus[c.landsIn], static_cast<UINT>(c.landsAt), TRUE, &info));
        EXPECT_TRUE(info.fType & MFT_OWNERDRAW);
        ASSERT_EQ(reinterpret_cast<ACL_MenuItem*>(info.dwItemData), fresh.items().back().get()) << "the item data";
        const ACL_MenuItem& record = *fresh.items().back();
        EXPECT_EQ(record.state, c.flags | MF_OWNERDRAW);
        EXPECT_EQ(record.topLevel, c.topLevel);
        EXPECT_EQ(record.text, L"&New");
    }
}

// The Help drop-down, with an item inserted at position 1, "Norlath web-site"
// checked and "About" disabled, opened in a real popup menu: the drawing is
// checked where the drawing rules put each part, first with nothing
// highlighted, then with the first item highlighted by the keyboard.
TEST_F(MenuTest, APopupShowsItemsSeparatorsAndTheHighlightWhereTheRulesPutThem)
{
    const HMENU help = GetSubMenu(menu.menu(), 1);
    ASSERT_EQ(menu.InsertItem(1, MF_BYPOSITION | MF_STRING, 900, L"&Inserted", false, help), 1);
    CheckMenuItem(help, ID_HELP_WEBSITE, MF_BYCOMMAND | MF_CHECKED);
    EnableMenuItem(help, ID_HELP_ABOUT, MF_BYCOMMAND | MF_GRAYED);
    Track(help);
    ASSERT_FALSE(shown.empty()) << "the popup did not show all its items";
    ASSERT_FALSE(highlighted.empty()) << "the keyboard highlighted nothing";

    std::vector<UINT> ids;
    for (size_t i = 0; i < 7; ++i)
        ids.push_back(draws[i].itemID);
    EXPECT_EQ(ids, (std::vector<UINT>{ID_HELP_HELP, 900, 0, ID_HELP_WEBSITE, ID_HELP_SUPPORT, 0, ID_HELP_ABOUT}))
        << "drawn in menu order: the inserted item second";
    EXPECT_EQ(draws[1].itemData, reinterpret_cast<ULONG_PTR>(menu.items().back().get()));

    const int cell = static_cast<int>(menu.cellWidth()), textX = cell + static_cast<int>(menu.textGapX());
    {
        SCOPED_TRACE("an item: background, the image column's gradient, the image, the text");
        const RECT r = draws[0].rcItem;
        for (const LONG y : {r.top, r.bottom - 1}) {
            EXPECT_EQ(shown.at(r.left, y), kWhite) << "the gradient starts at the left, y " << y;
            EXPECT_EQ(shown.at(r.left + cell, y), kBack) << "right of the column, y " << y;
            EXPECT_EQ(shown.at(r.right - 1, y), kBack) << "the right edge, y " << y;
        }
        // The last column is one step short of gradientEnd.
        const COLORREF last = shown.at(r.left + cell - 1, r.top);
        EXPECT_NEAR(GetRValue(last), GetRValue(kSelection), 6);
        EXPECT_NEAR(GetGValue(last), GetGValue(kSelection), 6);
        EXPECT_NEAR(GetBValue(last), GetBValue(kSelection), 6);
        std::vector<int> reds;
        for (int x = 0; x < cell; ++x)
            reds.push_back(GetRValue(shown.at(r.left + x, r.top)));
        EXPECT_TRUE(std::is_sorted(reds.begin(), reds.end(), std::greater<>())) << "red, left to right: "
                                                                               << testing::PrintToString(reds);
        EXPECT_EQ(Misplaced(shown, *Image(ID_HELP_HELP), r.left + 3, r.top + 2, AsIs), 0) << "the image at marginX, marginY";
        EXPECT_EQ(Colours(shown, r.left + cell, r.top, r.left + textX, r.bottom), std::set<COLORREF>{kBack})
            << "nothing between the column and the text";
        EXPECT_EQ(Colours(shown, r.left + textX, r.top, r.right, r.bottom), (std::set<COLORREF>{kBack, kBlack}));
    }
    {
        SCOPED_TRACE("a separator: background, the gradient 5 high, a line at the middle from the text on");
        const RECT r = draws[2].rcItem;
        ASSERT_EQ(r.bottom - r.top, 5);
        const LONG line = r.bottom - (r.bottom - r.top) / 2;
        std::vector<POINT> points;
        for (LONG x = r.left + textX; x < r.right; ++x)
            points.push_back({x, line});
        EXPECT_EQ(Unlike(shown, points, kBlack, {r.left, r.top}), "") << "the line";
        EXPECT_EQ(shown.at(r.left + textX - 1, line), kBack) << "the line starts at the text";
        for (const LONG y : {line - 1, line + 1}) {
            EXPECT_EQ(shown.at(r.left + textX, y), kBack) << "one pixel high, y " << y;
            EXPECT_EQ(shown.at(r.right - 1, y), kBack) << "one pixel high, y " << y;
        }
        EXPECT_EQ(shown.at(r.left, r.top), kWhite) << "the gradient";
        EXPECT_EQ(shown.at(r.left, r.bottom - 1), kWhite) << "the gradient";
        EXPECT_EQ(shown.at(r.left + cell, r.top), kBack);
    }
    {
        SCOPED_TRACE("a checked item: a framed cell with the mark instead of the image");
        const RECT r = draws[3].rcItem;
        const int height = r.bottom - r.top;
        EXPECT_EQ(Unlike(shown, Border(r.left, r.top, r.left + cell, r.bottom), kBlack, {r.left, r.top}), "")
            << "the cell's frame";
        // Centre (cell / 2, 2 height / 3): a thick stroke from 3 left and 4 up,
        // a thin one on to 7 right and 9 up.
        const int cx = r.left + cell / 2, cy = r.top + 2 * height / 3;
        for (const POINT at : {POINT{cx - 2, cy - 3}, POINT{cx - 1, cy - 1}, POINT{cx + 4, cy - 5}})
            EXPECT_EQ(shown.at(at.x, at.y), kBlack) << "the mark at " << at.x - r.left << "," << at.y - r.top;
        int mark = 0;
        std::vector<POINT> column;  // besides the mark, only the gradient: each column in one colour
        for (int y = 1; y < height - 1; ++y)
            for (int x = 1; x < cell - 1; ++x)
                if (shown.at(r.left + x, r.top + y) == kBlack)
                    ++mark;
                else if (shown.at(r.left + x, r.top + y) != shown.at(r.left + x, r.top + 1))
                    column.push_back({r.left + x, r.top + y});
        if (!column.empty())
            ADD_FAILURE() << column.size() << " pixels neither mark nor gradient, the first at "
                          << column.front().x - r.left << "," << column.front().y - r.top;
        EXPECT_GT(mark, 12) << "pixels of the mark";
        EXPECT_LT(mark, 40) << "pixels of the mark";
    }
    {
        SCOPED_TRACE("a disabled item: the image grey and in place, the text grey");
        const RECT r = draws[6].rcItem;
        EXPECT_EQ(Misplaced(shown, *Image(ID_HELP_ABOUT), r.left + 3, r.top + 2, acl::GreyOf), 0);
        EXPECT_EQ(Colours(shown, r.left + textX, r.top, r.right, r.bottom), (std::set<COLORREF>{kBack, kGrayText}));
        // Highlighted, it looks just the same.
        const int width = r.right - r.left, height = r.bottom - r.top;
        const Pixels selected = krn::test::Render(width, height, RGB(1, 2, 3), [&](HDC dc) {
            DRAWITEMSTRUCT dis = draws[6];
            dis.hDC = dc;
            dis.itemState |= ODS_SELECTED;
            dis.rcItem = {0, 0, width, height};
            menu.DrawItem(dis);
        });
        int different = 0;
        for (int i = 0; i < width * height; ++i)
            different += selected.at(i % width, i / width) != shown.at(r.left + i % width, r.top + i / width);
        EXPECT_EQ(different, 0) << "pixels that differ when the disabled item is highlighted";
    }
    {
        SCOPED_TRACE("the highlighted item: framed selection fill, the image raised over its shadow, white text");
        ASSERT_EQ(Highlighted()->itemID, static_cast<UINT>(ID_HELP_HELP));
        const RECT r = Highlighted()->rcItem;
        EXPECT_EQ(Unlike(highlighted, Border(r.left, r.top, r.right, r.bottom), kBlack, {r.left, r.top}), "")
            << "the frame";
        std::vector<POINT> inside = Border(r.left + 1, r.top + 1, r.right - 1, r.bottom - 1);
        std::erase_if(inside, [&](POINT at) { return at.x > r.left + 1 && at.x < r.left + cell; });  // the image's place
        EXPECT_EQ(Unlike(highlighted, inside, kSelection, {r.left, r.top}), "") << "the fill just inside the frame";
        const ACL_MenuImage& image = *Image(ID_HELP_HELP);
        EXPECT_EQ(Misplaced(highlighted, image, r.left + 2, r.top + 1, AsIs), 0) << "one pixel up and left";
        // The opaque pixel furthest down and right casts a shadow nothing covers.
        const Pixels source = PixelsOf(image);
        POINT last{-1, -1};
        for (int i = 0; i < 16 * 16; ++i)
            if (source.at(i % 16, i / 16) != image.transparentColor && i % 16 + i / 16 >= last.x + last.y)
                last = {i % 16, i / 16};
        EXPECT_EQ(highlighted.at(r.left + 3 + last.x + 1, r.top + 2 + last.y + 1), menu.colors().shadowColor);
        EXPECT_EQ(Colours(highlighted, r.left + textX, r.top + 1, r.right - 1, r.bottom - 1),
                  (std::set<COLORREF>{kSelection, kWhite}));
    }
}

// Theme 15 from the start; 9 to 14 change nothing; L, the lightened
// highlight, is 179 + 3 (c / 10) per channel; grey is (77 R + 150 G + 29 B) / 256.
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
        {RGB(0, 0, 0), RGB(179, 179, 179), RGB(0, 0, 0)},
        {RGB(255, 255, 255), RGB(254, 254, 254), RGB(255, 255, 255)},
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

TEST(MenuOwnership, ADropDownDeletedByPositionLosesEverySecondItemAndALentCheckBitmapStays)
{
    const HBITMAP given = CreateBitmap(16, 16, 1, 32, nullptr), lent = CreateBitmap(16, 16, 1, 32, nullptr);
    {
        ACL_Menu menu;
        HMENU bar = CreateMenu(), drop = CreatePopupMenu();
        for (const wchar_t* text : {L"a", L"b", L"c", L"d", L"e"})
            AppendMenuW(drop, MF_STRING, text[0], text);
        AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(drop), L"&Edit");
        ASSERT_EQ(menu.AttachMenu(nullptr, bar, 0, 0, nullptr, 1), 0u);
        EXPECT_EQ(menu.AppendItem(MF_STRING, 10, L"&Go"), 1);
        ASSERT_EQ(menu.items().size(), 7u);

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
