// The main window's refresh of 100 folders (one size engine object created,
// asked and released per folder, every three seconds) against its floor: the
// same 100 creations, calls and releases on a stand-in engine that does no
// work, in the same Wine session, taken in turns so that drift hits both.
//   build/wine-run build/bench/bench_refresh.exe [folders] [rounds]
// It registers the size engine and the stand-in before it starts and
// unregisters the stand-in when it ends.
#include "app/AppModule.h"
#include "app/MessageLoop.h"
#include "base/Com.h"
#include "ui/main/MainDialog.h"
#include "BenchSupport.h"
#include "Kestrune.h"

#include <windows.h>
#include <commctrl.h>
#include <ole2.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

int wmain(int argc, wchar_t** argv)
{
    const int folders = argc > 1 ? _wtoi(argv[1]) : 100;
    const int rounds = argc > 2 ? _wtoi(argv[2]) : 9;
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);
    OleInitialize(nullptr);
    const std::wstring build = bench::BuildFolder();
    const std::wstring engineExe = build + L"\\KRN Size Engine.exe";
    const std::wstring nullExe = build + L"\\KRN Null Engine.exe";
    if (bench::RunServer(engineExe, L"/RegServer") != 0 || bench::RunServer(nullExe, L"/RegServer") != 0) {
        std::fwprintf(stderr, L"the servers could not be registered\n");
        return 1;
    }
    krn::MessageLoop loop;
    krn::Module().AddMessageLoop(&loop);
    {
        bench::ScratchProfile profile;
        const std::vector<std::string> paths = bench::MakeFolders(profile.root(), folders);
        profile.WriteConfig(bench::ConfigXml(folders, [&](int i) { return paths[static_cast<size_t>(i)]; }));
        std::vector<base::unique_bstr> bstrs;
        for (const auto& path : paths)
            bstrs.emplace_back(std::wstring(path.begin(), path.end()).c_str());

        krn::MainDialog dialog;
        const HWND window = dialog.Create(nullptr);
        // Warm: the engine has counted every folder, both servers are running.
        for (int i = 0; i < 5; ++i) {
            SendMessageW(window, WM_TIMER, krn::MonitorControl::kRefreshTimer, 0);
            bench::FloorRound(bench::kNullSizeEngine, bstrs);
            Sleep(200);
        }
        std::vector<double> refresh, floor;
        for (int r = 0; r < rounds; ++r) {
            double start = bench::Now();
            SendMessageW(window, WM_TIMER, krn::MonitorControl::kRefreshTimer, 0);
            refresh.push_back(bench::Now() - start);
            start = bench::Now();
            bench::FloorRound(bench::kNullSizeEngine, bstrs);
            floor.push_back(bench::Now() - start);
        }
        std::wprintf(L"refresh of %d folders (real engine, medians of %d): %8.1f ms\n", folders, rounds,
                     bench::Median(refresh));
        std::wprintf(L"floor: %d x create + call + release, no work:     %8.1f ms (refresh/floor %.2fx)\n", folders,
                     bench::Median(floor), bench::Median(refresh) / bench::Median(floor));
        std::wprintf(L"per folder: refresh %.2f ms, floor %.2f ms\n", bench::Median(refresh) / folders,
                     bench::Median(floor) / folders);
        bench::ReleaseFolders(bstrs);
    }
    krn::Module().RemoveMessageLoop();
    bench::RunServer(nullExe, L"/UnregServer");
    OleUninitialize();
    return 0;
}
