#include "ui/ScanOverlay.h"


#include "app/coordination/AppState.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/window/MainWindowModel.h"
#include "ui/MaterialCard.h"
#include "ui/ScanPulseView.h"
#include "ui/ScanQuoteView.h"
#include "ui/SourceText.h"

#include <QFile>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace ringfold {

namespace {

QLocale numberLocale() {
    QLocale locale;
    // The C locale prints 1234567 without separators; long counts need them.
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    return locale;
}

} // namespace

ScanOverlay::ScanOverlay(MainWindowModel& window, QWidget* parent)
    : QWidget(parent), m_window(window) {
    auto* outer = new QVBoxLayout(this);
    outer->addStretch(1);
    m_card = new QWidget(this);
    m_card->setFixedWidth(460);
    outer->addWidget(m_card, 0, Qt::AlignHCenter);
    outer->addStretch(1);

    auto* column = new QVBoxLayout(m_card);
    column->setContentsMargins(32, 28, 32, 24);
    column->setSpacing(6);
    column->addWidget(new ScanPulseView(m_card), 0, Qt::AlignHCenter);
    column->addSpacing(10);

    m_title = new QLabel(m_card);
    QFont titleFont = m_title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.35);
    titleFont.setWeight(QFont::DemiBold);
    m_title->setFont(titleFont);
    m_title->setAlignment(Qt::AlignHCenter);
    m_title->setWordWrap(true);
    column->addWidget(m_title);

    m_capacity = new QLabel(m_card);
    m_capacity->setAlignment(Qt::AlignHCenter);
    m_capacity->setForegroundRole(QPalette::PlaceholderText);
    column->addWidget(m_capacity);

    m_progress = new QLabel(m_card);
    m_progress->setAlignment(Qt::AlignHCenter);
    column->addWidget(m_progress);
    column->addSpacing(18);

    m_quote = new ScanQuoteView(bundledQuotes(), m_card);
    column->addWidget(m_quote);
    column->addSpacing(20);

    m_cancel = new QPushButton(tr("Cancel"), m_card);
    m_cancel->setMinimumWidth(110);
    column->addWidget(m_cancel, 0, Qt::AlignHCenter);
    connect(m_cancel, &QPushButton::clicked, this, [this] { m_window.cancelScan(); });

    m_poll = new QTimer(this);
    m_poll->setInterval(kPollIntervalMs);
    connect(m_poll, &QTimer::timeout, this, &ScanOverlay::poll);
}

void ScanOverlay::refresh() {
    const auto id = m_window.app().sidebar().scanningSourceID();
    const ScanSource* source = id ? m_window.app().sidebar().source(*id) : nullptr;
    const QString name =
        source ? QFile::decodeName(QByteArray::fromStdString(source->displayName)) : QString();
    m_title->setText(QStringLiteral("Scanning ") + name + QChar(0x2026));
    const auto capacity = source ? capacityText(*source) : std::nullopt;
    m_capacity->setText(capacity.value_or(QString()));
    m_capacity->setVisible(capacity.has_value());
    m_items = m_bytes = -1;
    poll();
}

void ScanOverlay::poll() {
    const auto progress = m_window.coordinator().currentProgress();
    const std::int64_t items = progress ? progress->itemCount() : 0;
    const std::int64_t bytes = progress ? progress->allocatedBytes() : 0;
    if (items == m_items && bytes == m_bytes)
        return;
    m_items = items;
    m_bytes = bytes;
    const QLocale locale = numberLocale();
    m_progress->setText(
        items == 1
            ? tr("1 item · %1 found").arg(byteText(bytes))
            : tr("%1 items · %2 found").arg(locale.toString(qlonglong(items)), byteText(bytes)));
}

void ScanOverlay::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    refresh();
    m_poll->start();
}

void ScanOverlay::hideEvent(QHideEvent* event) {
    m_poll->stop();
    QWidget::hideEvent(event);
}

void ScanOverlay::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    QColor veil = pal.color(QPalette::Window);
    veil.setAlphaF(0.94);
    p.fillRect(rect(), veil);
    paintMaterialCard(p, QRectF(m_card->geometry()), pal, 16);
}

} // namespace ringfold
