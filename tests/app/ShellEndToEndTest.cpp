// The built program started as a user and as Explorer start it, watched from
// outside: its exit code in full, the single instance, and what a run leaves in
// the prefix's own profile. (Every way of closing and command-line mode's
// other cases are proven in-process in tests/ui/main.)
#include "ChildProcess.h"
#include "app/DialogLook.h"
#include "app/Startup.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <commctrl.h>
#include <shlobj.h>

#include <cwctype>
#include <filesystem>
#include <string>

namespace {

using namespace krn::test;

const std::wstring kProgram = WindowsPath(KRN_PROPERTIES_EXE);
constexpr wchar_t kSettingsKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";
constexpr DWORD kTimeout = 20000;

// The prefix's own profile, which the program reads: its config.xml and its
// settings key start empty and are cleared again afterwards.
class ShellEndToEnd : public ::testing::Test {
protected:
    void SetUp() override
    {
        wchar_t appData[MAX_PATH] = {};
        SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, appData);
        configPath_ = std::wstring(appData) + L"\\Norlath\\Kestrune\\config.xml";
        TearDown();
        std::filesystem::create_directories(std::filesystem::path(configPath_).parent_path());
    }
    void TearDown() override
    {
        std::error_code ignored;
        std::filesystem::remove(configPath_, ignored);
        RegDeleteTreeW(HKEY_CURRENT_USER, kSettingsKey);
    }
    static HWND MainWindow(const ChildProcess& program, DWORD timeout = kTimeout)
    {
        return program.FindWindow(L"#32770", krn::kMainWindowTitle, timeout);
    }
    std::wstring configPath_;
};

// A placement partly off the left edge comes back on screen with its size and
// is stored again on close; File, Exit is the exit code, all 16 bits of it.
// The test holds the start-up mutex throughout: without the window it is no
// reason not to start.
TEST_F(ShellEndToEnd, ExitCodeIsTheClosingCommandAndThePlacementComesBackOnScreen)
{
    HANDLE mutex = CreateMutexW(nullptr, FALSE, krn::kStartupMutexName);
    const LONG screenLeft = GetSystemMetrics(SM_XVIRTUALSCREEN);
    WINDOWPLACEMENT stored{sizeof stored, 0, SW_SHOWNORMAL, {-1, -1}, {-1, -1}, {-2000, 70, -2000 + 560, 70 + 420}};
    WriteRegBinary(kSettingsKey, L"WDP", REG_BINARY, &stored, sizeof stored);
    ChildProcess program(kProgram, L"");
    const HWND main = MainWindow(program);
    ASSERT_TRUE(main) << "the main window did not appear";
    RECT rc{};
    GetWindowRect(main, &rc);
    EXPECT_EQ(rc.left, screenLeft);
    EXPECT_EQ(rc.right - rc.left, 560);
    PostMessageW(main, WM_COMMAND, 32776, 0);
    EXPECT_EQ(program.Wait(kTimeout), 32776u);
    std::string saved;
    ASSERT_TRUE(ReadRegValue(kSettingsKey, L"WDP", nullptr, &saved));
    ASSERT_EQ(saved.size(), sizeof stored);
    EXPECT_EQ(reinterpret_cast<const WINDOWPLACEMENT*>(saved.data())->rcNormalPosition.left, screenLeft);
    CloseHandle(mutex);
}

// The first copy is a window with the exact title, and only when the mutex
// was already there.
TEST_F(ShellEndToEnd, SecondCopyBringsTheFirstToTheFrontAndExitsWith1)
{
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, L"KrnTests.SingleInstanceProbe");
    for (const wchar_t* title : {L"Kestrune™ Properties", krn::kMainWindowTitle}) {
        const HWND window = CreateWindowExW(0, L"Static", title, WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr,
                                            nullptr);
        EXPECT_EQ(krn::BringOtherCopyToFront(mutex, ERROR_ALREADY_EXISTS), title == krn::kMainWindowTitle);
        EXPECT_FALSE(krn::BringOtherCopyToFront(mutex, ERROR_SUCCESS)) << "a new mutex: nobody else runs";
        DestroyWindow(window);
    }
    CloseHandle(mutex);

    ChildProcess first(kProgram, L"");
    const HWND main = MainWindow(first);
    ASSERT_TRUE(main);
    const HWND other = CreateWindowExW(0, L"Static", L"someone else", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 400, 300,
                                       200, 100, nullptr, nullptr, nullptr, nullptr);
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

// The folder is taken from the command line unquoted, blanks and all, and is
// already in the list under another letter case: it is opened for editing,
// and OK saves the file at once. The window closes through the main window's
// OK before command-line mode is recorded, so the layout and the placement are
// stored as on any close; the main window never shows.
TEST_F(ShellEndToEnd, CommandLineOkEditsTheListedFolderSavesTheFileAndStoresTheLayout)
{
    TempFolder temp;
    const std::wstring folder = temp / L"Folder With Spaces";
    std::filesystem::create_directories(folder);
    std::wstring upper = folder;
    for (wchar_t& c : upper)
        c = static_cast<wchar_t>(c < 0x80 ? towupper(c) : c);
    WriteFileBytes(configPath_, "<?xml version=\"1.0\" encoding=\"utf-8\"?><Configuration><Settings><ConfigVersion "
                                "Version=\"1.3\"/></Settings><Folders><Folder Path=\"C:\\other\"><Actions><AddToLog/>"
                                "</Actions></Folder><Folder Path=\"" + std::string(folder.begin(), folder.end()) +
                                "\"><Max Value=\"1\" Units=\"GB\" Msg=\"\"/><Actions><MsgBox/></Actions></Folder>"
                                "</Folders></Configuration>");
    ChildProcess program(kProgram, upper);
    HWND dialog = nullptr;
    bool mainShown = false;
    PumpUntil([&] {
        mainShown = mainShown || MainWindow(program, 0);
        return (dialog = program.FindWindow(L"#32770", L"Folder properties", 0)) != nullptr;
    }, kTimeout);
    ASSERT_TRUE(dialog) << "the folder dialog did not open";
    // Another process's controls answer WM_GETTEXT, which the system carries across.
    wchar_t path[MAX_PATH] = {}, max[16] = {};
    SendDlgItemMessageW(dialog, 1006, WM_GETTEXT, std::size(path), reinterpret_cast<LPARAM>(path));
    SendDlgItemMessageW(dialog, 1010, WM_GETTEXT, std::size(max), reinterpret_cast<LPARAM>(max));
    EXPECT_EQ(path, folder) << "the listed folder, not the typed text";
    EXPECT_STREQ(max, L"1.00");
    EXPECT_EQ(SendDlgItemMessageW(dialog, 1030, LVM_GETITEMCOUNT, 0, 0), 1);
    SendDlgItemMessageW(dialog, 1010, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"2.5"));
    PostMessageW(dialog, WM_COMMAND, IDOK, 0);
    EXPECT_EQ(program.Wait(kTimeout), 0u);
    EXPECT_FALSE(mainShown) << "the main window was shown";
    const std::string saved = ReadFileBytes(configPath_);
    EXPECT_NE(saved.find("Value=\"2.5\""), std::string::npos) << saved;
    EXPECT_NE(saved.find("C:\\other"), std::string::npos) << "the other folders stay";
    for (const wchar_t* name : {L"WDP", L"ColWidth_Path", L"ColSorting"})
        EXPECT_TRUE(ReadRegValue(kSettingsKey, name, nullptr, nullptr)) << name;
}

} // namespace
