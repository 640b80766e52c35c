// The owner-drawn report list: its tree with its ownership rules, its
// bookkeeping against a real owner-data list view under the dialog manager,
// sorting, and drawing checked in pixels (rows drawn through OnDrawItem into a
// bitmap of the row's size, or the real control captured after it painted itself).
#include "acl/ListView.h"

#include "TestDialog.h"
#include "resource.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>

namespace {

using acl::ListView_Settings;
using krn::test::Pixels;

constexpr COLORREF kGreen = RGB(0, 200, 0), kRed = RGB(220, 0, 0), kSelected = RGB(0x8A, 0xA6, 0xD6);
const COLORREF kFrame = GetSysColor(COLOR_WINDOWFRAME), kWindow = GetSysColor(COLOR_WINDOW);

// A solid bitmap item whose top-left pixel is magenta, the colour drawn transparent.
std::unique_ptr<acl::ListView_Bitmap> Solid(int width, int height, COLORREF color)
{
    std::vector<uint32_t> bits(size_t(width) * height, RGB(GetBValue(color), GetGValue(color), GetRValue(color)));
    bits[0] = 0xFF00FF;  // the rows of CreateBitmap's bits are 0x00RRGGBB, top first
    return std::make_unique<acl::ListView_Bitmap>(acl::unique_hbitmap(CreateBitmap(width, height, 1, 32, bits.data())));
}

// A real report list view in the test dialog, wired to an acl::ListView the
// way the program's dialogs wire theirs (WM_MEASUREITEM and WM_DRAWITEM go to
// the list), with the program's look: the dialog's font, selected rows in
// #8AA6D6.
class ListViewDemo : public acl::test::TestDialog {
public:
    ListViewDemo() : TestDialog(TD_LIST_DIALOG)
    {
        Create(20, 20);
        view_.Attach(window(), TD_LIST);
        const auto font = reinterpret_cast<HFONT>(SendMessageW(window(), WM_GETFONT, 0, 0));
        view_.GetSettings().SetStyle(0, ListView_Settings::kMaskFont, 0, 0, 0, 0, 0, 0, font, false);
        view_.GetSettings().SetStyle(1, ListView_Settings::kMaskBackground | ListView_Settings::kMaskFont, 0, 0,
                                     kSelected, 0, 0, 0, font, false);
    }
    ~ListViewDemo() { DestroyWindow(window()); }  // before the list goes

    HWND list() const { return item(TD_LIST); }
    acl::ListView& view() { return view_; }

    // Columns of 110, 70, 70 and 250 pixels (wider than the list together), then
    // rows of a name, a size, one to three bitmaps, and a text.
    void AddSampleRows(int count)
    {
        for (const int width : {110, 70, 70, 250})
            view_.AddColumn(L"", width);
        for (int row = 0; row < count; ++row) {
            view_.AddRow(0, 0, static_cast<uint64_t>(row));
            view_.AddItem(row, 0, std::make_unique<acl::ListView_Text>(L"Folder"));
            view_.AddItem(row, 1, std::make_unique<acl::ListView_Text>((std::to_wstring(row * 37) + L" KB").c_str()));
            for (int a = 0; a <= row % 3; ++a)
                view_.AddItem(row, 2, Solid(16, 16, kGreen));
            view_.AddItem(row, 3, std::make_unique<acl::ListView_Text>(L"Local"));
        }
        view_.Remeasure();  // the content decides a measured row height
    }

private:
    bool OnMessage(UINT message, WPARAM, LPARAM lParam, INT_PTR* result) override
    {
        if (message == WM_MEASUREITEM)
            *result = view_.OnMeasureItem(TD_LIST, *reinterpret_cast<MEASUREITEMSTRUCT*>(lParam));
        else if (message == WM_DRAWITEM)
            *result = view_.OnDrawItem(TD_LIST, *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
        return message == WM_MEASUREITEM || message == WM_DRAWITEM;
    }

    acl::ListView view_;
};

bool Alive(HGDIOBJ object) { return GetObjectType(object) != 0; }

// Bitmaps, icons and fonts are owned only when given; the bitmaps GetIconInfo
// hands over go as soon as an icon's size is read.
TEST(ListViewItems, OwnOnlyWhatTheyAreGiven)
{
    const acl::unique_hbitmap lent(CreateBitmap(4, 4, 1, 32, nullptr));
    const acl::unique_hfont font(CreateFontW(12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, L"Tahoma"));
    const HBITMAP given = CreateBitmap(4, 4, 1, 32, nullptr);
    const HICON icon = HICON(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_APP), IMAGE_ICON, 32, 32, 0));
    {
        acl::ListView_Bitmap lentItem(lent.get()), givenItem{acl::unique_hbitmap(given)};
        ListView_Settings settings;
        settings.SetStyle(0, ListView_Settings::kMaskFont, 0, 0, 0, 0, 0, 0, font.get(), false);
        static std::vector<HGDIOBJ> iconBitmaps;
        acl::gdiOwnedHook = [](HGDIOBJ object) { iconBitmaps.push_back(object); };
        acl::ListView_Icon iconItem{acl::unique_hicon(icon)};
        acl::gdiOwnedHook = nullptr;
        EXPECT_EQ(iconBitmaps.size(), 2u) << "the bitmaps GetIconInfo hands over";
        EXPECT_EQ(std::count_if(iconBitmaps.begin(), iconBitmaps.end(), Alive), 0) << "are deleted at once";
    }
    EXPECT_TRUE(Alive(lent.get())) << "a lent bitmap stays the caller's";
    EXPECT_FALSE(Alive(given)) << "a given bitmap goes with its item";
    EXPECT_FALSE(DestroyIcon(icon)) << "an owned icon is destroyed";
    EXPECT_TRUE(Alive(font.get())) << "a lent font stays the caller's";
}

