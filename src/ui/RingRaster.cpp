#include "ui/RingRaster.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace ringfold::mapdraw {

namespace {

constexpr double kTwoPi = 2.0 * M_PI;
// Runs are cut into pieces no wider than this, so that "on the inner side of both
// edges" means "inside the piece" (true for wedges narrower than half a turn).
constexpr double kMaxPiece = M_PI / 2;

struct Piece {
    double start, end;
    double cs, ss, ce, se; // cos and sin of the edges
    float inner[4];        // premultiplied, 0 ... 255, at the inner radius
    float slope[4];        // change per unit of t (inner -> reach)
    int innerQ[4];         // the same in integers: inner * 256 and slope
    int slopeQ[4];
};

void unpack(QRgb c, float out[4]) {
    out[0] = static_cast<float>(qRed(c));
    out[1] = static_cast<float>(qGreen(c));
    out[2] = static_cast<float>(qBlue(c));
    out[3] = static_cast<float>(qAlpha(c));
}

inline double clamp01(double v) { return v < 0 ? 0 : (v > 1 ? 1 : v); }

inline void blend(QRgb& px, const float c[4]) {
    const float keep = 1.0f - c[3] * (1.0f / 255.0f);
    auto mix = [&](int shift, float v) {
        const float out = v + static_cast<float>((px >> shift) & 0xff) * keep + 0.5f;
        return static_cast<QRgb>(std::min(out, 255.0f)) << shift;
    };
    px = mix(24, c[3]) | mix(16, c[0]) | mix(8, c[1]) | mix(0, c[2]);
}

class RingFiller {
public:
    RingFiller(QImage& image, QPointF centre, double scale) : m_image(image), m_c(centre), m_s(scale) {}

    void fill(const Ring& ring) {
        if (!preparePieces(ring))
            return;
        const double r0 = ring.inner * m_s, r1 = ring.outer * m_s;
        const double reach = std::max(ring.reach * m_s, r0 + 1e-6);
        const double rOut = r1 + 0.5, rIn = std::max(r0 - 0.5, 0.0);
        const double invSpan = 1.0 / (reach - r0);
        const int w = m_image.width(), h = m_image.height();
        const int yFirst = std::max(static_cast<int>(std::floor(m_c.y() - rOut)), 0);
        const int yLast = std::min(static_cast<int>(std::ceil(m_c.y() + rOut)), h - 1);
        auto* bits = reinterpret_cast<QRgb*>(m_image.bits());
        const auto stride = m_image.bytesPerLine() / 4;
        std::size_t hint = 0;
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
                const int xFirst = std::max(static_cast<int>(std::ceil(m_c.x() + spans[k][0] - 0.5)), 0);
                const int xLast = std::min(static_cast<int>(std::floor(m_c.x() + spans[k][1] - 0.5)), w - 1);
                for (int x = xFirst; x <= xLast; ++x) {
                    const double px = x + 0.5 - m_c.x();
                    const double r = std::sqrt(px * px + py2);
                    const double radial = clamp01(r1 + 0.5 - r) * clamp01(r - r0 + 0.5);
                    if (radial <= 0)
                        continue;
                    const auto t = static_cast<float>(clamp01((r - r0) * invSpan));
                    const Piece& q = m_pieces[hint];
                    if (radial >= 1 && q.cs * py - q.ss * px >= 0.5 && q.se * px - q.ce * py >= 0.5) {
                        // Inside one piece: the common case, in integers.
                        const auto ti = static_cast<int>(t * 256.0f + 0.5f);
                        int c[4];
                        for (int i = 0; i < 4; ++i)
                            c[i] = (q.innerQ[i] + q.slopeQ[i] * ti + 128) >> 8;
                        QRgb& d = row[x];
                        if (c[3] >= 255) {
                            d = qRgba(c[0], c[1], c[2], 255);
                        } else {
                            const int keep = 255 - c[3];
                            auto mix = [&](int v, int dst) {
                                const int m = dst * keep + 128;
                                return std::min(v + ((m + (m >> 8)) >> 8), 255);
                            };
                            d = qRgba(mix(c[0], qRed(d)), mix(c[1], qGreen(d)),
                                      mix(c[2], qBlue(d)), mix(c[3], qAlpha(d)));
                        }
                        continue;
                    }
                    float c[4];
                    if (!edgePixel(px, py, r, t, static_cast<float>(radial), c, hint))
                        continue;
                    blend(row[x], c);
                }
            }
        }
    }

private:
    bool preparePieces(const Ring& ring) {
        m_pieces.clear();
        for (const RingRun& run : ring.runs) {
            float in[4], out[4];
            unpack(run.atInner, in);
            unpack(run.atReach, out);
            const int n = std::max(1, static_cast<int>(std::ceil((run.end - run.start) / kMaxPiece)));
            for (int i = 0; i < n; ++i) {
                Piece p;
                p.start = run.start + (run.end - run.start) * i / n;
                p.end = i + 1 == n ? run.end : run.start + (run.end - run.start) * (i + 1) / n;
                if (p.end <= p.start)
                    continue;
                p.cs = std::cos(p.start);
                p.ss = std::sin(p.start);
                p.ce = std::cos(p.end);
                p.se = std::sin(p.end);
                for (int k = 0; k < 4; ++k) {
                    p.inner[k] = in[k];
                    p.slope[k] = out[k] - in[k];
                    p.innerQ[k] = static_cast<int>(in[k]) * 256;
                    p.slopeQ[k] = static_cast<int>(out[k]) - static_cast<int>(in[k]);
                }
                m_pieces.push_back(p);
            }
        }
        return !m_pieces.empty();
    }

    // Sums the pieces whose edges pass within about a pixel of this one; false when
    // none covers any of it.
    bool edgePixel(double px, double py, double r, float t, float radial, float c[4],
                   std::size_t& hint) const {
        double a = std::atan2(py, px);
        if (a < 0)
            a += kTwoPi;
        const double margin = 1.0 / std::max(r, 1.0);
        float sum[4] = {0, 0, 0, 0};
        bool any = false;
        auto gather = [&](double angle) {
            auto it = std::upper_bound(m_pieces.begin(), m_pieces.end(), angle,
                                       [](double v, const Piece& q) { return v < q.start; });
            // Pieces starting after the angle, then those at or before it.
            for (auto j = it; j != m_pieces.end() && j->start < angle + margin; ++j)
                any |= add(*j, px, py, t, sum);
            for (auto j = it; j != m_pieces.begin();) {
                --j;
                if (j->end <= angle - margin)
                    break;
                any |= add(*j, px, py, t, sum);
            }
            if (it != m_pieces.begin() && angle < (it - 1)->end)
                hint = static_cast<std::size_t>(it - m_pieces.begin() - 1);
        };
        gather(a);
        if (a < margin)
            gather(a + kTwoPi);
        if (a > kTwoPi - margin)
            gather(a - kTwoPi);
        if (!any)
            return false;
        for (int i = 0; i < 4; ++i)
            c[i] = std::min(sum[i], 255.0f) * radial;
        return true;
    }

    static bool add(const Piece& q, double px, double py, float t, float sum[4]) {
        const double cover =
            clamp01(0.5 + q.cs * py - q.ss * px) + clamp01(0.5 + q.se * px - q.ce * py) - 1;
        if (cover <= 0)
            return false;
        const auto f = static_cast<float>(cover);
        for (int i = 0; i < 4; ++i)
            sum[i] += (q.inner[i] + q.slope[i] * t) * f;
        return true;
    }

    QImage& m_image;
    QPointF m_c;
    double m_s;
    std::vector<Piece> m_pieces;
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
