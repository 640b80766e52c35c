// The list's settings and tree with their ownership rules, its bookkeeping
// against a real owner-data report list view under the dialog manager, and
// sorting.
#include "ListViewDemo.h"

#include "resource.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using acl::ListView_Settings;
using acl::test::ListViewDemo;

constexpr COLORREF kNone = ListView_Settings::kNone;
constexpr DWORD kNotFound = ERROR_NOT_FOUND;

bool Alive(HGDIOBJ object) { return GetObjectType(object) != 0; }

COLORREF BrushColor(const acl::unique_hbrush& brush)
{
    LOGBRUSH lb{};
    return GetObjectW(brush.get(), sizeof lb, &lb) ? lb.lbColor : CLR_INVALID;
}

HFONT NewFont(int height) { return CreateFontW(height, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, L"Tahoma"); }

// What Apply sets in a DC, and the DC the settings remember.
struct DcState {
    COLORREF text, background;
    int mode;
    HGDIOBJ font;
    HDC settingsDc;
    static DcState Of(HDC dc, const ListView_Settings& s)
    {
        return {GetTextColor(dc), GetBkColor(dc), GetBkMode(dc), GetCurrentObject(dc, OBJ_FONT), s.dc};
    }
    bool operator==(const DcState&) const = default;
};
void PrintTo(const DcState& d, std::ostream* os)
{
    *os << std::hex << "{text " << d.text << ", background " << d.background << ", mode " << d.mode << ", font "
        << d.font << ", settings dc " << d.settingsDc << "}";
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

TEST(ListViewSettings, SystemColoursThenSetStyleTouchesOnlyTheMaskedGroupsAndApplyIsUndoneByRestore)
{
    acl::ListView list;
    for (const int i : {0, 1}) {
        SCOPED_TRACE(testing::Message() << "style " << i);
        const acl::ListView_Style& style = list.GetSettings().styles[i];
        EXPECT_EQ(style.set, 7u);
        EXPECT_EQ(style.Owned(), 3u);
        EXPECT_EQ(style.textColor, GetSysColor(i ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT));
        EXPECT_EQ(BrushColor(style.backgroundBrush), GetSysColor(i ? COLOR_HIGHLIGHT : COLOR_WINDOW));
        EXPECT_EQ(BrushColor(style.frameBrush), GetSysColor(COLOR_WINDOWFRAME));
    }
    // Each case starts from a style with every group set.
    const struct {
        uint32_t mask;
        COLORREF text, background, frame;
        uint32_t set, owned;
    } kCases[] = {{1, RGB(1, 2, 3), kNone, kNone, 15, 3}, {1, kNone, kNone, kNone, 14, 3},
                  {2, kNone, kNone, kNone, 13, 2},        {4, kNone, kNone, kNone, 11, 1},
                  {6, kNone, RGB(9, 9, 9), RGB(8, 8, 8), 15, 3}};
    const acl::unique_hfont font(NewFont(12));
    for (const auto& c : kCases) {
        SCOPED_TRACE("mask " + std::to_string(c.mask));
        ListView_Settings s;
        s.SetStyle(0, 15, RGB(5, 5, 5), TRANSPARENT, RGB(6, 6, 6), 0, RGB(7, 7, 7), 0, font.get(), false);
        const HBRUSH oldBackground = s.styles[0].backgroundBrush.get(), oldFrame = s.styles[0].frameBrush.get();
        s.SetStyle(0, c.mask, c.text, OPAQUE, c.background, 0, c.frame, 0, nullptr, false);
        const acl::ListView_Style& style = s.styles[0];
        EXPECT_EQ(style.set, c.set);
        EXPECT_EQ(style.Owned(), c.owned);
        EXPECT_EQ(style.backgroundMode, c.mask & 1 ? OPAQUE : TRANSPARENT) << "the mode travels with the text";
        EXPECT_EQ(Alive(oldBackground), !(c.mask & 2)) << "the old background brush goes when its group is set";
        EXPECT_EQ(Alive(oldFrame), !(c.mask & 4)) << "the old frame brush goes when its group is set";
        if (c.background != kNone) {
            EXPECT_EQ(BrushColor(style.backgroundBrush), c.background);
            EXPECT_EQ(BrushColor(style.frameBrush), c.frame);
        }
    }
    EXPECT_TRUE(Alive(font.get())) << "a lent font stays the caller's";

    // The font group only ever sets its bits: once owning, a style owns
    // whatever font it is given, and a null font clears nothing.
    const HFONT owned = NewFont(10), lent = NewFont(11);
    ListView_Settings s;
    s.SetStyle(1, 8, 0, 0, 0, 0, 0, 0, owned, true);
    s.SetStyle(1, 8, 0, 0, 0, 0, 0, 0, lent, false);
    s.SetStyle(1, 8, 0, 0, 0, 0, 0, 0, nullptr, false);
    EXPECT_FALSE(Alive(owned)) << "replaced by the lent font";
    EXPECT_FALSE(Alive(lent)) << "owned, as the style had owned a font, and replaced by null";
    EXPECT_EQ(s.styles[1].set, 8u);
    EXPECT_EQ(s.styles[1].Owned(), 4u);

    const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
    s.SetStyle(1, 15, RGB(10, 20, 30), TRANSPARENT, RGB(40, 50, 60), 0, RGB(1, 1, 1), 0, font.get(), false);
    const DcState before = DcState::Of(dc.get(), s);
    acl::ListView_DrawState state;
    s.Apply(dc.get(), 1, state);
    EXPECT_EQ(DcState::Of(dc.get(), s), (DcState{RGB(10, 20, 30), RGB(40, 50, 60), TRANSPARENT, font.get(), dc.get()}));
    EXPECT_EQ(state.frameBrush, s.styles[1].frameBrush.get());
    s.Restore(state);
    EXPECT_EQ(DcState::Of(dc.get(), s), before);
    EXPECT_EQ(state.font, before.font);
    EXPECT_FALSE(state.backgroundBrush) << "Apply never saves brushes";
    EXPECT_FALSE(state.frameBrush) << "Apply never saves brushes";
}

TEST(ListViewTree, NodesDestroyOnlyWhatTheyOwn)
{
    destroyed.clear();
    {
        TracedSettings lent("lent");
        acl::ListView_Row row;
        row.SetSettings(&lent, true);
        row.SetSettings(std::make_unique<TracedSettings>("own"));
        acl::ListView_Cell* third = row.GetCell(2, false);
        ASSERT_EQ(row.CellCount(), 3u) << "missing cells are made up to the index";
        EXPECT_EQ(row.CellAt(0)->GetSettings(), row.GetSettings());
        EXPECT_EQ(row.GetCell(3, true), nullptr);
        row.InsertCell(1);
        EXPECT_EQ(row.CellAt(3), third) << "later cells shift right";
        EXPECT_EQ(row.DeleteCell(4), kNotFound);
        row.SetSettings(static_cast<ListView_Settings*>(nullptr), true);
        EXPECT_FALSE(row.UsesOwnSettings()) << "null is never the node's own";

        auto first = std::make_unique<TracedItem>("a", 1);
        first->SetSettings(&lent, true);
        third->AddItem(std::move(first));
        for (const char* name : {"b", "c", "d", "e"})
            third->AddItem(std::make_unique<TracedItem>(name, name[0] == 'c' || name[0] == 'e' ? 2 : 1));
        EXPECT_EQ(third->ItemAt(0)->GetSettings(), &lent) << "an item keeps settings it has";
        EXPECT_EQ(third->ItemAt(1)->GetSettings(), third->GetSettings());
        EXPECT_EQ(third->ItemAt(1)->GetParent(), third);
        EXPECT_EQ(third->RemoveItem(5), kNotFound);
        EXPECT_EQ(third->RemoveItems(5, 1), kNotFound);
        EXPECT_EQ(third->RemoveItem(1), 0u);        // b
        EXPECT_EQ(third->RemoveItemsByTag(2), 0u);  // c, e
        EXPECT_EQ(third->RemoveItems(1, 10), 0u);   // d, stopping at the end
    }
    EXPECT_EQ(destroyed, (std::vector<std::string>{"own", "b", "c", "e", "d", "a", "lent"}));

    // Bitmaps and icons are owned only when given; the icon's size comes from
    // the bitmaps GetIconInfo hands over, which go at once.
    const HBITMAP lent = CreateBitmap(4, 4, 1, 32, nullptr), given = CreateBitmap(4, 4, 1, 32, nullptr);
    const HICON icon = HICON(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_APP), IMAGE_ICON, 32, 32, 0));
    {
        acl::ListView_Bitmap lentItem(lent), givenItem{acl::unique_hbitmap(given)};
        static std::vector<HGDIOBJ> seen;
        acl::gdiOwnedHook = [](HGDIOBJ h) { seen.push_back(h); };
        acl::ListView_Icon iconItem{acl::unique_hicon(icon)};
        acl::gdiOwnedHook = nullptr;
        uint32_t w = 0, h = 0;
        iconItem.GetSize(w, h);
        RECT rc{0, 0, 40, 40};
        const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
        EXPECT_EQ(iconItem.Draw(dc.get(), 0, rc), 32) << "drawn at its size";
        EXPECT_EQ(w, 16u) << "laid out as a small icon";
        EXPECT_EQ(h, 16u) << "laid out as a small icon";
        ASSERT_EQ(seen.size(), 2u) << "the bitmaps of GetIconInfo";
        EXPECT_FALSE(Alive(seen[0])) << "the mask is deleted at once";
        EXPECT_FALSE(Alive(seen[1])) << "the colour bitmap is deleted at once";
    }
    ICONINFO info{};
    EXPECT_TRUE(Alive(lent)) << "a lent bitmap stays the caller's";
    EXPECT_FALSE(Alive(given)) << "a given bitmap goes with its item";
    EXPECT_FALSE(GetIconInfo(icon, &info)) << "an owned icon is destroyed";
    DeleteObject(lent);
}

