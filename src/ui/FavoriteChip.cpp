#include "ui/FavoriteChip.h"

#include "ui/SourceText.h"
#include "ui/Symbols.h"

#include <QPainter>
#include <QPainterPath>

namespace ringfold {

FavoriteChip::FavoriteChip(const ScanSource& source, QWidget* parent)
    : QAbstractButton(parent), m_id(source.id), m_detail(indexedText(source).value_or(QString())) {
    setUpSourceButton(*this, source);
}

QSize FavoriteChip::sizeHint() const {
    return {176, 40};
}

void FavoriteChip::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    const QRectF chip = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);
    QPainterPath path;
    path.addRoundedRect(chip, chip.height() / 2, chip.height() / 2);
    QColor fill = pal.color(QPalette::Base);
    if (underMouse()) {
        QColor tint = pal.color(QPalette::Highlight);
        tint.setAlphaF(0.1);
        p.fillPath(path, fill);
        fill = tint;
    }
    if (isDown())
        fill = pal.color(QPalette::Highlight).lighter(150);
    p.fillPath(path, fill);
    p.setPen(
        QPen(underMouse() || hasFocus() ? pal.color(QPalette::Highlight) : pal.color(QPalette::Mid),
             underMouse() || hasFocus() ? 1.4 : 1.0));
    p.drawPath(path);

    const int left = 14;
    symbolIcon("folder").paint(&p, QRect(left, (height() - 18) / 2, 18, 18));
    const QRect textRect(left + 26, 0, width() - left - 26 - 14, height());
    const QFontMetrics fm(font());
    p.setPen(pal.color(QPalette::WindowText));
    if (m_detail.isEmpty()) {
        p.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
                   fm.elidedText(text(), Qt::ElideMiddle, textRect.width()));
        return;
    }
    QFont small = font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    const QFontMetrics sm(small);
    const int nameWidth = fm.horizontalAdvance(text());
    const int detailWidth = sm.horizontalAdvance(m_detail) + 8;
    const int room = textRect.width() - detailWidth;
    p.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
               fm.elidedText(text(), Qt::ElideMiddle, std::max(room, 20)));
    QColor muted = pal.color(QPalette::WindowText);
    muted.setAlphaF(0.55);
    p.setPen(muted);
    p.setFont(small);
    p.drawText(textRect.adjusted(std::min(nameWidth, room) + 8, 0, 0, 0),
               Qt::AlignLeft | Qt::AlignVCenter, m_detail);
}

} // namespace ringfold
