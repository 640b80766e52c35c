#include "engine/TreeUpdate.h"

#include "engine/FolderPath.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

namespace engine {

namespace {

using NameSet = std::set<std::wstring, NoCaseLess>;

// The changes of a batch, by the folder that holds the changed item.
struct Dirty {
    std::vector<std::wstring_view> parts;  // the folder, name by name
    NameSet fresh;                         // items that appeared: scanned whole when folders
};

std::vector<std::wstring_view> SplitPath(std::wstring_view path)
{
    std::vector<std::wstring_view> parts;
    while (!path.empty()) {
        const size_t slash = path.find(L'\\');
        const std::wstring_view part = path.substr(0, slash);
        if (!part.empty())
            parts.push_back(part);
        if (slash == std::wstring_view::npos)
            break;
        path.remove_prefix(slash + 1);
    }
    return parts;
}

// The first `count` parts joined again.
std::wstring Join(const std::vector<std::wstring_view>& parts, size_t count)
{
    std::wstring path;
    for (size_t i = 0; i < count && i < parts.size(); ++i) {
        if (i)
            path += L'\\';
        path.append(parts[i]);
    }
    return path;
}

// Whether a folder above `path` (the watched folder itself is "") is in `set`.
bool HasAncestorIn(const std::wstring& path, const NameSet& set)
{
    if (path.empty())
        return false;
    if (set.count(std::wstring()))
        return true;
    for (size_t slash = path.find(L'\\'); slash != std::wstring::npos; slash = path.find(L'\\', slash + 1))
        if (set.count(path.substr(0, slash)))
            return true;
    return false;
}

class Updater {
public:
    Updater(DirectoryReader& reader, DirNode& root, const std::wstring& rootPath, uint32_t batch)
        : reader_(reader), root_(root), rootPath_(rootPath), batch_(batch)
    {
    }

    DWORD Apply(const std::vector<storage::Change>& changes);

private:
    std::pair<DirNode*, size_t> Resolve(const std::vector<std::wstring_view>& parts) const;
    DWORD Update(const Dirty& dirty);
    void RescanRequested();
    DWORD Relist(DirNode* folder, const NameSet& fresh);
    void RescanWhole(DirNode& folder);
    void ReplaceChildren(DirNode& folder, std::vector<std::wstring>& names, const NameSet& fresh);
    static void Propagate(DirNode& folder, const Totals& before);

