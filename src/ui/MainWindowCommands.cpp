// The main window's commands: the actions with their shortcuts, the toolbar, the menu
// bar, and keeping their enabled and checked states in step with the window model.

#include "ui/MainWindow.h"

#include "app/coordination/AppState.h"
#include "app/window/MainWindowModel.h"
#include "app/window/SavedScans.h"
#include "ui/HelpMenu.h"
#include "ui/PanelStack.h"
#include "ui/SavedScanCommands.h"
#include "ui/Symbols.h"

#include <QActionGroup>
#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QSlider>
#include <QToolBar>
#include <QToolButton>

#include <cmath>

namespace ringfold {

namespace {

// The threshold slider works in steps of 0.01 % of the stored fraction.
constexpr double kSliderSteps = 10000.0;

} // namespace

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

} // namespace ringfold
