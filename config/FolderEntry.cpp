#include "config/FolderEntry.h"

#include <cmath>
#include <cstdlib>
#include <utility>

#include "actions/Action.h"

namespace krn {
namespace {

constexpr double kUnitFactors[kSizeUnitCount] = {1.0, 1024.0, 1048576.0, 1073741824.0, 1099511627776.0};
constexpr double kTwoTo63 = 9223372036854775808.0;

// What the x64 conversion gives: values from 2^63 to 2^64 keep their full
// unsigned value, negative ones wrap, anything else is the indefinite integer.
std::uint64_t TruncateToUnsigned(double value)
{
    if (value >= kTwoTo63 && value < 2.0 * kTwoTo63)
        return static_cast<std::uint64_t>(value - kTwoTo63) + (std::uint64_t{1} << 63);
    if (value > -kTwoTo63 && value < kTwoTo63)
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
    return std::uint64_t{1} << 63;
}

bool SameLimitNumbers(const SizeLimit& a, const SizeLimit& b)
{
    return a.value == b.value && a.units == b.units;
}

bool HasCounterpart(const ActionSlot& slot, const std::vector<ActionSlot>& others)
{
    for (const ActionSlot& other : others) {
        if (other.kind != slot.kind)
            continue;
        if (!slot.kind || slot.kind->CompareParams(slot.params, other.params) == 0)
            return true;
    }
    return false;
}

} // namespace

double UnitFactor(std::uint16_t units)
{
    return units < kSizeUnitCount ? kUnitFactors[units] : 1.0;
}

std::uint64_t LimitBytes(double value, std::uint16_t units)
{
    return TruncateToUnsigned(UnitFactor(units) * value);
}

ActionSlot::ActionSlot(ActionSlot&& other) noexcept
    : params(std::exchange(other.params, nullptr)), kind(other.kind)
{
}

ActionSlot& ActionSlot::operator=(ActionSlot&& other) noexcept
{
    if (this != &other) {
        FreeParams();
        params = std::exchange(other.params, nullptr);
        kind = other.kind;
    }
    return *this;
}

ActionSlot::~ActionSlot()
{
    FreeParams();
}

void ActionSlot::FreeParams() noexcept
{
    void* block = std::exchange(params, nullptr);
    if (kind)
        kind->FreeParams(block);
    else
        std::free(block);  // a kindless block can only come from the general heap
}

FolderEntry::FolderEntry(const FolderEntry& other)
{
    Assign(other);
}

FolderEntry& FolderEntry::operator=(const FolderEntry& other)
{
    if (this != &other)
        Assign(other);
    return *this;
}

FolderEntry::~FolderEntry()
{
    Reset();
}

void FolderEntry::Reset()
{
    path.reset();
    flags = 0;
    min = {};
    max = {};
    // In order, first to last; the storage stays allocated.
    for (ActionSlot& slot : actions)
        slot.FreeParams();
    actions.clear();
}

void FolderEntry::Assign(const FolderEntry& other)
{
    Reset();
    path = other.path;
    flags = other.flags;
    min = other.min;
    max = other.max;
    actions.reserve(other.actions.size());
    for (const ActionSlot& slot : other.actions) {
        void* block = nullptr;
        // A failed clone still gives a slot, with no block.
        if (slot.kind && FAILED(slot.kind->CloneParams(&block, slot.params)))
            block = nullptr;
        actions.emplace_back(block, slot.kind);
    }
}

bool FolderEntry::Equals(const FolderEntry& other) const
{
    if (!SameLimitNumbers(min, other.min) || !SameLimitNumbers(max, other.max))
        return false;
    if (path != other.path || min.msg != other.min.msg || max.msg != other.max.msg)
        return false;
    if (actions.size() != other.actions.size())
        return false;
    for (const ActionSlot& slot : actions) {
        if (!HasCounterpart(slot, other.actions))
            return false;
    }
    return true;
}

void FolderEntry::ComputeBytes()
{
    min.bytes = LimitBytes(min.value, min.units);
    max.bytes = LimitBytes(max.value, max.units);
}

} // namespace krn
