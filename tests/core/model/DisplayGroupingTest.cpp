#include "core/model/DisplayGrouping.h"

#include "SyntheticTree.h"

#include <gtest/gtest.h>

namespace ringfold {
namespace {

using test::SyntheticTree;

constexpr std::int64_t MB = 1000000;
constexpr std::int64_t GiB = 1073741824;

TEST(AggregateIdentity, DerivedFromTheFolderAndNeverANodeId) {
    EXPECT_NE(hiddenAggregateID(5), smallerObjectsAggregateID(5));
    EXPECT_LT(hiddenAggregateID(0), 0);
    EXPECT_LT(smallerObjectsAggregateID(0), 0);
    // At the top of the allowed range the shift must not overflow into a positive id,
    // and neighbouring folders must not collide.
    const NodeID top = (NodeID(1) << 55) - 1;
    EXPECT_LT(hiddenAggregateID(top), 0);
    EXPECT_LT(smallerObjectsAggregateID(top), 0);
    EXPECT_NE(hiddenAggregateID(top), smallerObjectsAggregateID(top - 1));
    EXPECT_NE(smallerObjectsAggregateID(6), hiddenAggregateID(5));
    EXPECT_NE(hiddenAggregateID(6), smallerObjectsAggregateID(5));
}

TEST(HiddenGrouping, BelowOneGibibyteAndBelowTwoPercentIsGroupedExactLimitsStay) {
    SyntheticTree t;
    FileNode* exact = t.file(".exact", GiB, -1, true);
    FileNode* below = t.file(".below", GiB - 1, -1, true);
    FileNode* bulk = t.file("bulk", 1000LL * 1000 * MB); // 1 TB keeps both under 2 %
    FileNode* huge = t.folder("f", {exact, below, bulk});
    EXPECT_FALSE(isGroupedHidden(*exact, *huge));
    EXPECT_TRUE(isGroupedHidden(*below, *huge));

    FileNode* two = t.file(".two", 2 * MB, -1, true);
    FileNode* under = t.file(".under", 2 * MB - 1, -1, true);
    FileNode* folder = t.folder("f", {two, under, t.file("rest", 100 * MB - (4 * MB - 1))});
    ASSERT_EQ(folder->allocatedSize(), 100 * MB);
    EXPECT_FALSE(isGroupedHidden(*two, *folder));
    EXPECT_TRUE(isGroupedHidden(*under, *folder));
    EXPECT_FALSE(isGroupedHidden(*t.file("tiny", 1), *folder)); // not hidden: never grouped

    // A folder reporting no size groups every hidden child below one gibibyte.
    folder->setAllocatedSize(0);
    EXPECT_TRUE(isGroupedHidden(*two, *folder));
    EXPECT_FALSE(isGroupedHidden(*exact, *folder));
}

TEST(DisplayChildren, GroupsSmallHiddenChildrenIntoOneAggregateAtTheEnd) {
    SyntheticTree t;
    FileNode* h1 = t.file(".one", 1 * MB, 700, true);
    FileNode* visible = t.file("visible", 96 * MB);
    FileNode* h3 = t.file(".three", 3 * MB, -1, true);
    FileNode* h4 = t.file(".four", 20, 5, true);
    FileNode* folder = t.folder("f", {h1, visible, h3, h4});

    auto entries = displayChildren(*folder, true);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_TRUE(entries[0].isNode());
    EXPECT_EQ(entries[0].node(), visible);
    EXPECT_EQ(entries[1].node(), h3);
    ASSERT_EQ(entries[2].kind(), DisplayChild::Kind::hiddenAggregate);
    EXPECT_EQ(entries[2].node(), nullptr);
    const auto* agg = entries[2].aggregate();
    ASSERT_NE(agg, nullptr);
    EXPECT_EQ(agg->id, hiddenAggregateID(folder->id()));
    EXPECT_EQ(entries[2].id(), hiddenAggregateID(folder->id()));
    EXPECT_EQ(agg->members, (std::vector<FileNode*>{h1, h4})); // child order
    // Both sizes are summed separately.
    EXPECT_EQ(entries[2].allocatedSize(), 1 * MB + 20);
    EXPECT_EQ(entries[2].logicalSize(), 705);
}

TEST(DisplayChildren, WithoutGroupingEveryChildIsANodeInChildOrder) {
    SyntheticTree t;
    EXPECT_TRUE(displayChildren(*t.folder("empty", {}), true).empty());
    FileNode* a = t.file(".a", 1, -1, true);
    FileNode* b = t.file(".b", 2, -1, true);
    FileNode* c = t.file(".c", 3, -1, true);
    FileNode* folder = t.folder("f", {a, b, c});
    auto entries = displayChildren(*folder, false);
    ASSERT_EQ(entries.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(entries[i].node(), (std::vector<FileNode*>{a, b, c})[i]);
    // With grouping, in a folder that reports no size of its own, all three collapse.
    folder->setAllocatedSize(0);
    auto grouped = displayChildren(*folder, true);
    ASSERT_EQ(grouped.size(), 1u);
    EXPECT_EQ(grouped[0].aggregate()->members, (std::vector<FileNode*>{a, b, c}));
}

TEST(DisplayChildren, NeverBuildsASmallerObjectsAggregate) {
    SyntheticTree t;
    std::vector<FileNode*> kids;
    kids.push_back(t.file("big", 1000 * MB));
    for (int i = 0; i < 50; ++i)
        kids.push_back(t.file("tiny" + std::to_string(i), 1));
    FileNode* folder = t.folder("f", kids);
    auto entries = displayChildren(*folder, true);
    EXPECT_EQ(entries.size(), kids.size());
    for (const auto& e : entries)
        EXPECT_TRUE(e.isNode());
}

TEST(SmallerObjects, StrictlyBelowTheThresholdShareOfTheFolder) {
    SyntheticTree t;
    FileNode* below = t.file("below", 4999);
    FileNode* at = t.file("at", 5000);
    FileNode* rest = t.file("rest", 1000000 - 9999);
    FileNode* folder = t.folder("f", {below, at, rest});
    ASSERT_EQ(folder->allocatedSize(), 1000000);
    EXPECT_TRUE(isSmallerObject(*below, *folder, 0.005));
    EXPECT_FALSE(isSmallerObject(*at, *folder, 0.005));
    // The default threshold of 0 makes nothing a smaller object, not even an empty file.
    FileNode* empty = t.file("empty", 0);
    EXPECT_FALSE(isSmallerObject(*empty, *folder, 0.0));
    EXPECT_FALSE(isSmallerObject(*below, *folder, 0.0));

    auto agg = DisplayChild::smallerObjects(*folder, {below, at});
    EXPECT_EQ(agg.kind(), DisplayChild::Kind::smallerObjectsAggregate);
    EXPECT_EQ(agg.id(), smallerObjectsAggregateID(folder->id()));
    EXPECT_EQ(agg.allocatedSize(), 9999);
    EXPECT_NE(agg.id(), DisplayChild::hidden(*folder, {below}).id());
}

TEST(SizeOrdering, LargestAllocatedFirstAndTiesKeepChildOrder) {
    SyntheticTree t;
    FileNode* a = t.file("a", 5);
    FileNode* b = t.file("b", 9);
    FileNode* c = t.file("c", 5, 10 * MB); // logical size plays no part
    FileNode* d = t.file("d", 0);
    FileNode* e = t.file("e", 9);
    FileNode* f = t.file("f", 5);
    std::vector<FileNode*> nodes = {a, b, c, d, e, f};
    sortBySizeDescending(nodes);
    EXPECT_EQ(nodes, (std::vector<FileNode*>{b, e, a, c, f, d}));
    // Grouping, too, looks only at allocated bytes.
    FileNode* hidden = t.file(".sparse", 1, 50 * GiB, true);
    EXPECT_TRUE(isGroupedHidden(*hidden, *t.folder("f", {hidden, t.file("v", 1000)})));
}

TEST(DisplayChild, AggregateKeepsItsSnapshotWhenTheTreeChangesLater) {
    SyntheticTree t;
    FileNode* h = t.file(".h", 10, -1, true);
    FileNode* folder = t.folder("f", {h, t.file("v", 10000)});
    auto entries = displayChildren(*folder, true);
    ASSERT_EQ(entries.back().kind(), DisplayChild::Kind::hiddenAggregate);
    h->setAllocatedSize(99);
    EXPECT_EQ(entries.back().allocatedSize(), 10);
    EXPECT_EQ(displayChildren(*folder, true).back().id(), hiddenAggregateID(folder->id()));
}

} // namespace
} // namespace ringfold
