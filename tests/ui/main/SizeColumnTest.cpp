// The Size column of the real main window against the real size engine: the
// totals of folders the test made, a change followed, and a program whose
// engine is not registered.
#include "MainWindowFixture.h"

#include "../../app/ChildProcess.h"
#include "config/Locations.h"
#include "resource.h"
#include "ui/main/MonitorControl.h"

#include <windows.h>
#include <tlhelp32.h>

#include <filesystem>
#include <string>

namespace {

using namespace krn::test;

const std::wstring kEngineExe = WindowsPath(KRN_SIZE_ENGINE_EXE);

std::string Narrow(const std::wstring& path)
{
    return std::string(path.begin(), path.end());  // the scratch paths are ASCII
}

void WriteBytes(const std::wstring& path, size_t count)
{
    WriteFileBytes(path, std::string(count, 'k'));
}

// Waits for every running copy of this build's engine to end: a running
// server keeps serving its class whether or not it is still registered.
bool EnginesEnded()
{
    const base::unique_kernel_handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{sizeof entry};
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more; more = Process32NextW(snapshot.get(), &entry)) {
        const base::unique_kernel_handle process(
            OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, entry.th32ProcessID));
        wchar_t image[MAX_PATH] = {};
        DWORD length = MAX_PATH;
        if (process && QueryFullProcessImageNameW(process.get(), 0, image, &length) &&
            lstrcmpiW(image, kEngineExe.c_str()) == 0 && WaitForSingleObject(process.get(), 10000) != WAIT_OBJECT_0)
            return false;
    }
    return true;
}

// The engine unregistered for the guard's life (which also ends a running
// copy); registered again afterwards, as the servers fixture left it.
class EngineUnregistered {
public:
    EngineUnregistered()
    {
        EXPECT_EQ(ChildProcess(kEngineExe, L"/UnregServer").Wait(30000), 0u);
        EXPECT_TRUE(EnginesEnded());
    }
    ~EngineUnregistered() { EXPECT_EQ(ChildProcess(kEngineExe, L"/RegServer").Wait(30000), 0u); }
};

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
};

TEST_F(SizeColumnTest, CellsShowTheEngineTotalsAndFollowAChange)
{
    TempFolder counted;
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
    EXPECT_EQ(SizeCell(1), L"0 B");
}

TEST_F(SizeColumnTest, WithoutARegisteredEngineEveryCellReadsZeroUntilItIsRegisteredAgain)
{
    TempFolder counted;
    WriteBytes(counted / L"a.bin", 5000);
    WriteConfig(FolderXml(Narrow(counted.path())) + FolderXml("C:\\windows"));
    {
        EngineUnregistered unregistered;
        ASSERT_TRUE(Open());
        // Long enough for the engine to have counted the folder, were it there.
        for (int i = 0; i < 5; ++i) {
            Refresh();
            PumpUntil([] { return false; }, 200);
        }
        EXPECT_EQ(SizeCell(0), L"0 B");
        EXPECT_EQ(SizeCell(1), L"0 B");
        const std::wstring status = WindowText(item(IDC_STATUS_LINK));
        EXPECT_TRUE(status == L"Active" || status == L"Inactive") << "the watcher's state is still shown: " << status;
        EXPECT_FALSE(ApplyEnabled()) << "a refresh never marks the list modified";
    }
    EXPECT_TRUE(RefreshUntil(0, L"4.88 KB")) << "the same window, the engine registered again: " << SizeCell(0);
}

} // namespace
