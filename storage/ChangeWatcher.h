// Follows watched folders through change notifications: one thread, one
// completion port, one recursive ReadDirectoryChangesW per folder. The
// notifications of a folder are gathered for a short while and handed on as
// one batch, so that a program writing many files causes one update.
// Memory: bufferBytes per folder, in this process and (on Windows) as much
// again in the system's pool for local folders.
#pragma once

#include "base/Handles.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace storage {

struct Change {
    DWORD action = 0;   // FILE_ACTION_*
    std::wstring name;  // relative to the watched folder
};

struct ChangeBatch {
    std::vector<Change> changes;
    // Everything must be listed again: the first batch of a folder, and
    // notifications that were lost (the system's buffer overflowed, or more
    // changes came than are worth applying one by one).
    bool rescan = false;
    // The first batch: notifications have just started.
    bool started = false;
    // Notifications stopped for good; the folder is no longer followed.
    bool failed = false;
    // The answer to Unwatch: the watch's handle is closed, or it had already
    // failed, or there was none of that id.
    bool closed = false;
};

struct WatchOptions {
    DWORD settleMs = 100;
    // At most 64 KB: notifications of network folders do not take more. When
    // the buffer overflows, the batch asks for a rescan.
    DWORD bufferBytes = 64 * 1024;
    size_t maxChanges = 8192;
};

class ChangeWatcher {
public:
    // Called on the watcher's thread; must not wait for it. When the thread
    // or its port could not be created (reported once), Watch and Unwatch
    // answer at once on the caller's thread: a failed or a closed batch. So
    // call them without holding a lock that the sink takes.
    using Sink = std::function<void(uint64_t id, ChangeBatch&& batch)>;

    ChangeWatcher(const WatchOptions& options, Sink sink);
    // Stop with a short deadline, if it was not called.
    ~ChangeWatcher();
    ChangeWatcher(const ChangeWatcher&) = delete;
    ChangeWatcher& operator=(const ChangeWatcher&) = delete;

    // Follows the folder opened as `folder` (FILE_LIST_DIRECTORY,
    // FILE_FLAG_OVERLAPPED). Once notifications are started, the sink gets a
    // batch asking for a rescan, so that nothing changed before it is missed;
    // when they cannot be started, a failed batch.
    void Watch(uint64_t id, base::unique_file folder);
    // Stops following; the sink gets a closed batch once the handle is closed
    // (at once for an id it does not follow).
    void Unwatch(uint64_t id);
    // Stops every notification and ends the thread within `timeoutMs`; the
    // sink is told nothing more. A buffer the system has not given back by
    // then is never freed: the system may still write into it. True when the
    // thread ended.
    bool Stop(DWORD timeoutMs);
    // Watches being followed or closed, and requests not taken yet.
    size_t PendingCount() const;

private:
    struct FolderWatch;
    struct Request {
        uint64_t id = 0;
        base::unique_file folder;  // empty: unwatch
    };

    static DWORD WINAPI ThreadMain(void* watcher) noexcept;
    void Run();
    void Post(Request request);
    void TakeRequests();
    void Start(uint64_t id, base::unique_file folder);
    void StopWatch(uint64_t id);
    void OnCompletion(FolderWatch& watch, DWORD error, DWORD bytes);
    bool Read(FolderWatch& watch);
    void Collect(FolderWatch& watch, DWORD bytes);
    void DeliverDue();
    DWORD WaitTime(bool stopping) const;
    void Fail(FolderWatch& watch);
    void Close(uint64_t id);

    const WatchOptions options_;
    const Sink sink_;
    base::unique_kernel_handle port_;
    mutable std::mutex mutex_;
    std::vector<Request> requests_;
    bool stopping_ = false;
    ULONGLONG stopDeadline_ = 0;
    std::atomic<size_t> watchCount_{0};
    std::unordered_map<uint64_t, std::unique_ptr<FolderWatch>> watches_;
    bool stopped_ = false;  // Stop was called: the sink is told nothing more
    base::unique_kernel_handle thread_;
};

} // namespace storage
