#include <shlobj.h>

#include <gtest/gtest.h>

#include <string>

#include "config/Locations.h"
#include "support/Scratch.h"

namespace krn::test {
namespace {

TEST(FormatSize, GivesTheTextsOfTheExamplesTable)
{
    struct Case {
        std::uint64_t bytes;
        const wchar_t* text;
    };
    const Case cases[] = {
        {0, L"0 B"},
        {999, L"999 B"},
        {1023, L"1 023 B"},
        {1024, L"1.00 KB"},
        {1536, L"1.50 KB"},
        {999999, L"976.56 KB"},
        {1048575, L"1 024.00 KB"},
        {1048576, L"1.00 MB"},
        {123456789, L"117.74 MB"},
        {1073741824, L"1.00 GB"},
        {1099511627775, L"1 024.00 GB"},
        {1099511627776, L"1.00 TB"},
        {1099511627776000, L"1 000.00 TB"},
        {18446744073709551615u, L"16 777 216.00 TB"},
    };
    for (const Case& c : cases) {
        wchar_t text[kFormatSizeChars];
        wmemset(text, L'#', kFormatSizeChars);
        EXPECT_EQ(FormatSize(c.bytes, text), text);
        EXPECT_STREQ(text, c.text) << c.bytes;
    }
}

class LocationsTest : public ScratchTest {};

TEST_F(LocationsTest, BuildConfigPathCreatesBothFoldersAndIsRepeatable)
{
    wchar_t path[kConfigPathChars] = {};
    ASSERT_EQ(SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, path), S_OK);
    ASSERT_EQ(std::wstring(path), scratch.appData()) << "the scratch application-data folder must be in use";
    const std::wstring expected = scratch.appData() + L"\\Norlath\\Kestrune\\config.xml";
    ASSERT_EQ(BuildConfigPath(path), 0u);
    EXPECT_EQ(std::wstring(path), expected);
    const DWORD attributes = GetFileAttributesW((scratch.appData() + L"\\Norlath\\Kestrune").c_str());
    EXPECT_TRUE(attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY));

    wchar_t again[kConfigPathChars] = {};
    wcscpy(again, scratch.appData().c_str());
    EXPECT_EQ(BuildConfigPath(again), 0u);
    EXPECT_EQ(std::wstring(again), expected);
}

TEST_F(LocationsTest, BuildConfigPathGives14WhenThePathDoesNotFit)
{
    // Lengths around the 520-character bound: the full path needs 36 more
    // characters and a terminator.
    const std::wstring tail = L"\\Norlath\\Kestrune\\config.xml";
    struct Case {
        std::size_t baseLength;
        DWORD status;
    };
    const Case cases[] = {{519 - tail.size(), 0}, {520 - tail.size(), 14}, {510, 14}, {519, 14}};
    for (const Case& c : cases) {
        wchar_t path[kConfigPathChars] = {};
        const std::wstring base = scratch.root() + L"\\" + std::wstring(c.baseLength - scratch.root().size() - 1, L'x');
        wcscpy(path, base.c_str());
        EXPECT_EQ(BuildConfigPath(path), c.status) << "base of " << c.baseLength << " characters";
        if (c.status == 0) {
            EXPECT_EQ(std::wstring(path), base + tail);
        }
    }
}

TEST_F(LocationsTest, DefaultLogPathIsInTheDocumentsFolder)
{
    wchar_t path[kLogPathChars] = {};
    ASSERT_EQ(GetDefaultLogPath(path), 0u);
    EXPECT_EQ(std::wstring(path), scratch.documents() + L"\\NorlathKestrune.log");
}

} // namespace
} // namespace krn::test
