// What the watcher's monitoring costs, against the registered watcher and
// size engine of the prefix: how soon a crossing is acted on (a file written
// into a folder with a 1 KB maximum until its "Add to log" line appears),
// a storm of 300 folders crossing at once (every crossing logged once, the
// programs they run bounded), the CPU time the watcher uses over a minute with
// 100 folders and nothing changing, its memory with none and with 1,000 folders, and how soon it is
// gone after Disable with 1,000 folders. The prefix's AppData folder and log
// setting point at a scratch folder for the run and are put back afterwards.
//   build/wine-run build/bench/bench_alerts.exe [rounds] [idle seconds]
#define PSAPI_VERSION 2
#include "BenchSupport.h"

#include <windows.h>
#include <objbase.h>
#include <psapi.h>
#include <tlhelp32.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Kestrune.h"
#include "base/Com.h"
#include "base/Handles.h"
#include "idl/PresenceMutex.h"

namespace {

constexpr wchar_t kShellFolders[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";
constexpr wchar_t kAddToLog[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings\\AddToLog";
constexpr wchar_t kSettings[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";

using bench::Now;

// A registry value of the prefix's HKEY_CURRENT_USER, put back on scope exit.
class SavedValue {
public:
    SavedValue(const wchar_t* key, const wchar_t* name) : key_(key), name_(name)
    {
        DWORD size = 0;
        had_ = RegGetValueW(HKEY_CURRENT_USER, key, name, RRF_RT_ANY | RRF_NOEXPAND, &type_, nullptr, &size) ==
               ERROR_SUCCESS;
        data_.resize(size);
        if (had_)
            RegGetValueW(HKEY_CURRENT_USER, key, name, RRF_RT_ANY | RRF_NOEXPAND, &type_, data_.data(), &size);
    }
    ~SavedValue()
    {
        if (had_)
            RegSetKeyValueW(HKEY_CURRENT_USER, key_, name_, type_, data_.data(), static_cast<DWORD>(data_.size()));
        else
            RegDeleteKeyValueW(HKEY_CURRENT_USER, key_, name_);
    }
    void SetString(const std::wstring& value)
    {
        RegSetKeyValueW(HKEY_CURRENT_USER, key_, name_, REG_SZ, value.c_str(),
                        static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    }

private:
    const wchar_t* key_;
    const wchar_t* name_;
    bool had_ = false;
    DWORD type_ = 0;
    std::vector<BYTE> data_;
};

HRESULT Create(base::com_ptr<IWatcherControl>& control)
{
    return CoCreateInstance(CLSID_WatcherControl, nullptr, CLSCTX_LOCAL_SERVER, IID_IWatcherControl,
                            control.put_void());
}

bool WatcherRunning()
{
    return static_cast<bool>(base::unique_kernel_handle(OpenMutexW(SYNCHRONIZE, FALSE, krn::kWatcherMutexName)));
}

void Stop()
{
    base::com_ptr<IWatcherControl> control;
    if (WatcherRunning() && SUCCEEDED(Create(control)))
        control->Disable();
    for (int i = 0; i < 1000 && WatcherRunning(); ++i)
        Sleep(10);
}

base::unique_kernel_handle OpenProcessNamed(const wchar_t* exe)
{
    base::unique_kernel_handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{sizeof entry};
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more; more = Process32NextW(snapshot.get(), &entry))
        if (_wcsicmp(entry.szExeFile, exe) == 0)
            return base::unique_kernel_handle(
                OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, entry.th32ProcessID));
    return {};
}

double CpuMs(HANDLE process)
{
    FILETIME created, ended, kernel, user;
    if (!process || !GetProcessTimes(process, &created, &ended, &kernel, &user))
        return -1;
    auto ms = [](const FILETIME& t) {
        return static_cast<double>((ULONGLONG(t.dwHighDateTime) << 32) | t.dwLowDateTime) / 10000.0;
    };
    return ms(kernel) + ms(user);
}

// Wine answers GetProcessTimes for another process with the caller's times; under Wine
// the Linux process is read instead (Z: is the Linux root), matched by the
// exe's full path on its command line. -1 when neither works.
double LinuxCpuMs(const std::wstring& exeName)
{
    WIN32_FIND_DATAW found;
    HANDLE search = FindFirstFileW(L"Z:\\proc\\*", &found);
    if (search == INVALID_HANDLE_VALUE)
        return -1;
    double result = -1;
    do {
        if (found.cFileName[0] < L'0' || found.cFileName[0] > L'9')
            continue;
        const std::wstring dir = std::wstring(L"Z:\\proc\\") + found.cFileName;
        std::ifstream cmdline{std::filesystem::path(dir + L"\\cmdline"), std::ios::binary};
        std::string command((std::istreambuf_iterator<char>(cmdline)), {});
        if (command.find(std::string(exeName.begin(), exeName.end())) == std::string::npos)
            continue;
        std::ifstream stat{std::filesystem::path(dir + L"\\stat")};
        std::string line;
        std::getline(stat, line);
        std::istringstream fields(line.substr(line.rfind(')') + 2));
        std::string field;
        double ticks = 0;
        for (int i = 3; i <= 15 && fields >> field; ++i)
            if (i == 14 || i == 15)
                ticks += std::stod(field);
        result = ticks * 10.0;  // USER_HZ is 100
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return result;
}

// The servers of this build: beside the bench folder.
std::wstring BuildPath(const wchar_t* name)
{
    wchar_t self[MAX_PATH];
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    return std::filesystem::path(self).parent_path().parent_path().wstring() + L"\\" + name;
}

bool UnderWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

double ProcessCpuMs(HANDLE process, const wchar_t* exeName)
{
    return UnderWine() ? LinuxCpuMs(BuildPath(exeName)) : CpuMs(process);
}

void PrintMemory(const char* what, HANDLE process)
{
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof counters;
    if (!process ||
        !GetProcessMemoryInfo(process, reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters), sizeof counters)) {
        std::printf("%-34s (process not found)\n", what);
        return;
    }
    // Wine reports no private bytes (0): the working set is what tells there.
    std::printf("%-34s private %7.1f MB, working set %7.1f MB\n", what, counters.PrivateUsage / 1048576.0,
                counters.WorkingSetSize / 1048576.0);
}

std::string Utf8(const std::wstring& text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(size_t(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, bytes.data(), size, nullptr, nullptr);
    bytes.pop_back();
    return bytes;
}

void WriteConfig(const std::wstring& appData, const std::vector<std::wstring>& folders, const char* limit,
                 const std::string& actions = "<AddToLog/>")
{
    std::string xml = R"(<?xml version="1.0" encoding="utf-8"?><Configuration><Settings><ConfigVersion )"
                      R"(Version="1.3"/></Settings><Folders>)";
    for (const std::wstring& folder : folders)
        xml += "<Folder Path=\"" + Utf8(folder) + "\">" + limit + "<Actions>" + actions + "</Actions></Folder>";
    xml += "</Folders></Configuration>";
    std::ofstream(std::filesystem::path(appData + L"\\Norlath\\Kestrune\\config.xml"), std::ios::binary) << xml;
}

size_t LineCount(const std::wstring& path)
{
    std::ifstream file{std::filesystem::path(path), std::ios::binary};
    return static_cast<size_t>(std::count(std::istreambuf_iterator<char>(file), {}, '\n'));
}

void WriteFile(const std::wstring& path, size_t bytes)
{
    std::ofstream(std::filesystem::path(path), std::ios::binary) << std::string(bytes, 'x');
}

std::vector<std::wstring> MakeFolders(const std::wstring& root, int count)
{
    std::vector<std::wstring> folders;
    for (int i = 0; i < count; ++i) {
        folders.push_back(root + L"\\" + std::to_wstring(i));
        std::filesystem::create_directories(folders.back());
        WriteFile(folders.back() + L"\\file.bin", 100);
    }
    return folders;
}

size_t CountFiles(const std::wstring& folder, const wchar_t* extension)
{
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        count += entry.path().extension() == extension;
    return count;
}

// The lines after the first `skip` that name a folder named before them (the
// stamps may differ).
size_t RepeatedLines(const std::wstring& log, size_t skip)
{
    std::ifstream file{std::filesystem::path(log), std::ios::binary};
    std::vector<std::string> folders;
    for (std::string line; std::getline(file, line);) {
        if (skip > 0) {
            --skip;
            continue;
        }
        folders.push_back(line.substr(0, line.find("\tMaximum")).substr(line.find('\t') + 1));
    }
    std::sort(folders.begin(), folders.end());
    return folders.size() - static_cast<size_t>(std::unique(folders.begin(), folders.end()) - folders.begin());
}

// Every folder crosses its maximum at once, each with "Run application" and
// "Add to log". Each program marks its start and end and holds for a second, long
// enough for the bound on programs running at once to show.
void Storm(IWatcherControl& control, const std::wstring& scratch, const std::wstring& log, int count)
{
    const std::wstring marks = scratch + L"\\marks", script = scratch + L"\\hold.cmd";
    std::filesystem::create_directories(marks);
    std::ofstream(std::filesystem::path(script), std::ios::binary)
        << "@echo off\r\necho.> \"" + Utf8(marks) + "\\%~nx1.start\"\r\nping -n 2 127.0.0.1 >nul\r\n"
               "echo.> \"" + Utf8(marks) + "\\%~nx1.end\"\r\n";
    const std::vector<std::wstring> folders = MakeFolders(scratch + L"\\storm", count);
    WriteConfig(scratch, folders, R"(<Max Value="1" Units="KB" Msg=""/>)",
                "<Run Path=\"&quot;" + Utf8(script) + "&quot;\" Params=\"&quot;%currentdir%&quot;\"/><AddToLog/>");
    control.ReloadConfiguration();
    Sleep(5000);  // judged inside first: a crossing needs a folder seen below its maximum
    const size_t before = LineCount(log);
    const double start = Now();
    for (const std::wstring& folder : folders)
        WriteFile(folder + L"\\big.bin", 2048);
    size_t mostRunning = 0;
    double logged = -1;
    while (Now() - start < 600000) {
        const size_t started = CountFiles(marks, L".start"), ended = CountFiles(marks, L".end");
        mostRunning = std::max(mostRunning, started - std::min(started, ended));
        if (logged < 0 && LineCount(log) - before >= folders.size())
            logged = Now() - start;
        if (logged >= 0 && ended >= folders.size())
            break;
        Sleep(20);
    }
    std::printf("storm of %d folders: all logged in  %7.1f ms (-1: not all), lines twice: %zu\n", count, logged,
                RepeatedLines(log, before));
    std::printf("  programs: %zu of %d run in %.1f s, at most %zu at once\n", CountFiles(marks, L".end"), count,
                (Now() - start) / 1000.0, mostRunning);
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const int rounds = argc > 1 ? _wtoi(argv[1]) : 20;
    const int idleSeconds = argc > 2 ? _wtoi(argv[2]) : 60;
    base::ComInit com;
    Stop();

    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    const std::wstring scratch = std::wstring(temp) + L"krn-bench-alerts-" + std::to_wstring(GetTickCount());
    std::filesystem::create_directories(scratch + L"\\Norlath\\Kestrune");
    const std::wstring log = scratch + L"\\alerts.log";
    {
        SavedValue appData(kShellFolders, L"AppData");
        SavedValue logFile(kAddToLog, L"LogFile");
        SavedValue silent(kSettings, L"DisableAlertOnStartup");
        appData.SetString(scratch);
        logFile.SetString(log);
        RegDeleteKeyValueW(HKEY_CURRENT_USER, kSettings, L"DisableAlertOnStartup");

        WriteConfig(scratch, {}, "");
        base::com_ptr<IWatcherControl> control;
        if (FAILED(Create(control))) {
            std::printf("the watcher could not be started (is it registered?)\n");
            return 1;
        }
        Sleep(1000);
        base::unique_kernel_handle watcher = OpenProcessNamed(L"KRN Watcher.exe");
        PrintMemory("memory, no folders:", watcher.get());

        // From a file written to the log line.
        const std::wstring folder = scratch + L"\\latency";
        std::filesystem::create_directories(folder);
        WriteConfig(scratch, {folder}, R"(<Max Value="1" Units="KB" Msg=""/>)");
        control->ReloadConfiguration();
        Sleep(2000);
        std::vector<double> latencies;
        for (int round = 0; round < rounds; ++round) {
            const size_t before = LineCount(log);
            const double start = Now();
            WriteFile(folder + L"\\big.bin", 2048);
            while (LineCount(log) == before && Now() - start < 15000)
                Sleep(5);
            latencies.push_back(Now() - start);
            std::filesystem::remove(folder + L"\\big.bin");
            Sleep(2000);  // back inside: the limit re-arms
        }
        std::sort(latencies.begin(), latencies.end());
        std::printf("file written -> log line:           median %7.1f ms, worst %7.1f ms (%d rounds)\n",
                    latencies[latencies.size() / 2], latencies.back(), rounds);

        Storm(*control.get(), scratch, log, 300);

        // Idle: 100 folders, nothing changing.
        WriteConfig(scratch, MakeFolders(scratch + L"\\idle", 100), R"(<Max Value="1" Units="GB" Msg=""/>)");
        control->ReloadConfiguration();
        Sleep(10000);  // the engine's first scans and the first judgements
        base::unique_kernel_handle engine = OpenProcessNamed(L"KRN Size Engine.exe");
        const double watcherStart = ProcessCpuMs(watcher.get(), L"KRN Watcher.exe");
        const double engineStart = ProcessCpuMs(engine.get(), L"KRN Size Engine.exe");
        Sleep(DWORD(idleSeconds) * 1000);
        const double watcherEnd = ProcessCpuMs(watcher.get(), L"KRN Watcher.exe");
        const double engineEnd = ProcessCpuMs(engine.get(), L"KRN Size Engine.exe");
        std::printf("idle CPU over %d s, 100 folders:     watcher %7.1f ms, size engine %7.1f ms\n", idleSeconds,
                    watcherEnd - watcherStart, engineEnd - engineStart);
        std::printf("  (CPU used since each started: watcher %.0f ms, size engine %.0f ms; 10 ms steps under "
                    "Wine, -1: unknown)\n",
                    watcherEnd, engineEnd);
        PrintMemory("memory, 100 folders:", watcher.get());

        WriteConfig(scratch, MakeFolders(scratch + L"\\many", 1000), R"(<Max Value="1" Units="GB" Msg=""/>)");
        const double reload = Now();
        control->ReloadConfiguration();
        std::printf("reload of 1,000 folders:             %7.1f ms\n", Now() - reload);
        Sleep(20000);
        PrintMemory("memory, 1,000 folders:", watcher.get());
        PrintMemory("size engine, after 1,000 folders:", engine.get());
        // More folders than the engine keeps: once judged, they must stay quiet.
        const double manyWatcher = ProcessCpuMs(watcher.get(), L"KRN Watcher.exe");
        const double manyEngine = ProcessCpuMs(engine.get(), L"KRN Size Engine.exe");
        Sleep(DWORD(idleSeconds) * 500);
        std::printf("idle CPU over %d s, 1,000 folders:   watcher %7.1f ms, size engine %7.1f ms\n", idleSeconds / 2,
                    ProcessCpuMs(watcher.get(), L"KRN Watcher.exe") - manyWatcher,
                    ProcessCpuMs(engine.get(), L"KRN Size Engine.exe") - manyEngine);

        // The end must not wait on the folders: Disable until the mutex, the
        // last thing the watcher lets go, is gone.
        const double disable = Now();
        control->Disable();
        control.reset();
        while (WatcherRunning() && Now() - disable < 10000)
            Sleep(1);
        std::printf("Disable with 1,000 folders, until the watcher is gone: %7.1f ms\n", Now() - disable);
    }
    // The engine keeps the folders open, and under Wine a folder open in
    // another process cannot be removed: ending the engine lets them go.
    const std::wstring engineExe = bench::BuildFolder() + L"\\KRN Size Engine.exe";
    bench::RunServer(engineExe, L"/UnregServer");
    bench::RunServer(engineExe, L"/RegServer");
    std::error_code ignored;
    std::filesystem::remove_all(scratch, ignored);
    return 0;
}
