// The status line of the real main window against the real watcher: its
// state read from the presence mutex, the switch off and on with the question,
// the wait after a switch, and Apply, which never starts a watcher.
#include "MainWindowFixture.h"

#include "Kestrune.h"
#include "base/Com.h"
#include "base/Handles.h"
#include "idl/PresenceMutex.h"
#include "resource.h"

namespace {

using namespace krn::test;
using krn::MonitorControl;

constexpr wchar_t kCaption[] = L"Kestrune™ Properties x64";
constexpr wchar_t kDisableQuestion[] =
    L"Are you sure you want to disable Kestrune™?\nDisabled program will not alert you if a folder size exceeds "
    L"specified limits.";

bool WatcherRunning()
{
    return base::unique_kernel_handle(OpenMutexW(SYNCHRONIZE, FALSE, krn::kWatcherMutexName)).get() != nullptr;
}

// Ends a watcher left running by anything before, and waits for its mutex to go.
void StopWatcher()
{
    if (!WatcherRunning())
        return;
    base::com_ptr<IWatcherControl> watcher;
    if (SUCCEEDED(CoCreateInstance(CLSID_WatcherControl, nullptr, CLSCTX_LOCAL_SERVER, IID_IWatcherControl,
                                   watcher.put_void())))
        watcher->Disable();
    PumpUntil([] { return !WatcherRunning(); }, 10000);
}

class MonitorControlTest : public MainWindowTest {
protected:
    void SetUp() override { StopWatcher(); }
    void TearDown() override { StopWatcher(); }

    std::wstring Status() const { return WindowText(item(IDC_STATUS_LINK)); }
    void Timer(UINT_PTR id) const { SendMessageW(window(), WM_TIMER, id, 0); }
    void ClickStatus() const { SendMessageW(window(), WM_COMMAND, IDC_STATUS_LINK, LPARAM(item(IDC_STATUS_LINK))); }
    // Refreshes as the timer does until the status shows `text`.
    bool RefreshUntil(const wchar_t* text) const
    {
        return PumpUntil(
            [&] {
                Timer(MonitorControl::kRefreshTimer);
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
};

TEST_F(MonitorControlTest, SwitchingOnAndOffWaitsForTheWatcherAndAsksBeforeDisabling)
{
    ASSERT_TRUE(Open());
    ShowWindow(window(), SW_SHOWNA);
    EXPECT_EQ(Status(), L"Inactive");
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
    for (const int answer : {IDNO, IDYES}) {
        MessageBoxInfo asked;
        DialogDriver driver;
        driver.AnswerMessageBox(kCaption, answer, &asked);
        ClickStatus();
        EXPECT_EQ(driver.Report(), "");
        EXPECT_EQ(asked.text, kDisableQuestion);
        EXPECT_EQ(asked.buttons, (std::vector<int>{IDYES, IDNO}));
        EXPECT_EQ(asked.icon, IDI_QUESTION);
    }
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
    Timer(MonitorControl::kSwitchTimer);
    EXPECT_FALSE(monitor().toggleBusy());
    EXPECT_EQ(Status(), L"Please wait ...");
    EXPECT_EQ(monitor().watcherState(), MonitorControl::kInactive) << "not seen by a refresh yet";
    MessageBoxInfo asked;
    DialogDriver driver;
    driver.AnswerMessageBox(kCaption, IDNO, &asked);
    ClickStatus();
    EXPECT_EQ(driver.Report(), "") << "the running watcher is asked about";
    EXPECT_EQ(asked.text, kDisableQuestion);
    ASSERT_TRUE(RefreshUntil(L"Active"));
}

TEST_F(MonitorControlTest, ApplyWithTheWatcherStoppedDoesNotStartIt)
{
    WriteConfig(FolderXml("C:\\one") + FolderXml("C:\\two"));
    ASSERT_TRUE(Open());
    SelectRow(item(IDC_FOLDER_LIST), 0);
    Command(IDC_DELETE);
    Command(IDC_APPLY);
    EXPECT_FALSE(ApplyEnabled()) << "saved";
    PumpFor(300);
    EXPECT_FALSE(WatcherRunning());
    EXPECT_EQ(Status(), L"Inactive");
}

} // namespace
