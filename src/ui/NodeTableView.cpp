#include "ui/NodeTableView.h"

#include "app/coordination/AppState.h"
#include "app/window/MainWindowModel.h"
#include "ui/NodeTableModel.h"
#include "ui/Symbols.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>

namespace ringfold {

namespace {

constexpr int kTagIcon = 12;
constexpr int kTagGap = 4;

// Draws the "shared" tag after a name whose storage is shared: the name elides first.
class NameDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        if (!index.data(NodeTableModel::kSharedRole).toBool()) {
            QStyledItemDelegate::paint(painter, option, index);
            return;
        }
        const QString tag = NodeTableView::tr("shared");
        const int tagWidth = kTagIcon + kTagGap + option.fontMetrics.horizontalAdvance(tag) + 6;
        QStyleOptionViewItem name = option;
        name.rect.setRight(option.rect.right() - tagWidth);
        QStyledItemDelegate::paint(painter, name, index);

        const bool selected = option.state & QStyle::State_Selected;
        QColor colour =
            option.palette.color(selected ? QPalette::HighlightedText : QPalette::WindowText);
        colour.setAlphaF(selected ? 0.85f : 0.6f);
        const QRect tagRect(option.rect.right() - tagWidth + 2, option.rect.top(), tagWidth,
                            option.rect.height());
        const QRect iconRect(tagRect.left(), tagRect.center().y() - kTagIcon / 2, kTagIcon,
                             kTagIcon);
        symbolIcon("link").paint(painter, iconRect, Qt::AlignCenter,
                                 selected ? QIcon::Selected : QIcon::Normal);
        painter->save();
        painter->setPen(colour);
        painter->drawText(tagRect.adjusted(kTagIcon + kTagGap, 0, 0, 0),
                          Qt::AlignLeft | Qt::AlignVCenter, tag);
        painter->restore();
    }
};

} // namespace

NodeTableView::NodeTableView(MainWindowModel& window, NodeTableModel* model,
                             const std::vector<ColumnWidth>& widths, QWidget* parent)
    : QTreeView(parent), m_window(window), m_model(model), m_widths(widths) {
    setModel(model);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true); // keeps a folder of 100,000 children cheap to lay out
    setAllColumnsShowFocus(true);
    setAlternatingRowColors(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setMouseTracking(true);
    setFrameShape(QFrame::NoFrame);
    setItemDelegateForColumn(1, new NameDelegate(this));

    QHeaderView* head = header();
    head->setStretchLastSection(false);
    head->setMinimumSectionSize(22);
    head->setHighlightSections(false);
    for (int c = 0; c < static_cast<int>(widths.size()); ++c) {
        const ColumnWidth w = widths[static_cast<std::size_t>(c)];
        head->setSectionResizeMode(c, w.mode == ColumnWidth::fixed     ? QHeaderView::Fixed
                                      : w.mode == ColumnWidth::stretch ? QHeaderView::Stretch
                                                                       : QHeaderView::Interactive);
        head->resizeSection(c, w.width);
    }

    connect(this, &QAbstractItemView::activated, this, [this](const QModelIndex& index) {
        if (FileNode* node = m_model->nodeAt(index.row()))
            emit nodeActivated(node->shared());
    });
    connect(&window, &MainWindowModel::selectedNodeChanged, this,
            &NodeTableView::showWindowSelection);
    // A new row list: the window's selection finds its row again.
    connect(model, &QAbstractItemModel::modelReset, this, &NodeTableView::showWindowSelection);
    connect(model, &QAbstractItemModel::layoutChanged, this, &NodeTableView::showWindowSelection);
    connect(model, &QAbstractItemModel::rowsInserted, this, &NodeTableView::showWindowSelection);
    showWindowSelection();
}

void NodeTableView::resizeEvent(QResizeEvent* event) {
    QTreeView::resizeEvent(event);
    fitColumns();
}

