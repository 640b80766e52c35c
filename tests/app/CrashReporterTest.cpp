// A crash in a real process: the dump in the documents folder, the message,
// and the exit code, seen from outside the process that crashed.
#include "ChildProcess.h"
#include "app/CrashReporter.h"
#include "app/Startup.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;

const std::wstring kChild = WindowsPath(KRN_CRASH_CHILD);

class CrashReporterTest : public ScratchTest {
protected:
    std::wstring DumpPath() const { return scratch.documents() + L"\\KRN Properties.dmp"; }

    struct Seen {
        MessageBoxInfo box;
        HWND owner = nullptr;
        std::wstring ownerTitle;
        DWORD exitCode = 0;
    };

    // Starts the child in `mode`, answers its crash message and waits for it.
    Seen Crash(const wchar_t* mode)
    {
        Seen seen;
        ChildProcess child(kChild, L"\"" + scratch.keyName() + L"\" " + mode);
        EXPECT_TRUE(child.started());
        // Writing the dump takes seconds under Wine.
        HWND box = child.FindWindow(L"#32770", krn::kCrashTitle, 40000);
        EXPECT_TRUE(box) << "no crash message appeared";
        if (box) {
            seen.box = ReadMessageBox(box);
            seen.owner = GetWindow(box, GW_OWNER);
            if (seen.owner)
                seen.ownerTitle = WindowText(seen.owner);
            DialogDriver::Click(box, IDOK);
        }
        seen.exitCode = child.Wait(20000);
        return seen;
    }
};

TEST_F(CrashReporterTest, FaultWritesTheDumpShowsTheMessageAndExits65535)
{
    const Seen seen = Crash(L"fault");
    EXPECT_EQ(seen.exitCode, 65535u);
    EXPECT_EQ(seen.box.caption, L"Brimwell™ Pro x64 edition");
    EXPECT_EQ(seen.box.text, std::wstring(L"The program has crashed.\nPlease send us the crash report file (.dmp), "
                                          L"which you can find in the 'My Documents' folder.\nThis will help us to "
                                          L"fix this problem sooner."));
    EXPECT_EQ(seen.box.buttons, std::vector<int>({IDOK}));
    EXPECT_EQ(seen.owner, nullptr) << "before the main window exists the message has no owner";
    const std::string dump = ReadFileBytes(DumpPath());
    EXPECT_EQ(dump.substr(0, 4), "MDMP");
}

TEST_F(CrashReporterTest, UncaughtBadAllocEndsTheSameWay)
{
    const Seen seen = Crash(L"bad-alloc");
    EXPECT_EQ(seen.exitCode, 65535u);
    EXPECT_EQ(seen.box.caption, L"Brimwell™ Pro x64 edition");
    EXPECT_EQ(ReadFileBytes(DumpPath()).substr(0, 4), "MDMP");
}

TEST_F(CrashReporterTest, LaterCrashOverwritesTheDumpAndUsesTheOwnerWindow)
{
    const std::string stale(4 * 1024 * 1024, 'x');
    WriteFileBytes(DumpPath(), stale);
    const Seen seen = Crash(L"owned-fault");
    EXPECT_EQ(seen.exitCode, 65535u);
    EXPECT_EQ(seen.ownerTitle, L"Crash owner") << "the message belongs to the window named as owner";
    const std::string dump = ReadFileBytes(DumpPath());
    EXPECT_EQ(dump.substr(0, 4), "MDMP");
    EXPECT_LT(dump.size(), stale.size()) << "the old file was not replaced";
}

} // namespace
