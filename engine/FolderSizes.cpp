#include "engine/FolderSizes.h"

#include "engine/TreeUpdate.h"

#include <winternl.h>

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

namespace engine {

namespace {

// A folder whose notifications failed is scanned again when asked for, at
// most this often.
constexpr ULONGLONG kUnfollowedRescanMs = 2000;
// What the destructor gives the threads when Stop was not called.
constexpr DWORD kDestructorStopMs = 1000;
// A followed folder besides its tree and watch buffer: its handle, its
// records in the maps and the watcher's.
constexpr size_t kFollowBytes = 1024;

} // namespace

EngineOptions::EngineOptions()
{
    scans.maxThreads = 6;
    // Notifications of 16 KB hold a few hundred changes between two reads;
    // an overflow costs a rescan of that folder only. 2,000 folders take 32 MB
    // (64 KB each would take 128 MB, and on Windows as much again in the
    // system's pool).
    watch.bufferBytes = 16 * 1024;
}

// A lock and a wait without a kernel object: the engine keeps one of each per
// folder, and a pthreads mutex or condition variable of MinGW holds event and
// semaphore handles, three per folder in all.
class SlimLock {
public:
    void lock() noexcept { AcquireSRWLockExclusive(&lock_); }
    void unlock() noexcept { ReleaseSRWLockExclusive(&lock_); }
    bool try_lock() noexcept { return TryAcquireSRWLockExclusive(&lock_) != FALSE; }
    // Waits, the lock held by the caller, until woken or `ms` passed.
    void Wait(CONDITION_VARIABLE& condition, DWORD ms) noexcept
    {
        SleepConditionVariableSRW(&condition, &lock_, ms, 0);
    }

private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

struct FolderSizes::Folder {
    Folder(uint64_t folderKey, std::wstring folderPath) : key(folderKey), path(std::move(folderPath)) {}

    // What the record takes, estimated: itself, its name, its map entry.
    size_t RecordBytes() const { return sizeof(Folder) + (path.capacity() + 1) * sizeof(wchar_t) + 64; }

    const uint64_t key;  // the pools' key
    const std::wstring path;
    // Guarded by FolderSizes::mutex_.
    uint64_t lastAsked = 0;
    ULONGLONG lastAskedAt = 0;
    size_t bytes = 0;  // counted in bytes_ while followed

    SlimLock mutex;  // guards everything below
    CONDITION_VARIABLE checked = CONDITION_VARIABLE_INIT;
    ScanState state = ScanState::Unknown;
    Totals totals;
    DWORD error = 0;  // the folder could not be opened or listed
    Identity identity = 0;
    bool identified = false;
    bool checking = false;  // a check runs on the opens pool
    std::chrono::steady_clock::time_point checkStarted;
    uint64_t watchId = 0;  // 0: not followed
    // The name the file system gives the opened folder (long components, its
    // own case); empty until it was opened.
    std::wstring finalName;

