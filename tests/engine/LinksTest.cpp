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

// Links to folders are never followed; UNC names are counted and followed.
TEST(EngineLinks, UncNamesAreCountedAndFollowedAndLinksToFoldersAreNot)
{
    engine::FolderSizes sizes;
    const std::pair<std::wstring, Totals> cases[] = {
        {kTree, kTreeTotals},
        {kTree + L"\\sub", {525, 2}},
        {kTree + L"\\sub\\deeper", {25, 1}},
        {L"\\\\krn-engine\\share", kTreeTotals},
        {L"\\\\?\\UNC\\krn-engine\\share\\", kTreeTotals},
        {L"//KRN-ENGINE/share/sub/..", kTreeTotals},
    };
    for (const auto& [folder, expected] : cases)
        EXPECT_EQ(Complete(sizes, folder), expected) << folder;
    EXPECT_EQ(sizes.WatchedCount(), 4u) << "three spellings of the share are one folder";
    MakeFile(L"\\\\krn-engine\\share\\sub\\added.bin", 75);
    const Totals grown = Follows(sizes, L"\\\\krn-engine\\share", {kTreeTotals.bytes + 75, kTreeTotals.files + 1});
    DeleteFileW(L"\\\\krn-engine\\share\\sub\\added.bin");
    EXPECT_EQ(grown, (Totals{kTreeTotals.bytes + 75, kTreeTotals.files + 1}));
}

} // namespace
} // namespace krn::test
