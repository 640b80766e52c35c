// The texts of the actions: the message, the log line and the program line of
// "Run application" with %currentdir%, environment variables and quotes.
#include <windows.h>

#include <gtest/gtest.h>

#include "watcher/AlertText.h"

namespace krn::test {
namespace {

TEST(AlertMessage, CustomTextOrTheDefault)
{
    EXPECT_EQ(AlertMessage(L"", L"C:\\Data", LimitSide::Maximum, 2048, 1024),
              L"The folder C:\\Data has a size of 2.00 KB, above its maximum limit of 1.00 KB.");
    EXPECT_EQ(AlertMessage(L"", L"D:\\\u00c9t\u00e9", LimitSide::Minimum, 0, 1536),
              L"The folder D:\\\u00c9t\u00e9 has a size of 0 B, below its minimum limit of 1.50 KB.");
    EXPECT_EQ(AlertMessage(L"Empty the bin!", L"C:\\Data", LimitSide::Maximum, 2048, 1024), L"Empty the bin!");
}

TEST(FormatLogLine, DateFolderLimitSizeAndLimit)
{
    const SYSTEMTIME time{2026, 3, 6, 7, 9, 5, 2, 0};
    EXPECT_EQ(FormatLogLine(time, L"C:\\Data", LimitSide::Maximum, 2048, 1024),
              L"2026-03-07 09:05:02\tC:\\Data\tMaximum exceeded\tSize 2.00 KB\tLimit 1.00 KB");
    EXPECT_EQ(FormatLogLine(time, L"C:\\\u65e5\u672c", LimitSide::Minimum, 10, 1048576),
              L"2026-03-07 09:05:02\tC:\\\u65e5\u672c\tMinimum undercut\tSize 10 B\tLimit 1.00 MB");
}

TEST(HistoryTexts, GrowthSignedAndForecastRoundedToDays)
{
    EXPECT_EQ(GrowthSentence(1288490189), L"+1.20 GB in 24 hours.");
    EXPECT_EQ(GrowthSentence(-1536), L"-1.50 KB in 24 hours.");
    const SYSTEMTIME time{2026, 3, 6, 7, 9, 5, 2, 0};
    const struct {
        std::uint32_t minutes;
        const wchar_t* when;
    } kCases[] = {{600, L"within a day"}, {1500, L"in about 1 day"}, {2200, L"in about 2 days"},
                  {7200, L"in about 5 days"}};
    for (const auto& c : kCases)
        EXPECT_EQ(FormatForecastLine(time, L"C:\\Data", 10737418240, c.minutes),
                  std::wstring(L"2026-03-07 09:05:02\tC:\\Data\tReaches its maximum (10.00 GB) ") + c.when + L".");
}

class RunCommandTest : public testing::Test {
protected:
    void SetUp() override { SetEnvironmentVariableW(L"KRN_TOOLS", L"C:\\Tools"); }
    void TearDown() override { SetEnvironmentVariableW(L"KRN_TOOLS", nullptr); }
};

TEST_F(RunCommandTest, PathAndParameters)
{
    const std::wstring folder = L"C:\\Big 100%DATA%";
    const struct {
        const char* name;
        const wchar_t* path;
        const wchar_t* params;
        const wchar_t* file;
        const wchar_t* parameters;
    } cases[] = {
        {"as typed", L"C:\\clean.exe", L"-q", L"C:\\clean.exe", L"-q"},
        {"current folder in the parameters", L"C:\\clean.exe", L"\"%currentdir%\" /s",
         L"C:\\clean.exe", L"\"C:\\Big 100%DATA%\" /s"},
        {"any case", L"C:\\clean.exe", L"%CurrentDir%", L"C:\\clean.exe", L"C:\\Big 100%DATA%"},
        {"current folder in the path", L"%currentdir%\\clean.cmd", L"", L"C:\\Big 100%DATA%\\clean.cmd", L""},
        {"environment", L"%KRN_TOOLS%\\clean.exe", L"%KRN_TOOLS%\\x", L"C:\\Tools\\clean.exe", L"C:\\Tools\\x"},
        {"unknown variable stays", L"%KRN_NO_SUCH%\\a.exe", L"", L"%KRN_NO_SUCH%\\a.exe", L""},
        {"quoted path", L"\"C:\\Program Files\\clean.exe\"", L"-q", L"C:\\Program Files\\clean.exe", L"-q"},
        {"blanks around", L"  \"C:\\a b\\c.exe\"  ", L"", L"C:\\a b\\c.exe", L""},
        {"text after the quote", L"\"C:\\a b\\c.exe\" -x", L"-q", L"C:\\a b\\c.exe", L"-x -q"},
        {"unclosed quote", L"\"C:\\a.exe", L"", L"C:\\a.exe", L""},
        {"empty", L"", L"", L"", L""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const RunCommand command = PrepareRun(c.path, c.params, folder);
        EXPECT_EQ(command.file, c.file);
        EXPECT_EQ(command.parameters, c.parameters);
    }
}

} // namespace
} // namespace krn::test
