// Moves per-user settings between one registry key and dialog controls.
// Objects are short-lived: open a key, move a few values, let it go.
#pragma once

#include "base/Handles.h"

#include <windows.h>

#include <string>

namespace acl {

class RegistrySettings {
public:
    RegistrySettings() = default;
    RegistrySettings(const RegistrySettings&) = delete;
    RegistrySettings& operator=(const RegistrySettings&) = delete;
    virtual ~RegistrySettings() = default;

    // Creates or opens `subkey` as the primary key. The key always goes under
    // HKEY_CURRENT_USER whatever `root` says; every caller passes that anyway.
    DWORD Open(HKEY root, const wchar_t* subkey, REGSAM access);

    DWORD QueryValue(const wchar_t* name, DWORD ignored, void* data, DWORD* size) const;
    DWORD SetValue(const wchar_t* name, DWORD type, const void* data, DWORD size);

    DWORD SaveCheck(HWND checkBox, const wchar_t* name);
    DWORD LoadCheck(HWND checkBox, const wchar_t* name) const;
    DWORD SaveText(HWND control, const wchar_t* name);
    DWORD LoadText(HWND control, const wchar_t* name, const wchar_t* defaultText) const;

    DWORD SaveComboIndex(HWND comboBox, const wchar_t* name);
    bool LoadComboIndex(HWND comboBox, const wchar_t* name, int defaultIndex, int* index = nullptr) const;
    DWORD SaveComboText(HWND control, const wchar_t* name);
    DWORD LoadComboText(HWND comboBox, const wchar_t* name, bool addIfMissing, const wchar_t* defaultText) const;

protected:
    // Writes go to the primary key; reads try it first, then the fallback key,
    // which Open never fills but the readers honour whenever it is set.
    base::unique_hkey primary_;
    base::unique_hkey fallback_;
    DWORD options_ = 0;

private:
    DWORD WriteWindowText(HWND control, const wchar_t* name, DWORD type);
    DWORD WritePointerSized(const wchar_t* name, LRESULT value);
    // Up to 8 bytes into a zeroed 64-bit number; 0 when read.
    DWORD ReadPointerSized(const wchar_t* name, ULONGLONG* value) const;
    // The value as a terminated string, or the default (empty when null) with
    // the read error when no key has it.
    DWORD ReadText(const wchar_t* name, const wchar_t* defaultText, std::wstring& text) const;
};

} // namespace acl
