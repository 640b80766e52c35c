#include "engine/FolderHistory.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace engine {
namespace {

constexpr std::uint32_t kDay = 24 * 60;
constexpr std::uint32_t kKeptMinutes = 730 * kDay;
// Pairs beyond this many samples cost more than they tell: the trend is
// taken over this many, evenly spread.
constexpr std::size_t kMaxTrendSamples = 200;

void PutVarint(std::vector<std::uint8_t>& out, std::uint64_t value)
{
    do {
        out.push_back(static_cast<std::uint8_t>((value & 0x7F) | (value > 0x7F ? 0x80 : 0)));
        value >>= 7;
    } while (value);
}

bool GetVarint(std::span<const std::uint8_t>& in, std::uint64_t& value)
{
    value = 0;
    for (int shift = 0; shift < 64; shift += 7) {
        if (in.empty())
            return false;
        const std::uint8_t byte = in.front();
        in = in.subspan(1);
        if (shift == 63 && byte > 1)
            return false;
        value |= std::uint64_t{byte & 0x7Fu} << shift;
        if (!(byte & 0x80))
            return true;
    }
    return false;
}

std::uint64_t ZigZag(std::int64_t value)
{
    return (static_cast<std::uint64_t>(value) << 1) ^ static_cast<std::uint64_t>(value >> 63);
}

std::int64_t UnZigZag(std::uint64_t value)
{
    return static_cast<std::int64_t>(value >> 1) ^ -static_cast<std::int64_t>(value & 1);
}

// How far apart samples of this age are kept.
std::uint32_t SpacingAt(std::uint32_t age)
{
    return age <= 2 * kDay ? FolderHistory::kSampleGapMinutes : age <= 30 * kDay ? 60 : kDay;
}

double Median(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// The samples of an encoded history, in time order; nothing when the bytes
// are not one.
std::optional<std::vector<HistorySample>> DecodeSamples(std::span<const std::uint8_t> bytes)
{
    std::vector<HistorySample> samples;
    HistorySample previous;
    while (!bytes.empty()) {
        std::uint64_t step = 0, change = 0;
        if (!GetVarint(bytes, step) || !GetVarint(bytes, change) || (!samples.empty() && step == 0) ||
            step > std::numeric_limits<std::uint32_t>::max() - previous.minute)
            return std::nullopt;
        previous.minute += static_cast<std::uint32_t>(step);
        previous.bytes += static_cast<std::uint64_t>(UnZigZag(change));
        samples.push_back(previous);
    }
    return samples;
}

} // namespace

std::uint32_t MinuteOf(std::uint64_t fileTime)
{
    return static_cast<std::uint32_t>(fileTime / 600'000'000ull);
}

std::uint32_t MinuteNow()
{
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return MinuteOf(ULARGE_INTEGER{{now.dwLowDateTime, now.dwHighDateTime}}.QuadPart);
}

std::vector<std::uint8_t> FolderHistory::Encode(const std::vector<HistorySample>& samples)
{
    std::vector<std::uint8_t> out;
    HistorySample previous;
    for (const HistorySample& sample : samples) {
        PutVarint(out, sample.minute - previous.minute);
        PutVarint(out, ZigZag(static_cast<std::int64_t>(sample.bytes - previous.bytes)));
        previous = sample;
    }
    out.shrink_to_fit();  // held for as long as the folder is: its bound counts in memory too
    return out;
}

std::optional<FolderHistory> FolderHistory::Decode(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() > kMaxBytes)
        return std::nullopt;
    const std::optional<std::vector<HistorySample>> samples = DecodeSamples(bytes);
    if (!samples)
        return std::nullopt;
    FolderHistory history;
    history.encoded_.assign(bytes.begin(), bytes.end());
    if (!samples->empty())
        history.last_ = samples->back();
    return history;
}

std::vector<HistorySample> FolderHistory::Samples() const
{
    return DecodeSamples(encoded_).value_or(std::vector<HistorySample>{});  // encoded_ is always a history
}

