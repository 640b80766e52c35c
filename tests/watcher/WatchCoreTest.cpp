// The watcher's decisions as sequences of events, each with the steps it
// must give: what is opened, asked, closed, and the actions of crossings with
// their texts. No thread, clock or process: the time is in the table. Then
// the records those decisions give the event log, the texts of the actions
// and the limits in bytes as the watcher compares them.
#include <windows.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "watcher/AlertText.h"
#include "watcher/EventLog.h"
#include "watcher/LimitRules.h"
#include "watcher/WatchCore.h"
#include "watcher/WatchPlan.h"

namespace krn::test {
namespace {

constexpr SYSTEMTIME kNoon = {2026, 3, 6, 7, 12, 0, 0, 0};
constexpr size_t kStamp = 20;  // "2026-03-07 12:00:00\t", left out of what is compared

const ActionStep kBox{ActionStep::Kind::ShowMessage, {}, {}};
const ActionStep kLog{ActionStep::Kind::AddToLog, {}, {}};

FolderPlan Folder(const wchar_t* path, std::optional<std::uint64_t> max, std::optional<std::uint64_t> min = {},
                  std::vector<ActionStep> actions = {kBox, kLog})
{
    FolderPlan plan{path, {}, {}, std::move(actions)};
    if (max)
        plan.max = LimitPlan{*max, L"over"};
    if (min)
        plan.min = LimitPlan{*min, L"under"};
    return plan;
}

WatchPlan Plan(std::vector<FolderPlan> folders, bool disableAlertOnStartup = false)
{
    return {std::move(folders), L"w.log", disableAlertOnStartup};
}

// Events, one a line: "<ms> <event> [<folder> [<answer> [<bytes>]]] [=> <step> | <step> ...]".
// Events: plan (the scenario's next plan), opened, failed (the open),
// changed, lost, due, answer, ask (due gives just "ask <folder>", then the
// answer), next (gives "next <ms when something is due next>").
// Answers: complete, running, stale, unknown, refused, unreachable; after
// the bytes, what the engine's history says: grew:<bytes in a day>,
// full:<minutes until the maximum>.
struct Scenario {
    const char* name;
    std::vector<WatchPlan> plans;
    std::vector<std::wstring> events;
};

const std::map<std::wstring, EngineAnswer::Kind> kAnswers = {
    {L"complete", EngineAnswer::Kind::Complete}, {L"running", EngineAnswer::Kind::Running},
    {L"stale", EngineAnswer::Kind::Stale},       {L"unknown", EngineAnswer::Kind::Unknown},
    {L"refused", EngineAnswer::Kind::Refused},   {L"unreachable", EngineAnswer::Kind::Unreachable}};

class Player {
public:
    explicit Player(const Scenario& scenario) : scenario_(scenario) {}

    void Play()
    {
        for (const std::wstring& line : scenario_.events) {
            SCOPED_TRACE(testing::Message() << scenario_.name << ": " << testing::PrintToString(line));
            const size_t arrow = line.find(L" => ");
            std::vector<std::wstring> expected;
            if (arrow != std::wstring::npos) {
                std::wstring rest = line.substr(arrow + 4);
                for (size_t bar; (bar = rest.find(L" | ")) != std::wstring::npos; rest.erase(0, bar + 3))
                    expected.push_back(rest.substr(0, bar));
                expected.push_back(rest);
            }
            std::wistringstream words(line.substr(0, arrow));
            ULONGLONG ms = 0;
            std::wstring event, folder, answer = L"unknown";
            std::uint64_t bytes = 0;
            words >> ms >> event >> folder >> answer >> bytes;
            EngineAnswer told{kAnswers.at(answer), bytes};
            for (std::wstring extra; words >> extra;) {
                if (extra.starts_with(L"grew:"))
                    told.dayGrowth = std::stoll(extra.substr(5));
                if (extra.starts_with(L"full:"))
                    told.minutesToMaximum = std::stoul(extra.substr(5));
            }
            EXPECT_EQ(Run(ms, event, folder, told), expected);
        }
    }

private:
    std::vector<std::wstring> Run(ULONGLONG ms, const std::wstring& event, const std::wstring& folder,
                                  const EngineAnswer& answer)
    {
        const std::uint64_t watch = watches_[folder];
        if (event == L"plan")
            return Render(core_.Configure(scenario_.plans.at(plan_++), ms));
        if (event == L"opened" || event == L"failed")
            return Render(core_.Opened(watch, event == L"opened", ms));
        if (event == L"changed")
            core_.Changed(watch, ms);
        if (event == L"lost")
            core_.Lost(watch, ms);
        if (event == L"due")
            return Render(core_.Due(ms));
        if (event == L"ask") {
            EXPECT_EQ(Render(core_.Due(ms)), std::vector<std::wstring>{L"ask " + folder});
        }
        if (event == L"ask" || event == L"answer")
            return Render(core_.Answered(watch, answer, ms, kNoon));
        if (event == L"next")
            return {L"next " + std::to_wstring(core_.NextDue())};
        return {};
    }

