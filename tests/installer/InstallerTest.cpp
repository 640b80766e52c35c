// The MSI as a user gets it: installed with `msiexec /i <msi> /qn` into a
// fresh Wine prefix of its own (the fixture `installer`, see CMakeLists.txt),
// then the installed files are used the way the shell and the system use
// them, and finally the product is removed with `msiexec /x`. These tests run
// in that prefix only, never in the build's.
#include "ChildProcess.h"
#include "Kestrune.h"
#include "base/Com.h"
#include "base/Handles.h"
#include "server/ServerModule.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <msi.h>
#include <shlobj.h>

#include <filesystem>
#include <string>

namespace {

using namespace krn::test;

constexpr wchar_t kVerbKey[] = L"Software\\Classes\\Directory\\shell\\KestruneMonitor";
constexpr wchar_t kRunKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Run";
constexpr wchar_t kLibId[] = L"{E6724B65-708E-40BB-AD31-A290CF219CF1}";
constexpr wchar_t kEngineInterface[] = L"{EF840B08-4F29-4DAA-9E3A-DB7D04083FCD}";
// widl names the proxy/stub DLL's class after the first interface.
constexpr const wchar_t* kProxyStubClass = kEngineInterface;
constexpr wchar_t kEngineClass[] = L"{D6636C89-54F2-4CDB-9167-FF4B71150B25}";
constexpr wchar_t kWatcherClass[] = L"{5465E9F0-DE3C-489D-A6B8-0A05EA3E56AB}";
constexpr wchar_t kWatcherInterface[] = L"{5C7477B8-DF30-490E-B249-D1FB1B0F69B8}";
constexpr wchar_t kEventSourceKey[] = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\Kestrune Watcher";
constexpr wchar_t kNextVersion[] = L"" KRN_NEXT_VERSION;  // of KRN_MSI_NEXT's programs
constexpr wchar_t kUpgradeCode[] = L"{A2E497BA-B83B-4B97-B94C-9345730D2691}";
constexpr DWORD kTimeout = 20000;

std::wstring KnownFolder(int csidl)
{
    wchar_t path[MAX_PATH] = {};
    SHGetFolderPathW(nullptr, csidl, nullptr, 0, path);
    return path;
}

std::wstring InstallDir() { return KnownFolder(CSIDL_PROGRAM_FILES) + L"\\Norlath\\Kestrune"; }
std::wstring Installed(const wchar_t* file) { return InstallDir() + L"\\" + file; }
// The installer puts the shortcut in ProgramMenuFolder. Windows resolves it
// to all users' programs for a per-machine install; Wine 8's msi always to the
// installing user's. Either one will do.
std::wstring ShortcutIn(int csidl) { return KnownFolder(csidl) + L"\\Kestrune Properties.lnk"; }
std::wstring ClassKey(const wchar_t* clsid) { return std::wstring(L"Software\\Classes\\CLSID\\") + clsid; }
std::wstring InterfaceKey(const wchar_t* iid) { return std::wstring(L"Software\\Classes\\Interface\\") + iid; }
std::wstring TypeLibKey() { return std::wstring(L"Software\\Classes\\TypeLib\\") + kLibId; }

bool Exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

// The image of the running process named `exe`; empty when none runs.
std::wstring RunningImage(const wchar_t* exe)
{
    for (const DWORD id : RunningCopies(exe)) {
        const base::unique_kernel_handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id));
        wchar_t image[MAX_PATH] = {};
        DWORD size = MAX_PATH;
        if (process && QueryFullProcessImageNameW(process.get(), 0, image, &size))
            return image;
    }
    return {};
}

// The registry rows no test below uses: the class and interface rows are used
// by activating the installed servers and calling them, the verb's command by
// running it. As (key, value name, data).
using RegistryRow = std::tuple<std::wstring, const wchar_t*, std::wstring>;
std::vector<RegistryRow> InstalledRows()
{
    const std::wstring watcher = Installed(L"KRN Watcher.exe");
    return {{kVerbKey, nullptr, L"Monitor folder size..."},
            {kEventSourceKey, L"EventMessageFile", watcher},
            {TypeLibKey() + L"\\1.0\\0\\win64", nullptr, watcher}};
}

const wchar_t* const kInstalledFiles[] = {L"KRN Properties.exe", L"KRN Watcher.exe", L"KRN Size Engine.exe",
                                          L"KrnProxyStub.dll", L"BrimwellPro.chm"};

// What the user made while the product was installed; uninstalling keeps it.
std::wstring UserConfig() { return KnownFolder(CSIDL_APPDATA) + L"\\Norlath\\Kestrune\\config.xml"; }
std::wstring UserLog() { return KnownFolder(CSIDL_PERSONAL) + L"\\NorlathKestrune.log"; }

