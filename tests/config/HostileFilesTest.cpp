// Loading files that are anything but what the program writes. A generator
// builds documents as trees from a fixed seed, so the test knows what each one
// must load as; raw bytes, truncations and oversized files only have to end
// in a status the format allows, with the folder list left sane.
#include <chrono>
#include <cmath>
#include <limits>
#include <random>

#include "tests/config/ConfigFixture.h"

namespace krn::test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

struct Node {
    std::wstring name;  // "#text" and "#comment" are not elements
    std::vector<std::pair<std::wstring, std::wstring>> attributes;
    std::vector<Node> children;
    std::wstring text;

    const std::wstring* Attribute(const wchar_t* key) const
    {
        for (const auto& [k, v] : attributes) {
            if (k == key)
                return &v;
        }
        return nullptr;
    }
    const Node* Child(const wchar_t* childName) const
    {
        for (const Node& child : children) {
            if (child.name == childName)
                return &child;
        }
        return nullptr;
    }
};

std::wstring Escape(const std::wstring& text)
{
    std::wstring out;
    for (wchar_t c : text) {
        switch (c) {
        case L'&': out += L"&amp;"; break;
        case L'<': out += L"&lt;"; break;
        case L'>': out += L"&gt;"; break;
        case L'"': out += L"&quot;"; break;
        case L'\t': out += L"&#9;"; break;
        case L'\n': out += L"&#10;"; break;
        case L'\r': out += L"&#13;"; break;
        default: out += c;
        }
    }
    return out;
}

void Write(const Node& node, std::wstring& out)
{
    if (node.name == L"#text") {
        out += Escape(node.text);
        return;
    }
    if (node.name == L"#comment") {
        out += L"<!--" + node.text + L"-->";
        return;
    }
    out += L"<" + node.name;
    for (const auto& [key, value] : node.attributes)
        out += L" " + key + L"=\"" + Escape(value) + L"\"";
    if (node.children.empty()) {
        out += L"/>";
        return;
    }
    out += L">";
    for (const Node& child : node.children)
        Write(child, out);
    out += L"</" + node.name + L">";
}

std::string Utf8(const std::wstring& text)
{
    if (text.empty())
        return {};
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), int(text.size()), nullptr, 0, nullptr, nullptr);
    std::string out(size, '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), int(text.size()), out.data(), size, nullptr, nullptr);
    return out;
}

std::string Document(const Node& root)
{
    std::wstring text = L"<?xml version=\"1.0\" encoding=\"utf-8\"?>";
    Write(root, text);
    return Utf8(text);
}

// What one folder must load as.
struct Expected {
    std::wstring path;
    std::uint32_t flags = 0;
    SizeLimit min, max;
    std::vector<std::pair<std::wstring, RunParams>> actions;  // tag, Run block
};

// Value texts and the numbers they read as.
const std::pair<std::wstring, double> kValues[] = {
    {L"1.5", 1.5}, {L"  2", 2.0}, {L"\t3", 3.0}, {L"NaN", 0.0}, {L"nan", 0.0}, {L"inf", 0.0},
    {L"1e400", kInf}, {L"-1e400", -kInf}, {L"1e-400", 0.0}, {L"abc", 0.0}, {L"", 0.0}, {L"0x1A", 0.0},
    {L"12abc", 12.0}, {L"1.5.5", 1.5}, {L"+7", 7.0}, {L"-0", 0.0}, {L".5", 0.5}, {L"5.", 5.0}, {L"1e", 1.0},
    {L"1e+", 1.0}, {L"1,5", 1.0}, {L"- 1", 0.0}, {L"2.5E2", 250.0}, {std::wstring(400, L'9'), kInf},
    {L"0." + std::wstring(400, L'0') + L"1", 0.0}, {L"0.1", 0.1}, {L"123456789.125", 123456789.125},
};
const std::pair<std::wstring, std::uint16_t> kUnits[] = {
    {L"B", 0}, {L"KB", 1}, {L"MB", 2}, {L"GB", 3}, {L"TB", 4}, {L"kb", 0}, {L"PB", 0}, {L"", 0}, {L" KB", 0}, {L"Tb", 0},
};
const std::wstring kTexts[] = {
    L"C:\\Data", L"", L"Ünïcödé ™ 𝄞", L"<&>\"'", L"tab\there\r\nline", L"%currentdir%", L"  ",
};
const std::wstring kLongPath = L"\\\\server\\share\\" + std::wstring(10000, L'x');
const wchar_t* const kActionNames[] = {L"MsgBox", L"AddToLog", L"Run", L"Run", L"Beep", L"msgbox", L"RUN", L"#text",
                                       L"#comment"};

