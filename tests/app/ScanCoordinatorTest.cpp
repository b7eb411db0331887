// The scan lifecycle with real scans of fixture folders, all registered as favourites:
//   A (two files), B (one file), Big (4,000 files in 40 folders).
// Outcomes reach the coordinator through the event loop, so everything a test does
// between two event-loop turns happens while the scan it started is still "running"
// from the main thread's point of view, whatever the scanner thread has done.

#include "app/coordination/ScanCoordinator.h"
#include "app/coordination/AppState.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "app/viewmodels/SidebarViewModel.h"

#include "AppTestSupport.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include <cstdio>
#include <unistd.h>

using namespace ringfold;

namespace {

// Captures what the process writes to standard output while it lives.
class StdoutCapture {
public:
    StdoutCapture() : m_file(std::tmpfile()) {
        std::fflush(stdout);
        m_saved = ::dup(STDOUT_FILENO);
        ::dup2(::fileno(m_file), STDOUT_FILENO);
    }
    ~StdoutCapture() { restore(); }
    QByteArray text() {
        restore();
        std::rewind(m_file);
        QByteArray out;
        char buf[512];
        while (std::size_t n = std::fread(buf, 1, sizeof buf, m_file))
            out.append(buf, qsizetype(n));
        return out;
    }

private:
    void restore() {
        if (m_saved < 0)
            return;
        std::fflush(stdout);
        ::dup2(m_saved, STDOUT_FILENO);
        ::close(m_saved);
        m_saved = -1;
    }
    std::FILE* m_file;
    int m_saved = -1;
};

} // namespace

class ScanCoordinatorTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_fixtures;
    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<SidebarViewModel> m_sidebar;
    std::unique_ptr<ChartViewModel> m_chart;
    std::unique_ptr<CleanupListStore> m_cleanup;
    std::unique_ptr<ScanCoordinator> m_coordinator;

    Uuid favorite(const char* name) {
        const std::string url = m_fixtures.filePath(QString::fromLatin1(name)).toStdString();
        for (const ScanSource& f : m_sidebar->favorites())
            if (f.url == url)
                return f.id;
        qFatal("no favourite %s", name);
    }

    void select(std::optional<Uuid> id) {
        m_sidebar->setSelectedSourceID(id);
        m_coordinator->handleSelectionChange();
    }

    // Lets every scan thread, current and cancelled, report back.
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

    std::string path(const char* name) const {
        return m_fixtures.filePath(QString::fromLatin1(name)).toStdString();
    }

