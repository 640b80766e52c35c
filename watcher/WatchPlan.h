// What the watcher works from, taken out of the configuration in one go so
// that its monitoring thread never touches the configuration objects: each
// folder with its limits in bytes and its actions in order, and the settings
// the actions use.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "config/Configuration.h"
#include "watcher/LimitRules.h"

namespace krn {

struct LimitPlan {
    std::uint64_t bytes = 0;
    std::wstring msg;  // the custom text; empty: the default text
};

struct ActionStep {
    enum class Kind { ShowMessage, AddToLog, RunApplication };
    Kind kind = Kind::ShowMessage;
    std::wstring path;    // RunApplication only, as typed
    std::wstring params;  // RunApplication only, as typed
};

struct FolderPlan {
    std::wstring path;
    std::optional<LimitPlan> max;  // none: no maximum, or a value that is not a number
    std::optional<LimitPlan> min;
    std::vector<ActionStep> actions;

    bool HasAction(ActionStep::Kind kind) const;
};

struct WatchPlan {
    std::vector<FolderPlan> folders;
    std::wstring logFile;
    bool disableAlertOnStartup = false;
};

// Folders without a path are left out: there is nothing to watch.
std::vector<FolderPlan> MakeFolderPlans(const FolderEntries& folders);

// The limit trackers of a folder after a reload. The state of a limit is
// kept when the previous plan of the same folder (path compared without
// regard to case) had a limit of the same side and byte count, so that
// saving the configuration again never fires an alert twice; any other limit
// starts unjudged.
struct FolderLimits {
    std::optional<LimitTracker> max;
    std::optional<LimitTracker> min;
};
FolderLimits CarryLimits(const FolderPlan& plan, const FolderLimits* previous, bool silentStart);

bool SamePath(const std::wstring& a, const std::wstring& b);

} // namespace krn
