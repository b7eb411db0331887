// Saved scans in the window, over real exports of a fixture tree: a saved scan browses
// like a scan but refuses everything that would act on its paths, a file that can't be
// read leaves the list with an alert, and "Scan as Administrator" runs the real
// scanner through a stand-in elevation command: replacing the tree when it works,
// keeping it when refused, stopping when cancelled.

#include "app/AppTestSupport.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/window/MainWindowModel.h"
#include "app/window/SavedScans.h"
#include "core/io/NcduExport.h"
#include "core/scan/ScanEngine.h"
#include "support/ChildProcess.h"
#include "ui/MainWindow.h"
#include "ui/WindowTestSupport.h"
#include "ui/ScanOverlay.h"
#include "ui/SidebarView.h"

#include <QAction>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QTest>
#include <QTreeWidget>

#include <sys/stat.h>

using namespace ringfold;

class SavedScanWindowTest : public QObject {
    Q_OBJECT

    test::FixtureTree m_fx;
    test::TestWindow m_w;

    ChartViewModel& chart() { return m_w.app->chart(); }
    QAction* action(const char* name) { return m_w.window->findChild<QAction*>(name); }
    // A shell script standing in for pkexec: `body` runs before it hands over.
    std::vector<std::string> elevation(const char* name, const std::string& body) {
        const std::string script = "#!/bin/sh\n" + body + "\n";
        m_fx.writeText(name, script);
        m_fx.chmod(name, 0755);
        return {m_fx.fullPath(name)};
    }
    bool showsTree() {
        return QTest::qWaitFor([this] {
            return chart().rootNode() && m_w.window->showsMap() && !m_w.model->showsScanOverlay();
        });
    }

private slots:
    void initTestCase() {
        m_fx.writeFiles({{"home/a/x/1", 40000}, {"home/a/2", 9000}, {"home/b/3", 70000}});
        m_fx.writeFiles({{"home/b/c/4", 1000}, {"mountinfo", 0}});
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(m_fx.fullPath("data")));
    }

    void init() { QVERIFY(m_w.open(m_fx)); }

    void savedScanBrowsesButRefusesToActOnItsPaths() {
        ScanEngine engine(ScanSourceKind::favoriteFolder, 2);
        const std::optional<ScanResult> live = engine.scan(m_fx.fullPath("home"));
        QVERIFY(live);
        const std::string file = m_fx.fullPath("home scan.json");
        std::FILE* out = std::fopen(file.c_str(), "wb");
        QVERIFY(writeNcduExport(*live->root, out, {.progname = "t", .progver = "1",
                                                   .timestamp = 1700000000}));
        std::fclose(out);

        m_w.model->savedScans().open(file);
        QVERIFY(showsTree());
        const NodePtr root = chart().rootNode();
        QCOMPARE(root->allocatedSize(), live->root->allocatedSize());
        QCOMPARE(m_w.app->sidebar().savedScans().at(0).lastScanDate, Timestamp(1700000000));
        QVERIFY(m_w.window->sidebar()->rowOf(m_w.app->sidebar().savedScans().at(0).id));

        // Nothing that acts on the disk: not the list, the sheets, rescan or reveal.
        const NodePtr a = test::at(root.get(), "a")->shared();
        m_w.app->cleanupList().add(a);
        m_w.model->requestTrash(a);
        m_w.model->requestMove(a);
        QVERIFY(m_w.app->cleanupList().isEmpty() && !m_w.model->activeSheet());
        for (const char* name : {"rescan", "showInFileManager"}) {
            QVERIFY(!action(name)->isEnabled());
            QCOMPARE(action(name)->toolTip(), savedScanReason());
        }
        // Its tree can be saved again, and the copy reads back the same.
        const std::string again = m_fx.fullPath("again.json");
        m_w.model->savedScans().saveAs(again);
        QTRY_VERIFY(!m_w.model->savedScans().saving());
        QVERIFY(m_w.window->statusBar()->currentMessage().startsWith(QStringLiteral("Saved")));
        const test::CommandResult read =
            test::runCommand({RINGFOLD_SCAN_BINARY, "-f", again, "--format=json"});
        QVERIFY(read.exitCode == 0 &&
                read.out.find("\"allocatedSize\": " + std::to_string(root->allocatedSize())) !=
                    std::string::npos);

        // A file that is no saved scan leaves the list again, with the reason.
        m_fx.writeText("broken.json", "[1,2,{},[{\"name\":");
        m_w.model->savedScans().open(m_fx.fullPath("broken.json"));
        QTRY_VERIFY(m_w.window->findChild<QMessageBox*>(QStringLiteral("savedScanAlert")));
        const QString alert =
            m_w.window->findChild<QMessageBox*>(QStringLiteral("savedScanAlert"))->text();
        QVERIFY2(alert.contains(QStringLiteral("broken.json")) && alert.contains(QStringLiteral("byte")),
                 qPrintable(alert));
        QCOMPARE(m_w.app->sidebar().savedScans().size(), std::size_t(1));
        QVERIFY(!m_w.window->showsMap());
    }

    void scanAsAdministratorThroughAStandIn() {
        ScanCoordinator& coordinator = m_w.model->coordinator();
        const Uuid home = m_w.app->sidebar().favorites().back().id;
        m_w.app->sidebar().setSelectedSourceID(home);
        QVERIFY(showsTree());
        const NodePtr before = chart().rootNode();

        // Refused (nothing written, a reason on standard error): the tree stays.
        coordinator.setElevation(elevation("refuse", "echo 'Not authorized' >&2; exit 127"),
                                 RINGFOLD_SCAN_BINARY);
        m_w.model->savedScans().scanAsAdministrator(home);
        QTRY_VERIFY(m_w.window->statusBar()->currentMessage().contains(QStringLiteral("Not authorized")));
        QVERIFY(showsTree() && chart().rootNode() == before);

        // Granted: the helper's export becomes the tree, as a scan would.
        const std::string marker = m_fx.fullPath("ran");
        coordinator.setElevation(elevation("grant", "touch '" + marker + "'; exec \"$@\""),
                                 RINGFOLD_SCAN_BINARY);
        m_w.model->savedScans().scanAsAdministrator(home);
        QTRY_VERIFY(chart().rootNode() != before && showsTree());
        QCOMPARE(chart().rootNode()->allocatedSize(), before->allocatedSize());
        QVERIFY(::access(marker.c_str(), F_OK) == 0);
        QVERIFY(!m_w.model->showsSavedScan()); // a live tree: the files can be acted on

        // Cancelled while the helper waits (for a password, say): the scan stops at once.
        coordinator.setElevation(elevation("slow", "sleep 30; exec \"$@\""), RINGFOLD_SCAN_BINARY);
        m_w.model->savedScans().scanAsAdministrator(home);
        QTRY_VERIFY(m_w.window->overlay()->isVisible());
        QElapsedTimer clock;
        clock.start();
        QTest::mouseClick(m_w.window->overlay()->cancelButton(), Qt::LeftButton);
        QTRY_VERIFY(!coordinator.hasPendingScans());
        QVERIFY(clock.elapsed() < 5000 && !m_w.window->showsMap());
    }
};

QTEST_MAIN(SavedScanWindowTest)
#include "SavedScanWindowTest.moc"
