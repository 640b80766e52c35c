// The configuration file: what the program writes and reads back, and files
// that are anything but what the program writes. A file is put
// together from pieces that each say what they read as, so the test knows
// what it must load as; damaged copies and monsters only have to end in an
// allowed status.
#include <cmath>
#include <random>
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
// under a locale with a decimal comma; a file that cannot be written or read
// tells nobody.
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
    EXPECT_EQ(SaveConfiguration((temp / L"no\\such.xml").c_str(), original, &owner), 1359u);
    EXPECT_EQ(LoadConfiguration((temp / L"absent.xml").c_str(), kinds, loaded, &owner), 1006u);
    EXPECT_EQ(owner.calls, L"") << "a failure tells nobody";
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
    ASSERT_EQ(SaveConfiguration(path.c_str(), FolderEntries()), 0u);
    EXPECT_NE(ReadFileBytes(path).find("<Folders/>"), std::string::npos) << ReadFileBytes(path);
}

// Settings and version records, and whether the file is then read.
const std::pair<std::string, bool> kHeaders[] = {
    {"<Settings><ConfigVersion Version=\"1.3\"/></Settings>", true}, {"<Settings><ConfigVersion/></Settings>", true},
    {"<Settings><ConfigVersion Version=\"1.2\"/></Settings>", false}, {"<Settings><ConfigVersion Version=\"1.30\"/></Settings>", false},
    {"<Settings><ConfigVersion Version=\"\"/></Settings>", false}, {"<Settings/>", false},
    {"<Settings><x><ConfigVersion Version=\"1.3\"/></x></Settings><ConfigVersion Version=\"9\"/>", true},  // the first anywhere
    {"<ConfigVersion Version=\" 1.3\"/><Settings><ConfigVersion Version=\"1.3\"/></Settings>", false},
};
template <typename Text>
Text Repeat(const Text& piece, int count)
{
    Text text;
    while (count-- > 0)
        text += piece;
    return text;
}

const std::wstring kEmptyLimit = L"|0 0 -";
const std::wstring kFresh = L"-|0" + kEmptyLimit + kEmptyLimit + L"\n";
// Folders and the lines they read as; an empty line stops the load there.
const std::pair<std::string, std::wstring> kFolders[] = {
    {"<Folder Path=\"C:\\Data\"><Min Value=\"1.5\" Units=\"KB\" Msg=\"low\"/><Max Value=\"2\" Units=\"TB\"/>"
     "<Actions><MsgBox/><AddToLog/></Actions></Folder>", L"C:\\Data|3|1.5 1 low|2 4 |MsgBox|AddToLog\n"},
    // children in any order, the first Min only; "min" and a Min that is no element are not limits
    {"<Folder Path=\"\"><Actions><Run/></Actions> text <?Min x?><!--Min--><min Value=\"9\"/><Min Value=\" 2abc\" "
     "Units=\"kb\"/><Min Value=\"7\"/></Folder>", L"|1|2 0 " + kEmptyLimit + L"|Run  \n"},
    // names no kind has, text and comments are skipped; a Run's attributes as they stand
    {"<Folder Path=\"&lt;&amp;&#9;™\"><Actions><Beep/><msgbox/><!--MsgBox-->x<Run Path=\" p \" Params=\"&quot;\"/>"
     "<MsgBox Path=\"no\"/><Run Params=\"\"/></Actions></Folder>", L"<&\t™|0" + kEmptyLimit + kEmptyLimit + L"|Run  p  \"|MsgBox|Run  \n"},
    // found at any depth: the Folder inside a Run comes after the one around it
    {"<Folder Path=\"outer\"><Actions><Run Path=\"r\"><Folder Path=\"inner\"><Actions/></Folder></Run></Actions></Folder>",
     L"outer|0" + kEmptyLimit + kEmptyLimit + L"|Run r \ninner|0" + kEmptyLimit + kEmptyLimit + L"\n"},
    {"<Folder Path=\"" + std::string(10000, 'p') + "\"><Actions>" + Repeat<std::string>("<AddToLog/>", 3000) + "</Actions></Folder>",
     std::wstring(10000, L'p') + L"|0" + kEmptyLimit + kEmptyLimit + Repeat<std::wstring>(L"|AddToLog", 3000) + L"\n"},
    {"<Folder Path=\"no actions\"><?Actions x?><Min Value=\"1\"/></Folder>", L""},
    {"<Folder><Actions/></Folder>", L""},
};

