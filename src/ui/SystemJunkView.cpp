#include "ui/SystemJunkView.h"

#include "app/coordination/AppState.h"
#include "app/viewmodels/SystemJunkViewModel.h"
#include "app/window/MainWindowModel.h"
#include "ui/JunkHeaderView.h"
#include "ui/JunkRowDelegate.h"
#include "ui/PanelChrome.h"
#include "ui/Symbols.h"
#include "ui/SystemJunkItemModel.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QStackedWidget>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace ringfold {

namespace {

class BadgeLabel : public QWidget {
public:
    BadgeLabel(JunkConfidence confidence, QWidget* parent)
        : QWidget(parent), m_confidence(confidence) {
        setFixedSize(panel::confidenceBadgeWidth(confidence, font()), fontMetrics().height());
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        panel::paintConfidenceBadge(&p, rect(), m_confidence, palette(), font());
    }

private:
    JunkConfidence m_confidence;
};

// "Found **1.2 GB** of ..." with the amount in bold.
QString boldAmount(const QString& marked) {
    QString html = marked.toHtmlEscaped();
    html.replace(html.indexOf(QLatin1String("**")), 2, QStringLiteral("<b>"));
    html.replace(html.indexOf(QLatin1String("**")), 2, QStringLiteral("</b>"));
    return html;
}

} // namespace

SystemJunkView::SystemJunkView(MainWindowModel& model, QWidget* parent)
    : QWidget(parent), m_model(model) {
    AppState& app = model.app();
    SystemJunkViewModel& junk = model.systemJunk();

    m_stack = new QStackedWidget(this);
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(m_stack);
    auto* otherSource = new panel::EmptyState(
        "sparkles", QStringLiteral("System Junk is only available for the startup disk"), this,
        QStringLiteral("Scan Startup Disk for Junk"));
    m_scanStartup = otherSource->button();
    m_stack->addWidget(otherSource);
    m_stack->addWidget(
        new panel::EmptyState("magnifyingglass", QStringLiteral("Looking for system junk…"), this));
    m_stack->addWidget(
        new panel::EmptyState("checkmark.circle", QStringLiteral("No system junk found"), this));
    m_stack->addWidget(buildJunkPage());
    connect(m_scanStartup, &QPushButton::clicked, &model, &MainWindowModel::scanStartupDiskForJunk);

    connect(&junk, &SystemJunkViewModel::groupsChanged, this, &SystemJunkView::rebuildRows);
    // A file operation patched the tree: items may have left it, sizes may have changed.
    // The groups keep the previous tree's items until the new tree is classified.
    connect(&app.chart(), &ChartViewModel::treeRevisionChanged, this, &SystemJunkView::rebuildRows);
    connect(&app.chart(), &ChartViewModel::rootNodeChanged, this, &SystemJunkView::rebuildRows);
    connect(&junk, &SystemJunkViewModel::classifyingChanged, this, &SystemJunkView::updatePage);
    connect(&junk, &SystemJunkViewModel::highConfidenceTotalChanged, this,
            &SystemJunkView::updateFound);
    connect(&app.sidebar(), &SidebarViewModel::selectedSourceIDChanged, this,
            &SystemJunkView::updatePage);
    connect(&model, &MainWindowModel::detailChanged, this, &SystemJunkView::updatePage);
    connect(&model, &MainWindowModel::selectedNodeChanged, this,
            &SystemJunkView::syncSelectionFromModel);
    connect(&app.cleanupList(), &CleanupListStore::includedIDsChanged, this,
            &SystemJunkView::checksChanged);
    connect(&app.settings(), &SettingsStore::allowDeletingHiddenFilesChanged, this,
            &SystemJunkView::checksChanged);
    updateFound();
    updatePage();
    restyle();
}

