#include <cmath>

#include "tests/config/ConfigFixture.h"

namespace krn::test {
namespace {

class FolderEntryTest : public ConfigTest {
public:
    // Both limits and one action of each kind.
    FolderEntry Full() const
    {
        FolderEntry entry;
        entry.path = L"C:\\Data";
        entry.flags = FolderEntry::HasMin | FolderEntry::HasMax;
        entry.min = {1.5, SizeUnit_KB, 1536, L"low"};
        entry.max = {2.0, SizeUnit_GB, 0, L""};
        entry.actions = {{nullptr, msgBox()}, RunSlot(L"a.exe", L"-x"), {nullptr, addToLog()}};
        return entry;
    }
};

TEST_F(FolderEntryTest, CopyIsDeepAndResetEmptiesTheEntry)
{
    FolderEntry original = Full();
    FolderEntry copy(original);
    EXPECT_TRUE(copy.Equals(original));
    EXPECT_EQ(copy.min.bytes, 1536u);
    Params(original.actions[1]).path = L"b.exe";
    EXPECT_EQ(*Params(copy.actions[1]).path, L"a.exe") << "the Run block must be cloned";
    copy.Reset();
    EXPECT_TRUE(copy.Equals(FolderEntry()));
    EXPECT_TRUE(copy.actions.empty() && !copy.path && copy.flags == 0);
}

// Each row changes one thing in a copy of Full(); Equals must see all but the
// last ones, which it deliberately ignores.
TEST_F(FolderEntryTest, EqualsComparesWhatItMustAndNothingElse)
{
    using Change = void (*)(FolderEntry&, const FolderEntryTest&);
    const std::tuple<const char*, Change, bool> cases[] = {
        {"min.value", [](FolderEntry& e, const FolderEntryTest&) { e.min.value = 1.25; }, false},
        {"min.units", [](FolderEntry& e, const FolderEntryTest&) { e.min.units = SizeUnit_MB; }, false},
        {"max.value NaN", [](FolderEntry& e, const FolderEntryTest&) { e.max.value = std::nan(""); }, false},
        {"max.units", [](FolderEntry& e, const FolderEntryTest&) { e.max.units = SizeUnit_TB; }, false},
        {"path case", [](FolderEntry& e, const FolderEntryTest&) { e.path = L"C:\\DATA"; }, false},
        {"path null", [](FolderEntry& e, const FolderEntryTest&) { e.path.reset(); }, false},
        {"min.msg", [](FolderEntry& e, const FolderEntryTest&) { e.min.msg = L"Low"; }, false},
        {"max.msg null, not empty", [](FolderEntry& e, const FolderEntryTest&) { e.max.msg.reset(); }, false},
        {"one action less", [](FolderEntry& e, const FolderEntryTest&) { e.actions.pop_back(); }, false},
        {"run params", [](FolderEntry& e, const FolderEntryTest&) { Params(e.actions[1]).params = L"-X"; }, false},
        {"run path case", [](FolderEntry& e, const FolderEntryTest&) { Params(e.actions[1]).path = L"A.EXE"; }, false},
        {"flags and bytes", [](FolderEntry& e, const FolderEntryTest&) { e.flags = 0, e.min.bytes = 7; }, true},
        {"action order", [](FolderEntry& e, const FolderEntryTest&) { std::swap(e.actions[0], e.actions[2]); }, true},
    };
    const FolderEntry reference = Full();
    for (const auto& [name, change, equal] : cases) {
        FolderEntry changed = Full();
        change(changed, *this);
        EXPECT_EQ(changed.Equals(reference), equal) << name;
        EXPECT_EQ(reference.Equals(changed), equal) << name;
    }
}

TEST_F(FolderEntryTest, OneSlotMayServeSeveralAndNullRunBlocksNeverMatch)
{
    FolderEntry twoRuns, runAndLog, nullBlock;
    twoRuns.actions = {RunSlot(L"a", L""), RunSlot(L"a", L"")};
    runAndLog.actions = {RunSlot(L"a", L""), {nullptr, addToLog()}};
    nullBlock.actions = {{nullptr, run()}};
    EXPECT_TRUE(twoRuns.Equals(runAndLog)) << "both Run slots find the same counterpart";
    EXPECT_FALSE(runAndLog.Equals(twoRuns)) << "the log slot has none";
    EXPECT_FALSE(nullBlock.Equals(nullBlock));
}

TEST(ComputeBytes, TruncatesFactorTimesValueOverTheFullUnsignedRange)
{
    const std::tuple<double, std::uint16_t, std::uint64_t> cases[] = {
        {1.5, SizeUnit_KB, 1536}, {0.0001, SizeUnit_B, 0}, {1023.999, SizeUnit_B, 1023},
        {2.5, SizeUnit_MB, 2621440}, {3.0, SizeUnit_TB, 3298534883328}, {1.0, SizeUnit_GB, 1073741824},
        {9223372036854775808.0, SizeUnit_B, 9223372036854775808u}, {16777215.0, SizeUnit_TB, 18446742974197923840u},
        {-1.0, SizeUnit_B, 18446744073709551615u}, {1e30, SizeUnit_B, 9223372036854775808u},
    };
    for (const auto& [value, units, bytes] : cases) {
        FolderEntry entry;
        entry.min = entry.max = {value, units, 0, std::nullopt};
        entry.ComputeBytes();
        EXPECT_EQ(entry.min.bytes, bytes) << value << " in unit " << units;
        EXPECT_EQ(entry.max.bytes, bytes) << value << " in unit " << units;
    }
}

TEST_F(ConfigTest, RegistryFindsKindsByExactTagAndGivesThemTheirBitmaps)
{
    ASSERT_EQ(kinds.Count(), 3u);
    const wchar_t* tags[] = {L"MsgBox", L"AddToLog", L"Run"};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(kinds.FindKindByTag(tags[i]), kinds.KindAt(i));
        BITMAP info{};
        ASSERT_NE(GetObjectW(kinds.KindAt(i)->bitmap.get(), sizeof(info), &info), 0) << tags[i];
        EXPECT_EQ(info.bmWidth * info.bmHeight, 256) << tags[i];
    }
    EXPECT_EQ(kinds.KindAt(3), nullptr);
    EXPECT_EQ(kinds.FindKindByTag(L"run"), nullptr);
    EXPECT_EQ(kinds.FindKindByTag(nullptr), nullptr);
}

} // namespace
} // namespace krn::test
