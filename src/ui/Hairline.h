#pragma once
// Straight antialiased lines one device pixel wide (Wu's), blended straight into a
// 32-bit image: every pixel centre along the line's major axis gets the two pixels the
// line passes between, split by its distance from them. Many times cheaper than the
// raster engine's cosmetic lines for the thousands of short separators of a map.
// One thread per image.

#include <QPointF>
#include <QRgb>

class QColor;
class QImage;

namespace ringfold::mapdraw {

/// Premultiplied ARGB32 ink at every coverage 0 ... 256, and what it leaves of the
/// pixel under it: one line's pixels take two table reads instead of a multiply each.
struct HairlineInk {
    explicit HairlineInk(QRgb premultiplied);
    QRgb shade[257];
    QRgb keep[257];
};

/// A colour as premultiplied ARGB, rounded from its full precision.
QRgb premultipliedInk(const QColor& color);

/// The line from `a` to `b` (device pixels) into an RGB32 or premultiplied ARGB32
/// image, clipped to it.
void drawHairline(QImage& image, QPointF a, QPointF b, const HairlineInk& ink);

} // namespace ringfold::mapdraw
