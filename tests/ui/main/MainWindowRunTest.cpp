// The main window's run inside this process, in command-line mode: the tail is
// the folder, verbatim, quotes and blanks included, however long; only the
// folder dialog opens, and a cancelled run leaves nothing behind.
#include "MainWindowFixture.h"

#include "resource.h"
#include "settings/RegistryValues.h"
#include "ui/main/MainWindowRun.h"

#include <commctrl.h>

namespace {

using namespace krn::test;

using CommandLineMode = MainWindowTest;

TEST_F(CommandLineMode, OpensOnlyTheFolderDialogForTheVerbatimTailAndCancelLeavesNothing)
{
    TempFolder temp;
    const std::wstring folder = temp / L"Folder With Spaces";
    CreateDirectoryW(folder.c_str(), nullptr);
    const struct {
        std::wstring tail;
        bool shown;             // whole in the path box
        const wchar_t* header;  // null: not looked at
    } cases[] = {
        {folder, true, L"Folder With Spaces"},
        {L"\"" + folder + L"\"", true, nullptr},  // quotes are part of the path, which is then no folder
        {std::wstring(40000, L'x'), false, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tail.substr(0, 80));
        std::wstring path, header;
        bool ownerShown = true;
        DialogDriver driver;
        driver.Expect(L"Folder properties", [&](HWND dialog) {
            path = WindowText(GetDlgItem(dialog, IDC_FOLDER_PATH));
            header = WindowText(GetDlgItem(dialog, IDC_HEADER_TITLE));
            const HWND owner = GetWindow(dialog, GW_OWNER);
            ownerShown = WindowText(owner) != kCaption || IsWindowVisible(owner);
            EXPECT_EQ(ListView_GetItemCount(GetDlgItem(dialog, IDC_ACTION_LIST)), 0) << "a new folder";
            DialogDriver::Click(dialog, IDCANCEL);
        });
        EXPECT_EQ(krn::RunMainWindow(c.tail.c_str(), SW_SHOWMAXIMIZED), 0);
        EXPECT_EQ(driver.Report(), "");
        if (c.shown) {
            EXPECT_EQ(path, c.tail);
        }
        if (c.header) {
            EXPECT_EQ(header, c.header);
        }
        EXPECT_FALSE(ownerShown) << "the main window was shown";
        for (const wchar_t* name : {L"WDP", L"ColWidth_Path", L"ColSorting"})
            EXPECT_FALSE(ReadRegValue(krn::registry::kSettingsKey, name, nullptr, nullptr)) << name;
        EXPECT_FALSE(GetFileAttributesW(ConfigPath().c_str()) != INVALID_FILE_ATTRIBUTES) << "config.xml written";
        EXPECT_EQ(krn::Module().GetMessageLoop(), nullptr) << "the loop stayed registered";
    }
}

} // namespace
