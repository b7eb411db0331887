// The scan lifecycle with real scans of favourite fixture folders A, B and Big (200
// files). The selection reaches the coordinator directly, as in the window. Outcomes
// come back through the event loop, so between two of its turns a scan the test
// started is still running for the main thread, whatever its thread has done.

#include "app/coordination/ScanCoordinator.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "app/viewmodels/SidebarViewModel.h"

#include "AppTestSupport.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include <atomic>
#include <stdexcept>
#include <thread>

using namespace ringfold;

class ScanCoordinatorTest : public QObject {
    Q_OBJECT

    test::FixtureTree m_fx;
    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<SidebarViewModel> m_sidebar;
    std::unique_ptr<ChartViewModel> m_chart;
    std::unique_ptr<CleanupListStore> m_cleanup;
    std::unique_ptr<ScanCoordinator> m_coordinator;
    std::FILE* m_diagnostics = nullptr;
    Uuid a, b, big; // the favourites
    void select(std::optional<Uuid> id) { m_sidebar->setSelectedSourceID(id); }
    // Lets every scan thread, current and stopped, report back.
    bool settle() {
        return QTest::qWaitFor([this] { return !m_coordinator->hasPendingScans(); }, 20000);
    }
    // Settles; true if `id` stopped "scanning" only once its own outcome was cached.
    bool endsOnlyOnceCached(const Uuid& id) {
        bool cachedWhenEnded = false;
        const auto c = connect(m_sidebar.get(), &SidebarViewModel::scanningSourceIDChanged, this,
                               [&] { cachedWhenEnded = m_coordinator->scanCache().count(id); });
        const bool settled = settle();
        disconnect(c);
        return settled && cachedWhenEnded;
    }
    std::string rootURL() const {
        return m_chart->rootNode() ? m_chart->rootNode()->url() : std::string("<none>");
    }
    QByteArray diagnostics() {
        std::fflush(m_diagnostics);
        return apptest::readAll(m_home->filePath("diagnostics"));
    }

private slots:
    void initTestCase() {
        m_fx.writeFiles({{"A/x.bin", 10000}, {"A/sub/y.bin", 20000}, {"B/z.bin", 30000}});
        for (int i = 0; i < 200; ++i)
            m_fx.writeFile("Big/d" + std::to_string(i / 10) + "/f" + std::to_string(i % 10), 10);
        m_fx.writeFile("mountinfo", 0);
    }

    void init() {
        m_coordinator.reset(); // the last test's, before what it reports to
        if (m_diagnostics)
            std::fclose(m_diagnostics);
        m_home = std::make_unique<QTemporaryDir>();
        m_sidebar = std::make_unique<SidebarViewModel>(
            std::make_unique<FavoritesStore>(m_home->filePath("favorites.json")),
            SidebarViewModel::Options{.mountInfoPath = m_fx.fullPath("mountinfo"),
                                      .systemPaths = {},
                                      .watchVolumes = false});
        for (auto [id, name] : {std::pair{&a, "A"}, {&b, "B"}, {&big, "Big"}}) {
            m_sidebar->addFavorite(m_fx.fullPath(name));
            *id = m_sidebar->favorites().back().id;
        }
        m_chart = std::make_unique<ChartViewModel>();
        m_cleanup = std::make_unique<CleanupListStore>();
        m_coordinator = std::make_unique<ScanCoordinator>(*m_sidebar, *m_chart, *m_cleanup);
        m_diagnostics = std::fopen(qPrintable(m_home->filePath("diagnostics")), "w");
        m_coordinator->setDiagnostics(m_diagnostics);
        connect(m_sidebar.get(), &SidebarViewModel::selectedSourceIDChanged, m_coordinator.get(),
                &ScanCoordinator::handleSelectionChange);
    }

