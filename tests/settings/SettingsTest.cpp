// The settings module: the stores against a real (scratch) registry and real
// windows (the window placement with the clamping onto the test display's
// virtual screen, and the settings accessor); the help file the build puts
// beside the program, and the help launcher with Wine's real HTML Help control. This test program is built into the
// program's folder, so the launcher finds the help file where the program does.
#include "base/Com.h"
#include "settings/HelpLauncher.h"
#include "settings/RegistrySettings.h"
#include "settings/WindowPlacementStore.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <objbase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

// The storage interface of the compiled help file system (itss.dll), as far
// as opening a file goes; the SDK headers do not declare it. COM objects are
// released, never deleted, hence no virtual destructor. It stays outside the
// anonymous namespace: GCC knows every class derived from a type declared
// there, finds no implementation of these functions, and compiles the calls
// into jumps to nowhere.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
struct IITStorage : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE StgCreateDocfile(const WCHAR*, DWORD, DWORD, IStorage**) = 0;
    virtual HRESULT STDMETHODCALLTYPE StgCreateDocfileOnILockBytes(ILockBytes*, DWORD, DWORD, IStorage**) = 0;
    virtual HRESULT STDMETHODCALLTYPE StgIsStorageFile(const WCHAR*) = 0;
    virtual HRESULT STDMETHODCALLTYPE StgIsStorageILockBytes(ILockBytes*) = 0;
    virtual HRESULT STDMETHODCALLTYPE StgOpenStorage(const WCHAR*, IStorage*, DWORD, SNB, DWORD, IStorage**) = 0;
};
#pragma GCC diagnostic pop

namespace {

using namespace krn::test;
using krn::HelpEntry;
using krn::HelpLauncher;
using krn::HelpPage;

constexpr CLSID kITStorage = {0x5d02926a, 0x212e, 0x11d0, {0x9d, 0xf9, 0x00, 0xa0, 0xc9, 0x22, 0xe6, 0xec}};
constexpr IID kIITStorage = {0x88cc31de, 0x27ab, 0x11d0, {0x9d, 0xf9, 0x00, 0xa0, 0xc9, 0x22, 0xe6, 0xec}};

// A file inside the help file, as text; empty when it is not there.
std::string ReadHelpFile(IStorage* help, const wchar_t* name)
{
    base::com_ptr<IStream> stream;
    std::string text;
    if (FAILED(help->OpenStream(name, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put())))
        return text;
    char buffer[4096];
    ULONG read = 0;
    while (SUCCEEDED(stream->Read(buffer, sizeof buffer, &read)) && read)
        text.append(buffer, read);
    return text;
}

// Each page the launcher opens is in the help file beside the program, with
// its title and an entry in the contents, and opens in the real viewer.
TEST(HelpLauncher, OpensEachPageOfTheRealHelpFileBesideTheProgram)
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring folder = std::wstring(program).substr(0, wcsrchr(program, L'\\') - program);
    const std::wstring file = folder + L"\\BrimwellPro.chm";
    base::com_ptr<IITStorage> storage;
    ASSERT_EQ(CoCreateInstance(kITStorage, nullptr, CLSCTX_INPROC_SERVER, kIITStorage, storage.put_void()),
              S_OK);
    base::com_ptr<IStorage> help;
    ASSERT_EQ(storage->StgOpenStorage(file.c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, help.put()),
              S_OK) << "no help file beside the program";
    const std::string contents = ReadHelpFile(help.get(), L"toc.hhc");
    const struct {
        HelpPage page;
        std::wstring name;  // empty: the file itself
        const char* title;
    } pages[] = {
        {HelpPage::ManageFolders, L"krn-managefolders.html", "<title>Managing folders</title>"},
        {HelpPage::RunApplication, L"krn-run.html", "<title>The Run application action</title>"},
        {HelpPage::Contents, L"", "<title>Kestrune Properties</title>"},
    };
    for (const auto& p : pages) {
        SCOPED_TRACE(p.title);
        wchar_t path[MAX_PATH];
        HelpLauncher::PagePath(p.page, path);
        EXPECT_EQ(path, p.name.empty() ? file : file + L"::/" + p.name);
        const std::wstring name = p.name.empty() ? L"index.html" : p.name;
        EXPECT_NE(ReadHelpFile(help.get(), name.c_str()).find(p.title), std::string::npos) << "page and title";
        EXPECT_NE(contents.find("value=\"" + std::string(name.begin(), name.end()) + "\""), std::string::npos);
        HWND viewer = HelpLauncher::ShowPage(nullptr, p.page);
        ASSERT_TRUE(viewer);
        EXPECT_EQ(ClassName(viewer), L"HH Parent");
    }
    const std::wstring missing = folder + L"\\NoSuchHelp.chm";
    EXPECT_EQ(HelpLauncher::HtmlHelpW(nullptr, missing.c_str(), 0, 0), nullptr);
    EXPECT_FALSE(HelpLauncher::EntryW().failed()) << "a missing file is not a missing control";
    HelpLauncher::HtmlHelpW(nullptr, nullptr, 0x12, 0);  // HH_CLOSE_ALL
    PumpUntil([] { return !FindWindowW(L"HH Parent", nullptr); }, 3000);
}

