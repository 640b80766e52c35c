// The dialog templates of the program's resources: read as the resource holds
// them (exact styles, dialog units, texts) and created for real with a dialog
// procedure that does nothing (tab order, window classes, header pictures).
#include "acl/Handles.h"
#include "resource.h"
#include "support/Gui.h"

#include <windows.h>
#include <commctrl.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr DWORD kChild = WS_CHILD | WS_VISIBLE;
constexpr DWORD kText = kChild | WS_GROUP | SS_LEFT;
constexpr DWORD kButton = kChild | WS_TABSTOP | BS_PUSHBUTTON;
constexpr DWORD kDefault = kChild | WS_TABSTOP | BS_DEFPUSHBUTTON;
constexpr DWORD kEdit = kChild | WS_TABSTOP | WS_BORDER | ES_AUTOHSCROLL;
constexpr DWORD kUnits = kChild | WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST | WS_DISABLED;
constexpr DWORD kCheck = kChild | WS_TABSTOP | BS_AUTOCHECKBOX;
constexpr DWORD kPicture = kChild | SS_BITMAP | SS_REALSIZEIMAGE;
constexpr DWORD kLine = kChild | SS_ETCHEDHORZ;
constexpr DWORD kList = kChild | WS_BORDER | WS_TABSTOP | LVS_REPORT | LVS_OWNERDRAWFIXED | LVS_OWNERDATA;
constexpr DWORD kIcon = kChild | SS_ICON;
constexpr DWORD kModal = DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_SETFONT | DS_FIXEDSYS;

// A control in tab order. A picture's text is "#" and its bitmap's number; a
// place (x, y, width, height in dialog units) left out is not compared.
struct Control {
    int id;
    std::wstring className, text;
    DWORD style;  // exactly
    RECT place{};
};
struct Template {
    int id;
    std::wstring caption;
    DWORD style, exStyle;  // exactly
    SIZE size;
    std::vector<Control> controls;
    WORD points = 8;
    std::wstring face = L"MS Shell Dlg";
};

const Template kMain{IDD_MAIN, L"Kestrune™ Properties",
    DS_SETFONT | DS_FIXEDSYS | WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX,
    WS_EX_ACCEPTFILES, {348, 259}, {
        {IDCANCEL, L"Button", L"Cancel", kButton, {238, 238, 50, 14}},
        {IDC_APPLY, L"Button", L"A&pply", kButton, {291, 238, 50, 14}},
        {IDC_HEADER_PICTURE, L"Static", L"#205", kPicture, {7, 7, 21, 20}},
        {IDC_HEADER_TITLE, L"Static", L"Folder list.", kText, {49, 7, 292, 11}},
        {IDC_HEADER_TEXT, L"Static",
         L"Select folders to be monitored and set individual parameters for each folder.", kText, {49, 19, 292, 8}},
        {IDC_HEADER_LINE, L"Static", L"", kLine, {1, 28, 346, 1}},
        {IDC_FOLDER_LIST, L"SysListView32", L"", kList | LVS_SINGLESEL | LVS_ALIGNLEFT, {7, 32, 334, 184}},
        {IDC_ADD, L"Button", L"&Add...", kButton, {185, 218, 50, 14}},
        {IDC_EDIT, L"Button", L"&Edit...", kButton, {238, 218, 50, 14}},
        {IDC_DELETE, L"Button", L"&Delete", kButton, {291, 218, 50, 14}},
        {IDC_STATUS_LINE, L"Static", L"", kLine, {1, 235, 346, 1}},
        {IDC_STATUS_LABEL, L"Static", L"Kestrune is", kText, {7, 244, 64, 8}},
        {IDC_STATUS_LINK, L"Static", L"...", kChild | SS_LEFT | SS_NOTIFY, {74, 244, 53, 8}},
        {IDOK, L"Button", L"OK", kDefault, {185, 238, 50, 14}},
    }};

