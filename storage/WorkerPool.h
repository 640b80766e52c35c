// Threads for blocking file-system work (opening a folder, checking that a
// name still names the same folder, listing it), so that the threads that
// answer calls never wait on storage. Storage may take seconds per operation
// (an offline share, a host that does not answer) or never answer, so:
//
// - Every job carries a key, the folder it is about. A free thread takes a job
//   of the key with the fewest jobs running: a slow folder holds only its own
//   jobs while the others go on.
// - When a key has jobs waiting and none running and every thread is busy, a
//   thread is added, up to maxThreads; threads above minThreads end after
//   idleMs without work.
// - Stop ends the pool within a deadline, cancelling the synchronous I/O of
//   threads that are stuck where the system allows it.
//
// Jobs run without any lock of the pool held: a job may submit more.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace storage {

struct PoolOptions {
    unsigned minThreads = 2;
    unsigned maxThreads = 8;
    DWORD idleMs = 30000;
};

// Reports a failure to create a resource (thread, event, port) through
// OutputDebugStringW, once per `what` for the life of the process.
void ReportFailure(const wchar_t* what, DWORD error) noexcept;

class WorkerPool {
public:
    using Job = std::function<void()>;

    explicit WorkerPool(const PoolOptions& options = {});
    // Stops within a short deadline. When a thread is still stuck then, the
    // pool's own state is left allocated for it; the jobs' owner must then
    // end the process rather than free what they use (see Stop).
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // Queues `job` to run on a worker thread. A key's jobs are taken newest
    // first: a scan that submits the folders it finds stays one path deep.
    // Returns 0, or the error that keeps any thread from running it (the
    // pool stopped, ERROR_OPERATION_ABORTED; no thread could be created):
    // the job is then dropped.
    DWORD Submit(uint64_t key, Job job);

    // `work` (returning a value) runs on a worker thread; `done` gets its
    // result on that thread right after.
    template <typename Work, typename Done>
    DWORD Submit(uint64_t key, Work work, Done done)
    {
        return Submit(key, [work = std::move(work), done = std::move(done)]() mutable { done(work()); });
    }

    // Drops the jobs not started, cancels the I/O of the running ones where
    // the system allows, and waits for the threads until `timeoutMs` passed.
    // True when every thread ended. False: a job is still running and will
    // go on when its storage answers, so nothing it uses may be freed.
    bool Stop(DWORD timeoutMs);

    struct Counts {
        size_t threads = 0;  // started and not ended
        size_t running = 0;  // jobs
        size_t queued = 0;   // jobs
        size_t keys = 0;     // keys with jobs queued or running
    };
    Counts counts() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace storage
