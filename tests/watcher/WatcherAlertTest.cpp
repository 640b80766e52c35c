// The built watcher doing its job end to end: a file written into a watched
// folder crosses a limit, and the folder's three actions are seen from
// outside: the message box of the watcher process, the line in the log file
// and the effect of the program it ran.
#include <windows.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "WatcherFixture.h"
#include "settings/RegistryValues.h"
#include "support/Gui.h"

namespace krn::test {
namespace {

constexpr wchar_t kCaption[] = L"Kestrune\u2122 Properties x64";
constexpr DWORD kActedWithinMs = 5000;

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

// The visible message boxes that belong to a watcher process.
// cmd writes what it echoes in the OEM code page.
std::wstring FromOem(const std::string& bytes)
{
    const int size = MultiByteToWideChar(CP_OEMCP, 0, bytes.data(), int(bytes.size()), nullptr, 0);
    std::wstring text(size_t(size), L'\0');
    MultiByteToWideChar(CP_OEMCP, 0, bytes.data(), int(bytes.size()), text.data(), size);
    return text;
}

std::vector<HWND> WatcherBoxes()
{
    struct Search {
        std::vector<DWORD> processes = WatcherProcesses();
        std::vector<HWND> boxes;
    } search;
    EnumWindows(
        [](HWND window, LPARAM data) -> BOOL {
            auto& s = *reinterpret_cast<Search*>(data);
            DWORD process = 0;
            GetWindowThreadProcessId(window, &process);
            if (std::find(s.processes.begin(), s.processes.end(), process) != s.processes.end() &&
                ClassName(window) == L"#32770" && IsWindowVisible(window))
                s.boxes.push_back(window);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.boxes;
}

bool WaitFor(const std::function<bool()>& done, DWORD timeoutMs)
{
    for (const DWORD start = GetTickCount(); !done(); Sleep(50))
        if (GetTickCount() - start > timeoutMs)
            return false;
    return true;
}

void WriteBytes(const std::wstring& path, size_t count)
{
    WriteFileBytes(path, std::string(count, 'x'));
}

class WatcherAlertTest : public WatcherTest {
protected:
    void SetUp() override
    {
        WatcherTest::SetUp();
        folder_ = scratch_ / L"Watched \u00e9t\u00e9";
        std::filesystem::create_directories(folder_);
        log_ = scratch_ / L"alerts.log";
        ran_ = scratch_ / L"ran.txt";
        script_ = scratch_ / L"record.cmd";
        WriteFileBytes(script_, "@echo %*>> \"" + Utf8(ran_) + "\"\r\n");
        WriteRegString(registry::kLogFile.key, registry::kLogFile.name, log_);
        RegDeleteKeyValueW(HKEY_CURRENT_USER, registry::kDisableAlertOnStartup.key,
                           registry::kDisableAlertOnStartup.name);
    }
    void TearDown() override
    {
        for (HWND box : WatcherBoxes())
            DialogDriver::Click(box, IDOK);
        WatcherTest::TearDown();
    }

    // One folder, one limit, all three actions; the program records its
    // arguments: the folder (from %currentdir%) and the word "crossed".
    void Watch(const char* limit)
    {
        WriteConfig(R"(<?xml version="1.0" encoding="utf-8"?><Configuration><Settings><ConfigVersion Version="1.3"/>)"
                    R"(</Settings><Folders><Folder Path=")" + XmlAttribute(folder_) + R"(">)" + limit +
                    R"(<Actions><MsgBox/><AddToLog/><Run Path=")" + XmlAttribute(L"\"" + script_ + L"\"") +
                    R"(" Params="&quot;%currentdir%&quot; crossed"/></Actions></Folder></Folders></Configuration>)");
        ASSERT_EQ(Create(control_), S_OK);
        ASSERT_EQ(State(control_.get()), KRN_WATCHER_WATCHING);
    }

    // Waits for the next alert: a box with `text`, answered, log line number
    // `count` naming the limit and sizes, and `count` runs of the program.
    void ExpectAlert(size_t count, const std::wstring& text, const std::string& logTail)
    {
        SCOPED_TRACE(testing::Message() << "alert number " << count);
        const DWORD start = GetTickCount();
        HWND box = nullptr;
        EXPECT_TRUE(WaitFor(
            [&] {
                const std::vector<HWND> boxes = WatcherBoxes();
                box = boxes.empty() ? nullptr : boxes.front();
                return box != nullptr;
            },
            kActedWithinMs))
            << "no message box";
        const DWORD elapsed = GetTickCount() - start;
        EXPECT_TRUE(WaitFor([&] { return Lines(log_).size() >= count; }, elapsed < kActedWithinMs ? kActedWithinMs - elapsed : 0))
            << "no log line";
        EXPECT_TRUE(WaitFor([&] { return Lines(ran_).size() >= count; }, kActedWithinMs + 3000))
            << "the program did not run";
        if (box) {
            const MessageBoxInfo info = ReadMessageBox(box);
            EXPECT_EQ(info.caption, kCaption);
            EXPECT_EQ(info.text, text);
            EXPECT_EQ(info.buttons, std::vector<int>{IDOK});
            DialogDriver::Click(box, IDOK);
            EXPECT_TRUE(WaitFor([] { return WatcherBoxes().empty(); }, 3000)) << "the box did not close";
        }
        const std::vector<std::string> lines = Lines(log_);
        EXPECT_EQ(lines.size(), count);
        if (!lines.empty()) {
            const std::string& line = lines.back();
            // 2026-11-24 14:05:09\t<folder>\t<limit>\tSize ...\tLimit ...
            EXPECT_EQ(line.size() > 20 ? line.substr(19, 1) : "", "\t") << line;
            EXPECT_EQ(line.size() > 20 ? line.substr(20) : line, Utf8(folder_) + "\t" + logTail);
        }
        EXPECT_EQ(ReadFileBytes(log_).substr(0, 3), "\xEF\xBB\xBF") << "UTF-8 with its byte order mark";
        const std::vector<std::string> runs = Lines(ran_);
        EXPECT_EQ(runs.size(), count);
        if (!runs.empty()) {
            EXPECT_EQ(FromOem(runs.back()), L"\"" + folder_ + L"\" crossed");
        }
    }

    // Long enough for a crossing to be acted on, had there been one.
    void ExpectQuiet(size_t count)
    {
        Sleep(kActedWithinMs);
        EXPECT_TRUE(WatcherBoxes().empty()) << "a second box";
        EXPECT_EQ(Lines(log_).size(), count);
    }

    std::wstring folder_, log_, ran_, script_;
    base::com_ptr<IWatcherControl> control_;
    RegValueGuard logGuard_{registry::kLogFile.key, registry::kLogFile.name};
    RegValueGuard alertsGuard_{registry::kDisableAlertOnStartup.key, registry::kDisableAlertOnStartup.name};
};

TEST_F(WatcherAlertTest, MaximumFiresOnceAndAgainAfterComingBack)
{
    Watch(R"(<Max Value="1" Units="KB" Msg=""/>)");
    Sleep(1500);  // the empty folder is judged inside first
    const std::wstring file = folder_ + L"\\big.bin";
    const std::wstring text = L"The folder " + folder_ + L" has a size of 2.00 KB, above its maximum limit of 1.00 KB.";
    WriteBytes(file, 2048);
    ExpectAlert(1, text, "Maximum exceeded\tSize 2.00 KB\tLimit 1.00 KB");

    // Apply saves the same limits again: the folder is still known to be over.
    EXPECT_EQ(control_->ReloadConfiguration(), S_OK);
    WriteBytes(folder_ + L"\\more.bin", 1024);
    ExpectQuiet(1);

    std::filesystem::remove(file);
    std::filesystem::remove(folder_ + L"\\more.bin");
    ExpectQuiet(1);  // back inside: re-armed, silently
    WriteBytes(file, 2048);
    ExpectAlert(2, text, "Maximum exceeded\tSize 2.00 KB\tLimit 1.00 KB");
}

TEST_F(WatcherAlertTest, MinimumFiresOnceAndAgainAfterComingBack)
{
    const std::wstring file = folder_ + L"\\big.bin";
    WriteBytes(file, 2048);
    Watch(R"(<Min Value="1" Units="KB" Msg="Below one kilobyte"/>)");
    ExpectQuiet(0);  // inside from the start

    std::filesystem::remove(file);
    ExpectAlert(1, L"Below one kilobyte", "Minimum undercut\tSize 0 B\tLimit 1.00 KB");
    WriteBytes(folder_ + L"\\small.bin", 10);
    ExpectQuiet(1);

    WriteBytes(file, 2048);
    ExpectQuiet(1);  // back inside
    std::filesystem::remove(file);
    ExpectAlert(2, L"Below one kilobyte", "Minimum undercut\tSize 10 B\tLimit 1.00 KB");
}

// "Disable alerts on startup": a folder already over its maximum stays
// silent; an Apply that saves the same limits does not wake it either.
TEST_F(WatcherAlertTest, AlertsDisabledOnStartupAndReloadKeepsTheState)
{
    const ULONGLONG on = 1;
    WriteRegBinary(registry::kDisableAlertOnStartup.key, registry::kDisableAlertOnStartup.name, REG_DWORD, &on,
                   sizeof on);
    const std::wstring file = folder_ + L"\\big.bin";
    WriteBytes(file, 2048);
    Watch(R"(<Max Value="1" Units="KB" Msg=""/>)");
    ExpectQuiet(0);
    EXPECT_EQ(control_->ReloadConfiguration(), S_OK);
    WriteBytes(folder_ + L"\\more.bin", 10);
    ExpectQuiet(0);
}

// A folder that goes away and comes back, a program that does not exist: the
// watcher carries on and still acts on the next crossing.
TEST_F(WatcherAlertTest, SurvivesAVanishingFolderAndAMissingProgram)
{
    Watch(R"(<Max Value="1" Units="KB" Msg=""/>)");
    Sleep(1500);
    std::filesystem::remove_all(folder_);
    WriteBytes(folder_, 10);  // a file where the folder was
    Sleep(2000);
    std::filesystem::remove(folder_);
    std::filesystem::create_directories(folder_);
    std::filesystem::remove(script_);  // the Run action now fails and is logged
    Sleep(6000);                       // the path is tried again every few seconds
    WriteBytes(folder_ + L"\\big.bin", 4096);
    EXPECT_TRUE(WaitFor([&] { return Lines(log_).size() >= 2; }, kActedWithinMs + 1000));
    const std::vector<std::string> lines = Lines(log_);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[0].find("Maximum exceeded\tSize 4.00 KB"), std::string::npos) << lines[0];
    EXPECT_NE(lines[1].find("\tCould not start " + Utf8(script_)), std::string::npos) << lines[1];
    EXPECT_EQ(State(control_.get()), KRN_WATCHER_WATCHING);
}

} // namespace
} // namespace krn::test
