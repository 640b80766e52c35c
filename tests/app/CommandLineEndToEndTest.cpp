// The built program started the way Explorer starts it for a folder:
// "KRN Properties.exe" C:\Some Folder. Only the folder dialog shows; what the
// run leaves behind (config.xml, registry values, exit code) is read from
// outside the process.
#include "ChildProcess.h"
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
constexpr wchar_t kTitle[] = L"Kestrune™ Properties x64";
constexpr wchar_t kFolderDialog[] = L"Folder properties";
constexpr wchar_t kSettingsKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";
constexpr DWORD kTimeout = 20000;

// A control's text in another process: asked with WM_GETTEXT, which the
// system carries across (GetWindowText does not ask a control of another
// process).
std::wstring ControlText(HWND dialog, int id)
{
    wchar_t text[1024] = {};
    SendDlgItemMessageW(dialog, id, WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text));
    return text;
}

// The prefix's own profile, which the program reads: its config.xml and its
// settings key start empty and are cleared again afterwards.
class CommandLineEndToEnd : public ::testing::Test {
protected:
    void SetUp() override
    {
        wchar_t appData[MAX_PATH] = {};
        SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, appData);
        configPath_ = std::wstring(appData) + L"\\Norlath\\Kestrune\\config.xml";
        Clear();
        std::filesystem::create_directories(std::filesystem::path(configPath_).parent_path());
        folder_ = temp_ / L"Folder With Spaces";
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { Clear(); }

    void Clear() const
    {
        std::error_code ignored;
        std::filesystem::remove(configPath_, ignored);
        RegDeleteTreeW(HKEY_CURRENT_USER, kSettingsKey);
    }
    std::string Config() const { return ReadFileBytes(configPath_); }
    void WriteConfig(const std::string& folders) const
    {
        WriteFileBytes(configPath_, "<?xml version=\"1.0\" encoding=\"utf-8\"?><Configuration><Settings><ConfigVersion "
                                    "Version=\"1.3\"/></Settings><Folders>" +
                                        folders + "</Folders></Configuration>");
    }
    static bool Stored(const wchar_t* name) { return ReadRegValue(kSettingsKey, name, nullptr, nullptr); }

    // Waits for the folder dialog while watching that the main window never
    // shows; the dialog, or null.
    static HWND FolderDialogOf(const ChildProcess& program, bool* mainShown)
    {
        HWND dialog = nullptr;
        PumpUntil(
            [&] {
                *mainShown = *mainShown || program.FindWindow(nullptr, kTitle, 0) != nullptr;
                dialog = program.FindWindow(L"#32770", kFolderDialog, 0);
                return dialog != nullptr;
            },
            kTimeout);
        return dialog;
    }

    TempFolder temp_;
    std::wstring folder_;
    std::wstring configPath_;
};

TEST_F(CommandLineEndToEnd, CancelEndsWith0AndLeavesNoFileAndNoLayoutBehind)
{
    // Taken verbatim and unquoted, blanks and all.
    ChildProcess program(kProgram, folder_);
    bool mainShown = false;
    const HWND dialog = FolderDialogOf(program, &mainShown);
    ASSERT_TRUE(dialog) << "the folder dialog did not open";
    EXPECT_EQ(ControlText(dialog, 1006), folder_);
    EXPECT_EQ(ControlText(dialog, 1018), L"Folder With Spaces");
    EXPECT_EQ(SendDlgItemMessageW(dialog, 1030, LVM_GETITEMCOUNT, 0, 0), 0) << "a new folder has no actions";
    PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    EXPECT_EQ(program.Wait(kTimeout), 0u);
    EXPECT_FALSE(mainShown) << "the main window was shown";
    EXPECT_FALSE(std::filesystem::exists(configPath_));
    EXPECT_FALSE(Stored(L"WDP"));
    EXPECT_FALSE(Stored(L"ColWidth_Path"));
    EXPECT_FALSE(Stored(L"ColSorting"));
}

// The folder is already in the list under another letter case: it is opened
// for editing, and OK saves the file at once. The window closes through the
// main window's OK before command-line mode is recorded, so the layout and
// the placement are stored as on any close.
TEST_F(CommandLineEndToEnd, OkEditsTheListedFolderSavesTheFileAndStoresTheLayout)
{
    std::wstring upper = folder_;
    for (wchar_t& c : upper)
        c = static_cast<wchar_t>(c < 0x80 ? towupper(c) : c);
    const std::string path(folder_.begin(), folder_.end());
    WriteConfig("<Folder Path=\"C:\\other\"><Actions><AddToLog/></Actions></Folder><Folder Path=\"" + path +
                "\"><Max Value=\"1\" Units=\"GB\" Msg=\"\"/><Actions><MsgBox/></Actions></Folder>");
    ChildProcess program(kProgram, upper);
    bool mainShown = false;
    const HWND dialog = FolderDialogOf(program, &mainShown);
    ASSERT_TRUE(dialog);
    EXPECT_EQ(ControlText(dialog, 1006), folder_) << "the listed folder, not the typed text";
    EXPECT_EQ(ControlText(dialog, 1010), L"1.00");
    EXPECT_EQ(SendDlgItemMessageW(dialog, 1030, LVM_GETITEMCOUNT, 0, 0), 1);
    SendDlgItemMessageW(dialog, 1010, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"2.5"));
    PostMessageW(dialog, WM_COMMAND, IDOK, 0);
    EXPECT_EQ(program.Wait(kTimeout), 0u);
    EXPECT_FALSE(mainShown);
    const std::string saved = Config();
    EXPECT_NE(saved.find("Value=\"2.5\""), std::string::npos) << saved;
    EXPECT_NE(saved.find("C:\\other"), std::string::npos) << "the other folders stay";
    EXPECT_TRUE(Stored(L"WDP"));
    EXPECT_TRUE(Stored(L"ColWidth_Path"));
    EXPECT_TRUE(Stored(L"ColSorting"));
}

// Quotes are part of the path: the dialog refuses it as no folder.
TEST_F(CommandLineEndToEnd, QuotedPathKeepsItsQuotes)
{
    const std::wstring quoted = L"\"" + folder_ + L"\"";
    ChildProcess program(kProgram, quoted);
    bool mainShown = false;
    const HWND dialog = FolderDialogOf(program, &mainShown);
    ASSERT_TRUE(dialog);
    EXPECT_EQ(ControlText(dialog, 1006), quoted);
    PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    EXPECT_EQ(program.Wait(kTimeout), 0u);
}

} // namespace
