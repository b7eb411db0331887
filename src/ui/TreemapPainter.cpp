#include "ui/TreemapPainter.h"

#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainter>

#include <algorithm>

namespace ringfold {

namespace {

constexpr int kNamePx = 11;
constexpr int kSizePx = 10;
constexpr double kTextInset = 4.0;

// Rectangles thinner than the layout's gap come out with a negative side.
bool drawable(const MapSegment& s) { return s.rect && s.rect->width > 0 && s.rect->height > 0; }

QRectF toQRect(const MapRect& r) { return {r.x, r.y, r.width, r.height}; }

QColor white(double opacity) {
    QColor c(Qt::white);
    c.setAlphaF(static_cast<float>(opacity));
    return c;
}

} // namespace

QPainterPath TreemapPainter::roundedPath(const QRectF& r, double radius) {
    QPainterPath path;
    // A continuous corner starts bending further from the corner than a circular one
    // and ends closer to it, so light slides round it without a visible kink.
    const double extent = std::min({1.4 * radius, r.width() / 2, r.height() / 2});
    if (extent < 1.0) {
        path.addRect(r);
        return path;
    }
    const double k = 0.3 * extent; // control points' distance from the corner
    const double l = r.left(), t = r.top(), rt = r.right(), b = r.bottom();
    path.moveTo(l + extent, t);
    path.lineTo(rt - extent, t);
    path.cubicTo(rt - k, t, rt, t + k, rt, t + extent);
    path.lineTo(rt, b - extent);
    path.cubicTo(rt, b - k, rt - k, b, rt - extent, b);
    path.lineTo(l + extent, b);
    path.cubicTo(l + k, b, l, b - k, l, b - extent);
    path.lineTo(l, t + extent);
    path.cubicTo(l, t + k, l + k, t, l + extent, t);
    path.closeSubpath();
    return path;
}

int TreemapPainter::hitTest(const std::vector<MapSegment>& segments, QPointF point) {
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const MapSegment& s = segments[i];
        if (drawable(s) && toQRect(*s.rect).contains(point))
            return static_cast<int>(i);
    }
    return -1;
}

void TreemapPainter::paintBase(QPainter& p) const {
    const MapStyle& style = m_scene.style;
    const QPen separatorPen = mapdraw::separatorPen(p, style);
    for (const MapSegment& s : *m_scene.segments) {
        if (!drawable(s))
            continue;
        const QRectF rect = toQRect(*s.rect);
        if (rect.width() < 1.5 || rect.height() < 1.5) {
            // A sliver: the corners, light and outline would not show anyway.
            p.fillRect(rect, mapdraw::fillColor(s));
            continue;
        }
        const QPainterPath path = roundedPath(rect, style.treemapCornerRadius);
        // The fill under a faint light from the top, composed into one gradient.
        const QColor fill = mapdraw::fillColor(s);
        QLinearGradient shaded(rect.center().x(), rect.top(), rect.center().x(), rect.bottom());
        shaded.setColorAt(0, mapdraw::whiteOver(fill, 0.26 * style.segmentGradientDepth));
        shaded.setColorAt(0.85, fill);
        p.fillPath(path, shaded);
        p.strokePath(path, separatorPen);
        paintBadgeAndLabel(p, s, rect);
    }
}

void TreemapPainter::paintOverlay(QPainter& p) const {
    for (const MapSegment& s : *m_scene.segments) {
        if (!drawable(s) || !mapdraw::isEmphasized(s, m_scene))
            continue;
        const QRectF rect = toQRect(*s.rect);
        mapdraw::drawEmphasis(p, roundedPath(rect, m_scene.style.treemapCornerRadius),
                              m_scene.style);
        paintBadgeAndLabel(p, s, rect);
    }
}

void TreemapPainter::paintBadgeAndLabel(QPainter& p, const MapSegment& s,
                                        const QRectF& rect) const {
    if (m_scene.inCleanupList(s))
        mapdraw::drawCheckmarkBadge(p, rect.center(), std::min(rect.width(), rect.height()),
                                    m_scene.colors.accent);
    paintLabel(p, s, rect);
}

void TreemapPainter::paintLabel(QPainter& p, const MapSegment& s, const QRectF& rect) const {
    const bool aggregate = !s.isPlainItem();
    if (rect.width() < (aggregate ? 22 : 44) || rect.height() < (aggregate ? 13 : 17))
        return;
    const SegmentLabel label = mapdraw::segmentLabel(s);
    // Free space and smaller objects are pale: they take the window's text colours.
    const bool pale = s.isFreeSpace || s.isGroupedSmallerObjects;
    const QColor nameColor = pale ? m_scene.colors.label : QColor(Qt::white);
    const QColor sizeColor = pale ? m_scene.colors.secondary : white(0.75);

    const QFont nameFont = mapdraw::font(kNamePx, QFont::Medium);
    const QFontMetricsF nameFm(nameFont);
    const double room = rect.width() - 2 * kTextInset;
    const bool withSize = label.size && rect.height() >= 30;
    const double nameTop = rect.top() + (withSize ? 3 : 4);

    // White on the brightest hues (yellow, lime, cyan) has almost no contrast: a thin
    // dark halo round each glyph, heavier below, gives the letters an edge to read by
    // on any fill, and on dark fills it merely deepens the colour under the text.
    // One device pixel wide, so it stays a crisp edge on a HiDPI screen.
    const double px = 1.0 / p.device()->devicePixelRatioF();
    auto text = [&](const QPointF& at, const QString& str, const QColor& color) {
        if (!pale) {
            p.setPen(QColor(0, 0, 0, 96));
            for (const QPointF offset :
                 {QPointF(-px, 0), QPointF(px, 0), QPointF(0, -px), QPointF(0, px), QPointF(0, px)})
                p.drawText(at + offset, str);
        }
        p.setPen(color);
        p.drawText(at, str);
    };
    p.save();
    p.setClipRect(rect);
    p.setFont(nameFont);
    text(QPointF(rect.left() + kTextInset, nameTop + nameFm.ascent()),
         nameFm.elidedText(label.name, Qt::ElideRight, room), nameColor);
    if (withSize) {
        const QFont sizeFont = mapdraw::font(kSizePx);
        const QFontMetricsF sizeFm(sizeFont);
        p.setFont(sizeFont);
        text(QPointF(rect.left() + kTextInset, nameTop + 14 + sizeFm.ascent()),
             sizeFm.elidedText(*label.size, Qt::ElideRight, room), sizeColor);
    }
    p.restore();
}

} // namespace ringfold
