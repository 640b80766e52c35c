// Drives a top-level window from a script, by its exact title:
//   krn_drive wait  <title> [timeout ms]        exits 0 once the window is visible
//   krn_drive shot  <title> <file.bmp>          writes the window's picture
//   krn_drive close <title>                     sends it WM_CLOSE
//   krn_drive hover <title> <row> <column>      rests the mouse on a cell of the
//                                               window's list until a tip shows
//   krn_drive history <folder> <n>              writes a demo history that rose
//                                               by an n-th of the folder's size
//                                               a day to its size now; prints
//                                               that size
// Exit code 1 when the window is not found or the step fails. `shot` takes a
// tip that shows over the window along with it.
#include "tests/support/History.h"  // the steady rise the tests write too

#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

HWND FindVisible(const wchar_t* title)
{
    HWND window = FindWindowW(nullptr, title);
    return window && IsWindowVisible(window) ? window : nullptr;
}

bool WaitFor(const wchar_t* title, DWORD timeout)
{
    const DWORD start = GetTickCount();
    while (GetTickCount() - start < timeout) {
        if (FindVisible(title))
            return true;
        Sleep(50);
    }
    return false;
}

// The visible tips, which belong to no window a title finds.
BOOL CALLBACK AddVisibleTip(HWND window, LPARAM rect)
{
    wchar_t name[64] = L"";
    GetClassNameW(window, name, 64);
    RECT tip{};
    if (IsWindowVisible(window) && _wcsicmp(name, TOOLTIPS_CLASSW) == 0 && GetWindowRect(window, &tip))
        UnionRect(reinterpret_cast<RECT*>(rect), reinterpret_cast<RECT*>(rect), &tip);
    return TRUE;
}

bool WriteBitmap(HWND window, const wchar_t* path)
{
    RECT rc{};
    GetWindowRect(window, &rc);
    EnumWindows(AddVisibleTip, reinterpret_cast<LPARAM>(&rc));
    const int width = rc.right - rc.left, height = rc.bottom - rc.top;
    if (width <= 0 || height <= 0)
        return false;
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB};
    void* bits = nullptr;
    HDC screen = GetDC(nullptr);
    HBITMAP bitmap = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    HDC dc = CreateCompatibleDC(screen);
    HGDIOBJ old = SelectObject(dc, bitmap);
    // PrintWindow cannot hand a DC to another process under Wine: copy the
    // window's area of the screen instead, with the window brought to the top.
    if (GetForegroundWindow() != window) {
        SetForegroundWindow(window);
        RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
    }
    Sleep(300);
    const bool printed = BitBlt(dc, 0, 0, width, height, screen, rc.left, rc.top, SRCCOPY) != FALSE;
    SelectObject(dc, old);
    DeleteDC(dc);
    ReleaseDC(nullptr, screen);
    bool written = false;
    if (printed) {
        const DWORD size = static_cast<DWORD>(width) * height * 4;
        BITMAPFILEHEADER file{0x4D42, static_cast<DWORD>(sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER) + size),
                              0, 0, sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER)};
        if (FILE* f = _wfopen(path, L"wb")) {
            written = fwrite(&file, sizeof file, 1, f) == 1 && fwrite(&info.bmiHeader, sizeof info.bmiHeader, 1, f) == 1 &&
                      fwrite(bits, size, 1, f) == 1;
            fclose(f);
        }
    }
    DeleteObject(bitmap);
    return written;
}

bool TipShown()
{
    RECT none{};
    EnumWindows(AddVisibleTip, reinterpret_cast<LPARAM>(&none));
    return !IsRectEmpty(&none);
}

// Moves the mouse as a user would, so that the list sees WM_MOUSEMOVE and its
// tip its hover time.
void MoveMouseTo(POINT point)
{
    INPUT input{INPUT_MOUSE};
    input.mi.dx = MulDiv(point.x, 65535, GetSystemMetrics(SM_CXSCREEN) - 1);
    input.mi.dy = MulDiv(point.y, 65535, GetSystemMetrics(SM_CYSCREEN) - 1);
    input.mi.dwFlags = MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE;
    SendInput(1, &input, sizeof input);
}

