// The settings accessor against a real (scratch) registry and real controls.
#include "settings/RegistrySettings.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;
using acl::RegistrySettings;

constexpr wchar_t kKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";
constexpr wchar_t kSubkey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings\\AddToLog";

std::string Utf16(const std::wstring& text, bool terminated = true)
{
    return std::string(reinterpret_cast<const char*>(text.c_str()), (text.size() + terminated) * sizeof(wchar_t));
}

std::string Stored(const wchar_t* key, const wchar_t* name, DWORD* type = nullptr)
{
    DWORD ignored = 0;
    std::string data;
    return ReadRegValue(key, name, type ? type : &ignored, &data) ? data : "<missing>";
}

class RegistrySettingsTest : public ScratchTest {
protected:
    RegistrySettingsTest()
    {
        parent = CreateWindowExW(0, L"Static", L"", WS_POPUP, 0, 0, 300, 200, nullptr, nullptr, nullptr, nullptr);
        check = Child(L"Button", BS_AUTOCHECKBOX);
        edit = Child(L"Edit", ES_AUTOHSCROLL);
        combo = Child(L"ComboBox", CBS_DROPDOWN);
        for (const wchar_t* item : {L"B", L"KB", L"MB"})
            SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(item));
    }
    ~RegistrySettingsTest() override { DestroyWindow(parent); }
    HWND Child(const wchar_t* cls, DWORD style)
    {
        return CreateWindowExW(0, cls, L"", WS_CHILD | style, 0, 0, 200, 100, parent, nullptr, nullptr, nullptr);
    }
    LRESULT Checked() const { return SendMessageW(check, BM_GETCHECK, 0, 0); }
    LRESULT Selected() const { return SendMessageW(combo, CB_GETCURSEL, 0, 0); }

    HWND parent, check, edit, combo;
};

TEST_F(RegistrySettingsTest, CheckBoxIsStoredAsEightBytesUnderTheDwordTag)
{
    RegistrySettings settings;
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_WRITE), 0u);
    SendMessageW(check, BM_SETCHECK, BST_CHECKED, 0);
    ASSERT_EQ(settings.SaveCheck(check, L"DisableAlertOnStartup"), 0u);
    DWORD type = 0;
    EXPECT_EQ(Stored(kKey, L"DisableAlertOnStartup", &type), std::string("\1\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
}

TEST_F(RegistrySettingsTest, LoadCheckReadsUpToEightBytesOfAnyType)
{
    const struct {
        const char* what;
        DWORD type;
        std::string data;  // empty: no value
        LRESULT expected;
    } cases[] = {
        {"4-byte DWORD from another tool", REG_DWORD, std::string("\1\0\0\0", 4), BST_CHECKED},
        {"8 bytes as written", REG_DWORD, std::string("\1\0\0\0\0\0\0\0", 8), BST_CHECKED},
        {"more than 8 bytes does not read", REG_DWORD, std::string("\1\0\0\0\0\0\0\0\0\0\0\0", 12), BST_UNCHECKED},
        {"2-byte binary", REG_BINARY, std::string("\1\0", 2), BST_CHECKED},
        {"missing", REG_DWORD, "", BST_UNCHECKED},
    };
    for (const auto& c : cases) {
        RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
        if (!c.data.empty())
            WriteRegBinary(kKey, L"DisableAlertOnStartup", c.type, c.data.data(), static_cast<DWORD>(c.data.size()));
        // Start from the opposite state so that "left alone" cannot pass.
        SendMessageW(check, BM_SETCHECK, c.expected == BST_CHECKED ? BST_UNCHECKED : BST_CHECKED, 0);
        RegistrySettings settings;
        EXPECT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_READ), 0u) << c.what;
        EXPECT_EQ(settings.LoadCheck(check, L"DisableAlertOnStartup"), 0u) << c.what;
        EXPECT_EQ(Checked(), c.expected) << c.what;
    }
    HKEY created = nullptr;
    RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
    RegistrySettings().Open(HKEY_CURRENT_USER, kKey, KEY_READ);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &created), ERROR_SUCCESS) << "opening creates";
    RegCloseKey(created);
}

