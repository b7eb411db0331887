#pragma once
// Lays out a folder as concentric rings around an empty centre: ring 1 holds the
// folder's children, ring 2 their children, and so on up to the style's ring count.
// Each item spans an angle proportional to its allocated size; children too small to
// show (below the smaller-objects share, or shorter than one point along the middle of
// their ring) fold into one smaller-objects segment per folder, small hidden items
// into one hidden-items segment. For a whole volume's root the first ring also shows
// inaccessible and, if asked, free space, so the full circle is the whole disk.
//
// Output order: each kept child directly followed by its whole subtree, then the
// folder's smaller-objects segment, then its hidden-items segment. Radii in points,
// angles in radians. Main thread; reads the tree without locks.

#include "core/layout/ChartLayoutEngine.h"
#include "core/layout/MapStyle.h"

#include <vector>

namespace ringfold {

class TopLevelColoring;

class SunburstLayoutEngine : public ChartLayoutEngine {
public:
    /// Smaller-objects fraction of a folder's size (0.005 = 0.5 %).
    double smallerObjectsThreshold = 0.0;
    bool groupHiddenItems = true;
    MapStyle style;

    SunburstLayoutEngine() = default;
    SunburstLayoutEngine(double threshold, bool groupHidden, const MapStyle& mapStyle = {})
        : smallerObjectsThreshold(threshold), groupHiddenItems(groupHidden), style(mapStyle) {}

    std::vector<MapSegment> layout(const FileNode& node,
                                   const std::optional<VolumeAccounting>& accounting,
                                   const MapRect& rect) const override;

    /// `count` + 1 increasing radii from `inner` to `outer`; ring d (1-based) lies
    /// between entries d - 1 and d. Each ring is `taper` times as wide as the one
    /// inside it (taper clamped to 0.05 ... 1).
    static std::vector<double> ringRadii(int count, double inner, double outer, double taper);

    /// Everything a recursive ring step needs besides its folder and angles.
    struct RingContext {
        std::vector<double> radii;
        NodePtr treeHold; // any node of the tree: segments alias it
        std::vector<MapSegment>* out = nullptr;
    };

    /// Appends the segments of `folder`'s children on ring `depth` between angles a0
    /// and a1, recursing outward up to the last ring.
    void layoutRing(const RingContext& ctx, const FileNode& folder, int depth, int colorIndex,
                    bool rootLevel, int hueCount, double a0, double a1) const;
    /// Appends the first ring of a volume's root with hidden, inaccessible and free
    /// space, and the rings of its children.
    void layoutVolumeRing(const RingContext& ctx, const FileNode& node,
                          const VolumeAccounting& accounting,
                          const TopLevelColoring& coloring) const;
};

} // namespace ringfold
