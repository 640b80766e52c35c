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
    void Align();

    std::vector<WORD> words_;
};

// Creates the dialog at (x, y) on the screen, shown and topmost, with `param`
// as the WM_INITDIALOG lParam.
HWND CreateTestDialog(const DialogTemplate& dialog, DLGPROC proc, void* param, int x, int y);

} // namespace acl::test