// In a narrow window the stretching column (the name, or the biggest files' path)
// shrinks first, down to the room it needs to be read; then the other columns that
// yield (kind, date, sizes) give way, last ones first, and a stretching column that
// yields goes last of all. They come back when there is room again.
void NodeTableView::fitColumns() {
    constexpr int kStretchRoom = 150;
    const int room = viewport()->width();
    int needed = kStretchRoom;
    for (const ColumnWidth& w : m_widths)
        if (!w.yields && w.mode != ColumnWidth::stretch)
            needed += w.width;
    for (std::size_t c = 0; c < m_widths.size(); ++c) {
        const ColumnWidth& w = m_widths[c];
        if (!w.yields)
            continue;
        const bool stretches = w.mode == ColumnWidth::stretch;
        const bool fits = stretches ? needed <= room : needed + w.width <= room;
        setColumnHidden(static_cast<int>(c), !fits);
        if (fits && !stretches)
            needed += w.width;
    }
}

FileNode* NodeTableView::selectedRowNode() const {
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? nullptr : m_model->nodeAt(rows.first().row());
}

void NodeTableView::selectionChanged(const QItemSelection& selected,
                                     const QItemSelection& deselected) {
    QTreeView::selectionChanged(selected, deselected);
    if (m_showingWindowSelection)
        return;
    FileNode* node = selectedRowNode();
    if (!node)
        return; // a row that left the list takes no selection away from the window
    m_window.setSelectedNode(node->shared()); // the map follows the window's selection
}

// When the current row goes (a trash, a move), Qt makes the next row current, and in
// single selection that selects it: the window would select a file the user never
// picked, and the next Delete would offer it for the Trash. No row stays current.
void NodeTableView::rowsAboutToBeRemoved(const QModelIndex& parent, int start, int end) {
    const QModelIndex current = currentIndex();
    if (current.isValid() && !parent.isValid() && current.row() >= start && current.row() <= end)
        selectionModel()->clearCurrentIndex();
    QTreeView::rowsAboutToBeRemoved(parent, start, end);
}

void NodeTableView::showWindowSelection() {
    const NodePtr& node = m_window.selectedNode();
    const int row = m_model->rowOf(node.get());
    if (row >= 0 && selectedRowNode() == node.get())
        return;
    m_showingWindowSelection = true;
    if (row < 0) {
        clearSelection();
    } else {
        const QModelIndex index = m_model->index(row, 1);
        selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                     QItemSelectionModel::Rows);
        scrollTo(index);
    }
    m_showingWindowSelection = false;
}

void NodeTableView::mouseMoveEvent(QMouseEvent* event) {
    QTreeView::mouseMoveEvent(event);
    const QModelIndex index = indexAt(event->position().toPoint());
    std::optional<NodeID> id;
    if (FileNode* node = m_model->nodeAt(index.row()))
        id = node->id();
    else if (const QVariant aggregate = index.data(NodeTableModel::kAggregateIDRole);
             aggregate.isValid())
        id = aggregate.toLongLong();
    hover(id);
}

void NodeTableView::contextMenuEvent(QContextMenuEvent* event) {
    // The menu key asks about the current row and opens the menu below it.
    const bool mouse = event->reason() == QContextMenuEvent::Mouse;
    const QModelIndex index = mouse ? indexAt(event->pos()) : currentIndex();
    FileNode* node = m_model->nodeAt(index.row());
    if (!node)
        return;
    emit contextMenuRequested(node->shared(),
                              mouse ? event->globalPos()
                                    : viewport()->mapToGlobal(visualRect(index).bottomLeft()));
}

void NodeTableView::hideEvent(QHideEvent* event) {
    hover(std::nullopt); // a panel switched away under the pointer gets no Leave
    QTreeView::hideEvent(event);
}

bool NodeTableView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::Leave)
        hover(std::nullopt);
    return QTreeView::viewportEvent(event);
}

void NodeTableView::hover(std::optional<NodeID> id) {
    ChartViewModel& chart = m_window.app().chart();
    if (id == m_hovered)
        return;
    // Clear only an emphasis this table set: the map may have set its own since.
    if (id || chart.highlightedNodeID() == m_hovered)
        chart.setHighlightedNodeID(id);
    m_hovered = id;
}

} // namespace ringfold
