// Sorting: the comparer's sign times the direction decides, equal rows never
// move, and a click on the same column reverses the direction.
#include "support/ListViewDemo.h"

#include <gtest/gtest.h>

namespace {

using krn::test::ListViewDemo;

// Rows are compared by their tag's tens (so 31 and 35 are equal) in column 0,
// by the tag's units in column 1; every call is counted.
struct TagComparer : acl::ListView_Comparer {
    int32_t Compare(const acl::ListView_Row& a, const acl::ListView_Row& b, uint64_t column) override
    {
        ++calls;
        const auto key = [column](const acl::ListView_Row& r) { return column == 0 ? r.tag / 10 : r.tag % 10; };
        return key(a) < key(b) ? -1 : key(a) > key(b) ? 1 : 0;
    }
    int calls = 0;
};

class ListViewSort : public ::testing::Test {
protected:
    void SetUp() override
    {
        demo.view().AddColumn(L"Tens", 60);
        demo.view().AddColumn(L"Units", 60);
        demo.view().comparer = &comparer;
    }
    void Fill(std::initializer_list<uint64_t> tags)
    {
        for (uint64_t tag : tags)
            demo.view().AddRow(0, 0, tag);
    }
    std::vector<uint64_t> Tags()
    {
        std::vector<uint64_t> tags;
        for (size_t i = 0; i < demo.view().RowCount(); ++i)
            tags.push_back(demo.view().RowAt(i)->tag);
        return tags;
    }

    ListViewDemo demo;
    TagComparer comparer;
};

TEST_F(ListViewSort, ClicksSortAscendingThenDescendingAndAnotherColumnAscending)
{
    Fill({31, 12, 35, 20, 11, 33});
    const struct {
        uint64_t column;
        std::vector<uint64_t> order;
        int16_t direction;
    } kClicks[] = {
        {0, {12, 11, 20, 31, 35, 33}, 1},   // equal tens keep their order
        {0, {31, 35, 33, 20, 12, 11}, -1},  // reversed, still stable
        {1, {20, 31, 11, 12, 33, 35}, 1},   // another column: ascending again
        {1, {35, 33, 12, 31, 11, 20}, -1},
    };
    for (const auto& click : kClicks) {
        demo.view().Sort(click.column);
        EXPECT_EQ(Tags(), click.order) << "column " << click.column;
        int32_t column = 0;
        int16_t direction = 0;
        demo.view().GetSortState(column, direction);
        EXPECT_EQ(column, static_cast<int32_t>(click.column));
        EXPECT_EQ(direction, click.direction);
    }
    EXPECT_EQ(comparer.calls, 4 * 15) << "a bubble sort compares every pair of every pass";
}

TEST_F(ListViewSort, OneRowOrNoneOnlyRecordsTheColumnAndOtherColumnsOrNoComparerDoNothing)
{
    demo.view().Sort(2);  // past the columns
    EXPECT_EQ(demo.view().sortColumn, -1);
    demo.view().Sort(1);  // empty
    EXPECT_EQ(demo.view().sortColumn, 1);
    EXPECT_EQ(demo.view().sortDirection, 1);
    Fill({7});
    demo.view().Sort(1);
    EXPECT_EQ(demo.view().sortDirection, -1) << "the direction still toggles";
    EXPECT_EQ(comparer.calls, 0);
    Fill({5});
    demo.view().comparer = nullptr;
    demo.view().Sort(0);
    EXPECT_EQ(Tags(), (std::vector<uint64_t>{7, 5}));
    EXPECT_EQ(demo.view().sortColumn, 1);
}

TEST_F(ListViewSort, MovesRowsNotTheSelection)
{
    Fill({30, 10, 20});
    demo.Select(0);
    demo.view().Sort(0);
    EXPECT_EQ(demo.view().GetSelectedRow(), 0);
    EXPECT_EQ(demo.view().RowAt(0)->tag, 10u) << "the highlight is now on another row";
}

TEST(ListViewSortByClick, AHeaderClickReachesTheListThroughTheDialog)
{
    ListViewDemo demo;
    demo.AddSampleColumns();
    demo.AddSampleRows(4);  // names Folder 1 .. Folder 4
    demo.ClickHeader(0);
    demo.ClickHeader(0);
    ASSERT_EQ(demo.columnClicks(), 2);
    std::vector<std::wstring> names;
    for (size_t i = 0; i < demo.view().RowCount(); ++i)
        names.push_back(*krn::test::FirstText(*demo.view().RowAt(i), 0));
    EXPECT_EQ(names, (std::vector<std::wstring>{L"Folder 4", L"Folder 3", L"Folder 2", L"Folder 1"}))
        << "ascending on the first click, descending on the second";
}

} // namespace
