// The main window's question when it is closed with unsaved changes, answered
// the way a user answers it. (Closing commands and their exit codes are
// proven on the built program in tests/app.)
#include "app/AppModule.h"
#include "app/MessageLoop.h"
#include "support/Gui.h"
#include "support/Scratch.h"
#include "ui/main/MainDialog.h"

#include <gtest/gtest.h>

namespace {

using namespace krn::test;

using MainDialogTest = ScratchTest;

TEST_F(MainDialogTest, UnsavedChangesAskBeforeClosing)
{
    krn::MessageLoop loop;
    krn::Module().AddMessageLoop(&loop);
    krn::MainDialog dialog;
    HWND window = dialog.Create(nullptr);
    ASSERT_TRUE(window);
    EXPECT_EQ(WindowText(window), krn::kMainWindowTitle);
    dialog.SetModified(true);

    MessageBoxInfo refused;
    DialogDriver driver(10000);
    driver.AnswerMessageBox(krn::kMainWindowTitle, IDNO, &refused).AnswerMessageBox(krn::kMainWindowTitle, IDYES);
    // The window stays hidden so that the question is the only visible dialog.
    PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
    PumpUntil([&] { return driver.Report().find("steps not reached: 1") != std::string::npos; }, 10000);
    EXPECT_TRUE(IsWindow(window)) << "No keeps the window open";
    EXPECT_FALSE(ReadRegValue(L"SOFTWARE\\Norlath\\Kestrune\\Settings", L"WDP", nullptr, nullptr));

    PostMessageW(window, WM_COMMAND, krn::MainDialog::kCommandExit, 0);
    EXPECT_EQ(loop.Run(), 32776);
    EXPECT_EQ(driver.Report(), "");
    EXPECT_EQ(refused.text,
              L"Settings were modified.\nAre you sure you want to close the application without saving changes?");
    EXPECT_EQ(refused.buttons, std::vector<int>({IDYES, IDNO}));
    EXPECT_EQ(refused.icon, IDI_QUESTION);
    EXPECT_FALSE(IsWindow(window));
    krn::Module().RemoveMessageLoop();
}

} // namespace
