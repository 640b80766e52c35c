// The Size column of the real main window against the real size engine: the
// totals of folders the test made, a change followed, a folder on storage that
// takes seconds to answer, and a program whose engine is not registered.
#include "MainWindowFixture.h"

#include "../../app/ChildProcess.h"
#include "resource.h"
#include "support/SlowStorage.h"
#include "ui/main/MonitorControl.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

namespace {

using namespace krn::test;

void WriteBytes(const std::wstring& path, size_t count)
{
    WriteFileBytes(path, std::string(count, 'k'));
}

class SizeColumnTest : public MainWindowTest {
protected:
    std::wstring SizeCell(int row) const { return Cell(row, krn::kColumnSize); }
    void Refresh() const { SendMessageW(window(), WM_TIMER, krn::MonitorControl::kRefreshTimer, 0); }
    // Refreshes as the timer does until the row's cell reads `text`.
    bool RefreshUntil(int row, const std::wstring& text) const
    {
        return PumpUntil(
            [&] {
                Refresh();
                return SizeCell(row) == text;
            },
            10000);
    }
    TempFolder counted;
};

TEST_F(SizeColumnTest, CellsShowTheEngineTotalsAndFollowAChange)
{
    WriteBytes(counted / L"a.bin", 1000);
    WriteBytes(counted / L"b.bin", 2500);
    std::filesystem::create_directories(counted / L"inner\\empty");
    WriteBytes(counted / L"inner\\c.bin", 10000);
    TempFolder empty;
    WriteConfig(FolderXml(Narrow(counted.path())) + FolderXml(Narrow(empty.path())) +
                FolderXml(Narrow(empty / L"missing")));
    ASSERT_TRUE(Open());
    EXPECT_TRUE(RefreshUntil(0, L"13.18 KB")) << "13,500 bytes below the folder: " << SizeCell(0);
    EXPECT_EQ(SizeCell(1), L"0 B");
    EXPECT_EQ(SizeCell(2), L"0 B") << "a folder that does not exist";
    WriteBytes(counted / L"inner\\empty\\d.bin", 1024 * 1024);
    EXPECT_TRUE(RefreshUntil(0, L"1.01 MB")) << "1,062,076 bytes: " << SizeCell(0);
}

TEST_F(SizeColumnTest, WithoutARegisteredEngineEveryCellReadsZeroUntilItIsRegisteredAgain)
{
    WriteBytes(counted / L"a.bin", 5000);
    WriteConfig(FolderXml(Narrow(counted.path())) + FolderXml("C:\\windows"));
    {
        ServerUnregistered unregistered(WindowsPath(KRN_SIZE_ENGINE_EXE));
        ASSERT_TRUE(Open());
        // Long enough for the engine to have counted the folder, were it there.
        for (int i = 0; i < 5; ++i) {
            Refresh();
            PumpFor(200);
        }
        EXPECT_EQ(SizeCell(0), L"0 B");
        EXPECT_EQ(SizeCell(1), L"0 B");
        const std::wstring status = WindowText(item(IDC_STATUS_LINK));
        EXPECT_TRUE(status == L"Active" || status == L"Inactive") << "the watcher's state is still shown: " << status;
        EXPECT_FALSE(ApplyEnabled()) << "a refresh never marks the list modified";
    }
    EXPECT_TRUE(RefreshUntil(0, L"4.88 KB")) << "the same window, the engine registered again: " << SizeCell(0);
}

TEST_F(SizeColumnTest, AFolderOnSlowStorageHoldsNeitherTheWindowNorTheOtherFolders)
{
    SlowStorage storage;
    KRN_REQUIRE_SLOW_STORAGE(storage);
    WriteBytes(counted / L"a.bin", 3000);
    WriteConfig(FolderXml(Narrow(storage.slow())) + FolderXml(Narrow(counted.path())));
    ASSERT_TRUE(Open());
    // Another thread asks the window for an answer all along.
    std::atomic<bool> done{false};
    std::atomic<int> unanswered{0};
    std::thread prober([&, target = window()] {
        for (DWORD_PTR result = 0; !done; Sleep(50))
            if (!SendMessageTimeoutW(target, WM_NULL, 0, 0, SMTO_NORMAL, 2000, &result))
                ++unanswered;
    });
    ULONGLONG longest = 0;
    const bool counted3000 = PumpUntil(
        [&] {
            const ULONGLONG start = GetTickCount64();
            Refresh();
            longest = std::max(longest, GetTickCount64() - start);
            return SizeCell(1) == L"2.93 KB";
        },
        10000);
    done = true;
    prober.join();
    EXPECT_TRUE(counted3000) << "the other folder's 3,000 bytes: " << SizeCell(1);
    EXPECT_EQ(SizeCell(0), L"0 B") << "the slow folder is still being opened";
    EXPECT_LT(longest, 2000u) << "the longest refresh, in ms";
    EXPECT_EQ(unanswered, 0) << "messages sent to the window that waited over 2 s";
}

} // namespace
