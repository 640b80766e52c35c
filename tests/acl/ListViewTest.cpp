// The list's tree, its ownership rules and its bookkeeping against a real
// owner-data report list view under the dialog manager.
#include "support/ListViewDemo.h"

#include "resource.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using acl::ListView_Settings;
using krn::test::ListViewDemo;

constexpr COLORREF kNone = ListView_Settings::kNone;
constexpr DWORD kNotFound = ERROR_NOT_FOUND;

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
    TracedItem(std::string n, uint64_t t) : ListView_Item(99), name(std::move(n)) { tag = t; }
    ~TracedItem() override { destroyed.push_back(name); }
    void GetSize(uint32_t& w, uint32_t& h) override { w = h = 0; }
    int Draw(HDC, int, RECT&) override { return 0; }
    std::string name;
};

TEST(ListViewSettings, AListStartsWithSystemColoursAndFramedCells)
{
    ListView_Settings alone;
    EXPECT_EQ(alone.styles[0].set | alone.styles[1].set, 0u) << "settings of their own start empty";
    acl::ListView list;
    const int kColours[2][2] = {{COLOR_WINDOWTEXT, COLOR_WINDOW}, {COLOR_HIGHLIGHTTEXT, COLOR_HIGHLIGHT}};
    for (int i : {0, 1}) {
        const acl::ListView_Style& style = list.GetSettings().styles[i];
        EXPECT_EQ(style.set, 7u) << "style " << i;
        EXPECT_EQ(style.Owned(), 3u) << "style " << i;
        EXPECT_EQ(style.textColor, GetSysColor(kColours[i][0]));
        EXPECT_EQ(BrushColor(style.backgroundBrush.get()), GetSysColor(kColours[i][1]));
        EXPECT_EQ(BrushColor(style.frameBrush.get()), GetSysColor(COLOR_WINDOWFRAME));
    }
}

TEST(ListViewSettings, SetStyleTouchesOnlyTheMaskedGroups)
{
    // Each case starts from a style with every group set.
    const struct {
        uint32_t mask;
        COLORREF text, background, frame;
        uint32_t set, owned;
    } kCases[] = {
        {1, RGB(1, 2, 3), kNone, kNone, 15, 3}, {1, kNone, kNone, kNone, 14, 3},
        {2, kNone, kNone, kNone, 13, 2},        {4, kNone, kNone, kNone, 11, 1},
        {6, kNone, RGB(9, 9, 9), RGB(8, 8, 8), 15, 3},
    };
    const acl::unique_hfont font(NewFont(12));
    for (const auto& c : kCases) {
        SCOPED_TRACE("mask " + std::to_string(c.mask));
        ListView_Settings s;
        s.SetStyle(0, 15, RGB(5, 5, 5), TRANSPARENT, RGB(6, 6, 6), 0, RGB(7, 7, 7), 0, font.get(), false);
        const HBRUSH oldBackground = s.styles[0].backgroundBrush.get();
        const HBRUSH oldFrame = s.styles[0].frameBrush.get();
        s.SetStyle(0, c.mask, c.text, OPAQUE, c.background, 0, c.frame, 0, nullptr, false);
        const acl::ListView_Style& style = s.styles[0];
        EXPECT_EQ(style.set, c.set);
        EXPECT_EQ(style.Owned(), c.owned);
        EXPECT_EQ(style.backgroundMode, c.mask & 1 ? OPAQUE : TRANSPARENT) << "the mode travels with the text";
        EXPECT_EQ(Alive(oldBackground), !(c.mask & 2)) << "a replaced brush is released";
        EXPECT_EQ(Alive(oldFrame), !(c.mask & 4));
        if (c.mask == 6) {
            EXPECT_EQ(BrushColor(style.backgroundBrush.get()), c.background);
            EXPECT_EQ(BrushColor(style.frameBrush.get()), c.frame);
        }
    }
    EXPECT_TRUE(Alive(font.get())) << "a lent font stays the caller's";
}