// ---------------------------------------------------------------------------
// Installed: what msiexec /i left, and the product working from there.

TEST(Installed, FilesRowsAndShortcutNameTheInstalledProgram)
{
    for (const wchar_t* file : kInstalledFiles)
        EXPECT_TRUE(Exists(Installed(file))) << Installed(file);
    for (const auto& [key, name, data] : InstalledRows())
        EXPECT_EQ(ReadString(HKEY_LOCAL_MACHINE, key, name), data) << key;
    // Whichever programs folder holds the shortcut.
    const int csidl = Exists(ShortcutIn(CSIDL_PROGRAMS)) ? CSIDL_PROGRAMS : CSIDL_COMMON_PROGRAMS;
    base::com_ptr<IShellLinkW> link;
    ASSERT_EQ(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, link.put_void()),
              S_OK);
    base::com_ptr<IPersistFile> file;
    ASSERT_EQ(link->QueryInterface(IID_IPersistFile, file.put_void()), S_OK);
    ASSERT_EQ(file->Load(ShortcutIn(csidl).c_str(), STGM_READ), S_OK) << "no shortcut in either programs folder";
    wchar_t target[MAX_PATH] = {};
    EXPECT_EQ(link->GetPath(target, MAX_PATH, nullptr, 0), S_OK);
    EXPECT_EQ(std::wstring(target), Installed(L"KRN Properties.exe"));
}

// Explorer replaces %1 with the folder's path as it stands, blanks and all;
// the program takes the rest of its command line as the folder.
TEST(Installed, FolderVerbOpensOnlyTheFolderDialog)
{
    TempFolder temp;
    const std::wstring folder = temp / L"Folder With Spaces";
    std::filesystem::create_directories(folder);
    std::wstring command = ReadString(HKEY_LOCAL_MACHINE, std::wstring(kVerbKey) + L"\\command");
    const size_t placeholder = command.find(L"%1");
    ASSERT_NE(placeholder, std::wstring::npos) << command;
    command.replace(placeholder, 2, folder);

    ChildProcess program(command);
    ASSERT_TRUE(program.started()) << command;
    const HWND dialog = program.FindWindow(L"#32770", L"Folder properties", kTimeout);
    ASSERT_TRUE(dialog) << "no folder dialog for " << command;
    wchar_t shown[MAX_PATH] = {};
    SendDlgItemMessageW(dialog, 1006, WM_GETTEXT, MAX_PATH, reinterpret_cast<LPARAM>(shown));
    EXPECT_EQ(std::wstring(shown), folder);
    EXPECT_FALSE(program.FindWindow(nullptr, L"Kestrune™ Properties x64", 0)) << "the main window showed";
    PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    EXPECT_EQ(program.Wait(kTimeout), 0u);
}

// "Start with Windows" in the installed program's Properties dialog, then the
// Run value started the way the system starts it at log-on: as a command line,
// unquoted path and all.
class InstalledWatcher : public ::testing::Test {
protected:
    void TearDown() override
    {
        RegDeleteKeyValueW(HKEY_CURRENT_USER, kRunKey, L"Kestrune");
        StopWatcher(kTimeout);
        server::RequestEnd(CLSID_SizeEngine);
    }

    static void CheckStartWithWindows()
    {
        ChildProcess program(Installed(L"KRN Properties.exe"), L"");
        const HWND main = program.FindWindow(nullptr, L"Kestrune™ Properties x64", kTimeout);
        ASSERT_TRUE(main) << "the installed program showed no main window";
        PostMessageW(main, WM_COMMAND, 32775, 0);  // File, Properties ...
        const HWND properties = program.FindWindow(L"#32770", L"Properties", kTimeout);
        ASSERT_TRUE(properties) << "no Properties dialog";
        SendDlgItemMessageW(properties, 1004, BM_SETCHECK, BST_CHECKED, 0);
        PostMessageW(properties, WM_COMMAND, IDOK, 0);
        PumpUntil([&] { return !IsWindow(properties); }, kTimeout);
        PostMessageW(main, WM_COMMAND, IDCANCEL, 0);
        EXPECT_EQ(program.Wait(kTimeout), 2u);
    }
};

