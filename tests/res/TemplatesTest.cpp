// The dialog templates of the program's resources: read as the resource
// holds them (styles and dialog units, before the controls adjust their own
// styles), and created for real with a dialog procedure that does nothing
// (tab order, classes, texts, pictures and places in pixels).
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

using krn::test::ClassName;
using krn::test::WindowText;

constexpr DWORD kChild = WS_CHILD | WS_VISIBLE;
constexpr DWORD kText = kChild | WS_GROUP | SS_LEFT;
constexpr DWORD kButton = kChild | WS_TABSTOP | BS_PUSHBUTTON;
constexpr DWORD kEdit = kChild | WS_TABSTOP | WS_BORDER | ES_AUTOHSCROLL;
constexpr DWORD kUnitList = kChild | WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST;
constexpr DWORD kCheckBox = kChild | WS_TABSTOP | BS_AUTOCHECKBOX;
constexpr DWORD kHeaderPicture = kChild | SS_BITMAP | SS_REALSIZEIMAGE;
constexpr DWORD kLine = kChild | SS_ETCHEDHORZ;

// How a created control's size relates to its template.
enum class Sizing {
    Template,  // as the template says
    Picture,   // a picture static takes the size of its bitmap
    Line,      // an etched line gets a static edge: its client area has the template's width
};

// One control as the template holds it and the dialog creates it. `picture`
// is the bitmap resource a picture static shows (its text is then not
// compared).
struct Control {
    int id;
    const wchar_t* className;
    const wchar_t* text;
    DWORD style;  // exactly, as in the template
    RECT place;   // x, y, width, height in dialog units; all zero: not compared
    int picture = 0;
    Sizing sizing = Sizing::Template;
};

struct Template {
    int id;
    const wchar_t* caption;
    DWORD style;    // exactly, as in the template
    DWORD exStyle;  // exactly, as in the template
    SIZE size;      // dialog units
    std::vector<Control> controls;
};

const Template kMain{
    IDD_MAIN,
    L"Kestrune™ Properties",
    DS_SETFONT | DS_FIXEDSYS | WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX,
    WS_EX_ACCEPTFILES,
    {348, 259},
    {
        {IDCANCEL, L"Button", L"Cancel", kButton, {238, 238, 50, 14}},
        {IDC_APPLY, L"Button", L"A&pply", kButton, {291, 238, 50, 14}},
        {IDC_HEADER_PICTURE, L"Static", nullptr, kHeaderPicture, {7, 7, 21, 20}, IDB_MAIN_HEADER, Sizing::Picture},
        {IDC_HEADER_TITLE, L"Static", L"Folder list.", kText, {49, 7, 292, 11}},
        {IDC_HEADER_TEXT, L"Static",
         L"Select folders to be monitored and set individual parameters for each folder.", kText, {49, 19, 292, 8}},
        {IDC_HEADER_LINE, L"Static", L"", kLine, {1, 28, 346, 1}, 0, Sizing::Line},
        {IDC_FOLDER_LIST, L"SysListView32", L"",
         kChild | WS_BORDER | WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL | LVS_OWNERDRAWFIXED | LVS_OWNERDATA |
             LVS_ALIGNLEFT,
         {7, 32, 334, 184}},
        {IDC_ADD, L"Button", L"&Add...", kButton, {185, 218, 50, 14}},
        {IDC_EDIT, L"Button", L"&Edit...", kButton, {238, 218, 50, 14}},
        {IDC_DELETE, L"Button", L"&Delete", kButton, {291, 218, 50, 14}},
        {IDC_STATUS_LINE, L"Static", L"", kLine, {1, 235, 346, 1}, 0, Sizing::Line},
        {IDC_STATUS_LABEL, L"Static", L"Kestrune is", kText, {7, 244, 64, 8}},
        {IDC_STATUS_LINK, L"Static", L"...", kChild | SS_LEFT | SS_NOTIFY, {74, 244, 53, 8}},
        {IDOK, L"Button", L"OK", kChild | WS_TABSTOP | BS_DEFPUSHBUTTON, {185, 238, 50, 14}},
    },
};

