// The dialog templates of the program's resources: what the user reads (the
// captions and texts), the tab order, and the layout rules, read as the
// resource holds them and checked on dialogs created for real with a dialog
// procedure that does nothing.
#include "acl/Handles.h"
#include "resource.h"
#include "support/Gui.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// A control in tab order: its window class and text (a picture's is "#" and
// its resource number); its place in dialog units and style as stored.
struct Control {
    int id;
    std::wstring className, text;
    bool disabled = false;  // when created
    RECT place{};
    DWORD style = 0;
};
struct Template {
    int id;
    std::wstring caption;
    DWORD style, exStyle;  // exactly
    RECT size;  // in dialog units
    std::vector<Control> controls;
    WORD points = 8;
    std::wstring face = L"MS Shell Dlg";
};

constexpr DWORD kModal = DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_SETFONT | DS_FIXEDSYS;
const std::wstring kStatic = L"Static", kButton = L"Button", kEdit = L"Edit", kList = L"SysListView32";

const Template kTemplates[] = {
    {IDD_MAIN, L"Kestrune™ Properties",
     DS_SETFONT | DS_FIXEDSYS | WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX,
     WS_EX_ACCEPTFILES, {0, 0, 348, 259}, {
        {IDCANCEL, kButton, L"Cancel"}, {IDC_APPLY, kButton, L"A&pply"}, {IDC_HEADER_PICTURE, kStatic, L"#205"},
        {IDC_HEADER_TITLE, kStatic, L"Folder list."},
        {IDC_HEADER_TEXT, kStatic, L"Select folders to be monitored and set individual parameters for each folder."},
        {IDC_HEADER_LINE, kStatic, L""}, {IDC_FOLDER_LIST, kList, L""}, {IDC_ADD, kButton, L"&Add..."},
        {IDC_EDIT, kButton, L"&Edit..."}, {IDC_DELETE, kButton, L"&Delete"}, {IDC_STATUS_LINE, kStatic, L""},
        {IDC_STATUS_LABEL, kStatic, L"Kestrune is"}, {IDC_STATUS_LINK, kStatic, L"..."}, {IDOK, kButton, L"OK"}}},
    {IDD_RUN, L"Run ...", kModal, 0, {0, 0, 272, 116}, {
        {IDC_STATIC, kStatic, L"Select the application to run:"}, {IDC_RUN_ICON, kStatic, L""},
        {IDC_RUN_PATH, kEdit, L""}, {IDC_BROWSE, kButton, L"..."}, {IDC_STATIC, kStatic, L"Optional parameters:"},
        {IDC_RUN_PARAMS, kEdit, L""},
        {IDC_STATIC, kStatic,
         L"Tip: Use \"%currentdir%\" constant to insert the path of the monitored folder. Enclose path in quotes. "
         L"You can use environment variables as well."},
        {IDC_RUN_HELP_LINK, kStatic, L"See help for more details."}, {IDC_STATIC, kStatic, L""},
        {IDOK, kButton, L"OK"}, {IDCANCEL, kButton, L"Cancel"}}},
    {IDD_FOLDER, L"Folder properties", kModal, WS_EX_ACCEPTFILES, {0, 0, 306, 238}, {
        {IDC_HEADER_PICTURE, kStatic, L"#202"}, {IDC_HEADER_TITLE, kStatic, L"[FOLDER WAS NOT SELECTED]"},
        {IDC_HEADER_TEXT, kStatic, L"Set individual parameters for the folder."}, {IDC_HEADER_LINE, kStatic, L""},
        {IDC_FOLDER_GROUP, kStatic, L"Folder"}, {IDC_FOLDER_PATH, kEdit, L""}, {IDC_BROWSE, kButton, L"..."},
        {IDC_LIMITS_GROUP, kStatic, L"Size limits"}, {IDC_MAX_CHECK, kButton, L"Maximum:"},
        {IDC_MAX_VALUE, kEdit, L"", true}, {IDC_MAX_UNIT, L"ComboBox", L"", true},
        {IDC_MAX_TEXT_LABEL, kStatic, L"Custom text:", true}, {IDC_MAX_TEXT, kEdit, L"", true},
        {IDC_MIN_CHECK, kButton, L"Minimum:"}, {IDC_MIN_VALUE, kEdit, L"", true},
        {IDC_MIN_UNIT, L"ComboBox", L"", true}, {IDC_MIN_TEXT_LABEL, kStatic, L"Custom text:", true},
        {IDC_MIN_TEXT, kEdit, L"", true}, {IDC_ACTIONS_GROUP, kStatic, L"Actions"}, {IDC_ACTION_LIST, kList, L""},
        {IDC_ADD, kButton, L"&Add..."}, {IDC_EDIT, kButton, L"&Edit...", true}, {IDC_REMOVE, kButton, L"&Remove"},
        {IDOK, kButton, L"OK"}, {IDCANCEL, kButton, L"Cancel"}}},
    {IDD_PROPERTIES, L"Properties", kModal, 0, {0, 0, 281, 111}, {
        {IDC_HEADER_PICTURE, kStatic, L"#202"}, {IDC_HEADER_TITLE, kStatic, L"Kestrune™ Properties"},
        {IDC_HEADER_TEXT, kStatic, L"Set Kestrune parameters."}, {IDC_HEADER_LINE, kStatic, L""},
        {IDC_START_WITH_WINDOWS, kButton, L"Start with Windows"},
        {IDC_DISABLE_ALERTS, kButton, L"Disable alerts on startup"}, {IDC_STATIC, kStatic, L"Path to log file"},
        {IDC_LOG_PATH, kEdit, L""}, {IDC_CHOOSE_LOG, kButton, L"..."}, {IDC_VIEW_LOG, kButton, L"View log"},
        {IDC_STATIC, kStatic, L""}, {IDOK, kButton, L"OK"}, {IDCANCEL, kButton, L"Cancel"}}},
    // The address links get their texts when the box opens.
    {IDD_ABOUT, L"About", kModal, 0, {0, 0, 224, 107}, {
        {IDC_ABOUT_ICON, kStatic, L"#128"}, {IDC_ABOUT_VERSION, kStatic, L"Version %.%%"},
        {IDC_STATIC, kStatic, L""}, {IDC_HOME_LABEL, kStatic, L"Web site"}, {IDC_HOME_LINK, kStatic, L""},
        {IDC_SUPPORT_LABEL, kStatic, L"Support"}, {IDC_SUPPORT_LINK, kStatic, L""},
        {IDC_CONTACT_LABEL, kStatic, L"Contacts"},
        {IDC_CONTACT_LINK, kStatic, L"Click here to contact us via our Web site."}, {IDC_STATIC, kStatic, L""},
        {IDOK, kButton, L"OK"}}},
};

