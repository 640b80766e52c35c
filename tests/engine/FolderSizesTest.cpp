// The size engine's core in-process: the names it takes, exact totals of
// generated trees, the totals following changes, and names and folders that
// must fail cleanly.
#include "engine/FolderPath.h"
#include "engine/FolderSizes.h"
#include "engine/TreeScan.h"

#include "EngineSupport.h"
#include "base/Handles.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace krn::test {
namespace {

using namespace engine;

TEST(FolderPath, AbsoluteNamesBecomeVerbatimAndEverythingElseIsRefused)
{
    const std::wstring deep = L"C:\\" + std::wstring(300, L'd') + L"\\" + std::wstring(200, L'e');
    const std::tuple<std::wstring, DWORD, std::wstring> cases[] = {  // name, error, path when error is 0
        {L"C:\\data", 0, L"\\\\?\\C:\\data"},
        {L"c:/data/sub/", 0, L"\\\\?\\c:\\data\\sub"},
        {L"C:\\data\\.\\x\\..\\sub\\\\", 0, L"\\\\?\\C:\\data\\sub"},
        {L"C:\\", 0, L"\\\\?\\C:\\"},
        {L"C:\\..", 0, L"\\\\?\\C:\\"},
        {deep, 0, L"\\\\?\\" + deep},
        {L"\\\\server\\share", 0, L"\\\\?\\UNC\\server\\share"},
        {L"//server/share/dir/", 0, L"\\\\?\\UNC\\server\\share\\dir"},
        {L"\\\\server\\share\\dir\\..\\..", 0, L"\\\\?\\UNC\\server\\share"},
        {L"\\\\?\\C:\\data\\", 0, L"\\\\?\\C:\\data"},
        {L"\\\\?\\C:\\", 0, L"\\\\?\\C:\\"},
        {L"\\\\?\\UNC\\server\\share\\dir", 0, L"\\\\?\\UNC\\server\\share\\dir"},
        {L"", ERROR_INVALID_PARAMETER, L""},
        {L"data", ERROR_INVALID_NAME, L""},
        {L"\\data", ERROR_INVALID_NAME, L""},
        {L"C:data", ERROR_INVALID_NAME, L""},
        {L"COM1", ERROR_INVALID_NAME, L""},
        {L"C:\\data\\NUL", ERROR_INVALID_NAME, L""},
        {L"\\\\.\\C:\\data", ERROR_INVALID_NAME, L""},
        {L"\\\\server", ERROR_INVALID_NAME, L""},
        {L"\\\\?\\C:", ERROR_INVALID_NAME, L""},
        {L"\\\\?\\data", ERROR_INVALID_NAME, L""},
        {L"\\\\?\\C:\\data\\..\\x", ERROR_INVALID_NAME, L""},
        {L"\\\\?\\UNC\\server", ERROR_INVALID_NAME, L""},
        {L"\\\\?\\Volume{6a4c8f2e-0000-0000-0000-100000000000}\\", ERROR_INVALID_NAME, L""},
        {std::wstring(L"C:\\da\0ta", 8), ERROR_INVALID_NAME, L""},
        {L"C:\\" + std::wstring(32000, L'x'), 0, L"\\\\?\\C:\\" + std::wstring(32000, L'x')},
        {L"C:\\" + std::wstring(32765, L'x'), ERROR_FILENAME_EXCED_RANGE, L""},
    };
    for (const auto& [name, error, expected] : cases) {
        std::wstring path = L"left over";
        EXPECT_EQ(engine::MakeFolderPath(name, path), error) << name.substr(0, 60);
        EXPECT_EQ(path, expected) << name.substr(0, 60);
    }
    // Names compare without case.
    EXPECT_TRUE(engine::EqualNoCase(L"C:\\Data\\Ärger", L"c:\\DATA\\äRGER"));
    EXPECT_FALSE(engine::EqualNoCase(L"C:\\Data", L"C:\\Data2"));
    EXPECT_TRUE(engine::NoCaseLess{}(L"apple", L"Banana"));
    EXPECT_FALSE(engine::NoCaseLess{}(L"BANANA", L"banana"));
}

struct FileSpec {
    const wchar_t* name;  // below the tree's root
    uint64_t size;
};

// Nested folders, an empty folder, an empty file and sizes past 4 GB.
const wchar_t* const kFolders[] = {L"a", L"a\\b", L"a\\b\\c", L"empty", L"Mixed Case"};
const FileSpec kFiles[] = {
    {L"top.bin", 1000},        {L"zero.bin", 0},          {L"a\\one.bin", 1},
    {L"a\\b\\page.bin", 4096}, {L"a\\b\\c\\big.bin", 5'000'000'123}, {L"Mixed Case\\x.txt", 77},
};
constexpr Totals kTreeTotals{1000 + 1 + 4096 + 5'000'000'123 + 77, 6};

void MakeTree(const std::wstring& root)
{
    for (const wchar_t* folder : kFolders)
        MakeFolder(root + L"\\" + folder);
    for (const FileSpec& file : kFiles)
        MakeFile(root + L"\\" + file.name, file.size);
}

class FolderSizesTest : public ::testing::Test {
protected:
    ScratchTree tree;
    FolderSizes sizes{PatientOptions()};
};

// A folder that cannot be listed is skipped, and asking for it fails.
TEST_F(FolderSizesTest, CountsEveryReadableFileBelowTheFolderOnce)
{
    MakeTree(tree.path());
    MakeFolder(tree / L"locked");
    MakeFile(tree / L"locked\\hidden.bin", 999);
    // A handle that shares nothing keeps everyone else from listing it.
    const base::unique_kernel_handle locked(CreateFileW((tree / L"locked").c_str(), GENERIC_READ, 0, nullptr,
                                                        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    ASSERT_TRUE(locked);
    std::wstring deep = tree / L"long";  // past MAX_PATH
    MakeFolder(deep);
    for (int level = 0; level < 4; ++level) {
        deep += L"\\" + std::wstring(90, static_cast<wchar_t>(L'p' + level));
        MakeFolder(deep);
    }
    MakeFile(deep + L"\\deep.bin", 12345);
    wchar_t shortName[MAX_PATH] = {};
    ASSERT_GT(GetShortPathNameW((tree / L"Mixed Case").c_str(), shortName, MAX_PATH), 0u);
    EXPECT_LE(Ask(sizes, tree.path()).bytes, kTreeTotals.bytes + 12345) << "the first answer is what was found so far";
    EXPECT_EQ(Complete(sizes, tree.path()), (Totals{kTreeTotals.bytes + 12345, kTreeTotals.files + 1}));

    const std::pair<std::wstring, Totals> subfolders[] = {
        {tree / L"a", {1 + 4096 + 5'000'000'123, 3}},
        {tree / L"A\\B\\", {4096 + 5'000'000'123, 2}},
        {tree / L"empty", {0, 0}},
        {deep, {12345, 1}},
        {Verbatim(deep), {12345, 1}},
        {tree / L"a\\b\\..\\..\\mixed case", {77, 1}},
    };
    for (const auto& [folder, expected] : subfolders)
        EXPECT_EQ(Complete(sizes, folder), expected) << folder;
    EXPECT_EQ(sizes.WatchedCount(), 6u) << "two spellings of one folder are one folder";
    // The final name is what a folder's history is kept under, whatever name it was asked by.
    for (const std::wstring& name : {tree / L"MIXED case\\.", std::wstring(shortName)}) {
        EXPECT_EQ(Complete(sizes, name).bytes, 77u) << name;
        Totals mixed;
        ScanState state;
        std::wstring finalName;
        ASSERT_EQ(sizes.GetTotals(name, mixed, state, &finalName), 0u) << name;
        EXPECT_TRUE(engine::EqualNoCase(finalName, Verbatim(tree / L"Mixed Case"))) << finalName;
    }
    Totals none{7, 7};
    EXPECT_EQ(sizes.GetTotals(tree / L"locked", none), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(none.bytes, 0u);
    // A scan's root error is its own folder's listing, never that of a folder below it.
    storage::WorkerPool pool;
    for (const auto& [folder, expected] : {std::pair{tree.path(), 0ul}, {tree / L"locked", ERROR_SHARING_VIOLATION}}) {
        const base::unique_kernel_handle done(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        DWORD error = 0;
        const auto scan = engine::TreeScan::Start(pool, 1, Verbatim(folder), false,
                                                  [&](engine::TreeScan&) { SetEvent(done.get()); }, error);
        ASSERT_TRUE(scan) << error;
        ASSERT_EQ(WaitForSingleObject(done.get(), 10000), WAIT_OBJECT_0) << folder;
        EXPECT_EQ(scan->RootError(), expected) << folder;
    }
}

TEST_F(FolderSizesTest, TheTotalFollowsFilesAndFoldersWithinTwoSeconds)
{
    MakeTree(tree.path());
    Totals expected = Complete(sizes, tree.path());
    ASSERT_EQ(expected, kTreeTotals);
    struct Step {
        const char* what;
        std::function<void()> change;
        int64_t bytes;
        int64_t files;
    };
    const Step steps[] = {
        {"file added", [&] { MakeFile(tree / L"a\\b\\c\\new.bin", 300); }, 300, 1},
        {"file grown", [&] { MakeFile(tree / L"a\\b\\c\\new.bin", 350); }, 50, 0},
        {"file deleted", [&] { DeleteFileW((tree / L"a\\one.bin").c_str()); }, -1, -1},
        {"folder made with files", [&] {
             MakeFolder(tree / L"fresh");
             MakeFolder(tree / L"fresh\\inner");
             MakeFile(tree / L"fresh\\inner\\f.bin", 40);
         }, 40, 1},
        {"file added in the new folder", [&] { MakeFile(tree / L"fresh\\inner\\g.bin", 2); }, 2, 1},
        {"folder renamed", [&] { MoveFileW((tree / L"a\\b").c_str(), (tree / L"a\\renamed").c_str()); }, 0, 0},
        {"file added in the renamed folder", [&] { MakeFile(tree / L"a\\renamed\\c\\later.bin", 8); }, 8, 1},
        {"folder moved in from outside", [&] {
             MakeFolder(tree.path() + L"-outside");
             MakeFile(tree.path() + L"-outside\\moved.bin", 600);
             MoveFileW((tree.path() + L"-outside").c_str(), (tree / L"empty\\moved").c_str());
         }, 600, 1},
        {"folder tree deleted", [&] { RemoveTree(tree / L"fresh"); }, -42, -2},
    };
    for (const Step& step : steps) {
        step.change();
        expected.bytes += step.bytes;
        expected.files += step.files;
        EXPECT_EQ(Follows(sizes, tree.path(), expected), expected) << step.what;
    }
    EXPECT_EQ(State(sizes, tree.path()), ScanState::Complete);
}

TEST_F(FolderSizesTest, LostNotificationsMeanAFreshScan)
{
    engine::EngineOptions options = PatientOptions();
    options.watch.bufferBytes = 256;  // a few notifications at most
    FolderSizes small(options);
    MakeTree(tree.path());
    ASSERT_EQ(Complete(small, tree.path()), kTreeTotals);
    Totals totals;
    MakeFolder(tree / L"burst");
    for (int i = 0; i < 300; ++i)
        MakeFile(tree / (L"burst\\f" + std::to_wstring(i)), 10);
    // Each file is made empty and then grown: wait for both, not the count alone.
    const Totals expected{kTreeTotals.bytes + 3000, kTreeTotals.files + 300};
    PumpUntil([&] { return small.GetTotals(tree.path(), totals) == 0 && totals == expected; });
    EXPECT_EQ(totals, expected);
}

// The names themselves are FolderPathTest's; these fail on what they name,
// and so does a folder that goes away, while a folder in its place starts afresh.
TEST_F(FolderSizesTest, NamesOfNoFolderAndMissingThreadsFailWithoutFollowingAnything)
{
    const std::wstring folder = tree / L"a";
    MakeFolder(folder);
    MakeFile(folder + L"\\one.bin", 1);
    EXPECT_EQ(Complete(sizes, folder), (Totals{1, 1}));
    ASSERT_TRUE(MoveFileW(folder.c_str(), (tree / L"aside").c_str()));
    MakeFile(tree / L"plain.bin", 10);
    const std::pair<std::wstring, DWORD> cases[] = {
        {folder, ERROR_FILE_NOT_FOUND},  // renamed away
        {L"COM1", ERROR_INVALID_NAME},
        {tree / L"missing\\deeper", ERROR_PATH_NOT_FOUND},
        {tree / L"plain.bin", ERROR_DIRECTORY},
    };
    for (const auto& [name, error] : cases) {
        Totals totals{7, 7};
        EXPECT_EQ(sizes.GetTotals(name, totals), error) << name;
        EXPECT_EQ(totals, Totals{}) << name;
        EXPECT_EQ(sizes.ScanNow(name), error) << name;
    }
    EXPECT_EQ(State(sizes, folder), ScanState::Unknown);
    EXPECT_EQ(sizes.WatchedCount(), 0u);
    MakeFolder(folder);
    MakeFile(folder + L"\\other.bin", 3);
    EXPECT_EQ(Complete(sizes, folder), (Totals{3, 1})) << "a new folder under the old name";
    // A thread that cannot be had fails the question instead of hanging it.
    for (const auto& [what, opens, scans] : {std::tuple{"no thread opens", 0u, 2u}, {"no thread lists", 2u, 0u}}) {
        engine::EngineOptions options = PatientOptions();
        options.opens.maxThreads = opens;
        options.scans.maxThreads = scans;
        FolderSizes starved(options);
        Totals totals;
        EXPECT_TRUE(PumpUntil([&] { return starved.GetTotals(folder, totals) == ERROR_MAX_THRDS_REACHED; })) << what;
        EXPECT_EQ(totals.bytes, 0u) << what;
    }
}

// More folders than the budget holds, each asked once per sweep in list order
// as the main window refreshes them: every total still settles on its exact
// value, and a folder let go answers its last total until it is exact again.
TEST_F(FolderSizesTest, FoldersLetGoForMemoryAnswerTheirLastTotalUntilExactAgain)
{
    engine::EngineOptions options = PatientOptions();
    options.memoryBudget = 1;  // only the folder counted last stays followed
    FolderSizes tight(options);
    std::vector<std::wstring> folders;
    for (int i = 0; i < 20; ++i) {
        folders.push_back(tree / (L"f" + std::to_wstring(i)));
        MakeFolder(folders.back());
        MakeFile(folders.back() + L"\\data.bin", 1000 + i);
    }
    int wrong = 0;
    EXPECT_TRUE(PumpUntil([&] {
        wrong = 0;
        for (int i = 0; i < 20; ++i)
            wrong += Ask(tight, folders[i]) != Totals{uint64_t(1000 + i), 1};
        return wrong == 0;
    }, 20000)) << wrong << " folders not exact";

    MakeFile(folders[0] + L"\\grown.bin", 100);  // while nothing follows it
    const Totals before{1000, 1}, after{1100, 2};
    EXPECT_TRUE(PumpUntil([&] {
        Totals totals;
        ScanState state = ScanState::Unknown;
        EXPECT_EQ(tight.GetTotals(folders[0], totals, state), 0u);
        EXPECT_TRUE(state == ScanState::Stale || state == ScanState::Complete) << static_cast<long>(state);
        EXPECT_EQ(totals, state == ScanState::Complete ? after : before) << static_cast<long>(state);
        return state == ScanState::Complete;
    }, 10000));
}

// A folder deleted while it is scanned, and folders made, counted and deleted
// over and over, are let go.
TEST_F(FolderSizesTest, DeletedFoldersLeaveNothingBehind)
{
    const std::wstring scanned = tree / L"scanned";
    MakeFolder(scanned);
    for (int i = 0; i < 200; ++i) {
        MakeFolder(scanned + L"\\d" + std::to_wstring(i));
        MakeFile(scanned + L"\\d" + std::to_wstring(i) + L"\\f.bin", 1);
    }
    Totals totals = Ask(sizes, scanned);
    RemoveTree(scanned);
    // The folder goes when the last handle to it closes: Windows refuses new
    // opens meanwhile, which fails the question; Wine shows it empty.
    EXPECT_TRUE(PumpUntil([&] { return sizes.GetTotals(scanned, totals) != 0 || totals == Totals{}; }));
    EXPECT_EQ(totals.bytes, 0u);
    bool wasFollowed = false;
    EXPECT_EQ(sizes.StopWatching(scanned, wasFollowed), 0u);
    EXPECT_TRUE(PumpUntil([&] { return GetFileAttributesW(scanned.c_str()) == INVALID_FILE_ATTRIBUTES; }))
        << "the engine still holds the folder deleted while it was scanned";

    engine::EngineOptions options = PatientOptions();
    options.idleReleaseMs = 50;        // a folder not asked for again is let go soon
    options.recordBudget = 16 * 1024;  // a few dozen records
    FolderSizes churn(options);
    for (int round = 0; round < 60; ++round) {
        const std::wstring folder = tree / (L"round " + std::to_wstring(round));
        MakeFolder(folder);
        MakeFile(folder + L"\\f.bin", 10);
        EXPECT_EQ(Complete(churn, folder).bytes, 10u) << round;
        RemoveTree(folder);  // under Wine the folder stays until the engine lets it go
    }
    engine::Usage usage;
    EXPECT_TRUE(PumpUntil([&] {
        Totals none;
        churn.GetTotals(tree / L"missing", none);  // questions go on, about other folders
        usage = churn.usage();
        return usage.followed == 0 && usage.closing == 0 && usage.watches == 0;
    })) << usage.followed << " followed, " << usage.closing << " closing, " << usage.watches << " with the watcher";
    EXPECT_LE(usage.recordBytes, options.recordBudget);
    EXPECT_LT(usage.records, 60u);
    const std::wstring first = tree / L"round 0";
    EXPECT_TRUE(PumpUntil([&] { return GetFileAttributesW(first.c_str()) == INVALID_FILE_ATTRIBUTES; }))
        << "the engine still holds a deleted folder";
}

} // namespace
} // namespace krn::test
