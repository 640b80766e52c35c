// What the watcher reads, in this process: config.xml from the scratch
// application-data folder and the settings from the scratch settings key.
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include "config/ConfigDocument.h"
#include "settings/RegistryValues.h"
#include "support/Scratch.h"
#include "watcher/WatchPlan.h"
#include "watcher/WatcherState.h"

namespace krn::test {
namespace {

const std::string kTwoFolders =
    R"(<?xml version="1.0" encoding="utf-8"?><Configuration><Settings><ConfigVersion Version="1.3"/></Settings>)"
    R"(<Folders><Folder Path="C:\windows"><Max Value="1" Units="GB" Msg=""/><Actions><MsgBox/></Actions></Folder>)"
    R"(<Folder Path="C:\users"><Actions><MsgBox/><AddToLog/></Actions></Folder></Folders></Configuration>)";
const std::string kOtherVersion =
    R"(<Configuration><Settings><ConfigVersion Version="1.2"/></Settings><Folders>)"
    R"(<Folder Path="C:\windows"><Actions><MsgBox/></Actions></Folder></Folders></Configuration>)";
const std::string kNoFolders =
    R"(<Configuration><Settings><ConfigVersion Version="1.3"/></Settings><Folders/></Configuration>)";

class WatcherStateTest : public ScratchTest {
protected:
    WatcherState state;
};

// Each file in turn replaces what the one before gave.
TEST_F(WatcherStateTest, ReloadReplacesTheFolders)
{
    const std::wstring path = scratch.appData() + L"\\Norlath\\Kestrune\\config.xml";
    const struct {
        const char* name;
        std::optional<std::string> content;  // none: no file
        DWORD status;
        std::size_t folders;
    } cases[] = {
        {"no file", std::nullopt, ERROR_CONFIG_NOT_LOADED, 0},
        {"two folders", kTwoFolders, 0, 2},
        {"empty file", std::string(), ERROR_CONFIG_NOT_LOADED, 0},
        {"two folders again, not four", kTwoFolders, 0, 2},
        {"not XML", "<Configuration", ERROR_CONFIG_NOT_LOADED, 0},
        {"two folders once more", kTwoFolders, 0, 2},
        {"another version", kOtherVersion, ERROR_CONFIG_NOT_LOADED, 0},
        {"no folders", kNoFolders, 0, 0},
    };
    std::filesystem::create_directories(scratch.appData() + L"\\Norlath\\Kestrune");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove(path);
        if (c.content)
            WriteFileBytes(path, *c.content);
        EXPECT_EQ(state.Reload(), c.status);
        EXPECT_EQ(state.folders().size(), c.folders);
        EXPECT_EQ(state.IsWatching(), c.folders > 0);
    }
}

TEST_F(WatcherStateTest, Settings)
{
    const registry::Value& alerts = registry::kDisableAlertOnStartup;
    const registry::Value& log = registry::kLogFile;
    const struct {
        const char* name;
        std::string alertBytes;  // empty: no value
        std::optional<std::wstring> logFile;  // none: as the case before left it
        bool disabled;
        std::wstring expectedLog;
    } cases[] = {
        {"nothing stored", "", std::nullopt, false, scratch.documents() + L"\\NorlathKestrune.log"},
        {"8 bytes as the program writes them", std::string("\1\0\0\0\0\0\0\0", 8), L"D:\\sizes.log", true,
         L"D:\\sizes.log"},
        {"4 bytes from another tool, an empty log path", std::string("\1\0\0\0", 4), L"", true, L""},
        {"more than 8 bytes cannot be read", std::string(12, '\1'), std::nullopt, false, L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        RegDeleteKeyValueW(HKEY_CURRENT_USER, alerts.key, alerts.name);
        if (!c.alertBytes.empty())
            WriteRegBinary(alerts.key, alerts.name, REG_DWORD, c.alertBytes.data(),
                           static_cast<DWORD>(c.alertBytes.size()));
        if (c.logFile)
            WriteRegString(log.key, log.name, *c.logFile);
        state.Reload();
        EXPECT_EQ(state.disableAlertOnStartup(), c.disabled);
        EXPECT_EQ(state.logFile(), c.expectedLog);
    }
}

// What the monitoring works from: hand-edited values made sane, the actions in
// their order with the Run parameters as typed.
TEST_F(WatcherStateTest, PlansFromTheFile)
{
    std::filesystem::create_directories(scratch.appData() + L"\\Norlath\\Kestrune");
    WriteFileBytes(
        scratch.appData() + L"\\Norlath\\Kestrune\\config.xml",
        R"(<Configuration><Settings><ConfigVersion Version="1.3"/></Settings><Folders>)"
        R"(<Folder Path="C:\a"><Min Value="1e999" Units="B" Msg="m"/><Max Value="-5" Units="KB" Msg=""/>)"
        R"(<Actions><MsgBox/><Run Path="&quot;%currentdir%\x.cmd&quot;" Params="1 2"/><AddToLog/></Actions></Folder>)"
        R"(<Folder Path="C:\b"><Max Value="1.5" Units="MB" Msg="big"/><Actions/></Folder></Folders></Configuration>)");
    ASSERT_EQ(state.Reload(), 0u);
    const std::vector<FolderPlan> plans = MakeFolderPlans(state.folders());
    ASSERT_EQ(plans.size(), 2u);
    const FolderPlan &a = plans[0], &b = plans[1];
    ASSERT_TRUE(a.max && a.min && b.max && !b.min);
    EXPECT_EQ(a.path, L"C:\\a");
    EXPECT_EQ(a.max->bytes, 0u) << "a negative maximum counts as 0 bytes";
    EXPECT_EQ(a.min->msg, L"m");
    ASSERT_EQ(a.actions.size(), 3u);
    EXPECT_EQ(a.actions[0].kind, ActionStep::Kind::ShowMessage);
    EXPECT_EQ(a.actions[1].kind, ActionStep::Kind::RunApplication);
    EXPECT_EQ(a.actions[1].path, L"\"%currentdir%\\x.cmd\"");
    EXPECT_EQ(a.actions[1].params, L"1 2");
    EXPECT_EQ(a.actions[2].kind, ActionStep::Kind::AddToLog);
    EXPECT_EQ(b.max->bytes, 1572864u);
    EXPECT_TRUE(b.actions.empty());
}

} // namespace
} // namespace krn::test
