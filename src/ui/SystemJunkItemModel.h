#pragma once
// The system junk panel's rows as a flat table over SystemJunkViewModel: per group a
// section row (checkbox, category, item count, total) followed by the group's items in
// the panel's sort order (checkbox, icon and name, size, confidence, date). Groups
// keep their category order whatever the sort. Cells are formatted on request; the
// checkbox cells read the cleanup list when asked, so a change of the list only
// signals those cells.
//
// The groups stand until the next classification, but a file operation may take an
// item out of the tree before that: the shown groups leave out items no longer under
// the map's root (and groups left empty), so neither the rows nor the checkboxes can
// offer a trashed or moved item again.
//
// Threads: GUI thread only.

#include "app/viewmodels/SystemJunkPanelState.h"

#include <QAbstractTableModel>

#include <vector>

namespace ringfold {

class ChartViewModel;
class CleanupListStore;

class SystemJunkItemModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column { checkColumn, nameColumn, sizeColumn, confidenceColumn, modifiedColumn, kColumns };
    enum Role {
        /// True for a group's section row.
        GroupRowRole = Qt::UserRole + 1,
        /// The checkbox of the row as panel::Check.
        CheckRole,
        /// The item's JunkConfidence.
        ConfidenceRole,
        /// "3 items" of a section row.
        CountRole,
    };

    SystemJunkItemModel(const SystemJunkViewModel& junk, const SystemJunkPanelState& state,
                        const CleanupListStore& cleanup, const ChartViewModel& chart,
                        QObject* parent = nullptr);

    /// Re-reads the groups and sorts their items (after a classification, a change of
    /// the sort or a change of the tree).
    void rebuild();
    /// The groups as shown: items still in the tree, in display order.
    const std::vector<SystemJunkPanelState::Group>& shownGroups() const { return m_shown; }
    /// The cleanup list or the hidden-items setting changed: the checkbox cells.
    void checksChanged();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    /// The group a row belongs to (its section or one of its items).
    const SystemJunkPanelState::Group* group(int row) const;
    /// The item of an item row, else null.
    const JunkItem* item(int row) const;
    /// The row of a node's item; -1 when it is not listed.
    int rowOf(const FileNode* node) const;

private:
    struct Row {
        int group;
        int item; // -1 for the group's section row
    };

    const SystemJunkViewModel& m_junk;
    const SystemJunkPanelState& m_state;
    const CleanupListStore& m_cleanup;
    const ChartViewModel& m_chart;
    std::vector<Row> m_rows;
    std::vector<SystemJunkPanelState::Group> m_shown;
};

} // namespace ringfold
