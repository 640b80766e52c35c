// Every registry value the program reads or writes, in one place: key, name,
// type, stored size and what a reader assumes when the value is missing.
// Everything lives under HKEY_CURRENT_USER.
#pragma once

#include <windows.h>

namespace krn::registry {

inline constexpr wchar_t kSettingsKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";
inline constexpr wchar_t kAddToLogKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings\\AddToLog";
inline constexpr wchar_t kRunKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Run";

enum class WhenMissing {
    Number,               // `number` is used
    DefaultLogPath,       // the default log file in the documents folder
    KeepCreatedPlacement, // the main window stays where it was created
    NotRead,              // written on close, never read back
    NotStartingWatcher,   // no entry: the watcher does not start with Windows
};

struct Value {
    const wchar_t* key;
    const wchar_t* name;
    DWORD type;
    DWORD size;  // bytes stored; 0 for strings
    WhenMissing whenMissing;
    DWORD number;
};

// The check box is stored with the whole pointer-sized BM_GETCHECK result
// under a REG_DWORD tag; readers read 8 bytes.
inline constexpr Value kDisableAlertOnStartup{kSettingsKey, L"DisableAlertOnStartup", REG_DWORD, 8,
                                              WhenMissing::Number, 0};
inline constexpr Value kWindowPlacement{kSettingsKey, L"WDP", REG_BINARY, 44, WhenMissing::KeepCreatedPlacement, 0};
inline constexpr Value kColWidthFolder{kSettingsKey, L"ColWidth_Folder", REG_DWORD, 4, WhenMissing::Number, 100};
inline constexpr Value kColWidthMin{kSettingsKey, L"ColWidth_Min", REG_DWORD, 4, WhenMissing::Number, 70};
inline constexpr Value kColWidthMax{kSettingsKey, L"ColWidth_Max", REG_DWORD, 4, WhenMissing::Number, 70};
inline constexpr Value kColWidthSize{kSettingsKey, L"ColWidth_Size", REG_DWORD, 4, WhenMissing::Number, 80};
inline constexpr Value kColWidthAction{kSettingsKey, L"ColWidth_Action", REG_DWORD, 4, WhenMissing::Number, 60};
inline constexpr Value kColWidthPath{kSettingsKey, L"ColWidth_Path", REG_DWORD, 4, WhenMissing::Number, 150};
// The sort state is written on close but read back from ColWidth_Path, as the
// folder list always has.
inline constexpr Value kColSorting{kSettingsKey, L"ColSorting", REG_DWORD, 4, WhenMissing::NotRead, 0};
inline constexpr Value kColSortingMode{kSettingsKey, L"ColSortingMode", REG_DWORD, 4, WhenMissing::NotRead, 0};
inline constexpr Value kLogFile{kAddToLogKey, L"LogFile", REG_SZ, 0, WhenMissing::DefaultLogPath, 0};
inline constexpr Value kStartWithWindows{kRunKey, L"Kestrune", REG_SZ, 0, WhenMissing::NotStartingWatcher, 0};

} // namespace krn::registry
