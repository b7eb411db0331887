#include "ui/RingPieces.h"

#include <cmath>

namespace ringfold::mapdraw {

namespace {

constexpr double kMaxPiece = M_PI / 2;

void unpack(QRgb c, float out[4]) {
    out[0] = static_cast<float>(qRed(c));
    out[1] = static_cast<float>(qGreen(c));
    out[2] = static_cast<float>(qBlue(c));
    out[3] = static_cast<float>(qAlpha(c));
}

} // namespace

void cutIntoPieces(const Ring& ring, std::vector<Piece>& pieces) {
    pieces.clear();
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
            p.lanes = p.slopes = 0;
            for (int k = 0; k < 4; ++k) {
                p.inner[k] = in[k];
                p.slope[k] = out[k] - in[k];
                const int shift = 16 * (k == 3 ? 3 : 2 - k); // r, g, b, a lanes
                p.lanes += static_cast<std::uint64_t>(static_cast<int>(in[k]) * 256 + 128) << shift;
                p.slopes += static_cast<std::uint64_t>(
                    static_cast<std::int64_t>(static_cast<int>(out[k]) - static_cast<int>(in[k])) *
                    (std::int64_t{1} << shift));
            }
            p.opaque = qAlpha(run.atInner) == 255 && qAlpha(run.atReach) == 255;
            pieces.push_back(p);
        }
    }
}

} // namespace ringfold::mapdraw
