#include "support/ListViewDemo.h"

#include "resource.h"

#include <commctrl.h>

namespace krn::test {

namespace {

thread_local ListViewDemo* creating = nullptr;

// Appends the words of an in-memory dialog template.
class TemplateWriter {
public:
    void Word(WORD w) { words_.push_back(w); }
    void Dword(DWORD d)
    {
        Word(LOWORD(d));
        Word(HIWORD(d));
    }
    void String(const wchar_t* s)
    {
        do
            Word(static_cast<WORD>(*s));
        while (*s++);
    }
    void AlignDword()
    {
        if (words_.size() % 2)
            Word(0);
    }
    const DLGTEMPLATE* get() const { return reinterpret_cast<const DLGTEMPLATE*>(words_.data()); }

private:
    std::vector<WORD> words_;
};

void WriteDemoTemplate(TemplateWriter& t, DWORD listStyle)
{
    t.Dword(DS_SETFONT | DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU);
    t.Dword(0);  // extended style
    t.Word(1);   // one control
    t.Word(10);
    t.Word(10);
    t.Word(200);
    t.Word(120);
    t.Word(0);  // no menu
    t.Word(0);  // the dialog class
    t.String(L"List view demo");
    t.Word(8);
    t.String(L"MS Shell Dlg");
    t.AlignDword();
    t.Dword(WS_CHILD | WS_VISIBLE | WS_BORDER | WS_TABSTOP | LVS_REPORT | LVS_OWNERDRAWFIXED | LVS_OWNERDATA |
            listStyle);
    t.Dword(0);
    t.Word(0);
    t.Word(0);
    t.Word(200);
    t.Word(120);
    t.Word(ListViewDemo::kListId);
    t.String(WC_LISTVIEWW);
    t.Word(0);  // no title
    t.Word(0);  // no creation data
}

} // namespace

const std::wstring* FirstText(const acl::ListView_Row& row, size_t column)
{
    const acl::ListView_Cell* cell = row.CellAt(column);
    const auto* text = cell ? dynamic_cast<const acl::ListView_Text*>(cell->ItemAt(0)) : nullptr;
    return text ? &text->Text() : nullptr;
}

int32_t ListViewDemo::TextComparer::Compare(const acl::ListView_Row& a, const acl::ListView_Row& b, uint64_t column)
{
    const std::wstring* ta = FirstText(a, static_cast<size_t>(column));
    const std::wstring* tb = FirstText(b, static_cast<size_t>(column));
    if (ta && tb)
        return ta->compare(*tb);
    const acl::ListView_Cell* ca = a.CellAt(static_cast<size_t>(column));
    const acl::ListView_Cell* cb = b.CellAt(static_cast<size_t>(column));
    const size_t na = ca ? ca->ItemCount() : 0;
    const size_t nb = cb ? cb->ItemCount() : 0;
    return na < nb ? -1 : na > nb ? 1 : 0;
}

ListViewDemo::ListViewDemo() : ListViewDemo(Options{}) {}

ListViewDemo::ListViewDemo(const Options& options) : options_(options)
{
    for (int id : {IDB_ACTION_MESSAGE, IDB_ACTION_LOG, IDB_ACTION_RUN})
        actionBitmaps_.emplace_back(static_cast<HBITMAP>(
            LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), IMAGE_BITMAP, 0, 0, LR_DEFAULTCOLOR)));
    TemplateWriter t;
    WriteDemoTemplate(t, options.listStyle);
    creating = this;
    CreateDialogIndirectParamW(GetModuleHandleW(nullptr), t.get(), nullptr, &DialogProc,
                               reinterpret_cast<LPARAM>(this));
    creating = nullptr;
    if (dialog_)
        ShowWindow(dialog_, SW_SHOWNOACTIVATE);
}

ListViewDemo::~ListViewDemo()
{
    if (dialog_)
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
    case WM_MEASUREITEM: {
        auto& item = *reinterpret_cast<MEASUREITEMSTRUCT*>(lParam);
        if (item.CtlID != kListId)
            return FALSE;
        ++measureRequests_;
        if (!initialised_)
            ++measuresBeforeInit_;
        const BOOL result = view_.OnMeasureItem(item.CtlID, item);
        lastMeasuredHeight_ = item.itemHeight;
        return result;
    }
    case WM_DRAWITEM: {
        const auto& item = *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
        return item.CtlID == kListId ? view_.OnDrawItem(item.CtlID, item) : FALSE;
    }
    case WM_NOTIFY: {
        const auto& header = *reinterpret_cast<const NMHDR*>(lParam);
        if (header.idFrom == kListId && header.code == LVN_COLUMNCLICK) {
            ++columnClicks_;
            SetWindowLongPtrW(dialog_, DWLP_MSGRESULT,
                              view_.OnColumnClick(*reinterpret_cast<const NMLISTVIEW*>(lParam)));
            InvalidateRect(list_, nullptr, FALSE);
            return TRUE;
        }
        return FALSE;
    }
    default:
        return FALSE;
    }
}

