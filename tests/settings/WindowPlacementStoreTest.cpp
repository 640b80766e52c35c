// Window placement saved to and restored from a real (scratch) registry, with
// the clamping onto the test display's virtual screen.
#include "settings/WindowPlacementStore.h"
#include "support/Gui.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <string>

bool operator==(const RECT& a, const RECT& b)
{
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

std::ostream& operator<<(std::ostream& out, const RECT& r)
{
    return out << "{" << r.left << ", " << r.top << ", " << r.right << ", " << r.bottom << "}";
}

namespace {

using namespace krn::test;
using krn::WindowPlacementStore;

constexpr wchar_t kKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";

RECT Screen()
{
    const LONG left = GetSystemMetrics(SM_XVIRTUALSCREEN), top = GetSystemMetrics(SM_YVIRTUALSCREEN);
    return {left, top, left + GetSystemMetrics(SM_CXVIRTUALSCREEN), top + GetSystemMetrics(SM_CYVIRTUALSCREEN)};
}

class TestWindow {
public:
    TestWindow()
    {
        window_ = CreateWindowExW(0, L"Static", L"placement", WS_OVERLAPPEDWINDOW, 100, 120, 400, 300, nullptr,
                                  nullptr, nullptr, nullptr);
    }
    ~TestWindow() { DestroyWindow(window_); }
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;
    HWND get() const { return window_; }
    RECT Rect() const
    {
        RECT rc{};
        GetWindowRect(window_, &rc);
        return rc;
    }

private:
    HWND window_;
};

WINDOWPLACEMENT Full(RECT normal)
{
    WINDOWPLACEMENT p{};
    p.length = sizeof p;
    p.showCmd = SW_SHOWNORMAL;
    p.ptMinPosition = {-1, -1};
    p.ptMaxPosition = {-1, -1};
    p.rcNormalPosition = normal;
    return p;
}

void StoreFull(const WINDOWPLACEMENT& p)
{
    WriteRegBinary(kKey, L"WDP", REG_BINARY, &p, sizeof p);
}

void StoreShort(LONG x, LONG y, LONG showCmd)
{
    const krn::ShortPlacement s{x, y, showCmd};
    WriteRegBinary(kKey, L"WDP", REG_BINARY, &s, sizeof s);
}

class PlacementTest : public ScratchTest {
protected:
    WindowPlacementStore store{kKey, HKEY_CURRENT_USER};
    TestWindow window;
};

TEST_F(PlacementTest, SavedPlacementComesBackOntoTheWindow)
{
    ASSERT_TRUE(window.get());
    SetWindowPos(window.get(), nullptr, 150, 90, 420, 310, SWP_NOZORDER);
    const RECT saved = window.Rect();
    ASSERT_EQ(store.SavePlacement(window.get()), 0u);

    DWORD type = 0;
    std::string data;
    ASSERT_TRUE(ReadRegValue(kKey, L"WDP", &type, &data));
    EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
    EXPECT_EQ(data.size(), 44u);

    SetWindowPos(window.get(), nullptr, 10, 10, 200, 100, SWP_NOZORDER);
    ASSERT_EQ(store.RestorePlacement(window.get(), L"WDP", true), 0u);
    EXPECT_EQ(window.Rect(), saved);
}

TEST_F(PlacementTest, NothingStoredLeavesTheWindowAsCreated)
{
    const RECT created = window.Rect();
    EXPECT_EQ(store.RestorePlacement(window.get(), L"WDP", true), static_cast<DWORD>(ERROR_FILE_NOT_FOUND))
        << "no key";
    WriteRegDword(kKey, L"Other", 1);
    EXPECT_EQ(store.RestorePlacement(window.get(), L"WDP", true), static_cast<DWORD>(ERROR_FILE_NOT_FOUND))
        << "key without the value";
    EXPECT_EQ(window.Rect(), created);
}

TEST_F(PlacementTest, AValueLongerThanAPlacementIsNotApplied)
{
    const std::string fiveKb(5 * 1024, '\x7f');
    WriteRegBinary(kKey, L"WDP", REG_BINARY, fiveKb.data(), static_cast<DWORD>(fiveKb.size()));
    const RECT created = window.Rect();
    EXPECT_EQ(store.RestorePlacement(window.get(), L"WDP", true), static_cast<DWORD>(ERROR_MORE_DATA));
    EXPECT_EQ(window.Rect(), created);
    EXPECT_FALSE(IsWindowVisible(window.get()));
}

TEST_F(PlacementTest, WithoutAKeyPathNothingIsReadOrWritten)
{
    WindowPlacementStore unset(nullptr, HKEY_CURRENT_USER);
    EXPECT_EQ(unset.SavePlacement(window.get()), static_cast<DWORD>(ERROR_INVALID_DATA));
    EXPECT_EQ(unset.RestorePlacement(window.get(), L"WDP", true), static_cast<DWORD>(ERROR_INVALID_DATA));
    EXPECT_EQ(unset.SetKey(kKey, HKEY_CURRENT_USER), 1);
    EXPECT_EQ(unset.SavePlacement(window.get()), 0u);
}

// The four steps in their order, the top and bottom ones writing the other
// edge than one would expect.
TEST_F(PlacementTest, FullFormIsClampedOntoTheVirtualScreen)
{
    const RECT s = Screen();
    const LONG w = 400, h = 300;
    struct Case {
        const char* what;
        RECT stored;
        RECT expected;
    } cases[] = {
        {"inside", {s.left + 10, s.top + 20, s.left + 10 + w, s.top + 20 + h},
         {s.left + 10, s.top + 20, s.left + 10 + w, s.top + 20 + h}},
        {"left of the screen", {s.left - 2000, s.top + 50, s.left - 2000 + w, s.top + 50 + h},
         {s.left, s.top + 50, s.left + w, s.top + 50 + h}},
        {"beyond the right edge", {s.right + 100, s.top + 50, s.right + 100 + w, s.top + 50 + h},
         {s.right - w, s.top + 50, s.right, s.top + 50 + h}},
        {"above: top moves to screen top + height, bottom kept",
         {s.left + 10, s.top - 100, s.left + 10 + w, s.top - 100 + h},
         {s.left + 10, s.top + h, s.left + 10 + w, s.top - 100 + h}},
        {"below: bottom moves to screen bottom - height, top kept",
         {s.left + 10, s.bottom + 50, s.left + 10 + w, s.bottom + 50 + h},
         {s.left + 10, s.bottom + 50, s.left + 10 + w, s.bottom - h}},
        {"far off in both directions", {s.left - 5000, s.top - 5000, s.left - 5000 + w, s.top - 5000 + h},
         {s.left, s.top + h, s.left + w, s.top - 5000 + h}},
    };
    for (const Case& c : cases) {
        WINDOWPLACEMENT stored = Full(c.stored);
        stored.flags = WPF_SETMINPOSITION;
        stored.showCmd = SW_SHOWMAXIMIZED;
        StoreFull(stored);
        WINDOWPLACEMENT read{};
        ASSERT_EQ(store.ReadPlacement(&read, L"WDP", true), 0u) << c.what;
        EXPECT_EQ(read.rcNormalPosition, c.expected) << c.what;
        EXPECT_EQ(read.showCmd, static_cast<UINT>(SW_SHOWMAXIMIZED)) << c.what << ": the rest as stored";
        EXPECT_EQ(read.flags, static_cast<UINT>(WPF_SETMINPOSITION)) << c.what;

        ASSERT_EQ(store.ReadPlacement(&read, L"WDP", false), 0u);
        EXPECT_EQ(read.rcNormalPosition, c.stored) << c.what << ": clamping off";
    }
}

TEST_F(PlacementTest, FarOffWindowIsBroughtBackWithItsWidth)
{
    const RECT s = Screen();
    StoreFull(Full({s.left - 3000, s.top + 40, s.left - 3000 + 380, s.top + 40 + 260}));
    ASSERT_EQ(store.RestorePlacement(window.get(), L"WDP", true), 0u);
    WINDOWPLACEMENT now{};
    now.length = sizeof now;
    GetWindowPlacement(window.get(), &now);
    EXPECT_EQ(now.rcNormalPosition, (RECT{s.left, s.top + 40, s.left + 380, s.top + 300}));
    EXPECT_TRUE(IsWindowVisible(window.get()));
}

TEST_F(PlacementTest, ShortFormMovesWithoutResizingAndShows)
{
    const RECT s = Screen();
    struct Case {
        const char* what;
        LONG x, y;
        LONG expectedX, expectedY;
    } cases[] = {
        {"inside", s.left + 30, s.top + 40, s.left + 30, s.top + 40},
        {"beyond right and bottom: half the far edge", s.right + 3000, s.bottom + 10, s.right / 2, s.bottom / 2},
        {"before left and top", s.left - 500, s.top - 700, s.left, s.top},
    };
    for (const Case& c : cases) {
        ShowWindow(window.get(), SW_HIDE);
        SetWindowPos(window.get(), nullptr, 100, 120, 400, 300, SWP_NOZORDER);
        StoreShort(c.x, c.y, SW_SHOWNORMAL);
        ASSERT_EQ(store.RestorePlacement(window.get(), L"WDP", true), 0u) << c.what;
        const RECT rc = window.Rect();
        EXPECT_EQ(rc, (RECT{c.expectedX, c.expectedY, c.expectedX + 400, c.expectedY + 300})) << c.what;
        EXPECT_TRUE(IsWindowVisible(window.get())) << c.what;
    }
}

TEST_F(PlacementTest, ShortValuesKeepThePresetBuffer)
{
    // Three bytes overwrite only the low bytes of x (preset to 44); y and
    // showCmd stay 0, so the window is moved and hidden.
    const unsigned char three[3] = {0x10, 0x00, 0x00};
    WriteRegBinary(kKey, L"WDP", REG_BINARY, three, sizeof three);
    WINDOWPLACEMENT read{};
    std::memset(&read, 0xAB, sizeof read);
    ASSERT_EQ(store.ReadPlacement(&read, L"WDP", false), 0u);
    krn::ShortPlacement fields;
    std::memcpy(&fields, &read, sizeof fields);
    EXPECT_EQ(fields.x, 0x10);
    EXPECT_EQ(fields.y, 0);
    EXPECT_EQ(fields.showCmd, 0);
    EXPECT_EQ(read.rcNormalPosition.left, static_cast<LONG>(0xABABABAB)) << "the short form fills only three fields";

    ShowWindow(window.get(), SW_SHOW);
    ASSERT_EQ(store.RestorePlacement(window.get(), L"WDP", true), 0u);
    EXPECT_FALSE(IsWindowVisible(window.get()));
    const RECT rc = window.Rect();
    const RECT s = Screen();
    EXPECT_EQ(rc.left, std::max<LONG>(0x10, s.left));
    EXPECT_EQ(rc.right - rc.left, 400);
}

} // namespace
