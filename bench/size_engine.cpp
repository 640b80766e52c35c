// The size engine's core against a bare FindFirstFileExW walk of the same tree
// (~50,000 files in 5,000 folders, made on first use in C:\krn-bench\tree):
// the first scan, the first complete answer, a cached answer, how soon a
// change shows, and memory for 100 watched folders of that size.
//   build/wine-run build/bench/bench_size_engine.exe [rounds] [scan|cache|memory]
// Without a part named, all three run. The 100 folders are links to the tree
// made from Linux (Wine 8 cannot make them); the program prints the command
// when they are missing.
#include "engine/FolderSizes.h"

#include "BenchSupport.h"

#include <windows.h>
#include <psapi.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

const std::wstring kBench = L"C:\\krn-bench";
const std::wstring kTree = kBench + L"\\tree";
const std::wstring kRoots = kBench + L"\\roots";
constexpr int kTop = 10, kMiddle = 10, kLeaves = 49, kFilesPerFolder = 10;

using bench::Now;

void MakeFiles(const std::wstring& folder, int& number)
{
    for (int i = 0; i < kFilesPerFolder; ++i, ++number) {
        const std::wstring name = folder + L"\\file" + std::to_wstring(i) + L".dat";
        const HANDLE file = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        LARGE_INTEGER size;
        size.QuadPart = (number * 7919LL) % 200000;  // sparse: the sizes are what counts
        SetFilePointerEx(file, size, nullptr, FILE_BEGIN);
        SetEndOfFile(file);
        CloseHandle(file);
    }
}

// 10 x 10 x 49 folders of 10 files each, and 10 files in each middle folder:
// 5,010 folders below the tree, 50,000 files.
void MakeTree()
{
    const std::wstring done = kBench + L"\\tree-complete";
    if (GetFileAttributesW(done.c_str()) != INVALID_FILE_ATTRIBUTES)
        return;
    std::printf("Making the tree (once)...\n");
    const double start = Now();
    CreateDirectoryW(kBench.c_str(), nullptr);
    CreateDirectoryW(kTree.c_str(), nullptr);
    int number = 0;
    for (int a = 0; a < kTop; ++a) {
        const std::wstring top = kTree + L"\\top" + std::to_wstring(a);
        CreateDirectoryW(top.c_str(), nullptr);
        for (int b = 0; b < kMiddle; ++b) {
            const std::wstring middle = top + L"\\middle" + std::to_wstring(b);
            CreateDirectoryW(middle.c_str(), nullptr);
            MakeFiles(middle, number);
            for (int c = 0; c < kLeaves; ++c) {
                const std::wstring leaf = middle + L"\\leaf folder " + std::to_wstring(c);
                CreateDirectoryW(leaf.c_str(), nullptr);
                MakeFiles(leaf, number);
            }
        }
    }
    CloseHandle(CreateFileW(done.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    std::printf("  %d files in %.0f s\n", number, (Now() - start) / 1000);
}

struct WalkTotals {
    uint64_t bytes = 0, files = 0, folders = 0;
};

// What a program without the engine would do.
void BareWalk(const std::wstring& folder, WalkTotals& totals)
{
    WIN32_FIND_DATAW entry;
    const HANDLE find = FindFirstFileExW((folder + L"\\*").c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch,
                                         nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (find == INVALID_HANDLE_VALUE)
        return;
    ++totals.folders;
    do {
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) && wcscmp(entry.cFileName, L".") != 0 &&
                wcscmp(entry.cFileName, L"..") != 0)
                BareWalk(folder + L"\\" + entry.cFileName, totals);
        } else {
            totals.bytes += (uint64_t{entry.nFileSizeHigh} << 32) | entry.nFileSizeLow;
            ++totals.files;
        }
    } while (FindNextFileW(find, &entry));
    FindClose(find);
}

