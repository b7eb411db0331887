// The sources model over a sample mount table, udev database and favourites file in
// a FixtureTree that is also the home folder. Capacities come from a test reader
// that can hold a path's read the way a dead network server does.

#include "app/viewmodels/SidebarViewModel.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"

#include "AppTestSupport.h"
#include "support/FixtureTree.h"

#include <QSignalSpy>
#include <QTest>

#include <condition_variable>
#include <mutex>

using namespace ringfold;
using ringfold::test::FixtureTree;

namespace {

const char* const kRootLine = "27 1 8:2 / / rw,relatime - ext4 /dev/sda2 rw\n";
const char* const kStickLine =
    "30 27 8:17 / /run/media/ana/USB\\040STICK rw,nosuid - vfat /dev/sdb1 rw\n";
const char* const kShareLine = "32 27 0:50 / /mnt/share rw - nfs4 server:/export rw\n";
const char* const kDataLine = "33 27 8:3 / /data rw - ext4 /dev/sda3 rw\n";
const std::string kStick = "/run/media/ana/USB STICK";

// statvfs stand-in: counts reads per path and blocks reads of the held path.
struct CapacityGate {
    std::mutex mutex;
    std::condition_variable cv;
    std::string held;
    std::map<std::string, int> started, finished;

    std::optional<VolumeCapacity> read(const std::string& path) {
        std::unique_lock lock(mutex);
        ++started[path];
        cv.wait(lock, [&] { return held != path; });
        ++finished[path];
        return VolumeCapacity{std::int64_t(path.size()) * 1000, std::int64_t(path.size())};
    }
    void hold(const std::string& path) {
        std::lock_guard lock(mutex);
        held = path;
    }
    void release() {
        hold("");
        cv.notify_all();
    }
    int count(std::map<std::string, int>& which, const std::string& path) {
        std::lock_guard lock(mutex);
        return which[path];
    }
};

} // namespace

class SidebarViewModelTest : public QObject {
    Q_OBJECT

    std::unique_ptr<FixtureTree> m_home;
    std::shared_ptr<CapacityGate> m_gate;
    SidebarViewModel::Options m_options;

    std::unique_ptr<SidebarViewModel> makeModel() {
        return std::make_unique<SidebarViewModel>(std::make_unique<FavoritesStore>(favoritesFile()),
                                                  m_options);
    }
    QString favoritesFile() const {
        return QString::fromStdString(m_home->fullPath("data/favorites.json"));
    }
    void mountTable(const std::string& text) { m_home->writeText("mountinfo", text); }
    void stickUuid(const char* uuid) {
        m_home->writeText("udev/b8:17", std::string("E:ID_FS_UUID=") + uuid + "\n");
    }
    static bool capacitiesRead(const SidebarViewModel& m) {
        return m.thisComputer().volumeTotalCapacity &&
               std::all_of(m.volumes().begin(), m.volumes().end(),
                           [](const ScanSource& v) { return v.volumeTotalCapacity.has_value(); });
    }
    static const ScanSource* volumeAt(const SidebarViewModel& m, const std::string& url) {
        for (const ScanSource& v : m.volumes())
            if (v.url == url)
                return &v;
        return nullptr;
    }

private slots:
    void init() {
        m_home = std::make_unique<FixtureTree>();
        qputenv("HOME", m_home->root().c_str());
        qputenv("XDG_CONFIG_HOME", m_home->fullPath("config").c_str());
        m_home->makeFolder("Documents");
        m_gate = std::make_shared<CapacityGate>();
        m_options = {};
        m_options.mountInfoPath = m_home->fullPath("mountinfo");
        m_options.systemPaths = {m_home->fullPath("sys"), m_home->fullPath("dev"),
                                 m_home->fullPath("udev")};
        m_options.watchVolumes = false;
        m_options.readCapacity = [gate = m_gate](const std::string& p) { return gate->read(p); };
        m_options.capacityTimeLimit = std::chrono::milliseconds(500);
        mountTable(std::string(kRootLine) + kStickLine + kShareLine + kDataLine);
        stickUuid("AAAA-1111");
    }

    void cleanup() { m_gate->release(); }

    void sourcesAreNamedAndClassified() {
        m_home->writeText("udev/b8:2", "E:ID_FS_LABEL_ENC=debian\n");
        auto model = makeModel();
        const ScanSource& root = model->thisComputer();
        QCOMPARE(root.url, std::string("/"));
        QCOMPARE(root.displayName, std::string("debian"));
        QVERIFY(root.kind == ScanSourceKind::internalVolume);
        QCOMPARE(model->source(root.id), &root);
        QCOMPARE(model->volumes().size(), std::size_t(3));
        const ScanSource& stick = model->volumes()[0];
        QCOMPARE(stick.displayName, std::string("USB STICK")); // no label: last component
        QVERIFY(model->volumes()[1].kind == ScanSourceKind::networkVolume);
        QCOMPARE(model->source(stick.id), &stick);
        QVERIFY(model->source(Uuid::generate()) == nullptr);
    }

