#include "core/layout/TreemapLayoutEngine.h"

#include "core/layout/TopLevelColoring.h"
#include "core/model/DisplayGrouping.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ringfold {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Worst aspect ratio of a row with these area statistics laid along a side of `side`.
double worstRatio(double sum, double maxArea, double minArea, double side) {
    if (!(sum > 0.0) || !(minArea > 0.0) || !(side > 0.0))
        return kInfinity;
    const double s2 = side * side;
    const double sum2 = sum * sum;
    return std::max(s2 * maxArea / sum2, sum2 / (s2 * minArea));
}

} // namespace

TreemapLayoutEngine::Items
TreemapLayoutEngine::buildItems(const FileNode& node,
                                const std::optional<VolumeAccounting>& accounting) const {
    TopLevelColoring coloring(node, smallerObjectsThreshold);
    const bool rootLevel = coloring.isRootLevel();

    // Named, not a structured binding: the lambda below uses them, which clang 14
    // (the fuzzing build) does not allow for bindings.
    VisibleChildren split = splitHiddenChildren(node, groupHiddenItems);
    std::vector<FileNode*>& children = split.nodes;
    const std::int64_t hiddenSum = split.hiddenAllocated;
    const bool hasHidden = split.hasHidden;

    Items result;
    auto& items = result.items;
    auto childItem = [](const FileNode* c, int index) {
        Item it;
        it.node = c;
        it.size = c->allocatedSize();
        it.topLevelIndex = index;
        it.cloudStatus = c->cloudStatus();
        return it;
    };
    auto pushHidden = [&] {
        if (!hasHidden || hiddenSum <= 0)
            return;
        Item it;
        it.node = &node;
        it.size = hiddenSum;
        it.isHiddenAggregate = true;
        it.aggregateID = hiddenAggregateID(node.id());
        it.aggregateSize = hiddenSum;
        items.push_back(it);
    };

    if (accounting) {
        sortBySizeDescending(children);
        items.reserve(children.size() + 3);
        for (const FileNode* c : children)
            items.push_back(
                childItem(c, rootLevel ? coloring.topIndexOf(c) : coloring.nodeTopIndex()));
        pushHidden();
        const SpaceAccounting& a = accounting->accounting;
        const std::int64_t inaccessible =
            (a.volumeTotalCapacity - a.volumeAvailableCapacity) - a.enumeratedAllocatedSize;
        if (inaccessible > 0) {
            Item it;
            it.node = &node;
            it.size = inaccessible;
            it.isInaccessibleSpace = true;
            items.push_back(it);
        }
        if (accounting->showFreeSpace && a.volumeAvailableCapacity > 0) {
            Item it;
            it.node = &node;
            it.size = a.volumeAvailableCapacity;
            it.isFreeSpace = true;
            items.push_back(it);
        }
        result.hueCount = coloring.topCount();
        return result;
    }

    std::vector<FileNode*> kept;
    kept.reserve(children.size());
    std::int64_t smallerSum = 0;
    for (FileNode* c : children) {
        if (isSmallerObject(*c, node, smallerObjectsThreshold))
            smallerSum += c->allocatedSize();
        else
            kept.push_back(c);
    }
    sortBySizeDescending(kept);
    items.reserve(kept.size() + 2);
    for (std::size_t i = 0; i < kept.size(); ++i)
        items.push_back(
            childItem(kept[i], rootLevel ? static_cast<int>(i) : coloring.nodeTopIndex()));
    if (smallerSum > 0) {
        Item it;
        it.node = &node;
        it.size = smallerSum;
        it.isGroupedSmallerObjects = true;
        it.topLevelIndex = rootLevel ? 0 : coloring.nodeTopIndex();
        it.aggregateID = smallerObjectsAggregateID(node.id());
        it.aggregateSize = smallerSum;
        items.push_back(it);
    }
    pushHidden();
    result.hueCount = rootLevel ? std::max(static_cast<int>(kept.size()), 1) : coloring.topCount();
    return result;
}

