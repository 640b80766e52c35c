// The size engine's cache: the folders clients ask for, each scanned once in
// the background and then kept true by change notifications, so that later
// questions are answered from memory.
#pragma once

#include "storage/ChangeWatcher.h"
#include "engine/DirectoryTree.h"
#include "engine/FolderPath.h"
#include "engine/ScanPool.h"
#include "engine/TreeScan.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace engine {

// What is known of a folder; the values of KRN_SCAN_*.
enum class ScanState : long { Unknown = 0, Running = 1, Complete = 2 };

struct EngineOptions {
    // Folders followed at once; the one asked for least recently goes first.
    size_t maxFolders = 256;
    unsigned scanThreads = 2;
    storage::WatchOptions watch;
};

class FolderSizes {
public:
    explicit FolderSizes(const EngineOptions& options = {});
    ~FolderSizes();
    FolderSizes(const FolderSizes&) = delete;
    FolderSizes& operator=(const FolderSizes&) = delete;

    // The folder's total. A folder asked for the first time is scanned in the
    // background and answers with what was found so far. Fails (totals 0) with
    // MakeFolderPath's errors, or when the folder cannot be opened
    // (ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_DIRECTORY for a file,
    // ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION...).
    DWORD GetTotals(std::wstring_view folder, Totals& totals);
    // Forgets what is known of the folder and scans it again in the
    // background; fails like GetTotals.
    DWORD ScanNow(std::wstring_view folder);
    // From memory only: Unknown for a folder not followed.
    DWORD GetScanState(std::wstring_view folder, ScanState& state);
    DWORD StopWatching(std::wstring_view folder, bool& wasFollowed);
    size_t WatchedCount() const;

private:
    struct Folder;
    using FolderPtr = std::shared_ptr<Folder>;
    // The file system's number of the folder: a folder made under the name of
    // one that was renamed away has another.
    using Identity = int64_t;

    static DWORD IdentityOf(HANDLE folder, Identity& identity);
    static DWORD ReadIdentity(const std::wstring& path, Identity& identity);
    // The followed folder of that path, if still the same folder; otherwise
    // drops it. Fails when the path names no folder.
    DWORD FindCurrent(const std::wstring& path, FolderPtr& folder);
    FolderPtr Find(const std::wstring& path, bool asked);
    DWORD Follow(const std::wstring& path, FolderPtr& folder);
    void Drop(const FolderPtr& folder);
    void OnBatch(uint64_t id, storage::ChangeBatch&& batch);
    // See WatchRecordsGoStale: the folders around one whose watch closed lost
    // the notifications of the folders below it.
    void RepairAround(const std::wstring& closedPath);
    // With the folder's mutex held.
    void Schedule(const FolderPtr& folder);
    void StartFullScan(const FolderPtr& folder);
    // On a pool thread, while the folder is busy.
    void Continue(const FolderPtr& folder, DirectoryReader& reader);
    void OnScanDone(const FolderPtr& folder, TreeScan& scan, DirectoryReader& reader);

    const EngineOptions options_;
    mutable std::mutex mutex_;
    std::map<std::wstring, FolderPtr, NoCaseLess> byPath_;
    std::unordered_map<uint64_t, FolderPtr> byId_;
    std::unordered_map<uint64_t, std::wstring> closing_;  // dropped folders whose watch is not closed yet
    uint64_t nextId_ = 1;
    uint64_t asked_ = 0;
    std::atomic<uint32_t> batches_{0};
    // Stopped in this order by the destructor: notifications first, then the
    // listings, before the folders go.
    ScanPool pool_;
    storage::ChangeWatcher watcher_;
};

} // namespace engine
