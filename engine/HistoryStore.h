// The histories of the folders the size engine follows, kept across runs in
// one file (history.bin under the user's local application data). The file
// is written aside and then put in place, so a reader finds the old file or
// the new one, never half of one; a file that is torn, of another format or
// unreadable is set aside ("<file>.bad") and history starts again.
//
// Safe for calls on several threads at once.
#pragma once

#include "engine/FolderHistory.h"
#include "engine/FolderPath.h"

#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace engine {

using Histories = std::map<std::wstring, FolderHistory, NoCaseLess>;

// The file's form: "KRNH", version 1, the count of folders, then each folder's
// name (its length in UTF-16 units, then the units) and history (its length
// in bytes, then the bytes), then the FNV-1a hash of all that. All numbers are
// 32-bit little-endian.
std::vector<std::uint8_t> SerializeHistories(const Histories& histories);
std::optional<Histories> ParseHistories(std::span<const std::uint8_t> bytes);

// "<local application data>\Norlath\Kestrune\history.bin"; empty when the
// folder is not known.
std::wstring DefaultHistoryFile();

class HistoryStore {
public:
    // Reads `file` (empty: history is kept in memory only).
    explicit HistoryStore(std::wstring file);

    // Folders are named in MakeFolderPath's form: one folder, one name.
    void Record(const std::wstring& folder, std::uint32_t minute, std::uint64_t bytes);
    std::optional<FolderHistory> Find(const std::wstring& folder) const;

    // Writes the file when something changed since it was read or written.
    // False when it could not be written (the history stays in memory).
    bool Save();

private:
    mutable std::mutex mutex_;
    Histories folders_;
    const std::wstring file_;
    bool changed_ = false;
};

} // namespace engine