std::vector<MapSegment>
TreemapLayoutEngine::layout(const FileNode& node, const std::optional<VolumeAccounting>& accounting,
                            const MapRect& rect) const {
    std::vector<MapSegment> out;
    if (!(rect.width > 0.0) || !(rect.height > 0.0))
        return out;
    const Items built = buildItems(node, accounting);
    std::int64_t total = 0;
    for (const Item& it : built.items)
        total += it.size;
    if (built.items.empty() || total < 1)
        return out;

    const std::vector<MapRect> rects = squarify(built.items, total, rect);
    const NodePtr hold = node.shared();
    out.reserve(built.items.size());
    for (std::size_t i = 0; i < built.items.size(); ++i) {
        const Item& it = built.items[i];
        MapSegment s;
        s.node = NodePtr(hold, const_cast<FileNode*>(it.node));
        s.depth = 1;
        s.rect = rects[i];
        s.isGroupedSmallerObjects = it.isGroupedSmallerObjects;
        s.isInaccessibleSpace = it.isInaccessibleSpace;
        s.isFreeSpace = it.isFreeSpace;
        s.isHiddenAggregate = it.isHiddenAggregate;
        s.aggregateID = it.aggregateID;
        s.aggregateSize = it.aggregateSize;
        if (it.isInaccessibleSpace)
            s.color = colorForGrey(style.inaccessibleGray, style);
        else if (it.isFreeSpace)
            s.color = colorForGrey(style.freeSpaceGray, style);
        else if (it.isHiddenAggregate)
            s.color = colorForGrey(style.hiddenItemsGray, style);
        else if (it.isGroupedSmallerObjects)
            s.color = colorForSmallerObjects(it.topLevelIndex, built.hueCount, 1, style);
        else
            s.color = colorForItem(it.topLevelIndex, built.hueCount, 1, it.cloudStatus);
        out.push_back(std::move(s));
    }
    return out;
}

std::vector<MapRect> TreemapLayoutEngine::squarify(const std::vector<Item>& items,
                                                   std::int64_t total, const MapRect& rect) const {
    std::vector<MapRect> rects(items.size());
    if (items.empty() || total < 1)
        return rects;
    const double scale = rect.width * rect.height / static_cast<double>(total);
    std::vector<double> areas(items.size());
    for (std::size_t i = 0; i < items.size(); ++i)
        areas[i] = static_cast<double>(items[i].size) * scale;

    MapRect remaining = rect;
    std::vector<std::size_t> row;
    double sum = 0.0;
    double maxArea = 0.0;
    double minArea = kInfinity;
    auto finishRow = [&] {
        layoutRow(row, areas, remaining, rects);
        row.clear();
        sum = 0.0;
        maxArea = 0.0;
        minArea = kInfinity;
    };

    std::size_t i = 0;
    while (i < items.size()) {
        const double side = std::min(remaining.width, remaining.height);
        const double a = areas[i];
        if (row.empty()) {
            row.push_back(i);
            sum = maxArea = minArea = a;
            ++i;
            continue;
        }
        const double sum2 = sum + a;
        const double max2 = std::max(maxArea, a);
        const double min2 = std::min(minArea, a);
        const double worstWith = worstRatio(sum2, max2, min2, side);
        const double worstNow = worstRatio(sum, maxArea, minArea, side);
        if (worstNow < worstWith || (std::isnan(worstWith) && (!(sum > 0.0) || !(minArea > 0.0)))) {
            finishRow();
            continue;
        }
        row.push_back(i);
        sum = sum2;
        maxArea = max2;
        minArea = min2;
        ++i;
    }
    if (!row.empty())
        finishRow();
    return rects;
}

void TreemapLayoutEngine::layoutRow(const std::vector<std::size_t>& rowIndices,
                                    const std::vector<double>& areas, MapRect& remaining,
                                    std::vector<MapRect>& rects) const {
    double rowSum = 0.0;
    for (std::size_t i : rowIndices)
        rowSum += areas[i];
    if (!(rowSum > 0.0))
        return;
    const double g = style.treemapGap * 0.5;
    if (remaining.height <= remaining.width) {
        // A column at the left edge, filled top down.
        const double t = rowSum / remaining.height;
        double y = remaining.y;
        for (std::size_t i : rowIndices) {
            const double h = areas[i] / t;
            rects[i] = MapRect{remaining.x + g, y + g, t - 2.0 * g, h - 2.0 * g};
            y += h;
        }
        remaining = MapRect{remaining.x + t, remaining.y, remaining.width - t, remaining.height};
    } else {
        // A strip along the top, filled left to right.
        const double t = rowSum / remaining.width;
        double x = remaining.x;
        for (std::size_t i : rowIndices) {
            const double w = areas[i] / t;
            rects[i] = MapRect{x + g, remaining.y + g, w - 2.0 * g, t - 2.0 * g};
            x += w;
        }
        remaining = MapRect{remaining.x, remaining.y + t, remaining.width, remaining.height - t};
    }
}

} // namespace ringfold