const Template kRun{IDD_RUN, L"Run ...", 0x80C800C8, 0, {272, 116}, {
    {IDC_STATIC, L"Static", L"Select the application to run:", 0x50020000, {7, 7, 258, 8}},
    {IDC_RUN_ICON, L"Static", L"", 0x50000803, {7, 16, 20, 20}},
    {IDC_RUN_PATH, L"Edit", L"", 0x50810080, {33, 19, 214, 14}},
    {IDC_BROWSE, L"Button", L"...", 0x50010000, {248, 19, 17, 14}},
    {IDC_STATIC, L"Static", L"Optional parameters:", 0x50020000, {7, 37, 258, 8}},
    {IDC_RUN_PARAMS, L"Edit", L"", 0x50810080, {7, 46, 258, 14}},
    {IDC_STATIC, L"Static",
     L"Tip: Use \"%currentdir%\" constant to insert the path of the monitored folder. Enclose path in quotes. "
     L"You can use environment variables as well.", 0x50020000, {7, 63, 258, 17}},
    {IDC_RUN_HELP_LINK, L"Static", L"See help for more details.", 0x50020000, {7, 80, 102, 8}},
    {IDC_STATIC, L"Static", L"", 0x50000010, {7, 92, 258, 1}},
    {IDOK, L"Button", L"OK", 0x50010001, {162, 96, 50, 14}},
    {IDCANCEL, L"Button", L"Cancel", 0x50010000, {215, 96, 50, 14}},
}};

// The folder dialog's places are its own layout, checked by rules below.
const Template kFolder{IDD_FOLDER, L"Folder properties",
    DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_SETFONT | DS_FIXEDSYS, WS_EX_ACCEPTFILES, {306, 238}, {
        {IDC_HEADER_PICTURE, L"Static", L"#202", kPicture},
        {IDC_HEADER_TITLE, L"Static", L"[FOLDER WAS NOT SELECTED]", kText},
        {IDC_HEADER_TEXT, L"Static", L"Set individual parameters for the folder.", kText},
        {IDC_HEADER_LINE, L"Static", L"", kLine},
        {IDC_FOLDER_GROUP, L"Static", L"Folder", kText},
        {IDC_FOLDER_PATH, L"Edit", L"", kEdit},
        {IDC_BROWSE, L"Button", L"...", kButton},
        {IDC_LIMITS_GROUP, L"Static", L"Size limits", kText},
        {IDC_MAX_CHECK, L"Button", L"Maximum:", kCheck},
        {IDC_MAX_VALUE, L"Edit", L"", kEdit | WS_DISABLED},
        {IDC_MAX_UNIT, L"ComboBox", L"", kUnits},
        {IDC_MAX_TEXT_LABEL, L"Static", L"Custom text:", kChild | SS_LEFT | WS_DISABLED},
        {IDC_MAX_TEXT, L"Edit", L"", kEdit | WS_DISABLED},
        {IDC_MIN_CHECK, L"Button", L"Minimum:", kCheck},
        {IDC_MIN_VALUE, L"Edit", L"", kEdit | WS_DISABLED},
        {IDC_MIN_UNIT, L"ComboBox", L"", kUnits},
        {IDC_MIN_TEXT_LABEL, L"Static", L"Custom text:", kChild | SS_LEFT | WS_DISABLED},
        {IDC_MIN_TEXT, L"Edit", L"", kEdit | WS_DISABLED},
        {IDC_ACTIONS_GROUP, L"Static", L"Actions", kText},
        {IDC_ACTION_LIST, L"SysListView32", L"", kList},
        {IDC_ADD, L"Button", L"&Add...", kButton},
        {IDC_EDIT, L"Button", L"&Edit...", kButton | WS_DISABLED},
        {IDC_REMOVE, L"Button", L"&Remove", kButton},
        {IDOK, L"Button", L"OK", kDefault},
        {IDCANCEL, L"Button", L"Cancel", kButton},
    }};

// The places of these three are their own layouts, checked by the rules below.
const Template kProperties{IDD_PROPERTIES, L"Properties", kModal, 0, {281, 111}, {
    {IDC_HEADER_PICTURE, L"Static", L"#202", kPicture},
    {IDC_HEADER_TITLE, L"Static", L"Kestrune™ Properties", kText},
    {IDC_HEADER_TEXT, L"Static", L"Set Kestrune parameters.", kText},
    {IDC_HEADER_LINE, L"Static", L"", kLine},
    {IDC_START_WITH_WINDOWS, L"Button", L"Start with Windows", kCheck},
    {IDC_DISABLE_ALERTS, L"Button", L"Disable alerts on startup", kCheck},
    {IDC_STATIC, L"Static", L"Path to log file", kText},
    {IDC_LOG_PATH, L"Edit", L"", kEdit},
    {IDC_CHOOSE_LOG, L"Button", L"...", kButton},
    {IDC_VIEW_LOG, L"Button", L"View log", kButton},
    {IDC_STATIC, L"Static", L"", kLine},
    {IDOK, L"Button", L"OK", kDefault},
    {IDCANCEL, L"Button", L"Cancel", kButton},
}};