std::string FileText(const std::string& header, const std::string& folders)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><Configuration>" + header + "<Folders>" + folders + "</Folders></Configuration>";
}

// One line per entry, in the form of the pieces above.
std::wstring Describe(const FolderEntries& folders)
{
    std::wstring text;
    for (const auto& entry : folders) {
        text += (entry->path ? *entry->path : L"-") + L"|" + std::to_wstring(entry->flags);
        for (const SizeLimit* limit : {&entry->min, &entry->max})
            text += L"|" + FormatLimitValue(limit->value) + L" " + std::to_wstring(limit->units) + L" " + limit->msg.value_or(L"-");
        for (const ActionSlot& slot : entry->actions) {
            const auto* run = static_cast<const RunParams*>(slot.params);
            text += L"|" + slot.kind->tag + (run ? L" " + run->path.value_or(L"-") + L" " + run->params.value_or(L"-") : L"");
        }
        text += L"\n";
    }
    return text;
}

// Under each header, each folder piece wrapped in another element and
// followed by the next piece; a refused file adds nothing to a list that
// holds one fresh entry. Beside each file, a copy cut short (always refused)
// and one with a few bytes changed (either way); then monsters.
TEST_F(ConfigTest, HostileFilesLoadExactlyAsTheFormatSaysOrAreRefused)
{
    const auto load = [&](const std::string& bytes, FolderEntries& folders) {
        folders.push_back(std::make_unique<FolderEntry>());
        WriteFileBytes(temp / L"load.xml", bytes);
        const DWORD status = LoadConfiguration((temp / L"load.xml").c_str(), kinds, folders);
        if (status != 0) {
            EXPECT_EQ(status, 1006u) << "for " << bytes.substr(0, 60);
            EXPECT_EQ(folders.size(), 1u) << "a refused file adds nothing: " << bytes.substr(0, 60);
        }
        return status;
    };
    std::mt19937 rng(1);
    for (const auto& [header, accepted] : kHeaders) {
        for (std::size_t i = 0; i < std::size(kFolders); ++i) {
            const auto& [first, firstLine] = kFolders[i];
            const auto& [next, nextLine] = kFolders[(i + 1) % std::size(kFolders)];
            std::string bytes = FileText(header, "<x>" + first + "</x>" + next);
            // An empty line stops the load there.
            const std::wstring expected = accepted ? kFresh + firstLine + (firstLine.empty() ? L"" : nextLine) : L"";
            SCOPED_TRACE(bytes.substr(0, 160));
            FolderEntries folders, cut, changed;
            ASSERT_EQ(load(bytes, folders), accepted ? 0u : 1006u);
            ASSERT_EQ(Describe(folders), accepted ? expected : kFresh);
            EXPECT_EQ(load(bytes.substr(0, rng() % (bytes.size() - 1)), cut), 1006u);
            for (int flips = rng() % 8; flips >= 0; --flips)
                bytes[rng() % bytes.size()] = "<>/\"=&'! ax\0"[rng() % 12];
            load(bytes, changed);
        }
    }
    const std::string deep = Repeat<std::string>("<d>", 20000) + "<Folder Path=\"deep\"><Actions/></Folder>" +
                             Repeat<std::string>("</d>", 20000);
    const std::string huge = "<!--" + std::string(12 << 20, 'x') + "--><Folder Path=\"after\"><Actions/></Folder>";
    for (const std::string& monster : {std::string(), std::string("not XML"), FileText(kHeaders[0].first, deep),
                                       FileText(kHeaders[0].first, huge)}) {
        FolderEntries folders;
        load(monster, folders);
    }
}

} // namespace
} // namespace krn::test
