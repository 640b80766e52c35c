// The main window's run inside this process: placement restored before it is
// shown, the quit code returned, command-line mode never showing it.
#include "app/AppModule.h"
#include "app/Startup.h"
#include "support/Gui.h"
#include "support/Scratch.h"
#include "ui/main/MainDialog.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;

constexpr wchar_t kSettingsKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";

// Records every dialog window of this thread that is ever shown.
class ShowWatch {
public:
    ShowWatch() { hook_ = SetWindowsHookExW(WH_CALLWNDPROC, &ShowWatch::Hook, nullptr, GetCurrentThreadId()); }
    ~ShowWatch() { UnhookWindowsHookEx(hook_); }
    ShowWatch(const ShowWatch&) = delete;
    ShowWatch& operator=(const ShowWatch&) = delete;
    static inline int shown = 0;

private:
    static LRESULT CALLBACK Hook(int code, WPARAM wParam, LPARAM lParam)
    {
        const auto* call = reinterpret_cast<const CWPSTRUCT*>(lParam);
        if (code == HC_ACTION && call->message == WM_SHOWWINDOW && call->wParam && ClassName(call->hwnd) == L"#32770")
            ++shown;
        return CallNextHookEx(nullptr, code, wParam, lParam);
    }
    HHOOK hook_;
};

class RunMainWindowTest : public ScratchTest {};

TEST_F(RunMainWindowTest, RestoresThePlacementShowsAndReturnsTheQuitCode)
{
    WINDOWPLACEMENT stored{};
    stored.length = sizeof stored;
    stored.showCmd = SW_SHOWNORMAL;
    stored.ptMinPosition = stored.ptMaxPosition = {-1, -1};
    stored.rcNormalPosition = {60, 50, 60 + 530, 50 + 410};
    WriteRegBinary(kSettingsKey, L"WDP", REG_BINARY, &stored, sizeof stored);

    RECT seen{};
    bool visible = false;
    DialogDriver driver(10000);
    driver.Expect(krn::kMainWindowTitle, [&](HWND main) {
        GetWindowRect(main, &seen);
        visible = IsWindowVisible(main) != FALSE;
        PostMessageW(main, WM_COMMAND, krn::MainDialog::kCommandExit, 0);
    });
    EXPECT_EQ(krn::RunMainWindow(L"", SW_SHOWNORMAL), 32776);
    EXPECT_EQ(driver.Report(), "");
    EXPECT_TRUE(visible);
    EXPECT_EQ(seen.left, 60);
    EXPECT_EQ(seen.right - seen.left, 530);
    EXPECT_EQ(krn::Module().GetMessageLoop(), nullptr) << "the loop stayed registered";
}

TEST_F(RunMainWindowTest, AnyCommandLineTailNeverShowsTheWindow)
{
    const std::wstring huge(40000, L'x');
    for (const std::wstring& tail : {std::wstring(L"\"C:\\Quoted Folder\""), std::wstring(L"not a folder"), huge}) {
        ShowWatch watch;
        ShowWatch::shown = 0;
        EXPECT_EQ(krn::RunMainWindow(tail.c_str(), SW_SHOWMAXIMIZED), 0);
        EXPECT_EQ(ShowWatch::shown, 0) << "tail of " << tail.size() << " characters";
        EXPECT_FALSE(ReadRegValue(kSettingsKey, L"WDP", nullptr, nullptr));
    }
    EXPECT_EQ(krn::Module().GetMessageLoop(), nullptr);
}

TEST(SingleInstance, OnlyAnExistingMutexWithTheWindowStopsTheStart)
{
    HANDLE mutex = CreateMutexW(nullptr, FALSE, L"KrnTests.SingleInstanceProbe");
    ASSERT_TRUE(mutex);
    EXPECT_FALSE(krn::BringOtherCopyToFront(nullptr, ERROR_ALREADY_EXISTS)) << "no mutex at all";
    EXPECT_FALSE(krn::BringOtherCopyToFront(mutex, ERROR_SUCCESS)) << "a new mutex";
    EXPECT_FALSE(krn::BringOtherCopyToFront(mutex, ERROR_ALREADY_EXISTS)) << "mutex without the window";

    // A window whose title only starts like the main window's does not count.
    HWND almost = CreateWindowExW(0, L"Static", L"Kestrune™ Properties", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr,
                                  nullptr, nullptr);
    EXPECT_FALSE(krn::BringOtherCopyToFront(mutex, ERROR_ALREADY_EXISTS));
    HWND other = CreateWindowExW(0, L"Static", krn::kMainWindowTitle, WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 200, 100,
                                 nullptr, nullptr, nullptr, nullptr);
    HWND front = CreateWindowExW(0, L"Static", L"front", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50, 200, 100, nullptr,
                                 nullptr, nullptr, nullptr);
    SetForegroundWindow(front);
    PumpFor(50);
    EXPECT_TRUE(krn::BringOtherCopyToFront(mutex, ERROR_ALREADY_EXISTS));
    PumpFor(50);
    EXPECT_EQ(GetForegroundWindow(), other);
    for (HWND w : {almost, other, front})
        DestroyWindow(w);
    CloseHandle(mutex);
}

} // namespace
