#include "ui/RingRaster.h"

#include "ui/RingPieces.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace ringfold::mapdraw {

namespace {

constexpr double kTwoPi = 2.0 * M_PI;

class RingFiller {
public:
    RingFiller(QImage& image, QPointF centre, double scale) : m_image(image), m_c(centre), m_s(scale) {}

    void fill(const Ring& ring) {
        cutIntoPieces(ring, m_pieces);
        if (m_pieces.empty())
            return;
        m_hint = 0;
        m_r0 = ring.inner * m_s;
        m_r1 = ring.outer * m_s;
        const double reach = std::max(ring.reach * m_s, m_r0 + 1e-6);
        m_invSpan = 1.0 / (reach - m_r0);
        const double rOut = m_r1 + 0.5, rIn = std::max(m_r0 - 0.5, 0.0);
        const int w = m_image.width(), h = m_image.height();
        const int yFirst = std::max(static_cast<int>(std::floor(m_c.y() - rOut)), 0);
        const int yLast = std::min(static_cast<int>(std::ceil(m_c.y() + rOut)), h - 1);
        auto* bits = reinterpret_cast<QRgb*>(m_image.bits());
        const auto stride = m_image.bytesPerLine() / 4;
        for (int y = yFirst; y <= yLast; ++y) {
            const double py = y + 0.5 - m_c.y();
            const double py2 = py * py;
            if (py2 >= rOut * rOut)
                continue;
            const double xo = std::sqrt(rOut * rOut - py2);
            const double xi = py2 < rIn * rIn ? std::sqrt(rIn * rIn - py2) : -1.0;
            const double spans[2][2] = {{-xo, xi < 0 ? xo : -xi}, {xi, xo}};
            QRgb* row = bits + static_cast<std::ptrdiff_t>(y) * stride;
            for (int k = 0; k < (xi < 0 ? 1 : 2); ++k) {
                const int xFirst =
                    std::max(static_cast<int>(std::ceil(m_c.x() + spans[k][0] - 0.5)), 0);
                const int xLast =
                    std::min(static_cast<int>(std::floor(m_c.x() + spans[k][1] - 0.5)), w - 1);
                if (xFirst <= xLast)
                    paintSpan(row, py, xFirst, xLast);
            }
        }
    }

private:
    double angleAt(double px, double py) const {
        const double a = std::atan2(py, px);
        return a < 0 ? a + kTwoPi : a;
    }