// The template as the resource stores it (a DLGTEMPLATEEX); the controls'
// classes are left empty.
Template Read(int id)
{
    Template t{id};
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
    dword();  // help id
    t.exStyle = dword();
    t.style = dword();
    const WORD count = word();
    t.size = place();
    text(), text();  // menu, class
    t.caption = text();
    t.points = word();  // DS_SETFONT, proven with the style
    dword();            // weight, italic, character set
    t.face = text();
    for (WORD i = 0; i < count; ++i) {
        p += (4 - (p - base) % 4) % 4;  // items are DWORD-aligned
        dword(), dword();  // help id, extended style
        const DWORD style = dword();
        const RECT at = place();
        const int control = static_cast<int>(dword());
        text();  // class
        t.controls.push_back({control, L"", text(), false, at, style});
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

// The stored template against the table, and the created dialog's windows,
// in tab order, against its ids, classes and texts. Every dialog keeps the
// rules: OK is the default button; every control but a static is a tab stop
// and every edit scrolls its text; the header pictures are 32 by 32; every
// control but the lines that span the whole width keeps 7 units from the
// edges (a unit list's height is its dropped-down height; the Run dialog keeps
// the places it has always had, 6 units above the bottom); no two created
// controls overlap; every one-line label fits its static control, in bold too
// but for the header's description, which is never bold; and the unit lists
// drop down far enough for the five units without scrolling (the common
// controls 6 size the list by its items, others by the template).
TEST(Templates, ShowTheirTextsInTabOrderAndKeepTheLayoutRules)
{
    for (const Template& t : kTemplates) {
        SCOPED_TRACE("dialog " + std::to_string(t.id));
        const Template stored = Read(t.id);
        EXPECT_EQ(stored.caption, t.caption) << "caption";
        EXPECT_EQ(stored.style, t.style) << "dialog style";
        EXPECT_EQ(stored.exStyle, t.exStyle) << "dialog extended style";
        EXPECT_EQ(std::pair(stored.size.right, stored.size.bottom), std::pair(t.size.right, t.size.bottom)) << "size";
        EXPECT_EQ(std::pair(stored.face, stored.points), std::pair(t.face, t.points)) << "font";
        ASSERT_EQ(stored.controls.size(), t.controls.size()) << "controls";
        // Returning FALSE from WM_INITDIALOG leaves the focus, and so the default button, alone.
        const auto doNothing = [](HWND, UINT, WPARAM, LPARAM) -> INT_PTR { return FALSE; };
        const acl::unique_hwnd dialog(
            CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(t.id), nullptr, doNothing, 0));
        ASSERT_TRUE(dialog) << "error " << GetLastError();
        EXPECT_EQ(LOWORD(SendMessageW(dialog.get(), DM_GETDEFID, 0, 0)), IDOK) << "default button";
        std::vector<HWND> created;
        for (HWND w = GetWindow(dialog.get(), GW_CHILD); w; w = GetWindow(w, GW_HWNDNEXT))
            created.push_back(w);
        ASSERT_EQ(created.size(), t.controls.size()) << "created controls";
        for (size_t i = 0; i < t.controls.size(); ++i) {
            const Control &c = t.controls[i], &item = stored.controls[i];
            const RECT& p = item.place;
            const HWND window = created[i];
            SCOPED_TRACE("tab position " + std::to_string(i) + ", control " + std::to_string(c.id));
            EXPECT_EQ(GetDlgCtrlID(window), c.id) << "id";
            EXPECT_EQ(krn::test::ClassName(window), c.className) << "class";
            EXPECT_EQ(item.text, c.text) << "text";
            EXPECT_EQ((item.style & WS_TABSTOP) != 0, c.className != kStatic) << "tab stop";
            if (c.className == kEdit) {
                EXPECT_NE(item.style & ES_AUTOHSCROLL, 0u) << "scrolls";
            }
            EXPECT_EQ(IsWindowEnabled(window) == FALSE, c.disabled) << "created disabled";
            const DWORD picture = c.text[0] == L'#' ? item.style & SS_TYPEMASK : 0;
            if (picture == SS_ICON) {
                EXPECT_TRUE(SendMessageW(window, STM_GETICON, 0, 0)) << "icon";
            }
            if (picture == SS_BITMAP) {
                BITMAP shown{};
                GetObjectW(reinterpret_cast<HBITMAP>(SendMessageW(window, STM_GETIMAGE, IMAGE_BITMAP, 0)),
                           sizeof shown, &shown);
                EXPECT_EQ(std::pair(shown.bmWidth, shown.bmHeight), std::pair(32L, 32L)) << "picture";
            }
            if (c.id != IDC_HEADER_LINE && c.id != IDC_STATUS_LINE && t.id != IDD_RUN) {
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
            if (c.className == kStatic && (item.style & (SS_TYPEMASK | WS_GROUP)) == WS_GROUP && p.bottom < 16) {
                RECT client{};
                GetClientRect(window, &client);
                EXPECT_LE(TextWidth(window, c.id != IDC_HEADER_TEXT), client.right) << "text width";
            }
            if (c.className == L"ComboBox") {
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
