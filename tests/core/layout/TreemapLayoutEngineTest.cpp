#include "core/layout/TreemapLayoutEngine.h"
#include "SegmentKinds.h"

#include <algorithm>

namespace ringfold {
namespace {

using namespace test;

constexpr double kEps = 1e-6;
constexpr double kHalfGap = 1.3505;

// Files a, b, c, ... of the given sizes under the root, folders totalled.
void addFiles(MemoryTree& t, std::initializer_list<std::int64_t> sizes) {
    char name = 'a';
    for (std::int64_t s : sizes)
        t.file(t.root(), std::string(1, name++), s);
    t.totalFolders();
}

std::vector<MapRect> gaplessRects(std::initializer_list<std::int64_t> sizes, MapRect view) {
    MemoryTree t;
    addFiles(t, sizes);
    TreemapLayoutEngine engine;
    engine.style.treemapGap = 0.0;
    std::vector<MapRect> out;
    for (const auto& s : engine.layout(*t.root(), {}, view))
        out.push_back(*s.rect);
    return out;
}

TEST(TreemapLayout, RowsGrowWhileTheirWorstRatioDoesNotAndGapsInsetEachItem) {
    // Two halves: a tie keeps the row open. Four quarters: the third would worsen it.
    EXPECT_EQ(gaplessRects({50, 50}, {0, 0, 100, 100}),
              (std::vector<MapRect>{{0, 0, 100, 50}, {0, 50, 100, 50}}));
    EXPECT_EQ(gaplessRects({25, 25, 25, 25}, {10, 20, 100, 100}),
              (std::vector<MapRect>{
                  {10, 20, 50, 50}, {10, 70, 50, 50}, {60, 20, 50, 50}, {60, 70, 50, 50}}));
    MemoryTree t;
    addFiles(t, {50, 50});
    const auto segs = TreemapLayoutEngine(0.0, true).layout(*t.root(), {}, {0, 0, 200, 100});
    ASSERT_EQ(kindsOf(segs), (Names{"a", "b"})); // equal sizes keep child order
    const MapRect& r = *segs[1].rect;
    EXPECT_THAT((Values{r.x, r.y, r.width, r.height}),
                Pointwise(DoubleNear(kEps), Values{100 + kHalfGap, kHalfGap, 97.299, 97.299}));
}

TEST(TreemapLayout, AreasStayProportionalAndInsideTheRectangle) {
    const std::int64_t sizes[] = {500, 300, 120, 50, 20, 7, 3};
    const MapRect view{0, 0, 640, 480};
    const auto rects = gaplessRects({500, 300, 120, 50, 20, 7, 3}, view);
    ASSERT_EQ(rects.size(), 7u);
    for (std::size_t i = 0; i < rects.size(); ++i) {
        const MapRect& r = rects[i];
        EXPECT_NEAR(r.width * r.height, sizes[i] * view.width * view.height / 1000.0, kEps);
        EXPECT_GE(std::min(r.x, r.y), -kEps);
        EXPECT_LE(r.x + r.width, view.width + kEps);
        EXPECT_LE(r.y + r.height, view.height + kEps);
    }
}

TEST(TreemapLayout, DegenerateInputsGiveNoSegmentsOrEmptyRectangles) {
    MemoryTree t;
    addFiles(t, {100, 0});
    TreemapLayoutEngine engine;
    for (MapRect flat : {MapRect{0, 0, 0, 100}, MapRect{0, 0, 100, -5}})
        EXPECT_TRUE(engine.layout(*t.root(), {}, flat).empty());
    const auto segs = engine.layout(*t.root(), {}, {0, 0, 200, 100});
    ASSERT_EQ(kindsOf(segs), (Names{"a", "b"}));
    EXPECT_EQ(*segs[1].rect, MapRect{}); // a zero-byte child: an item with no area
    MemoryTree zero;
    addFiles(zero, {0});
    EXPECT_TRUE(engine.layout(*zero.root(), {}, {0, 0, 100, 100}).empty());
}

TEST(TreemapLayout, AggregatesFollowTheItemsWithTheirOwnColours) {
    MemoryTree t;
    t.file(t.root(), ".hidden", 1, {.hidden = true});
    t.file(t.root(), "tiny", 4);
    t.file(t.root(), "b", 300);
    FileNode* a = t.folder(t.root(), "a");
    t.file(a, "x", 600, {.cloud = CloudStatus::cloudPlaceholder});
    t.file(t.root(), "small", 95);
    t.totalFolders(); // 1000

    auto segs = TreemapLayoutEngine(0.1, true).layout(*t.root(), {}, {0, 0, 300, 200});
    ASSERT_EQ(kindsOf(segs), (Names{"a", "b", "smaller", "hidden"}));
    EXPECT_EQ(segs[1].color, colorForItem(1, 2, 1, CloudStatus::notApplicable));
    EXPECT_EQ(segs[2].aggregateID, smallerObjectsAggregateID(t.root()->id()));
    EXPECT_EQ(segs[2].aggregateSize, 99);
    EXPECT_EQ(segs[3].aggregateID, hiddenAggregateID(t.root()->id()));
    // Inside a folder, items keep their top-level ancestor's hue.
    segs = TreemapLayoutEngine(0.1, true).layout(*a, {}, {0, 0, 100, 100});
    EXPECT_EQ(segs[0].color, colorForItem(0, 2, 1, CloudStatus::cloudPlaceholder));
}

TEST(TreemapVolume, ShowsInaccessibleAndFreeSpaceAfterTheChildren) {
    MemoryTree t;
    addFiles(t, {200, 1, 299});
    const auto layout = [&](SpaceAccounting a, bool free, double threshold) {
        return TreemapLayoutEngine(threshold, true)
            .layout(*t.root(), VolumeAccounting{a, free}, {0, 0, 100, 100});
    };
    const auto segs = layout({1000, 400, 500, 3}, true, 0.5);
    // No threshold applies to a volume's children; everything shares the rectangle.
    EXPECT_EQ(kindsOf(segs), (Names{"c", "a", "b", "inaccessible", "free"}));
    EXPECT_NEAR((segs[4].rect->width + 2 * kHalfGap) * (segs[4].rect->height + 2 * kHalfGap),
                100 * 100 * 0.4, kEps);
    EXPECT_EQ(kindsOf(layout({1000, 400, 500, 3}, false, 0)),
              (Names{"c", "a", "b", "inaccessible"}));
    EXPECT_EQ(kindsOf(layout({1000, 600, 500, 0}, false, 0)),
              (Names{"c", "a", "b"})); // used < enumerated
}

} // namespace
} // namespace ringfold
