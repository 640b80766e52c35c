// The actions against the real system: the log file on disk, message boxes on
// the screen, programs started through the shell.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/Gui.h"
#include "support/Scratch.h"
#include "watcher/AlertActions.h"

namespace krn::test {
namespace {

// Every line, in the order it came, whatever the files: UTF-8, each file
// (an empty one too) starting with the byte order mark. A file that cannot be
// written is told once.
TEST(LogWriter, KeepsEveryLineInOrder)
{
    TempFolder folder;
    const std::wstring a = folder / L"\u65e5\u672c.log", b = folder / L"b.log", bad = folder / L"missing\\c.log";
    WriteFileBytes(b, "");
    std::vector<std::wstring> told;
    std::string expectedA = "\xEF\xBB\xBF", expectedB = "\xEF\xBB\xBF";
    {
        LogWriter writer([&](const std::wstring& file, DWORD) { told.push_back(file); });
        for (int i = 0; i < 500; ++i) {
            writer.Append(i % 3 ? a : b, L"\u00e9 " + std::to_wstring(i));
            (i % 3 ? expectedA : expectedB) += "\xC3\xA9 " + std::to_string(i) + "\r\n";
            if (i % 100 == 0)
                writer.Append(bad, L"lost");
        }
    }
    EXPECT_EQ(ReadFileBytes(a), expectedA);
    EXPECT_EQ(ReadFileBytes(b), expectedB);
    EXPECT_EQ(told, std::vector<std::wstring>{bad});
}

std::vector<HWND> BoxesOfThisProcess()
{
    std::vector<HWND> boxes;
    for (HWND box = nullptr; (box = FindWindowExW(nullptr, box, L"#32770", nullptr)) != nullptr;) {
        DWORD process = 0;
        GetWindowThreadProcessId(box, &process);
        if (process == GetCurrentProcessId() && IsWindowVisible(box))
            boxes.push_back(box);
    }
    return boxes;
}

// Boxes open on threads of their own; one per key, and no more than the cap.
TEST(MessageBoxes, OnePerKeyAndACap)
{
    auto boxes = std::make_shared<MessageBoxes>();
    EXPECT_TRUE(boxes->Show(L"a", L"first"));
    EXPECT_FALSE(boxes->Show(L"a", L"again")) << "the same key is open";
    for (size_t i = 1; i < MessageBoxes::kMaxOpen; ++i)
        EXPECT_TRUE(boxes->Show(L"key " + std::to_wstring(i), L"more"));
    EXPECT_FALSE(boxes->Show(L"one too many", L"more"));
    ASSERT_TRUE(PumpUntil([] { return BoxesOfThisProcess().size() == MessageBoxes::kMaxOpen; }, 10000));

    // Its caption and button are the watcher process test's.
    const std::vector<HWND> shown = BoxesOfThisProcess();
    const auto first =
        std::find_if(shown.begin(), shown.end(), [](HWND box) { return ReadMessageBox(box).text == L"first"; });
    ASSERT_NE(first, shown.end());
    EXPECT_EQ(ReadMessageBox(*first).icon, IDI_EXCLAMATION);
    DialogDriver::Click(*first, IDOK);
    ASSERT_TRUE(PumpUntil([&] { return boxes->OpenCount() == MessageBoxes::kMaxOpen - 1; }));
    EXPECT_TRUE(boxes->Show(L"a", L"first again")) << "answered: the key is free";
    // The box just opened may not be on the screen yet: answer until none is left.
    EXPECT_TRUE(PumpUntil(
        [&] {
            for (HWND box : BoxesOfThisProcess())
                DialogDriver::Click(box, IDOK);
            return boxes->OpenCount() == 0;
        },
        10000));
}

// A log that cannot be written is told once, in a box, and the crossings go
// on being handled.
TEST(Alerts, LogFailureToldOnce)
{
    TempFolder folder;
    const std::wstring log = folder / L"missing\\a.log";
    const AlertAction line{
        .kind = AlertAction::Kind::AddToLog, .folder = folder.path(), .text = L"crossed", .logFile = log};
    {
        Alerts alerts;
        alerts.Carry({line, line, line});
        // Its own box only: another test may show the watcher's boxes at the same time.
        std::vector<HWND> shown;
        ASSERT_TRUE(PumpUntil([&] { return !(shown = BoxesOfThisProcess()).empty(); }));
        const MessageBoxInfo info = ReadMessageBox(shown.front());
        EXPECT_EQ(info.text.rfind(L"The log file could not be written:\n" + log + L"\n", 0), 0u) << info.text;
        EXPECT_EQ(alerts.boxes().OpenCount(), 1u);
        DialogDriver::Click(shown.front(), IDOK);
        EXPECT_TRUE(PumpUntil([&] { return alerts.boxes().OpenCount() == 0; }));

        std::filesystem::create_directories(folder / L"missing");
        alerts.Carry({line});
    }
    EXPECT_EQ(ReadFileBytes(log), "\xEF\xBB\xBF" "crossed\r\n") << "written once the folder exists";
}

// Programs start in the order they came, no more than the bound at a time:
// each marks its start and its end, and waits until the test lets it end.
TEST(ProgramLauncher, RunsNoMoreThanItsBoundAtATime)
{
    constexpr int kPrograms = 5, kBound = 2;
    TempFolder folder;
    const std::wstring script = folder / L"hold.cmd";
    WriteFileBytes(script, "@echo off\r\nset n=0\r\necho.> \"%~1.start\"\r\n:wait\r\nif exist \"%~1.go\" goto done\r\n"
                           "set /a n+=1\r\nif %n% gtr 60 goto done\r\nping -n 2 127.0.0.1 >nul\r\ngoto wait\r\n"
                           ":done\r\necho.> \"%~1.end\"\r\n");
    const auto mark = [&](int program, const wchar_t* what) { return folder / (L"p" + std::to_wstring(program) + what); };
    const auto marked = [&](int program, const wchar_t* what) {
        return std::filesystem::exists(mark(program, what));
    };
    ProgramLauncher launcher([](const AlertAction&, DWORD error) { ADD_FAILURE() << "not started: " << error; },
                             kBound);
    for (int i = 0; i < kPrograms; ++i)
        launcher.Launch({.kind = AlertAction::Kind::RunApplication,
                         .folder = folder.path(),
                         .command = {script, L"\"" + mark(i, L"") + L"\""}});
    int mostRunning = 0;
    for (int i = 0; i < kPrograms; ++i) {
        EXPECT_TRUE(PumpUntil(
            [&] {
                int running = 0;
                for (int j = 0; j < kPrograms; ++j)
                    running += marked(j, L".start") && !marked(j, L".end");
                mostRunning = std::max(mostRunning, running);
                return marked(i, L".start");
            },
            15000))
            << "program " << i << " did not start";
        WriteFileBytes(mark(i, L".go"), "");
        EXPECT_TRUE(PumpUntil([&] { return marked(i, L".end"); }, 15000)) << "program " << i << " did not end";
    }
    EXPECT_LE(mostRunning, kBound);
}

} // namespace
} // namespace krn::test
