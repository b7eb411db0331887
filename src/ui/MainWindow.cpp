#include "ui/MainWindow.h"

#include "app/coordination/AppState.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/operations/FileManagerReveal.h"
#include "app/window/InstallLocation.h"
#include "app/window/SavedScans.h"
#include "core/model/Tree.h"
#include "app/window/MainWindowModel.h"
#include "ui/BreadcrumbView.h"
#include "ui/ChartView.h"
#include "ui/CleanupListBar.h"
#include "ui/CoffeeMomentBanner.h"
#include "ui/DriveGalleryView.h"
#include "ui/HelpMenu.h"
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

#include <QActionGroup>
#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QMenuBar>
#include <QMouseEvent>
#include <QSlider>
#include <QSplitter>
#include <QStackedWidget>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <cmath>

namespace ringfold {

namespace {

// The threshold slider works in steps of 0.01 % of the stored fraction.
constexpr double kSliderSteps = 10000.0;

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

void MainWindow::buildActions() {
    ChartViewModel& chart = m_model.app().chart();
    auto make = [this](const char* name, const QString& text, const char* symbol = nullptr) {
        auto* a = new QAction(text, this);
        a->setObjectName(QString::fromLatin1(name));
        if (symbol)
            a->setIcon(symbolIcon(symbol));
        addAction(a); // shortcuts work with the menu bar hidden too
        return a;
    };

    m_backToGallery = make("backToGallery", tr("Drive Gallery"), "chevron.backward");
    m_backToGallery->setToolTip(tr("Back to the drive gallery"));
    connect(m_backToGallery, &QAction::triggered, this, [this] { m_model.showDriveGallery(); });

    m_home = make("home", tr("Home"), "house");
    m_home->setToolTip(tr("Home"));
    connect(m_home, &QAction::triggered, this, [&chart] {
        if (chart.rootNode())
            chart.focus(chart.rootNode());
    });

    auto* modes = new QActionGroup(this);
    m_sunburst = make("sunburst", tr("Sunburst"), "chart.pie");
    m_treemap = make("treemap", tr("Treemap"), "square.grid.2x2");
    m_sunburst->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_1));
    m_treemap->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_2));
    m_sunburst->setToolTip(
        tr("Sunburst view (%1)").arg(m_sunburst->shortcut().toString(QKeySequence::NativeText)));
    m_treemap->setToolTip(
        tr("Treemap view (%1)").arg(m_treemap->shortcut().toString(QKeySequence::NativeText)));
    for (QAction* a : {m_sunburst, m_treemap}) {
        a->setCheckable(true);
        modes->addAction(a);
    }
    connect(m_sunburst, &QAction::triggered, this,
            [&chart] { chart.setVisualizationMode(VisualizationMode::sunburst); });
    connect(m_treemap, &QAction::triggered, this,
            [&chart] { chart.setVisualizationMode(VisualizationMode::treemap); });

    m_freeSpace = make("showFreeSpace", tr("Show Free Space"), "circle.dashed");
    m_freeSpace->setCheckable(true);
    m_freeSpace->setToolTip(tr("Show the volume's free space in the map"));
    connect(m_freeSpace, &QAction::toggled, this,
            [&chart](bool on) { chart.setShowFreeSpace(on); });

    m_rescan = make("rescan", tr("Rescan"), "arrow.clockwise");
    m_rescan->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    m_rescan->setToolTip(tr("Rescan the selected source (%1)")
                             .arg(m_rescan->shortcut().toString(QKeySequence::NativeText)));
    connect(m_rescan, &QAction::triggered, this, [this] { m_model.rescanSelectedSource(); });

    m_addFavorite = make("addFavorite", tr("Add Favorite Folder…"), "plus");
    m_addFavorite->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_N));
    connect(m_addFavorite, &QAction::triggered, this, &MainWindow::addFavoriteWithChooser);

    m_showInFileManager = make("showInFileManager", tr("Show in File Manager"));
    m_showInFileManager->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_O));
    connect(m_showInFileManager, &QAction::triggered, this, &MainWindow::revealSelection);

    QAction* settings = make("settings", tr("Settings…"), "gearshape");
    settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    settings->setToolTip(
        tr("Ringfold Settings (%1)").arg(settings->shortcut().toString(QKeySequence::NativeText)));
    connect(settings, &QAction::triggered, this, &MainWindow::showSettings);

    QAction* trash = make("moveToTrash", tr("Move to Trash"), "trash");
    trash->setShortcut(QKeySequence(Qt::Key_Delete));
    connect(trash, &QAction::triggered, &m_model, &MainWindowModel::deleteCommand);
    QAction* info = make("getInfo", tr("Get Info"), "info.circle");
    info->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_I));
    connect(info, &QAction::triggered, &m_model, &MainWindowModel::showInfoForSelection);

    m_goUp = make("goUp", tr("Go Up"), "arrow.up");
    m_goUp->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Up));
    connect(m_goUp, &QAction::triggered, &chart, &ChartViewModel::goUp);
    m_goRoot = make("goToScanRoot", tr("Go to Scan Root"));
    m_goRoot->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Up));
    connect(m_goRoot, &QAction::triggered, m_home, &QAction::trigger);
    m_goBack = make("goBack", tr("Back"), "chevron.backward");
    m_goBack->setShortcut(QKeySequence::Back);
    connect(m_goBack, &QAction::triggered, &chart, &ChartViewModel::goBack);
    m_goForward = make("goForward", tr("Forward"), "chevron.forward");
    m_goForward->setShortcut(QKeySequence::Forward);
    connect(m_goForward, &QAction::triggered, &chart, &ChartViewModel::goForward);
}

