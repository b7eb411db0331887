#pragma once
// Paints the categories panel's rows: a category row (disclosure chevron, symbol in the
// category's tint, name, file count, a share gauge and the size), a file row under an
// expanded category (cleanup checkbox or lock, file icon, name, cloud badge, size) and
// the footer that counts the items not listed. The cleanup list and the settings are
// read at paint time, so a change of either needs only a repaint.
//
// Threads: GUI thread only.

#include <QStyledItemDelegate>

namespace ringfold {

class CleanupListStore;

class CategoriesRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    CategoriesRowDelegate(const CleanupListStore& cleanup, QObject* parent = nullptr);

    /// Where a file row's checkbox sits, for hit tests.
    static QRect checkBoxRect(const QRect& row);
    /// Where a file row's cloud badge sits (empty for other rows).
    static QRect cloudBadgeRect(const QRect& row);

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

private:
    void paintCategory(QPainter* p, const QStyleOptionViewItem& option,
                       const QModelIndex& index) const;
    void paintFile(QPainter* p, const QStyleOptionViewItem& option, const QModelIndex& index) const;

    const CleanupListStore& m_cleanup;
};

} // namespace ringfold
