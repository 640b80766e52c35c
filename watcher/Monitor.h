// The watcher's monitoring: one thread that follows the watched folders'
// change notifications, asks the size engine for a folder's total once its
// changes have settled, judges the limits and runs the actions.
//
// Nothing is polled while nothing changes: the thread sleeps until a change
// notification, a new plan, or the next retry that is due (a folder whose
// engine scan still runs, a folder that is missing, an engine that is not
// there).
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "Kestrune.h"
#include "base/Com.h"
#include "base/Handles.h"
#include "storage/ChangeWatcher.h"
#include "watcher/AlertActions.h"
#include "watcher/WatchPlan.h"

namespace krn {

struct MonitorTimings {
    // From a change to the first question to the engine: the engine applies
    // the same notification after its own short settle.
    DWORD settleMs = 400;
    // One more question after the last change, for a change the engine
    // applied later than the first question came.
    DWORD confirmMs = 2500;
    // While the engine's first scan of a folder runs.
    DWORD partialRetryMs = 1000;
    // A folder that is missing, unreadable or a file; an engine that could
    // not be reached.
    DWORD retryMs = 5000;
};

class Monitor {
public:
    explicit Monitor(const MonitorTimings& timings = {});
    // Stops the thread, then the notifications. Open message boxes stay
    // until the process ends.
    ~Monitor();
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    // From any thread: the plan replaces the one before. The first plan is
    // the start-up one, where "Disable alerts on startup" applies.
    void Configure(WatchPlan plan);

private:
    struct Folder {
        FolderPlan plan;
        FolderLimits limits;
        std::uint64_t watchId = 0;  // 0: not followed
        ULONGLONG measureAt = 0;    // 0: nothing due
        ULONGLONG confirmAt = 0;
        ULONGLONG reopenAt = 0;
    };
    struct Notice {
        std::uint64_t id = 0;
        bool failed = false;
        bool closed = false;
    };

    void Run();
    void Apply(WatchPlan plan);
    void OnNotice(const Notice& notice, ULONGLONG now);
    void TryWatch(Folder& folder, ULONGLONG now);
    void Unwatch(Folder& folder);
    void Measure(Folder& folder, ULONGLONG now);
    void Judge(Folder& folder, const Measurement& measurement);
    bool EnsureEngine();
    DWORD NextWait(ULONGLONG now) const;

    const MonitorTimings timings_;
    std::mutex mutex_;
    std::optional<WatchPlan> pendingPlan_;
    std::vector<Notice> notices_;
    std::atomic<bool> stopping_{false};  // also read without the mutex, between two folders
    base::unique_kernel_handle wake_;

    // The monitoring thread's own.
    std::vector<Folder> folders_;
    std::vector<Folder> dormant_;  // dropped by the last plan, unwatched, states kept
    base::com_ptr<ISizeEngine> engine_;
    Alerts alerts_;
    bool started_ = false;
    std::uint64_t nextWatchId_ = 1;

    storage::ChangeWatcher changes_;  // after what its sink touches
    std::thread thread_;
};

} // namespace krn
