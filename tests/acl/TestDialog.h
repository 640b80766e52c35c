// The toolkit tests' dialogs (TestDialog.rc): a header band, labels, an edit,
// a button and two link labels; or only a report list view.
#pragma once

#define TD_DIALOG 9100
#define TD_LIST_DIALOG 9101
#define TD_HEADER 1018
#define TD_BODY 1020
#define TD_SEPARATOR 1024
#define TD_TITLE 1025
#define TD_PLAIN 1040
#define TD_LINK 1043
#define TD_OTHER_LINK 1044
#define TD_EDIT 1050
#define TD_BUTTON 1052
#define TD_LIST 1060

#ifndef RC_INVOKED
#include <windows.h>

#include <utility>
#include <vector>

namespace acl::test {

// Modeless and topmost; messages go to OnMessage first, which answers true
// when it handled one (`result`, TRUE unless set, is then the procedure's).
class TestDialog {
public:
    explicit TestDialog(int id = TD_DIALOG) : id_(id) {}
    TestDialog(const TestDialog&) = delete;
    TestDialog& operator=(const TestDialog&) = delete;
    virtual ~TestDialog() { DestroyWindow(window_); }

    // Shows the dialog at (x, y) on the screen, below the pointer if it is
    // there: no real mouse message may reach the controls.
    void Create(int x, int y)
    {
        CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id_), nullptr, &Proc, LPARAM(this));
        RECT r{};
        GetWindowRect(window_, &r);
        OffsetRect(&r, x - r.left, y - r.top);
        POINT cursor{};
        if (GetCursorPos(&cursor) && PtInRect(&r, cursor))
            y = cursor.y + 20;
        SetWindowPos(window_, HWND_TOPMOST, x, y, 0, 0, SWP_NOSIZE | SWP_SHOWWINDOW);
    }
    HWND window() const { return window_; }
    HWND item(int id) const { return GetDlgItem(window_, id); }

    std::vector<std::pair<WPARAM, LPARAM>> commands;  // every WM_COMMAND received

protected:
    virtual bool OnMessage(UINT, WPARAM, LPARAM, INT_PTR*) { return false; }

private:
    static INT_PTR CALLBACK Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
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
        if (self->OnMessage(message, wParam, lParam, &result))
            return result;
        return message == WM_INITDIALOG || message == WM_COMMAND;
    }

    int id_;
    HWND window_ = nullptr;
};

} // namespace acl::test
#endif
