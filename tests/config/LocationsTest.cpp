#include <shlobj.h>

#include "config/Locations.h"
#include "support/Scratch.h"

namespace krn::test {
namespace {

TEST(FormatSize, GivesTheTextsOfTheExamplesTable)
{
    const std::pair<std::uint64_t, const wchar_t*> cases[] = {
        {0, L"0 B"}, {999, L"999 B"}, {1023, L"1 023 B"}, {1024, L"1.00 KB"}, {1536, L"1.50 KB"},
        {999999, L"976.56 KB"}, {1048575, L"1 024.00 KB"}, {1048576, L"1.00 MB"}, {123456789, L"117.74 MB"},
        {1099511627775, L"1 024.00 GB"}, {1099511627776000, L"1 000.00 TB"},
        {18446744073709551615u, L"16 777 216.00 TB"},
    };
    for (const auto& [bytes, expected] : cases) {
        wchar_t text[kFormatSizeChars];
        EXPECT_STREQ(FormatSize(bytes, text), expected) << bytes;
    }
}

class LocationsTest : public ScratchTest {};

TEST_F(LocationsTest, ConfigPathMakesItsFoldersAndStopsAtTheBoundAndTheLogGoesToDocuments)
{
    const std::wstring tail = L"\\Norlath\\Kestrune\\config.xml";
    for (int run = 0; run < 2; ++run) {  // a second run finds the folders in place
        wchar_t path[kConfigPathChars] = {};
        ASSERT_EQ(SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, path), S_OK);
        ASSERT_EQ(BuildConfigPath(path), 0u);
        EXPECT_EQ(std::wstring(path), scratch.appData() + tail);
        EXPECT_NE(GetFileAttributesW((scratch.appData() + L"\\Norlath\\Kestrune").c_str()), INVALID_FILE_ATTRIBUTES);
    }
    for (std::size_t length : {519 - tail.size(), 520 - tail.size(), std::size_t{519}}) {
        wchar_t path[kConfigPathChars] = {};
        const std::wstring base = scratch.root() + L"\\" + std::wstring(length - scratch.root().size() - 1, L'x');
        wcscpy(path, base.c_str());
        EXPECT_EQ(BuildConfigPath(path), length + tail.size() < 520 ? 0u : 14u) << length;
    }
    wchar_t log[kLogPathChars] = {};
    ASSERT_EQ(GetDefaultLogPath(log), 0u);
    EXPECT_EQ(std::wstring(log), scratch.documents() + L"\\NorlathKestrune.log");
}

} // namespace
} // namespace krn::test
