#include "ui/DriveGalleryView.h"

#include "app/viewmodels/SidebarViewModel.h"
#include "ui/FavoriteChip.h"
#include "ui/FlowLayout.h"
#include "ui/Symbols.h"
#include "ui/VolumeCard.h"

#include <QEvent>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace ringfold {

namespace {

// Contrast ratio of two colours by their relative luminance (sRGB), 1 to 21.
double contrast(const QColor& a, const QColor& b) {
    auto luminance = [](const QColor& c) {
        auto linear = [](float v) {
            return v <= 0.04045f ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(c.redF()) + 0.7152 * linear(c.greenF()) + 0.0722 * linear(c.blueF());
    };
    const double la = luminance(a), lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QLabel* heading(const QString& text, double scale, QFont::Weight weight, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    QFont f = label->font();
    f.setPointSizeF(f.pointSizeF() * scale);
    f.setWeight(weight);
    label->setFont(f);
    return label;
}

} // namespace

DriveGalleryView::DriveGalleryView(SidebarViewModel& model, std::function<void()> onScanStartupJunk,
                                   QWidget* parent)
    : QScrollArea(parent), m_model(model), m_onScanStartupJunk(std::move(onScanStartupJunk)) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    auto* page = new QWidget(this);
    page->setBackgroundRole(QPalette::Window);
    auto* outer = new QHBoxLayout(page);
    outer->setContentsMargins(40, 36, 40, 32);
    auto* content = new QWidget(page);
    content->setMaximumWidth(760);
    outer->addStretch(1);
    outer->addWidget(content, 100);
    outer->addStretch(1);

    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(heading(tr("Choose a drive to map"), 1.9, QFont::Bold, content));
    column->addSpacing(6);
    auto* subtitle =
        new QLabel(tr("Click a drive to scan it and see what's taking up space."), content);
    subtitle->setForegroundRole(QPalette::PlaceholderText);
    column->addWidget(subtitle);
    column->addSpacing(24);

    m_cards = new FlowLayout(nullptr, 14);
    column->addLayout(m_cards);
    column->addSpacing(32);
    column->addWidget(heading(tr("Favorite Folders"), 1.15, QFont::DemiBold, content));
    column->addSpacing(12);
    m_chips = new FlowLayout(nullptr, 10);
    column->addLayout(m_chips);
    m_noFavorites = new QLabel(tr("No favorites yet"), content);
    m_noFavorites->setForegroundRole(QPalette::PlaceholderText);
    column->addWidget(m_noFavorites);
    column->addSpacing(32);

    m_junkButton =
        new QPushButton(symbolIcon("sparkles"), tr("Scan Startup Disk for Junk"), content);
    m_junkButton->setIconSize(QSize(18, 18));
    m_junkButton->setMinimumHeight(36);
    paintJunkButtonInAccent();
    m_junkButton->setToolTip(
        QStringLiteral("Scan ") +
        QFile::decodeName(QByteArray::fromStdString(m_model.thisComputer().displayName)) +
        QStringLiteral(" and jump straight to the System Junk results"));
    connect(m_junkButton, &QPushButton::clicked, this, [this] {
        if (m_onScanStartupJunk)
            m_onScanStartupJunk();
    });
    auto* buttonRow = new QHBoxLayout;
    buttonRow->addWidget(m_junkButton);
    buttonRow->addStretch(1);
    column->addLayout(buttonRow);
    column->addStretch(1);
    setWidget(page);

    for (auto signal : {&SidebarViewModel::thisComputerChanged, &SidebarViewModel::volumesChanged,
                        &SidebarViewModel::favoritesChanged})
        connect(&m_model, signal, this, &DriveGalleryView::rebuild);
    rebuild();
}

void DriveGalleryView::rebuild() {
    for (FlowLayout* layout : {m_cards, m_chips}) {
        while (QLayoutItem* item = layout->takeAt(0)) {
            if (QWidget* w = item->widget()) {
                w->hide();
                w->deleteLater();
            }
            delete item;
        }
    }
    QWidget* content = m_junkButton->parentWidget();
    auto select = [this](const Uuid& id) { m_model.setSelectedSourceID(id); };
    std::vector<ScanSource> drives{m_model.thisComputer()};
    drives.insert(drives.end(), m_model.volumes().begin(), m_model.volumes().end());
    for (const ScanSource& drive : drives) {
        auto* card = new VolumeCard(drive, content);
        const Uuid id = drive.id;
        connect(card, &VolumeCard::clicked, this, [select, id] { select(id); });
        m_cards->addWidget(card);
        card->show(); // a layout shows new children only on the next turn of the loop
    }
    for (const ScanSource& favourite : m_model.favorites()) {
        auto* chip = new FavoriteChip(favourite, content);
        const Uuid id = favourite.id;
        connect(chip, &FavoriteChip::clicked, this, [select, id] { select(id); });
        m_chips->addWidget(chip);
        chip->show();
    }
    m_noFavorites->setVisible(m_model.favorites().empty());
}

// The gallery's one call to action stands out in the accent colour; redone on every
// palette change so a switch between light and dark carries it along. Fusion pales
// and desaturates a button's colour into a light gradient, which left white text on
// a pastel blue, so a style sheet paints the accent as it is, darkened where needed
// for the usual 4.5:1 contrast of text this size (the dark palette's brighter blue).
void DriveGalleryView::paintJunkButtonInAccent() {
    const QColor text = palette().color(QPalette::HighlightedText);
    QColor fill = palette().color(QPalette::Highlight);
    while (contrast(fill, text) < 4.5 && fill.value() > 48)
        fill = fill.darker(106);
    QColor focus = palette().color(QPalette::WindowText);
    focus.setAlphaF(0.6f);
    m_junkButton->setStyleSheet(
        QStringLiteral("QPushButton { background: %1; color: %2; border: 1px solid %3;"
                       " border-radius: 7px; padding: 6px 16px; }"
                       "QPushButton:hover { background: %4; }"
                       "QPushButton:pressed { background: %3; }"
                       "QPushButton:focus { border: 2px solid %5; }")
            .arg(fill.name(), text.name(), fill.darker(125).name(), fill.darker(110).name(),
                 focus.name(QColor::HexArgb)));
    m_junkButton->setIcon(symbolIcon("sparkles", text));
}

void DriveGalleryView::changeEvent(QEvent* event) {
    QScrollArea::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_junkButton)
        paintJunkButtonInAccent();
}

QList<VolumeCard*> DriveGalleryView::cards() const {
    QList<VolumeCard*> out;
    for (int i = 0; i < m_cards->count(); ++i)
        if (auto* card = qobject_cast<VolumeCard*>(m_cards->itemAt(i)->widget()))
            out << card;
    return out;
}

QList<FavoriteChip*> DriveGalleryView::chips() const {
    QList<FavoriteChip*> out;
    for (int i = 0; i < m_chips->count(); ++i)
        if (auto* chip = qobject_cast<FavoriteChip*>(m_chips->itemAt(i)->widget()))
            out << chip;
    return out;
}

} // namespace ringfold
