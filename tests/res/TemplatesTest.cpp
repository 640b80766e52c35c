// The dialog templates of the program's resources, read as the resource holds
// them and created for real with a dialog procedure that does nothing: the
// layout rules every dialog keeps. (What each dialog shows is checked where the
// dialogs are driven, in tests/ui and tests/actions.)
#include "acl/Handles.h"
#include "resource.h"
#include "support/Gui.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// A template as the resource stores it: the dialog's size and each control's
// place, in dialog units, and its text (a picture's is "#" and its resource
// number), in tab order.
struct Template {
    RECT size{};
    WORD points = 0;
    std::wstring face;
    std::vector<std::pair<RECT, std::wstring>> controls;
};

// Reads a DLGTEMPLATEEX.
Template Read(int id)
{
    Template t;
    const HMODULE module = GetModuleHandleW(nullptr);
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), RT_DIALOG);
    const auto* base = found ? static_cast<const BYTE*>(LockResource(LoadResource(module, found))) : nullptr;
    const BYTE* p = base;
    const auto word = [&] { WORD w; std::memcpy(&w, p, sizeof w); p += sizeof w; return w; };
    const auto dword = [&] { const DWORD low = word(); return low | DWORD{word()} << 16; };
    const auto place = [&] { return RECT{short(word()), short(word()), short(word()), short(word())}; };
    const auto text = [&] {  // a string, or a number (0xFFFF, number) written "#number"
        WORD c = word();
        if (c == 0xFFFF)
            return L"#" + std::to_wstring(word());
        std::wstring s;
        for (; c; c = word())
            s += static_cast<wchar_t>(c);
        return s;
    };
    if (!base || dword() != 0xFFFF0001)
        return t;  // missing, or not a DLGTEMPLATEEX
    p += 3 * sizeof(DWORD);  // help id, extended style, style
    const WORD count = word();
    t.size = place();
    text(), text(), text();  // menu, class, caption
    t.points = word();  // present with DS_SETFONT only: the face read after it proves it
    dword();            // weight, italic, character set
    t.face = text();
    for (WORD i = 0; i < count; ++i) {
        p += (4 - (p - base) % 4) % 4;  // items are DWORD-aligned
        p += 3 * sizeof(DWORD);  // help id, extended style, style
        const RECT at = place();
        dword(), text();  // id, class
        t.controls.push_back({at, text()});
        p += word();  // creation data
    }
    return t;
}

// A text's width in the control's font, made bold: the dialogs draw some
// labels in bold, and a text that fits in bold fits in the plain font too.
LONG TextWidth(HWND control, bool bold)
{
    LOGFONTW lf{};
    GetObjectW(reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0)), sizeof lf, &lf);
    lf.lfWeight = bold ? FW_BOLD : lf.lfWeight;
    const acl::unique_hfont font(CreateFontIndirectW(&lf));
    const acl::WindowDc dc(control);
    const acl::SelectGuard select(dc.get(), font.get());
    const std::wstring text = krn::test::WindowText(control);
    SIZE size{};
    GetTextExtentPoint32W(dc.get(), text.c_str(), static_cast<int>(text.size()), &size);
    return size.cx;
}

