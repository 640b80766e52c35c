// For the size engine's tests: folders and files of known sizes, made through
// "\\?\" names so that paths longer than MAX_PATH work and removed the same
// way, and questions to the engine's core.
#pragma once

#include "engine/FolderSizes.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <string>

namespace krn::test {

// "\\?\" + path, for paths in the drive form.
inline std::wstring Verbatim(const std::wstring& path)
{
    return path.starts_with(L"\\\\") ? path : L"\\\\?\\" + path;
}

inline void MakeFolder(const std::wstring& path)
{
    if (!CreateDirectoryW(Verbatim(path).c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        ADD_FAILURE() << "cannot make the folder, error " << GetLastError();
}

// Creates or truncates the file to `size` bytes (sparse where the file
// system allows).
inline void MakeFile(const std::wstring& path, uint64_t size)
{
    const HANDLE file = CreateFileW(Verbatim(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << "cannot make the file, error " << GetLastError();
    const LARGE_INTEGER end{.QuadPart = static_cast<LONGLONG>(size)};
    EXPECT_TRUE(SetFilePointerEx(file, end, nullptr, FILE_BEGIN));
    EXPECT_TRUE(SetEndOfFile(file));
    CloseHandle(file);
}

inline void RemoveTree(const std::wstring& path)
{
    const std::wstring folder = Verbatim(path);
    WIN32_FIND_DATAW entry;
    const HANDLE find = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (find != INVALID_HANDLE_VALUE) {
        do {
            const std::wstring name = entry.cFileName;
            if (name == L"." || name == L"..")
                continue;
            const std::wstring child = folder + L"\\" + name;
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) && !(entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT))
                RemoveTree(child);
            else if (!DeleteFileW(child.c_str()))  // a link to a folder
                RemoveDirectoryW(child.c_str());
        } while (FindNextFileW(find, &entry));
        FindClose(find);
    }
    RemoveDirectoryW(folder.c_str());
}

// A scratch folder whose names may exceed MAX_PATH, removed with all it holds.
struct ScratchTree : TempFolder {
    ~ScratchTree() { RemoveTree(path()); }
};

// Options whose questions wait for the checks they start (opening the folder,
// its identity) however long those take, so that each answer reflects the
// folder as it is on disk; the engine's own wait is a few milliseconds.
inline engine::EngineOptions PatientOptions()
{
    engine::EngineOptions options;
    options.answerWaitMs = 30000;
    return options;
}

// GetTotals, expected to succeed.
inline engine::Totals Ask(engine::FolderSizes& sizes, const std::wstring& folder)
{
    engine::Totals totals{7, 7};
    EXPECT_EQ(sizes.GetTotals(folder, totals), 0u) << "asking for the folder failed";
    return totals;
}

inline engine::ScanState State(engine::FolderSizes& sizes, const std::wstring& folder)
{
    engine::ScanState state = engine::ScanState::Unknown;
    EXPECT_EQ(sizes.GetScanState(folder, state), 0u);
    return state;
}

// The total once the first scan is complete.
inline engine::Totals Complete(engine::FolderSizes& sizes, const std::wstring& folder)
{
    Ask(sizes, folder);
    EXPECT_TRUE(PumpUntil([&] { return State(sizes, folder) == engine::ScanState::Complete; }, 10000))
        << "the scan never ends";
    return Ask(sizes, folder);
}

// The total after waiting up to 2 s for it to become `expected`.
inline engine::Totals Follows(engine::FolderSizes& sizes, const std::wstring& folder, const engine::Totals& expected)
{
    engine::Totals totals;
    PumpUntil([&] { return (totals = Ask(sizes, folder)) == expected; }, 2000);
    return totals;
}

} // namespace krn::test