// The list's own counts beside the control's and its header's.
struct Shape {
    uint64_t columns, rows;
    LRESULT headerItems, controlItems;
    static Shape Of(ListViewDemo& demo)
    {
        return {demo.view().ColumnCount(), demo.view().RowCount(), SendMessageW(demo.header(), HDM_GETITEMCOUNT, 0, 0),
                SendMessageW(demo.list(), LVM_GETITEMCOUNT, 0, 0)};
    }
    bool operator==(const Shape&) const = default;
};
void PrintTo(const Shape& s, std::ostream* os)
{
    *os << "{columns " << s.columns << ", rows " << s.rows << ", header items " << s.headerItems
        << ", control items " << s.controlItems << "}";
}

TEST(ListViewControl, RowsMeasureTheirTallestItemPlusTheFrameAndCountsStayEqualToTheControls)
{
    ListViewDemo demo;
    acl::ListView& list = demo.view();
    EXPECT_EQ(SendMessageW(demo.list(), LVM_GETEXTENDEDLISTVIEWSTYLE, 0, 0) & 0x1400, 0x1400);
    MEASUREITEMSTRUCT empty{ODT_LISTVIEW, TD_LIST, 0, 1, 1};
    list.OnMeasureItem(TD_LIST, empty);
    EXPECT_EQ(empty.itemWidth, 0u) << "an empty list measures 0";
    EXPECT_EQ(empty.itemHeight, 0u) << "an empty list measures 0";
    const auto rowHeight = [&] {
        RECT rc{LVIR_BOUNDS};
        SendMessageW(demo.list(), LVM_GETITEMRECT, 0, reinterpret_cast<LPARAM>(&rc));
        return rc.bottom - rc.top;
    };
    const auto counts = [&] { return Shape::Of(demo); };
    EXPECT_EQ(list.InsertColumn(0, L"X", 10), kNotFound) << "no columns yet";
    EXPECT_EQ(list.AddColumn(L"A", 50), 0);
    EXPECT_EQ(list.AddColumn(L"C", 50), 1);
    for (uint64_t tag : {10, 11, 12, 13})
        EXPECT_EQ(list.AddRow(0, 0, tag), static_cast<int64_t>(tag - 10));
    EXPECT_EQ(counts(), (Shape{2, 4, 2, 4}));
    EXPECT_EQ(list.RowAt(2)->GetSettings(), &list.GetSettings());

    list.AddItem(1, 1, std::make_unique<acl::ListView_Bitmap>(demo.ActionBitmap(0)));  // 16 high
    list.AddItem(0, 0, std::make_unique<acl::ListView_Text>(L"Short"));
    list.GetSettings().paddingY = 5;
    const int asked = demo.measureRequests;
    list.Remeasure();
    EXPECT_GT(demo.measureRequests, asked) << "Remeasure makes the control ask again";
    EXPECT_EQ(rowHeight(), 18) << "the frame counts, the padding does not";
    for (uint8_t style : {0, 1})
        list.GetSettings().SetStyle(style, 4, 0, 0, 0, 0, kNone, 0, nullptr, false);
    list.Remeasure();
    EXPECT_EQ(rowHeight(), 16) << "no frame";
    list.rowHeight = 25;
    list.Remeasure();
    EXPECT_EQ(rowHeight(), 25) << "a fixed height";

    const acl::ListView_Row* third = list.RowAt(2);
    const acl::ListView_Cell* cell = list.GetCell(2, 1, false);
    EXPECT_EQ(list.InsertColumn(2, L"D", 10), kNotFound) << "AddColumn is the way to append";
    EXPECT_EQ(list.InsertColumn(1, L"B", 40, std::make_unique<ListView_Settings>()), 0u);
    EXPECT_EQ(third->CellAt(2), cell) << "the row made room for the new column";
    EXPECT_EQ(list.DeleteColumn(0), 0u);
    EXPECT_EQ(list.DeleteColumn(2), kNotFound);
    EXPECT_EQ(third->CellAt(1), cell);
    std::unique_ptr<acl::ListView_Row> removed;
    EXPECT_EQ(list.DeleteRow(4, removed), kNotFound);
    EXPECT_EQ(list.DeleteRow(1, removed), 0u);
    EXPECT_EQ(counts(), (Shape{2, 3, 2, 3}));
    ASSERT_TRUE(removed);
    EXPECT_EQ(removed->tag, 11u) << "the caller holds the row it took out";
    EXPECT_EQ(list.RowAt(1), third) << "later rows move up; their objects are unchanged";
    demo.Select(1);
    EXPECT_EQ(list.GetSelectedRow(), 1);

    EXPECT_EQ(list.GetCell(3, 0, false), nullptr) << "row equal to the count";
    EXPECT_EQ(list.AddItem(1, 3, std::make_unique<acl::ListView_Text>(L"x")), 0u);
    EXPECT_EQ(third->CellCount(), 4u) << "missing cells are made first";
    EXPECT_EQ(list.RemoveItem(3, 0, 0), kNotFound) << "no such row";
    EXPECT_EQ(list.RemoveItem(1, 4, 0), kNotFound) << "no such cell";
    EXPECT_EQ(list.ClearCell(1, 4), kNotFound) << "no such cell";
    EXPECT_EQ(list.RemoveItemsByTag(3, 0, 0), 0u);
    EXPECT_EQ(list.ClearCell(1, 3), 0u);
    EXPECT_EQ(list.RemoveItems(1, 3, 0, 1), kNotFound) << "the cleared cell is empty";
    std::vector<std::unique_ptr<acl::ListView_Row>> all;
    EXPECT_EQ(list.DeleteAllRows(all), 0u);
    EXPECT_EQ(counts(), (Shape{2, 0, 2, 0}));
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[1].get(), third);
    EXPECT_EQ(list.GetSelectedRow(), -1);
}

