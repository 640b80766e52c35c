#include "acl/Handles.h"
#include "base/Com.h"
#include "base/Handles.h"

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
using counted = base::unique_handle<CountingTraits>;
using flagged = base::flagged_handle<CountingTraits>;

TEST(Handles, CloseOnceThroughMovesResetAndReleaseAndOnlyWhatTheFlagOwns)
{
    CountingTraits::closed.clear();
    {
        counted a(1);
        counted b(std::move(a));
        EXPECT_FALSE(a);
        counted c(2);
        c = std::move(b);  // closes 2, takes 1
        c.reset(3);        // closes 1
        c.reset(3);        // same value: nothing
        counted d(4);
        EXPECT_EQ(d.release(), 4);  // released handles are the caller's
        *d.put() = 5;

        flagged lent(6, false);
        flagged owned(counted(7));
        lent.reset(8, true);    // 6 was lent: not closed
        owned.reset(9, false);  // closes 7
        flagged moved(std::move(lent));
        EXPECT_FALSE(lent.owns());
    }
    EXPECT_EQ(CountingTraits::closed, (std::vector<int>{2, 1, 7, 8, 5, 3}));
}

TEST(Handles, SystemOwnersReleaseTheirObjectAndTellTheLeakHookWhatTheyTake)
{
    static std::vector<HGDIOBJ> seen;
    acl::gdiOwnedHook = [](HGDIOBJ h) { seen.push_back(h); };
    const HBRUSH raw = CreateSolidBrush(RGB(1, 2, 3));
    HDC dc = nullptr;
    {
        acl::unique_hdc memory(CreateCompatibleDC(nullptr));
        dc = memory.get();
        const HGDIOBJ original = GetCurrentObject(dc, OBJ_BRUSH);
        {
            acl::unique_hbrush brush(raw);
            acl::flagged_handle<acl::handle_traits::GdiObject<HPEN>> lent(HPEN(GetStockObject(BLACK_PEN)), false);
            acl::SelectGuard select(dc, brush.get());
            EXPECT_EQ(GetCurrentObject(dc, OBJ_BRUSH), raw);
        }
        EXPECT_EQ(GetCurrentObject(dc, OBJ_BRUSH), original) << "the selection is put back";
        acl::gdiOwnedHook = nullptr;
        acl::unique_hbrush unseen(CreateSolidBrush(RGB(1, 2, 3)));
    }
    EXPECT_EQ(seen, (std::vector<HGDIOBJ>{dc, raw})) << "owned objects only, while the hook is set";
    EXPECT_EQ(GetObjectType(raw), 0u) << "the brush outlived its owner";
    EXPECT_EQ(GetObjectType(dc), 0u) << "the memory DC outlived its owner";
}

TEST(Handles, AbsentTextStaysApartFromAnEmptyOne)
{
    const base::unique_bstr absent(static_cast<const wchar_t*>(nullptr));
    const base::unique_bstr empty(L"");
    EXPECT_FALSE(absent);
    EXPECT_TRUE(empty);
    EXPECT_EQ(empty.length(), 0u);
}

} // namespace
