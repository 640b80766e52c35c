// The built watcher acting on crossings through the real size engine, seen
// from outside: the message box of the watcher process, the lines of the log
// file and the programs it ran. Every wait is for a condition; the rules
// themselves are in WatchCoreTest.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "WatcherFixture.h"
#include "settings/RegistryValues.h"
#include "support/Gui.h"
#include "support/SlowStorage.h"

namespace krn::test {
namespace {

constexpr DWORD kActedWithinMs = 15000;  // a backstop, not a target

std::string Utf8(const std::wstring& text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(size_t(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, bytes.data(), size, nullptr, nullptr);
    bytes.pop_back();
    return bytes;
}

std::string XmlAttribute(const std::wstring& text)
{
    std::string escaped;
    for (char c : Utf8(text))
        escaped += c == '"' ? std::string("&quot;") : c == '&' ? std::string("&amp;") : std::string(1, c);
    return escaped;
}

// The lines of a file, without the UTF-8 byte order mark and the CRs.
std::vector<std::string> Lines(const std::wstring& path)
{
    std::string bytes = ReadFileBytes(path);
    if (bytes.rfind("\xEF\xBB\xBF", 0) == 0)
        bytes.erase(0, 3);
    std::istringstream text(bytes);
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        if (!line.empty() && line != "\r")
            lines.push_back(line.back() == '\r' ? line.substr(0, line.size() - 1) : line);
    return lines;
}

constexpr wchar_t kWatcherCaption[] = L"Kestrune\u2122 Watcher";

// The watcher's message box, once it shows (it exists before its buttons
// are settled).
HWND WatcherBox()
{
    const HWND box = FindWindowW(L"#32770", kWatcherCaption);
    return box && IsWindowVisible(box) ? box : nullptr;
}

size_t CountFiles(const std::wstring& folder, const wchar_t* extension)
{
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        count += entry.path().extension() == extension;
    return count;
}

class WatcherAlertTest : public WatcherTest {
protected:
    void SetUp() override
    {
        WatcherTest::SetUp();
        log_ = scratch_ / L"alerts.log";
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
        WatcherTest::TearDown();
        // The engine follows the watched folders: under Wine a folder open in
        // another process stays until it is closed, and the removal of the
        // scratch folder would wait for it.
        const std::wstring engine = WindowsPath(KRN_SIZE_ENGINE_EXE);
        EXPECT_EQ(ChildProcess(engine, L"/UnregServer").Wait(30000), 0u);
        EXPECT_EQ(ChildProcess(engine, L"/RegServer").Wait(30000), 0u);
    }

    // The folders with a 1 KB maximum and `actions` (XML), then the watcher.
    void Watch(const std::vector<std::wstring>& folders, const std::string& actions)
    {
        std::string xml = R"(<?xml version="1.0" encoding="utf-8"?><Configuration><Settings>)"
                          R"(<ConfigVersion Version="1.3"/></Settings><Folders>)";
        for (const std::wstring& folder : folders) {
            xml += R"(<Folder Path=")" + XmlAttribute(folder) + R"("><Max Value="1" Units="KB" Msg=""/><Actions>)" +
                   actions + "</Actions></Folder>";
        }
        WriteConfig(xml + "</Folders></Configuration>");
        ASSERT_EQ(Create(control_), S_OK);
        ASSERT_EQ(State(control_.get()), KRN_WATCHER_WATCHING);
    }

    std::string RunAction(const std::wstring& script, const char* params) const
    {
        return R"(<Run Path=")" + XmlAttribute(L"\"" + script + L"\"") + R"(" Params=")" + params + R"("/>)";
    }

    std::wstring log_;
    base::com_ptr<IWatcherControl> control_;
    RegValueGuard logGuard_{registry::kLogFile.key, registry::kLogFile.name};
    RegValueGuard alertsGuard_{registry::kDisableAlertOnStartup.key, registry::kDisableAlertOnStartup.name};
};

// One crossing and its three actions: the box (with the watcher's own
// caption), the log line, and the program, which leaves a file named by its
// parameters in the folder it was given through %currentdir%.
TEST_F(WatcherAlertTest, OneCrossingEndToEnd)
{
    const std::wstring folder = scratch_ / L"Watched \u00e9t\u00e9";
    std::filesystem::create_directories(folder);
    const std::wstring script = scratch_ / L"record.cmd";
    WriteFileBytes(script, "@type nul > \"%~1\\ran %2.txt\"\r\n");
    ASSERT_NO_FATAL_FAILURE(
        Watch({folder}, "<MsgBox/><AddToLog/>" + RunAction(script, "&quot;%currentdir%&quot; crossed")));
    WriteFileBytes(folder + L"\\big.bin", std::string(2048, 'x'));

    HWND box = nullptr;
    ASSERT_TRUE(PumpUntil([&] { return (box = WatcherBox()) != nullptr; }, kActedWithinMs))
        << "no message box";
    const MessageBoxInfo info = ReadMessageBox(box);
    EXPECT_EQ(info.caption, kWatcherCaption);
    EXPECT_EQ(info.text, L"The folder " + folder + L" has a size of 2.00 KB, above its maximum limit of 1.00 KB.");
    EXPECT_EQ(info.buttons, std::vector<int>{IDOK});
    DialogDriver::Click(box, IDOK);

    ASSERT_TRUE(PumpUntil([&] { return !Lines(log_).empty(); }, kActedWithinMs)) << "no log line";
    const std::vector<std::string> lines = Lines(log_);
    ASSERT_EQ(lines.size(), 1u);
    // 2026-11-24 14:05:09\t<folder>\t<limit>\tSize ...\tLimit ...
    EXPECT_EQ(lines[0].size() > 20 ? lines[0].substr(19, 1) : "", "\t") << lines[0];
    EXPECT_EQ(lines[0].size() > 20 ? lines[0].substr(20) : lines[0],
              Utf8(folder) + "\tMaximum exceeded\tSize 2.00 KB\tLimit 1.00 KB");

    const std::wstring ran = folder + L"\\ran crossed.txt";
    EXPECT_TRUE(PumpUntil([&] { return GetFileAttributesW(ran.c_str()) != INVALID_FILE_ATTRIBUTES; }, kActedWithinMs))
        << "the program did not run";
}