    DirectoryReader& reader_;
    DirNode& root_;
    const std::wstring& rootPath_;
    const uint32_t batch_;
    NameSet removed_;       // relative names of items the batch reports removed
    NameSet wholeRescans_;  // relative names of folders to scan again whole
};

DWORD Updater::Apply(const std::vector<storage::Change>& changes)
{
    std::map<std::wstring, Dirty, NoCaseLess> dirty;
    for (const storage::Change& change : changes) {
        std::wstring_view name = change.name;
        while (!name.empty() && name.back() == L'\\')
            name.remove_suffix(1);
        const size_t slash = name.rfind(L'\\');
        const std::wstring_view folder = slash == std::wstring_view::npos ? std::wstring_view() : name.substr(0, slash);
        const std::wstring_view leaf = slash == std::wstring_view::npos ? name : name.substr(slash + 1);
        Dirty& entry = dirty[std::wstring(folder)];
        if (change.action == FILE_ACTION_ADDED || change.action == FILE_ACTION_RENAMED_NEW_NAME)
            entry.fresh.emplace(leaf);
        else if (change.action == FILE_ACTION_REMOVED)
            removed_.emplace(name);
    }
    // Parents before children: a folder made new by its parent's listing is
    // scanned whole and needs no listing of its own.
    std::vector<Dirty*> order;
    for (auto& [folder, entry] : dirty) {
        entry.parts = SplitPath(folder);
        order.push_back(&entry);
    }
    std::stable_sort(order.begin(), order.end(),
                     [](const Dirty* a, const Dirty* b) { return a->parts.size() < b->parts.size(); });
    for (const Dirty* entry : order)
        if (const DWORD error = Update(*entry))
            return error;
    RescanRequested();
    return 0;
}

std::pair<DirNode*, size_t> Updater::Resolve(const std::vector<std::wstring_view>& parts) const
{
    DirNode* folder = &root_;
    size_t known = 0;
    for (; known < parts.size(); ++known) {
        DirNode* child = folder->Find(parts[known]);
        if (!child)
            break;
        folder = child;
    }
    return {folder, known};
}

DWORD Updater::Update(const Dirty& dirty)
{
    const auto [folder, known] = Resolve(dirty.parts);
    if (folder->listedInBatch != batch_) {
        // A folder that is not known yet gets its items from its parent's
        // listing, where it is new and scanned whole.
        const DWORD error = Relist(folder, known == dirty.parts.size() ? dirty.fresh : NameSet());
        if (error)
            return error;
    }
    if (known == dirty.parts.size() || Resolve(dirty.parts).second != known)
        return 0;
    // The change names a folder that is still not there. Removed: nothing to
    // do. Otherwise the name is an old one (some systems keep reporting a
    // renamed folder by its old name) or a short one: the nearest folder known
    // is scanned again whole, once the batch's listings are done.
    if (removed_.count(Join(dirty.parts, known + 1)) == 0)
        wholeRescans_.insert(Join(dirty.parts, known));
    return 0;
}

void Updater::RescanRequested()
{
    for (auto it = wholeRescans_.begin(); it != wholeRescans_.end();) {
        if (HasAncestorIn(*it, wholeRescans_))
            it = wholeRescans_.erase(it);
        else
            ++it;
    }
    for (const std::wstring& path : wholeRescans_) {
        const std::vector<std::wstring_view> parts = SplitPath(path);
        const auto [folder, known] = Resolve(parts);
        if (known == parts.size())
            RescanWhole(*folder);
    }
}

DWORD Updater::Relist(DirNode* folder, const NameSet& fresh)
{
    static const NameSet none;
    const NameSet* appeared = &fresh;
    for (;;) {
        const Totals before = folder->tree;
        Listing listing;
        const DWORD error = reader_.List(folder->PathBelow(rootPath_), listing);
        if (IsGone(error)) {
            if (!folder->parent)
                return error;
            // Gone since: its parent's listing drops it.
            folder = folder->parent;
            appeared = &none;
            continue;
        }
        folder->listedInBatch = batch_;
        // A folder that cannot be read counts as empty.
        folder->own = error ? Totals{} : listing.files;
        if (error)
            listing.folders.clear();
        ReplaceChildren(*folder, listing.folders, *appeared);
        Propagate(*folder, before);
        return 0;
    }
}

void Updater::ReplaceChildren(DirNode& folder, std::vector<std::wstring>& names, const NameSet& fresh)
{
    std::sort(names.begin(), names.end(), NoCaseLess{});
    std::vector<std::unique_ptr<DirNode>> children;
    children.reserve(names.size());
    auto old = folder.children.begin();
    for (const std::wstring& name : names) {
        while (old != folder.children.end() && NoCaseLess{}((*old)->name, name))
            ++old;
        if (old != folder.children.end() && EqualNoCase((*old)->name, name) && fresh.count(name) == 0) {
            children.push_back(std::move(*old++));
            continue;
        }
        auto child = std::make_unique<DirNode>(name, &folder);
        ScanSubtree(reader_, *child, child->PathBelow(rootPath_), {nullptr, batch_, WatchRecordsGoStale()});
        children.push_back(std::move(child));
    }
    folder.children = std::move(children);
    folder.tree = folder.own;
    for (const auto& child : folder.children)
        folder.tree += child->tree;
}

void Updater::RescanWhole(DirNode& folder)
{
    const Totals before = folder.tree;
    ScanSubtree(reader_, folder, folder.PathBelow(rootPath_), {nullptr, batch_, WatchRecordsGoStale()});
    Propagate(folder, before);
}

void Updater::Propagate(DirNode& folder, const Totals& before)
{
    for (DirNode* above = folder.parent; above; above = above->parent) {
        above->tree -= before;
        above->tree += folder.tree;
    }
}

} // namespace

DWORD ApplyChanges(DirectoryReader& reader, DirNode& root, const std::wstring& rootPath,
                   const std::vector<storage::Change>& changes, uint32_t batch)
{
    return Updater(reader, root, rootPath, batch).Apply(changes);
}

} // namespace engine
