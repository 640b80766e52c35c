// Window placement saved to and restored from a real (scratch) registry, with
// the clamping onto the test display's virtual screen.
#include "settings/WindowPlacementStore.h"
#include "support/Scratch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

using namespace krn::test;

constexpr wchar_t kKey[] = L"SOFTWARE\\Norlath\\Kestrune\\Settings";

std::string Text(const RECT& r)
{
    return "{" + std::to_string(r.left) + ", " + std::to_string(r.top) + ", " + std::to_string(r.right) + ", " +
           std::to_string(r.bottom) + "}";
}

class PlacementTest : public ScratchTest {
protected:
    PlacementTest()
    {
        window = CreateWindowExW(0, L"Static", L"placement", WS_OVERLAPPEDWINDOW, 100, 120, 400, 300, nullptr,
                                 nullptr, nullptr, nullptr);
        const LONG left = GetSystemMetrics(SM_XVIRTUALSCREEN), top = GetSystemMetrics(SM_YVIRTUALSCREEN);
        s = {left, top, left + GetSystemMetrics(SM_CXVIRTUALSCREEN), top + GetSystemMetrics(SM_CYVIRTUALSCREEN)};
    }
    ~PlacementTest() override { DestroyWindow(window); }
    RECT Rect() const
    {
        RECT rc{};
        GetWindowRect(window, &rc);
        return rc;
    }
    static void Store(const void* data, size_t size)
    {
        WriteRegBinary(kKey, L"WDP", REG_BINARY, data, static_cast<DWORD>(size));
    }

    krn::WindowPlacementStore store{kKey, HKEY_CURRENT_USER};
    HWND window;
    RECT s;  // the virtual screen
};

// A stored placement restored on start and saved on close is ShellEndToEnd's.
TEST_F(PlacementTest, NoValueOrAnOversizedOneIsNotApplied)
{
    const RECT before = Rect();
    EXPECT_EQ(store.RestorePlacement(window, L"WDP", true), static_cast<DWORD>(ERROR_FILE_NOT_FOUND)) << "first run";
    const std::string fiveKb(5 * 1024, '\x7f');
    Store(fiveKb.data(), fiveKb.size());
    EXPECT_EQ(store.RestorePlacement(window, L"WDP", true), static_cast<DWORD>(ERROR_MORE_DATA));
    EXPECT_EQ(Text(Rect()), Text(before));
}

// The four steps in their order; the top and bottom ones write the other edge.
TEST_F(PlacementTest, FullFormIsClampedOntoTheVirtualScreen)
{
    const LONG w = 400, h = 300;
    const struct {
        const char* what;
        RECT stored, expected;
    } cases[] = {
        {"inside", {s.left + 10, s.top + 20, s.left + 10 + w, s.top + 20 + h},
         {s.left + 10, s.top + 20, s.left + 10 + w, s.top + 20 + h}},
        {"left of the screen", {s.left - 2000, s.top + 50, s.left - 2000 + w, s.top + 50 + h},
         {s.left, s.top + 50, s.left + w, s.top + 50 + h}},
        {"beyond the right edge", {s.right + 100, s.top + 50, s.right + 100 + w, s.top + 50 + h},
         {s.right - w, s.top + 50, s.right, s.top + 50 + h}},
        {"above: top = screen top + height, bottom kept", {s.left + 10, s.top - 100, s.left + 10 + w, s.top - 100 + h},
         {s.left + 10, s.top + h, s.left + 10 + w, s.top - 100 + h}},
        {"below: bottom = screen bottom - height, top kept",
         {s.left + 10, s.bottom + 50, s.left + 10 + w, s.bottom + 50 + h},
         {s.left + 10, s.bottom + 50, s.left + 10 + w, s.bottom - h}},
    };
    for (const auto& c : cases) {
        WINDOWPLACEMENT stored{sizeof stored, WPF_SETMINPOSITION, SW_SHOWMAXIMIZED, {-1, -1}, {-1, -1}, c.stored};
        Store(&stored, sizeof stored);
        WINDOWPLACEMENT read{};
        ASSERT_EQ(store.ReadPlacement(&read, L"WDP", true), 0u) << c.what;
        EXPECT_EQ(Text(read.rcNormalPosition), Text(c.expected)) << c.what;
        EXPECT_EQ(read.showCmd, static_cast<UINT>(SW_SHOWMAXIMIZED)) << c.what << ": the rest as stored";
        ASSERT_EQ(store.ReadPlacement(&read, L"WDP", false), 0u);
        EXPECT_EQ(Text(read.rcNormalPosition), Text(c.stored)) << c.what << ": clamping off";
    }
}

// Any other length: x, y and showCmd over the preset buffer (first field 44).
TEST_F(PlacementTest, ShortFormMovesWithoutResizingAndShows)
{
    const LONG beyond[3] = {s.right + 3000, s.bottom + 10, SW_SHOWNORMAL};
    const LONG before[3] = {s.left - 500, s.top - 700, SW_SHOWNORMAL};
    const struct {
        const char* what;
        std::string stored;
        LONG x, y;
        bool visible;
    } cases[] = {
        {"beyond right and bottom: half the far edge", std::string(reinterpret_cast<const char*>(beyond), 12),
         s.right / 2, s.bottom / 2, true},
        {"before left and top", std::string(reinterpret_cast<const char*>(before), 12), s.left, s.top, true},
        {"3 bytes: only x, its top byte from the preset; showCmd 0 hides", std::string("\x10\x00\x00", 3),
         std::max<LONG>(0x10, s.left), std::max<LONG>(0, s.top), false},
    };
    for (const auto& c : cases) {
        ShowWindow(window, c.visible ? SW_HIDE : SW_SHOW);
        Store(c.stored.data(), c.stored.size());
        ASSERT_EQ(store.RestorePlacement(window, L"WDP", true), 0u) << c.what;
        EXPECT_EQ(Text(Rect()), Text({c.x, c.y, c.x + 400, c.y + 300})) << c.what;
        EXPECT_EQ(IsWindowVisible(window) != FALSE, c.visible) << c.what;
    }
    WINDOWPLACEMENT read;
    std::memset(&read, 0xAB, sizeof read);
    ASSERT_EQ(store.ReadPlacement(&read, L"WDP", false), 0u);
    EXPECT_EQ(read.length, 0x10u);
    EXPECT_EQ(read.showCmd, 0u);
    EXPECT_EQ(read.rcNormalPosition.left, static_cast<LONG>(0xABABABAB)) << "the short form fills three fields";
}

} // namespace