SettingsView* MainWindow::showSettings() {
    if (!m_settingsView)
        m_settingsView = new SettingsView(m_model.app(), this);
    m_settingsView->show();
    m_settingsView->raise();
    m_settingsView->activateWindow();
    return m_settingsView;
}

void MainWindow::buildToolBar() {
    auto* bar = addToolBar(tr("Toolbar"));
    bar->setObjectName(QStringLiteral("mainToolBar"));
    bar->setMovable(false);
    bar->setFloatable(false);
    bar->setIconSize(QSize(18, 18));
    bar->setToolButtonStyle(Qt::ToolButtonIconOnly);
    bar->setContextMenuPolicy(Qt::PreventContextMenu);
    bar->addAction(m_backToGallery);
    bar->addAction(m_home);
    bar->addSeparator();
    for (QAction* a : {m_sunburst, m_treemap}) {
        bar->addAction(a);
        if (auto* b = qobject_cast<QToolButton*>(bar->widgetForAction(a)))
            b->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    }
    bar->addSeparator();

    auto* thresholdBox = new QWidget(bar);
    auto* row = new QHBoxLayout(thresholdBox);
    row->setContentsMargins(6, 0, 6, 0);
    row->setSpacing(6);
    m_threshold = new QSlider(Qt::Horizontal, thresholdBox);
    m_threshold->setObjectName(QStringLiteral("thresholdSlider"));
    m_threshold->setRange(int(SettingsStore::kThresholdMin * kSliderSteps),
                          int(SettingsStore::kThresholdMax * kSliderSteps));
    m_threshold->setFixedWidth(140);
    const QString help = tr("Smaller objects threshold — drag left to show more items "
                            "individually, right to group more into the bucket");
    m_threshold->setToolTip(help);
    m_thresholdLabel = new QLabel(thresholdBox);
    m_thresholdLabel->setMinimumWidth(36);
    m_thresholdLabel->setToolTip(help);
    row->addWidget(m_threshold);
    row->addWidget(m_thresholdLabel);
    bar->addWidget(thresholdBox);
    connect(m_threshold, &QSlider::valueChanged, this, [this](int value) {
        m_model.app().settings().setSmallerObjectsThresholdPercent(value / kSliderSteps);
    });

    bar->addAction(m_freeSpace);
    if (auto* b = qobject_cast<QToolButton*>(bar->widgetForAction(m_freeSpace)))
        b->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);

    auto* spacer = new QWidget(bar);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    bar->addWidget(spacer);
    bar->addAction(m_rescan);
    bar->addAction(findChild<QAction*>(QStringLiteral("settings")));
}

