// When a folder's size calls for its actions: the limits in bytes as the
// watcher uses them, and the state of one limit between two measurements.
// Nothing here waits or calls out, so every rule can be checked directly.
#pragma once

#include <cstdint>
#include <optional>

namespace krn {

enum class LimitSide { Maximum, Minimum };

// The limit in bytes the watcher compares with: value times the unit's
// factor, truncated toward zero. A file edited by hand may hold what the
// folder dialog refuses: NaN leaves the limit unwatched (nullopt); a negative
// value counts as 0 bytes (a maximum then means "any byte at all", a minimum
// is never undercut); a value beyond the 64-bit range, infinity included,
// counts as the largest byte count.
std::optional<std::uint64_t> WatchedLimitBytes(double value, std::uint16_t units);

// One size answer from the size engine. `complete` is false while the
// engine's first scan of the folder runs: the total is then only what was
// found so far, a lower bound.
struct Measurement {
    std::uint64_t bytes = 0;
    bool complete = false;
};

// One limit of one folder. A crossing fires once; the limit re-arms only when
// the size is seen back inside it.
class LimitTracker {
public:
    enum class Phase {
        Unjudged,  // no complete measurement yet
        Inside,    // armed
        Outside,   // fired (or silenced at start-up); waits to come back
    };

    // `silentStart`: a folder found outside the limit by its first complete
    // measurement stays silent ("Disable alerts on startup").
    LimitTracker(LimitSide side, std::uint64_t bytes, bool silentStart) noexcept
        : side_(side), bytes_(bytes), silentStart_(silentStart)
    {
    }

    // True when this measurement crosses the limit: the folder's actions run.
    // A partial total can only prove that a maximum is exceeded, and only for
    // a limit already judged inside; it never re-arms and never decides a
    // minimum or the first judgement.
    bool Judge(const Measurement& measurement) noexcept;

    bool IsOutside(std::uint64_t size) const noexcept
    {
        return side_ == LimitSide::Maximum ? size > bytes_ : size < bytes_;
    }
    LimitSide side() const noexcept { return side_; }
    std::uint64_t bytes() const noexcept { return bytes_; }
    Phase phase() const noexcept { return phase_; }

private:
    LimitSide side_;
    std::uint64_t bytes_;
    bool silentStart_;
    Phase phase_ = Phase::Unjudged;
};

} // namespace krn
