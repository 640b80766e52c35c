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
    }
    EXPECT_EQ(CountingTraits::closed, (std::vector<int>{2, 1, 7, 8, 5, 3}));
}

// The leak hook and the owners of GDI objects are proven by the list view's
// tests; the guard puts the DC's selection back.
TEST(Handles, SelectGuardPutsTheSelectionBack)
{
    const acl::unique_hdc dc(CreateCompatibleDC(nullptr));
    const acl::unique_hbrush brush(CreateSolidBrush(RGB(1, 2, 3)));
    const HGDIOBJ original = GetCurrentObject(dc.get(), OBJ_BRUSH);
    {
        acl::SelectGuard select(dc.get(), brush.get());
        EXPECT_EQ(GetCurrentObject(dc.get(), OBJ_BRUSH), brush.get());
    }
    EXPECT_EQ(GetCurrentObject(dc.get(), OBJ_BRUSH), original);
}

TEST(Handles, AbsentTextStaysApartFromAnEmptyOne)
{
    EXPECT_FALSE(base::unique_bstr(static_cast<const wchar_t*>(nullptr)));
    EXPECT_TRUE(base::unique_bstr(L""));
}

} // namespace
