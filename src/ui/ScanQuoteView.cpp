#include "ui/ScanQuoteView.h"

#include "ui/Appearance.h"

#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QPropertyAnimation>
#include <QRandomGenerator>
#include <QTimer>
#include <QVBoxLayout>

namespace ringfold {

ScanQuoteView::ScanQuoteView(std::vector<Quote> deck, QWidget* parent)
    : QWidget(parent), m_deck(std::move(deck)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    m_text = new QLabel(this);
    m_text->setWordWrap(true);
    m_text->setAlignment(Qt::AlignHCenter);
    QFont f = m_text->font();
    f.setItalic(true);
    f.setPointSizeF(f.pointSizeF() * 1.05);
    m_text->setFont(f);
    m_attribution = new QLabel(this);
    m_attribution->setAlignment(Qt::AlignHCenter);
    m_attribution->setWordWrap(true);
    m_attribution->setForegroundRole(QPalette::PlaceholderText);
    column->addWidget(m_text);
    column->addWidget(m_attribution);

    m_fade = new QGraphicsOpacityEffect(this);
    m_fade->setOpacity(1.0);
    setGraphicsEffect(m_fade);

    m_timer = new QTimer(this);
    m_timer->setInterval(kIntervalMs);
    connect(m_timer, &QTimer::timeout, this, &ScanQuoteView::advance);
    if (!m_deck.empty()) {
        show(QRandomGenerator::global()->bounded(quint32(m_deck.size())));
        m_timer->start();
    }
}

const Quote* ScanQuoteView::current() const {
    return m_deck.empty() ? nullptr : &m_deck[m_index];
}

void ScanQuoteView::advance() {
    if (m_deck.empty())
        return;
    const std::size_t next = (m_index + 1) % m_deck.size();
    if (Appearance::prefersReducedMotion() || !isVisible()) {
        show(next);
        return;
    }
    auto* out = new QPropertyAnimation(m_fade, "opacity", this);
    out->setDuration(220);
    out->setEndValue(0.0);
    connect(out, &QPropertyAnimation::finished, this, [this, next] {
        show(next);
        auto* in = new QPropertyAnimation(m_fade, "opacity", this);
        in->setDuration(320);
        in->setEndValue(1.0);
        in->start(QAbstractAnimation::DeleteWhenStopped);
    });
    out->start(QAbstractAnimation::DeleteWhenStopped);
}

void ScanQuoteView::show(std::size_t index) {
    m_index = index;
    const Quote& q = m_deck[index];
    m_text->setText(QStringLiteral("\u201C%1\u201D").arg(q.text));
    m_attribution->setText(QStringLiteral("\u2014 ") + q.attribution);
}

} // namespace ringfold