    // One row's pixels of the ring on one side of the hole. Along such a span the
    // angle changes monotonically, so the runs' edges cut it into stretches that lie
    // wholly in one run (filled at the cost of a store) and short stretches around
    // each edge (and at the circles), where the coverage is worked out per pixel.
    void paintSpan(QRgb* row, double py, int xFirst, int xLast) {
        const int n = xLast - xFirst + 1;
        m_radius.resize(static_cast<std::size_t>(n));
        m_level.resize(static_cast<std::size_t>(n));
        const auto fpy2 = static_cast<float>(py * py);
        const auto px0 = static_cast<float>(xFirst + 0.5 - m_c.x());
        const auto r0 = static_cast<float>(m_r0), inv = static_cast<float>(m_invSpan);
        float* radius = m_radius.data();
        int* level = m_level.data();
        for (int i = 0; i < n; ++i) {
            const float px = px0 + static_cast<float>(i);
            const float r = std::sqrt(px * px + fpy2);
            radius[i] = r;
            float t = (r - r0) * inv;
            t = t > 0.0f ? t : 0.0f;
            t = t < 1.0f ? t : 1.0f;
            level[i] = static_cast<int>(t * 256.0f + 0.5f);
        }

        // The stretches around the edges that cross this span, in pixel indices.
        const double pxFirst = xFirst + 0.5 - m_c.x(), pxLast = xLast + 0.5 - m_c.x();
        const double a0 = angleAt(pxFirst, py), a1 = angleAt(pxLast, py);
        const double margin = 2.0 / std::max(m_r0, 1.0);
        const double lo = std::min(a0, a1) - margin, hi = std::max(a0, a1) + margin;
        m_zones.clear();
        const std::size_t count = m_pieces.size();
        auto joined = [this](std::size_t a, std::size_t b) { // piece a ends where b starts
            return m_pieces[a].end == m_pieces[b].start ||
                   (m_pieces[a].end >= kTwoPi && m_pieces[b].start <= 0);
        };
        auto edgeZone = [&](double c, double s, int left, int right) {
            // Pixels whose centre is within half a pixel of the edge's line.
            int first = xFirst, last = xLast;
            if (std::abs(s) < 1e-12) {
                if (std::abs(c * py) >= 0.5)
                    return;
            } else {
                double za = (c * py - 0.5) / s, zb = (c * py + 0.5) / s;
                if (za > zb)
                    std::swap(za, zb);
                first = std::max(static_cast<int>(std::ceil(za + m_c.x() - 0.5)), xFirst);
                last = std::min(static_cast<int>(std::floor(zb + m_c.x() - 0.5)), xLast);
            }
            if (first <= last)
                m_zones.push_back({first, last, c, s, left, right});
        };
        auto collect = [&](double from, double to) {
            auto it = std::upper_bound(m_pieces.begin(), m_pieces.end(), from,
                                       [](double v, const Piece& q) { return v < q.end; });
            for (; it != m_pieces.end() && it->start < to; ++it) {
                const auto k = static_cast<std::size_t>(it - m_pieces.begin());
                const std::size_t before = k == 0 ? count - 1 : k - 1;
                const std::size_t after = k + 1 == count ? 0 : k + 1;
                edgeZone(it->cs, it->ss, joined(before, k) ? static_cast<int>(before) : -1,
                         static_cast<int>(k));
                // A shared edge is the next piece's start; beyond this span when that
                // piece lies beyond it.
                if (!joined(k, after))
                    edgeZone(it->ce, it->se, static_cast<int>(k), -1);
            }
        };
        collect(lo, hi);
        if (lo < 0)
            collect(lo + kTwoPi, kTwoPi);
        if (hi > kTwoPi)
            collect(0, hi - kTwoPi);
        std::sort(m_zones.begin(), m_zones.end(),
                  [](const Zone& a, const Zone& b) { return a.first < b.first; });

        const auto inner = static_cast<float>(m_r0 + 0.5), outer = static_cast<float>(m_r1 - 0.5);
        // Pixels at least a pixel clear of both circles on either side of the centre,
        // found from the row's geometry instead of testing each pixel's radius.
        std::pair<int, int> safe[2] = {{1, 0}, {1, 0}};
        if (const double b2 = double(outer) * outer - py * py; b2 > 0) {
            const double a = std::sqrt(std::max(double(inner) * inner - py * py, 0.0)) + 1;
            const double b = std::sqrt(b2) - 1;
            const double cx = m_c.x() - 0.5;
            if (a <= b) {
                safe[0] = {static_cast<int>(std::ceil(cx - b)), static_cast<int>(std::floor(cx - a))};
                safe[1] = {static_cast<int>(std::ceil(cx + a)), static_cast<int>(std::floor(cx + b))};
            }
        }
        std::size_t zone = 0;
        std::size_t hint = m_hint;
        int x = xFirst;
        while (x <= xLast) {
            if (zone < m_zones.size() && m_zones[zone].first <= x) {
                // Overlapping stretches form one cluster; a cluster around a single
                // edge splits each pixel between the two pieces on either side.
                const Zone& z = m_zones[zone];
                int last = z.last;
                bool single = true;
                std::size_t j = zone + 1;
                for (; j < m_zones.size() && m_zones[j].first <= last; ++j) {
                    single = single && m_zones[j].cs == z.cs && m_zones[j].ss == z.ss;
                    last = std::max(last, m_zones[j].last);
                }
                int left = z.left, right = z.right;
                for (std::size_t i = zone + 1; i < j; ++i) {
                    left = std::max(left, m_zones[i].left);
                    right = std::max(right, m_zones[i].right);
                }
                for (; x <= last; ++x) {
                    if (single)
                        splitPixel(row, x, xFirst, py, z, left, right);
                    else
                        slowPixel(row, x, xFirst, py, hint);
                }
                zone = j;
                continue;
            }
            const int end = zone < m_zones.size() ? m_zones[zone].first - 1 : xLast;
            // A stretch inside one run or one gap: find which from its first pixel.
            const double px = x + 0.5 - m_c.x();
            const Piece* q = locate(px, py, hint) ? &m_pieces[hint] : nullptr;
            while (x <= end) {
                int stop = x - 1; // the end of a stretch surely between the circles
                for (const auto& [lo, hi] : safe)
                    if (x >= lo && x <= hi)
                        stop = std::min(end, hi);
                if (stop < x) {
                    const float r = radius[x - xFirst];
                    if (r < inner || r > outer)
                        slowPixel(row, x, xFirst, py, hint);
                    else if (q)
                        storeInside(row[x], *q, level[x - xFirst]);
                    ++x;
                } else if (!q) {
                    x = stop + 1;
                } else if (q->opaque) {
                    for (; x <= stop; ++x)
                        row[x] = colourAt(*q, level[x - xFirst]);
                } else {
                    for (; x <= stop; ++x)
                        storeInside(row[x], *q, level[x - xFirst]);
                }
            }
        }
        m_hint = hint;
    }

