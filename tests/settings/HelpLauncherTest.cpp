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

TEST(HelpLauncher, OpensEachPageOfTheRealHelpFileBesideTheProgram)
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring folder = std::wstring(program).substr(0, std::wstring(program).rfind(L'\\'));
    const struct {
        HelpPage page;
        std::wstring path;
    } pages[] = {
        {HelpPage::ManageFolders, folder + L"\\BrimwellPro.chm::/krn-managefolders.html"},
        {HelpPage::RunApplication, folder + L"\\BrimwellPro.chm::/krn-run.html"},
        {HelpPage::Contents, folder + L"\\BrimwellPro.chm"},
    };
    for (const auto& p : pages) {
        wchar_t path[MAX_PATH];
        HelpLauncher::PagePath(p.page, path);
        EXPECT_EQ(path, p.path);
        HWND viewer = HelpLauncher::ShowPage(nullptr, p.page);
        ASSERT_TRUE(viewer) << "page " << static_cast<int>(p.page);
        EXPECT_EQ(ClassName(viewer), L"HH Parent");
    }
    const std::wstring missing = folder + L"\\NoSuchHelp.chm";
    EXPECT_EQ(HelpLauncher::HtmlHelpW(nullptr, missing.c_str(), 0, 0), nullptr);
    EXPECT_FALSE(HelpLauncher::EntryW().failed()) << "a missing file is not a missing control";
    HelpLauncher::HtmlHelpW(nullptr, nullptr, 0x12, 0);  // HH_CLOSE_ALL
    PumpUntil([] { return !FindWindowW(L"HH Parent", nullptr); }, 3000);
}

// The class key's path first, else the control on the search path; once
// loading or resolving failed, every request fails without trying again.
TEST(HelpEntry, LoadsFromTheClassKeyElseTheSearchPathAndFailsForGood)
{
    constexpr char kNoClass[] = "CLSID\\{00000000-0000-0000-0000-4B524E000001}\\InprocServer32";
    const struct {
        const char* classKey;
        const char* library;
        WORD ordinal;
        bool resolves;
    } cases[] = {
        {kNoClass, HelpLauncher::kControlName, HelpLauncher::kOrdinalW, true},
        {HelpLauncher::kClassKeyPath, "krn-no-such-control.ocx", HelpLauncher::kOrdinalA, true},
        {kNoClass, "krn-no-such-control.ocx", HelpLauncher::kOrdinalW, false},
        {HelpLauncher::kClassKeyPath, HelpLauncher::kControlName, 9999, false},
    };
    for (const auto& c : cases) {
        HelpEntry entry(c.classKey, c.library, c.ordinal);
        const FARPROC first = entry.Resolve();
        const FARPROC expected =
            c.resolves ? GetProcAddress(GetModuleHandleW(L"hhctrl.ocx"), MAKEINTRESOURCEA(c.ordinal)) : nullptr;
        for (FARPROC got : {first, entry.Resolve()}) {
            EXPECT_EQ(got, expected) << c.classKey << " " << c.library << " " << c.ordinal;
            EXPECT_EQ(entry.failed(), !c.resolves) << c.library << " " << c.ordinal;
        }
    }
}

} // namespace
