// The sources model over a sample mount table file, a sample sysfs/by-label tree and
// a real favourites file under a temporary home.

#include "app/viewmodels/SidebarViewModel.h"

#include "AppTestSupport.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <sys/sysmacros.h>

using namespace ringfold;

namespace {

const char* const kRootLine = "27 1 8:2 / / rw,relatime - ext4 /dev/sda2 rw\n";
const char* const kDiskLine =
    "30 27 8:17 / /run/media/ana/USB\\040STICK rw,nosuid - vfat /dev/sdb1 rw\n";
const char* const kShareLine = "32 27 0:50 / /mnt/share rw - nfs4 server:/export rw\n";
const char* const kDataLine = "33 27 8:3 / /data rw - ext4 /dev/sda3 rw\n";

} // namespace

class SidebarViewModelTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    SidebarViewModel::Options m_options;

    QString path(const QString& relative) const { return m_home->filePath(relative); }

    void writeMountInfo(const QByteArray& text) {
        QVERIFY(apptest::writeBytes(path("mountinfo"), text));
    }

    std::unique_ptr<SidebarViewModel> makeModel() {
        return std::make_unique<SidebarViewModel>(
            std::make_unique<FavoritesStore>(path("data/Ringfold/favorites.json")), m_options);
    }

    const ScanSource* volumeAt(const SidebarViewModel& m, const std::string& url) {
        for (const ScanSource& v : m.volumes())
            if (v.url == url)
                return &v;
        return nullptr;
    }

