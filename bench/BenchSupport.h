// What the benchmarks share: a clock, a configuration file of many folders,
// a scratch profile that keeps the program's own settings and files out of
// the way, and the build's servers.
#pragma once

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Kestrune.h"
#include "base/Com.h"

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

// {DE678C83-CCD7-4429-81AB-734CF22035B8}, the stand-in of bench/null-engine.
inline const CLSID kNullSizeEngine = {0xDE678C83, 0xCCD7, 0x4429, {0x81, 0xAB, 0x73, 0x4C, 0xF2, 0x20, 0x35, 0xB8}};
// {4A1F0C2E-9B7D-4E61-8C35-2D6E8F0A1B93}, the same, free-threaded.
inline const CLSID kNullSizeEngineMta = {0x4A1F0C2E, 0x9B7D, 0x4E61, {0x8C, 0x35, 0x2D, 0x6E, 0x8F, 0x0A, 0x1B, 0x93}};

// Folders of 20 files of 1 KB each, so that the engine has something real to
// count and keep.
inline std::vector<std::string> MakeFolders(const std::wstring& root, int count)
{
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i) {
        const std::wstring folder = root + L"\\watched\\folder " + std::to_wstring(i);
        std::filesystem::create_directories(folder);
        for (int f = 0; f < 20; ++f)
            std::ofstream(std::filesystem::path(folder + L"\\file" + std::to_wstring(f) + L".bin"), std::ios::binary)
                << std::string(1024, 'x');
        paths.emplace_back(folder.begin(), folder.end());
    }
    return paths;
}

// The floor of a refresh: what its creations, calls and releases cost on an
// engine that does nothing.
inline void FloorRound(const CLSID& engineClass, const std::vector<base::unique_bstr>& paths)
{
    for (const auto& path : paths) {
        base::com_ptr<ISizeEngine> engine;
        if (FAILED(CoCreateInstance(engineClass, nullptr, CLSCTX_LOCAL_SERVER, IID_ISizeEngine, engine.put_void())))
            return;
        UINT64 size = 0;
        engine->GetTotalSize(path.get(), &size);
    }
}

// The engine keeps each watched folder open; under Wine a folder removed
// while open stays until it is closed, and the scratch profile's removal
// would wait for it forever.
inline void ReleaseFolders(const std::vector<base::unique_bstr>& paths)
{
    base::com_ptr<ISizeEngine> engine;
    if (FAILED(CoCreateInstance(CLSID_SizeEngine, nullptr, CLSCTX_LOCAL_SERVER, IID_ISizeEngine, engine.put_void())))
        return;
    for (const auto& path : paths)
        engine->StopWatching(path.get());
    Sleep(500);  // the watches close on the engine's own thread
}

inline double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

} // namespace bench