engine::Totals PoolScan(unsigned threads, bool forgetWatchRecords)
{
    storage::WorkerPool pool({threads, threads});
    engine::Totals totals;
    const HANDLE done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    DWORD error = 0;
    auto scan = engine::TreeScan::Start(pool, 1, L"\\\\?\\" + kTree, forgetWatchRecords,
                                        [&](engine::TreeScan& finished) {
                                            totals = finished.TakeTree()->tree;
                                            SetEvent(done);
                                        },
                                        error);
    if (scan)
        WaitForSingleObject(done, INFINITE);
    CloseHandle(done);
    return totals;
}

// From the first question to the complete total, through the cache.
engine::Totals FirstAnswer(engine::FolderSizes& sizes, const std::wstring& folder)
{
    engine::Totals totals;
    sizes.GetTotals(folder, totals);
    engine::ScanState state = engine::ScanState::Running;
    while (sizes.GetScanState(folder, state) == 0 && state != engine::ScanState::Complete)
        Sleep(1);
    sizes.GetTotals(folder, totals);
    return totals;
}

struct Figures {
    std::vector<double> ms;
    double Min() const { return *std::min_element(ms.begin(), ms.end()); }
    double Median() const
    {
        std::vector<double> sorted = ms;
        std::sort(sorted.begin(), sorted.end());
        return sorted[sorted.size() / 2];
    }
};

void CompareScans(int rounds)
{
    struct Variant {
        const char* name;
        std::function<uint64_t()> run;
        Figures figures;
    };
    std::vector<Variant> variants;
    variants.push_back({"bare FindFirstFileExW walk", [] {
                            WalkTotals totals;
                            BareWalk(kTree, totals);
                            return totals.files;
                        }});
    variants.push_back({"engine scan, 1 thread", [] { return PoolScan(1, false).files; }});
    variants.push_back({"engine scan, 2 threads", [] { return PoolScan(2, false).files; }});
    variants.push_back({"engine scan, 2 threads, Wine repair", [] { return PoolScan(2, true).files; }});
    variants.push_back({"first complete answer (cache)", [] {
                            engine::FolderSizes sizes;
                            return FirstAnswer(sizes, kTree).files;
                        }});
    // Interleaved, so that a busy moment of the machine hits every variant.
    for (int round = 0; round < rounds; ++round) {
        for (Variant& variant : variants) {
            const double start = Now();
            const uint64_t files = variant.run();
            variant.figures.ms.push_back(Now() - start);
            if (files != 50000)
                std::printf("  %s counted %llu files\n", variant.name, static_cast<unsigned long long>(files));
        }
    }
    const double walk = variants[0].figures.Min();
    std::printf("\nFirst scan of the tree, %d rounds (ms):        min   median  min/walk\n", rounds);
    for (const Variant& variant : variants)
        std::printf("  %-38s %7.0f %7.0f %7.2f\n", variant.name, variant.figures.Min(), variant.figures.Median(),
                    variant.figures.Min() / walk);
}