// The address links get their texts when the box opens.
const Template kAbout{IDD_ABOUT, L"About", kModal, 0, {224, 107}, {
    {IDC_ABOUT_ICON, L"Static", L"#128", kIcon},
    {IDC_ABOUT_VERSION, L"Static", L"Version %.%%", kText},
    {IDC_STATIC, L"Static", L"", kLine},
    {IDC_HOME_LABEL, L"Static", L"Web site", kText},
    {IDC_HOME_LINK, L"Static", L"", kText},
    {IDC_SUPPORT_LABEL, L"Static", L"Support", kText},
    {IDC_SUPPORT_LINK, L"Static", L"", kText},
    {IDC_CONTACT_LABEL, L"Static", L"Contacts", kText},
    {IDC_CONTACT_LINK, L"Static", L"Click here to contact us via our Web site.", kText},
    {IDC_STATIC, L"Static", L"", kLine},
    {IDOK, L"Button", L"OK", kDefault},
}};

std::string Hex(DWORD value)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(value));
    return text;
}

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
    const RECT size = place();
    t.size = {size.right, size.bottom};
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
        t.controls.push_back({control, L"", text(), style, at});
        p += word();  // creation data
    }
    return t;
}

// Returning FALSE from WM_INITDIALOG leaves the focus, and so the default button, alone.
INT_PTR CALLBACK DoNothing(HWND, UINT, WPARAM, LPARAM) { return FALSE; }

acl::unique_hwnd Create(int id)
{
    return acl::unique_hwnd(CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), nullptr, DoNothing, 0));
}

// The stored template against the table; the created dialog's windows, in
// tab order, against its ids and classes.
void ExpectTemplate(const Template& t)
{
    SCOPED_TRACE("dialog " + std::to_string(t.id));
    const Template stored = Read(t.id);
    EXPECT_EQ(stored.caption, t.caption) << "caption";
    EXPECT_EQ(Hex(stored.style), Hex(t.style)) << "dialog style";
    EXPECT_EQ(Hex(stored.exStyle), Hex(t.exStyle)) << "dialog extended style";
    EXPECT_EQ(stored.size.cx, t.size.cx) << "dialog width";
    EXPECT_EQ(stored.size.cy, t.size.cy) << "dialog height";
    EXPECT_EQ(stored.points, t.points) << "font size";
    EXPECT_EQ(stored.face, t.face) << "font";
    ASSERT_EQ(stored.controls.size(), t.controls.size()) << "controls";
    const acl::unique_hwnd dialog = Create(t.id);
    ASSERT_TRUE(dialog) << "error " << GetLastError();
    HWND window = GetWindow(dialog.get(), GW_CHILD);
    for (size_t i = 0; i < t.controls.size(); ++i, window = GetWindow(window, GW_HWNDNEXT)) {
        const Control &c = t.controls[i], &item = stored.controls[i];
        SCOPED_TRACE("tab position " + std::to_string(i) + ", control " + std::to_string(c.id));
        EXPECT_EQ(GetDlgCtrlID(window), c.id) << "id";
        EXPECT_EQ(krn::test::ClassName(window), c.className) << "class";
        EXPECT_EQ(item.text, c.text) << "text";
        EXPECT_EQ(Hex(item.style), Hex(c.style)) << "style";
        if (c.place.right) {
            EXPECT_EQ(item.place.left, c.place.left) << "x";
            EXPECT_EQ(item.place.top, c.place.top) << "y";
            EXPECT_EQ(item.place.right, c.place.right) << "width";
            EXPECT_EQ(item.place.bottom, c.place.bottom) << "height";
        }
        if (c.style == kPicture) {  // the header pictures are 32 by 32
            BITMAP shown{};
            GetObjectW(reinterpret_cast<HBITMAP>(SendMessageW(window, STM_GETIMAGE, IMAGE_BITMAP, 0)), sizeof shown,
                       &shown);
            EXPECT_EQ(shown.bmWidth, 32) << "picture width";
            EXPECT_EQ(shown.bmHeight, 32) << "picture height";
        }
        if (c.style == kIcon) {
            EXPECT_TRUE(SendMessageW(window, STM_GETICON, 0, 0)) << "icon";
        }
    }
    EXPECT_FALSE(window) << "more controls created than the template holds";
}

