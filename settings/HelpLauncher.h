// Opens pages of the help file beside the program through the HTML Help
// control. The control is not linked: it is found and loaded on the first
// request, so the program runs where it is missing and help then does nothing.
#pragma once

#include <windows.h>

namespace krn {

// One entry of the help control, loaded on first use: the control's path from
// its class registration, else the library name on the search path; the entry
// by ordinal. Once loading or resolving failed, every later request fails at
// once. The control is never unloaded.
class HelpEntry {
public:
    HelpEntry(const char* classKeyPath, const char* libraryName, WORD ordinal)
        : classKeyPath_(classKeyPath), libraryName_(libraryName), ordinal_(ordinal)
    {
    }
    HelpEntry(const HelpEntry&) = delete;
    HelpEntry& operator=(const HelpEntry&) = delete;

    // The entry's address, or null.
    FARPROC Resolve();
    bool failed() const { return failed_; }

private:
    HMODULE LoadControl() const;

    const char* classKeyPath_;
    const char* libraryName_;
    WORD ordinal_;
    HMODULE module_ = nullptr;  // deliberately never freed
    FARPROC entry_ = nullptr;
    bool failed_ = false;
};

enum class HelpPage {
    Contents,        // the help file itself
    ManageFolders,   // managing the folder list
    RunApplication,  // the "Run application" action
    FolderOnly,      // nothing appended: the bare program folder, as the main window passes for unknown topics
};

class HelpLauncher {
public:
    // The registered class of the HTML Help control and its file name.
    static constexpr char kClassKeyPath[] = "CLSID\\{ADB880A6-D8FF-11CF-9377-00AA003B7A11}\\InprocServer32";
    static constexpr char kControlName[] = "hhctrl.ocx";
    static constexpr WORD kOrdinalW = 15;
    static constexpr WORD kOrdinalA = 14;

    // The help viewer's window, or null. Commands: HH_DISPLAY_TOPIC is 0.
    static HWND HtmlHelpW(HWND owner, const wchar_t* path, UINT command, DWORD_PTR data);
    static HWND HtmlHelpA(HWND owner, const char* path, UINT command, DWORD_PTR data);
    // The path given to the control for `page`: the program's folder with the
    // page's path appended.
    static void PagePath(HelpPage page, wchar_t (&path)[MAX_PATH]);
    // Displays `page` of the help file beside the program.
    static HWND ShowPage(HWND owner, HelpPage page);

    static HelpEntry& EntryW();
    static HelpEntry& EntryA();
};

} // namespace krn
