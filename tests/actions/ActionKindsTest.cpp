#include <gtest/gtest.h>

#include <memory>

#include "actions/AddToLogAction.h"
#include "actions/MsgBoxAction.h"
#include "actions/RunAction.h"

namespace krn::test {
namespace {

TEST(ActionKinds, CarryTheirNamesTagsFlagsAndOwnTheirBitmap)
{
    const std::tuple<std::shared_ptr<Action>, const wchar_t*, const wchar_t*, bool, bool> cases[] = {
        {std::make_shared<MsgBoxAction>(), L"Show message", L"MsgBox", true, false},
        {std::make_shared<AddToLogAction>(), L"Add to log", L"AddToLog", true, false},
        {std::make_shared<RunAction>(), L"Run application", L"Run", false, true},
    };
    for (const auto& [kind, displayName, tag, unique, editable] : cases) {
        EXPECT_EQ(kind->displayName, displayName);
        EXPECT_EQ(kind->tag, tag);
        EXPECT_EQ(kind->unique, unique) << tag;
        EXPECT_EQ(kind->editable, editable) << tag;
        EXPECT_FALSE(kind->description || kind->bitmap) << tag;
        EXPECT_EQ(kind->Reserved1(), E_NOTIMPL) << tag;
        EXPECT_EQ(kind->Reserved2(), E_NOTIMPL) << tag;
        EXPECT_EQ(kind->FillParamsCell(nullptr, nullptr), editable ? E_ABORT : S_OK) << tag;
    }
    HBITMAP bitmap = CreateBitmap(16, 16, 1, 32, nullptr);
    std::make_unique<MsgBoxAction>()->bitmap.reset(bitmap);
    EXPECT_EQ(GetObjectType(bitmap), 0u) << "a kind deletes its bitmap";
}

TEST(RunAction, CancelledEditDropsANewBlockAndKeepsAnOldOne)
{
    RunAction kind;
    ActionSlot fresh{nullptr, &kind};
    EXPECT_EQ(kind.EditParams(nullptr, true, fresh), E_FAIL);
    EXPECT_EQ(fresh.params, nullptr);

    const RunParams original{L"a.exe", std::nullopt};
    ActionSlot existing{nullptr, &kind};
    ASSERT_EQ(kind.CloneParams(&existing.params, &original), S_OK);
    void* const block = existing.params;
    EXPECT_EQ(kind.EditParams(nullptr, false, existing), S_FALSE);
    EXPECT_EQ(existing.params, block);
    EXPECT_EQ(kind.CompareParams(block, &original), 0);
    kind.FreeParams(block);
}

} // namespace
} // namespace krn::test