TEST(Templates, MatchTheirTables)
{
    for (const Template* t : {&kMain, &kRun, &kFolder, &kProperties, &kAbout})
        ExpectTemplate(*t);
}

// A text's width in the control's font made bold: the dialogs draw some
// labels in bold, and a text that fits in bold fits in the plain font too.
LONG BoldTextWidth(HWND control)
{
    LOGFONTW lf{};
    GetObjectW(reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0)), sizeof lf, &lf);
    lf.lfWeight = FW_BOLD;
    const acl::unique_hfont bold(CreateFontIndirectW(&lf));
    const acl::WindowDc dc(control);
    const acl::SelectGuard select(dc.get(), bold.get());
    const std::wstring text = krn::test::WindowText(control);
    SIZE size{};
    GetTextExtentPoint32W(dc.get(), text.c_str(), static_cast<int>(text.size()), &size);
    return size.cx;
}

// Every control but a header's line, which spans the whole width as in the
// main window, keeps 7 units from the edges (a unit list's height is its
// dropped-down height); no two created controls overlap; and every one-line
// text fits its static control, in bold too.
TEST(Templates, LayoutsKeepTheirMarginsAndTextsFit)
{
    for (int id : {IDD_FOLDER, IDD_PROPERTIES, IDD_ABOUT}) {
        SCOPED_TRACE("dialog " + std::to_string(id));
        const Template stored = Read(id);
        const acl::unique_hwnd dialog = Create(id);
        ASSERT_TRUE(dialog);
        std::vector<HWND> created;
        for (HWND w = GetWindow(dialog.get(), GW_CHILD); w; w = GetWindow(w, GW_HWNDNEXT))
            created.push_back(w);
        ASSERT_EQ(created.size(), stored.controls.size());
        for (size_t i = 0; i < stored.controls.size(); ++i) {
            const Control& c = stored.controls[i];
            const RECT& p = c.place;
            SCOPED_TRACE("tab position " + std::to_string(i) + ", control " + std::to_string(c.id));
            if (c.id != IDC_HEADER_LINE) {
                EXPECT_GE(p.left, 7) << "left";
                EXPECT_GE(p.top, 7) << "top";
                EXPECT_LE(p.left + p.right, stored.size.cx - 7) << "right";
                EXPECT_LE(p.top + p.bottom, stored.size.cy - 7) << "bottom";
            }
            RECT a, b, overlap;
            GetWindowRect(created[i], &a);
            for (size_t j = i + 1; j < created.size(); ++j) {
                GetWindowRect(created[j], &b);
                EXPECT_FALSE(IntersectRect(&overlap, &a, &b)) << "overlaps tab position " << j;
            }
            if (c.style == kText) {
                RECT client{};
                GetClientRect(created[i], &client);
                EXPECT_LE(BoldTextWidth(created[i]), client.right) << "text width";
            }
        }
    }
}

// The unit lists drop down far enough for the five units without scrolling
// (the common controls 6 size the list by its items, others by the template).
TEST(Templates, UnitListsShowAllUnits)
{
    const acl::unique_hwnd dialog = Create(IDD_FOLDER);
    ASSERT_TRUE(dialog);
    for (int id : {IDC_MAX_UNIT, IDC_MIN_UNIT}) {
        const HWND combo = GetDlgItem(dialog.get(), id);
        RECT closed, dropped;
        GetWindowRect(combo, &closed);
        SendMessageW(combo, CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(&dropped));
        const LRESULT item = SendMessageW(combo, CB_GETITEMHEIGHT, 0, 0);
        EXPECT_GE(dropped.bottom - closed.bottom, 5 * item + 2) << "list " << id << ", items " << item << " high";
    }
}

} // namespace
