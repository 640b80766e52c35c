#include "engine/DirectoryTree.h"

#include "base/Handles.h"
#include "engine/FolderPath.h"
#include "storage/WorkerPool.h"

#include <algorithm>
#include <utility>

namespace engine {

namespace {

// Large enough for a few hundred entries per call: each call costs a trip
// into the file system.
constexpr size_t kListBufferBytes = 64 * 1024;

bool IsDotName(const wchar_t* name, size_t length) noexcept
{
    return (length == 1 && name[0] == L'.') || (length == 2 && name[0] == L'.' && name[1] == L'.');
}

void AddEntries(const std::byte* data, Listing& out)
{
    for (;;) {
        const auto& entry = *reinterpret_cast<const FILE_ID_BOTH_DIR_INFO*>(data);
        const size_t nameLength = entry.FileNameLength / sizeof(wchar_t);
        if (entry.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            // Junctions and symbolic links to folders are reparse points: never
            // followed, so a link to an ancestor cannot make a loop and a
            // link elsewhere is not counted.
            if (!(entry.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) && !IsDotName(entry.FileName, nameLength))
                out.folders.emplace_back(entry.FileName, nameLength);
        } else {
            out.files.bytes += static_cast<uint64_t>(entry.EndOfFile.QuadPart);
            ++out.files.files;
        }
        if (entry.NextEntryOffset == 0)
            return;
        data += entry.NextEntryOffset;
    }
}

} // namespace

DirNode::~DirNode()
{
    std::vector<std::unique_ptr<DirNode>> pending = std::move(children);
    while (!pending.empty()) {
        std::unique_ptr<DirNode> node = std::move(pending.back());
        pending.pop_back();
        for (auto& child : node->children)
            pending.push_back(std::move(child));
        node->children.clear();
    }
}

DirNode* DirNode::Find(std::wstring_view childName) const noexcept
{
    const auto it = std::lower_bound(children.begin(), children.end(), childName,
                                     [](const std::unique_ptr<DirNode>& child, std::wstring_view wanted) {
                                         return NoCaseLess{}(child->name, wanted);
                                     });
    return it != children.end() && EqualNoCase((*it)->name, childName) ? it->get() : nullptr;
}

std::wstring DirNode::PathBelow(const std::wstring& rootPath) const
{
    std::vector<const DirNode*> chain;
    size_t length = rootPath.size();
    for (const DirNode* node = this; node->parent; node = node->parent) {
        chain.push_back(node);
        length += 1 + node->name.size();
    }
    std::wstring path;
    path.reserve(length);
    path = rootPath;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it)
        path.append(1, L'\\').append((*it)->name);
    return path;
}

DirectoryReader::DirectoryReader()
    : buffer_(kListBufferBytes), cancelled_(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    if (!cancelled_)
        storage::ReportFailure(L"creating a directory reader's event", GetLastError());
}

DirectoryReader& ThreadReader()
{
    thread_local DirectoryReader reader;
    return reader;
}

