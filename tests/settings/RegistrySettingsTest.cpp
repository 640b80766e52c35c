// The settings accessor against a real (scratch) registry and real controls.
#include "settings/RegistrySettings.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace krn::test;

constexpr wchar_t kKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";
constexpr wchar_t kSubkey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings\\AddToLog";

std::string Stored(const wchar_t* key, const wchar_t* name, DWORD* type = nullptr)
{
    std::string data;
    return ReadRegValue(key, name, type, &data) ? data : "<missing>";
}

std::string Utf16(const std::wstring& text)
{
    return std::string(reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(wchar_t));
}

// The program never sets a fallback key; reaching the field is the only way to
// see the readers honour one.
struct SettingsWithFallback : acl::RegistrySettings {
    LSTATUS OpenFallback(const wchar_t* subkey)
    {
        return RegOpenKeyExW(HKEY_CURRENT_USER, subkey, 0, KEY_READ, fallback_.put());
    }
};

class RegistrySettingsTest : public ScratchTest {
protected:
    ~RegistrySettingsTest() override
    {
        for (HWND w : {check, edit, combo})
            DestroyWindow(w);
    }
    static HWND Make(const wchar_t* cls, DWORD style)
    {
        return CreateWindowExW(0, cls, L"", WS_POPUP | style, 0, 0, 200, 100, nullptr, nullptr, nullptr, nullptr);
    }
    LRESULT Checked() const { return SendMessageW(check, BM_GETCHECK, 0, 0); }
    LRESULT Selected() const { return SendMessageW(combo, CB_GETCURSEL, 0, 0); }

    HWND check = Make(L"Button", BS_AUTOCHECKBOX), edit = Make(L"Edit", 0), combo = Make(L"ComboBox", CBS_DROPDOWN);
    SettingsWithFallback settings;
};

TEST_F(RegistrySettingsTest, CheckBoxIsEightBytesUnderTheDwordTagAndLoadsFromUpToEight)
{
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_ALL_ACCESS), 0u);
    SendMessageW(check, BM_SETCHECK, BST_CHECKED, 0);
    ASSERT_EQ(settings.SaveCheck(check, L"DisableAlertOnStartup"), 0u);
    DWORD type = 0;
    EXPECT_EQ(Stored(kKey, L"DisableAlertOnStartup", &type), std::string("\1\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
    const struct {
        std::string data;  // empty: no value
        LRESULT expected;
    } cases[] = {{std::string("\1\0\0\0", 4), BST_CHECKED}, {std::string(12, '\1'), BST_UNCHECKED}, {"", BST_UNCHECKED}};
    for (const auto& c : cases) {
        RegDeleteKeyValueW(HKEY_CURRENT_USER, kKey, L"DisableAlertOnStartup");
        if (!c.data.empty())
            WriteRegBinary(kKey, L"DisableAlertOnStartup", REG_DWORD, c.data.data(), static_cast<DWORD>(c.data.size()));
        SendMessageW(check, BM_SETCHECK, c.expected == BST_CHECKED ? BST_UNCHECKED : BST_CHECKED, 0);
        EXPECT_EQ(settings.LoadCheck(check, L"DisableAlertOnStartup"), 0u);
        EXPECT_EQ(Checked(), c.expected) << c.data.size() << " bytes stored";
    }
}

TEST_F(RegistrySettingsTest, TextRoundTripsAndAnExistingValueWinsEvenWhenEmpty)
{
    RegDeleteTreeW(HKEY_CURRENT_USER, L"SOFTWARE\\Norlath");
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_READ), 0u);
    base::unique_hkey created;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kSubkey, 0, KEY_READ, created.put()), ERROR_SUCCESS) << "not created";
    const struct {
        std::string stored;  // "-": no value
        const wchar_t* defaultText;
        std::wstring expected;
    } cases[] = {
        {"-", L"C:\\default.log", L"C:\\default.log"},
        {"-", nullptr, L""},
        {std::string(2, '\0'), L"C:\\default.log", L""},
        {std::string("x\0y\0z", 5), nullptr, L"xyz"},  // odd size, no terminator
    };
    for (const auto& c : cases) {
        RegDeleteKeyValueW(HKEY_CURRENT_USER, kSubkey, L"LogFile");
        if (c.stored != "-")
            WriteRegBinary(kSubkey, L"LogFile", REG_SZ, c.stored.data(), static_cast<DWORD>(c.stored.size()));
        SetWindowTextW(edit, L"previous");
        EXPECT_EQ(settings.LoadText(edit, L"LogFile", c.defaultText), 0u);
        EXPECT_EQ(WindowText(edit), c.expected) << c.stored.size() << " bytes stored";
    }
    settings.Open(HKEY_CURRENT_USER, kKey, KEY_WRITE);
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_WRITE), 0u);  // the settings key is closed again
    SetWindowTextW(edit, L"C:\\Users\\me\\kestrune.log");
    ASSERT_EQ(settings.SaveText(edit, L"LogFile"), 0u);
    EXPECT_EQ(Stored(kSubkey, L"LogFile"), Utf16(L"C:\\Users\\me\\kestrune.log"));
    EXPECT_EQ(Stored(kKey, L"LogFile"), "<missing>");

    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_READ), 0u);
    WriteRegString(L"SOFTWARE\\Norlath\\Machine", L"Path", L"from fallback");
    WriteRegDword(L"SOFTWARE\\Norlath\\Machine", L"Box", 1);
    ASSERT_EQ(settings.OpenFallback(L"SOFTWARE\\Norlath\\Machine"), 0);
    settings.LoadText(edit, L"Path", L"default");
    EXPECT_EQ(WindowText(edit), L"from fallback");
    settings.LoadText(edit, L"LogFile", L"default");
    EXPECT_EQ(WindowText(edit), L"C:\\Users\\me\\kestrune.log") << "the primary key first";
    settings.LoadCheck(check, L"Box");
    EXPECT_EQ(Checked(), BST_CHECKED) << "the check box falls back too";
}

