// The About box and the program properties dialog. The About box: what it
// shows, on which colour, where its links lead (a click reaches the shell,
// whose browser launcher hands the address to the stand-in opener, see
// FAKE_OPENER), and that it ends with 0 however it closes.
// The program properties dialog on a scratch registry: what it shows of the
// stored settings, what it writes back (types and byte counts as the watcher
// reads them), and the paths it hands to the save dialog and to Notepad. (That
// the Run entry stays unquoted in a folder with blanks is proven by the
// installed program, in tests/installer.)
#include "ui/dialogs/AboutDialog.h"
#include "ui/dialogs/PropertiesDialog.h"

#include "resource.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <commdlg.h>
#include <dlgs.h>

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace krn::test {
namespace {

constexpr wchar_t kCaption[] = L"Properties";
constexpr wchar_t kSettingsKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";
constexpr wchar_t kAddToLogKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings\\AddToLog";
constexpr wchar_t kRunKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Run";

// A value as "type/bytes/content" (a string's text, a number's value), or "absent".
std::wstring Stored(const wchar_t* key, const wchar_t* name)
{
    DWORD type = 0;
    std::string bytes;
    if (!ReadRegValue(key, name, &type, &bytes))
        return L"absent";
    ULONGLONG number = 0;
    std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
    const std::wstring content = type == REG_SZ ? reinterpret_cast<const wchar_t*>(bytes.c_str())
                                                : std::to_wstring(number);
    return std::to_wstring(type) + L"/" + std::to_wstring(bytes.size()) + L"/" + content;
}
std::wstring Sz(const std::wstring& text) { return L"1/" + std::to_wstring((text.size() + 1) * 2) + L"/" + text; }
std::wstring Check(int value) { return L"4/8/" + std::to_wstring(value); }

class PropertiesDialogTest : public ScratchTest {
protected:
    INT_PTR Run()
    {
        const INT_PTR result = PropertiesDialog().Run(nullptr);
        EXPECT_EQ(driver.Report(), "");
        return result;
    }
    DialogDriver driver;
};

// What is stored shows (an entry naming another program counts as checked, a
// 4-byte number from another tool is read whole; nothing stored gives the
// default log path). OK writes all three whatever changed and ends with 1:
// the box as a REG_DWORD tag over 8 bytes, the path as typed, empty too, the
// entry naming this installation's watcher unquoted, or no entry at all.
// Cancel writes nothing.
TEST_F(PropertiesDialogTest, ShowsAndStoresTheThreeSettings)
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring watcher = std::filesystem::path(program).replace_filename(L"KRN Watcher.exe").wstring();
    const std::wstring log = L"D:\\Logs\\kestrune.log", defaultLog = scratch.documents() + L"\\NorlathKestrune.log";
    // The three fields: Start with Windows, Disable alerts on startup, the log path.
    using Fields = std::tuple<bool, bool, std::wstring>;
    const struct {
        const char* name;
        std::optional<std::wstring> run;  // stored before
        std::optional<DWORD> alerts;
        std::optional<std::wstring> logFile;
        Fields shown, entered;
        int button;
        INT_PTR result;
        std::wstring runAfter, alertsAfter, logFileAfter;
    } cases[] = {
        {"nothing stored, cancelled", {}, {}, {}, {false, false, defaultLog}, {true, true, log}, IDCANCEL, 0,
         L"absent", L"absent", L"absent"},
        {"nothing stored, nothing changed", {}, {}, {}, {false, false, defaultLog}, {false, false, defaultLog}, IDOK,
         1, L"absent", Check(0), Sz(defaultLog)},
        {"another watcher, nothing changed", L"C:\\Other\\KRN Watcher.exe", 1, log, {true, true, log},
         {true, true, log}, IDOK, 1, Sz(watcher), Check(1), Sz(log)},
        {"switched off, path emptied", watcher, 1, log, {true, true, log}, {false, false, L""}, IDOK, 1, L"absent",
         Check(0), Sz(L"")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        RegDeleteTreeW(HKEY_CURRENT_USER, L"SOFTWARE\\Norlath");
        RegDeleteKeyValueW(HKEY_CURRENT_USER, kRunKey, L"Kestrune");
        if (c.run)
            WriteRegString(kRunKey, L"Kestrune", *c.run);
        if (c.alerts)
            WriteRegDword(kSettingsKey, L"DisableAlertOnStartup", *c.alerts);
        if (c.logFile)
            WriteRegString(kAddToLogKey, L"LogFile", *c.logFile);
        driver.Expect(kCaption, [&](HWND dialog) {
            EXPECT_EQ(Fields(IsDlgButtonChecked(dialog, IDC_START_WITH_WINDOWS) == BST_CHECKED,
                             IsDlgButtonChecked(dialog, IDC_DISABLE_ALERTS) == BST_CHECKED,
                             WindowText(GetDlgItem(dialog, IDC_LOG_PATH))),
                      c.shown);
            const auto& [startWithWindows, disableAlerts, logPath] = c.entered;
            CheckDlgButton(dialog, IDC_START_WITH_WINDOWS, startWithWindows);
            CheckDlgButton(dialog, IDC_DISABLE_ALERTS, disableAlerts);
            SetDlgItemTextW(dialog, IDC_LOG_PATH, logPath.c_str());
            DialogDriver::Click(dialog, c.button);
        });
        EXPECT_EQ(Run(), c.result);
        EXPECT_EQ(Stored(kRunKey, L"Kestrune"), c.runAfter);
        EXPECT_EQ(Stored(kSettingsKey, L"DisableAlertOnStartup"), c.alertsAfter);
        EXPECT_EQ(Stored(kAddToLogKey, L"LogFile"), c.logFileAfter);
    }
}

// "View log" hands the path in the field, unsaved and with its spaces, to
// Notepad, whose title names the file it opened. "..." offers an empty name filtered to
// log files; the file chosen, which need not exist, replaces the path, and a
// cancelled choice leaves it.
TEST_F(PropertiesDialogTest, HandsTheLogPathToNotepadAndTakesOneFromTheSaveDialog)
{
    TempFolder temp;
    const std::wstring log = temp / L"Kestrune log.log", chosen = temp / L"chosen.log";
    WriteFileBytes(log, "12:00 Folder grew beyond its limit");
    std::wstring paths[2];
    driver.Expect(kCaption, [&](HWND dialog) {
        SetDlgItemTextW(dialog, IDC_LOG_PATH, log.c_str());
        SendDlgItemMessageW(dialog, IDC_VIEW_LOG, BM_CLICK, 0, 0);
        DialogDriver::Click(dialog, IDC_CHOOSE_LOG);
    });
    for (int button : {IDCANCEL, IDOK}) {
        driver.Expect(L"Save As", [&, button](HWND save) {
            EXPECT_EQ(WindowText(GetWindow(save, GW_OWNER)), kCaption);
            EXPECT_EQ(WindowText(GetDlgItem(save, cmb13)), L"") << "file name";
            EXPECT_EQ(WindowText(GetDlgItem(save, cmb1)), L"Log files files") << "file type";
            SendMessageW(save, CDM_SETCONTROLTEXT, cmb13, reinterpret_cast<LPARAM>(chosen.c_str()));
            DialogDriver::Click(save, button);
        }).Expect(kCaption, [&, button](HWND dialog) {
            paths[button == IDOK] = WindowText(GetDlgItem(dialog, IDC_LOG_PATH));
            DialogDriver::Click(dialog, button == IDOK ? IDCANCEL : IDC_CHOOSE_LOG);
        });
    }
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(paths[0], log) << "cancelled";
    EXPECT_EQ(paths[1], chosen) << "chosen";

    HWND notepad = nullptr;
    PumpUntil([&] { return (notepad = FindWindowW(L"Notepad", L"Kestrune log.log - Notepad")) != nullptr; }, 10000);
    ASSERT_TRUE(notepad) << "no Notepad window shows the log";
    // End the Notepad this test started, and only that one: it has nothing to save.
    DWORD id = 0;
    GetWindowThreadProcessId(notepad, &id);
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, id);
    PostMessageW(notepad, WM_CLOSE, 0, 0);
    EXPECT_EQ(WaitForSingleObject(process, 5000), WAIT_OBJECT_0) << "Notepad did not close";
    CloseHandle(process);
}

// The version replaces the template's text; each link shows its text and
// opens its page; the box, its labels and its links are on #9EBAEA. The close
// box (and so Esc, which the dialog manager turns into the same command) ends
// it with 0; OK is the main window's test.
TEST(AboutDialogTest, ShowsTheVersionAndLinksToTheMakersPages)
{
    const std::pair<int, const wchar_t*> links[] = {
        {IDC_HOME_LINK, L"https://www.norlath.com/kestrune/"},
        {IDC_SUPPORT_LINK, L"https://www.norlath.com/kestrune/support/"},
        {IDC_CONTACT_LINK, L"Click here to contact us via our Web site."},
    };
    DeleteFileW(OpenedAddressLog().c_str());
    Pixels shot;
    RECT label{}, link{};
    DialogDriver driver;
    driver.Expect(L"About Brimwell™ Pro x64", [&](HWND dialog) {
        EXPECT_EQ(WindowText(GetDlgItem(dialog, IDC_ABOUT_VERSION)), L"Version 5.00.x64");
        for (const auto& [id, text] : links) {
            EXPECT_EQ(WindowText(GetDlgItem(dialog, id)), text);
            SendDlgItemMessageW(dialog, id, WM_LBUTTONUP, 0, MAKELPARAM(2, 2));
        }
        for (auto [id, place] : {std::pair{IDC_SUPPORT_LABEL, &label}, std::pair{IDC_CONTACT_LINK, &link}}) {
            GetWindowRect(GetDlgItem(dialog, id), place);
            MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(place), 2);
        }
        SetWindowPos(dialog, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
        RedrawWindow(dialog, nullptr, nullptr, RDW_ERASE | RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
        shot = CaptureScreen(dialog);
        PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
    });
    EXPECT_EQ(AboutDialog().Run(nullptr), 0);
    EXPECT_EQ(driver.Report(), "");
    const std::vector<std::string> expected = {"https://www.norlath.com/contact/", "https://www.norlath.com/kestrune/",
                                               "https://www.norlath.com/kestrune/support/"};
    PumpUntil([&] { return OpenedAddresses().size() >= expected.size(); }, 10000);
    EXPECT_EQ(OpenedAddresses(), expected);
    ASSERT_FALSE(shot.empty());
    const COLORREF about = RGB(0x9E, 0xBA, 0xEA);
    EXPECT_EQ(shot.at(3, 3), about) << "dialog";
    EXPECT_EQ(shot.at(label.right - 2, label.top + 4), about) << "label past its text";
    EXPECT_EQ(shot.at(link.right - 2, link.top + 4), about) << "link past its text";
}

} // namespace
} // namespace krn::test
