#include "engine/FolderPath.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct PathCase {
    std::wstring name;
    DWORD error;
    std::wstring path;  // when error is 0
};

TEST(FolderPath, AbsoluteNamesBecomeVerbatimAndEverythingElseIsRefused)
{
    const std::wstring deep = L"C:\\" + std::wstring(300, L'd') + L"\\" + std::wstring(200, L'e');
    const PathCase cases[] = {
        {L"C:\\data", 0, L"\\\\?\\C:\\data"},
        {L"c:/data/sub/", 0, L"\\\\?\\c:\\data\\sub"},
        {L"C:\\data\\.\\x\\..\\sub\\\\", 0, L"\\\\?\\C:\\data\\sub"},
        {L"C:\\", 0, L"\\\\?\\C:\\"},
        {L"C:\\..", 0, L"\\\\?\\C:\\"},
        {deep, 0, L"\\\\?\\" + deep},
        {L"\\\\server\\share", 0, L"\\\\?\\UNC\\server\\share"},
        {L"//server/share/dir/", 0, L"\\\\?\\UNC\\server\\share\\dir"},
        {L"\\\\server\\share\\dir\\..\\..", 0, L"\\\\?\\UNC\\server\\share"},
        {L"\\\\?\\C:\\data\\", 0, L"\\\\?\\C:\\data"},
        {L"\\\\?\\C:\\", 0, L"\\\\?\\C:\\"},
        {L"\\\\?\\UNC\\server\\share\\dir", 0, L"\\\\?\\UNC\\server\\share\\dir"},
        {L"", ERROR_INVALID_PARAMETER, L""},
        {L"data", ERROR_INVALID_NAME, L""},
        {L"\\data", ERROR_INVALID_NAME, L""},
        {L"C:data", ERROR_INVALID_NAME, L""},
        {L"COM1", ERROR_INVALID_NAME, L""},
        {L"C:\\data\\NUL", ERROR_INVALID_NAME, L""},
        {L"\\\\.\\C:\\data", ERROR_INVALID_NAME, L""},
        {L"\\\\server", ERROR_INVALID_NAME, L""},
        {L"\\\\?\\C:", ERROR_INVALID_NAME, L""},
        {L"\\\\?\\data", ERROR_INVALID_NAME, L""},
        {L"\\\\?\\C:\\data\\..\\x", ERROR_INVALID_NAME, L""},
        {L"\\\\?\\UNC\\server", ERROR_INVALID_NAME, L""},
        {L"\\\\?\\GLOBALROOT\\Device\\Null", ERROR_INVALID_NAME, L""},
        {L"\\\\?\\Volume{6a4c8f2e-0000-0000-0000-100000000000}\\", ERROR_INVALID_NAME, L""},
        {std::wstring(L"C:\\da\0ta", 8), ERROR_INVALID_NAME, L""},
        {L"C:\\" + std::wstring(32000, L'x'), 0, L"\\\\?\\C:\\" + std::wstring(32000, L'x')},
        {L"C:\\" + std::wstring(32765, L'x'), ERROR_FILENAME_EXCED_RANGE, L""},
    };
    for (const PathCase& c : cases) {
        std::wstring path = L"left over";
        const std::wstring shown = c.name.substr(0, 60);
        EXPECT_EQ(engine::MakeFolderPath(c.name, path), c.error) << shown;
        EXPECT_EQ(path, c.path) << shown;
    }
}

TEST(FolderPath, NamesCompareWithoutCase)
{
    EXPECT_TRUE(engine::EqualNoCase(L"C:\\Data\\Ärger", L"c:\\DATA\\äRGER"));
    EXPECT_FALSE(engine::EqualNoCase(L"C:\\Data", L"C:\\Data2"));
    EXPECT_TRUE(engine::NoCaseLess{}(L"apple", L"Banana"));
    EXPECT_FALSE(engine::NoCaseLess{}(L"BANANA", L"banana"));
}

} // namespace
