#include "watcher/AlertActions.h"

#include <shellapi.h>

#include <condition_variable>
#include <thread>

#include "base/Com.h"

namespace krn {
namespace {

// What a writer still has to write, or a launcher still has to start, gets
// this long when the watcher ends.
constexpr DWORD kStopWithinMs = 500;

constexpr wchar_t kLogKey[] = L"\n:log";  // no folder path has this form

std::string ToUtf8(const std::wstring& text)
{
    if (text.empty())
        return {};
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0,
                                         nullptr, nullptr);
    std::string bytes(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(), size, nullptr,
                        nullptr);
    return bytes;
}

DWORD WriteAll(HANDLE file, const std::string& bytes)
{
    DWORD written = 0;
    if (!WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        return GetLastError();
    return written == bytes.size() ? 0 : ERROR_WRITE_FAULT;
}

} // namespace

bool MessageBoxes::Show(const std::wstring& key, const std::wstring& text)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (open_.count(key) || open_.size() >= kMaxOpen)
            return false;
        open_.insert(key);
    }
    try {
        std::thread([self = shared_from_this(), key, text] {
            MessageBoxW(nullptr, text.c_str(), kAlertCaption,
                        MB_OK | MB_ICONEXCLAMATION | MB_SETFOREGROUND | MB_TOPMOST);
            self->Closed(key);
        }).detach();
    } catch (const std::system_error&) {
        Closed(key);
        return false;
    }
    return true;
}

std::size_t MessageBoxes::OpenCount() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return open_.size();
}

void MessageBoxes::Closed(const std::wstring& key)
{
    std::lock_guard<std::mutex> lock(mutex_);
    open_.erase(key);
}

DWORD AppendLogLines(const std::wstring& path, const std::vector<std::wstring>& lines)
{
    // Another writer (or a viewer that keeps it open) may hold the file for a
    // moment: a few short retries.
    base::unique_file file;
    for (int attempt = 0; attempt < 5; ++attempt) {
        file.reset(CreateFileW(path.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE,
                               nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (file || GetLastError() != ERROR_SHARING_VIOLATION)
            break;
        Sleep(20);
    }
    if (!file)
        return GetLastError();
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file.get(), &size))
        return GetLastError();
    std::string bytes = size.QuadPart == 0 ? "\xEF\xBB\xBF" : "";
    for (const std::wstring& line : lines)
        bytes += ToUtf8(line) + "\r\n";
    return WriteAll(file.get(), bytes);
}

DWORD StartProgram(const RunCommand& command, const std::wstring& folder, base::unique_kernel_handle& process)
{
    if (command.file.empty())
        return ERROR_FILE_NOT_FOUND;
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    const bool folderExists = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
    SHELLEXECUTEINFOW info{sizeof info};
    info.fMask = SEE_MASK_FLAG_NO_UI | SEE_MASK_NOASYNC | SEE_MASK_NOCLOSEPROCESS;
    info.lpFile = command.file.c_str();
    info.lpParameters = command.parameters.empty() ? nullptr : command.parameters.c_str();
    info.lpDirectory = folderExists ? folder.c_str() : nullptr;
    info.nShow = SW_SHOWNORMAL;
    if (!ShellExecuteExW(&info))
        return GetLastError() ? GetLastError() : ERROR_FILE_NOT_FOUND;
    process.reset(info.hProcess);
    return 0;
}

std::wstring ErrorText(DWORD error)
{
    wchar_t* text = nullptr;
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                                            FORMAT_MESSAGE_IGNORE_INSERTS,
                                        nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::wstring result = length ? std::wstring(text, length) : std::wstring();
    LocalFree(text);
    while (!result.empty() && (result.back() == L'\n' || result.back() == L'\r' || result.back() == L' '))
        result.pop_back();
    return result + L" (error " + std::to_wstring(error) + L")";
}

struct LogWriter::Queue {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::pair<std::wstring, std::wstring>> lines;  // file, line
    bool stopping = false;
    const FailureSink onFailure;
    std::set<std::wstring> failing;  // the writing thread's own

    explicit Queue(FailureSink sink) : onFailure(std::move(sink)) {}
    void Write(const std::wstring& file, const std::vector<std::wstring>& batch);
    void Run();
};

void LogWriter::Queue::Write(const std::wstring& file, const std::vector<std::wstring>& batch)
{
    const DWORD error = file.empty() ? ERROR_PATH_NOT_FOUND : AppendLogLines(file, batch);
    if (error == 0)
        failing.erase(file);
    else if (failing.insert(file).second && onFailure)
        onFailure(file, error);
}

// The lines waiting for the same file go out in one write.
void LogWriter::Queue::Run()
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        changed.wait(lock, [this] { return stopping || !lines.empty(); });
        if (lines.empty())
            return;
        const std::wstring file = lines.front().first;
        std::vector<std::wstring> batch;
        while (!lines.empty() && lines.front().first == file) {
            batch.push_back(std::move(lines.front().second));
            lines.pop_front();
        }
        lock.unlock();
        Write(file, batch);
        lock.lock();
    }
}

LogWriter::LogWriter(FailureSink onFailure)
    : queue_(std::make_shared<Queue>(std::move(onFailure))), thread_([queue = queue_] { queue->Run(); })
{
}

LogWriter::~LogWriter()
{
    {
        std::lock_guard<std::mutex> lock(queue_->mutex);
        queue_->stopping = true;
    }
    queue_->changed.notify_all();
    thread_.Join(kStopWithinMs);
}

