#include "watcher/EventLog.h"

#include "WatcherEvents.h"
#include "config/Locations.h"

namespace krn {
namespace {

std::wstring SizeText(std::uint64_t bytes)
{
    wchar_t text[kFormatSizeChars] = {};
    return FormatSize(bytes, text);
}

const wchar_t* ActionName(AlertAction::Kind kind)
{
    switch (kind) {
    case AlertAction::Kind::ShowMessage:
        return L"Show message";
    case AlertAction::Kind::AddToLog:
        return L"Add to log";
    case AlertAction::Kind::RunApplication:
        break;
    }
    return L"Run application";
}

} // namespace

EventRecord RecordOf(const LimitEvent& event)
{
    EventRecord record;
    switch (event.kind) {
    case LimitEvent::Kind::MaximumExceeded:
        record = {KRN_EVENT_MAXIMUM_EXCEEDED, EVENTLOG_WARNING_TYPE, {}};
        break;
    case LimitEvent::Kind::BelowMinimum:
        record = {KRN_EVENT_BELOW_MINIMUM, EVENTLOG_WARNING_TYPE, {}};
        break;
    case LimitEvent::Kind::BackUnderMaximum:
        record = {KRN_EVENT_BACK_UNDER_MAXIMUM, EVENTLOG_INFORMATION_TYPE, {}};
        break;
    case LimitEvent::Kind::BackOverMinimum:
        record = {KRN_EVENT_BACK_OVER_MINIMUM, EVENTLOG_INFORMATION_TYPE, {}};
        break;
    }
    record.inserts = {event.folder, SizeText(event.size), SizeText(event.limit)};
    return record;
}

EventRecord RecordOfFailure(const AlertAction& action, const std::wstring& what)
{
    return {KRN_EVENT_ACTION_FAILED, EVENTLOG_ERROR_TYPE, {ActionName(action.kind), action.folder, what}};
}

EventLog::EventLog() : source_(RegisterEventSourceW(nullptr, kEventSource))
{
    if (!source_)
        OutputDebugStringW(L"Kestrune Watcher: the event log source could not be registered\n");
}

void EventLog::Write(const EventRecord& record) const
{
    if (!source_)
        return;
    std::vector<const wchar_t*> strings;
    for (const std::wstring& insert : record.inserts)
        strings.push_back(insert.c_str());
    ReportEventW(source_.get(), record.type, 0, record.id, nullptr, static_cast<WORD>(strings.size()), 0,
                 strings.data(), nullptr);
}

} // namespace krn
