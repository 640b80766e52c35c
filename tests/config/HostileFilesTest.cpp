// Files that are anything but what the program writes. Generated documents are
// trees built from fixed seeds, so the test works out from the tree what each
// must load as; garbage, truncations and monsters only have to end in an
// allowed status, adding nothing when refused.
#include <cmath>
#include <map>
#include <random>

#include "tests/config/ConfigFixture.h"

namespace krn::test {
namespace {

struct Node {
    std::wstring name;  // "#text" is a text node
    std::map<std::wstring, std::wstring> attributes;
    std::vector<Node> children;

    std::wstring Get(const wchar_t* key, const wchar_t* absent = L"") const
    {
        const auto it = attributes.find(key);
        return it == attributes.end() ? absent : it->second;
    }
    const Node* Child(const wchar_t* childName) const
    {
        for (const Node& child : children)
            if (child.name == childName)
                return &child;
        return nullptr;
    }
};

void Write(const Node& node, std::wstring& out)
{
    const auto escape = [](const std::wstring& text) {
        std::wstring escaped;
        for (wchar_t c : text)
            escaped += c == L'&' ? L"&amp;" : c == L'<' ? L"&lt;" : c == L'"' ? L"&quot;" : c == L'\t' ? L"&#9;"
                     : c == L'\n' ? L"&#10;" : c == L'\r' ? L"&#13;" : std::wstring(1, c);
        return escaped;
    };
    if (node.name == L"#text")
        return void(out += L" text ");
    out += L"<" + node.name;
    for (const auto& [key, value] : node.attributes)
        out += L" " + key + L"=\"" + escape(value) + L"\"";
    out += L">";
    for (const Node& child : node.children)
        Write(child, out);
    out += L"</" + node.name + L">";
}

std::string Utf8(const Node& root)
{
    std::wstring text = L"<?xml version=\"1.0\" encoding=\"utf-8\"?>";
    Write(root, text);
    std::string out(text.size() * 3, '\0');
    out.resize(WideCharToMultiByte(CP_UTF8, 0, text.data(), int(text.size()), out.data(), int(out.size()), nullptr, nullptr));
    return out;
}

const std::map<std::wstring, double> kValues = {
    {L"1.5", 1.5}, {L"  2", 2}, {L"\t3", 3}, {L"NaN", 0}, {L"inf", 0}, {L"1e400", HUGE_VAL}, {L"-1e400", -HUGE_VAL},
    {L"1e-400", 0}, {L"", 0}, {L"0x1A", 0}, {L"12abc", 12}, {L"1.5.5", 1.5}, {L"+7", 7}, {L".5", .5}, {L"1e+", 1},
    {L"1,5", 1}, {L"- 1", 0}, {L"2.5E2", 250}, {std::wstring(400, L'9'), HUGE_VAL}, {L"0.1", 0.1},
};
const std::wstring kUnits[] = {L"B", L"KB", L"MB", L"GB", L"TB", L"kb", L"PB", L"", L" KB"};
const std::wstring kTexts[] = {L"C:\\Data", L"", L"Ünïcödé ™ 𝄞", L"<&>\"'", L"tab\there\r\nline", L"  "};
const std::wstring kActions[] = {L"MsgBox", L"AddToLog", L"Run", L"Run", L"Beep", L"msgbox", L"#text"};
const std::wstring kVersions[] = {L"1.3", L"1.3", L"1.3", L"1.2", L"1.30", L"", L" 1.3"};

class Generator {
public:
    explicit Generator(unsigned seed) : rng_(seed) {}

