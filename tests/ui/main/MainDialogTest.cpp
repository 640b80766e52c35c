// The main window made from its real template: the start with each outcome of
// loading config.xml, the modified state and the Apply button, the questions
// answered as a user answers them, every way of closing and its quit code (the
// program's exit code), import, export, the folder dialog's openings, the
// resize rule, help and the menu. And the window's run inside this process, in
// command-line mode: the tail is the folder, verbatim, quotes and blanks
// included, however long; only the folder dialog opens; a cancelled run leaves
// nothing behind, a confirmed one saves at once.
#include "MainWindowFixture.h"

#include "resource.h"
#include "settings/HelpLauncher.h"
#include "settings/RegistryValues.h"
#include "ui/main/MainWindowRun.h"

#include <commdlg.h>
#include <dlgs.h>

#include <algorithm>
#include <cwctype>
#include <filesystem>
#include <map>

namespace {

using namespace krn::test;

using MainDialogTest = MainWindowTest;

constexpr wchar_t kFolderDialog[] = L"Folder properties";
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
    return PeekMessageW(&msg, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) ? static_cast<int>(msg.wParam) : -1;
}

bool Stored(const wchar_t* name) { return ReadRegValue(krn::registry::kSettingsKey, name, nullptr, nullptr); }

// A start without config.xml asks nothing and writes nothing. A file that does
// not load asks; Cancel closes the window storing only the layout, OK starts
// empty; neither touches the file.
TEST_F(MainDialogTest, StartAsksOnlyAboutAFileThatDoesNotLoadAndNeverWritesIt)
{
    ASSERT_TRUE(Open());
    EXPECT_EQ(WindowText(window()), kCaption);
    EXPECT_TRUE(GetMenu(window()));
    EXPECT_FALSE(ApplyEnabled());
    EXPECT_FALSE(std::filesystem::exists(ConfigPath()));
    const std::string broken = "<?xml version=\"1.0\"?><Configuration><Settings><ConfigVersion Version=\"1.2\"/>"
                               "</Settings><Folders><Folder Path=\"C:\\x\"><Actions/></Folder></Folders>";
    for (const int answer : {IDOK, IDCANCEL}) {
        SCOPED_TRACE(answer);
        WriteConfigBytes(broken);
        HWND created = nullptr;
        ExpectBox(Answering({answer}, [&] { created = Open(); }).at(0), kNotLoaded, {IDOK, IDCANCEL}, IDI_EXCLAMATION);
        EXPECT_EQ(ReadFileBytes(ConfigPath()), broken);
        EXPECT_EQ(created != nullptr, answer == IDOK);
        EXPECT_EQ(PostedQuitCode(), answer == IDOK ? -1 : 0);
        EXPECT_EQ(Stored(L"ColWidth_Path"), answer == IDCANCEL);
        EXPECT_EQ(Stored(L"WDP"), answer == IDCANCEL);
        EXPECT_EQ(folders().RowCount(), 0);
    }
}

// Apply is enabled exactly while there are changes, a disabled one writes
// nothing. With changes, closing asks: No keeps the window, Yes closes without
// saving; OK saves and closes. A failed save (config.xml is a folder) asks
// first: No keeps the changes, Yes gives them up, so that closing asks nothing
// more.
TEST_F(MainDialogTest, ApplyOkAndClosingSaveOrAskExactlyWhileModified)
{
    WriteConfig(FolderXml("C:\\one") + FolderXml("C:\\two") + FolderXml("C:\\three"));
    const std::string original = ReadFileBytes(ConfigPath());
    const auto saved = [&](const char* path) { return ReadFileBytes(ConfigPath()).find(path) != std::string::npos; };
    ASSERT_TRUE(Open());
    Command(IDC_APPLY);
    Command(IDC_DELETE);
    EXPECT_EQ(folders().RowCount(), 3) << "Delete without a selection does nothing";
    EXPECT_FALSE(ApplyEnabled());
    EXPECT_EQ(ReadFileBytes(ConfigPath()), original) << "a disabled Apply writes nothing";
    DeleteRow(0);
    EXPECT_TRUE(ApplyEnabled());
    Command(IDC_APPLY);
    EXPECT_FALSE(ApplyEnabled());
    EXPECT_FALSE(saved("C:\\one"));
    DeleteRow(0);
    const auto asked = Answering({IDNO, IDYES}, [&] {
        Command(IDCANCEL);
        EXPECT_EQ(PostedQuitCode(), -1) << "No keeps the window open";
        Command(krn::MainDialog::kCommandExit);
    });
    ExpectBox(asked.at(0), kCloseModified, {IDYES, IDNO}, IDI_QUESTION);
    EXPECT_EQ(PostedQuitCode(), 32776);
    EXPECT_TRUE(saved("C:\\two")) << "nothing was saved";

    ASSERT_TRUE(Open());
    DeleteRow(1);
    Command(IDOK);
    EXPECT_EQ(PostedQuitCode(), IDOK);
    EXPECT_EQ(std::pair(saved("C:\\two"), saved("C:\\three")), std::pair(true, false));

    ASSERT_TRUE(Open());
    std::filesystem::remove(ConfigPath());
    std::filesystem::create_directory(ConfigPath());
    DeleteRow(0);
    const auto failed = Answering({IDNO, IDNO}, [&] { Command(IDOK); });
    ExpectBox(failed.at(0), kNotSaved, {IDYES, IDNO}, IDI_EXCLAMATION);
    EXPECT_EQ(failed.at(1).text, kCloseModified);
    EXPECT_TRUE(ApplyEnabled()) << "No to both keeps the window and the changes";
    Answering({IDYES}, [&] { Command(IDC_APPLY); });
    EXPECT_FALSE(ApplyEnabled());
    Command(IDCANCEL);
    EXPECT_EQ(PostedQuitCode(), IDCANCEL);
}