private slots:
    void init() {
        m_home = std::make_unique<QTemporaryDir>();
        qputenv("HOME", m_home->path().toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", path("config").toLocal8Bit());
        QVERIFY(apptest::makeDir(path("Documents")));
        m_options = {};
        m_options.mountInfoPath = path("mountinfo").toStdString();
        m_options.systemPaths.sysDevBlock = path("sys/dev/block").toStdString();
        m_options.systemPaths.diskByLabel = path("dev/disk/by-label").toStdString();
        m_options.watchVolumes = false;
        writeMountInfo(QByteArray(kRootLine) + kDiskLine + kShareLine + kDataLine);
    }

    void thisComputerIsTheRootFileSystem() {
        auto model = makeModel();
        const ScanSource& root = model->thisComputer();
        QCOMPARE(root.url, std::string("/"));
        QCOMPARE(root.displayName, std::string("File System"));
        QVERIFY(root.kind == ScanSourceKind::internalVolume);
        QVERIFY(root.volumeTotalCapacity && *root.volumeTotalCapacity > 0);
        QVERIFY(root.volumeAvailableCapacity);
        QVERIFY(!root.lastScanDate && !root.lastScanWasRestricted);
        QCOMPARE(model->source(root.id), &root);

        QVERIFY(apptest::makeDir(path("dev/disk/by-label")));
        if (::mknod(path("dev/disk/by-label/debian").toLocal8Bit().constData(), S_IFBLK | 0600,
                    makedev(8, 2)) != 0)
            QSKIP("creating a block device node needs root");
        QCOMPARE(makeModel()->thisComputer().displayName, std::string("debian"));
    }

    void volumesAreNamedAndClassified() {
        auto model = makeModel();
        QCOMPARE(model->volumes().size(), std::size_t(3));
        const ScanSource& stick = model->volumes()[0];
        QCOMPARE(stick.displayName, std::string("USB STICK")); // no label: last component
        QCOMPARE(model->volumes()[1].displayName, std::string("share"));
        QVERIFY(model->volumes()[1].kind == ScanSourceKind::networkVolume);
        QVERIFY(model->volumes()[2].kind == ScanSourceKind::internalVolume);
        QVERIFY(!model->volumes()[1].volumeTotalCapacity); // /mnt/share is not mounted here
        QCOMPARE(model->source(stick.id), &stick);
        QVERIFY(model->source(Uuid::generate()) == nullptr);
    }

    void refreshKeepsIdentitiesAcrossRemounts() {
        auto model = makeModel();
        QSignalSpy changed(model.get(), &SidebarViewModel::volumesChanged);
        const Uuid stickID = model->volumes()[0].id;
        const Uuid dataID = model->volumes()[2].id;
        model->recordScan(stickID, 1700000000, 123456, true);
        model->recordScan(dataID, 1700000001, 99, true);
        QCOMPARE(changed.count(), 2);

        model->refreshVolumes(); // same table: nothing but the restricted marks change
        QCOMPARE(changed.count(), 3);
        QVERIFY(!model->volumes()[0].lastScanWasRestricted);
        model->refreshVolumes();
        QCOMPARE(changed.count(), 3);

        writeMountInfo(QByteArray(kRootLine) + kShareLine + kDataLine); // the stick goes
        model->refreshVolumes();
        QCOMPARE(model->volumes().size(), std::size_t(2));
        QVERIFY(model->source(stickID) == nullptr);

        writeMountInfo(QByteArray(kRootLine) + kShareLine + kDataLine + kDiskLine); // and returns
        model->refreshVolumes();
        const ScanSource* stick = volumeAt(*model, "/run/media/ana/USB STICK");
        QVERIFY(stick);
        QVERIFY(stick->id == stickID);
        QCOMPARE(stick->lastScanDate, std::optional<Timestamp>(1700000000));
        QCOMPARE(stick->lastScanAllocatedSize, std::optional<std::int64_t>(123456));
        QVERIFY(!stick->lastScanWasRestricted);
        QVERIFY(model->volumes()[1].id == dataID);
        QCOMPARE(model->volumes()[1].lastScanAllocatedSize, std::optional<std::int64_t>(99));
    }

    void favouritesAddRemoveAndSave() {
        auto model = makeModel();
        const QString file = path("data/Ringfold/favorites.json");
        QCOMPARE(model->favorites().size(), std::size_t(2)); // home and Documents
        QSignalSpy favorites(model.get(), &SidebarViewModel::favoritesChanged);

        model->addFavorite(path("Projects").toStdString());
        QCOMPARE(favorites.count(), 1);
        QCOMPARE(model->favorites().back().displayName, std::string("Projects"));
        const QByteArray saved = apptest::readAll(file);
        QVERIFY(saved.contains("Projects"));

        // The same folder, spelt differently, is already a favourite: nothing happens.
        QVERIFY(QFile::remove(file));
        model->addFavorite(path("Projects/").toStdString(), "Other name");
        model->addFavorite(path("Documents/../Projects").toStdString());
        QCOMPARE(favorites.count(), 1);
        QVERIFY(!QFile::exists(file));

        model->addFavorite("/srv/media", "Media Library");
        QCOMPARE(model->favorites().back().displayName, std::string("Media Library"));
        QCOMPARE(FavoritesStore(file).load().size(), std::size_t(4));

        const Uuid projects = model->favorites()[2].id;
        model->setSelectedSourceID(projects);
        QSignalSpy selection(model.get(), &SidebarViewModel::selectedSourceIDChanged);
        model->removeFavorite(model->favorites()[3].id); // not selected
        QCOMPARE(selection.count(), 0);
        model->removeFavorite(projects);
        QCOMPARE(selection.count(), 1);
        QVERIFY(!model->selectedSourceID());
        QCOMPARE(FavoritesStore(file).load().size(), std::size_t(2));
    }

    void scanBookkeeping() {
        auto model = makeModel();
        const Uuid a = model->volumes()[0].id;
        const Uuid b = model->favorites()[0].id;
        QSignalSpy scanning(model.get(), &SidebarViewModel::scanningSourceIDChanged);
        model->beginScan(a);
        model->beginScan(b); // replaces the first
        QCOMPARE(model->scanningSourceID(), std::optional<Uuid>(b));
        QCOMPARE(scanning.count(), 2);

        model->finishScan(a); // a late finish of the replaced scan changes nothing
        QCOMPARE(model->scanningSourceID(), std::optional<Uuid>(b));
        model->finishScan(b);
        QVERIFY(!model->scanningSourceID());

        model->setSelectedSourceID(a);
        model->beginScan(a);
        model->cancelScan();
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
        model->setSelectedSourceID(stick);
        model->beginScan(stick);

        model->resetFavoritesAndScanRecords();
        QVERIFY(!model->selectedSourceID() && !model->scanningSourceID());
        QCOMPARE(model->favorites().size(), std::size_t(2));
        QCOMPARE(FavoritesStore(path("data/Ringfold/favorites.json")).load().size(),
                 std::size_t(2));
        QVERIFY(!model->thisComputer().lastScanDate &&
                !model->thisComputer().lastScanWasRestricted);
        QVERIFY(!model->volumes()[0].lastScanAllocatedSize);
        QVERIFY(model->volumes()[0].id == stick); // identities stay
    }
};

QTEST_GUILESS_MAIN(SidebarViewModelTest)
#include "SidebarViewModelTest.moc"
