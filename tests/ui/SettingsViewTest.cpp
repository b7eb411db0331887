// The settings window over a real settings file: every control and the store move
// each other, the reset asks first and touches no setting, and the update check
// reads a feed file and says only what the user asked to hear.

#include "ui/SettingsView.h"
#include "app/AppTestSupport.h"
#include "app/window/UpdateChecker.h"
#include "support/FixtureTree.h"
#include "support/MemoryTree.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

using namespace ringfold;

class SettingsViewTest : public QObject {
    Q_OBJECT

    test::FixtureTree m_fx;

    std::unique_ptr<AppState> makeApp(QSettings& settings) {
        return apptest::makeAppState(&settings, QString::fromStdString(m_fx.fullPath("fav.json")),
                                     m_fx.fullPath("mountinfo"));
    }

private slots:
    void controlsAndStoreMoveEachOther() {
        m_fx.writeText("mountinfo", "");
        QSettings file(QString::fromStdString(m_fx.fullPath("a.conf")), QSettings::IniFormat);
        auto app = makeApp(file);
        SettingsStore& st = app->settings();
        SettingsView view(*app);
        struct Case {
            const char* name;
            std::function<void()> fromControl, fromStore;
            std::function<bool()> storeShows, controlShows;
        };
        const Case cases[] = {
            {"appearance", [&] { view.appearance()->button(int(AppearanceMode::dark))->click(); },
             [&] { st.setAppearanceMode(AppearanceMode::light); },
             [&] { return st.appearanceMode() == AppearanceMode::dark; },
             [&] { return view.appearance()->checkedId() == int(AppearanceMode::light); }},
            {"hidden", [&] { view.allowDeletingHidden()->click(); },
             [&] { st.setAllowDeletingHiddenFiles(false); },
             [&] { return st.allowDeletingHiddenFiles(); },
             [&] { return !view.allowDeletingHidden()->isChecked(); }},
            {"threshold", [&] { view.threshold()->setValue(250); },
             [&] { st.setSmallerObjectsThresholdPercent(0.04); },
             [&] { return st.smallerObjectsThresholdPercent() == 0.025; },
             [&] {
                 return view.threshold()->value() == 400 && view.thresholdLabel()->text() == "4.0%";
             }},
            {"limit", [&] { view.biggestFilesLimit()->stepUp(); },
             [&] { st.setBiggestFilesLimit(500); }, [&] { return st.biggestFilesLimit() == 250; },
             [&] { return view.biggestFilesLimit()->value() == 500; }},
            {"reports", [&] { view.diagnosticReportsAge()->stepDown(); },
             [&] { st.setDiagnosticReportsAgeDays(70); },
             [&] { return st.diagnosticReportsAgeDays() == 23; },
             [&] { return view.diagnosticReportsAge()->value() == 70; }},
            {"folders", [&] { view.sortFoldersToTop()->click(); },
             [&] { st.setSortFoldersToTop(true); }, [&] { return !st.sortFoldersToTop(); },
             [&] { return view.sortFoldersToTop()->isChecked(); }},
            {"updates", [&] { view.automaticUpdates()->click(); },
             [&] { st.setAutomaticallyChecksForUpdates(false); },
             [&] { return st.automaticallyChecksForUpdates(); },
             [&] { return !view.automaticUpdates()->isChecked(); }},
        };
        for (const Case& c : cases) {
            c.fromControl();
            QVERIFY2(c.storeShows(), c.name);
            c.fromStore();
            QVERIFY2(c.controlShows(), c.name);
        }
        QSettings reread(QString::fromStdString(m_fx.fullPath("a.conf")), QSettings::IniFormat);
        QCOMPARE(reread.value("biggestFilesLimit").toInt(), 500);

        // Reset: asks; Cancel does nothing; Reset clears the list and the favourites'
        // changes, and leaves the settings as they are.
        app->sidebar().addFavorite(m_fx.root());
        const auto favorites = app->sidebar().favorites().size();
        test::MemoryTree tree;
        app->chart().setRoot(tree.rootPtr(), std::nullopt, false);
        app->cleanupList().add(tree.rootPtr()->shared());
        for (bool confirm : {false, true}) {
            view.setResetConfirmation([confirm](QWidget*) { return confirm; });
            view.resetButton()->click();
            QCOMPARE(app->sidebar().favorites().size() == favorites, !confirm);
            QCOMPARE(app->cleanupList().isEmpty(), confirm);
            QCOMPARE(app->chart().rootNode() == nullptr, confirm); // back to the gallery
        }
        QCOMPARE(st.biggestFilesLimit(), 500);
        QCOMPARE(st.appearanceMode(), AppearanceMode::light);
    }

    void updateCheckReadsTheFeed() {
        QSettings file(QString::fromStdString(m_fx.fullPath("b.conf")), QSettings::IniFormat);
        SettingsStore st(&file);
        for (auto [feed, available, upToDate, failed] :
             {std::tuple{"{\"version\": \"0.10.0\", \"url\": \"https://example.org/get\"}", 1, 0,
                         0},
              {"{\"version\": \"0.9.1\", \"url\": \"https://example.org/get\"}", 0, 1, 0},
              {"{\"url\": \"https://example.org/get\"}", 0, 0, 1},
              {"not json", 0, 0, 1}}) {
            m_fx.writeText("feed.json", feed);
            UpdateChecker updates(
                st, "0.9.1",
                QUrl::fromLocalFile(QString::fromStdString(m_fx.fullPath("feed.json"))));
            QSignalSpy a(&updates, &UpdateChecker::updateAvailable),
                u(&updates, &UpdateChecker::upToDate), f(&updates, &UpdateChecker::checkFailed);
            updates.checkForUpdates();
            QVERIFY(!updates.canCheckForUpdates());
            QTRY_VERIFY(updates.canCheckForUpdates());
            QCOMPARE(std::tuple(a.size(), u.size(), f.size()),
                     std::tuple(available, upToDate, failed));
        }
        UpdateChecker missing(st, "1.0",
                              QUrl::fromLocalFile(QString::fromStdString(m_fx.fullPath("none"))));
        QSignalSpy quietFailure(&missing, &UpdateChecker::checkFailed);
        missing.checkForUpdates(false); // an automatic check keeps quiet about failures
        QTRY_VERIFY(missing.canCheckForUpdates());
        QCOMPARE(quietFailure.size(), 0);
    }
};

QTEST_MAIN(SettingsViewTest)
#include "SettingsViewTest.moc"
