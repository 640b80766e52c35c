// The main window made from its real template: the start with each outcome of
// loading config.xml, the modified state and the Apply button, the three
// questions answered as a user answers them, import, export and the resize
// rule. (The exit codes of the built program are proven in tests/app.)
#include "MainWindowFixture.h"

#include "resource.h"
#include "settings/HelpLauncher.h"
#include "settings/RegistryValues.h"

#include <commctrl.h>
#include <commdlg.h>
#include <dlgs.h>

#include <filesystem>
#include <map>

namespace {

using namespace krn::test;

using MainDialogTest = MainWindowTest;

constexpr wchar_t kCaption[] = L"Kestrune™ Properties x64";
constexpr wchar_t kNotLoaded[] =
    L"Configuration file was not loaded.\nDo you want to start with a new (empty) configuration?\nPlease note: the "
    L"old configuration data will be lost.";
constexpr wchar_t kNotSaved[] =
    L"Configuration file was not saved.\nDo you want to close the application with an unsaved configuration (all "
    L"unsaved data will be lost)?";
constexpr wchar_t kCloseModified[] =
    L"Settings were modified.\nAre you sure you want to close the application without saving changes?";

// The quit code the window posted when it closed, or -1 when it posted none.
int PostedQuitCode()
{
    MSG msg;
    if (!PeekMessageW(&msg, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE))
        return -1;
    return static_cast<int>(msg.wParam);
}

// The standard file dialog: types `path` into its file name box and presses OK.
DialogDriver::Action ChooseFile(const std::wstring& path)
{
    return [path](HWND dialog) {
        HWND name = GetDlgItem(dialog, cmb13);
        SetWindowTextW(name ? name : GetDlgItem(dialog, edt1), path.c_str());
        DialogDriver::Click(dialog, IDOK);
    };
}

TEST_F(MainDialogTest, StartsTitledWithApplyDisabledAndTheWatcherStateShown)
{
    ASSERT_TRUE(Open());
    EXPECT_EQ(WindowText(window()), kCaption);
    EXPECT_FALSE(ApplyEnabled());
    EXPECT_EQ(WindowText(item(IDC_STATUS_LINK)), L"Inactive") << "the first refresh runs at once";
    EXPECT_EQ(WindowText(item(IDC_STATUS_LABEL)), L"Kestrune is");
    EXPECT_EQ(folders().RowCount(), 0) << "no config.xml: a first start";
    EXPECT_FALSE(std::filesystem::exists(ConfigPath())) << "a start writes nothing";
    EXPECT_TRUE(GetMenu(window()));
}

TEST_F(MainDialogTest, FileThatDoesNotLoadAsksAndCancelClosesWithoutTouchingIt)
{
    const std::string broken = "<?xml version=\"1.0\"?><Configuration><Settings><ConfigVersion Version=\"1.2\"/>"
                               "</Settings><Folders><Folder Path=\"C:\\x\"><Actions/></Folder></Folders>";
    for (const int answer : {IDCANCEL, IDOK}) {
        SCOPED_TRACE(answer == IDOK ? "OK" : "Cancel");
        WriteConfigBytes(broken);
        MessageBoxInfo asked;
        DialogDriver driver;
        driver.AnswerMessageBox(kCaption, answer, &asked);
        const HWND created = Open();
        EXPECT_EQ(driver.Report(), "");
        EXPECT_EQ(asked.text, kNotLoaded);
        EXPECT_EQ(asked.buttons, (std::vector<int>{IDOK, IDCANCEL}));
        EXPECT_EQ(asked.icon, IDI_EXCLAMATION);
        EXPECT_EQ(ReadFileBytes(ConfigPath()), broken) << "the file is left as it was";
        if (answer == IDCANCEL) {
            EXPECT_EQ(created, nullptr) << "the window closed itself";
            EXPECT_EQ(PostedQuitCode(), 0);
            // Only the layout is stored on the way out.
            EXPECT_TRUE(ReadRegValue(krn::registry::kSettingsKey, L"ColWidth_Path", nullptr, nullptr));
            EXPECT_TRUE(ReadRegValue(krn::registry::kSettingsKey, L"WDP", nullptr, nullptr));
        } else {
            ASSERT_TRUE(created);
            EXPECT_EQ(folders().RowCount(), 0);
            EXPECT_FALSE(ApplyEnabled());
        }
        Close();
    }
}

TEST_F(MainDialogTest, ApplyIsEnabledExactlyWhileModifiedAndIgnoredWhileDisabled)
{
    WriteConfig(FolderXml("C:\\one") + FolderXml("C:\\two"));
    const std::string original = ReadFileBytes(ConfigPath());
    ASSERT_TRUE(Open());
    Command(IDC_APPLY);
    EXPECT_EQ(ReadFileBytes(ConfigPath()), original) << "a disabled Apply writes nothing";

    Command(IDC_DELETE);
    EXPECT_EQ(folders().RowCount(), 2) << "Delete without a selection does nothing";
    EXPECT_FALSE(ApplyEnabled());
    SelectRow(item(IDC_FOLDER_LIST), 0);
    Command(IDC_DELETE);
    EXPECT_EQ(folders().RowCount(), 1);
    EXPECT_TRUE(ApplyEnabled());

    Command(IDC_APPLY);
    EXPECT_FALSE(ApplyEnabled());
    const std::string saved = ReadFileBytes(ConfigPath());
    EXPECT_EQ(saved.find("C:\\one"), std::string::npos);
    EXPECT_NE(saved.find("C:\\two"), std::string::npos);
}

// The save fails because config.xml is a folder. The save question first:
// No keeps the changes; then closing asks its own question.
TEST_F(MainDialogTest, FailedSaveAsksAndEachAnswerDecidesTheModifiedState)
{
    WriteConfig(FolderXml("C:\\one"));
    ASSERT_TRUE(Open());
    std::filesystem::remove(ConfigPath());
    std::filesystem::create_directory(ConfigPath());
    SelectRow(item(IDC_FOLDER_LIST), 0);
    Command(IDC_DELETE);

    MessageBoxInfo saveQuestion, closeQuestion;
    {
        DialogDriver driver;
        driver.AnswerMessageBox(kCaption, IDNO, &saveQuestion).AnswerMessageBox(kCaption, IDNO, &closeQuestion);
        Command(IDOK);
        EXPECT_EQ(driver.Report(), "");
    }
    EXPECT_EQ(saveQuestion.text, kNotSaved);
    EXPECT_EQ(saveQuestion.buttons, (std::vector<int>{IDYES, IDNO}));
    EXPECT_EQ(saveQuestion.icon, IDI_EXCLAMATION);
    EXPECT_EQ(closeQuestion.text, kCloseModified);
    EXPECT_EQ(closeQuestion.icon, IDI_QUESTION);
    EXPECT_TRUE(IsWindow(window())) << "No to both keeps the window";
    EXPECT_TRUE(ApplyEnabled()) << "and the changes";

    {
        DialogDriver driver;
        driver.AnswerMessageBox(kCaption, IDYES);
        Command(IDC_APPLY);
        EXPECT_EQ(driver.Report(), "");
    }
    EXPECT_FALSE(ApplyEnabled()) << "Yes gives the changes up";
    Command(IDCANCEL);
    EXPECT_FALSE(IsWindow(window())) << "so closing asks nothing";
    EXPECT_EQ(PostedQuitCode(), IDCANCEL);
}

TEST_F(MainDialogTest, ClosingWhileModifiedAsksAndEachCommandBecomesTheQuitCode)
{
    const struct {
        int command;
        int quitCode;
    } closings[] = {{IDCANCEL, 2}, {static_cast<int>(krn::MainDialog::kCommandExit), 32776}};
    for (const auto& closing : closings) {
        SCOPED_TRACE(closing.command);
        WriteConfig(FolderXml("C:\\one"));
        ASSERT_TRUE(Open());
        SelectRow(item(IDC_FOLDER_LIST), 0);
        Command(IDC_DELETE);
        MessageBoxInfo asked;
        DialogDriver driver;
        driver.AnswerMessageBox(kCaption, IDNO, &asked).AnswerMessageBox(kCaption, IDYES);
        Command(closing.command);
        EXPECT_TRUE(IsWindow(window())) << "No keeps the window open";
        EXPECT_EQ(PostedQuitCode(), -1);
        Command(closing.command);
        EXPECT_EQ(driver.Report(), "");
        EXPECT_EQ(asked.text, kCloseModified);
        EXPECT_EQ(asked.buttons, (std::vector<int>{IDYES, IDNO}));
        EXPECT_FALSE(IsWindow(window()));
        EXPECT_EQ(PostedQuitCode(), closing.quitCode);
        EXPECT_NE(ReadFileBytes(ConfigPath()).find("C:\\one"), std::string::npos) << "nothing was saved";
        Close();
    }
}

TEST_F(MainDialogTest, OkSavesChangesAndClosesWithQuitCode1)
{
    WriteConfig(FolderXml("C:\\one") + FolderXml("C:\\two"));
    ASSERT_TRUE(Open());
    SelectRow(item(IDC_FOLDER_LIST), 1);
    Command(IDC_DELETE);
    Command(IDOK);
    EXPECT_FALSE(IsWindow(window()));
    EXPECT_EQ(PostedQuitCode(), IDOK);
    EXPECT_EQ(ReadFileBytes(ConfigPath()).find("C:\\two"), std::string::npos);
}

// Export goes through the same save as Apply, so it clears the modified
// state although config.xml keeps the old folders.
TEST_F(MainDialogTest, ExportClearsTheModifiedStateAndImportOfABadFileLeavesAnEmptyModifiedList)
{
    WriteConfig(FolderXml("C:\\one") + FolderXml("C:\\two"));
    const std::string original = ReadFileBytes(ConfigPath());
    const std::wstring exported = scratch.root() + L"\\exported.xml";
    WriteFileBytes(exported, "");  // both dialogs want an existing file
    ASSERT_TRUE(Open());
    SelectRow(item(IDC_FOLDER_LIST), 0);
    Command(IDC_DELETE);
    {
        DialogDriver driver;
        driver.Expect(L"Save As", ChooseFile(exported));
        Command(ID_FILE_EXPORT);
        EXPECT_EQ(driver.Report(), "");
    }
    EXPECT_FALSE(ApplyEnabled());
    EXPECT_NE(ReadFileBytes(exported).find("C:\\two"), std::string::npos);
    EXPECT_EQ(ReadFileBytes(ConfigPath()), original);

    const std::wstring unreadable = scratch.root() + L"\\unreadable.xml";
    WriteFileBytes(unreadable, "not xml at all");
    {
        DialogDriver driver;
        driver.Expect(L"Open", ChooseFile(unreadable));
        Command(ID_FILE_IMPORT);
        EXPECT_EQ(driver.Report(), "");
    }
    EXPECT_EQ(folders().RowCount(), 0);
    EXPECT_TRUE(ApplyEnabled());

    {
        DialogDriver driver;
        driver.Expect(L"Open", ChooseFile(exported));
        Command(ID_FILE_IMPORT);
        EXPECT_EQ(driver.Report(), "");
    }
    EXPECT_EQ(FolderNames(), (std::vector<std::wstring>{L"two"}));
    EXPECT_TRUE(ApplyEnabled()) << "an import is a change until it is applied";
}

RECT ChildRect(HWND dialog, int id)
{
    RECT r{};
    GetWindowRect(GetDlgItem(dialog, id), &r);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&r), 2);
    return r;
}

