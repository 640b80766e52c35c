#include <cmath>
#include <limits>
#include <regex>

#include "tests/config/ConfigFixture.h"

namespace krn::test {
namespace {

// Counts what the main window would be told.
struct RecordingOwner : ConfigurationOwner {
    void OnConfigurationSaved() override { ++saved; }
    void OnFoldersLoaded() override { ++loaded; }
    int saved = 0;
    int loaded = 0;
};

// The file without the blanks and line breaks the DOM may put between
// elements.
std::string WithoutLayout(const std::string& bytes)
{
    const std::string joined = std::regex_replace(bytes, std::regex(">\\s+<"), "><");
    return joined.substr(0, joined.find_last_not_of(" \r\n\t") + 1);
}

class ConfigFileTest : public ConfigTest {
protected:
    std::unique_ptr<FolderEntry> Entry(const wchar_t* path) const
    {
        auto entry = std::make_unique<FolderEntry>();
        entry->path = path;
        return entry;
    }

    // Folders of every shape the writer knows, with texts that round-trip:
    // a limit in force has a text (an absent one comes back empty).
    FolderList Sample() const
    {
        FolderList folders;
        auto both = Entry(L"C:\\Data\\Ünïcödé ™ 𝄞");
        both->flags = FolderEntry::HasMin | FolderEntry::HasMax;
        both->min = {0.1, SizeUnit_KB, 0, L"below <min> & \"quoted\""};
        both->max = {123456789.125, SizeUnit_TB, 0, L""};
        both->actions = {{nullptr, msgBox()}, RunSlot(L"\"C:\\Program Files\\x.exe\"", L"%currentdir% -q"),
                         RunSlot(L"", L""), {nullptr, addToLog()}};
        folders.push_back(std::move(both));
        auto maxOnly = Entry(L"\\\\server\\share");
        maxOnly->flags = FolderEntry::HasMax;
        maxOnly->max = {-3.25, SizeUnit_GB, 0, L"line\r\nbreak\ttab"};
        maxOnly->actions = {{nullptr, addToLog()}};
        folders.push_back(std::move(maxOnly));
        auto minOnly = Entry(L"");
        minOnly->flags = FolderEntry::HasMin;
        minOnly->min = {1e300, SizeUnit_B, 0, L"  spaces  "};
        folders.push_back(std::move(minOnly));
        folders.push_back(Entry(L"D:\\no limits, no actions"));
        return folders;
    }

