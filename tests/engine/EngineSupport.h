// For the size engine's tests: folders and files of known sizes, made through
// "\\?\" names so that paths longer than MAX_PATH work and removed the same
// way, and questions to the engine's core.
#pragma once

#include "engine/FolderSizes.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <windows.h>

#include <cstdint>
#include <string>

namespace krn::test {

// "\\?\" + path, for paths in the drive form.
std::wstring Verbatim(const std::wstring& path);

void MakeFolder(const std::wstring& path);
// Creates or truncates the file to `size` bytes (sparse where the file
// system allows).
void MakeFile(const std::wstring& path, uint64_t size);
void RemoveTree(const std::wstring& path);

// A scratch folder whose names may exceed MAX_PATH, removed with all it holds.
struct ScratchTree : TempFolder {
    ~ScratchTree() { RemoveTree(path()); }
};

// Options whose questions wait for the checks they start (opening the folder,
// its identity) however long those take, so that each answer reflects the
// folder as it is on disk; the engine's own wait is a few milliseconds.
engine::EngineOptions PatientOptions();

// GetTotals, expected to succeed.
engine::Totals Ask(engine::FolderSizes& sizes, const std::wstring& folder);
engine::ScanState State(engine::FolderSizes& sizes, const std::wstring& folder);
// The total once the first scan is complete.
engine::Totals Complete(engine::FolderSizes& sizes, const std::wstring& folder);
// The total after waiting up to 2 s for it to become `expected`.
engine::Totals Follows(engine::FolderSizes& sizes, const std::wstring& folder, const engine::Totals& expected);

} // namespace krn::test