// Every way out of an unmodified window becomes the quit code that the loop,
// and with it the program, returns; each stores the placement.
TEST_F(MainDialogTest, EachWayOfClosingBecomesTheQuitCodeAndStoresThePlacement)
{
    const std::tuple<const char*, UINT, WPARAM, int> ways[] = {
        {"OK", WM_COMMAND, IDOK, 1},
        {"Cancel", WM_COMMAND, IDCANCEL, 2},
        {"File, Exit", WM_COMMAND, krn::MainDialog::kCommandExit, 32776},
        {"close box", WM_CLOSE, 0, 2},
        {"Esc, through the loop's dialog filter", WM_KEYDOWN, VK_ESCAPE, 2},
    };
    for (const auto& [how, message, wParam, quitCode] : ways) {
        SCOPED_TRACE(how);
        RegDeleteTreeW(HKEY_CURRENT_USER, krn::registry::kSettingsKey);
        ASSERT_TRUE(Open());
        PostMessageW(window(), message, wParam, 0);
        const UINT_PTR backstop = SetTimer(nullptr, 0, 10000, [](HWND, UINT, UINT_PTR, DWORD) { PostQuitMessage(-1); });
        EXPECT_EQ(loop.Run(), quitCode);
        KillTimer(nullptr, backstop);
        EXPECT_TRUE(Stored(L"WDP"));
    }
}

// Export goes through the same save as Apply, so it clears the modified
// state although config.xml keeps the old folders; an import is a change
// until it is applied, even of a file that does not load.
TEST_F(MainDialogTest, ExportClearsTheModifiedStateAndImportOfABadFileLeavesAnEmptyModifiedList)
{
    WriteConfig(FolderXml("C:\\one") + FolderXml("C:\\two"));
    const std::string original = ReadFileBytes(ConfigPath());
    const std::wstring exported = scratch.root() + L"\\exported.xml", unreadable = scratch.root() + L"\\bad.xml";
    WriteFileBytes(exported, "");  // both dialogs want an existing file
    WriteFileBytes(unreadable, "not xml at all");
    ASSERT_TRUE(Open());
    DeleteRow(0);
    // The standard file dialog: the path typed into its file name box, then OK.
    const auto choose = [&](const wchar_t* caption, int command, const std::wstring& path) {
        DialogDriver driver;
        driver.Expect(caption, [path](HWND dialog) {
            HWND name = GetDlgItem(dialog, cmb13);
            SetWindowTextW(name ? name : GetDlgItem(dialog, edt1), path.c_str());
            DialogDriver::Click(dialog, IDOK);
        });
        Command(command);
        EXPECT_EQ(driver.Report(), "");
    };
    choose(L"Save As", ID_FILE_EXPORT, exported);
    EXPECT_FALSE(ApplyEnabled());
    EXPECT_NE(ReadFileBytes(exported).find("C:\\two"), std::string::npos);
    EXPECT_EQ(ReadFileBytes(ConfigPath()), original);
    choose(L"Open", ID_FILE_IMPORT, unreadable);
    EXPECT_EQ(folders().RowCount(), 0);
    EXPECT_TRUE(ApplyEnabled());
    choose(L"Open", ID_FILE_IMPORT, exported);
    EXPECT_EQ(FolderNames(), (std::vector<std::wstring>{L"two"}));
    EXPECT_TRUE(ApplyEnabled());
}

