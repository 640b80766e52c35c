// The histories' file: kept across a restart, a save that failed included,
// and set aside when it cannot be read as ours.
#include "engine/HistoryStore.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

namespace engine {
namespace {

using krn::test::ReadFileBytes;
using krn::test::TempFolder;
using krn::test::WriteFileBytes;

constexpr std::uint32_t kStart = 220'000'000;
const std::wstring kFolder = L"\\\\?\\C:\\Data";

bool Exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

TEST(HistoryStore, ARestartKeepsEveryFoldersHistoryUnderItsNameInAnyCase)
{
    TempFolder temp;
    const std::wstring file = temp / L"sub\\history.bin";
    {
        HistoryStore store(file);
        store.Record(kFolder, kStart, 100);
        store.Record(kFolder, kStart + 60, 200);
        store.Record(L"\\\\?\\UNC\\server\\share", kStart, 7);
        WriteFileBytes(temp / L"sub", "");  // a file where the file's folder goes
        EXPECT_FALSE(store.Save());
        DeleteFileW((temp / L"sub").c_str());
        ASSERT_TRUE(store.Save()) << "the next save writes what the failed one could not";
    }
    const HistoryStore again(file);
    const std::optional<FolderHistory> history = again.Find(L"\\\\?\\c:\\DATA");
    ASSERT_TRUE(history.has_value());
    EXPECT_EQ(history->Samples(), (std::vector<HistorySample>{{kStart, 100}, {kStart + 60, 200}}));
    EXPECT_TRUE(again.Find(L"\\\\?\\UNC\\server\\share").has_value());
    EXPECT_FALSE(again.Find(L"\\\\?\\C:\\Other").has_value());
    EXPECT_FALSE(Exists(file + L".new")) << "the file written aside stays behind";
}

TEST(HistoryStore, AFileThatIsNotOursIsSetAsideAndHistoryStartsAgain)
{
    Histories histories;
    histories[kFolder].Record(kStart, 100);
    const std::vector<std::uint8_t> ours = SerializeHistories(histories);
    const struct {
        const char* name;
        std::string bytes;
    } kFiles[] = {
        {"torn", std::string(ours.begin(), ours.end() - 3)},
        {"one byte changed", [&] { std::string b(ours.begin(), ours.end()); b[12] ^= 1; return b; }()},
        {"another format", "<?xml version=\"1.0\"?><Configuration/>"},
        {"empty", ""},
    };
    for (const auto& c : kFiles) {
        SCOPED_TRACE(c.name);
        TempFolder temp;
        const std::wstring file = temp / L"history.bin";
        WriteFileBytes(file, c.bytes);
        HistoryStore store(file);
        EXPECT_FALSE(store.Find(kFolder).has_value());
        EXPECT_EQ(ReadFileBytes(file + L".bad"), c.bytes);
        store.Record(kFolder, kStart, 5);
        EXPECT_TRUE(store.Save());
        EXPECT_TRUE(HistoryStore(file).Find(kFolder).has_value()) << "history started again";
    }
}

} // namespace
} // namespace engine
