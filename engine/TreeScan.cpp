#include "engine/TreeScan.h"

#include <utility>

namespace engine {

TreeScan::TreeScan(ScanPool& pool, std::wstring path, bool forgetWatchRecords, Done done)
    : pool_(pool), path_(std::move(path)), forgetWatchRecords_(forgetWatchRecords), done_(std::move(done))
{
}

std::shared_ptr<TreeScan> TreeScan::Start(ScanPool& pool, std::wstring path, bool forgetWatchRecords, Done done)
{
    auto scan = std::make_shared<TreeScan>(pool, std::move(path), forgetWatchRecords, std::move(done));
    scan->Submit(scan->root_.get(), scan->path_);
    return scan;
}

void TreeScan::Submit(DirNode* node, std::wstring path)
{
    ++outstanding_;
    pool_.SubmitListing([self = shared_from_this(), node, path = std::move(path)](DirectoryReader& reader) {
        self->List(reader, *node, path);
    });
}

void TreeScan::List(DirectoryReader& reader, DirNode& node, const std::wstring& path)
{
    if (!progress_.cancelled) {
        const DWORD error = ListInto(reader, node, path, forgetWatchRecords_);
        if (&node == root_.get())
            rootError_ = error;
        progress_.Add(node.own);
        // Every child is counted before this folder is, so the count cannot
        // reach zero while a folder is still to be listed.
        for (const auto& child : node.children)
            Submit(child.get(), path + L'\\' + child->name);
    }
    if (--outstanding_ == 0) {
        if (!progress_.cancelled)
            SumTrees(*root_);
        done_(*this, reader);
    }
}

} // namespace engine