    void capacitiesAreReadOffTheMainThreadWithATimeLimit() {
        auto model = makeModel();
        // Nothing is read while the model is built; the figures arrive later.
        QVERIFY(!model->thisComputer().volumeTotalCapacity &&
                !model->volumes()[0].volumeTotalCapacity);
        QTRY_VERIFY(capacitiesRead(*model));
        QCOMPARE(model->volumes()[1].volumeTotalCapacity, std::optional<std::int64_t>(10000));
        QCOMPARE(model->thisComputer().volumeAvailableCapacity, std::optional<std::int64_t>(1));

        // The server goes away: its old figures are dropped after the time limit, the
        // others are read again, and a later refresh does not wait for the hung read.
        m_gate->hold("/mnt/share");
        model->refreshVolumes();
        QTRY_VERIFY(!model->volumes()[1].volumeTotalCapacity);
        QVERIFY(model->volumes()[0].volumeTotalCapacity);
        model->refreshVolumes();
        QTRY_COMPARE(m_gate->count(m_gate->finished, kStick), 3);
        QCOMPARE(m_gate->count(m_gate->started, "/mnt/share"), 2);
        QCOMPARE(m_gate->count(m_gate->started, "/"), 1); // This Computer: once

        m_gate->release();
        QTRY_COMPARE(m_gate->count(m_gate->finished, "/mnt/share"), 2);
        model->refreshVolumes();
        QTRY_VERIFY(model->volumes()[1].volumeTotalCapacity);
    }

    void identityFollowsTheFileSystemNotThePlace() {
        auto model = makeModel();
        QSignalSpy vanished(model.get(), &SidebarViewModel::volumeVanished);
        QSignalSpy changed(model.get(), &SidebarViewModel::volumesChanged);
        const Uuid first = volumeAt(*model, kStick)->id;
        const Uuid data = volumeAt(*model, "/data")->id;
        model->recordScan(first, 1700000000, 123456, true);
        QTRY_VERIFY(capacitiesRead(*model));
        changed.clear();
        model->refreshVolumes(); // the same table: only the restricted mark goes
        QVERIFY(!volumeAt(*model, kStick)->lastScanWasRestricted);
        model->refreshVolumes();
        QCOMPARE(changed.count(), 1);
        QCOMPARE(vanished.count(), 0);

        // Another stick with the same device and mount point is a new volume.
        stickUuid("BBBB-2222");
        model->refreshVolumes();
        const ScanSource* other = volumeAt(*model, kStick);
        QVERIFY(other && other->id != first && !other->lastScanDate);
        QCOMPARE(vanished.count(), 1);
        QVERIFY(vanished.takeFirst().at(0).value<Uuid>() == first);

        mountTable(std::string(kRootLine) + kShareLine + kDataLine); // it goes
        model->refreshVolumes();
        QCOMPARE(vanished.count(), 1);
        QVERIFY(model->source(first) == nullptr);

        stickUuid("AAAA-1111"); // and the first one comes back
        mountTable(std::string(kRootLine) + kShareLine + kDataLine + kStickLine);
        model->refreshVolumes();
        const ScanSource* stick = volumeAt(*model, kStick);
        QVERIFY(stick && stick->id == first);
        QCOMPARE(stick->lastScanAllocatedSize, std::optional<std::int64_t>(123456));
        QVERIFY(!stick->lastScanWasRestricted);
        QVERIFY(volumeAt(*model, "/data")->id == data);
    }

    void aVanishedVolumesCachedTreeIsReleased() {
        m_home->writeFiles({{"vol/a.bin", 5000}, {"vol/sub/b.bin", 7000}});
        const std::string line =
            "40 27 8:2 / " + m_home->fullPath("vol") + " rw - ext4 /dev/sda2 rw\n";
        mountTable(kRootLine + line);
        auto model = makeModel();
        ChartViewModel chart;
        CleanupListStore cleanup;
        ScanCoordinator coordinator(*model, chart, cleanup);
        coordinator.setScanDiagnostics(apptest::quietDiagnostics());
        const Uuid id = model->volumes().at(0).id;
        model->setSelectedSourceID(id);
        coordinator.handleSelectionChange();
        QTRY_VERIFY(coordinator.scanCache().contains(id));
        std::weak_ptr<FileNode> tree = coordinator.scanCache().at(id).root;

        mountTable(kRootLine);
        model->refreshVolumes();
        QVERIFY(!coordinator.scanCache().contains(id));
        coordinator.handleSelectionChange(); // the selected volume is gone: empty map
        QVERIFY(!chart.rootNode());
        QTRY_VERIFY(tree.expired());
    }

