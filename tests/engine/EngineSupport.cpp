#include "EngineSupport.h"

#include <gtest/gtest.h>


namespace krn::test {

std::wstring Verbatim(const std::wstring& path)
{
    return path.starts_with(L"\\\\") ? path : L"\\\\?\\" + path;
}

void MakeFolder(const std::wstring& path)
{
    if (!CreateDirectoryW(Verbatim(path).c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        ADD_FAILURE() << "cannot make the folder, error " << GetLastError();
}

void MakeFile(const std::wstring& path, uint64_t size)
{
    const HANDLE file = CreateFileW(Verbatim(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << "cannot make the file, error " << GetLastError();
    LARGE_INTEGER end;
    end.QuadPart = static_cast<LONGLONG>(size);
    EXPECT_TRUE(SetFilePointerEx(file, end, nullptr, FILE_BEGIN));
    EXPECT_TRUE(SetEndOfFile(file));
    CloseHandle(file);
}

void RemoveTree(const std::wstring& path)
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
            else if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
                RemoveDirectoryW(child.c_str());
            else
                DeleteFileW(child.c_str());
        } while (FindNextFileW(find, &entry));
        FindClose(find);
    }
    RemoveDirectoryW(folder.c_str());
}

engine::EngineOptions PatientOptions()
{
    engine::EngineOptions options;
    options.answerWaitMs = 30000;
    return options;
}

engine::Totals Ask(engine::FolderSizes& sizes, const std::wstring& folder)
{
    engine::Totals totals{7, 7};
    EXPECT_EQ(sizes.GetTotals(folder, totals), 0u) << "asking for the folder failed";
    return totals;
}

engine::ScanState State(engine::FolderSizes& sizes, const std::wstring& folder)
{
    engine::ScanState state = engine::ScanState::Unknown;
    EXPECT_EQ(sizes.GetScanState(folder, state), 0u);
    return state;
}

engine::Totals Complete(engine::FolderSizes& sizes, const std::wstring& folder)
{
    Ask(sizes, folder);
    EXPECT_TRUE(PumpUntil([&] { return State(sizes, folder) == engine::ScanState::Complete; }, 10000))
        << "the scan never ends";
    return Ask(sizes, folder);
}

engine::Totals Follows(engine::FolderSizes& sizes, const std::wstring& folder, const engine::Totals& expected)
{
    engine::Totals totals;
    PumpUntil([&] { return (totals = Ask(sizes, folder)) == expected; }, 2000);
    return totals;
}

} // namespace krn::test