const Template kRun{
    IDD_RUN,
    L"Run ...",
    0x80C800C8,
    0,
    {272, 116},
    {
        {IDC_STATIC, L"Static", L"Select the application to run:", 0x50020000, {7, 7, 258, 8}},
        {IDC_RUN_ICON, L"Static", L"", 0x50000803, {7, 16, 20, 20}},
        {IDC_RUN_PATH, L"Edit", L"", 0x50810080, {33, 19, 214, 14}},
        {IDC_BROWSE, L"Button", L"...", 0x50010000, {248, 19, 17, 14}},
        {IDC_STATIC, L"Static", L"Optional parameters:", 0x50020000, {7, 37, 258, 8}},
        {IDC_RUN_PARAMS, L"Edit", L"", 0x50810080, {7, 46, 258, 14}},
        {IDC_STATIC, L"Static",
         L"Tip: Use \"%currentdir%\" constant to insert the path of the monitored folder. Enclose path in quotes. "
         L"You can use environment variables as well.",
         0x50020000, {7, 63, 258, 17}},
        {IDC_RUN_HELP_LINK, L"Static", L"See help for more details.", 0x50020000, {7, 80, 102, 8}},
        {IDC_STATIC, L"Static", L"", 0x50000010, {7, 92, 258, 1}, 0, Sizing::Line},
        {IDOK, L"Button", L"OK", 0x50010001, {162, 96, 50, 14}},
        {IDCANCEL, L"Button", L"Cancel", 0x50010000, {215, 96, 50, 14}},
    },
};

// The folder dialog's places are a layout of its own; they are checked by
// the layout rules further down.
const Template kFolder{
    IDD_FOLDER,
    L"Folder properties",
    DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_SETFONT | DS_FIXEDSYS,
    WS_EX_ACCEPTFILES,
    {306, 238},
    {
        {IDC_HEADER_PICTURE, L"Static", nullptr, kHeaderPicture, {}, IDB_FOLDER_HEADER, Sizing::Picture},
        {IDC_HEADER_TITLE, L"Static", L"[FOLDER WAS NOT SELECTED]", kText, {}},
        {IDC_HEADER_TEXT, L"Static", L"Set individual parameters for the folder.", kText, {}},
        {IDC_HEADER_LINE, L"Static", L"", kLine, {}},
        {IDC_FOLDER_GROUP, L"Static", L"Folder", kText, {}},
        {IDC_FOLDER_PATH, L"Edit", L"", kEdit, {}},
        {IDC_BROWSE, L"Button", L"...", kButton, {}},
        {IDC_LIMITS_GROUP, L"Static", L"Size limits", kText, {}},
        {IDC_MAX_CHECK, L"Button", L"Maximum:", kCheckBox, {}},
        {IDC_MAX_VALUE, L"Edit", L"", kEdit | WS_DISABLED, {}},
        {IDC_MAX_UNIT, L"ComboBox", L"", kUnitList | WS_DISABLED, {}},
        {IDC_MAX_TEXT_LABEL, L"Static", L"Custom text:", kChild | SS_LEFT | WS_DISABLED, {}},
        {IDC_MAX_TEXT, L"Edit", L"", kEdit | WS_DISABLED, {}},
        {IDC_MIN_CHECK, L"Button", L"Minimum:", kCheckBox, {}},
        {IDC_MIN_VALUE, L"Edit", L"", kEdit | WS_DISABLED, {}},
        {IDC_MIN_UNIT, L"ComboBox", L"", kUnitList | WS_DISABLED, {}},
        {IDC_MIN_TEXT_LABEL, L"Static", L"Custom text:", kChild | SS_LEFT | WS_DISABLED, {}},
        {IDC_MIN_TEXT, L"Edit", L"", kEdit | WS_DISABLED, {}},
        {IDC_ACTIONS_GROUP, L"Static", L"Actions", kText, {}},
        {IDC_ACTION_LIST, L"SysListView32", L"",
         kChild | WS_BORDER | WS_TABSTOP | LVS_REPORT | LVS_OWNERDRAWFIXED | LVS_OWNERDATA, {}},
        {IDC_ADD, L"Button", L"&Add...", kButton, {}},
        {IDC_EDIT, L"Button", L"&Edit...", kButton | WS_DISABLED, {}},
        {IDC_REMOVE, L"Button", L"&Remove", kButton, {}},
        {IDOK, L"Button", L"OK", kChild | WS_TABSTOP | BS_DEFPUSHBUTTON, {}},
        {IDCANCEL, L"Button", L"Cancel", kButton, {}},
    },
};

std::string Hex(DWORD value)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(value));
    return text;
}

