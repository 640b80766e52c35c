// One full scan of a watched folder, spread over a pool's threads folder by
// folder. The total found so far can be read while it runs.
#pragma once

#include "engine/DirectoryTree.h"
#include "storage/WorkerPool.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>

namespace engine {

class TreeScan : public std::enable_shared_from_this<TreeScan> {
public:
    // Runs on the pool thread that listed the last folder, also after Cancel.
    using Done = std::function<void(TreeScan&)>;

    // The listings run as jobs of `key` (the watched folder). `forgetWatchRecords`:
    // see WatchRecordsGoStale. Null when the first listing could not be
    // queued, with the pool's error in `error`.
    static std::shared_ptr<TreeScan> Start(storage::WorkerPool& pool, uint64_t key, std::wstring path,
                                           bool forgetWatchRecords, Done done, DWORD& error);

    Totals Found() const noexcept { return progress_.Read(); }
    void Cancel() noexcept { progress_.cancelled = true; }
    bool Cancelled() const noexcept { return progress_.cancelled; }
    // The error of listing the watched folder itself (0 when it was listed),
    // or the pool's when a listing could not be queued (the scan then ends
    // cancelled).
    DWORD RootError() const noexcept { return rootError_; }
    // The tree with its totals, and what it takes in memory, once Done was called.
    std::unique_ptr<DirNode> TakeTree() noexcept { return std::move(root_); }
    size_t TreeBytes() const noexcept { return treeBytes_; }

    TreeScan(storage::WorkerPool& pool, uint64_t key, std::wstring path, bool forgetWatchRecords, Done done);

private:
    DWORD Submit(DirNode* node, std::wstring path);
    void List(DirNode& node, const std::wstring& path);
    void Finish();

    storage::WorkerPool& pool_;
    const uint64_t key_;
    std::wstring path_;
    const bool forgetWatchRecords_;
    Done done_;
    std::unique_ptr<DirNode> root_ = std::make_unique<DirNode>();
    Progress progress_;
    std::atomic<size_t> outstanding_{0};
    DWORD rootError_ = 0;
    size_t treeBytes_ = 0;
};

} // namespace engine
