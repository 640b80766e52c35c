// The built program started as a user starts it, watched from outside: its
// exit code in full, the placement it keeps in the prefix's own profile, and
// the single instance. (Every way of closing and command-line mode are proven
// in-process in tests/ui/main; the installer's tests start the installed
// program for a folder as Explorer does.)
#include "ChildProcess.h"
#include "acl/Handles.h"
#include "app/DialogLook.h"
#include "app/Startup.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;

const std::wstring kProgram = WindowsPath(KRN_PROPERTIES_EXE);
constexpr wchar_t kSettingsKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";
constexpr DWORD kTimeout = 20000;

// The prefix's own settings key, which the program reads: it starts empty and
// is cleared again afterwards.
class ShellEndToEnd : public ::testing::Test {
protected:
    void SetUp() override { RegDeleteTreeW(HKEY_CURRENT_USER, kSettingsKey); }
    void TearDown() override { SetUp(); }
};

// Only a window with the exact title, and only with the mutex already there,
// is a first copy: the window standing in for another program, whose title
// only begins like the main window's, is not. A second copy brings the first
// to the front and ends with 1. The first starts from a placement partly off
// the left edge, which comes back on screen with its size and is stored again
// on close; File, Exit is its exit code, all 16 bits of it. The test holds
// the start-up mutex throughout: without the window it is no reason not to
// start.
TEST_F(ShellEndToEnd, ASecondCopyBringsTheFirstUpWhichEndsWithItsClosingCommandInFull)
{
    const base::unique_kernel_handle mutex(CreateMutexW(nullptr, FALSE, krn::kStartupMutexName));
    const acl::unique_hwnd other(CreateWindowExW(0, L"Static", L"Kestrune™ Properties",
                                                 WS_OVERLAPPEDWINDOW | WS_VISIBLE, 400, 300, 200, 100, nullptr,
                                                 nullptr, nullptr, nullptr));
    EXPECT_FALSE(krn::BringOtherCopyToFront(mutex.get(), ERROR_ALREADY_EXISTS)) << "a title that only begins alike";
    const LONG screenLeft = GetSystemMetrics(SM_XVIRTUALSCREEN);
    WINDOWPLACEMENT stored{sizeof stored, 0, SW_SHOWNORMAL, {-1, -1}, {-1, -1}, {-2000, 70, -2000 + 560, 70 + 420}};
    WriteRegBinary(kSettingsKey, L"WDP", REG_BINARY, &stored, sizeof stored);
    ChildProcess first(kProgram, L"");
    const HWND main = first.FindWindow(L"#32770", krn::kMainWindowTitle, kTimeout);
    ASSERT_TRUE(main) << "the main window did not appear";
    EXPECT_FALSE(krn::BringOtherCopyToFront(mutex.get(), ERROR_SUCCESS)) << "a new mutex: nobody else runs";
    RECT rc{};
    GetWindowRect(main, &rc);
    EXPECT_EQ(rc.left, screenLeft);
    EXPECT_EQ(rc.right - rc.left, 560);

    SetForegroundWindow(other.get());
    PumpUntil([&] { return GetForegroundWindow() == other.get(); }, 2000);
    ASSERT_NE(GetForegroundWindow(), main);
    EXPECT_EQ(ChildProcess(kProgram, L"").Wait(kTimeout), 1u);
    EXPECT_TRUE(PumpUntil([&] { return GetForegroundWindow() == main; }, 3000)) << "the first copy was not brought up";

    PostMessageW(main, WM_COMMAND, 32776, 0);  // File, Exit
    EXPECT_EQ(first.Wait(kTimeout), 32776u);
    std::string saved;
    ASSERT_TRUE(ReadRegValue(kSettingsKey, L"WDP", nullptr, &saved));
    ASSERT_EQ(saved.size(), sizeof stored);
    EXPECT_EQ(reinterpret_cast<const WINDOWPLACEMENT*>(saved.data())->rcNormalPosition.left, screenLeft);
}

} // namespace
