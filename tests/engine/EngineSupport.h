// For the size engine's tests: folders and files of known sizes, made through
// "\\?\" names so that paths longer than MAX_PATH work and removed the same
// way, and questions to the engine's core.
#pragma once

#include "engine/FolderSizes.h"

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>

namespace krn::test {

// "\\?\" + path, for paths in the drive form.
std::wstring Verbatim(const std::wstring& path);

void MakeFolder(const std::wstring& path);
// Creates or truncates the file to `size` bytes (sparse where the file
// system allows).
void MakeFile(const std::wstring& path, uint64_t size);
void AppendToFile(const std::wstring& path, uint64_t bytes);
void RemoveTree(const std::wstring& path);

// A scratch folder of its own under the temporary folder, removed with all it
// holds; names below it may exceed MAX_PATH.
class ScratchTree {
public:
    ScratchTree();
    ~ScratchTree();
    ScratchTree(const ScratchTree&) = delete;
    ScratchTree& operator=(const ScratchTree&) = delete;

    const std::wstring& path() const { return path_; }
    std::wstring operator/(const std::wstring& name) const { return path_ + L"\\" + name; }

private:
    std::wstring path_;
};

bool PathExists(const std::wstring& path);

// Calls `done` every 10 ms until it returns true or `timeoutMs` passed;
// returns its last answer.
bool WaitUntil(const std::function<bool()>& done, DWORD timeoutMs = 2000);

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
