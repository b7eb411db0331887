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

// The glow changes only with the view's size and palette, while a gradient fill costs
// a colour lookup per pixel of the whole disc on every paint; blending a copy made once
// is several times cheaper. The copy keeps the centre's offset within a device pixel,
// so it lands on exactly the pixels the gradient would have.
void paintGlow(QPainter& p, QPointF c, double r, double opacity) {
    const QTransform t = p.deviceTransform();
    if (t.type() > QTransform::TxScale || std::abs(t.m11() - t.m22()) > 1e-9 || t.m11() <= 0) {
        drawGlow(p, c, r, opacity);
        return;
    }
    const QPointF at = t.map(c);
    const double rd = r * t.m11();
    const QPoint origin(static_cast<int>(std::floor(at.x() - rd)) - 1,
                        static_cast<int>(std::floor(at.y() - rd)) - 1);
    const QPointF inImage = at - QPointF(origin);
    struct Cached {
        double radius = -1, opacity = -1;
        QPointF centre;
        QImage image;
    };
    // One copy for all threads: the picture is drawn on whichever pool thread is free.
    static std::mutex lock;
    static Cached cache;
    const std::lock_guard hold(lock);
    if (cache.radius != rd || cache.opacity != opacity || cache.centre != inImage) {
        const int side = static_cast<int>(std::ceil(std::max(inImage.x(), inImage.y()) + rd)) + 2;
        cache = {rd, opacity, inImage, QImage(side, side, QImage::Format_ARGB32_Premultiplied)};
        cache.image.fill(Qt::transparent);
        QPainter q(&cache.image);
        q.setRenderHints(p.renderHints());
        drawGlow(q, inImage, rd, opacity);
    }
    p.save();
    p.resetTransform();
    p.drawImage(origin, cache.image);
    p.restore();
}

} // namespace ringfold::mapdraw
