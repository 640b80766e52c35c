#include "settings/HelpLauncher.h"

#include "base/Handles.h"

#include <strsafe.h>

namespace krn {
namespace {

constexpr UINT kDisplayTopic = 0;  // HH_DISPLAY_TOPIC

using HtmlHelpWProc = HWND(WINAPI*)(HWND, const wchar_t*, UINT, DWORD_PTR);
using HtmlHelpAProc = HWND(WINAPI*)(HWND, const char*, UINT, DWORD_PTR);

const wchar_t* PageSuffix(HelpPage page)
{
    switch (page) {
    case HelpPage::Contents:
        return L"\\BrimwellPro.chm";
    case HelpPage::ManageFolders:
        return L"\\BrimwellPro.chm::/krn-managefolders.html";
    case HelpPage::RunApplication:
        return L"\\BrimwellPro.chm::/krn-run.html";
    case HelpPage::FolderOnly:
        break;
    }
    return L"";
}

} // namespace

HMODULE HelpEntry::LoadControl() const
{
    HMODULE module = nullptr;
    base::unique_hkey key;
    if (RegOpenKeyExA(HKEY_CLASSES_ROOT, classKeyPath_, 0, KEY_READ, key.put()) == ERROR_SUCCESS) {
        char path[MAX_PATH] = {};
        DWORD size = sizeof path - 1;
        if (RegQueryValueExA(key.get(), nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(path), &size) ==
            ERROR_SUCCESS)
            module = LoadLibraryA(path);
    }
    if (!module)
        module = LoadLibraryA(libraryName_);
    return module;
}

FARPROC HelpEntry::Resolve()
{
    if (failed_)
        return nullptr;
    if (!module_) {
        module_ = LoadControl();
        if (!module_) {
            failed_ = true;
            return nullptr;
        }
    }
    if (!entry_) {
        entry_ = GetProcAddress(module_, MAKEINTRESOURCEA(ordinal_));
        if (!entry_) {
            failed_ = true;
            return nullptr;
        }
    }
    return entry_;
}

HelpEntry& HelpLauncher::EntryW()
{
    static HelpEntry entry(kClassKeyPath, kControlName, kOrdinalW);
    return entry;
}

HelpEntry& HelpLauncher::EntryA()
{
    static HelpEntry entry(kClassKeyPath, kControlName, kOrdinalA);
    return entry;
}

HWND HelpLauncher::HtmlHelpW(HWND owner, const wchar_t* path, UINT command, DWORD_PTR data)
{
    auto entry = reinterpret_cast<HtmlHelpWProc>(EntryW().Resolve());
    return entry ? entry(owner, path, command, data) : nullptr;
}

HWND HelpLauncher::HtmlHelpA(HWND owner, const char* path, UINT command, DWORD_PTR data)
{
    auto entry = reinterpret_cast<HtmlHelpAProc>(EntryA().Resolve());
    return entry ? entry(owner, path, command, data) : nullptr;
}

void HelpLauncher::PagePath(HelpPage page, wchar_t (&path)[MAX_PATH])
{
    path[0] = L'\0';
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (wchar_t* slash = wcsrchr(path, L'\\'))
        *slash = L'\0';
    StringCchCatW(path, MAX_PATH, PageSuffix(page));
}

HWND HelpLauncher::ShowPage(HWND owner, HelpPage page)
{
    wchar_t path[MAX_PATH];
    PagePath(page, path);
    return HtmlHelpW(owner, path, kDisplayTopic, 0);
}

} // namespace krn
