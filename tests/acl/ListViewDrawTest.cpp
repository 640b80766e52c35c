// Drawing, checked in pixels: rows are drawn through OnDrawItem into a bitmap
// of the row's size (the real control's header giving the columns), or the
// real control is captured after it painted itself.
#include "support/Gui.h"
#include "ListViewDemo.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using acl::test::ListViewDemo;
using krn::test::Pixels;

constexpr COLORREF kGreen = RGB(0, 200, 0), kRed = RGB(220, 0, 0), kSelected = RGB(0x8A, 0xA6, 0xD6);
const COLORREF kFrame = GetSysColor(COLOR_WINDOWFRAME), kWindow = GetSysColor(COLOR_WINDOW);

// A solid bitmap item whose top-left pixel is magenta, the colour drawn transparent.
std::unique_ptr<acl::ListView_Bitmap> Solid(int width, int height, COLORREF color)
{
    const acl::WindowDc screen(nullptr);
    acl::unique_hbitmap bitmap(CreateCompatibleBitmap(screen.get(), width, height));
    {
        const acl::unique_hdc dc(CreateCompatibleDC(screen.get()));
        const acl::SelectGuard select(dc.get(), bitmap.get());  // not while the item reads it
        const acl::unique_hbrush brush(CreateSolidBrush(color));
        RECT all{0, 0, width, height};
        FillRect(dc.get(), &all, brush.get());
        SetPixel(dc.get(), 0, 0, RGB(255, 0, 255));
    }
    return std::make_unique<acl::ListView_Bitmap>(std::move(bitmap));
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

// An item that only counts how often it is drawn: clipping would hide it.
struct Counted : acl::ListView_Item {
    Counted() : ListView_Item(99) {}
    void GetSize(uint32_t& w, uint32_t& h) override { w = h = 10; }
    int Draw(HDC, int, RECT&) override { return ++draws, 10; }
    int draws = 0;
};

class Drawn : public ::testing::Test {
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
    Pixels DrawRow(UINT row, bool selected = false)
    {
        return krn::test::Render(right, 18, RGB(1, 2, 3), [&](HDC dc) {
            DRAWITEMSTRUCT item{ODT_LISTVIEW, TD_LIST, row, ODA_DRAWENTIRE,
                                selected ? UINT(ODS_SELECTED) : 0u, demo.list(), dc, {0, 0, right, 18}, 0};
            list.OnDrawItem(TD_LIST, item);
        });
    }

    ListViewDemo demo;
    acl::ListView& list = demo.view();
    int right = 0;  // of the last column
};

TEST(ListViewCentring, TruncatesTowardZeroInSinglePrecision)
{
    const struct {
        LONG top, bottom;
        uint32_t height;
        int expected;
    } kCases[] = {{0, 18, 16, 1}, {2, 17, 10, 4}, {0, 17, 16, 0}, {0, 5, 8, -1}, {3, 20, 10, 6}, {100, 100, 3, 98}};
    for (const auto& c : kCases)
        EXPECT_EQ(acl::ListView_CentredTop({0, c.top, 1, c.bottom}, c.height), c.expected)
            << "rect " << c.top << ".." << c.bottom << ", height " << c.height;
}

// The fill covers each cell's right and bottom frame edges, leaving a
// one-pixel grid; the last row and column keep theirs. Content starts after
// the frame and the padding, centred, with the top-left colour transparent.
TEST_F(Drawn, CellsFormAOnePixelGridAndContentStartsAfterTheFrameAndThePadding)
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

    const struct {
        uint8_t paddingX, paddingY;
        bool frame;
    } kCases[] = {{1, 1, true}, {6, 2, true}, {3, 1, false}, {0, 0, false}};
    for (const auto& c : kCases) {
        SCOPED_TRACE("paddingX " + std::to_string(c.paddingX) + (c.frame ? ", framed" : ", no frame"));
        acl::ListView_Settings& s = list.GetSettings();
        s.paddingX = c.paddingX;
        s.paddingY = c.paddingY;
        for (uint8_t style : {0, 1})
            s.SetStyle(style, 4, 0, 0, 0, 0, c.frame ? kFrame : acl::ListView_Settings::kNone, 0, nullptr, false);
        const Pixels p = DrawRow(0);
        const int edge = c.frame ? 1 : 0, left = 40 + edge + c.paddingX;
        const int top = acl::ListView_CentredTop({left, edge + c.paddingY, 100, 18 - edge - c.paddingY}, 10);
        EXPECT_EQ(Count(p, kGreen, left, left + 10, top, top + 10), 99) << "all but the transparent corner";
        EXPECT_EQ(Count(p, kGreen, 0, right, 0, 18), 99) << "nothing outside";
        EXPECT_EQ(p.at(left, top), kWindow) << "the top-left colour is transparent";
    }
}

