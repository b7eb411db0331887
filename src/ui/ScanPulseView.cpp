#include "ui/ScanPulseView.h"

#include "ui/Appearance.h"

#include <QPainter>
#include <QVariantAnimation>

namespace ringfold {

ScanPulseView::ScanPulseView(QWidget* parent) : QWidget(parent) {
    setFixedSize(sizeHint());
    m_phase = new QVariantAnimation(this);
    m_phase->setStartValue(0.0);
    m_phase->setEndValue(1.0);
    m_phase->setDuration(1800);
    m_phase->setLoopCount(-1);
    connect(m_phase, &QVariantAnimation::valueChanged, this, [this] { update(); });
}

void ScanPulseView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!Appearance::prefersReducedMotion())
        m_phase->start();
}

void ScanPulseView::hideEvent(QHideEvent* event) {
    m_phase->stop();
    QWidget::hideEvent(event);
}

void ScanPulseView::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QPointF c = QRectF(rect()).center();
    const double maxR = std::min(width(), height()) / 2.0 - 1;
    const double core = maxR * 0.36;
    const QColor accent = palette().color(QPalette::Highlight);
    const double phase =
        m_phase->state() == QAbstractAnimation::Running ? m_phase->currentValue().toDouble() : 0.35;
    // Two rings half a period apart, each growing from the disc to the edge.
    for (double offset : {0.0, 0.5}) {
        const double t = std::fmod(phase + offset, 1.0);
        QColor ring = accent;
        ring.setAlphaF(0.45 * (1.0 - t));
        p.setPen(Qt::NoPen);
        p.setBrush(ring);
        const double r = core + (maxR - core) * t;
        p.drawEllipse(c, r, r);
    }
    QRadialGradient glow(c, core);
    glow.setColorAt(0, accent.lighter(125));
    glow.setColorAt(1, accent);
    p.setBrush(glow);
    p.drawEllipse(c, core, core);
}

} // namespace ringfold
