// The owner-drawn menu on the main window's menu: attaching and converting,
// measuring, and the drawing in pixels, each item drawn as its popup asks.
#include "acl/Menu.h"

#include "TestDialog.h"
#include "resource.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

namespace {

using krn::test::Pixels;

// The main window's colours.
constexpr COLORREF kBack = RGB(0xFA, 0xFA, 0xFF), kSelection = RGB(0x8A, 0xA6, 0xD6);
constexpr COLORREF kWhite = RGB(255, 255, 255), kBlack = RGB(0, 0, 0);
const COLORREF kGrayText = GetSysColor(COLOR_GRAYTEXT);

// The main window's menu as the main window has it: attached with the window
// as owner, its image size and colours.
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
    static ACL_MenuItem* Record(HMENU in, UINT position)
    {
        MENUITEMINFOW info{sizeof(info), MIIM_FTYPE | MIIM_DATA};
        GetMenuItemInfoW(in, position, TRUE, &info);
        return info.fType & MFT_OWNERDRAW ? reinterpret_cast<ACL_MenuItem*>(info.dwItemData) : nullptr;
    }

    // The drop-down's items drawn as its popup asks for them: one under the
    // other at their measured heights, as wide as the widest, each in its
    // ODS_ state; `items` gets their places.
    Pixels DrawDropDown(HMENU dropDown, const std::vector<UINT>& states, std::vector<RECT>* items)
    {
        LONG width = 0, bottom = 0;
        items->clear();
        for (UINT i = 0; i < states.size(); ++i) {
            MEASUREITEMSTRUCT mis{ODT_MENU};
            mis.itemData = reinterpret_cast<ULONG_PTR>(Record(dropDown, i));
            menu.MeasureItem(mis);
            items->push_back({0, bottom, 0, bottom += LONG(mis.itemHeight)});
            width = std::max(width, LONG(mis.itemWidth));
        }
        return krn::test::Render(width, bottom, RGB(1, 2, 3), [&](HDC dc) {
            for (UINT i = 0; i < states.size(); ++i) {
                (*items)[i].right = width;
                menu.DrawItem({ODT_MENU, 0, GetMenuItemID(dropDown, int(i)), ODA_DRAWENTIRE, states[i], nullptr, dc,
                               (*items)[i], reinterpret_cast<ULONG_PTR>(Record(dropDown, i))});
            }
        });
    }

