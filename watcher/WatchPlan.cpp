#include "watcher/WatchPlan.h"

#include <windows.h>

#include <algorithm>

#include "actions/RunAction.h"

namespace krn {
namespace {

std::optional<LimitPlan> PlanLimit(const FolderEntry& entry, FolderEntry::Flags flag, const SizeLimit& limit)
{
    if (!(entry.flags & flag))
        return std::nullopt;
    const std::optional<std::uint64_t> bytes = WatchedLimitBytes(limit.value, limit.units);
    if (!bytes)
        return std::nullopt;
    return LimitPlan{*bytes, limit.msg.value_or(std::wstring())};
}

std::optional<ActionStep> PlanAction(const ActionSlot& slot)
{
    if (!slot.kind)
        return std::nullopt;
    const std::wstring& tag = slot.kind->tag;
    if (tag == L"MsgBox")
        return ActionStep{ActionStep::Kind::ShowMessage, {}, {}};
    if (tag == L"AddToLog")
        return ActionStep{ActionStep::Kind::AddToLog, {}, {}};
    if (tag == L"Run") {
        ActionStep step{ActionStep::Kind::RunApplication, {}, {}};
        if (const auto* run = static_cast<const RunParams*>(slot.params)) {
            step.path = run->path.value_or(std::wstring());
            step.params = run->params.value_or(std::wstring());
        }
        return step;
    }
    return std::nullopt;
}

std::optional<LimitTracker> Carry(LimitSide side, const std::optional<LimitPlan>& plan,
                                  const std::optional<LimitTracker>& previous, bool silentStart)
{
    if (!plan)
        return std::nullopt;
    if (previous && previous->bytes() == plan->bytes)
        return previous;
    return LimitTracker(side, plan->bytes, silentStart);
}

} // namespace

bool FolderPlan::HasAction(ActionStep::Kind kind) const
{
    return std::any_of(actions.begin(), actions.end(), [kind](const ActionStep& step) { return step.kind == kind; });
}

std::vector<FolderPlan> MakeFolderPlans(const FolderEntries& folders)
{
    std::vector<FolderPlan> plans;
    for (const auto& entry : folders) {
        if (!entry || !entry->path || entry->path->empty())
            continue;
        FolderPlan plan;
        plan.path = *entry->path;
        plan.max = PlanLimit(*entry, FolderEntry::HasMax, entry->max);
        plan.min = PlanLimit(*entry, FolderEntry::HasMin, entry->min);
        for (const ActionSlot& slot : entry->actions)
            if (std::optional<ActionStep> step = PlanAction(slot))
                plan.actions.push_back(std::move(*step));
        plans.push_back(std::move(plan));
    }
    return plans;
}

FolderLimits CarryLimits(const FolderPlan& plan, const FolderLimits* previous, bool silentStart)
{
    const FolderLimits none;
    const FolderLimits& before = previous ? *previous : none;
    return {Carry(LimitSide::Maximum, plan.max, before.max, silentStart),
            Carry(LimitSide::Minimum, plan.min, before.min, silentStart)};
}

bool SamePath(const std::wstring& a, const std::wstring& b)
{
    return CompareStringOrdinal(a.c_str(), static_cast<int>(a.size()), b.c_str(), static_cast<int>(b.size()), TRUE) ==
           CSTR_EQUAL;
}

} // namespace krn