void ListViewDemo::OnInitDialog()
{
    initialised_ = true;
    list_ = GetDlgItem(dialog_, kListId);
    // Sizes in pixels, so that tests can reason about them.
    RECT frame{0, 0, options_.width, options_.height};
    AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongW(dialog_, GWL_STYLE)), FALSE,
                       static_cast<DWORD>(GetWindowLongW(dialog_, GWL_EXSTYLE)));
    SetWindowPos(dialog_, nullptr, 0, 0, frame.right - frame.left, frame.bottom - frame.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    MoveWindow(list_, 0, 0, options_.width, options_.height, FALSE);

    view_.Attach(dialog_, kListId);
    view_.rowHeight = options_.rowHeight;
    view_.comparer = &comparer_;
    view_.Remeasure();
    if (options_.programLook) {
        const auto font = reinterpret_cast<HFONT>(SendMessageW(dialog_, WM_GETFONT, 0, 0));
        acl::ListView_Settings& settings = view_.GetSettings();
        settings.SetStyle(0, acl::ListView_Settings::kMaskFont, 0, 0, 0, 0, 0, 0, font, false);
        settings.SetStyle(1, acl::ListView_Settings::kMaskBackground | acl::ListView_Settings::kMaskFont, 0, 0,
                          RGB(0x8A, 0xA6, 0xD6), 0, 0, 0, font, false);
    }
}

HWND ListViewDemo::header() const
{
    return reinterpret_cast<HWND>(SendMessageW(list_, LVM_GETHEADER, 0, 0));
}

int ListViewDemo::ControlRowHeight() const
{
    RECT rc{LVIR_BOUNDS};
    if (!SendMessageW(list_, LVM_GETITEMRECT, 0, reinterpret_cast<LPARAM>(&rc)))
        return -1;
    return rc.bottom - rc.top;
}

int ListViewDemo::ControlItemCount() const
{
    return static_cast<int>(SendMessageW(list_, LVM_GETITEMCOUNT, 0, 0));
}

int ListViewDemo::ControlColumnCount() const
{
    return static_cast<int>(SendMessageW(header(), HDM_GETITEMCOUNT, 0, 0));
}

void ListViewDemo::AddSampleColumns()
{
    static const struct {
        const wchar_t* title;
        int width;
    } kColumns[] = {{L"Name", 110}, {L"Size", 70}, {L"Actions", 70}, {L"Kind", 100}};
    for (const auto& column : kColumns)
        view_.AddColumn(column.title, column.width);
}

void ListViewDemo::AddSampleRows(int count)
{
    for (int i = 0; i < count; ++i) {
        const int row = static_cast<int>(view_.AddRow(0, 0, static_cast<uint64_t>(i)));
        const std::wstring name = L"Folder " + std::to_wstring(i + 1);
        const std::wstring size = std::to_wstring((i * 37) % 1000) + L" KB";
        view_.AddItem(row, 0, std::make_unique<acl::ListView_Text>(name.c_str()));
        view_.AddItem(row, 1, std::make_unique<acl::ListView_Text>(size.c_str()));
        for (int a = 0; a <= i % 3; ++a)
            view_.AddItem(row, 2, std::make_unique<acl::ListView_Bitmap>(ActionBitmap(a)));
        acl::unique_hicon icon(static_cast<HICON>(
            LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_APP), IMAGE_ICON, 16, 16, LR_DEFAULTCOLOR)));
        view_.AddItem(row, 3, std::make_unique<acl::ListView_Icon>(std::move(icon)));
        view_.AddItem(row, 3, std::make_unique<acl::ListView_Text>(i % 2 ? L"Network" : L"Local"));
    }
    // The content decides a measured row height.
    view_.Remeasure();
    InvalidateRect(list_, nullptr, TRUE);
}

void ListViewDemo::Select(int row)
{
    LVITEMW item{};
    item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
    item.state = LVIS_SELECTED | LVIS_FOCUSED;
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

Pixels ListViewDemo::Capture()
{
    return CaptureClient(list_);
}

} // namespace krn::test
