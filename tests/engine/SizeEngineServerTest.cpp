// The built "KRN Size Engine.exe" through real COM, as the configuration
// program meets it: registered in the prefix, started by activation, its
// cache kept between objects, and with a folder on storage that takes seconds
// to answer. The totals themselves are FolderSizesTest's.
#include "EngineSupport.h"

#include "../app/ChildProcess.h"
#include "Kestrune.h"
#include "base/Com.h"
#include "support/History.h"
#include "support/SlowStorage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace krn::test {
namespace {

base::com_ptr<ISizeEngine> CreateEngine()
{
    base::com_ptr<ISizeEngine> engine;
    EXPECT_EQ(CoCreateInstance(CLSID_SizeEngine, nullptr, CLSCTX_LOCAL_SERVER, IID_ISizeEngine, engine.put_void()),
              S_OK);
    return engine;
}

struct TotalAndState {
    HRESULT result;
    UINT64 size;
    LONG state;
};

TotalAndState AskBoth(ISizeEngine* engine, const std::wstring& folder)
{
    base::com_ptr<ISizeEngine2> engine2;
    TotalAndState answer{E_NOINTERFACE, 7, 7};
    EXPECT_EQ(engine->QueryInterface(IID_ISizeEngine2, engine2.put_void()), S_OK);
    const base::unique_bstr name(folder.c_str());
    if (engine2)
        answer.result = engine2->GetTotalAndState(name.get(), &answer.size, &answer.state);
    return answer;
}

LONG ScanState(ISizeEngine* engine, const std::wstring& folder)
{
    LONG state = -1;
    const base::unique_bstr name(folder.c_str());
    EXPECT_EQ(engine->GetScanState(name.get(), &state), S_OK);
    return state;
}

class SizeEngineServer : public ::testing::Test {
protected:
    void SetUp() override
    {
        MakeFolder(tree / L"sub");
        MakeFolder(tree / L"sub\\deeper");
        MakeFolder(tree / L"empty");
        MakeFile(tree / L"one.bin", 100);
        MakeFile(tree / L"sub\\two.bin", 20);
        MakeFile(tree / L"sub\\deeper\\three.bin", 3);
    }
    // The server outlives the test: it lets the folders go, so that they
    // can be deleted.
    void TearDown() override
    {
        base::com_ptr<ISizeEngine> engine = CreateEngine();
        for (const std::wstring& folder : {tree.path(), tree / L"sub", tree / L"empty"}) {
            const base::unique_bstr name(folder.c_str());
            if (engine)
                engine->StopWatching(name.get());
        }
    }
    ScratchTree tree;
};

TEST_F(SizeEngineServer, FoldersThatCannotBeCountedFailWithSizeZero)
{
    base::com_ptr<ISizeEngine> engine = CreateEngine();
    ASSERT_TRUE(engine);
    const base::unique_bstr empty(L"");
    const base::unique_bstr embeddedNul(L"C:\\x\0y", 6);
    const std::pair<BSTR, HRESULT> unnamed[] = {
        {nullptr, E_INVALIDARG}, {empty.get(), E_INVALIDARG}, {embeddedNul.get(), HRESULT_FROM_WIN32(ERROR_INVALID_NAME)}};
    for (const auto& [name, expected] : unnamed) {
        UINT64 size = 12345;
        EXPECT_EQ(engine->GetTotalSize(name, &size), expected) << SysStringLen(name);
        EXPECT_EQ(size, 0u) << SysStringLen(name);
    }
    const std::pair<std::wstring, HRESULT> named[] = {
        {tree / L"missing", HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)},
        {tree / L"one.bin", HRESULT_FROM_WIN32(ERROR_DIRECTORY)},
        {L"C:\\" + std::wstring(40000, L'x'), HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE)},
    };
    for (const auto& [folder, expected] : named) {
        const std::wstring shown = folder.substr(0, 60);
        const base::unique_bstr name(folder.c_str());
        UINT64 size = 12345, count = 12345;
        LONG state = 12345;
        // A folder being opened answers S_OK with 0; what the open found follows.
        EXPECT_TRUE(PumpUntil([&] { return engine->GetTotalSize(name.get(), &size) == expected; })) << shown;
        EXPECT_EQ(size, 0u) << shown;
        EXPECT_EQ(engine->GetFileCount(name.get(), &count), expected) << shown;
        EXPECT_EQ(count, 0u) << shown;
        EXPECT_EQ(engine->ScanNow(name.get()), expected) << shown;
        engine->GetScanState(name.get(), &state);
        EXPECT_EQ(state, KRN_SCAN_UNKNOWN) << shown;
    }
}