class Generator {
public:
    explicit Generator(unsigned seed) : rng_(seed) {}

    Node Make()
    {
        Node root{Chance(95) ? L"Configuration" : L"Config"};
        Node settings{L"Settings"};
        if (Chance(95))
            settings.children.push_back(Version());
        root.children.push_back(settings);
        Node folders{L"Folders"};
        for (int i = Pick(0, 6); i > 0; --i)
            folders.children.push_back(Folder(0));
        // Folders nested deep under an unrelated element are found too.
        if (Chance(15)) {
            Node deep{L"Deep"};
            Node* at = &deep;
            for (int depth = Pick(1, 60); depth > 0; --depth) {
                at->children.push_back(Node{L"Level"});
                at = &at->children.back();
            }
            at->children.push_back(Folder(0));
            root.children.push_back(deep);
        }
        root.children.push_back(folders);
        if (Chance(10))
            root.children.insert(root.children.begin(), Version());  // the first one in the file counts
        return root;
    }

private:
    bool Chance(int percent) { return Pick(0, 99) < percent; }
    int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(rng_); }
    template <typename T, std::size_t N>
    const T& Any(const T (&items)[N]) { return items[Pick(0, int(N) - 1)]; }

    Node Version()
    {
        static const wchar_t* const versions[] = {L"1.3", L"1.3", L"1.3", L"1.3", L"1.2", L"1.30", L"", L" 1.3", nullptr};
        Node version{L"ConfigVersion"};
        if (const wchar_t* text = Any(versions))
            version.attributes.push_back({L"Version", text});
        return version;
    }

    Node Limit(const wchar_t* name)
    {
        Node limit{name};
        if (Chance(85))
            limit.attributes.push_back({L"Value", Any(kValues).first});
        if (Chance(85))
            limit.attributes.push_back({L"Units", Any(kUnits).first});
        if (Chance(70))
            limit.attributes.push_back({L"Msg", Any(kTexts)});
        return limit;
    }

    Node ActionNode(int depth)
    {
        Node action{Any(kActionNames)};
        if (action.name == L"#text" || action.name == L"#comment") {
            action.text = L" note ";
            return action;
        }
        if (Chance(60))
            action.attributes.push_back({L"Path", Any(kTexts)});
        if (Chance(50))
            action.attributes.push_back({L"Params", Chance(1) ? kLongPath : Any(kTexts)});
        if (depth < 2 && Chance(5))
            action.children.push_back(Folder(depth + 1));  // a Folder inside an action
        return action;
    }

    Node Folder(int depth)
    {
        Node folder{L"Folder"};
        if (Chance(96))
            folder.attributes.push_back({L"Path", Chance(5) ? kLongPath : Any(kTexts)});
        if (Chance(10))
            folder.children.push_back(Node{L"#text", {}, {}, L"\n  "});
        if (Chance(45))
            folder.children.push_back(Limit(Chance(90) ? L"Min" : L"min"));
        if (Chance(45))
            folder.children.push_back(Limit(L"Max"));
        if (Chance(5))
            folder.children.push_back(Limit(L"Min"));  // a second one is not read
        if (Chance(95)) {
            Node actions{L"Actions"};
            const int count = Chance(2) ? 3000 : Pick(0, 6);
            for (int i = 0; i < count; ++i)
                actions.children.push_back(ActionNode(depth));
            if (Chance(50))
                folder.children.push_back(actions);
            else
                folder.children.insert(folder.children.begin(), actions);
        }
        return folder;
    }

    std::mt19937 rng_;
};

