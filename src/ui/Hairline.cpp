#include "ui/Hairline.h"

#include <QColor>
#include <QImage>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>

namespace ringfold::mapdraw {

namespace {

// Every channel of `x` times a / 256, two channels per multiply.
inline QRgb byteMul256(QRgb x, QRgb a) {
    const QRgb rb = (((x & 0x00ff00ffu) * a) >> 8) & 0x00ff00ffu;
    const QRgb ag = (((x >> 8) & 0x00ff00ffu) * a) & 0xff00ff00u;
    return rb | ag;
}

// Blends `ink` at `coverage` into one pixel: source-over in premultiplied 8-bit
// channels, which cannot carry from one channel into the next. This runs for every
// pixel of every separator.
inline void blendPixel(QRgb& px, const HairlineInk& ink, int coverage) {
    px = ink.shade[coverage] + byteMul256(px, ink.keep[coverage]);
}

} // namespace

HairlineInk::HairlineInk(QRgb argb) {
    for (QRgb c = 0; c <= 256; ++c) {
        shade[c] = byteMul256(argb, c);
        keep[c] = 256u - qAlpha(shade[c]);
    }
}

QRgb premultipliedInk(const QColor& c) {
    const float alpha = c.alphaF();
    auto level = [](float v) { return static_cast<int>(v * 255.0f + 0.5f); };
    return qRgba(level(c.redF() * alpha), level(c.greenF() * alpha), level(c.blueF() * alpha),
                 level(alpha));
}

void drawHairline(QImage& image, QPointF a, QPointF b, const HairlineInk& ink) {
    const bool steep = std::abs(b.y() - a.y()) > std::abs(b.x() - a.x());
    // Walk the major axis one pixel centre at a time; the minor axis splits coverage.
    double ax = steep ? a.y() : a.x(), ay = steep ? a.x() : a.y();
    double bx = steep ? b.y() : b.x(), by = steep ? b.x() : b.y();
    if (ax > bx) {
        std::swap(ax, bx);
        std::swap(ay, by);
    }
    const double slope = bx > ax ? (by - ay) / (bx - ax) : 0.0;
    const int w = image.width(), h = image.height();
    const int majorLimit = steep ? h : w, minorLimit = steep ? w : h;
    const int first = std::max(static_cast<int>(std::ceil(ax - 0.5)), 0);
    const int last = std::min(static_cast<int>(std::floor(bx - 0.5)), majorLimit - 1);
    auto* bits = reinterpret_cast<QRgb*>(image.bits());
    const auto stride = image.bytesPerLine() / 4;
    const std::ptrdiff_t majorStep = steep ? stride : 1, minorStep = steep ? 1 : stride;
    auto walk = [&](auto clipped) {
        for (int i = first; i <= last; ++i) {
            const double t = ay + slope * (i + 0.5 - ax) - 0.5;
            int j = static_cast<int>(t); // floor, without a library call per pixel
            if (t < j)
                --j;
            const int f = static_cast<int>((t - j) * 256.0 + 0.5);
            QRgb* at = bits + i * majorStep + j * minorStep;
            if (!clipped || (j >= 0 && j < minorLimit))
                blendPixel(*at, ink, 256 - f);
            if (!clipped || (j + 1 >= 0 && j + 1 < minorLimit))
                blendPixel(at[minorStep], ink, f);
        }
    };
    // The minor axis stays within a pixel of the ends' (the separators are short).
    const double lo = std::min(ay, by), hi = std::max(ay, by);
    if (lo >= 2 && hi + 3 < minorLimit)
        walk(std::false_type{});
    else
        walk(std::true_type{});
}

} // namespace ringfold::mapdraw
