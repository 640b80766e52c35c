// A real report list view in the test dialog, wired to an acl::ListView the way
// the program's dialogs wire theirs: WM_MEASUREITEM, WM_DRAWITEM and
// LVN_COLUMNCLICK go to the list, which has the program's look (the dialog's
// font, selected rows in #8AA6D6).
#pragma once

#include "acl/ListView.h"

#include "TestDialog.h"
#include "resource.h"

#include <string>

namespace acl::test {

class ListViewDemo : public TestDialog {
public:
    ListViewDemo()
        : TestDialog([this](UINT m, WPARAM, LPARAM l, INT_PTR* r) { return OnMessage(m, l, r); }, TD_LIST_DIALOG)
    {
        for (int id : {IDB_ACTION_MESSAGE, IDB_ACTION_LOG, IDB_ACTION_RUN})
            actionBitmaps_.emplace_back(LoadBitmapW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id)));
        Create(20, 20);
    }
    ~ListViewDemo() { DestroyWindow(window()); }  // before the list goes

    HWND list() const { return item(TD_LIST); }
    HWND header() const { return reinterpret_cast<HWND>(SendMessageW(list(), LVM_GETHEADER, 0, 0)); }
    acl::ListView& view() { return view_; }
    // The action bitmaps 208, 211, 212, lent to the items.
    HBITMAP ActionBitmap(int index) const { return actionBitmaps_[static_cast<size_t>(index) % 3].get(); }

    // Columns of 110, 70, 70 and 250 pixels (wider than the list together), then
    // rows of a name, a size, one to three action bitmaps, and an icon with a text.
    void AddSampleRows(int count)
    {
        for (const int width : {110, 70, 70, 250})
            view_.AddColumn(L"", width);
        for (int row = 0; row < count; ++row) {
            view_.AddRow(0, 0, static_cast<uint64_t>(row));
            view_.AddItem(row, 0, std::make_unique<acl::ListView_Text>(L"Folder"));
            view_.AddItem(row, 1, std::make_unique<acl::ListView_Text>((std::to_wstring(row * 37) + L" KB").c_str()));
            for (int a = 0; a <= row % 3; ++a)
                view_.AddItem(row, 2, std::make_unique<acl::ListView_Bitmap>(ActionBitmap(a)));
            view_.AddItem(row, 3, std::make_unique<acl::ListView_Icon>(acl::unique_hicon(static_cast<HICON>(LoadImageW(
                                      GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_APP), IMAGE_ICON, 16, 16, 0)))));
            view_.AddItem(row, 3, std::make_unique<acl::ListView_Text>(L"Local"));
        }
        view_.Remeasure();  // the content decides a measured row height
    }
    void Select(int row)
    {
        LVITEMW item{};
        item.stateMask = item.state = LVIS_SELECTED | LVIS_FOCUSED;
        SendMessageW(list(), LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
    }
    // A left click in the middle of a column's header item.
    void ClickHeader(int column)
    {
        RECT r{};
        SendMessageW(header(), HDM_GETITEMRECT, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&r));
        const LPARAM at = MAKELPARAM((r.left + r.right) / 2, r.bottom / 2);
        SendMessageW(header(), WM_LBUTTONDOWN, MK_LBUTTON, at);
        SendMessageW(header(), WM_LBUTTONUP, 0, at);
    }

    int measureRequests = 0;  // from WM_INITDIALOG on

private:
    bool OnMessage(UINT message, LPARAM lParam, INT_PTR* result)
    {
        switch (message) {
        case WM_INITDIALOG: {
            view_.Attach(window(), TD_LIST);
            view_.Remeasure();
            const auto font = reinterpret_cast<HFONT>(SendMessageW(window(), WM_GETFONT, 0, 0));
            view_.GetSettings().SetStyle(0, ListView_Settings::kMaskFont, 0, 0, 0, 0, 0, 0, font, false);
            view_.GetSettings().SetStyle(1, ListView_Settings::kMaskBackground | ListView_Settings::kMaskFont, 0, 0,
                                         RGB(0x8A, 0xA6, 0xD6), 0, 0, 0, font, false);
            return true;
        }
        case WM_MEASUREITEM:
            ++measureRequests;
            *result = view_.OnMeasureItem(TD_LIST, *reinterpret_cast<MEASUREITEMSTRUCT*>(lParam));
            return true;
        case WM_DRAWITEM:
            *result = view_.OnDrawItem(TD_LIST, *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
            return true;
        case WM_NOTIFY:
            if (reinterpret_cast<const NMHDR*>(lParam)->code != LVN_COLUMNCLICK)
                return false;
            SetWindowLongPtrW(window(), DWLP_MSGRESULT,
                              view_.OnColumnClick(*reinterpret_cast<const NMLISTVIEW*>(lParam)));
            InvalidateRect(list(), nullptr, FALSE);  // the sort does not redraw
            return true;
        default:
            return false;
        }
    }

    // Declared before the list, so the bitmaps its items borrow outlive them.
    std::vector<acl::unique_hbitmap> actionBitmaps_;
    acl::ListView view_;
};

} // namespace acl::test