void CachedAnswerAndChanges()
{
    engine::FolderSizes sizes;
    const engine::Totals first = FirstAnswer(sizes, kTree);
    std::printf("\nTotal: %llu bytes in %llu files\n", static_cast<unsigned long long>(first.bytes),
                static_cast<unsigned long long>(first.files));

    Figures cached;
    for (int i = 0; i < 2000; ++i) {
        engine::Totals totals;
        const double start = Now();
        sizes.GetTotals(kTree, totals);
        cached.ms.push_back(Now() - start);
    }
    std::sort(cached.ms.begin(), cached.ms.end());
    std::printf("Cached answer (2,000 questions): median %.3f ms, 99th percentile %.3f ms, max %.3f ms\n",
                cached.Median(), cached.ms[cached.ms.size() * 99 / 100], cached.ms.back());

    // A file added at four depths, then deleted again.
    Figures latency;
    const std::wstring places[] = {L"", L"\\top3", L"\\top5\\middle2", L"\\top7\\middle9\\leaf folder 48"};
    for (const std::wstring& place : places)
        DeleteFileW((kTree + place + L"\\bench-change.bin").c_str());
    for (int i = 0; i < 8; ++i) {
        const std::wstring name = kTree + places[i % 4] + L"\\bench-change.bin";
        const bool adding = i < 4;
        engine::Totals before;
        sizes.GetTotals(kTree, before);
        const double start = Now();
        if (adding) {
            const HANDLE file = CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
            DWORD written = 0;
            WriteFile(file, "0123456789", 10, &written, nullptr);
            CloseHandle(file);
        } else {
            DeleteFileW(name.c_str());
        }
        engine::Totals now = before;
        while (now == before && Now() - start < 5000) {
            Sleep(1);
            sizes.GetTotals(kTree, now);
        }
        latency.ms.push_back(Now() - start);
        if (now.files != (adding ? before.files + 1 : before.files - 1))
            std::printf("  change %d: %llu files\n", i, static_cast<unsigned long long>(now.files));
    }
    std::printf("A change shows after (4 files added at depths 0-3, then deleted): min %.0f ms, median %.0f ms, "
                "max %.0f ms\n",
                latency.Min(), latency.Median(), *std::max_element(latency.ms.begin(), latency.ms.end()));
}

void PrintMemory(const char* when)
{
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof counters;
    GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters), sizeof counters);
    std::printf("  %-34s working set %7.1f MB, private %7.1f MB\n", when, counters.WorkingSetSize / 1048576.0,
                counters.PrivateUsage / 1048576.0);
}

void MemoryForHundredFolders()
{
    std::vector<std::wstring> roots;
    for (int i = 0; i < 100; ++i) {
        wchar_t name[16];
        std::swprintf(name, 16, L"\\r%03d", i);
        if (GetFileAttributesW((kRoots + name).c_str()) == INVALID_FILE_ATTRIBUTES)
            break;
        roots.push_back(kRoots + name);
    }
    if (roots.size() < 100) {
        std::printf("\nMemory: make the 100 folders from Linux first (links to the tree):\n"
                    "  mkdir -p <prefix>/drive_c/krn-bench/roots && cd $_ && "
                    "for i in $(seq -w 0 99); do ln -sfn ../tree r0$i; done\n");
        return;
    }
    std::printf("\nMemory for 100 watched folders of 5,010 folders and 50,000 files each:\n");
    PrintMemory("before");
    engine::FolderSizes sizes;
    const double start = Now();
    for (const std::wstring& root : roots)
        FirstAnswer(sizes, root);
    std::printf("  all 100 complete after %.0f s\n", (Now() - start) / 1000);
    PrintMemory("100 folders watched");
    Sleep(2000);
    PrintMemory("2 s later");
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const int rounds = argc > 1 ? _wtoi(argv[1]) : 5;
    MakeTree();
    std::printf("Tree: %ls\n", kTree.c_str());
    using UnixName = char*(CDECL*)(const wchar_t*);
    if (const auto unixName = reinterpret_cast<UnixName>(
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")))) {
        if (char* name = unixName(kTree.c_str())) {
            std::printf("      %s (compare: du -sb, and find -type f -printf '%%s\\n' | paste -sd+ | bc)\n", name);
            HeapFree(GetProcessHeap(), 0, name);
        }
    }
    WalkTotals walk;
    BareWalk(kTree, walk);
    std::printf("Bare walk: %llu bytes in %llu files, %llu folders with the tree itself\n",
                static_cast<unsigned long long>(walk.bytes), static_cast<unsigned long long>(walk.files),
                static_cast<unsigned long long>(walk.folders));
    const std::wstring part = argc > 2 ? argv[2] : L"";
    if (part.empty() || part == L"scan")
        CompareScans(rounds);
    if (part.empty() || part == L"cache")
        CachedAnswerAndChanges();
    if (part.empty() || part == L"memory")
        MemoryForHundredFolders();
    return 0;
}
