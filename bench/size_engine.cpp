// The size engine's core against a bare FindFirstFileExW walk of the same tree
// (~50,000 files in 5,000 folders, made on first use in C:\krn-bench\tree):
// the first scan, the first complete answer, a cached answer, how soon a
// change shows, and memory for 100 watched folders of that size. Through the
// registered server, as the main window asks (one object per question):
// a sweep of 2,000 folders until every total is exact, folders made and
// deleted over and over, and other folders' questions while one folder's
// storage takes seconds per operation.
//   build/wine-run build/bench/bench_size_engine.exe [rounds] [scan|cache|memory|sweep|churn|slow <folder>]
// Without a part named, the first five run. The 100 folders are links to the
// tree made from Linux (Wine 8 cannot make them); the program prints the
// command when they are missing, and how to mount slow storage for `slow`.
#include "engine/FolderSizes.h"

#include "BenchSupport.h"
#include "Kestrune.h"
#include "base/Com.h"

#include <windows.h>
#include <psapi.h>
#include <tlhelp32.h>
#include <winternl.h>

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

size_t PrintMemory(const char* when)
{
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof counters;
    GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters), sizeof counters);
    std::printf("  %-34s working set %7.1f MB, private %7.1f MB\n", when, counters.WorkingSetSize / 1048576.0,
                counters.PrivateUsage / 1048576.0);
    // Wine leaves the private bytes at 0.
    return counters.PrivateUsage ? counters.PrivateUsage : counters.WorkingSetSize;
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
    const size_t before = PrintMemory("before");
    engine::FolderSizes sizes;
    const double start = Now();
    for (const std::wstring& root : roots)
        FirstAnswer(sizes, root);
    std::printf("  all 100 complete after %.0f s\n", (Now() - start) / 1000);
    PrintMemory("100 folders watched");
    Sleep(2000);
    const size_t after = PrintMemory("2 s later");
    const double grown = static_cast<double>(after - before);
    std::printf("  bytes per folder below them %.0f, per file %.1f (private, or the working set); the engine's "
                "estimate %.1f MB\n",
                grown / (100 * 5011.0), grown / (100 * 50000.0), sizes.usage().bytes / 1048576.0);
}

// The running engine server of the prefix, to read its counters.
base::unique_kernel_handle EngineProcess()
{
    const base::unique_kernel_handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{sizeof entry};
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more; more = Process32NextW(snapshot.get(), &entry))
        if (lstrcmpiW(entry.szExeFile, L"KRN Size Engine.exe") == 0)
            return base::unique_kernel_handle(OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ | SYNCHRONIZE, FALSE,
                                                          entry.th32ProcessID));
    return {};
}

// The handles another process holds. Wine answers GetProcessHandleCount for
// the calling process only; the system's handle table has them all.
size_t HandleCount(HANDLE process)
{
    DWORD count = 0;
    if (GetProcessHandleCount(process, &count) && count)
        return count;
    struct Entry {
        USHORT process;
        USHORT creatorBackTraceIndex;
        UCHAR objectType;
        UCHAR attributes;
        USHORT handle;
        void* object;
        ULONG access;
    };
    constexpr ULONG kSystemHandleInformation = 16;
    std::vector<std::byte> buffer(1 << 20);
    ULONG needed = 0;
    while (NtQuerySystemInformation(static_cast<SYSTEM_INFORMATION_CLASS>(kSystemHandleInformation), buffer.data(),
                                    static_cast<ULONG>(buffer.size()), &needed) == static_cast<NTSTATUS>(0xC0000004L))
        buffer.resize(std::max<size_t>(needed, buffer.size() * 2));
    const ULONG entries = *reinterpret_cast<const ULONG*>(buffer.data());
    const auto* entry = reinterpret_cast<const Entry*>(buffer.data() + sizeof(void*));
    const DWORD id = GetProcessId(process);
    return static_cast<size_t>(std::count_if(entry, entry + entries, [&](const Entry& e) { return e.process == id; }));
}

