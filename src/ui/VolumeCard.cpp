#include "ui/VolumeCard.h"

#include "ui/SourceText.h"
#include "ui/Symbols.h"

#include <QPainter>
#include <QPainterPath>

namespace ringfold {

namespace {

QColor gaugeColour(int percent, const QPalette& pal) {
    if (percent >= 90)
        return QColor(0xe0, 0x4f, 0x3c);
    if (percent >= 75)
        return QColor(0xe8, 0x9a, 0x1a);
    return pal.color(QPalette::Highlight);
}

} // namespace

VolumeCard::VolumeCard(const ScanSource& source, QWidget* parent)
    : QAbstractButton(parent), m_source(source) {
    setUpSourceButton(*this, source);
}

QSize VolumeCard::sizeHint() const {
    // Room for one more line when the card carries the restricted-access notice.
    return {280, m_source.lastScanWasRestricted ? 136 : 118};
}

void VolumeCard::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    const QRectF card = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);
    QPainterPath path;
    path.addRoundedRect(card, 12, 12);

    QColor fill = pal.color(QPalette::Base);
    if (isDown())
        fill = fill.darker(104);
    p.fillPath(path, fill);
    QColor border = pal.color(QPalette::Mid);
    double borderWidth = 1.0;
    if (underMouse() || hasFocus()) {
        border = pal.color(QPalette::Highlight);
        borderWidth = 1.6;
    }
    p.setPen(QPen(border, borderWidth));
    p.drawPath(path);

    const int pad = 16;
    const QRect inner = rect().adjusted(pad, pad - 2, -pad, -pad + 2);
    symbolIcon(sourceSymbol(m_source)).paint(&p, QRect(inner.left(), inner.top(), 30, 30));

    QFont nameFont = font();
    nameFont.setWeight(QFont::DemiBold);
    nameFont.setPointSizeF(nameFont.pointSizeF() * 1.1);
    const QFontMetrics nameMetrics(nameFont);
    const int textLeft = inner.left() + 40;
    const int textWidth = inner.right() - textLeft;
    p.setFont(nameFont);
    p.setPen(pal.color(QPalette::WindowText));
    p.drawText(QRect(textLeft, inner.top() - 1, textWidth, nameMetrics.height()),
               Qt::AlignLeft | Qt::AlignVCenter,
               nameMetrics.elidedText(text(), Qt::ElideMiddle, textWidth));

    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * 0.9);
    const QFontMetrics smallMetrics(small);
    QColor muted = pal.color(QPalette::WindowText);
    muted.setAlphaF(0.6);
    p.setFont(small);
    p.setPen(muted);
    const QString capacity = capacityText(m_source).value_or(QStringLiteral("Capacity unknown"));
    p.drawText(
        QRect(textLeft, inner.top() + nameMetrics.height(), textWidth, smallMetrics.height()),
        Qt::AlignLeft | Qt::AlignVCenter,
        smallMetrics.elidedText(capacity, Qt::ElideRight, textWidth));

    int y = inner.top() + 52;
    if (const auto percent = percentFull(m_source)) {
        const QRectF track(inner.left(), y, inner.width(), 8);
        QPainterPath trackPath;
        trackPath.addRoundedRect(track, 4, 4);
        QColor trackColour = pal.color(QPalette::WindowText);
        trackColour.setAlphaF(0.1);
        p.fillPath(trackPath, trackColour);
        if (*percent > 0) {
            QRectF used = track;
            used.setWidth(std::max(8.0, track.width() * *percent / 100.0));
            QPainterPath usedPath;
            usedPath.addRoundedRect(used, 4, 4);
            p.fillPath(usedPath, gaugeColour(*percent, pal));
        }
        y += 14;
        p.setPen(muted);
        p.drawText(QRect(inner.left(), y, inner.width(), smallMetrics.height()),
                   Qt::AlignRight | Qt::AlignVCenter, QString::number(*percent) + "% full");
    }
    if (const auto indexed = indexedText(m_source)) {
        p.setPen(muted);
        p.drawText(QRect(inner.left(), y, inner.width(), smallMetrics.height()),
                   Qt::AlignLeft | Qt::AlignVCenter, *indexed);
    }
    if (m_source.lastScanWasRestricted) {
        const int iy = y + smallMetrics.height() + 4;
        symbolIcon("exclamationmark.triangle.fill")
            .paint(&p, QRect(inner.left(), iy + (smallMetrics.height() - 12) / 2, 12, 12));
        p.drawText(QRect(inner.left() + 16, iy, inner.width() - 16, smallMetrics.height()),
                   Qt::AlignLeft | Qt::AlignVCenter,
                   smallMetrics.elidedText(restrictedText(), Qt::ElideRight, inner.width() - 16));
    }
}

} // namespace ringfold
