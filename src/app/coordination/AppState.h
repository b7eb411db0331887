#pragma once
// The program's headless state that outlives any window, created in start-up order
// and kept for the life of the process: the sources model (which loads the favourites
// and starts watching volumes), the map view model, the cleanup list and the
// settings, and the update check. A window's own models, the scan coordinator among them, live in its
// MainWindowModel on top of this.
//
// Threads: main thread only.

#include "app/stores/CleanupListStore.h"
#include "app/stores/SettingsStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "app/viewmodels/SidebarViewModel.h"
#include "app/window/UpdateChecker.h"

#include <QObject>

#include <memory>

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
    UpdateChecker& updates() { return *m_updates; }

    /// The settings window's "Reset scan history & favorites": default favourites and
    /// no scan records, an empty cleanup list, and back to the drive gallery. No
    /// setting changes.
    void resetFileData();

private:
    std::unique_ptr<SidebarViewModel> m_sidebar;
    std::unique_ptr<ChartViewModel> m_chart;
    std::unique_ptr<CleanupListStore> m_cleanup;
    std::unique_ptr<SettingsStore> m_settings;
    std::unique_ptr<UpdateChecker> m_updates;
};

} // namespace ringfold
