// The sources model over a sample mount table, udev database and favourites file in
// a FixtureTree used as home; capacities come from a stand-in for statvfs.

#include "app/viewmodels/SidebarViewModel.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"

#include "AppTestSupport.h"

#include <QSignalSpy>
#include <QTest>

#include <atomic>
#include <mutex>
#include <thread>

using namespace ringfold;
using ringfold::test::FixtureTree;

namespace {

const char* const kRootLine = "27 1 8:2 / / rw,relatime - ext4 /dev/sda2 rw\n";
const char* const kShareLine = "32 27 0:50 / /mnt/share rw - nfs4 server:/export rw\n";

// Counts reads per path; a read of /mnt/share hangs while its server is down.
struct FakeStatvfs {
    std::mutex mutex;
    std::map<std::string, int> reads;
    std::atomic<bool> serverDown = false;

    std::optional<VolumeCapacity> read(const std::string& path) {
        count(path, 1);
        while (path == "/mnt/share" && serverDown)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return VolumeCapacity{std::int64_t(path.size()) * 1000, std::int64_t(path.size())};
    }
    int count(const std::string& path, int add = 0) {
        std::lock_guard lock(mutex);
        return reads[path] += add;
    }
};

} // namespace

class SidebarViewModelTest : public QObject {
    Q_OBJECT

    std::unique_ptr<FixtureTree> m_home;
    std::shared_ptr<FakeStatvfs> m_statvfs;
    SidebarViewModel::Options m_options;
    std::string m_stickLine; // a USB stick mounted on a real folder, so it can be scanned

    std::unique_ptr<SidebarViewModel> makeModel() {
        return std::make_unique<SidebarViewModel>(
            std::make_unique<FavoritesStore>(QString::fromStdString(m_home->fullPath("fav.json"))),
            m_options);
    }
    void mountTable(const std::string& text) { m_home->writeText("mountinfo", text); }
    void stickUuid(const char* uuid) {
        m_home->writeText("udev/b8:17", std::string("E:ID_FS_UUID=") + uuid + "\n");
    }
    static bool capacitiesRead(const SidebarViewModel& m) {
        return m.thisComputer().volumeTotalCapacity && m.volumes()[0].volumeTotalCapacity &&
               m.volumes()[1].volumeTotalCapacity;
    }

private slots:
    void init() {
        m_home = std::make_unique<FixtureTree>();
        qputenv("HOME", m_home->root().c_str()); // the default favourite
        m_statvfs = std::make_shared<FakeStatvfs>();
        m_options.mountInfoPath = m_home->fullPath("mountinfo");
        m_options.systemPaths = {m_home->fullPath("sys"), m_home->fullPath("dev"),
                                 m_home->fullPath("udev")};
        m_options.watchVolumes = false;
        m_options.readCapacity = [fake = m_statvfs](const std::string& p) { return fake->read(p); };
        m_options.capacityTimeLimit = std::chrono::milliseconds(500);
        m_home->writeFiles({{"USB STICK/a.bin", 5000}, {"USB STICK/sub/b.bin", 7000}});
        m_stickLine =
            "30 27 8:17 / " + m_home->fullPath("USB\\040STICK") + " rw - vfat /dev/sdb1 rw\n";
        mountTable(kRootLine + m_stickLine + kShareLine);
        stickUuid("AAAA-1111");
    }

    void sourcesAndCapacitiesReadOffTheMainThread() {
        m_home->writeText("udev/b8:2", "E:ID_FS_LABEL_ENC=debian\n");
        auto model = makeModel();
        const ScanSource& root = model->thisComputer();
        QVERIFY(root.url == "/" && root.displayName == "debian");
        QCOMPARE(model->source(root.id), &root);
        QCOMPARE(model->volumes()[0].displayName, std::string("USB STICK")); // last component
        QVERIFY(model->volumes()[1].kind == ScanSourceKind::networkVolume);
        // Nothing is read while the model is built; the figures arrive later.
        QVERIFY(!model->thisComputer().volumeTotalCapacity &&
                !model->volumes()[0].volumeTotalCapacity);
        QTRY_VERIFY(capacitiesRead(*model));
        QCOMPARE(model->volumes()[1].volumeTotalCapacity, std::optional<std::int64_t>(10000));

        // The server goes away: its old figures are dropped after the time limit, the
        // others are read again, and a later refresh does not wait for the hung read.
        m_statvfs->serverDown = true;
        model->refreshVolumes();
        QTRY_VERIFY(!model->volumes()[1].volumeTotalCapacity);
        QVERIFY(model->volumes()[0].volumeTotalCapacity);
        model->refreshVolumes();
        QTRY_COMPARE(m_statvfs->count(m_home->fullPath("USB STICK")), 3);
        QCOMPARE(m_statvfs->count("/mnt/share"), 2);
        QCOMPARE(m_statvfs->count("/"), 1); // This Computer's are read once

        m_statvfs->serverDown = false; // the server is back: the next refreshes read it again
        QTRY_VERIFY((model->refreshVolumes(), model->volumes()[1].volumeTotalCapacity));
    }

