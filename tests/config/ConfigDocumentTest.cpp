#include <regex>

#include "tests/config/ConfigFixture.h"

namespace krn::test {
namespace {

struct RecordingOwner : ConfigurationOwner {
    void OnConfigurationSaved() override { calls += L"saved "; }
    void OnFoldersLoaded() override { calls += L"loaded "; }
    std::wstring calls;
};

class ConfigFileTest : public ConfigTest {
protected:
    const std::wstring path = temp / L"saved.xml";
};

// Texts round-trip where a limit is in force (an absent one comes back empty),
// under a locale with a decimal comma.
TEST_F(ConfigFileTest, RoundTripUnderAnotherLocaleGivesEqualEntriesAndFlags)
{
    const DecimalCommaLocale german;
    ASSERT_EQ(*localeconv()->decimal_point, ',');
    FolderEntries original, loaded;
    original.push_back(Entry(L"C:\\Ünïcödé ™ 𝄞", 3, {0.1, SizeUnit_KB, 0, L"<min> & \"q\""},
                             {0.1 + 0.2, SizeUnit_TB, 0, L""},
                             Slots(Slot(msgBox()), RunSlot(L"\"C:\\a b\\x.exe\"", L"%currentdir%"),
                                   RunSlot(L"", L""), Slot(addToLog()))));
    original.push_back(Entry(L"\\\\server\\share", 2, {}, {-3.25, SizeUnit_GB, 0, L"line\r\nbreak\ttab"},
                             Slots(Slot(addToLog()))));
    original.push_back(Entry(L"", 1, {-1e300, SizeUnit_B, 0, L"  "}, {}));
    original.push_back(Entry(L"D:\\nothing", 0, {}, {}));
    RecordingOwner owner;
    EXPECT_EQ(SaveConfiguration(path.c_str(), original, &owner), 0u);
    ASSERT_EQ(LoadConfiguration(path.c_str(), kinds, loaded, &owner), 0u);
    EXPECT_EQ(owner.calls, L"saved loaded ");
    EXPECT_NE(ReadFileBytes(path).find("Value=\"0.1\""), std::string::npos) << ReadFileBytes(path);
    ASSERT_EQ(loaded.size(), original.size());
    for (std::size_t i = 0; i < original.size(); ++i) {
        EXPECT_TRUE(loaded[i]->Equals(*original[i])) << "folder " << i;
        EXPECT_EQ(loaded[i]->flags, original[i]->flags) << "folder " << i;
    }
    EXPECT_EQ(loaded[0]->actions[3].kind, addToLog()) << "slots keep the file order";
}

TEST_F(ConfigFileTest, SavedBytesFollowTheFormat)
{
    FolderEntries folders;
    folders.push_back(Entry(L"C:\\x", 3, {1.5, SizeUnit_KB, 0, L"low"}, {2.0, SizeUnit_MB, 0, std::nullopt},
                            Slots(Slot(msgBox()), RunSlot(L"a.exe", std::nullopt), Slot(addToLog()))));
    folders.push_back(Entry(L"C:\\y", 0, {5.0, SizeUnit_TB, 0, L"not in force"}, {}));
    ASSERT_EQ(SaveConfiguration(path.c_str(), folders), 0u);
    const std::string bytes =
        std::regex_replace(std::regex_replace(ReadFileBytes(path), std::regex(">\\s+<"), "><"), std::regex("\\s+$"), "");
    EXPECT_EQ(bytes, "<?xml version=\"1.0\" encoding=\"utf-8\"?><Configuration><Settings><ConfigVersion Version=\"1.3\"/>"
                     "</Settings><Folders><Folder Path=\"C:\\x\"><Min Value=\"1.5\" Units=\"KB\" Msg=\"low\"/>"
                     "<Max Value=\"2\" Units=\"MB\" Msg=\"\"/><Actions><MsgBox/><Run Path=\"a.exe\" Params=\"\"/>"
                     "<AddToLog/></Actions></Folder><Folder Path=\"C:\\y\"><Actions/></Folder></Folders></Configuration>");
}

TEST_F(ConfigFileTest, EmptyListsMissingFilesAndMissingFolders)
{
    FolderEntries folders;
    RecordingOwner owner;
    EXPECT_EQ(SaveConfiguration((temp / L"no\\such.xml").c_str(), folders, &owner), 1359u);
    EXPECT_EQ(LoadConfiguration((temp / L"absent.xml").c_str(), kinds, folders, &owner), 1006u);
    EXPECT_EQ(owner.calls, L"") << "a failure tells nobody";
    ASSERT_EQ(SaveConfiguration(path.c_str(), folders), 0u);
    EXPECT_NE(ReadFileBytes(path).find("<Folders/>"), std::string::npos) << ReadFileBytes(path);
    folders.push_back(Entry(L"kept", 0, {}, {}));
    ASSERT_EQ(LoadConfiguration(path.c_str(), kinds, folders), 0u);
    ASSERT_EQ(folders.size(), 1u) << "loading appends; it never clears";
}

} // namespace
} // namespace krn::test
