// A folder's history with a clock of the test's own: what is sampled, how it
// thins with age and stays within its bound, the growth and the forecast
// read from it, and its stored form. Then the histories' file: kept across a
// restart, a save that failed included, and set aside when it cannot be read
// as ours.
#include "engine/FolderHistory.h"
#include "engine/HistoryStore.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace engine {

void PrintTo(const HistorySample& sample, std::ostream* out) { *out << sample.minute << ":" << sample.bytes; }

namespace {

using namespace krn::test;

constexpr std::uint32_t kStart = 220'000'000;  // minutes since 1601: in 2019
constexpr std::uint32_t kHour = 60, kDay = 24 * kHour;
constexpr std::uint64_t kGB = 1ull << 30;

// Records `total(minute)` every `step` minutes for `minutes`, from kStart;
// every 5 minutes over the last `fineMinutes`.
FolderHistory Follow(std::uint32_t minutes, std::uint32_t step, const std::function<std::uint64_t(std::uint32_t)>& total,
                     std::uint32_t fineMinutes = 0)
{
    FolderHistory history;
    for (std::uint32_t t = 0; t <= minutes; t += t + fineMinutes >= minutes ? 5 : step)
        history.Record(kStart + t, total(t));
    return history;
}

TEST(FolderHistory, SamplesChangesAtMostEveryFiveMinutesAndForgetsAFutureTheClockLeft)
{
    FolderHistory history;
    history.Record(kStart, 100);
    history.Record(kStart + 2, 200);   // too soon
    history.Record(kStart + 10, 100);  // unchanged
    history.Record(kStart + 20, 300);
    history.Record(kStart + 40, 400);
    EXPECT_EQ(history.Samples(), (std::vector<HistorySample>{{kStart, 100}, {kStart + 20, 300}, {kStart + 40, 400}}));
    history.Record(kStart + 30, 400);  // the clock went back ten minutes
    EXPECT_EQ(history.Samples(), (std::vector<HistorySample>{{kStart, 100}, {kStart + 20, 300}, {kStart + 30, 400}}));
    history.Record(kStart + 12, 400);  // and back before the last sample, with its total
    EXPECT_EQ(history.Samples(), (std::vector<HistorySample>{{kStart, 100}, {kStart + 12, 400}}));
}

// Two years and a month of a folder that changes at every sample: the
// history stays within its bound, keeps nothing older than two years, and
// keeps the last two days at five-minute spacing.
TEST(FolderHistory, TwoYearsOfChangesStayWithinTheBoundAndThinWithAge)
{
    const std::uint32_t span = 760 * kDay;
    const FolderHistory history =
        Follow(span, 60, [](std::uint32_t t) { return std::uint64_t{t} * 1000 + t % 7; }, 3 * kDay);
    const std::vector<HistorySample> samples = history.Samples();
    EXPECT_LE(history.EncodedSize(), FolderHistory::kMaxBytes);
    EXPECT_GE(samples.front().minute, kStart + span - 730 * kDay);
    EXPECT_EQ(samples.back().minute, kStart + span);
    size_t recent = 0;
    for (const HistorySample& sample : samples)
        recent += sample.minute > kStart + span - 2 * kDay;
    EXPECT_GE(recent, 2u * kDay / 5 - 1) << "the last two days are kept at five-minute spacing";
    for (size_t i = 1; i < samples.size(); ++i) {
        if (kStart + span - samples[i].minute > 31 * kDay) {
            EXPECT_GE(samples[i].minute - samples[i - 1].minute, kDay - 60) << "older than a month: daily or thinner";
        }
    }
}

TEST(FolderHistory, GrowthIsMeasuredFromTheTotalThen)
{
    const FolderHistory history = Follow(10 * kDay, kHour, [](std::uint32_t t) { return t / kDay * kGB; });
    const std::uint32_t now = kStart + 10 * kDay;
    EXPECT_EQ(history.Growth(now, 10 * kGB, kDay), std::optional<std::int64_t>(std::int64_t(kGB)));
    EXPECT_EQ(history.Growth(now, 10 * kGB, 7 * kDay), std::optional<std::int64_t>(std::int64_t(7 * kGB)));
    EXPECT_EQ(history.Growth(now, 2 * kGB, kDay), std::optional<std::int64_t>(-std::int64_t(7 * kGB)));
    EXPECT_EQ(history.Growth(now, 10 * kGB, 11 * kDay), std::nullopt) << "younger than that";
    // Flat for days after its last change: a day's growth is none.
    EXPECT_EQ(history.Growth(now + 5 * kDay, 10 * kGB, kDay), std::optional<std::int64_t>(0));
}

TEST(FolderHistory, ForecastsOnlyASteadyRise)
{
    const std::uint64_t limit = 20 * kGB;
    const struct {
        const char* name;
        std::uint32_t days;
        std::function<std::uint64_t(std::uint32_t)> total;
        std::optional<double> expectedDays;  // from the last day's total to the limit
    } kCases[] = {
        {"steady, 1 GB a day", 7, [](std::uint32_t t) { return 5 * kGB + t * kGB / kDay; }, 8.0},
        {"steady with noise", 7,
         [](std::uint32_t t) { return 5 * kGB + t * kGB / kDay + (t / 60 % 5) * kGB / 20; }, 8.0},
        {"one step, flat around it", 6, [](std::uint32_t t) { return t < 3 * kDay ? 5 * kGB : 9 * kGB; }, {}},
        {"shrinking", 7, [](std::uint32_t t) { return 15 * kGB - t * kGB / kDay / 2; }, {}},
        {"flat", 7, [](std::uint32_t) { return 5 * kGB; }, {}},
        {"erratic", 7, [](std::uint32_t t) { return (t * 7919u % 13u) * kGB; }, {}},
        {"younger than a day", 0, [](std::uint32_t t) { return 5 * kGB + t * kGB / kHour; }, {}},
        {"deleted and made again, rising since", 7,
         [](std::uint32_t t) { return t < kDay ? 12 * kGB : (t - kDay) * kGB / kDay; }, 14.0},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.name);
        const std::uint32_t minutes = c.days ? c.days * kDay : 12 * kHour;
        const FolderHistory history = Follow(minutes, 30, c.total);
        const std::optional<std::uint32_t> until = history.MinutesUntil(kStart + minutes, c.total(minutes), limit);
        if (!c.expectedDays) {
            EXPECT_EQ(until, std::nullopt) << *until / double(kDay) << " days";
        } else {
            ASSERT_TRUE(until.has_value());
            EXPECT_NEAR(*until / double(kDay), *c.expectedDays - 0.0, 0.6);
        }
    }
}

