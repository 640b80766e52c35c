// One monitored folder: its path, its two optional limits and its actions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace krn {

class Action;

// An owned text that may be absent; absent and empty stay distinct.
using OptionalText = std::optional<std::wstring>;

enum SizeUnit : std::uint16_t {
    SizeUnit_B = 0,
    SizeUnit_KB = 1,
    SizeUnit_MB = 2,
    SizeUnit_GB = 3,
    SizeUnit_TB = 4,
};
inline constexpr std::size_t kSizeUnitCount = 5;

// The unit names of the file and of the unit combo boxes: a combo index is a
// SizeUnit value.
inline constexpr const wchar_t* LimitUnitNames[kSizeUnitCount] = {L"B", L"KB", L"MB", L"GB", L"TB"};

// Bytes per unit; a unit outside the table counts as bytes.
double UnitFactor(std::uint16_t units);

struct SizeLimit {
    double value = 0.0;
    std::uint16_t units = SizeUnit_B;
    std::uint64_t bytes = 0;  // derived by ComputeBytes, never stored in the file
    OptionalText msg;
};

// A folder's action: the kind (borrowed from the ActionKindRegistry) and its
// parameter block, which only the kind creates, copies and releases. The slot
// owns the block, so it moves but never copies: a copy would release the same
// block twice. A copy of the action is made through the kind's CloneParams.
struct ActionSlot {
    ActionSlot() = default;
    ActionSlot(void* block, Action* actionKind) noexcept : params(block), kind(actionKind) {}
    ActionSlot(const ActionSlot&) = delete;
    ActionSlot& operator=(const ActionSlot&) = delete;
    ActionSlot(ActionSlot&& other) noexcept;
    ActionSlot& operator=(ActionSlot&& other) noexcept;
    ~ActionSlot();

    // Releases the block through the kind and leaves the slot without one.
    void FreeParams() noexcept;

    void* params = nullptr;
    Action* kind = nullptr;
};

class FolderEntry {
public:
    enum Flags : std::uint32_t {
        HasMin = 0x1,
        HasMax = 0x2,
    };

    FolderEntry() = default;
    FolderEntry(const FolderEntry& other);
    FolderEntry& operator=(const FolderEntry& other);
    virtual ~FolderEntry();

    void Reset();
    void Assign(const FolderEntry& other);
    // Flags and bytes are not compared: the folder dialog checks flags itself.
    bool Equals(const FolderEntry& other) const;
    void ComputeBytes();

    OptionalText path;
    std::uint32_t flags = 0;
    SizeLimit min;
    SizeLimit max;
    std::vector<ActionSlot> actions;
};

// The limit in bytes: factor times value, truncated toward zero, with the full
// unsigned range and the processor's conversion for what lies outside it.
std::uint64_t LimitBytes(double value, std::uint16_t units);

} // namespace krn
