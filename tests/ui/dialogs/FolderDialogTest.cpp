// The folder properties dialog, run modally on a real entry and driven the way
// a user drives it, through the "&Add..." menu, message boxes and the Run dialog.
#include "ui/dialogs/FolderDialog.h"

#include "actions/RunAction.h"
#include "actions/StandardKinds.h"
#include "config/ActionKindRegistry.h"
#include "resource.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <commctrl.h>
#include <shlobj.h>

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace krn::test {
namespace {

constexpr wchar_t kCaption[] = L"Folder properties";
constexpr wchar_t kRunCaption[] = L"Run ...";
constexpr wchar_t kNotAFolder[] = L"Selected path is not a valid folder.\nPlease select a valid folder and try again.";
constexpr wchar_t kZeroLimit[] =
    L"Maximum limit should be higher than 0 bytes.\nPlease correct this error and try again.";
constexpr wchar_t kNoLimit[] = L"Invalid limits.\nPlease correct this error and try again";
constexpr wchar_t kMaxNotAboveMin[] =
    L"Maximum limit should be higher than minimum limit.\nPlease correct this error and try again.";
constexpr wchar_t kNoAction[] = L"You must select at least one action.\nPlease correct this error and try again.";
constexpr UINT kGreyed = MF_GRAYED | MF_DISABLED;
constexpr wchar_t kNotepad[] = L"C:\\windows\\notepad.exe";
constexpr wchar_t kRegedit[] = L"C:\\windows\\regedit.exe";

enum KindIndex { kMessage, kLog, kRun };  // registry order

// Inside a driver step; none of these opens a modal loop.
std::wstring Text(HWND dialog, int id) { return WindowText(GetDlgItem(dialog, id)); }
bool Enabled(HWND dialog, int id) { return IsWindowEnabled(GetDlgItem(dialog, id)) != FALSE; }
void Press(HWND dialog, int id) { SendDlgItemMessageW(dialog, id, BM_CLICK, 0, 0); }
DialogDriver::Action Pressing(int id)
{
    return [id](HWND dialog) { DialogDriver::Click(dialog, id); };
}

// A limit as the user enters it, and the number the dialog must read from it.
struct LimitInput {
    bool on = false;
    const wchar_t* value = L"";
    int unit = SizeUnit_KB;
    const wchar_t* text = L"";
    double number = 0.0;
};
constexpr LimitInput kOff{};
// One limit's controls: check box, value, unit, custom text and its label.
using LimitIds = std::array<int, 5>;
constexpr LimitIds kMinIds{IDC_MIN_CHECK, IDC_MIN_VALUE, IDC_MIN_UNIT, IDC_MIN_TEXT, IDC_MIN_TEXT_LABEL};
constexpr LimitIds kMaxIds{IDC_MAX_CHECK, IDC_MAX_VALUE, IDC_MAX_UNIT, IDC_MAX_TEXT, IDC_MAX_TEXT_LABEL};

// Types the path and sets both limits as the user would.
void Enter(HWND dialog, const std::wstring& path, const LimitInput& min, const LimitInput& max)
{
    SetDlgItemTextW(dialog, IDC_FOLDER_PATH, path.c_str());
    for (const auto& [ids, input] : {std::pair{kMinIds, min}, std::pair{kMaxIds, max}}) {
        const auto [check, value, unit, text, label] = ids;
        if ((IsDlgButtonChecked(dialog, check) == BST_CHECKED) != input.on)
            Press(dialog, check);
        SetDlgItemTextW(dialog, value, input.value);
        SendDlgItemMessageW(dialog, unit, CB_SETCURSEL, static_cast<WPARAM>(input.unit), 0);
        SetDlgItemTextW(dialog, text, input.text);
    }
}

// The path and both limits show what was entered, and a limit's controls are
// usable exactly while its box is checked.
void ExpectShown(HWND dialog, const std::wstring& path, const LimitInput& min, const LimitInput& max)
{
    EXPECT_EQ(Text(dialog, IDC_FOLDER_PATH), path);
    for (const auto& [ids, input] : {std::pair{kMinIds, min}, std::pair{kMaxIds, max}}) {
        const auto [check, value, unit, text, label] = ids;
        EXPECT_EQ(IsDlgButtonChecked(dialog, check), input.on ? BST_CHECKED : BST_UNCHECKED);
        for (int id : {value, unit, text, label})
            EXPECT_EQ(Enabled(dialog, id), input.on) << "control " << id;
        EXPECT_EQ(Text(dialog, value), input.value);
        EXPECT_EQ(SendDlgItemMessageW(dialog, unit, CB_GETCURSEL, 0, 0), input.unit);
        EXPECT_EQ(Text(dialog, text), input.text);
    }
}

template <typename T>
std::vector<T> Each(const FolderEntry& entry, T ActionSlot::*field)
{
    std::vector<T> values;
    for (const ActionSlot& slot : entry.actions)
        values.push_back(slot.*field);
    return values;
}

class FolderDialogTest : public ::testing::Test {
protected:
    FolderDialogTest() { AddStandardKinds(kinds, GetModuleHandleW(nullptr)); }
    Action* Kind(KindIndex index) const { return kinds.KindAt(index); }

    // The scratch folder with limits of 1.5 MB and 1 GB and actions of the
    // given kinds; a Run action starts notepad.
    void Prepare(FolderEntry& entry, const std::vector<KindIndex>& actions) const
    {
        entry.path = folder.path();
        entry.flags = FolderEntry::HasMin | FolderEntry::HasMax;
        entry.min = {1.5, SizeUnit_MB, 0, L"low"};
        entry.max = {1.0, SizeUnit_GB, 0, L"full"};
        const RunParams notepad{kNotepad, L"-x"};  // the kinds without parameters make no block
        for (KindIndex index : actions) {
            void* block = nullptr;
            Kind(index)->CloneParams(&block, &notepad);
            entry.actions.emplace_back(block, Kind(index));
        }
    }
    // Runs the dialog on `entry` while `driver` answers it.
    INT_PTR Run(FolderEntry& entry)
    {
        const INT_PTR result = FolderDialog(kinds).Run(nullptr, &entry);
        EXPECT_EQ(driver.Report(), "");
        return result;
    }

    ActionKindRegistry kinds;
    TempFolder folder;
    DialogDriver driver;
};

// A new entry with a preset path: its last component in the header, both
// limits off on KB, no actions. The header follows the path as typed, dropped
// (only a folder, only the first name) or browsed for in the shell's browser
// (Wine's starts on the desktop); a cancelled browse changes nothing.
TEST_F(FolderDialogTest, NewEntryStartsEmptyAndTheHeaderFollowsThePath)
{
    wchar_t desktop[MAX_PATH] = {};
    SHGetFolderPathW(nullptr, CSIDL_DESKTOPDIRECTORY, nullptr, 0, desktop);
    const std::wstring file = folder / L"notes.txt", logs = folder / L"Logs";
    WriteFileBytes(file, "x");
    CreateDirectoryW(logs.c_str(), nullptr);
    // Names dropped (none: the path is typed), the path then, and the header.
    const std::tuple<std::vector<std::wstring>, std::wstring, std::wstring> cases[] = {
        {{}, L"C:\\Data\\Logs", L"Logs"}, {{}, L"C:\\Data\\Logs\\", L"Logs"}, {{}, L"C:\\", L"C:"},
        {{logs, file}, logs, L"Logs"},    {{}, L"Data", L"Data"},              {{file, logs}, L"Data", L"Data"},
    };
    FolderEntry entry;
    entry.path = folder.path() + L"\\";
    driver.Expect(kCaption, [&](HWND dialog) {
        ExpectShown(dialog, *entry.path, kOff, kOff);
        EXPECT_EQ(Text(dialog, IDC_HEADER_TITLE), folder.path().substr(folder.path().rfind(L'\\') + 1));
        EXPECT_EQ(ListView_GetItemCount(GetDlgItem(dialog, IDC_ACTION_LIST)), 0);
        for (const auto& [dropped, path, header] : cases) {
            SCOPED_TRACE(testing::PrintToString(path));
            if (dropped.empty())
                SetDlgItemTextW(dialog, IDC_FOLDER_PATH, path.c_str());
            else
                SendMessageW(dialog, WM_DROPFILES, reinterpret_cast<WPARAM>(MakeDrop(dropped)), 0);
            EXPECT_EQ(Text(dialog, IDC_FOLDER_PATH), path);
            EXPECT_EQ(Text(dialog, IDC_HEADER_TITLE), header);
        }
        DialogDriver::Click(dialog, IDC_BROWSE);
    });
    for (int button : {IDOK, IDCANCEL}) {
        driver.Expect(L"Browse for Folder", [button](HWND browser) {
            EXPECT_EQ(WindowText(GetWindow(browser, GW_OWNER)), kCaption);
            EXPECT_TRUE(FindWindowExW(browser, nullptr, L"Static", L"Select folder."));
            EXPECT_FALSE(IsWindowVisible(FindWindowExW(browser, nullptr, L"Button", L"&Make New Folder")));
            DialogDriver::Click(browser, button);
        }).Expect(kCaption, [&desktop, button](HWND dialog) {
            EXPECT_EQ(Text(dialog, IDC_FOLDER_PATH), desktop);
            DialogDriver::Click(dialog, button == IDOK ? IDC_BROWSE : IDCANCEL);
        });
    }
    EXPECT_EQ(Run(entry), 0);
}

// OK names the first problem, in a fixed order (each case also holds those
// checked later, a missing action among them), and the dialog stays open with
// everything as entered. Accepted input is stored as entered, byte counts only
// with both limits; OK on the entry as it opened and Cancel leave it untouched.
TEST_F(FolderDialogTest, OkChecksTheInputInOrderAndStoresOnlyAChange)
{
    const std::wstring logs = folder / L"Logs";
    CreateDirectoryW(logs.c_str(), nullptr);
    const LimitInput min{true, L"1.50", SizeUnit_MB, L"low"}, max{true, L"1.00", SizeUnit_GB, L"full"};
    const struct {
        std::wstring path;
        LimitInput min, max;
        const wchar_t* message;  // null: no problem
        INT_PTR result;
        uint64_t minBytes = 0, maxBytes = 0;
        int button = IDOK;
    } cases[] = {
        {folder / L"missing", {true, L"abc", SizeUnit_MB, L"low"}, {true, L"0", SizeUnit_GB}, kNotAFolder, 0},
        {logs, {true, L"abc", SizeUnit_MB, L"low"}, kOff, kZeroLimit, 0},
        {logs, {true, L"1", SizeUnit_MB, L"low"}, {true, L"0", SizeUnit_GB}, kZeroLimit, 0},
        {logs, kOff, kOff, kNoLimit, 0},
        {logs, {true, L"-5", SizeUnit_KB, L"low"}, {true, L"5", SizeUnit_KB}, kNoLimit, 0},
        {logs, {true, L"10", SizeUnit_KB, L"low"}, {true, L"10240", SizeUnit_B}, kMaxNotAboveMin, 0},
        {logs, {true, L"1", SizeUnit_MB, L"low"}, {true, L"1.5", SizeUnit_MB}, kNoAction, 0},
        {logs, {true, L"1", SizeUnit_MB, L"lo", 1}, {true, L"1.5", SizeUnit_MB, L"hi", 1.5}, nullptr, 1, 1048576,
         1572864},
        {logs, {true, L"-5", SizeUnit_KB, L"", -5}, kOff, nullptr, 1},
        {logs, kOff, {true, L" 3e0", SizeUnit_TB, L"x", 3}, nullptr, 1},
        {folder.path(), min, max, nullptr, 0},
        {L"C:\\", kOff, kOff, nullptr, 0, 0, 0, IDCANCEL},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        FolderEntry entry;
        Prepare(entry, c.message ? std::vector<KindIndex>{} : std::vector<KindIndex>{kRun});
        const FolderEntry before(entry);
        const std::vector<void*> blocks = Each(entry, &ActionSlot::params);
        MessageBoxInfo seen;
        driver.Expect(kCaption, [&](HWND dialog) {
            ExpectShown(dialog, folder.path(), min, max);
            Enter(dialog, c.path, c.min, c.max);
            DialogDriver::Click(dialog, c.button);
        });
        if (c.message) {
            driver.AnswerMessageBox(L"Kestrune™ Properties x64", IDOK, &seen).Expect(kCaption, [&](HWND dialog) {
                ExpectShown(dialog, c.path, c.min, c.max);
                DialogDriver::Click(dialog, IDCANCEL);
            });
        }
        EXPECT_EQ(Run(entry), c.result);
        EXPECT_EQ(seen.text, c.message ? c.message : L"");
        EXPECT_EQ(seen.icon, c.message ? IDI_EXCLAMATION : nullptr);
        EXPECT_EQ(seen.buttons, c.message ? std::vector<int>{IDOK} : std::vector<int>{});
        if (c.result == 0) {
            EXPECT_TRUE(entry.Equals(before));
            EXPECT_EQ(entry.flags, before.flags);
            EXPECT_EQ(Each(entry, &ActionSlot::params), blocks);
            continue;
        }
        EXPECT_EQ(*entry.path, logs);
        EXPECT_EQ(entry.flags, (c.min.on ? FolderEntry::HasMin : 0u) | (c.max.on ? FolderEntry::HasMax : 0u));
        const std::tuple<SizeLimit, LimitInput, uint64_t> stored[] = {{entry.min, c.min, c.minBytes},
                                                                      {entry.max, c.max, c.maxBytes}};
        for (const auto& [limit, input, bytes] : stored) {
            if (input.on) {
                EXPECT_EQ(limit.value, input.number);
                EXPECT_EQ(limit.units, input.unit);
                EXPECT_EQ(limit.msg.value_or(L"(none)"), input.text);
                EXPECT_EQ(limit.bytes, bytes);
            }
        }
        EXPECT_EQ(Each(entry, &ActionSlot::kind), std::vector<Action*>{Kind(kRun)});
    }
}

// "&Add..." offers the kinds below the button, greying a unique kind already
// held; "Run application" goes through the real Run dialog (a cancelled one or
// a dismissed menu adds nothing; "&Edit..." and a double-click edit it).
// "&Edit..." is enabled only for an editable action; "&Remove" takes the
// selected one. (The colours of labels and selected rows are the Run dialog's
// and the list view's own tests.)
TEST_F(FolderDialogTest, ActionsAreAddedEditedAndRemoved)
{
    FolderEntry entry;
    Prepare(entry, {kMessage});
    MenuInfo menus[3];
    RECT add{};
    auto answerRun = [](const wchar_t* shownPath, const wchar_t* path, const wchar_t* params, int button) {
        return [=](HWND run) {
            EXPECT_EQ(Text(run, IDC_RUN_PATH), shownPath);
            SetDlgItemTextW(run, IDC_RUN_PATH, path);
            SetDlgItemTextW(run, IDC_RUN_PARAMS, params);
            DialogDriver::Click(run, button);
        };
    };
    driver.Expect(kCaption, [&](HWND dialog) {
        EXPECT_FALSE(Enabled(dialog, IDC_EDIT));
        GetWindowRect(GetDlgItem(dialog, IDC_ADD), &add);
        DialogDriver::Click(dialog, IDC_ADD);
    });
    driver.ChooseFromMenu(kLog, &menus[0]).Expect(kCaption, Pressing(IDC_ADD)).ChooseFromMenu(kRun, &menus[1]);
    driver.Expect(kRunCaption, answerRun(L"", kNotepad, L"-a", IDOK)).Expect(kCaption, Pressing(IDC_ADD));
    driver.ChooseFromMenu(kRun, &menus[2]).Expect(kRunCaption, answerRun(L"", kRegedit, L"-n", IDCANCEL));
    driver.Expect(kCaption, Pressing(IDC_ADD)).ChooseFromMenu(DialogDriver::kDismissMenu);
    driver.Expect(kCaption, [&](HWND dialog) {
        const HWND list = GetDlgItem(dialog, IDC_ACTION_LIST);
        for (auto [row, editable] : {std::pair{2, true}, {0, false}, {1, false}, {2, true}, {-1, false}}) {
            SelectRow(list, row);  // only the Run action is editable
            EXPECT_EQ(Enabled(dialog, IDC_EDIT), editable) << "row " << row;
        }
        Press(dialog, IDC_REMOVE);
        EXPECT_EQ(ListView_GetItemCount(list), 3) << "Remove without a selection";
        SelectRow(list, 2);
        DialogDriver::Click(dialog, IDC_EDIT);
    });
    driver.Expect(kRunCaption, answerRun(kNotepad, kRegedit, L"-e", IDCANCEL)).Expect(kCaption, [](HWND dialog) {
        const HWND list = GetDlgItem(dialog, IDC_ACTION_LIST);
        RECT row{};
        ListView_GetItemRect(list, 2, &row, LVIR_BOUNDS);
        PostMessageW(list, WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(row.left + 5, row.top + 5));
        PostMessageW(list, WM_LBUTTONUP, 0, MAKELPARAM(row.left + 5, row.top + 5));
    });
    driver.Expect(kRunCaption, answerRun(kNotepad, kRegedit, L"-d", IDOK)).Expect(kCaption, [](HWND dialog) {
        SelectRow(GetDlgItem(dialog, IDC_ACTION_LIST), 1);
        Press(dialog, IDC_REMOVE);
        DialogDriver::Click(dialog, IDOK);
    });
    EXPECT_EQ(Run(entry), 1);
    EXPECT_EQ(menus[0].texts, (std::vector<std::wstring>{L"Show message", L"Add to log", L"Run application"}));
    EXPECT_EQ(std::pair(menus[0].topLeft.x, menus[0].topLeft.y), std::pair(add.left, add.bottom));
    EXPECT_EQ(menus[0].states, (std::vector<UINT>{kGreyed, 0, 0}));
    EXPECT_EQ(menus[1].states, (std::vector<UINT>{kGreyed, kGreyed, 0}));
    EXPECT_EQ(menus[2].states, (std::vector<UINT>{kGreyed, kGreyed, 0})) << "Run application stays on offer";
    EXPECT_EQ(Each(entry, &ActionSlot::kind), (std::vector<Action*>{Kind(kMessage), Kind(kRun)}));
    const auto* stored = static_cast<const RunParams*>(entry.actions.at(1).params);
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->path, kRegedit);
    EXPECT_EQ(stored->params, L"-d");
}

} // namespace
} // namespace krn::test
