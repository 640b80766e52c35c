// The built program started as a user starts it: single instance, closing
// commands and their exit codes, the stored placement. (Command-line mode has
// tests of its own in CommandLineEndToEndTest.cpp.)
#include "ChildProcess.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;

const std::wstring kProgram = WindowsPath(KRN_PROPERTIES_EXE);
constexpr wchar_t kTitle[] = L"Kestrune™ Properties x64";
constexpr wchar_t kSettingsKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";
constexpr DWORD kTimeout = 20000;

// The prefix's own settings key: no other test uses it unredirected.
class ShellEndToEnd : public ::testing::Test {
protected:
    void SetUp() override { RegDeleteKeyValueW(HKEY_CURRENT_USER, kSettingsKey, L"WDP"); }
    void TearDown() override { SetUp(); }
    static HWND MainWindow(const ChildProcess& program) { return program.FindWindow(L"#32770", kTitle, kTimeout); }
};

// Each run starts from a placement partly off the left edge, which comes back
// on screen with its size, and stores the placement again when it closes. The
// test holds the start-up mutex throughout: without the window it is no reason
// not to start.
TEST_F(ShellEndToEnd, ClosingCommandsBecomeTheExitCodeAndThePlacementIsKept)
{
    HANDLE mutex = CreateMutexW(nullptr, FALSE, L"BrimwellPro.PropertiesStartupMutex");
    const LONG screenLeft = GetSystemMetrics(SM_XVIRTUALSCREEN);
    const struct {
        const char* what;
        UINT message;
        WPARAM wParam;
        DWORD exitCode;
    } cases[] = {
        {"OK", WM_COMMAND, IDOK, 1},
        {"Cancel", WM_COMMAND, IDCANCEL, 2},
        {"File, Exit", WM_COMMAND, 32776, 32776},
        {"close box", WM_CLOSE, 0, 2},
        {"Esc, through the dialog manager", WM_KEYDOWN, VK_ESCAPE, 2},
    };
    for (const auto& c : cases) {
        WINDOWPLACEMENT stored{sizeof stored, 0, SW_SHOWNORMAL, {-1, -1}, {-1, -1}, {-2000, 70, -2000 + 560, 70 + 420}};
        WriteRegBinary(kSettingsKey, L"WDP", REG_BINARY, &stored, sizeof stored);
        ChildProcess program(kProgram, L"");
        HWND main = MainWindow(program);
        ASSERT_TRUE(main) << c.what << ": the main window did not appear";
        RECT rc{};
        GetWindowRect(main, &rc);
        EXPECT_EQ(rc.left, screenLeft) << c.what;
        EXPECT_EQ(rc.right - rc.left, 560) << c.what;
        PostMessageW(main, c.message, c.wParam, 0);
        EXPECT_EQ(program.Wait(kTimeout), c.exitCode) << c.what;
        std::string saved;
        ASSERT_TRUE(ReadRegValue(kSettingsKey, L"WDP", nullptr, &saved));
        ASSERT_EQ(saved.size(), sizeof stored) << c.what;
        EXPECT_EQ(reinterpret_cast<const WINDOWPLACEMENT*>(saved.data())->rcNormalPosition.left, screenLeft)
            << c.what << ": the placement was not stored on close";
    }
    CloseHandle(mutex);
}

TEST_F(ShellEndToEnd, SecondCopyBringsTheFirstToTheFrontAndExitsWith1)
{
    ChildProcess first(kProgram, L"");
    HWND main = MainWindow(first);
    ASSERT_TRUE(main);
    HWND other = CreateWindowExW(0, L"Static", L"someone else", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 400, 300, 200, 100,
                                 nullptr, nullptr, nullptr, nullptr);
    SetForegroundWindow(other);
    PumpUntil([&] { return GetForegroundWindow() == other; }, 2000);
    ASSERT_NE(GetForegroundWindow(), main);

    ChildProcess second(kProgram, L"");
    EXPECT_EQ(second.Wait(kTimeout), 1u);
    EXPECT_TRUE(PumpUntil([&] { return GetForegroundWindow() == main; }, 3000)) << "the first copy was not brought up";
    EXPECT_EQ(first.Wait(0), static_cast<DWORD>(STILL_ACTIVE));
    DestroyWindow(other);
    PostMessageW(main, WM_COMMAND, IDCANCEL, 0);
    EXPECT_EQ(first.Wait(kTimeout), 2u);
}

// The mode opens the folder properties dialog for the tail; the test answers
// any dialog but the main window with Cancel, as a user may.
} // namespace
