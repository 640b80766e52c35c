// The watcher's decisions, apart from the threads, timers, COM calls and
// processes that carry them out (Monitor, Alerts): which folders to follow,
// when to ask the size engine about each, what an answer means for its
// limits, and the actions a crossing calls for, each with its final text.
// Every event comes in with the time, and every decision goes out as steps,
// so that sequences of events are checked directly.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "watcher/AlertText.h"
#include "watcher/WatchPlan.h"

namespace krn {

struct WatchTimings {
    // From a change to the question to the engine: the engine applies the
    // same notification after its own short settle.
    ULONGLONG settleMs = 400;
    // One more question after the last change, for a change the engine
    // applied later than the first question came.
    ULONGLONG confirmMs = 2500;
    // While the engine has no complete total of the folder.
    ULONGLONG partialRetryMs = 1000;
    // A folder that is missing, unreadable or a file; an engine that could
    // not be reached.
    ULONGLONG retryMs = 5000;
};

// What the size engine answered about a folder's total.
struct EngineAnswer {
    enum class Kind {
        Complete,     // the exact total
        Running,      // what the first scan found so far: a lower bound
        Stale,        // the last total known, while it is brought up to date
        Unknown,      // nothing known yet
        Refused,      // the folder is missing, unreadable or not a folder
        Unreachable,  // no engine answered
    };
    Kind kind = Kind::Unknown;
    std::uint64_t bytes = 0;
    // From the engine's history of the folder, with a complete total: its
    // growth over the last day, and the minutes until it reaches the
    // maximum the question named, when the engine knows them.
    std::optional<std::int64_t> dayGrowth;
    std::optional<std::uint32_t> minutesToMaximum;
};

// Following a folder and asking about it. `watch` names one opening of a
// folder: change notices and answers name it, and one that names a watch
// closed since is ignored.
struct FolderStep {
    enum class Kind {
        Open,   // open the folder and follow its changes; tell Opened
        Close,  // stop following
        Ask,    // ask the engine for the total and tell Answered
    };
    Kind kind = Kind::Open;
    std::uint64_t watch = 0;
    std::wstring path;  // Open, Ask
    std::optional<std::uint64_t> maximum;  // Ask: the folder's maximum in bytes, if it has one
};

// One action of a crossing, ready to carry out.
struct AlertAction {
    enum class Kind { ShowMessage, AddToLog, RunApplication };
    Kind kind = Kind::ShowMessage;
    // The folder that crossed: one message box per folder at a time; the
    // program's working folder (when it exists).
    std::wstring folder;
    // The message; the log line; for a program, the log line that the error
    // is appended to when it cannot start (empty: the folder does not log).
    std::wstring text;
    std::wstring logFile;  // AddToLog, and a program that cannot start
    RunCommand command;    // RunApplication
};

// A limit crossed, or seen back inside after it was crossed: what the
// system's event log records, whatever actions the folder has.
struct LimitEvent {
    enum class Kind { MaximumExceeded, BelowMinimum, BackUnderMaximum, BackOverMinimum };
    Kind kind = Kind::MaximumExceeded;
    std::wstring folder;
    std::uint64_t size = 0;
    std::uint64_t limit = 0;
};

struct WatchSteps {
    std::vector<FolderStep> folders;
    std::vector<AlertAction> actions;  // in the order they are carried out
    std::vector<LimitEvent> events;
};

class WatchCore {
public:
    explicit WatchCore(const WatchTimings& timings = {});

    // A new plan replaces the one before. Folders kept (same path) keep their
    // watch and the state of every limit that did not change; a changed limit
    // is judged again at once. Folders dropped keep their limits' states for
    // a later plan (a configuration read while it was being written gives an
    // empty one). The first plan is the start-up one, where "Disable alerts
    // on startup" applies.
    WatchSteps Configure(WatchPlan plan, ULONGLONG now);
    // The Open of `watch` ended: `followed` when its notifications run.
    WatchSteps Opened(std::uint64_t watch, bool followed, ULONGLONG now);
    // Something changed in the folder (or notifications just started).
    void Changed(std::uint64_t watch, ULONGLONG now);
    // Notifications stopped for good: the folder is opened again later.
    void Lost(std::uint64_t watch, ULONGLONG now);
    // The engine's answer to the Ask of `watch`. `localTime` stamps the log
    // lines.
    WatchSteps Answered(std::uint64_t watch, const EngineAnswer& answer, ULONGLONG now,
                        const SYSTEMTIME& localTime);
    // The opens and questions due at `now`.
    WatchSteps Due(ULONGLONG now);
    // When Due has something next; 0: nothing until another event.
    ULONGLONG NextDue() const;

private:
    struct Folder {
        FolderPlan plan;
        FolderLimits limits;
        std::uint64_t watch = 0;  // 0: neither followed nor being opened
        bool opening = false;     // the open of `watch` has not ended
        ULONGLONG askAt = 0;      // 0: nothing due
        ULONGLONG confirmAt = 0;
        ULONGLONG reopenAt = 0;
        DWORD forecastDay = 0;  // yyyymmdd of the last forecast line
    };

    Folder* Find(std::uint64_t watch);
    void Open(Folder& folder, WatchSteps& steps);
    void Judge(Folder& folder, const Measurement& measurement, const SYSTEMTIME& localTime, WatchSteps& steps,
               std::optional<std::int64_t> dayGrowth = {}) const;
    void JudgeLimit(Folder& folder, LimitSide side, const Measurement& measurement, const SYSTEMTIME& localTime,
                    WatchSteps& steps, std::optional<std::int64_t> dayGrowth) const;
    void Cross(const Folder& folder, LimitSide side, const LimitPlan& limit, std::uint64_t size,
               const SYSTEMTIME& localTime, WatchSteps& steps, std::optional<std::int64_t> dayGrowth) const;
    // Once a day, a folder that logs and will reach its maximum within three
    // days says so in the log.
    void Forecast(Folder& folder, const EngineAnswer& answer, const SYSTEMTIME& localTime, WatchSteps& steps) const;

    const WatchTimings timings_;
    std::vector<Folder> folders_;
    std::vector<Folder> dormant_;  // dropped by the last plan, closed, states kept
    std::wstring logFile_;
    bool configured_ = false;
    ULONGLONG engineRetryAt_ = 0;  // no question before, after the engine did not answer
    std::uint64_t nextWatch_ = 1;
};

} // namespace krn
