#include "acl/Handles.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Records every close, so a test sees exactly which handles were released.
struct CountingTraits {
    using pointer = int;
    static constexpr int invalid() { return 0; }
    static void close(int h) { closed.push_back(h); }
    static inline std::vector<int> closed;
};
using counted = acl::unique_handle<CountingTraits>;

class UniqueHandle : public ::testing::Test {
protected:
    void SetUp() override { CountingTraits::closed.clear(); }
};

TEST_F(UniqueHandle, ClosesOnceThroughMovesResetAndRelease)
{
    {
        counted a(1);
        counted b(std::move(a));
        EXPECT_FALSE(a);
        EXPECT_EQ(b.get(), 1);
        counted c(2);
        c = std::move(b);  // closes 2, takes 1
        EXPECT_EQ(CountingTraits::closed, std::vector<int>({2}));
        c.reset(3);        // closes 1
        c.reset(3);        // same value: nothing
        counted d(4);
        EXPECT_EQ(d.release(), 4);  // released handles are the caller's
        *d.put() = 5;
    }
    EXPECT_EQ(CountingTraits::closed, std::vector<int>({2, 1, 5, 3}));
}

TEST(GdiOwners, DeleteTheirObjectAndRestoreTheSelection)
{
    HDC dc = CreateCompatibleDC(nullptr);
    HGDIOBJ original = GetCurrentObject(dc, OBJ_BRUSH);
    HBRUSH raw = CreateSolidBrush(RGB(1, 2, 3));
    {
        acl::unique_hbrush brush(raw);
        acl::SelectGuard select(dc, brush.get());
        EXPECT_EQ(GetCurrentObject(dc, OBJ_BRUSH), raw);
    }
    EXPECT_EQ(GetCurrentObject(dc, OBJ_BRUSH), original);
    EXPECT_EQ(GetObjectType(raw), 0u) << "the brush outlived its owner";
    DeleteDC(dc);
}

TEST(RegistryOwner, ClosesTheKey)
{
    HKEY raw = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software", 0, KEY_READ, &raw), ERROR_SUCCESS);
    { acl::unique_hkey key(raw); }
    EXPECT_EQ(RegQueryInfoKeyW(raw, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr),
              ERROR_INVALID_HANDLE);
}

TEST(BstrOwner, KeepsAbsentAndEmptyApart)
{
    acl::unique_bstr absent(static_cast<const wchar_t*>(nullptr));
    acl::unique_bstr empty(L"");
    EXPECT_FALSE(absent);
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty.length(), 0u);
    acl::unique_bstr moved(std::move(empty));
    EXPECT_FALSE(empty);
    EXPECT_TRUE(moved);
}

TEST_F(UniqueHandle, FlaggedHandlesCloseOnlyWhatTheyOwn)
{
    {
        acl::flagged_handle<CountingTraits> lent(1, false);
        acl::flagged_handle<CountingTraits> owned(counted(2));
        EXPECT_TRUE(owned.owns());
        lent.reset(3, true);   // 1 was lent: not closed
        owned.reset(4, false);  // closes 2
        acl::flagged_handle<CountingTraits> moved(std::move(lent));
        EXPECT_FALSE(lent.owns());
    }
    EXPECT_EQ(CountingTraits::closed, std::vector<int>({2, 3}));
}

TEST(GdiOwners, TellTheLeakHookWhatTheyTakeOver)
{
    static std::vector<HGDIOBJ> seen;
    acl::gdiOwnedHook = [](HGDIOBJ h) { seen.push_back(h); };
    acl::unique_hbrush brush(CreateSolidBrush(RGB(1, 2, 3)));
    acl::unique_hdc dc(CreateCompatibleDC(nullptr));
    acl::flagged_handle<acl::handle_traits::GdiObject<HPEN>> lent(static_cast<HPEN>(GetStockObject(BLACK_PEN)), false);
    acl::gdiOwnedHook = nullptr;
    acl::unique_hbrush unseen(CreateSolidBrush(RGB(1, 2, 3)));
    EXPECT_EQ(seen, (std::vector<HGDIOBJ>{brush.get(), dc.get()})) << "owned objects only, while the hook is set";
}

} // namespace
