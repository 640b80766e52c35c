#include "watcher/WatcherState.h"

#include <shlobj.h>

#include "actions/StoredKinds.h"
#include "base/Handles.h"
#include "config/ConfigDocument.h"
#include "config/Locations.h"
#include "settings/RegistryValues.h"

namespace krn {
namespace {

// The settings are read, never created: the configuration program owns the
// key. The check box is stored as its whole pointer-sized state under a
// REG_DWORD tag; a 4-byte value written by another tool reads the same.
bool ReadDisableAlertOnStartup()
{
    const registry::Value& setting = registry::kDisableAlertOnStartup;
    base::unique_hkey key;
    ULONGLONG value = 0;
    DWORD size = sizeof value;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, setting.key, 0, KEY_QUERY_VALUE, key.put()) != ERROR_SUCCESS ||
        RegQueryValueExW(key.get(), setting.name, nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size) !=
            ERROR_SUCCESS)
        return setting.number != 0;
    return value != 0;
}

// The stored text, even when empty; the default log path when there is none.
std::wstring ReadLogFile()
{
    const registry::Value& setting = registry::kLogFile;
    DWORD size = 0;
    if (RegGetValueW(HKEY_CURRENT_USER, setting.key, setting.name, RRF_RT_REG_SZ, nullptr, nullptr, &size) ==
        ERROR_SUCCESS) {
        std::wstring text(size / sizeof(wchar_t) + 1, L'\0');
        size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        if (RegGetValueW(HKEY_CURRENT_USER, setting.key, setting.name, RRF_RT_REG_SZ, nullptr, text.data(),
                         &size) == ERROR_SUCCESS) {
            text.resize(wcslen(text.c_str()));
            return text;
        }
    }
    wchar_t path[kLogPathChars] = {};
    if (GetDefaultLogPath(path) != 0)
        return {};
    return path;
}

} // namespace

WatcherState::WatcherState()
{
    AddStoredKinds(configuration_.kinds);
}

DWORD WatcherState::Reload()
{
    ReloadSettings();
    const DWORD status = ReloadFolders();
    if (listener_)
        listener_(*this);
    return status;
}

DWORD WatcherState::ReloadFolders()
{
    configuration_.folders.clear();
    std::wstring path;
    DWORD status = GetConfigPath(path);
    if (status != 0)
        return status;
    FolderEntries folders;
    status = LoadConfiguration(path.c_str(), configuration_.kinds, folders);
    if (status == 0)
        configuration_.folders = std::move(folders);
    return status;
}

void WatcherState::ReloadSettings()
{
    disableAlertOnStartup_ = ReadDisableAlertOnStartup();
    logFile_ = ReadLogFile();
}

} // namespace krn
