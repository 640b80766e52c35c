#include "storage/ChangeWatcher.h"

#include <algorithm>
#include <utility>

namespace storage {

namespace {

// Watches are keyed by their id, which starts at 1; key 0 wakes the thread
// for requests.
constexpr ULONG_PTR kRequestKey = 0;
// How long the destructor waits for the system to give back the buffers of
// cancelled reads.
constexpr ULONGLONG kStopTimeoutMs = 5000;
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
    thread_ = std::thread([this] { Run(); });
}

ChangeWatcher::~ChangeWatcher()
{
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    PostQueuedCompletionStatus(port_.get(), 0, kRequestKey, nullptr);
    thread_.join();
}

void ChangeWatcher::Watch(uint64_t id, base::unique_file folder)
{
    {
        std::lock_guard lock(mutex_);
        requests_.push_back({id, std::move(folder)});
    }
    PostQueuedCompletionStatus(port_.get(), 0, kRequestKey, nullptr);
}

void ChangeWatcher::Unwatch(uint64_t id)
{
    {
        std::lock_guard lock(mutex_);
        requests_.push_back({id, {}});
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
        } else if (ok && key == kRequestKey) {
            TakeRequests();
        }
        if (!stopping) {
            std::lock_guard lock(mutex_);
            stopping = stopping_;
            if (stopping)
                stopDeadline = GetTickCount64() + kStopTimeoutMs;
            stopped_ = stopping;
        }
        if (stopping) {
            std::vector<uint64_t> ids;
            for (const auto& [id, watch] : watches_)
                if (!watch->closing)
                    ids.push_back(id);
            for (const uint64_t id : ids)
                Stop(id);
            if (watches_.empty())
                return;
            if (GetTickCount64() >= stopDeadline) {
                // The system still owns these buffers: it may write into them
                // as long as the process lives, so they are never freed.
                for (auto& [id, watch] : watches_)
                    static_cast<void>(watch.release());
                return;
            }
            continue;
        }
        DeliverDue();
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
            Stop(request.id);
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

void ChangeWatcher::Stop(uint64_t id)
{
    const auto it = watches_.find(id);
    if (it == watches_.end())
        return;
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
        return 50;
    ULONGLONG wait = INFINITE;
    const ULONGLONG now = GetTickCount64();
    for (const auto& [id, watch] : watches_)
        if (watch->held)
            wait = std::min<ULONGLONG>(wait, watch->due > now ? watch->due - now : 0);
    return static_cast<DWORD>(wait);
}

} // namespace storage
