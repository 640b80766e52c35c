// What the watcher gives the system's event log: the crossings and the limits
// seen back inside, from the watcher's decisions, and each as the record an
// administrator's tools filter on (event id, type and inserts).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "watcher/EventLog.h"
#include "watcher/WatchCore.h"

namespace krn::test {
namespace {

constexpr SYSTEMTIME kNoon = {2026, 3, 6, 7, 12, 0, 0, 0};

// A folder with both limits, 1 KB to 4 KB, answered one complete total after
// another: the records each answer gives, as "<event id>/<type> <inserts...>"
// (type 2 a warning, 4 information).
TEST(EventLog, CrossingsAndReturnsInsideGiveOneRecordEach)
{
    const struct {
        std::uint64_t bytes;
        std::vector<std::wstring> records;
    } kAnswers[] = {
        {2048, {}},  // the first judgement, inside: nothing
        {8192, {L"1001/2 w 8.00 KB 4.00 KB"}},
        {9000, {}},  // still outside: told once
        {2048, {L"1003/4 w 2.00 KB 4.00 KB"}},
        {10, {L"1002/2 w 10 B 1.00 KB"}},
        // from below the minimum to above the maximum
        {8192, {L"1001/2 w 8.00 KB 4.00 KB", L"1004/4 w 8.00 KB 1.00 KB"}},
    };
    WatchCore core;
    FolderPlan folder{L"w", LimitPlan{4096, {}}, LimitPlan{1024, {}}, {}};
    core.Configure({{folder}, L"w.log", false}, 0);
    core.Opened(1, true, 10);
    ULONGLONG now = 1000;
    for (const auto& answer : kAnswers) {
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
    AlertAction run;
    run.kind = AlertAction::Kind::RunApplication;
    EXPECT_EQ(RecordOfFailure(run, L"Could not start x.exe").type, EVENTLOG_ERROR_TYPE);
}

} // namespace
} // namespace krn::test
