// The texts of the actions: the message, the log line and the program line of
// "Run application" with %currentdir%, environment variables and quotes.
#include <windows.h>

#include <gtest/gtest.h>

#include "watcher/AlertText.h"

namespace krn::test {
namespace {

// The box's message, the log's lines and the history's sentences, each beside
// the text it must give.
TEST(AlertText, MessagesLogLinesAndHistorySentences)
{
    const SYSTEMTIME time{2026, 3, 6, 7, 9, 5, 2, 0};
    const std::wstring stamp = L"2026-03-07 09:05:02\tC:\\Data\t";
    const std::pair<std::wstring, std::wstring> cases[] = {
        {AlertMessage(L"", L"C:\\Data", LimitSide::Maximum, 2048, 1024),
         L"The folder C:\\Data has a size of 2.00 KB, above its maximum limit of 1.00 KB."},
        {AlertMessage(L"", L"D:\\\u00c9t\u00e9", LimitSide::Minimum, 0, 1536),
         L"The folder D:\\\u00c9t\u00e9 has a size of 0 B, below its minimum limit of 1.50 KB."},
        {AlertMessage(L"Empty the bin!", L"C:\\Data", LimitSide::Maximum, 2048, 1024), L"Empty the bin!"},
        {FormatLogLine(time, L"C:\\Data", LimitSide::Maximum, 2048, 1024),
         stamp + L"Maximum exceeded\tSize 2.00 KB\tLimit 1.00 KB"},
        {FormatLogLine(time, L"C:\\\u65e5\u672c", LimitSide::Minimum, 10, 1048576),
         L"2026-03-07 09:05:02\tC:\\\u65e5\u672c\tMinimum undercut\tSize 10 B\tLimit 1.00 MB"},
        {GrowthSentence(1288490189), L"+1.20 GB in 24 hours."},
        {GrowthSentence(-1536), L"-1.50 KB in 24 hours."},
        {FormatForecastLine(time, L"C:\\Data", 10737418240, 600),
         stamp + L"Reaches its maximum (10.00 GB) within a day."},
        {FormatForecastLine(time, L"C:\\Data", 1024, 1500), stamp + L"Reaches its maximum (1.00 KB) in about 1 day."},
        {FormatForecastLine(time, L"C:\\Data", 1024, 2200), stamp + L"Reaches its maximum (1.00 KB) in about 2 days."},
        {FormatForecastLine(time, L"C:\\Data", 1024, 7200), stamp + L"Reaches its maximum (1.00 KB) in about 5 days."},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(text, expected);
}

TEST(RunCommandTest, PathAndParameters)
{
    SetEnvironmentVariableW(L"KRN_TOOLS", L"C:\\Tools");
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
    SetEnvironmentVariableW(L"KRN_TOOLS", nullptr);
}

} // namespace
} // namespace krn::test
