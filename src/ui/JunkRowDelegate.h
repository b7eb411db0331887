#pragma once
// Paints the system junk panel's cells: checkboxes (or the lock of a hidden item that
// may not be listed), section rows with the category in semibold and its item count,
// item names with their folder or document symbol, sizes and dates in the caption
// font, and the confidence badges. The badge painter is shared with the legend.
//
// Threads: GUI thread only.

#include "core/junk/JunkCategory.h"

#include <QStyledItemDelegate>

namespace ringfold {

namespace panel {
/// A rounded badge with the tier's label: "High" orange on orange, "Medium" secondary
/// on grey, "Orphaned" purple on purple; left-aligned in `cell`.
void paintConfidenceBadge(QPainter* painter, const QRect& cell, JunkConfidence confidence,
                          const QPalette& palette, const QFont& font);
/// The width a badge takes in `font`.
int confidenceBadgeWidth(JunkConfidence confidence, const QFont& font);
} // namespace panel

class JunkRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

} // namespace ringfold
