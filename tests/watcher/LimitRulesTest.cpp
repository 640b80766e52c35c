// The watcher's rules without the clock: limits in bytes, when a limit fires
// and re-arms, what a reload keeps, and the start-up silence.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "watcher/LimitRules.h"
#include "watcher/WatchPlan.h"

namespace krn::test {
namespace {

constexpr std::uint64_t kAll = std::numeric_limits<std::uint64_t>::max();

TEST(WatchedLimitBytes, ValueTimesUnit)
{
    const struct {
        double value;
        std::uint16_t units;
        std::optional<std::uint64_t> bytes;
    } cases[] = {
        {1, SizeUnit_B, 1},
        {1, SizeUnit_KB, 1024},
        {1.5, SizeUnit_MB, 1572864},
        {2, SizeUnit_GB, 2147483648ull},
        {3, SizeUnit_TB, 3298534883328ull},
        {1023.9, SizeUnit_B, 1023},      // truncated toward zero
        {1, 9, 1},                        // a unit outside the table counts as bytes
        {0, SizeUnit_KB, 0},
        {-5, SizeUnit_KB, 0},             // negative: 0 bytes, not a wrapped huge number
        {-0.0, SizeUnit_MB, 0},
        {-std::numeric_limits<double>::infinity(), SizeUnit_B, 0},
        {std::numeric_limits<double>::infinity(), SizeUnit_B, kAll},
        {1e30, SizeUnit_TB, kAll},
        {16777216, SizeUnit_TB, kAll},    // exactly 2^64
        {std::nan(""), SizeUnit_KB, std::nullopt},  // not watched
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.value << " in unit " << c.units);
        EXPECT_EQ(WatchedLimitBytes(c.value, c.units), c.bytes);
    }
}

struct Step {
    std::uint64_t size;
    bool complete;
    bool fires;
    LimitTracker::Phase phase;
};

using Phase = LimitTracker::Phase;

void JudgeEach(LimitTracker tracker, const std::vector<Step>& steps)
{
    for (size_t i = 0; i < steps.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "step " << i << ": size " << steps[i].size
                                        << (steps[i].complete ? " complete" : " partial"));
        EXPECT_EQ(tracker.Judge({steps[i].size, steps[i].complete}), steps[i].fires);
        EXPECT_EQ(tracker.phase(), steps[i].phase);
    }
}

TEST(LimitTracker, MaximumFiresOncePerCrossing)
{
    JudgeEach(LimitTracker(LimitSide::Maximum, 1024, false), {
                                                           {0, true, false, Phase::Inside},
                                                           {1024, true, false, Phase::Inside},  // at the limit: inside
                                                           {1025, true, true, Phase::Outside},
                                                           {4096, true, false, Phase::Outside},  // stays over: silent
                                                           {1024, true, false, Phase::Inside},   // back: re-armed
                                                           {2048, true, true, Phase::Outside},
                                                       });
}

TEST(LimitTracker, MinimumFiresOncePerCrossing)
{
    JudgeEach(LimitTracker(LimitSide::Minimum, 1024, false), {
                                                           {4096, true, false, Phase::Inside},
                                                           {1024, true, false, Phase::Inside},
                                                           {1023, true, true, Phase::Outside},
                                                           {0, true, false, Phase::Outside},
                                                           {2048, true, false, Phase::Inside},
                                                           {10, true, true, Phase::Outside},
                                                       });
}

TEST(LimitTracker, FirstCompleteMeasurementOutsideFires)
{
    JudgeEach(LimitTracker(LimitSide::Maximum, 1024, false), {{5000, true, true, Phase::Outside}});
    JudgeEach(LimitTracker(LimitSide::Minimum, 1024, false), {{0, true, true, Phase::Outside}});
}