TEST(ListViewSettings, FontBitsAreOnlyEverSet)
{
    const HFONT owned = NewFont(10);
    const HFONT lent = NewFont(11);
    ListView_Settings s;
    s.SetStyle(1, 8, 0, 0, 0, 0, 0, 0, owned, true);
    EXPECT_EQ(s.styles[1].Owned(), 4u);
    // Once owning, the style owns whatever font it is given.
    s.SetStyle(1, 8, 0, 0, 0, 0, 0, 0, lent, false);
    EXPECT_FALSE(Alive(owned));
    EXPECT_EQ(s.styles[1].Owned(), 4u);
    s.SetStyle(1, 8, 0, 0, 0, 0, 0, 0, nullptr, false);
    EXPECT_FALSE(Alive(lent));
    EXPECT_EQ(s.styles[1].set, 8u) << "a null font clears nothing";
    EXPECT_EQ(s.styles[1].Owned(), 4u);
}

TEST(ListViewSettings, ApplyChangesTheDcAndRestorePutsItBack)
{
    const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
    const acl::unique_hfont font(NewFont(14));
    ListView_Settings s;
    s.SetStyle(1, 15, RGB(10, 20, 30), TRANSPARENT, RGB(40, 50, 60), 0, RGB(1, 1, 1), 0, font.get(), false);
    SetTextColor(dc.get(), RGB(1, 2, 3));
    SetBkColor(dc.get(), RGB(4, 5, 6));
    const HGDIOBJ originalFont = GetCurrentObject(dc.get(), OBJ_FONT);
    const auto dcState = [&] {
        return std::vector<uintptr_t>{GetTextColor(dc.get()), GetBkColor(dc.get()), uintptr_t(GetBkMode(dc.get())),
                                      reinterpret_cast<uintptr_t>(GetCurrentObject(dc.get(), OBJ_FONT))};
    };
    const auto before = dcState();

    acl::ListView_DrawState state;
    s.Apply(dc.get(), 1, state);
    EXPECT_EQ(dcState(), (std::vector<uintptr_t>{RGB(10, 20, 30), RGB(40, 50, 60), TRANSPARENT,
                                                 reinterpret_cast<uintptr_t>(font.get())}));
    EXPECT_EQ(s.dc, dc.get());
    EXPECT_EQ(state.frameBrush, s.styles[1].frameBrush.get());
    s.Restore(state);
    EXPECT_EQ(dcState(), before);
    EXPECT_EQ(state.font, originalFont);
    EXPECT_EQ(s.dc, nullptr);
    // Apply never saves brushes, so restoring leaves the state without any.
    EXPECT_EQ(state.backgroundBrush, nullptr);
    EXPECT_EQ(state.frameBrush, nullptr);
}

TEST(ListViewTree, SettingsAreDestroyedOnlyWhenOwnedAndCellsTakeTheRows)
{
    destroyed.clear();
    acl::ListView_Row row;
    TracedSettings lent("lent");
    row.SetSettings(&lent, true);
    row.SetSettings(std::make_unique<TracedSettings>("own"));
    EXPECT_TRUE(destroyed.empty()) << "lent settings are not destroyed when replaced";
    EXPECT_TRUE(row.OwnsSettings());

    acl::ListView_Cell* third = row.GetCell(2, false);
    ASSERT_EQ(row.CellCount(), 3u) << "missing cells are made up to the index";
    EXPECT_EQ(row.CellAt(0)->GetSettings(), row.GetSettings());
    EXPECT_EQ(row.CellAt(0)->spacing, 1u);
    EXPECT_EQ(row.GetCell(3, true), nullptr);
    row.InsertCell(1);
    EXPECT_EQ(row.CellAt(3), third) << "later cells shift right";
    EXPECT_EQ(row.DeleteCell(4), kNotFound);

    row.SetSettings(static_cast<ListView_Settings*>(nullptr), true);
    EXPECT_EQ(destroyed, std::vector<std::string>{"own"});
    EXPECT_FALSE(row.UsesOwnSettings()) << "null is never the node's own";
}

