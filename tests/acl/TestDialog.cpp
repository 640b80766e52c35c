#include "TestDialog.h"

#include <cwchar>

namespace acl::test {

namespace {

const struct {
    WORD cls;  // the predefined classes: button 0x80, edit 0x81, static 0x82, combo box 0x85
    const wchar_t* text;
    ControlId id;
    DWORD style;
    short x, y, cx, cy;
} kControls[] = {
    {0x82, L"Header", kHeader, SS_LEFT, 40, 4, 150, 10},
    {0x82, L"Description", kTitle, SS_LEFT, 40, 15, 150, 8},
    {0x82, L"", kSeparator, SS_ETCHEDHORZ, 1, 28, 120, 1},
    {0x82, L"Body", kBody, SS_LEFT, 7, 34, 80, 10},
    {0x82, L"Plain", kPlain, SS_LEFT, 7, 48, 80, 10},
    {0x81, L"edit", kEdit, WS_BORDER, 7, 62, 80, 12},
    {0x85, L"", kCombo, CBS_DROPDOWN | WS_VSCROLL, 100, 62, 80, 60},
    {0x80, L"Button", kButton, BS_PUSHBUTTON, 7, 80, 50, 14},
    {0x82, L"link link", kLink, SS_LEFT, 100, 32, 90, 12},
    {0x82, L"other", kOtherLink, SS_LEFT, 100, 46, 90, 12},
};

std::vector<WORD> BuildTemplate()
{
    std::vector<WORD> t;
    const auto add = [&t](const auto& value) {
        const auto* words = reinterpret_cast<const WORD*>(&value);
        t.insert(t.end(), words, words + sizeof(value) / sizeof(WORD));
    };
    const auto text = [&t](const wchar_t* s) { t.insert(t.end(), s, s + wcslen(s) + 1); };
    add(DLGTEMPLATE{DS_SETFONT | DS_MODALFRAME | WS_POPUP | WS_CAPTION, 0, std::size(kControls), 0, 0, 200, 100});
    t.insert(t.end(), {0, 0});  // no menu, the dialog class
    text(L"acl test");
    t.push_back(8);
    text(L"MS Shell Dlg");
    for (const auto& c : kControls) {
        t.resize((t.size() + 1) & ~size_t{1});  // items start on a DWORD boundary
        add(DLGITEMTEMPLATE{c.style | WS_CHILD | WS_VISIBLE, 0, c.x, c.y, c.cx, c.cy, WORD(c.id)});
        t.insert(t.end(), {0xFFFF, c.cls});
        text(c.text);
        t.push_back(0);  // no creation data
    }
    return t;
}

} // namespace

void TestDialog::Create(int x, int y)
{
    const std::vector<WORD> t = BuildTemplate();
    CreateDialogIndirectParamW(GetModuleHandleW(nullptr), reinterpret_cast<const DLGTEMPLATE*>(t.data()), nullptr,
                               &Proc, reinterpret_cast<LPARAM>(this));
    // No real mouse message may reach the controls.
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
    if (!self)
        return FALSE;
    if (message == WM_COMMAND)
        self->commands.emplace_back(wParam, lParam);
    INT_PTR result = TRUE;
    if (self->handler_ && self->handler_(message, wParam, lParam, &result))
        return result;
    return message == WM_INITDIALOG || message == WM_COMMAND;
}

} // namespace acl::test
