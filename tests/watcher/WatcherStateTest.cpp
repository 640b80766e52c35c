// What the watcher reads, in this process: config.xml from the scratch
// application-data folder and the settings from the scratch settings key.
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include "Configs.h"
#include "config/ConfigDocument.h"
#include "settings/RegistryValues.h"
#include "support/Scratch.h"
#include "watcher/WatcherState.h"

namespace krn::test {
namespace {

class WatcherStateTest : public ScratchTest {
protected:
    WatcherState state{GetModuleHandleW(nullptr)};
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

} // namespace
} // namespace krn::test
