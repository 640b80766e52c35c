// The main window with many folders: start to visible window with 1,000
// folders against an empty configuration, Apply of 1,000 folders, one row
// refilled after an edit, and a sort of 1,000 rows by each column.
//   build/wine-run build/bench/bench_main_window.exe [folders] [rounds]
// The program itself is timed too (process start to visible main window),
// with its configuration in a scratch profile of its own.
#include "app/AppModule.h"
#include "app/MessageLoop.h"
#include "ui/main/MainDialog.h"
#include "BenchSupport.h"

#include <windows.h>
#include <commctrl.h>
#include <ole2.h>
#include <shlobj.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

namespace {

using bench::ConfigXml;
using bench::kShellFolders;
using bench::Now;
using bench::ScratchProfile;

constexpr wchar_t kTitle[] = L"Kestrune™ Properties x64";


// The best of `rounds` timings of `work`, in milliseconds.
double Best(int rounds, const std::function<void()>& setUp, const std::function<void()>& work)
{
    double best = 1e300;
    for (int r = 0; r < rounds; ++r) {
        setUp();
        const double start = Now();
        work();
        best = std::min(best, Now() - start);
    }
    return best;
}



// The program itself, started as a user starts it, with this many folders in
// its configuration: process start to visible main window. The profile's
// application-data folder is pointed at a scratch folder for the run and put
// back afterwards.
class ProgramRun {
public:
    ProgramRun()
    {
        wchar_t path[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, path, MAX_PATH);
        program_ = path;
        program_ = program_.substr(0, program_.rfind(L'\\'));
        program_ = program_.substr(0, program_.rfind(L'\\')) + L"\\KRN Properties.exe";
        wchar_t temp[MAX_PATH];
        GetTempPathW(MAX_PATH, temp);
        appData_ = std::wstring(temp) + L"krn-bench-program-" + std::to_wstring(GetCurrentProcessId());
        std::filesystem::create_directories(appData_ + L"\\Norlath\\Kestrune");
        DWORD size = sizeof saved_;
        hadValue_ = RegGetValueW(HKEY_CURRENT_USER, kShellFolders, L"AppData", RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ |
                                 RRF_NOEXPAND, &savedType_, saved_, &size) == ERROR_SUCCESS;
        savedSize_ = size;
        RegSetKeyValueW(HKEY_CURRENT_USER, kShellFolders, L"AppData", REG_SZ, appData_.c_str(),
                        static_cast<DWORD>((appData_.size() + 1) * sizeof(wchar_t)));
    }
    ~ProgramRun()
    {
        if (hadValue_)
            RegSetKeyValueW(HKEY_CURRENT_USER, kShellFolders, L"AppData", savedType_, saved_, savedSize_);
        else
            RegDeleteKeyValueW(HKEY_CURRENT_USER, kShellFolders, L"AppData");
        std::error_code ignored;
        std::filesystem::remove_all(appData_, ignored);
    }
    // Milliseconds from process start to the visible main window; -1 on failure.
    double StartToVisible(int folders) const
    {
        std::ofstream(std::filesystem::path(appData_ + L"\\Norlath\\Kestrune\\config.xml"), std::ios::binary)
            << ConfigXml(folders);
        std::wstring commandLine = L"\"" + program_ + L"\"";
        STARTUPINFOW startup{sizeof startup};
        PROCESS_INFORMATION info{};
        const double start = Now();
        if (!CreateProcessW(program_.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                            &startup, &info))
            return -1;
        HWND window = nullptr;
        while (!window && Now() - start < 30000) {
            HWND found = FindWindowW(L"#32770", kTitle);
            if (found && IsWindowVisible(found))
                window = found;
            else
                Sleep(1);
        }
        const double shown = Now() - start;
        if (window)
            PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
        WaitForSingleObject(info.hProcess, 30000);
        CloseHandle(info.hProcess);
        CloseHandle(info.hThread);
        return window ? shown : -1;
    }

private:
    std::wstring program_;
    std::wstring appData_;
    wchar_t saved_[MAX_PATH * 2] = {};
    DWORD savedSize_ = 0;
    DWORD savedType_ = REG_SZ;
    bool hadValue_ = false;
};

// Creates, shows and paints the main window.
double OpenWindow(krn::MainDialog& dialog)
{
    const double start = Now();
    HWND window = dialog.Create(nullptr);
    ShowWindow(window, SW_SHOWNA);
    UpdateWindow(window);
    return Now() - start;
}

double OpenTime(const ScratchProfile& profile, int folders, int rounds)
{
    double best = 1e300;
    for (int r = 0; r < rounds; ++r) {
        profile.WriteConfig(folders);
        krn::MainDialog dialog;
        best = std::min(best, OpenWindow(dialog));
    }
    return best;
}

void ClickColumn(HWND window, int column)
{
    NMLISTVIEW click{};
    click.hdr.hwndFrom = GetDlgItem(window, 1001);
    click.hdr.idFrom = 1001;
    click.hdr.code = LVN_COLUMNCLICK;
    click.iItem = -1;
    click.iSubItem = column;
    SendMessageW(window, WM_NOTIFY, 1001, reinterpret_cast<LPARAM>(&click));
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const int folders = argc > 1 ? _wtoi(argv[1]) : 1000;
    const int rounds = argc > 2 ? _wtoi(argv[2]) : 3;
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);
    OleInitialize(nullptr);
    {
        const ProgramRun program;
        double empty = 1e300;
        double full = 1e300;
        for (int r = 0; r < rounds; ++r) {
            empty = std::min(empty, program.StartToVisible(0));
            full = std::min(full, program.StartToVisible(folders));
        }
        std::wprintf(L"the program, start to visible main window, empty:    %8.1f ms\n", empty);
        std::wprintf(L"the same with %d folders:                          %8.1f ms (%.2fx)\n", folders, full,
                     full / empty);
    }
    krn::MessageLoop loop;
    krn::Module().AddMessageLoop(&loop);
    {
        ScratchProfile profile;
        const double empty = OpenTime(profile, 0, rounds);
        const double full = OpenTime(profile, folders, rounds);
        std::wprintf(L"in this process, window created, shown, painted, empty: %6.1f ms\n", empty);
        std::wprintf(L"the same with %d folders:                          %8.1f ms (%.2fx)\n", folders, full,
                     full / empty);

        profile.WriteConfig(folders);
        krn::MainDialog dialog;
        OpenWindow(dialog);
        const HWND window = dialog.window();
        const double apply = Best(
            rounds, [&] { dialog.SetModified(true); },
            [&] { SendMessageW(window, WM_COMMAND, MAKEWPARAM(3, BN_CLICKED), 0); });
        std::wprintf(L"Apply of %d folders:                               %8.1f ms\n", folders, apply);
        const double refill = Best(
            rounds * 10, [] {},
            [&] {
                dialog.folders().SetRow(folders / 2);
                UpdateWindow(window);
            });
        std::wprintf(L"one row refilled after an edit:                      %8.3f ms\n", refill);
        const wchar_t* names[] = {L"Folder", L"Min", L"Max", L"Size", L"Actions", L"Path"};
        for (int column = 0; column < 6; ++column) {
            const double sort = Best(rounds, [] {}, [&] { ClickColumn(window, column); });
            std::wprintf(L"sort of %d rows by %-8ls                      %8.1f ms\n", folders, names[column], sort);
        }
    }
    krn::Module().RemoveMessageLoop();
    OleUninitialize();
    return 0;
}