TEST_F(Drawn, ContentIsClippedAtTheCellsInnerEdgeAndLaterItemsAreNotDrawn)
{
    Columns({60, 70}, 1);
    list.AddItem(0, 0, Solid(100, 10, kGreen));
    auto counted = std::make_unique<Counted>();
    const Counted& later = *counted;
    list.AddItem(0, 0, std::move(counted));
    list.AddItem(0, 1, std::make_unique<acl::ListView_Text>(L"A folder name far too long for its column"));
    list.AddItem(0, 1, Solid(10, 10, kRed));
    const Pixels p = DrawRow(0);
    EXPECT_EQ(Count(p, kGreen, 2, 59, 4, 14), 57 * 10 - 1) << "the wide item fills its cell";
    EXPECT_EQ(Count(p, kGreen, 59, right, 0, 18), 0) << "and is clipped at the inner edge (paddingX 1)";
    EXPECT_EQ(later.draws, 0) << "items after it are not drawn";
    EXPECT_EQ(Count(p, kRed, 0, right, 0, 18), 0) << "nor those after the text";
    EXPECT_EQ(p.at(60, 9), kFrame);
    const int innerRight = right - 2;  // the last column keeps its right edge
    EXPECT_GT(Count(p, kWindow, innerRight - 12, innerRight, 2, 16, true), 0) << "the text reaches the inner edge";
    EXPECT_EQ(Count(p, kWindow, innerRight, right - 1, 1, 17, true), 0) << "and stops there";
}

// The real control paints: a selected row in style [1] with its frame, and a
// horizontally scrolled list shifted left by the scroll position.
TEST_F(Drawn, TheControlPaintsSelectedRowsInTheSecondStyleAndScrolledRowsShiftedLeft)
{
    demo.AddSampleRows(3);  // columns 110, 70, 70, 250
    demo.Select(1);
    RECT rows[2] = {{LVIR_BOUNDS}, {LVIR_BOUNDS}};
    for (WPARAM i : {0, 1})
        SendMessageW(demo.list(), LVM_GETITEMRECT, i, reinterpret_cast<LPARAM>(&rows[i]));
    const Pixels before = krn::test::CaptureClient(demo.list());
    const int x = 110 + 60, y = rows[0].top + 1;  // right half of the "Size" cell, where no text is
    EXPECT_EQ(before.at(x, (rows[0].top + rows[0].bottom) / 2), kWindow);
    EXPECT_EQ(before.at(x, (rows[1].top + rows[1].bottom) / 2), kSelected);
    EXPECT_EQ(before.at(x, rows[1].top), kFrame) << "grid line above the selected row";

    SendMessageW(demo.list(), LVM_SCROLL, 40, 0);
    const Pixels after = krn::test::CaptureClient(demo.list());
    for (int line : {110, 180, 250}) {
        EXPECT_EQ(before.at(line, y), kFrame) << "unscrolled line at " << line;
        EXPECT_EQ(after.at(line - 40, y), kFrame) << "scrolled line at " << line - 40;
        EXPECT_NE(after.at(line, y), kFrame) << "nothing left at " << line;
    }

    right = 350;
    list.GetSettings().SetStyle(1, acl::ListView_Settings::kMaskFrame, 0, 0, 0, 0, kRed, 0, nullptr, false);
    EXPECT_EQ(DrawRow(0, true).at(x, 0), kRed) << "the frame of the second style";
    EXPECT_EQ(DrawRow(0, false).at(x, 0), kFrame);
}

// Every GDI object and memory DC the list takes into an owner is recorded;
// after 10,000 row paints and the list's end, none may be left.
TEST(ListViewGdi, TenThousandPaintsLeaveNoObjectBehind)
{
    static std::vector<HGDIOBJ> recorded;
    acl::gdiOwnedHook = [](HGDIOBJ object) { recorded.push_back(object); };
    size_t expected = 0, painted = 0;
    {
        ListViewDemo demo;
        demo.AddSampleRows(6);  // measuring texts makes memory DCs too
        const size_t before = recorded.size();
        krn::test::Render(500, 18, RGB(0, 0, 0), [&](HDC dc) {
            for (UINT i = 0; i < 10000; ++i) {
                DRAWITEMSTRUCT item{ODT_LISTVIEW, TD_LIST, i % 6, ODA_DRAWENTIRE, i % 7 ? 0u : UINT(ODS_SELECTED),
                                    demo.list(), dc, {0, 0, 500, 18}, 0};
                demo.view().OnDrawItem(TD_LIST, item);
                expected += 2 + 4 + 1 + i % 6 % 3;  // a DC and its bitmap, a clip region a cell, a DC a bitmap item
            }
        });
        painted = recorded.size() - before;
        for (int i = 0; i < 20; ++i)  // the real control paints through the same path
            RedrawWindow(demo.list(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        EXPECT_TRUE(GetObjectType(demo.ActionBitmap(0))) << "lent bitmaps stay";
    }
    acl::gdiOwnedHook = nullptr;
    EXPECT_EQ(painted, expected) << "every object went through an owner";
    const auto leaked = std::count_if(recorded.begin(), recorded.end(), [](HGDIOBJ o) { return GetObjectType(o); });
    EXPECT_EQ(leaked, 0) << "of " << recorded.size() << " objects recorded";
}

} // namespace
