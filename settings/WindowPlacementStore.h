// Keeps a window's position, size and show state between runs in a binary
// registry value, and pulls a window saved on a monitor that is gone back onto
// the present desktop.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace krn {

// The short form of the stored value: any length other than the full 44-byte
// WINDOWPLACEMENT is read as these three fields.
struct ShortPlacement {
    LONG x;
    LONG y;
    LONG showCmd;
};

class WindowPlacementStore {
public:
    WindowPlacementStore(const wchar_t* subkey, HKEY root);
    WindowPlacementStore(const WindowPlacementStore&) = delete;
    WindowPlacementStore& operator=(const WindowPlacementStore&) = delete;

    // 1 when a path was given, 0 when not (the path is then unset).
    int SetKey(const wchar_t* subkey, HKEY root);

    // Writes the window's placement as "WDP".
    DWORD SavePlacement(HWND window) const;
    // Reads `valueName` and applies it to the window, clamped onto the
    // virtual screen when `clamp` is set.
    DWORD RestorePlacement(HWND window, const wchar_t* valueName, bool clamp) const;
    // The same reading, copied out instead of applied: the full form fills all
    // of `placement`, the short form only its first three fields (x over
    // `length`, y over `flags`, showCmd over `showCmd`).
    DWORD ReadPlacement(WINDOWPLACEMENT* placement, const wchar_t* valueName, bool clamp) const;

private:
    struct Stored {
        WINDOWPLACEMENT full;
        DWORD size;
        bool isFull() const { return size == sizeof full; }
        ShortPlacement brief() const;
    };
    DWORD Read(const wchar_t* valueName, bool clamp, Stored* stored) const;

    std::optional<std::wstring> subkey_;
    HKEY root_ = nullptr;
};

} // namespace krn
