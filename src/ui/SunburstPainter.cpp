#include "ui/SunburstPainter.h"

#include "ui/RingRaster.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QRadialGradient>
#include <QtMath>

#include <algorithm>
#include <cmath>
#include <map>

namespace ringfold {

namespace {

constexpr double kTwoPi = 2.0 * M_PI;
constexpr double kRowHeight = 36.0;        // one callout row
constexpr double kTextGap = 20.0;          // from the rings to the callout text
constexpr double kLeaderShortOfText = 15.0;
constexpr int kCalloutNamePx = 13;
constexpr int kCalloutSizePx = 11;
constexpr int kHubSizePx = 11;

QColor white(double opacity) {
    QColor c(Qt::white);
    c.setAlphaF(static_cast<float>(opacity));
    return c;
}

QColor withOpacity(QColor c, double factor) {
    c.setAlphaF(static_cast<float>(c.alphaF() * factor));
    return c;
}

QRectF circleRect(QPointF c, double r) { return {c.x() - r, c.y() - r, 2 * r, 2 * r}; }

// A run of segments on one ring, from angle `start` to `end`.
struct Arc {
    int depth;
    double start;
    double end;
    double inner;
    double outer;
    QRgb rgba;

    bool continuedBy(const Arc& next) const {
        return next.start == end && next.inner == inner && next.outer == outer;
    }
    QPainterPath path(QPointF c) const {
        MapSegment s;
        s.startAngle = start;
        s.endAngle = end;
        s.innerRadius = inner;
        s.outerRadius = outer;
        return SunburstPainter::sectorPath(c, s);
    }
};

struct Callout {
    const MapSegment* segment;
    SegmentLabel label;
    double midAngle;
    QPointF massPt;
};

} // namespace

QPointF SunburstPainter::centre() const {
    return {m_scene.size.width() / 2, m_scene.size.height() / 2};
}

double SunburstPainter::radius() const {
    return std::min(m_scene.size.width(), m_scene.size.height()) / 2;
}

void SunburstPainter::addSector(QPainterPath& path, QPointF c, const MapSegment& s) {
    // Qt's arcs count degrees counter-clockwise; the layout's angles run clockwise.
    const double start = -qRadiansToDegrees(s.startAngle);
    const double sweep = -qRadiansToDegrees(s.endAngle - s.startAngle);
    const QRectF outer = circleRect(c, s.outerRadius);
    path.arcMoveTo(outer, start);
    path.arcTo(outer, start, sweep);
    path.arcTo(circleRect(c, s.innerRadius), start + sweep, -sweep);
    path.closeSubpath();
}

QPainterPath SunburstPainter::sectorPath(QPointF c, const MapSegment& s) {
    QPainterPath path;
    addSector(path, c, s);
    return path;
}

SunburstPainter::Hit SunburstPainter::hitTest(const std::vector<MapSegment>& segments,
                                              QSizeF size, const MapStyle& style, QPointF point) {
    const QPointF c(size.width() / 2, size.height() / 2);
    const double dx = point.x() - c.x();
    const double dy = point.y() - c.y();
    const double r = std::hypot(dx, dy);
    if (r < style.centerHoleRatio * std::min(size.width(), size.height()) / 2)
        return {-1, true};
    double a = std::atan2(dy, dx);
    if (a < 0)
        a += kTwoPi;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const MapSegment& s = segments[i];
        if (s.innerRadius <= r && r <= s.outerRadius && s.startAngle <= a && a <= s.endAngle)
            return {static_cast<int>(i), false};
    }
    return {};
}