QWidget* SystemJunkView::buildJunkPage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(10, 6, 10, 0);
    layout->setSpacing(4);

    auto* line = new QHBoxLayout;
    m_sparkles = new QLabel(page);
    line->addWidget(m_sparkles);
    m_found = new QLabel(page);
    m_found->setTextFormat(Qt::RichText);
    m_found->setWordWrap(true);
    line->addWidget(m_found, 1);
    m_legendButton = new QToolButton(page);
    m_legendButton->setIcon(symbolIcon("info.circle"));
    m_legendButton->setAutoRaise(true);
    m_legendButton->setCheckable(true);
    m_legendButton->setToolTip(QStringLiteral("Confidence Tiers"));
    line->addWidget(m_legendButton);
    layout->addLayout(line);

    m_legend = buildLegend(page);
    m_legend->setVisible(m_state.showConfidenceLegend());
    layout->addWidget(m_legend);
    connect(m_legendButton, &QToolButton::clicked, this, [this] {
        m_state.toggleConfidenceLegend();
        m_legend->setVisible(m_state.showConfidenceLegend());
        m_legendButton->setChecked(m_state.showConfidenceLegend());
    });

    SystemJunkViewModel& junk = m_model.systemJunk();
    CleanupListStore& cleanup = m_model.app().cleanupList();
    m_items = new SystemJunkItemModel(junk, m_state, cleanup, m_model.app().chart(), this);
    m_list = new QTreeView(page);
    m_header = new JunkHeaderView(
        m_state,
        [this, &cleanup] {
            switch (SystemJunkPanelState::headerState(m_items->shownGroups(), cleanup)) {
            case CleanupListStore::SelectionState::on:
                return panel::Check::on;
            case CleanupListStore::SelectionState::mixed:
                return panel::Check::mixed;
            case CleanupListStore::SelectionState::off:
                break;
            }
            return panel::Check::off;
        },
        m_list);
    m_list->setHeader(m_header);
    m_list->setModel(m_items);
    // The tree turns its header's clicks off while it does not sort itself; the panel
    // sorts, so it turns them back on.
    m_header->setSectionsClickable(true);
    m_header->applyColumnWidths();
    m_list->setItemDelegate(new JunkRowDelegate(m_list));
    m_list->setRootIsDecorated(false);
    m_list->setIndentation(0);
    m_list->setItemsExpandable(false);
    m_list->setUniformRowHeights(false);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    m_list->setAllColumnsShowFocus(true);
    m_list->viewport()->setAttribute(Qt::WA_Hover);
    m_list->viewport()->installEventFilter(this);
    m_list->installEventFilter(this);
    layout->addWidget(m_list, 1);
    // Moving through the rows by keyboard selects their nodes as clicks do.
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                if (const JunkItem* item = m_items->item(current.row()); item && !m_syncing)
                    m_model.setSelectedNode(item->node);
            });

    new panel::HoverLink(m_list, m_model.app().chart(), [this](const QModelIndex& index) {
        const JunkItem* item = m_items->item(index.row());
        return item ? item->node.get() : nullptr;
    });
    connect(m_header, &QHeaderView::sectionClicked, this, &SystemJunkView::onSectionClicked);
    connect(m_list, &QTreeView::clicked, this, &SystemJunkView::onClicked);
    connect(m_list, &QWidget::customContextMenuRequested, this, &SystemJunkView::showContextMenu);
    return page;
}

QWidget* SystemJunkView::buildLegend(QWidget* parent) {
    auto* frame = new QFrame(parent);
    frame->setFrameShape(QFrame::StyledPanel);
    auto* layout = new QVBoxLayout(frame);
    layout->setContentsMargins(8, 6, 8, 6);
    layout->setSpacing(3);
    auto* title = new QLabel(QStringLiteral("Confidence Tiers"), frame);
    QFont bold = title->font();
    bold.setWeight(QFont::DemiBold);
    title->setFont(bold);
    layout->addWidget(title);
    for (JunkConfidence tier :
         {JunkConfidence::high, JunkConfidence::medium, JunkConfidence::orphaned}) {
        auto* row = new QHBoxLayout;
        row->addWidget(new BadgeLabel(tier, frame));
        auto* text = new QLabel(SystemJunkPanelState::legendText(tier), frame);
        text->setFont(panel::captionFont(text->font()));
        row->addWidget(text, 1);
        layout->addLayout(row);
    }
    return frame;
}

