// Sorting: the comparer's sign times the direction decides, equal rows never
// move, and a click on the same column reverses the direction.
#include "support/ListViewDemo.h"

#include <gtest/gtest.h>

namespace {

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

class ListViewSort : public ::testing::Test {
protected:
    void SetUp() override
    {
        list.AddColumn(L"Tens", 60);
        list.AddColumn(L"Units", 60);
        list.comparer = &comparer;
    }
    void Fill(std::initializer_list<uint64_t> tags)
    {
        for (uint64_t tag : tags)
            list.AddRow(0, 0, tag);
    }
    std::vector<uint64_t> Tags() const
    {
        std::vector<uint64_t> tags;
        for (size_t i = 0; i < list.RowCount(); ++i)
            tags.push_back(list.RowAt(i)->tag);
        return tags;
    }

    krn::test::ListViewDemo demo;
    acl::ListView& list = demo.view();
    TagComparer comparer;
};

TEST_F(ListViewSort, SameColumnReversesAnotherSortsAscendingAndEqualRowsKeepTheirOrder)
{
    Fill({31, 12, 35, 20, 11, 33});
    const struct {
        uint64_t column;
        std::vector<uint64_t> order;
        int16_t direction;
    } kClicks[] = {
        {0, {12, 11, 20, 31, 35, 33}, 1},
        {0, {31, 35, 33, 20, 12, 11}, -1},
        {1, {20, 31, 11, 12, 33, 35}, 1},
        {1, {35, 33, 12, 31, 11, 20}, -1},
    };
    for (const auto& click : kClicks) {
        list.Sort(click.column);
        EXPECT_EQ(Tags(), click.order) << "column " << click.column;
        int32_t column = 0;
        int16_t direction = 0;
        list.GetSortState(column, direction);
        EXPECT_EQ(column * 10 + direction, static_cast<int>(click.column) * 10 + click.direction);
    }
    EXPECT_EQ(comparer.calls, 4 * 15) << "a bubble sort compares every pair of every pass";
}

TEST_F(ListViewSort, NoRowsOrOneOnlyRecordTheColumnAndUnknownColumnsOrNoComparerDoNothing)
{
    list.Sort(2);  // past the columns
    EXPECT_EQ(list.sortColumn, -1);
    list.Sort(1);  // empty
    EXPECT_EQ(list.sortColumn * 10 + list.sortDirection, 11);
    Fill({7});
    list.Sort(1);
    EXPECT_EQ(list.sortDirection, -1) << "the direction still toggles";
    EXPECT_EQ(comparer.calls, 0);
    Fill({5});
    list.comparer = nullptr;
    list.Sort(0);
    EXPECT_EQ(Tags(), (std::vector<uint64_t>{7, 5}));
    EXPECT_EQ(list.sortColumn, 1);
}

TEST_F(ListViewSort, AHeaderClickSortsRowsButLeavesTheSelectionWhereItWas)
{
    Fill({30, 10, 20});
    demo.Select(0);
    demo.ClickHeader(0);
    EXPECT_EQ(Tags(), (std::vector<uint64_t>{10, 20, 30}));
    demo.ClickHeader(0);
    EXPECT_EQ(demo.columnClicks(), 2);
    EXPECT_EQ(Tags(), (std::vector<uint64_t>{30, 20, 10}));
    EXPECT_EQ(list.GetSelectedRow(), 0) << "the highlight stays on the position";
}

} // namespace