void SunburstPainter::paintBase(QPainter& p) const {
    const QPointF c = centre();
    const double R = radius();
    const MapStyle& style = m_scene.style;

    mapdraw::paintGlow(p, c, 1.05 * R, style.stageGlowOpacity);

    // Segments never overlap, so each layer is drawn for whole runs of them: one fill
    // per run of neighbours of one colour on a ring (its shading composed into the same
    // gradient), one outline and one lit rim per run of touching segments, and the
    // radial edges as plain lines. Thousands of small raster calls become a few dozen.
    std::vector<Arc> fills, areas;
    std::map<int, std::pair<std::size_t, std::size_t>> lastRun; // ring -> (fill, area) + 1
    std::vector<QLineF> edges, sharedEdges;
    auto radial = [c](double angle, double r0, double r1) {
        const QPointF u(std::cos(angle), std::sin(angle));
        return QLineF(c + r0 * u, c + r1 * u);
    };
    for (const MapSegment& s : *m_scene.segments) {
        const Arc arc{s.depth, s.startAngle, s.endAngle, s.innerRadius, s.outerRadius,
                      mapdraw::fillColor(s).rgba()};
        auto& [fill, area] = lastRun[s.depth];
        if (fill && fills[fill - 1].continuedBy(arc) && fills[fill - 1].rgba == arc.rgba) {
            fills[fill - 1].end = arc.end;
        } else {
            fills.push_back(arc);
            fill = fills.size();
        }
        if (area && areas[area - 1].continuedBy(arc)) {
            // Both neighbours outline this edge.
            sharedEdges.push_back(radial(arc.start, arc.inner, arc.outer));
            areas[area - 1].end = arc.end;
        } else {
            areas.push_back(arc);
            area = areas.size();
        }
    }

    // The fill under a faint light falling off from the ring's inner edge.
    const double shading = 0.32 * style.segmentGradientDepth;
    auto reach = [](const Arc& run) { return std::max(run.inner + 1, run.outer); };
    std::vector<mapdraw::Ring> rings;
    std::map<std::pair<double, double>, std::size_t> ringOf;
    for (const Arc& run : fills) {
        auto [at, added] = ringOf.try_emplace({run.inner, run.outer}, rings.size());
        if (added)
            rings.push_back({run.inner, run.outer, reach(run), {}});
        const QColor fill = QColor::fromRgba(run.rgba);
        rings[at->second].runs.push_back({run.start, run.end,
                                          qPremultiply(mapdraw::whiteOver(fill, shading).rgba()),
                                          qPremultiply(run.rgba)});
    }
    for (mapdraw::Ring& ring : rings)
        std::sort(ring.runs.begin(), ring.runs.end(),
                  [](const auto& a, const auto& b) { return a.start < b.start; });
    if (!mapdraw::fillRings(p, c, rings)) {
        for (const Arc& run : fills) {
            const QColor fill = QColor::fromRgba(run.rgba);
            QRadialGradient shaded(c, reach(run));
            shaded.setColorAt(run.inner / reach(run), mapdraw::whiteOver(fill, shading));
            shaded.setColorAt(1, fill);
            p.fillPath(run.path(c), shaded);
        }
    }

    QPainterPath rims, arcs;
    auto addArc = [c](QPainterPath& path, double r, double a0, double a1) {
        const QRectF box = circleRect(c, r);
        const double start = -qRadiansToDegrees(a0);
        path.arcMoveTo(box, start);
        path.arcTo(box, start, -qRadiansToDegrees(a1 - a0));
    };
    for (const Arc& run : areas) {
        addArc(rims, std::max(run.outer - 0.75, 0.0), run.start, run.end);
        addArc(arcs, run.outer, run.start, run.end);
        addArc(arcs, run.inner, run.start, run.end);
        edges.push_back(radial(run.start, run.inner, run.outer));
        edges.push_back(radial(run.end, run.inner, run.outer));
    }
    p.setBrush(Qt::NoBrush);
    p.strokePath(rims, mapdraw::hairlinePen(p, white(0.4 * style.segmentGradientDepth), 1.0));
    const QPen separator = mapdraw::separatorPen(p, style);
    p.strokePath(arcs, separator);
    mapdraw::drawHairlines(p, edges, separator);
    QPen twice = separator;
    QColor ink = separator.color();
    ink.setAlphaF(1 - (1 - ink.alphaF()) * (1 - ink.alphaF()));
    twice.setColor(ink);
    mapdraw::drawHairlines(p, sharedEdges, twice);

    // Emphasis belongs to the overlay; the badges are part of the picture.
    for (const MapSegment& s : *m_scene.segments)
        paintBadge(p, s);
    paintHub(p);
}

