#pragma once
// The system junk panel. For the startup disk it lists the classified junk in groups:
// a line with the likely-safe total and a button for the confidence legend, column
// headers that sort the items inside each group and carry the checkbox over all
// groups, then per group a section row with its own checkbox and the items with their
// checkboxes, sizes, confidence badges and dates. A click on an item row toggles it in
// the cleanup list (Shift adds the range from the previously clicked item of the same
// group) and selects its node; hovering emphasises its map segment. Other sources get
// the offer to scan the startup disk; no junk, a running scan and a running
// classification each have their own state.
//
// The panel's sort, legend and click rules live in SystemJunkPanelState; this widget
// only presents them.
//
// Threads: GUI thread only.

#include "app/viewmodels/SystemJunkPanelState.h"
#include "core/model/FileNode.h"

#include <QWidget>

class QLabel;
class QModelIndex;
class QPushButton;
class QStackedWidget;
class QToolButton;
class QTreeView;

namespace ringfold {

class JunkHeaderView;
class MainWindowModel;
class SystemJunkItemModel;

class SystemJunkView : public QWidget {
    Q_OBJECT

public:
    enum class Page { notStartupDisk, looking, noJunk, junk };

    explicit SystemJunkView(MainWindowModel& model, QWidget* parent = nullptr);

    Page page() const;
    QTreeView* list() const { return m_list; }
    SystemJunkItemModel* itemModel() const { return m_items; }
    JunkHeaderView* header() const { return m_header; }
    const SystemJunkPanelState& state() const { return m_state; }
    QLabel* foundLabel() const { return m_found; }
    QToolButton* legendButton() const { return m_legendButton; }
    QWidget* legend() const { return m_legend; }
    QPushButton* scanStartupDiskButton() const { return m_scanStartup; }

signals:
    /// A row asks for the shared row context menu (the window shows FileRowContextMenu).
    void contextMenuRequested(ringfold::NodePtr node, QPoint globalPos);

protected:
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildJunkPage();
    QWidget* buildLegend(QWidget* parent);
    void restyle();
    void updatePage();
    void updateFound();
    void rebuildRows();
    void checksChanged();
    void onSectionClicked(int column);
    void onClicked(const QModelIndex& index);
    void syncSelectionFromModel();
    void showContextMenu(const QPoint& pos);

    MainWindowModel& m_model;
    SystemJunkPanelState m_state;
    SystemJunkItemModel* m_items = nullptr;
    QStackedWidget* m_stack = nullptr;
    QPushButton* m_scanStartup = nullptr;
    QLabel* m_sparkles = nullptr;
    QLabel* m_found = nullptr;
    QToolButton* m_legendButton = nullptr;
    QWidget* m_legend = nullptr;
    QTreeView* m_list = nullptr;
    JunkHeaderView* m_header = nullptr;
    Qt::KeyboardModifiers m_pressModifiers;
    bool m_syncing = false;
};

} // namespace ringfold