TEST_F(SizeEngineServer, EveryEntryOfBothInterfaces)
{
    base::com_ptr<ISizeEngine> engine = CreateEngine();
    ASSERT_TRUE(engine);
    const base::unique_bstr name(tree.path().c_str());
    EXPECT_EQ(ScanState(engine.get(), tree.path()), KRN_SCAN_UNKNOWN);
    EXPECT_EQ(engine->ScanNow(name.get()), S_OK);
    EXPECT_TRUE(PumpUntil([&] { return ScanState(engine.get(), tree.path()) == KRN_SCAN_COMPLETE; }, 10000));
    UINT64 size = 7, files = 7;
    EXPECT_EQ(engine->GetTotalSize(name.get(), &size), S_OK);
    EXPECT_EQ(size, 123u);
    EXPECT_EQ(engine->GetFileCount(name.get(), &files), S_OK);
    EXPECT_EQ(files, 3u);
    const TotalAndState both = AskBoth(engine.get(), tree / L"SUB\\");
    EXPECT_EQ(both.result, S_OK);
    EXPECT_TRUE(PumpUntil([&] { return AskBoth(engine.get(), tree / L"SUB\\").state == KRN_SCAN_COMPLETE; }));
    EXPECT_EQ(AskBoth(engine.get(), tree / L"sub").size, 23u) << "one folder under two spellings";
    EXPECT_EQ(engine->StopWatching(name.get()), S_OK);
    EXPECT_EQ(ScanState(engine.get(), tree.path()), KRN_SCAN_UNKNOWN);
    EXPECT_EQ(engine->StopWatching(name.get()), S_FALSE);
    EXPECT_EQ(engine->StopWatching(nullptr), E_INVALIDARG);
}

// The main window's refresh at a user's scale, more folders than any fixed
// count of followed folders would hold: each asked once per sweep through an
// object of its own, in list order. Every total settles on its exact value.
TEST_F(SizeEngineServer, SixHundredFoldersSweptOneObjectEachAllSettleExact)
{
    constexpr int kFolders = 600;
    std::vector<std::wstring> folders;
    for (int i = 0; i < kFolders; ++i) {
        folders.push_back(tree / (L"f" + std::to_wstring(i)));
        MakeFolder(folders.back());
        MakeFile(folders.back() + L"\\data.bin", 1000 + i);
    }
    // Bounded inside a sweep too: a machine this slow fails the test, not ctest's timeout.
    const ULONGLONG deadline = GetTickCount64() + 240000;
    int sweeps = 0, wrong = kFolders;
    const bool settled = PumpUntil(
        [&] {
            ++sweeps;
            wrong = 0;
            for (int i = 0; i < kFolders; ++i) {
                if (GetTickCount64() > deadline)
                    return ++wrong, false;
                const TotalAndState answer = AskBoth(CreateEngine().get(), folders[i]);
                wrong += answer.result != S_OK || answer.size != UINT64(1000 + i);
            }
            return wrong == 0;
        },
        240000);
    EXPECT_TRUE(settled) << wrong << " folders not exact after " << sweeps << " sweeps";
    const base::com_ptr<ISizeEngine> engine = CreateEngine();
    for (const std::wstring& folder : folders)
        engine->StopWatching(base::unique_bstr(folder.c_str()).get());
}