void SunburstPainter::paintBadge(QPainter& p, const MapSegment& s) const {
    if (!m_scene.inCleanupList(s))
        return;
    const double m = (s.innerRadius + s.outerRadius) / 2;
    const double mid = (s.startAngle + s.endAngle) / 2;
    const double room = std::min(s.outerRadius - s.innerRadius, m * (s.endAngle - s.startAngle));
    const QPointF at = centre() + QPointF(m * std::cos(mid), m * std::sin(mid));
    mapdraw::drawCheckmarkBadge(p, at, room, m_scene.colors.accent);
}

void SunburstPainter::paintOverlay(QPainter& p) const {
    const QPointF c = centre();
    for (const MapSegment& s : *m_scene.segments) {
        if (!mapdraw::isEmphasized(s, m_scene))
            continue;
        mapdraw::drawEmphasis(p, sectorPath(c, s), m_scene.style);
        paintBadge(p, s);
    }
    paintCallouts(p);
}

QString SunburstPainter::fitCalloutName(const SegmentLabel& label, double width, QFont& font) {
    for (int px : {kCalloutNamePx, kCalloutNamePx - 1, kCalloutNamePx - 2}) {
        font = mapdraw::font(px, QFont::Medium);
        if (QFontMetricsF(font).horizontalAdvance(label.name) <= width)
            return label.name;
    }
    return QFontMetricsF(font).elidedText(label.name,
                                          label.isAggregate ? Qt::ElideRight : Qt::ElideMiddle, width);
}

QString SunburstPainter::fitHubName(const QString& name, double width, QFont& font) {
    for (int px : {15, 13, 11}) {
        font = mapdraw::font(px, QFont::DemiBold);
        if (QFontMetricsF(font).horizontalAdvance(name) <= width)
            return name;
    }
    const QFontMetricsF fm(font);
    const auto cut = [&](qsizetype k) {
        const auto head = static_cast<qsizetype>(std::floor(0.65 * static_cast<double>(k)));
        return name.left(head) + QChar(0x2026) + name.right(k - head);
    };
    qsizetype lo = 1, hi = name.size() - 1, best = 1;
    while (lo <= hi) {
        const qsizetype k = (lo + hi) / 2;
        if (fm.horizontalAdvance(cut(k)) <= width) {
            best = k;
            lo = k + 1;
        } else {
            hi = k - 1;
        }
    }
    return name.size() < 2 ? name : cut(best);
}

void SunburstPainter::paintHub(QPainter& p) const {
    const QPointF c = centre();
    const double h = m_scene.style.centerHoleRatio * radius();
    if (h < 20)
        return;
    mapdraw::paintHubDisc(p, c, h, m_scene.colors.window, white(m_scene.style.hubRimOpacity));

    const double D = 2 * h;
    if (D < 48 || !m_scene.focused)
        return;
    const bool dark = m_scene.colors.dark;
    const QColor nameColor = dark ? QColor(Qt::white) : m_scene.colors.label;
    const QColor sizeColor = dark ? white(0.6) : m_scene.colors.secondary;

    QFont nameFont;
    const QString name = fitHubName(mapdraw::displayName(*m_scene.focused), 0.82 * D, nameFont);
    const double hn = QFontMetricsF(nameFont).height();
    auto drawCentred = [&](const QString& text, const QFont& font, QColor color, double cy,
                           double height) {
        p.setFont(font);
        p.setPen(color);
        p.drawText(QRectF(c.x() - h, cy - height / 2, D, height), Qt::AlignCenter, text);
    };
    if (D >= 76) {
        const QFont sizeFont = mapdraw::font(kHubSizePx);
        const double hs = QFontMetricsF(sizeFont).height();
        const double t = (hn + 3 + hs) / 2;
        drawCentred(name, nameFont, nameColor, c.y() - t + hn / 2, hn);
        drawCentred(mapdraw::byteText(m_scene.focused->allocatedSize()), sizeFont, sizeColor,
                    c.y() + t - hs / 2, hs);
    } else {
        drawCentred(name, nameFont, nameColor, c.y(), hn);
    }
}

