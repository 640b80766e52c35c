// Carrying out the actions of crossings (WatchCore decides them, with their
// texts). Nothing here may hold the monitoring, even in a storm of crossings:
// message boxes wait on threads of their own, a few at most; log lines are
// written by a thread of their own, every one and in the order they came;
// programs are started by another thread, a few at a time.
#pragma once

#include <windows.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "base/Handles.h"
#include "watcher/BoundedThread.h"
#include "watcher/EventLog.h"
#include "watcher/WatchCore.h"

namespace krn {

// The watcher's own caption: whatever looks for the main window by its title
// (a second copy of the program, a user's script) must not find an alert.
inline constexpr wchar_t kAlertCaption[] = L"Kestrune\u2122 Watcher";

// The open message boxes. Each box runs on a thread of its own, detached:
// the thread shares ownership of this book-keeping, so a box still open when
// the watcher ends needs nothing else alive. At most one box per key (a
// folder) is open, and at most kMaxOpen in all, so that many folders crossing
// at once cannot flood the screen: a crossing that finds its folder's box
// open, or the cap reached, shows no box (the log still has it).
class MessageBoxes : public std::enable_shared_from_this<MessageBoxes> {
public:
    static constexpr std::size_t kMaxOpen = 8;

    // False when no box was opened: one with that key is open, or the cap.
    bool Show(const std::wstring& key, const std::wstring& text);
    std::size_t OpenCount() const;

private:
    void Closed(const std::wstring& key);

    mutable std::mutex mutex_;
    std::set<std::wstring> open_;
};

// Appends the lines (UTF-8, each with a CRLF; a new or empty file starts with
// the UTF-8 byte order mark, so Notepad shows every path character) in one
// write, then closes the file. 0 or the error of the failing step.
DWORD AppendLogLines(const std::wstring& file, const std::vector<std::wstring>& lines);

// ShellExecuteExW of the command, in `folder` as working directory when it
// exists; does not wait for the program. 0 or the error; `process` is the
// program's process when the shell tells it.
DWORD StartProgram(const RunCommand& command, const std::wstring& folder, base::unique_kernel_handle& process);

std::wstring ErrorText(DWORD error);

// Writes log lines on a thread of its own, in the order they came. A file
// that cannot be written is told once (`onFailure`), until a line reaches it
// again.
class LogWriter {
public:
    using FailureSink = std::function<void(const std::wstring& file, DWORD error)>;

    explicit LogWriter(FailureSink onFailure);
    // Writes what is waiting, for a bounded time.
    ~LogWriter();
    LogWriter(const LogWriter&) = delete;
    LogWriter& operator=(const LogWriter&) = delete;

    void Append(const std::wstring& file, std::wstring line);

private:
    struct Queue;
    std::shared_ptr<Queue> queue_;
    BoundedThread thread_;
};

// Starts programs in the order they came, at most `maxRunning` at a time;
// the rest wait, up to kMaxWaiting (beyond that a program is not started and
// that is told as its failure). A program still running `countedMs` after its
// start no longer counts: it may never end.
class ProgramLauncher {
public:
    static constexpr std::size_t kMaxRunning = 4;
    static constexpr std::size_t kMaxWaiting = 1024;
    static constexpr DWORD kCountedMs = 60000;
    using FailureSink = std::function<void(const AlertAction& action, DWORD error)>;

    explicit ProgramLauncher(FailureSink onFailure, std::size_t maxRunning = kMaxRunning,
                             DWORD countedMs = kCountedMs);
    // Programs still waiting are not started; those started run on.
    ~ProgramLauncher();
    ProgramLauncher(const ProgramLauncher&) = delete;
    ProgramLauncher& operator=(const ProgramLauncher&) = delete;

    void Launch(AlertAction action);

private:
    struct Queue;
    std::shared_ptr<Queue> queue_;
    BoundedThread thread_;
};

class Alerts {
public:
    Alerts();
    Alerts(const Alerts&) = delete;
    Alerts& operator=(const Alerts&) = delete;

    void Carry(const std::vector<AlertAction>& actions);
    // Into the system's event log.
    void Record(const std::vector<LimitEvent>& events);

    const MessageBoxes& boxes() const { return *boxes_; }

private:
    // Shared with the threads that report failures: a log that cannot be
    // written shows a box, a program that cannot start is logged, and both
    // go to the event log.
    std::shared_ptr<const EventLog> events_;
    std::shared_ptr<MessageBoxes> boxes_;
    std::shared_ptr<LogWriter> log_;
    ProgramLauncher programs_;
};

} // namespace krn