// The class key's path first, else the control on the search path; once
// loading or resolving failed, every request fails without trying again.
TEST(HelpEntry, LoadsFromTheClassKeyElseTheSearchPathAndFailsForGood)
{
    constexpr char kNoClass[] = "CLSID\\{00000000-0000-0000-0000-4B524E000001}\\InprocServer32";
    const struct {
        const char* classKey;
        const char* library;
        WORD ordinal;
        bool resolves;
    } cases[] = {
        {kNoClass, HelpLauncher::kControlName, HelpLauncher::kOrdinalW, true},
        {HelpLauncher::kClassKeyPath, "krn-no-such-control.ocx", HelpLauncher::kOrdinalA, true},
        {kNoClass, "krn-no-such-control.ocx", HelpLauncher::kOrdinalW, false},
        {HelpLauncher::kClassKeyPath, HelpLauncher::kControlName, 9999, false},
    };
    for (const auto& c : cases) {
        HelpEntry entry(c.classKey, c.library, c.ordinal);
        const FARPROC first = entry.Resolve();
        const FARPROC expected =
            c.resolves ? GetProcAddress(GetModuleHandleW(L"hhctrl.ocx"), MAKEINTRESOURCEA(c.ordinal)) : nullptr;
        for (FARPROC got : {first, entry.Resolve()}) {
            EXPECT_EQ(got, expected) << c.classKey << " " << c.library << " " << c.ordinal;
            EXPECT_EQ(entry.failed(), !c.resolves) << c.library << " " << c.ordinal;
        }
    }
}

constexpr wchar_t kKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";

std::string Text(const RECT& r)
{
    return "{" + std::to_string(r.left) + ", " + std::to_string(r.top) + ", " + std::to_string(r.right) + ", " +
           std::to_string(r.bottom) + "}";
}

class PlacementTest : public ScratchTest {
protected:
    PlacementTest()
    {
        window = CreateWindowExW(0, L"Static", L"placement", WS_OVERLAPPEDWINDOW, 100, 120, 400, 300, nullptr,
                                 nullptr, nullptr, nullptr);
        const LONG left = GetSystemMetrics(SM_XVIRTUALSCREEN), top = GetSystemMetrics(SM_YVIRTUALSCREEN);
        s = {left, top, left + GetSystemMetrics(SM_CXVIRTUALSCREEN), top + GetSystemMetrics(SM_CYVIRTUALSCREEN)};
    }
    ~PlacementTest() override { DestroyWindow(window); }
    RECT Rect() const
    {
        RECT rc{};
        GetWindowRect(window, &rc);
        return rc;
    }

    krn::WindowPlacementStore store{kKey, HKEY_CURRENT_USER};
    HWND window;
    RECT s;  // the virtual screen
};