// Pixels of (x0..x1, y0..y1) that are (or, with `other`, are not) the colour.
int Count(const Pixels& p, COLORREF color, int x0, int x1, int y0, int y1, bool other = false)
{
    int n = 0;
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x)
            n += (p.at(x, y) == color) != other;
    return n;
}

// A demo list; `right` is the right edge of the columns added by Columns.
class ListViewTest : public ::testing::Test {
protected:
    // Columns of the given widths and `rows` empty rows.
    void Columns(std::initializer_list<int> widths, int rows)
    {
        for (int width : widths)
            right += (list.AddColumn(L"", width), width);
        for (int i = 0; i < rows; ++i)
            list.AddRow(0, 0, 0);
    }
    // Draws one row the way the control asks for it, into a bitmap of the row's size.
    Pixels DrawRow(UINT row)
    {
        return krn::test::Render(right, 18, RGB(1, 2, 3), [&](HDC dc) {
            list.OnDrawItem(TD_LIST,
                            {ODT_LISTVIEW, TD_LIST, row, ODA_DRAWENTIRE, 0, demo.list(), dc, {0, 0, right, 18}});
        });
    }

    ListViewDemo demo;
    acl::ListView& list = demo.view();
    int right = 0;  // of the last column
};

// The list's counts stay the control's and its header's, also while rows are
// added in a batch; a deleted row goes to the caller and later rows move up.
// (The dialogs' tests prove the selection and the row height.)
TEST_F(ListViewTest, CountsStayEqualToTheControlsAndRowsLeaveAsTheCallersRows)
{
    using Counts = std::tuple<uint64_t, uint64_t, LRESULT, LRESULT>;  // columns, rows, the header's, the control's
    const auto counts = [&] {
        return Counts{list.ColumnCount(), list.RowCount(), Header_GetItemCount(ListView_GetHeader(demo.list())),
                      ListView_GetItemCount(demo.list())};
    };
    Columns({50, 50}, 0);
    {
        acl::ListView::Batch batch(list);
        for (uint64_t tag : {10, 11, 12, 13})
            EXPECT_EQ(list.AddRow(0, 0, tag), static_cast<int64_t>(tag - 10));
        EXPECT_EQ(counts(), (Counts{2, 4, 2, 0})) << "a batch reaches the control when it closes";
    }
    EXPECT_EQ(counts(), (Counts{2, 4, 2, 4}));

    const acl::ListView_Row* third = list.RowAt(2);
    std::unique_ptr<acl::ListView_Row> removed;
    EXPECT_EQ(list.DeleteRow(4, removed), DWORD{ERROR_NOT_FOUND});
    EXPECT_EQ(list.DeleteRow(1, removed), 0u);
    EXPECT_EQ(counts(), (Counts{2, 3, 2, 3}));
    EXPECT_EQ(removed ? removed->tag : 0, 11u) << "the caller holds the row it took out";
    EXPECT_EQ(list.RowAt(1), third) << "later rows move up; their objects are unchanged";

    std::vector<std::unique_ptr<acl::ListView_Row>> all;
    EXPECT_EQ(list.DeleteAllRows(all), 0u);
    EXPECT_EQ(counts(), (Counts{2, 0, 2, 0}));
    EXPECT_EQ(all.size(), 3u);
}

// Column 0 compares the tag's tens (so 31 and 35 are equal), column 1 its units.
struct TagComparer : acl::ListView_Comparer {
    int32_t Compare(const acl::ListView_Row& a, const acl::ListView_Row& b, uint64_t column) override
    {
        const auto key = [column](const acl::ListView_Row& r) { return column == 0 ? r.tag / 10 : r.tag % 10; };
        return key(a) < key(b) ? -1 : key(a) > key(b) ? 1 : 0;
    }
};

