#include "core/layout/SunburstLayoutEngine.h"
#include "SegmentKinds.h"

#include <numbers>

namespace ringfold {
namespace {

using namespace test;

constexpr double kEps = 1e-9;
constexpr std::int64_t GB = 1000LL * 1000 * 1000;
const MapRect kView{0, 0, 1000, 1000};

// Start and end of every segment as fractions of the circle, one after the other.
Values arcs(const std::vector<MapSegment>& segs) {
    Values out;
    for (const auto& s : segs)
        for (double angle : {s.startAngle, s.endAngle})
            out.push_back(angle / (2 * std::numbers::pi));
    return out;
}

TEST(SunburstRingRadii, EqualRingsTaperedClampedAndDegenerate) {
    const struct {
        int count;
        double inner, outer, taper;
        Values radii;
    } cases[] = {
        {3, 0.355 * 150, 150, 1.0, {53.25, 85.5, 117.75, 150}}, // the 400 x 300 default view
        {3, 0, 70, 0.5, {0, 40, 60, 70}},                       // each ring half the last
        {2, 10, 30, 3.0, {10, 20, 30}},                         // tapers above 1 widen nothing
        {2, 0, 105, 0.0, {0, 100, 105}},                        // tiny tapers stop at 0.05
        {0, 0, 10, 1.0, {0, 10}},                               // always at least one ring
        {2, 50, 10, 1.0, {50, 50, 50}}};                        // inverted: rings of no width
    for (const auto& c : cases)
        EXPECT_THAT(SunburstLayoutEngine::ringRadii(c.count, c.inner, c.outer, c.taper),
                    Pointwise(DoubleNear(kEps), c.radii));
}

TEST(SunburstLayout, ChildrenSplitTheCircleBySizeAndSmallOnesFoldIntoSmallerObjects) {
    MemoryTree t;
    for (auto [name, size] : {std::pair{"small", 10}, {"big", 60}, {"mid", 30}})
        t.file(t.root(), name, size);
    t.totalFolders();
    auto segs = SunburstLayoutEngine(0.0, true).layout(*t.root(), {}, kView);
    EXPECT_EQ(kindsOf(segs), (Names{"big", "mid", "small"}));
    EXPECT_THAT(arcs(segs), Pointwise(DoubleNear(kEps), Values{0, 0.6, 0.6, 0.9, 0.9, 1}));
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(segs[i].color.hue, i / 3.0, kEps);
    // The threshold folds children large enough to draw; exactly at it they stay.
    segs = SunburstLayoutEngine(0.2, true).layout(*t.root(), {}, kView);
    ASSERT_EQ(kindsOf(segs), (Names{"big", "mid", "smaller"}));
    EXPECT_EQ(segs[2].aggregateID, smallerObjectsAggregateID(t.root()->id()));
    EXPECT_EQ(segs[2].aggregateSize, 10);
    EXPECT_EQ(SunburstLayoutEngine(0.1, true).layout(*t.root(), {}, kView).size(), 3u);
    // Without a threshold a child shorter than a point on ring 1 still folds.
    t.file(t.root(), "speck", 1);
    t.file(t.root(), "huge", 1000);
    t.totalFolders();
    segs = SunburstLayoutEngine(0.0, true).layout(*t.root(), {}, {0, 0, 400, 300});
    EXPECT_EQ(kindsOf(segs), (Names{"huge", "big", "mid", "small", "smaller"}));
    EXPECT_EQ(segs.back().aggregateSize, 1);

    MemoryTree zero; // no segments without a denominator, even for a volume
    zero.file(zero.root(), "a", 0);
    EXPECT_TRUE(SunburstLayoutEngine().layout(*zero.root(), {}, kView).empty());
    EXPECT_TRUE(SunburstLayoutEngine().layout(*zero.root(), VolumeAccounting{}, kView).empty());
}

TEST(SunburstLayout, SubtreesFollowTheirParentKeepItsHueAndStopAtTheLastRing) {
    MemoryTree t;
    FileNode* x = t.folder(t.root(), "x");
    FileNode* x1 = t.file(x, "x1", 200);
    FileNode* x2 = t.folder(x, "x2");
    FileNode* x2a = t.folder(x2, "x2a");
    t.file(x2a, "deep", 400); // ring 4: not laid out with three rings
    FileNode* y = t.folder(t.root(), "y");
    FileNode* y1 = t.file(y, "y1", 300);
    t.file(y, ".cfg", 1, {.hidden = true});
    t.totalFolders();

    const auto segs = SunburstLayoutEngine(0.0, true).layout(*t.root(), {}, kView);
    std::vector<std::pair<const FileNode*, int>> got;
    for (const auto& s : segs)
        got.emplace_back(s.node.get(), s.depth);
    EXPECT_EQ(got, (std::vector<std::pair<const FileNode*, int>>{
                       {x, 1}, {x2, 2}, {x2a, 3}, {x1, 2}, {y, 1}, {y1, 2}, {y, 2}}));
    EXPECT_EQ(segs.back().aggregateID, hiddenAggregateID(y->id()));
    const auto radii = SunburstLayoutEngine::ringRadii(3, 0.355 * 500, 500, 1.0);
    EXPECT_NEAR(segs[2].innerRadius, radii[2], kEps);
    EXPECT_NEAR(segs[2].outerRadius, radii[3] - 0.647, kEps); // a ring gap short
    // x2 (400 of x's 600) starts where x starts and spans its share of x's angle.
    const Values a = arcs(segs);
    EXPECT_NEAR(a[2], a[0], kEps);
    EXPECT_NEAR(a[3] - a[2], (a[1] - a[0]) * 400.0 / 600.0, kEps);
    EXPECT_NEAR(segs[5].color.hue, 0.5, kEps); // y's child keeps y's hue (second of two)
    EXPECT_LT(segs[2].color.saturation, segs[1].color.saturation);
}

TEST(SunburstLayout, SmallerObjectsBeforeHiddenItemsAndAFocusedFolderKeepsItsHue) {
    MemoryTree t;
    FileNode* d = t.folder(t.root(), "d");
    t.file(d, "big", 900);
    t.file(d, "small", 50);
    t.file(d, ".h", 10, {.hidden = true});
    t.file(t.root(), "f", 1000);
    t.file(t.root(), ".top", 5, {.hidden = true}); // hidden: not a top-level item
    t.totalFolders();
    auto segs = SunburstLayoutEngine(0.1, true).layout(*t.root(), {}, kView);
    EXPECT_EQ(kindsOf(segs), (Names{"f", "d", "big", "smaller", "hidden", "hidden"}));
    EXPECT_NEAR(segs[3].color.hue, 0.5, kEps);                     // d's smaller objects on ring 2
    segs = SunburstLayoutEngine(0.0, false).layout(*d, {}, kView); // focused, no grouping
    EXPECT_EQ(kindsOf(segs), (Names{"big", "small", ".h"}));
    EXPECT_NEAR(segs[2].color.hue, 0.5, kEps); // d is second of two top-level items
    EXPECT_EQ(segs[2].depth, 1);
}

TEST(SunburstVolume, FreeSpaceMakesTheFirstRingTheWholeDiskElseUsedSpaceFillsIt) {
    MemoryTree t;
    t.file(t.root(), "apps", 200 * GB);
    t.file(t.folder(t.root(), "users"), "me", 300 * GB);
    t.totalFolders();
    SpaceAccounting accounting{1000 * GB, 400 * GB, 500 * GB, 0};
    const auto layout = [&](bool showFree, double threshold = 0.0) {
        return SunburstLayoutEngine(threshold, true)
            .layout(*t.root(), VolumeAccounting{accounting, showFree}, kView);
    };
    auto segs = layout(true);
    ASSERT_EQ(kindsOf(segs), (Names{"users", "me", "apps", "inaccessible", "free"}));
    EXPECT_THAT(arcs(segs),
                Pointwise(DoubleNear(kEps), Values{0, 0.3, 0, 0.3, 0.3, 0.5, 0.5, 0.6, 0.6, 1}));
    EXPECT_EQ(segs[4].node.get(), t.root());
    segs = layout(false);
    ASSERT_EQ(kindsOf(segs), (Names{"users", "me", "apps", "inaccessible"}));
    EXPECT_NEAR(arcs(segs)[6], 500.0 / 600.0, kEps);
    accounting.volumeAvailableCapacity = 600 * GB; // used 400 GB < 500 GB enumerated
    EXPECT_EQ(kindsOf(layout(false)), (Names{"users", "me", "apps"}));
    EXPECT_NEAR(arcs(layout(true))[7], 1.1, kEps); // the free figure is taken as reported
    // Every child of a volume gets a segment; hidden items come first among the greys.
    t.file(t.root(), "crumb", 1);
    t.file(t.root(), ".Trash", GB / 2, {.hidden = true});
    accounting = {1000 * GB, 400 * GB, t.totalFolders(), 0};
    EXPECT_EQ(kindsOf(layout(true, 0.5), 1),
              (Names{"users", "apps", "crumb", "hidden", "inaccessible", "free"}));
}

TEST(MapColor, HuesSpreadEvenlyAndRepeatAfterTwelveRingsFadeToAFloor) {
    const auto local = CloudStatus::notApplicable;
    // clang-format off
    for (auto [index, count, hue] : {std::tuple{0, 5, 0.0}, {3, 5, 0.6}, {12, 20, 0.0},
                                     {13, 20, 1.0 / 12}, {0, 0, 0.0}})
        // clang-format on
        EXPECT_NEAR(colorForItem(index, count, 1, local).hue, hue, kEps) << index;
    EXPECT_EQ(colorForItem(1, 4, 4, local).saturation, colorForItem(1, 4, 9, local).saturation);
    // Downloaded cloud files look like local ones; placeholders are washed out.
    EXPECT_EQ(colorForItem(2, 3, 2, CloudStatus::cloudDownloaded), colorForItem(2, 3, 2, local));
    EXPECT_LT(colorForItem(0, 1, 2, CloudStatus::cloudPlaceholder).saturation,
              colorForItem(0, 1, 2, local).saturation / 2);
}

} // namespace
} // namespace ringfold
