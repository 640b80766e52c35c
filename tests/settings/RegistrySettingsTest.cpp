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

class RegistrySettingsTest : public ScratchTest {
protected:
    ~RegistrySettingsTest() override
    {
        for (HWND w : {check, edit})
            DestroyWindow(w);
    }
    static HWND Make(const wchar_t* cls, DWORD style)
    {
        return CreateWindowExW(0, cls, L"", WS_POPUP | style, 0, 0, 200, 100, nullptr, nullptr, nullptr, nullptr);
    }
    LRESULT Checked() const { return SendMessageW(check, BM_GETCHECK, 0, 0); }

    HWND check = Make(L"Button", BS_AUTOCHECKBOX), edit = Make(L"Edit", 0);
    acl::RegistrySettings settings;
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

TEST_F(RegistrySettingsTest, TextRoundTripsAnExistingValueWinsEvenWhenEmptyAndOnlyTheOpenKeyIsWritten)
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
    ASSERT_NE(settings.Open(HKEY_CURRENT_USER, (std::wstring(kKey) + L"\\" + std::wstring(300, L'k')).c_str(), 0), 0u);
    EXPECT_EQ(settings.SaveText(edit, L"A"), 1168u) << "a failed open leaves no key to write to";
    EXPECT_EQ(Stored(kSubkey, L"A"), "<missing>");
}

} // namespace
