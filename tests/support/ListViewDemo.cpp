#include "support/ListViewDemo.h"

#include "resource.h"

#include <commctrl.h>

#include <cwchar>
#include <string>

namespace krn::test {

namespace {

thread_local ListViewDemo* creating = nullptr;

// A captioned popup in "MS Shell Dlg" 8 holding the one list view.
std::vector<WORD> DemoTemplate()
{
    std::vector<WORD> t;
    const auto dword = [&t](DWORD d) { t.insert(t.end(), {LOWORD(d), HIWORD(d)}); };
    const auto text = [&t](const wchar_t* s) { t.insert(t.end(), s, s + wcslen(s) + 1); };
    dword(DS_SETFONT | DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU);
    dword(0);
    t.insert(t.end(), {1, 10, 10, 200, 120, 0, 0});  // one control, position, size, no menu, dialog class
    text(L"List view demo");
    t.push_back(8);
    text(L"MS Shell Dlg");
    t.resize((t.size() + 1) & ~size_t{1});  // controls start on a DWORD
    dword(WS_CHILD | WS_VISIBLE | WS_BORDER | LVS_REPORT | LVS_OWNERDRAWFIXED | LVS_OWNERDATA | LVS_SINGLESEL);
    dword(0);
    t.insert(t.end(), {0, 0, 200, 120, ListViewDemo::kListId});
    text(WC_LISTVIEWW);
    t.insert(t.end(), {0, 0});  // no title, no creation data
    return t;
}

} // namespace

ListViewDemo::ListViewDemo()
{
    for (int id : {IDB_ACTION_MESSAGE, IDB_ACTION_LOG, IDB_ACTION_RUN})
        actionBitmaps_.emplace_back(static_cast<HBITMAP>(
            LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), IMAGE_BITMAP, 0, 0, LR_DEFAULTCOLOR)));
    const std::vector<WORD> t = DemoTemplate();
    creating = this;
    CreateDialogIndirectParamW(GetModuleHandleW(nullptr), reinterpret_cast<const DLGTEMPLATE*>(t.data()), nullptr,
                               &DialogProc, 0);
    creating = nullptr;
    ShowWindow(dialog_, SW_SHOWNOACTIVATE);
}

ListViewDemo::~ListViewDemo()
{
    DestroyWindow(dialog_);
}

INT_PTR CALLBACK ListViewDemo::DialogProc(HWND dialog, UINT message, WPARAM, LPARAM lParam)
{
    auto* self = reinterpret_cast<ListViewDemo*>(GetWindowLongPtrW(dialog, DWLP_USER));
    if (!self && creating) {
        // Messages before WM_INITDIALOG (WM_MEASUREITEM under Wine) reach the
        // object through the one being created.
        self = creating;
        self->dialog_ = dialog;
        SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(self));
    }
    return self ? self->OnMessage(message, lParam) : FALSE;
}

INT_PTR ListViewDemo::OnMessage(UINT message, LPARAM lParam)
{
    switch (message) {
    case WM_INITDIALOG:
        OnInitDialog();
        return TRUE;
    case WM_MEASUREITEM:
        ++measureRequests_;
        return view_.OnMeasureItem(kListId, *reinterpret_cast<MEASUREITEMSTRUCT*>(lParam));
    case WM_DRAWITEM:
        return view_.OnDrawItem(kListId, *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
    case WM_NOTIFY:
        if (reinterpret_cast<const NMHDR*>(lParam)->code != LVN_COLUMNCLICK)
            return FALSE;
        SetWindowLongPtrW(dialog_, DWLP_MSGRESULT, view_.OnColumnClick(*reinterpret_cast<const NMLISTVIEW*>(lParam)));
        InvalidateRect(list_, nullptr, FALSE);  // the sort does not redraw
        return TRUE;
    default:
        return FALSE;
    }
}

void ListViewDemo::OnInitDialog()
{
    list_ = GetDlgItem(dialog_, kListId);
    // Sizes in pixels, so that tests can reason about them.
    RECT frame{0, 0, 420, 240};
    AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongW(dialog_, GWL_STYLE)), FALSE, 0);
    SetWindowPos(dialog_, nullptr, 0, 0, frame.right - frame.left, frame.bottom - frame.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    MoveWindow(list_, 0, 0, 420, 240, FALSE);

    view_.Attach(dialog_, kListId);
    view_.Remeasure();
    const auto font = reinterpret_cast<HFONT>(SendMessageW(dialog_, WM_GETFONT, 0, 0));
    acl::ListView_Settings& settings = view_.GetSettings();
    settings.SetStyle(0, acl::ListView_Settings::kMaskFont, 0, 0, 0, 0, 0, 0, font, false);
    settings.SetStyle(1, acl::ListView_Settings::kMaskBackground | acl::ListView_Settings::kMaskFont, 0, 0,
                      RGB(0x8A, 0xA6, 0xD6), 0, 0, 0, font, false);
}

void ListViewDemo::AddSampleRows(int count)
{
    if (view_.ColumnCount() == 0)
        for (const auto& [title, width] : {std::pair{L"Name", 110}, {L"Size", 70}, {L"Actions", 70}, {L"Kind", 250}})
            view_.AddColumn(title, width);
    for (int i = 0; i < count; ++i) {
        const int row = static_cast<int>(view_.AddRow(0, 0, static_cast<uint64_t>(i)));
        view_.AddItem(row, 0, std::make_unique<acl::ListView_Text>((L"Folder " + std::to_wstring(i + 1)).c_str()));
        view_.AddItem(row, 1, std::make_unique<acl::ListView_Text>((std::to_wstring(i * 37 % 1000) + L" KB").c_str()));
        for (int a = 0; a <= i % 3; ++a)
            view_.AddItem(row, 2, std::make_unique<acl::ListView_Bitmap>(ActionBitmap(a)));
        view_.AddItem(row, 3, std::make_unique<acl::ListView_Icon>(acl::unique_hicon(static_cast<HICON>(
            LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_APP), IMAGE_ICON, 16, 16, LR_DEFAULTCOLOR)))));
        view_.AddItem(row, 3, std::make_unique<acl::ListView_Text>(i % 2 ? L"Network" : L"Local"));
    }
    view_.Remeasure();  // the content decides a measured row height
    InvalidateRect(list_, nullptr, TRUE);
}

void ListViewDemo::Select(int row)
{
    LVITEMW item{};
    item.stateMask = item.state = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageW(list_, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

void ListViewDemo::ClickHeader(int column)
{
    RECT item{};
    SendMessageW(header(), HDM_GETITEMRECT, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&item));
    const LPARAM at = MAKELPARAM((item.left + item.right) / 2, (item.top + item.bottom) / 2);
    SendMessageW(header(), WM_LBUTTONDOWN, MK_LBUTTON, at);
    SendMessageW(header(), WM_LBUTTONUP, 0, at);
}

} // namespace krn::test