    ACL_Menu menu;
    acl::test::TestDialog host;
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

// How many of the image's opaque pixels the picture does not show with the
// image's top-left corner at (x, y).
int Misplaced(const Pixels& p, const ACL_MenuImage& image, int x, int y)
{
    const Pixels source = PixelsOf(image);
    int opaque = 0, misplaced = 0;
    for (int i = 0; i < 16 * 16; ++i)
        if (const COLORREF pixel = source.at(i % 16, i / 16); pixel != image.transparentColor) {
            ++opaque;
            misplaced += p.at(x + i % 16, y + i / 16) != pixel;
        }
    EXPECT_GT(opaque, 50) << "too few pixels in image " << image.commandId << " to tell its place";
    return misplaced;
}

// The colours of the picture in a rectangle, or on its one-pixel border only.
std::set<COLORREF> Colours(const Pixels& p, const RECT& r, bool border = false)
{
    std::set<COLORREF> colours;
    for (LONG y = r.top; y < r.bottom; ++y)
        for (LONG x = r.left; x < r.right; ++x)
            if (!border || x == r.left || x == r.right - 1 || y == r.top || y == r.bottom - 1)
                colours.insert(p.at(x, y));
    return colours;
}

TEST_F(MenuTest, AttachCutsOneImagePerCommandAndConvertsAndMeasuresEveryItem)
{
    std::vector<uint32_t> commands;  // of the images whose top-left pixel, magenta, is the transparent colour
    for (const auto& image : menu.images())
        commands.push_back(image->transparentColor == RGB(255, 0, 255) ? image->commandId : 0);
    EXPECT_EQ(commands, (std::vector<uint32_t>{ID_FILE_IMPORT, ID_FILE_EXPORT, ID_FILE_PROPERTIES, ID_FILE_EXIT,
                                               ID_HELP_HELP, ID_HELP_WEBSITE, ID_HELP_SUPPORT, ID_HELP_ABOUT}));
    // In menu order: 2 bar items, each followed by the 6 items of its drop-down.
    ASSERT_EQ(menu.items().size(), 14u);
    for (UINT i = 0; i < 2; ++i)
        EXPECT_TRUE(Record(menu.menu(), i)) << "bar item " << i << " not owner-drawn";

    const acl::unique_hfont font = acl::CreateMenuFont();
    const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
    acl::SelectGuard select(dc.get(), font.get());
    RECT exit{}, bar{};
    DrawTextW(dc.get(), L"E&xit", -1, &exit, DT_CALCRECT | DT_SINGLELINE);
    DrawTextW(dc.get(), L"&File", -1, &bar, DT_CALCRECT | DT_SINGLELINE);
    ASSERT_LT(exit.bottom + 4, 20) << "the menu font is too large for this case";
    const struct {
        ACL_MenuItem* record;
        LONG width, height;
    } cases[] = {
        {menu.items()[3].get(), 43, 5},                         // separator
        {menu.items()[6].get(), 42 + exit.right, 20},           // Exit: as high as the image cell
        {menu.items()[0].get(), bar.right + 4, bar.bottom + 4},  // bar item
    };
    for (const auto& c : cases) {
        MEASUREITEMSTRUCT mis{ODT_MENU};
        mis.itemData = reinterpret_cast<ULONG_PTR>(c.record);
        EXPECT_EQ(menu.MeasureItem(mis), 0u);
        EXPECT_EQ(std::pair(mis.itemWidth, mis.itemHeight), std::pair(UINT(c.width), UINT(c.height))) << c.record->text;
    }
}

// The Help drop-down (Help, a separator, the web-site, Support, a separator,
// About), drawn first with nothing highlighted, then with "Help" highlighted:
// each part is where the drawing rules put it. (The program's menu has no
// checked or disabled items.)
TEST_F(MenuTest, ADropDownShowsItemsSeparatorsAndTheHighlightWhereTheRulesPutThem)
{
    const HMENU help = GetSubMenu(menu.menu(), 1);
    std::vector<RECT> items;
    const Pixels shown = DrawDropDown(help, {0, 0, 0, 0, 0, 0}, &items);
    const Pixels highlighted = DrawDropDown(help, {ODS_SELECTED, 0, 0, 0, 0, 0}, &items);
    const RECT item = items[0], separator = items[1];
    const LONG cell = static_cast<LONG>(menu.cellWidth()), textX = cell + static_cast<LONG>(menu.textGapX());
    const LONG w = item.right - item.left, h = item.bottom - item.top;
    const auto at = [](const RECT& r, LONG left, LONG top, LONG right, LONG bottom) {
        return RECT{r.left + left, r.top + top, r.left + right, r.top + bottom};
    };
    const LONG line = 3;  // bottom - height / 2 of the 5 rows
    const struct {
        const char* what;
        const Pixels& picture;
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
        {"highlighted: the frame", highlighted, at(item, 0, 0, w, h), {kBlack}, true},
        {"highlighted: the fill left of the image", highlighted, at(item, 1, 1, 2, h - 1), {kSelection}},
        {"highlighted: the fill from the image column to the text", highlighted, at(item, cell, 1, textX, h - 1),
         {kSelection}},
        {"highlighted: the text", highlighted, at(item, textX, 1, w - 1, h - 1), {kSelection, kWhite}},
    };
    for (const auto& a : areas)
        EXPECT_EQ(Colours(a.picture, a.area, a.border), a.colours) << a.what;

    // The gradient's last column is one step short of its end colour.
    const COLORREF last = shown.at(item.left + cell - 1, item.top);
    EXPECT_NEAR(GetRValue(last), GetRValue(kSelection), 6);
    EXPECT_NEAR(GetGValue(last), GetGValue(kSelection), 6);
    EXPECT_NEAR(GetBValue(last), GetBValue(kSelection), 6);

    // Images at marginX, marginY; a highlighted one a pixel up and left, over
    // its shadow: the opaque pixel furthest down and right casts a shadow
    // nothing covers.
    const ACL_MenuImage& image = *menu.images()[4];  // Help's
    EXPECT_EQ(Misplaced(shown, image, item.left + 3, item.top + 2), 0) << "an item's image";
    EXPECT_EQ(Misplaced(highlighted, image, item.left + 2, item.top + 1), 0) << "the raised image";
    const Pixels source = PixelsOf(image);
    POINT corner{};
    for (int i = 0; i < 16 * 16; ++i)
        if (source.at(i % 16, i / 16) != image.transparentColor && i % 16 + i / 16 >= corner.x + corner.y)
            corner = {i % 16, i / 16};
    EXPECT_EQ(highlighted.at(item.left + 4 + corner.x, item.top + 3 + corner.y), menu.colors().shadowColor)
        << "shadow";
}

} // namespace
