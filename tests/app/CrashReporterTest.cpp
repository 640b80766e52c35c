// A crash in a real process: the dump in the documents folder, the message,
// and the exit code, seen from outside the process that crashed.
#include "ChildProcess.h"
#include "app/Startup.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;

using CrashReporterTest = ScratchTest;

TEST_F(CrashReporterTest, CrashWritesTheDumpShowsTheMessageAndExits65535)
{
    const struct {
        const wchar_t* mode;
        const wchar_t* ownerTitle;  // null: no owner
    } cases[] = {
        {L"fault", nullptr},  // before the main window exists
        {L"bad-alloc", nullptr},
        {L"control-bad-alloc", nullptr},
        {L"owned-fault", L"Crash owner"},
    };
    const std::wstring dumpPath = scratch.documents() + L"\\KRN Properties.dmp";
    for (const auto& c : cases) {
        // Each crash replaces the dump of the one before; this one is larger.
        const std::string stale(4 * 1024 * 1024, 'x');
        WriteFileBytes(dumpPath, stale);
        ChildProcess child(WindowsPath(KRN_CRASH_CHILD), L"\"" + scratch.keyName() + L"\" " + c.mode);
        ASSERT_TRUE(child.started());
        // Writing the dump takes seconds under Wine.
        HWND box = child.FindWindow(L"#32770", krn::kCrashTitle, 40000);
        ASSERT_TRUE(box) << "no crash message appeared";
        const MessageBoxInfo seen = ReadMessageBox(box);
        EXPECT_EQ(seen.text, std::wstring(L"The program has crashed.\nPlease send us the crash report file (.dmp), "
                                          L"which you can find in the 'My Documents' folder.\nThis will help us to "
                                          L"fix this problem sooner."));
        EXPECT_EQ(seen.buttons, std::vector<int>({IDOK}));
        HWND owner = GetWindow(box, GW_OWNER);
        EXPECT_EQ(owner ? WindowText(owner) : L"<none>", c.ownerTitle ? c.ownerTitle : L"<none>");
        DialogDriver::Click(box, IDOK);
        EXPECT_EQ(child.Wait(20000), 65535u) << c.mode;
        const std::string dump = ReadFileBytes(dumpPath);
        EXPECT_EQ(dump.substr(0, 4), "MDMP") << c.mode;
        EXPECT_LT(dump.size(), stale.size()) << "the old file was not replaced";
    }
}

} // namespace