// Every dialog is in the shell font and keeps the rules: OK is the default
// button; every control but a static is a tab stop and every edit scrolls its
// text; the pictures show (the header's are 32 by 32); every control but the
// lines that span the whole width keeps 7 units from the edges (a unit list's
// height is its dropped-down height; the Run dialog keeps the places it has
// always had, 6 units above the bottom); no two created controls overlap;
// every one-line label fits its static control, in bold too but for the
// header's description, which is never bold; and the unit lists drop down far
// enough for the five units without scrolling (the common controls 6 size the
// list by its items, others by the template). Only the main and the folder
// dialogs take dropped files, only the main window is resizable.
TEST(Templates, KeepTheLayoutRules)
{
    for (const int id : {IDD_MAIN, IDD_RUN, IDD_FOLDER, IDD_PROPERTIES, IDD_ABOUT}) {
        SCOPED_TRACE("dialog " + std::to_string(id));
        const Template stored = Read(id);
        EXPECT_EQ(std::pair(stored.face, stored.points), std::pair(std::wstring(L"MS Shell Dlg"), WORD{8})) << "font";
        // Returning FALSE from WM_INITDIALOG leaves the focus, and so the default button, alone.
        const auto doNothing = [](HWND, UINT, WPARAM, LPARAM) -> INT_PTR { return FALSE; };
        const acl::unique_hwnd dialog(
            CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), nullptr, doNothing, 0));
        ASSERT_TRUE(dialog) << "error " << GetLastError();
        EXPECT_EQ(LOWORD(SendMessageW(dialog.get(), DM_GETDEFID, 0, 0)), IDOK) << "default button";
        const bool dropsAndResizes[] = {(GetWindowLongW(dialog.get(), GWL_EXSTYLE) & WS_EX_ACCEPTFILES) != 0,
                                        (GetWindowLongW(dialog.get(), GWL_STYLE) & WS_THICKFRAME) != 0};
        EXPECT_EQ(dropsAndResizes[0], id == IDD_MAIN || id == IDD_FOLDER) << "takes dropped files";
        EXPECT_EQ(dropsAndResizes[1], id == IDD_MAIN) << "resizable";
        std::vector<HWND> created;
        for (HWND w = GetWindow(dialog.get(), GW_CHILD); w; w = GetWindow(w, GW_HWNDNEXT))
            created.push_back(w);
        ASSERT_EQ(created.size(), stored.controls.size()) << "created controls";
        for (size_t i = 0; i < created.size(); ++i) {
            const auto& [p, text] = stored.controls[i];
            const HWND window = created[i];
            const int control = GetDlgCtrlID(window);
            const std::wstring className = krn::test::ClassName(window);
            const DWORD style = static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE));
            SCOPED_TRACE("tab position " + std::to_string(i) + ", control " + std::to_string(control));
            EXPECT_EQ((style & WS_TABSTOP) != 0, className != L"Static") << "tab stop";
            EXPECT_TRUE(className != L"Edit" || (style & ES_AUTOHSCROLL)) << "scrolls";
            const DWORD picture = text[0] == L'#' ? style & SS_TYPEMASK : 0;
            EXPECT_TRUE(picture != SS_ICON || SendMessageW(window, STM_GETICON, 0, 0)) << "icon";
            if (picture == SS_BITMAP) {
                BITMAP shown{};
                GetObjectW(reinterpret_cast<HBITMAP>(SendMessageW(window, STM_GETIMAGE, IMAGE_BITMAP, 0)),
                           sizeof shown, &shown);
                EXPECT_EQ(std::pair(shown.bmWidth, shown.bmHeight), std::pair(32L, 32L)) << "picture";
            }
            if (control != IDC_HEADER_LINE && control != IDC_STATUS_LINE && id != IDD_RUN) {
                EXPECT_GE(p.left, 7) << "left";
                EXPECT_GE(p.top, 7) << "top";
                EXPECT_LE(p.left + p.right, stored.size.right - 7) << "right";
                EXPECT_LE(p.top + p.bottom, stored.size.bottom - 7) << "bottom";
            }
            RECT a, b, overlap;
            GetWindowRect(window, &a);
            for (size_t j = i + 1; j < created.size(); ++j) {
                GetWindowRect(created[j], &b);
                EXPECT_FALSE(IntersectRect(&overlap, &a, &b)) << "overlaps tab position " << j;
            }
            if (className == L"Static" && (style & (SS_TYPEMASK | WS_GROUP)) == WS_GROUP && p.bottom < 16) {
                RECT client{};
                GetClientRect(window, &client);
                EXPECT_LE(TextWidth(window, control != IDC_HEADER_TEXT), client.right) << "text width";
            }
            if (className == L"ComboBox") {
                RECT closed, dropped;
                GetWindowRect(window, &closed);
                SendMessageW(window, CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(&dropped));
                const LRESULT height = SendMessageW(window, CB_GETITEMHEIGHT, 0, 0);
                EXPECT_GE(dropped.bottom - closed.bottom, 5 * height + 2) << "list of items " << height << " high";
            }
        }
    }
}

} // namespace