    void favouritesAddRemoveAndSave() {
        auto model = makeModel();
        QCOMPARE(model->favorites().size(), std::size_t(2)); // home and Documents
        QSignalSpy favorites(model.get(), &SidebarViewModel::favoritesChanged);
        const std::string projects = m_home->fullPath("Projects");
        model->addFavorite(projects);
        QCOMPARE(favorites.count(), 1);
        QCOMPARE(model->favorites().back().displayName, std::string("Projects"));
        QCOMPARE(FavoritesStore(favoritesFile()).load().size(), std::size_t(3));

        // The same folder, spelt differently, is already a favourite: nothing is saved.
        QVERIFY(QFile::remove(favoritesFile()));
        model->addFavorite(projects + "/", "Other name");
        model->addFavorite(m_home->fullPath("Documents/../Projects"));
        QCOMPARE(favorites.count(), 1);
        QVERIFY(!QFile::exists(favoritesFile()));
        model->addFavorite("/srv/media", "Media Library");
        QCOMPARE(model->favorites().back().displayName, std::string("Media Library"));

        const Uuid selected = model->favorites()[2].id;
        model->setSelectedSourceID(selected);
        QSignalSpy selection(model.get(), &SidebarViewModel::selectedSourceIDChanged);
        model->removeFavorite(model->favorites()[3].id); // not selected
        QCOMPARE(selection.count(), 0);
        model->removeFavorite(selected);
        QCOMPARE(selection.count(), 1);
        QVERIFY(!model->selectedSourceID());
        QCOMPARE(FavoritesStore(favoritesFile()).load().size(), std::size_t(2));
    }

    void scanBookkeeping() {
        auto model = makeModel();
        const Uuid a = model->volumes()[0].id;
        const Uuid b = model->favorites()[0].id;
        QSignalSpy scanning(model.get(), &SidebarViewModel::scanningSourceIDChanged);
        std::stop_source first;
        std::stop_source second;
        model->beginScan(a, first);
        model->beginScan(b, second); // replaces and stops the first
        QVERIFY(first.stop_requested());
        QVERIFY(!second.stop_requested());
        QCOMPARE(model->scanningSourceID(), std::optional<Uuid>(b));
        QCOMPARE(scanning.count(), 2);

        model->finishScan(a); // a late finish of the replaced scan changes nothing
        QCOMPARE(model->scanningSourceID(), std::optional<Uuid>(b));
        QVERIFY(model->hasScanTask());
        model->finishScan(b);
        QVERIFY(!model->scanningSourceID() && !model->hasScanTask());
        QVERIFY(!second.stop_requested());

        std::stop_source third;
        model->setSelectedSourceID(a);
        model->beginScan(a, third);
        model->cancelScan();
        QVERIFY(third.stop_requested());
        QVERIFY(!model->scanningSourceID() && !model->selectedSourceID());

        model->recordScan(b, 1600000000, 42, false);
        QSignalSpy favorites(model.get(), &SidebarViewModel::favoritesChanged);
        model->recordScan(b, 1600000000, 42, false);
        QCOMPARE(favorites.count(), 0);
        model->clearLastScan(b);
        QCOMPARE(favorites.count(), 1);
        QVERIFY(!model->favorites()[0].lastScanDate &&
                !model->favorites()[0].lastScanAllocatedSize);
        model->clearLastScan(b);
        QCOMPARE(favorites.count(), 1);
    }

    void resetRestoresDefaultsAndForgetsRecords() {
        auto model = makeModel();
        model->addFavorite("/srv/extra");
        const Uuid stick = model->volumes()[0].id;
        model->recordScan(model->thisComputer().id, 1, 2, true);
        model->recordScan(stick, 3, 4, false);
        std::stop_source running;
        model->setSelectedSourceID(stick);
        model->beginScan(stick, running);

        model->resetFavoritesAndScanRecords();
        QVERIFY(running.stop_requested());
        QVERIFY(!model->selectedSourceID() && !model->scanningSourceID());
        QCOMPARE(FavoritesStore(favoritesFile()).load().size(), std::size_t(2));
        QVERIFY(!model->thisComputer().lastScanDate &&
                !model->thisComputer().lastScanWasRestricted);
        QVERIFY(!model->volumes()[0].lastScanAllocatedSize);
        QVERIFY(model->volumes()[0].id == stick); // identities stay
    }
};

QTEST_GUILESS_MAIN(SidebarViewModelTest)
#include "SidebarViewModelTest.moc"
