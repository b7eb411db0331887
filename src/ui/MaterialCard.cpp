#include "ui/MaterialCard.h"

#include <QPainter>
#include <QPalette>

namespace ringfold {

void paintMaterialCard(QPainter& painter, const QRectF& rect, const QPalette& palette,
                       qreal radius) {
    QColor fill = palette.color(QPalette::Base);
    fill.setAlphaF(0.92f);
    QColor border = palette.color(QPalette::WindowText);
    border.setAlphaF(0.12f);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(border, 1.0));
    painter.setBrush(fill);
    // Half-pixel inset: the one-pixel border lands on whole pixels.
    painter.drawRoundedRect(rect.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.restore();
}

} // namespace ringfold
