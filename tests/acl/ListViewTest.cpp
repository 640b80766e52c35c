// The list's tree, its ownership rules and its bookkeeping against a real
// owner-data report list view under the dialog manager.
#include "support/ListViewDemo.h"

#include "resource.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>

namespace {

using acl::ListView_Settings;
using acl::ListView_Style;
using krn::test::ListViewDemo;

constexpr COLORREF kNone = ListView_Settings::kNone;

bool Alive(HGDIOBJ object)
{
    return GetObjectType(object) != 0;
}

COLORREF BrushColor(HBRUSH brush)
{
    LOGBRUSH lb{};
    return GetObjectW(brush, sizeof lb, &lb) ? lb.lbColor : CLR_INVALID;
}

HFONT NewFont(int height)
{
    return CreateFontW(height, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, L"Tahoma");
}

// Settings and items that say when they are destroyed.
std::vector<std::string> destroyed;

struct TracedSettings : ListView_Settings {
    explicit TracedSettings(std::string n) : name(std::move(n)) {}
    ~TracedSettings() override { destroyed.push_back(name); }
    std::string name;
};

struct TracedItem : acl::ListView_Item {
    explicit TracedItem(std::string n, uint64_t t = 0) : ListView_Item(99), name(std::move(n)) { tag = t; }
    ~TracedItem() override { destroyed.push_back(name); }
    void GetSize(uint32_t& w, uint32_t& h) override { w = h = 0; }
    int Draw(HDC, int, RECT&) override { return 0; }
    std::string name;
};

class Traced : public ::testing::Test {
protected:
    void SetUp() override { destroyed.clear(); }
};

// ---- settings and styles

TEST(ListViewSettings, StartEmptyOnTheirOwnAndWithSystemColoursInAList)
{
    ListView_Settings alone;
    EXPECT_EQ(alone.paddingX, 1);
    EXPECT_EQ(alone.paddingY, 1);
    EXPECT_EQ(alone.spare1, 1u);
    EXPECT_EQ(alone.spare2, 3u);
    for (const ListView_Style& style : alone.styles) {
        EXPECT_EQ(style.set, 0u);
        EXPECT_EQ(style.Owned(), 0u);
    }

    acl::ListView list;
    const struct {
        int index;
        int text, background;
    } kExpected[] = {{0, COLOR_WINDOWTEXT, COLOR_WINDOW}, {1, COLOR_HIGHLIGHTTEXT, COLOR_HIGHLIGHT}};
    for (const auto& e : kExpected) {
        const ListView_Style& style = list.GetSettings().styles[e.index];
        SCOPED_TRACE("style " + std::to_string(e.index));
        EXPECT_EQ(style.set, 7u) << "text, background and frame";
        EXPECT_EQ(style.Owned(), 3u) << "both brushes";
        EXPECT_EQ(style.textColor, GetSysColor(e.text));
        EXPECT_EQ(style.backgroundMode, OPAQUE);
        EXPECT_EQ(style.backgroundColor, GetSysColor(e.background));
        EXPECT_EQ(BrushColor(style.backgroundBrush.get()), GetSysColor(e.background));
        EXPECT_EQ(BrushColor(style.frameBrush.get()), GetSysColor(COLOR_WINDOWFRAME));
    }
}

TEST(ListViewSettings, SetStyleTouchesOnlyTheMaskedGroups)
{
    struct Case {
        const char* what;
        uint32_t mask;
        COLORREF text, background, frame;
        uint32_t set, owned;
    };
    // Each case starts from a style with every group set.
    const Case kCases[] = {
        {"text colour", 1, RGB(1, 2, 3), kNone, kNone, 15, 3},
        {"text colour none", 1, kNone, kNone, kNone, 14, 3},
        {"background none", 2, kNone, kNone, kNone, 13, 1 << 1},
        {"frame none", 4, kNone, kNone, kNone, 11, 1},
        {"background and frame anew", 6, kNone, RGB(9, 9, 9), RGB(8, 8, 8), 15, 3},
        {"nothing", 0, kNone, kNone, kNone, 15, 3},
    };
    const acl::unique_hfont font(NewFont(12));
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.what);
        ListView_Settings s;
        s.SetStyle(0, 15, RGB(5, 5, 5), TRANSPARENT, RGB(6, 6, 6), 0, RGB(7, 7, 7), 0, font.get(), false);
        const HBRUSH oldBackground = s.styles[0].backgroundBrush.get();
        const HBRUSH oldFrame = s.styles[0].frameBrush.get();
        s.SetStyle(0, c.mask, c.text, OPAQUE, c.background, 0, c.frame, 0, nullptr, false);
        const ListView_Style& style = s.styles[0];
        EXPECT_EQ(style.set, c.set);
        EXPECT_EQ(style.Owned(), c.owned);
        if (c.mask & 1) {
            EXPECT_EQ(style.textColor, c.text);
            EXPECT_EQ(style.backgroundMode, OPAQUE) << "the mode travels with the text colour";
        } else {
            EXPECT_EQ(style.backgroundMode, TRANSPARENT);
        }
        EXPECT_EQ(Alive(oldBackground), !(c.mask & 2)) << "a replaced brush is released";
        EXPECT_EQ(Alive(oldFrame), !(c.mask & 4));
        if (c.mask & 2 && c.background != kNone) {
            EXPECT_EQ(BrushColor(style.backgroundBrush.get()), c.background);
        }
        if (c.mask & 4 && c.frame != kNone) {
            EXPECT_EQ(BrushColor(style.frameBrush.get()), c.frame);
        }
        EXPECT_EQ(s.styles[1].set, 0u) << "the other style is untouched";
    }
    EXPECT_TRUE(Alive(font.get())) << "a font lent to the style stays the caller's";
}

