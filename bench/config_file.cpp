// Saving and loading a large configuration, against the floor of a bare
// MSXML load of the same file.
//   build/wine-run build/bench/bench_config_file.exe [folders]
#include <windows.h>
#include <ole2.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cwchar>
#include <functional>
#include <string>

#include "actions/RunAction.h"
#include "actions/StandardKinds.h"
#include "config/ConfigDocument.h"
#include "config/XmlDom.h"

namespace {

using Clock = std::chrono::steady_clock;

// The best of a few runs, in milliseconds.
double BestOf(int runs, const std::function<void()>& work)
{
    double best = 1e300;
    for (int i = 0; i < runs; ++i) {
        const auto start = Clock::now();
        work();
        best = std::min(best, std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    return best;
}

krn::FolderEntries MakeFolders(const krn::ActionKindRegistry& kinds, int count)
{
    krn::FolderEntries folders;
    for (int i = 0; i < count; ++i) {
        auto entry = std::make_unique<krn::FolderEntry>();
        entry->path = L"C:\\Users\\someone\\Documents\\Projects\\folder " + std::to_wstring(i);
        entry->flags = krn::FolderEntry::HasMin | krn::FolderEntry::HasMax;
        entry->min = {1.5 + i, krn::SizeUnit_MB, 0, L"below the minimum"};
        entry->max = {2.25 * i + 100, krn::SizeUnit_GB, 0, L""};
        const krn::RunParams block{L"\"C:\\Program Files\\Tool\\tool.exe\"", L"%currentdir% /quiet"};
        krn::ActionSlot run(nullptr, kinds.KindAt(2));
        run.kind->CloneParams(&run.params, &block);
        entry->actions.emplace_back(nullptr, kinds.KindAt(0));
        entry->actions.push_back(std::move(run));
        entry->actions.emplace_back(nullptr, kinds.KindAt(1));
        folders.push_back(std::move(entry));
    }
    return folders;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const int count = argc > 1 ? _wtoi(argv[1]) : 10000;
    base::OleInit ole;
    krn::ActionKindRegistry kinds;
    krn::AddStandardKinds(kinds, GetModuleHandleW(nullptr));
    const krn::FolderEntries folders = MakeFolders(kinds, count);

    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    const std::wstring path = std::wstring(temp) + L"bench_config_file.xml";

    const int runs = 3;
    DWORD saveStatus = 0;
    const double save = BestOf(runs, [&] { saveStatus = krn::SaveConfiguration(path.c_str(), folders); });
    std::size_t loadedCount = 0;
    DWORD loadStatus = 0;
    const double load = BestOf(runs, [&] {
        krn::FolderEntries loaded;
        loadStatus = krn::LoadConfiguration(path.c_str(), kinds, loaded);
        loadedCount = loaded.size();
    });
    HRESULT parseStatus = S_OK;
    const double parse = BestOf(runs, [&] {
        base::com_ptr<IXMLDOMDocument> document;
        krn::CreateDomDocument(document);
        document->put_async(VARIANT_FALSE);
        base::unique_variant source;
        krn::SetStringVariant(source, path);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        parseStatus = document->load(source.get(), &loaded);
    });

    WIN32_FILE_ATTRIBUTE_DATA info{};
    GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &info);
    DeleteFileW(path.c_str());

    std::printf("folders: %d (3 actions, both limits each), file: %lu bytes, best of %d runs\n", count,
                info.nFileSizeLow, runs);
    std::printf("save:              %9.1f ms  (status %lu)\n", save, saveStatus);
    std::printf("load:              %9.1f ms  (status %lu, %zu folders read back)\n", load, loadStatus, loadedCount);
    std::printf("bare MSXML load:   %9.1f ms  (status 0x%lx)\n", parse, static_cast<unsigned long>(parseStatus));
    std::printf("load / bare load:  %9.2f\n", load / parse);
    std::printf("save / bare load:  %9.2f\n", save / parse);
    return saveStatus == 0 && loadStatus == 0 && loadedCount == folders.size() ? 0 : 1;
}