// A click on the same column reverses the direction, equal rows never move,
// and the selection stays on its position.
TEST_F(ListViewTest, HeaderClicksSortStablyAndOneRowOrNoneOnlyRecordTheColumn)
{
    TagComparer comparer;
    Columns({60, 60}, 0);
    list.Sort(1);
    EXPECT_EQ(list.sortColumn, -1) << "no comparer";
    list.comparer = &comparer;
    // The rows added before the click, the column clicked, the order and direction after it.
    const std::tuple<std::vector<uint64_t>, int, std::vector<uint64_t>, int16_t> kClicks[] = {
        {{}, 1, {}, 1},
        {{7}, 1, {7}, -1},  // one row: the direction still toggles
        {{31, 12, 35, 20, 11}, 0, {7, 12, 11, 20, 31, 35}, 1},
        {{}, 0, {31, 35, 20, 12, 11, 7}, -1},
        {{}, 1, {20, 31, 11, 12, 35, 7}, 1},
        {{}, 1, {7, 35, 12, 31, 11, 20}, -1},
    };
    for (const auto& [rows, column, expected, direction] : kClicks) {
        SCOPED_TRACE(testing::Message() << "column " << column);
        for (uint64_t tag : rows)
            list.AddRow(0, 0, tag);
        krn::test::SelectRow(demo.list(), 0);
        EXPECT_EQ(list.OnColumnClick({{}, 0, column}), 0);
        std::vector<uint64_t> order;
        for (size_t i = 0; i < list.RowCount(); ++i)
            order.push_back(list.RowAt(i)->tag);
        EXPECT_EQ(order, expected);
        EXPECT_EQ(std::pair(list.sortColumn, list.sortDirection), std::pair(column, direction));
    }
    EXPECT_EQ(list.GetSelectedRow(), 0) << "the highlight stays on the position";
}

TEST(ListViewCentring, TruncatesTowardZeroInSinglePrecision)
{
    // A rectangle's top and bottom, the item's height, and where the item's top goes.
    const std::tuple<LONG, LONG, uint32_t, int> kCases[] = {{0, 18, 16, 1}, {2, 17, 10, 4}, {0, 17, 16, 0},
                                                            {0, 5, 8, -1},  {3, 20, 10, 6}, {100, 100, 3, 98}};
    for (const auto& [top, bottom, height, expected] : kCases)
        EXPECT_EQ(acl::ListView_CentredTop({0, top, 1, bottom}, height), expected)
            << "rect " << top << ".." << bottom << ", height " << height;
}

// The fill covers each cell's right and bottom frame edges, leaving a
// one-pixel grid; the last row and column keep theirs. Content starts after
// the frame and the padding, centred, with the top-left colour transparent.
TEST_F(ListViewTest, CellsFormAOnePixelGridAndContentStartsAfterTheFrameAndThePadding)
{
    Columns({40, 60, 50}, 3);
    list.AddItem(0, 1, Solid(10, 10, kGreen));
    for (UINT row : {1u, 2u}) {
        SCOPED_TRACE(row == 2 ? "last row" : "a row");
        const Pixels p = DrawRow(row);
        EXPECT_EQ(Count(p, kFrame, 0, right, 0, 1, true), 0) << "top line";
        for (int x : {0, 40, 100, right - 1})
            EXPECT_EQ(Count(p, kFrame, x, x + 1, 0, 18, true), 0) << "line at x " << x;
        EXPECT_EQ(Count(p, row == 2 ? kFrame : kWindow, 1, 40, 17, 18, true), 0) << "bottom line";
        EXPECT_EQ(Count(p, kWindow, 1, 40, 1, 17, true), 0) << "the fill covers the right edge";
    }
    EXPECT_EQ(list.RowAt(1)->CellCount(), 3u) << "drawing made the missing cells";

    for (const auto& [paddingX, paddingY] : {std::pair<uint8_t, uint8_t>{1, 1}, {3, 1}, {6, 2}}) {
        SCOPED_TRACE("paddingX " + std::to_string(paddingX));
        list.GetSettings().paddingX = paddingX;
        list.GetSettings().paddingY = paddingY;
        const Pixels p = DrawRow(0);
        const int left = 40 + 1 + paddingX;  // after the frame
        const int top = acl::ListView_CentredTop({left, 1 + paddingY, 100, 17 - paddingY}, 10);
        EXPECT_EQ(Count(p, kGreen, left, left + 10, top, top + 10), 99) << "all but the transparent corner";
        EXPECT_EQ(Count(p, kGreen, 0, right, 0, 18), 99) << "nothing outside";
        EXPECT_EQ(p.at(left, top), kWindow) << "the top-left colour is transparent";
    }
}

