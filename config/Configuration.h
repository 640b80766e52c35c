// What the program edits as a whole: the folders in row order and the action
// kinds their slots point to.
#pragma once

#include <memory>
#include <vector>

#include "config/ActionKindRegistry.h"
#include "config/FolderEntry.h"

namespace krn {

// Owns its entries; the order is the row order of the folder list and the
// order of the Folder elements in the file.
using FolderEntries = std::vector<std::unique_ptr<FolderEntry>>;

struct Configuration {
    ActionKindRegistry kinds;
    FolderEntries folders;  // after the kinds: entries release their blocks through kinds still alive
};

// The main window's side of a save and a load.
class ConfigurationOwner {
public:
    // After a successful save: clear the modified state, disable Apply.
    virtual void OnConfigurationSaved() = 0;
    // After a load appended folders: refresh the folder list.
    virtual void OnFoldersLoaded() = 0;

protected:
    virtual ~ConfigurationOwner() = default;
};

} // namespace krn