// Column 0 compares the tag's tens (so 31 and 35 are equal), column 1 its units.
struct TagComparer : acl::ListView_Comparer {
    int32_t Compare(const acl::ListView_Row& a, const acl::ListView_Row& b, uint64_t column) override
    {
        ++calls;
        const auto key = [column](const acl::ListView_Row& r) { return column == 0 ? r.tag / 10 : r.tag % 10; };
        return key(a) < key(b) ? -1 : key(a) > key(b) ? 1 : 0;
    }
    int calls = 0;
};

// A click on the same column reverses the direction, equal rows never move,
// and the selection stays on its position.
TEST(ListViewSort, HeaderClicksSortStablyAndOneRowOrNoneOnlyRecordTheColumn)
{
    ListViewDemo demo;
    acl::ListView& list = demo.view();
    TagComparer comparer;
    list.AddColumn(L"Tens", 60);
    list.AddColumn(L"Units", 60);
    list.Sort(1);
    EXPECT_EQ(list.sortColumn, -1) << "no comparer";
    list.comparer = &comparer;
    list.Sort(2);
    EXPECT_EQ(list.sortColumn, -1) << "past the columns";
    const struct {
        std::vector<uint64_t> rows;  // added before the click
        int column;
        std::vector<uint64_t> order;
        int16_t direction;
        int compares;  // a bubble sort compares every pair of every pass
    } kClicks[] = {
        {{}, 1, {}, 1, 0},
        {{7}, 1, {7}, -1, 0},  // one row: the direction still toggles
        {{31, 12, 35, 20, 11}, 0, {7, 12, 11, 20, 31, 35}, 1, 15},
        {{}, 0, {31, 35, 20, 12, 11, 7}, -1, 15},
        {{}, 1, {20, 31, 11, 12, 35, 7}, 1, 15},
        {{}, 1, {7, 35, 12, 31, 11, 20}, -1, 15},
    };
    for (const auto& click : kClicks) {
        for (uint64_t tag : click.rows)
            list.AddRow(0, 0, tag);
        demo.Select(0);
        comparer.calls = 0;
        demo.ClickHeader(click.column);
        std::vector<uint64_t> order;
        for (size_t i = 0; i < list.RowCount(); ++i)
            order.push_back(list.RowAt(i)->tag);
        EXPECT_EQ(order, click.order) << "column " << click.column;
        int32_t column = 0;
        int16_t direction = 0;
        list.GetSortState(column, direction);
        EXPECT_EQ(column, click.column);
        EXPECT_EQ(direction, click.direction) << "column " << click.column;
        EXPECT_EQ(comparer.calls, click.compares) << "column " << click.column;
    }
    EXPECT_EQ(list.GetSelectedRow(), 0) << "the highlight stays on the position";
}

