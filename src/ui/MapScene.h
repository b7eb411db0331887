#pragma once
// What the two map painters read, and the drawing pieces they share: colours from the
// widget's palette, segment labels, hover and selection emphasis, the cleanup-list
// checkmark badge. Lengths are logical (device-independent) pixels; text sizes are
// pixel sizes so the map's geometry holds at any font setting.
//
// Painting reads the cached segments only and never lays out. Main thread (QPainter
// on widgets and pixmaps).

#include "core/layout/MapSegment.h"
#include "core/layout/MapStyle.h"

#include <QColor>
#include <QFont>
#include <QPainterPath>
#include <QLineF>
#include <QPen>
#include <QPalette>
#include <QSizeF>
#include <QString>

#include <cstdint>
#include <optional>
#include <unordered_set>
#include <vector>

class QPainter;

namespace ringfold {

/// Text and chrome colours of the map, from the palette the window installs.
struct MapColors {
    QColor window;    // hub fill and backdrop
    QColor label;     // primary text
    QColor secondary; // secondary text and leader lines
    QColor accent;    // checkmark badges
    bool dark = false;

    static MapColors fromPalette(const QPalette& palette);
};

/// One frame's worth of map state: the laid-out segments and what decides their
/// emphasis, badges and labels.
struct MapScene {
    const std::vector<MapSegment>* segments = nullptr;
    QSizeF size;
    MapStyle style;
    /// The focused folder, named in the sunburst's hub.
    const FileNode* focused = nullptr;
    /// Ids on the cleanup list: their segments get a checkmark and a callout.
    const std::unordered_set<NodeID>* cleanupIDs = nullptr;
    std::optional<NodeID> highlightedID;
    std::optional<NodeID> selectedID;
    MapColors colors;

    bool inCleanupList(const MapSegment& s) const {
        return cleanupIDs && s.isPlainItem() && cleanupIDs->count(s.node->id()) != 0;
    }
};

/// The name and size a callout, a treemap label or a tooltip shows for a segment.
struct SegmentLabel {
    QString name;
    std::optional<QString> size;
    bool isAggregate = false;
};

namespace mapdraw {

inline constexpr double kBadgeMaxDiameter = 18.0;
inline constexpr double kHiddenFolderOpacity = 0.65;

QColor toQColor(const MapColor& color);
/// A node's name for display (names are bytes on disk).
QString displayName(const FileNode& node);
/// File-style byte count ("1.5 MB", "Zero KB").
QString byteText(std::int64_t bytes);
/// The application font at a pixel size and weight.
QFont font(int pixelSize, QFont::Weight weight = QFont::Normal);

SegmentLabel segmentLabel(const MapSegment& segment);

/// Under the pointer: the hovered id is the segment's aggregate id, or the node id of
/// a plain segment.
bool isHovered(const MapSegment& segment, std::optional<NodeID> highlighted);
/// Only plain items are ever drawn as selected.
bool isSelected(const MapSegment& segment, std::optional<NodeID> selected);
inline bool isEmphasized(const MapSegment& s, const MapScene& scene) {
    return isHovered(s, scene.highlightedID) || isSelected(s, scene.selectedID);
}

/// The segment's fill colour; hidden folders shown as their own segment are dimmed.
QColor fillColor(const MapSegment& segment);
/// A pen for a line `width` pixels wide. Below one device pixel it becomes a cosmetic
/// one-pixel line with the same ink (opacity scaled by the width), which the raster
/// engine draws many times faster than a sub-pixel outline and which looks the same.
QPen hairlinePen(const QPainter& painter, QColor color, double width);
/// Draws many straight hairlines in one go. For a cosmetic pen on a 32-bit image
/// under a scale-and-move transform the lines are blended straight into the pixels
/// (Wu's antialiased lines); anything else goes through QPainter::drawLines.
void drawHairlines(QPainter& painter, const std::vector<QLineF>& lines, const QPen& pen);
/// The line between segments.
QPen separatorPen(const QPainter& painter, const MapStyle& style);
/// The single colour that white at `whiteOpacity` laid over `fill` composes to, so a
/// fill and a white shading over it take one raster pass instead of two.
QColor whiteOver(const QColor& fill, double whiteOpacity);
/// The backdrop's soft white disc of radius `r` around `c`, from a copy drawn once per
/// size and opacity.
void paintGlow(QPainter& painter, QPointF c, double r, double opacity);
/// The sunburst's hub: a disc of radius `r` in `fill` outlined in `rim` 1.75 wide, from a
/// copy drawn once per size and colours.
void paintHubDisc(QPainter& painter, QPointF c, double r, const QColor& fill, const QColor& rim);
/// The white wash and outline of a hovered or selected segment.
void drawEmphasis(QPainter& painter, const QPainterPath& path, const MapStyle& style);
/// A white disc with an accent checkmark, sized to the room the segment offers;
/// nothing when the disc would be smaller than 6 pixels.
void drawCheckmarkBadge(QPainter& painter, QPointF centre, double room, const QColor& accent);

} // namespace mapdraw
} // namespace ringfold