    // Folders are told apart by their bytes: a name that isn't UTF-8 and its look-alike.
    void foldersKeepTheirBytes() {
        auto model = makeModel();
        const std::string invalid = m_home->fullPath("a\xff"),
                          lookalike = m_home->fullPath("a\xEF\xBF\xBD");
        const auto before = model->favorites().size();
        for (const std::string& path : {invalid + "/./", lookalike, invalid + "/x/..//"})
            model->addFavorite(path);
        QCOMPARE(model->favorites().size(), before + 2);
        const ScanSource& added = model->favorites()[before];
        QVERIFY(added.url == invalid && model->favorites()[before + 1].url == lookalike);
        QVERIFY(model->openTransientFolder(invalid + "//") == added.id);
    }

    void identityFollowsTheFileSystemNotThePlace() {
        auto model = makeModel();
        ChartViewModel chart;
        CleanupListStore cleanup;
        ScanCoordinator coordinator(*model, chart, cleanup);
        coordinator.setDiagnostics(apptest::quietDiagnostics());
        auto stick = [&] { return model->volumes().at(0); };
        const Uuid first = stick().id;
        model->setSelectedSourceID(first);
        coordinator.handleSelectionChange();
        QTRY_VERIFY(coordinator.scanCache().contains(first) && capacitiesRead(*model));
        std::weak_ptr<FileNode> tree = coordinator.scanCache().at(first).root;

        QSignalSpy vanished(model.get(), &SidebarViewModel::volumeVanished);
        QSignalSpy changed(model.get(), &SidebarViewModel::volumesChanged);
        QSignalSpy favorites(model.get(), &SidebarViewModel::favoritesChanged);
        model->recordScan(first, 1700000000, 123456, true);
        model->recordScan(first, 1700000000, 123456, true); // the same again: no signal
        model->refreshVolumes(); // the same table: only the restricted mark goes
        model->refreshVolumes();
        QVERIFY(stick().id == first && !stick().lastScanWasRestricted);
        QCOMPARE(changed.count(), 2);
        QCOMPARE(vanished.count() + favorites.count(), 0);
        model->clearLastScan(model->favorites()[0].id); // nothing recorded: no signal
        model->recordScan(model->favorites()[0].id, 1, 2, false);
        model->clearLastScan(model->favorites()[0].id);
        QCOMPARE(favorites.count(), 2);
        QVERIFY(!model->favorites()[0].lastScanDate && changed.count() == 2);

        // Another stick with the same device and mount point is a new volume; the
        // first one's cached tree goes, and once the map lets go of it, it is freed.
        stickUuid("BBBB-2222");
        model->refreshVolumes();
        QVERIFY(stick().id != first && !stick().lastScanDate);
        QCOMPARE(vanished.count(), 1);
        QVERIFY(vanished.takeFirst().at(0).value<Uuid>() == first);
        QVERIFY(!coordinator.scanCache().contains(first));
        coordinator.handleSelectionChange(); // the selected volume is gone: empty map
        QVERIFY(!chart.rootNode());
        QTRY_VERIFY(tree.expired());
        stickUuid("AAAA-1111"); // and the first one is back in its place
        model->refreshVolumes();
        QCOMPARE(vanished.count(), 1);
        QVERIFY(stick().id == first && !stick().lastScanWasRestricted);
        QCOMPARE(stick().lastScanAllocatedSize, std::optional<std::int64_t>(123456));
        model->resetFavoritesAndScanRecords(); // the settings window's reset
        QVERIFY(stick().id == first && !stick().lastScanDate);
    }
};

QTEST_GUILESS_MAIN(SidebarViewModelTest)
#include "SidebarViewModelTest.moc"
