#include "ui/MapInfoCard.h"

#include "core/model/DisplayGrouping.h"
#include "core/model/FileNode.h"
#include "ui/MapScene.h"
#include "ui/MaterialCard.h"

#include <QEvent>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace ringfold {

namespace {

constexpr int kPadding = 12;
constexpr int kHiddenCardMaxWidth = 300;
constexpr int kHiddenRowsShown = 5;
constexpr double kCornerRadius = 10.0;
constexpr const char* kSecondaryProperty = "ringfoldSecondary";

// Sizes in monospaced digits, so figures line up from row to row and keep their
// width as they change. Most desktop fonts draw every digit at one width already; Qt
// 6.4 can't ask a font for its tabular figures, so a font whose digits differ gives
// way to the desktop's fixed-pitch font at the same size.
QFont withTabularDigits(const QFont& font) {
    const QFontMetricsF fm(font);
    const double zero = fm.horizontalAdvance(QLatin1Char('0'));
    for (char digit = '1'; digit <= '9'; ++digit) {
        if (std::abs(fm.horizontalAdvance(QLatin1Char(digit)) - zero) > 0.01) {
            QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
            if (font.pointSizeF() > 0)
                fixed.setPointSizeF(font.pointSizeF());
            else
                fixed.setPixelSize(font.pixelSize());
            fixed.setWeight(font.weight());
            return fixed;
        }
    }
    return font;
}

} // namespace

MapInfoCard::MapInfoCard(QWidget* parent) : QFrame(parent), m_layout(new QVBoxLayout(this)) {
    m_layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    m_layout->setSpacing(3);
    m_layout->setSizeConstraint(QLayout::SetFixedSize);
    setAttribute(Qt::WA_TranslucentBackground);
    hide();
}

QFont MapInfoCard::fontFor(Style style) const {
    QFont f = font();
    // Relative to the desktop's font: a headline, a subheadline and a caption.
    const double scale = style == Style::headline      ? 1.0
                         : style == Style::subheadline ? 0.92
                                                       : 0.85;
    if (f.pointSizeF() > 0)
        f.setPointSizeF(f.pointSizeF() * scale);
    else
        f.setPixelSize(static_cast<int>(f.pixelSize() * scale + 0.5));
    if (style == Style::headline)
        f.setWeight(QFont::DemiBold);
    return f;
}

void MapInfoCard::applySecondaryColour(QLabel* label) const {
    QPalette pal = label->palette();
    QColor c = palette().color(QPalette::WindowText);
    c.setAlphaF(0.6f);
    pal.setColor(QPalette::WindowText, c);
    label->setPalette(pal);
}

void MapInfoCard::clear() {
    while (QLayoutItem* item = m_layout->takeAt(0)) {
        if (QWidget* w = item->widget())
            delete w;
        delete item;
    }
    m_lines.clear();
}

QLabel* MapInfoCard::addLine(const QString& text, Style style) {
    auto* label = new QLabel(text, this);
    label->setTextFormat(Qt::PlainText);
    label->setFont(fontFor(style));
    if (style == Style::secondaryCaption) {
        label->setProperty(kSecondaryProperty, true);
        applySecondaryColour(label);
    }
    m_layout->addWidget(label);
    m_lines << text;
    return label;
}

void MapInfoCard::addRow(const QString& name, const QString& size) {
    auto* row = new QWidget(this);
    auto* h = new QHBoxLayout(row);
    h->setContentsMargins(0, 0, 0, 0);
    h->setSpacing(12);
    auto* sizeLabel = new QLabel(size, row);
    sizeLabel->setFont(withTabularDigits(fontFor(Style::caption)));
    sizeLabel->setProperty(kSecondaryProperty, true);
    applySecondaryColour(sizeLabel);
    auto* nameLabel = new QLabel(row);
    nameLabel->setTextFormat(Qt::PlainText);
    nameLabel->setFont(fontFor(Style::caption));
    const int room = kHiddenCardMaxWidth - 2 * kPadding - h->spacing() -
                     sizeLabel->fontMetrics().horizontalAdvance(size);
    nameLabel->setText(nameLabel->fontMetrics().elidedText(name, Qt::ElideMiddle, room));
    h->addWidget(nameLabel, 1);
    h->addWidget(sizeLabel, 0, Qt::AlignRight);
    m_layout->addWidget(row);
    m_lines << name + QLatin1Char('\t') + size;
}

void MapInfoCard::showInaccessibleSpace(const SpaceAccounting& a) {
    clear();
    setMaximumWidth(QWIDGETSIZE_MAX);
    const std::int64_t used = a.volumeTotalCapacity - a.volumeAvailableCapacity;
    addLine(QStringLiteral("Inaccessible Space"), Style::headline);
    QLabel* size =
        addLine(mapdraw::byteText(std::max<std::int64_t>(used - a.enumeratedAllocatedSize, 0)),
                Style::subheadline);
    size->setFont(withTabularDigits(size->font()));
    if (a.restrictedPathCount >= 1)
        addLine(QStringLiteral("(%1 items inaccessible due to permissions)")
                    .arg(a.restrictedPathCount),
                Style::secondaryCaption);
    adjustSize();
}

void MapInfoCard::showHiddenItems(const FileNode& folder) {
    clear();
    std::vector<FileNode*> members;
    for (const DisplayChild& child : displayChildren(folder, true))
        if (const DisplayChild::Aggregate* agg = child.aggregate())
            members = agg->members;
    sortBySizeDescending(members);
    std::int64_t total = 0, cloud = 0;
    for (const FileNode* m : members) {
        total += m->allocatedSize();
        if (m->cloudStatus() != CloudStatus::notApplicable)
            cloud += m->allocatedSize();
    }
    const auto count = static_cast<qlonglong>(members.size());

    addLine(QStringLiteral("Hidden items"), Style::headline);
    addLine(QStringLiteral("%1 hidden %2 · ")
                    .arg(count)
                    .arg(count == 1 ? QStringLiteral("item") : QStringLiteral("items")) +
                mapdraw::byteText(total),
            Style::subheadline);
    for (std::size_t i = 0; i < members.size() && i < kHiddenRowsShown; ++i)
        addRow(mapdraw::displayName(*members[i]), mapdraw::byteText(members[i]->allocatedSize()));
    if (count > kHiddenRowsShown)
        addLine(QStringLiteral("…and %1 more").arg(count - kHiddenRowsShown), Style::caption);
    if (cloud >= 1)
        addLine(mapdraw::byteText(cloud) + QStringLiteral(" of this is cloud-synced storage"),
                Style::secondaryCaption);
    QLabel* note = addLine(QStringLiteral("Mostly configuration and support files. Larger "
                                          "hidden folders show as their own dimmed segments."),
                           Style::secondaryCaption);
    note->setWordWrap(true);
    note->setFixedWidth(kHiddenCardMaxWidth - 2 * kPadding);
    setMaximumWidth(kHiddenCardMaxWidth);
    adjustSize();
}

void MapInfoCard::paintEvent(QPaintEvent*) {
    QPainter p(this);
    paintMaterialCard(p, QRectF(rect()), palette(), kCornerRadius);
}

// The card is an island: a click on it neither selects nor closes anything below.
void MapInfoCard::mousePressEvent(QMouseEvent* event) { event->accept(); }
void MapInfoCard::mouseDoubleClickEvent(QMouseEvent* event) { event->accept(); }

void MapInfoCard::changeEvent(QEvent* event) {
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        for (QLabel* label : findChildren<QLabel*>())
            if (label->property(kSecondaryProperty).toBool())
                applySecondaryColour(label);
}

} // namespace ringfold