TEST(ListViewSettings, FontBitsAreOnlyEverSet)
{
    const HFONT owned = NewFont(10);
    const HFONT lent = NewFont(11);
    {
        ListView_Settings s;
        s.SetStyle(1, 8, 0, 0, 0, 0, 0, 0, owned, true);
        EXPECT_EQ(s.styles[1].set, 8u);
        EXPECT_EQ(s.styles[1].Owned(), 4u);

        // Once owning, the style keeps owning: the lent font is now its own.
        s.SetStyle(1, 8, 0, 0, 0, 0, 0, 0, lent, false);
        EXPECT_FALSE(Alive(owned)) << "the owned font is released when replaced";
        EXPECT_EQ(s.styles[1].font.get(), lent);
        EXPECT_EQ(s.styles[1].Owned(), 4u);

        // A null font clears neither bit.
        s.SetStyle(1, 8, 0, 0, 0, 0, 0, 0, nullptr, false);
        EXPECT_FALSE(Alive(lent));
        EXPECT_EQ(s.styles[1].set, 8u);
        EXPECT_EQ(s.styles[1].Owned(), 4u);
        EXPECT_EQ(s.styles[1].font.get(), nullptr);
    }
    const acl::unique_hfont kept(NewFont(12));
    {
        ListView_Settings s;
        s.SetStyle(0, 8, 0, 0, 0, 0, 0, 0, kept.get(), false);
        EXPECT_EQ(s.styles[0].Owned(), 0u);
    }
    EXPECT_TRUE(Alive(kept.get())) << "a lent font outlives the settings";
}

TEST(ListViewSettings, ApplyChangesTheDcAndRestorePutsItBack)
{
    const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
    const acl::unique_hfont font(NewFont(14));
    ListView_Settings s;
    s.SetStyle(1, 15, RGB(10, 20, 30), TRANSPARENT, RGB(40, 50, 60), 0, RGB(1, 1, 1), 0, font.get(), false);
    SetTextColor(dc.get(), RGB(1, 2, 3));
    SetBkColor(dc.get(), RGB(4, 5, 6));
    SetBkMode(dc.get(), OPAQUE);
    const HGDIOBJ originalFont = GetCurrentObject(dc.get(), OBJ_FONT);

    acl::ListView_DrawState state;
    s.Apply(dc.get(), 1, state);
    EXPECT_EQ(s.dc, dc.get());
    EXPECT_EQ(s.saved.set, 15u);
    EXPECT_EQ(GetTextColor(dc.get()), RGB(10, 20, 30));
    EXPECT_EQ(GetBkColor(dc.get()), RGB(40, 50, 60));
    EXPECT_EQ(GetBkMode(dc.get()), TRANSPARENT);
    EXPECT_EQ(GetCurrentObject(dc.get(), OBJ_FONT), font.get());
    EXPECT_EQ(state.backgroundBrush, s.styles[1].backgroundBrush.get());
    EXPECT_EQ(state.frameBrush, s.styles[1].frameBrush.get());
    EXPECT_EQ(state.font, font.get());

    s.Restore(state);
    EXPECT_EQ(s.dc, nullptr);
    EXPECT_EQ(s.saved.set, 0u);
    EXPECT_EQ(GetTextColor(dc.get()), RGB(1, 2, 3));
    EXPECT_EQ(GetBkColor(dc.get()), RGB(4, 5, 6));
    EXPECT_EQ(GetBkMode(dc.get()), OPAQUE);
    EXPECT_EQ(GetCurrentObject(dc.get(), OBJ_FONT), originalFont);
    EXPECT_EQ(state.textColor, RGB(1, 2, 3));
    // Apply never saves brushes, so restoring leaves the state without any.
    EXPECT_EQ(state.backgroundBrush, nullptr);
    EXPECT_EQ(state.frameBrush, nullptr);
}

