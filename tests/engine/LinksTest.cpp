// Links to folders and UNC names, on the tree that make-links.sh made from
// Linux in the prefix: C:\krn-engine-links\tree, also shared as
// \\krn-engine\share. Links are a loop to the tree, one to its own folder, an
// absolute one to the tree, one out of it to 100,000 bytes, and a dangling one.
#include "EngineSupport.h"

#include <gtest/gtest.h>

namespace krn::test {
namespace {

using engine::Totals;

const std::wstring kTree = L"C:\\krn-engine-links\\tree";
constexpr Totals kTreeTotals{1000 + 500 + 25, 3};

TEST(EngineLinks, LinksToFoldersAreNeverFollowed)
{
    engine::FolderSizes sizes;
    const std::pair<std::wstring, Totals> cases[] = {
        {kTree, kTreeTotals},
        {kTree + L"\\sub", {525, 2}},
        {kTree + L"\\sub\\deeper", {25, 1}},
    };
    for (const auto& [folder, expected] : cases) {
        const Totals totals = Complete(sizes, folder);
        EXPECT_EQ(totals.bytes, expected.bytes) << folder;
        EXPECT_EQ(totals.files, expected.files) << folder;
    }
}

TEST(EngineLinks, UncNamesAreCountedAndFollowed)
{
    engine::FolderSizes sizes;
    for (const wchar_t* folder : {L"\\\\krn-engine\\share", L"\\\\?\\UNC\\krn-engine\\share\\", L"//KRN-ENGINE/share/sub/.."}) {
        const Totals totals = Complete(sizes, folder);
        EXPECT_EQ(totals.bytes, kTreeTotals.bytes) << folder;
        EXPECT_EQ(totals.files, kTreeTotals.files) << folder;
    }
    EXPECT_EQ(sizes.WatchedCount(), 1u);
    MakeFile(L"\\\\krn-engine\\share\\sub\\added.bin", 75);
    const Totals grown = Follows(sizes, L"\\\\krn-engine\\share", {kTreeTotals.bytes + 75, kTreeTotals.files + 1});
    DeleteFileW(L"\\\\krn-engine\\share\\sub\\added.bin");
    EXPECT_EQ(grown.bytes, kTreeTotals.bytes + 75);
    EXPECT_EQ(grown.files, kTreeTotals.files + 1);
}

} // namespace
} // namespace krn::test