BOOL CALLBACK FindList(HWND child, LPARAM found)
{
    wchar_t name[64] = L"";
    GetClassNameW(child, name, 64);
    if (_wcsicmp(name, WC_LISTVIEWW) != 0)
        return TRUE;
    *reinterpret_cast<HWND*>(found) = child;
    return FALSE;
}

// The list is another process's: messages that fill a structure do not cross,
// so the cell is found from the column widths and the header's rectangle, with
// the columns in their first order and rows of the small font's height.
bool Hover(HWND window, int row, int column)
{
    HWND list = nullptr;
    EnumChildWindows(window, FindList, reinterpret_cast<LPARAM>(&list));
    const HWND header = list ? reinterpret_cast<HWND>(SendMessageW(list, LVM_GETHEADER, 0, 0)) : nullptr;
    RECT top{};
    if (!header || !GetWindowRect(header, &top))
        return false;
    int left = top.left;
    for (int before = 0; before < column; ++before)
        left += static_cast<int>(SendMessageW(list, LVM_GETCOLUMNWIDTH, before, 0));
    const int width = static_cast<int>(SendMessageW(list, LVM_GETCOLUMNWIDTH, column, 0));
    const int rowHeight = GetSystemMetrics(SM_CYSMICON) + 1;
    const POINT point{left + width / 2, top.bottom + row * rowHeight + rowHeight / 2};
    SetForegroundWindow(window);
    // Each try moves onto the cell and rests there: a tip shows only after the
    // mouse has stopped for its delay.
    for (int attempt = 0; attempt < 5 && !TipShown(); ++attempt) {
        MoveMouseTo({point.x - 20 + attempt, point.y});
        Sleep(100);
        MoveMouseTo({point.x + attempt, point.y});
        for (int wait = 0; wait < 30 && !TipShown(); ++wait)
            Sleep(100);
    }
    return TipShown();
}

std::uint64_t FolderBytes(const std::wstring& folder)
{
    std::uint64_t total = 0;
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return 0;
    do {
        const std::wstring name = found.cFileName;
        if (name == L"." || name == L"..")
            continue;
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            total += FolderBytes(folder + L"\\" + name);
        else
            total += (std::uint64_t{found.nFileSizeHigh} << 32) | found.nFileSizeLow;
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return total;
}

// A steady rise by an n-th of the size now a day over eight days (at most an
// eighth: the rise starts at zero), as the tests write it. The size engine
// must not be running: it writes its own file when it ends.
bool WriteDemoHistory(const std::wstring& folder, std::uint64_t n)
{
    const std::uint64_t now = FolderBytes(folder);
    std::printf("%llu\n", static_cast<unsigned long long>(now));
    return krn::test::WriteSteadyHistory(folder, now, now / std::max<std::uint64_t>(n, 8));
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc < 3)
        return 2;
    const std::wstring verb = argv[1];
    const wchar_t* title = argv[2];
    if (verb == L"history" && argc > 3)
        return WriteDemoHistory(argv[2], _wcstoui64(argv[3], nullptr, 10)) ? 0 : 1;
    if (verb == L"wait")
        return WaitFor(title, argc > 3 ? wcstoul(argv[3], nullptr, 10) : 20000) ? 0 : 1;
    HWND window = FindVisible(title);
    if (!window)
        return 1;
    if (verb == L"shot" && argc > 3)
        return WriteBitmap(window, argv[3]) ? 0 : 1;
    if (verb == L"close")
        return PostMessageW(window, WM_CLOSE, 0, 0) ? 0 : 1;
    if (verb == L"hover" && argc > 4)
        return Hover(window, _wtoi(argv[3]), _wtoi(argv[4])) ? 0 : 1;
    return 2;
}