// ---- the tree and who owns what

TEST_F(Traced, SettingsAreDestroyedOnlyWhenOwned)
{
    acl::ListView_Row row;
    TracedSettings lent("lent");
    row.SetSettings(&lent, true);
    EXPECT_TRUE(row.UsesOwnSettings());
    EXPECT_FALSE(row.OwnsSettings());

    row.SetSettings(std::make_unique<TracedSettings>("own"));
    EXPECT_TRUE(row.OwnsSettings());
    EXPECT_TRUE(destroyed.empty()) << "lent settings are not destroyed when replaced";

    acl::ListView_Cell* cell = row.GetCell(0, false);
    EXPECT_EQ(cell->GetSettings(), row.GetSettings()) << "a new cell takes the row's settings";
    EXPECT_FALSE(cell->UsesOwnSettings());

    row.SetSettings(static_cast<ListView_Settings*>(nullptr), true);
    EXPECT_EQ(destroyed, std::vector<std::string>{"own"});
    EXPECT_FALSE(row.UsesOwnSettings()) << "null settings are never the node's own";

    cell->SetSettings(std::make_unique<TracedSettings>("cell"));
    cell->SetSettings(std::unique_ptr<ListView_Settings>());
    EXPECT_EQ(destroyed, (std::vector<std::string>{"own", "cell"}));
    EXPECT_EQ(cell->GetSettings(), nullptr) << "null takes the parent's, which has none now";
    EXPECT_FALSE(cell->UsesOwnSettings());
}

