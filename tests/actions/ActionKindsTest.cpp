#include <gtest/gtest.h>

#include "actions/StandardKinds.h"
#include "config/ActionKindRegistry.h"

namespace krn::test {
namespace {

// The registry as the main window fills it: order, texts, flags, the 16x16
// bitmaps, the search by exact tag, and the bitmaps going with the kinds.
TEST(ActionKinds, RegistryHoldsTheThreeKindsInMenuOrder)
{
    using Row = std::tuple<std::wstring, std::wstring, bool, bool, HRESULT, HRESULT, HRESULT, LONG, LONG>;
    const Row expected[] = {
        {L"Show message", L"MsgBox", true, false, E_NOTIMPL, E_NOTIMPL, S_OK, 16, 16},
        {L"Add to log", L"AddToLog", true, false, E_NOTIMPL, E_NOTIMPL, S_OK, 16, 16},
        {L"Run application", L"Run", false, true, E_NOTIMPL, E_NOTIMPL, E_ABORT, 16, 16},
    };
    HBITMAP bitmaps[3] = {};
    {
        ActionKindRegistry kinds;
        AddStandardKinds(kinds, GetModuleHandleW(nullptr));
        ASSERT_EQ(kinds.Count(), 3u);
        for (std::size_t i = 0; i < 3; ++i) {
            Action* kind = kinds.KindAt(i);
            BITMAP info{};
            bitmaps[i] = kind->bitmap.get();
            GetObjectW(bitmaps[i], sizeof(info), &info);
            EXPECT_EQ(Row(kind->displayName, kind->tag, kind->unique, kind->editable, kind->Reserved1(), kind->Reserved2(),
                          kind->FillParamsCell(nullptr, nullptr), info.bmWidth, info.bmHeight), expected[i]);
            EXPECT_EQ(kinds.FindKindByTag(kind->tag.c_str()), kind);
            EXPECT_FALSE(kind->description);
        }
        EXPECT_EQ(kinds.KindAt(3), nullptr);
        EXPECT_EQ(kinds.FindKindByTag(L"run"), nullptr);
        EXPECT_EQ(kinds.FindKindByTag(nullptr), nullptr);
    }
    for (HBITMAP bitmap : bitmaps)
        EXPECT_EQ(GetObjectType(bitmap), 0u) << "a kind deletes its bitmap";
}

} // namespace
} // namespace krn::test
