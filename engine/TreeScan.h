// One full scan of a watched folder, spread over the pool's threads folder by
// folder. The total found so far can be read while it runs.
#pragma once

#include "engine/DirectoryTree.h"
#include "engine/ScanPool.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>

namespace engine {

class TreeScan : public std::enable_shared_from_this<TreeScan> {
public:
    // Runs on the pool thread that listed the last folder, also after Cancel.
    using Done = std::function<void(TreeScan&, DirectoryReader&)>;

    // `forgetWatchRecords`: see WatchRecordsGoStale.
    static std::shared_ptr<TreeScan> Start(ScanPool& pool, std::wstring path, bool forgetWatchRecords, Done done);

    Totals Found() const noexcept { return progress_.Read(); }
    void Cancel() noexcept { progress_.cancelled = true; }
    bool Cancelled() const noexcept { return progress_.cancelled; }
    // The error of listing the watched folder itself (0 when it was listed).
    DWORD RootError() const noexcept { return rootError_; }
    // The tree with its totals, once Done was called.
    std::unique_ptr<DirNode> TakeTree() noexcept { return std::move(root_); }

    TreeScan(ScanPool& pool, std::wstring path, bool forgetWatchRecords, Done done);

private:
    void Submit(DirNode* node, std::wstring path);
    void List(DirectoryReader& reader, DirNode& node, const std::wstring& path);

    ScanPool& pool_;
    std::wstring path_;
    const bool forgetWatchRecords_;
    Done done_;
    std::unique_ptr<DirNode> root_ = std::make_unique<DirNode>();
    Progress progress_;
    std::atomic<size_t> outstanding_{0};
    DWORD rootError_ = 0;
};

} // namespace engine