void SystemJunkView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange)
        restyle();
    QWidget::changeEvent(event);
}

void SystemJunkView::restyle() {
    m_sparkles->setPixmap(symbolIcon("sparkles", panel::tintColor("orange", palette()))
                              .pixmap(QSize(16, 16), devicePixelRatioF()));
}

SystemJunkView::Page SystemJunkView::page() const {
    return Page(m_stack->currentIndex());
}

void SystemJunkView::updatePage() {
    const SidebarViewModel& sidebar = m_model.app().sidebar();
    Page page = Page::junk;
    if (sidebar.selectedSourceID() != sidebar.thisComputer().id)
        page = Page::notStartupDisk;
    else if (m_items->shownGroups().empty())
        page = m_model.systemJunk().isClassifying() || m_model.showsScanOverlay() ? Page::looking
                                                                                  : Page::noJunk;
    m_stack->setCurrentIndex(int(page));
}

void SystemJunkView::updateFound() {
    m_found->setText(
        boldAmount(SystemJunkPanelState::foundSummary(m_model.systemJunk().highConfidenceTotal())));
}

void SystemJunkView::rebuildRows() {
    m_items->rebuild();
    syncSelectionFromModel();
    m_header->viewport()->update();
    updatePage();
}

void SystemJunkView::checksChanged() {
    m_items->checksChanged();
    m_header->viewport()->update();
}

void SystemJunkView::onSectionClicked(int column) {
    if (column == SystemJunkItemModel::checkColumn) {
        SystemJunkPanelState::clickHeaderCheckbox(m_items->shownGroups(),
                                                  m_model.app().cleanupList());
        return;
    }
    if (const auto key = JunkHeaderView::keyOf(column)) {
        m_state.clickColumnHeader(*key);
        rebuildRows();
    }
}

bool SystemJunkView::eventFilter(QObject* watched, QEvent* event) {
    // The click signal carries no modifiers: keep the ones of the press that began it.
    if (watched == m_list->viewport() && event->type() == QEvent::MouseButtonPress)
        m_pressModifiers = static_cast<QMouseEvent*>(event)->modifiers();
    // Space toggles the current item's checkbox, as a click on it does.
    if (watched == m_list && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space) {
        if (const JunkItem* item = m_items->item(m_list->currentIndex().row()))
            SystemJunkPanelState::clickItemCheckbox(*item, m_model.app().cleanupList());
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void SystemJunkView::onClicked(const QModelIndex& index) {
    CleanupListStore& cleanup = m_model.app().cleanupList();
    const SystemJunkPanelState::Group* group = m_items->group(index.row());
    const JunkItem* item = m_items->item(index.row());
    if (!group)
        return;
    if (!item) {
        if (index.column() == SystemJunkItemModel::checkColumn)
            SystemJunkPanelState::clickGroupCheckbox(*group, cleanup);
        return;
    }
    const NodePtr node = item->node; // the rows may be rebuilt by what follows
    if (index.column() == SystemJunkItemModel::checkColumn)
        SystemJunkPanelState::clickItemCheckbox(*item, cleanup);
    else
        m_state.clickItemRow(*item, *group, m_pressModifiers & Qt::ShiftModifier, cleanup);
    m_model.setSelectedNode(node);
}

void SystemJunkView::syncSelectionFromModel() {
    const int row = m_items->rowOf(m_model.selectedNode().get());
    m_syncing = true;
    if (row >= 0)
        m_list->setCurrentIndex(m_items->index(row, SystemJunkItemModel::nameColumn));
    else
        m_list->selectionModel()->clear();
    m_syncing = false;
}

void SystemJunkView::showContextMenu(const QPoint& pos) {
    if (const JunkItem* item = m_items->item(m_list->indexAt(pos).row()))
        emit contextMenuRequested(item->node, m_list->viewport()->mapToGlobal(pos));
}

} // namespace ringfold
