#pragma once
// Paints a laid-out treemap: rounded rectangles with a soft top light, separators,
// checkmark badges and clipped name and size labels (the base picture, cached by the
// view), and over it the hover and selection emphasis (the overlay). Rectangles that
// came out of the layout thinner than its gap are skipped for drawing and hit
// testing alike. Main thread.

#include "ui/MapScene.h"

class QPainter;

namespace ringfold {

class TreemapPainter {
public:
    explicit TreemapPainter(const MapScene& scene) : m_scene(scene) {}

    void paintBase(QPainter& painter) const;
    void paintOverlay(QPainter& painter) const;

    /// Index of the first segment whose rectangle holds the point; -1 for none.
    static int hitTest(const std::vector<MapSegment>& segments, QPointF point);

    /// A rectangle with continuous (curvature-smooth) corners of about `radius`.
    static QPainterPath roundedPath(const QRectF& rect, double radius);

private:
    void paintBadgeAndLabel(QPainter& painter, const MapSegment& segment,
                            const QRectF& rect) const;
    void paintLabel(QPainter& painter, const MapSegment& segment, const QRectF& rect) const;

    const MapScene& m_scene;
};

} // namespace ringfold
