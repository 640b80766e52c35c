// A real dialog with one real report list view (owner-drawn fixed rows, owner
// data) wired to an acl::ListView the way the program's dialogs wire theirs:
// WM_MEASUREITEM, WM_DRAWITEM and LVN_COLUMNCLICK go to the list, in the
// program's look (the dialog's font, selected rows in #8AA6D6). Built from an
// in-memory template; modeless, so a test sends it messages and reads back
// counts, states and pixels.
#pragma once

#include "acl/ListView.h"

#include <windows.h>

#include <vector>

namespace krn::test {

class ListViewDemo {
public:
    static constexpr int kListId = 1001;

    // A list of 420 x 240 pixels.
    ListViewDemo();
    ~ListViewDemo();
    ListViewDemo(const ListViewDemo&) = delete;
    ListViewDemo& operator=(const ListViewDemo&) = delete;

    HWND list() const { return list_; }
    HWND header() const { return reinterpret_cast<HWND>(SendMessageW(list_, LVM_GETHEADER, 0, 0)); }
    acl::ListView& view() { return view_; }
    // WM_MEASUREITEM requests seen, also those before WM_INITDIALOG.
    int measureRequests() const { return measureRequests_; }

    // Columns "Name" 110, "Size" 70, "Actions" 70 and "Kind" 250 (wider than
    // the list together), then rows of a name, a size, one to three action
    // bitmaps, and an icon with a text; then the control is asked for the row
    // height again.
    void AddSampleRows(int count);
    // The action bitmaps 208, 211, 212, loaded once and lent to the items.
    HBITMAP ActionBitmap(int index) const { return actionBitmaps_[static_cast<size_t>(index) % 3].get(); }

    void Select(int row);
    // A left click in the middle of a column's header item (LVN_COLUMNCLICK follows).
    void ClickHeader(int column);

private:
    static INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
    INT_PTR OnMessage(UINT message, LPARAM lParam);
    void OnInitDialog();

    // Declared before the list, so the bitmaps its items borrow outlive them.
    std::vector<acl::unique_hbitmap> actionBitmaps_;
    acl::ListView view_;
    HWND dialog_ = nullptr;
    HWND list_ = nullptr;
    int measureRequests_ = 0;
};

} // namespace krn::test