// One sample per spacing of its age (the latest of each), none older than
// two years; then, while the encoded form is over the bound, every other
// sample of the older half goes.
void FolderHistory::Thin(std::vector<HistorySample>& samples, std::uint32_t now)
{
    std::vector<HistorySample> kept;
    for (const HistorySample& sample : samples) {
        const std::uint32_t age = now - sample.minute;
        if (age > kKeptMinutes)
            continue;
        const std::uint32_t spacing = SpacingAt(age);
        if (!kept.empty() && SpacingAt(now - kept.back().minute) == spacing &&
            kept.back().minute / spacing == sample.minute / spacing)
            kept.back() = sample;
        else
            kept.push_back(sample);
    }
    while (kept.size() > 2 && Encode(kept).size() > kMaxBytes) {
        const std::size_t older = kept.size() / 2;
        std::vector<HistorySample> thinner;
        for (std::size_t i = 0; i < kept.size(); ++i)
            if (i >= older || i % 2 == 0)
                thinner.push_back(kept[i]);
        kept.swap(thinner);
    }
    samples.swap(kept);
}

bool FolderHistory::Record(std::uint32_t now, std::uint64_t bytes)
{
    if (last_ && last_->minute <= now && (last_->bytes == bytes || now - last_->minute < kSampleGapMinutes))
        return false;
    std::vector<HistorySample> samples = Samples();
    const std::size_t known = samples.size();
    while (!samples.empty() && samples.back().minute > now)
        samples.pop_back();
    if (!samples.empty() && (samples.back().bytes == bytes || now - samples.back().minute < kSampleGapMinutes)) {
        if (samples.size() == known)
            return false;
        encoded_ = Encode(samples);  // the clock went back: the later samples are gone
        last_ = samples.back();
        return true;
    }
    samples.push_back({now, bytes});
    Thin(samples, now);
    encoded_ = Encode(samples);
    last_ = samples.back();
    return true;
}

std::optional<std::int64_t> FolderHistory::Growth(std::uint32_t now, std::uint64_t current,
                                                  std::uint32_t minutes) const
{
    if (minutes > now)
        return std::nullopt;
    const std::uint32_t then = now - minutes;
    std::optional<std::uint64_t> before;
    for (const HistorySample& sample : Samples()) {
        if (sample.minute > then)
            break;
        before = sample.bytes;
    }
    if (!before)
        return std::nullopt;
    return static_cast<std::int64_t>(current - *before);
}

std::optional<std::uint32_t> FolderHistory::MinutesUntil(std::uint32_t now, std::uint64_t current,
                                                         std::uint64_t limit) const
{
    if (current >= limit)
        return std::nullopt;
    std::vector<HistorySample> window;
    for (const HistorySample& sample : Samples())
        if (sample.minute <= now && now - sample.minute <= kTrendDays * kDay)
            window.push_back(sample);
    if (window.empty() || window.back().minute != now)
        window.push_back({now, current});
    if (window.size() < 3 || now - window.front().minute < kDay)
        return std::nullopt;
    if (window.size() > kMaxTrendSamples) {
        std::vector<HistorySample> spread;
        for (std::size_t i = 0; i < kMaxTrendSamples; ++i)
            spread.push_back(window[i * (window.size() - 1) / (kMaxTrendSamples - 1)]);
        window.swap(spread);
    }
    std::vector<double> slopes;
    for (std::size_t i = 0; i < window.size(); ++i)
        for (std::size_t j = i + 1; j < window.size(); ++j)
            slopes.push_back((double(window[j].bytes) - double(window[i].bytes)) /
                             double(window[j].minute - window[i].minute));
    const double slope = Median(slopes);  // bytes per minute
    if (!(slope > 0))
        return std::nullopt;
    std::vector<double> offsets, residuals;
    for (const HistorySample& sample : window)
        offsets.push_back(double(sample.bytes) - slope * double(sample.minute - now));
    const double offset = Median(offsets);
    for (const HistorySample& sample : window)
        residuals.push_back(std::fabs(double(sample.bytes) - (offset + slope * double(sample.minute - now))));
    const double rise = slope * double(now - window.front().minute);
    if (Median(residuals) > rise / 4)
        return std::nullopt;
    const double minutes = std::ceil((double(limit) - double(current)) / slope);
    if (minutes > double(std::numeric_limits<std::uint32_t>::max()))
        return std::nullopt;
    return static_cast<std::uint32_t>(minutes);
}

} // namespace engine
