// Parsing and classifying mount tables, against sample mountinfo text and a sample
// sysfs and /dev/disk/by-label tree built in a temporary folder.

#include "app/platform/MountTable.h"

#include "AppTestSupport.h"

#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

using namespace ringfold;

namespace {

const char* const kSample =
    "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
    "27 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw,errors=remount-ro\n"
    "30 27 8:17 / /run/media/ana/My\\040Disk rw,nosuid shared:40 master:2 - vfat /dev/sdb1 rw\n"
    "31 27 0:40 / /run/user/1000 rw - tmpfs tmpfs rw\n"
    "32 27 0:50 / /mnt/share rw - nfs4 server:/export rw\n"
    "33 27 179:1 / /media/sdcard rw - exfat /dev/mmcblk0p1 rw\n"
    "34 27 8:2 /home /srv/home-bind rw - ext4 /dev/sda2 rw\n"
    "35 27 7:0 / /snap/core/1 ro - squashfs /dev/loop0 ro\n"
    "36 27 0:61 / /home/ana/remote rw - fuse.sshfs ana@host: rw\n"
    "37 27 8:1 / /boot/efi rw - vfat /dev/sda1 rw\n"
    "38 31 0:70 / /run/user/1000/doc rw - fuse.portal portal rw\n"
    "39 23 0:33 / /sys/fs/cgroup/memory rw - cgroup cgroup rw,memory\n"
    "this line is not a mount\n"
    "40 27 8:3 / /mnt/share rw - ext4 /dev/sda3 rw\n";

QStringList mountPoints(const std::vector<MountEntry>& entries) {
    QStringList out;
    for (const MountEntry& e : entries)
        out << QString::fromStdString(e.mountPoint);
    return out;
}

} // namespace

class MountTableTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    MountSystemPaths m_paths;

    // /sys/dev/block links the way the kernel lays them out, pointing into devices/.
    bool linkDevice(const QString& majMin, const QString& devicePath, bool diskRemovable) {
        const QString device = m_dir.filePath("sys/devices/" + devicePath);
        if (!apptest::makeDir(device))
            return false;
        const QString disk = device.section('/', 0, -2);
        if (!apptest::writeBytes(disk + "/removable", diskRemovable ? "1\n" : "0\n"))
            return false;
        apptest::makeDir(m_dir.filePath("sys/dev/block"));
        return QFile::link(device, m_dir.filePath("sys/dev/block/" + majMin));
    }

