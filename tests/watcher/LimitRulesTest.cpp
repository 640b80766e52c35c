// Limits in bytes as the watcher compares them, and folder paths compared as
// the watcher matches them across reloads (WatchCoreTest has the rest).
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

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

TEST(SamePath, IgnoresCase)
{
    EXPECT_TRUE(SamePath(L"C:\\Data\\Logs", L"c:\\DATA\\logs"));
    EXPECT_FALSE(SamePath(L"C:\\Data\\Logs", L"C:\\Data\\Log"));
}

} // namespace
} // namespace krn::test
