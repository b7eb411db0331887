#include "ui/MapScene.h"

#include "core/model/ByteFormat.h"
#include "ui/Hairline.h"

#include <QApplication>
#include <QFile>
#include <QPainter>

#include <algorithm>
#include <cmath>

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
    const HairlineInk ink(premultipliedInk(pen.color()));
    for (const QLineF& line : lines)
        drawHairline(*image, t.map(line.p1()), t.map(line.p2()), ink);
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