TEST_F(Traced, RowsCreateMissingCellsWithTheirSettings)
{
    ListView_Settings settings;
    acl::ListView_Row row;
    row.SetSettings(&settings, false);
    EXPECT_EQ(row.GetCell(2, true), nullptr);
    EXPECT_EQ(row.CellCount(), 0u);
    acl::ListView_Cell* third = row.GetCell(2, false);
    ASSERT_EQ(row.CellCount(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        const acl::ListView_Cell* cell = row.CellAt(i);
        EXPECT_EQ(cell->spacing, 1u);
        EXPECT_EQ(cell->GetSettings(), &settings);
        EXPECT_EQ(cell->GetParent(), &row);
    }
    row.InsertCell(1);
    EXPECT_EQ(row.CellCount(), 4u);
    EXPECT_EQ(row.CellAt(3), third) << "later cells shift right";
    row.InsertCell(6);
    EXPECT_EQ(row.CellCount(), 8u) << "cells up to the index are made first";
    EXPECT_EQ(row.DeleteCell(8), static_cast<DWORD>(ERROR_NOT_FOUND));
    EXPECT_EQ(row.DeleteCell(1), 0u);
    EXPECT_EQ(row.CellAt(2), third);
}

TEST_F(Traced, CellsOwnTheirItems)
{
    ListView_Settings settings;
    TracedSettings ownOfItem("item's");
    {
        acl::ListView_Cell cell(nullptr);
        cell.SetSettings(&settings, false);
        auto first = std::make_unique<TracedItem>("a", 1);
        first->SetSettings(&ownOfItem, true);
        TracedItem* a = first.get();
        cell.AddItem(std::move(first));
        EXPECT_EQ(a->GetSettings(), &ownOfItem) << "an item keeps settings it already has";
        EXPECT_EQ(a->GetParent(), &cell);
        for (const char* name : {"b", "c", "d", "e"})
            cell.AddItem(std::make_unique<TracedItem>(name, name[0] == 'c' || name[0] == 'e' ? 2 : 1));
        EXPECT_EQ(cell.ItemAt(1)->GetSettings(), &settings);

        EXPECT_EQ(cell.RemoveItem(5), static_cast<DWORD>(ERROR_NOT_FOUND));
        EXPECT_EQ(cell.RemoveItem(1), 0u);  // b
        EXPECT_EQ(cell.RemoveItemsByTag(2), 0u);  // c, e
        EXPECT_EQ(cell.ItemCount(), 2u);
        EXPECT_EQ(cell.RemoveItems(2, 1), static_cast<DWORD>(ERROR_NOT_FOUND));
        EXPECT_EQ(cell.RemoveItems(1, 10), 0u) << "stops at the end";  // d
        EXPECT_EQ(destroyed, (std::vector<std::string>{"b", "c", "e", "d"}));
    }
    EXPECT_EQ(destroyed, (std::vector<std::string>{"b", "c", "e", "d", "a"}));
}

TEST(ListViewItems, BitmapsReadTheirSizeAndTopLeftColourAndOwnOnlyWhenGiven)
{
    ListViewDemo demo;
    const HBITMAP action = demo.ActionBitmap(0);
    {
        acl::ListView_Bitmap lent(action);
        uint32_t w = 0, h = 0;
        lent.GetSize(w, h);
        EXPECT_EQ(w, 16u);
        EXPECT_EQ(h, 16u);
        EXPECT_EQ(lent.TransparentColor(), RGB(255, 0, 255));
        EXPECT_FALSE(lent.OwnsBitmap());
    }
    EXPECT_TRUE(Alive(action));

    const HBITMAP given = static_cast<HBITMAP>(CopyImage(action, IMAGE_BITMAP, 0, 0, 0));
    { acl::ListView_Bitmap owning{acl::unique_hbitmap(given)}; }
    EXPECT_FALSE(Alive(given));

    acl::ListView_Bitmap none{static_cast<HBITMAP>(nullptr)};
    RECT rc{0, 0, 20, 20};
    EXPECT_EQ(none.Draw(nullptr, 0, rc), 0) << "a missing bitmap draws nothing";
}

TEST(ListViewItems, IconsAreLaidOutAsSmallIconsAndDrawnAtTheirSize)
{
    std::set<HGDIOBJ> seen;
    static std::set<HGDIOBJ>* record = nullptr;
    record = &seen;
    acl::gdiOwnedHook = [](HGDIOBJ h) { record->insert(h); };
    const HICON big = static_cast<HICON>(
        LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_APP), IMAGE_ICON, 32, 32, LR_DEFAULTCOLOR));
    ASSERT_TRUE(big);
    {
        acl::ListView_Icon icon{acl::unique_hicon(big)};
        acl::gdiOwnedHook = nullptr;
        uint32_t w = 0, h = 0;
        icon.GetSize(w, h);
        EXPECT_EQ(w, 16u);
        EXPECT_EQ(h, 16u);
        EXPECT_EQ(icon.Info().bmWidth, 32);
        EXPECT_TRUE(icon.OwnsIcon());
        RECT rc{0, 0, 40, 40};
        const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
        EXPECT_EQ(icon.Draw(dc.get(), 0, rc), 32);
    }
    ICONINFO info{};
    EXPECT_FALSE(GetIconInfo(big, &info)) << "an owned icon is destroyed";
    EXPECT_GE(seen.size(), 1u);
    for (HGDIOBJ h : seen)
        EXPECT_FALSE(Alive(h)) << "the bitmaps of GetIconInfo are deleted at once";
}

