// The main window offscreen over real scans of a fixture tree: breadcrumbs and map
// history, the commands, and the scanning overlay, whose scan the test releases step
// by step so that its counts can be seen to grow, from start to Cancel and to the map;
// the cleanup bar's buttons, and real trashes and moves through them.

#include "ui/MainWindow.h"
#include "ui/WindowTestSupport.h"
#include "app/AppTestSupport.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/operations/FileOperations.h"
#include "app/window/MainWindowModel.h"
#include "core/scan/ScanEngine.h"
#include "ui/BiggestFilesModel.h"
#include "ui/BiggestFilesView.h"
#include "ui/BreadcrumbView.h"
#include "ui/ChartView.h"
#include "ui/CleanupListBar.h"
#include "ui/FileListModel.h"
#include "ui/FileListView.h"
#include "ui/NodeTableView.h"
#include "ui/PanelStack.h"
#include "ui/PreviewPane.h"
#include "ui/ScanOverlay.h"
#include "ui/SheetPresenter.h"

#include <QAction>
#include <QDateTime>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QSlider>
#include <QTest>
#include <QToolButton>

#include <filesystem>
#include <fstream>
#include <thread>

using namespace ringfold;
using Panel = MainWindowModel::Panel;
namespace fs = std::filesystem;

static std::atomic<int> g_allowedSteps{1000};

// Scans "a", then "b" with the real engine into the shared progress, then returns the
// real scan of the whole folder; each of the three steps waits for the test's leave.
static std::optional<ScanResult> steppedScan(const std::string& path, std::stop_token stop,
                                             ScanProgress* progress) {
    ScanEngine engine(ScanSourceKind::favoriteFolder, 2);
    auto await = [&](int step) {
        while (g_allowedSteps.load() <= step && !stop.stop_requested())
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return !stop.stop_requested();
    };
    if (!await(0) || !engine.scan(path + "/a", stop, progress) || !await(1) ||
        !engine.scan(path + "/b", stop, progress) || !await(2))
        return std::nullopt;
    return engine.scan(path, stop);
}

// Its name needs escaping in the Trash's record of where it came from.
static constexpr std::string_view kNotes = "home/notes 100% \xc3\xbc.txt";

class MainWindowTest : public QObject {
    Q_OBJECT

    test::FixtureTree m_fx;
    test::TestWindow m_w;