void MainWindow::buildMenus() {
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(m_addFavorite);
    file->addAction(m_savedScanCommands->openAction());
    file->addAction(m_savedScanCommands->saveAction());
    file->addSeparator();
    file->addAction(m_showInFileManager);
    file->addAction(findChild<QAction*>(QStringLiteral("getInfo")));
    file->addAction(findChild<QAction*>(QStringLiteral("moveToTrash")));
    file->addSeparator();
    QAction* quit = file->addAction(tr("&Quit"), qApp, &QApplication::closeAllWindows);
    quit->setShortcut(QKeySequence::Quit);

    QMenu* view = menuBar()->addMenu(tr("&View"));
    view->addAction(m_sunburst);
    view->addAction(m_treemap);
    view->addSeparator();
    view->addAction(m_freeSpace);
    view->addAction(m_rescan);
    view->addSeparator();
    for (PanelStack::Panel p : PanelStack::kPanels) {
        view->addAction(m_panels->panelAction(p));
        addAction(m_panels->panelAction(p)); // shortcuts work with the menu bar hidden too
    }

    QMenu* go = menuBar()->addMenu(tr("&Go"));
    go->addAction(m_goBack);
    go->addAction(m_goForward);
    go->addAction(m_goUp);
    go->addAction(m_goRoot);
    go->addSeparator();
    go->addAction(m_backToGallery);
    addHelpMenu(*this, m_model.app().updates());
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

void MainWindow::updateCommands() {
    const ChartViewModel& chart = m_model.app().chart();
    const bool selected = !m_model.showsDriveGallery();
    const bool hasMap = selected && chart.rootNode();
    const bool atRoot = chart.focusedNode() == chart.rootNode();
    m_backToGallery->setEnabled(selected);
    m_home->setEnabled(hasMap && !atRoot);
    m_goRoot->setEnabled(hasMap && !atRoot);
    m_goUp->setEnabled(hasMap && !atRoot);
    m_goBack->setEnabled(hasMap && chart.canGoBack());
    m_goForward->setEnabled(hasMap && chart.canGoForward());
    // A saved scan is a record: nothing to rescan, nothing on this disk to show.
    const bool record = m_model.showsSavedScan();
    m_rescan->setEnabled(selected && !record);
    m_rescan->setToolTip(record ? savedScanReason()
                                : tr("Rescan the selected source (%1)")
                                      .arg(m_rescan->shortcut().toString(QKeySequence::NativeText)));
    m_showInFileManager->setToolTip(record ? savedScanReason() : QString());
    m_freeSpace->setEnabled(hasMap && chart.isVolumeRootedSource());
    {
        const QSignalBlocker block(m_freeSpace);
        m_freeSpace->setChecked(chart.showFreeSpace());
    }
    // On the gallery there is no map for the mode or the threshold to act on.
    m_sunburst->setEnabled(selected);
    m_treemap->setEnabled(selected);
    m_threshold->parentWidget()->setEnabled(selected);
    m_sunburst->setChecked(chart.visualizationMode() == VisualizationMode::sunburst);
    m_treemap->setChecked(chart.visualizationMode() == VisualizationMode::treemap);
    m_showInFileManager->setEnabled(hasMap && !record &&
                                    (m_model.selectedNode() || chart.focusedNode()));
}

void MainWindow::updateThreshold() {
    const double value = m_model.app().settings().smallerObjectsThresholdPercent();
    {
        const QSignalBlocker block(m_threshold);
        m_threshold->setValue(int(std::lround(value * kSliderSteps)));
    }
    m_thresholdLabel->setText(QString::asprintf("%.1f%%", value * 100.0));
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