TEST_F(RegistrySettingsTest, WritersAfterAFailedOpenReturnNotFoundAndWriteNothing)
{
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_WRITE), 0u);
    ASSERT_NE(settings.Open(HKEY_CURRENT_USER, (std::wstring(kKey) + L"\\" + std::wstring(300, L'k')).c_str(), 0), 0u);
    const DWORD one = 1;
    EXPECT_EQ(settings.SaveCheck(check, L"A"), 1168u);
    EXPECT_EQ(settings.SaveText(edit, L"A"), 1168u);
    EXPECT_EQ(settings.SaveComboIndex(combo, L"A"), 1168u);
    EXPECT_EQ(settings.SaveComboText(combo, L"A"), 1168u);
    EXPECT_EQ(settings.SetValue(L"A", REG_DWORD, &one, sizeof one), 1168u);
    EXPECT_EQ(Stored(kKey, L"A"), "<missing>");
}

TEST_F(RegistrySettingsTest, ComboBoxIndexAndText)
{
    for (const wchar_t* item : {L"B", L"KB", L"MB"})
        SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(item));
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kKey, KEY_ALL_ACCESS), 0u);
    SendMessageW(combo, CB_SETCURSEL, 2, 0);
    ASSERT_EQ(settings.SaveComboIndex(combo, L"Index"), 0u);
    EXPECT_EQ(Stored(kKey, L"Index"), std::string("\2\0\0\0\0\0\0\0", 8));
    int index = -5;
    EXPECT_FALSE(settings.LoadComboIndex(combo, L"Missing", 1, &index));
    EXPECT_EQ(index, 1);
    EXPECT_FALSE(settings.LoadComboIndex(combo, L"Index", 1, &index));
    EXPECT_EQ(Selected(), 2);
    WriteRegDword(kKey, L"Far", 40);
    EXPECT_TRUE(settings.LoadComboIndex(combo, L"Far", 0)) << "CB_SETCURSEL answered CB_ERR";

    SetWindowTextW(combo, L"GB");
    ASSERT_EQ(settings.SaveComboText(combo, L"Text"), 0u);
    DWORD type = 0;
    EXPECT_EQ(Stored(kKey, L"Text", &type), Utf16(L"GB"));
    EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD)) << "the combo text keeps its DWORD tag";
    WriteRegString(kKey, L"Known", L"MB");
    const struct {
        const wchar_t* name;
        bool add;
        const wchar_t* defaultText;
        DWORD status;
        LRESULT selected;
        const wchar_t* text;
    } cases[] = {{L"Known", false, nullptr, 0, 2, L"MB"}, {L"Text", false, nullptr, 0, CB_ERR, L"GB"} /* typed in */,
                 {L"Text", true, nullptr, 0, 3, L"GB"} /* added */, {L"Missing", false, L"KB", 0, 1, L"KB"},
                 {L"Missing", true, nullptr, ERROR_FILE_NOT_FOUND, CB_ERR, L""}};
    for (const auto& c : cases) {
        SendMessageW(combo, CB_SETCURSEL, static_cast<WPARAM>(-1), 0);
        EXPECT_EQ(settings.LoadComboText(combo, c.name, c.add, c.defaultText), c.status) << c.name << c.add;
        EXPECT_EQ(Selected(), c.selected) << c.name << c.add;
        EXPECT_EQ(WindowText(combo), c.text) << c.name << c.add;
    }
}

} // namespace
