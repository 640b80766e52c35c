// Brings a watched folder's tree up to date with a batch of notifications:
// only the folders that hold a changed item are listed again, and only new
// folders are scanned whole.
#pragma once

#include "storage/ChangeWatcher.h"
#include "engine/DirectoryTree.h"

#include <string>
#include <vector>

namespace engine {

// `batch` numbers this update: a folder listed once in it is not listed again.
// Returns 0, or the error that shows the watched folder itself is gone.
DWORD ApplyChanges(DirectoryReader& reader, DirNode& root, const std::wstring& rootPath,
                   const std::vector<storage::Change>& changes, uint32_t batch);

} // namespace engine
