// The size engine's calls marshaled two ways, side by side in one run: the
// type library with the universal marshaler (what the product registers)
// against the proxy/stub DLL made by widl (idl/proxy). Each round measures
// both, one after the other, switching the interfaces' proxy/stub class in
// the registry in between:
//   - the floor: 100 creations, calls and releases on the stand-in engine
//     that does no work, apartment-threaded and free-threaded;
//   - a call on a proxy kept;
//   - the main window's refresh of 100 real folders on the real engine;
//   - the main window's start with 1,000 folders (its first refresh included).
//   build/wine-run build/bench/bench_marshaling.exe [rounds]
// It registers the servers, the stand-ins and the DLL for its run; at the end
// it unregisters the stand-ins and the DLL and registers the servers again,
// which puts the type library's rows back.
#include "app/AppModule.h"
#include "app/MessageLoop.h"
#include "ui/main/MainDialog.h"
#include "BenchSupport.h"

#include <windows.h>
#include <commctrl.h>
#include <ole2.h>

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace {

using bench::Now;

constexpr wchar_t kUniversalMarshaler[] = L"{00020424-0000-0000-C000-000000000046}";

std::wstring GuidText(const GUID& guid)
{
    wchar_t text[39] = {};
    StringFromGUID2(guid, text, 39);
    return text;
}

// Which class marshals the servers' interfaces, for every client and server
// from now on.
void UseProxyStubClass(const std::wstring& clsid)
{
    for (const IID* iid : {&IID_ISizeEngine, &IID_ISizeEngine2, &IID_IWatcherControl}) {
        const std::wstring key = L"Software\\Classes\\Interface\\" + GuidText(*iid) + L"\\ProxyStubClsid32";
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), nullptr, REG_SZ, clsid.c_str(),
                        static_cast<DWORD>((clsid.size() + 1) * sizeof(wchar_t)));
    }
}

// Calls the DLL's DllRegisterServer or DllUnregisterServer.
HRESULT CallDll(const std::wstring& dll, const char* entry)
{
    HMODULE module = LoadLibraryW(dll.c_str());
    if (!module)
        return HRESULT_FROM_WIN32(GetLastError());
    auto function = reinterpret_cast<HRESULT(WINAPI*)()>(GetProcAddress(module, entry));
    const HRESULT hr = function ? function() : E_FAIL;
    FreeLibrary(module);
    return hr;
}

double PerCall(int count, const std::function<void()>& call)
{
    const double start = Now();
    for (int i = 0; i < count; ++i)
        call();
    return (Now() - start) / count;
}

double OpenWithFolders(const bench::ScratchProfile& profile, int folders)
{
    profile.WriteConfig(folders);
    krn::MainDialog dialog;
    const double start = Now();
    const HWND window = dialog.Create(nullptr);
    ShowWindow(window, SW_SHOWNA);
    UpdateWindow(window);
    return Now() - start;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const int rounds = argc > 1 ? _wtoi(argv[1]) : 5;
    setvbuf(stderr, nullptr, _IONBF, 0);  // progress shows as it comes
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);
    OleInitialize(nullptr);
    const std::wstring build = bench::BuildFolder();
    const std::wstring engine = build + L"\\KRN Size Engine.exe", watcher = build + L"\\KRN Watcher.exe",
                       nullSta = build + L"\\KRN Null Engine.exe", nullMta = build + L"\\KRN Null Engine MTA.exe",
                       dll = build + L"\\KrnProxyStub.dll";
    for (const std::wstring& exe : {engine, nullSta, nullMta})
        if (bench::RunServer(exe, L"/RegServer") != 0) {
            std::fwprintf(stderr, L"%ls could not be registered\n", exe.c_str());
            return 1;
        }
    if (FAILED(CallDll(dll, "DllRegisterServer"))) {
        std::fwprintf(stderr, L"%ls could not be registered\n", dll.c_str());
        return 1;
    }
    // The DLL's proxy/stub class is the first interface's IID.
    const std::map<std::wstring, std::wstring> marshalers = {{L"type library", kUniversalMarshaler},
                                                             {L"proxy/stub DLL", GuidText(IID_ISizeEngine)}};
    krn::MessageLoop loop;
    krn::Module().AddMessageLoop(&loop);
    {
        bench::ScratchProfile profile;
        const std::vector<std::string> paths = bench::MakeFolders(profile.root(), 100);
        const std::string config100 = bench::ConfigXml(100, [&](int i) { return paths[size_t(i)]; });
        std::vector<base::unique_bstr> bstrs;
        for (const auto& path : paths)
            bstrs.emplace_back(std::wstring(path.begin(), path.end()).c_str());

        std::map<std::wstring, std::map<std::string, std::vector<double>>> figures;
        for (int round = -1; round < rounds; ++round) {  // round -1 warms both up, and is not counted
            for (const auto& [name, clsid] : marshalers) {
                UseProxyStubClass(clsid);
                auto& f = figures[name];
                auto record = [&](const char* what, double ms) {
                    std::fwprintf(stderr, L"round %d, %ls: %hs %.1f ms\n", round, name.c_str(), what, ms);
                    if (round >= 0)
                        f[what].push_back(ms);
                };
                record("floor: 100 x create + call + release, apartment-threaded", PerCall(1, [&] {
                           bench::FloorRound(bench::kNullSizeEngine, bstrs);
                       }));
                record("floor: the same, free-threaded", PerCall(1, [&] {
                           bench::FloorRound(bench::kNullSizeEngineMta, bstrs);
                       }));
                base::com_ptr<ISizeEngine> kept;
                CoCreateInstance(bench::kNullSizeEngine, nullptr, CLSCTX_LOCAL_SERVER, IID_ISizeEngine,
                                 kept.put_void());
                UINT64 size = 0;
                record("a call on a kept proxy, apartment-threaded", PerCall(200, [&] {
                           kept->GetTotalSize(bstrs[0].get(), &size);
                       }));
                profile.WriteConfig(config100);
                krn::MainDialog dialog;
                const HWND window = dialog.Create(nullptr);
                record("refresh of 100 folders, the real engine", PerCall(1, [&] {
                           SendMessageW(window, WM_TIMER, krn::MonitorControl::kRefreshTimer, 0);
                       }));
                record("main window start with 1,000 folders", OpenWithFolders(profile, 1000));
            }
        }
        // Proof that the second column went through the DLL.
        std::wprintf(L"proxy/stub DLL loaded in this process: %ls\n",
                     GetModuleHandleW(L"KrnProxyStub.dll") ? L"yes" : L"no");
        std::wprintf(L"medians of %d rounds, ms%-30ls %14ls %16ls\n", rounds, L"", L"type library",
                     L"proxy/stub DLL");
        for (const auto& [what, values] : figures[L"type library"])
            std::wprintf(L"%-64hs %10.2f %16.2f\n", what.c_str(), bench::Median(values),
                         bench::Median(figures[L"proxy/stub DLL"][what]));
        UseProxyStubClass(kUniversalMarshaler);
        bench::ReleaseFolders(bstrs);
    }
    krn::Module().RemoveMessageLoop();
    CallDll(dll, "DllUnregisterServer");
    bench::RunServer(nullSta, L"/UnregServer");
    bench::RunServer(nullMta, L"/UnregServer");
    // Unregistering the DLL removed the interfaces' rows: the servers write
    // them again from the type library.
    bench::RunServer(engine, L"/RegServer");
    bench::RunServer(watcher, L"/RegServer");
    OleUninitialize();
    return 0;
}