    Node Document()
    {
        Node settings{L"Settings"}, folders{L"Folders"}, deep{L"Deep"};
        if (Chance(95))
            settings.children.push_back(Maybe(Node{L"ConfigVersion"}, L"Version", 85, Any(kVersions)));
        for (int i = Pick(0, 6); i > 0; --i)
            folders.children.push_back(Folder(0));
        for (Node* at = &deep; Chance(80); at = &at->children.back())
            at->children.push_back(Chance(20) ? Folder(0) : Node{L"Level"});  // found at any depth
        return Node{Chance(95) ? L"Configuration" : L"Config", {}, {settings, deep, folders}};
    }

private:
    bool Chance(int percent) { return Pick(0, 99) < percent; }
    int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(rng_); }
    template <typename T, std::size_t N>
    const T& Any(const T (&items)[N]) { return items[Pick(0, int(N) - 1)]; }
    Node Maybe(Node node, const wchar_t* key, int percent, const std::wstring& value)
    {
        if (Chance(percent))
            node.attributes[key] = value;
        return node;
    }

    Node Folder(int depth)
    {
        Node folder = Maybe(Node{L"Folder"}, L"Path", 96, Chance(5) ? std::wstring(10000, L'p') : Any(kTexts));
        for (const wchar_t* name : {L"Min", L"Max", L"min", L"Min"}) {
            if (Chance(name == std::wstring(L"min") ? 10 : 40)) {
                const Node limit = Maybe(Maybe(Node{name}, L"Value", 85, std::next(kValues.begin(), Pick(0, 19))->first),
                                         L"Units", 85, Any(kUnits));
                folder.children.push_back(Maybe(limit, L"Msg", 70, Any(kTexts)));
            }
        }
        Node actions{L"Actions"};
        for (int i = Chance(2) ? 3000 : Pick(0, 6); i > 0; --i) {
            Node action = Maybe(Maybe(Node{Any(kActions)}, L"Path", 60, Any(kTexts)), L"Params", 50, Any(kTexts));
            if (depth < 2 && action.name != L"#text" && Chance(4))
                action.children.push_back(Folder(depth + 1));  // a Folder inside an action
            actions.children.push_back(action);
        }
        if (Chance(95))
            folder.children.insert(Chance(50) ? folder.children.begin() : folder.children.end(), actions);
        return folder;
    }