    // One line per step; a log line without its time stamp, its tabs shown as ", ".
    std::vector<std::wstring> Render(const WatchSteps& steps)
    {
        std::vector<std::wstring> lines;
        for (const FolderStep& step : steps.folders) {
            if (step.kind == FolderStep::Kind::Open) {
                watches_[step.path] = step.watch;
                paths_[step.watch] = step.path;
            }
            const bool open = step.kind == FolderStep::Kind::Open, close = step.kind == FolderStep::Kind::Close;
            lines.push_back((open ? L"open " : close ? L"close " : L"ask ") + paths_[step.watch]);
        }
        for (const AlertAction& a : steps.actions) {
            std::wstring line = a.text.size() > kStamp ? a.text.substr(kStamp) : a.text;
            for (size_t tab = line.find(L'\t'); tab != std::wstring::npos; tab = line.find(L'\t'))
                line.replace(tab, 1, L", ");
            if (a.kind == AlertAction::Kind::ShowMessage)
                lines.push_back(L"box " + a.folder + L": " + a.text);
            else if (a.kind == AlertAction::Kind::AddToLog)
                lines.push_back(L"log " + a.logFile + L": " + line);
            else
                lines.push_back(L"run " + a.command.file + L" " + a.command.parameters + L" in " + a.folder +
                                (line.empty() ? L"" : L", failing to " + a.logFile + L": " + line));
        }
        return lines;
    }

