// A folder's total over time, kept small: what "what grew since yesterday"
// and "when will this be full" are answered from, without a scan.
//
// A sample is taken when the total changed and at least kSampleGapMinutes
// passed since the last one. Samples thin out as they age: one per 5 minutes
// for two days, one per hour for a month, one per day for two years; older
// ones go. The history is held encoded (each sample as the varint steps from
// the one before), and it never grows past kMaxBytes: when it would, the older
// half of it is thinned further. So a folder costs less than 4 KB however it
// changes, in memory and on disk.
//
// Time is in minutes (FILETIME / 600,000,000: minutes since 1601); the
// caller passes it in, so that every rule is checked with a clock of the
// test's own.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace engine {

struct HistorySample {
    std::uint32_t minute = 0;
    std::uint64_t bytes = 0;

    bool operator==(const HistorySample&) const = default;
};

// Minutes since 1601 of a FILETIME, and of the system clock now.
std::uint32_t MinuteOf(std::uint64_t fileTime);
std::uint32_t MinuteNow();

class FolderHistory {
public:
    // With the folder's name and its place in the store, a folder then takes
    // less than 4 KB in memory and on disk (names of usual length).
    static constexpr std::size_t kMaxBytes = 3584;
    static constexpr std::uint32_t kSampleGapMinutes = 5;

    // The total seen at `now`; true when the history changed. A clock that
    // went back (a corrected system time) drops the samples after it: what
    // follows is measured from now. A total that is no sample costs no more
    // than a comparison: it is asked with every answer.
    bool Record(std::uint32_t now, std::uint64_t bytes);

    std::vector<HistorySample> Samples() const;
    std::size_t EncodedSize() const { return encoded_.size(); }

    // Growth over the `minutes` before `now`, when the total is `current`:
    // `current` less the total then (the latest sample at or before it).
    // Nothing when the history does not reach back that far.
    std::optional<std::int64_t> Growth(std::uint32_t now, std::uint64_t current, std::uint32_t minutes) const;

    // Minutes from `now` until the total, `current` now, reaches `limit` at
    // the trend of the last kTrendDays days: the median of the slopes between
    // pairs of samples (Theil-Sen), which one step or a few outliers do not
    // move. Nothing when the folder is flat or shrinking, already at the
    // limit, followed for less than a day in that window, or too erratic (the
    // samples stray from the trend line by more than a quarter of its rise
    // over the window, in the median).
    static constexpr std::uint32_t kTrendDays = 7;
    std::optional<std::uint32_t> MinutesUntil(std::uint32_t now, std::uint64_t current, std::uint64_t limit) const;

    // The stored form, as Encode writes it and Decode reads it: samples in
    // time order. Decode refuses anything else (nothing).
    const std::vector<std::uint8_t>& Encoded() const { return encoded_; }
    static std::optional<FolderHistory> Decode(std::span<const std::uint8_t> bytes);

private:
    static std::vector<std::uint8_t> Encode(const std::vector<HistorySample>& samples);
    static void Thin(std::vector<HistorySample>& samples, std::uint32_t now);

    std::vector<std::uint8_t> encoded_;
    std::optional<HistorySample> last_;  // of encoded_
};

} // namespace engine
