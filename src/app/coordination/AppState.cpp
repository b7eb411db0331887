#include "app/coordination/AppState.h"

#include "app/coordination/TreeRelease.h"

#include <QMetaObject>

namespace ringfold {

AppState::AppState(QObject* parent) : AppState(Options{}, parent) {}

AppState::AppState(Options options, QObject* parent) : QObject(parent) {
    m_sidebar = std::make_unique<SidebarViewModel>(std::move(options.favoritesStore),
                                                   std::move(options.sidebar));
    m_chart = std::make_unique<ChartViewModel>();
    m_cleanup = std::make_unique<CleanupListStore>();
    m_settings = options.settings ? std::make_unique<SettingsStore>(options.settings)
                                  : std::make_unique<SettingsStore>();
    m_cleanup->setSettings(m_settings.get());
    m_coordinator = std::make_unique<ScanCoordinator>(*m_sidebar, *m_chart, *m_cleanup);
    connect(m_sidebar.get(), &SidebarViewModel::selectedSourceIDChanged, this,
            &AppState::scheduleSelectionCheck);
}

AppState::~AppState() {
    // Scan threads post into the coordinator and read nothing else; stop them before
    // the models they report to go away.
    m_coordinator.reset();
}

void AppState::start() {
    m_lastHandledSelection = m_sidebar->selectedSourceID();
    m_coordinator->handleSelectionChange();
}

void AppState::scheduleSelectionCheck() {
    if (m_checkPending)
        return;
    m_checkPending = true;
    QMetaObject::invokeMethod(this, &AppState::checkSelection, Qt::QueuedConnection);
}

void AppState::checkSelection() {
    m_checkPending = false;
    const auto selected = m_sidebar->selectedSourceID();
    if (selected == m_lastHandledSelection)
        return;
    m_lastHandledSelection = selected;
    m_coordinator->handleSelectionChange();
}

void AppState::resetFileData() {
    m_sidebar->resetFavoritesAndScanRecords();
    m_cleanup->clear();
    NodePtr old = m_chart->rootNode();
    m_chart->clearRoot();
    releaseInBackground(std::move(old));
}

} // namespace ringfold
