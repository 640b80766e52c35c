// The built servers as the configuration program meets them: processes of
// their own, registered in the prefix, reached through real COM activation;
// the watcher found through its mutex and acting on crossings through the
// real size engine. Every wait is for a condition; the decisions themselves
// are WatchCoreTest's.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <thread>

#include "app/ChildProcess.h"
#include "config/Locations.h"
#include "support/History.h"
#include "server/Registration.h"
#include "settings/RegistryValues.h"
#include "support/Gui.h"
#include "support/Scratch.h"
#include "support/SlowStorage.h"
#include "watcher/AlertActions.h"
#include "watcher/WatcherControl.h"

namespace krn::test {
namespace {

const std::wstring kWatcherExe = WindowsPath(KRN_WATCHER_EXE);
const std::wstring kEngineExe = WindowsPath(KRN_SIZE_ENGINE_EXE);
constexpr DWORD kActedWithinMs = 15000;  // a backstop, not a target
constexpr wchar_t kWatcherCaption[] = L"Kestrune\u2122 Watcher";

// The watcher's message box, once it shows (it exists before its buttons
// are settled).
HWND WatcherBox()
{
    const HWND box = FindWindowW(L"#32770", kWatcherCaption);
    return box && IsWindowVisible(box) ? box : nullptr;
}

std::vector<std::string> LogLines(const std::wstring& log)
{
    std::vector<std::string> lines;
    std::istringstream text(ReadFileBytes(log));
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

class WatcherTest : public testing::Test {
protected:
    // The watcher reads the prefix's own HKEY_CURRENT_USER: its AppData
    // folder, log file and start-up setting are pointed at scratch values and
    // put back afterwards.
    void SetUp() override
    {
        StopWatcher();
        WriteRegString(kShellFolders, L"AppData", scratch_.path());
        std::filesystem::create_directories(scratch_ / L"Norlath\\Kestrune");
        WriteRegString(registry::kLogFile.key, registry::kLogFile.name, log_);
        RegDeleteKeyValueW(HKEY_CURRENT_USER, registry::kDisableAlertOnStartup.key,
                           registry::kDisableAlertOnStartup.name);
    }
    void TearDown() override
    {
        PumpUntil([] {
            const HWND box = WatcherBox();
            if (box)
                DialogDriver::Click(box, IDOK);
            return !box;
        });
        StopWatcher();
        // The engine follows the watched folders: under Wine a folder open in
        // another process stays until it is closed, and the removal of the
        // scratch folder would wait for it.
        if (watched_)
            ServerUnregistered restarted(kEngineExe);
    }

    // The folders with `limits` and `actions` (XML) in config.xml.
    void Configure(const std::vector<std::wstring>& folders, const std::string& actions,
                   const std::string& limits = R"(<Max Value="1" Units="KB" Msg=""/>)")
    {
        std::string xml = R"(<?xml version="1.0" encoding="utf-8"?><Configuration><Settings>)"
                          R"(<ConfigVersion Version="1.3"/></Settings><Folders>)";
        for (const std::wstring& folder : folders)
            xml += "<Folder Path=\"" + Utf8(folder) + "\">" + limits + "<Actions>" + actions + "</Actions></Folder>";
        WriteFileBytes(scratch_ / L"Norlath\\Kestrune\\config.xml", xml + "</Folders></Configuration>");
        watched_ = true;
    }
    // Whether a line of the log ends with `ending`, once one does.
    bool Logged(const std::string& ending)
    {
        const auto ends = [&](const std::string& line) { return line.ends_with(ending); };
        return PumpUntil([&] { return std::ranges::any_of(LogLines(log_), ends); }, kActedWithinMs);
    }

    static constexpr wchar_t kShellFolders[] =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";
    TempFolder scratch_;
    const std::wstring log_ = scratch_ / L"alerts.log";
    bool watched_ = false;
    base::com_ptr<IWatcherControl> control_;
    RegValueGuard appData_{kShellFolders, L"AppData"};
    RegValueGuard logGuard_{registry::kLogFile.key, registry::kLogFile.name};
    RegValueGuard alertsGuard_{registry::kDisableAlertOnStartup.key, registry::kDisableAlertOnStartup.name};
};

// Whichever copy gets the mutex serves, and the other one ends: an activation
// while a copy starts by hand succeeds at the first attempt, also when it
// comes between the mutex and the class object; a copy started by hand while
// one serves ends at once.
TEST_F(WatcherTest, OneCopyServesHoweverItIsStarted)
{
    for (const bool afterMutex : {false, true}) {
        SCOPED_TRACE(afterMutex ? "activated once the mutex is taken" : "activated at once");
        ChildProcess watcher(kWatcherExe, L"");
        EXPECT_TRUE(!afterMutex || PumpUntil(WatcherRunning, 10000)) << "no mutex";
        base::com_ptr<IWatcherControl> control;
        EXPECT_EQ(CreateWatcher(control), S_OK);
        EXPECT_TRUE(PumpUntil([] { return RunningCopies(kWatcherExe).size() == 1; }, 10000)) << "the other copy did not end";
        EXPECT_EQ(ChildProcess(kWatcherExe, L"").Wait(), DWORD(kWatcherAlreadyRunning));
        EXPECT_EQ(State(control.get()), KRN_WATCHER_IDLE) << "the first copy still answers";
        // Ended by Disable, never killed: Wine would keep a dead copy's class.
        StopWatcher();
        const DWORD exitCode = watcher.Wait(10000);
        EXPECT_TRUE(exitCode == 0 || exitCode == DWORD(kWatcherAlreadyRunning)) << exitCode;
    }
}

std::wstring RegisteredTypeLibrary()
{
    base::unique_bstr path;
    QueryPathOfRegTypeLib(LIBID_KestruneServers, 1, 0, LOCALE_NEUTRAL, path.put());
    return path ? path.get() : L"<none>";
}

// The servers fixture left both servers registered; so does this test. The
// shared type library stays when the watcher goes, registered from the
// engine's file.
TEST(WatcherRegistration, UnregisterRemovesTheClassAndHandsTheTypeLibraryToTheEngine)
{
    StopWatcher();
    const std::wstring classKey = server::ClassKey(CLSID_WatcherControl);
    // The marshaler of the engine's interface: the proxy/stub DLL's class, which
    // widl names after that first interface.
    const std::wstring marshaler =
        L"Software\\Classes\\Interface\\" + server::GuidText(IID_ISizeEngine) + L"\\ProxyStubClsid32";
    for (int run = 1; run <= 2; ++run) {
        SCOPED_TRACE(testing::Message() << "/UnregServer number " << run);
        EXPECT_EQ(ChildProcess(kWatcherExe, L"/UnregServer").Wait(), 0u);
        base::com_ptr<IWatcherControl> control;
        EXPECT_EQ(CreateWatcher(control), REGDB_E_CLASSNOTREG);
        base::unique_hkey key;
        EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, classKey.c_str(), 0, KEY_READ, key.put()), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(RegisteredTypeLibrary(), kEngineExe);
        EXPECT_EQ(ReadString(HKEY_LOCAL_MACHINE, marshaler), server::GuidText(IID_ISizeEngine))
            << "the proxy/stub DLL went with the watcher";
    }
    for (int run = 1; run <= 2; ++run) {
        SCOPED_TRACE(testing::Message() << "/RegServer number " << run);
        ASSERT_EQ(ChildProcess(kWatcherExe, L"/RegServer").Wait(), 0u);
        EXPECT_EQ(ReadString(HKEY_LOCAL_MACHINE, classKey + L"\\LocalServer32"), L"\"" + kWatcherExe + L"\"");
        EXPECT_EQ(RegisteredTypeLibrary(), kWatcherExe);
        EXPECT_EQ(ReadString(HKEY_LOCAL_MACHINE, marshaler), server::GuidText(IID_ISizeEngine));
    }
}

// One crossing and its three actions: the box (with the watcher's own
// caption), the log line, and the program, which leaves a file named by its
// parameters in the folder it was given through %currentdir%. The engine's
// history of the folder, written before it starts, rises 500 bytes a day to
// 5,000 bytes, below a maximum of 6 KB: the log first tells that the maximum
// is 2 days away, and the crossing's texts end with the day's growth.
TEST_F(WatcherTest, OneCrossingEndToEnd)
{
    const std::wstring folder = scratch_ / L"Watched \u00e9t\u00e9";
    std::filesystem::create_directories(folder);
    WriteFileBytes(folder + L"\\base.bin", std::string(5000, 'x'));
    {
        ServerUnregistered ended(kEngineExe);  // reads the history when it starts again
        ASSERT_TRUE(WriteSteadyHistory(folder, 5000, 500));
    }
    const std::wstring script = scratch_ / L"record.cmd";
    WriteFileBytes(script, "@type nul > \"%~1\\ran %2.txt\"\r\n");
    Configure({folder},
              "<MsgBox/><AddToLog/><Run Path=\"&quot;" + Utf8(script) +
                  "&quot;\" Params=\"&quot;%currentdir%&quot; crossed\"/>",
              R"(<Max Value="6" Units="KB" Msg=""/>)");
    ASSERT_EQ(CreateWatcher(control_), S_OK);
    EXPECT_TRUE(Logged("\t" + Utf8(folder) + "\tReaches its maximum (6.00 KB) in about 2 days.\r"))
        << ReadFileBytes(log_);
    WriteFileBytes(folder + L"\\big.bin", std::string(2048, 'x'));

    const std::wstring growth = L"+2.49 KB in 24 hours.";  // 7,048 bytes now, 4,500 a day ago
    HWND box = nullptr;
    ASSERT_TRUE(PumpUntil([&] { return (box = WatcherBox()) != nullptr; }, kActedWithinMs)) << "no message box";
    const MessageBoxInfo info = ReadMessageBox(box);
    EXPECT_EQ(info.text,
              L"The folder " + folder + L" has a size of 6.88 KB, above its maximum limit of 6.00 KB. " + growth);
    EXPECT_EQ(info.buttons, std::vector<int>{IDOK});
    DialogDriver::Click(box, IDOK);
    // The line is "2026-11-24 14:05:09", then the folder, the limit, the size, the limit's value, the growth.
    EXPECT_TRUE(Logged("\t" + Utf8(folder) + "\tMaximum exceeded\tSize 6.88 KB\tLimit 6.00 KB\t" + Utf8(growth) + "\r"))
        << ReadFileBytes(log_);
    EXPECT_TRUE(PumpUntil([&] { return std::filesystem::exists(folder + L"\\ran crossed.txt"); }, kActedWithinMs))
        << "the program did not run";
}

// "ReportEventW (...,0x0002,0x0000,0x800003e9,...)" then one line per insert:
// each record as "<event id> <inserts...>".
std::vector<std::wstring> TracedRecords(const std::wstring& trace)
{
    std::vector<std::wstring> records;
    for (const std::string& line : LogLines(trace)) {
        const size_t at = line.find("ReportEventW ");
        if (at == std::string::npos)
            continue;
        if (line[at + 13] == '(') {
            const size_t id = line.find(",0x", line.find(",0x", line.find(",0x") + 3) + 3);
            records.push_back(std::to_wstring(std::stoul(line.substr(id + 3, 8), nullptr, 16) & 0xFFFF));
        } else if (!records.empty()) {
            const std::string quoted = line.substr(at + 13);  // L"C:\\data"
            std::wstring insert = Wide(quoted.substr(2, quoted.rfind('"') - 2));
            for (size_t slash = insert.find(L"\\\\"); slash != std::wstring::npos; slash = insert.find(L"\\\\", slash + 1))
                insert.erase(slash, 1);
            records.back() += L" " + insert;
        }
    }
    return records;
}

// A crossing, the limit seen back inside and a program that cannot start go
// to the system's event log with their event ids and inserts.
TEST_F(WatcherTest, EventLogGetsCrossingsReturnsAndFailedActions)
{
    const char* stderrFile = std::getenv("KRN_STDERR_FILE");
    if (!stderrFile)
        GTEST_SKIP() << "stderr is a terminal: the records are shown there, not read";
    const std::wstring folder = scratch_ / L"watched", trace = WindowsPath(stderrFile);
    std::filesystem::create_directories(folder);
    Configure({folder}, R"(<Run Path="C:\no such program.exe" Params=""/>)");
    // Started by hand with Wine's event log channel on: under Wine, ReportEventW
    // writes each record to the process's Unix stderr, which is this test's own
    // (build/wine-run keeps it in the file KRN_STDERR_FILE names).
    wchar_t before[256] = {};
    GetEnvironmentVariableW(L"WINEDEBUG", before, 256);
    SetEnvironmentVariableW(L"WINEDEBUG", L"+eventlog");
    const ChildProcess watcher(kWatcherExe, L"");
    SetEnvironmentVariableW(L"WINEDEBUG", before);
    EXPECT_TRUE(PumpUntil(WatcherRunning, kActedWithinMs));
    const auto traced = [&](const std::wstring& record) {
        return PumpUntil([&] { return std::ranges::count(TracedRecords(trace), record) > 0; }, kActedWithinMs);
    };
    WriteFileBytes(folder + L"\\big.bin", std::string(2048, 'x'));
    EXPECT_TRUE(traced(L"1001 " + folder + L" 2.00 KB 1.00 KB")) << Wide(ReadFileBytes(trace));
    EXPECT_TRUE(traced(L"1005 Run application " + folder + L" Could not start C:\\no such program.exe: " +
                       ErrorText(ERROR_FILE_NOT_FOUND)));
    DeleteFileW((folder + L"\\big.bin").c_str());
    EXPECT_TRUE(traced(L"1003 " + folder + L" 0 B 1.00 KB"));
    StopWatcher();
    EXPECT_EQ(TracedRecords(trace).size(), 3u) << "a record too many";
}

// A folder whose storage takes half a minute per operation holds only itself:
// another folder's crossing is acted on meanwhile, and Disable ends the
// watcher without waiting for it.
TEST_F(WatcherTest, AFolderOnSlowStorageHoldsNeitherTheOthersNorTheEnd)
{
    SlowStorage storage;
    KRN_REQUIRE_SLOW_STORAGE(storage);
    const std::wstring fast = scratch_ / L"fast";
    std::filesystem::create_directories(fast);
    Configure({storage.slow(), fast}, "<AddToLog/>");
    ASSERT_EQ(CreateWatcher(control_), S_OK);
    ASSERT_EQ(State(control_.get()), KRN_WATCHER_WATCHING);
    WriteFileBytes(fast + L"\\big.bin", std::string(2048, 'x'));
    EXPECT_TRUE(Logged("\tLimit 1.00 KB\r")) << "the slow folder held the other";
    EXPECT_EQ(control_->Disable(), S_OK);
    control_.reset();
    EXPECT_TRUE(PumpUntil([] { return !WatcherRunning(); })) << "the slow folder held the end";
}

// Ending a server while another client calls it in a loop (the watcher by
// Disable, the engine by /UnregServer): the client's calls fail, none hangs,
// and the process ends cleanly, the watcher's mutex with it. Each case starts
// with no copy running and leaves the server registered.
TEST(ServerEnd, ClientCallingInALoopFailsAndTheServerEndsCleanly)
{
    const struct {
        const std::wstring& exe;
        const CLSID& clsid;
        const IID& iid;
    } cases[] = {{kWatcherExe, CLSID_WatcherControl, IID_IWatcherControl},
                 {kEngineExe, CLSID_SizeEngine, IID_ISizeEngine}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.exe);
        { ServerUnregistered noCopy(c.exe); }
        base::com_ptr<IUnknown> object;
        ASSERT_EQ(CoCreateInstance(c.clsid, nullptr, CLSCTX_LOCAL_SERVER, c.iid, object.put_void()), S_OK);
        // A client of its own (thread, apartment, proxy) calls until a call fails.
        std::atomic<long> calls{0};
        std::atomic<bool> ended{false};
        std::atomic<HRESULT> last{S_OK};
        const std::jthread client([&](std::stop_token stop) {
            base::ComInit com(COINIT_APARTMENTTHREADED);
            base::com_ptr<IUnknown> other;
            last = CoCreateInstance(c.clsid, nullptr, CLSCTX_LOCAL_SERVER, c.iid, other.put_void());
            const base::unique_bstr name(L"C:\\");
            for (LONG state = 0; SUCCEEDED(last) && !stop.stop_requested(); ++calls)
                last = c.clsid == CLSID_WatcherControl
                           ? static_cast<IWatcherControl*>(other.get())->GetState(&state)
                           : static_cast<ISizeEngine*>(other.get())->GetScanState(name.get(), &state);
            ended = true;
        });
        ASSERT_TRUE(PumpUntil([&] { return calls >= 20 || ended.load(); }, kActedWithinMs));
        ASSERT_FALSE(ended) << "the client's calls failed before the end: 0x" << std::hex << last.load();
        const std::vector<DWORD> running = RunningCopies(c.exe);
        ASSERT_EQ(running.size(), 1u) << "both activations reach the same copy";
        const base::unique_kernel_handle process(
            OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, running[0]));

        if (c.clsid == CLSID_WatcherControl)
            EXPECT_EQ(static_cast<IWatcherControl*>(object.get())->Disable(), S_OK);
        else
            EXPECT_EQ(ChildProcess(c.exe, L"/UnregServer").Wait(), 0u);
        object.reset();
        ASSERT_EQ(WaitForSingleObject(process.get(), kActedWithinMs), WAIT_OBJECT_0) << "the server did not end";
        DWORD exitCode = STILL_ACTIVE;
        GetExitCodeProcess(process.get(), &exitCode);
        EXPECT_EQ(exitCode, 0u);
        EXPECT_TRUE(PumpUntil([&] { return ended.load(); }, kActedWithinMs)) << "the client's call hangs";
        EXPECT_TRUE(FAILED(last.load())) << std::hex << last.load();
        EXPECT_TRUE(RunningCopies(c.exe).empty()) << "a copy of the server is left";
        EXPECT_FALSE(WatcherRunning());
        EXPECT_EQ(ChildProcess(c.exe, L"/RegServer").Wait(), 0u);
    }
}

} // namespace
} // namespace krn::test
