// The watcher's monitoring: carries out what WatchCore decides. One thread
// follows the watched folders' change notifications, asks the size engine for
// their totals, and hands the actions of crossings to Alerts.
//
// Nothing is polled while nothing changes: the thread sleeps until a change
// notification, a new plan, or the next step the core has due.
#pragma once

#include <memory>

#include "watcher/BoundedThread.h"
#include "watcher/WatchCore.h"

namespace krn {

class Monitor {
public:
    explicit Monitor(const WatchTimings& timings = {});
    // Stops the thread within a bounded time: one held in a call that does
    // not return is left behind with what it uses. Open message boxes stay
    // until the process ends.
    ~Monitor();
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    // From any thread: the plan replaces the one before.
    void Configure(WatchPlan plan);

private:
    struct Work;
    std::shared_ptr<Work> work_;
    BoundedThread thread_;
};

} // namespace krn