    std::wstring Save(const FolderList& folders, ConfigurationOwner* owner = nullptr)
    {
        const std::wstring path = temp / L"saved.xml";
        WriteFileBytes(path, "");
        EXPECT_EQ(SaveConfiguration(path.c_str(), folders, owner), 0u);
        return path;
    }
};

TEST_F(ConfigFileTest, RoundTripGivesEqualEntriesWithTheirFlags)
{
    const FolderList original = Sample();
    RecordingOwner owner;
    const std::wstring path = Save(original, &owner);
    EXPECT_EQ(owner.saved, 1);

    FolderList loaded;
    ASSERT_EQ(LoadConfiguration(path.c_str(), kinds, loaded, &owner), 0u);
    EXPECT_EQ(owner.loaded, 1);
    ASSERT_EQ(loaded.size(), original.size());
    for (std::size_t i = 0; i < original.size(); ++i) {
        EXPECT_TRUE(loaded[i]->Equals(*original[i])) << "folder " << i;
        EXPECT_EQ(loaded[i]->flags, original[i]->flags) << "folder " << i;
        EXPECT_EQ(loaded[i]->min.value, original[i]->min.value) << "folder " << i;
        EXPECT_EQ(loaded[i]->max.value, original[i]->max.value) << "folder " << i;
        EXPECT_EQ(loaded[i]->actions.size(), original[i]->actions.size()) << "folder " << i;
        EXPECT_EQ(loaded[i]->min.bytes, 0u) << "bytes are not stored";
    }
    EXPECT_EQ(loaded[0]->actions[0].kind, msgBox()) << "slot order is file order";
    EXPECT_EQ(loaded[0]->actions[3].kind, addToLog());
    EXPECT_FALSE(loaded[3]->min.msg) << "a limit not in force has no text";
}

TEST_F(ConfigFileTest, SavedBytesFollowTheFormat)
{
    FolderList folders;
    auto entry = Entry(L"C:\\x");
    entry->flags = FolderEntry::HasMin | FolderEntry::HasMax;
    entry->min = {1.5, SizeUnit_KB, 0, L"low"};
    entry->max = {2.0, SizeUnit_MB, 0, std::nullopt};
    entry->actions = {{nullptr, msgBox()}, RunSlot(L"a.exe", std::nullopt), {nullptr, addToLog()}};
    folders.push_back(std::move(entry));
    auto noMin = Entry(L"C:\\y");
    noMin->min = {5.0, SizeUnit_TB, 0, L"not in force"};  // HasMin clear: no Min element
    folders.push_back(std::move(noMin));

    const std::string bytes = ReadFileBytes(Save(folders));
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
    ASSERT_EQ(bytes.substr(0, declaration.size()), declaration);
    EXPECT_EQ(WithoutLayout(bytes),
              declaration + ("<Configuration><Settings><ConfigVersion Version=\"1.3\"/></Settings><Folders>"
                            "<Folder Path=\"C:\\x\"><Min Value=\"1.5\" Units=\"KB\" Msg=\"low\"/>"
                            "<Max Value=\"2\" Units=\"MB\" Msg=\"\"/><Actions><MsgBox/>"
                            "<Run Path=\"a.exe\" Params=\"\"/><AddToLog/></Actions></Folder>"
                            "<Folder Path=\"C:\\y\"><Actions/></Folder></Folders></Configuration>"));
}

TEST_F(ConfigFileTest, EmptyListSavesEmptyFoldersAndLoadsNothing)
{
    const std::wstring path = Save(FolderList());
    EXPECT_NE(WithoutLayout(ReadFileBytes(path)).find("<Folders/>"), std::string::npos) << ReadFileBytes(path);
    FolderList loaded;
    EXPECT_EQ(LoadConfiguration(path.c_str(), kinds, loaded), 0u);
    EXPECT_TRUE(loaded.empty());
}

TEST_F(ConfigFileTest, SaveIntoAMissingFolderFailsWithoutTellingTheOwner)
{
    RecordingOwner owner;
    const std::wstring path = temp / L"missing\\config.xml";
    EXPECT_EQ(SaveConfiguration(path.c_str(), Sample(), &owner), 1359u);
    EXPECT_EQ(owner.saved, 0);
}

TEST_F(ConfigFileTest, LoadAppendsToTheListAndMissingFilesAreNotLoaded)
{
    FolderList folders;
    folders.push_back(Entry(L"already there"));
    RecordingOwner owner;
    EXPECT_EQ(LoadConfiguration((temp / L"absent.xml").c_str(), kinds, folders, &owner), 1006u);
    EXPECT_EQ(owner.loaded, 0);
    ASSERT_EQ(LoadText(ConfigText("<Folder Path=\"a\"><Actions/></Folder>"), folders), 0u);
    ASSERT_EQ(folders.size(), 2u);
    EXPECT_EQ(*folders[0]->path, L"already there");
    EXPECT_EQ(*folders[1]->path, L"a");
}

// Load outcomes: the status and the paths of the folders read.
struct LoadCase {
    const char* name;
    std::string xml;
    DWORD status;
    std::vector<std::wstring> paths;
};

TEST_F(ConfigFileTest, LoadAcceptsAndStopsExactlyWhereTheFormatSays)
{
    const std::string a = "<Folder Path=\"a\"><Actions/></Folder>";
    const std::string b = "<Folder Path=\"b\"><Actions/></Folder>";
    const LoadCase cases[] = {
        {"version 1.3", ConfigText(a + b), 0, {L"a", L"b"}},
        {"no Version attribute", ConfigText(a, "<ConfigVersion/>"), 0, {L"a"}},
        {"version 1.2", ConfigText(a, "<ConfigVersion Version=\"1.2\"/>"), 1006, {}},
        {"version 1.30", ConfigText(a, "<ConfigVersion Version=\"1.30\"/>"), 1006, {}},
        {"version empty", ConfigText(a, "<ConfigVersion Version=\"\"/>"), 1006, {}},
        {"no ConfigVersion", ConfigText(a, ""), 1006, {}},
        {"ConfigVersion anywhere, first one counts",
         "<Root><X><ConfigVersion Version=\"1.3\"/></X><ConfigVersion Version=\"9\"/>" + a + "</Root>", 0, {L"a"}},
        {"not well-formed", ConfigText(a).substr(0, 80), 1006, {}},
        {"empty file", "", 1006, {}},
        {"Folder at any depth",
         ConfigText(a, "<ConfigVersion Version=\"1.3\"/><Folder Path=\"in settings\"><Actions/></Folder>"), 0,
         {L"in settings", L"a"}},
        {"Folder without Actions stops there", ConfigText(a + "<Folder Path=\"x\"/>" + b), 0, {L"a"}},
        {"Folder without Path stops there", ConfigText(a + "<Folder><Actions/></Folder>" + b), 0, {L"a"}},
        {"Actions deeper down does not count", ConfigText(a + "<Folder Path=\"x\"><Min><Actions/></Min></Folder>" + b),
         0, {L"a"}},
        {"Folder inside a Run", ConfigText("<Folder Path=\"outer\"><Actions><Run><Folder Path=\"inner\"><Actions/>"
                                           "</Folder></Run></Actions></Folder>"),
         0, {L"outer", L"inner"}},
        {"first folder stops everything", ConfigText("<Folder Path=\"x\"></Folder>" + a), 0, {}},
    };
    for (const LoadCase& c : cases) {
        FolderList folders;
        EXPECT_EQ(LoadText(c.xml, folders), c.status) << c.name;
        std::vector<std::wstring> paths;
        for (const auto& entry : folders)
            paths.push_back(entry->path.value_or(L"<null>"));
        EXPECT_EQ(paths, c.paths) << c.name;
    }
}

TEST_F(ConfigFileTest, LimitAttributesReadByTheirRules)
{
    struct Case {
        const char* attributes;
        double value;
        std::uint16_t units;
        OptionalText msg;
    };
    const Case cases[] = {
        {"Value=\"1.5\" Units=\"KB\" Msg=\"m\"", 1.5, SizeUnit_KB, L"m"},
        {"", 0.0, SizeUnit_B, L""},
        {"Units=\"kb\"", 0.0, SizeUnit_B, L""},
        {"Units=\"TB\"", 0.0, SizeUnit_TB, L""},
        {"Units=\" MB\"", 0.0, SizeUnit_B, L""},
        {"Value=\"  12.5abc\"", 12.5, SizeUnit_B, L""},
        {"Value=\"NaN\"", 0.0, SizeUnit_B, L""},
        {"Value=\"1,5\"", 1.0, SizeUnit_B, L""},
        {"Value=\"-.25\"", -0.25, SizeUnit_B, L""},
        {"Value=\"1e3\"", 1000.0, SizeUnit_B, L""},
        {"Value=\"1e400\"", std::numeric_limits<double>::infinity(), SizeUnit_B, L""},
        {"Value=\"1e-400\"", 0.0, SizeUnit_B, L""},
        {"Value=\"abc\" Msg=\"\"", 0.0, SizeUnit_B, L""},
    };
    for (const Case& c : cases) {
        FolderList folders;
        const std::string folder = std::string("<Folder Path=\"p\"><Max ") + c.attributes + "/><Actions/></Folder>";
        ASSERT_EQ(LoadText(ConfigText(folder), folders), 0u) << c.attributes;
        ASSERT_EQ(folders.size(), 1u);
        const FolderEntry& entry = *folders[0];
        EXPECT_EQ(entry.flags, unsigned(FolderEntry::HasMax)) << c.attributes;
        EXPECT_EQ(entry.max.value, c.value) << c.attributes;
        EXPECT_EQ(entry.max.units, c.units) << c.attributes;
        EXPECT_EQ(entry.max.msg, c.msg) << c.attributes;
        EXPECT_FALSE(entry.min.msg) << c.attributes;
    }
}

TEST_F(ConfigFileTest, UnknownActionElementsAreSkipped)
{
    FolderList folders;
    const std::string actions = "<Actions> text <!-- note --><Beep/><MsgBox/><msgbox/><Run Path=\"r\"/>"
                                "<AddToLog Extra=\"1\"><Child/></AddToLog><Run/></Actions>";
    ASSERT_EQ(LoadText(ConfigText("<Folder Path=\"p\">" + actions + "</Folder>"), folders), 0u);
    ASSERT_EQ(folders.size(), 1u);
    const auto& slots = folders[0]->actions;
    ASSERT_EQ(slots.size(), 4u);
    EXPECT_EQ(slots[0].kind, msgBox());
    EXPECT_EQ(slots[1].kind, run());
    EXPECT_EQ(*Params(slots[1]).path, L"r");
    EXPECT_EQ(*Params(slots[1]).params, L"") << "an absent Params reads as empty";
    EXPECT_EQ(slots[2].kind, addToLog());
    EXPECT_EQ(slots[2].params, nullptr);
    EXPECT_EQ(*Params(slots[3]).path, L"");
}

TEST(LimitValueText, IsPlainDecimalThatReadsBackExactly)
{
    const double values[] = {0.0, 1.5, 0.1, 2.0, -3.25, 1e300, 1e-300, 5e-324, 123456789.123456789,
                             std::numeric_limits<double>::max(), 1.0 / 3.0, 16777216.0};
    for (double value : values) {
        const std::wstring text = FormatLimitValue(value);
        EXPECT_EQ(text.find_first_not_of(L"-0123456789."), std::wstring::npos) << "not plain: " << value;
        EXPECT_EQ(ParseLimitValue(text.c_str()), value) << "text " << std::string(text.begin(), text.end());
    }
    EXPECT_EQ(FormatLimitValue(1.5), L"1.5");
    EXPECT_EQ(FormatLimitValue(2.0), L"2");
    EXPECT_EQ(ParseLimitValue(FormatLimitValue(std::numeric_limits<double>::infinity()).c_str()),
              std::numeric_limits<double>::infinity());
}

TEST_F(ConfigFileTest, ValueTextDoesNotDependOnTheThreadLocale)
{
    const LCID before = GetThreadLocale();
    SetThreadLocale(MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT));
    FolderList folders;
    auto entry = Entry(L"p");
    entry->flags = FolderEntry::HasMin;
    entry->min = {1234.5, SizeUnit_B, 0, L""};
    folders.push_back(std::move(entry));
    const std::wstring path = Save(folders);
    FolderList loaded;
    const DWORD status = LoadConfiguration(path.c_str(), kinds, loaded);
    SetThreadLocale(before);
    EXPECT_NE(ReadFileBytes(path).find("Value=\"1234.5\""), std::string::npos) << ReadFileBytes(path);
    ASSERT_EQ(status, 0u);
    ASSERT_EQ(loaded.size(), 1u);
    EXPECT_EQ(loaded[0]->min.value, 1234.5);
}

} // namespace
} // namespace krn::test