// 300 folders crossing at once: every crossing is logged, and no more than
// a few of the programs run at a time. Each program marks its start and its
// end, and waits until the test lets it end (or a minute at most).
TEST_F(WatcherAlertTest, StormOf300FoldersIsLoggedWithProgramsBounded)
{
    constexpr size_t kFolders = 300, kMaxRunning = 4;
    const std::wstring marks = scratch_ / L"marks", release = scratch_ / L"release";
    std::filesystem::create_directories(marks);
    const std::wstring script = scratch_ / L"hold.cmd";
    WriteFileBytes(script, "@echo off\r\nset n=0\r\necho.> \"" + Utf8(marks) + "\\%~nx1.start\"\r\n"
                           ":wait\r\nif exist \"" + Utf8(release) + "\" goto done\r\n"
                           "set /a n+=1\r\nif %n% gtr 60 goto done\r\nping -n 2 127.0.0.1 >nul\r\ngoto wait\r\n"
                           ":done\r\necho.> \"" + Utf8(marks) + "\\%~nx1.end\"\r\n");
    std::vector<std::wstring> folders;
    for (size_t i = 0; i < kFolders; ++i) {
        folders.push_back(scratch_ / (L"storm\\f" + std::to_wstring(i)));
        std::filesystem::create_directories(folders.back());
    }
    // The program comes before the log line: once a folder's line is there,
    // its program has been handed over.
    ASSERT_NO_FATAL_FAILURE(Watch(folders, RunAction(script, "&quot;%currentdir%&quot;") + "<AddToLog/>"));
    for (const std::wstring& folder : folders)
        WriteFileBytes(folder + L"\\big.bin", std::string(2048, 'x'));

    // A program still running a minute after its start no longer counts
    // against the bound: the count is looked at within that minute.
    size_t mostRunning = 0;
    DWORD firstStart = 0;
    const bool allLogged = PumpUntil(
        [&] {
            const size_t ended = CountFiles(marks, L".end"), started = CountFiles(marks, L".start");
            if (started && !firstStart)
                firstStart = GetTickCount();
            if (!firstStart || GetTickCount() - firstStart < 55000)
                mostRunning = std::max(mostRunning, started - ended);
            return Lines(log_).size() >= kFolders;
        },
        120000);
    WriteFileBytes(release, "");
    EXPECT_TRUE(allLogged) << Lines(log_).size() << " lines";
    std::vector<std::string> lines = Lines(log_);
    for (std::string& line : lines)
        line = line.substr(20, line.find('\t', 20) - 20);
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(std::unique(lines.begin(), lines.end()), lines.end()) << "a folder logged twice";
    EXPECT_LE(mostRunning, kMaxRunning);
    EXPECT_TRUE(PumpUntil([&] { return CountFiles(marks, L".start") > kMaxRunning; }, kActedWithinMs))
        << "the programs waiting did not start when the first ones ended";
    StopWatcher();
    EXPECT_TRUE(PumpUntil([&] { return CountFiles(marks, L".start") == CountFiles(marks, L".end"); },
                          kActedWithinMs))
        << "a program still runs";
}

// A folder whose storage takes half a minute per operation holds only itself:
// another folder's crossing is acted on meanwhile, and Disable ends the
// watcher without waiting for it.
TEST_F(WatcherAlertTest, AFolderOnSlowStorageHoldsNeitherTheOthersNorTheEnd)
{
    SlowStorage storage;
    KRN_REQUIRE_SLOW_STORAGE(storage);
    const std::wstring fast = scratch_ / L"fast";
    std::filesystem::create_directories(fast);
    ASSERT_NO_FATAL_FAILURE(Watch({storage.slow(), fast}, "<AddToLog/>"));
    WriteFileBytes(fast + L"\\big.bin", std::string(2048, 'x'));
    EXPECT_TRUE(PumpUntil([&] { return !Lines(log_).empty(); }, kActedWithinMs)) << "the slow folder held the other";
    EXPECT_EQ(control_->Disable(), S_OK);
    control_.reset();
    EXPECT_TRUE(WaitForMutex(false, 5000)) << "the slow folder held the end";
}

} // namespace
} // namespace krn::test
