#include "ui/JunkHeaderView.h"

#include "ui/SystemJunkItemModel.h"

#include <QPainter>
#include <QPainterPath>

namespace ringfold {

namespace {

using Model = SystemJunkItemModel;

constexpr int kChevronWidth = 12;

void paintChevron(QPainter* p, QPointF centre, bool up, const QColor& colour) {
    const double dy = up ? -1.6 : 1.6;
    QPainterPath path;
    path.moveTo(centre + QPointF(-3.2, -dy));
    path.lineTo(centre + QPointF(0, dy));
    path.lineTo(centre + QPointF(3.2, -dy));
    p->setPen(QPen(colour, 1.3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p->drawPath(path);
}

} // namespace

JunkHeaderView::JunkHeaderView(const SystemJunkPanelState& state,
                               std::function<panel::Check()> headerCheck, QWidget* parent)
    : QHeaderView(Qt::Horizontal, parent), m_state(state), m_headerCheck(std::move(headerCheck)) {
    setSectionsClickable(true);
    setHighlightSections(false);
    setSectionsMovable(false);
    setStretchLastSection(false);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}

int JunkHeaderView::columnOf(JunkSortKey key) {
    switch (key) {
    case JunkSortKey::name:
        return Model::nameColumn;
    case JunkSortKey::size:
        return Model::sizeColumn;
    case JunkSortKey::confidence:
        return Model::confidenceColumn;
    case JunkSortKey::modified:
        return Model::modifiedColumn;
    }
    return -1;
}

std::optional<JunkSortKey> JunkHeaderView::keyOf(int column) {
    for (JunkSortKey key :
         {JunkSortKey::name, JunkSortKey::size, JunkSortKey::confidence, JunkSortKey::modified})
        if (columnOf(key) == column)
            return key;
    return std::nullopt;
}

void JunkHeaderView::applyColumnWidths() {
    // The columns' usual widths, widened where the desktop font needs more for a title and
    // its chevron.
    const QFontMetrics metrics(font());
    const std::pair<int, int> widths[] = {{Model::checkColumn, 30},
                                          {Model::sizeColumn, 70},
                                          {Model::confidenceColumn, 65},
                                          {Model::modifiedColumn, 100}};
    for (const auto& [column, usualWidth] : widths) {
        const QString title =
            model() ? model()->headerData(column, Qt::Horizontal).toString() : QString();
        setSectionResizeMode(column, QHeaderView::Fixed);
        resizeSection(column,
                      std::max(usualWidth, metrics.horizontalAdvance(title) + kChevronWidth + 16));
    }
    setSectionResizeMode(Model::nameColumn, QHeaderView::Stretch);
}

QSize JunkHeaderView::sectionSizeFromContents(int logicalIndex) const {
    QSize size = QHeaderView::sectionSizeFromContents(logicalIndex);
    size.setHeight(std::max(size.height(), fontMetrics().height() + 8));
    return size;
}

void JunkHeaderView::paintSection(QPainter* p, const QRect& rect, int logicalIndex) const {
    const QPalette& pal = palette();
    p->save();
    p->fillRect(rect, pal.color(QPalette::Window));
    QColor line = pal.color(QPalette::WindowText);
    line.setAlphaF(0.12);
    p->fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1), line);
    if (logicalIndex == Model::checkColumn) {
        panel::paintCheckBox(p, panel::checkBoxRect(rect, rect.left() + (rect.width() - 16) / 2),
                             m_headerCheck(), this);
        p->restore();
        return;
    }
    const auto key = keyOf(logicalIndex);
    const bool current = key && *key == m_state.sortKey();
    const bool dimmed = logicalIndex == Model::modifiedColumn && !current;
    const QColor colour = dimmed ? panel::secondaryText(pal) : pal.color(QPalette::WindowText);
    const QString title = model()->headerData(logicalIndex, Qt::Horizontal).toString();
    QFont f = font();
    f.setWeight(QFont::Medium);
    p->setFont(f);
    p->setPen(colour);
    const QRect text = rect.adjusted(6, 0, -kChevronWidth - 4, 0);
    const QString shown = QFontMetrics(f).elidedText(title, Qt::ElideRight, text.width());
    p->drawText(text, Qt::AlignLeft | Qt::AlignVCenter, shown);
    if (current) {
        p->setRenderHint(QPainter::Antialiasing);
        const double x = text.left() + QFontMetrics(f).horizontalAdvance(shown) + 8;
        paintChevron(p, QPointF(x, rect.center().y() + 0.5), m_state.sortAscending(), colour);
    }
    p->restore();
}

} // namespace ringfold
