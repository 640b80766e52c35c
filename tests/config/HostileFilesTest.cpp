// Files that are anything but what the program writes. A generated document is
// written together with what it must load as; garbage, truncations and
// monsters only have to end in an allowed status.
#include <bit>
#include <cmath>
#include <random>

#include "tests/config/ConfigFixture.h"

namespace krn::test {
namespace {

const std::pair<std::wstring, double> kValues[] = {
    {L"1.5", 1.5}, {L"  2", 2}, {L"\t3", 3}, {L"NaN", 0}, {L"inf", 0}, {L"1e400", HUGE_VAL}, {L"-1e400", -HUGE_VAL},
    {L"1e-400", 0}, {L"", 0}, {L"0x1A", 0}, {L"12abc", 12}, {L"1.5.5", 1.5}, {L"+7", 7}, {L".5", .5}, {L"1e+", 1},
    {L"1,5", 1}, {L"- 1", 0}, {L"2.5E2", 250}, {std::wstring(400, L'9'), HUGE_VAL}, {L"0.30000000000000004", 0.1 + 0.2},
};
const std::wstring kUnits[] = {L"B", L"KB", L"MB", L"GB", L"TB", L"kb", L"PB", L"", L" KB"};
const std::wstring kTexts[] = {L"C:\\Data", L"", L"Ünïcödé ™ 𝄞", L"<&>\"'", L"tab\there\r\nline", L"  "};
const std::wstring kTags[] = {L"MsgBox", L"AddToLog", L"Run", L"Run", L"Beep", L"msgbox"};
const std::wstring kVersions[] = {L"1.3", L"1.3", L"1.3", L"1.3", L"1.3", L"1.2", L"1.30", L"", L" 1.3"};
const std::wstring kNoise[] = {L" text ", L"<!--Min-->", L"<?Min x?>", L"<?Actions x?>"};

std::wstring Limit(double value, std::size_t units, const OptionalText& msg)
{
    return L"|" + std::to_wstring(std::bit_cast<std::uint64_t>(value)) + L" " + std::to_wstring(units) + L" " + msg.value_or(L"-");
}

const std::wstring kFresh = L"-|0" + Limit(0, 0, std::nullopt) + Limit(0, 0, std::nullopt) + L"\n";

// One line per entry: path, flags, both limits, slots; the same for what was
// loaded and what was worked out.
std::wstring Describe(const FolderList& folders)
{
    std::wstring text;
    for (const auto& entry : folders) {
        const OptionalText& path = entry->path;
        text += (path ? path->substr(0, 20) + std::to_wstring(path->size()) : L"-") + L"|" + std::to_wstring(entry->flags) +
                Limit(entry->min.value, entry->min.units, entry->min.msg) + Limit(entry->max.value, entry->max.units, entry->max.msg);
        for (const ActionSlot& slot : entry->actions) {
            const auto* run = static_cast<const RunParams*>(slot.params);
            text += L"|" + slot.kind->tag + (run ? L" " + run->path.value_or(L"-") + L" " + run->params.value_or(L"-") : L"");
        }
        text += L"\n";
    }
    return text;
}

class Generator {
public:
    explicit Generator(unsigned seed) : rng_(seed) {}

    // The file; `expected` gets what a list holding one fresh entry holds
    // after loading it, or stays empty when the file must be refused.
    std::string Document(std::wstring& expected)
    {
        const std::wstring root = Chance(95) ? L"Configuration" : L"Config";
        xml_ = L"<?xml version=\"1.0\" encoding=\"utf-8\"?><" + root + L"><Settings>";
        for (xml_ += (Chance(95) ? Version() : L"") + L"</Settings><Folders>"; Chance(85);)
            Folder(0);
        xml_ += L"</Folders>" + (Chance(5) ? Version() : L"") + L"</" + root + L">";  // the first version counts
        for (auto line = lines_.begin(); firstVersionOk_.value_or(false) && line != lines_.end() && *line; ++line)
            expected += **line;
        expected = firstVersionOk_.value_or(false) ? kFresh + expected : L"";
        std::string out(xml_.size() * 3, '\0');
        out.resize(WideCharToMultiByte(CP_UTF8, 0, xml_.data(), int(xml_.size()), out.data(), int(out.size()), 0, 0));
        return out;
    }

private:
    bool Chance(std::size_t percent) { return Pick(99) < percent; }
    std::size_t Pick(std::size_t high) { return std::uniform_int_distribution<std::size_t>(0, high)(rng_); }
    template <typename T, std::size_t N>
    const T& Any(const T (&items)[N]) { return items[Pick(N - 1)]; }
    // The attribute when `present`, escaped.
    static std::wstring Attr(const wchar_t* key, const std::wstring& value, bool present)
    {
        std::wstring out = L" " + std::wstring(key) + L"=\"";
        for (wchar_t c : value)
            out += c == L'&' ? L"&amp;" : c == L'<' ? L"&lt;" : c == L'"' ? L"&quot;"
                 : c < L' ' ? L"&#" + std::to_wstring(c) + L";" : std::wstring(1, c);
        return present ? out + L"\"" : L"";
    }

