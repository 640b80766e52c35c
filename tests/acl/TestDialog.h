// Dialogs for the toolkit's tests, built in memory: a template of real
// controls, created modeless, topmost and out of the way of other windows.
#pragma once

#include <windows.h>

#include <vector>

namespace acl::test {

// Predefined control classes of a dialog template.
enum ControlClass : WORD { kButton = 0x0080, kEdit = 0x0081, kStatic = 0x0082, kComboBox = 0x0085 };

class DialogTemplate {
public:
    // A dialog of cx by cy dialog units in "MS Shell Dlg" 8.
    DialogTemplate(short cx, short cy);
    DialogTemplate& Add(ControlClass cls, const wchar_t* text, WORD id, DWORD style, short x, short y, short cx,
                        short cy);
    const DLGTEMPLATE* get() const { return reinterpret_cast<const DLGTEMPLATE*>(words_.data()); }

private:
    void AddString(const wchar_t* text);

    std::vector<WORD> words_;
};

// A modeless dialog whose messages go to the object first.
class TestDialog {
public:
    TestDialog() = default;
    TestDialog(const TestDialog&) = delete;
    TestDialog& operator=(const TestDialog&) = delete;
    virtual ~TestDialog();
    HWND window() const { return window_; }
    HWND item(int id) const { return GetDlgItem(window_, id); }

protected:
    // Shows the dialog at (x, y) on the screen, topmost; call from the
    // derived class's constructor.
    void Create(const DialogTemplate& t, int x, int y);
    // True when the message is handled; `result` (TRUE unless set) is then
    // what the dialog procedure returns.
    virtual bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, INT_PTR* result) = 0;

private:
    static INT_PTR CALLBACK Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    HWND window_ = nullptr;
};

} // namespace acl::test