double ValueOf(const std::wstring* text)
{
    if (!text)
        return 0.0;
    for (const auto& [candidate, value] : kValues) {
        if (candidate == *text)
            return value;
    }
    ADD_FAILURE() << "value text not in the table";
    return 0.0;
}

std::uint16_t UnitsOf(const std::wstring* text)
{
    for (const auto& [candidate, units] : kUnits) {
        if (text && candidate == *text)
            return units;
    }
    return 0;
}

SizeLimit ExpectedLimit(const Node& node)
{
    const std::wstring* msg = node.Attribute(L"Msg");
    return SizeLimit{ValueOf(node.Attribute(L"Value")), UnitsOf(node.Attribute(L"Units")), 0,
                     msg ? *msg : std::wstring()};
}

void CollectFolders(const Node& node, std::vector<const Node*>& folders)
{
    if (node.name == L"Folder")
        folders.push_back(&node);
    for (const Node& child : node.children)
        CollectFolders(child, folders);
}

const Node* FirstVersion(const Node& node)
{
    if (node.name == L"ConfigVersion")
        return &node;
    for (const Node& child : node.children) {
        if (const Node* found = FirstVersion(child))
            return found;
    }
    return nullptr;
}

// The load as the format describes it, worked out on the tree.
bool ExpectedLoad(const Node& root, std::vector<Expected>& result)
{
    const Node* version = FirstVersion(root);
    if (!version || (version->Attribute(L"Version") && *version->Attribute(L"Version") != L"1.3"))
        return false;
    std::vector<const Node*> folders;
    CollectFolders(root, folders);
    for (const Node* folder : folders) {
        const Node* actions = folder->Child(L"Actions");
        if (!folder->Attribute(L"Path") || !actions)
            break;
        Expected entry;
        entry.path = *folder->Attribute(L"Path");
        if (const Node* min = folder->Child(L"Min")) {
            entry.flags |= FolderEntry::HasMin;
            entry.min = ExpectedLimit(*min);
        }
        if (const Node* max = folder->Child(L"Max")) {
            entry.flags |= FolderEntry::HasMax;
            entry.max = ExpectedLimit(*max);
        }
        for (const Node& action : actions->children) {
            if (action.name != L"MsgBox" && action.name != L"AddToLog" && action.name != L"Run")
                continue;
            RunParams block;
            if (action.name == L"Run") {
                block.path = action.Attribute(L"Path") ? *action.Attribute(L"Path") : L"";
                block.params = action.Attribute(L"Params") ? *action.Attribute(L"Params") : L"";
            }
            entry.actions.push_back({action.name, block});
        }
        result.push_back(std::move(entry));
    }
    return true;
}

class HostileFiles : public ConfigTest {
protected:
    // Loads after a sentinel entry, which must stay first and untouched.
    DWORD Load(const std::string& bytes, FolderList& folders)
    {
        folders.clear();
        auto sentinel = std::make_unique<FolderEntry>();
        sentinel->path = L"sentinel";
        folders.push_back(std::move(sentinel));
        const auto start = std::chrono::steady_clock::now();
        const DWORD status = LoadText(bytes, folders);
        slowest = std::max(slowest, std::chrono::steady_clock::now() - start);
        EXPECT_TRUE(!folders.empty() && folders[0]->path == L"sentinel" && folders[0]->actions.empty());
        if (status != 0) {
            EXPECT_EQ(folders.size(), 1u) << "a refused file adds nothing";
        }
        return status;
    }