TEST_F(MainDialogTest, ResizingMovesAndGrowsTheControlsByTheRuleAndMinimisingChangesNothing)
{
    ASSERT_TRUE(Open());
    ShowWindow(window(), SW_SHOWNA);
    const int dx = 60;
    const int dy = 45;
    const struct {
        int id;
        int left, top, width, height;  // the change of each
    } rules[] = {
        {IDCANCEL, dx, dy, 0, 0},        {IDC_APPLY, dx, dy, 0, 0},         {IDC_HEADER_PICTURE, 0, 0, 0, 0},
        {IDC_HEADER_TITLE, 0, 0, 0, 0},  {IDC_HEADER_TEXT, 0, 0, 0, 0},     {IDC_HEADER_LINE, 0, 0, dx, 0},
        {IDC_FOLDER_LIST, 0, 0, dx, dy}, {IDC_ADD, dx, dy, 0, 0},           {IDC_EDIT, dx, dy, 0, 0},
        {IDC_DELETE, dx, dy, 0, 0},      {IDC_STATUS_LINE, 0, dy, dx, 0},   {IDC_STATUS_LABEL, 0, dy, 0, 0},
        {IDC_STATUS_LINK, 0, dy, 0, 0},  {IDOK, dx, dy, 0, 0},
    };
    std::map<int, RECT> before;
    for (const auto& rule : rules)
        before[rule.id] = ChildRect(window(), rule.id);
    RECT frame{};
    GetWindowRect(window(), &frame);
    SetWindowPos(window(), nullptr, 0, 0, frame.right - frame.left + dx, frame.bottom - frame.top + dy,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    for (const auto& rule : rules) {
        SCOPED_TRACE(testing::Message() << "control " << rule.id);
        const RECT was = before[rule.id];
        const RECT is = ChildRect(window(), rule.id);
        EXPECT_EQ(is.left - was.left, rule.left);
        EXPECT_EQ(is.top - was.top, rule.top);
        EXPECT_EQ((is.right - is.left) - (was.right - was.left), rule.width);
        EXPECT_EQ((is.bottom - is.top) - (was.bottom - was.top), rule.height);
    }

    const RECT resizedOk = ChildRect(window(), IDOK);
    ShowWindow(window(), SW_MINIMIZE);
    ShowWindow(window(), SW_RESTORE);
    const RECT restoredOk = ChildRect(window(), IDOK);
    EXPECT_EQ(restoredOk.left, resizedOk.left) << "minimising and restoring moves nothing";
    EXPECT_EQ(restoredOk.top, resizedOk.top);
}

TEST_F(MainDialogTest, HeaderBandIsWhiteDownToTheLineAndTheBodyBlueGrey)
{
    ASSERT_TRUE(Open());
    ShowWindow(window(), SW_SHOWNA);
    UpdateWindow(window());
    const Pixels pixels = CaptureClient(window());
    const RECT line = ChildRect(window(), IDC_HEADER_LINE);
    const RECT list = ChildRect(window(), IDC_FOLDER_LIST);
    const int x = pixels.width() - 3;  // right of the header texts
    EXPECT_EQ(pixels.at(x, 2), RGB(0xFF, 0xFF, 0xFF));
    EXPECT_EQ(pixels.at(x, line.top - 2), RGB(0xFF, 0xFF, 0xFF));
    EXPECT_EQ(pixels.at(x, line.bottom + 1), RGB(0x8A, 0xA6, 0xD6));
    EXPECT_EQ(pixels.at(2, list.bottom + 4), RGB(0x8A, 0xA6, 0xD6));
    // The header title's and description's backgrounds are the band's white.
    const RECT title = ChildRect(window(), IDC_HEADER_TITLE);
    EXPECT_EQ(pixels.at(title.right - 2, title.bottom - 2), RGB(0xFF, 0xFF, 0xFF));
    const RECT label = ChildRect(window(), IDC_STATUS_LABEL);
    EXPECT_EQ(pixels.at(label.right - 2, label.bottom - 2), RGB(0x8A, 0xA6, 0xD6));
}

void DoubleClick(HWND window, int row)
{
    NMITEMACTIVATE click{};
    click.hdr.hwndFrom = GetDlgItem(window, IDC_FOLDER_LIST);
    click.hdr.idFrom = IDC_FOLDER_LIST;
    click.hdr.code = NM_DBLCLK;
    click.iItem = row;
    SendMessageW(window, WM_NOTIFY, IDC_FOLDER_LIST, reinterpret_cast<LPARAM>(&click));
}

constexpr wchar_t kFolderDialog[] = L"Folder properties";

// A double-click opens the clicked folder, and only a real change marks the
// configuration modified; the edited row shows the change at once.
TEST_F(MainDialogTest, DoubleClickEditsTheClickedFolderAndOnlyAChangeMarksItModified)
{
    const std::wstring data = scratch.root() + L"\\Data";
    CreateDirectoryW(data.c_str(), nullptr);
    const std::string path(data.begin(), data.end());
    WriteConfig(FolderXml("C:\\first") + FolderXml(path, LimitXml("Max", "1", "GB")));
    ASSERT_TRUE(Open());
    {
        DialogDriver nothing(1500);
        DoubleClick(window(), -1);
        EXPECT_EQ(nothing.Report(), "") << "a click below the rows opens nothing";
    }
    std::wstring shownPath;
    {
        DialogDriver driver;
        driver.Expect(kFolderDialog, [&](HWND dialog) {
            shownPath = WindowText(GetDlgItem(dialog, IDC_FOLDER_PATH));
            DialogDriver::Click(dialog, IDOK);  // nothing changed
        });
        DoubleClick(window(), 1);
        EXPECT_EQ(driver.Report(), "");
    }
    EXPECT_EQ(shownPath, data);
    EXPECT_FALSE(ApplyEnabled()) << "OK without a change is no change";

    {
        DialogDriver driver;
        driver.Expect(kFolderDialog, [](HWND dialog) {
            SetDlgItemTextW(dialog, IDC_MAX_VALUE, L"2.5");
            DialogDriver::Click(dialog, IDOK);
        });
        DoubleClick(window(), 1);
        EXPECT_EQ(driver.Report(), "");
    }
    EXPECT_EQ(Cell(1, krn::kColumnMax), L"2.50 GB");
    EXPECT_TRUE(ApplyEnabled());
}

// A dropped folder opens a new entry with its path; a dropped file, or a drop
// whose first name is a file, opens nothing. The Add button opens an empty
// entry, and cancelling it adds no row.
TEST_F(MainDialogTest, DroppedFolderAndAddOpenANewEntryAndCancelAddsNothing)
{
    const std::wstring folder = scratch.root() + L"\\Dropped";
    CreateDirectoryW(folder.c_str(), nullptr);
    const std::wstring file = scratch.root() + L"\\notes.txt";
    WriteFileBytes(file, "x");
    ASSERT_TRUE(Open());
    {
        DialogDriver nothing(1500);
        SendMessageW(window(), WM_DROPFILES, reinterpret_cast<WPARAM>(MakeDrop({file, folder})), 0);
        EXPECT_EQ(nothing.Report(), "");
    }
    std::wstring dropped = L"<none>";
    std::wstring added = L"<none>";
    {
        DialogDriver driver;
        driver
            .Expect(kFolderDialog,
                    [&](HWND dialog) {
                        dropped = WindowText(GetDlgItem(dialog, IDC_FOLDER_PATH));
                        DialogDriver::Click(dialog, IDCANCEL);
                    })
            .Expect(kFolderDialog, [&](HWND dialog) {
                added = WindowText(GetDlgItem(dialog, IDC_FOLDER_PATH));
                DialogDriver::Click(dialog, IDCANCEL);
            });
        SendMessageW(window(), WM_DROPFILES, reinterpret_cast<WPARAM>(MakeDrop({folder, file})), 0);
        Command(IDC_ADD);
        EXPECT_EQ(driver.Report(), "");
    }
    EXPECT_EQ(dropped, folder);
    EXPECT_EQ(added, L"");
    EXPECT_EQ(folders().RowCount(), 0);
    EXPECT_FALSE(ApplyEnabled());
}

// F1 opens the page on managing folders of the help file beside the program.
TEST_F(MainDialogTest, F1OpensTheFolderManagementHelpPage)
{
    ASSERT_TRUE(Open());
    HELPINFO help{sizeof help, HELPINFO_WINDOW, IDC_FOLDER_LIST, item(IDC_FOLDER_LIST), 0, {0, 0}};
    EXPECT_EQ(SendMessageW(window(), WM_HELP, 0, reinterpret_cast<LPARAM>(&help)), TRUE);
    HWND viewer = nullptr;
    PumpUntil([&] { return (viewer = FindWindowW(L"HH Parent", nullptr)) != nullptr; }, 5000);
    ASSERT_TRUE(viewer) << "no help window";
    EXPECT_EQ(GetWindow(viewer, GW_OWNER), window());
    krn::HelpLauncher::HtmlHelpW(nullptr, nullptr, 0x12 /* HH_CLOSE_ALL */, 0);
    PumpUntil([] { return FindWindowW(L"HH Parent", nullptr) == nullptr; }, 5000);
}

// The menu's other commands: the program properties and About dialogs open
// owned by the main window and change nothing of the configuration; the two
// web pages go to the shell.
TEST_F(MainDialogTest, MenuOpensPropertiesAboutAndTheMakersPages)
{
    DeleteFileW(OpenedAddressLog().c_str());
    ASSERT_TRUE(Open());
    std::vector<HWND> owners;
    DialogDriver driver;
    const auto cancel = [&](HWND dialog) {
        owners.push_back(GetWindow(dialog, GW_OWNER));
        DialogDriver::Click(dialog, IDCANCEL);
    };
    driver.Expect(L"Properties", cancel).Expect(L"About Brimwell™ Pro x64", cancel);
    Command(ID_FILE_PROPERTIES);
    Command(ID_HELP_ABOUT);
    EXPECT_EQ(driver.Report(), "");
    EXPECT_EQ(owners, (std::vector<HWND>{window(), window()}));
    EXPECT_FALSE(ApplyEnabled());

    Command(ID_HELP_WEBSITE);
    Command(ID_HELP_SUPPORT);
    const std::vector<std::string> expected{"https://www.norlath.com/kestrune/",
                                            "https://www.norlath.com/kestrune/support/"};
    PumpUntil([&] { return OpenedAddresses().size() >= expected.size(); }, 10000);
    EXPECT_EQ(OpenedAddresses(), expected);
}

} // namespace
