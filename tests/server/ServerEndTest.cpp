// Ending the built servers while another client is in the middle of calling
// them: the client's calls fail, none hangs, and the server process ends
// cleanly, its presence mutex with it.
#include <windows.h>
#include <tlhelp32.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "Kestrune.h"
#include "app/ChildProcess.h"
#include "base/Com.h"
#include "base/Handles.h"
#include "idl/PresenceMutex.h"
#include "support/Gui.h"

namespace krn::test {
namespace {

constexpr DWORD kEndsWithinMs = 10000;  // a backstop against a hang, not a target

std::vector<DWORD> Processes(const std::wstring& exe)
{
    const std::wstring name = exe.substr(exe.rfind(L'\\') + 1);
    std::vector<DWORD> ids;
    base::unique_kernel_handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{sizeof entry};
    for (BOOL more = Process32FirstW(snapshot.get(), &entry); more; more = Process32NextW(snapshot.get(), &entry))
        if (_wcsicmp(entry.szExeFile, name.c_str()) == 0)
            ids.push_back(entry.th32ProcessID);
    return ids;
}

bool WatcherMutexExists()
{
    return static_cast<bool>(base::unique_kernel_handle(OpenMutexW(SYNCHRONIZE, FALSE, kWatcherMutexName)));
}

// A client of its own (thread, apartment, proxy) that calls the server in a
// loop until a call fails: the call is GetState or GetScanState.
class CallingClient {
public:
    CallingClient(const CLSID& clsid, const IID& iid) : thread_([this, &clsid, &iid] { Run(clsid, iid); }) {}
    ~CallingClient()
    {
        stop_ = true;
        thread_.join();
    }
    CallingClient(const CallingClient&) = delete;
    CallingClient& operator=(const CallingClient&) = delete;

    std::atomic<long> calls{0};
    std::atomic<bool> ended{false};
    std::atomic<HRESULT> last{S_OK};

private:
    void Run(const CLSID& clsid, const IID& iid)
    {
        base::ComInit com(COINIT_APARTMENTTHREADED);
        base::com_ptr<IUnknown> object;
        last = CoCreateInstance(clsid, nullptr, CLSCTX_LOCAL_SERVER, iid, object.put_void());
        const base::unique_bstr name(L"C:\\");
        for (LONG state = 0; SUCCEEDED(last) && !stop_; ++calls)
            last = clsid == CLSID_WatcherControl ? static_cast<IWatcherControl*>(object.get())->GetState(&state)
                                                 : static_cast<ISizeEngine*>(object.get())->GetScanState(name.get(), &state);
        ended = true;
    }

    std::atomic<bool> stop_{false};
    std::thread thread_;
};

struct EndCase {
    const char* name;
    const char* exe;
    const CLSID& clsid;
    const IID& iid;
    bool disable;  // else /UnregServer
};
// For ctest's listing: the case's name, not its bytes.
void PrintTo(const EndCase& c, std::ostream* out) { *out << c.name; }

class ServerEndTest : public testing::TestWithParam<EndCase> {
protected:
    static DWORD Run(const std::wstring& exe, const wchar_t* arguments)
    {
        ChildProcess child(exe, arguments);
        return child.Wait(30000);
    }
    // Unregistering ends every running copy: each case starts from none and
    // leaves the server registered.
    void SetUp() override
    {
        EXPECT_EQ(Run(WindowsPath(GetParam().exe), L"/UnregServer"), 0u);
        EXPECT_EQ(Run(WindowsPath(GetParam().exe), L"/RegServer"), 0u);
    }
    void TearDown() override { EXPECT_EQ(Run(WindowsPath(GetParam().exe), L"/RegServer"), 0u); }
};

TEST_P(ServerEndTest, ClientCallingInALoopFailsAndTheServerEndsCleanly)
{
    const EndCase& c = GetParam();
    const std::wstring exe = WindowsPath(c.exe);
    base::com_ptr<IUnknown> object;
    ASSERT_EQ(CoCreateInstance(c.clsid, nullptr, CLSCTX_LOCAL_SERVER, c.iid, object.put_void()), S_OK);
    CallingClient client(c.clsid, c.iid);
    ASSERT_TRUE(PumpUntil([&] { return client.calls >= 20 || client.ended.load(); }, kEndsWithinMs));
    ASSERT_FALSE(client.ended) << "the client's calls failed before the end: 0x" << std::hex << client.last.load();
    const std::vector<DWORD> running = Processes(exe);
    ASSERT_EQ(running.size(), 1u) << "both activations reach the same copy";
    base::unique_kernel_handle process(OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, running[0]));
    ASSERT_TRUE(process);

    if (c.disable)
        EXPECT_EQ(static_cast<IWatcherControl*>(object.get())->Disable(), S_OK);
    else
        EXPECT_EQ(Run(exe, L"/UnregServer"), 0u);
    object.reset();

    ASSERT_EQ(WaitForSingleObject(process.get(), kEndsWithinMs), WAIT_OBJECT_0) << "the server did not end";
    DWORD exitCode = STILL_ACTIVE;
    GetExitCodeProcess(process.get(), &exitCode);
    EXPECT_EQ(exitCode, 0u);
    EXPECT_TRUE(PumpUntil([&] { return client.ended.load(); }, kEndsWithinMs)) << "the client's call hangs";
    EXPECT_TRUE(FAILED(client.last.load())) << std::hex << client.last.load();
    EXPECT_TRUE(Processes(exe).empty()) << "a copy of the server is left";
    EXPECT_FALSE(WatcherMutexExists());
}

INSTANTIATE_TEST_SUITE_P(
    Servers, ServerEndTest,
    testing::Values(EndCase{"WatcherDisabled", KRN_WATCHER_EXE, CLSID_WatcherControl, IID_IWatcherControl, true},
                    EndCase{"EngineUnregistered", KRN_SIZE_ENGINE_EXE, CLSID_SizeEngine, IID_ISizeEngine, false}),
    [](const testing::TestParamInfo<EndCase>& param) { return std::string(param.param.name); });

} // namespace
} // namespace krn::test
