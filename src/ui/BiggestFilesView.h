#pragma once
// The "Biggest Files" panel: the largest files of the whole scanned tree, largest
// first (checkbox, name, folder path below the root, kind, logical and allocated
// size, cloud badge), or an empty state. Activating a row (double click, Enter) shows
// the file on the map: its folder becomes the focus and the file stays selected.
//
// Threads: GUI thread only.

#include "core/model/FileNode.h"

#include <QPoint>
#include <QWidget>

namespace ringfold {

class BiggestFilesModel;
class EmptyStateView;
class MainWindowModel;
class NodeTableView;

class BiggestFilesView : public QWidget {
    Q_OBJECT

public:
    explicit BiggestFilesView(MainWindowModel& model, QWidget* parent = nullptr);

    NodeTableView* table() const { return m_table; }
    BiggestFilesModel* tableModel() const { return m_tableModel; }
    EmptyStateView* emptyState() const { return m_empty; }

signals:
    /// A row asks for the shared row context menu (the window shows FileRowContextMenu).
    void contextMenuRequested(ringfold::NodePtr node, QPoint globalPos);

private:
    void activate(const NodePtr& node);
    void updateEmptyState();

    MainWindowModel& m_model;
    BiggestFilesModel* m_tableModel;
    NodeTableView* m_table;
    EmptyStateView* m_empty;
};

} // namespace ringfold
