#include "ui/CategoriesView.h"

#include "app/coordination/AppState.h"
#include "app/viewmodels/CategoriesViewModel.h"
#include "app/window/MainWindowModel.h"
#include "ui/CategoriesItemModel.h"
#include "ui/CategoriesRowDelegate.h"
#include "ui/CategoryBar.h"
#include "ui/PanelChrome.h"

#include <QEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QStackedWidget>
#include <QTreeView>
#include <QVBoxLayout>

namespace ringfold {

namespace {

class CategoriesList : public QTreeView {
public:
    using QTreeView::QTreeView;

protected:
    // A click on a category row toggles it; the tree's own expand-on-click would race
    // with that, and its branch arrows are replaced by the delegate's chevron.
    void mouseDoubleClickEvent(QMouseEvent* event) override { mousePressEvent(event); }
};

} // namespace

CategoriesView::CategoriesView(MainWindowModel& model, QWidget* parent)
    : QWidget(parent), m_model(model), m_items(new CategoriesItemModel(model.categories(), this)) {
    AppState& app = model.app();
    CleanupListStore& cleanup = app.cleanupList();

    m_stack = new QStackedWidget(this);
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(m_stack);
    m_stack->addWidget(new panel::EmptyState(
        "square.grid.2x2", QStringLiteral("Scan a source to see its storage by category"), this));

    auto* content = new QWidget(this);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(10, 8, 10, 0);
    layout->setSpacing(4);
    m_bar = new CategoryBar(model.categories(), content);
    layout->addWidget(m_bar);
    m_total = new QLabel(content);
    m_total->setFont(panel::captionFont(font()));
    panel::setSecondary(m_total, palette());
    layout->addWidget(m_total);

    m_list = new CategoriesList(content);
    m_list->setModel(m_items);
    m_list->setItemDelegate(new CategoriesRowDelegate(cleanup, m_list));
    m_list->setHeaderHidden(true);
    m_list->setRootIsDecorated(false);
    m_list->setIndentation(0);
    m_list->setUniformRowHeights(false);
    m_list->setExpandsOnDoubleClick(false);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    m_list->viewport()->setAttribute(Qt::WA_Hover);
    m_list->viewport()->installEventFilter(this);
    m_list->installEventFilter(this);
    layout->addWidget(m_list, 1);
    m_stack->addWidget(content);

    new panel::HoverLink(m_list, app.chart(),
                         [this](const QModelIndex& i) { return m_items->node(i); });

    connect(m_list, &QTreeView::clicked, this, &CategoriesView::onClicked);
    // Remembered by category, not by row: a rebuild reorders the rows. The tree also
    // opens a category by itself to show an item selected on the map.
    connect(m_list, &QTreeView::expanded, this, [this](const QModelIndex& index) {
        if (const CategorySummary* summary = m_items->summary(index))
            m_expanded.insert(summary->category);
    });
    connect(m_list, &QTreeView::collapsed, this, [this](const QModelIndex& index) {
        if (const CategorySummary* summary = m_items->summary(index))
            m_expanded.erase(summary->category);
    });
    connect(m_list, &QWidget::customContextMenuRequested, this, &CategoriesView::showContextMenu);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                if (FileNode* node = m_items->node(current); node && !m_syncing)
                    m_model.setSelectedNode(node->shared());
            });
    connect(m_items, &QAbstractItemModel::modelReset, this, &CategoriesView::refresh);
    connect(&model, &MainWindowModel::selectedNodeChanged, this,
            &CategoriesView::syncSelectionFromModel);
    // Checkboxes and locks read the list and the setting when they paint.
    auto repaint = [this] { m_list->viewport()->update(); };
    connect(&cleanup, &CleanupListStore::includedIDsChanged, this, repaint);
    connect(&app.settings(), &SettingsStore::allowDeletingHiddenFilesChanged, this, repaint);
    refresh();
}

void CategoriesView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange)
        panel::setSecondary(m_total, palette());
    QWidget::changeEvent(event);
}

bool CategoriesView::showsEmptyState() const {
    return m_stack->currentIndex() == 0;
}

void CategoriesView::refresh() {
    const CategoriesViewModel& vm = m_model.categories();
    m_stack->setCurrentIndex(vm.summaries().empty() ? 0 : 1);
    m_total->setText(panel::byteText(vm.totalBytes()) + QStringLiteral(" categorized"));
    applyExpansion();
    syncSelectionFromModel();
}

void CategoriesView::applyExpansion() {
    // Copied first: expanding and collapsing rows edits the set through the signals.
    const std::set<FileCategory> expanded = m_expanded;
    for (int row = 0; row < m_items->rowCount(); ++row) {
        const QModelIndex index = m_items->index(row, 0);
        m_list->setExpanded(index, expanded.count(m_items->summary(index)->category) != 0);
    }
    m_expanded = expanded;
}

bool CategoriesView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_list->viewport() && event->type() == QEvent::MouseButtonPress)
        m_pressPos = static_cast<QMouseEvent*>(event)->position().toPoint();
    // Space toggles the current item's checkbox, or opens and closes a category.
    if (watched == m_list && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space) {
        const QModelIndex current = m_list->currentIndex();
        if (FileNode* node = m_items->node(current))
            m_model.app().cleanupList().toggle(node->shared());
        else if (m_items->summary(current))
            onClicked(current);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void CategoriesView::onClicked(const QModelIndex& index) {
    if (m_items->summary(index)) {
        m_list->setExpanded(index, !m_list->isExpanded(index));
        return;
    }
    FileNode* node = m_items->node(index);
    if (!node)
        return;
    if (CategoriesRowDelegate::checkBoxRect(m_list->visualRect(index)).contains(m_pressPos)) {
        m_model.app().cleanupList().toggle(node->shared());
        return;
    }
    m_model.setSelectedNode(node->shared());
}

void CategoriesView::syncSelectionFromModel() {
    const QModelIndex index = m_items->indexOf(m_model.selectedNode().get());
    m_syncing = true;
    if (index.isValid())
        m_list->setCurrentIndex(index);
    else
        m_list->selectionModel()->clear();
    m_syncing = false;
}

void CategoriesView::showContextMenu(const QPoint& pos) {
    if (FileNode* node = m_items->node(m_list->indexAt(pos)))
        emit contextMenuRequested(node->shared(), m_list->viewport()->mapToGlobal(pos));
}

} // namespace ringfold