TEST(FolderHistory, StoredFormReadsBackAndAnythingElseIsRefused)
{
    const FolderHistory history = Follow(3 * kDay, 60, [](std::uint32_t t) { return 5000 + t * 3; });
    const std::vector<std::uint8_t>& stored = history.Encoded();
    EXPECT_EQ(FolderHistory::Decode(stored).value_or(FolderHistory()).Samples(), history.Samples());
    const std::vector<std::uint8_t> torn(stored.begin(), stored.end() - 1), backwards = {10, 2, 0, 2};
    EXPECT_FALSE(FolderHistory::Decode(torn)) << "cut in its last sample";
    EXPECT_FALSE(FolderHistory::Decode(backwards)) << "a sample that does not move on in time";
    EXPECT_FALSE(FolderHistory::Decode(std::vector<std::uint8_t>(FolderHistory::kMaxBytes + 2, 1))) << "past the bound";
    EXPECT_TRUE(FolderHistory::Decode({})) << "no samples yet";
}

const std::wstring kFolder = L"\\\\?\\C:\\Data";

TEST(HistoryStore, ARestartKeepsEveryFoldersHistoryUnderItsNameInAnyCase)
{
    TempFolder temp;
    const std::wstring file = temp / L"sub\\history.bin";
    {
        HistoryStore store(file);
        store.Record(kFolder, kStart, 100);
        store.Record(kFolder, kStart + 60, 200);
        store.Record(L"\\\\?\\UNC\\server\\share", kStart, 7);
        WriteFileBytes(temp / L"sub", "");  // a file where the file's folder goes
        EXPECT_FALSE(store.Save());
        DeleteFileW((temp / L"sub").c_str());
        ASSERT_TRUE(store.Save()) << "the next save writes what the failed one could not";
    }
    const HistoryStore again(file);
    EXPECT_EQ(again.Find(L"\\\\?\\c:\\DATA").value_or(FolderHistory()).Samples(),
              (std::vector<HistorySample>{{kStart, 100}, {kStart + 60, 200}}));
    EXPECT_TRUE(again.Find(L"\\\\?\\UNC\\server\\share").has_value());
    EXPECT_FALSE(again.Find(L"\\\\?\\C:\\Other").has_value());
    EXPECT_EQ(GetFileAttributesW((file + L".new").c_str()), INVALID_FILE_ATTRIBUTES) << "the file written aside stays behind";
}

TEST(HistoryStore, AFileThatIsNotOursIsSetAsideAndHistoryStartsAgain)
{
    Histories histories;
    histories[kFolder].Record(kStart, 100);
    const std::vector<std::uint8_t> ours = SerializeHistories(histories);
    const struct {
        const char* name;
        std::string bytes;
    } kFiles[] = {
        {"torn", std::string(ours.begin(), ours.end() - 3)},
        {"one byte changed", [&] { std::string b(ours.begin(), ours.end()); b[12] ^= 1; return b; }()},
        {"another format", "<?xml version=\"1.0\"?><Configuration/>"},
        {"empty", ""},
    };
    for (const auto& c : kFiles) {
        SCOPED_TRACE(c.name);
        TempFolder temp;
        const std::wstring file = temp / L"history.bin";
        WriteFileBytes(file, c.bytes);
        HistoryStore store(file);
        EXPECT_FALSE(store.Find(kFolder).has_value());
        EXPECT_EQ(ReadFileBytes(file + L".bad"), c.bytes);
        store.Record(kFolder, kStart, 5);
        EXPECT_TRUE(store.Save());
        EXPECT_TRUE(HistoryStore(file).Find(kFolder).has_value()) << "history started again";
    }
}

} // namespace
} // namespace engine
