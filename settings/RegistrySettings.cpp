#include "settings/RegistrySettings.h"

#include <cwchar>
#include <string>

namespace acl {
namespace {

// Asks `key` for the value's data; a null key fails like a closed handle.
DWORD Query(HKEY key, const wchar_t* name, void* data, DWORD* size)
{
    if (!key)
        return ERROR_INVALID_HANDLE;
    return static_cast<DWORD>(RegQueryValueExW(key, name, nullptr, nullptr, static_cast<BYTE*>(data), size));
}

} // namespace

DWORD RegistrySettings::Open(HKEY, const wchar_t* subkey, REGSAM access)
{
    primary_.reset();
    fallback_.reset();
    options_ = 0;
    return static_cast<DWORD>(RegCreateKeyExW(HKEY_CURRENT_USER, subkey, 0, nullptr, REG_OPTION_NON_VOLATILE, access,
                                              nullptr, primary_.put(), nullptr));
}

DWORD RegistrySettings::QueryValue(const wchar_t* name, DWORD, void* data, DWORD* size) const
{
    // Each key gets the caller's buffer size: a failed read may have changed it.
    const DWORD capacity = *size;
    DWORD status = Query(primary_.get(), name, data, size);
    if (status != ERROR_SUCCESS && fallback_) {
        *size = capacity;
        status = Query(fallback_.get(), name, data, size);
    }
    return status;
}

DWORD RegistrySettings::SetValue(const wchar_t* name, DWORD type, const void* data, DWORD size)
{
    if (!primary_)
        return ERROR_NOT_FOUND;
    return static_cast<DWORD>(RegSetValueExW(primary_.get(), name, 0, type, static_cast<const BYTE*>(data), size));
}

DWORD RegistrySettings::WritePointerSized(const wchar_t* name, LRESULT value)
{
    // The REG_DWORD tag with all 8 bytes is what the settings have always
    // held; the readers read 8 bytes back.
    const ULONGLONG stored = static_cast<ULONGLONG>(value);
    return SetValue(name, REG_DWORD, &stored, sizeof stored);
}

DWORD RegistrySettings::ReadPointerSized(const wchar_t* name, ULONGLONG* value) const
{
    *value = 0;
    DWORD size = sizeof *value;
    return QueryValue(name, 0, value, &size);
}

DWORD RegistrySettings::SaveCheck(HWND checkBox, const wchar_t* name)
{
    if (!primary_)
        return ERROR_NOT_FOUND;
    return WritePointerSized(name, SendMessageW(checkBox, BM_GETCHECK, 0, 0));
}

DWORD RegistrySettings::LoadCheck(HWND checkBox, const wchar_t* name) const
{
    ULONGLONG value = 0;
    if (ReadPointerSized(name, &value) != ERROR_SUCCESS)
        value = BST_UNCHECKED;
    SendMessageW(checkBox, BM_SETCHECK, static_cast<WPARAM>(value), 0);
    return ERROR_SUCCESS;
}

DWORD RegistrySettings::WriteWindowText(HWND control, const wchar_t* name, DWORD type)
{
    if (!primary_)
        return ERROR_NOT_FOUND;
    const size_t length = static_cast<size_t>(SendMessageW(control, WM_GETTEXTLENGTH, 0, 0));
    // Zeroed, terminator included: the stored value always ends.
    std::wstring text(length, L'\0');
    SendMessageW(control, WM_GETTEXT, length + 1, reinterpret_cast<LPARAM>(text.data()));
    return SetValue(name, type, text.c_str(), static_cast<DWORD>((length + 1) * sizeof(wchar_t)));
}

DWORD RegistrySettings::SaveText(HWND control, const wchar_t* name)
{
    return WriteWindowText(control, name, REG_SZ);
}

DWORD RegistrySettings::SaveComboText(HWND control, const wchar_t* name)
{
    // The combo text goes out under a REG_DWORD tag, as it always has.
    return WriteWindowText(control, name, REG_DWORD);
}

DWORD RegistrySettings::ReadText(const wchar_t* name, const wchar_t* defaultText, std::wstring& text) const
{
    DWORD size = 0;
    DWORD status = QueryValue(name, 0, nullptr, &size);
    if (status == ERROR_SUCCESS) {
        // Room for one character more than the value holds, zeroed: a stored
        // string without its terminator (or of an odd size) still ends.
        text.assign((size + 1) / sizeof(wchar_t), L'\0');
        DWORD read = size;
        status = QueryValue(name, 0, text.data(), &read);
        if (status == ERROR_SUCCESS) {
            text.resize(std::wcslen(text.c_str()));
            return status;
        }
    }
    // A value that exists wins over the default even when it is empty; only a
    // missing one falls back.
    text = defaultText ? defaultText : L"";
    return status;
}

DWORD RegistrySettings::LoadText(HWND control, const wchar_t* name, const wchar_t* defaultText) const
{
    std::wstring text;
    ReadText(name, defaultText, text);
    const LRESULT accepted = SendMessageW(control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
    return accepted == TRUE ? ERROR_SUCCESS : 1;
}

DWORD RegistrySettings::SaveComboIndex(HWND comboBox, const wchar_t* name)
{
    if (!primary_)
        return ERROR_NOT_FOUND;
    return WritePointerSized(name, SendMessageW(comboBox, CB_GETCURSEL, 0, 0));
}

bool RegistrySettings::LoadComboIndex(HWND comboBox, const wchar_t* name, int defaultIndex, int* index) const
{
    ULONGLONG value = 0;
    const int selected =
        ReadPointerSized(name, &value) == ERROR_SUCCESS ? static_cast<int>(static_cast<LONG_PTR>(value)) : defaultIndex;
    if (index)
        *index = selected;
    return SendMessageW(comboBox, CB_SETCURSEL, static_cast<WPARAM>(selected), 0) == CB_ERR;
}

DWORD RegistrySettings::LoadComboText(HWND comboBox, const wchar_t* name, bool addIfMissing,
                                      const wchar_t* defaultText) const
{
    std::wstring text;
    const DWORD status = ReadText(name, defaultText, text);
    if (status != ERROR_SUCCESS && !defaultText) {
        SendMessageW(comboBox, CB_SETCURSEL, static_cast<WPARAM>(-1), 0);
        return status;
    }
    const LPARAM textParam = reinterpret_cast<LPARAM>(text.c_str());
    const LRESULT found = SendMessageW(comboBox, CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1), textParam);
    if (found != CB_ERR) {
        SendMessageW(comboBox, CB_SETCURSEL, static_cast<WPARAM>(found), 0);
        return ERROR_SUCCESS;
    }
    if (!addIfMissing)
        return SendMessageW(comboBox, WM_SETTEXT, 0, textParam) == TRUE ? ERROR_SUCCESS : 1;
    const LRESULT added = SendMessageW(comboBox, CB_ADDSTRING, 0, textParam);
    if (added == CB_ERRSPACE)
        return ERROR_OUTOFMEMORY;
    if (added == CB_ERR)
        return 1;
    SendMessageW(comboBox, CB_SETCURSEL, static_cast<WPARAM>(added), 0);
    return ERROR_SUCCESS;
}

} // namespace acl