    std::mt19937 rng_;
};

// One line per folder, the same for what was loaded and what was worked out.
std::wstring Line(const std::wstring& path, std::uint32_t flags, const SizeLimit (&limits)[2],
                  const std::wstring& actions)
{
    std::wstring line = path.substr(0, 20) + std::to_wstring(path.size()) + L"|" + std::to_wstring(flags);
    for (const SizeLimit& limit : limits)
        line += L"|" + std::to_wstring(limit.value) + L" " + std::to_wstring(limit.units) + L" " + limit.msg.value_or(L"-");
    return line + actions + L"\n";
}

std::wstring Describe(const FolderList& folders)
{
    std::wstring text;
    for (const auto& entry : folders) {
        std::wstring actions;
        for (const ActionSlot& slot : entry->actions) {
            const auto* run = static_cast<const RunParams*>(slot.params);
            actions += L"|" + slot.kind->tag + (run ? L" " + run->path.value_or(L"-") + L" " + run->params.value_or(L"-") : L"");
        }
        text += Line(entry->path.value_or(L"-"), entry->flags, {entry->min, entry->max}, actions);
    }
    return text;
}

void Collect(const Node& node, std::vector<const Node*>& found)
{
    if (node.name == L"Folder" || node.name == L"ConfigVersion")
        found.push_back(&node);
    for (const Node& child : node.children)
        Collect(child, found);
}

SizeLimit Limit(const Node* node)
{
    SizeLimit limit;
    if (node) {
        limit.value = node->attributes.count(L"Value") ? kValues.at(node->Get(L"Value")) : 0.0;
        limit.units = std::uint16_t(std::find(kUnits, kUnits + 5, node->Get(L"Units", L"?")) - kUnits) % 5;
        limit.msg = node->Get(L"Msg");
    }
    return limit;
}

// The load worked out on the tree, after the entry that was there before;
// false when the file must be refused.
bool ExpectedLoad(const Node& root, std::wstring& text)
{
    std::vector<const Node*> found;
    Collect(root, found);
    const auto version = std::find_if(found.begin(), found.end(), [](const Node* n) { return n->name == L"ConfigVersion"; });
    if (version == found.end() || (*version)->Get(L"Version", L"1.3") != L"1.3")
        return false;
    text = Line(L"-", 0, {SizeLimit{}, SizeLimit{}}, L"");
    for (const Node* folder : found) {
        const Node* actions = folder->Child(L"Actions");
        if (folder->name != L"Folder")
            continue;
        if (!folder->attributes.count(L"Path") || !actions)
            break;
        std::wstring slots;
        for (const Node& action : actions->children) {
            if (action.name == L"MsgBox" || action.name == L"AddToLog")
                slots += L"|" + action.name;
            if (action.name == L"Run")
                slots += L"|Run " + action.Get(L"Path") + L" " + action.Get(L"Params");
        }
        const std::uint32_t flags = (folder->Child(L"Min") ? 1 : 0) | (folder->Child(L"Max") ? 2 : 0);
        text += Line(folder->Get(L"Path"), flags, {Limit(folder->Child(L"Min")), Limit(folder->Child(L"Max"))}, slots);
    }
    return true;
}

class HostileFiles : public ConfigTest {
protected:
    DWORD Load(const std::string& bytes, FolderList& folders)
    {
        folders.push_back(std::make_unique<FolderEntry>());
        const DWORD status = LoadText(bytes, folders);
        EXPECT_TRUE(status == 0 || folders.size() == 1) << "a refused file adds nothing";
        return status;
    }
};

TEST_F(HostileFiles, GeneratedDocumentsLoadExactlyAsTheFormatSays)
{
    int accepted = 0;
    for (unsigned seed = 1; seed <= 200; ++seed) {
        const Node root = Generator(seed).Document();
        std::wstring expected;
        const bool accept = ExpectedLoad(root, expected);
        FolderList folders;
        ASSERT_EQ(Load(Utf8(root), folders), accept ? 0u : 1006u) << "seed " << seed;
        if (accept) {
            ASSERT_EQ(Describe(folders), expected) << "seed " << seed;
        }
        accepted += accept;
    }
    EXPECT_GT(accepted, 100) << "most generated files should be acceptable";
}

TEST_F(HostileFiles, GarbageTruncationsAndMonstersEndInAnAllowedStatus)
{
    std::mt19937 rng(20240611);
    const auto pick = [&](std::size_t high) { return std::uniform_int_distribution<std::size_t>(0, high)(rng); };
    const std::string valid = Utf8(Generator(7).Document());
    std::string deep;
    for (int i = 0; i < 40000; ++i)
        deep += i < 20000 ? "<d>" : "</d>";
    std::vector<std::pair<std::string, DWORD>> files = {  // bytes, required status (0: either)
        {"", 1006}, {"not XML", 1006}, {"\xFF\xFE" + valid, 0}, {ConfigText("<Folder Path=\"\xC3\x28\xFF\"><Actions/></Folder>"), 0},
        {ConfigText("<Folder Path=\"a") + '\0' + "\"><Actions/></Folder>", 0},
        {ConfigText(deep.insert(60000, "<Folder Path=\"deep\"><Actions/></Folder>")), 0},
        {ConfigText("<!--" + std::string(12 << 20, 'x') + "--><Folder Path=\"after\"><Actions/></Folder>"), 0},
    };
    for (int i = 0; i < 50; ++i) {
        std::string bytes(pick(4000) + 1, '\0'), mutated = valid;
        for (char& c : bytes)
            c = static_cast<char>(pick(255));
        for (std::size_t flips = pick(7) + 1; flips > 0; --flips)
            mutated[pick(mutated.size() - 1)] = "<>/\"=&'! ax\0"[pick(11)];
        files.insert(files.end(), {{bytes, 1006}, {valid.substr(0, pick(valid.size() - 2)), 1006}, {mutated, 0}});
    }
    for (const auto& [bytes, required] : files) {
        FolderList folders;
        const DWORD status = Load(bytes, folders);
        EXPECT_TRUE(status == (required ? required : status) && (status == 0 || status == 1006))
            << status << " for " << bytes.substr(0, 60);
    }
}

} // namespace
} // namespace krn::test
