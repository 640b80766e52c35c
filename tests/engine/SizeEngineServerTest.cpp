// The built "KRN Size Engine.exe" through real COM, as the configuration
// program meets it: registered in the prefix, started by activation, its
// cache kept between objects, and with a folder on storage that takes seconds
// to answer. The totals themselves are FolderSizesTest's; the history kept
// across runs is MonitorControlTest's and WatcherProcessTest's.
#include "EngineSupport.h"

#include "../app/ChildProcess.h"
#include "Kestrune.h"
#include "base/Com.h"
#include "support/SlowStorage.h"

#include <gtest/gtest.h>

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
    if (engine2)
        answer.result = engine2->GetTotalAndState(base::unique_bstr(folder.c_str()).get(), &answer.size, &answer.state);
    return answer;
}

LONG ScanState(ISizeEngine* engine, const std::wstring& folder)
{
    LONG state = -1;
    EXPECT_EQ(engine->GetScanState(base::unique_bstr(folder.c_str()).get(), &state), S_OK);
    return state;
}

TEST(SizeEngineServer, EveryEntryOfBothInterfacesAndFailuresWithSizeZero)
{
    ScratchTree tree;
    MakeFolder(tree / L"sub");
    MakeFolder(tree / L"sub\\deeper");
    MakeFile(tree / L"one.bin", 100);
    MakeFile(tree / L"sub\\two.bin", 20);
    MakeFile(tree / L"sub\\deeper\\three.bin", 3);
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
    EXPECT_TRUE(PumpUntil([&] { return AskBoth(engine.get(), tree / L"SUB\\").state == KRN_SCAN_COMPLETE; }));
    EXPECT_EQ(AskBoth(engine.get(), tree / L"sub").size, 23u) << "one folder under two spellings";
    engine = CreateEngine();  // the engine lingers after the last release, its cache with it
    ASSERT_TRUE(engine);
    EXPECT_EQ(ScanState(engine.get(), tree.path()), KRN_SCAN_COMPLETE);
    EXPECT_EQ(engine->StopWatching(name.get()), S_OK);
    EXPECT_EQ(ScanState(engine.get(), tree.path()), KRN_SCAN_UNKNOWN);
    EXPECT_EQ(engine->StopWatching(name.get()), S_FALSE);
    EXPECT_EQ(engine->StopWatching(nullptr), E_INVALIDARG);
    // The server outlives the test: it lets the folder go, so that it can be deleted.
    EXPECT_EQ(engine->StopWatching(base::unique_bstr((tree / L"sub").c_str()).get()), S_OK);

    // Which error a name gives is FolderSizesTest's; here, that it arrives.
    const base::unique_bstr empty(L""), embeddedNul(L"C:\\x\0y", 6), missing((tree / L"missing").c_str());
    const std::pair<BSTR, HRESULT> failures[] = {{nullptr, E_INVALIDARG},
                                                 {empty.get(), E_INVALIDARG},
                                                 {embeddedNul.get(), HRESULT_FROM_WIN32(ERROR_INVALID_NAME)},
                                                 {missing.get(), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)}};
    for (const auto& [folder, expected] : failures) {
        size = files = 12345;
        // A folder being opened answers S_OK with 0; what the open found follows.
        EXPECT_TRUE(PumpUntil([&] { return engine->GetTotalSize(folder, &size) == expected; })) << SysStringLen(folder);
        EXPECT_EQ(size, 0u);
        EXPECT_EQ(engine->GetFileCount(folder, &files), expected);
        EXPECT_EQ(files, 0u);
    }
}

// A folder whose storage takes seconds per operation: its question answers
// at once while it is opened, and the engine still ends with a thread stuck
// on it. That it holds no other folder is MonitorControlTest's.
TEST(SizeEngineServer, AFolderOnSlowStorageHoldsNeitherItsQuestionNorTheEnd)
{
    SlowStorage storage;
    KRN_REQUIRE_SLOW_STORAGE(storage);
    base::com_ptr<ISizeEngine> engine = CreateEngine();
    ASSERT_TRUE(engine);
    for (int asked = 0; asked < 2; ++asked) {
        const ULONGLONG start = GetTickCount64();
        const TotalAndState slow = AskBoth(engine.get(), storage.slow());
        EXPECT_LT(GetTickCount64() - start, 1000u) << "the slow folder's question, in ms";
        EXPECT_EQ(slow.result, S_OK);
        EXPECT_EQ(slow.size, 0u);
        EXPECT_EQ(slow.state, KRN_SCAN_UNKNOWN) << "still being opened";
    }
    engine.reset();
    const ULONGLONG start = GetTickCount64();
    {
        ServerUnregistered unregistered(WindowsPath(KRN_SIZE_ENGINE_EXE));
        EXPECT_LT(GetTickCount64() - start, 5000u) << "/UnregServer and the end of the engine, in ms";
    }
}

} // namespace
} // namespace krn::test
