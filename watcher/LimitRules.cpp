#include "watcher/LimitRules.h"

#include <cmath>
#include <limits>

#include "config/FolderEntry.h"

namespace krn {

std::optional<std::uint64_t> WatchedLimitBytes(double value, std::uint16_t units)
{
    if (std::isnan(value))
        return std::nullopt;
    const double bytes = value * UnitFactor(units);
    if (!(bytes > 0.0))
        return 0;
    // 2^64 is exactly representable; everything from it up saturates.
    if (bytes >= 18446744073709551616.0)
        return std::numeric_limits<std::uint64_t>::max();
    return static_cast<std::uint64_t>(bytes);
}

bool LimitTracker::Judge(const Measurement& measurement) noexcept
{
    const bool outside = IsOutside(measurement.bytes);
    if (!measurement.complete) {
        const bool provenOver = side_ == LimitSide::Maximum && outside;
        if (phase_ != Phase::Inside || !provenOver)
            return false;
        phase_ = Phase::Outside;
        return true;
    }
    switch (phase_) {
    case Phase::Unjudged:
        phase_ = outside ? Phase::Outside : Phase::Inside;
        return outside && !silentStart_;
    case Phase::Inside:
        if (!outside)
            return false;
        phase_ = Phase::Outside;
        return true;
    case Phase::Outside:
        if (!outside)
            phase_ = Phase::Inside;
        return false;
    }
    return false;
}

} // namespace krn
