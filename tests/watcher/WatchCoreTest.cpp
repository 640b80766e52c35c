// The watcher's decisions as sequences of events, each with the steps it
// must give: what is opened, asked, closed, and the actions of crossings with
// their texts. No thread, clock or process: the time is in the table.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "watcher/WatchCore.h"

namespace krn::test {
namespace {

// 2026-03-07 12:00:00: the log lines' stamp, left out of the rendering.
constexpr SYSTEMTIME kNoon = {2026, 3, 6, 7, 12, 0, 0, 0};
constexpr size_t kStampLength = 20;

const ActionStep kBox{ActionStep::Kind::ShowMessage, {}, {}};
const ActionStep kLog{ActionStep::Kind::AddToLog, {}, {}};

FolderPlan Folder(const wchar_t* path, std::optional<std::uint64_t> max, std::optional<std::uint64_t> min = {},
                  std::vector<ActionStep> actions = {kBox, kLog})
{
    FolderPlan plan;
    plan.path = path;
    if (max)
        plan.max = LimitPlan{*max, L"over"};
    if (min)
        plan.min = LimitPlan{*min, L"under"};
    plan.actions = std::move(actions);
    return plan;
}

WatchPlan Plan(std::vector<FolderPlan> folders, bool disableAlertOnStartup = false)
{
    return {std::move(folders), L"w.log", disableAlertOnStartup};
}

EngineAnswer Complete(std::uint64_t bytes) { return {EngineAnswer::Kind::Complete, bytes}; }
EngineAnswer Running(std::uint64_t bytes) { return {EngineAnswer::Kind::Running, bytes}; }
EngineAnswer Stale(std::uint64_t bytes) { return {EngineAnswer::Kind::Stale, bytes}; }
const EngineAnswer kUnknown{EngineAnswer::Kind::Unknown, 0};
const EngineAnswer kRefused{EngineAnswer::Kind::Refused, 0};
const EngineAnswer kUnreachable{EngineAnswer::Kind::Unreachable, 0};

enum class On {
    Plan,        // the scenario's next plan
    Opened,      // the folder's open ended, followed
    OpenFailed,  // ... not followed
    Changed,
    Lost,
    Answer,
    Due,
    Next,  // gives "next <NextDue()>"
};

struct Event {
    ULONGLONG at;
    On on;
    const wchar_t* folder;
    EngineAnswer answer;
    std::vector<std::wstring> steps;
};

struct Scenario {
    const char* name;
    std::vector<WatchPlan> plans;
    std::vector<Event> events;
};

// One line per step; a log line without its time stamp.
std::vector<std::wstring> Render(const WatchSteps& steps, std::map<std::uint64_t, std::wstring>& paths)
{
    std::vector<std::wstring> lines;
    for (const FolderStep& step : steps.folders) {
        if (step.kind == FolderStep::Kind::Open)
            paths[step.watch] = step.path;
        const wchar_t* verb = step.kind == FolderStep::Kind::Open    ? L"open "
                              : step.kind == FolderStep::Kind::Close ? L"close "
                                                                     : L"ask ";
        lines.push_back(verb + paths[step.watch]);
    }
    for (const AlertAction& action : steps.actions) {
        switch (action.kind) {
        case AlertAction::Kind::ShowMessage:
            lines.push_back(L"box " + action.folder + L": " + action.text);
            break;
        case AlertAction::Kind::AddToLog:
            lines.push_back(L"log " + action.logFile + L": " + action.text.substr(kStampLength));
            break;
        case AlertAction::Kind::RunApplication:
            lines.push_back(L"run " + action.command.file + L" " + action.command.parameters + L" in " + action.folder +
                            (action.text.empty() ? L"" : L", failure to " + action.logFile + L": " +
                                                             action.text.substr(kStampLength)));
            break;
        }
    }
    return lines;
}

void Play(const Scenario& scenario)
{
    WatchCore core;  // settle 400 ms, confirm 2500, partial retry 1000, retry 5000
    std::map<std::uint64_t, std::wstring> paths;
    auto watchOf = [&](const wchar_t* folder) {
        std::uint64_t last = 0;
        for (const auto& [watch, path] : paths)
            if (path == folder)
                last = watch;
        return last;
    };
    size_t nextPlan = 0;
    for (size_t i = 0; i < scenario.events.size(); ++i) {
        const Event& e = scenario.events[i];
        SCOPED_TRACE(testing::Message() << scenario.name << ": event " << i << " at " << e.at);
        WatchSteps steps;
        std::vector<std::wstring> got;
        switch (e.on) {
        case On::Plan:
            steps = core.Configure(scenario.plans.at(nextPlan++), e.at);
            break;
        case On::Opened:
        case On::OpenFailed:
            steps = core.Opened(watchOf(e.folder), e.on == On::Opened, e.at);
            break;
        case On::Changed:
            core.Changed(watchOf(e.folder), e.at);
            break;
        case On::Lost:
            core.Lost(watchOf(e.folder), e.at);
            break;
        case On::Answer:
            steps = core.Answered(watchOf(e.folder), e.answer, e.at, kNoon);
            break;
        case On::Due:
            steps = core.Due(e.at);
            break;
        case On::Next:
            got.push_back(L"next " + std::to_wstring(core.NextDue()));
            break;
        }
        if (got.empty())
            got = Render(steps, paths);
        EXPECT_EQ(got, e.steps);
    }
}

const wchar_t* const kOverA = L"box C:\\a: over";
const wchar_t* const kLogA2k = L"log w.log: C:\\a\tMaximum exceeded\tSize 2.00 KB\tLimit 1.00 KB";

const Scenario kScenarios[] = {
    {"a maximum fires once per crossing and re-arms once back inside",
     {Plan({Folder(L"C:\\a", 1024)})},
     {
         {0, On::Plan, L"", {}, {L"open C:\\a"}},
         {10, On::Opened, L"C:\\a", {}, {}},
         {409, On::Due, L"", {}, {}},  // the state before any change is asked for after the settle
         {410, On::Due, L"", {}, {L"ask C:\\a"}},
         {420, On::Answer, L"C:\\a", Complete(1024), {}},  // at the limit is inside
         {430, On::Next, L"", {}, {L"next 0"}},  // nothing to do until a change
         {1000, On::Changed, L"C:\\a", {}, {}},
         {1200, On::Changed, L"C:\\a", {}, {}},  // a later change does not push the question back
         {1400, On::Due, L"", {}, {L"ask C:\\a"}},
         {1410, On::Answer, L"C:\\a", Complete(2048), {kOverA, kLogA2k}},
         {3700, On::Due, L"", {}, {L"ask C:\\a"}},  // once more after the last change
         {3710, On::Answer, L"C:\\a", Complete(4096), {}},  // still over: told once
         {4000, On::Changed, L"C:\\a", {}, {}},
         {4400, On::Due, L"", {}, {L"ask C:\\a"}},
         {4410, On::Answer, L"C:\\a", Complete(0), {}},  // back inside: re-armed, silently
         {5000, On::Changed, L"C:\\a", {}, {}},
         {5400, On::Due, L"", {}, {L"ask C:\\a"}},
         {5410, On::Answer, L"C:\\a", Complete(2048), {kOverA, kLogA2k}},
     }},
    {"a minimum, and both limits of one folder",
     {Plan({Folder(L"C:\\b", 4096, 1024)})},
     {
         {0, On::Plan, L"", {}, {L"open C:\\b"}},
         {10, On::Opened, L"C:\\b", {}, {}},
         {410, On::Due, L"", {}, {L"ask C:\\b"}},
         {420, On::Answer, L"C:\\b", Complete(1024), {}},
         {1000, On::Changed, L"C:\\b", {}, {}},
         {1400, On::Due, L"", {}, {L"ask C:\\b"}},
         {1410, On::Answer, L"C:\\b", Complete(10),
          {L"box C:\\b: under", L"log w.log: C:\\b\tMinimum undercut\tSize 10 B\tLimit 1.00 KB"}},
         {2000, On::Changed, L"C:\\b", {}, {}},
         {2400, On::Due, L"", {}, {L"ask C:\\b"}},
         {2410, On::Answer, L"C:\\b", Complete(8192),
          {L"box C:\\b: over", L"log w.log: C:\\b\tMaximum exceeded\tSize 8.00 KB\tLimit 4.00 KB"}},
     }},
    {"a partial total proves only a maximum exceeded, and only once judged inside",
     {Plan({Folder(L"C:\\a", 1024), Folder(L"C:\\b", {}, 1024)})},
     {
         {0, On::Plan, L"", {}, {L"open C:\\a", L"open C:\\b"}},
         {10, On::Opened, L"C:\\a", {}, {}},
         {10, On::Opened, L"C:\\b", {}, {}},
         {410, On::Due, L"", {}, {L"ask C:\\a", L"ask C:\\b"}},
         {420, On::Answer, L"C:\\a", Running(5000), {}},  // never the first judgement
         {420, On::Answer, L"C:\\b", Running(0), {}},     // below a minimum so far proves nothing
         {430, On::Next, L"", {}, {L"next 1420"}},          // asked again soon
         {1420, On::Due, L"", {}, {L"ask C:\\a", L"ask C:\\b"}},
         {1430, On::Answer, L"C:\\a", Complete(10), {}},
         {1430, On::Answer, L"C:\\b", Complete(4096), {}},
         {2000, On::Changed, L"C:\\a", {}, {}},
         {2000, On::Changed, L"C:\\b", {}, {}},
         {2400, On::Due, L"", {}, {L"ask C:\\a", L"ask C:\\b"}},
         {2410, On::Answer, L"C:\\a", Running(2048), {kOverA, kLogA2k}},
         {2410, On::Answer, L"C:\\b", Running(0), {}},
         {3410, On::Due, L"", {}, {L"ask C:\\a", L"ask C:\\b"}},
         {3420, On::Answer, L"C:\\a", Running(0), {}},  // no re-arming on a partial total
         {4420, On::Due, L"", {}, {L"ask C:\\a"}},
         {4430, On::Answer, L"C:\\a", Complete(4096), {}},  // still the same crossing
     }},
    {"stale and unknown totals judge nothing and are asked again a second later",
     {Plan({Folder(L"C:\\a", 1024)})},
     {
         {0, On::Plan, L"", {}, {L"open C:\\a"}},
         {10, On::Opened, L"C:\\a", {}, {}},
         {410, On::Due, L"", {}, {L"ask C:\\a"}},
         {420, On::Answer, L"C:\\a", kUnknown, {}},
         {430, On::Next, L"", {}, {L"next 1420"}},
         {1420, On::Due, L"", {}, {L"ask C:\\a"}},
         {1430, On::Answer, L"C:\\a", Stale(5000), {}},
         {2430, On::Due, L"", {}, {L"ask C:\\a"}},
         {2440, On::Answer, L"C:\\a", Stale(0), {}},
         {3440, On::Due, L"", {}, {L"ask C:\\a"}},
         {3450, On::Answer, L"C:\\a", Complete(2048), {kOverA, kLogA2k}},
     }},
    {"a folder that vanishes is opened again later and keeps its state",
     {Plan({Folder(L"C:\\a", 1024)})},
     {
         {0, On::Plan, L"", {}, {L"open C:\\a"}},
         {10, On::Opened, L"C:\\a", {}, {}},
         {410, On::Due, L"", {}, {L"ask C:\\a"}},
         {420, On::Answer, L"C:\\a", Complete(10), {}},
         {1000, On::Changed, L"C:\\a", {}, {}},
         {1400, On::Due, L"", {}, {L"ask C:\\a"}},
         {1410, On::Answer, L"C:\\a", kRefused, {L"close C:\\a"}},  // not judged
         {1420, On::Next, L"", {}, {L"next 6410"}},
         {6410, On::Due, L"", {}, {L"open C:\\a"}},
         {6420, On::OpenFailed, L"C:\\a", {}, {}},  // still missing
         {11420, On::Due, L"", {}, {L"open C:\\a"}},
         {11430, On::Opened, L"C:\\a", {}, {}},
         {11830, On::Due, L"", {}, {L"ask C:\\a"}},
         {11840, On::Answer, L"C:\\a", Complete(2048), {kOverA, kLogA2k}},
         {12000, On::Lost, L"C:\\a", {}, {}},  // its notifications stopped
         {12010, On::Next, L"", {}, {L"next 17000"}},
         {17000, On::Due, L"", {}, {L"open C:\\a"}},
     }},
    {"reloads keep the state of the limits that did not change",
     {Plan({Folder(L"C:\\a", 1024)}), Plan({Folder(L"C:\\a", 1024)}), Plan({Folder(L"C:\\a", 2048)}), Plan({}),
      Plan({Folder(L"C:\\a", 2048)})},
     {
         {0, On::Plan, L"", {}, {L"open C:\\a"}},
         {10, On::Opened, L"C:\\a", {}, {}},
         {410, On::Due, L"", {}, {L"ask C:\\a"}},
         {420, On::Answer, L"C:\\a", Complete(4096), {kOverA, L"log w.log: C:\\a\tMaximum exceeded\tSize 4.00 KB\tLimit 1.00 KB"}},
         {1000, On::Plan, L"", {}, {}},  // saved again unchanged: nothing asked, nothing told
         {1000, On::Due, L"", {}, {}},
         {2000, On::Plan, L"", {}, {}},  // a new maximum is judged at once
         {2000, On::Due, L"", {}, {L"ask C:\\a"}},
         {2010, On::Answer, L"C:\\a", Complete(4096), {kOverA, L"log w.log: C:\\a\tMaximum exceeded\tSize 4.00 KB\tLimit 2.00 KB"}},
         {3000, On::Plan, L"", {}, {L"close C:\\a"}},  // a file read while being written: no folders
         {4000, On::Plan, L"", {}, {L"open C:\\a"}},   // back, with its state
         {4010, On::Opened, L"C:\\a", {}, {}},
         {4410, On::Due, L"", {}, {L"ask C:\\a"}},
         {4420, On::Answer, L"C:\\a", Complete(4096), {}},
     }},
    {"alerts disabled on start-up silence what the first plan finds until it comes back",
     {Plan({Folder(L"C:\\a", 1024)}, true), Plan({Folder(L"C:\\a", 1024), Folder(L"C:\\b", 1024)}, true)},
     {
         {0, On::Plan, L"", {}, {L"open C:\\a"}},
         {10, On::Opened, L"C:\\a", {}, {}},
         {410, On::Due, L"", {}, {L"ask C:\\a"}},
         {420, On::Answer, L"C:\\a", Complete(2048), {}},
         {1000, On::Plan, L"", {}, {L"open C:\\b"}},  // a reload: only the start-up plan is silent
         {1010, On::Opened, L"C:\\b", {}, {}},
         {1410, On::Due, L"", {}, {L"ask C:\\b"}},
         {1420, On::Answer, L"C:\\b", Complete(2048),
          {L"box C:\\b: over", L"log w.log: C:\\b\tMaximum exceeded\tSize 2.00 KB\tLimit 1.00 KB"}},
         {2000, On::Changed, L"C:\\a", {}, {}},
         {2400, On::Due, L"", {}, {L"ask C:\\a"}},
         {2410, On::Answer, L"C:\\a", Complete(10), {}},
         {3000, On::Changed, L"C:\\a", {}, {}},
         {3400, On::Due, L"", {}, {L"ask C:\\a"}},
         {3410, On::Answer, L"C:\\a", Complete(2048), {kOverA, kLogA2k}},
     }},
    {"an engine that does not answer holds every question for a while",
     {Plan({Folder(L"C:\\a", 1024), Folder(L"C:\\b", 1024)})},
     {
         {0, On::Plan, L"", {}, {L"open C:\\a", L"open C:\\b"}},
         {10, On::Opened, L"C:\\a", {}, {}},
         {10, On::Opened, L"C:\\b", {}, {}},
         {410, On::Due, L"", {}, {L"ask C:\\a", L"ask C:\\b"}},
         {420, On::Answer, L"C:\\a", kUnreachable, {}},
         {430, On::Answer, L"C:\\b", kUnreachable, {}},
         {440, On::Next, L"", {}, {L"next 5430"}},
         {5429, On::Due, L"", {}, {}},
         {5430, On::Due, L"", {}, {L"ask C:\\a", L"ask C:\\b"}},
         {5440, On::Answer, L"C:\\a", Complete(2048), {kOverA, kLogA2k}},
     }},
    {"the actions in their order, with their texts and commands",
     {Plan({Folder(L"C:\\x", 1024, {},
                   {{ActionStep::Kind::RunApplication, L"%currentdir%\\clean.cmd", L"-q"}, kLog, kBox}),
            Folder(L"C:\\y", 1024, {}, {{ActionStep::Kind::RunApplication, L"\"C:\\t\\a b.exe\" -x", L""}})})},
     {
         {0, On::Plan, L"", {}, {L"open C:\\x", L"open C:\\y"}},
         {10, On::Opened, L"C:\\x", {}, {}},
         {10, On::Opened, L"C:\\y", {}, {}},
         {410, On::Due, L"", {}, {L"ask C:\\x", L"ask C:\\y"}},
         {420, On::Answer, L"C:\\x", Complete(2048),
          {L"run C:\\x\\clean.cmd -q in C:\\x, failure to w.log: "
           L"C:\\x\tMaximum exceeded\tSize 2.00 KB\tLimit 1.00 KB\tCould not start C:\\x\\clean.cmd: ",
           L"log w.log: C:\\x\tMaximum exceeded\tSize 2.00 KB\tLimit 1.00 KB", L"box C:\\x: over"}},
         {420, On::Answer, L"C:\\y", Complete(2048), {L"run C:\\t\\a b.exe -x in C:\\y"}},  // does not log
     }},
    {"an open that ends after its folder was dropped is closed; folders without limits are not opened",
     {Plan({Folder(L"C:\\a", 1024), Folder(L"C:\\none", {})}), Plan({})},
     {
         {0, On::Plan, L"", {}, {L"open C:\\a"}},
         {5, On::Plan, L"", {}, {}},
         {10, On::Opened, L"C:\\a", {}, {L"close C:\\a"}},
         {410, On::Due, L"", {}, {}},
     }},
};

TEST(WatchCore, Scenarios)
{
    for (const Scenario& scenario : kScenarios)
        Play(scenario);
}

TEST(WatchCore, DefaultMessageNamesTheFolderSizeAndLimit)
{
    WatchCore core;
    FolderPlan folder = Folder(L"C:\\Data", {}, 1536, {kBox});
    folder.min->msg.clear();
    core.Configure(Plan({folder}), 0);
    core.Opened(1, true, 0);
    ASSERT_EQ(core.Due(400).folders.size(), 1u);
    const WatchSteps steps = core.Answered(1, Complete(0), 400, kNoon);
    ASSERT_EQ(steps.actions.size(), 1u);
    EXPECT_EQ(steps.actions[0].text, L"The folder C:\\Data has a size of 0 B, below its minimum limit of 1.50 KB.");
}

// Storms: every crossing gets its actions, in the order the answers came;
// bounding boxes and programs is for whoever carries them out.
TEST(WatchCore, Storms)
{
    constexpr int kFolders = 300;
    WatchCore core;
    std::vector<FolderPlan> folders;
    for (int i = 0; i < kFolders; ++i)
        folders.push_back(Folder((L"C:\\f" + std::to_wstring(i)).c_str(), 1024, {}, {kLog}));
    ASSERT_EQ(core.Configure(Plan(folders), 0).folders.size(), size_t(kFolders));
    for (std::uint64_t watch = 1; watch <= kFolders; ++watch)
        core.Opened(watch, true, 0);
    const WatchSteps asks = core.Due(400);
    ASSERT_EQ(asks.folders.size(), size_t(kFolders));
    std::vector<std::wstring> logged;
    for (auto ask = asks.folders.rbegin(); ask != asks.folders.rend(); ++ask)
        for (const AlertAction& action : core.Answered(ask->watch, Complete(2048), 500, kNoon).actions)
            logged.push_back(action.text.substr(kStampLength, action.text.find(L'\t', kStampLength) - kStampLength));
    ASSERT_EQ(logged.size(), size_t(kFolders));
    EXPECT_EQ(logged.front(), L"C:\\f299");
    EXPECT_EQ(logged.back(), L"C:\\f0");

    // A folder see-sawing around its limit: one crossing every other answer.
    WatchCore seesaw;
    seesaw.Configure(Plan({Folder(L"C:\\s", 1024)}), 0);
    seesaw.Opened(1, true, 0);
    int crossings = 0;
    for (ULONGLONG at = 400, round = 0; round < 50; ++round, at += 1000) {
        seesaw.Changed(1, at - 400);
        ASSERT_EQ(seesaw.Due(at).folders.size(), 1u) << "round " << round;
        crossings += !seesaw.Answered(1, Complete(round % 2 ? 0 : 2048), at, kNoon).actions.empty();
    }
    EXPECT_EQ(crossings, 25);
}

} // namespace
} // namespace krn::test
