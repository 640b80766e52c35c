// The built program started as a user starts it: single instance, closing
// commands and their exit codes, command-line mode, the stored placement.
// The program sees the prefix's own HKEY_CURRENT_USER, so each scenario puts
// back the placement value it found.
#include "ChildProcess.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;

const std::wstring kProgram = WindowsPath(KRN_PROPERTIES_EXE);
constexpr wchar_t kTitle[] = L"Kestrune™ Properties x64";
constexpr wchar_t kMutexName[] = L"BrimwellPro.PropertiesStartupMutex";
constexpr wchar_t kSettingsKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";
constexpr DWORD kWindowTimeout = 20000;
constexpr DWORD kExitTimeout = 20000;

class ShellEndToEnd : public ::testing::Test {
protected:
    void SetUp() override
    {
        hadPlacement_ = ReadRegValue(kSettingsKey, L"WDP", &placementType_, &placement_);
        DeletePlacement();
    }
    void TearDown() override
    {
        DeletePlacement();
        if (hadPlacement_)
            WriteRegBinary(kSettingsKey, L"WDP", placementType_, placement_.data(), static_cast<DWORD>(placement_.size()));
    }
    static void DeletePlacement() { RegDeleteKeyValueW(HKEY_CURRENT_USER, kSettingsKey, L"WDP"); }
    static HWND MainWindow(const ChildProcess& program) { return program.FindWindow(L"#32770", kTitle, kWindowTimeout); }

private:
    bool hadPlacement_ = false;
    DWORD placementType_ = 0;
    std::string placement_;
};

// The test holds the start-up mutex throughout: without the window it is no
// reason not to start.
TEST_F(ShellEndToEnd, ClosingCommandsBecomeTheExitCode)
{
    HANDLE mutex = CreateMutexW(nullptr, FALSE, kMutexName);
    struct Case {
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
    for (const Case& c : cases) {
        DeletePlacement();
        ChildProcess program(kProgram, L"");
        ASSERT_TRUE(program.started());
        HWND main = MainWindow(program);
        ASSERT_TRUE(main) << c.what << ": the main window did not appear";
        PostMessageW(main, c.message, c.wParam, 0);
        EXPECT_EQ(program.Wait(kExitTimeout), c.exitCode) << c.what;
        DWORD type = 0;
        std::string stored;
        EXPECT_TRUE(ReadRegValue(kSettingsKey, L"WDP", &type, &stored)) << c.what << ": placement not stored";
        EXPECT_EQ(stored.size(), 44u) << c.what;
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
    EXPECT_EQ(second.Wait(kExitTimeout), 1u);
    EXPECT_TRUE(PumpUntil([&] { return GetForegroundWindow() == main; }, 3000)) << "the first copy was not brought up";
    EXPECT_EQ(first.Wait(0), static_cast<DWORD>(STILL_ACTIVE));
    DestroyWindow(other);

    PostMessageW(main, WM_COMMAND, IDCANCEL, 0);
    EXPECT_EQ(first.Wait(kExitTimeout), 2u);
}

TEST_F(ShellEndToEnd, StoredPlacementIsRestoredAtStart)
{
    WINDOWPLACEMENT stored{};
    stored.length = sizeof stored;
    stored.showCmd = SW_SHOWNORMAL;
    stored.ptMinPosition = stored.ptMaxPosition = {-1, -1};
    // Partly off the left edge: it comes back with its width.
    stored.rcNormalPosition = {-2000, 70, -2000 + 560, 70 + 420};
    WriteRegBinary(kSettingsKey, L"WDP", REG_BINARY, &stored, sizeof stored);

    ChildProcess program(kProgram, L"");
    HWND main = MainWindow(program);
    ASSERT_TRUE(main);
    RECT rc{};
    GetWindowRect(main, &rc);
    const LONG left = GetSystemMetrics(SM_XVIRTUALSCREEN);
    EXPECT_EQ(rc.left, left);
    EXPECT_EQ(rc.right - rc.left, 560);
    EXPECT_EQ(rc.bottom - rc.top, 420);
    PostMessageW(main, WM_COMMAND, IDCANCEL, 0);
    EXPECT_EQ(program.Wait(kExitTimeout), 2u);
}

TEST_F(ShellEndToEnd, CommandLineModeNeverShowsTheMainWindow)
{
    for (const wchar_t* tail : {L"\"C:\\Folder With Spaces\"", L"anything at all"}) {
        ChildProcess program(kProgram, tail);
        ASSERT_TRUE(program.started());
        DWORD code = STILL_ACTIVE;
        bool shown = false;
        PumpUntil(
            [&] {
                shown = shown || program.FindWindow(nullptr, kTitle, 0) != nullptr;
                code = program.Wait(0);
                return code != STILL_ACTIVE;
            },
            kExitTimeout);
        EXPECT_EQ(code, 0u);
        EXPECT_FALSE(shown);
        EXPECT_FALSE(ReadRegValue(kSettingsKey, L"WDP", nullptr, nullptr)) << "command-line mode stores no placement";
    }
}

} // namespace