    const Scenario& scenario_;
    WatchCore core_;  // settle 400 ms, confirm 2500, partial retry 1000, retry 5000
    size_t plan_ = 0;
    std::map<std::wstring, std::uint64_t> watches_;  // the last open of each folder
    std::map<std::uint64_t, std::wstring> paths_;
};

#define OVER_A L" => box a: over | log w.log: a, Maximum exceeded, Size 2.00 KB, Limit 1.00 KB"

const Scenario kScenarios[] = {
    {"a maximum fires once per crossing, re-arms back inside; changes settle first",
     {Plan({Folder(L"a", 1024)})},
     {L"0 plan => open a", L"10 opened a",
      L"409 due",                   // the state before any change, after the settle
      L"410 ask a complete 1024",   // at the limit is inside
      L"420 next => next 0",        // nothing until a change
      L"1000 changed a", L"1200 changed a",  // a later change does not push the question back
      L"1400 ask a complete 2048" OVER_A,
      L"3700 ask a complete 4096",  // asked again after the last change; told once
      L"4000 changed a", L"4400 ask a complete 0",  // back inside: re-armed, silently
      L"5000 changed a", L"5400 ask a complete 2048" OVER_A}},
    {"a minimum, and both limits of one folder",
     {Plan({Folder(L"b", 4096, 1024)})},
     {L"0 plan => open b", L"10 opened b", L"410 ask b complete 1024", L"1000 changed b",
      L"1400 ask b complete 10 => box b: under | log w.log: b, Minimum undercut, Size 10 B, Limit 1.00 KB",
      L"2000 changed b",
      L"2400 ask b complete 8192 => box b: over | log w.log: b, Maximum exceeded, Size 8.00 KB, Limit 4.00 KB"}},
    {"a running total proves only a maximum exceeded, once judged inside, and re-arms nothing",
     {Plan({Folder(L"a", 1024), Folder(L"b", {}, 1024)})},
     {L"0 plan => open a | open b", L"10 opened a",
      L"410 ask a running 5000",  // never the first judgement
      L"420 next => next 1410",   // asked again a second later
      L"1410 ask a complete 10", L"1420 opened b",
      L"1820 ask b running 0",    // below a minimum so far proves nothing
      L"2820 ask b complete 4096", L"3000 changed a", L"3400 ask a running 2048" OVER_A,
      L"4400 ask a running 0", L"5400 ask a complete 4096",
      L"6000 changed b", L"6400 due => ask a | ask b",
      L"6400 answer b running 0"}},  // b judged inside: still proves nothing below a minimum
    {"stale and unknown totals judge nothing and are asked again a second later",
     {Plan({Folder(L"a", 1024)})},
     {L"0 plan => open a", L"10 opened a", L"410 ask a unknown", L"1410 ask a stale 5000", L"2410 ask a stale 0",
      L"3410 ask a complete 2048" OVER_A}},
    {"a folder that vanishes or stops notifying is opened again later, with its state",
     {Plan({Folder(L"a", 1024)})},
     {L"0 plan => open a", L"10 opened a", L"410 ask a complete 10", L"1000 changed a",
      L"1400 ask a refused => close a",  // not judged
      L"1410 next => next 6400", L"6400 due => open a", L"6410 failed a", L"11410 due => open a", L"11420 opened a",
      L"11820 ask a complete 2048" OVER_A, L"12000 lost a", L"17000 due => open a"}},
    {"reloads keep the state of unchanged limits, also across a file that did not load",
     {Plan({Folder(L"a", 1024)}), Plan({Folder(L"a", 1024)}), Plan({Folder(L"a", 2048)}), Plan({}),
      Plan({Folder(L"a", 2048)})},
     {L"0 plan => open a", L"10 opened a",
      L"410 ask a complete 4096 => box a: over | log w.log: a, Maximum exceeded, Size 4.00 KB, Limit 1.00 KB",
      L"1000 plan", L"1000 due",  // saved again unchanged: nothing asked, nothing told
      L"2000 plan",               // a changed limit is judged at once
      L"2000 ask a complete 4096 => box a: over | log w.log: a, Maximum exceeded, Size 4.00 KB, Limit 2.00 KB",
      L"3000 plan => close a",  // read while being written: no folders
      L"4000 plan => open a", L"4010 opened a", L"4410 ask a complete 4096"}},
    {"alerts disabled on start-up silence the first plan's folders until they come back",
     {Plan({Folder(L"a", 1024)}, true), Plan({Folder(L"a", 1024), Folder(L"b", 1024)}, true)},
     {L"0 plan => open a", L"10 opened a", L"410 ask a complete 2048",
      L"1000 plan => open b",  // only the start-up plan is silent
      L"1010 opened b",
      L"1410 ask b complete 2048 => box b: over | log w.log: b, Maximum exceeded, Size 2.00 KB, Limit 1.00 KB",
      L"2000 changed a", L"2400 ask a complete 10", L"3000 changed a", L"3400 ask a complete 2048" OVER_A}},
    {"an engine that does not answer holds every question for a while",
     {Plan({Folder(L"a", 1024), Folder(L"b", 1024)})},
     {L"0 plan => open a | open b", L"10 opened a", L"10 opened b", L"410 due => ask a | ask b",
      L"420 answer a unreachable", L"420 answer b complete 10", L"430 changed b", L"5419 due",
      L"5420 due => ask a | ask b"}},
    {"the actions in their order, with their texts and commands",
     {Plan({Folder(L"x", 1024, {}, {{ActionStep::Kind::RunApplication, L"%currentdir%\\c.cmd", L"-q"}, kLog}),
            Folder(L"y", 1024, {}, {{ActionStep::Kind::RunApplication, L"\"C:\\t\\a b.exe\" -x", L""}})})},
     {L"0 plan => open x | open y", L"10 opened x",
      L"410 ask x complete 2048 => run x\\c.cmd -q in x, failing to w.log: x, Maximum exceeded, Size 2.00 KB, "
      L"Limit 1.00 KB, Could not start x\\c.cmd: "
      L" | log w.log: x, Maximum exceeded, Size 2.00 KB, Limit 1.00 KB",
      L"420 opened y", L"820 ask y complete 2048 => run C:\\t\\a b.exe -x in y"}},  // y does not log
    {"a storm: every folder crossing at once is told, in the order the answers come",
     {Plan({Folder(L"a", 1024, {}, {kLog}), Folder(L"b", 1024, {}, {kLog}), Folder(L"c", 1024, {}, {kLog})})},
     {L"0 plan => open a | open b | open c", L"10 opened a", L"10 opened b", L"10 opened c",
      L"410 due => ask a | ask b | ask c",
      L"420 answer c complete 2048 => log w.log: c, Maximum exceeded, Size 2.00 KB, Limit 1.00 KB",
      L"420 answer a complete 4096 => log w.log: a, Maximum exceeded, Size 4.00 KB, Limit 1.00 KB",
      L"420 answer b complete 1025 => log w.log: b, Maximum exceeded, Size 1.00 KB, Limit 1.00 KB"}},
    {"a maximum's texts end with the day's growth; a maximum soon is logged, once a day",
     {Plan({Folder(L"a", 1024)})},
     {L"0 plan => open a", L"10 opened a",
      L"410 ask a complete 10 full:3000 => log w.log: a, Reaches its maximum (1.00 KB) in about 2 days.",
      L"1000 changed a", L"1400 ask a complete 20 full:2000",  // told today already
      L"2000 changed a",
      L"2400 ask a complete 2048 grew:1536 => box a: over +1.50 KB in 24 hours. | "
      L"log w.log: a, Maximum exceeded, Size 2.00 KB, Limit 1.00 KB, +1.50 KB in 24 hours."}},
    {"an open that ends after its folder was dropped is closed; a folder without limits is not opened",
     {Plan({Folder(L"a", 1024), Folder(L"none", {})}), Plan({})},
     {L"0 plan => open a", L"5 plan", L"10 opened a => close a"}},
};

TEST(WatchCore, Scenarios)
{
    for (const Scenario& scenario : kScenarios)
        Player(scenario).Play();
}

// A folder with both limits, 1 KB to 4 KB, answered one complete total after
// another: the records each answer gives, as "<event id>/<type> <inserts...>"
// (type 2 a warning, 4 information).
TEST(EventLog, CrossingsAndReturnsInsideGiveOneRecordEach)
{
    const struct {
        std::uint64_t bytes;
        std::vector<std::wstring> records;
    } kTotals[] = {
        {2048, {}},  // the first judgement, inside: nothing
        {8192, {L"1001/2 w 8.00 KB 4.00 KB"}},
        {9000, {}},  // still outside: told once
        {2048, {L"1003/4 w 2.00 KB 4.00 KB"}},
        {10, {L"1002/2 w 10 B 1.00 KB"}},
        // from below the minimum to above the maximum
        {8192, {L"1001/2 w 8.00 KB 4.00 KB", L"1004/4 w 8.00 KB 1.00 KB"}},
    };
    WatchCore core;
    core.Configure({{{L"w", LimitPlan{4096, {}}, LimitPlan{1024, {}}, {}}}, L"w.log", false}, 0);
    core.Opened(1, true, 10);
    ULONGLONG now = 1000;
    for (const auto& answer : kTotals) {
        SCOPED_TRACE(answer.bytes);
        core.Due(now);
        std::vector<std::wstring> records;
        for (const LimitEvent& event : core.Answered(1, {EngineAnswer::Kind::Complete, answer.bytes}, now, kNoon).events) {
            const EventRecord record = RecordOf(event);
            std::wstring line = std::to_wstring(record.id & 0xFFFF) + L"/" + std::to_wstring(record.type);
            for (const std::wstring& insert : record.inserts)
                line += L" " + insert;
            records.push_back(line);
        }
        EXPECT_EQ(records, answer.records);
        core.Changed(1, now + 10);
        now += 3000;
    }
    EXPECT_EQ(RecordOfFailure({.kind = AlertAction::Kind::RunApplication}, L"x").type, EVENTLOG_ERROR_TYPE);
}

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

constexpr std::uint64_t kAll = std::numeric_limits<std::uint64_t>::max();

TEST(WatchedLimitBytes, ValueTimesUnit)
{
    const struct {
        double value;
        std::uint16_t units;
        std::optional<std::uint64_t> bytes;
    } cases[] = {
        {1, SizeUnit_B, 1},
        {1, SizeUnit_KB, 1024},
        {1.5, SizeUnit_MB, 1572864},
        {2, SizeUnit_GB, 2147483648ull},
        {3, SizeUnit_TB, 3298534883328ull},
        {1023.9, SizeUnit_B, 1023},      // truncated toward zero
        {1, 9, 1},                        // a unit outside the table counts as bytes
        {0, SizeUnit_KB, 0},
        {-5, SizeUnit_KB, 0},             // negative: 0 bytes, not a wrapped huge number
        {-std::numeric_limits<double>::infinity(), SizeUnit_B, 0},
        {std::numeric_limits<double>::infinity(), SizeUnit_B, kAll},
        {16777216, SizeUnit_TB, kAll},    // exactly 2^64
        {std::nan(""), SizeUnit_KB, std::nullopt},  // not watched
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.value << " in unit " << c.units);
        EXPECT_EQ(WatchedLimitBytes(c.value, c.units), c.bytes);
    }
}

TEST(SamePath, IgnoresCase)
{
    EXPECT_TRUE(SamePath(L"C:\\Data\\Logs", L"c:\\DATA\\logs"));
    EXPECT_FALSE(SamePath(L"C:\\Data\\Logs", L"C:\\Data\\Log"));
}

} // namespace
} // namespace krn::test
