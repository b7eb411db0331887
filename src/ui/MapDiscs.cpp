#include "ui/MapScene.h"

#include <QPainter>
#include <QRadialGradient>

#include <cmath>
#include <mutex>

namespace ringfold::mapdraw {

namespace {

void drawGlow(QPainter& p, QPointF c, double r, double opacity) {
    auto white = [](double a) {
        QColor w(Qt::white);
        w.setAlphaF(static_cast<float>(a));
        return w;
    };
    QRadialGradient glow(c, r);
    glow.setColorAt(0, white(opacity));
    glow.setColorAt(1, white(0));
    p.setPen(Qt::NoPen);
    p.setBrush(glow);
    p.drawEllipse(c, r, r);
}

} // namespace

namespace {

// A disc changes only with the view's size and palette, while drawing it costs a
// gradient lookup or an antialiased outline per pixel on every paint; blending a copy
// made once is several times cheaper. The copy keeps the centre's offset within a
// device pixel, so it lands on exactly the pixels the direct drawing would have.
struct DiscKey {
    double radius = -1; // device pixels, the drawing's extent
    QPointF centre;     // in the copy
    QRgb a = 0, b = 0;  // what else the drawing depends on
    bool operator==(const DiscKey&) const = default;
};

struct DiscCache {
    std::mutex lock; // one copy for all threads: pictures are drawn on any pool thread
    DiscKey key;
    QImage image;
};

// `draw` paints the disc in device pixels around the given centre.
template <typename Draw>
void paintCachedDisc(QPainter& p, DiscCache& cache, QPointF c, double extent, QRgb a, QRgb b,
                     Draw draw) {
    const QTransform t = p.deviceTransform();
    if (t.type() > QTransform::TxScale || std::abs(t.m11() - t.m22()) > 1e-9 || t.m11() <= 0) {
        draw(p, c, 1.0);
        return;
    }
    const QPointF at = t.map(c);
    const double rd = extent * t.m11();
    const QPoint origin(static_cast<int>(std::floor(at.x() - rd)) - 1,
                        static_cast<int>(std::floor(at.y() - rd)) - 1);
    const DiscKey key{rd, at - QPointF(origin), a, b};
    const std::lock_guard hold(cache.lock);
    if (!(cache.key == key)) {
        const int side =
            static_cast<int>(std::ceil(std::max(key.centre.x(), key.centre.y()) + rd)) + 2;
        cache.key = key;
        cache.image = QImage(side, side, QImage::Format_ARGB32_Premultiplied);
        cache.image.fill(Qt::transparent);
        QPainter q(&cache.image);
        q.setRenderHints(p.renderHints());
        draw(q, key.centre, t.m11());
    }
    // The copy is in device pixels. Without a world transform the painter still scales
    // by the device's pixel ratio (and moves by a redirection offset), so undo that as
    // well: the copy then lands 1:1 on the pixels it was drawn for, sharp at any ratio.
    p.save();
    p.resetTransform();
    p.setWorldTransform(p.deviceTransform().inverted());
    p.drawImage(origin, cache.image);
    p.restore();
}

} // namespace

void paintGlow(QPainter& p, QPointF c, double r, double opacity) {
    static DiscCache cache;
    const auto level = static_cast<QRgb>(std::lround(opacity * 65535));
    paintCachedDisc(p, cache, c, r, level, 0, [&](QPainter& q, QPointF at, double scale) {
        drawGlow(q, at, r * scale, opacity);
    });
}

void paintHubDisc(QPainter& p, QPointF c, double r, const QColor& fill, const QColor& rim) {
    static DiscCache cache;
    constexpr double kRimWidth = 1.75;
    paintCachedDisc(p, cache, c, r + kRimWidth, fill.rgba(), rim.rgba(),
                    [&](QPainter& q, QPointF at, double scale) {
                        q.setBrush(fill);
                        q.setPen(QPen(rim, kRimWidth * scale));
                        q.drawEllipse(at, r * scale, r * scale);
                    });
}

} // namespace ringfold::mapdraw
