// The status line and the Size column of the real main window against the real
// watcher and size engine: the watcher's state read from its presence mutex,
// the switch off and on with its question and its wait, and Apply, which has a
// running watcher read config.xml again and never starts one; the engine's
// totals, with no engine registered and with a folder on storage that takes
// seconds to answer.
#include "MainWindowFixture.h"

#include "../../app/ChildProcess.h"
#include "Kestrune.h"
#include "base/Com.h"
#include "base/Handles.h"
#include "config/Locations.h"
#include "support/History.h"
#include "support/SlowStorage.h"

#include <algorithm>
#include <optional>

namespace {

using namespace krn::test;
using krn::MonitorControl;

constexpr wchar_t kShellFolders[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";

// The watcher reads the prefix's own HKEY_CURRENT_USER: while a test runs, its
// AppData folder is the test's, and the value found is put back afterwards.
class MonitorControlTest : public MainWindowTest {
protected:
    void SetUp() override
    {
        StopWatcher();
        InRealHkcu([&] {
            appData_.emplace(kShellFolders, L"AppData");
            WriteRegString(kShellFolders, L"AppData", scratch.appData());
        });
    }
    void TearDown() override
    {
        StopWatcher();
        InRealHkcu([&] { appData_.reset(); });
    }
    void InRealHkcu(const std::function<void()>& act) const
    {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        act();
        RegOverridePredefKey(HKEY_CURRENT_USER, scratch.key());
    }

    std::wstring Status() const { return WindowText(item(IDC_STATUS_LINK)); }
    std::wstring SizeCell(int row) const { return Cell(row, krn::kColumnSize); }
    void Refresh() const { SendMessageW(window(), WM_TIMER, MonitorControl::kRefreshTimer, 0); }
    // Refreshes as the timer does until `done`.
    bool RefreshUntil(const std::function<bool()>& done) const
    {
        return PumpUntil([&] { return Refresh(), done(); }, 10000);
    }
    // Whether the link, as it is on screen, shows any pixel of `color`.
    bool LinkShows(COLORREF color) const
    {
        RedrawWindow(item(IDC_STATUS_LINK), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        const Pixels pixels = CaptureScreen(item(IDC_STATUS_LINK));
        int i = 0;
        while (i < pixels.width() * pixels.height() && pixels.at(i % pixels.width(), i / pixels.width()) != color)
            ++i;
        return i < pixels.width() * pixels.height();
    }
    // Clicks the status link and expects the question about disabling.
    void AnswerDisable(int answer) const
    {
        ExpectBox(Answering({answer}, [&] { Command(IDC_STATUS_LINK); }).at(0),
                  L"Are you sure you want to disable Kestrune™?\nDisabled program will not alert you if a folder "
                  L"size exceeds specified limits.",
                  {IDYES, IDNO}, IDI_QUESTION);
    }

    TempFolder counted;
    std::optional<RegValueGuard> appData_;
};

// Apply saves without starting a watcher. On: a click starts the watcher
// without a question; the link waits, greyed, until a refresh sees it running,
// or until the minute's timer lets it take clicks again while it still says
// "Please wait ...". Apply then has the running watcher read the file again.
// Off: the question; No changes nothing, Yes disables.
TEST_F(MonitorControlTest, SwitchingOnAndOffAsksBeforeDisablingAndApplyReloadsARunningWatcher)
{
    WriteConfig(FolderXml("C:\\one") + FolderXml("C:\\two"));
    ASSERT_TRUE(Open());
    ShowWindow(window(), SW_SHOWNA);
    EXPECT_EQ(Status(), L"Inactive") << "the first refresh runs at once";
    EXPECT_TRUE(LinkShows(RGB(0x64, 0x00, 0x00))) << "dark red";
    DeleteRow(0);
    Command(IDC_APPLY);
    EXPECT_FALSE(ApplyEnabled()) << "saved";
    EXPECT_FALSE(WatcherRunning()) << "Apply started a watcher";
    Command(IDC_STATUS_LINK);
    EXPECT_EQ(Status(), L"Please wait ...");
    EXPECT_TRUE(LinkShows(RGB(0x64, 0x64, 0x64))) << "grey";
    EXPECT_TRUE(WatcherRunning());
    {
        DialogDriver nothing(1500);
        Command(IDC_STATUS_LINK);
        EXPECT_EQ(nothing.Report(), "") << "a click while busy asks nothing";
    }
    SendMessageW(window(), WM_TIMER, MonitorControl::kSwitchTimer, 0);
    EXPECT_EQ(Status(), L"Please wait ...") << "not seen by a refresh yet";
    AnswerDisable(IDNO);  // the running watcher is asked about, and No keeps it
    ASSERT_TRUE(RefreshUntil([&] { return Status() == L"Active"; }));
    EXPECT_TRUE(LinkShows(RGB(0x00, 0x64, 0x00))) << "dark green";
    {
        base::com_ptr<IWatcherControl> watcher;
        ASSERT_EQ(CreateWatcher(watcher), S_OK);
        EXPECT_EQ(State(watcher.get()), KRN_WATCHER_WATCHING) << "the saved file's one folder";
        DeleteRow(0);
        Command(IDC_APPLY);
        EXPECT_EQ(State(watcher.get()), KRN_WATCHER_IDLE) << "the watcher did not read the file Apply saved";
    }
    AnswerDisable(IDYES);
    EXPECT_EQ(Status(), L"Please wait ...");
    ASSERT_TRUE(RefreshUntil([&] { return Status() == L"Inactive"; }));
    EXPECT_FALSE(WatcherRunning());
}

// Each refresh asks the engine anew: an engine unregistered meanwhile gives
// no size and no error, and one registered again counts at the next refresh.
TEST_F(MonitorControlTest, WithoutARegisteredEngineEverySizeReadsZeroUntilItIsRegisteredAgain)
{
    WriteFileBytes(counted / L"a.bin", std::string(5000, 'k'));
    WriteConfig(FolderXml(Narrow(counted.path())) + FolderXml("C:\\windows"));
    ASSERT_TRUE(Open());
    ASSERT_TRUE(RefreshUntil([&] { return SizeCell(0) == L"4.88 KB"; })) << "5,000 bytes: " << SizeCell(0);
    {
        // Unregistering ends the engine that counted them.
        ServerUnregistered unregistered(WindowsPath(KRN_SIZE_ENGINE_EXE));
        // Long enough for the engine to have counted the folder, were it there.
        for (int i = 0; i < 5; ++i) {
            Refresh();
            PumpUntil([] { return false; }, 200);
        }
        EXPECT_EQ(SizeCell(0), L"0 B");
        EXPECT_EQ(SizeCell(1), L"0 B");
        EXPECT_EQ(Status(), L"Inactive") << "the watcher's state is still shown";
        EXPECT_FALSE(ApplyEnabled()) << "a refresh never marks the list modified";
    }
    EXPECT_TRUE(RefreshUntil([&] { return SizeCell(0) == L"4.88 KB"; })) << "5,000 bytes: " << SizeCell(0);
}

std::wstring Sized(std::uint64_t bytes)
{
    wchar_t text[krn::kFormatSizeChars];
    return krn::FormatSize(bytes, text);
}

// The Size cell's tooltip reads the engine's history of the folder: one the
// test writes before the engine starts, a steady rise of 1,000 bytes a day up
// to the folder's 10,000 bytes of now, below a maximum of 12,000 bytes.
TEST_F(MonitorControlTest, TheSizeCellsTooltipTellsTheGrowthAndWhenTheMaximumIsReached)
{
    const std::wstring folder = counted / L"grown";
    CreateDirectoryW(folder.c_str(), nullptr);
    WriteFileBytes(folder + L"\\data.bin", std::string(10000, 'x'));
    std::wstring history;
    InRealHkcu([&] { history = engine::DefaultHistoryFile(); });  // the engine's, not the scratch profile's
    {
        ServerUnregistered ended(WindowsPath(KRN_SIZE_ENGINE_EXE));  // reads the history when it starts again
        ASSERT_TRUE(WriteSteadyHistory(folder, 10000, 1000, history));
    }
    WriteConfig(FolderXml(Narrow(folder), LimitXml("Max", "12000", "B")));
    ASSERT_TRUE(Open());
    ASSERT_TRUE(RefreshUntil([&] { return SizeCell(0) == Sized(10000); })) << SizeCell(0);

    // The mouse resting on a cell, and the tooltip asking the window for its text.
    const HWND list = item(IDC_FOLDER_LIST);
    const auto tipAt = [&](int column) {
        RECT cell{LVIR_BOUNDS, column};  // left: what to measure, top: the column
        SendMessageW(list, LVM_GETSUBITEMRECT, 0, reinterpret_cast<LPARAM>(&cell));
        POINT middle{(cell.left + cell.right) / 2, (cell.top + cell.bottom) / 2};
        ClientToScreen(list, &middle);
        SetCursorPos(middle.x, middle.y);
        NMTTDISPINFOW info{{nullptr, reinterpret_cast<UINT_PTR>(list), TTN_GETDISPINFOW}};
        SendMessageW(window(), WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&info));
        return std::wstring(info.lpszText ? info.lpszText : L"");
    };
    EXPECT_EQ(tipAt(krn::kColumnSize), L"+" + Sized(1000) + L" in 24 hours, +" + Sized(7000) +
                                           L" in 7 days. Reaches its maximum (" + Sized(12000) +
                                           L") in about 2 days.");
    EXPECT_EQ(tipAt(krn::kColumnMax), L"") << "only the Size cells have a tip";
}

TEST_F(MonitorControlTest, AFolderOnSlowStorageHoldsNeitherTheWindowNorTheOtherFolders)
{
    SlowStorage storage;
    KRN_REQUIRE_SLOW_STORAGE(storage);
    WriteFileBytes(counted / L"a.bin", std::string(3000, 'k'));
    WriteConfig(FolderXml(Narrow(storage.slow())) + FolderXml(Narrow(counted.path())));
    ASSERT_TRUE(Open());
    ULONGLONG longest = 0;
    const bool counted3000 = PumpUntil(
        [&] {
            const ULONGLONG start = GetTickCount64();
            Refresh();
            longest = std::max(longest, GetTickCount64() - start);
            return SizeCell(1) == L"2.93 KB";
        },
        10000);
    EXPECT_TRUE(counted3000) << "the other folder's 3,000 bytes: " << SizeCell(1);
    EXPECT_EQ(SizeCell(0), L"0 B") << "the slow folder is still being opened";
    EXPECT_LT(longest, 2000u) << "the longest refresh, in ms: the window was held";
}

} // namespace
