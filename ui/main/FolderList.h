// The main window's folder list: one row per monitored folder, in the order of
// the configuration file, and at the same time the owner of the folders. Each
// row carries its FolderEntry as its tag; sorting the list reorders the file.
#pragma once

#include "acl/Handles.h"
#include "acl/ListView.h"
#include "config/Configuration.h"

#include <windows.h>

#include <cstdint>
#include <span>
#include <map>
#include <memory>
#include <string>

namespace krn {

// Bitmaps loaded once by resource id and owned until the cache goes. A
// resource that did not load is absent and looks up as null.
class ImageCache {
public:
    void Load(HINSTANCE module, std::span<const UINT> ids);
    HBITMAP Get(UINT id) const;

private:
    std::map<UINT, acl::unique_hbitmap> bitmaps_;
};

// Columns of the list, in order.
enum FolderColumn : int {
    kColumnFolder,
    kColumnMin,
    kColumnMax,
    kColumnSize,
    kColumnActions,
    kColumnPath,
    kFolderColumnCount,
};

inline constexpr wchar_t kDriveRootText[] = L"[Drive root]";

// Compares folder names and paths for sorting: only the ASCII letters are
// folded, every other character compares by its code unit, so the order does
// not depend on the user's locale.
int CompareIgnoringAsciiCase(const std::wstring& a, const std::wstring& b);

// A limit as the list shows it: the value with two decimals, a blank and the
// unit's name.
std::wstring FormatLimit(double value, std::uint16_t units);

class FolderList : public acl::ListView_Comparer {
public:
    // `images` must outlive the list; its bitmaps are lent to the rows.
    explicit FolderList(const ImageCache& images) : images_(images) {}
    FolderList(const FolderList&) = delete;
    FolderList& operator=(const FolderList&) = delete;

    // Binds the list to its control: fixed 18-pixel rows, the columns with
    // their stored widths and sort state, the dialog's font, the selection in
    // the window's body colour.
    void Attach(HWND dialog, UINT controlId);

    // Adds the six columns with their widths and sets the sort state.
    void LoadListSettings();
    // Writes the column widths and the sort state.
    void SaveListSettings() const;

    // Appends a row for `entry`, which the row owns from now on.
    void AppendRow(std::unique_ptr<FolderEntry> entry);
    // Fills row `index` again from its entry: every cell is rebuilt, the size
    // column stays empty until the next refresh. 1413 when there is no such row.
    DWORD SetRow(int index);
    // Puts `text` in the size column of row `index`, replacing what was there.
    void SetSizeText(int index, const wchar_t* text);
    // Removes row `index` and deletes its entry; false when there is no such row.
    bool DeleteRow(int index);
    // Removes every row and deletes the entries.
    void DeleteAllRows();
    // Appends the folders of a configuration file; the status of LoadConfiguration.
    DWORD LoadConfiguration(const wchar_t* path, const ActionKindRegistry& kinds);

    // The entries in row order, as the configuration file lists them.
    const FolderEntries& Entries() const { return entries_; }
    int RowCount() const { return static_cast<int>(entries_.size()); }
    FolderEntry* EntryAt(int index) const;
    int GetSelectedRow() const { return static_cast<int>(view_.GetSelectedRow()); }

    // A click on a column header: sorts by that column (again: the other way).
    void Sort(int column);
    int32_t Compare(const acl::ListView_Row& a, const acl::ListView_Row& b, uint64_t column) override;

    acl::ListView& view() { return view_; }
    const acl::ListView& view() const { return view_; }

private:
    void FillRow(int index, const FolderEntry& entry);
    void AddText(int row, int column, const wchar_t* text);
    void AddBitmap(int row, int column, HBITMAP bitmap);
    void FollowRowOrder();

    const ImageCache& images_;
    acl::ListView view_;
    FolderEntries entries_;  // parallel to the rows
};

} // namespace krn
