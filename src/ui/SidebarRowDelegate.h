#pragma once
// Paints the sidebar's rows: section titles in small capitals, source rows with an
// icon, the name and a secondary line (capacity, last scan size, "Scanning…" or the
// restricted-access notice with its warning sign), and a rounded selection.

#include <QStyledItemDelegate>

namespace ringfold {

class SidebarRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    enum Role {
        KindRole = Qt::UserRole + 1, // RowKind
        SourceIdRole,                // QString, canonical UUID
        SubtitleRole,                // QString, may be empty
        RestrictedRole,              // bool
        PathRole,                    // QString, the source's folder
    };
    enum RowKind { SectionRow = 1, SourceRow, ActionRow, NoteRow };

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

} // namespace ringfold
