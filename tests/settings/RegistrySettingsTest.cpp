// The settings accessor against a real (scratch) registry and real controls.
#include "settings/RegistrySettings.h"
#include "settings/RegistryValues.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;
using acl::RegistrySettings;
namespace reg = krn::registry;

constexpr wchar_t kKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";
constexpr wchar_t kSubkey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings\\AddToLog";

// A hidden parent with the controls the accessor moves values into.
class Controls {
public:
    Controls()
    {
        parent_ = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 300, 200, nullptr, nullptr, nullptr, nullptr);
        check = Child(L"Button", BS_AUTOCHECKBOX);
        edit = Child(L"Edit", ES_AUTOHSCROLL);
        list = Child(L"ComboBox", CBS_DROPDOWNLIST);
        combo = Child(L"ComboBox", CBS_DROPDOWN);
        for (HWND box : {list, combo})
            for (const wchar_t* item : {L"B", L"KB", L"MB"})
                SendMessageW(box, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(item));
    }
    ~Controls() { DestroyWindow(parent_); }
    Controls(const Controls&) = delete;
    Controls& operator=(const Controls&) = delete;

    LRESULT Checked() const { return SendMessageW(check, BM_GETCHECK, 0, 0); }
    LRESULT Selected(HWND box) const { return SendMessageW(box, CB_GETCURSEL, 0, 0); }

    HWND check, edit, list, combo;

private:
    HWND Child(const wchar_t* cls, DWORD style)
    {
        return CreateWindowExW(0, cls, L"", WS_CHILD | WS_VISIBLE | style, 0, 0, 200, 100, parent_, nullptr, nullptr,
                               nullptr);
    }
    HWND parent_;
};

std::string Bytes(const void* data, size_t size)
{
    return std::string(static_cast<const char*>(data), size);
}

std::string Utf16(const std::wstring& text, bool terminated = true)
{
    return Bytes(text.c_str(), (text.size() + (terminated ? 1 : 0)) * sizeof(wchar_t));
}

struct Stored {
    DWORD type = 0;
    std::string data;
    bool exists = false;
};

Stored Read(const wchar_t* key, const wchar_t* name)
{
    Stored s;
    s.exists = ReadRegValue(key, name, &s.type, &s.data);
    return s;
}

class RegistrySettingsTest : public ScratchTest {
protected:
    Controls controls;
};

TEST_F(RegistrySettingsTest, OpenForReadingCreatesTheMissingKeyEmpty)
{
    RegistrySettings settings;
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_READ), 0u);
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key), ERROR_SUCCESS);
    DWORD values = 99;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                     nullptr);
    RegCloseKey(key);
    EXPECT_EQ(values, 0u);
}

TEST_F(RegistrySettingsTest, CheckBoxIsStoredAsEightBytesUnderTheDwordTag)
{
    RegistrySettings settings;
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_WRITE), 0u);
    SendMessageW(controls.check, BM_SETCHECK, BST_CHECKED, 0);
    ASSERT_EQ(settings.SaveCheck(controls.check, reg::kDisableAlertOnStartup.name), 0u);

    const Stored stored = Read(kKey, reg::kDisableAlertOnStartup.name);
    EXPECT_EQ(stored.type, reg::kDisableAlertOnStartup.type);
    const ULONGLONG one = 1;
    EXPECT_EQ(stored.data, Bytes(&one, sizeof one));
    EXPECT_EQ(stored.data.size(), reg::kDisableAlertOnStartup.size);

    SendMessageW(controls.check, BM_SETCHECK, BST_UNCHECKED, 0);
    RegistrySettings reader;
    ASSERT_EQ(reader.Open(HKEY_CURRENT_USER, kKey, KEY_READ), 0u);
    EXPECT_EQ(reader.LoadCheck(controls.check, reg::kDisableAlertOnStartup.name), 0u);
    EXPECT_EQ(controls.Checked(), BST_CHECKED);
}

TEST_F(RegistrySettingsTest, LoadCheckReadsUpToEightBytesOfAnyType)
{
    const unsigned char oneDword[4] = {1, 0, 0, 0};
    const unsigned char oneQword[8] = {1, 0, 0, 0, 0, 0, 0, 0};
    const unsigned char twelve[12] = {1};
    const unsigned char oneShort[2] = {1, 0};
    struct Case {
        const char* what;
        DWORD type;
        const void* data;
        DWORD size;  // 0: no value at all
        LRESULT expected;
    } cases[] = {
        {"4-byte DWORD from another tool", REG_DWORD, oneDword, 4, BST_CHECKED},
        {"8 bytes as written", REG_DWORD, oneQword, 8, BST_CHECKED},
        {"more than 8 bytes does not read", REG_DWORD, twelve, 12, BST_UNCHECKED},
        {"2-byte binary", REG_BINARY, oneShort, 2, BST_CHECKED},
        {"missing", REG_DWORD, nullptr, 0, BST_UNCHECKED},
    };
    for (const Case& c : cases) {
        RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
        if (c.size)
            WriteRegBinary(kKey, L"DisableAlertOnStartup", c.type, c.data, c.size);
        // Start from the opposite state so that "left alone" cannot pass.
        SendMessageW(controls.check, BM_SETCHECK, c.expected == BST_CHECKED ? BST_UNCHECKED : BST_CHECKED, 0);
        RegistrySettings settings;
        settings.Open(HKEY_CURRENT_USER, kKey, KEY_READ);
        EXPECT_EQ(settings.LoadCheck(controls.check, L"DisableAlertOnStartup"), 0u) << c.what;
        EXPECT_EQ(controls.Checked(), c.expected) << c.what;
    }
}

