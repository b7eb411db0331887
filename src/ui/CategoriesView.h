#pragma once
// The categories panel: the whole tree's storage by file category as a stacked bar with
// its total, and a list of categories that a click expands to their largest items. Item
// rows carry the cleanup checkbox (a lock for hidden items that may not be listed),
// select the window's node, emphasise their map segment while hovered and ask for the
// shared row context menu. The expanded categories stay expanded when the summaries are
// rebuilt after a file operation or a rescan. Without summaries the panel says how to
// get some.
//
// Threads: GUI thread only.

#include "core/model/FileCategory.h"
#include "core/model/FileNode.h"

#include <QWidget>

#include <set>

class QLabel;
class QModelIndex;
class QStackedWidget;
class QTreeView;

namespace ringfold {

class CategoriesItemModel;
class CategoryBar;
class MainWindowModel;

class CategoriesView : public QWidget {
    Q_OBJECT

public:
    explicit CategoriesView(MainWindowModel& model, QWidget* parent = nullptr);

    QTreeView* list() const { return m_list; }
    CategoriesItemModel* itemModel() const { return m_items; }
    CategoryBar* bar() const { return m_bar; }
    QLabel* totalLabel() const { return m_total; }
    /// True while the empty state stands in for the bar and the list.
    bool showsEmptyState() const;
    const std::set<FileCategory>& expandedCategories() const { return m_expanded; }

signals:
    /// A row asks for the shared row context menu (the window shows FileRowContextMenu).
    void contextMenuRequested(ringfold::NodePtr node, QPoint globalPos);

protected:
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void refresh();
    void applyExpansion();
    void onClicked(const QModelIndex& index);
    void syncSelectionFromModel();
    void showContextMenu(const QPoint& pos);

    MainWindowModel& m_model;
    CategoriesItemModel* m_items;
    QStackedWidget* m_stack;
    CategoryBar* m_bar;
    QLabel* m_total;
    QTreeView* m_list;
    std::set<FileCategory> m_expanded;
    QPoint m_pressPos;
    bool m_syncing = false;
};

} // namespace ringfold