TEST(ListViewTree, CellsOwnTheirItems)
{
    destroyed.clear();
    ListView_Settings settings;
    TracedSettings itemSettings("item's");
    {
        acl::ListView_Cell cell(nullptr);
        cell.SetSettings(&settings, false);
        auto first = std::make_unique<TracedItem>("a", 1);
        first->SetSettings(&itemSettings, true);
        cell.AddItem(std::move(first));
        for (const char* name : {"b", "c", "d", "e"})
            cell.AddItem(std::make_unique<TracedItem>(name, name[0] == 'c' || name[0] == 'e' ? 2 : 1));
        EXPECT_EQ(cell.ItemAt(0)->GetSettings(), &itemSettings) << "an item keeps settings it has";
        EXPECT_EQ(cell.ItemAt(1)->GetSettings(), &settings);
        EXPECT_EQ(cell.ItemAt(1)->GetParent(), &cell);

        EXPECT_EQ(cell.RemoveItem(5), kNotFound);
        EXPECT_EQ(cell.RemoveItem(1), 0u);         // b
        EXPECT_EQ(cell.RemoveItemsByTag(2), 0u);   // c, e
        EXPECT_EQ(cell.RemoveItems(2, 1), kNotFound);
        EXPECT_EQ(cell.RemoveItems(1, 10), 0u);    // d, stopping at the end
    }
    EXPECT_EQ(destroyed, (std::vector<std::string>{"b", "c", "e", "d", "a"}));
}

TEST(ListViewItems, BitmapsAndIconsOwnTheirHandleOnlyWhenGiven)
{
    ListViewDemo demo;
    const HBITMAP action = demo.ActionBitmap(0);
    { acl::ListView_Bitmap lent(action); EXPECT_EQ(lent.TransparentColor(), RGB(255, 0, 255)); }
    EXPECT_TRUE(Alive(action));
    const HBITMAP given = static_cast<HBITMAP>(CopyImage(action, IMAGE_BITMAP, 0, 0, 0));
    { acl::ListView_Bitmap owning{acl::unique_hbitmap(given)}; }
    EXPECT_FALSE(Alive(given));

    std::vector<HGDIOBJ> seen;
    static std::vector<HGDIOBJ>* record = &seen;
    acl::gdiOwnedHook = [](HGDIOBJ h) { record->push_back(h); };
    const HICON big = static_cast<HICON>(
        LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_APP), IMAGE_ICON, 32, 32, LR_DEFAULTCOLOR));
    {
        acl::ListView_Icon icon{acl::unique_hicon(big)};
        acl::gdiOwnedHook = nullptr;
        uint32_t w = 0, h = 0;
        icon.GetSize(w, h);
        EXPECT_EQ(w * 100 + h, 1616u) << "laid out as a small icon";
        RECT rc{0, 0, 40, 40};
        const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
        EXPECT_EQ(icon.Draw(dc.get(), 0, rc), 32) << "drawn at its own size";
    }
    ICONINFO info{};
    EXPECT_FALSE(GetIconInfo(big, &info)) << "an owned icon is destroyed";
    ASSERT_FALSE(seen.empty());
    for (HGDIOBJ h : seen)
        EXPECT_FALSE(Alive(h)) << "the bitmaps of GetIconInfo are deleted at once";
}

TEST(ListViewControl, RemeasureMakesTheControlAskAgain)
{
    ListViewDemo demo;
    EXPECT_EQ(SendMessageW(demo.list(), LVM_GETEXTENDEDLISTVIEWSTYLE, 0, 0) & 0x1400, 0x1400) << "Attach";
    EXPECT_EQ(demo.lastMeasuredHeight(), 0u) << "an empty list measures 0";
    demo.AddSampleColumns();
    demo.AddSampleRows(3);  // remeasures
    EXPECT_EQ(demo.lastMeasuredHeight(), 18u) << "16-pixel bitmaps and icons, plus the frame";
    EXPECT_EQ(demo.ControlRowHeight(), 18);
    const int asked = demo.measureRequests();
    demo.view().rowHeight = 25;
    demo.view().Remeasure();
    EXPECT_GT(demo.measureRequests(), asked);
    EXPECT_EQ(demo.ControlRowHeight(), 25);
}