    // What any accepted file can give: the shapes the reader builds.
    void ExpectSane(const FolderList& folders, const std::string& name)
    {
        for (std::size_t i = 1; i < folders.size(); ++i) {
            const FolderEntry& entry = *folders[i];
            EXPECT_TRUE(entry.path.has_value()) << name;
            EXPECT_EQ(entry.flags & ~3u, 0u) << name;
            EXPECT_EQ(entry.min.msg.has_value(), bool(entry.flags & FolderEntry::HasMin)) << name;
            EXPECT_EQ(entry.max.msg.has_value(), bool(entry.flags & FolderEntry::HasMax)) << name;
            EXPECT_LT(entry.min.units, kSizeUnitCount) << name;
            EXPECT_LT(entry.max.units, kSizeUnitCount) << name;
            for (const ActionSlot& slot : entry.actions) {
                ASSERT_TRUE(slot.kind == msgBox() || slot.kind == addToLog() || slot.kind == run()) << name;
                if (slot.kind == run()) {
                    EXPECT_TRUE(slot.params && Params(slot).path && Params(slot).params) << name;
                } else {
                    EXPECT_EQ(slot.params, nullptr) << name;
                }
            }
        }
    }

    std::chrono::steady_clock::duration slowest{};
};

void ExpectLoadedAs(const FolderList& folders, const std::vector<Expected>& expected, const ConfigTest& test,
                    int seed)
{
    ASSERT_EQ(folders.size() - 1, expected.size()) << "seed " << seed;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const FolderEntry& got = *folders[i + 1];
        const Expected& want = expected[i];
        const std::string where = "seed " + std::to_string(seed) + ", folder " + std::to_string(i);
        EXPECT_EQ(got.path, want.path) << where;
        EXPECT_EQ(got.flags, want.flags) << where;
        for (const auto& [g, w] : {std::pair(&got.min, &want.min), std::pair(&got.max, &want.max)}) {
            EXPECT_EQ(g->value, w->value) << where;
            EXPECT_EQ(g->units, w->units) << where;
            EXPECT_EQ(g->msg, w->msg) << where;
        }
        ASSERT_EQ(got.actions.size(), want.actions.size()) << where;
        for (std::size_t a = 0; a < want.actions.size(); ++a) {
            const ActionSlot& slot = got.actions[a];
            ASSERT_TRUE(slot.kind) << where;
            EXPECT_EQ(slot.kind->tag, want.actions[a].first) << where << ", action " << a;
            if (slot.kind == test.run()) {
                EXPECT_EQ(ConfigTest::Params(slot).path, want.actions[a].second.path) << where;
                EXPECT_EQ(ConfigTest::Params(slot).params, want.actions[a].second.params) << where;
            }
        }
    }
}

TEST_F(HostileFiles, GeneratedDocumentsLoadExactlyAsTheFormatSays)
{
    int accepted = 0;
    for (int seed = 1; seed <= 200; ++seed) {
        const Node root = Generator(static_cast<unsigned>(seed)).Make();
        std::vector<Expected> expected;
        const bool accept = ExpectedLoad(root, expected);
        FolderList folders;
        const DWORD status = Load(Document(root), folders);
        ASSERT_EQ(status, accept ? 0u : 1006u) << "seed " << seed;
        ExpectLoadedAs(folders, expected, *this, seed);
        accepted += accept;
    }
    EXPECT_GT(accepted, 100) << "the generator should mostly make acceptable files";
    std::printf("slowest load: %lld ms\n",
                static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(slowest).count()));
}

