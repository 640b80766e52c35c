// Starting and stopping the built "KRN Watcher.exe" from a test: found through
// its mutex, reached through real COM activation, ended with Disable.
#pragma once

#include <windows.h>
#include <tlhelp32.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "app/ChildProcess.h"
#include "support/Scratch.h"
#include "watcher/WatcherControl.h"

namespace krn::test {

inline const std::wstring kWatcherExe = WindowsPath(KRN_WATCHER_EXE);

inline bool MutexExists()
{
    return static_cast<bool>(base::unique_kernel_handle(OpenMutexW(SYNCHRONIZE, FALSE, kWatcherMutexName)));
}

inline bool WaitForMutex(bool present, DWORD timeoutMs)
{
    for (const DWORD start = GetTickCount(); MutexExists() != present; Sleep(5))
        if (GetTickCount() - start > timeoutMs)
            return false;
    return true;
}

inline std::vector<DWORD> WatcherProcesses()
{
    std::vector<DWORD> ids;
    base::unique_kernel_handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{sizeof entry};
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more; more = Process32NextW(snapshot.get(), &entry))
        if (_wcsicmp(entry.szExeFile, L"KRN Watcher.exe") == 0)
            ids.push_back(entry.th32ProcessID);
    return ids;
}

inline HRESULT Create(base::com_ptr<IWatcherControl>& control)
{
    return CoCreateInstance(CLSID_WatcherControl, nullptr, CLSCTX_LOCAL_SERVER, IID_IWatcherControl,
                            control.put_void());
}

inline LONG State(IWatcherControl* control)
{
    LONG state = -1;
    EXPECT_EQ(control->GetState(&state), S_OK);
    return state;
}

// A watcher outlives a test that failed: every test starts and ends with none.
inline void StopWatcher()
{
    base::com_ptr<IWatcherControl> control;
    if (MutexExists() && SUCCEEDED(Create(control)))
        control->Disable();
    EXPECT_TRUE(WaitForMutex(false, 5000)) << "the watcher did not end";
}

inline DWORD RunWatcherWith(const wchar_t* arguments)
{
    ChildProcess watcher(kWatcherExe, arguments);
    return watcher.Wait(30000);
}

// Puts a value of the prefix's HKEY_CURRENT_USER back as it was found (or
// removes it when there was none).
class RegValueGuard {
public:
    RegValueGuard(const wchar_t* key, const wchar_t* name) : key_(key), name_(name)
    {
        had_ = ReadRegValue(key, name, &type_, &data_);
    }
    ~RegValueGuard()
    {
        if (had_)
            WriteRegBinary(key_, name_, type_, data_.data(), DWORD(data_.size()));
        else
            RegDeleteKeyValueW(HKEY_CURRENT_USER, key_, name_);
    }
    RegValueGuard(const RegValueGuard&) = delete;
    RegValueGuard& operator=(const RegValueGuard&) = delete;

private:
    const wchar_t* key_;
    const wchar_t* name_;
    bool had_ = false;
    DWORD type_ = 0;
    std::string data_;
};

class WatcherTest : public testing::Test {
protected:
    // The watcher reads the prefix's own HKEY_CURRENT_USER: its AppData
    // folder is pointed at a scratch folder and put back afterwards.
    void SetUp() override
    {
        StopWatcher();
        WriteRegString(kShellFolders, L"AppData", scratch_.path());
        std::filesystem::create_directories(scratch_ / L"Norlath\\Kestrune");
    }
    void TearDown() override { StopWatcher(); }
    void WriteConfig(const std::optional<std::string>& content) const
    {
        const std::wstring path = scratch_ / L"Norlath\\Kestrune\\config.xml";
        std::filesystem::remove(path);
        if (content)
            WriteFileBytes(path, *content);
    }

    static constexpr wchar_t kShellFolders[] =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";
    TempFolder scratch_;
    RegValueGuard appData_{kShellFolders, L"AppData"};
};

} // namespace krn::test
