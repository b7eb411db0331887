#pragma once
// The biggest files table: one row per entry of the view model, largest first, with
// the folder path below the scanned root and both sizes as they were when the list
// was built. The order is fixed: the table does not sort. A rebuild after a file
// operation removes and inserts rows in place (see NodeTableModel); a new tree resets.
//
// Threads: GUI thread only.

#include "ui/NodeTableModel.h"

#include <unordered_map>

namespace ringfold {

class BiggestFilesViewModel;
class ChartViewModel;
struct BiggestFileEntry;

class BiggestFilesModel : public NodeTableModel {
    Q_OBJECT

public:
    enum Column {
        CheckColumn,
        NameColumn,
        PathColumn,
        KindColumn,
        LogicalSizeColumn,
        AllocatedSizeColumn,
        BadgeColumn
    };

    /// `chart` tells which tree the entries belong to (its root).
    BiggestFilesModel(BiggestFilesViewModel& list, ChartViewModel& chart, CleanupListStore& cleanup,
                      QObject* parent = nullptr);

    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// The rows as the view model lists them now.
    void sync();

protected:
    QVariant nodeData(const FileNode& node, int row, int column, int role) const override;

private:
    const BiggestFileEntry* entryOf(const FileNode& node) const;

    BiggestFilesViewModel& m_list;
    ChartViewModel& m_chart;
    // Into the view model's entries, which stay put until the next entriesChanged.
    std::unordered_map<const FileNode*, std::size_t> m_entryIndex;
};

} // namespace ringfold
