#pragma once
// The ring fill's pieces of runs and the pixel arithmetic on them (internal to
// RingRaster).

#include "ui/RingRaster.h"

#include <QRgb>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace ringfold::mapdraw {

/// A run, or a part of one no wider than a quarter turn, so that "on the inner side
/// of both edges" means "inside the piece".
struct Piece {
    double start, end;
    double cs, ss, ce, se; // cos and sin of the edges
    float inner[4];        // premultiplied red, green, blue, alpha, 0 ... 255, at the inner radius
    float slope[4];        // change per unit of t (inner -> reach)
    // The same in integers, one 16-bit lane per channel (blue, green, red, alpha from
    // the low end): inner * 256 + 128 and the slope. At any level l in 0 ... 256 a
    // lane of lanes + slopes * l is a channel times 256, never below 0 nor above
    // 65535, so one multiply interpolates all four.
    std::uint64_t lanes, slopes;
    bool opaque;
};

/// The ring's runs as pieces, in order; zero-width runs dropped.
void cutIntoPieces(const Ring& ring, std::vector<Piece>& pieces);

inline double clamp01(double v) { return v < 0 ? 0 : (v > 1 ? 1 : v); }

/// The piece's colour at shading level 0 ... 256 (inner -> reach), premultiplied.
inline QRgb colourAt(const Piece& q, int level) {
    const std::uint64_t x =
        ((q.lanes + q.slopes * static_cast<std::uint64_t>(level)) >> 8) & 0x00ff00ff00ff00ffull;
    const std::uint64_t y = x | (x >> 8);
    return static_cast<QRgb>((y & 0xffffu) | ((y >> 16) & 0xffff0000u));
}

/// A pixel wholly inside the piece.
inline void storeInside(QRgb& d, const Piece& q, int level) {
    const QRgb c = colourAt(q, level);
    if (q.opaque) {
        d = c;
        return;
    }
    const int keep = 255 - qAlpha(c);
    auto mix = [&](int v, int dst) {
        const int m = dst * keep + 128;
        return std::min(v + ((m + (m >> 8)) >> 8), 255);
    };
    d = qRgba(mix(qRed(c), qRed(d)), mix(qGreen(c), qGreen(d)), mix(qBlue(c), qBlue(d)),
              mix(qAlpha(c), qAlpha(d)));
}

/// Source-over of a premultiplied colour (channels 0 ... 255) in integers, two
/// channels per multiply; premultiplied channels cannot carry into the next one.
inline void blend(QRgb& px, const float c[4]) {
    auto level = [](float v) { return static_cast<QRgb>(std::min(v + 0.5f, 255.0f)); };
    const QRgb keep = 256u - level(c[3]);
    const QRgb rb = (((px & 0x00ff00ffu) * keep) >> 8) & 0x00ff00ffu;
    const QRgb ag = (((px >> 8) & 0x00ff00ffu) * keep) & 0xff00ff00u;
    px = (level(c[3]) << 24 | level(c[0]) << 16 | level(c[1]) << 8 | level(c[2])) + (rb | ag);
}

/// Adds the piece's colour at `t` weighted by the share of the pixel at (px, py)
/// (from the centre) between its two edges; false when that share is nothing.
inline bool addCoverage(const Piece& q, double px, double py, float t, float sum[4]) {
    const double cover =
        clamp01(0.5 + q.cs * py - q.ss * px) + clamp01(0.5 + q.se * px - q.ce * py) - 1;
    if (cover <= 0)
        return false;
    const auto f = static_cast<float>(cover);
    for (int i = 0; i < 4; ++i)
        sum[i] += (q.inner[i] + q.slope[i] * t) * f;
    return true;
}

} // namespace ringfold::mapdraw
