// Drawing, checked in pixels: rows are drawn through OnDrawItem into a bitmap
// of the row's size (with the real control's header giving the columns), or the
// real control is captured after it painted itself.
#include "support/ListViewDemo.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using krn::test::ListViewDemo;
using krn::test::Pixels;

constexpr COLORREF kSelected = RGB(0x8A, 0xA6, 0xD6);
constexpr COLORREF kGreen = RGB(0, 200, 0);
constexpr COLORREF kRed = RGB(220, 0, 0);
constexpr COLORREF kMagenta = RGB(255, 0, 255);

COLORREF Frame()
{
    return GetSysColor(COLOR_WINDOWFRAME);
}
COLORREF Window()
{
    return GetSysColor(COLOR_WINDOW);
}

// A solid bitmap whose top-left pixel is magenta, so that pixel is drawn transparent.
acl::unique_hbitmap SolidBitmap(int width, int height, COLORREF color)
{
    const acl::WindowDc screen(nullptr);
    acl::unique_hbitmap bitmap(CreateCompatibleBitmap(screen.get(), width, height));
    const acl::unique_hdc dc(CreateCompatibleDC(screen.get()));
    const acl::SelectGuard select(dc.get(), bitmap.get());
    const acl::unique_hbrush brush(CreateSolidBrush(color));
    RECT all{0, 0, width, height};
    FillRect(dc.get(), &all, brush.get());
    SetPixel(dc.get(), 0, 0, kMagenta);
    return bitmap;
}

std::unique_ptr<acl::ListView_Bitmap> Solid(int width, int height, COLORREF color)
{
    return std::make_unique<acl::ListView_Bitmap>(SolidBitmap(width, height, color));
}

// Draws one row the way the control asks for it, into a bitmap of the row's size.
Pixels DrawRow(acl::ListView& list, UINT row, bool selected, int width, int height = 18)
{
    return krn::test::Render(width, height, RGB(1, 2, 3), [&](HDC dc) {
        DRAWITEMSTRUCT item{ODT_LISTVIEW, ListViewDemo::kListId, row, ODA_DRAWENTIRE,
                            selected ? UINT(ODS_SELECTED) : 0u, list.GetListWindow(), dc, {0, 0, width, height}, 0};
        list.OnDrawItem(ListViewDemo::kListId, item);
    });
}

int CountColor(const Pixels& p, COLORREF color, int x0, int x1, int y0, int y1, bool other = false)
{
    int n = 0;
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x)
            n += (p.at(x, y) == color) != other;
    return n;
}

int CountOther(const Pixels& p, COLORREF color, int x0, int x1, int y0, int y1)
{
    return CountColor(p, color, x0, x1, y0, y1, true);
}

struct Column {
    const wchar_t* title;
    int width;
};

// A demo with columns of the given widths and `rows` empty rows.
class Drawn : public ::testing::Test {
protected:
    void Columns(std::initializer_list<Column> columns, int rows)
    {
        for (const Column& c : columns) {
            list().AddColumn(c.title, c.width);
            right += c.width;
        }
        for (int i = 0; i < rows; ++i)
            list().AddRow(0, 0, static_cast<uint64_t>(i));
    }
    acl::ListView& list() { return demo.view(); }

    ListViewDemo demo;
    int right = 0;  // of the last column
};

