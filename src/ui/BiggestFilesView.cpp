#include "ui/BiggestFilesView.h"

#include "app/coordination/AppState.h"
#include "app/window/MainWindowModel.h"
#include "ui/BiggestFilesModel.h"
#include "ui/EmptyStateView.h"
#include "ui/NodeTableView.h"

#include <QTimer>
#include <QVBoxLayout>

namespace ringfold {

BiggestFilesView::BiggestFilesView(MainWindowModel& model, QWidget* parent)
    : QWidget(parent), m_model(model),
      m_tableModel(new BiggestFilesModel(model.biggestFiles(), model.app().chart(),
                                         model.app().cleanupList(), this)),
      m_empty(new EmptyStateView(this)) {
    using W = NodeTableView::ColumnWidth;
    m_table = new NodeTableView(model, m_tableModel,
                                {{W::fixed, 22},
                                 {W::interactive, 220},
                                 {W::stretch, 220, true},
                                 {W::interactive, 80, true},
                                 {W::interactive, 110, true},
                                 {W::interactive, 110},
                                 {W::fixed, 28}},
                                this);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_table);
    column->addWidget(m_empty);
    m_empty->setState("doc", tr("No files to list"));

    connect(m_table, &NodeTableView::contextMenuRequested, this,
            &BiggestFilesView::contextMenuRequested);
    connect(m_table, &NodeTableView::nodeActivated, this, &BiggestFilesView::activate);
    connect(&model.app().settings(), &SettingsStore::allowDeletingHiddenFilesChanged, m_tableModel,
            [this] { m_tableModel->refreshColumn(BiggestFilesModel::CheckColumn); });
    connect(m_tableModel, &QAbstractItemModel::modelReset, this,
            &BiggestFilesView::updateEmptyState);
    for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(m_tableModel, signal, this, &BiggestFilesView::updateEmptyState);
    updateEmptyState();
}

void BiggestFilesView::activate(const NodePtr& node) {
    ChartViewModel& chart = m_model.app().chart();
    if (FileNode* folder = node->parent())
        chart.focus(folder);
    m_model.setSelectedNode(node);
    // The map drops its selection after a change of focus; this comes after that.
    QTimer::singleShot(0, this, [&chart, id = node->id()] { chart.setMapSelectionID(id); });
}

void BiggestFilesView::updateEmptyState() {
    const bool empty = m_tableModel->rowCount() == 0;
    m_empty->setVisible(empty);
    m_table->setVisible(!empty);
}

} // namespace ringfold