    ChartViewModel& chart() { return m_w.app->chart(); }
    const Uuid& home() { return m_w.app->sidebar().favorites().back().id; }
    void focusChild(std::string_view name) {
        chart().focus(test::at(chart().focusedNode().get(), name));
    }
    QAction* action(const char* name) { return m_w.window->findChild<QAction*>(name); }
    NodePtr node(std::string_view rel) {
        FileNode* n = test::at(chart().rootNode().get(), rel);
        return n ? n->shared() : nullptr;
    }
    FileListView* folderView() {
        return static_cast<FileListView*>(m_w.window->panels()->panel(Panel::folder));
    }
    BiggestFilesView* biggestView() {
        return static_cast<BiggestFilesView*>(m_w.window->panels()->panel(Panel::biggestFiles));
    }
    bool scanHome() {
        m_w.app->sidebar().setSelectedSourceID(home());
        return QTest::qWaitFor([this] { return chart().rootNode() && m_w.window->showsMap(); });
    }

private slots:
    void initTestCase() {
        m_fx.writeFiles({{"home/a/x/1", 40000}, {"home/a/2", 9000}, {"home/b/3", 70000}});
        m_fx.writeFiles({{"home/b/c/4", 1000}, {"mountinfo", 0}});
        m_fx.writeFiles({{"home/cloud.nextcloud", 10}, {"home/empty.txt", 0}});
        m_fx.writeFile(kNotes, 5000);
        m_fx.deepChain("home/deep", 23, "a-rather-long-folder-name");
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(m_fx.fullPath("data")));
    }

    void init() {
        g_allowedSteps = 1000;
        QVERIFY(m_w.open(m_fx, false, [](MainWindowModel& model) {
            model.coordinator().setBackendFactory(apptest::fakeBackends(steppedScan));
        }));
    }

    void breadcrumbsAndHistory() {
        QVERIFY(scanHome());
        BreadcrumbView* bar = m_w.window->breadcrumb();
        QVERIFY(bar->crumbButtons().size() == 1 && !bar->backButton()->isEnabled() &&
                !bar->forwardButton()->isEnabled());

        focusChild("a"), focusChild("x");
        QCOMPARE(bar->crumbButtons().size(), 3);
        QCOMPARE(bar->crumbButtons().at(1)->text(), QStringLiteral("a"));

        // Back twice by the bar's button and the mouse's back button, forward once by the
        // mouse; the middle button is no history command.
        QTest::mouseClick(bar->backButton(), Qt::LeftButton);
        QCOMPARE(chart().focusedNode()->name(), "a");
        QTest::mouseClick(m_w.window->chartView(), Qt::BackButton);
        QCOMPARE(chart().focusedNode(), chart().rootNode());
        QVERIFY(!bar->backButton()->isEnabled() && bar->forwardButton()->isEnabled());
        QTest::mouseClick(m_w.window->chartView(), Qt::ForwardButton);
        QCOMPARE(chart().focusedNode()->name(), "a");
        QTest::mouseClick(m_w.window->chartView(), Qt::MiddleButton); // stays
        QCOMPARE(chart().focusedNode()->name(), "a");

        // A crumb focuses its folder. A deep path gives way to "…" after the root rather
        // than widening the window; home leaves for the drive gallery.
        QTest::mouseClick(bar->crumbButtons().at(0), Qt::LeftButton);
        QCOMPARE(chart().focusedNode(), chart().rootNode());
        for (int i = 0; i < 24; ++i)
            focusChild(i ? "a-rather-long-folder-name" : "deep");
        const auto crumbs = bar->crumbButtons();
        QCOMPARE(crumbs.size(), 25);
        QTRY_VERIFY(crumbs.first()->isVisible() && crumbs.last()->isVisible());
        QVERIFY(!crumbs.at(1)->isVisible() && m_w.window->minimumSizeHint().width() <= 760);
        QTest::mouseClick(bar->homeButton(), Qt::LeftButton);
        QTRY_VERIFY(!m_w.window->showsMap() && !m_w.app->sidebar().selectedSourceID());
    }

    void commands() {
        // On the gallery the map's mode and threshold have no map to act on.
        QVERIFY(!action("sunburst")->isEnabled() && !m_w.window->thresholdSlider()->isEnabled());
        QVERIFY(scanHome());
        QVERIFY(action("treemap")->isEnabled() && m_w.window->thresholdSlider()->isEnabled());
        m_w.window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_w.window.get()));
        QTest::keyClick(m_w.window.get(), Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(chart().visualizationMode(), VisualizationMode::treemap);
        QVERIFY(action("treemap")->isChecked() && !action("sunburst")->isChecked());
        QTest::keyClick(m_w.window.get(), Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(chart().visualizationMode(), VisualizationMode::sunburst);

        focusChild("b"), focusChild("c");
        QTest::keyClick(m_w.window.get(), Qt::Key_Up, Qt::ControlModifier);
        QCOMPARE(chart().focusedNode()->name(), "b");
        QTest::keyClick(m_w.window.get(), Qt::Key_Up, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(chart().focusedNode(), chart().rootNode());
        QVERIFY(!action("home")->isEnabled());

        m_w.window->thresholdSlider()->setValue(250);
        QCOMPARE(m_w.app->settings().smallerObjectsThresholdPercent(), 0.025);
        QCOMPARE(m_w.window->thresholdLabel()->text(), QStringLiteral("2.5%"));
        m_w.app->settings().setSmallerObjectsThresholdPercent(0.004);
        QCOMPARE(m_w.window->thresholdSlider()->value(), 40);

        // A favourite has no free space to show; Ctrl+R scans it again.
        QVERIFY(!action("showFreeSpace")->isEnabled());
        const NodePtr before = chart().rootNode();
        QTest::keyClick(m_w.window.get(), Qt::Key_R, Qt::ControlModifier);
        QTRY_VERIFY(chart().rootNode() && chart().rootNode() != before);
    }

    void scanningOverlay() {
        g_allowedSteps = 0;
        m_w.app->sidebar().setSelectedSourceID(home());
        ScanOverlay* overlay = m_w.window->overlay();
        QTRY_VERIFY(overlay->isVisible());
        QCOMPARE(overlay->titleLabel()->text(), QStringLiteral("Scanning home…"));
        QCOMPARE(overlay->shownItems(), 0);

        g_allowedSteps = 1;
        QTRY_VERIFY(overlay->shownItems() > 0);
        const std::int64_t afterA = overlay->shownItems(), bytesA = overlay->shownBytes();
        QVERIFY(bytesA >= 49000);
        g_allowedSteps = 2;
        QTRY_VERIFY(overlay->shownItems() > afterA && overlay->shownBytes() > bytesA);

        // Cancel returns to the gallery; the next selection scans to the end.
        QTest::mouseClick(overlay->cancelButton(), Qt::LeftButton);
        QVERIFY(!overlay->isVisible() && !m_w.window->showsMap() &&
                !m_w.app->sidebar().selectedSourceID());

        g_allowedSteps = 1000;
        QVERIFY(scanHome() && !overlay->isVisible());
        QCOMPARE(m_w.window->breadcrumb()->crumbButtons().size(), 1);
        QCOMPARE(m_w.window->windowTitle(), QStringLiteral("home — Ringfold"));
    }

    // What the bar offers for what the list holds ("E" enabled, "-" disabled, "h"
    // hidden: copy, move, remove download, trash, clear), and no new operation while one
    // runs.
    void cleanupBarEnablement() {
        QVERIFY(scanHome());
        CleanupListBar* bar = m_w.window->cleanupBar();
        CleanupListStore& list = m_w.app->cleanupList();
        auto buttons = [bar] {
            QString out;
            for (QPushButton* b :
                 {bar->copyButton(), bar->moveButton(), bar->removeDownloadButton(),
                  bar->trashButton(), bar->clearButton()})
                out += b->isHidden() ? 'h' : b->isEnabled() ? 'E' : '-';
            return out;
        };
        const std::pair<std::vector<const char*>, const char*> cases[] = {
            {{}, "-----"},
            {{"cloud.nextcloud"}, "EE--E"}, // only placeholders: nothing to trash
            {{"empty.txt"}, "---EE"},       // nothing to move or copy
            {{"a", "cloud.nextcloud"}, "EE-EE"},
        };
        for (const auto& [items, expected] : cases) {
            list.clear();
            for (const char* item : items)
                list.add(node(item));
            QCOMPARE(buttons(), QString(expected));
        }

        std::atomic<bool> entered{false}, release{false};
        m_w.model->fileOperations().setMover(
            [&](const std::string& from, const std::string& to, FileTransfer::Report* r) {
                entered = true;
                while (!release)
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                return FileTransfer::move(from, to, r);
            });
        m_fx.makeFolder("parked");
        m_w.model->moveTo({node("empty.txt")}, QString::fromStdString(m_fx.fullPath("parked")));
        QTRY_VERIFY(entered.load());
        QVERIFY(bar->cancelButton()->isVisible());
        QCOMPARE(buttons(), QStringLiteral("----E"));
        release = true;
        QTRY_VERIFY(!m_w.model->operationRunning());
        QCOMPARE(buttons(), QStringLiteral("EE-EE"));
    }

    // Last: it trashes and moves the fixture's files. The bar and Delete open the
    // sheets, the operations run off the GUI thread, and a failure ends in the one alert.
    void cleanupBarSheetsAndAlert() {
        m_fx.writeFile("home/deep/f", 10);
        QVERIFY(scanHome());
        SheetPresenter* sheets = m_w.window->sheets();
        sheets->setFolderChooser(
            [this](QWidget*) { return QString::fromStdString(m_fx.fullPath("dest")); });
        m_fx.makeFolder("dest");
        CleanupListBar* bar = m_w.window->cleanupBar();
        CleanupListStore& list = m_w.app->cleanupList();
        auto run = [&](const std::function<void()>& start, const QString& title) {
            start();
            QTRY_VERIFY(sheets->currentDialog() && sheets->currentDialog()->isVisible());
            QCOMPARE(sheets->currentDialog()->windowTitle(), title);
            sheets->currentDialog()->accept();
            QTRY_VERIFY(!m_w.model->operationRunning());
            QCoreApplication::processEvents(); // the window takes the result on its next turn
        };
        auto click = [](QPushButton* button) {
            return [button] { QTest::mouseClick(button, Qt::LeftButton); };
        };

        // Delete takes the selected file along with the list.
        const std::string notesName(kNotes.substr(5));
        const NodePtr gone[] = {node("a"), node("a/x/1"), node("b/c"), node(notesName)};
        m_w.model->setSelectedNode(gone[3]);
        for (const char* name : {"a", "b/c"})
            list.add(node(name));
        QCOMPARE(bar->countText(), QStringLiteral("2 items selected"));
        run([this] { action("moveToTrash")->trigger(); }, QStringLiteral("Move 3 items to Trash?"));
        QCOMPARE(bar->countText(), QStringLiteral("No items in cleanup list"));
        for (const std::string& name : {std::string("a"), std::string("c"), notesName})
            QVERIFY2(fs::exists(m_fx.fullPath("data/Trash/files/" + name)), name.c_str());
        QVERIFY(!fs::exists(m_fx.fullPath("home/a")) && !fs::exists(m_fx.fullPath(kNotes)));
        // Its record says where it came from, escaped like a URL, and when it went.
        std::ifstream in(m_fx.fullPath("data/Trash/info/" + notesName + ".trashinfo"));
        std::string header, path, date;
        std::getline(in, header), std::getline(in, path), std::getline(in, date);
        QCOMPARE(header, std::string("[Trash Info]"));
        QVERIFY(path.starts_with("Path=") && date.starts_with("DeletionDate="));
        QCOMPARE(QByteArray::fromPercentEncoding(QByteArray::fromStdString(path.substr(5))),
                 QByteArray::fromStdString(m_fx.fullPath(kNotes)));
        QVERIFY(
            QDateTime::fromString(QString::fromStdString(date.substr(13)), Qt::ISODate).isValid());

        // The map and the lists have let go of them without a rescan, and nothing is
        // selected: not a neighbouring row either, so a second Delete offers nothing.
        FileListModel& folderRows = *folderView()->tableModel();
        BiggestFilesModel& biggestRows = *biggestView()->tableModel();
        for (const NodePtr& n : gone) {
            QVERIFY(folderRows.rowOf(n.get()) < 0 && biggestRows.rowOf(n.get()) < 0);
            for (const MapSegment& segment : m_w.window->chartView()->segments())
                QVERIFY(segment.node != n);
        }
        QVERIFY(!node("a") && !node("b/c") && node("b/3"));
        QVERIFY(!m_w.model->selectedNode() && !chart().mapSelectionID() &&
                !m_w.window->previewPane()->node() && !folderView()->table()->selectedRowNode() &&
                !biggestView()->table()->selectedRowNode());
        action("moveToTrash")->trigger();
        QVERIFY(!m_w.model->activeSheet());

        list.add(node("b"));
        m_fx.remove("home/b/3"); // behind the tree's back: the move still goes
        run(click(bar->moveButton()), QStringLiteral("Move 1 item to a new location?"));
        QVERIFY(fs::exists(m_fx.fullPath("dest/b")) && list.isEmpty());
        // A folder of that name is there already: the move fails, says so, and leaves
        // both where they were.
        list.add(node("deep"));
        m_fx.makeFolder("dest/deep");
        run(click(bar->moveButton()), QStringLiteral("Move 1 item to a new location?"));
        QTRY_VERIFY(qobject_cast<QMessageBox*>(sheets->currentDialog()));
        QCOMPARE(qobject_cast<QMessageBox*>(sheets->currentDialog())->informativeText(),
                 QStringLiteral("deep: File exists"));
        QCOMPARE(bar->countText(), QStringLiteral("1 item selected"));
        QVERIFY(fs::exists(m_fx.fullPath("home/deep/f")) && node("deep/f") &&
                fs::is_empty(m_fx.fullPath("dest/deep")));
    }
};

QTEST_MAIN(MainWindowTest)
#include "MainWindowTest.moc"
