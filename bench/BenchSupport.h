// What the benchmarks share: a clock, a configuration file of many folders,
// a scratch profile that keeps the program's own settings and files out of
// the way, and the build's servers.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace bench {

inline constexpr wchar_t kShellFolders[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";

// Milliseconds on the performance counter.
inline double Now()
{
    static const double frequency = [] {
        LARGE_INTEGER f;
        QueryPerformanceFrequency(&f);
        return static_cast<double>(f.QuadPart);
    }();
    LARGE_INTEGER t;
    QueryPerformanceCounter(&t);
    return static_cast<double>(t.QuadPart) * 1000.0 / frequency;
}

// The build tree: the benchmarks are in its bench folder.
inline std::wstring BuildFolder()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder = path;
    folder = folder.substr(0, folder.rfind(L'\\'));  // bench
    return folder.substr(0, folder.rfind(L'\\'));
}

// Runs a server exe with a command (/RegServer, /UnregServer) and returns its
// exit code.
inline DWORD RunServer(const std::wstring& exe, const wchar_t* command)
{
    std::wstring line = L"\"" + exe + L"\" " + command;
    STARTUPINFOW startup{sizeof startup};
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(exe.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info))
        return GetLastError();
    WaitForSingleObject(info.hProcess, 30000);
    DWORD code = 0;
    GetExitCodeProcess(info.hProcess, &code);
    CloseHandle(info.hProcess);
    CloseHandle(info.hThread);
    return code;
}

// config.xml with `folders` folders, each with both limits and three actions;
// the paths are `pathOf(i)`.
template <typename PathOf>
std::string ConfigXml(int folders, PathOf pathOf)
{
    std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?><Configuration><Settings><ConfigVersion "
                      "Version=\"1.3\"/></Settings><Folders>";
    for (int i = 0; i < folders; ++i) {
        xml += "<Folder Path=\"" + pathOf(i) + "\"><Min Value=\"" + std::to_string(1.5 + i % 97) +
               "\" Units=\"MB\" Msg=\"low\"/><Max Value=\"" + std::to_string(100 + (i * 7919) % 1000) +
               "\" Units=\"GB\" Msg=\"\"/><Actions><MsgBox/><Run Path=\"&quot;C:\\Program Files\\Tool\\tool.exe&quot;\" "
               "Params=\"%currentdir%\"/><AddToLog/></Actions></Folder>";
    }
    return xml + "</Folders></Configuration>";
}

inline std::string ConfigXml(int folders)
{
    return ConfigXml(folders, [](int i) {
        return "C:\\Users\\someone\\Documents\\Projects\\folder " + std::to_string(i);
    });
}

// HKEY_CURRENT_USER and the application-data folder of this process point at
// scratch places, so the program's own settings and files stay untouched.
class ScratchProfile {
public:
    ScratchProfile()
    {
        wchar_t temp[MAX_PATH];
        GetTempPathW(MAX_PATH, temp);
        root_ = std::wstring(temp) + L"krn-bench-" + std::to_wstring(GetCurrentProcessId());
        std::filesystem::create_directories(root_ + L"\\AppData\\Norlath\\Kestrune");
        keyName_ = L"Software\\KrnBench\\" + std::to_wstring(GetCurrentProcessId());
        RegCreateKeyExW(HKEY_CURRENT_USER, keyName_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key_, nullptr);
        RegOverridePredefKey(HKEY_CURRENT_USER, key_);
        const std::wstring appData = root_ + L"\\AppData";
        RegSetKeyValueW(HKEY_CURRENT_USER, kShellFolders, L"AppData", REG_SZ, appData.c_str(),
                        static_cast<DWORD>((appData.size() + 1) * sizeof(wchar_t)));
    }
    ~ScratchProfile()
    {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegCloseKey(key_);
        RegDeleteTreeW(HKEY_CURRENT_USER, keyName_.c_str());
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }
    void WriteConfig(const std::string& xml) const
    {
        std::ofstream(std::filesystem::path(root_ + L"\\AppData\\Norlath\\Kestrune\\config.xml"), std::ios::binary)
            << xml;
    }
    void WriteConfig(int folders) const { WriteConfig(ConfigXml(folders)); }
    const std::wstring& root() const { return root_; }

private:
    std::wstring root_;
    std::wstring keyName_;
    HKEY key_ = nullptr;
};

} // namespace bench
