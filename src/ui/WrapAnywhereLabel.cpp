#include "ui/WrapAnywhereLabel.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QEvent>
#include <QPainter>
#include <QTextLayout>

#include <cmath>

namespace ringfold {

namespace {

struct Laid {
    int lines = 0;
    int height = 0;
};

// Lays `text` out in lines of `width` pixels and, when `painter` is given, draws them.
Laid layOut(const QString& text, const QFont& font, int width, QTextOption::WrapMode mode,
            QPainter* painter = nullptr) {
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(mode);
    layout.setTextOption(option);
    layout.setCacheEnabled(true);
    layout.beginLayout();
    Laid laid;
    qreal y = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(std::max(width, 1));
        line.setPosition(QPointF(0, y));
        y += line.height();
        ++laid.lines;
    }
    layout.endLayout();
    if (painter)
        layout.draw(painter, QPointF(0, 0));
    laid.height = int(std::ceil(y));
    return laid;
}

QString elidedInTheMiddle(const QString& text, qsizetype kept) {
    return text.left(kept - kept / 2) + QChar(0x2026) + text.right(kept / 2);
}

} // namespace

WrapAnywhereLabel::WrapAnywhereLabel(const QString& text, QWidget* parent)
    : QWidget(parent), m_text(text) {
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setToolTip(m_text);
    auto* copy = new QAction(tr("Copy"), this);
    connect(copy, &QAction::triggered, this,
            [this] { QApplication::clipboard()->setText(m_text); });
    addAction(copy);
    setContextMenuPolicy(Qt::ActionsContextMenu);
}

void WrapAnywhereLabel::setText(const QString& text) {
    if (text == m_text)
        return;
    m_text = text;
    setToolTip(m_text);
    updateGeometry();
    update();
}

void WrapAnywhereLabel::setMaximumLines(int lines) {
    m_maxLines = lines;
    updateGeometry();
    update();
}

void WrapAnywhereLabel::setBreakAnywhere(bool anywhere) {
    m_mode = anywhere ? QTextOption::WrapAnywhere : QTextOption::WrapAtWordBoundaryOrAnywhere;
    updateGeometry();
    update();
}

QString WrapAnywhereLabel::shownText(int width) const {
    auto fits = [&](const QString& text) {
        return layOut(text, font(), width, m_mode).lines <= m_maxLines;
    };
    if (m_maxLines <= 0 || fits(m_text))
        return m_text;
    // The most characters, half from each end, that fit in the lines allowed.
    qsizetype fitting = 0, tooMany = m_text.size();
    while (tooMany - fitting > 1) {
        const qsizetype kept = (fitting + tooMany) / 2;
        (fits(elidedInTheMiddle(m_text, kept)) ? fitting : tooMany) = kept;
    }
    return elidedInTheMiddle(m_text, fitting);
}

int WrapAnywhereLabel::heightForWidth(int width) const {
    return std::max(layOut(shownText(width), font(), width, m_mode).height, fontMetrics().height());
}

QSize WrapAnywhereLabel::sizeHint() const {
    const int width = fontMetrics().horizontalAdvance(m_text) + 1;
    return QSize(width, heightForWidth(width));
}

// As narrow as one wide character: the text wraps rather than widen its column.
QSize WrapAnywhereLabel::minimumSizeHint() const {
    return QSize(fontMetrics().horizontalAdvance(QLatin1Char('W')), fontMetrics().height());
}

void WrapAnywhereLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    layOut(shownText(width()), font(), width(), m_mode, &painter);
}

void WrapAnywhereLabel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange)
        updateGeometry();
    QWidget::changeEvent(event);
}

} // namespace ringfold
