// The size engine's folder histories at a user's scale: 2,000 folders, each
// changing at every sample for two years (the worst case of the bound).
//   - bytes per folder on disk (the encoded history) and in memory;
//   - reading the file of 2,000 such histories, as the engine does when it
//     starts (against starting without one);
//   - the cost of a total on the answering path: one that is no sample (the
//     common case: unchanged, or within five minutes of the last sample), and
//     one that is.
//   build/wine-run build/bench/bench_history.exe [rounds]
#include "engine/HistoryStore.h"

#include "BenchSupport.h"

#include <windows.h>
#include <psapi.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using bench::Now;
constexpr std::uint32_t kStart = 220'000'000, kDay = 24 * 60;
constexpr int kFolders = 2000;

// Two years and two days: hourly for the first two years (the tiers keep at
// most one an hour past two days), every five minutes for the last two days.
engine::FolderHistory WorstCaseHistory()
{
    engine::FolderHistory history;
    const std::uint32_t span = 732 * kDay;
    for (std::uint32_t t = 0; t <= span; t += span - t <= 2 * kDay ? 5 : 60)
        history.Record(kStart + t, std::uint64_t{t} * 7919 + (t % 13) * 1000003);
    return history;
}

std::wstring FolderName(int i) { return L"\\\\?\\C:\\Users\\someone\\Data\\folder " + std::to_wstring(i); }

size_t PrivateBytes()
{
    PROCESS_MEMORY_COUNTERS_EX counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters), sizeof counters);
    return counters.PrivateUsage ? counters.PrivateUsage : counters.WorkingSetSize;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    const int rounds = argc > 1 ? _wtoi(argv[1]) : 5;
    const engine::FolderHistory one = WorstCaseHistory();
    std::printf("one folder, two years of changes: %zu samples, %zu bytes encoded (bound %zu)\n",
                one.Samples().size(), one.EncodedSize(), engine::FolderHistory::kMaxBytes);

    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    const std::wstring file = std::wstring(temp) + L"krn-bench-history.bin";
    DeleteFileW(file.c_str());
    const size_t before = PrivateBytes();
    {
        engine::HistoryStore store(file);
        const std::vector<engine::HistorySample> samples = one.Samples();
        for (int i = 0; i < kFolders; ++i)
            for (const engine::HistorySample& sample : samples)
                store.Record(FolderName(i), sample.minute, sample.bytes);
        std::printf("memory of %d folders' histories: %.0f bytes a folder\n", kFolders,
                    double(PrivateBytes() - before) / kFolders);
        store.Save();
    }
    WIN32_FILE_ATTRIBUTE_DATA data{};
    GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data);
    std::printf("file of %d folders: %lu bytes, %.0f bytes a folder\n", kFolders, data.nFileSizeLow,
                double(data.nFileSizeLow) / kFolders);

    std::vector<double> withFile, without;
    for (int round = 0; round < rounds; ++round) {
        double start = Now();
        { const engine::HistoryStore store(file); }
        withFile.push_back(Now() - start);
        start = Now();
        { const engine::HistoryStore store(file + L".none"); }
        without.push_back(Now() - start);
    }
    std::printf("reading it at the engine's start: %.1f ms (without a file: %.2f ms), median of %d\n",
                bench::Median(withFile), bench::Median(without), rounds);

    engine::HistoryStore store(file);
    const std::uint32_t now = kStart + 732 * kDay;
    constexpr int kCalls = 200000;
    double start = Now();
    for (int i = 0; i < kCalls; ++i)
        store.Record(FolderName(i % kFolders), now + 1, 42);  // within five minutes of the last sample
    const double noSample = (Now() - start) * 1000 / kCalls;
    start = Now();
    for (int i = 0; i < kFolders; ++i)
        store.Record(FolderName(i), now + 10, 43);
    const double sample = (Now() - start) * 1000 / kFolders;
    std::printf("a total on the answering path: %.2f us when it is no sample, %.1f us when it is\n", noSample,
                sample);
    DeleteFileW(file.c_str());
    return 0;
}