    std::wstring Version()
    {
        const std::wstring& version = Any(kVersions);
        const bool present = Chance(85);
        firstVersionOk_ = firstVersionOk_.value_or(!present || version == L"1.3");
        return L"<ConfigVersion" + Attr(L"Version", version, present) + L"/>";
    }

    std::wstring LimitElement(const std::wstring& name)
    {
        const auto& [text, value] = Any(kValues);
        const std::wstring &units = Any(kUnits), &msg = Any(kTexts);
        const bool hasValue = Chance(85), hasUnits = Chance(85), hasMsg = Chance(70);
        xml_ += L"<" + name + Attr(L"Value", text, hasValue) + Attr(L"Units", units, hasUnits) + Attr(L"Msg", msg, hasMsg) + L"/>";
        const std::size_t unit = std::find(kUnits, kUnits + 5, units) - kUnits;
        return Limit(hasValue ? value : 0.0, hasUnits ? unit % 5 : 0, hasMsg ? msg : L"");
    }

    std::wstring Actions(int depth)
    {
        std::wstring slots;
        xml_ += L"<Actions>";
        for (int i = Chance(2) ? 3000 : int(Pick(6)); i > 0; --i) {
            const std::wstring &tag = Any(kTags), &path = Any(kTexts), &params = Any(kTexts);
            const bool hasPath = Chance(60), hasParams = Chance(50);
            xml_ += L"<" + tag + Attr(L"Path", path, hasPath) + Attr(L"Params", params, hasParams) + L">" + Any(kNoise);
            if (depth < 2 && Chance(4))
                Folder(depth + 1);  // found at any depth, a Run included
            xml_ += L"</" + tag + L">";
            if (tag == L"MsgBox" || tag == L"AddToLog" || tag == L"Run")
                slots += L"|" + tag + (tag == L"Run" ? L" " + (hasPath ? path : L"") + L" " + (hasParams ? params : L"") : L"");
        }
        xml_ += Any(kNoise) + L"</Actions>";
        return slots;
    }

    // Children in any order; only the first Min, Max and Actions count.
    void Folder(int depth)
    {
        const std::size_t at = lines_.size();
        lines_.emplace_back();
        const OptionalText path = Chance(96) ? OptionalText(Chance(5) ? std::wstring(10000, L'p') : Any(kTexts)) : std::nullopt;
        xml_ += L"<Folder" + Attr(L"Path", path.value_or(L""), path.has_value()) + L">";
        std::wstring limits[2] = {Limit(0, 0, std::nullopt), Limit(0, 0, std::nullopt)};
        std::optional<std::wstring> slots;
        std::uint32_t flags = 0;
        for (std::size_t i = Pick(4); i > 0 || (!slots && Chance(85)); i -= i > 0) {
            if (const std::size_t which = Pick(4); which < 2) {
                const std::wstring limit = LimitElement(which ? L"Max" : L"Min");
                limits[which] = flags & (1u << which) ? limits[which] : limit;
                flags |= 1u << which;
            } else if (which == 2) {
                Chance(50) ? void(LimitElement(L"min")) : void(xml_ += Any(kNoise));
            } else {
                const std::wstring read = Actions(depth);
                slots = slots.value_or(read);
            }
        }
        xml_ += L"</Folder>";
        if (path && slots)  // otherwise loading stops at this folder
            lines_[at] = (path->substr(0, 20) + std::to_wstring(path->size())) + L"|" + std::to_wstring(flags) +
                         limits[0] + limits[1] + *slots + L"\n";
    }

    std::mt19937 rng_;
    std::wstring xml_;
    std::optional<bool> firstVersionOk_;
    std::vector<std::optional<std::wstring>> lines_;  // per Folder in document order
};

// Each file loads into a list that holds one fresh entry; a refused file adds
// nothing. Beside each generated file, a copy cut short (always refused) and
// one with a few bytes changed (either way); then monsters.
TEST_F(ConfigTest, HostileFilesLoadExactlyAsTheFormatSaysOrAreRefused)
{
    const auto load = [&](const std::string& bytes, FolderList& folders) {
        folders.push_back(std::make_unique<FolderEntry>());
        const DWORD status = LoadText(bytes, folders);
        EXPECT_TRUE(status == 0 || (status == 1006 && folders.size() == 1)) << status << " for " << bytes.substr(0, 60);
        return status;
    };
    std::size_t accepted = 0, read = 0;
    for (unsigned seed = 1; seed <= 200; ++seed) {
        std::wstring expected;
        std::string bytes = Generator(seed).Document(expected);
        FolderList folders, cut, changed;
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
    EXPECT_GT(accepted, 100u) << "most generated files should be acceptable";
    EXPECT_GT(read, 300u) << "and most of their folders readable";
    std::string deep;
    for (int i = 0; i < 40000; ++i)
        deep += i < 20000 ? "<d>" : "</d>";
    for (const std::string& monster : {std::string(), std::string("not XML"), ConfigText(deep.insert(60000, "<Folder Path=\"deep\"><Actions/></Folder>")),
                                       ConfigText("<!--" + std::string(12 << 20, 'x') + "--><Folder Path=\"after\"><Actions/></Folder>")}) {
        FolderList folders;
        load(monster, folders);
    }
}

} // namespace
} // namespace krn::test
