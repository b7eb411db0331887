#pragma once
// The desktop window over a fixture tree, for the window tests: settings and
// favourites kept in the fixture (its "s.conf" and "fav.json"), volumes from its
// "mountinfo", the fixture's "home" folder as the last favourite, diagnostics off,
// shown offscreen. open() tears the previous window down first; `fresh` also forgets
// what an earlier test saved in the settings and favourites.

#include "app/AppTestSupport.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/window/MainWindowModel.h"
#include "ui/MainWindow.h"

#include <QFile>
#include <QSettings>
#include <QTest>

namespace ringfold::test {

struct TestWindow {
    std::unique_ptr<QSettings> settings;
    std::unique_ptr<AppState> app;
    std::unique_ptr<MainWindowModel> model;
    std::unique_ptr<MainWindow> window;

    /// The model is made first, so that `setUp` (a backend factory, say) comes before
    /// the window shows. Returns whether the window was exposed.
    bool open(const FixtureTree& fx, bool fresh = false,
              const std::function<void(MainWindowModel&)>& setUp = {}) {
        window.reset();
        model.reset();
        app.reset();
        settings = std::make_unique<QSettings>(QString::fromStdString(fx.fullPath("s.conf")),
                                               QSettings::IniFormat);
        if (fresh) {
            settings->clear();
            QFile::remove(QString::fromStdString(fx.fullPath("fav.json")));
        }
        app = apptest::makeAppState(settings.get(), QString::fromStdString(fx.fullPath("fav.json")),
                                    fx.fullPath("mountinfo"));
        app->sidebar().addFavorite(fx.fullPath("home"));
        model = std::make_unique<MainWindowModel>(*app);
        model->coordinator().setDiagnostics(nullptr);
        if (setUp)
            setUp(*model);
        window = std::make_unique<MainWindow>(*model);
        window->show();
        return QTest::qWaitForWindowExposed(window.get());
    }
    /// The fixture's "home" favourite.
    Uuid home() const { return app->sidebar().favorites().back().id; }
};

} // namespace ringfold::test
