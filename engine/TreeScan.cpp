#include "engine/TreeScan.h"

#include <utility>

namespace engine {

TreeScan::TreeScan(storage::WorkerPool& pool, uint64_t key, std::wstring path, bool forgetWatchRecords, Done done)
    : pool_(pool), key_(key), path_(std::move(path)), forgetWatchRecords_(forgetWatchRecords), done_(std::move(done))
{
}

std::shared_ptr<TreeScan> TreeScan::Start(storage::WorkerPool& pool, uint64_t key, std::wstring path,
                                          bool forgetWatchRecords, Done done, DWORD& error)
{
    auto scan = std::make_shared<TreeScan>(pool, key, std::move(path), forgetWatchRecords, std::move(done));
    error = scan->Submit(scan->root_.get(), scan->path_);
    return error ? nullptr : scan;
}

DWORD TreeScan::Submit(DirNode* node, std::wstring path)
{
    ++outstanding_;
    const DWORD error = pool_.Submit(key_, [self = shared_from_this(), node, path = std::move(path)] {
        self->List(*node, path);
    });
    if (error)
        --outstanding_;
    return error;
}

void TreeScan::List(DirNode& node, const std::wstring& path)
{
    if (!progress_.cancelled) {
        const DWORD error = ListInto(ThreadReader(), node, path, forgetWatchRecords_);
        if (&node == root_.get())
            rootError_ = error;
        progress_.Add(node.own);
        // Every child is counted before this folder is, so the count cannot
        // reach zero while a folder is still to be listed.
        for (const auto& child : node.children) {
            if (const DWORD refused = Submit(child.get(), path + L'\\' + child->name)) {
                // The pool stops or cannot run it: the scan cannot be complete.
                rootError_ = refused;
                progress_.cancelled = true;
                break;
            }
        }
    }
    if (--outstanding_ == 0)
        Finish();
}

void TreeScan::Finish()
{
    if (!progress_.cancelled) {
        SumTrees(*root_);
        treeBytes_ = EstimateBytes(*root_);
    }
    done_(*this);
}

} // namespace engine