TEST(ListViewItems, TextsAreCopiedAndMeasuredOnFourCharacters)
{
    std::wstring source = L"Documents";
    acl::ListView_Text text(source.c_str());
    source[0] = L'X';
    EXPECT_EQ(text.Text(), L"Documents");
    EXPECT_EQ(text.format, static_cast<UINT>(DT_END_ELLIPSIS));
    EXPECT_EQ(text.kind, 4u);

    ListView_Settings settings;
    const acl::unique_hfont small(NewFont(12));
    const acl::unique_hfont large(NewFont(24));
    settings.SetStyle(0, 8, 0, 0, 0, 0, 0, 0, small.get(), false);
    settings.SetStyle(1, 8, 0, 0, 0, 0, 0, 0, large.get(), false);
    text.SetSettings(&settings, false);
    uint32_t w = 0, h = 0;
    text.GetSize(w, h);

    const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
    const acl::SelectGuard select(dc.get(), large.get());
    SIZE four{};
    GetTextExtentPoint32W(dc.get(), L"Docu", 4, &four);
    EXPECT_EQ(w, static_cast<uint32_t>(four.cx)) << "the wider of the two styles' fonts";
    EXPECT_EQ(h, static_cast<uint32_t>(four.cy));

    acl::ListView_Text empty(L"");
    empty.SetSettings(&settings, false);
    empty.GetSize(w, h);
    EXPECT_EQ(w, 0u);
    EXPECT_EQ(h, static_cast<uint32_t>(four.cy)) << "an empty text still has a line's height";
}

// ---- against the real control

TEST(ListViewControl, AttachAddsTheExtendedStylesAndMeasuresBeforeInitAreAnswered)
{
    ListViewDemo demo;
    ASSERT_TRUE(demo.list());
    const auto styles = static_cast<DWORD>(SendMessageW(demo.list(), LVM_GETEXTENDEDLISTVIEWSTYLE, 0, 0));
    EXPECT_EQ(styles & 0x1400u, 0x1400u);
    EXPECT_EQ(demo.view().GetListWindow(), demo.list());
    EXPECT_EQ(demo.view().GetParentWindow(), demo.dialog());
    EXPECT_EQ(demo.view().GetControlId(), static_cast<UINT>(ListViewDemo::kListId));
    EXPECT_GE(demo.measuresBeforeInit(), 0);
    EXPECT_EQ(demo.lastMeasuredHeight(), 0u) << "an empty list measures 0";
}

TEST(ListViewControl, RemeasureMakesTheControlAskAgain)
{
    ListViewDemo demo;
    demo.AddSampleColumns();
    demo.AddSampleRows(3);
    const int before = demo.measureRequests();
    demo.view().Remeasure();
    EXPECT_GT(demo.measureRequests(), before);
    EXPECT_EQ(demo.lastMeasuredHeight(), 18u) << "16-pixel bitmaps and icons, plus the frame";
    EXPECT_EQ(demo.ControlRowHeight(), 18);

    demo.view().rowHeight = 25;
    EXPECT_EQ(demo.ControlRowHeight(), 18) << "nothing changes until asked again";
    demo.view().Remeasure();
    EXPECT_EQ(demo.lastMeasuredHeight(), 25u);
    EXPECT_EQ(demo.ControlRowHeight(), 25);
}

TEST(ListViewControl, ColumnOperationsKeepTheControlsColumnsEqualToTheWrappers)
{
    ListViewDemo demo;
    acl::ListView& list = demo.view();
    auto expectCounts = [&](uint64_t n) {
        EXPECT_EQ(list.ColumnCount(), n);
        EXPECT_EQ(static_cast<uint64_t>(demo.ControlColumnCount()), n);
    };
    EXPECT_EQ(list.InsertColumn(0, L"X", 10), static_cast<DWORD>(ERROR_NOT_FOUND)) << "no columns yet";
    EXPECT_EQ(list.DeleteColumn(0), static_cast<DWORD>(ERROR_NOT_FOUND));
    EXPECT_EQ(list.AddColumn(L"A", 50), 0);
    EXPECT_EQ(list.AddColumn(L"C", 50), 1);
    expectCounts(2);
    list.AddRow(0, 0, 7);
    list.AddItem(0, 0, std::make_unique<acl::ListView_Text>(L"a"));
    list.AddItem(0, 1, std::make_unique<acl::ListView_Text>(L"c"));

    EXPECT_EQ(list.InsertColumn(2, L"D", 10), static_cast<DWORD>(ERROR_NOT_FOUND)) << "AddColumn appends";
    auto owned = std::make_unique<ListView_Settings>();
    EXPECT_EQ(list.InsertColumn(1, L"B", 40, std::move(owned)), 0u);
    expectCounts(3);
    EXPECT_NE(list.ColumnSettings(1), nullptr);
    const acl::ListView_Row& row = *list.RowAt(0);
    ASSERT_EQ(row.CellCount(), 3u);
    EXPECT_EQ(*krn::test::FirstText(row, 2), L"c") << "the row made room for the new column";
    EXPECT_EQ(row.CellAt(1)->ItemCount(), 0u);

    wchar_t title[16] = {};
    HDITEMW item{HDI_TEXT};
    item.pszText = title;
    item.cchTextMax = 16;
    SendMessageW(demo.header(), HDM_GETITEMW, 1, reinterpret_cast<LPARAM>(&item));
    EXPECT_STREQ(title, L"B");

    EXPECT_EQ(list.DeleteColumn(0), 0u);
    expectCounts(2);
    EXPECT_EQ(row.CellCount(), 2u);
    EXPECT_EQ(*krn::test::FirstText(row, 1), L"c");
    EXPECT_EQ(list.DeleteColumn(2), static_cast<DWORD>(ERROR_NOT_FOUND));
    expectCounts(2);
}

