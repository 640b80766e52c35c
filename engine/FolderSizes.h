// The size engine's cache: the folders clients ask for, each scanned once in
// the background and then kept true by change notifications, so that later
// questions are answered from memory.
//
// Threads: the callers (the server's apartment) only read and write memory.
// Opening a folder and checking that its name still names the same folder
// run on the `opens` pool, listings on the `scans` pool, notifications on the
// change watcher's thread; each pool shares its threads fairly between
// folders, so a folder on slow storage holds only itself. A question waits
// at most answerWaitMs for the check it started, so that a missing folder on
// a local disk still fails at once; past that it answers from what is known.
//
// Memory: the followed folders' trees, names and watch buffers are counted
// against memoryBudget. Past it, the folders asked for least recently are let
// go: each keeps a small record with its last total, answered as Stale while
// it is followed and scanned again after a later question. So is a folder
// nobody asked for during idleReleaseMs, and one whose notifications stopped
// after they had started (on Windows, a folder being deleted: the engine's
// handle would keep it until closed; Wine keeps it and shows nothing).
// The records are counted against recordBudget, past which the oldest are
// forgotten.
//
// Safe for calls on several threads at once.
#pragma once

#include "storage/ChangeWatcher.h"
#include "storage/WorkerPool.h"
#include "engine/DirectoryTree.h"
#include "engine/FolderPath.h"
#include "engine/TreeScan.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace engine {

// What is known of a folder's total; the values of KRN_SCAN_*.
enum class ScanState : long { Unknown = 0, Running = 1, Complete = 2, Stale = 3 };

struct EngineOptions {
    EngineOptions();

    size_t memoryBudget = size_t{256} << 20;
    size_t recordBudget = size_t{16} << 20;
    DWORD answerWaitMs = 20;
    // As long as the server lingers after its last object. Whoever follows a
    // folder asks more often: the main window every 3 s, the watcher after
    // each change (and it takes a Stale answer for one to ask again).
    DWORD idleReleaseMs = 5 * 60 * 1000;
    storage::PoolOptions opens;
    storage::PoolOptions scans;
    storage::WatchOptions watch;
};

struct Usage {
    size_t followed = 0;     // folders with a watch
    size_t records = 0;      // folders known, followed or not
    size_t bytes = 0;        // estimated, of the followed folders
    size_t recordBytes = 0;  // estimated, of all records
    size_t closing = 0;      // watches asked to close and not closed yet
    size_t watches = 0;      // the change watcher's watches and requests
};

class FolderSizes {
public:
    explicit FolderSizes(const EngineOptions& options = {});
    // Stop with a short deadline, if it was not called. When a thread is then
    // still stuck on storage, the owner must end the process instead of
    // destroying this: that thread uses it when its storage answers.
    ~FolderSizes();
    FolderSizes(const FolderSizes&) = delete;
    FolderSizes& operator=(const FolderSizes&) = delete;

    // The folder's total and what it is (see ScanState). A folder asked for
    // the first time is opened and scanned in the background: Unknown with 0
    // while it is opened, then Running with what was found so far. Fails
    // (totals 0, Unknown) with MakeFolderPath's errors, or when the folder is
    // known not to open (ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND,
    // ERROR_DIRECTORY for a file, ERROR_ACCESS_DENIED,
    // ERROR_SHARING_VIOLATION...).
    // `finalName`, when given, gets the name the file system gives the folder
    // once it was opened (a short 8.3 name and the long one give the same),
    // else the name in MakeFolderPath's form.
    DWORD GetTotals(std::wstring_view folder, Totals& totals, ScanState& state, std::wstring* finalName = nullptr);
    DWORD GetTotals(std::wstring_view folder, Totals& totals);
    // Forgets what is known of the folder and scans it again in the
    // background; fails like GetTotals.
    DWORD ScanNow(std::wstring_view folder);
    // From memory only: Unknown for a folder not known.
    DWORD GetScanState(std::wstring_view folder, ScanState& state);
    DWORD StopWatching(std::wstring_view folder, bool& wasFollowed);
    size_t WatchedCount() const;
    Usage usage() const;

    // Stops every thread within `timeoutMs`. True when all of them ended.
    bool Stop(DWORD timeoutMs);

private:
    struct Folder;
    using FolderPtr = std::shared_ptr<Folder>;
    // The file system's number of the folder: a folder made under the name of
    // one that was renamed away has another.
    using Identity = int64_t;

    static DWORD IdentityOf(HANDLE folder, Identity& identity);
    static DWORD ReadIdentity(const std::wstring& path, Identity& identity);

    // The record of the path, made when missing; marks it asked.
    FolderPtr Ask(const std::wstring& path);
    FolderPtr Find(const std::wstring& path) const;
    // Starts a check of the folder (open, or identity) unless one runs, and
    // waits for it up to answerWaitMs after it started.
    void CheckBriefly(const FolderPtr& folder);
    // On the opens pool.
    void Check(const FolderPtr& folder);
    void Open(const FolderPtr& folder);
    void Follow(const FolderPtr& folder, base::unique_file root, Identity identity);
    // Lets go of the folder's watch, tree and scan; its record stays.
    void Release(const FolderPtr& folder);
    void Forget(const FolderPtr& folder);
    void SetTreeBytes(const FolderPtr& folder, size_t treeBytes);
    // Lets folders go while the estimate is over the budget, never `keep`.
    void KeepWithinBudget(const FolderPtr& keep);
    // With mutex_ held: forgets the records asked for least recently while
    // they take more than recordBudget, never `keep`'s.
    void TrimRecords(const FolderPtr& keep);
    // Now and then, on a question: lets go of the folders nobody asked for
    // during idleReleaseMs.
    void ReleaseIdleSometimes();
    void ReleaseIdle();
    void OnBatch(uint64_t watchId, storage::ChangeBatch&& batch);
    // See WatchRecordsGoStale: the folders around one whose watch closed lost
    // the notifications of the folders below it.
    void RepairAround(const std::wstring& closedPath);
    // With the folder's mutex held.
    void Schedule(const FolderPtr& folder);
    void StartFullScan(const FolderPtr& folder);
    // On a scans pool thread, while the folder is busy.
    void Continue(const FolderPtr& folder);
    void OnScanDone(const FolderPtr& folder, TreeScan& scan);

    const EngineOptions options_;
    mutable std::mutex mutex_;  // before any folder's mutex
    std::map<std::wstring, FolderPtr, NoCaseLess> byPath_;
    std::unordered_map<uint64_t, FolderPtr> byWatch_;
    std::unordered_map<uint64_t, std::wstring> closing_;  // released folders whose watch is not closed yet
    uint64_t nextKey_ = 1;
    uint64_t asked_ = 0;
    ULONGLONG idleChecked_ = 0;
    size_t bytes_ = 0;
    size_t recordBytes_ = 0;
    bool stopping_ = false;
    std::atomic<uint32_t> batches_{0};
    // Stopped by Stop: checks first, then listings, then notifications.
    storage::WorkerPool opens_;
    storage::WorkerPool scans_;
    storage::ChangeWatcher watcher_;
};

} // namespace engine
