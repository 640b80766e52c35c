// The status line of the real main window against the real watcher: its
// state read from the presence mutex, the switch off and on with the question,
// the wait after a switch, and Apply, which has a running watcher read
// config.xml again and never starts one.
#include "MainWindowFixture.h"

#include "Kestrune.h"
#include "base/Com.h"
#include "base/Handles.h"
#include "idl/PresenceMutex.h"
#include "resource.h"

namespace {

using namespace krn::test;
using krn::MonitorControl;

constexpr wchar_t kDisableQuestion[] =
    L"Are you sure you want to disable Kestrune™?\nDisabled program will not alert you if a folder size exceeds "
    L"specified limits.";
constexpr wchar_t kShellFolders[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";

bool WatcherRunning()
{
    return base::unique_kernel_handle(OpenMutexW(SYNCHRONIZE, FALSE, krn::kWatcherMutexName)).get() != nullptr;
}

base::com_ptr<IWatcherControl> Watcher()
{
    base::com_ptr<IWatcherControl> watcher;
    CoCreateInstance(CLSID_WatcherControl, nullptr, CLSCTX_LOCAL_SERVER, IID_IWatcherControl, watcher.put_void());
    return watcher;
}

// Ends a watcher left running by anything before, and waits for its mutex to go.
void StopWatcher()
{
    if (WatcherRunning())
        if (const auto watcher = Watcher())
            watcher->Disable();
    PumpUntil([] { return !WatcherRunning(); }, 10000);
}

// The watcher reads the prefix's own HKEY_CURRENT_USER: while a test runs, its
// AppData folder is the test's, and the value found is put back afterwards.
class MonitorControlTest : public MainWindowTest {
protected:
    void SetUp() override
    {
        StopWatcher();
        InRealHkcu([&] {
            hadAppData_ = ReadRegValue(kShellFolders, L"AppData", &appDataType_, &appData_);
            WriteRegString(kShellFolders, L"AppData", scratch.appData());
        });
    }
    void TearDown() override
    {
        StopWatcher();
        InRealHkcu([&] {
            if (hadAppData_)
                WriteRegBinary(kShellFolders, L"AppData", appDataType_, appData_.data(), DWORD(appData_.size()));
            else
                RegDeleteKeyValueW(HKEY_CURRENT_USER, kShellFolders, L"AppData");
        });
    }
    void InRealHkcu(const std::function<void()>& act) const
    {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        act();
        RegOverridePredefKey(HKEY_CURRENT_USER, scratch.key());
    }

    std::wstring Status() const { return WindowText(item(IDC_STATUS_LINK)); }
    void ClickStatus() const { SendMessageW(window(), WM_COMMAND, IDC_STATUS_LINK, LPARAM(item(IDC_STATUS_LINK))); }
    // Refreshes as the timer does until the status shows `text`.
    bool RefreshUntil(const wchar_t* text) const
    {
        return PumpUntil(
            [&] {
                SendMessageW(window(), WM_TIMER, MonitorControl::kRefreshTimer, 0);
                return Status() == text;
            },
            10000);
    }
    const MonitorControl& monitor() { return dialog().monitor(); }
    // Whether the link, as it is on screen, shows any pixel of `color`.
    bool LinkShows(COLORREF color) const
    {
        RedrawWindow(item(IDC_STATUS_LINK), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        const Pixels pixels = CaptureScreen(item(IDC_STATUS_LINK));
        for (int y = 0; y < pixels.height(); ++y)
            for (int x = 0; x < pixels.width(); ++x)
                if (pixels.at(x, y) == color)
                    return true;
        return false;
    }
    // Clicks the status link and answers the question about disabling.
    void AnswerDisable(int answer) const
    {
        MessageBoxInfo asked;
        DialogDriver driver;
        driver.AnswerMessageBox(kCaption, answer, &asked);
        ClickStatus();
        EXPECT_EQ(driver.Report(), "");
        EXPECT_EQ(asked.text, kDisableQuestion);
        EXPECT_EQ(asked.buttons, (std::vector<int>{IDYES, IDNO}));
        EXPECT_EQ(asked.icon, IDI_QUESTION);
    }

    bool hadAppData_ = false;
    DWORD appDataType_ = 0;
    std::string appData_;
};

TEST_F(MonitorControlTest, SwitchingOnAndOffWaitsForTheWatcherAndAsksBeforeDisabling)
{
    ASSERT_TRUE(Open());
    ShowWindow(window(), SW_SHOWNA);
    EXPECT_EQ(Status(), L"Inactive") << "the first refresh runs at once";
    EXPECT_EQ(monitor().watcherState(), MonitorControl::kInactive);
    EXPECT_TRUE(LinkShows(RGB(0x64, 0x00, 0x00))) << "dark red";

    // On: creating the control object starts the watcher, without a question.
    ClickStatus();
    EXPECT_EQ(Status(), L"Please wait ...");
    EXPECT_TRUE(monitor().toggleBusy());
    EXPECT_TRUE(LinkShows(RGB(0x64, 0x64, 0x64))) << "grey";
    EXPECT_TRUE(WatcherRunning());
    {
        DialogDriver nothing(1500);
        ClickStatus();
        EXPECT_EQ(nothing.Report(), "") << "a click while busy asks nothing";
    }
    ASSERT_TRUE(RefreshUntil(L"Active"));
    EXPECT_FALSE(monitor().toggleBusy());
    EXPECT_TRUE(LinkShows(RGB(0x00, 0x64, 0x00))) << "dark green";

    // Off: the question; No changes nothing, Yes disables.
    AnswerDisable(IDNO);
    EXPECT_EQ(Status(), L"Active");
    AnswerDisable(IDYES);
    EXPECT_EQ(Status(), L"Please wait ...");
    ASSERT_TRUE(RefreshUntil(L"Inactive"));
    EXPECT_FALSE(WatcherRunning());
    EXPECT_EQ(monitor().watcherState(), MonitorControl::kInactive);
}

// The minute's timer ends the wait without changing the text: the link takes
// clicks again while it still says "Please wait ...".
TEST_F(MonitorControlTest, TheSwitchTimerAcceptsClicksAgainAndKeepsTheText)
{
    ASSERT_TRUE(Open());
    ClickStatus();
    ASSERT_TRUE(monitor().toggleBusy());
    SendMessageW(window(), WM_TIMER, MonitorControl::kSwitchTimer, 0);
    EXPECT_FALSE(monitor().toggleBusy());
    EXPECT_EQ(Status(), L"Please wait ...");
    EXPECT_EQ(monitor().watcherState(), MonitorControl::kInactive) << "not seen by a refresh yet";
    AnswerDisable(IDNO);  // the running watcher is asked about
    ASSERT_TRUE(RefreshUntil(L"Active"));
}

TEST_F(MonitorControlTest, ApplyMakesARunningWatcherReadTheFileAgainAndStartsNone)
{
    WriteConfig(FolderXml("C:\\one") + FolderXml("C:\\two"));
    ASSERT_TRUE(Open());
    DeleteRow(0);
    Command(IDC_APPLY);
    EXPECT_FALSE(ApplyEnabled()) << "saved";
    EXPECT_FALSE(WatcherRunning()) << "Apply started a watcher";

    const auto watcher = Watcher();
    ASSERT_TRUE(watcher);
    LONG state = -1;
    EXPECT_EQ(watcher->GetState(&state), S_OK);
    EXPECT_EQ(state, KRN_WATCHER_WATCHING) << "the saved file's one folder";
    DeleteRow(0);
    Command(IDC_APPLY);
    EXPECT_EQ(watcher->GetState(&state), S_OK);
    EXPECT_EQ(state, KRN_WATCHER_IDLE) << "the watcher did not read the file Apply saved";
}

} // namespace
