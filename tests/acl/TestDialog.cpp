#include "TestDialog.h"

#include <cstring>

namespace acl::test {

DialogTemplate::DialogTemplate(short cx, short cy)
{
    DLGTEMPLATE header{};
    header.style = DS_SETFONT | DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_VISIBLE;
    header.cx = cx;
    header.cy = cy;
    words_.resize(sizeof(header) / sizeof(WORD));
    std::memcpy(words_.data(), &header, sizeof(header));
    words_.push_back(0);  // no menu
    words_.push_back(0);  // the dialog class
    AddString(L"acl test");
    words_.push_back(8);
    AddString(L"MS Shell Dlg");
}

void DialogTemplate::AddString(const wchar_t* text)
{
    for (const wchar_t* p = text; *p; ++p)
        words_.push_back(static_cast<WORD>(*p));
    words_.push_back(0);
}

void DialogTemplate::Align()
{
    if (words_.size() % 2)
        words_.push_back(0);
}

DialogTemplate& DialogTemplate::Add(ControlClass cls, const wchar_t* text, WORD id, DWORD style, short x, short y,
                                    short cx, short cy)
{
    Align();
    DLGITEMTEMPLATE item{};
    item.style = style | WS_CHILD | WS_VISIBLE;
    item.x = x;
    item.y = y;
    item.cx = cx;
    item.cy = cy;
    item.id = id;
    const size_t at = words_.size();
    words_.resize(at + sizeof(item) / sizeof(WORD));
    std::memcpy(words_.data() + at, &item, sizeof(item));
    words_.push_back(0xFFFF);
    words_.push_back(cls);
    AddString(text);
    words_.push_back(0);  // no creation data
    reinterpret_cast<DLGTEMPLATE*>(words_.data())->cdit++;
    return *this;
}

HWND CreateTestDialog(const DialogTemplate& dialog, DLGPROC proc, void* param, int x, int y)
{
    const HWND window = CreateDialogIndirectParamW(GetModuleHandleW(nullptr), dialog.get(), nullptr, proc,
                                                   reinterpret_cast<LPARAM>(param));
    if (window) {
        SetWindowPos(window, HWND_TOPMOST, x, y, 0, 0, SWP_NOSIZE | SWP_SHOWWINDOW);
        UpdateWindow(window);
    }
    return window;
}

} // namespace acl::test
