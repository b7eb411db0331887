#include "ui/MainWindow.h"

#include "app/coordination/AppState.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/operations/FileManagerReveal.h"
#include "app/window/InstallLocation.h"
#include "app/window/MainWindowModel.h"
#include "app/window/SavedScans.h"
#include "core/model/Tree.h"
#include "ui/BreadcrumbView.h"
#include "ui/ChartView.h"
#include "ui/CleanupListBar.h"
#include "ui/CoffeeMomentBanner.h"
#include "ui/DriveGalleryView.h"
#include "ui/PanelStack.h"
#include "ui/PreviewPane.h"
#include "ui/QuickPreview.h"
#include "ui/SavedScanCommands.h"
#include "ui/ScanOverlay.h"
#include "ui/SettingsView.h"
#include "ui/SheetPresenter.h"
#include "ui/SidebarView.h"
#include "ui/StartupNotices.h"
#include "ui/Symbols.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QSplitter>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace ringfold {

namespace {

QFrame* hairline(Qt::Orientation orientation, QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setAutoFillBackground(true);
    line->setBackgroundRole(QPalette::Mid);
    if (orientation == Qt::Horizontal)
        line->setFixedHeight(1);
    else
        line->setFixedWidth(1);
    return line;
}

QString decoded(const std::string& bytes) {
    return QFile::decodeName(QByteArray::fromStdString(bytes));
}

} // namespace

MainWindow::MainWindow(MainWindowModel& model, QWidget* parent)
    : QMainWindow(parent), m_model(model), m_reveal(new FileManagerReveal(this)) {
    initUiResources();
    setWindowTitle(QStringLiteral("Ringfold"));
    setMinimumSize(760, 560);
    resize(1100, 720);
    setUnifiedTitleAndToolBarOnMac(true);

    buildActions();
    m_savedScanCommands = new SavedScanCommands(m_model, *this);
    buildCentral();
    buildToolBar();
    buildMenus();

    AppState& app = m_model.app();
    connect(&m_model, &MainWindowModel::detailChanged, this, &MainWindow::updateDetail);
    for (auto signal :
         {&ChartViewModel::rootNodeChanged, &ChartViewModel::focusedNodeChanged,
          &ChartViewModel::historyChanged, &ChartViewModel::historyIndexChanged,
          &ChartViewModel::isVolumeRootedSourceChanged, &ChartViewModel::showFreeSpaceChanged,
          &ChartViewModel::visualizationModeChanged})
        connect(&app.chart(), signal, this, &MainWindow::updateCommands);
    connect(&m_model, &MainWindowModel::selectedNodeChanged, this, &MainWindow::updateCommands);
    connect(&app.settings(), &SettingsStore::smallerObjectsThresholdPercentChanged, this,
            &MainWindow::updateThreshold);
    connect(m_chart, &ChartView::fileSelected, this,
            [this](FileNode* node) { m_model.setSelectedNode(node ? node->shared() : NodePtr()); });

    // The mouse's back and forward buttons act anywhere in the window, also over
    // widgets that take every other click.
    qApp->installEventFilter(this);
    updateThreshold();
    updateDetail();
}

MainWindow::~MainWindow() {
    qApp->removeEventFilter(this);
}

SettingsView* MainWindow::showSettings() {
    if (!m_settingsView)
        m_settingsView = new SettingsView(m_model.app(), this);
    m_settingsView->show();
    m_settingsView->raise();
    m_settingsView->activateWindow();
    return m_settingsView;
}

