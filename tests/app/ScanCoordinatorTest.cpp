// The scan lifecycle with real scans of fixture folders registered as favourites:
//   A (x.bin, sub/y.bin), B (z.bin), Big (200 files in 20 folders).
// The selection reaches the coordinator directly, as in the window. Outcomes come
// back through the event loop, so between two turns of it a scan the test started is
// still running from the main thread's point of view, whatever its thread has done.

#include "app/coordination/ScanCoordinator.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "app/viewmodels/SidebarViewModel.h"

#include "AppTestSupport.h"
#include "support/FixtureTree.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <thread>

using namespace ringfold;

namespace {

// A back-end that runs a test's function instead of reading the disk.
struct FakeBackend : ScanBackend {
    std::function<std::optional<ScanResult>(std::stop_token)> run;
    std::optional<ScanResult> scan(const std::string&, std::stop_token stop,
                                   ScanProgress*) override {
        return run(stop);
    }
};

QByteArray readAll(std::FILE* file) {
    std::fflush(file);
    std::rewind(file);
    QByteArray out;
    char buf[512];
    while (std::size_t n = std::fread(buf, 1, sizeof buf, file))
        out.append(buf, qsizetype(n));
    return out;
}

} // namespace

class ScanCoordinatorTest : public QObject {
    Q_OBJECT

    test::FixtureTree m_fx;
    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<SidebarViewModel> m_sidebar;
    std::unique_ptr<ChartViewModel> m_chart;
    std::unique_ptr<CleanupListStore> m_cleanup;
    std::unique_ptr<ScanCoordinator> m_coordinator;
    std::FILE* m_diagnostics = nullptr;

    Uuid favorite(const char* name) {
        for (const ScanSource& f : m_sidebar->favorites())
            if (f.url == m_fx.fullPath(name))
                return f.id;
        qFatal("no favourite %s", name);
    }
    void select(std::optional<Uuid> id) { m_sidebar->setSelectedSourceID(id); }
    // Lets every scan thread, current and stopped, report back.
    bool settle() {
        return QTest::qWaitFor([this] { return !m_coordinator->hasPendingScans(); }, 20000);
    }
    // Settles; true if `id` stopped "scanning" only once its own outcome was cached.
    bool endsOnlyOnceCached(const Uuid& id) {
        std::optional<bool> cachedWhenEnded;
        const auto c =
            connect(m_sidebar.get(), &SidebarViewModel::scanningSourceIDChanged, this, [&] {
                if (!cachedWhenEnded && !m_sidebar->scanningSourceID())
                    cachedWhenEnded = m_coordinator->scanCache().count(id) == 1;
            });
        const bool settled = settle();
        disconnect(c);
        return settled && cachedWhenEnded.value_or(false);
    }
    std::string rootURL() const {
        return m_chart->rootNode() ? m_chart->rootNode()->url() : std::string("<none>");
    }
    void useBackend(std::function<std::optional<ScanResult>(std::stop_token)> run) {
        m_coordinator->setBackendFactory([run](const ScanSource&, std::FILE*) {
            auto backend = std::make_unique<FakeBackend>();
            backend->run = run;
            return backend;
        });
    }

private slots:
    void initTestCase() {
        m_fx.writeFiles({{"A/x.bin", 10000}, {"A/sub/y.bin", 20000}, {"B/z.bin", 30000}});
        for (int d = 0; d < 20; ++d)
            for (int f = 0; f < 10; ++f)
                m_fx.writeFile("Big/d" + std::to_string(d) + "/f" + std::to_string(f), 10);
        m_fx.writeFile("mountinfo", 0);
    }

