#include "storage/ChangeWatcher.h"

#include "storage/WorkerPool.h"

#include <algorithm>
#include <utility>

namespace storage {

namespace {

// Watches are keyed by their id, which starts at 1; key 0 wakes the thread
// for requests.
constexpr ULONG_PTR kRequestKey = 0;
// What the destructor gives the thread when Stop was not called.
constexpr DWORD kDestructorStopMs = 1000;
// How long the thread waits at most for cancelled reads to come back.
constexpr DWORD kStopPollMs = 20;
constexpr DWORD kNotifyFilter =
    FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME | FILE_NOTIFY_CHANGE_SIZE | FILE_NOTIFY_CHANGE_LAST_WRITE;

} // namespace

struct ChangeWatcher::FolderWatch {
    uint64_t id = 0;
    base::unique_file folder;
    OVERLAPPED overlapped{};
    std::vector<DWORD> buffer;  // the notifications are DWORD aligned
    bool reading = false;
    bool closing = false;
    ChangeBatch batch;
    bool held = false;  // `batch` waits for `due`
    ULONGLONG due = 0;
};

ChangeWatcher::ChangeWatcher(const WatchOptions& options, Sink sink)
    : options_(options), sink_(std::move(sink)), port_(CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 1))
{
    if (!port_) {
        ReportFailure(L"creating the change notifications' completion port", GetLastError());
        return;
    }
    thread_.reset(CreateThread(nullptr, 0, &ChangeWatcher::ThreadMain, this, 0, nullptr));
    if (!thread_)
        ReportFailure(L"starting the change notifications' thread", GetLastError());
}

ChangeWatcher::~ChangeWatcher()
{
    Stop(kDestructorStopMs);
    // The thread never blocks on storage: past its deadline it ends.
    if (thread_)
        WaitForSingleObject(thread_.get(), INFINITE);
}

DWORD WINAPI ChangeWatcher::ThreadMain(void* watcher) noexcept
{
    static_cast<ChangeWatcher*>(watcher)->Run();
    return 0;
}

bool ChangeWatcher::Stop(DWORD timeoutMs)
{
    {
        std::lock_guard lock(mutex_);
        if (!stopping_) {
            stopping_ = true;
            stopDeadline_ = GetTickCount64() + timeoutMs;
        }
    }
    if (!thread_)
        return true;
    PostQueuedCompletionStatus(port_.get(), 0, kRequestKey, nullptr);
    return WaitForSingleObject(thread_.get(), timeoutMs + 2 * kStopPollMs) == WAIT_OBJECT_0;
}

size_t ChangeWatcher::PendingCount() const
{
    std::lock_guard lock(mutex_);
    return requests_.size() + watchCount_;
}

void ChangeWatcher::Watch(uint64_t id, base::unique_file folder)
{
    Post({id, std::move(folder)});
}

void ChangeWatcher::Unwatch(uint64_t id)
{
    Post({id, {}});
}

void ChangeWatcher::Post(Request request)
{
    if (!thread_) {
        ChangeBatch batch;
        (request.folder ? batch.failed : batch.closed) = true;
        request.folder.reset();
        sink_(request.id, std::move(batch));
        return;
    }
    {
        std::lock_guard lock(mutex_);
        if (stopping_)
            return;
        requests_.push_back(std::move(request));
    }
    PostQueuedCompletionStatus(port_.get(), 0, kRequestKey, nullptr);
}

void ChangeWatcher::Run()
{
    bool stopping = false;
    ULONGLONG stopDeadline = 0;
    for (;;) {
        DWORD bytes = 0;
        ULONG_PTR key = 0;
        OVERLAPPED* overlapped = nullptr;
        const BOOL ok = GetQueuedCompletionStatus(port_.get(), &bytes, &key, &overlapped, WaitTime(stopping));
        const DWORD error = ok ? 0 : GetLastError();
        if (overlapped) {
            if (const auto it = watches_.find(key); it != watches_.end())
                OnCompletion(*it->second, error, bytes);
        } else if (ok && key == kRequestKey && !stopping) {
            TakeRequests();
        }
        if (!stopping) {
            std::lock_guard lock(mutex_);
            stopping = stopping_;
            stopDeadline = stopDeadline_;
            stopped_ = stopping;
            if (stopping)
                requests_.clear();
        }
        if (stopping) {
            std::vector<uint64_t> ids;
            for (const auto& [id, watch] : watches_)
                if (!watch->closing)
                    ids.push_back(id);
            for (const uint64_t id : ids)
                StopWatch(id);
            if (watches_.empty())
                return;
            if (GetTickCount64() >= stopDeadline) {
                // The system still owns these buffers: it may write into them
                // as long as the process lives, so they are never freed.
                for (auto& [id, watch] : watches_)
                    static_cast<void>(watch.release());
                watches_.clear();
                return;
            }
            continue;
        }
        DeliverDue();
        watchCount_ = watches_.size();
    }
}

