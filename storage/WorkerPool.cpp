#include "storage/WorkerPool.h"

#include "base/Handles.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace storage {

namespace {

// What the destructor gives threads to end when Stop was not called.
constexpr DWORD kDestructorStopMs = 1000;
// WaitForMultipleObjects takes at most this many handles.
constexpr unsigned kMostThreads = MAXIMUM_WAIT_OBJECTS;
// How often Stop cancels the I/O of the threads still running: a job may
// start another operation after the one that was cancelled.
constexpr DWORD kCancelEveryMs = 20;

// A thread is added when a key waits with nothing running while no thread is
// free, and the pool may still grow.
bool ShouldGrow(size_t threads, size_t busy, size_t maxThreads, bool keyWaitsWithNoneRunning) noexcept
{
    return keyWaitsWithNoneRunning && busy >= threads && threads < maxThreads;
}

} // namespace

void ReportFailure(const wchar_t* what, DWORD error) noexcept
{
    static std::mutex mutex;
    static std::set<std::wstring> reported;
    try {
        std::lock_guard lock(mutex);
        if (!reported.insert(what).second)
            return;
        const std::wstring text = L"Kestrune: " + std::wstring(what) + L" failed, error " + std::to_wstring(error) + L"\n";
        OutputDebugStringW(text.c_str());
    } catch (...) {
        OutputDebugStringW(what);  // out of memory: the bare name still says what failed
    }
}

struct WorkerPool::State {
    struct Key {
        std::vector<Job> jobs;  // newest last
        size_t running = 0;
    };
    struct Worker {
        State* state = nullptr;
        base::unique_kernel_handle thread;
        bool ended = false;  // left its loop; its handle is signalled soon
    };

    explicit State(const PoolOptions& o) : options(o)
    {
        options.maxThreads = std::clamp(options.maxThreads, 0u, kMostThreads);
        options.minThreads = std::min(options.minThreads, options.maxThreads);
    }

    static DWORD WINAPI ThreadMain(void* param) noexcept;
    void Run(Worker& worker);
    // With the mutex held.
    DWORD StartThread();
    void PruneEnded();
    bool TakeJob(Job& job, uint64_t& key);

    PoolOptions options;
    mutable std::mutex mutex;
    std::condition_variable wake;
    std::unordered_map<uint64_t, Key> keys;
    std::deque<uint64_t> ready;  // keys with jobs queued, in turn
    size_t queued = 0;
    size_t busy = 0;
    std::list<Worker> workers;  // stable addresses: each thread holds its own
    size_t live = 0;            // workers not ended
    bool stopping = false;
};

DWORD WINAPI WorkerPool::State::ThreadMain(void* param) noexcept
{
    auto& worker = *static_cast<Worker*>(param);
    worker.state->Run(worker);
    return 0;
}

DWORD WorkerPool::State::StartThread()
{
    PruneEnded();
    Worker& worker = workers.emplace_back();
    worker.state = this;
    // Suspended until the handle is stored: the thread reads its own record.
    worker.thread.reset(CreateThread(nullptr, 0, &State::ThreadMain, &worker, CREATE_SUSPENDED, nullptr));
    if (!worker.thread) {
        const DWORD error = GetLastError();
        workers.pop_back();
        ReportFailure(L"starting a storage worker thread", error);
        return error ? error : ERROR_NOT_ENOUGH_MEMORY;
    }
    ++live;
    ResumeThread(worker.thread.get());
    return 0;
}

void WorkerPool::State::PruneEnded()
{
    workers.remove_if([](const Worker& w) {
        return w.ended && WaitForSingleObject(w.thread.get(), 0) == WAIT_OBJECT_0;
    });
}

bool WorkerPool::State::TakeJob(Job& job, uint64_t& key)
{
    // The key with the fewest jobs running; among equals, the one whose turn
    // came first.
    auto chosen = ready.end();
    size_t fewest = SIZE_MAX;
    for (auto it = ready.begin(); it != ready.end() && fewest > 0; ++it) {
        const size_t running = keys[*it].running;
        if (running < fewest) {
            fewest = running;
            chosen = it;
        }
    }
    if (chosen == ready.end())
        return false;
    key = *chosen;
    Key& entry = keys[key];
    job = std::move(entry.jobs.back());
    entry.jobs.pop_back();
    ++entry.running;
    --queued;
    ready.erase(chosen);
    if (!entry.jobs.empty())
        ready.push_back(key);
    return true;
}