// What a DLGTEMPLATEEX resource holds (the fields these tests look at).
struct StoredItem {
    DWORD exStyle = 0;
    DWORD style = 0;
    RECT place{};  // x, y, width, height
    int id = 0;
};
struct StoredTemplate {
    DWORD exStyle = 0;
    DWORD style = 0;
    SIZE size{};
    std::wstring caption;
    WORD pointSize = 0;
    std::wstring face;
    std::vector<StoredItem> items;
};

// Reads the fields of a template in their order.
struct Cursor {
    const BYTE* base;
    const BYTE* p;
    template <typename T = WORD>
    T Take()
    {
        T value;
        std::memcpy(&value, p, sizeof value);
        p += sizeof value;
        return value;
    }
    // A string, or a class or resource given by number (0xFFFF, number).
    std::wstring Text()
    {
        std::wstring text;
        if (WORD c = Take(); c == 0xFFFF)
            return L"#" + std::to_wstring(Take());
        else
            for (; c; c = Take())
                text += static_cast<wchar_t>(c);
        return text;
    }
    RECT Place() { return {Take<short>(), Take<short>(), Take<short>(), Take<short>()}; }
};

StoredTemplate ReadTemplate(int id)
{
    StoredTemplate t;
    HMODULE module = GetModuleHandleW(nullptr);
    HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), RT_DIALOG);
    const BYTE* base = found ? static_cast<const BYTE*>(LockResource(LoadResource(module, found))) : nullptr;
    if (!base || Cursor{base, base}.Take<DWORD>() != 0xFFFF0001)
        return t;  // missing, or not a DLGTEMPLATEEX
    Cursor r{base, base + 8};  // after version, signature and help id
    t.exStyle = r.Take<DWORD>();
    t.style = r.Take<DWORD>();
    const WORD count = r.Take();
    const RECT dialog = r.Place();
    t.size = {dialog.right, dialog.bottom};
    r.Text(), r.Text();  // menu, class
    t.caption = r.Text();
    if (t.style & DS_SETFONT) {
        t.pointSize = r.Take();
        r.Take<DWORD>();  // weight, italic, character set
        t.face = r.Text();
    }
    for (WORD i = 0; i < count; ++i) {
        r.p += (4 - (r.p - base) % 4) % 4;  // items are DWORD-aligned
        StoredItem item;
        r.Take<DWORD>();  // help id
        item.exStyle = r.Take<DWORD>();
        item.style = r.Take<DWORD>();
        item.place = r.Place();
        item.id = static_cast<int>(r.Take<DWORD>());
        r.Text(), r.Text();  // class, text
        r.p += r.Take();     // creation data
        t.items.push_back(item);
    }
    return t;
}

// Returning FALSE from WM_INITDIALOG leaves the focus alone, so the dialog
// manager does not move the default button before the dialog is looked at.
INT_PTR CALLBACK DoNothing(HWND, UINT, WPARAM, LPARAM) { return FALSE; }

class Dialog {
public:
    explicit Dialog(int id)
        : window_(CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), nullptr, DoNothing, 0))
    {
    }
    ~Dialog()
    {
        if (window_)
            DestroyWindow(window_);
    }
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;

    HWND window() const { return window_; }
    std::vector<HWND> Children() const
    {
        std::vector<HWND> children;
        for (HWND child = GetWindow(window_, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
            children.push_back(child);
        return children;
    }
    // A dialog-unit rectangle (x, y, width, height) in pixels, as the dialog
    // manager converts each of the four numbers.
    RECT Pixels(RECT dialogUnits) const
    {
        MapDialogRect(window_, &dialogUnits);
        return dialogUnits;
    }
    // A control's window rectangle in the dialog's client area.
    RECT Bounds(HWND control) const
    {
        RECT r;
        GetWindowRect(control, &r);
        MapWindowPoints(nullptr, window_, reinterpret_cast<POINT*>(&r), 2);
        return r;
    }

private:
    HWND window_;
};

// The pixels of a bitmap as 32-bit values, with its size.
struct Picture {
    LONG width = 0;
    LONG height = 0;
    std::vector<DWORD> bits;
};
Picture Read(HBITMAP bitmap)
{
    Picture p;
    BITMAP info{};
    if (!bitmap || !GetObjectW(bitmap, sizeof info, &info))
        return p;
    p.width = info.bmWidth;
    p.height = info.bmHeight;
    p.bits.resize(size_t(p.width) * p.height);
    BITMAPINFO bi{};
    bi.bmiHeader = {sizeof(BITMAPINFOHEADER), p.width, -p.height, 1, 32, BI_RGB};
    HDC dc = GetDC(nullptr);
    GetDIBits(dc, bitmap, 0, p.height, p.bits.data(), &bi, DIB_RGB_COLORS);
    ReleaseDC(nullptr, dc);
    return p;
}

Picture Shown(HWND control)
{
    return Read(reinterpret_cast<HBITMAP>(SendMessageW(control, STM_GETIMAGE, IMAGE_BITMAP, 0)));
}

void ExpectPicture(HWND control, int resource)
{
    const Picture shown = Shown(control);
    HBITMAP loaded = LoadBitmapW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(resource));
    const Picture expected = Read(loaded);
    DeleteObject(loaded);
    EXPECT_EQ(shown.width, 32) << "picture width";
    EXPECT_EQ(shown.height, 32) << "picture height";
    EXPECT_TRUE(shown.bits == expected.bits) << "the static does not show bitmap " << resource;
}

