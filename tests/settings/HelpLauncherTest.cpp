// The help launcher with Wine's real HTML Help control and a real .chm built
// beside this test program.
#include "settings/HelpLauncher.h"
#include "support/Gui.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;
using krn::HelpEntry;
using krn::HelpLauncher;
using krn::HelpPage;

constexpr UINT kCloseAll = 0x12;  // HH_CLOSE_ALL

std::wstring ProgramFolder()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder = path;
    return folder.substr(0, folder.rfind(L'\\'));
}

std::wstring PathOf(HelpPage page)
{
    wchar_t path[MAX_PATH];
    HelpLauncher::PagePath(page, path);
    return path;
}

class HelpViewer : public ::testing::Test {
protected:
    void TearDown() override
    {
        HelpLauncher::HtmlHelpW(nullptr, nullptr, kCloseAll, 0);
        PumpUntil([] { return !FindWindowW(L"HH Parent", nullptr); }, 3000);
    }
};

TEST(HelpPages, AreTheHelpFileBesideTheProgram)
{
    const std::wstring folder = ProgramFolder();
    EXPECT_EQ(PathOf(HelpPage::Contents), folder + L"\\BrimwellPro.chm");
    EXPECT_EQ(PathOf(HelpPage::ManageFolders), folder + L"\\BrimwellPro.chm::/krn-managefolders.html");
    EXPECT_EQ(PathOf(HelpPage::RunApplication), folder + L"\\BrimwellPro.chm::/krn-run.html");
    EXPECT_EQ(PathOf(HelpPage::FolderOnly), folder) << "unknown topics pass the bare folder";
}

TEST_F(HelpViewer, OpensEachPageOfTheRealHelpFile)
{
    ASSERT_NE(GetFileAttributesW((ProgramFolder() + L"\\BrimwellPro.chm").c_str()), INVALID_FILE_ATTRIBUTES)
        << "the test help file was not built";
    for (HelpPage page : {HelpPage::ManageFolders, HelpPage::RunApplication, HelpPage::Contents}) {
        HWND viewer = HelpLauncher::ShowPage(nullptr, page);
        ASSERT_TRUE(viewer) << "page " << static_cast<int>(page);
        EXPECT_EQ(ClassName(viewer), L"HH Parent");
        PumpFor(50);
        EXPECT_TRUE(IsWindow(viewer));
    }
    EXPECT_FALSE(HelpLauncher::EntryW().failed());
}

TEST_F(HelpViewer, NarrowEntryOpensTheSameFile)
{
    const std::wstring wide = PathOf(HelpPage::RunApplication);
    const std::string narrow(wide.begin(), wide.end());  // the build folder is ASCII
    HWND viewer = HelpLauncher::HtmlHelpA(nullptr, narrow.c_str(), 0, 0);
    ASSERT_TRUE(viewer);
    EXPECT_EQ(ClassName(viewer), L"HH Parent");
}

TEST_F(HelpViewer, MissingHelpFileOpensNothing)
{
    const std::wstring missing = ProgramFolder() + L"\\NoSuchHelp.chm::/krn-run.html";
    EXPECT_EQ(HelpLauncher::HtmlHelpW(nullptr, missing.c_str(), 0, 0), nullptr);
    EXPECT_FALSE(HelpLauncher::EntryW().failed()) << "a missing file is not a missing control";
}

TEST(HelpEntry, FindsTheControlOnTheSearchPathWithoutItsClassKey)
{
    HelpEntry entry("CLSID\\{00000000-0000-0000-0000-4B524E000001}\\InprocServer32", HelpLauncher::kControlName,
                    HelpLauncher::kOrdinalW);
    EXPECT_NE(entry.Resolve(), nullptr);
    EXPECT_FALSE(entry.failed());
    EXPECT_EQ(entry.Resolve(), GetProcAddress(entry.module(), MAKEINTRESOURCEA(HelpLauncher::kOrdinalW)));
}

TEST(HelpEntry, PrefersThePathInTheClassKey)
{
    HelpEntry entry(HelpLauncher::kClassKeyPath, "krn-no-such-control.ocx", HelpLauncher::kOrdinalW);
    ASSERT_NE(entry.Resolve(), nullptr);
    char path[MAX_PATH] = {};
    GetModuleFileNameA(entry.module(), path, MAX_PATH);
    EXPECT_NE(std::string(path).find("hhctrl.ocx"), std::string::npos) << path;
}

TEST(HelpEntry, MissingControlFailsEveryRequestWithoutRetrying)
{
    HelpEntry entry("CLSID\\{00000000-0000-0000-0000-4B524E000001}\\InprocServer32", "krn-no-such-control.ocx",
                    HelpLauncher::kOrdinalW);
    for (int request = 0; request < 3; ++request) {
        EXPECT_EQ(entry.Resolve(), nullptr) << "request " << request;
        EXPECT_TRUE(entry.failed());
        EXPECT_EQ(entry.module(), nullptr);
    }
}

TEST(HelpEntry, MissingOrdinalFailsAndStaysFailed)
{
    HelpEntry entry(HelpLauncher::kClassKeyPath, HelpLauncher::kControlName, 9999);
    EXPECT_EQ(entry.Resolve(), nullptr);
    EXPECT_TRUE(entry.failed());
    EXPECT_EQ(entry.Resolve(), nullptr);
}

} // namespace
