#include <cmath>

#include "tests/config/ConfigFixture.h"

namespace krn::test {
namespace {

class FolderEntryTest : public ConfigTest {
public:
    // Both limits and one action of each kind.
    std::unique_ptr<FolderEntry> Full() const
    {
        return Entry(L"C:\\Data", FolderEntry::HasMin | FolderEntry::HasMax, {1.5, SizeUnit_KB, 1536, L"low"},
                     {2.0, SizeUnit_GB, 0, L""}, Slots(Slot(msgBox()), RunSlot(L"a.exe", L"-x"), Slot(addToLog())));
    }
};

// A copy is deep and equal; one slot may serve as counterpart to several, and
// null Run blocks and NaNs never match.
TEST_F(FolderEntryTest, CopyResetAndCounterparts)
{
    const auto original = Full();
    FolderEntry copy(*original);
    EXPECT_TRUE(copy.Equals(*original));
    EXPECT_EQ(copy.min.bytes, 1536u) << "bytes are copied too, though Equals ignores them";
    Params(original->actions[1]).path = L"b.exe";
    EXPECT_EQ(*Params(copy.actions[1]).path, L"a.exe") << "the Run block must be cloned";
    copy.Reset();
    EXPECT_TRUE(copy.Equals(FolderEntry()));
    EXPECT_EQ(copy.flags, 0u) << "which Equals ignores";
    const auto twoRuns = Entry(L"", 0, {}, {}, Slots(RunSlot(L"a", L""), RunSlot(L"a", L"")));
    const auto runAndLog = Entry(L"", 0, {}, {}, Slots(RunSlot(L"a", L""), Slot(addToLog())));
    const auto nullBlock = Entry(L"", 0, {}, {}, Slots(Slot(run())));
    const auto nan = Entry(std::nullopt, 0, {std::nan(""), 0, 0, std::nullopt}, {});
    EXPECT_TRUE(twoRuns->Equals(*runAndLog)) << "both Run slots find the same counterpart";
    EXPECT_FALSE(runAndLog->Equals(*twoRuns)) << "the log slot has none";
    EXPECT_FALSE(nullBlock->Equals(*nullBlock)) << "a null Run block matches nothing, not even itself";
    EXPECT_FALSE(nan->Equals(*nan)) << "a NaN limit matches nothing";
}

// Each row changes one thing in a copy of Full(); Equals must see all but the
// last ones, which it deliberately ignores.
TEST_F(FolderEntryTest, EqualsComparesWhatItMustAndNothingElse)
{
    const std::tuple<const char*, void (*)(FolderEntry&), bool> cases[] = {
        {"min.value", [](FolderEntry& e) { e.min.value = 1.25; }, false},
        {"min.units", [](FolderEntry& e) { e.min.units = SizeUnit_MB; }, false},
        {"max.value NaN", [](FolderEntry& e) { e.max.value = std::nan(""); }, false},
        {"max.units", [](FolderEntry& e) { e.max.units = SizeUnit_TB; }, false},
        {"path case", [](FolderEntry& e) { e.path = L"C:\\DATA"; }, false},
        {"path null", [](FolderEntry& e) { e.path.reset(); }, false},
        {"min.msg", [](FolderEntry& e) { e.min.msg = L"Low"; }, false},
        {"max.msg null, not empty", [](FolderEntry& e) { e.max.msg.reset(); }, false},
        {"one action less", [](FolderEntry& e) { e.actions.pop_back(); }, false},
        {"run params", [](FolderEntry& e) { Params(e.actions[1]).params = L"-X"; }, false},
        {"run path case", [](FolderEntry& e) { Params(e.actions[1]).path = L"A.EXE"; }, false},
        {"flags and bytes", [](FolderEntry& e) { e.flags = 0, e.min.bytes = 7; }, true},
        {"action order", [](FolderEntry& e) { std::swap(e.actions[0], e.actions[2]); }, true},
    };
    const auto reference = Full();
    for (const auto& [name, change, equal] : cases) {
        const auto changed = Full();
        change(*changed);
        EXPECT_EQ(changed->Equals(*reference), equal) << name;
        EXPECT_EQ(reference->Equals(*changed), equal) << name;
    }
}

TEST(ComputeBytes, TruncatesFactorTimesValueOverTheFullUnsignedRange)
{
    const std::tuple<double, std::uint16_t, std::uint64_t> cases[] = {
        {1.5, SizeUnit_KB, 1536}, {0.0001, SizeUnit_B, 0}, {1023.999, SizeUnit_B, 1023}, {2.5, SizeUnit_MB, 2621440},
        {3.0, SizeUnit_TB, 3298534883328}, {1.0, SizeUnit_GB, 1073741824}, {-1.0, SizeUnit_B, 18446744073709551615u},
        {9223372036854775808.0, SizeUnit_B, 9223372036854775808u}, {16777215.0, SizeUnit_TB, 18446742974197923840u},
        {1e30, SizeUnit_B, 9223372036854775808u},
    };
    for (const auto& [value, units, bytes] : cases) {
        FolderEntry entry;  // both limits, whether in force or not
        entry.min = entry.max = {value, units, 0, std::nullopt};
        entry.ComputeBytes();
        EXPECT_EQ(entry.min.bytes, bytes) << "min: " << value << " in " << units;
        EXPECT_EQ(entry.max.bytes, bytes) << "max: " << value << " in " << units;
    }
}

} // namespace
} // namespace krn::test
