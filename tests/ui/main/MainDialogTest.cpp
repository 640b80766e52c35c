// The main window as the message loop runs it: its title, the closing
// commands and their quit codes, the stored placement, the question when
// there are unsaved changes, command-line mode.
#include "app/AppModule.h"
#include "app/MessageLoop.h"
#include "support/Gui.h"
#include "support/Scratch.h"
#include "ui/main/MainDialog.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;
using krn::MainDialog;
using krn::MessageLoop;

constexpr wchar_t kSettingsKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";

class MainDialogTest : public ScratchTest {
protected:
    void SetUp() override { krn::Module().AddMessageLoop(&loop); }
    void TearDown() override { krn::Module().RemoveMessageLoop(); }

    bool PlacementStored() const
    {
        std::string data;
        return ReadRegValue(kSettingsKey, L"WDP", nullptr, &data) && data.size() == 44;
    }

    MessageLoop loop;
};

TEST_F(MainDialogTest, StartsHiddenWithItsTitle)
{
    MainDialog dialog;
    HWND window = dialog.Create(nullptr);
    ASSERT_TRUE(window);
    EXPECT_EQ(WindowText(window), L"Kestrune™ Properties x64");
    EXPECT_FALSE(IsWindowVisible(window)) << "start-up shows it after restoring the placement";
    EXPECT_TRUE(SendMessageW(window, WM_GETICON, ICON_SMALL, 0));
    EXPECT_FALSE(dialog.modified());
}

TEST_F(MainDialogTest, ClosingCommandsQuitWithTheirIdentifier)
{
    struct Case {
        const char* what;
        UINT message;
        WPARAM wParam;
        int quitCode;
    } cases[] = {
        {"OK", WM_COMMAND, IDOK, IDOK},
        {"Cancel", WM_COMMAND, IDCANCEL, IDCANCEL},
        {"File, Exit", WM_COMMAND, MainDialog::kCommandExit, 32776},
        {"close box", WM_CLOSE, 0, IDCANCEL},
        {"Esc, through the filter's IsDialogMessage", WM_KEYDOWN, VK_ESCAPE, IDCANCEL},
    };
    for (const Case& c : cases) {
        RegDeleteTreeW(HKEY_CURRENT_USER, kSettingsKey);
        MainDialog dialog;
        HWND window = dialog.Create(nullptr);
        ASSERT_TRUE(window);
        ShowWindow(window, SW_SHOW);
        PostMessageW(window, c.message, c.wParam, 0);
        EXPECT_EQ(loop.Run(), c.quitCode) << c.what;
        EXPECT_FALSE(IsWindow(window)) << c.what;
        EXPECT_EQ(dialog.window(), nullptr) << c.what;
        EXPECT_TRUE(PlacementStored()) << c.what;
    }
}

TEST_F(MainDialogTest, EscWithoutTheFilterDoesNothing)
{
    MainDialog dialog;
    HWND window = dialog.Create(nullptr);
    ASSERT_TRUE(window);
    loop.RemoveMessageFilter(&dialog);
    PostMessageW(window, WM_KEYDOWN, VK_ESCAPE, 0);
    PostThreadMessageW(GetCurrentThreadId(), WM_QUIT, 99, 0);
    EXPECT_EQ(loop.Run(), 99);
    EXPECT_TRUE(IsWindow(window));
}

TEST_F(MainDialogTest, UnsavedChangesAskBeforeClosing)
{
    MainDialog dialog;
    HWND window = dialog.Create(nullptr);
    ASSERT_TRUE(window);
    dialog.SetModified(true);

    MessageBoxInfo refused, accepted;
    DialogDriver driver(10000);
    driver.AnswerMessageBox(krn::kMainWindowTitle, IDNO, &refused)
        .Expect(krn::kMainWindowTitle, [&](HWND box) {
            accepted = ReadMessageBox(box);
            DialogDriver::Click(box, IDYES);
        });
    // The window stays hidden so that only the question is a visible dialog.
    PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
    PumpUntil([&] { return driver.Report().find("steps not reached: 1") != std::string::npos; }, 10000);
    EXPECT_TRUE(IsWindow(window)) << "No keeps the window open";
    EXPECT_FALSE(PlacementStored());

    PostMessageW(window, WM_COMMAND, MainDialog::kCommandExit, 0);
    EXPECT_EQ(loop.Run(), 32776);
    EXPECT_EQ(driver.Report(), "");
    EXPECT_EQ(refused.text,
              L"Settings were modified.\nAre you sure you want to close the application without saving changes?");
    EXPECT_EQ(refused.buttons, std::vector<int>({IDYES, IDNO}));
    EXPECT_EQ(refused.icon, IDI_QUESTION);
    EXPECT_FALSE(IsWindow(window));
}

TEST_F(MainDialogTest, CommandLineModeStoresNoPlacement)
{
    MainDialog dialog;
    dialog.SetCommandLinePath(L"\"C:\\Some Folder\"");
    HWND window = dialog.Create(nullptr);
    ASSERT_TRUE(window);
    EXPECT_TRUE(dialog.commandLineMode());
    EXPECT_FALSE(IsWindowVisible(window));
    PostMessageW(window, WM_COMMAND, IDOK, 0);
    EXPECT_EQ(loop.Run(), IDOK);
    EXPECT_FALSE(PlacementStored());
}

TEST_F(MainDialogTest, IsTheLoopsFilterAndIdleHandlerUntilDestroyed)
{
    auto dialog = std::make_unique<MainDialog>();
    ASSERT_TRUE(dialog->Create(nullptr));
    HWND window = dialog->window();
    MSG mine{window, WM_NULL, 0, 0};
    EXPECT_TRUE(dialog->PreTranslateMessage(&mine)) << "the dialog manager takes the window's messages";
    MSG elsewhere{nullptr, WM_KEYDOWN, VK_ESCAPE, 0};
    EXPECT_FALSE(dialog->PreTranslateMessage(&elsewhere));
    EXPECT_FALSE(dialog->OnIdle(0));
    // Destroying the object takes it out of the loop: the loop then runs on
    // without touching it.
    dialog.reset();
    EXPECT_FALSE(IsWindow(window));
    PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
    PostThreadMessageW(GetCurrentThreadId(), WM_QUIT, 5, 0);
    EXPECT_EQ(loop.Run(), 5);
}

} // namespace
