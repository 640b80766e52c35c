// Drives a top-level window from a script, by its exact title:
//   krn_drive wait  <title> [timeout ms]        exits 0 once the window is visible
//   krn_drive shot  <title> <file.bmp>          writes the window's picture
//   krn_drive close <title>                     sends it WM_CLOSE
// Exit code 1 when the window is not found or the step fails.
#include <windows.h>

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

bool WriteBitmap(HWND window, const wchar_t* path)
{
    RECT rc{};
    GetWindowRect(window, &rc);
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
    SetForegroundWindow(window);
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
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

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc < 3)
        return 2;
    const std::wstring verb = argv[1];
    const wchar_t* title = argv[2];
    if (verb == L"wait")
        return WaitFor(title, argc > 3 ? wcstoul(argv[3], nullptr, 10) : 20000) ? 0 : 1;
    HWND window = FindVisible(title);
    if (!window)
        return 1;
    if (verb == L"shot" && argc > 3)
        return WriteBitmap(window, argv[3]) ? 0 : 1;
    if (verb == L"close")
        return PostMessageW(window, WM_CLOSE, 0, 0) ? 0 : 1;
    return 2;
}
