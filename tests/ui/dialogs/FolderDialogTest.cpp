// The folder properties dialog, run modally on a real entry and driven the way
// a user drives it: typing, ticking boxes, picking units, choosing from the
// "&Add..." menu, pressing buttons, answering message boxes and the Run dialog.
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

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace krn::test {
namespace {

constexpr wchar_t kCaption[] = L"Folder properties";
constexpr wchar_t kRunCaption[] = L"Run ...";
constexpr wchar_t kBoxCaption[] = L"Kestrune™ Properties x64";
constexpr wchar_t kNotAFolder[] = L"Selected path is not a valid folder.\nPlease select a valid folder and try again.";
constexpr wchar_t kZeroLimit[] =
    L"Maximum limit should be higher than 0 bytes.\nPlease correct this error and try again.";
constexpr wchar_t kNoLimit[] = L"Invalid limits.\nPlease correct this error and try again";
constexpr wchar_t kMaxNotAboveMin[] =
    L"Maximum limit should be higher than minimum limit.\nPlease correct this error and try again.";
constexpr wchar_t kNoAction[] = L"You must select at least one action.\nPlease correct this error and try again.";
constexpr UINT kGreyed = MF_GRAYED | MF_DISABLED;

enum KindIndex { kMessage, kLog, kRun };  // registry order

// Inside a driver step; none of these opens a modal loop.
std::wstring Text(HWND dialog, int id) { return WindowText(GetDlgItem(dialog, id)); }
bool Enabled(HWND dialog, int id) { return IsWindowEnabled(GetDlgItem(dialog, id)) != FALSE; }
bool Checked(HWND dialog, int id) { return IsDlgButtonChecked(dialog, id) == BST_CHECKED; }
LRESULT Send(HWND dialog, int id, UINT message, WPARAM wParam = 0, LPARAM lParam = 0)
{
    return SendDlgItemMessageW(dialog, id, message, wParam, lParam);
}
int RowCount(HWND dialog) { return static_cast<int>(Send(dialog, IDC_ACTION_LIST, LVM_GETITEMCOUNT)); }
void Press(HWND dialog, int id) { Send(dialog, id, BM_CLICK); }

// Selects exactly `row`, or nothing for -1.
void SelectRow(HWND dialog, int row)
{
    LVITEMW item{};
    item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
    Send(dialog, IDC_ACTION_LIST, LVM_SETITEMSTATE, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(&item));
    item.state = item.stateMask;
    if (row >= 0)
        Send(dialog, IDC_ACTION_LIST, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

// One limit as the user enters it, and what the dialog must read from it.
struct LimitIds {
    int check, value, unit, text, label;
};
constexpr LimitIds kMinIds{IDC_MIN_CHECK, IDC_MIN_VALUE, IDC_MIN_UNIT, IDC_MIN_TEXT, IDC_MIN_TEXT_LABEL};
constexpr LimitIds kMaxIds{IDC_MAX_CHECK, IDC_MAX_VALUE, IDC_MAX_UNIT, IDC_MAX_TEXT, IDC_MAX_TEXT_LABEL};
struct LimitInput {
    bool on = false;
    const wchar_t* value = L"";
    int unit = SizeUnit_KB;
    const wchar_t* text = L"";
    double number = 0.0;
};
constexpr LimitInput kOff{};

void EnterLimit(HWND dialog, const LimitIds& ids, const LimitInput& input)
{
    if (Checked(dialog, ids.check) != input.on)
        Press(dialog, ids.check);
    if (!input.on)
        return;
    SetDlgItemTextW(dialog, ids.value, input.value);
    Send(dialog, ids.unit, CB_SETCURSEL, static_cast<WPARAM>(input.unit));
    const auto combo = reinterpret_cast<LPARAM>(GetDlgItem(dialog, ids.unit));
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(ids.unit, CBN_SELCHANGE), combo);
    SetDlgItemTextW(dialog, ids.text, input.text);
}

// The controls hold what was entered and are usable exactly while checked.
void ExpectLimitShown(HWND dialog, const LimitIds& ids, const LimitInput& input)
{
    EXPECT_EQ(Checked(dialog, ids.check), input.on);
    for (int id : {ids.value, ids.unit, ids.text, ids.label})
        EXPECT_EQ(Enabled(dialog, id), input.on) << "control " << id;
    if (!input.on)
        return;
    EXPECT_EQ(Text(dialog, ids.value), input.value);
    EXPECT_EQ(Send(dialog, ids.unit, CB_GETCURSEL), input.unit);
    EXPECT_EQ(Text(dialog, ids.text), input.text);
}

void ExpectLimitStored(const SizeLimit& limit, const LimitInput& input, uint64_t bytes)
{
    EXPECT_EQ(limit.value, input.number);
    EXPECT_EQ(limit.units, input.unit);
    EXPECT_EQ(limit.msg.value_or(L"(none)"), input.text);
    EXPECT_EQ(limit.bytes, bytes);
}

// Answers the popup menus TrackPopupMenu shows on this thread, in order. Its
// thread timer fires inside the menu's own loop (Wine dispatches timers
// there): it reads the items through MN_GETHMENU, then posts to the "#32768"
// window VK_DOWN onto the wanted item (a greyed item is moved onto too) and
// VK_RETURN, or VK_ESCAPE. Once the menu has gone, `then` runs on the dialog
// on top (DialogDriver does not act twice in a row on the same dialog).
class MenuDriver {
public:
    static constexpr int kDismiss = -1;
    struct Seen {
        std::vector<std::wstring> texts;
        std::vector<UINT> states;  // MF_GRAYED | MF_DISABLED bits
        POINT topLeft{};
    };
    MenuDriver() : timer_(SetTimer(nullptr, 0, 15, &MenuDriver::OnTimer)) { active = this; }
    ~MenuDriver()
    {
        KillTimer(nullptr, timer_);
        active = nullptr;
    }
    MenuDriver& Choose(int index, Seen* seen = nullptr, std::function<void(HWND)> then = {})
    {
        steps_.push_back({index, seen, std::move(then)});
        return *this;
    }
    size_t answered() const { return next_; }

private:
    struct Step {
        int index;
        Seen* seen;
        std::function<void(HWND)> then;
    };
    static void CALLBACK OnTimer(HWND, UINT, UINT_PTR, DWORD) { active->Tick(); }
    static HWND Find(const wchar_t* className)
    {
        for (HWND w = GetTopWindow(nullptr); w; w = GetWindow(w, GW_HWNDNEXT))
            if (GetWindowThreadProcessId(w, nullptr) == GetCurrentThreadId() && IsWindowVisible(w) &&
                ClassName(w) == className)
                return w;
        return nullptr;
    }
    void Tick()
    {
        const HWND menu = Find(L"#32768");
        if (picked_ && !menu) {  // gone: on to the next menu
            picked_ = false;
            started_ = GetTickCount();
            if (const auto& then = steps_[next_++].then)
                then(Find(L"#32770"));
        } else if (!picked_ && menu && next_ < steps_.size()) {
            Pick(menu, steps_[next_]);
            picked_ = true;
        } else if (!picked_ && next_ < steps_.size() && GetTickCount() - started_ > 10000) {
            ADD_FAILURE() << "no popup menu for step " << next_;
            EndDialog(Find(L"#32770"), IDCANCEL);
            started_ = GetTickCount();
        }
    }
    static void Pick(HWND menu, const Step& step)
    {
        const auto items = reinterpret_cast<HMENU>(SendMessageW(menu, MN_GETHMENU, 0, 0));
        for (UINT i = 0; step.seen && i < static_cast<UINT>(GetMenuItemCount(items)); ++i) {
            wchar_t text[64] = {};
            GetMenuStringW(items, i, text, 64, MF_BYPOSITION);
            step.seen->texts.push_back(text);
            step.seen->states.push_back(GetMenuState(items, i, MF_BYPOSITION) & kGreyed);
        }
        RECT r{};
        GetWindowRect(menu, &r);
        if (step.seen)
            step.seen->topLeft = {r.left, r.top};
        for (int i = 0; i <= step.index; ++i)
            PostMessageW(menu, WM_KEYDOWN, VK_DOWN, 0);
        PostMessageW(menu, WM_KEYDOWN, step.index == kDismiss ? VK_ESCAPE : VK_RETURN, 0);
    }
    static inline MenuDriver* active = nullptr;
    std::vector<Step> steps_;
    size_t next_ = 0;
    bool picked_ = false;
    DWORD started_ = GetTickCount();
    UINT_PTR timer_;
};

class FolderDialogTest : public ::testing::Test {
protected:
    FolderDialogTest() { AddStandardKinds(kinds, GetModuleHandleW(nullptr)); }
    Action* Kind(KindIndex index) const { return kinds.KindAt(index); }

    // The scratch folder with a maximum of 1 GB and actions of the given
    // kinds; a Run action starts notepad.
    void Prepare(FolderEntry& entry, std::initializer_list<KindIndex> actions) const
    {
        entry.path = folder.path();
        entry.flags = FolderEntry::HasMax;
        entry.max = {1.0, SizeUnit_GB, 0, L"full"};
        for (KindIndex index : actions) {
            void* block = nullptr;
            const RunParams notepad{L"C:\\windows\\notepad.exe", L"-x"};
            if (index == kRun)
                Kind(kRun)->CloneParams(&block, &notepad);
            entry.actions.emplace_back(block, Kind(index));
        }
    }
    static RunParams Params(const ActionSlot& slot)
    {
        return slot.params ? *static_cast<const RunParams*>(slot.params) : RunParams{L"(no block)", L""};
    }
    INT_PTR Run(FolderEntry& entry, const DialogDriver& driver) const
    {
        FolderDialog dialog(kinds);
        const INT_PTR result = dialog.Run(nullptr, &entry);
        EXPECT_EQ(driver.Report(), "");
        return result;
    }

    ActionKindRegistry kinds;
    TempFolder folder;
};

template <typename T>
std::vector<T> Each(const FolderEntry& entry, T ActionSlot::*field)
{
    std::vector<T> values;
    for (const ActionSlot& slot : entry.actions)
        values.push_back(slot.*field);
    return values;
}

// Nothing of an entry changed: its values, its flags and its very blocks.
struct Untouched {
    explicit Untouched(const FolderEntry& entry)
        : copy(entry), flags(entry.flags), blocks(Each(entry, &ActionSlot::params))
    {
    }
    void Expect(const FolderEntry& entry) const
    {
        EXPECT_TRUE(entry.Equals(copy));
        EXPECT_EQ(entry.flags, flags);
        EXPECT_EQ(Each(entry, &ActionSlot::params), blocks);
    }
    FolderEntry copy;
    uint32_t flags;
    std::vector<void*> blocks;
};

// A new entry with a path: the path and its last component in the header,
// both limits off, no actions. Then the header follows the path as typed or
// as dropped (only a folder counts, and only the first name).
TEST_F(FolderDialogTest, NewEntryStartsEmptyAndTheHeaderFollowsThePath)
{
    const std::wstring file = folder / L"notes.txt";
    WriteFileBytes(file, "x");
    const std::wstring logs = folder / L"Logs";
    CreateDirectoryW(logs.c_str(), nullptr);
    const struct {
        std::vector<std::wstring> dropped;  // none: the path is typed
        std::wstring path;
        std::wstring header;
    } cases[] = {
        {{}, L"C:\\Data\\Logs", L"Logs"},
        {{}, L"C:\\Data\\Logs\\", L"Logs"},
        {{}, L"C:\\", L"C:"},
        {{}, L"Logs", L"Logs"},
        {{file, logs}, L"Logs", L"Logs"},
        {{logs, file}, logs, L"Logs"},
        {{folder / L"gone"}, logs, L"Logs"},
    };
    FolderEntry entry;
    entry.path = folder.path() + L"\\";
    DialogDriver driver;
    driver.Expect(kCaption, [&](HWND dialog) {
        EXPECT_EQ(Text(dialog, IDC_FOLDER_PATH), *entry.path);
        EXPECT_EQ(Text(dialog, IDC_HEADER_TITLE), folder.path().substr(folder.path().rfind(L'\\') + 1));
        ExpectLimitShown(dialog, kMinIds, kOff);
        ExpectLimitShown(dialog, kMaxIds, kOff);
        EXPECT_EQ(Send(dialog, IDC_MIN_UNIT, CB_GETCURSEL), SizeUnit_KB);
        EXPECT_EQ(Send(dialog, IDC_MAX_UNIT, CB_GETCURSEL), SizeUnit_KB);
        EXPECT_EQ(Send(dialog, IDC_MAX_UNIT, CB_GETCOUNT), 5);
        EXPECT_EQ(RowCount(dialog), 0);
        EXPECT_FALSE(Enabled(dialog, IDC_EDIT));
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::PrintToString(c.path));
            if (c.dropped.empty())
                SetDlgItemTextW(dialog, IDC_FOLDER_PATH, c.path.c_str());
            else
                SendMessageW(dialog, WM_DROPFILES, reinterpret_cast<WPARAM>(MakeDrop(c.dropped)), 0);
            EXPECT_EQ(Text(dialog, IDC_FOLDER_PATH), c.path);
            EXPECT_EQ(Text(dialog, IDC_HEADER_TITLE), c.header);
        }
        DialogDriver::Click(dialog, IDCANCEL);
    });
    EXPECT_EQ(Run(entry, driver), 0);
    EXPECT_EQ(*entry.path, folder.path() + L"\\");
}

// OK on an entry shown as stored changes nothing; Cancel, Esc and the close
// box end with 0 whatever was changed.
TEST_F(FolderDialogTest, OkWithoutChangesAndCancellingLeaveTheEntryUntouched)
{
    const struct {
        const char* name;
        bool change;
        void (*end)(HWND dialog);
    } cases[] = {
        {"OK, nothing changed", false, [](HWND dialog) { DialogDriver::Click(dialog, IDOK); }},
        {"Cancel", true, [](HWND dialog) { DialogDriver::Click(dialog, IDCANCEL); }},
        {"Esc", true, [](HWND dialog) { PostMessageW(GetDlgItem(dialog, IDC_FOLDER_PATH), WM_KEYDOWN, VK_ESCAPE, 0); }},
        {"close box", true, [](HWND dialog) { PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FolderEntry entry;
        Prepare(entry, {kRun, kMessage});
        entry.flags |= FolderEntry::HasMin;
        entry.min = {1.5, SizeUnit_MB, 0, L"low"};
        const Untouched before(entry);
        DialogDriver driver;
        driver.Expect(kCaption, [&](HWND dialog) {
            EXPECT_EQ(Text(dialog, IDC_FOLDER_PATH), folder.path());
            ExpectLimitShown(dialog, kMinIds, {true, L"1.50", SizeUnit_MB, L"low"});
            ExpectLimitShown(dialog, kMaxIds, {true, L"1.00", SizeUnit_GB, L"full"});
            EXPECT_EQ(RowCount(dialog), 2);
            if (c.change) {
                SetDlgItemTextW(dialog, IDC_FOLDER_PATH, L"C:\\");
                EnterLimit(dialog, kMinIds, kOff);
                SelectRow(dialog, 0);
                Press(dialog, IDC_REMOVE);
                SetFocus(GetDlgItem(dialog, IDC_FOLDER_PATH));
            }
            c.end(dialog);
        });
        EXPECT_EQ(Run(entry, driver), 0);
        before.Expect(entry);
    }
}

// All problems at once, put right one after another: each OK names the first
// one left, and the dialog keeps everything as entered.
TEST_F(FolderDialogTest, ProblemsAreReportedInOrderAndTheInputStays)
{
    FolderEntry entry;
    Prepare(entry, {kLog});
    const Untouched before(entry);
    const struct Stage {
        std::wstring path;
        LimitInput min, max;
        bool removeAction;
        const wchar_t* message;
    } stages[] = {
        {folder / L"missing", {true, L"abc", SizeUnit_MB, L"low"}, {true, L"0", SizeUnit_GB}, false, kNotAFolder},
        {folder.path(), {true, L"abc", SizeUnit_MB, L"low"}, {true, L"0", SizeUnit_GB}, false, kZeroLimit},
        {folder.path(), {true, L"1", SizeUnit_MB, L"low"}, {true, L"0", SizeUnit_GB}, false, kZeroLimit},
        {folder.path(), kOff, kOff, false, kNoLimit},
        {folder.path(), {true, L"-5", SizeUnit_KB, L"low"}, {true, L"5", SizeUnit_KB}, false, kNoLimit},
        {folder.path(), {true, L"10", SizeUnit_KB, L"low"}, {true, L"10240", SizeUnit_B}, false, kMaxNotAboveMin},
        {folder.path(), {true, L"1", SizeUnit_MB, L"low"}, {true, L"1.5", SizeUnit_MB}, true, kNoAction},
    };
    std::vector<MessageBoxInfo> seen(std::size(stages));
    const Stage* shown = nullptr;
    auto expectShown = [&](HWND dialog) {
        EXPECT_EQ(Text(dialog, IDC_FOLDER_PATH), shown->path);
        ExpectLimitShown(dialog, kMinIds, shown->min);
        ExpectLimitShown(dialog, kMaxIds, shown->max);
        EXPECT_EQ(RowCount(dialog), shown->removeAction ? 0 : 1);
    };
    DialogDriver driver;
    for (size_t i = 0; i < std::size(stages); ++i) {
        driver.Expect(kCaption, [&, i](HWND dialog) {
            if (shown)
                expectShown(dialog);
            SetDlgItemTextW(dialog, IDC_FOLDER_PATH, stages[i].path.c_str());
            EnterLimit(dialog, kMinIds, stages[i].min);
            EnterLimit(dialog, kMaxIds, stages[i].max);
            if (stages[i].removeAction) {
                SelectRow(dialog, 0);
                Press(dialog, IDC_REMOVE);
            }
            shown = &stages[i];
            DialogDriver::Click(dialog, IDOK);
        });
        driver.AnswerMessageBox(kBoxCaption, IDOK, &seen[i]);
    }
    driver.Expect(kCaption, [&](HWND dialog) {
        expectShown(dialog);
        DialogDriver::Click(dialog, IDCANCEL);
    });
    EXPECT_EQ(Run(entry, driver), 0);
    before.Expect(entry);
    for (size_t i = 0; i < std::size(stages); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(seen[i].caption, kBoxCaption);
        EXPECT_EQ(seen[i].text, stages[i].message);
        EXPECT_EQ(seen[i].buttons, std::vector<int>{IDOK});
        EXPECT_EQ(seen[i].icon, IDI_EXCLAMATION);
    }
}

// Accepted limits are stored as entered, with byte counts only when both are
// set; a negative limit alone passes.
TEST_F(FolderDialogTest, AcceptedLimitsAreStoredAsEntered)
{
    const struct {
        const char* name;
        LimitInput min, max;
        uint64_t minBytes, maxBytes;
    } cases[] = {
        {"1 MB and 1.5 MB", {true, L"1", SizeUnit_MB, L"low", 1}, {true, L"1.5", SizeUnit_MB, L"hi", 1.5}, 1048576,
         1572864},
        {"-5 KB alone", {true, L"-5", SizeUnit_KB, L"", -5}, kOff, 0, 0},
        {"3 KB maximum alone", kOff, {true, L" 3e0", SizeUnit_TB, L"x", 3}, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FolderEntry entry;
        Prepare(entry, {kMessage});
        DialogDriver driver;
        driver.Expect(kCaption, [&](HWND dialog) {
            EnterLimit(dialog, kMinIds, c.min);
            EnterLimit(dialog, kMaxIds, c.max);
            DialogDriver::Click(dialog, IDOK);
        });
        EXPECT_EQ(Run(entry, driver), 1);
        EXPECT_EQ(entry.flags, (c.min.on ? FolderEntry::HasMin : 0u) | (c.max.on ? FolderEntry::HasMax : 0u));
        if (c.min.on)
            ExpectLimitStored(entry.min, c.min, c.minBytes);
        if (c.max.on)
            ExpectLimitStored(entry.max, c.max, c.maxBytes);
        EXPECT_EQ(Each(entry, &ActionSlot::kind), std::vector<Action*>{Kind(kMessage)});
    }
}

// A new folder filled in from scratch: limits typed, actions chosen from the
// "&Add..." menu, which greys a unique kind the folder already holds.
TEST_F(FolderDialogTest, NewFolderTakesWhatWasEnteredAndTheMenuGreysHeldUniqueKinds)
{
    FolderEntry entry;
    entry.path = folder.path();
    const LimitInput min{true, L"1.5", SizeUnit_MB, L"low", 1.5};
    const LimitInput max{true, L"2", SizeUnit_GB, L"high", 2.0};
    MenuDriver::Seen seen[3];
    RECT add{};
    DialogDriver driver;
    driver.Expect(kCaption, [&](HWND dialog) {
        EnterLimit(dialog, kMinIds, min);
        EnterLimit(dialog, kMaxIds, max);
        GetWindowRect(GetDlgItem(dialog, IDC_ADD), &add);
        DialogDriver::Click(dialog, IDC_ADD);
    });
    auto clickAdd = [](HWND dialog) { DialogDriver::Click(dialog, IDC_ADD); };
    MenuDriver menus;
    menus.Choose(kMessage, &seen[0], clickAdd).Choose(kLog, &seen[1], clickAdd);
    menus.Choose(MenuDriver::kDismiss, &seen[2], [](HWND dialog) {
        EXPECT_EQ(RowCount(dialog), 2);
        DialogDriver::Click(dialog, IDOK);
    });
    EXPECT_EQ(Run(entry, driver), 1);
    ASSERT_EQ(menus.answered(), 3u);
    const std::vector<UINT> states[] = {{0, 0, 0}, {kGreyed, 0, 0}, {kGreyed, kGreyed, 0}};
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(seen[i].texts, (std::vector<std::wstring>{L"Show message", L"Add to log", L"Run application"}));
        EXPECT_EQ(seen[i].states, states[i]);
        EXPECT_EQ(seen[i].topLeft.x, add.left);
        EXPECT_EQ(seen[i].topLeft.y, add.bottom);
    }
    EXPECT_EQ(*entry.path, folder.path());
    EXPECT_EQ(entry.flags, FolderEntry::HasMin | FolderEntry::HasMax);
    ExpectLimitStored(entry.min, min, 1572864);
    ExpectLimitStored(entry.max, max, 2147483648);
    EXPECT_EQ(Each(entry, &ActionSlot::kind), (std::vector<Action*>{Kind(kMessage), Kind(kLog)}));
}

// "&Edit..." is enabled only while an editable action is selected; "&Remove"
// takes the first selected one without asking, and nothing when none is.
TEST_F(FolderDialogTest, EditFollowsTheSelectionAndRemoveTakesTheSelectedAction)
{
    FolderEntry entry;
    Prepare(entry, {kMessage, kRun, kLog});
    const struct {
        int row;
        bool editable;
    } selections[] = {{1, true}, {0, false}, {2, false}, {1, true}, {-1, false}};
    DialogDriver driver;
    driver.Expect(kCaption, [&](HWND dialog) {
        EXPECT_FALSE(Enabled(dialog, IDC_EDIT));
        for (const auto& s : selections) {
            SelectRow(dialog, s.row);
            EXPECT_EQ(Enabled(dialog, IDC_EDIT), s.editable) << "row " << s.row;
        }
        Press(dialog, IDC_REMOVE);
        EXPECT_EQ(RowCount(dialog), 3) << "nothing selected, nothing removed";
        SelectRow(dialog, 2);
        Press(dialog, IDC_REMOVE);
        EXPECT_EQ(RowCount(dialog), 2);
        DialogDriver::Click(dialog, IDOK);
    });
    EXPECT_EQ(Run(entry, driver), 1);
    EXPECT_EQ(Each(entry, &ActionSlot::kind), (std::vector<Action*>{Kind(kMessage), Kind(kRun)}));
    EXPECT_EQ(Params(entry.actions.at(1)).path, L"C:\\windows\\notepad.exe");
}

// "Run application" through the real Run dialog: added (and offered again),
// a second one cancelled, the first edited and cancelled from "&Edit...",
// then changed from a double-click.
TEST_F(FolderDialogTest, RunActionsAreAddedEditedAndCancelledThroughTheRunDialog)
{
    FolderEntry entry;
    Prepare(entry, {kMessage});
    MenuDriver::Seen offered;
    auto fill = [](const wchar_t* path, const wchar_t* params, int button) {
        return [=](HWND run) {
            SetDlgItemTextW(run, IDC_RUN_PATH, path);
            SetDlgItemTextW(run, IDC_RUN_PARAMS, params);
            DialogDriver::Click(run, button);
        };
    };
    DialogDriver driver;
    driver.Expect(kCaption, [](HWND dialog) { DialogDriver::Click(dialog, IDC_ADD); })
        .Expect(kRunCaption, fill(L"C:\\windows\\notepad.exe", L"-a", IDOK))
        .Expect(kCaption, [](HWND dialog) {
            EXPECT_EQ(RowCount(dialog), 2);
            DialogDriver::Click(dialog, IDC_ADD);
        })
        .Expect(kRunCaption, [&](HWND run) {
            EXPECT_EQ(Text(run, IDC_RUN_PATH), L"");
            fill(L"C:\\windows\\regedit.exe", L"-n", IDCANCEL)(run);
        })
        .Expect(kCaption, [](HWND dialog) {
            EXPECT_EQ(RowCount(dialog), 2) << "a cancelled new action is not added";
            SelectRow(dialog, 1);
            DialogDriver::Click(dialog, IDC_EDIT);
        })
        .Expect(kRunCaption, [&](HWND run) {
            EXPECT_EQ(Text(run, IDC_RUN_PATH), L"C:\\windows\\notepad.exe");
            EXPECT_EQ(Text(run, IDC_RUN_PARAMS), L"-a");
            fill(L"C:\\windows\\regedit.exe", L"-e", IDCANCEL)(run);
        })
        .Expect(kCaption, [](HWND dialog) {
            RECT row{LVIR_BOUNDS};
            Send(dialog, IDC_ACTION_LIST, LVM_GETITEMRECT, 1, reinterpret_cast<LPARAM>(&row));
            const HWND list = GetDlgItem(dialog, IDC_ACTION_LIST);
            PostMessageW(list, WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(row.left + 5, row.top + 5));
            PostMessageW(list, WM_LBUTTONUP, 0, MAKELPARAM(row.left + 5, row.top + 5));
        })
        .Expect(kRunCaption, [&](HWND run) {
            EXPECT_EQ(Text(run, IDC_RUN_PATH), L"C:\\windows\\notepad.exe") << "the cancelled edit kept the old path";
            fill(L"C:\\windows\\regedit.exe", L"-d", IDOK)(run);
        })
        .Expect(kCaption, [](HWND dialog) { DialogDriver::Click(dialog, IDOK); });
    MenuDriver menus;
    menus.Choose(kRun).Choose(kRun, &offered);
    EXPECT_EQ(Run(entry, driver), 1);
    EXPECT_EQ(offered.states, (std::vector<UINT>{kGreyed, 0, 0}));
    EXPECT_EQ(Each(entry, &ActionSlot::kind), (std::vector<Action*>{Kind(kMessage), Kind(kRun)}));
    const RunParams stored = Params(entry.actions.at(1));
    EXPECT_EQ(stored.path, L"C:\\windows\\regedit.exe");
    EXPECT_EQ(stored.params, L"-d");
}

// "..." opens the shell's folder browser, owned by the dialog, with its title
// and without a new-folder button; the folder chosen there (Wine's browser
// starts on the desktop) replaces the path, a cancelled browse leaves it.
TEST_F(FolderDialogTest, BrowsingReplacesThePathWithTheChosenFolder)
{
    wchar_t desktop[MAX_PATH] = {};
    SHGetFolderPathW(nullptr, CSIDL_DESKTOPDIRECTORY, nullptr, 0, desktop);
    FolderEntry entry;
    Prepare(entry, {kMessage});
    HWND folderDialog = nullptr;
    auto browse = [&](HWND dialog) {
        folderDialog = dialog;
        DialogDriver::Click(dialog, IDC_BROWSE);
    };
    auto answer = [&](int button) {
        return [&, button](HWND browser) {
            EXPECT_EQ(GetWindow(browser, GW_OWNER), folderDialog);
            EXPECT_TRUE(FindWindowExW(browser, nullptr, L"Static", L"Select folder."));
            EXPECT_FALSE(IsWindowVisible(FindWindowExW(browser, nullptr, L"Button", L"&Make New Folder")));
            DialogDriver::Click(browser, button);
        };
    };
    DialogDriver driver;
    driver.Expect(kCaption, browse).Expect(L"Browse for Folder", answer(IDOK));
    driver.Expect(kCaption, [&](HWND dialog) {
        EXPECT_EQ(Text(dialog, IDC_FOLDER_PATH), desktop);
        SetDlgItemTextW(dialog, IDC_FOLDER_PATH, L"C:\\");
        browse(dialog);
    });
    driver.Expect(L"Browse for Folder", answer(IDCANCEL)).Expect(kCaption, [](HWND dialog) {
        EXPECT_EQ(Text(dialog, IDC_FOLDER_PATH), L"C:\\");
        DialogDriver::Click(dialog, IDCANCEL);
    });
    EXPECT_EQ(Run(entry, driver), 0);
}

// The white header band over the body colour, the texts on their own
// backgrounds, and a selected action on the body colour, as on screen. (A Run
// action is there for whoever looks at the picture: its icon and path.)
TEST_F(FolderDialogTest, LooksLikeTheOtherDialogs)
{
    FolderEntry entry;
    Prepare(entry, {kMessage, kLog, kRun});
    Pixels shot;
    RECT title{}, label{}, line{}, rows[2]{};
    DialogDriver driver;
    driver.Expect(kCaption, [&](HWND dialog) {
        auto placed = [dialog](int id) {
            RECT r{};
            GetWindowRect(GetDlgItem(dialog, id), &r);
            MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&r), 2);
            return r;
        };
        title = placed(IDC_HEADER_TITLE);
        label = placed(IDC_FOLDER_GROUP);
        line = placed(IDC_HEADER_LINE);
        for (int i = 0; i < 2; ++i) {
            rows[i].left = LVIR_BOUNDS;
            Send(dialog, IDC_ACTION_LIST, LVM_GETITEMRECT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&rows[i]));
            MapWindowPoints(GetDlgItem(dialog, IDC_ACTION_LIST), dialog, reinterpret_cast<POINT*>(&rows[i]), 2);
        }
        SelectRow(dialog, 1);
        // Wine's PrintWindow leaves the controls out: the screen it is, uncovered.
        SetWindowPos(dialog, HWND_TOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
        RedrawWindow(dialog, nullptr, nullptr, RDW_ERASE | RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
        shot = CaptureScreen(dialog);
        DialogDriver::Click(dialog, IDCANCEL);
    });
    EXPECT_EQ(Run(entry, driver), 0);
    ASSERT_FALSE(shot.empty());
    if (const char* dir = std::getenv("KRN_CAPTURE_DIR"))  // to look at it
        shot.Save(std::wstring(dir, dir + strlen(dir)) + L"\\folder-dialog.bmp");
    const COLORREF white = RGB(0xFF, 0xFF, 0xFF), body = RGB(0x8A, 0xA6, 0xD6);
    const struct {
        const char* where;
        LONG x, y;
        COLORREF colour;
    } points[] = {
        {"header band", shot.width() - 4, 3, white},
        {"header title past its text", title.right - 3, title.bottom - 2, white},
        {"body below the band", shot.width() / 2, line.bottom + 1, body},
        {"body, bottom left", 3, shot.height() - 3, body},
        {"section label past its text", label.right - 3, label.bottom - 2, body},
        {"selected action past its text", rows[1].right - 20, (rows[1].top + rows[1].bottom) / 2, body},
        {"other action past its text", rows[0].right - 20, (rows[0].top + rows[0].bottom) / 2,
         GetSysColor(COLOR_WINDOW)},
    };
    for (const auto& p : points)
        EXPECT_EQ(shot.at(p.x, p.y), p.colour) << p.where << " at " << p.x << "," << p.y;
}

} // namespace
} // namespace krn::test
