#pragma once
// The part the folder list and the biggest files table share: rows that stand for
// tree nodes, the cleanup checkbox (or the lock of a hidden item that may not be
// deleted) in the first column, the cloud badge in the last, and the way a new row
// list is taken over. Rows are formatted in data(), only for the rows a view paints.
//
// A new row list of the same folder (or tree) is taken over in place: rows that left
// are removed, new rows inserted, a new order moves the persistent indexes
// (selection, current row) as a sort does, and an unchanged list only repaints. A
// list of another folder or tree resets the model. Nodes are read only while their tree lives: the
// model holds it weakly, so a released tree reads as empty rows until the next list arrives.
//
// Threads: GUI thread only.

#include "core/model/FileNode.h"

#include <QAbstractTableModel>

#include <memory>
#include <optional>
#include <vector>

namespace ringfold {

class CleanupListStore;

class NodeTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    /// The aggregate id of a group row (hover emphasis on the map), as a qint64.
    static constexpr int kAggregateIDRole = Qt::UserRole + 1;
    /// Whether the row's node shares its storage with another file (the "shared" tag).
    static constexpr int kSharedRole = Qt::UserRole + 2;

    explicit NodeTableModel(CleanupListStore& cleanup, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    /// The checkbox and badge columns here; the others from nodeData and extraData.
    QVariant data(const QModelIndex& index, int role) const final;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

    /// The node of a row; null for group rows, out-of-range rows and a released tree.
    FileNode* nodeAt(int row) const;
    /// The row that shows `node`, or -1.
    int rowOf(const FileNode* node) const;

    /// Column of the checkbox (always the first) and of the cloud badge (the last).
    static constexpr int kCheckColumn = 0;
    int badgeColumn() const { return columnCount() - 1; }

    /// Repaints one column of every row (the checkboxes after a settings change).
    void refreshColumn(int column);

protected:
    /// Data of the columns between the checkbox and the badge, for a node row.
    virtual QVariant nodeData(const FileNode& node, int row, int column, int role) const = 0;
    /// Data of an extra row.
    virtual QVariant extraData(int extraRow, int column, int role) const;

    /// Takes over `next`, the rows listed for `owner` (the listed folder or the scanned
    /// root; null for none), followed by `extraRows` rows of extraData. The extra rows
    /// are re-read as a whole.
    void setRows(std::vector<FileNode*> next, const NodePtr& owner, int extraRows = 0);
    /// As setRows, for a list known to hold the same rows in a new order (a sort).
    void setRowsReordered(std::vector<FileNode*> next, const NodePtr& owner, int extraRows);
    /// The node rows changed in place (sizes, dates, cloud status): repaint them.
    void rowsChangedInPlace();
    int nodeRowCount() const { return static_cast<int>(m_rows.size()); }
    bool alive() const { return !m_owner.expired(); }

    /// Shared formatting of rows.
    static QVariant nameData(const FileNode& node, int role);
    static QVariant sizeText(std::int64_t bytes);
    static QVariant secondaryForeground();

private:
    QVariant checkData(const FileNode& node, int role) const;
    static QVariant badgeData(const FileNode& node, int role);
    void takeOverInPlace(std::vector<FileNode*>& next);
    void reorder(std::vector<FileNode*> order);

    CleanupListStore& m_cleanup;
    std::vector<FileNode*> m_rows;
    std::weak_ptr<FileNode> m_owner;
    const FileNode* m_ownerNode = nullptr; // compared only while m_owner lives
    int m_extraRows = 0;
    bool m_reorderOnly = false;
};

} // namespace ringfold
