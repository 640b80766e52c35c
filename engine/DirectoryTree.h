// What the size engine keeps of a watched folder: one node per folder below
// it, each with the sums of its own files. Files are not kept: a change is
// answered by listing the folder that holds it again.
#pragma once

#include "base/Handles.h"

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace engine {

struct Totals {
    uint64_t bytes = 0;
    uint64_t files = 0;

    Totals& operator+=(const Totals& other) noexcept
    {
        bytes += other.bytes;
        files += other.files;
        return *this;
    }
    // Unsigned arithmetic wraps, so a difference added later gives the exact
    // total even when it shrank.
    Totals& operator-=(const Totals& other) noexcept
    {
        bytes -= other.bytes;
        files -= other.files;
        return *this;
    }
    friend bool operator==(const Totals&, const Totals&) = default;
};

struct DirNode {
    DirNode() = default;
    DirNode(std::wstring_view folderName, DirNode* owner) : name(folderName), parent(owner) {}
    DirNode(const DirNode&) = delete;
    DirNode& operator=(const DirNode&) = delete;
    // Takes the tree apart without recursion: a tree may be thousands of
    // levels deep.
    ~DirNode();

    // The child of that name, compared without case, or null.
    DirNode* Find(std::wstring_view childName) const noexcept;
    // The full name: the watched folder's path and the names down to here.
    std::wstring PathBelow(const std::wstring& rootPath) const;

    std::wstring name;
    DirNode* parent = nullptr;
    // Sorted by name without case.
    std::vector<std::unique_ptr<DirNode>> children;
    Totals own;   // the files directly in this folder
    Totals tree;  // own and every child's tree
    // The change batch that last listed this folder (see ApplyChanges).
    uint32_t listedInBatch = 0;
};

// The sums of one folder's files and the names of its subfolders, without
// junctions or symbolic links (never followed, so no loop can form) and
// without "." and "..".
struct Listing {
    Totals files;
    std::vector<std::wstring> folders;
};

// Lists folders through large reads of directory entries; one per thread
// (ThreadReader), its buffer reused.
class DirectoryReader {
public:
    DirectoryReader();
    // 0, or the error of opening or reading the folder (ERROR_ACCESS_DENIED,
    // ERROR_SHARING_VIOLATION, ERROR_PATH_NOT_FOUND, ERROR_DIRECTORY...).
    DWORD List(const std::wstring& path, Listing& out);
    // See WatchRecordsGoStale: watches the folder alone for a moment.
    void ForgetWatchRecord(const std::wstring& path);

private:
    std::vector<std::byte> buffer_;
    base::unique_kernel_handle cancelled_;
};

// The reader of the calling thread.
DirectoryReader& ThreadReader();

// Wine 8's server keeps a record of every folder a recursive watch reached;
// when that watch closes, it frees the records of the first level below it
// only. While a stale record of a folder remains (also under a later folder
// that got the same number), a new recursive watch above it never hears of
// changes in it. Watching the folder alone and closing that watch again frees
// the record; done before a folder is listed, the listing's open registers it
// afresh with the watch above. True when this runs on Wine.
bool WatchRecordsGoStale() noexcept;

// The running total of a scan, read by other threads while it grows.
struct Progress {
    std::atomic<uint64_t> bytes{0};
    std::atomic<uint64_t> files{0};
    std::atomic<bool> cancelled{false};

    Totals Read() const noexcept { return {bytes.load(), files.load()}; }
    void Add(const Totals& t) noexcept
    {
        bytes += t.bytes;
        files += t.files;
    }
};

// What a scan does besides listing.
struct ScanFlags {
    Progress* progress = nullptr;  // counts what is found; may cancel
    uint32_t batch = 0;            // marks every folder listed (DirNode::listedInBatch)
    bool forgetWatchRecords = false;
};

// Gives `node` the listing of `path`: its own sums and a child per subfolder
// (not yet listed), sorted. A folder that cannot be read counts as empty: it
// is skipped, not fatal. Returns the listing's error.
DWORD ListInto(DirectoryReader& reader, DirNode& node, const std::wstring& path, bool forgetWatchRecord = false);

// Lists `node` and everything below it, depth first without recursion, and
// computes the trees' totals. Stops early (leaving partial sums) when the
// progress is cancelled. Returns the error of listing `node` itself.
DWORD ScanSubtree(DirectoryReader& reader, DirNode& node, const std::wstring& path, const ScanFlags& flags = {});

// Computes `tree` for `node` and every node below it from their `own` sums.
void SumTrees(DirNode& node);

// What the tree below `node` takes in memory, estimated: nodes, names and the
// vectors of children, each with the allocator's overhead.
size_t EstimateBytes(const DirNode& node);

// True for errors that mean the folder is no longer there.
bool IsGone(DWORD error) noexcept;

} // namespace engine