// Without its thread the writer degrades to writing on the caller's.
void LogWriter::Append(const std::wstring& file, std::wstring line)
{
    if (!thread_.started()) {
        std::lock_guard<std::mutex> lock(queue_->mutex);
        queue_->Write(file, {std::move(line)});
        return;
    }
    {
        std::lock_guard<std::mutex> lock(queue_->mutex);
        queue_->lines.emplace_back(file, std::move(line));
    }
    queue_->changed.notify_one();
}

struct ProgramLauncher::Queue {
    struct Running {
        base::unique_kernel_handle process;
        ULONGLONG countedUntil = 0;
    };

    std::mutex mutex;
    std::deque<AlertAction> waiting;
    bool stopping = false;
    const base::unique_kernel_handle wake{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    const FailureSink onFailure;
    const std::size_t maxRunning;
    const DWORD countedMs;
    std::vector<Running> running;  // the launching thread's own

    Queue(FailureSink sink, std::size_t most, DWORD counted)
        : onFailure(std::move(sink)), maxRunning(most), countedMs(counted)
    {
    }
    void Start(const AlertAction& action);
    bool TakeNext(AlertAction& next);
    void WaitForChange();
    void Run();
};

void ProgramLauncher::Queue::Start(const AlertAction& action)
{
    base::unique_kernel_handle process;
    const DWORD error = StartProgram(action.command, action.folder, process);
    if (error != 0 && onFailure)
        onFailure(action, error);
    else if (process)
        running.push_back({std::move(process), GetTickCount64() + countedMs});
}

bool ProgramLauncher::Queue::TakeNext(AlertAction& next)
{
    const ULONGLONG now = GetTickCount64();
    std::erase_if(running, [now](const Running& program) {
        return now >= program.countedUntil || WaitForSingleObject(program.process.get(), 0) == WAIT_OBJECT_0;
    });
    std::lock_guard<std::mutex> lock(mutex);
    if (stopping || running.size() >= maxRunning || waiting.empty())
        return false;
    next = std::move(waiting.front());
    waiting.pop_front();
    return true;
}

// Until a program ends, one stops counting, another comes, or the end.
void ProgramLauncher::Queue::WaitForChange()
{
    std::vector<HANDLE> handles{wake.get()};
    DWORD timeout = INFINITE;
    const ULONGLONG now = GetTickCount64();
    for (const Running& program : running) {
        handles.push_back(program.process.get());
        timeout = std::min<DWORD>(timeout, program.countedUntil > now ? DWORD(program.countedUntil - now) : 0);
    }
    // The thread is an apartment, and the shell may leave windows on it.
    MsgWaitForMultipleObjectsEx(static_cast<DWORD>(handles.size()), handles.data(), timeout, QS_ALLINPUT,
                                MWMO_INPUTAVAILABLE);
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

void ProgramLauncher::Queue::Run()
{
    // The shell may hand the start to COM.
    const base::ComInit com(COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);
    for (;;) {
        AlertAction next;
        if (TakeNext(next)) {
            Start(next);
            continue;
        }
        {
            std::lock_guard<std::mutex> lock(mutex);
            if (stopping)
                return;
        }
        WaitForChange();
    }
}

ProgramLauncher::ProgramLauncher(FailureSink onFailure, std::size_t maxRunning, DWORD countedMs)
    : queue_(std::make_shared<Queue>(std::move(onFailure), maxRunning, countedMs)),
      thread_([queue = queue_] {
          if (queue->wake)
              queue->Run();
      })
{
}

ProgramLauncher::~ProgramLauncher()
{
    {
        std::lock_guard<std::mutex> lock(queue_->mutex);
        queue_->stopping = true;
        queue_->waiting.clear();
    }
    if (queue_->wake)
        SetEvent(queue_->wake.get());
    thread_.Join(kStopWithinMs);
}

// Without its thread (or its event) the launcher degrades to starting on the
// caller's thread, unbounded.
void ProgramLauncher::Launch(AlertAction action)
{
    if (!queue_->wake || !thread_.started()) {
        queue_->Start(action);
        return;
    }
    bool queued = false;
    {
        std::lock_guard<std::mutex> lock(queue_->mutex);
        if (queue_->waiting.size() < kMaxWaiting) {
            queue_->waiting.push_back(action);
            queued = true;
        }
    }
    if (queued)
        SetEvent(queue_->wake.get());
    else if (queue_->onFailure)
        queue_->onFailure(action, ERROR_BUSY);
}

Alerts::Alerts()
    : events_(std::make_shared<const EventLog>()),
      boxes_(std::make_shared<MessageBoxes>()),
      log_(std::make_shared<LogWriter>([events = events_, boxes = boxes_](const std::wstring& file, DWORD error) {
          AlertAction action;
          action.kind = AlertAction::Kind::AddToLog;
          events->Write(RecordOfFailure(action, file + L": " + ErrorText(error)));
          boxes->Show(kLogKey, L"The log file could not be written:\n" + file + L"\n" + ErrorText(error));
      })),
      programs_([events = events_, log = log_](const AlertAction& action, DWORD error) {
          events->Write(RecordOfFailure(action, L"Could not start " + action.command.file + L": " + ErrorText(error)));
          if (!action.text.empty())
              log->Append(action.logFile, action.text + ErrorText(error));
      })
{
}

void Alerts::Record(const std::vector<LimitEvent>& events)
{
    for (const LimitEvent& event : events)
        events_->Write(RecordOf(event));
}

void Alerts::Carry(const std::vector<AlertAction>& actions)
{
    for (const AlertAction& action : actions) {
        switch (action.kind) {
        case AlertAction::Kind::ShowMessage:
            boxes_->Show(action.folder, action.text);
            break;
        case AlertAction::Kind::AddToLog:
            log_->Append(action.logFile, action.text);
            break;
        case AlertAction::Kind::RunApplication:
            programs_.Launch(action);
            break;
        }
    }
}

} // namespace krn
