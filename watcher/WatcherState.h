// What the watcher watches: the folders of config.xml with their limits and
// actions, and the program-wide settings its actions use. Read at start and
// again on every ReloadConfiguration.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "config/Configuration.h"

namespace krn {

class WatcherState {
public:
    WatcherState();
    WatcherState(const WatcherState&) = delete;
    WatcherState& operator=(const WatcherState&) = delete;

    // Replaces everything with what config.xml and the settings key hold now.
    // A file that is missing or does not load leaves no folders: the watcher
    // keeps running with nothing to watch. 0, or the status of the failed
    // step (1006 when the file did not load).
    DWORD Reload();

    // Told after every Reload, on the thread that reloaded, with this state
    // as the reload left it (no folders when the file did not load).
    void SetReloadListener(std::function<void(const WatcherState&)> listener) { listener_ = std::move(listener); }

    bool IsWatching() const { return !configuration_.folders.empty(); }
    const FolderEntries& folders() const { return configuration_.folders; }
    const ActionKindRegistry& kinds() const { return configuration_.kinds; }
    bool disableAlertOnStartup() const { return disableAlertOnStartup_; }
    // The "Add to log" actions' file.
    const std::wstring& logFile() const { return logFile_; }

private:
    DWORD ReloadFolders();
    void ReloadSettings();

    Configuration configuration_;
    bool disableAlertOnStartup_ = false;
    std::wstring logFile_;
    std::function<void(const WatcherState&)> listener_;
};

} // namespace krn
