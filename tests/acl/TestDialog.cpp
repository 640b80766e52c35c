#include "TestDialog.h"

namespace acl::test {

void TestDialog::Create(int x, int y)
{
    CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id_), nullptr, &Proc, LPARAM(this));
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
