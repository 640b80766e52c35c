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

bool Stored(const wchar_t* key, const wchar_t* name) { return ReadRegValue(key, name, nullptr, nullptr); }

// The stored forms the Properties dialog writes are PropertiesDialogTest's;
// these are the ones other writers may leave.
class RegistrySettingsTest : public ScratchTest {};

TEST_F(RegistrySettingsTest, LoadsWhatOtherWritersLeftAndWritesOnlyTheOpenKey)
{
    const auto make = [](const wchar_t* cls, DWORD style) {
        return CreateWindowExW(0, cls, L"", WS_POPUP | style, 0, 0, 200, 100, nullptr, nullptr, nullptr, nullptr);
    };
    const HWND check = make(L"Button", BS_AUTOCHECKBOX), edit = make(L"Edit", 0);
    acl::RegistrySettings settings;
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
    WriteRegBinary(kSubkey, L"Check", REG_DWORD, std::string(12, '\1').data(), 12);
    SendMessageW(check, BM_SETCHECK, BST_CHECKED, 0);
    EXPECT_EQ(settings.LoadCheck(check, L"Check"), 0u);
    EXPECT_EQ(SendMessageW(check, BM_GETCHECK, 0, 0), BST_UNCHECKED) << "more than eight bytes are no check";
    settings.Open(HKEY_CURRENT_USER, kKey, KEY_WRITE);
    ASSERT_EQ(settings.Open(HKEY_CURRENT_USER, kSubkey, KEY_WRITE), 0u);
    RegDeleteKeyValueW(HKEY_CURRENT_USER, kSubkey, L"LogFile");
    SetWindowTextW(edit, L"C:\\Users\\me\\kestrune.log");
    ASSERT_EQ(settings.SaveText(edit, L"LogFile"), 0u);
    EXPECT_TRUE(Stored(kSubkey, L"LogFile"));
    EXPECT_FALSE(Stored(kKey, L"LogFile")) << "the settings key is closed again";
    ASSERT_NE(settings.Open(HKEY_CURRENT_USER, (std::wstring(kKey) + L"\\" + std::wstring(300, L'k')).c_str(), 0), 0u);
    EXPECT_EQ(settings.SaveText(edit, L"A"), 1168u) << "a failed open leaves no key to write to";
    EXPECT_FALSE(Stored(kSubkey, L"A"));
    DestroyWindow(check);
    DestroyWindow(edit);
}

} // namespace
