#include "ui/CoffeeMomentBanner.h"

#include "app/window/Endpoints.h"
#include "app/window/MainWindowModel.h"
#include "core/model/ByteFormat.h"
#include "ui/MaterialCard.h"
#include "ui/Symbols.h"

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

namespace ringfold {

CoffeeMomentBanner::CoffeeMomentBanner(MainWindowModel& model, QWidget* parent)
    : QWidget(parent), m_model(model) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(14, 8, 8, 8);
    row->setSpacing(10);
    auto* cup = new QLabel(this);
    cup->setPixmap(symbolIcon("cup.and.saucer.fill").pixmap(20, 20));
    m_text = new QLabel(this);
    m_text->setWordWrap(true);
    auto* coffee = new QPushButton(QStringLiteral("Buy Me a Coffee…"), this);
    auto* dismiss = new QPushButton(QStringLiteral("Dismiss"), this);
    auto* close = new QToolButton(this);
    close->setIcon(symbolIcon("xmark"));
    close->setAutoRaise(true);
    close->setToolTip(QStringLiteral("Dismiss"));
    row->addWidget(cup);
    row->addWidget(m_text, 1);
    row->addWidget(coffee);
    row->addWidget(dismiss);
    row->addWidget(close);

    connect(coffee, &QPushButton::clicked, this, [this] {
        QDesktopServices::openUrl(endpoints::donationPage(QStringLiteral("rf-cleanup")));
        m_model.dismissCoffeeMoment();
    });
    connect(dismiss, &QPushButton::clicked, &model, &MainWindowModel::dismissCoffeeMoment);
    connect(close, &QToolButton::clicked, &model, &MainWindowModel::dismissCoffeeMoment);
    connect(&model, &MainWindowModel::coffeeMomentBytesChanged, this, &CoffeeMomentBanner::refresh);
    refresh();
}

QString CoffeeMomentBanner::text() const {
    return m_text->text();
}

void CoffeeMomentBanner::refresh() {
    const auto bytes = m_model.coffeeMomentBytes();
    setVisible(bytes.has_value());
    if (bytes)
        m_text->setText(
            QStringLiteral("Reclaimed %1. If Ringfold earned its keep, you can buy me a coffee.")
                .arg(QString::fromStdString(formatFileStyle(*bytes))));
}

void CoffeeMomentBanner::paintEvent(QPaintEvent*) {
    QPainter p(this);
    paintMaterialCard(p, QRectF(rect()).adjusted(4, 4, -4, -4), palette(), 10);
}

} // namespace ringfold