// A stored placement restored on start and saved on close is ShellEndToEnd's.
TEST_F(PlacementTest, NoValueOrAnOversizedOneIsNotApplied)
{
    const RECT before = Rect();
    EXPECT_EQ(store.RestorePlacement(window, L"WDP", true), static_cast<DWORD>(ERROR_FILE_NOT_FOUND)) << "first run";
    const std::string fiveKb(5 * 1024, '\x7f');
    WriteRegBinary(kKey, L"WDP", REG_BINARY, fiveKb.data(), static_cast<DWORD>(fiveKb.size()));
    EXPECT_EQ(store.RestorePlacement(window, L"WDP", true), static_cast<DWORD>(ERROR_MORE_DATA));
    EXPECT_EQ(Text(Rect()), Text(before));
}

// The four steps in their order; the top and bottom ones write the other edge.
TEST_F(PlacementTest, FullFormIsClampedOntoTheVirtualScreen)
{
    const LONG w = 400, h = 300;
    const struct {
        const char* what;
        RECT stored, expected;
    } cases[] = {
        {"inside", {s.left + 10, s.top + 20, s.left + 10 + w, s.top + 20 + h},
         {s.left + 10, s.top + 20, s.left + 10 + w, s.top + 20 + h}},
        {"left of the screen", {s.left - 2000, s.top + 50, s.left - 2000 + w, s.top + 50 + h},
         {s.left, s.top + 50, s.left + w, s.top + 50 + h}},
        {"beyond the right edge", {s.right + 100, s.top + 50, s.right + 100 + w, s.top + 50 + h},
         {s.right - w, s.top + 50, s.right, s.top + 50 + h}},
        {"above: top = screen top + height, bottom kept", {s.left + 10, s.top - 100, s.left + 10 + w, s.top - 100 + h},
         {s.left + 10, s.top + h, s.left + 10 + w, s.top - 100 + h}},
        {"below: bottom = screen bottom - height, top kept",
         {s.left + 10, s.bottom + 50, s.left + 10 + w, s.bottom + 50 + h},
         {s.left + 10, s.bottom + 50, s.left + 10 + w, s.bottom - h}},
    };
    for (const auto& c : cases) {
        WINDOWPLACEMENT stored{sizeof stored, WPF_SETMINPOSITION, SW_SHOWMAXIMIZED, {-1, -1}, {-1, -1}, c.stored};
        WriteRegBinary(kKey, L"WDP", REG_BINARY, &stored, sizeof stored);
        WINDOWPLACEMENT read{};
        ASSERT_EQ(store.ReadPlacement(&read, L"WDP", true), 0u) << c.what;
        EXPECT_EQ(Text(read.rcNormalPosition), Text(c.expected)) << c.what;
        EXPECT_EQ(read.showCmd, static_cast<UINT>(SW_SHOWMAXIMIZED)) << c.what << ": the rest as stored";
        ASSERT_EQ(store.ReadPlacement(&read, L"WDP", false), 0u);
        EXPECT_EQ(Text(read.rcNormalPosition), Text(c.stored)) << c.what << ": clamping off";
    }
}

// Any other length: x, y and showCmd over the preset buffer (first field 44).
TEST_F(PlacementTest, ShortFormMovesWithoutResizingAndShows)
{
    const LONG beyond[3] = {s.right + 3000, s.bottom + 10, SW_SHOWNORMAL};
    const LONG before[3] = {s.left - 500, s.top - 700, SW_SHOWNORMAL};
    const struct {
        const char* what;
        std::string stored;
        LONG x, y;
        bool visible;
    } cases[] = {
        {"beyond right and bottom: half the far edge", std::string(reinterpret_cast<const char*>(beyond), 12),
         s.right / 2, s.bottom / 2, true},
        {"before left and top", std::string(reinterpret_cast<const char*>(before), 12), s.left, s.top, true},
        {"3 bytes: only x, its top byte from the preset; showCmd 0 hides", std::string("\x10\x00\x00", 3),
         std::max<LONG>(0x10, s.left), std::max<LONG>(0, s.top), false},
    };
    for (const auto& c : cases) {
        ShowWindow(window, c.visible ? SW_HIDE : SW_SHOW);
        WriteRegBinary(kKey, L"WDP", REG_BINARY, c.stored.data(), static_cast<DWORD>(c.stored.size()));
        ASSERT_EQ(store.RestorePlacement(window, L"WDP", true), 0u) << c.what;
        EXPECT_EQ(Text(Rect()), Text({c.x, c.y, c.x + 400, c.y + 300})) << c.what;
        EXPECT_EQ(IsWindowVisible(window) != FALSE, c.visible) << c.what;
    }
    WINDOWPLACEMENT read;
    std::memset(&read, 0xAB, sizeof read);
    ASSERT_EQ(store.ReadPlacement(&read, L"WDP", false), 0u);
    EXPECT_EQ(read.length, 0x10u);
    EXPECT_EQ(read.showCmd, 0u);
    EXPECT_EQ(read.rcNormalPosition.left, static_cast<LONG>(0xABABABAB)) << "the short form fills three fields";
}

