#include <gtest/gtest.h>

#include "actions/StandardKinds.h"
#include "config/ActionKindRegistry.h"

#include <vector>

namespace krn::test {
namespace {

// The kinds as the main window registers them: in menu order, found by their
// tags, each with a bitmap that goes with the registry.
TEST(ActionKinds, RegistryHoldsTheThreeKindsInMenuOrderAndDeletesTheirBitmaps)
{
    using Row = std::tuple<std::wstring, std::wstring, bool, bool>;  // name, tag, unique, editable
    const Row expected[] = {{L"Show message", L"MsgBox", true, false},
                            {L"Add to log", L"AddToLog", true, false},
                            {L"Run application", L"Run", false, true}};
    std::vector<HBITMAP> bitmaps;
    {
        ActionKindRegistry kinds;
        AddStandardKinds(kinds, GetModuleHandleW(nullptr));
        ASSERT_EQ(kinds.Count(), 3u);
        for (std::size_t i = 0; i < 3; ++i) {
            Action* kind = kinds.KindAt(i);
            EXPECT_EQ(Row(kind->displayName, kind->tag, kind->unique, kind->editable), expected[i]);
            EXPECT_EQ(kinds.FindKindByTag(kind->tag.c_str()), kind);
            bitmaps.push_back(kind->bitmap.get());
            EXPECT_EQ(GetObjectType(bitmaps.back()), static_cast<DWORD>(OBJ_BITMAP));
        }
    }
    for (HBITMAP bitmap : bitmaps)
        EXPECT_EQ(GetObjectType(bitmap), 0u) << "a kind deletes its bitmap";
}

} // namespace
} // namespace krn::test