TEST_F(HostileFiles, GarbageTruncationsAndMonstersEndInAnAllowedStatus)
{
    std::mt19937 rng(20240611);
    const std::string valid = Document(Generator(7).Make());
    std::vector<std::pair<std::string, std::string>> files = {
        {"empty", ""},
        {"blank", "   \r\n"},
        {"not XML", "this is not XML at all"},
        {"HTML", "<html><body><p>config<br></body></html>"},
        {"declaration only", "<?xml version=\"1.0\" encoding=\"utf-8\"?>"},
        {"UTF-16 BOM on UTF-8 text", "\xFF\xFE" + valid},
        {"invalid UTF-8", ConfigText("<Folder Path=\"\xC3\x28\xFF\"><Actions/></Folder>")},
        {"NUL in the middle", ConfigText("<Folder Path=\"a") + std::string(1, '\0') + "\"><Actions/></Folder>"},
        {"entity bomb",
         "<?xml version=\"1.0\"?><!DOCTYPE c [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\">"
         "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\"><!ENTITY d \"&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;\">"
         "<!ENTITY e \"&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;\"><!ENTITY f \"&e;&e;&e;&e;&e;&e;&e;&e;&e;&e;\">"
         "<!ENTITY g \"&f;&f;&f;&f;&f;&f;&f;&f;&f;&f;\"><!ENTITY h \"&g;&g;&g;&g;&g;&g;&g;&g;&g;&g;\">]>"
         "<Configuration><Settings><ConfigVersion Version=\"1.3\"/></Settings><Folders>"
         "<Folder Path=\"&h;\"><Actions/></Folder></Folders></Configuration>"},
        {"external entity", "<?xml version=\"1.0\"?><!DOCTYPE c [<!ENTITY x SYSTEM \"file:///C:/windows/win.ini\">]>" +
                                ConfigText("<Folder Path=\"&x;\"><Actions/></Folder>").substr(38)},
    };
    for (int depth : {100, 1000, 20000}) {
        std::string deep;
        for (int i = 0; i < depth; ++i)
            deep += "<d>";
        deep += "<Folder Path=\"deep\"><Actions><MsgBox/></Actions></Folder>";
        for (int i = 0; i < depth; ++i)
            deep += "</d>";
        files.push_back({"nesting " + std::to_string(depth), ConfigText(deep)});
    }
    for (int megabytes : {4, 12})
        files.push_back({"comment of " + std::to_string(megabytes) + " MB",
                         ConfigText("<!--" + std::string(megabytes << 20, 'x') + "--><Folder Path=\"after\"><Actions/></Folder>")});
    for (int i = 0; i < 40; ++i) {
        std::string bytes(std::uniform_int_distribution<int>(1, 4000)(rng), '\0');
        for (char& c : bytes)
            c = static_cast<char>(std::uniform_int_distribution<int>(0, 255)(rng));
        files.push_back({"random bytes " + std::to_string(i), bytes});
    }
    for (int i = 0; i < 40; ++i) {
        const std::size_t cut = std::uniform_int_distribution<std::size_t>(0, valid.size() - 2)(rng);
        files.push_back({"cut at " + std::to_string(cut), valid.substr(0, cut)});
    }
    for (int i = 0; i < 40; ++i) {
        std::string bytes = valid;
        for (int flips = std::uniform_int_distribution<int>(1, 8)(rng); flips > 0; --flips)
            bytes[std::uniform_int_distribution<std::size_t>(0, bytes.size() - 1)(rng)] =
                "<>/\"=&'! ax\0"[std::uniform_int_distribution<int>(0, 11)(rng)];
        files.push_back({"mutation " + std::to_string(i), bytes});
    }

    for (const auto& [name, bytes] : files) {
        FolderList folders;
        const DWORD status = Load(bytes, folders);
        EXPECT_TRUE(status == 0 || status == 1006) << name << ": " << status;
        ExpectSane(folders, name);
        if (name.rfind("cut at", 0) == 0 || name.rfind("random bytes", 0) == 0 || name == "empty" ||
            name == "not XML" || name == "declaration only") {
            EXPECT_EQ(status, 1006u) << name << " is not a well-formed document";
        }
        // What is too large for the DOM is refused as a whole.
        if (status == 0 && name.rfind("comment of", 0) == 0) {
            ASSERT_EQ(folders.size(), 2u);
            EXPECT_EQ(*folders[1]->path, L"after");
        }
        if (name == "comment of 4 MB" || name == "nesting 100") {
            EXPECT_EQ(status, 0u) << name;
        }
        if (name == "nesting 100") {
            ASSERT_EQ(folders.size(), 2u);
            EXPECT_EQ(folders[1]->actions.size(), 1u);
        }
    }
    std::printf("%zu files, slowest load: %lld ms\n", files.size(),
                static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(slowest).count()));
}

} // namespace
} // namespace krn::test