// The installed watcher and engine at work: the watcher started from the Run
// value watches a folder of config.xml grown past its maximum, asks the engine
// (activated through the installed rows) for its total, and writes the
// crossing to the default log in the documents folder.
TEST_F(InstalledWatcher, RunValueStartsTheWatcherAndACrossingIsLogged)
{
    ASSERT_FALSE(WatcherRunning());
    TempFolder temp;
    const std::wstring folder = temp / L"watched folder";
    std::filesystem::create_directories(folder);
    const std::string path(folder.begin(), folder.end());  // the scratch path is ASCII
    std::filesystem::create_directories(std::filesystem::path(UserConfig()).parent_path());
    WriteFileBytes(UserConfig(), "<?xml version=\"1.0\" encoding=\"utf-8\"?><Configuration><Settings><ConfigVersion "
                                 "Version=\"1.3\"/></Settings><Folders><Folder Path=\"" + path +
                                     "\"><Max Value=\"1\" Units=\"KB\" Msg=\"\"/><Actions><AddToLog/></Actions>"
                                     "</Folder></Folders></Configuration>");
    DeleteFileW(UserLog().c_str());
    ASSERT_NO_FATAL_FAILURE(CheckStartWithWindows());
    const std::wstring run = ReadString(HKEY_CURRENT_USER, kRunKey, L"Kestrune");
    ASSERT_EQ(run, Installed(L"KRN Watcher.exe"));
    ChildProcess watcher(run);
    ASSERT_TRUE(watcher.started()) << run;
    ASSERT_TRUE(PumpUntil(WatcherRunning, kTimeout)) << "no presence mutex";
    EXPECT_EQ(RunningImage(L"KRN Watcher.exe"), Installed(L"KRN Watcher.exe"));
    // Activated while it may still be starting: it serves at the first attempt.
    base::com_ptr<IWatcherControl> control;
    ASSERT_EQ(CreateWatcher(control), S_OK);

    WriteFileBytes(folder + L"\\grown.bin", std::string(2048, 'x'));
    const auto log = [] { return Exists(UserLog()) ? ReadFileBytes(UserLog()) : std::string(); };
    EXPECT_TRUE(PumpUntil([&] { return log().find("Maximum exceeded") != std::string::npos; }, 10000))
        << "no log line in " << UserLog();
    EXPECT_NE(log().find(path + "\tMaximum exceeded\tSize 2.00 KB"), std::string::npos) << log();
    EXPECT_EQ(RunningImage(L"KRN Size Engine.exe"), Installed(L"KRN Size Engine.exe"));
    EXPECT_EQ(control->Disable(), S_OK);
    EXPECT_EQ(watcher.Wait(kTimeout), 0u);
    EXPECT_FALSE(WatcherRunning());
    DeleteFileW(UserConfig().c_str());
    DeleteFileW(UserLog().c_str());
}

// ---------------------------------------------------------------------------
// Upgrade: the same code as the next version, installed over this one.

DWORD Msiexec(const std::wstring& arguments)
{
    ChildProcess msiexec(KnownFolder(CSIDL_SYSTEM) + L"\\msiexec.exe", arguments + L" /qn");
    return msiexec.started() ? msiexec.Wait(120000) : DWORD(-1);
}

// The products of this product's upgrade code: "Programs and Features" shows one each.
int ProductsInstalled()
{
    int count = 0;
    wchar_t product[39];
    while (MsiEnumRelatedProductsW(kUpgradeCode, 0, count, product) == ERROR_SUCCESS)
        ++count;
    return count;
}

std::wstring FileVersion(const std::wstring& file)
{
    std::string block(GetFileVersionInfoSizeW(file.c_str(), nullptr), '\0');
    VS_FIXEDFILEINFO* info = nullptr;
    UINT size = 0;
    if (block.empty() || !GetFileVersionInfoW(file.c_str(), 0, DWORD(block.size()), block.data()) ||
        !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &size))
        return L"<none>";
    return std::to_wstring(HIWORD(info->dwFileVersionMS)) + L"." + std::to_wstring(LOWORD(info->dwFileVersionMS)) +
           L"." + std::to_wstring(HIWORD(info->dwFileVersionLS));
}