TEST(ListViewControl, RowOperationsKeepTheControlsItemCountAndHandRowsBack)
{
    ListViewDemo demo;
    demo.AddSampleColumns();
    acl::ListView& list = demo.view();
    auto expectCounts = [&](uint64_t n) {
        EXPECT_EQ(list.RowCount(), n);
        EXPECT_EQ(static_cast<uint64_t>(demo.ControlItemCount()), n);
    };
    for (uint64_t tag : {10, 11, 12, 13})
        EXPECT_EQ(list.AddRow(0, 0, tag), static_cast<int64_t>(tag - 10));
    expectCounts(4);
    EXPECT_EQ(list.RowAt(2)->tag, 12u);
    EXPECT_EQ(list.RowAt(2)->GetSettings(), &list.GetSettings());
    const acl::ListView_Row* third = list.RowAt(2);

    std::unique_ptr<acl::ListView_Row> removed;
    EXPECT_EQ(list.DeleteRow(4, removed), static_cast<DWORD>(ERROR_NOT_FOUND));
    EXPECT_FALSE(removed);
    EXPECT_EQ(list.DeleteRow(1, removed), 0u);
    expectCounts(3);
    ASSERT_TRUE(removed);
    EXPECT_EQ(removed->tag, 11u) << "the caller now holds the row";
    EXPECT_EQ(list.RowAt(1), third) << "later rows move up; their objects are unchanged";

    demo.Select(2);
    EXPECT_EQ(list.GetSelectedRow(), 2);

    std::vector<std::unique_ptr<acl::ListView_Row>> all;
    EXPECT_EQ(list.DeleteAllRows(all), 0u);
    expectCounts(0);
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[1].get(), third);
    EXPECT_EQ(list.GetSelectedRow(), -1);
}

TEST(ListViewControl, CellOperationsReportMissingRowsAndCells)
{
    ListViewDemo demo;
    demo.AddSampleColumns();
    acl::ListView& list = demo.view();
    list.AddRow(0, 0, 0);
    EXPECT_EQ(list.GetCell(1, 0, false), nullptr) << "row equal to the row count";
    EXPECT_EQ(list.AddItem(0, 3, std::make_unique<acl::ListView_Text>(L"x")), 0u);
    EXPECT_EQ(list.RowAt(0)->CellCount(), 4u) << "missing cells are made first";

    const DWORD notFound = ERROR_NOT_FOUND;
    struct Case {
        const char* what;
        DWORD expected;
        std::function<DWORD()> call;
    };
    const Case kCases[] = {
        {"RemoveItem, no such row", notFound, [&] { return list.RemoveItem(1, 0, 0); }},
        {"RemoveItem, no such cell", notFound, [&] { return list.RemoveItem(0, 4, 0); }},
        {"RemoveItem, no such item", notFound, [&] { return list.RemoveItem(0, 3, 1); }},
        {"RemoveItems, no such row", notFound, [&] { return list.RemoveItems(1, 0, 0, 1); }},
        {"RemoveItemsByTag, no such row", 0, [&] { return list.RemoveItemsByTag(1, 0, 0); }},
        {"ClearCell, no such cell", notFound, [&] { return list.ClearCell(0, 9); }},
        {"ClearCell", 0, [&] { return list.ClearCell(0, 3); }},
        {"RemoveItem after clearing", notFound, [&] { return list.RemoveItem(0, 3, 0); }},
    };
    for (const Case& c : kCases)
        EXPECT_EQ(c.call(), c.expected) << c.what;
    EXPECT_EQ(list.RowAt(0)->CellCount(), 4u) << "clearing keeps the cell";
}

} // namespace