    // Whether the pixel centre lies inside a piece; `hint` becomes that piece, or
    // the piece before the gap it lies in.
    bool locate(double px, double py, std::size_t& hint) const {
        const std::size_t n = m_pieces.size();
        for (int step = 0; step < 4; ++step) {
            const Piece& q = m_pieces[hint];
            const double ds = q.cs * py - q.ss * px, de = q.se * px - q.ce * py;
            if (ds >= 0 && de >= 0)
                return true;
            hint = ds < 0 ? (hint == 0 ? n - 1 : hint - 1) : (hint + 1 == n ? 0 : hint + 1);
        }
        const double a = angleAt(px, py);
        auto it = std::upper_bound(m_pieces.begin(), m_pieces.end(), a,
                                   [](double v, const Piece& q) { return v < q.start; });
        hint = it == m_pieces.begin() ? n - 1 : static_cast<std::size_t>(it - m_pieces.begin() - 1);
        const Piece& q = m_pieces[hint];
        return q.cs * py - q.ss * px >= 0 && q.se * px - q.ce * py >= 0;
    }

    struct Zone {
        int first, last;
        double cs, ss;   // the edge's direction
        int left, right; // the pieces before and after it, -1 for a gap
    };

    // A pixel near one edge only: its share on either side of the edge's line.
    void splitPixel(QRgb* row, int x, int xFirst, double py, const Zone& z, int left,
                    int right) const {
        const double px = x + 0.5 - m_c.x();
        const double r = m_radius[static_cast<std::size_t>(x - xFirst)];
        const double radial = clamp01(m_r1 + 0.5 - r) * clamp01(r - m_r0 + 0.5);
        if (radial <= 0)
            return;
        const float t = static_cast<float>(m_level[static_cast<std::size_t>(x - xFirst)]) / 256.0f;
        const double after = clamp01(0.5 + z.cs * py - z.ss * px);
        float c[4] = {0, 0, 0, 0};
        auto add = [&](int piece, double share) {
            if (piece < 0 || share <= 0)
                return;
            const Piece& q = m_pieces[static_cast<std::size_t>(piece)];
            const auto f = static_cast<float>(share * radial);
            for (int i = 0; i < 4; ++i)
                c[i] += (q.inner[i] + q.slope[i] * t) * f;
        };
        add(left, 1 - after);
        add(right, after);
        if (c[3] > 0)
            blend(row[x], c);
    }

    void slowPixel(QRgb* row, int x, int xFirst, double py, std::size_t& hint) const {
        const double px = x + 0.5 - m_c.x();
        const double r = m_radius[x - xFirst];
        const double radial = clamp01(m_r1 + 0.5 - r) * clamp01(r - m_r0 + 0.5);
        if (radial <= 0)
            return;
        const auto t = static_cast<float>(clamp01((r - m_r0) * m_invSpan));
        float c[4];
        if (edgePixel(px, py, t, static_cast<float>(radial), c, hint))
            blend(row[x], c);
    }

