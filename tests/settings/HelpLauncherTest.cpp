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

constexpr char kNoClass[] = "CLSID\\{00000000-0000-0000-0000-4B524E000001}\\InprocServer32";

std::wstring ProgramFolder()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring file = path;
    return file.substr(0, file.rfind(L'\\'));
}

TEST(HelpLauncher, OpensEachPageOfTheRealHelpFileBesideTheProgram)
{
    const struct {
        HelpPage page;
        std::wstring path;
    } pages[] = {
        {HelpPage::ManageFolders, ProgramFolder() + L"\\BrimwellPro.chm::/krn-managefolders.html"},
        {HelpPage::RunApplication, ProgramFolder() + L"\\BrimwellPro.chm::/krn-run.html"},
        {HelpPage::Contents, ProgramFolder() + L"\\BrimwellPro.chm"},
    };
    for (const auto& p : pages) {
        wchar_t path[MAX_PATH];
        HelpLauncher::PagePath(p.page, path);
        EXPECT_EQ(path, p.path);
        HWND viewer = HelpLauncher::ShowPage(nullptr, p.page);
        ASSERT_TRUE(viewer) << "page " << static_cast<int>(p.page);
        EXPECT_EQ(ClassName(viewer), L"HH Parent");
    }
    const std::wstring missing = ProgramFolder() + L"\\NoSuchHelp.chm";
    EXPECT_EQ(HelpLauncher::HtmlHelpW(nullptr, missing.c_str(), 0, 0), nullptr);
    EXPECT_FALSE(HelpLauncher::EntryW().failed()) << "a missing file is not a missing control";
    HelpLauncher::HtmlHelpW(nullptr, nullptr, 0x12, 0);  // HH_CLOSE_ALL
    PumpUntil([] { return !FindWindowW(L"HH Parent", nullptr); }, 3000);
}

TEST(HelpEntry, FindsTheControlOnTheSearchPathWithoutItsClassKey)
{
    HelpEntry entry(kNoClass, HelpLauncher::kControlName, HelpLauncher::kOrdinalW);
    EXPECT_NE(entry.Resolve(), nullptr);
    EXPECT_EQ(entry.Resolve(), GetProcAddress(entry.module(), MAKEINTRESOURCEA(15)));
}

TEST(HelpEntry, PrefersThePathInTheClassKey)
{
    HelpEntry entry(HelpLauncher::kClassKeyPath, "krn-no-such-control.ocx", HelpLauncher::kOrdinalA);
    ASSERT_NE(entry.Resolve(), nullptr);
    EXPECT_EQ(entry.Resolve(), GetProcAddress(GetModuleHandleW(L"hhctrl.ocx"), MAKEINTRESOURCEA(14)));
}

TEST(HelpEntry, MissingControlOrEntryFailsEveryRequest)
{
    HelpEntry noControl(kNoClass, "krn-no-such-control.ocx", HelpLauncher::kOrdinalW);
    HelpEntry noEntry(HelpLauncher::kClassKeyPath, HelpLauncher::kControlName, 9999);
    for (HelpEntry* entry : {&noControl, &noEntry})
        for (int request = 0; request < 3; ++request) {
            EXPECT_EQ(entry->Resolve(), nullptr) << "request " << request;
            EXPECT_TRUE(entry->failed());
        }
    EXPECT_EQ(noControl.module(), nullptr);
}

} // namespace
