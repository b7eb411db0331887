#include "core/model/DisplayGrouping.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

#include <set>

namespace ringfold {
namespace {

using test::MemoryTree;

constexpr std::int64_t MB = 1000000;
constexpr std::int64_t GiB = 1073741824;
const test::NodeOptions kHidden{.hidden = true};

TEST(AggregateIdentity, NegativeAndDistinctEvenAtTheTopOfTheRange) {
    const NodeID top = (NodeID(1) << 55) - 1; // the shift must not overflow into a positive id
    for (NodeID id : {NodeID(1), NodeID(5), top}) {
        std::set<NodeID> ids = {hiddenAggregateID(id), smallerObjectsAggregateID(id),
                                hiddenAggregateID(id - 1), smallerObjectsAggregateID(id - 1)};
        EXPECT_EQ(ids.size(), 4u) << id; // neighbouring folders never collide either
        EXPECT_LT(*ids.rbegin(), 0) << id;
    }
}

TEST(HiddenGrouping, BelowOneGibibyteAndBelowTwoPercentExactLimitsStay) {
    MemoryTree t;
    FileNode* huge = t.folder(t.root(), "huge");
    FileNode* exact = t.file(huge, ".exact", GiB, kHidden);
    FileNode* below = t.file(huge, ".below", GiB - 1, kHidden);
    t.file(huge, "bulk", 1000LL * 1000 * MB); // 1 TB keeps both under 2 %
    FileNode* folder = t.folder(t.root(), "f");
    FileNode* two = t.file(folder, ".two", 2 * MB, {.hidden = true, .logical = 50 * GiB});
    FileNode* under = t.file(folder, ".under", 2 * MB - 1, kHidden);
    t.file(folder, "rest", 100 * MB - (4 * MB - 1));
    t.totalFolders();
    EXPECT_FALSE(isGroupedHidden(*exact, *huge));
    EXPECT_TRUE(isGroupedHidden(*below, *huge));
    EXPECT_FALSE(isGroupedHidden(*two, *folder)); // allocated bytes only: logical plays no part
    EXPECT_TRUE(isGroupedHidden(*under, *folder));
    EXPECT_FALSE(isGroupedHidden(*t.file(folder, "tiny", 1), *folder)); // not hidden
    // A folder reporting no size groups every hidden child below one gibibyte.
    folder->setAllocatedSize(0);
    EXPECT_TRUE(isGroupedHidden(*two, *folder));
    EXPECT_FALSE(isGroupedHidden(*exact, *folder));
}

TEST(DisplayChildren, SmallHiddenChildrenBecomeOneAggregateAtTheEndWithSnapshotSizes) {
    MemoryTree t;
    FileNode* h1 = t.file(t.root(), ".one", 1 * MB, {.hidden = true, .logical = 700});
    FileNode* visible = t.file(t.root(), "visible", 96 * MB);
    FileNode* h3 = t.file(t.root(), ".three", 3 * MB, kHidden);
    FileNode* h4 = t.file(t.root(), ".four", 20, {.hidden = true, .logical = 5});
    t.totalFolders();

    auto entries = displayChildren(*t.root(), true);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].node(), visible);
    EXPECT_EQ(entries[1].node(), h3);
    ASSERT_EQ(entries[2].kind(), DisplayChild::Kind::hiddenAggregate);
    EXPECT_EQ(entries[2].id(), hiddenAggregateID(t.root()->id()));
    EXPECT_EQ(entries[2].aggregate()->members, (std::vector<FileNode*>{h1, h4}));
    EXPECT_EQ(entries[2].allocatedSize(), 1 * MB + 20);
    EXPECT_EQ(entries[2].logicalSize(), 705);
    h4->setAllocatedSize(99); // a later change of the tree does not reach the aggregate
    EXPECT_EQ(entries[2].allocatedSize(), 1 * MB + 20);

    // Without grouping every child is a node, in child order; never a smaller-objects one.
    entries = displayChildren(*t.root(), false);
    ASSERT_EQ(entries.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(entries[i].node(), (std::vector<FileNode*>{h1, visible, h3, h4})[i]);
}

TEST(SmallerObjects, StrictlyBelowTheThresholdShareAndNeverAtZero) {
    MemoryTree t;
    FileNode* below = t.file(t.root(), "below", 4999);
    FileNode* at = t.file(t.root(), "at", 5000);
    FileNode* empty = t.file(t.root(), "empty", 0);
    t.file(t.root(), "rest", 1000000 - 9999);
    t.totalFolders();
    const FileNode& folder = *t.root();
    EXPECT_TRUE(isSmallerObject(*below, folder, 0.005));
    EXPECT_FALSE(isSmallerObject(*at, folder, 0.005));
    EXPECT_FALSE(isSmallerObject(*empty, folder, 0.0));
    EXPECT_FALSE(isSmallerObject(*below, folder, 0.0));
    EXPECT_EQ(DisplayChild::smallerObjects(folder, {below, at}).allocatedSize(), 9999);
}

} // namespace
} // namespace ringfold