TEST_F(RegistrySettingsTest, TextRoundTripsAndAnExistingValueWinsEvenWhenEmpty)
{
    const struct {
        const char* what;
        const char* stored;  // null: no value
        size_t size;
        const wchar_t* defaultText;
        std::wstring expected;
    } cases[] = {
        {"absent: the default", nullptr, 0, L"C:\\default.log", L"C:\\default.log"},
        {"absent, no default", nullptr, 0, nullptr, L""},
        {"present but empty", "\0\0", 2, L"C:\\default.log", L""},
        {"stored without terminator", "a\0b\0c\0", 6, nullptr, L"abc"},
        {"odd byte count", "x\0y\0z", 5, nullptr, L"xyz"},
    };
    for (const auto& c : cases) {
        RegDeleteTreeW(HKEY_CURRENT_USER, kSubkey);
        if (c.stored)
            WriteRegBinary(kSubkey, L"LogFile", REG_SZ, c.stored, static_cast<DWORD>(c.size));
        SetWindowTextW(edit, L"previous");
        RegistrySettings settings;
        settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_READ);
        EXPECT_EQ(settings.LoadText(edit, L"LogFile", c.defaultText), 0u) << c.what;
        EXPECT_EQ(WindowText(edit), c.expected) << c.what;
    }
    RegistrySettings settings;
    settings.Open(HKEY_CURRENT_USER, kKey, KEY_WRITE);
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_WRITE), 0u);  // the settings key is closed again
    SetWindowTextW(edit, L"C:\\Users\\me\\kestrune.log");
    ASSERT_EQ(settings.SaveText(edit, L"LogFile"), 0u);
    EXPECT_EQ(Stored(kSubkey, L"LogFile"), Utf16(L"C:\\Users\\me\\kestrune.log"));
    EXPECT_EQ(Stored(kKey, L"LogFile"), "<missing>");

    // A value the primary key lacks is read from the fallback key.
    WriteRegString(L"SOFTWARE\\Norlath\\Machine", L"Path", L"from fallback");
    settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_READ);
    ASSERT_EQ(settings.OpenFallback(L"SOFTWARE\\Norlath\\Machine", KEY_READ), 0u);
    settings.LoadText(edit, L"Path", L"default");
    EXPECT_EQ(WindowText(edit), L"from fallback");
    settings.LoadText(edit, L"LogFile", L"default");
    EXPECT_EQ(WindowText(edit), L"C:\\Users\\me\\kestrune.log") << "the primary key first";
}

TEST_F(RegistrySettingsTest, WritersAfterAFailedOpenReturnNotFoundAndWriteNothing)
{
    RegistrySettings settings;
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_WRITE), 0u);
    const std::wstring tooLong = std::wstring(kKey) + L"\\" + std::wstring(300, L'k');
    ASSERT_NE(settings.Open(HKEY_CURRENT_USER, tooLong.c_str(), KEY_WRITE), 0u);
    const DWORD one = 1;
    EXPECT_EQ(settings.SaveCheck(check, L"A"), 1168u);
    EXPECT_EQ(settings.SaveText(edit, L"B"), 1168u);
    EXPECT_EQ(settings.SaveComboIndex(combo, L"C"), 1168u);
    EXPECT_EQ(settings.SaveComboText(combo, L"D"), 1168u);
    EXPECT_EQ(settings.SetValue(L"E", REG_DWORD, &one, sizeof one), 1168u);
    for (const wchar_t* name : {L"A", L"B", L"C", L"D", L"E"})
        EXPECT_EQ(Stored(kKey, name), "<missing>");
    SendMessageW(check, BM_SETCHECK, BST_CHECKED, 0);
    settings.LoadCheck(check, L"A");
    EXPECT_EQ(Checked(), BST_UNCHECKED) << "loaders leave controls at their defaults";
}

TEST_F(RegistrySettingsTest, ComboBoxIndexAndText)
{
    RegistrySettings settings;
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_ALL_ACCESS), 0u);
    SendMessageW(combo, CB_SETCURSEL, 2, 0);
    ASSERT_EQ(settings.SaveComboIndex(combo, L"Index"), 0u);
    int index = -5;
    EXPECT_FALSE(settings.LoadComboIndex(combo, L"Index", 1, &index));
    EXPECT_EQ(index, 2);
    EXPECT_FALSE(settings.LoadComboIndex(combo, L"Missing", 1, &index));
    EXPECT_EQ(Selected(), 1);
    WriteRegDword(kKey, L"Far", 40);
    EXPECT_TRUE(settings.LoadComboIndex(combo, L"Far", 0)) << "CB_SETCURSEL answered CB_ERR";

    SetWindowTextW(combo, L"GB");
    ASSERT_EQ(settings.SaveComboText(combo, L"Text"), 0u);
    DWORD type = 0;
    EXPECT_EQ(Stored(kKey, L"Text", &type), Utf16(L"GB"));
    EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD)) << "the combo text keeps its DWORD tag";
    WriteRegString(kKey, L"Known", L"MB");
    EXPECT_EQ(settings.LoadComboText(combo, L"Known", false, nullptr), 0u);
    EXPECT_EQ(Selected(), 2);
    SetWindowTextW(combo, L"");
    EXPECT_EQ(settings.LoadComboText(combo, L"Text", false, nullptr), 0u);
    EXPECT_EQ(WindowText(combo), L"GB") << "not listed, flag clear: typed in";
    EXPECT_EQ(settings.LoadComboText(combo, L"Text", true, nullptr), 0u);
    EXPECT_EQ(Selected(), 3) << "not listed, flag set: added and selected";
    EXPECT_EQ(settings.LoadComboText(combo, L"Missing", true, nullptr), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(Selected(), CB_ERR);
    EXPECT_EQ(settings.LoadComboText(combo, L"Missing", false, L"KB"), 0u);
    EXPECT_EQ(Selected(), 1);
}

} // namespace
