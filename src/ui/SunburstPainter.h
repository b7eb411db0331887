#pragma once
// Paints a laid-out sunburst: the backdrop glow, the ring segments with their shading
// and separators, checkmark badges, the hub with the focused folder's name and size
// (the base picture, cached by the view), and over it hover and selection emphasis
// and the callout columns (the overlay, repainted on every hover change).
//
// The centre is the middle of the scene and the outer radius half its shorter side,
// as the layout assumed. Angles are radians, 0 pointing right, growing clockwise on
// screen. Main thread.

#include "ui/MapScene.h"

#include <QPointF>

class QPainter;

namespace ringfold {

class SunburstPainter {
public:
    explicit SunburstPainter(const MapScene& scene) : m_scene(scene) {}

    void paintBase(QPainter& painter) const;
    void paintOverlay(QPainter& painter) const;

    struct Hit {
        int index = -1; // segment index, -1 for none
        bool hub = false;
    };
    static Hit hitTest(const std::vector<MapSegment>& segments, QSizeF size,
                       const MapStyle& style, QPointF point);

    /// The annular sector of a segment around `centre`.
    static QPainterPath sectorPath(QPointF centre, const MapSegment& segment);
    static void addSector(QPainterPath& path, QPointF centre, const MapSegment& segment);

    /// A callout's name as it fits in `width` pixels: the callout font, else a pixel
    /// or two smaller, else cut at 11 pixels (file names in the middle, keeping their
    /// extension; the map's own labels at the end). Returns the font used.
    static QString fitCalloutName(const SegmentLabel& label, double width, QFont& font);

    /// The name as the hub shows it in `width` pixels: the largest of 15, 13 and 11
    /// pixels that fits, else cut in the middle at 11 pixels. Returns the font used.
    static QString fitHubName(const QString& name, double width, QFont& font);

private:
    QPointF centre() const;
    double radius() const;
    void paintBadge(QPainter& painter, const MapSegment& segment) const;
    void paintHub(QPainter& painter) const;
    void paintCallouts(QPainter& painter) const;

    const MapScene& m_scene;
};

} // namespace ringfold