    std::unique_ptr<DirNode> tree;
    std::shared_ptr<TreeScan> scan;
    bool scanCounts = false;  // the answer is the running scan's total so far
    struct Pending {
        std::vector<storage::Change> changes;
        bool rescan = false;
        bool forgetWatchRecords = false;  // with the next full scan
    } pending;
    bool forget = false;  // the next full scan starts from nothing
    // Once the next full scan is complete, another one that clears stale
    // watch records (see WatchRecordsGoStale); the answers come from the
    // first meanwhile.
    bool repairAfterScan = false;
    bool busy = false;      // a scan or an update runs for this folder
    bool notified = true;   // the notifications work
    bool watchStarted = false;
    uint64_t generation = 0;
    ULONGLONG lastScanned = 0;
};

FolderSizes::FolderSizes(const EngineOptions& options)
    : options_(options),
      opens_(options.opens),
      scans_(options.scans),
      watcher_(options.watch, [this](uint64_t id, storage::ChangeBatch&& batch) { OnBatch(id, std::move(batch)); })
{
}

FolderSizes::~FolderSizes()
{
    {
        std::lock_guard lock(mutex_);
        if (stopping_)
            return;
    }
    Stop(kDestructorStopMs);
}

bool FolderSizes::Stop(DWORD timeoutMs)
{
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        for (const auto& [path, folder] : byPath_) {
            std::lock_guard folderLock(folder->mutex);
            if (folder->scan)
                folder->scan->Cancel();
        }
    }
    const ULONGLONG deadline = GetTickCount64() + timeoutMs;
    const auto left = [&] {
        const ULONGLONG now = GetTickCount64();
        return static_cast<DWORD>(deadline > now ? deadline - now : 0);
    };
    // Each part gets its share; a pool stuck to its end still leaves the
    // others theirs.
    const bool opensEnded = opens_.Stop(left() / 3);
    const bool scansEnded = scans_.Stop(left() / 2);
    const bool watcherEnded = watcher_.Stop(left());
    return opensEnded && scansEnded && watcherEnded;
}

DWORD FolderSizes::GetTotals(std::wstring_view name, Totals& totals)
{
    ScanState state;
    return GetTotals(name, totals, state);
}

DWORD FolderSizes::GetTotals(std::wstring_view name, Totals& totals, ScanState& state, std::wstring* finalName)
{
    totals = {};
    state = ScanState::Unknown;
    std::wstring path;
    if (const DWORD error = MakeFolderPath(name, path))
        return error;
    const FolderPtr folder = Ask(path);
    ReleaseIdleSometimes();
    CheckBriefly(folder);
    std::unique_lock lock(folder->mutex);
    if (const DWORD error = folder->error) {
        // A folder that failed while followed (its listing, a thread) is
        // opened and scanned afresh at the next question.
        const bool followed = folder->watchId != 0;
        lock.unlock();
        if (followed)
            Release(folder);
        return error;
    }
    totals = folder->scan && folder->scanCounts ? folder->scan->Found() : folder->totals;
    state = folder->state;
    if (finalName)
        *finalName = folder->finalName.empty() ? folder->path : folder->finalName;
    if (folder->watchId && !folder->notified && !folder->busy &&
        GetTickCount64() - folder->lastScanned >= kUnfollowedRescanMs) {
        folder->pending.rescan = true;
        Schedule(folder);
    }
    return 0;
}

DWORD FolderSizes::ScanNow(std::wstring_view name)
{
    std::wstring path;
    if (const DWORD error = MakeFolderPath(name, path))
        return error;
    const FolderPtr folder = Ask(path);
    {
        std::lock_guard lock(folder->mutex);
        ++folder->generation;
        folder->pending.rescan = true;
        folder->pending.changes.clear();
        folder->repairAfterScan = WatchRecordsGoStale();
        folder->forget = true;
        folder->state = folder->watchId ? ScanState::Running : ScanState::Unknown;
        folder->totals = {};
        folder->scanCounts = false;
        if (folder->scan)
            folder->scan->Cancel();
        if (folder->watchId)
            Schedule(folder);
    }
    CheckBriefly(folder);
    std::lock_guard lock(folder->mutex);
    return folder->error;
}

DWORD FolderSizes::GetScanState(std::wstring_view name, ScanState& state)
{
    state = ScanState::Unknown;
    std::wstring path;
    if (const DWORD error = MakeFolderPath(name, path))
        return error;
    if (const FolderPtr folder = Find(path)) {
        std::lock_guard lock(folder->mutex);
        state = folder->error ? ScanState::Unknown : folder->state;
    }
    return 0;
}

DWORD FolderSizes::StopWatching(std::wstring_view name, bool& wasFollowed)
{
    wasFollowed = false;
    std::wstring path;
    if (const DWORD error = MakeFolderPath(name, path))
        return error;
    if (const FolderPtr folder = Find(path)) {
        Forget(folder);
        wasFollowed = true;
    }
    return 0;
}

size_t FolderSizes::WatchedCount() const
{
    std::lock_guard lock(mutex_);
    return byWatch_.size();
}

Usage FolderSizes::usage() const
{
    Usage usage;
    {
        std::lock_guard lock(mutex_);
        usage = {byWatch_.size(), byPath_.size(), bytes_, recordBytes_, closing_.size(), 0};
    }
    usage.watches = watcher_.PendingCount();
    return usage;
}

DWORD FolderSizes::IdentityOf(HANDLE folder, Identity& identity)
{
    // Not GetFileInformationByHandle: it also asks for the volume's serial
    // number, which costs half a millisecond under Wine, more than the rest
    // of a cached answer.
    FILE_BASIC_INFO basic{};
    if (!GetFileInformationByHandleEx(folder, FileBasicInfo, &basic, sizeof basic))
        return GetLastError();
    if (!(basic.FileAttributes & FILE_ATTRIBUTE_DIRECTORY))
        return ERROR_DIRECTORY;
    IO_STATUS_BLOCK status{};
    FILE_INTERNAL_INFORMATION internal{};
    const NTSTATUS result = NtQueryInformationFile(folder, &status, &internal, sizeof internal, FileInternalInformation);
    if (result < 0)
        return RtlNtStatusToDosError(result);
    identity = internal.IndexNumber.QuadPart;
    return 0;
}

DWORD FolderSizes::ReadIdentity(const std::wstring& path, Identity& identity)
{
    // Attributes only: such an open shares with anything, even with a handle
    // that denies reading to others.
    const base::unique_file root(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                             OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    return root ? IdentityOf(root.get(), identity) : GetLastError();
}

FolderSizes::FolderPtr FolderSizes::Ask(const std::wstring& path)
{
    std::lock_guard lock(mutex_);
    FolderPtr& entry = byPath_[path];
    if (!entry) {
        entry = std::make_shared<Folder>(nextKey_++, path);
        recordBytes_ += entry->RecordBytes();
    }
    const FolderPtr folder = entry;
    folder->lastAsked = ++asked_;
    folder->lastAskedAt = GetTickCount64();
    TrimRecords(folder);
    return folder;
}

FolderSizes::FolderPtr FolderSizes::Find(const std::wstring& path) const
{
    std::lock_guard lock(mutex_);
    const auto it = byPath_.find(path);
    return it == byPath_.end() ? nullptr : it->second;
}

void FolderSizes::CheckBriefly(const FolderPtr& folder)
{
    std::unique_lock lock(folder->mutex);
    if (!folder->checking) {
        folder->checking = true;
        folder->checkStarted = std::chrono::steady_clock::now();
        lock.unlock();
        const DWORD refused = opens_.Submit(folder->key, [this, folder] { Check(folder); });
        lock.lock();
        if (refused) {
            // No thread can open it: the question fails, the next one tries again.
            folder->checking = false;
            folder->error = refused;
            return;
        }
    }
    // A check that has been running longer already is on slow storage: the
    // answer does not wait for it.
    const auto until = folder->checkStarted + std::chrono::milliseconds(options_.answerWaitMs);
    for (auto now = std::chrono::steady_clock::now(); folder->checking && now < until;
         now = std::chrono::steady_clock::now())
        folder->mutex.Wait(folder->checked,
                           static_cast<DWORD>(std::chrono::ceil<std::chrono::milliseconds>(until - now).count()));
}

// Checked on every question: a folder can be deleted, or renamed and another
// one made under its name, without a notification to its own watch.
void FolderSizes::Check(const FolderPtr& folder)
{
    bool followed = false;
    Identity known = 0;
    {
        std::lock_guard lock(folder->mutex);
        followed = folder->watchId != 0;
        known = folder->identity;
    }
    if (followed) {
        Identity identity = 0;
        const DWORD error = ReadIdentity(folder->path, identity);
        if (error || identity != known) {
            Release(folder);
            followed = false;
        }
    }
    if (!followed)
        Open(folder);
    std::lock_guard lock(folder->mutex);
    folder->checking = false;
    WakeAllConditionVariable(&folder->checked);
}

void FolderSizes::Open(const FolderPtr& folder)
{
    base::unique_file root(CreateFileW(folder->path.c_str(), FILE_LIST_DIRECTORY,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                       FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
    Identity identity = 0;
    const DWORD error = root ? IdentityOf(root.get(), identity) : GetLastError();
    if (!error) {
        Follow(folder, std::move(root), identity);
        return;
    }
    std::lock_guard lock(folder->mutex);
    folder->error = error;
    folder->state = ScanState::Unknown;
    folder->totals = {};
    folder->identified = false;
}

void FolderSizes::Follow(const FolderPtr& folder, base::unique_file root, Identity identity)
{
    uint64_t watchId = 0;
    std::wstring finalName(kMaxPathChars + 1, L'\0');
    finalName.resize(GetFinalPathNameByHandleW(root.get(), finalName.data(), kMaxPathChars + 1,
                                               FILE_NAME_NORMALIZED | VOLUME_NAME_DOS));
    if (finalName.size() > kMaxPathChars)
        finalName.clear();
    {
        std::lock_guard lock(mutex_);
        // Forgotten meanwhile (StopWatching, or too many records), or ending.
        if (stopping_ || byPath_.count(folder->path) == 0 || byPath_.at(folder->path) != folder)
            return;
        watchId = nextKey_++;
        byWatch_.emplace(watchId, folder);
        folder->bytes = kFollowBytes + options_.watch.bufferBytes;
        bytes_ += folder->bytes;
        std::lock_guard folderLock(folder->mutex);
        if (folder->identified && folder->identity != identity) {
            // Another folder under the same name: nothing known holds for it.
            folder->state = ScanState::Unknown;
            folder->totals = {};
        }
        folder->identity = identity;
        folder->identified = true;
        folder->finalName = std::move(finalName);
        folder->error = 0;
        folder->watchId = watchId;
        folder->notified = true;
        folder->watchStarted = false;
        folder->pending = {};
        // A total known from before is kept, marked Stale, until the scan
        // that the watch's first batch asks for is complete.
        if (folder->state == ScanState::Unknown)
            folder->state = ScanState::Running;
    }
    // The first batch of the watch asks for the first scan: the scan starts
    // after the notifications, so no change can fall between them.
    watcher_.Watch(watchId, std::move(root));
    KeepWithinBudget(folder);
}

void FolderSizes::Release(const FolderPtr& folder)
{
    uint64_t watchId = 0;
    std::unique_ptr<DirNode> tree;
    {
        std::lock_guard lock(mutex_);
        std::lock_guard folderLock(folder->mutex);
        watchId = std::exchange(folder->watchId, 0);
        if (!watchId)
            return;
        byWatch_.erase(watchId);
        bytes_ -= folder->bytes;
        folder->bytes = 0;
        if (WatchRecordsGoStale())
            closing_.emplace(watchId, folder->path);
        tree = std::move(folder->tree);
        ++folder->generation;
        folder->pending = {};
        folder->forget = false;
        folder->repairAfterScan = false;
        folder->scanCounts = false;
        if (folder->scan)
            folder->scan->Cancel();
        // What is kept is the last complete total, Stale from now on; a first
        // scan's partial one is not worth keeping.
        if (folder->state == ScanState::Complete) {
            folder->state = ScanState::Stale;
        } else if (folder->state == ScanState::Running) {
            folder->state = ScanState::Unknown;
            folder->totals = {};
        }
    }
    watcher_.Unwatch(watchId);
    // A large tree takes a while to free: not on a thread that answers calls.
    if (tree)
        scans_.Submit(folder->key, [gone = std::shared_ptr<DirNode>(std::move(tree))] {});
}

void FolderSizes::Forget(const FolderPtr& folder)
{
    Release(folder);
    std::lock_guard lock(mutex_);
    if (const auto it = byPath_.find(folder->path); it != byPath_.end() && it->second == folder) {
        byPath_.erase(it);
        recordBytes_ -= folder->RecordBytes();
    }
}

void FolderSizes::SetTreeBytes(const FolderPtr& folder, size_t treeBytes)
{
    {
        std::lock_guard lock(mutex_);
        if (!folder->bytes)
            return;  // released meanwhile
        bytes_ -= folder->bytes;
        folder->bytes = kFollowBytes + options_.watch.bufferBytes + treeBytes;
        bytes_ += folder->bytes;
    }
    KeepWithinBudget(folder);
}

void FolderSizes::KeepWithinBudget(const FolderPtr& keep)
{
    std::vector<FolderPtr> released;
    {
        std::lock_guard lock(mutex_);
        // The least recently asked first; linear, as it runs only when a
        // total grew past the budget.
        for (size_t projected = bytes_; projected > options_.memoryBudget;) {
            FolderPtr oldest;
            for (const auto& [watchId, folder] : byWatch_)
                if (folder != keep && folder->bytes &&
                    std::find(released.begin(), released.end(), folder) == released.end() &&
                    (!oldest || folder->lastAsked < oldest->lastAsked))
                    oldest = folder;
            if (!oldest)
                break;
            projected -= oldest->bytes;
            released.push_back(oldest);
        }
    }
    for (const FolderPtr& folder : released)
        Release(folder);
}

void FolderSizes::TrimRecords(const FolderPtr& keep)
{
    while (recordBytes_ > options_.recordBudget) {
        auto oldest = byPath_.end();
        for (auto it = byPath_.begin(); it != byPath_.end(); ++it) {
            const FolderPtr& folder = it->second;
            if (folder != keep && !folder->bytes &&
                (oldest == byPath_.end() || folder->lastAsked < oldest->second->lastAsked)) {
                std::lock_guard folderLock(folder->mutex);
                if (!folder->watchId && !folder->checking && !folder->busy)
                    oldest = it;
            }
        }
        if (oldest == byPath_.end())
            return;
        recordBytes_ -= oldest->second->RecordBytes();
        byPath_.erase(oldest);
    }
}

void FolderSizes::ReleaseIdleSometimes()
{
    {
        std::lock_guard lock(mutex_);
        const ULONGLONG now = GetTickCount64();
        if (now - idleChecked_ < std::min<ULONGLONG>(options_.idleReleaseMs, 60000))
            return;
        idleChecked_ = now;
    }
    // Not on the caller's thread: letting a large tree go takes a while.
    scans_.Submit(0, [this] { ReleaseIdle(); });
}

void FolderSizes::ReleaseIdle()
{
    std::vector<FolderPtr> idle;
    {
        std::lock_guard lock(mutex_);
        const ULONGLONG now = GetTickCount64();
        for (const auto& [watchId, folder] : byWatch_)
            if (now - folder->lastAskedAt >= options_.idleReleaseMs)
                idle.push_back(folder);
    }
    for (const FolderPtr& folder : idle)
        Release(folder);
}

void FolderSizes::OnBatch(uint64_t watchId, storage::ChangeBatch&& batch)
{
    FolderPtr folder;
    std::wstring closedPath;
    {
        std::lock_guard lock(mutex_);
        if (batch.closed) {
            if (const auto it = closing_.find(watchId); it != closing_.end()) {
                closedPath = std::move(it->second);
                closing_.erase(it);
            }
        } else if (const auto it = byWatch_.find(watchId); it != byWatch_.end()) {
            folder = it->second;
        }
    }
    if (!closedPath.empty())
        RepairAround(closedPath);
    if (!folder)
        return;
    std::unique_lock lock(folder->mutex);
    if (folder->watchId != watchId)
        return;
    auto& pending = folder->pending;
    if (batch.failed && folder->watchStarted) {
        // Notifications that worked and stopped: the folder is being deleted,
        // or its share went away. Its handle goes; the next question opens
        // it again, or fails.
        lock.unlock();
        Release(folder);
        return;
    }
    if (batch.started)
        folder->watchStarted = true;
    if (batch.failed) {
        // Still answered, from scans repeated when asked for.
        folder->notified = false;
        if (!folder->tree && !folder->scan)
            pending.rescan = true;
    } else if (batch.rescan) {
        pending.rescan = true;
        pending.changes.clear();
        if (batch.started)
            folder->repairAfterScan = WatchRecordsGoStale();
    } else if (!pending.rescan) {
        pending.changes.insert(pending.changes.end(), std::make_move_iterator(batch.changes.begin()),
                               std::make_move_iterator(batch.changes.end()));
        if (pending.changes.size() > options_.watch.maxChanges) {
            pending.rescan = true;
            pending.changes.clear();
        }
    }
    Schedule(folder);
}

void FolderSizes::RepairAround(const std::wstring& closedPath)
{
    std::vector<FolderPtr> around;
    {
        std::lock_guard lock(mutex_);
        for (const auto& [watchId, folder] : byWatch_) {
            const std::wstring& path = folder->path;
            if (closedPath.size() > path.size() && (path.back() == L'\\' || closedPath[path.size()] == L'\\') &&
                EqualNoCase(std::wstring_view(closedPath).substr(0, path.size()), path))
                around.push_back(folder);
        }
    }
    for (const FolderPtr& folder : around) {
        std::lock_guard lock(folder->mutex);
        if (!folder->watchId)
            continue;
        folder->pending.rescan = true;
        folder->pending.forgetWatchRecords = true;
        folder->pending.changes.clear();
        Schedule(folder);
    }
}

void FolderSizes::Schedule(const FolderPtr& folder)
{
    if (folder->busy || !folder->watchId || !(folder->pending.rescan || !folder->pending.changes.empty()))
        return;
    folder->busy = true;
    if (const DWORD refused = scans_.Submit(folder->key, [this, folder] { Continue(folder); })) {
        // Stopping, or no thread to list it: the question says so.
        folder->busy = false;
        folder->error = refused;
    }
}

void FolderSizes::Continue(const FolderPtr& folder)
{
    std::unique_lock lock(folder->mutex);
    for (;;) {
        if (!folder->watchId || (!folder->pending.rescan && (folder->pending.changes.empty() || !folder->tree))) {
            folder->busy = false;
            return;
        }
        if (folder->pending.rescan) {
            StartFullScan(folder);  // the folder stays busy until it is done
            return;
        }
        const std::vector<storage::Change> changes = std::exchange(folder->pending.changes, {});
        std::unique_ptr<DirNode> tree = std::move(folder->tree);
        const uint64_t generation = folder->generation;
        lock.unlock();
        const DWORD error = ApplyChanges(ThreadReader(), *tree, folder->path, changes, ++batches_);
        const size_t treeBytes = EstimateBytes(*tree);
        lock.lock();
        if (folder->generation != generation)
            continue;  // asked to start again meanwhile
        folder->tree = std::move(tree);
        folder->totals = folder->tree->tree;
        folder->error = error;
        lock.unlock();
        SetTreeBytes(folder, treeBytes);
        lock.lock();
    }
}

void FolderSizes::StartFullScan(const FolderPtr& folder)
{
    const bool forgetWatchRecords = folder->pending.forgetWatchRecords;
    folder->pending = {};  // the scan lists everything after them
    const bool forget = folder->forget || !folder->tree;
    folder->forget = false;
    if (forget) {
        folder->tree.reset();
        // A total known from before answers, Stale, until the scan is
        // complete; without one, the scan's running count does.
        folder->scanCounts = folder->state != ScanState::Stale;
        if (folder->scanCounts) {
            folder->totals = {};
            folder->state = ScanState::Running;
        }
    } else {
        folder->scanCounts = false;
    }
    DWORD refused = 0;
    folder->scan = TreeScan::Start(scans_, folder->key, folder->path, forgetWatchRecords,
                                   [this, weak = std::weak_ptr<Folder>(folder)](TreeScan& scan) {
                                       if (const FolderPtr owner = weak.lock())
                                           OnScanDone(owner, scan);
                                   },
                                   refused);
    if (!folder->scan) {
        folder->busy = false;
        folder->scanCounts = false;
        folder->error = refused;
    }
}

void FolderSizes::OnScanDone(const FolderPtr& folder, TreeScan& scan)
{
    size_t treeBytes = 0;
    {
        std::lock_guard lock(folder->mutex);
        if (folder->scan.get() != &scan)
            return;
        // The running job holds the scan until this returns.
        folder->scan.reset();
        folder->scanCounts = false;
        if (!scan.Cancelled()) {
            folder->tree = scan.TakeTree();
            treeBytes = scan.TreeBytes();
            folder->totals = folder->tree->tree;
            folder->state = ScanState::Complete;
            folder->error = scan.RootError();
            folder->lastScanned = GetTickCount64();
            if (std::exchange(folder->repairAfterScan, false)) {
                folder->pending.rescan = true;
                folder->pending.forgetWatchRecords = true;
            }
        } else if (folder->watchId && scan.RootError()) {
            folder->error = scan.RootError();  // a listing the pool refused
        }
    }
    if (treeBytes)
        SetTreeBytes(folder, treeBytes);
    Continue(folder);
}

} // namespace engine
