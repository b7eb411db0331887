#pragma once
// The "Folder" panel: the children of the map's focused folder as a sortable table
// (checkbox, name, kind, modified, size, cloud badge) with the "Smaller objects" and
// "Hidden items" group rows below, or an empty state. Double-clicking a folder (or
// Enter on it) drills into it on the map; Backspace goes back in the map's history.
//
// Threads: GUI thread only.

#include "core/model/FileNode.h"

#include <QPoint>
#include <QWidget>

namespace ringfold {

class EmptyStateView;
class FileListModel;
class MainWindowModel;
class NodeTableView;

class FileListView : public QWidget {
    Q_OBJECT

public:
    explicit FileListView(MainWindowModel& model, QWidget* parent = nullptr);

    NodeTableView* table() const { return m_table; }
    FileListModel* tableModel() const { return m_tableModel; }
    EmptyStateView* emptyState() const { return m_empty; }

signals:
    /// A row asks for the shared row context menu (the window shows FileRowContextMenu).
    void contextMenuRequested(ringfold::NodePtr node, QPoint globalPos);

private:
    void updateEmptyState();
    void showSortIndicator();

    MainWindowModel& m_model;
    FileListModel* m_tableModel;
    NodeTableView* m_table;
    EmptyStateView* m_empty;
};

} // namespace ringfold
