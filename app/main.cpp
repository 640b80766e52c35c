// Entry point. Until the application shell lands this shows the main dialog
// template and runs a plain message loop.
#include <windows.h>
#include <commctrl.h>

#include "resource.h"

namespace {

INT_PTR CALLBACK PlaceholderProc(HWND window, UINT message, WPARAM wParam, LPARAM)
{
    switch (message) {
    case WM_INITDIALOG:
        return TRUE;
    case WM_COMMAND:
        if (LOWORD(wParam) == IDOK || LOWORD(wParam) == IDCANCEL) {
            DestroyWindow(window);
            PostQuitMessage(LOWORD(wParam));
            return TRUE;
        }
        break;
    case WM_CLOSE:
        DestroyWindow(window);
        PostQuitMessage(IDCANCEL);
        return TRUE;
    }
    return FALSE;
}

} // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int show)
{
    INITCOMMONCONTROLSEX icc{sizeof(icc), ICC_WIN95_CLASSES};
    InitCommonControlsEx(&icc);
    HWND main = CreateDialogParamW(instance, MAKEINTRESOURCEW(IDD_MAIN), nullptr, PlaceholderProc, 0);
    if (!main)
        return 0;
    ShowWindow(main, show);
    MSG msg;
    while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
        if (!IsDialogMessageW(main, &msg)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
    }
    return static_cast<int>(msg.wParam);
}