// "Disable alerts on startup": silent until the folder came back inside.
TEST(LimitTracker, SilentStartWaitsForTheNextCrossing)
{
    JudgeEach(LimitTracker(LimitSide::Maximum, 1024, true), {
                                                          {5000, true, false, Phase::Outside},
                                                          {6000, true, false, Phase::Outside},
                                                          {0, true, false, Phase::Inside},
                                                          {5000, true, true, Phase::Outside},
                                                      });
    JudgeEach(LimitTracker(LimitSide::Minimum, 1024, true), {
                                                          {0, true, false, Phase::Outside},
                                                          {2048, true, false, Phase::Inside},
                                                          {0, true, true, Phase::Outside},
                                                      });
    JudgeEach(LimitTracker(LimitSide::Maximum, 1024, true), {
                                                          {10, true, false, Phase::Inside},
                                                          {5000, true, true, Phase::Outside},
                                                      });
}

// While the engine's first scan runs its total only grows toward the truth.
TEST(LimitTracker, PartialTotals)
{
    // never the first judgement, whatever the side
    JudgeEach(LimitTracker(LimitSide::Maximum, 1024, false), {
                                                           {5000, false, false, Phase::Unjudged},
                                                           {0, false, false, Phase::Unjudged},
                                                           {5000, true, true, Phase::Outside},
                                                       });
    // never a minimum: "so far" below the minimum proves nothing
    JudgeEach(LimitTracker(LimitSide::Minimum, 1024, false), {
                                                           {4096, true, false, Phase::Inside},
                                                           {0, false, false, Phase::Inside},
                                                           {10, true, true, Phase::Outside},
                                                           {4096, false, false, Phase::Outside},  // no re-arm
                                                       });
    // a maximum already exceeded by what was found so far is exceeded
    JudgeEach(LimitTracker(LimitSide::Maximum, 1024, false), {
                                                           {10, true, false, Phase::Inside},
                                                           {2048, false, true, Phase::Outside},
                                                           {0, false, false, Phase::Outside},  // no re-arm
                                                           {0, true, false, Phase::Inside},
                                                       });
}

FolderPlan Plan(const wchar_t* path, std::optional<std::uint64_t> max, std::optional<std::uint64_t> min)
{
    FolderPlan plan;
    plan.path = path;
    if (max)
        plan.max = LimitPlan{*max, L""};
    if (min)
        plan.min = LimitPlan{*min, L""};
    return plan;
}

// A reload keeps the state of a limit whose byte count did not change.
TEST(CarryLimits, KeepsUnchangedLimits)
{
    FolderLimits before = CarryLimits(Plan(L"C:\\Data", 1024, 10), nullptr, false);
    ASSERT_TRUE(before.max);
    ASSERT_TRUE(before.min);
    EXPECT_TRUE(before.max->Judge({5000, true}));
    EXPECT_FALSE(before.min->Judge({5000, true}));

    const struct {
        const char* name;
        FolderPlan plan;
        std::optional<Phase> max;  // none: no tracker
        std::optional<Phase> min;
    } cases[] = {
        {"same limits", Plan(L"C:\\Data", 1024, 10), Phase::Outside, Phase::Inside},
        {"maximum changed", Plan(L"C:\\Data", 2048, 10), Phase::Unjudged, Phase::Inside},
        {"minimum removed", Plan(L"C:\\Data", 1024, std::nullopt), Phase::Outside, std::nullopt},
        {"minimum changed", Plan(L"C:\\Data", 1024, 11), Phase::Outside, Phase::Unjudged},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const FolderLimits after = CarryLimits(c.plan, &before, false);
        EXPECT_EQ(after.max.has_value(), c.max.has_value());
        EXPECT_EQ(after.min.has_value(), c.min.has_value());
        if (after.max && c.max) {
            EXPECT_EQ(after.max->phase(), *c.max);
        }
        if (after.min && c.min) {
            EXPECT_EQ(after.min->phase(), *c.min);
        }
    }
    const FolderLimits fresh = CarryLimits(Plan(L"C:\\Data", 1024, 10), nullptr, false);
    EXPECT_EQ(fresh.max->phase(), Phase::Unjudged) << "a folder new to the plan";
}

TEST(SamePath, IgnoresCase)
{
    EXPECT_TRUE(SamePath(L"C:\\Data\\Logs", L"c:\\DATA\\logs"));
    EXPECT_FALSE(SamePath(L"C:\\Data\\Logs", L"C:\\Data\\Log"));
}

} // namespace
} // namespace krn::test
