// A folder's entry: copies, what Equals compares, the bytes of its limits,
// and the "Value" of a limit: the text the writer makes and the number the
// reader takes from any text, hand-edited ones included. Then sizes as text
// and where the files go.
#include <shlobj.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <string>

#include "config/Locations.h"
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

constexpr double kInf = std::numeric_limits<double>::infinity();

struct Reading {
    std::wstring text;
    double value;
    const char* why = "";
};

// Leading blanks, a sign, then the longest decimal number with "." as the
// decimal point; whatever follows is ignored, and text without a number is 0.
// Read under a locale whose decimal point is a comma: the reader ignores it.
TEST(ParseLimitValue, ReadsTheLongestDecimalNumberAfterBlanksWhateverTheLocale)
{
    const Reading readings[] = {
        {L"1.5", 1.5}, {L" \t\r\n\v\f4", 4, "every blank of the C locale"}, {L"+7", 7}, {L"-.5", -0.5}, {L"5.", 5},
        {L"2.5E2", 250}, {L"1e-3", 0.001}, {L"1e+", 1, "an exponent needs digits"}, {L"1.5.5", 1.5},
        {L"0x1A", 0, "no hexadecimal: the 0 and nothing more"}, {L"1,5", 1, "a comma is not a decimal point"},
        {L"abc", 0}, {L"", 0}, {L".", 0}, {L"- 1", 0, "no blank between sign and digits"}, {L"+-1", 0},
        {L"\x0661", 0, "only ASCII digits"},
        {L"  -0", -0.0, "the sign is kept: the writer writes -0 for negative zero"},
        {L"123456789012345678901234567890", 123456789012345678901234567890.0, "rounded once, to the nearest double"},
        {L"0.1000000000000000000000000000000000001", 0.1}, {std::wstring(400, L'9'), kInf, "beyond every double"},
        {L"0." + std::wstring(400, L'0') + L"1", 0, "below every double"}, {L"1.7976931348623157e308", DBL_MAX},
        {L"4.9e-324", std::numeric_limits<double>::denorm_min()},
        {L"1e400", kInf, "the nearest value; the writer's own text for infinity reads back so"}, {L"-1e400", -kInf},
        {L"1e-400", 0}, {L"-1e-400", -0.0},
        // Not decimal numbers, so 0 like any text without one: a hand-edited
        // limit of 0 is refused by the folder dialog the next time the entry is
        // edited, while a NaN would never compare equal nor ever trigger.
        {L"NaN", 0}, {L"-inf", 0}, {L"Infinity", 0},
    };
    const DecimalCommaLocale german;
    ASSERT_EQ(*localeconv()->decimal_point, ',');
    for (const Reading& r : readings) {
        const double value = ParseLimitValue(r.text.c_str());
        EXPECT_EQ(value, r.value) << testing::PrintToString(r.text) << " " << r.why;
        EXPECT_EQ(std::signbit(value), std::signbit(r.value)) << "sign of " << testing::PrintToString(r.text);
    }
    EXPECT_EQ(ParseLimitValue(nullptr), 0.0) << "no text";
}

// The writer's text is a plain decimal number, whatever the locale, that reads
// back to the very same double; infinities, which have none, are written as
// numbers beyond every double.
TEST(FormatLimitValue, ReadsBackBitForBit)
{
    const DecimalCommaLocale german;
    const double values[] = {0.0, -0.0, -3.25, 0.1, 0.1 + 0.2, 1.0 / 3.0, 123456789.125, 1e22, 9007199254740993.0,
                             DBL_EPSILON, 1e-300, std::numeric_limits<double>::denorm_min(), DBL_MIN, DBL_MAX, -DBL_MAX,
                             kInf, -kInf};
    for (const double value : values) {
        const std::wstring text = FormatLimitValue(value);
        SCOPED_TRACE(testing::PrintToString(text));
        EXPECT_TRUE(std::isinf(value) || text.find_first_not_of(L"-0123456789.") == std::wstring::npos);
        const double back = ParseLimitValue(text.c_str());
        EXPECT_EQ(back, value);
        EXPECT_EQ(std::signbit(back), std::signbit(value));
    }
}

TEST(FormatSize, GivesTheTextsOfTheExamplesTable)
{
    const std::pair<std::uint64_t, const wchar_t*> cases[] = {
        {0, L"0 B"}, {999, L"999 B"}, {1023, L"1 023 B"}, {1024, L"1.00 KB"}, {1536, L"1.50 KB"},
        {999999, L"976.56 KB"}, {1048575, L"1 024.00 KB"}, {1048576, L"1.00 MB"}, {123456789, L"117.74 MB"},
        {1099511627775, L"1 024.00 GB"}, {1099511627776000, L"1 000.00 TB"},
        {18446744073709551615u, L"16 777 216.00 TB"},
    };
    for (const auto& [bytes, expected] : cases) {
        wchar_t text[kFormatSizeChars];
        EXPECT_STREQ(FormatSize(bytes, text), expected) << bytes;
    }
}

class LocationsTest : public ScratchTest {};

TEST_F(LocationsTest, ConfigPathMakesItsFoldersAndStopsAtTheBoundAndTheLogGoesToDocuments)
{
    const std::wstring tail = L"\\Norlath\\Kestrune\\config.xml";
    for (int run = 0; run < 2; ++run) {  // a second run finds the folders in place
        wchar_t path[kConfigPathChars] = {};
        ASSERT_EQ(SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, path), S_OK);
        ASSERT_EQ(BuildConfigPath(path), 0u);
        EXPECT_EQ(std::wstring(path), scratch.appData() + tail);
        EXPECT_NE(GetFileAttributesW((scratch.appData() + L"\\Norlath\\Kestrune").c_str()), INVALID_FILE_ATTRIBUTES);
    }
    for (std::size_t length : {519 - tail.size(), 520 - tail.size(), std::size_t{519}}) {
        wchar_t path[kConfigPathChars] = {};
        const std::wstring base = scratch.root() + L"\\" + std::wstring(length - scratch.root().size() - 1, L'x');
        wcscpy(path, base.c_str());
        EXPECT_EQ(BuildConfigPath(path), length + tail.size() < 520 ? 0u : 14u) << length;
    }
    wchar_t log[kLogPathChars] = {};
    ASSERT_EQ(GetDefaultLogPath(log), 0u);
    EXPECT_EQ(std::wstring(log), scratch.documents() + L"\\NorlathKestrune.log");
}

} // namespace
} // namespace krn::test
