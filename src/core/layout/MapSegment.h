#pragma once
// One laid-out piece of a map: an item, a folder's smaller-objects or hidden-items
// aggregate, or (on a volume's first ring) inaccessible or free space.
//
// Sunburst segments carry angles (radians, 0 pointing right, growing clockwise on
// screen) and radii in points; treemap segments carry a rectangle in points instead.
// `node` keeps the node's whole tree alive. Plain value, any thread.

#include "core/layout/MapColor.h"
#include "core/model/FileNode.h"

#include <cstdint>
#include <optional>

namespace ringfold {

struct MapRect {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;
    friend bool operator==(const MapRect&, const MapRect&) = default;
};

struct MapSegment {
    /// The item itself; for aggregate, free and inaccessible segments the folder whose
    /// children were laid out.
    NodePtr node;
    /// Ring number, 1 innermost; always 1 in the treemap.
    int depth = 1;
    double startAngle = 0.0;
    double endAngle = 0.0;
    double innerRadius = 0.0;
    double outerRadius = 0.0;
    std::optional<MapRect> rect;
    MapColor color;
    bool isGroupedSmallerObjects = false;
    bool isInaccessibleSpace = false;
    bool isFreeSpace = false;
    bool isHiddenAggregate = false;
    /// The aggregate's identity and allocated bytes, for the two aggregate kinds only.
    std::optional<NodeID> aggregateID;
    std::optional<std::int64_t> aggregateSize;

    /// None of the four special flags: the segment stands for `node` itself.
    bool isPlainItem() const {
        return !isGroupedSmallerObjects && !isInaccessibleSpace && !isFreeSpace &&
               !isHiddenAggregate;
    }
};

} // namespace ringfold