// The controls below the header follow the right and bottom edges by the
// rule; minimising and restoring moves nothing.
TEST_F(MainDialogTest, ResizingMovesAndGrowsTheControlsByTheRuleAndMinimisingChangesNothing)
{
    ASSERT_TRUE(Open());
    ShowWindow(window(), SW_SHOWNA);
    const int dx = 60, dy = 45;
    const std::pair<std::vector<LONG>, std::vector<int>> rules[] = {  // the change of left, top, width, height
        {{dx, dy, 0, 0}, {IDOK, IDCANCEL, IDC_APPLY, IDC_ADD, IDC_EDIT, IDC_DELETE}},
        {{0, 0, 0, 0}, {IDC_HEADER_PICTURE, IDC_HEADER_TITLE, IDC_HEADER_TEXT}},
        {{0, 0, dx, 0}, {IDC_HEADER_LINE}},
        {{0, 0, dx, dy}, {IDC_FOLDER_LIST}},
        {{0, dy, dx, 0}, {IDC_STATUS_LINE}},
        {{0, dy, 0, 0}, {IDC_STATUS_LABEL, IDC_STATUS_LINK}},
    };
    std::map<int, RECT> before;
    for (const auto& [change, ids] : rules)
        for (int id : ids)
            before[id] = ChildRect(id);
    RECT frame{};
    GetWindowRect(window(), &frame);
    SetWindowPos(window(), nullptr, 0, 0, frame.right - frame.left + dx, frame.bottom - frame.top + dy,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    ShowWindow(window(), SW_MINIMIZE);
    ShowWindow(window(), SW_RESTORE);
    for (const auto& [change, ids] : rules) {
        for (int id : ids) {
            const RECT was = before[id], is = ChildRect(id);
            EXPECT_EQ(std::vector<LONG>({is.left - was.left, is.top - was.top, is.right - was.right - is.left + was.left,
                                         is.bottom - was.bottom - is.top + was.top}),
                      change)
                << "control " << id;
        }
    }
}

// A double-click on a row or the drop of a folder (first of the names) opens
// that folder; Add opens an empty entry. A click below the rows or a drop
// whose first name is a file opens nothing; only a real change is a change,
// and the edited row shows it at once.
TEST_F(MainDialogTest, DoubleClickDropAndAddOpenTheFolderDialogAndOnlyAChangeMarksItModified)
{
    const std::wstring data = scratch.root() + L"\\Data", file = scratch.root() + L"\\notes.txt";
    CreateDirectoryW(data.c_str(), nullptr);
    WriteFileBytes(file, "x");
    WriteConfig(FolderXml("C:\\first") + FolderXml(Narrow(data), LimitXml("Max", "1", "GB")));
    ASSERT_TRUE(Open());
    const auto press = [](int id) { return [id](HWND dialog) { DialogDriver::Click(dialog, id); }; };
    // How the dialog is opened, the path it shows (null: no dialog) and the answer.
    const std::tuple<const char*, std::function<void()>, const wchar_t*, DialogDriver::Action> openings[] = {
        {"click below the rows", [&] { DoubleClick(-1); }, nullptr, nullptr},
        {"drop of a file first", [&] { Drop({file, data}); }, nullptr, nullptr},
        {"drop of a folder first", [&] { Drop({data, file}); }, data.c_str(), press(IDCANCEL)},
        {"Add", [&] { Command(IDC_ADD); }, L"", press(IDCANCEL)},
        {"double-click, OK without a change", [&] { DoubleClick(1); }, data.c_str(), press(IDOK)},
        {"double-click, a change", [&] { DoubleClick(1); }, data.c_str(),
         [](HWND dialog) {
             SetDlgItemTextW(dialog, IDC_MAX_VALUE, L"2.5");
             DialogDriver::Click(dialog, IDOK);
         }},
    };
    for (const auto& [how, open, path, answer] : openings) {
        SCOPED_TRACE(how);
        EXPECT_FALSE(ApplyEnabled()) << "modified before";
        std::wstring shown = L"<none>";
        DialogDriver driver(path ? 10000 : 1500);
        if (path)
            driver.Expect(kFolderDialog, [&](HWND dialog) {
                shown = WindowText(GetDlgItem(dialog, IDC_FOLDER_PATH));
                answer(dialog);
            });
        open();
        EXPECT_EQ(driver.Report(), "");
        EXPECT_EQ(shown, path ? path : L"<none>");
        EXPECT_EQ(folders().RowCount(), 2);
    }
    EXPECT_TRUE(ApplyEnabled());
    EXPECT_EQ(Cell(1, krn::kColumnMax), L"2.50 GB");
}

// F1 opens the page on managing folders of the help file beside the program;
// the program properties and About dialogs open owned by the main window and
// change nothing of the configuration; the two web pages go to the shell.
TEST_F(MainDialogTest, F1AndTheMenuOpenHelpPropertiesAboutAndTheMakersPages)
{
    DeleteFileW(OpenedAddressLog().c_str());
    ASSERT_TRUE(Open());
    HELPINFO help{sizeof help, HELPINFO_WINDOW, IDC_FOLDER_LIST, item(IDC_FOLDER_LIST), 0, {0, 0}};
    EXPECT_EQ(SendMessageW(window(), WM_HELP, 0, reinterpret_cast<LPARAM>(&help)), TRUE);
    HWND viewer = nullptr;
    PumpUntil([&] { return (viewer = FindWindowW(L"HH Parent", nullptr)) != nullptr; }, 5000);
    EXPECT_EQ(viewer ? GetWindow(viewer, GW_OWNER) : nullptr, window()) << "no help window, or not owned";
    krn::HelpLauncher::HtmlHelpW(nullptr, nullptr, 0x12 /* HH_CLOSE_ALL */, 0);
    PumpUntil([] { return FindWindowW(L"HH Parent", nullptr) == nullptr; }, 5000);

    std::vector<HWND> owners;
    DialogDriver driver;
    const auto press = [&](int button) {
        return [&owners, button](HWND dialog) {
            owners.push_back(GetWindow(dialog, GW_OWNER));
            DialogDriver::Click(dialog, button);
        };
    };
    driver.Expect(L"Properties", press(IDCANCEL)).Expect(L"About Brimwell™ Pro x64", press(IDOK));
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

// Command-line mode: the tail is the folder, verbatim (quotes are part of the
// path, which is then no folder; a huge tail shows at least its first 260
// characters), and only the folder dialog opens. A cancelled run stores
// nothing and writes no config.xml. Last, the folder listed under another
// letter case opens for editing and OK saves the file at once; the window
// closes through the main window's OK before command-line mode is recorded, so
// the layout and the placement are stored as on any close.
TEST_F(MainDialogTest, CommandLineModeOpensOnlyTheFolderDialogForTheVerbatimTail)
{
    TempFolder temp;
    const std::wstring folder = temp / L"Folder With Spaces";
    CreateDirectoryW(folder.c_str(), nullptr);
    std::wstring upper = folder;
    for (wchar_t& c : upper)
        c = static_cast<wchar_t>(c < 0x80 ? towupper(c) : c);
    const std::pair<std::wstring, int> runs[] = {
        {folder, IDCANCEL}, {L"\"" + folder + L"\"", IDCANCEL}, {std::wstring(40000, L'x'), IDCANCEL}, {upper, IDOK}};
    for (const auto& [tail, answer] : runs) {
        SCOPED_TRACE(tail.substr(0, 80));
        const bool ok = answer == IDOK;
        if (ok)
            WriteConfig(FolderXml("C:\\other", "", "<AddToLog/>") + FolderXml(Narrow(folder), LimitXml("Max", "1", "GB")));
        std::wstring path, max;
        bool ownerShown = true;
        DialogDriver driver;
        driver.Expect(L"Folder properties", [&](HWND dialog) {
            path = WindowText(GetDlgItem(dialog, IDC_FOLDER_PATH));
            max = WindowText(GetDlgItem(dialog, IDC_MAX_VALUE));
            const HWND owner = GetWindow(dialog, GW_OWNER);
            ownerShown = WindowText(owner) != kCaption || IsWindowVisible(owner);
            SetDlgItemTextW(dialog, IDC_MAX_VALUE, L"2.5");
            DialogDriver::Click(dialog, answer);
        });
        EXPECT_EQ(krn::RunMainWindow(tail.c_str(), ok ? SW_SHOWNORMAL : SW_SHOWMAXIMIZED), 0);
        EXPECT_EQ(driver.Report(), "");
        const std::wstring shown = ok ? folder : tail;  // the listed folder, not the typed text
        EXPECT_EQ(path, shown.substr(0, std::max<size_t>(path.size(), MAX_PATH)));
        EXPECT_EQ(max, ok ? L"1.00" : L"");
        EXPECT_FALSE(ownerShown) << "the main window was shown";
        for (const wchar_t* name : {L"WDP", L"ColWidth_Path", L"ColSorting"})
            EXPECT_EQ(Stored(name), ok) << name;
        EXPECT_EQ(std::filesystem::exists(ConfigPath()), ok) << "config.xml";
        EXPECT_EQ(krn::Module().GetMessageLoop(), nullptr) << "the loop stayed registered";
    }
    const std::string saved = ReadFileBytes(ConfigPath());
    EXPECT_NE(saved.find("Value=\"2.5\""), std::string::npos) << saved;
    EXPECT_NE(saved.find("C:\\other"), std::string::npos) << "the other folders stay";
}

} // namespace
