// The main window's run inside this process, in command-line mode: the tail is
// the folder, verbatim, quotes and blanks included, however long; only the
// folder dialog opens; a cancelled run leaves nothing behind, a confirmed one
// saves at once.
#include "MainWindowFixture.h"

#include "resource.h"
#include "settings/RegistryValues.h"
#include "ui/main/MainWindowRun.h"

#include <algorithm>
#include <cwctype>

namespace {

using namespace krn::test;

using CommandLineMode = MainWindowTest;

TEST_F(CommandLineMode, OpensOnlyTheFolderDialogForTheVerbatimTailAndCancelLeavesNothing)
{
    TempFolder temp;
    const std::wstring folder = temp / L"Folder With Spaces";
    CreateDirectoryW(folder.c_str(), nullptr);
    // Quotes are part of the path, which is then no folder; a huge tail shows
    // at least its first 260 characters.
    const std::wstring tails[] = {folder, L"\"" + folder + L"\"", std::wstring(40000, L'x')};
    for (const std::wstring& tail : tails) {
        SCOPED_TRACE(tail.substr(0, 80));
        std::wstring path;
        bool ownerShown = true;
        DialogDriver driver;
        driver.Expect(L"Folder properties", [&](HWND dialog) {
            path = WindowText(GetDlgItem(dialog, IDC_FOLDER_PATH));
            const HWND owner = GetWindow(dialog, GW_OWNER);
            ownerShown = WindowText(owner) != kCaption || IsWindowVisible(owner);
            DialogDriver::Click(dialog, IDCANCEL);
        });
        EXPECT_EQ(krn::RunMainWindow(tail.c_str(), SW_SHOWMAXIMIZED), 0);
        EXPECT_EQ(driver.Report(), "");
        EXPECT_EQ(path, tail.substr(0, std::max<size_t>(path.size(), MAX_PATH)));
        EXPECT_FALSE(ownerShown) << "the main window was shown";
        for (const wchar_t* name : {L"WDP", L"ColWidth_Path", L"ColSorting"})
            EXPECT_FALSE(ReadRegValue(krn::registry::kSettingsKey, name, nullptr, nullptr)) << name;
        EXPECT_EQ(GetFileAttributesW(ConfigPath().c_str()), INVALID_FILE_ATTRIBUTES) << "config.xml was written";
        EXPECT_EQ(krn::Module().GetMessageLoop(), nullptr) << "the loop stayed registered";
    }
}

// The folder is listed under another letter case: it is opened for editing,
// and OK saves the file at once. The window closes through the main window's
// OK before command-line mode is recorded, so the layout and the placement are
// stored as on any close.
TEST_F(CommandLineMode, OkEditsTheListedFolderSavesTheFileAndStoresTheLayout)
{
    TempFolder temp;
    const std::wstring folder = temp / L"Folder With Spaces";
    CreateDirectoryW(folder.c_str(), nullptr);
    std::wstring upper = folder;
    for (wchar_t& c : upper)
        c = static_cast<wchar_t>(c < 0x80 ? towupper(c) : c);
    WriteConfig(FolderXml("C:\\other", "", "<AddToLog/>") + FolderXml(Narrow(folder), LimitXml("Max", "1", "GB")));
    DialogDriver driver;
    driver.Expect(L"Folder properties", [&](HWND dialog) {
        EXPECT_EQ(WindowText(GetDlgItem(dialog, IDC_FOLDER_PATH)), folder) << "the listed folder, not the typed text";
        EXPECT_EQ(WindowText(GetDlgItem(dialog, IDC_MAX_VALUE)), L"1.00");
        SetDlgItemTextW(dialog, IDC_MAX_VALUE, L"2.5");
        DialogDriver::Click(dialog, IDOK);
    });
    EXPECT_EQ(krn::RunMainWindow(upper.c_str(), SW_SHOWNORMAL), 0);
    EXPECT_EQ(driver.Report(), "");
    const std::string saved = ReadFileBytes(ConfigPath());
    EXPECT_NE(saved.find("Value=\"2.5\""), std::string::npos) << saved;
    EXPECT_NE(saved.find("C:\\other"), std::string::npos) << "the other folders stay";
    for (const wchar_t* name : {L"WDP", L"ColWidth_Path", L"ColSorting"})
        EXPECT_TRUE(ReadRegValue(krn::registry::kSettingsKey, name, nullptr, nullptr)) << name;
}

} // namespace
