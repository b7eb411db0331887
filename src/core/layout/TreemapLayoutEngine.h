#pragma once
// Lays out one level of a folder as rectangles that tile the map area, each with an
// area proportional to its allocated size (squarified: rows along the shorter side of
// the space left, closed when the next item would worsen their aspect ratio).
// Neighbouring rectangles are `treemapGap` points apart. Drilling into a child shows
// the next level. Points throughout. Main thread; reads the tree without locks.

#include "core/layout/ChartLayoutEngine.h"
#include "core/layout/MapStyle.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ringfold {

class TreemapLayoutEngine : public ChartLayoutEngine {
public:
    /// Smaller-objects fraction of a folder's size (0.005 = 0.5 %).
    double smallerObjectsThreshold = 0.0;
    bool groupHiddenItems = true;
    MapStyle style;

    /// One rectangle to place, before placement.
    struct Item {
        const FileNode* node = nullptr; // the child, or the laid-out folder
        std::int64_t size = 0;          // weight in bytes
        bool isGroupedSmallerObjects = false;
        bool isInaccessibleSpace = false;
        bool isFreeSpace = false;
        bool isHiddenAggregate = false;
        int topLevelIndex = 0; // colour index
        CloudStatus cloudStatus = CloudStatus::notApplicable;
        std::optional<NodeID> aggregateID;
        std::optional<std::int64_t> aggregateSize;
    };

    struct Items {
        std::vector<Item> items;
        int hueCount = 1;
    };

    TreemapLayoutEngine() = default;
    TreemapLayoutEngine(double threshold, bool groupHidden, const MapStyle& mapStyle = {})
        : smallerObjectsThreshold(threshold), groupHiddenItems(groupHidden), style(mapStyle) {}

    std::vector<MapSegment> layout(const FileNode& node,
                                   const std::optional<VolumeAccounting>& accounting,
                                   const MapRect& rect) const override;

    /// The items of `node` in placement order, and the hue count for their colours.
    Items buildItems(const FileNode& node, const std::optional<VolumeAccounting>& accounting) const;
    /// One rectangle per item (a zero rectangle for an item never placed).
    std::vector<MapRect> squarify(const std::vector<Item>& items, std::int64_t total,
                                  const MapRect& rect) const;
    /// Places one finished row (`areas` of the items `rowIndices`) along the shorter
    /// side of `remaining` and shrinks `remaining` by it.
    void layoutRow(const std::vector<std::size_t>& rowIndices, const std::vector<double>& areas,
                   MapRect& remaining, std::vector<MapRect>& rects) const;
};

} // namespace ringfold
