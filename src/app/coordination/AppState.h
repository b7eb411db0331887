#pragma once
// The program's headless state, created in start-up order and kept for the life of
// the process: the sources model (which loads the favourites and starts watching
// volumes), the map view model, the cleanup list, the settings, and the scan
// coordinator that ties them together. Selection changes reach the coordinator
// through one queued check per turn of the event loop, so a selection that is
// cleared and restored within one call (as a cache hit during a scan does) is seen
// as no change at all.
//
// Threads: main thread only.

#include "app/coordination/ScanCoordinator.h"
#include "app/stores/CleanupListStore.h"
#include "app/stores/SettingsStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "app/viewmodels/SidebarViewModel.h"

#include <QObject>

#include <memory>
#include <optional>

namespace ringfold {

class AppState : public QObject {
    Q_OBJECT

public:
    struct Options {
        /// Null means the default favourites file.
        std::unique_ptr<FavoritesStore> favoritesStore;
        SidebarViewModel::Options sidebar;
        /// Not owned; null means the program's own settings.
        QSettings* settings = nullptr;
    };

    explicit AppState(QObject* parent = nullptr);
    explicit AppState(Options options, QObject* parent = nullptr);
    ~AppState() override;

    SidebarViewModel& sidebar() { return *m_sidebar; }
    ChartViewModel& chart() { return *m_chart; }
    CleanupListStore& cleanupList() { return *m_cleanup; }
    SettingsStore& settings() { return *m_settings; }
    ScanCoordinator& coordinator() { return *m_coordinator; }

    /// What the window runs when it first appears: the coordinator's selection check.
    void start();
    /// The settings window's "Reset scan history & favorites": default favourites and
    /// no scan records, an empty cleanup list, and back to the drive gallery. No
    /// setting changes.
    void resetFileData();

private:
    void scheduleSelectionCheck();
    void checkSelection();

    std::unique_ptr<SidebarViewModel> m_sidebar;
    std::unique_ptr<ChartViewModel> m_chart;
    std::unique_ptr<CleanupListStore> m_cleanup;
    std::unique_ptr<SettingsStore> m_settings;
    std::unique_ptr<ScanCoordinator> m_coordinator;
    bool m_checkPending = false;
    std::optional<Uuid> m_lastHandledSelection;
};

} // namespace ringfold