    // Sums the pieces whose edges pass within about a pixel of this one; false when
    // none covers any of it. Consecutive pixels lie in the same or a neighbouring
    // piece, so the search walks from the last one and only falls back to the
    // pixel's angle when the walk goes far.
    bool edgePixel(double px, double py, float t, float radial, float c[4],
                   std::size_t& hint) const {
        const std::size_t n = m_pieces.size();
        auto next = [n](std::size_t k) { return k + 1 == n ? 0 : k + 1; };
        auto prev = [n](std::size_t k) { return k == 0 ? n - 1 : k - 1; };
        std::size_t lo = hint, hi = hint;
        int dir = 0;
        bool found = false;
        for (int step = 0; step < 8 && !found; ++step) {
            const Piece& q = m_pieces[lo];
            const double ds = q.cs * py - q.ss * px, de = q.se * px - q.ce * py;
            if (ds >= 0 && de >= 0) {
                hi = lo;
                found = true;
            } else if (ds < 0) {
                if (dir > 0) { // stepped forward past it: a gap between two pieces
                    hi = lo;
                    lo = prev(lo);
                    found = true;
                } else {
                    dir = -1;
                    lo = prev(lo);
                }
            } else {
                if (dir < 0) {
                    hi = next(lo);
                    found = true;
                } else {
                    dir = 1;
                    lo = next(lo);
                }
            }
        }
        if (!found) {
            double a = std::atan2(py, px);
            if (a < 0)
                a += kTwoPi;
            auto it = std::upper_bound(m_pieces.begin(), m_pieces.end(), a,
                                       [](double v, const Piece& q) { return v < q.start; });
            hi = it == m_pieces.end() ? 0 : static_cast<std::size_t>(it - m_pieces.begin());
            lo = prev(hi);
            if (a < m_pieces[lo].end || (it == m_pieces.begin() && a + kTwoPi < m_pieces[lo].end))
                hi = lo;
        }
        hint = lo;
        float sum[4] = {0, 0, 0, 0};
        bool any = false;
        // Back from `lo` while the previous piece may reach into this pixel, then on
        // from `hi` likewise; never round the ring more than once.
        std::size_t k = lo;
        for (std::size_t i = 0; i < n; ++i, k = prev(k)) {
            const Piece& q = m_pieces[k];
            any |= addCoverage(q, px, py, t, sum);
            if (q.cs * py - q.ss * px >= 1.0)
                break;
        }
        k = hi;
        for (std::size_t i = 0; i < n; ++i, k = next(k)) {
            const Piece& q = m_pieces[k];
            if (k != lo)
                any |= addCoverage(q, px, py, t, sum);
            if (q.se * px - q.ce * py >= 1.0 || next(k) == lo)
                break;
        }
        if (!any)
            return false;
        for (int i = 0; i < 4; ++i)
            c[i] = std::min(sum[i], 255.0f) * radial;
        return true;
    }

    QImage& m_image;
    QPointF m_c;
    double m_s;
    std::vector<Piece> m_pieces;
    double m_r0 = 0, m_r1 = 0, m_invSpan = 0;
    std::size_t m_hint = 0;
    std::vector<float> m_radius;
    std::vector<int> m_level;
    std::vector<Zone> m_zones;
};

} // namespace

bool fillRings(QPainter& p, QPointF centre, const std::vector<Ring>& rings) {
    auto* image = dynamic_cast<QImage*>(p.device());
    const QTransform t = p.deviceTransform();
    if (!image || t.type() > QTransform::TxScale || std::abs(t.m11() - t.m22()) > 1e-9 ||
        t.m11() <= 0 || p.hasClipping() ||
        (image->format() != QImage::Format_RGB32 &&
         image->format() != QImage::Format_ARGB32_Premultiplied))
        return false;
    RingFiller filler(*image, t.map(centre), t.m11());
    for (const Ring& ring : rings)
        filler.fill(ring);
    return true;
}

} // namespace ringfold::mapdraw