void MainWindow::buildCentral() {
    AppState& app = m_model.app();
    SidebarView::Actions actions;
    actions.rescan = [this](const Uuid& id) { m_model.coordinator().rescan(id); };
    actions.scanStartupJunk = [this] { m_model.scanStartupDiskForJunk(); };
    actions.reveal = [this](const std::string& path) { m_reveal->reveal(decoded(path)); };
    actions.openScanFile = [this] { m_savedScanCommands->chooseFileToOpen(); };
    actions.scanAsAdministrator = [this](const Uuid& id) {
        m_model.savedScans().scanAsAdministrator(id);
    };
    m_sidebar = new SidebarView(app.sidebar(), std::move(actions));
    m_sidebar->setMinimumWidth(200);
    m_sidebar->setMaximumWidth(380);

    auto* detail = new QWidget;
    auto* grid = new QGridLayout(detail);
    grid->setContentsMargins(0, 0, 0, 0);
    m_detailStack = new QStackedWidget(detail);
    m_gallery = new DriveGalleryView(app.sidebar(), [this] { m_model.scanStartupDiskForJunk(); });
    m_detailStack->addWidget(m_gallery);

    m_mapPage = new QWidget;
    // The map column and the preview side by side, the cleanup bar across both.
    auto* pageColumn = new QVBoxLayout(m_mapPage);
    pageColumn->setContentsMargins(0, 0, 0, 0);
    pageColumn->setSpacing(0);
    auto* page = new QHBoxLayout;
    page->setSpacing(0);
    pageColumn->addLayout(page, 1);
    auto* mapColumn = new QVBoxLayout;
    mapColumn->setSpacing(0);
    m_breadcrumb = new BreadcrumbView(app.chart(), [this] { m_model.showDriveGallery(); });
    mapColumn->addWidget(m_breadcrumb);
    mapColumn->addWidget(hairline(Qt::Horizontal, m_mapPage));
    m_chart = new ChartView(app.chart(), app.cleanupList(), app.settings());
    m_panelArea = new QWidget;
    m_panelArea->setObjectName(QStringLiteral("panelArea"));
    new QVBoxLayout(m_panelArea);
    m_panelArea->layout()->setContentsMargins(0, 0, 0, 0);
    m_panels = new PanelStack(m_model, m_panelArea);
    m_panelArea->layout()->addWidget(m_panels);
    // The user shares the height between the map and the panels.
    auto* mapSplit = new QSplitter(Qt::Vertical, m_mapPage);
    mapSplit->setObjectName(QStringLiteral("mapPanelSplitter"));
    mapSplit->setHandleWidth(1);
    mapSplit->setStyleSheet(QStringLiteral("QSplitter::handle { background: palette(mid); }"));
    mapSplit->addWidget(m_chart);
    mapSplit->addWidget(m_panelArea);
    mapSplit->setCollapsible(0, false);
    mapSplit->setCollapsible(1, false);
    mapSplit->setStretchFactor(0, 3);
    mapSplit->setStretchFactor(1, 2);
    mapSplit->setSizes({460, 180});
    mapColumn->addWidget(mapSplit, 1);
    m_cleanupBar = new CleanupListBar(m_model);
    pageColumn->addWidget(m_cleanupBar);
    mapColumn->insertWidget(0, new CoffeeMomentBanner(m_model));
    m_sheets = new SheetPresenter(m_model, this);
    connect(m_cleanupBar, &CleanupListBar::copyRequested, m_sheets,
            &SheetPresenter::copyCleanupList);
    page->addLayout(mapColumn, 1);
    m_previewArea = new QWidget;
    m_previewArea->setObjectName(QStringLiteral("previewArea"));
    new QVBoxLayout(m_previewArea);
    m_previewArea->layout()->setContentsMargins(0, 0, 0, 0);
    PreviewPane::Actions previewActions;
    previewActions.reveal = [this](const NodePtr& n) { m_reveal->reveal(decoded(n->url())); };
    previewActions.quickPreview = [this](const NodePtr& n) { quickPreview(n, this); };
    previewActions.getInfo = [this](const NodePtr& n) { m_model.showInfo(n); };
    m_preview = new PreviewPane(app.settings(), std::move(previewActions), m_previewArea);
    m_previewArea->layout()->addWidget(m_preview);
    connect(&m_model, &MainWindowModel::selectedNodeChanged, m_preview,
            [this] { m_preview->setNode(m_model.selectedNode()); });
    page->addWidget(m_previewArea);
    m_detailStack->addWidget(m_mapPage);

    grid->addWidget(m_detailStack, 0, 0);
    m_overlay = new ScanOverlay(m_model, detail);
    grid->addWidget(m_overlay, 0, 0);
    m_overlay->hide();

    m_splitter = new QSplitter(Qt::Horizontal, this);
    m_splitter->setHandleWidth(1);
    m_splitter->setStyleSheet(QStringLiteral("QSplitter::handle { background: palette(mid); }"));
    m_splitter->addWidget(m_sidebar);
    m_splitter->addWidget(detail);
    m_splitter->setCollapsible(0, false);
    m_splitter->setCollapsible(1, false);
    m_splitter->setStretchFactor(1, 1);
    m_splitter->setSizes({240, 860});
    setCentralWidget(m_splitter);
}

bool MainWindow::showsMap() const {
    return m_detailStack->currentWidget() == m_mapPage;
}

void MainWindow::updateDetail() {
    const bool gallery = m_model.showsDriveGallery();
    m_detailStack->setCurrentWidget(gallery ? static_cast<QWidget*>(m_gallery) : m_mapPage);
    const bool scanning = m_model.showsScanOverlay();
    if (scanning) {
        m_overlay->refresh();
        m_overlay->raise();
    }
    m_overlay->setVisible(scanning);

    QString title = QStringLiteral("Ringfold");
    SidebarViewModel& sidebar = m_model.app().sidebar();
    if (const auto id = sidebar.selectedSourceID())
        if (const ScanSource* source = sidebar.source(*id))
            title = decoded(source->displayName) + QStringLiteral(" — Ringfold");
    setWindowTitle(title);
    updateCommands();
}

void MainWindow::addFavoriteWithChooser() {
    const QString folder =
        QFileDialog::getExistingDirectory(this, tr("Choose a folder to add to Favorite Folders"));
    if (!folder.isEmpty())
        m_model.app().sidebar().addFavorite(QFile::encodeName(folder).toStdString());
}

void MainWindow::revealSelection() {
    NodePtr node = m_model.selectedNode();
    if (!node)
        node = m_model.app().chart().focusedNode();
    if (node && !node->tree().isRecord())
        m_reveal->reveal(decoded(node->url()));
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (!m_started) {
        m_started = true;
        m_model.start();
        // Outside a sandbox the administrator can read what the user can't.
        std::function<void()> scanAsAdministrator;
        if (!runsInSandbox())
            scanAsAdministrator = [this] {
                m_model.savedScans().scanAsAdministrator(m_model.app().sidebar().thisComputer().id);
            };
        runStartupChecks(this, m_model.app().settings(), std::move(scanAsAdministrator));
    }
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonPress) {
        auto* widget = qobject_cast<QWidget*>(watched);
        const auto button = static_cast<QMouseEvent*>(event)->button();
        if (widget && widget->window() == this &&
            (button == Qt::BackButton || button == Qt::ForwardButton)) {
            ChartViewModel& chart = m_model.app().chart();
            if (button == Qt::BackButton)
                chart.goBack();
            else
                chart.goForward();
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

} // namespace ringfold
