#include "core/layout/MapColor.h"
#include "core/layout/TreemapLayoutEngine.h"
#include "core/model/DisplayGrouping.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>

namespace ringfold {
namespace {

using test::MemoryTree;
using test::NodeOptions;

constexpr double kEps = 1e-9;
constexpr double kHalfGap = 1.3505;

void expectRect(const MapSegment& s, double x, double y, double w, double h) {
    ASSERT_TRUE(s.rect.has_value());
    EXPECT_NEAR(s.rect->x, x, kEps);
    EXPECT_NEAR(s.rect->y, y, kEps);
    EXPECT_NEAR(s.rect->width, w, kEps);
    EXPECT_NEAR(s.rect->height, h, kEps);
}

std::vector<std::string> kindsOf(const std::vector<MapSegment>& segs) {
    std::vector<std::string> out;
    for (const auto& s : segs)
        out.push_back(s.isGroupedSmallerObjects ? "smaller"
                      : s.isHiddenAggregate     ? "hidden"
                      : s.isInaccessibleSpace   ? "inaccessible"
                      : s.isFreeSpace           ? "free"
                                                : std::string(s.node->name()));
    return out;
}

// Files a, b, c, ... of the given sizes under the root, folders totalled.
void addFiles(MemoryTree& t, std::initializer_list<std::int64_t> sizes) {
    char name = 'a';
    for (std::int64_t s : sizes)
        t.file(t.root(), std::string(1, name++), s);
    t.totalFolders();
}

std::vector<MapSegment> gapless(const FileNode& root, MapRect view) {
    TreemapLayoutEngine engine;
    engine.style.treemapGap = 0.0;
    return engine.layout(root, {}, view);
}

TEST(TreemapLayout, TwoEqualItemsIn200By100MakeTwoSquaresInsetByTheGap) {
    MemoryTree t;
    addFiles(t, {50, 50});
    const auto segs = TreemapLayoutEngine(0.0, true).layout(*t.root(), {}, {0, 0, 200, 100});
    ASSERT_EQ(segs.size(), 2u);
    EXPECT_EQ(segs[0].node->name(), "a"); // equal sizes keep child order
    expectRect(segs[0], kHalfGap, kHalfGap, 97.299, 97.299);
    expectRect(segs[1], 100 + kHalfGap, kHalfGap, 97.299, 97.299);
    for (const auto& s : segs) {
        EXPECT_EQ(s.depth, 1);
        EXPECT_EQ(s.startAngle, 0.0);
        EXPECT_EQ(s.outerRadius, 0.0);
    }
}

TEST(TreemapLayout, ARowGrowsWhileItsWorstRatioDoesNotGrow) {
    // Two halves of a square: the second leaves the worst ratio at 2, a tie keeps the
    // row open.
    MemoryTree halves;
    addFiles(halves, {50, 50});
    auto segs = gapless(*halves.root(), {0, 0, 100, 100});
    ASSERT_EQ(segs.size(), 2u);
    expectRect(segs[0], 0, 0, 100, 50);
    expectRect(segs[1], 0, 50, 100, 50);

    // Four quarters: the second joins the first (ratio stays 1), the third would worsen it.
    MemoryTree quarters;
    addFiles(quarters, {25, 25, 25, 25});
    segs = gapless(*quarters.root(), {10, 20, 100, 100});
    ASSERT_EQ(segs.size(), 4u);
    expectRect(segs[0], 10, 20, 50, 50);
    expectRect(segs[1], 10, 70, 50, 50);
    expectRect(segs[2], 60, 20, 50, 50);
    expectRect(segs[3], 60, 70, 50, 50);
}

TEST(TreemapLayout, AreasStayProportionalAndInsideTheRectangle) {
    MemoryTree t;
    const std::int64_t sizes[] = {500, 300, 120, 50, 20, 7, 3};
    addFiles(t, {500, 300, 120, 50, 20, 7, 3});
    const MapRect view{0, 0, 640, 480};
    const auto segs = gapless(*t.root(), view);
    ASSERT_EQ(segs.size(), 7u);
    double covered = 0;
    for (std::size_t i = 0; i < segs.size(); ++i) {
        const MapRect& r = *segs[i].rect;
        EXPECT_NEAR(r.width * r.height, sizes[i] * view.width * view.height / 1000.0, 1e-6);
        EXPECT_GE(std::min(r.x, r.y), -kEps);
        EXPECT_LE(r.x + r.width, view.width + 1e-6);
        EXPECT_LE(r.y + r.height, view.height + 1e-6);
        covered += r.width * r.height;
    }
    EXPECT_NEAR(covered, view.width * view.height, 1e-6);
}

TEST(TreemapLayout, DegenerateInputsGiveNoSegmentsOrEmptyRectangles) {
    MemoryTree t;
    addFiles(t, {100, 0});
    TreemapLayoutEngine engine;
    EXPECT_TRUE(engine.layout(*t.root(), {}, {0, 0, 0, 100}).empty());
    EXPECT_TRUE(engine.layout(*t.root(), {}, {0, 0, 100, -5}).empty());

    // A zero-byte child still gets its item, with a rectangle of no area.
    const auto segs = engine.layout(*t.root(), {}, {0, 0, 200, 100});
    ASSERT_EQ(segs.size(), 2u);
    expectRect(segs[0], kHalfGap, kHalfGap, 200 - 2 * kHalfGap, 100 - 2 * kHalfGap);
    EXPECT_EQ(segs[1].node->name(), "b");
    EXPECT_EQ(*segs[1].rect, MapRect{});

    MemoryTree zero;
    addFiles(zero, {0});
    EXPECT_TRUE(engine.layout(*zero.root(), {}, {0, 0, 100, 100}).empty());
    MemoryTree none;
    EXPECT_TRUE(engine.layout(*none.root(), {}, {0, 0, 100, 100}).empty());
}

TEST(TreemapLayout, AggregatesFollowTheItemsWithTheirOwnColours) {
    MemoryTree t;
    t.file(t.root(), ".hidden", 1, NodeOptions{.hidden = true});
    t.file(t.root(), "tiny", 4);
    t.file(t.root(), "b", 300);
    t.file(t.root(), "a", 600, NodeOptions{.cloud = CloudStatus::cloudPlaceholder});
    t.file(t.root(), "small", 95);
    t.totalFolders(); // 1000

    const auto segs = TreemapLayoutEngine(0.1, true).layout(*t.root(), {}, {0, 0, 300, 200});
    ASSERT_EQ(kindsOf(segs), (std::vector<std::string>{"a", "b", "smaller", "hidden"}));
    EXPECT_EQ(segs[0].color, colorForItem(0, 2, 1, CloudStatus::cloudPlaceholder));
    EXPECT_EQ(segs[1].color, colorForItem(1, 2, 1, CloudStatus::notApplicable));
    EXPECT_EQ(segs[2].aggregateID, smallerObjectsAggregateID(t.root()->id()));
    EXPECT_EQ(segs[2].aggregateSize, 99);
    EXPECT_EQ(segs[2].node.get(), t.root());
    EXPECT_LT(segs[2].color.opacity, 1.0);
    EXPECT_EQ(segs[3].aggregateID, hiddenAggregateID(t.root()->id()));
    EXPECT_EQ(segs[3].aggregateSize, 1);
    EXPECT_EQ(segs[3].color.saturation, 0.0);
}

TEST(TreemapLayout, SubfolderItemsShareTheirTopLevelAncestorsHue) {
    MemoryTree t;
    t.file(t.root(), "big", 900);
    FileNode* d = t.folder(t.root(), "d");
    t.file(d, "x", 60);
    t.file(d, "y", 20);
    t.file(d, "z", 3);
    t.file(t.root(), "c", 10);
    t.totalFolders();
    const auto segs = TreemapLayoutEngine(0.05, true).layout(*d, {}, {0, 0, 100, 100});
    ASSERT_EQ(kindsOf(segs), (std::vector<std::string>{"x", "y", "smaller"}));
    for (const auto& s : segs)
        EXPECT_NEAR(s.color.hue, 0.5, kEps); // d is second of two top-level items (c is below 5 %)
}

TEST(TreemapVolume, ShowsInaccessibleAndFreeSpaceAfterTheChildren) {
    MemoryTree t;
    t.file(t.root(), "apps", 200);
    t.file(t.root(), "tiny", 1);
    t.file(t.root(), "users", 299);
    t.totalFolders();
    const SpaceAccounting a{1000, 400, 500, 3};
    auto segs = TreemapLayoutEngine(0.5, true).layout(*t.root(), VolumeAccounting{a, true},
                                                      {0, 0, 100, 100});
    // No threshold applies to a volume's children.
    EXPECT_EQ(kindsOf(segs),
              (std::vector<std::string>{"users", "apps", "tiny", "inaccessible", "free"}));
    EXPECT_NEAR(segs[2].color.hue, 0.0, kEps); // not a top-level item at 0.5
    double area = 0;
    for (const auto& s : segs)
        area += (s.rect->width + 2 * kHalfGap) * (s.rect->height + 2 * kHalfGap);
    EXPECT_NEAR(area, 100 * 100, 1e-6);

    segs = TreemapLayoutEngine().layout(*t.root(), VolumeAccounting{a, false}, {0, 0, 100, 100});
    EXPECT_EQ(kindsOf(segs), (std::vector<std::string>{"users", "apps", "tiny", "inaccessible"}));

    const SpaceAccounting over{1000, 600, 500, 0}; // used below enumerated
    segs = TreemapLayoutEngine().layout(*t.root(), VolumeAccounting{over, false}, {0, 0, 100, 100});
    EXPECT_EQ(kindsOf(segs), (std::vector<std::string>{"users", "apps", "tiny"}));
}

} // namespace
} // namespace ringfold
