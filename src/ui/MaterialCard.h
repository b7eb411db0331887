#pragma once
// The translucent card of the window's floating panels (the map's information cards,
// the scanning overlay, the thank-you banner): a rounded panel in the palette's base
// colour at 92 % opacity with a faint border, no blur.

#include <QRectF>

class QPainter;
class QPalette;

namespace ringfold {

void paintMaterialCard(QPainter& painter, const QRectF& rect, const QPalette& palette,
                       qreal radius);

} // namespace ringfold
