#include "TestDialog.h"

#include <cstring>

namespace acl::test {

namespace {

enum ControlClass : WORD { kButtonClass = 0x0080, kEditClass = 0x0081, kStaticClass = 0x0082, kComboClass = 0x0085 };

struct Control {
    ControlClass cls;
    const wchar_t* text;
    ControlId id;
    DWORD style;
    short x, y, cx, cy;
};

const Control kControls[] = {
    {kStaticClass, L"Header", kHeader, SS_LEFT, 40, 4, 150, 10},
    {kStaticClass, L"Description", kTitle, SS_LEFT, 40, 15, 150, 8},
    {kStaticClass, L"", kSeparator, SS_ETCHEDHORZ, 1, 28, 120, 1},
    {kStaticClass, L"Body", kBody, SS_LEFT, 7, 34, 80, 10},
    {kStaticClass, L"Plain", kPlain, SS_LEFT, 7, 48, 80, 10},
    {kEditClass, L"edit", kEdit, WS_BORDER, 7, 62, 80, 12},
    {kComboClass, L"", kCombo, CBS_DROPDOWN | WS_VSCROLL, 100, 62, 80, 60},
    {kButtonClass, L"Button", kButton, BS_PUSHBUTTON, 7, 80, 50, 14},
    {kStaticClass, L"link link", kLink, SS_LEFT, 100, 32, 90, 12},
    {kStaticClass, L"other", kOtherLink, SS_LEFT, 100, 46, 90, 12},
};

template <typename T>
void Append(std::vector<WORD>& words, const T& value)
{
    const size_t at = words.size();
    words.resize(at + sizeof(T) / sizeof(WORD));
    std::memcpy(words.data() + at, &value, sizeof(T));
}

void AppendString(std::vector<WORD>& words, const wchar_t* text)
{
    words.insert(words.end(), text, text + wcslen(text) + 1);
}

std::vector<WORD> BuildTemplate()
{
    std::vector<WORD> words;
    Append(words, DLGTEMPLATE{DS_SETFONT | DS_MODALFRAME | WS_POPUP | WS_CAPTION, 0, std::size(kControls), 0, 0,
                              200, 100});
    words.insert(words.end(), {0, 0});  // no menu, the dialog class
    AppendString(words, L"acl test");
    words.push_back(8);
    AppendString(words, L"MS Shell Dlg");
    for (const Control& c : kControls) {
        if (words.size() % 2)
            words.push_back(0);  // items start on a DWORD boundary
        Append(words, DLGITEMTEMPLATE{c.style | WS_CHILD | WS_VISIBLE, 0, c.x, c.y, c.cx, c.cy, WORD(c.id)});
        words.insert(words.end(), {0xFFFF, c.cls});
        AppendString(words, c.text);
        words.push_back(0);  // no creation data
    }
    return words;
}

} // namespace

TestDialog::~TestDialog()
{
    if (window_)
        DestroyWindow(window_);
}

void TestDialog::Create(int x, int y)
{
    const std::vector<WORD> words = BuildTemplate();
    CreateDialogIndirectParamW(GetModuleHandleW(nullptr), reinterpret_cast<const DLGTEMPLATE*>(words.data()), nullptr,
                               &Proc, reinterpret_cast<LPARAM>(this));
    if (!window_)
        return;
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
