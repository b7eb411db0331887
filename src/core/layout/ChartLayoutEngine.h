#pragma once
// The one operation both map layouts share: lay out a folder in a rectangle.
//
// Engines are pure functions of the tree, the node, their settings snapshot (fields of
// the concrete engine) and the rectangle; they never read global settings. Callers
// build a fresh engine per layout. Main thread (it reads the tree without locks).

#include "core/layout/MapSegment.h"
#include "core/model/Types.h"

#include <optional>
#include <vector>

namespace ringfold {

/// Volume figures for a layout of a whole volume's root, so the first ring (or the
/// treemap) also shows inaccessible and, if asked, free space.
struct VolumeAccounting {
    SpaceAccounting accounting;
    bool showFreeSpace = false;
};

class ChartLayoutEngine {
public:
    virtual ~ChartLayoutEngine() = default;

    /// The segments of `node` inside `rect`. The node's tree must be owned by a
    /// std::shared_ptr (every Tree is): segments hold it alive.
    virtual std::vector<MapSegment> layout(const FileNode& node,
                                           const std::optional<VolumeAccounting>& accounting,
                                           const MapRect& rect) const = 0;

protected:
    ChartLayoutEngine() = default;
    ChartLayoutEngine(const ChartLayoutEngine&) = default;
    ChartLayoutEngine& operator=(const ChartLayoutEngine&) = default;
};

} // namespace ringfold
