// What the watcher does when a limit is crossed: the folder's actions in their
// order. Nothing here may stop the monitoring: message boxes wait on threads
// of their own, a log line is appended and the file closed again, and a
// program is started without waiting for it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "watcher/AlertText.h"
#include "watcher/WatchPlan.h"

namespace krn {

// The open message boxes. Each box runs on a thread of its own, detached:
// the thread shares ownership of this book-keeping, so a box still open when
// the watcher ends needs nothing else alive. At most one box per key (a
// folder's limit) is open, and at most kMaxOpen in all, so that many folders
// crossing at once cannot flood the screen: a crossing that finds the cap
// reached shows no box (its other actions still run, and the log has it).
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

// Appends one line (UTF-8; a new or empty file starts with the UTF-8 byte
// order mark, so Notepad shows every path character) and a CRLF, then closes
// the file. 0 or the error of the failing step.
DWORD AppendLogLine(const std::wstring& file, const std::wstring& line);

// ShellExecuteExW of the prepared command, in `folder` as working directory
// when it exists; does not wait for the program. 0 or the error.
DWORD StartProgram(const RunCommand& command, const std::wstring& folder);

class Alerts {
public:
    Alerts();

    // A new log path is reported again when it fails.
    void SetLogFile(const std::wstring& path);
    // Runs the folder's actions in their order for one crossing.
    void Fire(const FolderPlan& folder, LimitSide side, const LimitPlan& limit, std::uint64_t size);

    const MessageBoxes& boxes() const { return *boxes_; }

private:
    void Log(const std::wstring& line);

    std::shared_ptr<MessageBoxes> boxes_;
    std::wstring logFile_;
    bool logFailureShown_ = false;
};

std::wstring ErrorText(DWORD error);

} // namespace krn
