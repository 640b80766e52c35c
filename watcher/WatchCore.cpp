#include "watcher/WatchCore.h"

#include <algorithm>
#include <utility>

namespace krn {
namespace {

void Soonest(ULONGLONG& at, ULONGLONG when)
{
    if (at == 0 || when < at)
        at = when;
}

bool IsDue(ULONGLONG at, ULONGLONG now)
{
    return at != 0 && at <= now;
}

bool Unjudged(const std::optional<LimitTracker>& limit)
{
    return limit && limit->phase() == LimitTracker::Phase::Unjudged;
}

} // namespace

WatchCore::WatchCore(const WatchTimings& timings) : timings_(timings) {}

WatchSteps WatchCore::Configure(WatchPlan plan, ULONGLONG now)
{
    WatchSteps steps;
    const bool silentStart = !configured_ && plan.disableAlertOnStartup;
    configured_ = true;
    logFile_ = std::move(plan.logFile);
    std::vector<Folder> before = std::move(folders_);
    for (Folder& folder : dormant_)
        before.push_back(std::move(folder));
    dormant_.clear();
    folders_.clear();
    std::vector<bool> taken(before.size(), false);
    for (FolderPlan& folderPlan : plan.folders) {
        size_t match = 0;
        while (match < before.size() && (taken[match] || !SamePath(before[match].plan.path, folderPlan.path)))
            ++match;
        Folder folder;
        if (match < before.size()) {
            taken[match] = true;
            folder = std::move(before[match]);
        }
        folder.limits = CarryLimits(folderPlan, match < before.size() ? &folder.limits : nullptr, silentStart);
        folder.plan = std::move(folderPlan);
        if (folder.watch && !folder.opening && (Unjudged(folder.limits.max) || Unjudged(folder.limits.min)))
            Soonest(folder.askAt, now);
        folders_.push_back(std::move(folder));
    }
    for (size_t i = 0; i < before.size(); ++i) {
        if (taken[i])
            continue;
        Folder& dropped = before[i];
        // One still opening is closed when its open ends: its watch is unknown then.
        if (dropped.watch && !dropped.opening)
            steps.folders.push_back({FolderStep::Kind::Close, dropped.watch, {}});
        dropped.watch = 0;
        dropped.opening = false;
        dropped.askAt = dropped.confirmAt = dropped.reopenAt = 0;
        dormant_.push_back(std::move(dropped));
    }
    for (Folder& folder : folders_)
        if (!folder.watch && !folder.reopenAt)
            Open(folder, steps);
    return steps;
}

WatchSteps WatchCore::Opened(std::uint64_t watch, bool followed, ULONGLONG now)
{
    WatchSteps steps;
    Folder* folder = Find(watch);
    if (!folder || !folder->opening) {
        if (followed)
            steps.folders.push_back({FolderStep::Kind::Close, watch, {}});
        return steps;
    }
    folder->opening = false;
    if (!followed) {
        folder->watch = 0;
        folder->reopenAt = now + timings_.retryMs;
        return steps;
    }
    // The state before any change is judged too.
    Soonest(folder->askAt, now + timings_.settleMs);
    return steps;
}

// A folder written to without pause is still asked about: the first change
// sets the time, later ones do not push it back.
void WatchCore::Changed(std::uint64_t watch, ULONGLONG now)
{
    Folder* folder = Find(watch);
    if (!folder || folder->opening)
        return;
    Soonest(folder->askAt, now + timings_.settleMs);
    folder->confirmAt = now + timings_.confirmMs;
}

void WatchCore::Lost(std::uint64_t watch, ULONGLONG now)
{
    Folder* folder = Find(watch);
    if (!folder || folder->opening)
        return;
    folder->watch = 0;
    folder->askAt = folder->confirmAt = 0;
    folder->reopenAt = now + timings_.retryMs;
}

WatchSteps WatchCore::Answered(std::uint64_t watch, const EngineAnswer& answer, ULONGLONG now,
                               const SYSTEMTIME& localTime)
{
    WatchSteps steps;
    Folder* folder = Find(watch);
    if (!folder || folder->opening)
        return steps;
    switch (answer.kind) {
    case EngineAnswer::Kind::Unreachable:
        // Every question waits: each would only try to reach the engine again.
        engineRetryAt_ = now + timings_.retryMs;
        Soonest(folder->askAt, engineRetryAt_);
        break;
    case EngineAnswer::Kind::Refused:
        // Vanished, renamed away, unreadable or replaced by a file: not
        // judged; the path is opened again later.
        steps.folders.push_back({FolderStep::Kind::Close, folder->watch, {}});
        folder->watch = 0;
        folder->askAt = folder->confirmAt = 0;
        folder->reopenAt = now + timings_.retryMs;
        break;
    case EngineAnswer::Kind::Stale:
    case EngineAnswer::Kind::Unknown:
        Soonest(folder->askAt, now + timings_.partialRetryMs);
        break;
    case EngineAnswer::Kind::Running:
        Judge(*folder, {answer.bytes, false}, localTime, steps);
        Soonest(folder->askAt, now + timings_.partialRetryMs);
        break;
    case EngineAnswer::Kind::Complete:
        Judge(*folder, {answer.bytes, true}, localTime, steps, answer.dayGrowth);
        Forecast(*folder, answer, localTime, steps);
        break;
    }
    return steps;
}

WatchSteps WatchCore::Due(ULONGLONG now)
{
    WatchSteps steps;
    for (Folder& folder : folders_) {
        if (IsDue(folder.reopenAt, now))
            Open(folder, steps);
        if (!folder.watch || folder.opening || now < engineRetryAt_)
            continue;
        if (!IsDue(folder.askAt, now) && !IsDue(folder.confirmAt, now))
            continue;
        folder.askAt = 0;
        if (IsDue(folder.confirmAt, now))
            folder.confirmAt = 0;
        steps.folders.push_back(
            {FolderStep::Kind::Ask, folder.watch, folder.plan.path,
             folder.plan.max ? std::optional(folder.plan.max->bytes) : std::nullopt});
    }
    return steps;
}

ULONGLONG WatchCore::NextDue() const
{
    ULONGLONG next = 0;
    for (const Folder& folder : folders_) {
        if (folder.reopenAt)
            Soonest(next, folder.reopenAt);
        if (!folder.watch || folder.opening)
            continue;
        for (const ULONGLONG at : {folder.askAt, folder.confirmAt})
            if (at)
                Soonest(next, std::max(at, engineRetryAt_));
    }
    return next;
}

WatchCore::Folder* WatchCore::Find(std::uint64_t watch)
{
    if (watch == 0)
        return nullptr;
    const auto found =
        std::find_if(folders_.begin(), folders_.end(), [watch](const Folder& f) { return f.watch == watch; });
    return found == folders_.end() ? nullptr : &*found;
}

// A folder without limits has nothing to judge, and is not followed.
void WatchCore::Open(Folder& folder, WatchSteps& steps)
{
    folder.reopenAt = 0;
    if (!folder.limits.max && !folder.limits.min)
        return;
    folder.watch = nextWatch_++;
    folder.opening = true;
    steps.folders.push_back({FolderStep::Kind::Open, folder.watch, folder.plan.path});
}

void WatchCore::Judge(Folder& folder, const Measurement& measurement, const SYSTEMTIME& localTime,
                      WatchSteps& steps, std::optional<std::int64_t> dayGrowth) const
{
    JudgeLimit(folder, LimitSide::Maximum, measurement, localTime, steps, dayGrowth);
    JudgeLimit(folder, LimitSide::Minimum, measurement, localTime, steps, {});
}

void WatchCore::Forecast(Folder& folder, const EngineAnswer& answer, const SYSTEMTIME& localTime,
                         WatchSteps& steps) const
{
    constexpr std::uint32_t kSoonMinutes = 3 * 24 * 60;
    const DWORD today = localTime.wYear * 10000u + localTime.wMonth * 100u + localTime.wDay;
    if (!folder.plan.max || !answer.minutesToMaximum || *answer.minutesToMaximum > kSoonMinutes ||
        folder.forecastDay == today || !folder.plan.HasAction(ActionStep::Kind::AddToLog))
        return;
    folder.forecastDay = today;
    AlertAction line;
    line.kind = AlertAction::Kind::AddToLog;
    line.folder = folder.plan.path;
    line.text = FormatForecastLine(localTime, folder.plan.path, folder.plan.max->bytes, *answer.minutesToMaximum);
    line.logFile = logFile_;
    steps.actions.push_back(std::move(line));
}

void WatchCore::JudgeLimit(Folder& folder, LimitSide side, const Measurement& measurement,
                           const SYSTEMTIME& localTime, WatchSteps& steps, std::optional<std::int64_t> dayGrowth) const
{
    const bool maximum = side == LimitSide::Maximum;
    std::optional<LimitTracker>& tracker = maximum ? folder.limits.max : folder.limits.min;
    const std::optional<LimitPlan>& limit = maximum ? folder.plan.max : folder.plan.min;
    if (!tracker || !limit)
        return;
    const bool wasOutside = tracker->phase() == LimitTracker::Phase::Outside;
    LimitEvent event{LimitEvent::Kind::MaximumExceeded, folder.plan.path, measurement.bytes, limit->bytes};
    if (tracker->Judge(measurement)) {
        event.kind = maximum ? LimitEvent::Kind::MaximumExceeded : LimitEvent::Kind::BelowMinimum;
        steps.events.push_back(std::move(event));
        Cross(folder, side, *limit, measurement.bytes, localTime, steps, dayGrowth);
    } else if (wasOutside && tracker->phase() == LimitTracker::Phase::Inside) {
        event.kind = maximum ? LimitEvent::Kind::BackUnderMaximum : LimitEvent::Kind::BackOverMinimum;
        steps.events.push_back(std::move(event));
    }
}

// The folder's actions in their order; a program that cannot start is logged
// when the folder logs. A maximum's message and log line end with the
// folder's growth over the last day when the engine knows it.
void WatchCore::Cross(const Folder& folder, LimitSide side, const LimitPlan& limit, std::uint64_t size,
                      const SYSTEMTIME& localTime, WatchSteps& steps, std::optional<std::int64_t> dayGrowth) const
{
    const std::wstring& path = folder.plan.path;
    const std::wstring growth = side == LimitSide::Maximum && dayGrowth ? GrowthSentence(*dayGrowth) : L"";
    const std::wstring plainLine = FormatLogLine(localTime, path, side, size, limit.bytes);
    const std::wstring logLine = plainLine + (growth.empty() ? L"" : L"\t" + growth);
    const bool logs = folder.plan.HasAction(ActionStep::Kind::AddToLog);
    for (const ActionStep& step : folder.plan.actions) {
        AlertAction action;
        action.folder = path;
        switch (step.kind) {
        case ActionStep::Kind::ShowMessage:
            action.kind = AlertAction::Kind::ShowMessage;
            action.text = AlertMessage(limit.msg, path, side, size, limit.bytes) + (growth.empty() ? L"" : L" " + growth);
            break;
        case ActionStep::Kind::AddToLog:
            action.kind = AlertAction::Kind::AddToLog;
            action.text = logLine;
            action.logFile = logFile_;
            break;
        case ActionStep::Kind::RunApplication:
            action.kind = AlertAction::Kind::RunApplication;
            action.command = PrepareRun(step.path, step.params, path);
            if (logs) {
                action.text = plainLine + L"\tCould not start " + action.command.file + L": ";
                action.logFile = logFile_;
            }
            break;
        }
        steps.actions.push_back(std::move(action));
    }
}

} // namespace krn