    void scanOfTheSelectedSourceReachesMapCacheAndRecord() {
        QSignalSpy cache(m_coordinator.get(), &ScanCoordinator::scanCacheChanged);
        select(big);
        QCOMPARE(m_sidebar->scanningSourceID(), std::optional<Uuid>(big));
        const auto progress = m_coordinator->currentProgress();
        QVERIFY(progress && !m_chart->rootNode()); // nothing shown until the scan is done
        QVERIFY(settle());

        QVERIFY(!m_sidebar->scanningSourceID() && !m_coordinator->currentProgress());
        QVERIFY(progress->itemCount() >= 200 && progress->folderCount() >= 21);
        QCOMPARE(rootURL(), m_fx.fullPath("Big"));
        QVERIFY(!m_chart->isVolumeRootedSource()); // a favourite folder
        QCOMPARE(cache.count(), 1);
        const CachedScan& entry = m_coordinator->scanCache().at(big);
        QCOMPARE(entry.root, m_chart->rootNode());
        QVERIFY(m_sidebar->source(big)->lastScanDate == entry.date &&
                m_sidebar->source(big)->lastScanAllocatedSize == entry.root->allocatedSize());
        QVERIFY(diagnostics().startsWith("[BulkScanEngine] scan complete: "));
    }

    void cachedSourceShowsAtOnceWhileAnotherScanRunsAndLateScansStayHidden() {
        select(a);
        QVERIFY(settle());
        const NodePtr cachedA = m_chart->rootNode();

        select(big);
        QCOMPARE(m_chart->rootNode(), cachedA); // the old tree stays while scanning
        QSignalSpy selection(m_sidebar.get(), &SidebarViewModel::selectedSourceIDChanged);
        select(a);
        QCOMPARE(selection.count(), 1); // no clearing and restoring on the way
        QCOMPARE(m_chart->rootNode(), cachedA);
        QVERIFY(!m_sidebar->scanningSourceID());

        // B starts before the stopped scan has reported back; whichever outcome arrives
        // first, B stays the scan in progress until its own outcome has been cached.
        select(b);
        QVERIFY(endsOnlyOnceCached(b));
        QVERIFY(!diagnostics().contains("[ScanCoordinator]"));
        QVERIFY(!m_coordinator->scanCache().count(big) && !m_sidebar->source(big)->lastScanDate);
        QCOMPARE(rootURL(), m_fx.fullPath("B"));

        // A scan that ends after the selection moved on unseen (it finished just
        // before the stop) is cached and recorded, but not shown.
        select(big);
        {
            QSignalBlocker unseen(m_sidebar.get());
            m_sidebar->setSelectedSourceID(b);
        }
        QVERIFY(settle());
        QVERIFY(m_coordinator->scanCache().count(big) && m_sidebar->source(big)->lastScanDate);
        QCOMPARE(rootURL(), m_fx.fullPath("B"));
    }

    void deselectingOrLosingTheSourceClearsTheMap() {
        select(a);
        QVERIFY(settle());
        select(big);
        select(std::nullopt); // while scanning
        QVERIFY(!m_sidebar->scanningSourceID() && !m_chart->rootNode() && !m_chart->focusedNode());
        QVERIFY(settle());
        QVERIFY(!m_chart->rootNode() && m_coordinator->scanCache().size() == 1);

        select(a);
        m_sidebar->removeFavorite(a);      // clears the selection itself
        m_sidebar->setSelectedSourceID(a); // a stale id, as a late view might set
        QVERIFY(!m_sidebar->selectedSourceID() && !m_chart->rootNode());
    }