TEST_F(RegistrySettingsTest, LoadTextPrefersAnExistingValueEvenWhenEmpty)
{
    struct Case {
        const char* what;
        const std::string* stored;  // null: no value
        DWORD type;
        const wchar_t* defaultText;
        std::wstring expected;
    };
    const std::string empty = Utf16(L"");
    const std::string path = Utf16(L"D:\\logs\\watch.log");
    const std::string unterminated = Utf16(L"abc", false);
    const std::string oddSize = Utf16(L"xy", false) + "z";
    const Case cases[] = {
        {"absent: the default", nullptr, REG_SZ, L"C:\\default.log", L"C:\\default.log"},
        {"absent, no default: empty", nullptr, REG_SZ, nullptr, L""},
        {"present but empty wins", &empty, REG_SZ, L"C:\\default.log", L""},
        {"present", &path, REG_SZ, L"C:\\default.log", L"D:\\logs\\watch.log"},
        {"stored without terminator", &unterminated, REG_BINARY, nullptr, L"abc"},
        {"odd byte count", &oddSize, REG_BINARY, nullptr, std::wstring(L"xy") + wchar_t('z')},
    };
    for (const Case& c : cases) {
        RegDeleteTreeW(HKEY_CURRENT_USER, kSubkey);
        if (c.stored)
            WriteRegBinary(kSubkey, L"LogFile", c.type, c.stored->data(), static_cast<DWORD>(c.stored->size()));
        SetWindowTextW(controls.edit, L"previous");
        RegistrySettings settings;
        settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_READ);
        EXPECT_EQ(settings.LoadText(controls.edit, reg::kLogFile.name, c.defaultText), 0u) << c.what;
        EXPECT_EQ(WindowText(controls.edit), c.expected) << c.what;
    }
}

TEST_F(RegistrySettingsTest, SaveTextWritesTheTerminatedString)
{
    RegistrySettings settings;
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_WRITE), 0u);
    SetWindowTextW(controls.edit, L"C:\\Users\\me\\kestrune.log");
    ASSERT_EQ(settings.SaveText(controls.edit, L"LogFile"), 0u);
    const Stored stored = Read(kSubkey, L"LogFile");
    EXPECT_EQ(stored.type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(stored.data, Utf16(L"C:\\Users\\me\\kestrune.log"));

    SetWindowTextW(controls.edit, L"");
    ASSERT_EQ(settings.SaveText(controls.edit, L"LogFile"), 0u);
    EXPECT_EQ(Read(kSubkey, L"LogFile").data, Utf16(L""));
}

TEST_F(RegistrySettingsTest, ReopeningMovesWritesToTheNewKey)
{
    RegistrySettings settings;
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_WRITE), 0u);
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_WRITE), 0u);
    const DWORD value = 7;
    ASSERT_EQ(settings.SetValue(L"Probe", REG_DWORD, &value, sizeof value), 0u);
    EXPECT_TRUE(Read(kSubkey, L"Probe").exists);
    EXPECT_FALSE(Read(kKey, L"Probe").exists);
}

TEST_F(RegistrySettingsTest, WritersAfterAFailedOpenReturnNotFoundAndWriteNothing)
{
    RegistrySettings settings;
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_WRITE), 0u);
    // A key name longer than the registry allows: the open fails and the
    // previously open key is closed all the same.
    const std::wstring tooLong = std::wstring(kKey) + L"\\" + std::wstring(300, L'k');
    ASSERT_NE(settings.Open(HKEY_CURRENT_USER, tooLong.c_str(), KEY_WRITE), 0u);
    EXPECT_FALSE(settings.isOpen());

    SetWindowTextW(controls.edit, L"text");
    SendMessageW(controls.list, CB_SETCURSEL, 1, 0);
    const DWORD value = 1;
    EXPECT_EQ(settings.SaveCheck(controls.check, L"A"), 1168u);
    EXPECT_EQ(settings.SaveText(controls.edit, L"B"), 1168u);
    EXPECT_EQ(settings.SaveComboIndex(controls.list, L"C"), 1168u);
    EXPECT_EQ(settings.SaveComboText(controls.combo, L"D"), 1168u);
    EXPECT_EQ(settings.SetValue(L"E", REG_DWORD, &value, sizeof value), 1168u);

    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key), ERROR_SUCCESS);
    DWORD values = 99;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                     nullptr);
    RegCloseKey(key);
    EXPECT_EQ(values, 0u);

    // Loaders leave the controls at their defaults.
    SendMessageW(controls.check, BM_SETCHECK, BST_CHECKED, 0);
    EXPECT_EQ(settings.LoadCheck(controls.check, L"A"), 0u);
    EXPECT_EQ(controls.Checked(), BST_UNCHECKED);
    settings.LoadText(controls.edit, L"B", L"fallback text");
    EXPECT_EQ(WindowText(controls.edit), L"fallback text");
}