// x, y, width and height in pixels against the template's dialog units.
void ExpectPlace(const Dialog& dialog, HWND control, const Control& c)
{
    const RECT expected = dialog.Pixels(c.place);
    const RECT bounds = dialog.Bounds(control);
    LONG width = bounds.right - bounds.left, height = bounds.bottom - bounds.top;
    LONG expectedWidth = expected.right, expectedHeight = expected.bottom;
    if (c.sizing == Sizing::Picture) {
        const Picture picture = Shown(control);
        expectedWidth = picture.width;
        expectedHeight = picture.height;
    } else if (c.sizing == Sizing::Line) {
        RECT client;
        GetClientRect(control, &client);
        width = client.right;
        expectedHeight = height;
    }
    EXPECT_EQ(bounds.left, expected.left) << "x";
    EXPECT_EQ(bounds.top, expected.top) << "y";
    EXPECT_EQ(width, expectedWidth) << "width";
    EXPECT_EQ(height, expectedHeight) << "height";
}

// The resource as stored: the dialog's caption, styles, size and font, and
// each control's id and exact style.
void ExpectStored(const Template& t)
{
    const StoredTemplate stored = ReadTemplate(t.id);
    EXPECT_EQ(stored.caption, t.caption) << "caption";
    EXPECT_EQ(Hex(stored.style), Hex(t.style)) << "dialog style";
    EXPECT_EQ(Hex(stored.exStyle), Hex(t.exStyle)) << "dialog extended style";
    EXPECT_EQ(stored.size.cx, t.size.cx) << "dialog width";
    EXPECT_EQ(stored.size.cy, t.size.cy) << "dialog height";
    EXPECT_EQ(stored.pointSize, 8) << "font size";
    EXPECT_EQ(stored.face, L"MS Shell Dlg") << "font";
    ASSERT_EQ(stored.items.size(), t.controls.size()) << "number of controls";
    for (size_t i = 0; i < stored.items.size(); ++i) {
        const StoredItem& item = stored.items[i];
        const Control& c = t.controls[i];
        SCOPED_TRACE("template item " + std::to_string(i) + ", control " + std::to_string(c.id));
        EXPECT_EQ(item.id, c.id) << "id";
        EXPECT_EQ(Hex(item.style), Hex(c.style)) << "style";
        EXPECT_EQ(Hex(item.exStyle), Hex(0)) << "extended style";
    }
}

// The dialog as created: hidden, its client area the template's size, and
// each control in tab order with its class, text, picture and place.
void ExpectCreated(const Template& t)
{
    Dialog dialog(t.id);
    ASSERT_TRUE(dialog.window()) << "error " << GetLastError();
    EXPECT_FALSE(IsWindowVisible(dialog.window())) << "created hidden";
    EXPECT_EQ(WindowText(dialog.window()), t.caption) << "caption";
    RECT client;
    GetClientRect(dialog.window(), &client);
    const RECT size = dialog.Pixels({0, 0, t.size.cx, t.size.cy});
    EXPECT_EQ(client.right, size.right) << "client width";
    EXPECT_EQ(client.bottom, size.bottom) << "client height";

    const std::vector<HWND> children = dialog.Children();
    ASSERT_EQ(children.size(), t.controls.size()) << "number of controls";
    for (size_t i = 0; i < children.size(); ++i) {
        const Control& c = t.controls[i];
        const HWND control = children[i];
        SCOPED_TRACE("tab position " + std::to_string(i) + ", control " + std::to_string(c.id));
        EXPECT_EQ(GetDlgCtrlID(control), c.id) << "id";
        EXPECT_EQ(ClassName(control), c.className) << "class";
        if (c.text) {
            EXPECT_EQ(WindowText(control), c.text) << "text";
        }
        if (c.picture) {
            ExpectPicture(control, c.picture);
        }
        if (c.place.right) {
            ExpectPlace(dialog, control, c);
        }
    }
}