TEST(ListViewControl, ColumnOperationsKeepTheControlsColumnsEqualToTheWrappers)
{
    ListViewDemo demo;
    acl::ListView& list = demo.view();
    EXPECT_EQ(list.InsertColumn(0, L"X", 10), kNotFound) << "no columns yet";
    EXPECT_EQ(list.AddColumn(L"A", 50), 0);
    EXPECT_EQ(list.AddColumn(L"C", 50), 1);
    list.AddRow(0, 0, 7);
    list.AddItem(0, 1, std::make_unique<acl::ListView_Text>(L"c"));
    const acl::ListView_Row& row = *list.RowAt(0);
    const auto counts = [&] { return std::to_string(list.ColumnCount()) + "/" + std::to_string(demo.ControlColumnCount()); };

    EXPECT_EQ(list.InsertColumn(2, L"D", 10), kNotFound) << "AddColumn is the way to append";
    EXPECT_EQ(list.InsertColumn(1, L"B", 40, std::make_unique<ListView_Settings>()), 0u);
    EXPECT_EQ(counts(), "3/3");
    EXPECT_NE(list.ColumnSettings(1), nullptr);
    EXPECT_EQ(*krn::test::FirstText(row, 2), L"c") << "the row made room for the new column";
    EXPECT_EQ(list.DeleteColumn(0), 0u);
    EXPECT_EQ(counts(), "2/2");
    EXPECT_EQ(*krn::test::FirstText(row, 1), L"c");
    EXPECT_EQ(list.DeleteColumn(2), kNotFound);
    EXPECT_EQ(counts(), "2/2");
}

TEST(ListViewControl, RowOperationsKeepTheItemCountAndHandRowsToTheCaller)
{
    ListViewDemo demo;
    demo.AddSampleColumns();
    acl::ListView& list = demo.view();
    const auto counts = [&] { return std::to_string(list.RowCount()) + "/" + std::to_string(demo.ControlItemCount()); };
    for (uint64_t tag : {10, 11, 12, 13})
        EXPECT_EQ(list.AddRow(0, 0, tag), static_cast<int64_t>(tag - 10));
    EXPECT_EQ(counts(), "4/4");
    EXPECT_EQ(list.RowAt(2)->GetSettings(), &list.GetSettings());
    const acl::ListView_Row* third = list.RowAt(2);

    std::unique_ptr<acl::ListView_Row> removed;
    EXPECT_EQ(list.DeleteRow(4, removed), kNotFound);
    EXPECT_EQ(list.DeleteRow(1, removed), 0u);
    EXPECT_EQ(counts(), "3/3");
    ASSERT_TRUE(removed);
    EXPECT_EQ(removed->tag, 11u);
    EXPECT_EQ(list.RowAt(1), third) << "later rows move up; their objects are unchanged";
    demo.Select(2);
    EXPECT_EQ(list.GetSelectedRow(), 2);

    std::vector<std::unique_ptr<acl::ListView_Row>> all;
    EXPECT_EQ(list.DeleteAllRows(all), 0u);
    EXPECT_EQ(counts(), "0/0");
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
    EXPECT_EQ(list.AddItem(0, 3, std::make_unique<acl::ListView_Text>(L"x")), 0u);
    EXPECT_EQ(list.RowAt(0)->CellCount(), 4u) << "missing cells are made first";
    const struct {
        const char* what;
        DWORD expected;
        std::function<DWORD()> call;
    } kCases[] = {
        {"GetCell, row equal to the count", 0, [&] { return list.GetCell(1, 0, false) ? 1u : 0u; }},
        {"RemoveItem, no such row", kNotFound, [&] { return list.RemoveItem(1, 0, 0); }},
        {"RemoveItem, no such cell", kNotFound, [&] { return list.RemoveItem(0, 4, 0); }},
        {"RemoveItemsByTag, no such row", 0, [&] { return list.RemoveItemsByTag(1, 0, 0); }},
        {"ClearCell, no such cell", kNotFound, [&] { return list.ClearCell(0, 9); }},
        {"ClearCell", 0, [&] { return list.ClearCell(0, 3); }},
        {"RemoveItem after clearing", kNotFound, [&] { return list.RemoveItem(0, 3, 0); }},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(c.call(), c.expected) << c.what;
}

} // namespace