TEST_F(RegistrySettingsTest, ReadsFallBackToTheSecondKey)
{
    constexpr wchar_t kOther[] = L"SOFTWARE\\Norlath\\Machine";
    WriteRegString(kOther, L"LogFile", L"from fallback");
    WriteRegDword(kOther, L"Check", 1);
    WriteRegString(kKey, L"Both", L"primary");
    WriteRegString(kOther, L"Both", L"fallback");

    RegistrySettings settings;
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_READ), 0u);
    ASSERT_EQ(settings.OpenFallback(kOther, KEY_READ), 0u);
    settings.LoadText(controls.edit, L"LogFile", L"default");
    EXPECT_EQ(WindowText(controls.edit), L"from fallback");
    settings.LoadText(controls.edit, L"Both", L"default");
    EXPECT_EQ(WindowText(controls.edit), L"primary");
    settings.LoadCheck(controls.check, L"Check");
    EXPECT_EQ(controls.Checked(), BST_CHECKED);

    wchar_t buffer[32] = L"preset";
    DWORD size = sizeof buffer;
    EXPECT_EQ(settings.QueryValue(L"LogFile", 0, buffer, &size), 0u);
    EXPECT_STREQ(buffer, L"from fallback");
    size = sizeof buffer;
    EXPECT_EQ(settings.QueryValue(L"Nowhere", 0, buffer, &size), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST_F(RegistrySettingsTest, ComboIndexRoundTripsAndFallsBackToTheDefault)
{
    RegistrySettings settings;
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_ALL_ACCESS), 0u);
    SendMessageW(controls.list, CB_SETCURSEL, 2, 0);
    ASSERT_EQ(settings.SaveComboIndex(controls.list, L"Unit"), 0u);
    EXPECT_EQ(Read(kKey, L"Unit").data.size(), 8u);

    int index = -5;
    SendMessageW(controls.list, CB_SETCURSEL, 0, 0);
    EXPECT_FALSE(settings.LoadComboIndex(controls.list, L"Unit", 1, &index));
    EXPECT_EQ(index, 2);
    EXPECT_EQ(controls.Selected(controls.list), 2);

    EXPECT_FALSE(settings.LoadComboIndex(controls.list, L"Missing", 1, &index));
    EXPECT_EQ(index, 1);
    EXPECT_EQ(controls.Selected(controls.list), 1);

    // An index the box does not have: CB_SETCURSEL answers CB_ERR.
    WriteRegDword(kKey, L"Far", 40);
    EXPECT_TRUE(settings.LoadComboIndex(controls.list, L"Far", 0));
}

TEST_F(RegistrySettingsTest, ComboTextIsSelectedTypedOrAdded)
{
    RegistrySettings settings;
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_ALL_ACCESS), 0u);
    SetWindowTextW(controls.combo, L"GB");
    ASSERT_EQ(settings.SaveComboText(controls.combo, L"Text"), 0u);
    const Stored stored = Read(kKey, L"Text");
    EXPECT_EQ(stored.type, static_cast<DWORD>(REG_DWORD)) << "the combo text keeps its DWORD tag";
    EXPECT_EQ(stored.data, Utf16(L"GB"));

    WriteRegString(kKey, L"Known", L"MB");
    EXPECT_EQ(settings.LoadComboText(controls.combo, L"Known", false, nullptr), 0u);
    EXPECT_EQ(controls.Selected(controls.combo), 2);

    // Not in the list, flag clear: typed into the edit part.
    EXPECT_EQ(settings.LoadComboText(controls.combo, L"Text", false, nullptr), 0u);
    EXPECT_EQ(WindowText(controls.combo), L"GB");
    EXPECT_EQ(SendMessageW(controls.combo, CB_GETCOUNT, 0, 0), 3);

    // Not in the list, flag set: added and selected.
    EXPECT_EQ(settings.LoadComboText(controls.combo, L"Text", true, nullptr), 0u);
    EXPECT_EQ(SendMessageW(controls.combo, CB_GETCOUNT, 0, 0), 4);
    EXPECT_EQ(controls.Selected(controls.combo), 3);

    // Missing without a default: nothing selected, the read error returned.
    EXPECT_EQ(settings.LoadComboText(controls.combo, L"Missing", true, nullptr), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(controls.Selected(controls.combo), CB_ERR);
    // Missing with a default: the default is looked up.
    EXPECT_EQ(settings.LoadComboText(controls.combo, L"Missing", false, L"KB"), 0u);
    EXPECT_EQ(controls.Selected(controls.combo), 1);
}

} // namespace
