#include "core/layout/SunburstLayoutEngine.h"

#include "core/layout/TopLevelColoring.h"
#include "core/model/DisplayGrouping.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ringfold {

namespace {

constexpr double kFullCircle = 2.0 * std::numbers::pi;

MapSegment ringSegment(NodePtr node, int depth, double start, double end, double inner,
                       double outer, MapColor color) {
    MapSegment s;
    s.node = std::move(node);
    s.depth = depth;
    s.startAngle = start;
    s.endAngle = end;
    s.innerRadius = inner;
    s.outerRadius = outer;
    s.color = color;
    return s;
}

NodePtr alias(const NodePtr& hold, const FileNode& node) {
    return NodePtr(hold, const_cast<FileNode*>(&node));
}

} // namespace

std::vector<double> SunburstLayoutEngine::ringRadii(int count, double inner, double outer,
                                                    double taper) {
    const int n = count > 0 ? count : 1;
    const double width = std::max(outer - inner, 0.0);
    const double t = std::clamp(taper, 0.05, 1.0);
    double w = std::abs(t - 1.0) < 0.0001
                   ? width / n
                   : width * (1.0 - t) / (1.0 - std::pow(t, static_cast<double>(n)));
    std::vector<double> radii;
    radii.reserve(static_cast<std::size_t>(n) + 1);
    radii.push_back(inner);
    for (int i = 0; i < n; ++i) {
        radii.push_back(radii.back() + w);
        w *= t;
    }
    return radii;
}

std::vector<MapSegment>
SunburstLayoutEngine::layout(const FileNode& node,
                             const std::optional<VolumeAccounting>& accounting,
                             const MapRect& rect) const {
    std::vector<MapSegment> out;
    const double outerRadius = std::min(rect.width, rect.height) * 0.5;
    const double hole = style.centerHoleRatio * outerRadius;
    const int ringCount = static_cast<int>(std::lround(style.sunburstRingCount));

    RingContext ctx{ringRadii(ringCount, hole, outerRadius, style.ringTaper), node.shared(), &out};
    TopLevelColoring coloring(node, smallerObjectsThreshold);

    if (accounting) {
        layoutVolumeRing(ctx, node, *accounting, coloring);
        return out;
    }
    if (node.allocatedSize() < 1 || !node.hasChildren())
        return out;
    layoutRing(ctx, node, 1, coloring.nodeTopIndex(), coloring.isRootLevel(), coloring.topCount(),
               0.0, kFullCircle);
    return out;
}

void SunburstLayoutEngine::layoutRing(const RingContext& ctx, const FileNode& folder, int depth,
                                      int colorIndex, bool rootLevel, int hueCount, double a0,
                                      double a1) const {
    const auto& radii = ctx.radii;
    if (depth < 1 || static_cast<std::size_t>(depth) >= radii.size() ||
        folder.allocatedSize() < 1 || !folder.hasChildren())
        return;

    const double inner = radii[static_cast<std::size_t>(depth) - 1];
    const double outer = radii[static_cast<std::size_t>(depth)] - style.ringGap;
    const double span = a1 - a0;
    const double total = static_cast<double>(folder.allocatedSize());
    const double mid = (inner + outer) / 2.0;

    // Deciding visibility per child before sorting is the same as walking the sorted
    // list (both tests depend on the child alone) and keeps huge folders linear: only
    // the few children that get a segment are sorted.
    std::vector<FileNode*> kept;
    std::int64_t smallerSum = 0;
    std::int64_t hiddenSum = 0;
    bool hasHidden = false;
    for (FileNode* c : folder.children()) {
        if (groupHiddenItems && isGroupedHidden(*c, folder)) {
            hasHidden = true;
            hiddenSum += c->allocatedSize();
            continue;
        }
        const double size = static_cast<double>(c->allocatedSize());
        if (!isSmallerObject(*c, folder, smallerObjectsThreshold) &&
            span * mid * (size / total) >= 1.0)
            kept.push_back(c);
        else
            smallerSum += c->allocatedSize();
    }
    sortBySizeDescending(kept);

    const int ringHueCount = rootLevel ? std::max(static_cast<int>(kept.size()), 1) : hueCount;
    const double half = style.segmentAngularGap * 0.5;
    const bool recurse = static_cast<std::size_t>(depth) < radii.size() - 1;
    double cursor = a0;
    for (std::size_t i = 0; i < kept.size(); ++i) {
        const FileNode* c = kept[i];
        const int index = rootLevel ? static_cast<int>(i) : colorIndex;
        const double end = cursor + span * (static_cast<double>(c->allocatedSize()) / total);
        ctx.out->push_back(ringSegment(alias(ctx.treeHold, *c), depth, cursor + half, end - half,
                                       inner, outer,
                                       colorForItem(index, ringHueCount, depth, c->cloudStatus())));
        if (recurse && c->hasChildren())
            layoutRing(ctx, *c, depth + 1, index, false, ringHueCount, cursor, end);
        cursor = end;
    }

    const double aggHalf = std::max(style.segmentAngularGap, style.aggregateAngularGap) * 0.5;
    if (smallerSum >= 1) {
        const double end = cursor + span * (static_cast<double>(smallerSum) / total);
        MapSegment s = ringSegment(
            alias(ctx.treeHold, folder), depth, cursor + aggHalf, end - aggHalf, inner, outer,
            colorForSmallerObjects(rootLevel ? 0 : colorIndex, ringHueCount, depth, style));
        s.isGroupedSmallerObjects = true;
        s.aggregateID = smallerObjectsAggregateID(folder.id());
        s.aggregateSize = smallerSum;
        ctx.out->push_back(std::move(s));
        cursor = end;
    }
    if (hasHidden && hiddenSum >= 1) {
        const double end = cursor + span * (static_cast<double>(hiddenSum) / total);
        MapSegment s =
            ringSegment(alias(ctx.treeHold, folder), depth, cursor + aggHalf, end - aggHalf, inner,
                        outer, colorForGrey(style.hiddenItemsGray, style));
        s.isHiddenAggregate = true;
        s.aggregateID = hiddenAggregateID(folder.id());
        s.aggregateSize = hiddenSum;
        ctx.out->push_back(std::move(s));
    }
}

