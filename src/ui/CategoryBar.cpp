#include "ui/CategoryBar.h"

#include "app/viewmodels/CategoriesViewModel.h"
#include "ui/PanelChrome.h"

#include <QHelpEvent>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

namespace ringfold {

CategoryBar::CategoryBar(CategoriesViewModel& model, QWidget* parent)
    : QWidget(parent), m_model(model) {
    setFixedHeight(14);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(&model, &CategoriesViewModel::summariesChanged, this, qOverload<>(&QWidget::update));
}

QList<QRectF> CategoryBar::segmentRects() const {
    QList<QRectF> rects;
    double x = 0;
    for (const CategorySummary& s : m_model.summaries()) {
        const double w = std::max(1.0, s.fraction * width());
        rects.append(QRectF(x, 0, w, height()));
        x += w;
    }
    return rects;
}

void CategoryBar::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath clip;
    clip.addRoundedRect(QRectF(rect()), 4, 4);
    p.setClipPath(clip);
    QColor track = palette().color(QPalette::WindowText);
    track.setAlphaF(0.08);
    p.fillRect(rect(), track);
    const QList<QRectF> rects = segmentRects();
    const auto& summaries = m_model.summaries();
    for (qsizetype i = 0; i < rects.size(); ++i) {
        const QColor colour =
            panel::tintColor(ringfold::tint(summaries[std::size_t(i)].category), palette());
        QLinearGradient fill(0, 0, 0, height());
        fill.setColorAt(0, colour.lighter(118));
        fill.setColorAt(1, colour);
        p.fillRect(rects[i], fill);
    }
}

bool CategoryBar::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    auto* help = static_cast<QHelpEvent*>(event);
    const QList<QRectF> rects = segmentRects();
    for (qsizetype i = 0; i < rects.size(); ++i) {
        if (rects[i].contains(help->pos())) {
            const CategorySummary& s = m_model.summaries()[std::size_t(i)];
            QToolTip::showText(help->globalPos(),
                               QString::fromUtf8(displayName(s.category)) + QStringLiteral(": ") +
                                   panel::byteText(s.allocatedSize),
                               this, rects[i].toAlignedRect());
            return true;
        }
    }
    QToolTip::hideText();
    event->ignore();
    return true;
}

} // namespace ringfold
