#include <cmath>
#include <limits>

#include "config/FolderEntry.h"
#include "tests/config/ConfigFixture.h"

namespace krn::test {
namespace {

class FolderEntryTest : public ConfigTest {
protected:
    // A folder with both limits and one action of each kind.
    FolderEntry Full() const
    {
        FolderEntry entry;
        entry.path = L"C:\\Data";
        entry.flags = FolderEntry::HasMin | FolderEntry::HasMax;
        entry.min = {1.5, SizeUnit_KB, 1536, L"low"};
        entry.max = {2.0, SizeUnit_GB, 0, L""};
        entry.actions.push_back({nullptr, msgBox()});
        entry.actions.push_back(RunSlot(L"a.exe", L"-x"));
        entry.actions.push_back({nullptr, addToLog()});
        return entry;
    }
};

TEST_F(FolderEntryTest, FreshEntryIsAllZeroAndEqualsAnotherFreshOne)
{
    FolderEntry a, b;
    EXPECT_FALSE(a.path);
    EXPECT_EQ(a.flags, 0u);
    EXPECT_EQ(a.min.value, 0.0);
    EXPECT_EQ(a.max.units, SizeUnit_B);
    EXPECT_FALSE(a.max.msg);
    EXPECT_TRUE(a.actions.empty());
    EXPECT_TRUE(a.Equals(b));
}

TEST_F(FolderEntryTest, CopyIsDeepAndEqual)
{
    FolderEntry original = Full();
    FolderEntry copy(original);
    EXPECT_EQ(copy.flags, original.flags);
    EXPECT_EQ(copy.min.bytes, 1536u);
    EXPECT_TRUE(copy.Equals(original));
    ASSERT_EQ(copy.actions.size(), 3u);
    EXPECT_NE(copy.actions[1].params, original.actions[1].params) << "the Run block must be cloned";
    EXPECT_EQ(copy.actions[1].kind, run());
    static_cast<RunParams*>(original.actions[1].params)->path = L"b.exe";
    EXPECT_FALSE(copy.Equals(original));
    EXPECT_EQ(*Params(copy.actions[1]).path, L"a.exe");
}

TEST_F(FolderEntryTest, AssignReplacesEverythingAndResetClears)
{
    FolderEntry target = Full();
    FolderEntry source;
    source.path = L"D:\\Other";
    source.actions.push_back(RunSlot(std::nullopt, L""));
    target.Assign(source);
    EXPECT_TRUE(target.Equals(source)) << "a Run block with a null path is still a block, compared by value";
    ASSERT_EQ(target.actions.size(), 1u);
    EXPECT_EQ(target.flags, 0u);
    EXPECT_FALSE(target.min.msg);
    EXPECT_FALSE(Params(target.actions[0]).path);
    EXPECT_EQ(*Params(target.actions[0]).params, L"");

    target.Reset();
    EXPECT_FALSE(target.path);
    EXPECT_TRUE(target.actions.empty());
    EXPECT_TRUE(target.Equals(FolderEntry()));
}

TEST_F(FolderEntryTest, SelfAssignmentKeepsTheEntry)
{
    FolderEntry entry = Full();
    FolderEntry& same = entry;
    entry = same;
    EXPECT_TRUE(entry.Equals(Full()));
}

TEST_F(FolderEntryTest, EqualsIgnoresActionOrderFlagsAndBytes)
{
    FolderEntry a = Full();
    FolderEntry b = Full();
    std::swap(b.actions[0], b.actions[2]);
    std::swap(b.actions[1], b.actions[2]);
    b.flags = 0;
    b.min.bytes = 7;
    EXPECT_TRUE(a.Equals(b));
    EXPECT_TRUE(b.Equals(a));
}

// Each row changes one thing in a copy of Full(); all must make Equals false.
TEST_F(FolderEntryTest, EqualsSeesEveryComparedField)
{
    struct Case {
        const char* name;
        void (*change)(FolderEntry&, const FolderEntryTest&);
    };
    const Case cases[] = {
        {"min.value", [](FolderEntry& e, const FolderEntryTest&) { e.min.value = 1.25; }},
        {"min.units", [](FolderEntry& e, const FolderEntryTest&) { e.min.units = SizeUnit_MB; }},
        {"max.value NaN", [](FolderEntry& e, const FolderEntryTest&) { e.max.value = std::nan(""); }},
        {"max.units", [](FolderEntry& e, const FolderEntryTest&) { e.max.units = SizeUnit_TB; }},
        {"path case", [](FolderEntry& e, const FolderEntryTest&) { e.path = L"C:\\DATA"; }},
        {"path null", [](FolderEntry& e, const FolderEntryTest&) { e.path.reset(); }},
        {"min.msg", [](FolderEntry& e, const FolderEntryTest&) { e.min.msg = L"Low"; }},
        {"max.msg empty vs null", [](FolderEntry& e, const FolderEntryTest&) { e.max.msg.reset(); }},
        {"one action less", [](FolderEntry& e, const FolderEntryTest&) { e.actions.pop_back(); }},
        {"run params", [](FolderEntry& e, const FolderEntryTest&) {
             static_cast<RunParams*>(e.actions[1].params)->params = L"-X";
         }},
        {"other kind", [](FolderEntry& e, const FolderEntryTest& t) {
             e.actions.back().kind->FreeParams(e.actions.back().params);
             e.actions.back() = t.RunSlot(L"b.exe", L"-x");
         }},
    };
    const FolderEntry reference = Full();
    for (const Case& c : cases) {
        FolderEntry changed = Full();
        c.change(changed, *this);
        EXPECT_FALSE(changed.Equals(reference)) << c.name;
        EXPECT_FALSE(reference.Equals(changed)) << c.name;
    }
}

TEST_F(FolderEntryTest, NaNNeverEqualsItself)
{
    FolderEntry a;
    a.min.value = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(a.Equals(a));
}

TEST_F(FolderEntryTest, OneSlotMayServeSeveralAndNullRunBlocksNeverMatch)
{
    FolderEntry twoRuns, runAndLog;
    twoRuns.actions = {RunSlot(L"a", L""), RunSlot(L"a", L"")};
    runAndLog.actions = {RunSlot(L"a", L""), {nullptr, addToLog()}};
    EXPECT_TRUE(twoRuns.Equals(runAndLog)) << "both Run slots find the same counterpart";
    EXPECT_FALSE(runAndLog.Equals(twoRuns)) << "the log slot has none";

    FolderEntry nullBlock, otherNullBlock;
    nullBlock.actions = {{nullptr, run()}};
    otherNullBlock.actions = {{nullptr, run()}};
    EXPECT_FALSE(nullBlock.Equals(otherNullBlock));
}

TEST(ComputeBytes, ConvertsWithTheUnitFactorTruncating)
{
    struct Case {
        double value;
        std::uint16_t units;
        std::uint64_t bytes;
    };
    const Case cases[] = {
        {1.5, SizeUnit_KB, 1536},
        {0.0001, SizeUnit_B, 0},
        {1023.999, SizeUnit_B, 1023},
        {2.5, SizeUnit_MB, 2621440},
        {1.0, SizeUnit_GB, 1073741824},
        {3.0, SizeUnit_TB, 3298534883328},
        {9223372036854775808.0, SizeUnit_B, 9223372036854775808u},
        {16777215.0, SizeUnit_TB, 18446742974197923840u},
        {-1.0, SizeUnit_B, 18446744073709551615u},
        {1e30, SizeUnit_B, 9223372036854775808u},
        {5.0, 9, 5},
    };
    for (const Case& c : cases) {
        FolderEntry entry;
        entry.min.value = c.value;
        entry.min.units = c.units;
        entry.max.value = c.value;
        entry.max.units = c.units;
        entry.ComputeBytes();
        EXPECT_EQ(entry.min.bytes, c.bytes) << c.value << " in unit " << c.units;
        EXPECT_EQ(entry.max.bytes, c.bytes) << c.value << " in unit " << c.units;
    }
}

TEST(LimitUnitNames, AreTheFiveUnitsInOrder)
{
    const wchar_t* expected[] = {L"B", L"KB", L"MB", L"GB", L"TB"};
    for (std::size_t i = 0; i < kSizeUnitCount; ++i) {
        EXPECT_STREQ(LimitUnitNames[i], expected[i]);
        EXPECT_EQ(UnitFactor(static_cast<std::uint16_t>(i)), std::ldexp(1.0, 10 * static_cast<int>(i)));
    }
}

TEST_F(ConfigTest, RegistryHoldsTheThreeKindsInMenuOrderWithTheirBitmaps)
{
    ASSERT_EQ(kinds.Count(), 3u);
    const wchar_t* tags[] = {L"MsgBox", L"AddToLog", L"Run"};
    for (std::size_t i = 0; i < 3; ++i) {
        Action* kind = kinds.KindAt(i);
        EXPECT_EQ(kind->tag, tags[i]);
        EXPECT_EQ(kinds.FindKindByTag(tags[i]), kind);
        BITMAP info{};
        ASSERT_TRUE(kind->bitmap) << "no bitmap for " << i;
        ASSERT_NE(GetObjectW(kind->bitmap.get(), sizeof(info), &info), 0);
        EXPECT_EQ(info.bmWidth, 16);
        EXPECT_EQ(info.bmHeight, 16);
    }
    EXPECT_EQ(kinds.KindAt(3), nullptr);
    EXPECT_EQ(kinds.FindKindByTag(L"run"), nullptr) << "tags match case-sensitively";
    EXPECT_EQ(kinds.FindKindByTag(L"Folder"), nullptr);
    EXPECT_EQ(kinds.FindKindByTag(nullptr), nullptr);
}

} // namespace
} // namespace krn::test
