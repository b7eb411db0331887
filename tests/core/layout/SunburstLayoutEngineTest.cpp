#include "core/layout/SunburstLayoutEngine.h"
#include "core/model/DisplayGrouping.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

#include <numbers>
#include <string>
#include <utility>
#include <vector>

namespace ringfold {
namespace {

using test::MemoryTree;
using test::NodeOptions;

constexpr double kTau = 2.0 * std::numbers::pi;
constexpr double kEps = 1e-9;
constexpr std::int64_t GB = 1000LL * 1000 * 1000;

const MapRect kLargeView{0, 0, 1000, 1000};

void expectArc(const MapSegment& s, double startFraction, double endFraction) {
    EXPECT_NEAR(s.startAngle, startFraction * kTau, kEps);
    EXPECT_NEAR(s.endAngle, endFraction * kTau, kEps);
}

std::vector<std::string> kindsOf(const std::vector<MapSegment>& segs, int onlyDepth = 0) {
    std::vector<std::string> out;
    for (const auto& s : segs)
        if (onlyDepth == 0 || s.depth == onlyDepth)
            out.push_back(s.isGroupedSmallerObjects ? "smaller"
                          : s.isHiddenAggregate     ? "hidden"
                          : s.isInaccessibleSpace   ? "inaccessible"
                          : s.isFreeSpace           ? "free"
                                                    : std::string(s.node->name()));
    return out;
}

TEST(SunburstRingRadii, DefaultViewOf400By300HasThreeEqualRingsOutsideTheHole) {
    const auto radii = SunburstLayoutEngine::ringRadii(3, 0.355 * 150, 150, 1.0);
    const std::vector<double> expected = {53.25, 85.5, 117.75, 150.0};
    ASSERT_EQ(radii.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(radii[i], expected[i], kEps);

    // The same boundaries reach the segments, outer edges a ring gap short.
    MemoryTree t;
    FileNode* a = t.folder(t.root(), "a");
    FileNode* b = t.folder(a, "b");
    t.file(b, "c", 100);
    t.totalFolders();
    const auto segs = SunburstLayoutEngine(0.0, true).layout(*t.root(), {}, {0, 0, 400, 300});
    ASSERT_EQ(segs.size(), 3u);
    for (int d = 1; d <= 3; ++d) {
        EXPECT_EQ(segs[d - 1].depth, d);
        EXPECT_NEAR(segs[d - 1].innerRadius, radii[d - 1], kEps);
        EXPECT_NEAR(segs[d - 1].outerRadius, radii[d] - 0.647, kEps);
    }
}

TEST(SunburstRingRadii, TaperShrinksEachRingAndIsClamped) {
    auto radii = SunburstLayoutEngine::ringRadii(3, 0, 70, 0.5);
    ASSERT_EQ(radii.size(), 4u);
    EXPECT_NEAR(radii[1] - radii[0], 40, kEps);
    EXPECT_NEAR(radii[2] - radii[1], 20, kEps);
    EXPECT_NEAR(radii[3] - radii[2], 10, kEps);

    // Tapers above 1 widen nothing; tiny tapers stop at 0.05; both still fill the width.
    radii = SunburstLayoutEngine::ringRadii(2, 10, 30, 3.0);
    EXPECT_NEAR(radii[1], 20, kEps);
    radii = SunburstLayoutEngine::ringRadii(2, 0, 105, 0.0);
    EXPECT_NEAR(radii[1], 100, kEps);
    EXPECT_NEAR(radii[2], 105, kEps);

    // No rings asked for still gives one; an inverted range gives rings of no width.
    EXPECT_EQ(SunburstLayoutEngine::ringRadii(0, 0, 10, 1.0).size(), 2u);
    radii = SunburstLayoutEngine::ringRadii(2, 50, 10, 1.0);
    EXPECT_EQ(radii, (std::vector<double>{50, 50, 50}));
}

TEST(SunburstLayout, RootChildrenSplitTheCircleBySizeWithOneHueEach) {
    MemoryTree t;
    FileNode* small = t.file(t.root(), "small", 10);
    FileNode* big = t.file(t.root(), "big", 60);
    FileNode* mid = t.file(t.root(), "mid", 30);
    t.totalFolders();

    const auto segs = SunburstLayoutEngine(0.0, true).layout(*t.root(), {}, kLargeView);
    ASSERT_EQ(segs.size(), 3u);
    const FileNode* order[] = {big, mid, small};
    const double bounds[] = {0.0, 0.6, 0.9, 1.0};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(segs[i].node.get(), order[i]);
        expectArc(segs[i], bounds[i], bounds[i + 1]);
        EXPECT_TRUE(segs[i].isPlainItem());
        EXPECT_FALSE(segs[i].aggregateID.has_value());
        EXPECT_NEAR(segs[i].color.hue, static_cast<double>(i) / 3.0, kEps);
    }
}

TEST(SunburstLayout, EmptyOrZeroSizedFoldersGiveNoSegments) {
    MemoryTree empty;
    EXPECT_TRUE(SunburstLayoutEngine().layout(*empty.root(), {}, kLargeView).empty());

    MemoryTree zero;
    zero.file(zero.root(), "a", 0);
    zero.totalFolders();
    EXPECT_TRUE(SunburstLayoutEngine().layout(*zero.root(), {}, kLargeView).empty());
    // A volume whose figures are all zero has no denominator.
    EXPECT_TRUE(
        SunburstLayoutEngine().layout(*zero.root(), VolumeAccounting{}, kLargeView).empty());
}

TEST(SunburstLayout, TinyChildrenFoldIntoSmallerObjectsByArcOrThreshold) {
    MemoryTree t;
    FileNode* big = t.file(t.root(), "big", 1'000'000);
    t.file(t.root(), "tiny", 1);
    t.totalFolders();

    // With no threshold the 1-byte child is still shorter than a point on ring 1.
    auto segs = SunburstLayoutEngine(0.0, true).layout(*t.root(), {}, {0, 0, 400, 300});
    ASSERT_EQ(segs.size(), 2u);
    EXPECT_EQ(segs[0].node.get(), big);
    const MapSegment& agg = segs[1];
    EXPECT_TRUE(agg.isGroupedSmallerObjects);
    EXPECT_EQ(agg.node.get(), t.root());
    EXPECT_EQ(agg.aggregateID, smallerObjectsAggregateID(t.root()->id()));
    EXPECT_EQ(agg.aggregateSize, 1);
    EXPECT_NEAR(agg.startAngle, segs[0].endAngle, kEps);
    EXPECT_NEAR(agg.endAngle, kTau, kEps);

    // The threshold folds children that are large enough to draw.
    MemoryTree u;
    u.file(u.root(), "a", 60);
    u.file(u.root(), "b", 30);
    u.file(u.root(), "c", 10);
    u.totalFolders();
    segs = SunburstLayoutEngine(0.2, true).layout(*u.root(), {}, kLargeView);
    ASSERT_EQ(segs.size(), 3u);
    EXPECT_TRUE(segs[2].isGroupedSmallerObjects);
    EXPECT_EQ(segs[2].aggregateSize, 10);
    expectArc(segs[2], 0.9, 1.0);
    // Exactly at the threshold stays.
    segs = SunburstLayoutEngine(0.1, true).layout(*u.root(), {}, kLargeView);
    ASSERT_EQ(segs.size(), 3u);
    EXPECT_TRUE(segs[2].isPlainItem());
}

TEST(SunburstLayout, SubtreesFollowTheirParentAndStopAtTheLastRing) {
    MemoryTree t;
    FileNode* x = t.folder(t.root(), "x");
    FileNode* x1 = t.file(x, "x1", 200);
    FileNode* x2 = t.folder(x, "x2");
    FileNode* x2a = t.folder(x2, "x2a");
    t.file(x2a, "deep", 400); // ring 4: not laid out with three rings
    FileNode* y = t.folder(t.root(), "y");
    FileNode* y1 = t.file(y, "y1", 300);
    t.file(y, ".cfg", 1, NodeOptions{.hidden = true});
    t.totalFolders();

    const auto segs = SunburstLayoutEngine(0.0, true).layout(*t.root(), {}, kLargeView);
    std::vector<std::pair<const FileNode*, int>> got;
    for (const auto& s : segs)
        got.emplace_back(s.node.get(), s.depth);
    const std::vector<std::pair<const FileNode*, int>> want = {{x, 1}, {x2, 2}, {x2a, 3}, {x1, 2},
                                                               {y, 1}, {y1, 2}, {y, 2}};
    EXPECT_EQ(got, want);
    EXPECT_TRUE(segs.back().isHiddenAggregate);
    EXPECT_EQ(segs.back().aggregateID, hiddenAggregateID(y->id()));
    EXPECT_EQ(segs.back().aggregateSize, 1);
    EXPECT_NEAR(segs.back().color.saturation, 0.0, kEps);

    // Children span their parent's angles: x2 (400 of x's 600) starts where x starts.
    EXPECT_NEAR(segs[1].startAngle, segs[0].startAngle, kEps);
    EXPECT_NEAR(segs[1].endAngle - segs[1].startAngle,
                (segs[0].endAngle - segs[0].startAngle) * 400.0 / 600.0, kEps);
    // Descendants keep their ring-1 ancestor's hue and fade outward.
    EXPECT_NEAR(segs[4].color.hue, 0.5, kEps); // y is second of two
    EXPECT_NEAR(segs[5].color.hue, 0.5, kEps);
    EXPECT_LT(segs[1].color.saturation, segs[0].color.saturation);
    EXPECT_LT(segs[2].color.saturation, segs[1].color.saturation);

    // A fourth ring reaches the deep file.
    SunburstLayoutEngine four;
    four.style.sunburstRingCount = 4.4;
    EXPECT_EQ(four.layout(*t.root(), {}, kLargeView).size(), segs.size() + 1);
}

TEST(SunburstLayout, SmallerObjectsComeBeforeHiddenItemsOnEveryRing) {
    MemoryTree t;
    FileNode* d = t.folder(t.root(), "d");
    t.file(d, "big", 900);
    t.file(d, "small", 50);
    t.file(d, ".h", 10, NodeOptions{.hidden = true});
    t.file(t.root(), "f", 1000);
    t.totalFolders();

    const auto segs = SunburstLayoutEngine(0.1, true).layout(*t.root(), {}, kLargeView);
    EXPECT_EQ(kindsOf(segs), (std::vector<std::string>{"f", "d", "big", "smaller", "hidden"}));
    // On a deeper ring the smaller-objects segment keeps the folder's hue.
    EXPECT_NEAR(segs[1].color.hue, 0.5, kEps);
    EXPECT_NEAR(segs[3].color.hue, 0.5, kEps);
    EXPECT_EQ(segs[3].depth, 2);
    // With grouping off the hidden child is an ordinary item.
    const auto plain = SunburstLayoutEngine(0.0, false).layout(*d, {}, kLargeView);
    ASSERT_EQ(plain.size(), 3u);
    EXPECT_EQ(plain[2].node->name(), ".h");
}

TEST(SunburstLayout, SubfolderTakesItsTopLevelAncestorsHue) {
    MemoryTree t;
    FileNode* a = t.folder(t.root(), "a");
    t.file(a, "a1", 600);
    FileNode* b = t.folder(t.root(), "b");
    FileNode* b1 = t.folder(b, "b1");
    t.file(b1, "x", 300);
    t.file(b1, "y", 100);
    t.file(t.root(), ".hidden", 5, NodeOptions{.hidden = true}); // not a top-level item
    t.totalFolders();

    const auto segs = SunburstLayoutEngine(0.0, true).layout(*b1, {}, kLargeView);
    ASSERT_EQ(segs.size(), 2u);
    for (const auto& s : segs) {
        EXPECT_NEAR(s.color.hue, 0.5, kEps); // index 1 of 2 top-level items
        EXPECT_EQ(s.depth, 1);
    }
    expectArc(segs[0], 0.0, 0.75);
    expectArc(segs[1], 0.75, 1.0);
}

class VolumeRing : public ::testing::Test {
protected:
    void SetUp() override {
        t.file(t.root(), "apps", 200 * GB);
        t.file(t.folder(t.root(), "users"), "me", 300 * GB);
        t.totalFolders();
    }
    MemoryTree t;
    SpaceAccounting accounting{1000 * GB, 400 * GB, 500 * GB, 0};
};

TEST_F(VolumeRing, WithFreeSpaceTheFirstRingIsTheWholeDisk) {
    const auto segs =
        SunburstLayoutEngine().layout(*t.root(), VolumeAccounting{accounting, true}, kLargeView);
    ASSERT_EQ(kindsOf(segs),
              (std::vector<std::string>{"users", "me", "apps", "inaccessible", "free"}));
    const std::pair<double, double> arcs[] = {{0, 0.3}, {0, 0.3}, {0.3, 0.5}, {0.5, 0.6}, {0.6, 1}};
    for (std::size_t i = 0; i < 5; ++i) // users' child follows it
        expectArc(segs[i], arcs[i].first, arcs[i].second);
    EXPECT_EQ(segs[1].depth, 2);
    EXPECT_FALSE(segs[3].aggregateID.has_value());
    EXPECT_EQ(segs[4].node.get(), t.root());
    // Volume items are coloured by their top-level position among two.
    EXPECT_NEAR(segs[0].color.hue, 0.0, kEps);
    EXPECT_NEAR(segs[2].color.hue, 0.5, kEps);
}

TEST_F(VolumeRing, WithoutFreeSpaceUsedSpaceFillsTheCircle) {
    auto segs =
        SunburstLayoutEngine().layout(*t.root(), VolumeAccounting{accounting, false}, kLargeView);
    ASSERT_EQ(kindsOf(segs), (std::vector<std::string>{"users", "me", "apps", "inaccessible"}));
    expectArc(segs[2], 0.5, 500.0 / 600.0);
    expectArc(segs[3], 500.0 / 600.0, 1.0);

    // More enumerated than used shows no inaccessible space.
    accounting.volumeAvailableCapacity = 600 * GB; // used 400 GB < 500 GB enumerated
    segs =
        SunburstLayoutEngine().layout(*t.root(), VolumeAccounting{accounting, false}, kLargeView);
    EXPECT_EQ(kindsOf(segs), (std::vector<std::string>{"users", "me", "apps"}));
    expectArc(segs[2], 0.6, 1.0);

    segs = SunburstLayoutEngine().layout(*t.root(), VolumeAccounting{accounting, true}, kLargeView);
    ASSERT_EQ(segs.size(), 4u);
    expectArc(segs[3], 0.5, 1.1); // the free figure is taken as reported
}

TEST_F(VolumeRing, EveryChildGetsASegmentAndHiddenItemsComeFirstAmongGreys) {
    t.file(t.root(), "crumb", 1);
    t.file(t.root(), ".Trash", GB / 2, NodeOptions{.hidden = true});
    t.totalFolders();
    accounting.enumeratedAllocatedSize = t.root()->allocatedSize();
    const auto segs = SunburstLayoutEngine(0.5, true).layout(
        *t.root(), VolumeAccounting{accounting, true}, {0, 0, 100, 100});
    EXPECT_EQ(kindsOf(segs, 1), (std::vector<std::string>{"users", "apps", "crumb", "hidden",
                                                           "inaccessible", "free"}));
}

} // namespace
} // namespace ringfold
