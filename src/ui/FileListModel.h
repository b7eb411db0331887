#pragma once
// The folder list's table: one row per listed child of the focused folder in the
// view model's order, then the "Smaller objects" and "Hidden items" group rows when
// those groups have members. Sorting asks the view model (which keeps folders on top
// when the setting says so); the table never sorts by itself. Rows follow the view
// model's change signals in place (see NodeTableModel).
//
// Threads: GUI thread only.

#include "ui/NodeTableModel.h"

namespace ringfold {

class FileListViewModel;

class FileListModel : public NodeTableModel {
    Q_OBJECT

public:
    enum Column { CheckColumn, NameColumn, KindColumn, ModifiedColumn, SizeColumn, BadgeColumn };
    enum class Group { smaller, hidden };

    FileListModel(FileListViewModel& list, CleanupListStore& cleanup, QObject* parent = nullptr);

    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    void sort(int column, Qt::SortOrder order) override;

    /// Which group a row shows; none for node rows.
    std::optional<Group> groupAt(int row) const;
    /// The rows as the view model lists them now.
    void sync();

protected:
    QVariant nodeData(const FileNode& node, int row, int column, int role) const override;
    QVariant extraData(int extraRow, int column, int role) const override;

private:
    std::vector<Group> groups() const;

    FileListViewModel& m_list;
    bool m_sorting = false; // a new order of the same rows is on its way
};

} // namespace ringfold