void WorkerPool::State::Run(Worker& worker)
{
    std::unique_lock lock(mutex);
    for (;;) {
        Job job;
        uint64_t key = 0;
        while (!stopping && !TakeJob(job, key)) {
            const bool spare = live > options.minThreads;
            if (spare && wake.wait_for(lock, std::chrono::milliseconds(options.idleMs)) == std::cv_status::timeout &&
                queued == 0 && live > options.minThreads)
                break;
            if (!spare)
                wake.wait(lock);
        }
        if (!job) {
            --live;
            worker.ended = true;
            return;
        }
        ++busy;
        lock.unlock();
        job();
        job = nullptr;  // what it holds goes before the count says it is done
        lock.lock();
        --busy;
        Key& entry = keys[key];
        if (--entry.running == 0 && entry.jobs.empty())
            keys.erase(key);
    }
}

WorkerPool::WorkerPool(const PoolOptions& options) : state_(std::make_unique<State>(options))
{
    std::lock_guard lock(state_->mutex);
    for (unsigned i = 0; i < state_->options.minThreads; ++i)
        if (state_->StartThread())
            break;  // reported; Submit tries again
}

WorkerPool::~WorkerPool()
{
    if (!Stop(kDestructorStopMs)) {
        // A thread is stuck in I/O and will use its record, the mutex and
        // the queues when its storage answers: they are never freed.
        static_cast<void>(state_.release());
    }
}

DWORD WorkerPool::Submit(uint64_t key, Job job)
{
    State& s = *state_;
    {
        std::lock_guard lock(s.mutex);
        if (s.stopping)
            return ERROR_OPERATION_ABORTED;
        State::Key& entry = s.keys[key];
        const bool waiting = !entry.jobs.empty();
        const bool starved = entry.running == 0;
        if (s.live == 0 || ShouldGrow(s.live, s.busy, s.options.maxThreads, starved)) {
            const DWORD error = s.live < s.options.maxThreads ? s.StartThread() : ERROR_MAX_THRDS_REACHED;
            if (s.live == 0) {
                // No thread at all: the job would never run.
                if (entry.jobs.empty() && entry.running == 0)
                    s.keys.erase(key);
                return error ? error : ERROR_MAX_THRDS_REACHED;
            }
        }
        entry.jobs.push_back(std::move(job));
        ++s.queued;
        if (!waiting)
            s.ready.push_back(key);
    }
    s.wake.notify_one();
    return 0;
}

bool WorkerPool::Stop(DWORD timeoutMs)
{
    State& s = *state_;
    std::vector<Job> dropped;
    std::vector<HANDLE> threads;
    {
        std::lock_guard lock(s.mutex);
        s.stopping = true;
        for (auto& [key, entry] : s.keys)
            for (Job& job : entry.jobs)
                dropped.push_back(std::move(job));
        for (auto it = s.keys.begin(); it != s.keys.end();)
            it = it->second.running ? (it->second.jobs.clear(), std::next(it)) : s.keys.erase(it);
        s.ready.clear();
        s.queued = 0;
        for (const State::Worker& worker : s.workers)
            threads.push_back(worker.thread.get());
    }
    s.wake.notify_all();
    dropped.clear();
    if (threads.empty())
        return true;
    const ULONGLONG deadline = GetTickCount64() + timeoutMs;
    for (;;) {
        // Only a thread blocked in a synchronous operation is affected.
        for (const HANDLE thread : threads)
            if (WaitForSingleObject(thread, 0) == WAIT_TIMEOUT)
                CancelSynchronousIo(thread);
        const ULONGLONG now = GetTickCount64();
        const DWORD wait = static_cast<DWORD>(std::min<ULONGLONG>(kCancelEveryMs, deadline > now ? deadline - now : 0));
        if (WaitForMultipleObjects(static_cast<DWORD>(threads.size()), threads.data(), TRUE, wait) != WAIT_TIMEOUT)
            return true;
        if (GetTickCount64() >= deadline)
            return false;
    }
}

WorkerPool::Counts WorkerPool::counts() const
{
    std::lock_guard lock(state_->mutex);
    return {state_->live, state_->busy, state_->queued, state_->keys.size()};
}

} // namespace storage
