// The help file the build puts beside the program, and the help launcher with
// Wine's real HTML Help control. This test program is built into the
// program's folder, so the launcher finds the help file where the program does.
#include "base/Com.h"
#include "settings/HelpLauncher.h"
#include "support/Gui.h"

#include <objbase.h>

#include <gtest/gtest.h>

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
    EXPECT_NE(GetFileAttributesW((folder + L"\\KRN Properties.exe").c_str()), INVALID_FILE_ATTRIBUTES)
        << "this test runs from the program's folder";
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

} // namespace
