#include "TestDialog.h"

#include <cstring>

namespace acl::test {

namespace {

template <typename T>
void Append(std::vector<WORD>& words, const T& value)
{
    const size_t at = words.size();
    words.resize(at + sizeof(T) / sizeof(WORD));
    std::memcpy(words.data() + at, &value, sizeof(T));
}

} // namespace

DialogTemplate::DialogTemplate(short cx, short cy)
{
    DLGTEMPLATE header{};
    header.style = DS_SETFONT | DS_MODALFRAME | WS_POPUP | WS_CAPTION;
    header.cx = cx;
    header.cy = cy;
    Append(words_, header);
    words_.insert(words_.end(), {0, 0});  // no menu, the dialog class
    AddString(L"acl test");
    words_.push_back(8);
    AddString(L"MS Shell Dlg");
}

void DialogTemplate::AddString(const wchar_t* text)
{
    words_.insert(words_.end(), text, text + wcslen(text) + 1);
}

DialogTemplate& DialogTemplate::Add(ControlClass cls, const wchar_t* text, WORD id, DWORD style, short x, short y,
                                    short cx, short cy)
{
    if (words_.size() % 2)
        words_.push_back(0);  // items start on a DWORD boundary
    Append(words_, DLGITEMTEMPLATE{style | WS_CHILD | WS_VISIBLE, 0, x, y, cx, cy, id});
    words_.insert(words_.end(), {0xFFFF, cls});
    AddString(text);
    words_.push_back(0);  // no creation data
    reinterpret_cast<DLGTEMPLATE*>(words_.data())->cdit++;
    return *this;
}

TestDialog::~TestDialog()
{
    if (window_)
        DestroyWindow(window_);
}

void TestDialog::Create(const DialogTemplate& t, int x, int y)
{
    CreateDialogIndirectParamW(GetModuleHandleW(nullptr), t.get(), nullptr, &Proc, reinterpret_cast<LPARAM>(this));
    if (!window_)
        return;
    // Out of the pointer's way, so that no real mouse message reaches the controls.
    RECT r{};
    GetWindowRect(window_, &r);
    OffsetRect(&r, x - r.left, y - r.top);
    POINT cursor{};
    if (GetCursorPos(&cursor) && PtInRect(&r, cursor))
        y = cursor.y + 20;
    SetWindowPos(window_, HWND_TOPMOST, x, y, 0, 0, SWP_NOSIZE | SWP_SHOWWINDOW);
}

INT_PTR CALLBACK TestDialog::Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(window, DWLP_USER, lParam);
        reinterpret_cast<TestDialog*>(lParam)->window_ = window;
    }
    auto* self = reinterpret_cast<TestDialog*>(GetWindowLongPtrW(window, DWLP_USER));
    INT_PTR result = TRUE;
    if (self && self->OnMessage(message, wParam, lParam, &result))
        return result;
    return message == WM_INITDIALOG;
}

} // namespace acl::test
