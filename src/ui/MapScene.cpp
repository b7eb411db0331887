#include "ui/MapScene.h"

#include "core/model/ByteFormat.h"

#include <QApplication>
#include <QFile>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace ringfold {

MapColors MapColors::fromPalette(const QPalette& palette) {
    MapColors c;
    c.window = palette.color(QPalette::Window);
    c.label = palette.color(QPalette::WindowText);
    c.secondary = c.label;
    c.secondary.setAlphaF(0.6f);
    c.accent = palette.color(QPalette::Highlight);
    c.dark = c.window.lightness() < 128;
    return c;
}

namespace mapdraw {

QColor toQColor(const MapColor& color) {
    auto unit = [](double v) { return static_cast<float>(std::clamp(v, 0.0, 1.0)); };
    // Hues are fractions of a turn in [0, 1); 1.0 would be out of Qt's range.
    const double hue = color.hue - static_cast<double>(static_cast<long>(color.hue));
    return QColor::fromHsvF(unit(hue), unit(color.saturation), unit(color.brightness),
                            unit(color.opacity));
}

QString displayName(const FileNode& node) {
    const std::string_view name = node.name();
    return QFile::decodeName(QByteArray(name.data(), static_cast<qsizetype>(name.size())));
}

QString byteText(std::int64_t bytes) { return QString::fromStdString(formatByteCount(bytes)); }

QFont font(int pixelSize, QFont::Weight weight) {
    QFont f = QApplication::font();
    f.setPixelSize(pixelSize);
    f.setWeight(weight);
    return f;
}

SegmentLabel segmentLabel(const MapSegment& s) {
    auto aggregate = [&](const char* name) {
        SegmentLabel label{QString::fromUtf8(name), std::nullopt, true};
        if (s.aggregateSize)
            label.size = byteText(*s.aggregateSize);
        return label;
    };
    if (s.isHiddenAggregate)
        return aggregate("Hidden items");
    if (s.isGroupedSmallerObjects)
        return aggregate("Smaller objects");
    if (s.isInaccessibleSpace)
        return {QStringLiteral("Inaccessible Space"), std::nullopt, true};
    if (s.isFreeSpace)
        return {QStringLiteral("Free Space"), std::nullopt, true};
    return {displayName(*s.node), byteText(s.node->allocatedSize()), false};
}

bool isHovered(const MapSegment& s, std::optional<NodeID> highlighted) {
    if (!highlighted)
        return false;
    if (s.aggregateID)
        return *s.aggregateID == *highlighted;
    return s.isPlainItem() && s.node->id() == *highlighted;
}

bool isSelected(const MapSegment& s, std::optional<NodeID> selected) {
    return selected && s.isPlainItem() && s.node->id() == *selected;
}

QColor fillColor(const MapSegment& s) {
    QColor c = toQColor(s.color);
    if (s.isPlainItem() && s.node->isHidden())
        c.setAlphaF(c.alphaF() * static_cast<float>(kHiddenFolderOpacity));
    return c;
}

QPen hairlinePen(const QPainter& painter, QColor color, double width) {
    const double pixels = width * painter.device()->devicePixelRatioF();
    if (pixels >= 1.0)
        return QPen(color, width, Qt::SolidLine, Qt::FlatCap);
    color.setAlphaF(static_cast<float>(color.alphaF() * pixels));
    QPen pen(color, 0.0, Qt::SolidLine, Qt::FlatCap);
    pen.setCosmetic(true);
    return pen;
}

namespace {

// Every channel of `x` times a / 256, two channels per multiply.
inline QRgb byteMul256(QRgb x, QRgb a) {
    const QRgb rb = (((x & 0x00ff00ffu) * a) >> 8) & 0x00ff00ffu;
    const QRgb ag = (((x >> 8) & 0x00ff00ffu) * a) & 0xff00ff00u;
    return rb | ag;
}

// Premultiplied ARGB32 ink at every coverage 0 ... 256, and what it leaves of the
// pixel under it: one line's pixels take two table reads instead of a multiply each.
struct Ink {
    explicit Ink(QRgb argb) {
        for (QRgb c = 0; c <= 256; ++c) {
            shade[c] = byteMul256(argb, c);
            keep[c] = 256u - qAlpha(shade[c]);
        }
    }
    QRgb shade[257];
    QRgb keep[257];
};

// Blends `ink` at `coverage` into one pixel: source-over in premultiplied 8-bit
// channels, which cannot carry from one channel into the next. This runs for every
// pixel of every separator.
inline void blendPixel(QRgb& px, const Ink& ink, int coverage) {
    px = ink.shade[coverage] + byteMul256(px, ink.keep[coverage]);
}

void wuLine(QImage& image, QPointF a, QPointF b, const Ink& ink) {
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

} // namespace

void drawHairlines(QPainter& p, const std::vector<QLineF>& lines, const QPen& pen) {
    auto* image = dynamic_cast<QImage*>(p.device());
    const QTransform t = p.deviceTransform();
    const bool direct = image && pen.isCosmetic() && pen.style() == Qt::SolidLine &&
                        t.type() <= QTransform::TxScale && !p.hasClipping() &&
                        (image->format() == QImage::Format_RGB32 ||
                         image->format() == QImage::Format_ARGB32_Premultiplied);
    if (!direct) {
        p.setPen(pen);
        p.drawLines(lines.data(), static_cast<int>(lines.size()));
        return;
    }
    const QColor c = pen.color();
    const float alpha = c.alphaF();
    auto level = [](float v) { return static_cast<int>(v * 255.0f + 0.5f); };
    const Ink ink(qRgba(level(c.redF() * alpha), level(c.greenF() * alpha),
                        level(c.blueF() * alpha), level(alpha)));
    for (const QLineF& line : lines)
        wuLine(*image, t.map(line.p1()), t.map(line.p2()), ink);
}

QPen separatorPen(const QPainter& painter, const MapStyle& style) {
    QColor ink(Qt::black);
    ink.setAlphaF(static_cast<float>(style.separatorOpacity));
    return hairlinePen(painter, ink, style.separatorStrokeWidth);
}

QColor whiteOver(const QColor& fill, double a) {
    // Source-over in premultiplied terms: out = white * a + fill * (1 - a).
    const double f = fill.alphaF();
    const double alpha = a + f * (1 - a);
    if (alpha <= 0)
        return QColor(0, 0, 0, 0);
    auto channel = [&](double c) { return static_cast<float>((a + c * f * (1 - a)) / alpha); };
    return QColor::fromRgbF(channel(fill.redF()), channel(fill.greenF()), channel(fill.blueF()),
                            static_cast<float>(alpha));
}

void drawEmphasis(QPainter& p, const QPainterPath& path, const MapStyle& style) {
    QColor fill(Qt::white);
    fill.setAlphaF(static_cast<float>(style.selectionFillOpacity));
    QColor stroke(Qt::white);
    stroke.setAlphaF(static_cast<float>(style.selectionStrokeOpacity));
    p.fillPath(path, fill);
    p.strokePath(path, QPen(stroke, style.selectionStrokeWidth, Qt::SolidLine, Qt::RoundCap,
                            Qt::RoundJoin));
}

void drawCheckmarkBadge(QPainter& p, QPointF centre, double room, const QColor& accent) {
    const double d = std::max(std::min(0.7 * room, kBadgeMaxDiameter), 0.0);
    if (d < 6.0)
        return;
    p.save();
    p.setPen(QPen(accent, 1.2));
    p.setBrush(Qt::white);
    p.drawEllipse(centre, d / 2, d / 2);
    // The checkmark glyph, drawn as strokes inside the em box of a 0.65 d font.
    const double s = 0.65 * d;
    QPainterPath check;
    check.moveTo(centre + QPointF(-0.30 * s, 0.02 * s));
    check.lineTo(centre + QPointF(-0.08 * s, 0.25 * s));
    check.lineTo(centre + QPointF(0.32 * s, -0.26 * s));
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(accent, std::max(1.2, 0.14 * s), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.drawPath(check);
    p.restore();
}

} // namespace mapdraw
} // namespace ringfold
