#include "app/coordination/AppState.h"

#include "app/coordination/TreeRelease.h"
#include "app/window/Endpoints.h"

#include <QCoreApplication>

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
    m_updates = std::make_unique<UpdateChecker>(
        *m_settings, QCoreApplication::applicationVersion(), endpoints::updateFeed());
}

AppState::~AppState() = default;

void AppState::resetFileData() {
    m_sidebar->resetFavoritesAndScanRecords();
    m_cleanup->clear();
    NodePtr old = m_chart->rootNode();
    m_chart->clearRoot();
    releaseInBackground(std::move(old));
}

} // namespace ringfold
