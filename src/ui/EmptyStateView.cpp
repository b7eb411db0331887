#include "ui/EmptyStateView.h"

#include "ui/Symbols.h"

#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>

namespace ringfold {

namespace {
constexpr int kSymbolSize = 40;
}

EmptyStateView::EmptyStateView(QWidget* parent)
    : QWidget(parent), m_icon(new QLabel(this)), m_text(new QLabel(this)) {
    auto* column = new QVBoxLayout(this);
    column->addStretch(1);
    column->addWidget(m_icon, 0, Qt::AlignHCenter);
    column->addWidget(m_text, 0, Qt::AlignHCenter);
    column->addStretch(1);
    m_text->setAlignment(Qt::AlignCenter);
    m_text->setWordWrap(true);
    updateColours();
}

void EmptyStateView::setState(const char* symbol, const QString& text) {
    m_symbol = symbol;
    m_text->setText(text);
    m_icon->setPixmap(symbol ? symbolIcon(symbol).pixmap(kSymbolSize, QIcon::Disabled) : QPixmap());
}

QString EmptyStateView::text() const {
    return m_text->text();
}

void EmptyStateView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        updateColours();
        if (m_symbol)
            setState(m_symbol, m_text->text());
    }
}

void EmptyStateView::updateColours() {
    QPalette pal = m_text->palette();
    QColor secondary = palette().color(QPalette::WindowText);
    secondary.setAlphaF(0.6f);
    pal.setColor(QPalette::WindowText, secondary);
    m_text->setPalette(pal);
}

} // namespace ringfold