void ChangeWatcher::TakeRequests()
{
    std::vector<Request> requests;
    {
        std::lock_guard lock(mutex_);
        requests.swap(requests_);
    }
    for (Request& request : requests) {
        if (request.folder)
            Start(request.id, std::move(request.folder));
        else
            StopWatch(request.id);
    }
}

void ChangeWatcher::Start(uint64_t id, base::unique_file folder)
{
    auto watch = std::make_unique<FolderWatch>();
    watch->id = id;
    watch->folder = std::move(folder);
    watch->buffer.resize(options_.bufferBytes / sizeof(DWORD));
    if (!CreateIoCompletionPort(watch->folder.get(), port_.get(), id, 0) || !Read(*watch)) {
        ChangeBatch failed;
        failed.failed = true;
        sink_(id, std::move(failed));
        return;
    }
    watches_.emplace(id, std::move(watch));
    ChangeBatch first;
    first.rescan = true;
    first.started = true;
    sink_(id, std::move(first));
}

void ChangeWatcher::StopWatch(uint64_t id)
{
    const auto it = watches_.find(id);
    if (it == watches_.end()) {
        // Failed before, or never started: the caller's records go all the same.
        if (!stopped_) {
            ChangeBatch closed;
            closed.closed = true;
            sink_(id, std::move(closed));
        }
        return;
    }
    FolderWatch& watch = *it->second;
    watch.closing = true;
    watch.held = false;
    // The buffer stays until the cancelled read comes back through the port.
    if (watch.reading)
        CancelIoEx(watch.folder.get(), &watch.overlapped);
    else
        Close(id);
}

void ChangeWatcher::Close(uint64_t id)
{
    watches_.erase(id);
    if (stopped_)
        return;
    ChangeBatch closed;
    closed.closed = true;
    sink_(id, std::move(closed));
}

void ChangeWatcher::OnCompletion(FolderWatch& watch, DWORD error, DWORD bytes)
{
    watch.reading = false;
    if (watch.closing) {
        Close(watch.id);
        return;
    }
    if (error == ERROR_NOTIFY_ENUM_DIR || (error == 0 && bytes == 0)) {
        // More changes than the buffer holds: they are lost.
        watch.batch.rescan = true;
        watch.batch.changes.clear();
    } else if (error != 0) {
        Fail(watch);
        return;
    } else {
        Collect(watch, bytes);
    }
    if (!watch.held) {
        watch.held = true;
        watch.due = GetTickCount64() + options_.settleMs;
    }
    if (!Read(watch))
        Fail(watch);
}

bool ChangeWatcher::Read(FolderWatch& watch)
{
    watch.overlapped = {};
    watch.reading = ReadDirectoryChangesW(watch.folder.get(), watch.buffer.data(),
                                          static_cast<DWORD>(watch.buffer.size() * sizeof(DWORD)), TRUE,
                                          kNotifyFilter, nullptr, &watch.overlapped, nullptr);
    return watch.reading;
}

void ChangeWatcher::Collect(FolderWatch& watch, DWORD bytes)
{
    if (watch.batch.rescan)
        return;
    const auto* data = reinterpret_cast<const std::byte*>(watch.buffer.data());
    const std::byte* end = data + std::min<size_t>(bytes, watch.buffer.size() * sizeof(DWORD));
    while (data + sizeof(FILE_NOTIFY_INFORMATION) <= end) {
        const auto& entry = *reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(data);
        const size_t length = std::min<size_t>(entry.FileNameLength, end - reinterpret_cast<const std::byte*>(entry.FileName)) /
                              sizeof(wchar_t);
        watch.batch.changes.push_back({entry.Action, std::wstring(entry.FileName, length)});
        if (entry.NextEntryOffset == 0)
            break;
        data += entry.NextEntryOffset;
    }
    if (watch.batch.changes.size() > options_.maxChanges) {
        watch.batch.rescan = true;
        watch.batch.changes.clear();
    }
}

void ChangeWatcher::Fail(FolderWatch& watch)
{
    const uint64_t id = watch.id;
    watches_.erase(id);
    ChangeBatch failed;
    failed.failed = true;
    sink_(id, std::move(failed));
}

void ChangeWatcher::DeliverDue()
{
    const ULONGLONG now = GetTickCount64();
    for (auto& [id, watch] : watches_) {
        if (watch->held && watch->due <= now) {
            watch->held = false;
            sink_(id, std::exchange(watch->batch, {}));
        }
    }
}

DWORD ChangeWatcher::WaitTime(bool stopping) const
{
    if (stopping)
        return kStopPollMs;
    ULONGLONG wait = INFINITE;
    const ULONGLONG now = GetTickCount64();
    for (const auto& [id, watch] : watches_)
        if (watch->held)
            wait = std::min<ULONGLONG>(wait, watch->due > now ? watch->due - now : 0);
    return static_cast<DWORD>(wait);
}

} // namespace storage
