// A real dialog with one real report list view (owner-drawn fixed rows, owner
// data) wired to an acl::ListView the way the program's dialogs wire theirs:
// WM_MEASUREITEM, WM_DRAWITEM and LVN_COLUMNCLICK go to the list. Built from an
// in-memory template, so it needs no resources of its own; modeless, so a test
// sends it messages and reads back counts, states and pixels.
#pragma once

#include "acl/ListView.h"
#include "support/Gui.h"

#include <windows.h>

#include <string>
#include <vector>

namespace krn::test {

class ListViewDemo {
public:
    static constexpr int kListId = 1001;

    struct Options {
        int width = 420;                  // list size in pixels
        int height = 240;
        DWORD listStyle = LVS_SINGLESEL;  // added to LVS_REPORT | LVS_OWNERDRAWFIXED | LVS_OWNERDATA
        uint32_t rowHeight = 0;           // set after Attach, before the first Remeasure
        bool programLook = true;          // the program's two styles: dialog font, selection #8AA6D6
    };

    ListViewDemo();
    explicit ListViewDemo(const Options& options);
    ~ListViewDemo();
    ListViewDemo(const ListViewDemo&) = delete;
    ListViewDemo& operator=(const ListViewDemo&) = delete;

    HWND dialog() const { return dialog_; }
    HWND list() const { return list_; }
    HWND header() const;
    acl::ListView& view() { return view_; }

    // WM_MEASUREITEM requests seen, also those before WM_INITDIALOG.
    int measureRequests() const { return measureRequests_; }
    int measuresBeforeInit() const { return measuresBeforeInit_; }
    UINT lastMeasuredHeight() const { return lastMeasuredHeight_; }
    int columnClicks() const { return columnClicks_; }
    // The row height the control uses now (LVM_GETITEMRECT of row 0).
    int ControlRowHeight() const;
    int ControlItemCount() const;
    int ControlColumnCount() const;

    // Columns "Name", "Size", "Actions", "Kind" and rows of sample content:
    // a name text, a size text, one to three action bitmaps, an icon and a text;
    // then the control is asked for the row height again.
    void AddSampleColumns();
    void AddSampleRows(int count);
    // The action bitmaps 208, 211, 212, loaded once and lent to the items.
    HBITMAP ActionBitmap(int index) const { return actionBitmaps_[static_cast<size_t>(index) % 3].get(); }
    // Compares the first text of a cell (case-sensitively), or the item counts.
    acl::ListView_Comparer& comparer() { return comparer_; }

    void Select(int row);
    // A left click in the middle of a column's header item (LVN_COLUMNCLICK follows).
    void ClickHeader(int column);
    // Repaints now and captures the list's client area (PrintWindow).
    Pixels Capture();

private:
    static INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
    INT_PTR OnMessage(UINT message, LPARAM lParam);
    void OnInitDialog();

    class TextComparer : public acl::ListView_Comparer {
    public:
        int32_t Compare(const acl::ListView_Row& a, const acl::ListView_Row& b, uint64_t column) override;
    };

    Options options_;
    // Declared before the list, so the bitmaps its items borrow outlive them.
    std::vector<acl::unique_hbitmap> actionBitmaps_;
    TextComparer comparer_;
    acl::ListView view_;
    HWND dialog_ = nullptr;
    HWND list_ = nullptr;
    bool initialised_ = false;
    int measureRequests_ = 0;
    int measuresBeforeInit_ = 0;
    UINT lastMeasuredHeight_ = 0;
    int columnClicks_ = 0;
};

// Text of the first item of a cell when it is a text item, else null.
const std::wstring* FirstText(const acl::ListView_Row& row, size_t column);

} // namespace krn::test
