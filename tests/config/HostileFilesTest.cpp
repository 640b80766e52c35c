// Files that are anything but what the program writes. A generated file is
// put together from pieces that each say what they read as, so the test knows
// what it must load as; damaged copies and monsters only have to end in an
// allowed status.
#include <charconv>
#include <cmath>
#include <random>

#include "tests/config/ConfigFixture.h"

namespace krn::test {
namespace {

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

std::wstring Number(double value)
{
    char text[400];
    return std::wstring(text, std::to_chars(text, text + sizeof(text), value).ptr);
}

// One line per entry, in the form of the pieces above.
std::wstring Describe(const FolderEntries& folders)
{
    std::wstring text;
    for (const auto& entry : folders) {
        text += (entry->path ? *entry->path : L"-") + L"|" + std::to_wstring(entry->flags);
        for (const SizeLimit* limit : {&entry->min, &entry->max})
            text += L"|" + Number(limit->value) + L" " + std::to_wstring(limit->units) + L" " + limit->msg.value_or(L"-");
        for (const ActionSlot& slot : entry->actions) {
            const auto* run = static_cast<const RunParams*>(slot.params);
            text += L"|" + slot.kind->tag + (run ? L" " + run->path.value_or(L"-") + L" " + run->params.value_or(L"-") : L"");
        }
        text += L"\n";
    }
    return text;
}

// A file of pieces, some wrapped in other elements; `expected` stays empty
// when the file must be refused. How a Value text reads is LimitValueTest's.
std::string Generate(unsigned seed, std::wstring& expected)
{
    std::mt19937 rng(seed);
    const auto& [header, accepted] = kHeaders[rng() % 2 ? 0 : rng() % std::size(kHeaders)];
    std::string xml;
    bool stopped = !accepted;
    expected = accepted ? kFresh : L"";
    for (int i = rng() % 8; i > 0; --i) {
        auto [folder, line] = kFolders[rng() % std::size(kFolders)];
        for (std::size_t depth = rng() % 3; depth > 0; --depth)
            folder = "<x>" + folder + "</x>";
        xml += folder;
        stopped = stopped || line.empty();
        expected += stopped ? L"" : line;
    }
    return FileText(header, xml);
}

// Each file loads into a list that holds one fresh entry; a refused file adds
// nothing. Beside each generated file, a copy cut short (always refused) and
// one with a few bytes changed (either way); then monsters.
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
    std::size_t accepted = 0, read = 0;
    for (unsigned seed = 1; seed <= 300; ++seed) {
        std::wstring expected;
        std::string bytes = Generate(seed, expected);
        FolderEntries folders, cut, changed;
        ASSERT_EQ(load(bytes, folders), expected.empty() ? 1006u : 0u) << "seed " << seed;
        ASSERT_EQ(Describe(folders), expected.empty() ? kFresh : expected) << "seed " << seed;
        accepted += !expected.empty();
        read += folders.size() - 1;
        std::mt19937 rng(seed);
        EXPECT_EQ(load(bytes.substr(0, rng() % (bytes.size() - 1)), cut), 1006u) << "seed " << seed;
        for (int flips = rng() % 8; flips >= 0; --flips)
            bytes[rng() % bytes.size()] = "<>/\"=&'! ax\0"[rng() % 12];
        load(bytes, changed);
    }
    EXPECT_GT(accepted, 150u) << "most generated files should be acceptable";
    EXPECT_GT(read, 300u) << "and most of their folders readable";
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
