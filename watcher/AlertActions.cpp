#include "watcher/AlertActions.h"

#include <shellapi.h>

#include <thread>

#include "base/Handles.h"

namespace krn {
namespace {

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

constexpr wchar_t kLogKey[] = L"\n:log";  // no folder path has this form

} // namespace

bool MessageBoxes::Show(const std::wstring& key, const std::wstring& text)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (open_.count(key) || open_.size() >= kMaxOpen)
            return false;
        open_.insert(key);
    }
    std::thread([self = shared_from_this(), key, text] {
        MessageBoxW(nullptr, text.c_str(), kAlertCaption,
                    MB_OK | MB_ICONEXCLAMATION | MB_SETFOREGROUND | MB_TOPMOST);
        self->Closed(key);
    }).detach();
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

DWORD AppendLogLine(const std::wstring& path, const std::wstring& line)
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
    bytes += ToUtf8(line) + "\r\n";
    return WriteAll(file.get(), bytes);
}

DWORD StartProgram(const RunCommand& command, const std::wstring& folder)
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
    base::unique_kernel_handle process(info.hProcess);  // not waited on
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

Alerts::Alerts() : boxes_(std::make_shared<MessageBoxes>()) {}

void Alerts::SetLogFile(const std::wstring& path)
{
    if (path != logFile_)
        logFailureShown_ = false;
    logFile_ = path;
}

void Alerts::Fire(const FolderPlan& folder, LimitSide side, const LimitPlan& limit, std::uint64_t size)
{
    const bool logs = folder.HasAction(ActionStep::Kind::AddToLog);
    for (const ActionStep& step : folder.actions) {
        switch (step.kind) {
        case ActionStep::Kind::ShowMessage:
            boxes_->Show(folder.path + (side == LimitSide::Maximum ? L"\n:max" : L"\n:min"),
                         AlertMessage(limit.msg, folder.path, side, size, limit.bytes));
            break;
        case ActionStep::Kind::AddToLog: {
            SYSTEMTIME now;
            GetLocalTime(&now);
            Log(FormatLogLine(now, folder.path, side, size, limit.bytes));
            break;
        }
        case ActionStep::Kind::RunApplication: {
            const RunCommand command = PrepareRun(step.path, step.params, folder.path);
            const DWORD error = StartProgram(command, folder.path);
            if (error != 0 && logs) {
                SYSTEMTIME now;
                GetLocalTime(&now);
                Log(FormatLogLine(now, folder.path, side, size, limit.bytes) + L"\tCould not start " + command.file +
                    L": " + ErrorText(error));
            }
            break;
        }
        }
    }
}

// A log that cannot be written is told once per path, not at every crossing.
void Alerts::Log(const std::wstring& line)
{
    const DWORD error = logFile_.empty() ? ERROR_PATH_NOT_FOUND : AppendLogLine(logFile_, line);
    if (error == 0 || logFailureShown_)
        return;
    logFailureShown_ = true;
    boxes_->Show(kLogKey, L"The log file could not be written:\n" + logFile_ + L"\n" + ErrorText(error));
}

} // namespace krn