    void rescanKeepsOneScanAndDropsOnlyTheReplacedTreesItems() {
        select(a);
        QVERIFY(settle());
        std::weak_ptr<FileNode> oldA = m_chart->rootNode();
        // Marked in the tree the rescan replaces, and in other trees of the same
        // paths (as a scan of "/" holds every other drive's paths).
        auto otherA = apptest::scanFolder(QString::fromStdString(m_fx.fullPath("A")));
        m_cleanup->add(apptest::findShared(oldA.lock(), "x.bin"));
        m_cleanup->add(apptest::findShared(otherA->root, "sub/y.bin"));
        select(b);
        QVERIFY(settle());
        m_cleanup->add(apptest::findShared(m_chart->rootNode(), "z.bin"));

        // Not selected: rescan selects it, which starts the scan.
        QSignalSpy cache(m_coordinator.get(), &ScanCoordinator::scanCacheChanged);
        m_coordinator->rescan(a);
        QCOMPARE(cache.count(), 1);
        QCOMPARE(m_sidebar->scanningSourceID(), std::optional<Uuid>(a));
        QVERIFY(!m_coordinator->scanCache().count(a) && !m_sidebar->source(a)->lastScanDate);
        QVERIFY(settle());
        QCOMPARE(rootURL(), m_fx.fullPath("A"));
        QCOMPARE(m_cleanup->count(), std::size_t(2));
        QCOMPARE(m_cleanup->items()[0]->url(), m_fx.fullPath("A/sub/y.bin"));
        QCOMPARE(m_cleanup->items()[1]->url(), m_fx.fullPath("B/z.bin"));
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(oldA.expired());

        // Selected: the scan starts at once and the map keeps its tree meanwhile.
        const NodePtr secondA = m_chart->rootNode();
        m_coordinator->rescan(a);
        QCOMPARE(m_sidebar->scanningSourceID(), std::optional<Uuid>(a));
        QCOMPARE(m_chart->rootNode(), secondA);
        QVERIFY(settle());
        QVERIFY(m_chart->rootNode() != secondA);

        // While scanning it: the stopped scan reports first, and the source must stay
        // "scanning" until the second scan is done and cached.
        select(big);
        m_coordinator->rescan(big);
        QCOMPARE(m_sidebar->scanningSourceID(), std::optional<Uuid>(big));
        QVERIFY(endsOnlyOnceCached(big));
        QCOMPARE(rootURL(), m_fx.fullPath("Big"));
    }

    void failuresAreReportedCancelStopsAndDestructionJoins() {
        enum { fail, noResult, blockUntilStopped } mode = fail; // one scan thread at a time
        std::atomic<int> stopped{0};
        m_coordinator->setBackendFactory(
            apptest::fakeBackends([&](const std::string&, std::stop_token stop,
                                      ScanProgress*) -> std::optional<ScanResult> {
                if (mode == fail)
                    throw std::runtime_error("disk on fire");
                while (mode == blockUntilStopped && !stop.stop_requested())
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                if (mode == blockUntilStopped) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(50));
                    ++stopped;
                }
                return std::nullopt;
            }));
        select(a);
        QVERIFY(settle());
        mode = noResult;
        m_coordinator->rescan(a);
        QVERIFY(settle());
        const QByteArray lines("[ScanCoordinator] scan failed: disk on fire\n"
                               "[ScanCoordinator] scan failed: the scanner returned no result\n");
        QCOMPARE(diagnostics(), lines);
        QVERIFY(!m_sidebar->scanningSourceID() && !m_coordinator->scanCache().count(a) &&
                !m_sidebar->source(a)->lastScanDate && !m_chart->rootNode());

        mode = blockUntilStopped;
        m_coordinator->rescan(a);
        m_sidebar->cancelScan(); // the overlay's Cancel reaches the scan thread
        QVERIFY(settle());
        QVERIFY(stopped == 1 && !m_sidebar->selectedSourceID());
        select(b);
        QVERIFY(m_coordinator->hasPendingScans());
        m_coordinator.reset(); // returns only once the scan thread has ended
        QCOMPARE(stopped.load(), 2);
        QCOMPARE(diagnostics(), lines); // nothing about cancelled scans
    }
};

QTEST_GUILESS_MAIN(ScanCoordinatorTest)
#include "ScanCoordinatorTest.moc"