void ExpectTemplate(const Template& t)
{
    SCOPED_TRACE("dialog " + std::to_string(t.id));
    ExpectStored(t);
    ExpectCreated(t);
}

TEST(Templates, MainWindow) { ExpectTemplate(kMain); }

TEST(Templates, RunDialog) { ExpectTemplate(kRun); }

TEST(Templates, FolderDialog) { ExpectTemplate(kFolder); }

// The folder dialog's own layout, in dialog units: every control but the
// header's line, which spans the whole width as in the main window, keeps a
// margin of 7 units (a unit list's height is its dropped-down height).
TEST(Templates, FolderDialogControlsKeepTheMargin)
{
    const StoredTemplate stored = ReadTemplate(IDD_FOLDER);
    ASSERT_FALSE(stored.items.empty());
    for (const StoredItem& item : stored.items) {
        if (item.id == IDC_HEADER_LINE)
            continue;
        const RECT& p = item.place;
        EXPECT_GE(p.left, 7) << "control " << item.id << " left";
        EXPECT_GE(p.top, 7) << "control " << item.id << " top";
        EXPECT_LE(p.left + p.right, stored.size.cx - 7) << "control " << item.id << " right";
        EXPECT_LE(p.top + p.bottom, stored.size.cy - 7) << "control " << item.id << " bottom";
    }
}

// No two controls of the created folder dialog overlap.
TEST(Templates, FolderDialogControlsDoNotOverlap)
{
    Dialog dialog(IDD_FOLDER);
    ASSERT_TRUE(dialog.window());
    const std::vector<HWND> children = dialog.Children();
    for (size_t i = 0; i < children.size(); ++i) {
        const RECT a = dialog.Bounds(children[i]);
        for (size_t j = i + 1; j < children.size(); ++j) {
            const RECT b = dialog.Bounds(children[j]);
            RECT overlap;
            EXPECT_FALSE(IntersectRect(&overlap, &a, &b))
                << "control " << GetDlgCtrlID(children[i]) << " overlaps control " << GetDlgCtrlID(children[j]);
        }
    }
}

// Each unit list, dropped down, shows the five units without scrolling. The
// common controls 6 size the list by its items; the template's dropped-down
// height, which other versions use, must leave room for five as well.
TEST(Templates, FolderDialogUnitListsShowAllFiveUnits)
{
    Dialog dialog(IDD_FOLDER);
    ASSERT_TRUE(dialog.window());
    ShowWindow(dialog.window(), SW_SHOWNOACTIVATE);
    for (int id : {IDC_MAX_UNIT, IDC_MIN_UNIT}) {
        HWND combo = GetDlgItem(dialog.window(), id);
        EnableWindow(combo, TRUE);
        for (const wchar_t* unit : {L"B", L"KB", L"MB", L"GB", L"TB"})
            SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(unit));
        SendMessageW(combo, CB_SHOWDROPDOWN, TRUE, 0);
        COMBOBOXINFO info{sizeof info};
        ASSERT_TRUE(GetComboBoxInfo(combo, &info));
        EXPECT_TRUE(IsWindowVisible(info.hwndList)) << "list " << id << " dropped down";
        RECT list;
        GetClientRect(info.hwndList, &list);
        const LRESULT item = SendMessageW(combo, CB_GETITEMHEIGHT, 0, 0);
        EXPECT_GE(list.bottom, 5 * item) << "list " << id << " height for five items of " << item;
        SendMessageW(combo, CB_SHOWDROPDOWN, FALSE, 0);
        RECT closed, dropped;
        GetWindowRect(combo, &closed);
        SendMessageW(combo, CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(&dropped));
        EXPECT_GE(dropped.bottom - closed.bottom, 5 * item + 2) << "list " << id << " template height below the box";
    }
}

} // namespace
