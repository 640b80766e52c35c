#include "acl/Menu.h"

#include "resource.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using krn::test::Pixels;

} // namespace

void PrintTo(const ACL_MenuColors& c, std::ostream* os)
{
    *os << std::hex << "{background " << c.background << ", selection " << c.selectionBackground << ", gradient "
        << c.gradientStart << ".." << c.gradientEnd << ", text " << c.textColor << ", selected text "
        << c.selectedTextColor << ", disabled text " << c.disabledTextColor << ", frame " << c.frameColor
        << ", separator " << c.separatorColor << ", check " << c.checkColor << ", bar " << c.barBackground
        << ", shadow " << c.shadowColor << "}";
}

namespace {

// The main dialog's colours, with distinct frame, separator and check colours
// so that every part of a drawing can be told apart.
constexpr COLORREF kBack = RGB(0xFA, 0xFA, 0xFF), kSelection = RGB(0x8A, 0xA6, 0xD6), kWhite = RGB(255, 255, 255);
constexpr COLORREF kFrame = RGB(0, 0, 255), kSeparator = RGB(0, 128, 0), kCheck = RGB(255, 0, 0);

class MenuTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // No owner window: measuring and cutting images use the screen's DC.
        ASSERT_EQ(menu.Attach(GetModuleHandleW(nullptr), IDR_MAIN_MENU, IDR_MENU_IMAGES, IDB_MENU_IMAGES, nullptr), 0u);
        menu.SetImageMetrics(16, 16, ACL_Menu::kKeep, ACL_Menu::kKeep);
        menu.SetColors(kBack, kSelection, kWhite, kSelection, RGB(0, 0, 0), kWhite, GetSysColor(COLOR_GRAYTEXT), kFrame,
                       kSeparator, kCheck);
    }
    ACL_MenuItem* Record(UINT command, HMENU in = nullptr, BOOL byPosition = FALSE) const
    {
        MENUITEMINFOW info{sizeof(info), MIIM_FTYPE | MIIM_DATA};
        GetMenuItemInfoW(in ? in : menu.menu(), command, byPosition, &info);
        return info.fType & MFT_OWNERDRAW ? reinterpret_cast<ACL_MenuItem*>(info.dwItemData) : nullptr;
    }
    const ACL_MenuImage* Image(UINT command) const
    {
        for (const auto& image : menu.images())
            if (image->commandId == command)
                return image.get();
        return nullptr;
    }

    ACL_Menu menu;
};

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

// A highlighted image moves one pixel up-left over its shadow; a disabled one
// is grey, unshifted and never highlighted; a checked item without a bitmap
// shows a framed cell and the mark around (11, 13) instead of its image.
TEST_F(MenuTest, DrawsRaisedGreyAndCheckedItems)
{
    struct PixelAt {
        int x, y;
        COLORREF color;
    };
    enum Look { kRaised, kGrey, kChecked };
    const struct {
        UINT state;
        Look look;
        std::vector<PixelAt> at;
    } cases[] = {
        {ODS_SELECTED, kRaised, {{0, 0, kFrame}, {199, 19, kFrame}, {198, 10, kSelection}}},
        {ODS_SELECTED | ODS_GRAYED, kGrey, {{199, 0, kBack}, {0, 0, kWhite}}},  // the gradient starts white
        {ODS_CHECKED, kChecked, {{0, 0, kFrame}, {21, 0, kFrame}, {0, 19, kFrame}, {21, 19, kFrame}, {21, 10, kFrame},
                                 {9, 10, kCheck}, {10, 12, kCheck}, {15, 8, kCheck}}},
    };
    const ACL_MenuImage& source = *Image(ID_HELP_SUPPORT);  // many pixels with red != green
    const Pixels image = krn::test::Render(16, 16, 0, [&](HDC dc) {
        const acl::unique_hdc bitmapDc(CreateCompatibleDC(dc));
        acl::SelectGuard select(bitmapDc.get(), source.bitmap.get());
        BitBlt(dc, 0, 0, 16, 16, bitmapDc.get(), 0, 0, SRCCOPY);
    });
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "state " << c.state);
        const Pixels p = krn::test::Render(200, 20, RGB(1, 1, 1), [&](HDC dc) {
            DRAWITEMSTRUCT dis{ODT_MENU, 0, 0, ODA_DRAWENTIRE, c.state, nullptr, dc, {0, 0, 200, 20}};
            dis.itemData = reinterpret_cast<ULONG_PTR>(Record(ID_HELP_SUPPORT));
            EXPECT_EQ(menu.DrawItem(dis), 0u);
        });
        for (const auto& at : c.at)
            EXPECT_EQ(p.at(at.x, at.y), at.color) << "at " << at.x << "," << at.y;
        // What the image cell must show: shadow down-right of the image's place
        // (3, 2) and the image up-left of it, or the grey image in place.
        std::vector<COLORREF> want(22 * 20, CLR_INVALID);
        for (const int shift : {1, -1, 0})
            for (int i = 0; i < 16 * 16; ++i) {
                const COLORREF pixel = image.at(i % 16, i / 16);
                const unsigned l = (77 * GetRValue(pixel) + 150 * GetGValue(pixel) + 29 * GetBValue(pixel)) / 256;
                if (pixel != source.transparentColor && (shift == 0) == (c.look == kGrey) && c.look != kChecked)
                    want[(2 + shift + i / 16) * 22 + 3 + shift + i % 16] =
                        shift > 0 ? menu.colors().shadowColor : shift < 0 ? pixel : RGB(l, l, l);
            }
        int drawn = 0, marks = 0;
        for (int i = 0; i < 22 * 20; ++i) {
            if (want[i] != CLR_INVALID && ++drawn) {
                EXPECT_EQ(p.at(i % 22, i / 22), want[i]) << "at " << i % 22 << "," << i / 22;
            }
            marks += p.at(i % 22, i / 22) == kCheck;
        }
        if (c.look == kChecked) {
            EXPECT_GT(marks, 12) << "pixels of the mark";
            EXPECT_LT(marks, 40) << "pixels of the mark";
        } else {
            EXPECT_GT(drawn, 50) << "pixels of the image";
            EXPECT_EQ(marks, 0) << "pixels of a mark";
        }
    }
}

TEST(MenuThemes, NineToFourteenChangeNothingAndLightComesFromTheHighlight)
{
    ACL_Menu menu;
    const COLORREF h = GetSysColor(COLOR_HIGHLIGHT);
    const auto light = [](BYTE c) { return BYTE(179 + 3 * (c / 10)); };
    EXPECT_EQ(menu.colors().gradientEnd, RGB(0xA6, 0xC4, 0xF5)) << "theme 15 from the start";
    EXPECT_EQ(menu.colors().selectionBackground, RGB(light(GetRValue(h)), light(GetGValue(h)), light(GetBValue(h))));
    menu.SetTheme(3);
    const ACL_MenuColors three = menu.colors();
    EXPECT_EQ(three.background, RGB(0xBC, 0x95, 0x65));
    for (unsigned theme = 9; theme <= 14; ++theme) {
        menu.SetTheme(theme);
        EXPECT_EQ(menu.colors(), three) << "theme " << theme;
    }
    menu.SetTheme(17);
    EXPECT_EQ(menu.colors().frameColor, h);
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