void DirectoryReader::ForgetWatchRecord(const std::wstring& path)
{
    if (!cancelled_)
        return;  // reported: the records stay, as they would without this
    const base::unique_file folder(CreateFileW(path.c_str(), FILE_LIST_DIRECTORY,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                               OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
    if (!folder)
        return;
    DWORD notifications[64];
    OVERLAPPED overlapped{};
    overlapped.hEvent = cancelled_.get();
    if (ReadDirectoryChangesW(folder.get(), notifications, sizeof notifications, FALSE, FILE_NOTIFY_CHANGE_DIR_NAME,
                              nullptr, &overlapped, nullptr)) {
        CancelIoEx(folder.get(), &overlapped);
        DWORD bytes = 0;
        GetOverlappedResult(folder.get(), &overlapped, &bytes, TRUE);
    }
}

bool WatchRecordsGoStale() noexcept
{
    static const bool wine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    return wine;
}

DWORD DirectoryReader::List(const std::wstring& path, Listing& out)
{
    out.files = {};
    out.folders.clear();
    const base::unique_file folder(CreateFileW(path.c_str(), FILE_LIST_DIRECTORY | SYNCHRONIZE,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                               OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!folder)
        return GetLastError();
    for (bool first = true;; first = false) {
        if (!GetFileInformationByHandleEx(folder.get(), first ? FileIdBothDirectoryRestartInfo : FileIdBothDirectoryInfo,
                                          buffer_.data(), static_cast<DWORD>(buffer_.size()))) {
            const DWORD error = GetLastError();
            if (error == ERROR_NO_MORE_FILES || (first && error == ERROR_FILE_NOT_FOUND))
                return 0;
            // A file opens like a folder; only listing it tells them apart.
            return first && error == ERROR_INVALID_PARAMETER ? ERROR_DIRECTORY : error;
        }
        AddEntries(buffer_.data(), out);
    }
}

DWORD ListInto(DirectoryReader& reader, DirNode& node, const std::wstring& path, bool forgetWatchRecord)
{
    if (forgetWatchRecord)
        reader.ForgetWatchRecord(path);
    Listing listing;
    const DWORD error = reader.List(path, listing);
    node.children.clear();
    node.own = error ? Totals{} : listing.files;
    if (error)
        return error;
    std::sort(listing.folders.begin(), listing.folders.end(), NoCaseLess{});
    node.children.reserve(listing.folders.size());
    for (const std::wstring& name : listing.folders)
        node.children.push_back(std::make_unique<DirNode>(name, &node));
    return 0;
}

DWORD ScanSubtree(DirectoryReader& reader, DirNode& node, const std::wstring& path, const ScanFlags& flags)
{
    const DWORD error = ListInto(reader, node, path, flags.forgetWatchRecords);
    std::vector<std::pair<DirNode*, std::wstring>> pending;
    const auto follow = [&](DirNode& listed, const std::wstring& listedPath) {
        listed.listedInBatch = flags.batch;
        if (flags.progress)
            flags.progress->Add(listed.own);
        for (const auto& child : listed.children)
            pending.emplace_back(child.get(), listedPath + L'\\' + child->name);
    };
    follow(node, path);
    while (!pending.empty() && !(flags.progress && flags.progress->cancelled)) {
        auto [child, childPath] = std::move(pending.back());
        pending.pop_back();
        ListInto(reader, *child, childPath, flags.forgetWatchRecords);
        follow(*child, childPath);
    }
    SumTrees(node);
    return error;
}

void SumTrees(DirNode& node)
{
    // Breadth first, then backwards: every child is summed before its parent.
    std::vector<DirNode*> order{&node};
    for (size_t i = 0; i < order.size(); ++i)
        for (const auto& child : order[i]->children)
            order.push_back(child.get());
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        DirNode& n = **it;
        n.tree = n.own;
        for (const auto& child : n.children)
            n.tree += child->tree;
    }
}

size_t EstimateBytes(const DirNode& node)
{
    // A heap block costs its size rounded up and a header.
    const auto block = [](size_t bytes) { return bytes ? (bytes + 31) / 16 * 16 : 0; };
    size_t total = 0;
    std::vector<const DirNode*> pending{&node};
    while (!pending.empty()) {
        const DirNode* n = pending.back();
        pending.pop_back();
        total += block(sizeof(DirNode));
        if (n->name.capacity() > 7)  // shorter names live inside the string
            total += block((n->name.capacity() + 1) * sizeof(wchar_t));
        total += block(n->children.capacity() * sizeof(n->children[0]));
        for (const auto& child : n->children)
            pending.push_back(child.get());
    }
    return total;
}

bool IsGone(DWORD error) noexcept
{
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_DIRECTORY:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_DELETE_PENDING:
        return true;
    default:
        return false;
    }
}

} // namespace engine