// A folder whose storage takes seconds per operation holds only itself: its
// own question, another client's question for another folder, and the end of
// the server all go on meanwhile.
TEST_F(SizeEngineServer, AFolderOnSlowStorageHoldsOnlyItself)
{
    SlowStorage storage;
    KRN_REQUIRE_SLOW_STORAGE(storage);
    base::com_ptr<ISizeEngine> engine = CreateEngine();
    ASSERT_TRUE(engine);
    ULONGLONG start = GetTickCount64();
    const TotalAndState slow = AskBoth(engine.get(), storage.slow());
    EXPECT_LT(GetTickCount64() - start, 1000u) << "the slow folder's own question, in ms";
    EXPECT_EQ(slow.result, S_OK);
    EXPECT_EQ(slow.size, 0u);
    EXPECT_EQ(slow.state, KRN_SCAN_UNKNOWN) << "still being opened";

    // Another client, in an apartment of its own, counts another folder.
    ULONGLONG longest = 0;
    TotalAndState other{};
    std::thread client([&] {
        base::ComInit apartment(COINIT_APARTMENTTHREADED);
        PumpUntil([&] {
            const ULONGLONG asked = GetTickCount64();
            base::com_ptr<ISizeEngine> own = CreateEngine();
            other = own ? AskBoth(own.get(), tree.path()) : TotalAndState{E_FAIL, 0, 0};
            longest = std::max(longest, GetTickCount64() - asked);
            return other.state == KRN_SCAN_COMPLETE;
        }, 5000);
    });
    client.join();
    EXPECT_EQ(other.size, 123u);
    EXPECT_EQ(other.state, KRN_SCAN_COMPLETE);
    EXPECT_LT(longest, 1000u) << "the other client's slowest question (create, call, release), in ms";
    start = GetTickCount64();
    EXPECT_EQ(AskBoth(engine.get(), storage.slow()).state, KRN_SCAN_UNKNOWN);
    EXPECT_LT(GetTickCount64() - start, 1000u) << "the slow folder asked again, in ms";
    engine.reset();

    // A thread of the engine is stuck opening the slow folder.
    const std::wstring exe = WindowsPath(KRN_SIZE_ENGINE_EXE);
    start = GetTickCount64();
    {
        ServerUnregistered unregistered(exe);
        EXPECT_LT(GetTickCount64() - start, 5000u) << "/UnregServer and the end of the engine, in ms";
    }
}

// The engine's history outlives the engine: one written before it starts,
// a steady rise of 1,000 bytes a day up to the folder's 10,000 bytes of now,
// gives the growth of a day and of a week, and when a limit is reached.
TEST_F(SizeEngineServer, GrowthAndForecastComeFromTheHistoryKeptAcrossRuns)
{
    constexpr std::uint32_t kDay = 24 * 60;
    const std::wstring folder = tree / L"grown", exe = WindowsPath(KRN_SIZE_ENGINE_EXE);
    MakeFolder(folder);
    MakeFile(folder + L"\\data.bin", 10000);
    {
        ServerUnregistered ended(exe);  // reads its history when it starts again
        ASSERT_TRUE(WriteSteadyHistory(folder, 10000, 1000));
    }
    base::com_ptr<ISizeEngine3> engine;
    ASSERT_EQ(CoCreateInstance(CLSID_SizeEngine, nullptr, CLSCTX_LOCAL_SERVER, IID_ISizeEngine3, engine.put_void()),
              S_OK);
    EXPECT_TRUE(PumpUntil([&] { return AskBoth(engine.get(), folder).state == KRN_SCAN_COMPLETE; }, 10000));
    const base::unique_bstr name(folder.c_str());
    INT64 day = 0, week = 0;
    LONG known = 0, minutes = 0;
    ASSERT_EQ(engine->GetGrowth(name.get(), &day, &week, &known), S_OK);
    EXPECT_EQ(known, 3);
    EXPECT_EQ(day, 1000);
    EXPECT_EQ(week, 7000);
    ASSERT_EQ(engine->GetMinutesUntil(name.get(), 12000, &minutes), S_OK);
    EXPECT_NEAR(minutes, 2 * kDay, kDay / 10) << "2,000 bytes more at 1,000 a day";
    ASSERT_EQ(engine->GetMinutesUntil(name.get(), 9000, &minutes), S_OK);
    EXPECT_EQ(minutes, -1) << "past the limit already";
}

} // namespace
} // namespace krn::test