    void init() {
        m_home = std::make_unique<QTemporaryDir>();
        SidebarViewModel::Options options;
        options.mountInfoPath = m_fx.fullPath("mountinfo");
        options.watchVolumes = false;
        m_sidebar = std::make_unique<SidebarViewModel>(
            std::make_unique<FavoritesStore>(m_home->filePath("favorites.json")), options);
        for (const char* name : {"A", "B", "Big"})
            m_sidebar->addFavorite(m_fx.fullPath(name));
        m_chart = std::make_unique<ChartViewModel>();
        m_cleanup = std::make_unique<CleanupListStore>();
        m_coordinator = std::make_unique<ScanCoordinator>(*m_sidebar, *m_chart, *m_cleanup);
        m_diagnostics = std::tmpfile();
        m_coordinator->setDiagnostics(m_diagnostics);
        connect(m_sidebar.get(), &SidebarViewModel::selectedSourceIDChanged, m_coordinator.get(),
                &ScanCoordinator::handleSelectionChange);
    }

    void cleanup() {
        m_coordinator.reset();
        m_cleanup.reset();
        m_chart.reset();
        m_sidebar.reset();
        std::fclose(m_diagnostics);
    }

    void scanOfTheSelectedSourceReachesMapCacheAndRecord() {
        const Uuid big = favorite("Big");
        QSignalSpy cache(m_coordinator.get(), &ScanCoordinator::scanCacheChanged);
        select(big);
        QCOMPARE(m_sidebar->scanningSourceID(), std::optional<Uuid>(big));
        const auto progress = m_coordinator->currentProgress();
        QVERIFY(progress);
        QVERIFY(!m_chart->rootNode()); // nothing shown until the scan is done
        QVERIFY(settle());

        QVERIFY(!m_sidebar->scanningSourceID() && !m_coordinator->currentProgress());
        QVERIFY(progress->itemCount() >= 200 && progress->folderCount() >= 21);
        QCOMPARE(rootURL(), m_fx.fullPath("Big"));
        QVERIFY(!m_chart->isVolumeRootedSource()); // a favourite folder
        QCOMPARE(cache.count(), 1);
        const CachedScan& entry = m_coordinator->scanCache().at(big);
        QCOMPARE(entry.root, m_chart->rootNode());
        const ScanSource* source = m_sidebar->source(big);
        QCOMPARE(source->lastScanDate, std::optional<Timestamp>(entry.date));
        QCOMPARE(source->lastScanAllocatedSize,
                 std::optional<std::int64_t>(entry.root->allocatedSize()));
        QVERIFY(readAll(m_diagnostics).startsWith("[BulkScanEngine] scan complete: "));
    }

    void cachedSourceShowsAtOnceWhileAnotherScanRuns() {
        const Uuid a = favorite("A");
        const Uuid big = favorite("Big");
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
        const Uuid b = favorite("B");
        select(b);
        QVERIFY(endsOnlyOnceCached(b));
        QVERIFY(!readAll(m_diagnostics).contains("[ScanCoordinator]"));
        QVERIFY(!m_coordinator->scanCache().count(big));
        QVERIFY(!m_sidebar->source(big)->lastScanDate);
        QCOMPARE(rootURL(), m_fx.fullPath("B"));
    }

    void lateFinishForADeselectedSourceIsCachedButNotShown() {
        const Uuid a = favorite("A");
        const Uuid b = favorite("B");
        select(b);
        QVERIFY(settle());
        const NodePtr shownB = m_chart->rootNode();
        select(a);
        {
            // The selection moves on unseen, as when the scan finished just before.
            QSignalBlocker unseen(m_sidebar.get());
            m_sidebar->setSelectedSourceID(b);
        }
        QVERIFY(settle());
        QVERIFY(m_coordinator->scanCache().count(a) && m_sidebar->source(a)->lastScanDate);
        QCOMPARE(m_chart->rootNode(), shownB);
        QVERIFY(!m_sidebar->scanningSourceID());
    }

    void deselectingOrLosingTheSourceClearsTheMap() {
        const Uuid a = favorite("A");
        const Uuid big = favorite("Big");
        select(a);
        QVERIFY(settle());
        select(big);
        select(std::nullopt);
        QVERIFY(!m_sidebar->scanningSourceID());
        QVERIFY(!m_chart->rootNode() && !m_chart->focusedNode());
        QVERIFY(settle());
        QVERIFY(!m_chart->rootNode() && !m_coordinator->scanCache().count(big));

        select(a);
        QVERIFY(m_chart->rootNode());
        m_sidebar->removeFavorite(a);      // clears the selection itself
        m_sidebar->setSelectedSourceID(a); // a stale id, as a late view might set
        QVERIFY(!m_sidebar->selectedSourceID() && !m_chart->rootNode());
    }