// The user's config.xml, a program setting and "Start with Windows" are kept;
// the size engine and the watcher of the older version, running as the
// upgrade starts, are ended before their files are replaced; the older
// version cannot go back over the newer one.
TEST(Upgrade, ReplacesTheProductInPlaceAndKeepsTheUsersSettings)
{
    const std::string config = "<?xml version=\"1.0\"?><Configuration/>";
    std::filesystem::create_directories(std::filesystem::path(UserConfig()).parent_path());
    WriteFileBytes(UserConfig(), config);
    const std::wstring settings = L"Software\\Norlath\\Kestrune\\Settings\\AddToLog";
    RegSetKeyValueW(HKEY_CURRENT_USER, settings.c_str(), L"LogFile", REG_SZ, L"C:\\kept.log", 24);
    const std::wstring run = Installed(L"KRN Watcher.exe");
    RegSetKeyValueW(HKEY_CURRENT_USER, kRunKey, L"Kestrune", REG_SZ, run.c_str(), DWORD(run.size() + 1) * 2);
    ChildProcess watcher(run);
    ASSERT_TRUE(PumpUntil(WatcherRunning, kTimeout)) << "no watcher running before the upgrade";
    {
        base::com_ptr<ISizeEngine> engine;  // lingers after its release
        ASSERT_EQ(CoCreateInstance(CLSID_SizeEngine, nullptr, CLSCTX_LOCAL_SERVER, IID_ISizeEngine, engine.put_void()),
                  S_OK);
    }
    ASSERT_EQ(ProductsInstalled(), 1);

    ASSERT_EQ(Msiexec(L"/i \"" + WindowsPath(KRN_MSI_NEXT) + L"\""), 0u);
    EXPECT_EQ(ProductsInstalled(), 1);
    for (const wchar_t* file : {L"KRN Properties.exe", L"KRN Watcher.exe", L"KRN Size Engine.exe"})
        EXPECT_EQ(FileVersion(Installed(file)), kNextVersion) << file;
    EXPECT_EQ(RunningImage(L"KRN Watcher.exe"), L"");
    EXPECT_EQ(RunningImage(L"KRN Size Engine.exe"), L"");
    EXPECT_EQ(ReadFileBytes(UserConfig()), config);
    EXPECT_EQ(ReadString(HKEY_CURRENT_USER, settings, L"LogFile"), L"C:\\kept.log");
    EXPECT_EQ(ReadString(HKEY_CURRENT_USER, kRunKey, L"Kestrune"), run);
    for (const auto& [key, name, data] : InstalledRows())
        EXPECT_EQ(ReadString(HKEY_LOCAL_MACHINE, key, name), data) << key;
    base::com_ptr<ISizeEngine> engine;  // the class rows outlived the older version's removal
    EXPECT_EQ(CoCreateInstance(CLSID_SizeEngine, nullptr, CLSCTX_LOCAL_SERVER, IID_ISizeEngine, engine.put_void()),
              S_OK);

    EXPECT_NE(Msiexec(L"/i \"" + WindowsPath(KRN_MSI) + L"\""), 0u) << "the older version went over the newer";
    EXPECT_EQ(ProductsInstalled(), 1);
    EXPECT_EQ(FileVersion(Installed(L"KRN Watcher.exe")), kNextVersion);
}

// ---------------------------------------------------------------------------
// Uninstall: msiexec /x ends the running servers, removes everything of the
// product and the user's start of the watcher, and nothing of the user's data.

TEST(Uninstall, RemovesTheProductAndKeepsTheUsersFiles)
{
    std::filesystem::create_directories(std::filesystem::path(UserConfig()).parent_path());
    WriteFileBytes(UserConfig(), "<?xml version=\"1.0\"?><Configuration/>");
    WriteFileBytes(UserLog(), "a line of the user's log\r\n");
    const std::wstring run = Installed(L"KRN Watcher.exe");
    RegSetKeyValueW(HKEY_CURRENT_USER, kRunKey, L"Kestrune", REG_SZ, run.c_str(), DWORD(run.size() + 1) * 2);
    ChildProcess watcher(run);
    ASSERT_TRUE(PumpUntil(WatcherRunning, kTimeout)) << "no watcher running before the uninstall";

    ASSERT_EQ(Msiexec(L"/x \"" + WindowsPath(KRN_MSI_NEXT) + L"\""), 0u);
    EXPECT_EQ(ProductsInstalled(), 0);
    EXPECT_EQ(RunningImage(L"KRN Watcher.exe"), L"");
    EXPECT_EQ(ReadString(HKEY_CURRENT_USER, kRunKey, L"Kestrune"), L"<absent>");

    for (const wchar_t* file : kInstalledFiles)
        EXPECT_FALSE(Exists(Installed(file))) << Installed(file);
    EXPECT_FALSE(Exists(InstallDir())) << InstallDir();
    const std::wstring maker = KnownFolder(CSIDL_PROGRAM_FILES) + L"\\Norlath";
    EXPECT_FALSE(Exists(maker)) << maker << L" was made by the installer alone";
    for (const int csidl : {CSIDL_COMMON_PROGRAMS, CSIDL_PROGRAMS})
        EXPECT_FALSE(Exists(ShortcutIn(csidl))) << ShortcutIn(csidl);
    // The keys the installer owns as a whole: nothing of them may stay behind.
    for (const std::wstring& key : {ClassKey(kEngineClass), ClassKey(kWatcherClass), TypeLibKey(),
                                    InterfaceKey(kEngineInterface), InterfaceKey(kWatcherInterface),
                                    ClassKey(kProxyStubClass), std::wstring(kVerbKey), std::wstring(kEventSourceKey)}) {
        base::unique_hkey opened;
        EXPECT_NE(RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_READ | KEY_WOW64_64KEY, opened.put()),
                  ERROR_SUCCESS) << key;
    }
    EXPECT_TRUE(Exists(UserConfig())) << UserConfig();
    EXPECT_TRUE(Exists(UserLog())) << UserLog();
}

} // namespace
