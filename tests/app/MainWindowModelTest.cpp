// The main window's decisions without widgets, on a real scan of a fixture home folder
// (a favourite) with a.mp3, big.bin, docs/{notes.md,b.pdf} and high-confidence junk in
// .cache/thumbnails. Trashed items land in the fixture's own home trash ("data").

#include "app/window/MainWindowModel.h"
#include "app/coordination/AppState.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/viewmodels/BiggestFilesViewModel.h"
#include "app/viewmodels/CategoriesViewModel.h"
#include "app/viewmodels/FileListViewModel.h"
#include "app/viewmodels/SystemJunkViewModel.h"
#include "app/window/Endpoints.h"

#include "AppTestSupport.h"

#include <QDir>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUrlQuery>

#include <ctime>

using namespace ringfold;
using apptest::names;
using Sheet = MainWindowModel::Sheet;
using Operation = MainWindowModel::Operation;

class MainWindowModelTest : public QObject {
    Q_OBJECT

    test::FixtureTree m_fx;
    std::unique_ptr<QTemporaryDir> m_state;
    std::unique_ptr<QSettings> m_settings;
    std::unique_ptr<AppState> m_app;
    std::unique_ptr<MainWindowModel> m_window;

    NodePtr node(const char* relative) {
        return apptest::findShared(m_app->chart().rootNode(), QString::fromLatin1(relative));
    }
    // Selects the home folder and waits for its tree and its junk classification.
    bool showHome() {
        m_app->sidebar().setSelectedSourceID(m_app->sidebar().favorites().back().id);
        return QTest::qWaitFor(
            [this] { return m_app->chart().rootNode() && !m_window->systemJunk().isClassifying(); },
            20000);
    }

private slots:
    void initTestCase() {
        m_fx.makeFolder("data");
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(m_fx.fullPath("data")));
    }

    void init() {
        m_window.reset(); // before the state it was built on
        // Written afresh for every test: the trash test takes some away.
        m_fx.writeFiles({{"home/.cache/thumbnails/t.png", 4096}, {"home/Music/a.mp3", 300000}});
        m_fx.writeFiles({{"home/docs/notes.md", 20000}, {"home/docs/b.pdf", 50000}});
        m_fx.writeFiles({{"home/big.bin", 100000}, {"mountinfo", 0}});
        m_state = std::make_unique<QTemporaryDir>();
        m_settings = std::make_unique<QSettings>(m_state->filePath("s.conf"), QSettings::IniFormat);
        m_app = apptest::makeAppState(m_settings.get(), m_state->filePath("favorites.json"),
                                      m_fx.fullPath("mountinfo"));
        m_app->sidebar().addFavorite(m_fx.fullPath("home"));

        MainWindowModel::Options window;
        window.systemJunk = std::make_unique<SystemJunkViewModel>(
            [](std::vector<std::string>) {
                return QtFuture::makeReadyFuture(SystemJunkViewModel::Orphans{});
            },
            [home = m_fx.fullPath("home")] { return JunkPlaces::forHome(home); },
            [] { return Timestamp(std::time(nullptr)); });
        m_window = std::make_unique<MainWindowModel>(*m_app, std::move(window));
        m_window->coordinator().setDiagnostics(nullptr);
        m_window->start();
    }

    void aNewRootRebuildsThePanelsAndSettingsRebuildTheirOwn() {
        QVERIFY(m_window->showsDriveGallery());
        m_app->sidebar().setSelectedSourceID(m_app->sidebar().favorites().back().id);
        QVERIFY(m_window->showsScanOverlay() && !m_window->showsDriveGallery());
        QVERIFY(showHome() && !m_window->showsScanOverlay());

        const auto& biggest = m_window->biggestFiles().entries();
        QVERIFY(biggest.size() == 5 && biggest[0].node->name() == "a.mp3");
        QCOMPARE(m_window->categories().summaries().front().category, FileCategory::audio);
        const FileListViewModel& list = m_window->fileList();
        QCOMPARE(list.displayRows().front()->name(), std::string_view("Music"));
        QCOMPARE(m_window->systemJunk().groups().size(), std::size_t(1));
        QCOMPARE(names(m_app->cleanupList().items()), QStringList{"thumbnails"}); // pre-selected

        QSignalSpy entries(&m_window->biggestFiles(), &BiggestFilesViewModel::entriesChanged);
        QSignalSpy categories(&m_window->categories(), &CategoriesViewModel::summariesChanged);
        QSignalSpy rows(&m_window->fileList(), &FileListViewModel::displayRowsChanged);
        m_app->settings().setBiggestFilesLimit(100); // the same five files: nothing new
        m_app->settings().setBiggestFilesLimit(1);
        QVERIFY(biggest.size() == 1 && entries.count() == 1); // one signal, the second change's
        m_app->settings().setSortFoldersToTop(false);
        QCOMPARE(list.displayRows()[1]->name(), std::string_view("big.bin"));
        QCOMPARE(categories.count() + rows.count(), 1);

        m_window->showDriveGallery();
        QVERIFY(!m_app->chart().rootNode() && m_window->showsDriveGallery());
        QCOMPARE(biggest.size() + m_window->categories().summaries().size() +
                     m_window->systemJunk().groups().size() + list.displayRows().size(),
                 std::size_t(0));
    }

    void fileOperationResultsArriveLaterAndRefreshInOrder() {
        QVERIFY(showHome());
        QStringList order;
        auto record = [&](auto* model, auto signal, const char* name) {
            connect(model, signal, this, [&order, name] { order << name; });
        };
        record(&m_window->fileList(), &FileListViewModel::revisionChanged, "revision");
        record(&m_window->fileList(), &FileListViewModel::displayRowsChanged, "rows");
        record(&m_window->biggestFiles(), &BiggestFilesViewModel::entriesChanged, "biggest");
        record(&m_window->categories(), &CategoriesViewModel::summariesChanged, "categories");
        m_app->cleanupList().add(node("big.bin"));
        m_app->cleanupList().add(node("docs/b.pdf"));
        m_fx.remove("home/docs/b.pdf"); // gone behind the tree's back: its trash fails

        m_window->requestTrashOfCleanupList();
        QVERIFY(m_window->activeSheet() && m_window->activeSheet()->kind == Sheet::Kind::trash);
        QCOMPARE(names(m_window->activeSheet()->nodes),
                 (QStringList{"thumbnails", "big.bin", "b.pdf"}));
        m_window->confirmTrash(); // on the worker: the tree changes on later turns
        QVERIFY(!m_window->activeSheet() && m_window->operationRunning() && node("big.bin"));
        QVERIFY(m_window->operationStatus().startsWith("Moving to Trash"));
        m_window->requestTrash(node("big.bin")); // one operation at a time
        QVERIFY(!m_window->activeSheet());

        QTRY_VERIFY(m_window->showingErrorAlert());
        QVERIFY(!node("big.bin") &&
                !QFile::exists(QString::fromStdString(m_fx.fullPath("home/big.bin"))));
        QVERIFY(!m_window->operationRunning() && m_window->operationStatus().isEmpty());
        QCOMPARE(m_app->sidebar().favorites().back().lastScanAllocatedSize,
                 m_app->chart().rootNode()->allocatedSize()); // the sidebar's "indexed" size
        QCOMPARE(order, (QStringList{"revision", "rows", "biggest", "categories"}));
        QCOMPARE(m_window->errorAlertMessage(), QStringLiteral("b.pdf: No such file or directory"));
        QCOMPARE(names(m_app->cleanupList().items()), QStringList{"b.pdf"});
    }

    // A move that stopped half-way succeeded at nothing, yet took part of its item out
    // of the tree: the panels must not go on showing it.
    void aHalfFinishedMoveRefreshesThePanels() {
        QVERIFY(showHome());
        const std::string gone = m_fx.fullPath("home/docs/b.pdf");
        m_window->fileOperations().setMover(
            [&](const std::string&, const std::string&, FileTransfer::Report* r) {
                ::unlink(gone.c_str());
                r->entriesLeft = 1;
                r->leftBehind = {"docs", "docs/notes.md"};
                return EPERM;
            });
        m_window->moveTo({node("docs")}, QString::fromStdString(m_fx.fullPath("data")));
        QTRY_VERIFY(m_window->showingErrorAlert());
        QVERIFY(!node("docs/b.pdf") && node("docs/notes.md"));
        for (const auto& entry : m_window->biggestFiles().entries())
            QVERIFY(entry.node->name() != "b.pdf");
        QCOMPARE(m_window->biggestFiles().entries().size(), std::size_t(4));
    }

    // A folder whose path is not UTF-8 reaches the window as text with U+FFFD in it:
    // refused, rather than read as its look-alike.
    void aChosenFolderThatTextCannotNameIsRefused() {
        QVERIFY(showHome());
        m_fx.makeFolder("to\xff");
        m_fx.makeFolder("to\xEF\xBF\xBD");
        const QString chosen =
            QFile::decodeName(QByteArray::fromStdString(m_fx.fullPath("to\xff")));
        for (auto transfer : {&MainWindowModel::copyTo, &MainWindowModel::moveTo}) {
            m_window->dismissErrorAlert();
            (m_window.get()->*transfer)({node("big.bin")}, chosen);
            QVERIFY(!m_window->operationRunning() && m_window->showingErrorAlert());
            QCOMPARE(m_window->operationErrors().at(0).message,
                     MainWindowModel::unnamableFolderMessage());
        }
        QVERIFY(QDir(QString::fromStdString(m_fx.fullPath("to\xEF\xBF\xBD"))).isEmpty());
        QVERIFY(node("big.bin"));
    }

    void coffeeMomentOncePerLaunchFromOneGiB() {
        constexpr std::int64_t GiB = MainWindowModel::kCoffeeMomentBytes;
        using Shown = std::optional<std::int64_t>;
        for (auto [operation, reportsReclaimed, bytes, shown] :
             {std::tuple{Operation::trash, true, GiB - 1, Shown()},
              {Operation::removeDownload, false, 2 * GiB, Shown()}, // a row's
              {Operation::trash, true, GiB, Shown(GiB)},
              {Operation::trash, true, 3 * GiB, Shown()}}) { // once per launch
            m_window->dismissCoffeeMoment();
            emit m_window->operationFinished({operation, {{}, bytes, 1}, reportsReclaimed});
            QVERIFY(!m_window->coffeeMomentBytes()); // applied on a later turn
            QCoreApplication::processEvents();
            QCOMPARE(m_window->coffeeMomentBytes(), shown);
        }
    }

    void sheetsSelectionAndCommands() {
        QVERIFY(showHome());
        const NodePtr big = node("big.bin");
        m_window->requestTrash(node(".cache")); // hidden, and hidden items are locked
        QVERIFY(!m_window->activeSheet());
        m_window->setSelectedNode(big);
        m_window->deleteCommand();
        QCOMPARE(names(m_window->activeSheet()->nodes), (QStringList{"thumbnails", "big.bin"}));
        m_window->requestMove(big);
        QVERIFY(m_window->activeSheet()->kind == Sheet::Kind::move);
        m_window->confirmTrash(); // not a trash sheet: nothing happens
        QCOMPARE(names(m_window->confirmMove()), QStringList{"big.bin"});
        QVERIFY(!m_window->activeSheet() && m_window->confirmMove().empty());
        m_window->showInfoForSelection();
        QVERIFY(m_window->activeSheet()->kind == Sheet::Kind::itemInfo);
        m_window->dismissSheet();

        // A new tree of the same files: new nodes, the same total, and the selection
        // belonged to the old tree.
        const NodePtr oldRoot = m_app->chart().rootNode();
        QSignalSpy total(&m_window->categories(), &CategoriesViewModel::totalBytesChanged);
        QSignalSpy summaries(&m_window->categories(), &CategoriesViewModel::summariesChanged);
        m_window->rescanSelectedSource();
        QTRY_VERIFY(m_app->chart().rootNode() && m_app->chart().rootNode() != oldRoot);
        QVERIFY(!m_window->selectedNode() && total.count() == 0 && summaries.count() == 1);

        m_window->rescanSelectedSource();
        m_window->cancelScan(); // the overlay's Cancel: back to the gallery
        QVERIFY(m_window->showsDriveGallery() && !m_window->showsScanOverlay() &&
                !m_app->chart().rootNode());
    }

    void supportMailDecodesToItsSubjectAndBody() {
        for (auto [version, subject] :
             {std::pair{QString("1.2"), QString("Ringfold 1.2 (77) — support")},
              {QString(), QString("Ringfold ? (77) — support")}}) {
            const QUrlQuery q(
                endpoints::supportMail(version, "77", "Debian GNU/Linux 12 (bookworm)"));
            QCOMPARE(q.queryItemValue("subject", QUrl::FullyDecoded), subject);
            QCOMPARE(q.queryItemValue("body", QUrl::FullyDecoded),
                     QString("\n\n—\nRingfold %1 (build 77)\nDebian GNU/Linux 12 (bookworm)")
                         .arg(version.isEmpty() ? "?" : version));
        }
    }
};

QTEST_GUILESS_MAIN(MainWindowModelTest)
#include "MainWindowModelTest.moc"