constexpr wchar_t kSubkey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings\\AddToLog";

bool Stored(const wchar_t* key, const wchar_t* name) { return ReadRegValue(key, name, nullptr, nullptr); }

// The stored forms the Properties dialog writes are PropertiesDialogTest's;
// these are the ones other writers may leave.
class RegistrySettingsTest : public ScratchTest {};

TEST_F(RegistrySettingsTest, LoadsWhatOtherWritersLeftAndWritesOnlyTheOpenKey)
{
    const auto make = [](const wchar_t* cls, DWORD style) {
        return CreateWindowExW(0, cls, L"", WS_POPUP | style, 0, 0, 200, 100, nullptr, nullptr, nullptr, nullptr);
    };
    const HWND check = make(L"Button", BS_AUTOCHECKBOX), edit = make(L"Edit", 0);
    acl::RegistrySettings settings;
    RegDeleteTreeW(HKEY_CURRENT_USER, L"SOFTWARE\\Norlath");
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_READ), 0u);
    base::unique_hkey created;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kSubkey, 0, KEY_READ, created.put()), ERROR_SUCCESS) << "not created";
    const struct {
        std::string stored;  // "-": no value
        const wchar_t* defaultText;
        std::wstring expected;
    } cases[] = {
        {"-", L"C:\\default.log", L"C:\\default.log"},
        {"-", nullptr, L""},
        {std::string(2, '\0'), L"C:\\default.log", L""},
        {std::string("x\0y\0z", 5), nullptr, L"xyz"},  // odd size, no terminator
    };
    for (const auto& c : cases) {
        RegDeleteKeyValueW(HKEY_CURRENT_USER, kSubkey, L"LogFile");
        if (c.stored != "-")
            WriteRegBinary(kSubkey, L"LogFile", REG_SZ, c.stored.data(), static_cast<DWORD>(c.stored.size()));
        SetWindowTextW(edit, L"previous");
        EXPECT_EQ(settings.LoadText(edit, L"LogFile", c.defaultText), 0u);
        EXPECT_EQ(WindowText(edit), c.expected) << c.stored.size() << " bytes stored";
    }
    WriteRegBinary(kSubkey, L"Check", REG_DWORD, std::string(12, '\1').data(), 12);
    SendMessageW(check, BM_SETCHECK, BST_CHECKED, 0);
    EXPECT_EQ(settings.LoadCheck(check, L"Check"), 0u);
    EXPECT_EQ(SendMessageW(check, BM_GETCHECK, 0, 0), BST_UNCHECKED) << "more than eight bytes are no check";
    settings.Open(HKEY_CURRENT_USER, kKey, KEY_WRITE);
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_WRITE), 0u);
    RegDeleteKeyValueW(HKEY_CURRENT_USER, kSubkey, L"LogFile");
    SetWindowTextW(edit, L"C:\\Users\\me\\kestrune.log");
    ASSERT_EQ(settings.SaveText(edit, L"LogFile"), 0u);
    EXPECT_TRUE(Stored(kSubkey, L"LogFile"));
    EXPECT_FALSE(Stored(kKey, L"LogFile")) << "the settings key is closed again";
    ASSERT_NE(settings.Open(HKEY_CURRENT_USER, (std::wstring(kKey) + L"\\" + std::wstring(300, L'k')).c_str(), 0), 0u);
    EXPECT_EQ(settings.SaveText(edit, L"A"), 1168u) << "a failed open leaves no key to write to";
    EXPECT_FALSE(Stored(kSubkey, L"A"));
    DestroyWindow(check);
    DestroyWindow(edit);
}

} // namespace