void PrintEngineProcess(const char* when)
{
    const base::unique_kernel_handle process = EngineProcess();
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof counters;
    if (!process || !GetProcessMemoryInfo(process.get(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                                          sizeof counters)) {
        std::printf("  %-34s (no engine process)\n", when);
        return;
    }
    std::printf("  %-34s engine: working set %7.1f MB, %zu handles\n", when, counters.WorkingSetSize / 1048576.0,
                HandleCount(process.get()));
}

// What the main window does for a folder on every refresh.
HRESULT AskServer(const base::unique_bstr& folder, UINT64& size)
{
    size = 0;
    base::com_ptr<ISizeEngine> engine;
    const HRESULT created =
        CoCreateInstance(CLSID_SizeEngine, nullptr, CLSCTX_LOCAL_SERVER, IID_ISizeEngine, engine.put_void());
    return FAILED(created) ? created : engine->GetTotalSize(folder.get(), &size);
}

void StopWatchingAll(const std::vector<base::unique_bstr>& folders)
{
    base::com_ptr<ISizeEngine> engine;
    if (SUCCEEDED(CoCreateInstance(CLSID_SizeEngine, nullptr, CLSCTX_LOCAL_SERVER, IID_ISizeEngine,
                                   engine.put_void())))
        for (const auto& folder : folders)
            engine->StopWatching(folder.get());
}

// `count` folders below `parent`, folder i holding one file of 1000 + i bytes.
std::vector<base::unique_bstr> MakeSmallFolders(const std::wstring& parent, int count)
{
    CreateDirectoryW(kBench.c_str(), nullptr);
    CreateDirectoryW(parent.c_str(), nullptr);
    std::vector<base::unique_bstr> folders;
    for (int i = 0; i < count; ++i) {
        const std::wstring folder = parent + L"\\f" + std::to_wstring(i);
        const std::wstring file = folder + L"\\data.bin";
        if (GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES) {
            CreateDirectoryW(folder.c_str(), nullptr);
            const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
            LARGE_INTEGER size;
            size.QuadPart = 1000 + i;
            SetFilePointerEx(handle, size, nullptr, FILE_BEGIN);
            SetEndOfFile(handle);
            CloseHandle(handle);
        }
        folders.emplace_back(folder.c_str());
    }
    return folders;
}

// Sweeps as the main window does until every total is exact; the number of
// folders still wrong after each sweep.
int SweepOnce(const std::vector<base::unique_bstr>& folders)
{
    int wrong = 0;
    for (size_t i = 0; i < folders.size(); ++i) {
        UINT64 size = 0;
        if (AskServer(folders[i], size) != S_OK || size != 1000 + i)
            ++wrong;
    }
    return wrong;
}

void SweepTwoThousandFolders()
{
    constexpr int kFolders = 2000;
    std::printf("\nA sweep of %d folders, one object per question, through the server:\n", kFolders);
    const std::vector<base::unique_bstr> folders = MakeSmallFolders(kBench + L"\\sweep", kFolders);
    PrintEngineProcess("before");
    const double start = Now();
    int sweeps = 0;
    for (int wrong = kFolders; wrong > 0 && Now() - start < 600000;) {
        const double sweepStart = Now();
        wrong = SweepOnce(folders);
        ++sweeps;
        std::printf("  sweep %d: %.1f s, %d totals not exact\n", sweeps, (Now() - sweepStart) / 1000, wrong);
    }
    std::printf("  every total exact after %.1f s (%d sweeps)\n", (Now() - start) / 1000, sweeps);
    const double sweepStart = Now();
    const int wrong = SweepOnce(folders);
    const double sweep = Now() - sweepStart;
    std::printf("  a sweep of exact totals: %.1f s, %.2f ms per folder (%d not exact)\n", sweep / 1000,
                sweep / kFolders, wrong);
    PrintEngineProcess("2,000 folders followed");
    StopWatchingAll(folders);
    Sleep(1000);
    PrintEngineProcess("all let go");
}

void FoldersMadeAndDeleted(int rounds)
{
    constexpr int kFolders = 50;
    std::printf("\nFolders made, counted and deleted, %d rounds of %d:\n", rounds, kFolders);
    CreateDirectoryW((kBench + L"\\churn").c_str(), nullptr);
    const double start = Now();
    for (int round = 0; round < rounds; ++round) {
        // New names every round: under Wine a folder deleted while the engine
        // holds it stays until the engine lets it go.
        const std::wstring parent = kBench + L"\\churn\\round " + std::to_wstring(round);
        const std::vector<base::unique_bstr> folders = MakeSmallFolders(parent, kFolders);
        for (int left = kFolders; left > 0;)
            left = SweepOnce(folders);
        for (const auto& folder : folders) {
            DeleteFileW((std::wstring(folder.get()) + L"\\data.bin").c_str());
            RemoveDirectoryW(folder.get());
        }
        RemoveDirectoryW(parent.c_str());
        // Asked for once more, as a list that still names them would.
        SweepOnce(folders);
        if (round % 10 == 0 || round == rounds - 1)
            PrintEngineProcess(("after round " + std::to_string(round + 1) + ", " +
                                std::to_string(static_cast<int>((Now() - start) / 1000)) + " s")
                                   .c_str());
    }
}

void OthersWhileOneIsSlow(const std::wstring& slow)
{
    constexpr int kFolders = 100;
    std::printf("\nQuestions for %d other folders while %ls is slow (create + call + release, ms):\n", kFolders,
                slow.c_str());
    const std::vector<base::unique_bstr> folders = MakeSmallFolders(kBench + L"\\others", kFolders);
    while (SweepOnce(folders) > 0) {
    }
    const auto timeSweeps = [&](const char* what) {
        Figures figures;
        for (int round = 0; round < 5; ++round)
            for (const auto& folder : folders) {
                UINT64 size = 0;
                const double start = Now();
                AskServer(folder, size);
                figures.ms.push_back(Now() - start);
            }
        std::printf("  %-30s median %6.2f, max %7.2f\n", what, figures.Median(),
                    *std::max_element(figures.ms.begin(), figures.ms.end()));
    };
    timeSweeps("before");
    const base::unique_bstr slowName(slow.c_str());
    UINT64 size = 0;
    double start = Now();
    const HRESULT first = AskServer(slowName, size);
    std::printf("  the slow folder's first question: %.2f ms (0x%08lX, %llu bytes)\n", Now() - start,
                static_cast<unsigned long>(first), static_cast<unsigned long long>(size));
    timeSweeps("while it is being opened");
    start = Now();
    AskServer(slowName, size);
    std::printf("  the slow folder asked again: %.2f ms\n", Now() - start);

    // A thread of the engine is stuck opening the slow folder meanwhile.
    const base::unique_kernel_handle process = EngineProcess();
    const std::wstring exe = bench::BuildFolder() + L"\\KRN Size Engine.exe";
    start = Now();
    const DWORD unregistered = bench::RunServer(exe, L"/UnregServer");
    const double unregisterMs = Now() - start;
    const bool ended = process && WaitForSingleObject(process.get(), 10000) == WAIT_OBJECT_0;
    std::printf("  /UnregServer returned %lu after %.0f ms; the engine %s after %.0f ms\n", unregistered,
                unregisterMs, ended ? "ended" : "still ran", Now() - start);
    bench::RunServer(exe, L"/RegServer");
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
    if (!part.empty() && part != L"sweep" && part != L"churn" && part != L"slow")
        return 0;
    const base::ComInit com(COINIT_APARTMENTTHREADED);
    if (bench::RunServer(bench::BuildFolder() + L"\\KRN Size Engine.exe", L"/RegServer") != 0) {
        std::printf("the size engine could not be registered\n");
        return 1;
    }
    if (part.empty() || part == L"sweep")
        SweepTwoThousandFolders();
    if (part.empty() || part == L"churn")
        FoldersMadeAndDeleted(rounds * 4);
    if (part == L"slow") {
        if (argc > 3)
            OthersWhileOneIsSlow(argv[3]);
        else
            std::printf("\nslow <folder>: a folder on slow storage, e.g. mounted from Linux with\n"
                        "  tests/support/slow-storage.sh start /tmp/krn-slow 10   (then Z:\\tmp\\krn-slow\\mnt\\slow)\n");
    }
    return 0;
}
