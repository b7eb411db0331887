#include "ui/FileListView.h"

#include "app/coordination/AppState.h"
#include "app/viewmodels/FileListViewModel.h"
#include "app/window/MainWindowModel.h"
#include "ui/EmptyStateView.h"
#include "ui/FileListModel.h"
#include "ui/NodeTableView.h"

#include <QHeaderView>
#include <QShortcut>
#include <QVBoxLayout>

namespace ringfold {

FileListView::FileListView(MainWindowModel& model, QWidget* parent)
    : QWidget(parent), m_model(model),
      m_tableModel(new FileListModel(model.fileList(), model.app().cleanupList(), this)),
      m_empty(new EmptyStateView(this)) {
    using W = NodeTableView::ColumnWidth;
    m_table = new NodeTableView(model, m_tableModel,
                                {{W::fixed, 22},
                                 {W::stretch, 220},
                                 {W::interactive, 80, true},
                                 {W::interactive, 120, true},
                                 {W::interactive, 120},
                                 {W::fixed, 28}},
                                this);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_table);
    column->addWidget(m_empty);

    // The header shows the view model's order; a click asks the view model to sort.
    showSortIndicator();
    m_table->setSortingEnabled(true);
    connect(&model.fileList(), &FileListViewModel::sortOrderChanged, this,
            &FileListView::showSortIndicator);

    AppState& app = model.app();
    connect(m_table, &NodeTableView::contextMenuRequested, this,
            &FileListView::contextMenuRequested);
    connect(m_table, &NodeTableView::nodeActivated, this, [&app](const NodePtr& node) {
        if (node->isDirectory())
            app.chart().focus(node);
    });
    auto* back = new QShortcut(QKeySequence(Qt::Key_Backspace), m_table);
    back->setContext(Qt::WidgetShortcut);
    connect(back, &QShortcut::activated, &app.chart(), &ChartViewModel::goBack);
    connect(&app.settings(), &SettingsStore::allowDeletingHiddenFilesChanged, m_tableModel,
            [this] { m_tableModel->refreshColumn(FileListModel::CheckColumn); });

    connect(m_tableModel, &QAbstractItemModel::modelReset, this, &FileListView::updateEmptyState);
    for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(m_tableModel, signal, this, &FileListView::updateEmptyState);
    updateEmptyState();
}

void FileListView::showSortIndicator() {
    const auto& order = m_model.fileList().sortOrder();
    if (order.empty())
        return;
    int column = FileListModel::SizeColumn;
    switch (order.front().key) {
    case FileSortDescriptor::Key::name:
        column = FileListModel::NameColumn;
        break;
    case FileSortDescriptor::Key::kind:
        column = FileListModel::KindColumn;
        break;
    case FileSortDescriptor::Key::modified:
        column = FileListModel::ModifiedColumn;
        break;
    case FileSortDescriptor::Key::size:
        break;
    }
    const QSignalBlocker block(m_table->header());
    m_table->header()->setSortIndicator(column, order.front().ascending ? Qt::AscendingOrder
                                                                        : Qt::DescendingOrder);
}

void FileListView::updateEmptyState() {
    const bool empty = m_tableModel->rowCount() == 0;
    if (empty) {
        const NodePtr folder = m_model.fileList().lastFocusedNode();
        if (!folder)
            m_empty->setState("folder", tr("No folder to list"));
        else if (folder->isRestricted())
            m_empty->setState("lock.fill", tr("Permission denied during scan"));
        else
            m_empty->setState("folder", tr("This folder is empty"));
    }
    m_empty->setVisible(empty);
    m_table->setVisible(!empty);
}

} // namespace ringfold
