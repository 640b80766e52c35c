// A crash in a real process: the dump in the documents folder, the message,
// and the exit code 65535, seen from outside the process that crashed.
#include "ChildProcess.h"
#include "app/Startup.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;

using CrashReporterTest = ScratchTest;

// Starts the crash child in `mode`, answers its message and checks what a user
// finds afterwards. One test per way to crash, so that ctest runs them side by
// side: each dump takes seconds to write under Wine.
void CrashAndCheck(const ScratchHkcu& scratch, const wchar_t* mode, const wchar_t* ownerTitle)
{
    const std::wstring dumpPath = scratch.documents() + L"\\KRN Properties.dmp";
    // The crash replaces the dump of an earlier one; this one is larger.
    const std::string stale(4 * 1024 * 1024, 'x');
    WriteFileBytes(dumpPath, stale);
    ChildProcess child(WindowsPath(KRN_CRASH_CHILD), L"\"" + scratch.keyName() + L"\" " + mode);
    HWND box = child.FindWindow(L"#32770", krn::kCrashTitle, 40000);
    ASSERT_TRUE(box) << "no crash message appeared";
    const MessageBoxInfo seen = ReadMessageBox(box);
    EXPECT_EQ(seen.text, std::wstring(L"The program has crashed.\nPlease send us the crash report file (.dmp), "
                                      L"which you can find in the 'My Documents' folder.\nThis will help us to "
                                      L"fix this problem sooner."));
    EXPECT_EQ(seen.buttons, std::vector<int>({IDOK}));
    HWND owner = GetWindow(box, GW_OWNER);
    EXPECT_EQ(owner ? WindowText(owner) : L"<none>", ownerTitle ? ownerTitle : L"<none>");
    DialogDriver::Click(box, IDOK);
    EXPECT_EQ(child.Wait(20000), 65535u);
    const std::string dump = ReadFileBytes(dumpPath);
    EXPECT_EQ(dump.substr(0, 4), "MDMP");
    EXPECT_LT(dump.size(), stale.size()) << "the old file was not replaced";
}

TEST_F(CrashReporterTest, AllocationFailureNobodyCatches) { CrashAndCheck(scratch, L"bad-alloc", nullptr); }
TEST_F(CrashReporterTest, AllocationFailureInASubclassedControl) { CrashAndCheck(scratch, L"control-bad-alloc", nullptr); }
TEST_F(CrashReporterTest, FaultWithAnOwnerWindow) { CrashAndCheck(scratch, L"owned-fault", L"Crash owner"); }

} // namespace
