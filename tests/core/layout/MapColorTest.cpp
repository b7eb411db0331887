#include "core/layout/MapColor.h"
#include "core/layout/MapStyle.h"
#include "core/layout/TopLevelColoring.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

namespace ringfold {
namespace {

using test::MemoryTree;
using test::NodeOptions;

constexpr double kEps = 1e-12;

TEST(MapColor, HuesAreEvenlySpacedAndRepeatAfterTwelve) {
    for (int i = 0; i < 5; ++i)
        EXPECT_NEAR(colorForItem(i, 5, 1, CloudStatus::notApplicable).hue, i * 0.2, kEps);
    EXPECT_NEAR(colorForItem(12, 20, 1, CloudStatus::notApplicable).hue, 0.0, kEps);
    EXPECT_NEAR(colorForItem(13, 20, 1, CloudStatus::notApplicable).hue, 1.0 / 12.0, kEps);
    EXPECT_NEAR(colorForItem(0, 0, 1, CloudStatus::notApplicable).hue, 0.0, kEps);
}

TEST(MapColor, RingsFadeOutwardToAFloor) {
    const double saturation[] = {0.875, 0.586, 0.297, 0.183, 0.183};
    for (int depth = 1; depth <= 5; ++depth)
        EXPECT_NEAR(colorForItem(1, 4, depth, CloudStatus::notApplicable).saturation,
                    saturation[depth - 1], 1e-9)
            << "ring " << depth;
    // Downloaded cloud files look like local ones; placeholders are washed out.
    EXPECT_EQ(colorForItem(2, 3, 2, CloudStatus::cloudDownloaded),
              colorForItem(2, 3, 2, CloudStatus::notApplicable));
    EXPECT_NEAR(colorForItem(0, 1, 2, CloudStatus::cloudPlaceholder).saturation, 0.586 * 0.25,
                1e-9);
}

TEST(MapColor, SmallerObjectsAndGreysFollowTheStyleButNotThePalette) {
    MapStyle style;
    const MapColor s = colorForSmallerObjects(3, 6, 2, style);
    EXPECT_NEAR(s.hue, 0.5, kEps);
    EXPECT_NEAR(s.opacity, 0.286, kEps);
    EXPECT_EQ(colorForGrey(style.hiddenItemsGray, style), (MapColor{0.58, 0.0, 0.341, 1.0}));

    // A changed style copy tints greys and fades aggregates, but item colours stay.
    style.frostTint = 0.5;
    style.smallerObjectsOpacity = 0.5;
    style.saturationBase = 0.1;
    const MapColor g = colorForGrey(0.5, style);
    EXPECT_NEAR(g.saturation, 0.2, kEps);
    EXPECT_NEAR(g.brightness, 0.5 + 0.5 * 0.18 * 0.5, kEps);
    EXPECT_NEAR(colorForSmallerObjects(0, 1, 1, style).opacity, 0.5, kEps);
    EXPECT_NEAR(colorForSmallerObjects(0, 1, 1, style).saturation, 0.875, kEps);
}

TEST(TopLevelColoring, RanksVisibleRootChildrenAboveTheThreshold) {
    MemoryTree t;
    FileNode* small = t.folder(t.root(), "small");
    FileNode* deep = t.folder(small, "deep");
    t.file(deep, "f", 4);
    FileNode* hidden = t.folder(t.root(), ".big", NodeOptions{.hidden = true});
    FileNode* h1 = t.file(hidden, "h", 500);
    FileNode* a = t.file(t.root(), "a", 300);
    FileNode* b = t.folder(t.root(), "b");
    FileNode* b1 = t.file(b, "b1", 300);
    t.totalFolders(); // 1104

    const TopLevelColoring atRoot(*t.root(), 0.01);
    EXPECT_TRUE(atRoot.isRootLevel());
    EXPECT_EQ(atRoot.topCount(), 2); // small is below 1 %, .big is hidden
    EXPECT_EQ(atRoot.topIndexOf(a), 0);
    EXPECT_EQ(atRoot.topIndexOf(b), 1); // equal sizes keep child order
    EXPECT_EQ(atRoot.topIndexOf(small), 0);

    EXPECT_EQ(TopLevelColoring(*b1, 0.01).nodeTopIndex(), 1);
    EXPECT_FALSE(TopLevelColoring(*b1, 0.01).isRootLevel());
    EXPECT_EQ(&TopLevelColoring(*b1, 0.01).treeRoot(), t.root());
    EXPECT_EQ(TopLevelColoring(*h1, 0.01).nodeTopIndex(), 0);
    EXPECT_EQ(TopLevelColoring(*deep, 0.0).nodeTopIndex(), 2);
    EXPECT_EQ(TopLevelColoring(*deep, 0.0).topCount(), 3);

    MemoryTree empty;
    EXPECT_EQ(TopLevelColoring(*empty.root(), 0.5).topCount(), 1);
}

} // namespace
} // namespace ringfold