TEST_F(ListViewTest, ContentIsClippedAtTheCellsInnerEdge)
{
    Columns({60, 70}, 1);
    list.AddItem(0, 0, Solid(100, 10, kGreen));
    list.AddItem(0, 0, Solid(10, 10, kRed));
    list.AddItem(0, 1, std::make_unique<acl::ListView_Text>(L"A folder name far too long for its column"));
    list.AddItem(0, 1, Solid(10, 10, kRed));
    const Pixels p = DrawRow(0);
    EXPECT_EQ(Count(p, kGreen, 2, 59, 4, 14), 57 * 10 - 1) << "the wide item fills its cell";
    EXPECT_EQ(Count(p, kGreen, 59, right, 0, 18), 0) << "and is clipped at the inner edge (paddingX 1)";
    EXPECT_EQ(Count(p, kRed, 0, right, 0, 18), 0) << "nor is anything after it or after the text";
    const int innerRight = right - 2;  // the last column keeps its right edge
    EXPECT_GT(Count(p, kWindow, innerRight - 12, innerRight, 2, 16, true), 0) << "the text reaches the inner edge";
    EXPECT_EQ(Count(p, kWindow, innerRight, right - 1, 1, 17, true), 0) << "and stops there";
}

// The real control paints: the grid, texts in the system's colours for plain
// and selected rows, and a horizontally scrolled list shifted left by the
// scroll position. (The main window's list shows the selected row's fill.)
TEST_F(ListViewTest, TheControlPaintsTheGridAndTextsAndScrolledRowsShiftedLeft)
{
    demo.AddSampleRows(3);  // columns 110, 70, 70, 250
    krn::test::SelectRow(demo.list(), 1);
    RECT rows[2] = {{LVIR_BOUNDS}, {LVIR_BOUNDS}};
    for (WPARAM i : {0, 1})
        SendMessageW(demo.list(), LVM_GETITEMRECT, i, reinterpret_cast<LPARAM>(&rows[i]));
    const Pixels before = krn::test::CaptureClient(demo.list());
    const int x = 110 + 60, y = rows[0].top + 1;  // right half of the "Size" cell, where no text is
    EXPECT_EQ(before.at(x, rows[1].top), kFrame) << "grid line above the selected row";
    for (const int row : {0, 1}) {  // "Folder" in the system's colours for texts and selected texts
        const COLORREF text = GetSysColor(row ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT);
        EXPECT_GT(Count(before, text, 2, 108, rows[row].top + 2, rows[row].bottom - 1), 20) << "text of row " << row;
    }

    SendMessageW(demo.list(), LVM_SCROLL, 40, 0);
    const Pixels after = krn::test::CaptureClient(demo.list());
    for (int line : {110, 180, 250}) {
        EXPECT_EQ(before.at(line, y), kFrame) << "unscrolled line at " << line;
        EXPECT_EQ(after.at(line - 40, y), kFrame) << "scrolled line at " << line - 40;
        EXPECT_NE(after.at(line, y), kFrame) << "nothing left at " << line;
    }
}

// Every GDI object and memory DC the list takes into an owner is recorded:
// those of a row's paint must be gone when the paint ends (looked at at once:
// Wine soon hands a deleted handle out again), those of filling the list when
// the list ends.
TEST(ListViewGdi, PaintsLeaveNoObjectBehind)
{
    static std::vector<HGDIOBJ> recorded;
    acl::gdiOwnedHook = [](HGDIOBJ object) { recorded.push_back(object); };
    const auto alive = [](size_t from, size_t to) {
        return std::count_if(recorded.begin() + from, recorded.begin() + to, Alive);
    };
    size_t filled = 0;
    {
        ListViewDemo demo;
        demo.AddSampleRows(6);  // measuring texts makes memory DCs too
        filled = recorded.size();
        krn::test::Render(500, 18, RGB(0, 0, 0), [&](HDC dc) {
            for (UINT i = 0; i < 42; ++i) {  // each row plain, and once selected
                const size_t before = recorded.size();
                demo.view().OnDrawItem(TD_LIST, {ODT_LISTVIEW, TD_LIST, i % 6, ODA_DRAWENTIRE,
                                                 i % 7 ? 0u : UINT(ODS_SELECTED), demo.list(), dc, {0, 0, 500, 18}, 0});
                // A DC and its bitmap, a clip region a cell, a DC a bitmap item: every one through an owner.
                EXPECT_EQ(recorded.size() - before, 2 + 4 + 1 + i % 6 % 3) << "paint " << i;
                EXPECT_EQ(alive(before, recorded.size()), 0) << "paint " << i;
            }
        });
    }
    acl::gdiOwnedHook = nullptr;
    EXPECT_EQ(alive(0, filled), 0) << "of " << filled << " objects recorded while the list was filled";
}

} // namespace
