#include "engine/FolderSizes.h"

#include "engine/TreeUpdate.h"

#include <winternl.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace engine {

namespace {

// A folder whose notifications failed is scanned again when asked for, at
// most this often.
constexpr ULONGLONG kUnfollowedRescanMs = 2000;

} // namespace

struct FolderSizes::Folder {
    Folder(uint64_t folderId, std::wstring folderPath, const Identity& rootIdentity)
        : id(folderId), path(std::move(folderPath)), identity(rootIdentity)
    {
    }

    const uint64_t id;
    const std::wstring path;
    const Identity identity;
    uint64_t lastAsked = 0;  // guarded by FolderSizes::mutex_

    std::mutex mutex;  // guards everything below
    ScanState state = ScanState::Running;
    Totals totals;
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
    bool busy = false;    // a scan or an update runs for this folder
    bool followed = true;
    bool dropped = false;
    DWORD error = 0;  // the folder itself could not be listed
    uint64_t generation = 0;
    ULONGLONG lastScanned = 0;
};

FolderSizes::FolderSizes(const EngineOptions& options)
    : options_(options),
      pool_(std::max(1u, options.scanThreads)),
      watcher_(options.watch, [this](uint64_t id, storage::ChangeBatch&& batch) { OnBatch(id, std::move(batch)); })
{
}

FolderSizes::~FolderSizes()
{
    std::lock_guard lock(mutex_);
    for (const auto& [id, folder] : byId_) {
        std::lock_guard folderLock(folder->mutex);
        folder->dropped = true;
        if (folder->scan)
            folder->scan->Cancel();
    }
}

DWORD FolderSizes::GetTotals(std::wstring_view name, Totals& totals)
{
    totals = {};
    std::wstring path;
    FolderPtr folder;
    if (const DWORD error = MakeFolderPath(name, path))
        return error;
    if (const DWORD error = FindCurrent(path, folder))
        return error;
    if (!folder) {
        if (const DWORD error = Follow(path, folder))
            return error;
    }
    DWORD error = 0;
    {
        std::lock_guard lock(folder->mutex);
        error = folder->error;
        if (!error) {
            totals = folder->scan && folder->scanCounts ? folder->scan->Found() : folder->totals;
            if (!folder->followed && !folder->busy && GetTickCount64() - folder->lastScanned >= kUnfollowedRescanMs) {
                folder->pending.rescan = true;
                Schedule(folder);
            }
        }
    }
    if (error) {
        Drop(folder);
        totals = {};
    }
    return error;
}

DWORD FolderSizes::ScanNow(std::wstring_view name)
{
    std::wstring path;
    FolderPtr folder;
    if (const DWORD error = MakeFolderPath(name, path))
        return error;
    if (const DWORD error = FindCurrent(path, folder))
        return error;
    if (!folder)
        return Follow(path, folder);
    std::lock_guard lock(folder->mutex);
    ++folder->generation;
    folder->pending.rescan = true;
    folder->pending.changes.clear();
    folder->repairAfterScan = WatchRecordsGoStale();
    folder->forget = true;
    folder->state = ScanState::Running;
    folder->totals = {};
    folder->scanCounts = false;
    if (folder->scan)
        folder->scan->Cancel();
    Schedule(folder);
    return 0;
}

DWORD FolderSizes::GetScanState(std::wstring_view name, ScanState& state)
{
    state = ScanState::Unknown;
    std::wstring path;
    if (const DWORD error = MakeFolderPath(name, path))
        return error;
    if (const FolderPtr folder = Find(path, false)) {
        std::lock_guard lock(folder->mutex);
        state = folder->state;
    }
    return 0;
}

DWORD FolderSizes::StopWatching(std::wstring_view name, bool& wasFollowed)
{
    wasFollowed = false;
    std::wstring path;
    if (const DWORD error = MakeFolderPath(name, path))
        return error;
    if (const FolderPtr folder = Find(path, false)) {
        Drop(folder);
        wasFollowed = true;
    }
    return 0;
}