    void rescanDropsOnlyTheReplacedTreesItems() {
        const Uuid a = favorite("A");
        select(a);
        QVERIFY(settle());
        std::weak_ptr<FileNode> oldA = m_chart->rootNode();
        // Marked in the tree the rescan replaces, and in other trees of the same
        // paths (as a scan of "/" holds every other drive's paths).
        auto otherA = apptest::scanFolder(QString::fromStdString(m_fx.fullPath("A")));
        m_cleanup->add(apptest::findShared(oldA.lock(), "x.bin"));
        m_cleanup->add(apptest::findShared(otherA->root, "sub/y.bin"));
        select(favorite("B"));
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
        QStringList left;
        for (const NodePtr& n : m_cleanup->items())
            left << QString::fromStdString(n->url());
        QCOMPARE(left, (QStringList{QString::fromStdString(m_fx.fullPath("A/sub/y.bin")),
                                    QString::fromStdString(m_fx.fullPath("B/z.bin"))}));
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(oldA.expired());

        // Selected: the scan starts at once and the map keeps its tree meanwhile.
        const NodePtr secondA = m_chart->rootNode();
        m_coordinator->rescan(a);
        QCOMPARE(m_sidebar->scanningSourceID(), std::optional<Uuid>(a));
        QCOMPARE(m_chart->rootNode(), secondA);
        QVERIFY(settle());
        QVERIFY(m_chart->rootNode() != secondA);
    }

    void rescanWhileScanningTheSameSourceKeepsTheNewScan() {
        const Uuid big = favorite("Big");
        select(big);
        m_coordinator->rescan(big); // selected: stops the first scan, starts another
        QCOMPARE(m_sidebar->scanningSourceID(), std::optional<Uuid>(big));
        QVERIFY(endsOnlyOnceCached(big));
        QCOMPARE(rootURL(), m_fx.fullPath("Big"));
    }

    void failuresAreReportedOnTheDiagnosticsStream_data() {
        QTest::addColumn<bool>("throws");
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("exception")
            << true << QByteArray("[ScanCoordinator] scan failed: disk on fire\n");
        QTest::newRow("no result")
            << false
            << QByteArray("[ScanCoordinator] scan failed: the scanner returned no result\n");
    }
    void failuresAreReportedOnTheDiagnosticsStream() {
        QFETCH(bool, throws);
        QFETCH(QByteArray, line);
        useBackend([throws](std::stop_token) -> std::optional<ScanResult> {
            if (throws)
                throw std::runtime_error("disk on fire");
            return std::nullopt;
        });
        const Uuid a = favorite("A");
        select(a);
        QVERIFY(settle());
        QCOMPARE(readAll(m_diagnostics), line);
        QVERIFY(!m_sidebar->scanningSourceID() && !m_coordinator->scanCache().count(a));
        QVERIFY(!m_sidebar->source(a)->lastScanDate && !m_chart->rootNode());
    }

    void cancelStopsTheScanAndDestructionJoinsIt() {
        std::atomic<int> stopped{0};
        useBackend([&stopped](std::stop_token stop) -> std::optional<ScanResult> {
            while (!stop.stop_requested())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            ++stopped;
            return std::nullopt;
        });
        select(favorite("A"));
        m_sidebar->cancelScan(); // the overlay's Cancel reaches the scan thread
        QVERIFY(settle());
        QCOMPARE(stopped.load(), 1);
        QVERIFY(!m_sidebar->selectedSourceID());

        select(favorite("B"));
        QVERIFY(m_coordinator->hasPendingScans());
        m_coordinator.reset(); // returns only once the scan thread has ended
        QCOMPARE(stopped.load(), 2);
        QVERIFY(readAll(m_diagnostics).isEmpty());
    }
};

QTEST_GUILESS_MAIN(ScanCoordinatorTest)
#include "ScanCoordinatorTest.moc"
