#pragma once
// The table of the folder list and the biggest files panel: fixed-width checkbox
// and cloud badge columns, a "shared" tag after the names of files whose storage is
// shared with another file, and the links to the rest of the window. Selecting a row
// selects its node in the window (and on the map); a node selected elsewhere (a map
// click, another panel) selects its row here when the table lists it. While the
// pointer rests on a row, that row's segment (or group aggregate) is emphasised on
// the map; leaving the table clears the emphasis.
//
// Threads: GUI thread only.

#include "core/model/FileNode.h"

#include <QPoint>
#include <QTreeView>

#include <optional>

namespace ringfold {

class MainWindowModel;
class NodeTableModel;

class NodeTableView : public QTreeView {
    Q_OBJECT

public:
    /// A column's width: fixed, stretching to the room left, or a starting width the
    /// user may change. A column that `yields` is hidden while the table is too narrow
    /// for it (last ones first); a stretching one shrinks first and is hidden last.
    struct ColumnWidth {
        enum Mode { fixed, stretch, interactive } mode;
        int width;
        bool yields = false;
    };

    NodeTableView(MainWindowModel& window, NodeTableModel* model,
                  const std::vector<ColumnWidth>& widths, QWidget* parent = nullptr);

    NodeTableModel* nodeModel() const { return m_model; }
    /// The node of the selected row, if a node row is selected.
    FileNode* selectedRowNode() const;

signals:
    /// A node row asks for the shared row context menu.
    void contextMenuRequested(ringfold::NodePtr node, QPoint globalPos);
    /// A node row was double-clicked or activated with the keyboard.
    void nodeActivated(ringfold::NodePtr node);

protected:
    void mouseMoveEvent(QMouseEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void selectionChanged(const QItemSelection& selected,
                          const QItemSelection& deselected) override;
    void rowsAboutToBeRemoved(const QModelIndex& parent, int start, int end) override;

private:
    void hover(std::optional<NodeID> id);
    void showWindowSelection();
    void fitColumns();

    MainWindowModel& m_window;
    NodeTableModel* m_model;
    std::vector<ColumnWidth> m_widths;
    std::optional<NodeID> m_hovered;
    bool m_showingWindowSelection = false;
};

} // namespace ringfold