size_t FolderSizes::WatchedCount() const
{
    std::lock_guard lock(mutex_);
    return byPath_.size();
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

DWORD FolderSizes::FindCurrent(const std::wstring& path, FolderPtr& folder)
{
    // Checked on every question: a folder can be deleted, or renamed and
    // another one made under its name, without a notification to its own
    // watch.
    Identity identity = 0;
    const DWORD error = ReadIdentity(path, identity);
    folder = Find(path, true);
    if (folder && (error || folder->identity != identity)) {
        Drop(folder);
        folder.reset();
    }
    return error;
}

FolderSizes::FolderPtr FolderSizes::Find(const std::wstring& path, bool asked)
{
    std::lock_guard lock(mutex_);
    const auto it = byPath_.find(path);
    if (it == byPath_.end())
        return nullptr;
    if (asked)
        it->second->lastAsked = ++asked_;
    return it->second;
}

DWORD FolderSizes::Follow(const std::wstring& path, FolderPtr& folder)
{
    base::unique_file root(CreateFileW(path.c_str(), FILE_LIST_DIRECTORY,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                       FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
    if (!root)
        return GetLastError();
    Identity identity = 0;
    if (const DWORD error = IdentityOf(root.get(), identity))
        return error;

    FolderPtr leastAsked;
    {
        std::lock_guard lock(mutex_);
        if (const auto it = byPath_.find(path); it != byPath_.end()) {
            folder = it->second;  // another thread was quicker
            return 0;
        }
        folder = std::make_shared<Folder>(nextId_++, path, identity);
        folder->lastAsked = ++asked_;
        byPath_.emplace(path, folder);
        byId_.emplace(folder->id, folder);
        if (byPath_.size() > options_.maxFolders) {
            for (const auto& [key, candidate] : byPath_)
                if (!leastAsked || candidate->lastAsked < leastAsked->lastAsked)
                    leastAsked = candidate;
        }
    }
    if (leastAsked)
        Drop(leastAsked);
    // The first batch of the watch asks for the first scan: the scan starts
    // after the notifications, so no change can fall between them.
    watcher_.Watch(folder->id, std::move(root));
    return 0;
}

void FolderSizes::Drop(const FolderPtr& folder)
{
    {
        std::lock_guard lock(mutex_);
        if (const auto it = byPath_.find(folder->path); it != byPath_.end() && it->second == folder)
            byPath_.erase(it);
        if (byId_.erase(folder->id) && WatchRecordsGoStale())
            closing_.emplace(folder->id, folder->path);
    }
    {
        std::lock_guard lock(folder->mutex);
        folder->dropped = true;
        if (folder->scan)
            folder->scan->Cancel();
    }
    watcher_.Unwatch(folder->id);
}

void FolderSizes::OnBatch(uint64_t id, storage::ChangeBatch&& batch)
{
    FolderPtr folder;
    std::wstring closedPath;
    {
        std::lock_guard lock(mutex_);
        if (batch.closed) {
            if (const auto it = closing_.find(id); it != closing_.end()) {
                closedPath = std::move(it->second);
                closing_.erase(it);
            }
        } else if (const auto it = byId_.find(id); it != byId_.end()) {
            folder = it->second;
        }
    }
    if (!closedPath.empty())
        RepairAround(closedPath);
    if (!folder)
        return;
    std::lock_guard lock(folder->mutex);
    auto& pending = folder->pending;
    if (batch.failed) {
        // Still answered, from scans repeated when asked for.
        folder->followed = false;
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
        for (const auto& [path, folder] : byPath_)
            if (closedPath.size() > path.size() && (path.back() == L'\\' || closedPath[path.size()] == L'\\') &&
                EqualNoCase(std::wstring_view(closedPath).substr(0, path.size()), path))
                around.push_back(folder);
    }
    for (const FolderPtr& folder : around) {
        std::lock_guard lock(folder->mutex);
        folder->pending.rescan = true;
        folder->pending.forgetWatchRecords = true;
        folder->pending.changes.clear();
        Schedule(folder);
    }
}

void FolderSizes::Schedule(const FolderPtr& folder)
{
    if (folder->busy || folder->dropped || !(folder->pending.rescan || !folder->pending.changes.empty()))
        return;
    folder->busy = true;
    pool_.SubmitUpdate([this, folder](DirectoryReader& reader) { Continue(folder, reader); });
}

void FolderSizes::Continue(const FolderPtr& folder, DirectoryReader& reader)
{
    std::unique_lock lock(folder->mutex);
    for (;;) {
        if (folder->dropped || (!folder->pending.rescan && (folder->pending.changes.empty() || !folder->tree))) {
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
        const DWORD error = ApplyChanges(reader, *tree, folder->path, changes, ++batches_);
        lock.lock();
        if (folder->generation != generation)
            continue;  // asked to start again meanwhile
        folder->tree = std::move(tree);
        folder->totals = folder->tree->tree;
        folder->error = error;
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
        folder->totals = {};
        folder->state = ScanState::Running;
    }
    folder->scanCounts = forget;
    folder->scan = TreeScan::Start(pool_, folder->path, forgetWatchRecords,
                                   [this, weak = std::weak_ptr<Folder>(folder)](TreeScan& scan, DirectoryReader& reader) {
                                       if (const FolderPtr owner = weak.lock())
                                           OnScanDone(owner, scan, reader);
                                   });
}

void FolderSizes::OnScanDone(const FolderPtr& folder, TreeScan& scan, DirectoryReader& reader)
{
    {
        std::lock_guard lock(folder->mutex);
        if (folder->scan.get() != &scan)
            return;
        // The running job holds the scan until this returns.
        folder->scan.reset();
        folder->scanCounts = false;
        if (!scan.Cancelled()) {
            folder->tree = scan.TakeTree();
            folder->totals = folder->tree->tree;
            folder->state = ScanState::Complete;
            folder->error = scan.RootError();
            folder->lastScanned = GetTickCount64();
            if (std::exchange(folder->repairAfterScan, false)) {
                folder->pending.rescan = true;
                folder->pending.forgetWatchRecords = true;
            }
        }
    }
    Continue(folder, reader);
}

} // namespace engine