void SunburstLayoutEngine::layoutVolumeRing(const RingContext& ctx, const FileNode& node,
                                            const VolumeAccounting& volume,
                                            const TopLevelColoring& coloring) const {
    const SpaceAccounting& a = volume.accounting;
    const std::int64_t used = a.volumeTotalCapacity - a.volumeAvailableCapacity;
    const std::int64_t inaccessible = used - a.enumeratedAllocatedSize;
    const std::int64_t base =
        inaccessible >= 0 ? a.enumeratedAllocatedSize + inaccessible : a.enumeratedAllocatedSize;
    const std::int64_t denominator = volume.showFreeSpace ? a.volumeTotalCapacity : base;
    if (denominator < 1 || ctx.radii.size() < 2)
        return;
    const double d = static_cast<double>(denominator);
    const double inner = ctx.radii[0];
    const double outer = ctx.radii[1] - style.ringGap;

    auto [nodes, hiddenSum, hasHidden] = splitHiddenChildren(node, groupHiddenItems);
    sortBySizeDescending(nodes);

    const bool rootLevel = coloring.isRootLevel();
    const int hueCount = coloring.topCount();
    const double half = style.segmentAngularGap * 0.5;
    double cursor = 0.0;
    for (const FileNode* c : nodes) {
        const int index = rootLevel ? coloring.topIndexOf(c) : coloring.nodeTopIndex();
        const double end = cursor + (static_cast<double>(c->allocatedSize()) / d) * kFullCircle;
        ctx.out->push_back(ringSegment(alias(ctx.treeHold, *c), 1, cursor + half, end - half, inner,
                                       outer, colorForItem(index, hueCount, 1, c->cloudStatus())));
        if (c->hasChildren())
            layoutRing(ctx, *c, 2, index, false, hueCount, cursor, end);
        cursor = end;
    }

    const double aggHalf = std::max(style.segmentAngularGap, style.aggregateAngularGap) * 0.5;
    auto emitGrey = [&](std::int64_t bytes, double grey) -> MapSegment& {
        const double angle = (static_cast<double>(bytes) / d) * kFullCircle;
        ctx.out->push_back(ringSegment(alias(ctx.treeHold, node), 1, cursor + aggHalf,
                                       cursor + angle - aggHalf, inner, outer,
                                       colorForGrey(grey, style)));
        cursor += angle;
        return ctx.out->back();
    };
    if (hasHidden && hiddenSum >= 1) {
        MapSegment& s = emitGrey(hiddenSum, style.hiddenItemsGray);
        s.isHiddenAggregate = true;
        s.aggregateID = hiddenAggregateID(node.id());
        s.aggregateSize = hiddenSum;
    }
    if (inaccessible >= 1)
        emitGrey(inaccessible, style.inaccessibleGray).isInaccessibleSpace = true;
    if (volume.showFreeSpace && a.volumeAvailableCapacity >= 1)
        emitGrey(a.volumeAvailableCapacity, style.freeSpaceGray).isFreeSpace = true;
}

} // namespace ringfold