private slots:
    void initTestCase() {
        QVERIFY(apptest::writeFile(m_fixtures.filePath("A/x.bin"), 10000));
        QVERIFY(apptest::writeFile(m_fixtures.filePath("A/sub/y.bin"), 20000));
        QVERIFY(apptest::writeFile(m_fixtures.filePath("B/z.bin"), 30000));
        QVERIFY(apptest::writeManyFiles(m_fixtures.filePath("Big"), 40, 100));
    }

    void init() {
        m_home = std::make_unique<QTemporaryDir>();
        qputenv("HOME", m_home->path().toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", m_home->filePath("config").toLocal8Bit());
        QVERIFY(apptest::writeFile(m_home->filePath("mountinfo"), 0));
        SidebarViewModel::Options options;
        options.mountInfoPath = m_home->filePath("mountinfo").toStdString();
        options.watchVolumes = false;
        m_sidebar = std::make_unique<SidebarViewModel>(
            std::make_unique<FavoritesStore>(m_home->filePath("favorites.json")), options);
        for (const char* name : {"A", "B", "Big"})
            m_sidebar->addFavorite(path(name));
        m_chart = std::make_unique<ChartViewModel>();
        m_cleanup = std::make_unique<CleanupListStore>();
        m_coordinator = std::make_unique<ScanCoordinator>(*m_sidebar, *m_chart, *m_cleanup);
        m_coordinator->setScanDiagnostics(apptest::quietDiagnostics());
    }

    void cleanup() {
        m_coordinator.reset();
        m_cleanup.reset();
        m_chart.reset();
        m_sidebar.reset();
    }

    void scanOfTheSelectedSourceReachesMapCacheAndRecord() {
        // An item of an earlier tree of A goes; one elsewhere stays.
        auto earlierA = apptest::scanFolder(QString::fromStdString(path("A")));
        auto earlierB = apptest::scanFolder(QString::fromStdString(path("B")));
        QVERIFY(earlierA && earlierB);
        m_cleanup->add(apptest::findShared(earlierA->root, "sub/y.bin"));
        m_cleanup->add(apptest::findShared(earlierB->root, "z.bin"));

        const Uuid a = favorite("A");
        QSignalSpy cache(m_coordinator.get(), &ScanCoordinator::scanCacheChanged);
        select(a);
        QCOMPARE(m_sidebar->scanningSourceID(), std::optional<Uuid>(a));
        QVERIFY(m_coordinator->currentProgress());
        QVERIFY(!m_chart->rootNode()); // nothing shown until the scan is done
        QVERIFY(settle());

        QVERIFY(!m_sidebar->scanningSourceID());
        QVERIFY(!m_coordinator->currentProgress());
        QCOMPARE(rootURL(), path("A"));
        QVERIFY(!m_chart->isVolumeRootedSource()); // a favourite folder
        QCOMPARE(cache.count(), 1);
        const CachedScan& entry = m_coordinator->scanCache().at(a);
        QCOMPARE(entry.root, m_chart->rootNode());
        const ScanSource* source = m_sidebar->source(a);
        QCOMPARE(source->lastScanDate, std::optional<Timestamp>(entry.date));
        QCOMPARE(source->lastScanAllocatedSize,
                 std::optional<std::int64_t>(entry.root->allocatedSize()));
        QVERIFY(entry.root->allocatedSize() >= 30000);
        QCOMPARE(m_cleanup->count(), std::size_t(1));
        QCOMPARE(m_cleanup->items().front()->url(), path("B") + "/z.bin");
    }

    void cachedSourceShowsAtOnceWhileAnotherScanRuns() {
        const Uuid a = favorite("A");
        const Uuid big = favorite("Big");
        select(a);
        QVERIFY(settle());
        const NodePtr cachedA = m_chart->rootNode();

        select(big);
        QCOMPARE(m_sidebar->scanningSourceID(), std::optional<Uuid>(big));
        QCOMPARE(m_chart->rootNode(), cachedA); // the old tree stays while scanning
        StdoutCapture out;
        select(a);
        QCOMPARE(m_chart->rootNode(), cachedA);
        QCOMPARE(m_sidebar->selectedSourceID(), std::optional<Uuid>(a));
        QVERIFY(!m_sidebar->scanningSourceID());

        // A new scan starts before the cancelled one has reported back; the late
        // report must not clear it.
        // Whichever outcome arrives first, B stays the scan in progress until its own
        // outcome has been cached.
        const Uuid b = favorite("B");
        select(b);
        QVERIFY(endsOnlyOnceCached(b));
        QVERIFY(out.text().isEmpty());
        QVERIFY(!m_coordinator->scanCache().count(big));
        QVERIFY(!m_sidebar->source(big)->lastScanDate);
        QCOMPARE(rootURL(), path("B"));
    }

    void lateFinishForADeselectedSourceIsCachedButNotShown() {
        const Uuid a = favorite("A");
        const Uuid b = favorite("B");
        select(b);
        QVERIFY(settle());
        const NodePtr shownB = m_chart->rootNode();
        select(a);
        // The selection moves on before the window reacts: the scan is not stopped.
        m_sidebar->setSelectedSourceID(b);
        QVERIFY(settle());
        QVERIFY(m_coordinator->scanCache().count(a));
        QVERIFY(m_sidebar->source(a)->lastScanDate);
        QCOMPARE(m_chart->rootNode(), shownB);
        QVERIFY(!m_sidebar->scanningSourceID());
    }

    void deselectingOrLosingTheSourceClearsTheMap() {
        const Uuid a = favorite("A");
        const Uuid big = favorite("Big");
        select(a);
        QVERIFY(settle());
        QVERIFY(m_chart->rootNode());
        select(big);
        select(std::nullopt);
        QVERIFY(!m_sidebar->scanningSourceID());
        QVERIFY(!m_chart->rootNode() && !m_chart->focusedNode());
        QVERIFY(settle());
        QVERIFY(!m_chart->rootNode());
        QVERIFY(!m_coordinator->scanCache().count(big));

        // A source that has vanished clears the selection and the map too.
        select(a);
        QVERIFY(m_chart->rootNode());
        m_sidebar->removeFavorite(a);      // clears the selection itself
        m_sidebar->setSelectedSourceID(a); // a stale id, as a late view might set
        m_coordinator->handleSelectionChange();
        QVERIFY(!m_sidebar->selectedSourceID());
        QVERIFY(!m_chart->rootNode());
    }

    void rescanReplacesTheCachedTreeAndReleasesTheOldOne() {
        const Uuid a = favorite("A");
        const Uuid b = favorite("B");
        select(a);
        QVERIFY(settle());
        std::weak_ptr<FileNode> oldA = m_chart->rootNode();

        // Not selected: rescan selects it; the window's reaction starts the scan.
        select(b);
        QVERIFY(settle());
        QSignalSpy cache(m_coordinator.get(), &ScanCoordinator::scanCacheChanged);
        m_coordinator->rescan(a);
        QCOMPARE(cache.count(), 1);
        QCOMPARE(m_sidebar->selectedSourceID(), std::optional<Uuid>(a));
        QVERIFY(!m_coordinator->scanCache().count(a));
        QVERIFY(!m_sidebar->source(a)->lastScanDate);
        QVERIFY(!m_sidebar->scanningSourceID());
        m_coordinator->handleSelectionChange();
        QCOMPARE(m_sidebar->scanningSourceID(), std::optional<Uuid>(a));
        QVERIFY(settle());
        QCOMPARE(rootURL(), path("A"));
        QVERIFY(m_chart->rootNode() != oldA.lock());
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(oldA.expired());

        // Selected: rescan scans at once; removing a missing entry still notifies.
        const NodePtr secondA = m_chart->rootNode();
        m_coordinator->rescan(a);
        QCOMPARE(cache.count(), 2 + 1); // the scan above cached once, this rescan once
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
        // The stopped scan reports first; the source must stay "scanning" until the
        // second one is done and cached.
        QVERIFY(endsOnlyOnceCached(big));
        QCOMPARE(rootURL(), path("Big"));
    }

    void progressIsVisibleWhileABigTreeIsScanned() {
        select(favorite("Big"));
        const auto progress = m_coordinator->currentProgress();
        QVERIFY(progress);
        QVERIFY(settle());
        QVERIFY(!m_coordinator->currentProgress());
        QVERIFY(progress->itemCount() >= 4000);
        QVERIFY(progress->folderCount() >= 41);
        QVERIFY(m_chart->rootNode()->allocatedSize() > 0);
    }

    void appStateFollowsSelectionChangesThroughTheEventLoop() {
        m_coordinator.reset();
        QTemporaryDir data;
        qputenv("XDG_DATA_HOME", data.path().toLocal8Bit());
        QSettings settings(data.filePath("s.conf"), QSettings::IniFormat);
        AppState::Options options;
        options.sidebar.mountInfoPath = m_home->filePath("mountinfo").toStdString();
        options.sidebar.watchVolumes = false;
        options.settings = &settings;
        AppState app(std::move(options));
        app.coordinator().setScanDiagnostics(apptest::quietDiagnostics());
        app.start();
        QVERIFY(!app.chart().rootNode());

        app.sidebar().addFavorite(path("A"));
        const Uuid a = app.sidebar().favorites().back().id;
        app.sidebar().setSelectedSourceID(a);
        QVERIFY(QTest::qWaitFor([&] { return app.chart().rootNode() != nullptr; }, 20000));
        QCOMPARE(app.chart().rootNode()->url(), path("A"));

        app.cleanupList().add(apptest::findShared(app.chart().rootNode(), "x.bin"));
        app.resetFileData();
        QVERIFY(!app.sidebar().selectedSourceID());
        QVERIFY(app.cleanupList().isEmpty());
        QVERIFY(!app.chart().rootNode());
        QVERIFY(QTest::qWaitFor([&] { return !app.coordinator().hasPendingScans(); }, 20000));
    }
};

QTEST_GUILESS_MAIN(ScanCoordinatorTest)
#include "ScanCoordinatorTest.moc"
