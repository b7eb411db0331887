// The settings window over a real settings file: every control and the store move
// each other, the reset asks first and touches no setting, and the update check
// reads a feed from a local web server and says only what the user asked to hear.

#include "ui/SettingsView.h"
#include "app/AppTestSupport.h"
#include "app/window/UpdateChecker.h"
#include "support/FixtureTree.h"
#include "support/MemoryTree.h"
#include "ui/HelpMenu.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QLabel>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QSlider>
#include <QSpinBox>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

using namespace ringfold;

namespace {

// A web server on 127.0.0.1 answering every GET with `feed`. With an empty feed it
// only reserves a port and closes it again, so a request finds nobody listening.
class FeedServer : public QTcpServer {
public:
    explicit FeedServer(QByteArray feed) : m_feed(std::move(feed)) {
        listen(QHostAddress::LocalHost);
        m_url = QUrl(QStringLiteral("http://127.0.0.1:%1/latest.json").arg(serverPort()));
        if (m_feed.isEmpty())
            close();
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = nextPendingConnection()) {
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    socket->setProperty("request", socket->property("request").toByteArray() +
                                                       socket->readAll());
                    if (!socket->property("request").toByteArray().contains("\r\n\r\n"))
                        return;
                    socket->write("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
                                  "Connection: close\r\nContent-Length: " +
                                  QByteArray::number(m_feed.size()) + "\r\n\r\n" + m_feed);
                    socket->disconnectFromHost();
                });
            }
        });
    }
    QUrl url() const { return m_url; }

private:
    QByteArray m_feed;
    QUrl m_url;
};

} // namespace

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
            {"group hidden", [&] { view.groupHidden()->click(); },
             [&] { st.setGroupHiddenItems(true); }, [&] { return !st.groupHiddenItems(); },
             [&] { return view.groupHidden()->isChecked(); }},
            {"limit", [&] { view.biggestFilesLimit()->stepUp(); },
             [&] { st.setBiggestFilesLimit(500); }, [&] { return st.biggestFilesLimit() == 250; },
             [&] { return view.biggestFilesLimit()->value() == 500; }},
            {"reports", [&] { view.diagnosticReportsAge()->stepDown(); },
             [&] { st.setDiagnosticReportsAgeDays(70); },
             [&] { return st.diagnosticReportsAgeDays() == 23; },
             [&] { return view.diagnosticReportsAge()->value() == 70; }},
            {"caches", [&] { view.cacheStalenessAge()->stepUp(); },
             [&] { st.setCacheStalenessAgeDays(63); },
             [&] { return st.cacheStalenessAgeDays() == 21; },
             [&] { return view.cacheStalenessAge()->value() == 63; }},
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

        // Reset: the confirmation's Cancel changes nothing; its destructive button
        // brings back the default favourites, forgets the scan records, empties the
        // cleanup list and returns to the gallery. No setting moves either way.
        st.setFdaOnboardingDismissed(true);
        SidebarViewModel& sidebar = app->sidebar();
        sidebar.addFavorite(m_fx.root());
        sidebar.recordScan(sidebar.thisComputer().id, 1700000000, 4096, false);
        test::MemoryTree tree;
        app->chart().setRoot(tree.rootPtr(), std::nullopt, false);
        app->cleanupList().add(tree.rootPtr()->shared());
        auto urls = [](const std::vector<ScanSource>& sources) {
            QStringList out;
            for (const ScanSource& s : sources)
                out << QString::fromStdString(s.url);
            return out;
        };
        const QStringList defaults = urls(sidebar.favoritesStore().defaultFavorites());
        auto stored = [&] {
            QSettings reread(file.fileName(), QSettings::IniFormat);
            QVariantMap all;
            for (const QString& key : reread.allKeys())
                all[key] = reread.value(key);
            return all;
        };
        const QVariantMap settings = stored();
        for (auto role : {QMessageBox::RejectRole, QMessageBox::DestructiveRole}) {
            QTimer::singleShot(0, &view, [&view, role] {
                auto* box = view.findChild<QMessageBox*>();
                QVERIFY(box);
                for (QAbstractButton* b : box->buttons())
                    if (box->buttonRole(b) == role)
                        return b->click();
                box->reject();
                QFAIL("no button for the answer");
            });
            view.resetButton()->click();
            const bool reset = role == QMessageBox::DestructiveRole;
            QCOMPARE(urls(sidebar.favorites()) == defaults, reset);
            QCOMPARE(sidebar.thisComputer().lastScanDate.has_value(), !reset);
            QCOMPARE(app->cleanupList().isEmpty(), reset);
            QCOMPARE(app->chart().rootNode() == nullptr, reset); // back to the gallery
            QCOMPARE(stored(), settings);
        }
    }

    // Each feed is served over HTTP from 127.0.0.1, to the Help menu's "Check for
    // Updates…" and to the automatic check at start-up. Only news reaches the user
    // unasked; whatever goes wrong is a notice that blocks nothing, or silence.
    void updateCheckTellsWhatItFound() {
        QSettings file(QString::fromStdString(m_fx.fullPath("b.conf")), QSettings::IniFormat);
        SettingsStore st(&file);
        const char* failed = "^Couldn't check for updates";
        const struct {
            const char* name;
            QByteArray feed;       // empty: nothing listens on the port
            const char* manual;    // what the notice matches
            const char* automatic; // null: no notice
        } cases[] = {
            {"newer", "{\"version\": \"0.10.0\", \"url\": \"https://example.org/get\"}",
             "href=\"https://example.org/get\"", "href=\"https://example.org/get\""},
            {"newer, no web page", "{\"version\": \"0.10\", \"url\": \"javascript:alert(1)\"}",
             "0.10 is available\\.$", "0.10 is available\\.$"},
            {"same", "{\"version\": \"0.9.1\", \"url\": \"https://example.org/get\"}",
             "newest version", nullptr},
            {"no version", "{\"url\": \"https://example.org/get\"}", failed, nullptr},
            {"not json", "<html>502 Bad Gateway</html>", failed, nullptr},
            {"no server", {}, failed, nullptr},
        };
        for (const auto& c : cases) {
            FeedServer server(c.feed);
            for (bool automatic : {false, true}) {
                st.setAutomaticallyChecksForUpdates(automatic);
                QMainWindow window;
                UpdateChecker updates(st, "0.9.1", server.url(), std::chrono::milliseconds(0));
                addHelpMenu(window, updates);
                QSignalSpy turns(&updates, &UpdateChecker::canCheckForUpdatesChanged);
                if (!automatic)
                    window.findChild<QAction*>("checkForUpdates")->trigger();
                QTRY_COMPARE(turns.size(), 2); // the check began and ended
                const auto notices = window.findChildren<QMessageBox*>();
                const char* expected = automatic ? c.automatic : c.manual;
                QVERIFY2(notices.size() == (expected ? 1 : 0), c.name);
                if (expected) {
                    QVERIFY2(notices[0]->text().contains(QRegularExpression(expected)),
                             qPrintable(notices[0]->text()));
                    QVERIFY2(!notices[0]->isModal(), c.name);
                }
            }
        }
    }
};

QTEST_MAIN(SettingsViewTest)
#include "SettingsViewTest.moc"
