// The toolkit tests' dialog, from an in-memory template in "MS Shell Dlg" 8:
// a header band, labels, an edit, a combo box, a button and two link labels.
#pragma once

#include <windows.h>

#include <functional>
#include <utility>
#include <vector>

namespace acl::test {

enum ControlId : int {
    kHeader = 1018, kBody = 1020, kSeparator = 1024, kTitle = 1025, kPlain = 1040,
    kLink = 1043, kOtherLink = 1044, kEdit = 1050, kCombo = 1051, kButton = 1052,
};

// Modeless and topmost; messages go to the handler first, which answers true
// when it handled one (`result`, TRUE unless set, is then the procedure's).
class TestDialog {
public:
    using Handler = std::function<bool(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR* result)>;
    explicit TestDialog(Handler handler) : handler_(std::move(handler)) {}
    TestDialog(const TestDialog&) = delete;
    TestDialog& operator=(const TestDialog&) = delete;
    ~TestDialog() { DestroyWindow(window_); }
    // Shows the dialog at (x, y) on the screen, out of the pointer's way.
    void Create(int x, int y);
    HWND window() const { return window_; }
    HWND item(int id) const { return GetDlgItem(window_, id); }

    std::vector<std::pair<WPARAM, LPARAM>> commands;  // every WM_COMMAND received

private:
    static INT_PTR CALLBACK Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    Handler handler_;
    HWND window_ = nullptr;
};

} // namespace acl::test
