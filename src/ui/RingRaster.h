#pragma once
// Fills the rings of a sunburst straight into an image, one pass over the pixels of
// each ring instead of one antialiased path fill per run of segments.
//
// Every pixel's colour is the coverage-weighted sum of the runs its footprint
// touches (radial edges by their distance from the pixel centre, the ring's circles
// by the pixel's radius), so neighbouring runs meet without the faint seam that two
// separately antialiased fills leave, and slivers thinner than a pixel add up to
// their true share of it. The shading is a function of the radius, evaluated per
// pixel, so it costs nothing extra. Main thread or any one thread per image.

#include <QPointF>
#include <QRgb>

#include <vector>

class QPainter;

namespace ringfold::mapdraw {

struct RingRun {
    double start; // radians, clockwise on screen, 0 pointing right, within [0, 2 pi]
    double end;
    QRgb atInner; // premultiplied ARGB at the inner radius
    QRgb atReach; // premultiplied ARGB at `Ring::reach`; linear in the radius between
};

struct Ring {
    double inner;
    double outer;
    double reach; // where the shading has faded out (>= inner + 1)
    std::vector<RingRun> runs; // sorted by start, not overlapping
};

/// Fills `rings` around `centre` (logical coordinates). Returns false, drawing
/// nothing, unless the painter draws into a 32-bit image under a uniform scale and
/// move without clipping; the caller then fills the paths itself.
bool fillRings(QPainter& painter, QPointF centre, const std::vector<Ring>& rings);

} // namespace ringfold::mapdraw
