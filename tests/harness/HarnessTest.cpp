// The test environment itself: hermetic registry and folders, the dialog
// driver against real message boxes, and the manifest. (Pixel capture is
// proven by every test that reads pixels.)
#include "support/Gui.h"
#include "support/Scratch.h"

#include <shlobj.h>
#include <psapi.h>

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

namespace {

using namespace krn::test;

std::wstring ShellFolder(int csidl)
{
    wchar_t path[MAX_PATH] = {};
    return SHGetFolderPathW(nullptr, csidl, nullptr, SHGFP_TYPE_CURRENT, path) == S_OK ? path : L"";
}

TEST(Scratch, RedirectsCurrentUserAndShellFoldersThenRestoresThem)
{
    const std::wstring realAppData = ShellFolder(CSIDL_APPDATA);
    {
        ScratchHkcu scratch;
        WriteRegString(L"Software\\KrnProbe", L"Value", L"scratch");
        DWORD type = 0;
        std::string data;
        EXPECT_TRUE(ReadRegValue(L"Software\\KrnProbe", L"Value", &type, &data));
        EXPECT_EQ(ShellFolder(CSIDL_APPDATA), scratch.appData());
        EXPECT_EQ(ShellFolder(CSIDL_PERSONAL), scratch.documents());
    }
    EXPECT_FALSE(ReadRegValue(L"Software\\KrnProbe", L"Value", nullptr, nullptr)) << "leaked into the real HKCU";
    EXPECT_EQ(ShellFolder(CSIDL_APPDATA), realAppData);
}

TEST(DialogDriver, AnswersNestedMessageBoxesInOrder)
{
    MessageBoxInfo first, second;
    DialogDriver driver(5000);
    driver.AnswerMessageBox(L"First", IDNO, &first).Expect(L"Second", [&](HWND box) {
        second = ReadMessageBox(box);
        DialogDriver::Click(box, IDOK);
    });
    EXPECT_EQ(MessageBoxW(nullptr, L"Question?", L"First", MB_YESNO | MB_ICONQUESTION), IDNO);
    EXPECT_EQ(MessageBoxW(nullptr, L"Careful", L"Second", MB_OK | MB_ICONEXCLAMATION), IDOK);
    EXPECT_EQ(driver.Report(), "");
    EXPECT_EQ(first.text, L"Question?");
    EXPECT_EQ(first.buttons, std::vector<int>({IDYES, IDNO}));
    EXPECT_EQ(first.icon, IDI_QUESTION);
    EXPECT_EQ(second.icon, IDI_EXCLAMATION);
}

TEST(DialogDriver, EndsAnUnexpectedDialogAndReportsIt)
{
    DialogDriver driver(300);
    driver.AnswerMessageBox(L"Expected", IDOK);
    MessageBoxW(nullptr, L"Surprise", L"Unexpected", MB_OK);
    EXPECT_NE(driver.Report().find("found \"Unexpected\""), std::string::npos) << driver.Report();
}

TEST(Manifest, LoadsCommonControlsVersion6)
{
    HMODULE comctl = GetModuleHandleW(L"comctl32.dll");
    ASSERT_TRUE(comctl);
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(comctl, path, MAX_PATH);
    EXPECT_NE(std::wstring(path).find(L"amd64_microsoft.windows.common-controls"), std::wstring::npos)
        << "comctl32 came from the system folder: the manifest was not applied";
}

} // namespace
