// The main window's run inside this process: command-line mode never shows it,
// however long the tail.
#include "app/AppModule.h"
#include "support/Gui.h"
#include "support/Scratch.h"
#include "ui/main/MainDialog.h"
#include "ui/main/MainWindowRun.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;

// Command-line mode may open dialogs of its own (the folder properties dialog
// for the tail); the test answers each with Cancel, as a user may, and watches
// only for the main window.
bool mainWindowShown = false;

LRESULT CALLBACK WatchMainWindow(int code, WPARAM wParam, LPARAM lParam)
{
    const auto* call = reinterpret_cast<const CWPSTRUCT*>(lParam);
    if (code == HC_ACTION && call->message == WM_WINDOWPOSCHANGED &&
        (reinterpret_cast<const WINDOWPOS*>(call->lParam)->flags & SWP_SHOWWINDOW) &&
        WindowText(call->hwnd) == krn::kMainWindowTitle)
        mainWindowShown = true;
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

void CALLBACK CancelOtherDialogs(HWND, UINT, UINT_PTR, DWORD)
{
    for (HWND w = GetTopWindow(nullptr); w; w = GetWindow(w, GW_HWNDNEXT)) {
        if (GetWindowThreadProcessId(w, nullptr) == GetCurrentThreadId() && IsWindowVisible(w) &&
            IsWindowEnabled(w) && ClassName(w) == L"#32770" && WindowText(w) != krn::kMainWindowTitle)
            PostMessageW(w, WM_COMMAND, IDCANCEL, 0);
    }
}

using CommandLineMode = ScratchTest;

TEST_F(CommandLineMode, NeverShowsTheMainWindowEvenForAHugeTail)
{
    HHOOK hook = SetWindowsHookExW(WH_CALLWNDPROC, WatchMainWindow, nullptr, GetCurrentThreadId());
    const UINT_PTR canceller = SetTimer(nullptr, 0, 50, CancelOtherDialogs);
    EXPECT_EQ(krn::RunMainWindow(std::wstring(40000, L'x').c_str(), SW_SHOWMAXIMIZED), 0);
    KillTimer(nullptr, canceller);
    UnhookWindowsHookEx(hook);
    EXPECT_FALSE(mainWindowShown);
    EXPECT_FALSE(ReadRegValue(L"SOFTWARE\\Norlath\\Kestrune\\Settings", L"WDP", nullptr, nullptr));
    EXPECT_EQ(krn::Module().GetMessageLoop(), nullptr) << "the loop stayed registered";
}

} // namespace