// Rows added in a batch reach the control once, when the batch closes; the
// bitmaps read at construction are the same either way.
TEST(ListViewControl, RowsAddedInABatchReachTheControlWhenItCloses)
{
    ListViewDemo demo;
    acl::ListView& list = demo.view();
    list.AddColumn(L"A", 50);
    list.AddRow(0, 0, 1);
    {
        acl::ListView::Batch batch(list);
        {
            acl::ListView::Batch nested(list);
            for (uint64_t tag : {2, 3, 4})
                EXPECT_EQ(list.AddRow(0, 0, tag), static_cast<int64_t>(tag - 1));
        }
        EXPECT_EQ(SendMessageW(demo.list(), LVM_GETITEMCOUNT, 0, 0), 1) << "the outer batch is still open";
        list.AddItem(3, 0, std::make_unique<acl::ListView_Bitmap>(demo.ActionBitmap(1)));
    }
    EXPECT_EQ(list.RowCount(), 4u);
    EXPECT_EQ(SendMessageW(demo.list(), LVM_GETITEMCOUNT, 0, 0), 4);
    const auto* bitmap = static_cast<const acl::ListView_Bitmap*>(list.GetCell(3, 0, true)->ItemAt(0));
    EXPECT_EQ(bitmap->TransparentColor(), RGB(0xFF, 0x00, 0xFF)) << "the top-left pixel of the action bitmap";
}

} // namespace
