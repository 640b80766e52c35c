// The watcher's records in the system's Application log: each crossing, each
// limit seen back inside and each action that failed, under the source
// "Kestrune Watcher" with the message table of WatcherEvents.mc, so that
// Event Viewer shows the text and the tools that collect logs across many PCs
// can filter by event id.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "base/Handles.h"
#include "watcher/WatchCore.h"

namespace krn {

inline constexpr wchar_t kEventSource[] = L"Kestrune Watcher";

// One record: the event id (the message table's, severity bits included), its
// type for the log and its inserts in the order the message uses them.
struct EventRecord {
    DWORD id = 0;
    WORD type = EVENTLOG_INFORMATION_TYPE;
    std::vector<std::wstring> inserts;
};

EventRecord RecordOf(const LimitEvent& event);
// `what`: what went wrong, as the user's log says it.
EventRecord RecordOfFailure(const AlertAction& action, const std::wstring& what);

// Writes records; safe to use from any thread. A source that cannot be
// registered is told once on the debugger's output and the records are
// dropped: the watcher's other actions carry on.
class EventLog {
public:
    EventLog();
    void Write(const EventRecord& record) const;

private:
    base::unique_event_source source_;
};

} // namespace krn