void SunburstPainter::paintCallouts(QPainter& p) const {
    const double R = radius();
    if (R < 44)
        return;
    const QPointF c = centre();
    std::vector<Callout> right, left;
    for (const MapSegment& s : *m_scene.segments) {
        const bool ringOneSummary = s.depth == 1 && !s.isPlainItem();
        if (!ringOneSummary && !m_scene.inCleanupList(s) && !mapdraw::isEmphasized(s, m_scene))
            continue;
        const double mid = (s.startAngle + s.endAngle) / 2;
        const double m = (s.innerRadius + s.outerRadius) / 2;
        Callout e{&s, mapdraw::segmentLabel(s), mid,
                  c + QPointF(m * std::cos(mid), m * std::sin(mid))};
        (std::cos(mid) >= 0 ? right : left).push_back(std::move(e));
    }

    const QFont nameFont = mapdraw::font(kCalloutNamePx, QFont::Medium);
    const QFont sizeFont = mapdraw::font(kCalloutSizePx);
    const QFontMetricsF nameFm(nameFont), sizeFm(sizeFont);
    const double hn = nameFm.height(), hs = sizeFm.height();
    const double width = m_scene.size.width();
    const auto maxRows = static_cast<std::size_t>(
        std::max(std::floor((m_scene.size.height() - 12) / kRowHeight), 1.0));
    const QColor leader = withOpacity(m_scene.colors.secondary, 0.45);

    auto column = [&](std::vector<Callout>& rows, bool onRight) {
        const double textEdge = onRight ? c.x() + R + kTextGap : c.x() - R - kTextGap;
        const double room = (onRight ? width - textEdge : textEdge) - 4;
        if (rows.empty() || room <= 20)
            return;
        std::stable_sort(rows.begin(), rows.end(), [](const Callout& a, const Callout& b) {
            return a.massPt.y() < b.massPt.y();
        });
        if (rows.size() > maxRows)
            rows.resize(maxRows);
        const double top =
            std::max(6.0, c.y() - static_cast<double>(rows.size()) * kRowHeight / 2);
        const double side = onRight ? 1.0 : -1.0;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const Callout& e = rows[i];
            const double rowTop = top + static_cast<double>(i) * kRowHeight;
            const double block = hn + (e.label.size ? hs : 0.0);
            const double nameTop = rowTop + (kRowHeight - block) / 2;
            const double nameMid = nameTop + hn / 2;

            const QPointF end(textEdge - side * kLeaderShortOfText, nameMid);
            p.setPen(QPen(leader, 0.75, Qt::SolidLine, Qt::RoundCap));
            p.drawLine(e.massPt, end);
            p.setPen(Qt::NoPen);
            p.setBrush(withOpacity(m_scene.colors.secondary, 0.9));
            p.drawEllipse(e.massPt, 1.75, 1.75);

            const Qt::Alignment align = (onRight ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignVCenter;
            const double x = onRight ? textEdge : textEdge - room;
            QFont fitted;
            const QString name = fitCalloutName(e.label, room, fitted);
            p.setFont(fitted);
            p.setPen(m_scene.colors.label);
            p.drawText(QRectF(x, nameTop, room, hn), align, name);
            if (e.label.size) {
                p.setFont(sizeFont);
                p.setPen(m_scene.colors.secondary);
                p.drawText(QRectF(x, nameTop + hn, room, hs), align, *e.label.size);
            }
        }
    };
    column(right, true);
    column(left, false);
}

} // namespace ringfold