TEST(ListViewCentring, TruncatesTowardZeroInSinglePrecision)
{
    const struct {
        RECT rect;
        uint32_t height;
        int top;
    } kCases[] = {
        {{0, 0, 1, 18}, 16, 1},  {{0, 2, 1, 17}, 10, 4}, {{0, 0, 1, 17}, 16, 0},
        {{0, 0, 1, 5}, 8, -1},  // -1.5: toward zero, not down
        {{0, 3, 1, 20}, 10, 6}, {{0, 100, 1, 100}, 3, 98},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(acl::ListView_CentredTop(c.rect, c.height), c.top)
            << "rect " << c.rect.top << ".." << c.rect.bottom << ", height " << c.height;
}

TEST_F(Drawn, CellsFormAOnePixelGridAndTheLastRowAndColumnKeepTheirEdges)
{
    Columns({{L"A", 60}, {L"B", 40}, {L"C", 50}}, 3);
    for (UINT row : {0u, 2u}) {
        SCOPED_TRACE(row == 2 ? "last row" : "first row");
        const Pixels p = DrawRow(list(), row, false, right);
        const int h = p.height();
        EXPECT_EQ(CountOther(p, Frame(), 0, right, 0, 1), 0) << "top line";
        for (int x : {0, 60, 100, right - 1})
            EXPECT_EQ(CountOther(p, Frame(), x, x + 1, 0, h), 0) << "line at x " << x;
        for (int x : {59, 99})
            EXPECT_EQ(p.at(x, h / 2), Window()) << "the fill covers the right edge at x " << x;
        EXPECT_EQ(CountOther(p, row == 2 ? Frame() : Window(), 1, 59, h - 1, h), 0) << "bottom line";
        EXPECT_EQ(CountOther(p, Window(), 1, 59, 1, h - 1), 0) << "inside of an empty cell";
    }
    EXPECT_EQ(list().RowAt(0)->CellCount(), 3u) << "drawing made the missing cells";
}

TEST_F(Drawn, SelectedRowsUseTheSecondStyle)
{
    demo.AddSampleColumns();
    demo.AddSampleRows(3);
    demo.Select(1);
    RECT rows[2] = {{LVIR_BOUNDS}, {LVIR_BOUNDS}};
    SendMessageW(demo.list(), LVM_GETITEMRECT, 0, reinterpret_cast<LPARAM>(&rows[0]));
    SendMessageW(demo.list(), LVM_GETITEMRECT, 1, reinterpret_cast<LPARAM>(&rows[1]));
    const Pixels p = demo.Capture();
    const int x = 110 + 60;  // right half of the "Size" cell, where no text is
    EXPECT_EQ(p.at(x, (rows[0].top + rows[0].bottom) / 2), Window());
    EXPECT_EQ(p.at(x, (rows[1].top + rows[1].bottom) / 2), kSelected);
    EXPECT_EQ(p.at(x, rows[1].top), Frame()) << "grid line above the selected row";

    list().GetSettings().SetStyle(1, acl::ListView_Settings::kMaskFrame, 0, 0, 0, 0, kRed, 0, nullptr, false);
    EXPECT_EQ(DrawRow(list(), 0, true, 350).at(x, 0), kRed) << "the frame of the second style";
    EXPECT_EQ(DrawRow(list(), 0, false, 350).at(x, 0), Frame());
}

TEST_F(Drawn, ContentStartsAfterTheFrameAndThePaddingAndIsCentred)
{
    const struct {
        uint8_t paddingX, paddingY;
        bool frame;
    } kCases[] = {{1, 1, true}, {3, 1, true}, {6, 2, true}, {3, 1, false}, {0, 0, false}};
    Columns({{L"A", 40}, {L"B", 60}}, 1);
    list().AddItem(0, 1, Solid(10, 10, kGreen));
    for (const auto& c : kCases) {
        SCOPED_TRACE("paddingX " + std::to_string(c.paddingX) + (c.frame ? ", framed" : ", no frame"));
        acl::ListView_Settings& s = list().GetSettings();
        s.paddingX = c.paddingX;
        s.paddingY = c.paddingY;
        const COLORREF frame = c.frame ? Frame() : acl::ListView_Settings::kNone;
        for (uint8_t style : {0, 1})
            s.SetStyle(style, acl::ListView_Settings::kMaskFrame, 0, 0, 0, 0, frame, 0, nullptr, false);
        const Pixels p = DrawRow(list(), 0, false, right);
        const int edge = c.frame ? 1 : 0;
        const int left = 40 + edge + c.paddingX;
        // Inner rectangle top..bottom, the bitmap centred in it.
        const RECT inner{left, edge + c.paddingY, right - edge - c.paddingX, 18 - edge - c.paddingY};
        const int top = acl::ListView_CentredTop(inner, 10);
        EXPECT_EQ(p.at(left, top + 5), kGreen);
        EXPECT_EQ(p.at(left - 1, top + 5), Window());
        EXPECT_EQ(p.at(left + 9, top + 9), kGreen);
        EXPECT_EQ(p.at(left + 10, top + 5), Window());
        EXPECT_EQ(p.at(left + 5, top - 1), Window());
        EXPECT_EQ(p.at(left + 5, top + 10), Window());
        EXPECT_EQ(p.at(left, top), Window()) << "the top-left colour is transparent";
        EXPECT_EQ(CountColor(p, kMagenta, 0, right, 0, 18), 0);
    }
}

TEST_F(Drawn, AnItemWiderThanTheCellIsClippedAndLaterItemsAreNotDrawn)
{
    Columns({{L"A", 60}, {L"B", 30}}, 1);
    list().AddItem(0, 0, Solid(100, 10, kGreen));
    list().AddItem(0, 0, Solid(10, 10, kRed));
    const Pixels p = DrawRow(list(), 0, false, right);
    const int innerRight = 60 - 1;  // paddingX 1; not the last column, so no right edge of its own
    EXPECT_EQ(p.at(innerRight - 1, 9), kGreen);
    EXPECT_EQ(CountColor(p, kGreen, innerRight, right, 0, 18), 0) << "clipped at the inner edge";
    EXPECT_EQ(CountColor(p, kRed, 0, right, 0, 18), 0);
    EXPECT_EQ(p.at(60, 9), Frame());
}

TEST_F(Drawn, ALongTextEndsInsideItsCell)
{
    Columns({{L"A", 70}, {L"B", 40}}, 1);
    list().AddItem(0, 0, std::make_unique<acl::ListView_Text>(L"A folder name far too long for its column"));
    list().AddItem(0, 0, Solid(10, 10, kGreen));
    const Pixels p = DrawRow(list(), 0, false, right);
    const int innerRight = 70 - 1;
    EXPECT_GT(CountOther(p, Window(), innerRight - 12, innerRight, 2, 16), 0) << "the text reaches the inner edge";
    EXPECT_EQ(CountOther(p, Window(), innerRight, 70, 1, 17), 0) << "and stops there";
    EXPECT_EQ(CountOther(p, Window(), 71, right - 1, 1, 17), 0) << "nothing spills into the next cell";
    EXPECT_EQ(CountColor(p, kGreen, 0, right, 0, 18), 0) << "the item after the text is not drawn";
}

TEST(ListViewScroll, AHorizontallyScrolledListIsShiftedLeft)
{
    ListViewDemo narrow(ListViewDemo::Options{.width = 200, .height = 120});
    narrow.AddSampleColumns();  // 110, 70, 70, 100
    narrow.AddSampleRows(2);
    RECT row{LVIR_BOUNDS};
    SendMessageW(narrow.list(), LVM_GETITEMRECT, 0, reinterpret_cast<LPARAM>(&row));
    const int y = row.top + 1;  // inside the first row, below its top line

    const Pixels before = narrow.Capture();
    SendMessageW(narrow.list(), LVM_SCROLL, 40, 0);
    SCROLLINFO scroll{sizeof scroll, SIF_POS};
    GetScrollInfo(narrow.list(), SB_HORZ, &scroll);
    ASSERT_EQ(scroll.nPos, 40);
    const Pixels after = narrow.Capture();
    for (int line : {110, 180}) {
        EXPECT_EQ(before.at(line, y), Frame()) << "unscrolled line at " << line;
        EXPECT_EQ(after.at(line - 40, y), Frame()) << "scrolled line at " << line - 40;
        EXPECT_NE(after.at(line, y), Frame()) << "nothing left at " << line;
    }
}

TEST_F(Drawn, MeasuredRowsAreAsHighAsTheirTallestItemPlusTheFrame)
{
    Columns({{L"A", 60}, {L"B", 60}}, 2);
    MEASUREITEMSTRUCT m{ODT_LISTVIEW, ListViewDemo::kListId};
    const auto measure = [&] {
        list().OnMeasureItem(ListViewDemo::kListId, m);
        return m.itemHeight;
    };
    EXPECT_EQ(measure(), 0u) << "rows without cells";
    list().AddItem(1, 1, Solid(10, 23, kGreen));
    list().AddItem(0, 0, Solid(10, 12, kGreen));
    EXPECT_EQ(measure(), 25u);
    list().GetSettings().paddingY = 5;
    EXPECT_EQ(measure(), 25u) << "padding is not part of the height";
    for (uint8_t style : {0, 1})
        list().GetSettings().SetStyle(style, 4, 0, 0, 0, 0, acl::ListView_Settings::kNone, 0, nullptr, false);
    EXPECT_EQ(measure(), 23u);
    list().rowHeight = 19;
    EXPECT_EQ(measure(), 19u);
    EXPECT_EQ(m.itemWidth, 0u);
}

// Every GDI object and memory DC the list takes into an owner is recorded;
// after 10,000 row paints and the list's end, none may be left.
std::vector<HGDIOBJ>* recorded = nullptr;

TEST(ListViewGdi, TenThousandPaintsLeaveNoObjectBehind)
{
    std::vector<HGDIOBJ> objects;
    recorded = &objects;
    acl::gdiOwnedHook = [](HGDIOBJ object) { recorded->push_back(object); };
    constexpr int kPaints = 10000;
    {
        ListViewDemo demo;
        demo.view().AddColumn(L"Name", 120);
        demo.view().AddColumn(L"Actions", 60);
        for (int i = 0; i < 6; ++i) {
            demo.view().AddRow(0, 0, 0);
            demo.view().AddItem(i, 0, std::make_unique<acl::ListView_Text>(L"Some folder"));
            demo.view().AddItem(i, 1, std::make_unique<acl::ListView_Bitmap>(demo.ActionBitmap(i)));
        }
        demo.view().Remeasure();  // measuring texts makes memory DCs too
        const size_t beforePaints = objects.size();
        const int width = 180;
        const int height = 18;
        krn::test::Render(width, height * 6, RGB(0, 0, 0), [&](HDC dc) {
            for (int i = 0; i < kPaints; ++i) {
                const UINT row = static_cast<UINT>(i % 6);
                const int top = static_cast<int>(row) * height;
                DRAWITEMSTRUCT item{ODT_LISTVIEW, ListViewDemo::kListId, row, ODA_DRAWENTIRE,
                                    i % 7 ? 0u : UINT(ODS_SELECTED), demo.list(), dc, {0, top, width, top + height}, 0};
                demo.view().OnDrawItem(ListViewDemo::kListId, item);
            }
        });
        // A DC and its bitmap, a clip region per cell, a DC for the bitmap item.
        EXPECT_EQ(objects.size() - beforePaints, size_t(kPaints) * (2 + 2 + 1)) << "every object went through an owner";
        // The real control paints through the same path.
        for (int i = 0; i < 20; ++i)
            RedrawWindow(demo.list(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);

        std::set<HGDIOBJ> live;
        for (HGDIOBJ object : objects)
            if (GetObjectType(object))
                live.insert(object);
        EXPECT_EQ(live.size(), 4u + 3u) << "only the styles' four brushes and the demo's three bitmaps";
    }
    acl::gdiOwnedHook = nullptr;
    int leaked = 0;
    for (HGDIOBJ object : objects)
        leaked += GetObjectType(object) != 0;
    EXPECT_EQ(leaked, 0) << "of " << objects.size() << " objects recorded";
}

} // namespace