private slots:
    void initTestCase() {
        QVERIFY(linkDevice("8:17",
                           "pci0000:00/0000:00:14.0/usb2/2-1/2-1:1.0/host6/target6:0:0/"
                           "6:0:0:0/block/sdb/sdb1",
                           false));
        QVERIFY(linkDevice(
            "8:2", "pci0000:00/0000:00:17.0/ata1/host0/target0:0:0/0:0:0:0/block/sda/sda2", false));
        QVERIFY(linkDevice("179:1", "platform/mmc0/mmc0:0001/block/mmcblk0/mmcblk0p1", true));
        m_paths.sysDevBlock = m_dir.filePath("sys/dev/block").toStdString();
        m_paths.diskByLabel = m_dir.filePath("dev/disk/by-label").toStdString();
    }

    void parsesFieldsAndEscapes() {
        const auto entries = MountTable::parse(kSample);
        QCOMPARE(entries.size(), std::size_t(13)); // the malformed line is skipped
        const MountEntry& disk = entries[2];
        QCOMPARE(disk.mountID, 30);
        QCOMPARE(disk.parentID, 27);
        QCOMPARE(disk.major, 8u);
        QCOMPARE(disk.minor, 17u);
        QCOMPARE(disk.mountPoint, std::string("/run/media/ana/My Disk"));
        QCOMPARE(disk.fsType, std::string("vfat")); // after the optional fields
        QCOMPARE(disk.source, std::string("/dev/sdb1"));
        QCOMPARE(entries[6].root, std::string("/home"));

        QCOMPARE(MountTable::unescape("a\\011b\\012c\\134d\\040"), std::string("a\tb\nc\\d "));
        QCOMPARE(MountTable::unescape("trailing\\04"), std::string("trailing\\04"));
        QCOMPARE(MountTable::unescape("\\999"), std::string("\\999"));
    }

    void keepsOnlyUserVolumesInTableOrder() {
        const auto volumes = MountTable::userVolumes(MountTable::parse(kSample));
        // "/" is This Computer; pseudo file systems, /proc, /sys, /snap, /boot/efi and
        // /run (outside /run/media) are hidden; the later mount on /mnt/share wins.
        QCOMPARE(mountPoints(volumes),
                 (QStringList{"/run/media/ana/My Disk", "/media/sdcard", "/srv/home-bind",
                              "/home/ana/remote", "/mnt/share"}));
        QCOMPARE(volumes.back().fsType, std::string("ext4"));
    }

    void mountsOfPlainFilesAreNotVolumes() {
        QVERIFY(apptest::writeFile(m_dir.filePath("hosts"), 10));
        QVERIFY(apptest::makeDir(m_dir.filePath("realdir")));
        const std::string text = "50 27 8:2 /etc/hosts " + m_dir.filePath("hosts").toStdString() +
                                 " rw - ext4 /dev/sda2 rw\n51 27 8:2 / " +
                                 m_dir.filePath("realdir").toStdString() +
                                 " rw - ext4 /dev/sda2 rw\n";
        QCOMPARE(mountPoints(MountTable::userVolumes(MountTable::parse(text))),
                 QStringList{m_dir.filePath("realdir")});
    }

    void kindsFollowFileSystemAndDevice() {
        const auto entries = MountTable::parse(kSample);
        auto kind = [&](const char* point) {
            for (const MountEntry& e : entries)
                if (e.mountPoint == point)
                    return MountTable::kindOf(e, m_paths);
            qFatal("no mount at %s", point);
        };
        QVERIFY(kind("/run/media/ana/My Disk") == ScanSourceKind::externalVolume); // USB path
        QVERIFY(kind("/media/sdcard") == ScanSourceKind::externalVolume);          // removable disk
        QVERIFY(kind("/srv/home-bind") == ScanSourceKind::internalVolume);
        QVERIFY(kind("/home/ana/remote") == ScanSourceKind::networkVolume);
        QVERIFY(MountTable::kindOf(entries[4], m_paths) == ScanSourceKind::networkVolume); // nfs4
        QVERIFY(entries.back().mountPoint == "/mnt/share");
        QVERIFY(MountTable::kindOf(entries.back(), m_paths) == ScanSourceKind::internalVolume);
        for (const char* type : {"nfs", "cifs", "smb3", "9p", "virtiofs", "fuse.rclone"})
            QVERIFY2(MountTable::isNetworkFileSystem(type), type);
        QVERIFY(!MountTable::isNetworkFileSystem("fuse"));
        QVERIFY(!MountTable::isNetworkFileSystem("nfsd"));
    }

    void labelsComeFromTheByLabelFolder() {
        const QString byLabel = m_dir.filePath("dev/disk/by-label");
        QVERIFY(apptest::makeDir(byLabel));
        const QByteArray node = (byLabel + "/Backup\\x20Drive").toLocal8Bit();
        if (::mknod(node.constData(), S_IFBLK | 0600, makedev(8, 17)) != 0)
            QSKIP("creating a block device node needs root");
        const QByteArray other = (byLabel + "/OTHER").toLocal8Bit();
        QCOMPARE(::mknod(other.constData(), S_IFBLK | 0600, makedev(8, 3)), 0);
        const auto entries = MountTable::parse(kSample);
        QCOMPARE(MountTable::labelOf(entries[2], m_paths),
                 std::optional<std::string>("Backup Drive"));
        QCOMPARE(MountTable::labelOf(entries.back(), m_paths), std::optional<std::string>("OTHER"));
        QVERIFY(!MountTable::labelOf(entries[1], m_paths)); // sda2 has no label here
        QVERIFY(!MountTable::labelOf(entries[4], m_paths)); // nfs, no device
    }

    void realTableAndCapacity() {
        const auto capacity = volumeCapacity(m_dir.path().toStdString());
        QVERIFY(capacity);
        QVERIFY(capacity->total > 0);
        QVERIFY(capacity->available >= 0 && capacity->available <= capacity->total);
        QVERIFY(!volumeCapacity(m_dir.filePath("missing").toStdString()));

        const auto entries = MountTable::read(); // this process's own table
        QVERIFY(!entries.empty());
        bool root = false;
        for (const MountEntry& e : entries)
            root |= e.mountPoint == "/";
        QVERIFY(root);
    }
};

QTEST_GUILESS_MAIN(MountTableTest)
#include "MountTableTest.moc"
