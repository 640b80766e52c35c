// The built "KRN Watcher.exe" as the configuration program meets it: a
// process of its own, registered in the prefix, found through its mutex and
// reached through real COM activation.
#include <windows.h>
#include <tlhelp32.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "WatcherFixture.h"
#include "app/ChildProcess.h"
#include "server/Registration.h"
#include "support/Gui.h"
#include "support/Scratch.h"
#include "watcher/WatcherControl.h"

namespace krn::test {
namespace {

TEST_F(WatcherTest, SecondCopyByHandEndsAtOnce)
{
    base::com_ptr<IWatcherControl> control;
    ASSERT_EQ(Create(control), S_OK);
    EXPECT_EQ(RunWatcherWith(L""), DWORD(kWatcherAlreadyRunning));
    EXPECT_EQ(State(control.get()), KRN_WATCHER_IDLE) << "the first copy still answers";
}

// Whichever copy gets the mutex serves, and the other one ends: an activation
// while a copy starts by hand succeeds at the first attempt, also when it
// comes between the mutex and the class object.
TEST_F(WatcherTest, ActivationWhileACopyStartsByHand)
{
    for (const bool afterMutex : {false, true}) {
        SCOPED_TRACE(afterMutex ? "activated once the mutex is taken" : "activated at once");
        ChildProcess watcher(kWatcherExe, L"");
        if (afterMutex) {
            EXPECT_TRUE(WaitForMutex(true, 10000));
        }
        base::com_ptr<IWatcherControl> control;
        EXPECT_EQ(Create(control), S_OK);
        EXPECT_TRUE(PumpUntil([] { return WatcherProcesses().size() == 1; }, 10000)) << "the other copy did not end";
        // Ended by Disable, never killed: Wine would keep a dead copy's class.
        StopWatcher();
        const DWORD exitCode = watcher.Wait(10000);
        EXPECT_TRUE(exitCode == 0 || exitCode == DWORD(kWatcherAlreadyRunning)) << exitCode;
    }
}

// Every key and value below `key` (HKEY_LOCAL_MACHINE), one line each.
void Dump(const std::wstring& key, std::vector<std::wstring>& lines)
{
    base::unique_hkey opened;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_READ, opened.put()) != ERROR_SUCCESS)
        return;
    lines.push_back(key);
    for (DWORD i = 0;; ++i) {
        wchar_t name[256], data[512] = {};
        DWORD length = 256, type = 0, size = sizeof data - sizeof(wchar_t);
        if (RegEnumValueW(opened.get(), i, name, &length, nullptr, &type, reinterpret_cast<BYTE*>(data), &size))
            break;
        lines.push_back(key + L" [" + name + L"] = " + (type == REG_SZ ? data : L"(not a string)"));
    }
    for (DWORD i = 0;; ++i) {
        wchar_t name[256];
        DWORD length = 256;
        if (RegEnumKeyExW(opened.get(), i, name, &length, nullptr, nullptr, nullptr, nullptr))
            break;
        Dump(key + L"\\" + name, lines);
    }
}

// What registration may write: the class, the type library and its two
// interfaces, in the 64-bit view and the one kept for 32-bit clients.
std::vector<std::wstring> ServerKeys()
{
    std::vector<std::wstring> lines;
    for (const std::wstring classes : {L"Software\\Classes\\", L"Software\\Classes\\Wow6432Node\\"}) {
        Dump(classes + L"CLSID\\" + server::GuidText(CLSID_WatcherControl), lines);
        Dump(classes + L"TypeLib\\" + server::GuidText(LIBID_KestruneServers), lines);
        Dump(classes + L"Interface\\" + server::GuidText(IID_IWatcherControl), lines);
        Dump(classes + L"Interface\\" + server::GuidText(IID_ISizeEngine), lines);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

bool Contains(const std::vector<std::wstring>& lines, const std::wstring& line)
{
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

class RegistrationTest : public testing::Test {
protected:
    void SetUp() override { StopWatcher(); }
    // The servers fixture left the watcher registered; so does this test.
    void TearDown() override { EXPECT_EQ(RunWatcherWith(L"/RegServer"), 0u); }
};

// With the size engine registered too, the shared type library stays when the
// watcher goes, registered from the engine's file: the comparison still holds.
TEST_F(RegistrationTest, UnregisterRemovesExactlyWhatRegisterWrote)
{
    ASSERT_EQ(RunWatcherWith(L"/UnregServer"), 0u);
    const std::vector<std::wstring> unregistered = ServerKeys();
    base::com_ptr<IWatcherControl> control;
    EXPECT_EQ(Create(control), REGDB_E_CLASSNOTREG);

    const std::wstring classKey = server::ClassKey(CLSID_WatcherControl);
    const std::wstring interfaceKey = L"Software\\Classes\\Interface\\" + server::GuidText(IID_IWatcherControl);
    for (int run = 1; run <= 2; ++run) {
        SCOPED_TRACE(testing::Message() << "/RegServer number " << run);
        ASSERT_EQ(RunWatcherWith(L"/RegServer"), 0u);
        const std::vector<std::wstring> registered = ServerKeys();
        EXPECT_PRED2(Contains, registered, classKey + L" [] = Kestrune Watcher Control");
        EXPECT_PRED2(Contains, registered, classKey + L"\\LocalServer32 [] = \"" + kWatcherExe + L"\"");
        EXPECT_PRED2(Contains, registered,
                     interfaceKey + L"\\ProxyStubClsid32 [] = {00020424-0000-0000-C000-000000000046}");
        base::unique_bstr typeLibPath;
        EXPECT_EQ(QueryPathOfRegTypeLib(LIBID_KestruneServers, 1, 0, LOCALE_NEUTRAL, typeLibPath.put()), S_OK);
        EXPECT_EQ(std::wstring(typeLibPath ? typeLibPath.get() : L""), kWatcherExe);
    }
    ASSERT_EQ(RunWatcherWith(L"/UnregServer"), 0u);
    EXPECT_EQ(ServerKeys(), unregistered);
    EXPECT_EQ(RunWatcherWith(L"/UnregServer"), 0u) << "unregistering twice is harmless";
}

} // namespace
} // namespace krn::test
