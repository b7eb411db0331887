// Parsing and classifying mount tables, against sample mountinfo text and a sample
// sysfs, /dev and udev database laid out the way the kernel and udev lay them out.

#include "app/platform/MountTable.h"

#include "support/FixtureTree.h"
#include "support/Privileges.h"

#include <QTest>

#include <sys/stat.h>
#include <sys/sysmacros.h>

using namespace ringfold;
using ringfold::test::FixtureTree;

namespace {

const char* const kSample =
    "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
    "27 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw,errors=remount-ro\n"
    "30 27 8:17 / /run/media/ana/My\\040Disk rw,nosuid shared:40 master:2 - vfat /dev/sdb1 rw\n"
    "31 27 0:40 / /run/user/1000 rw - tmpfs tmpfs rw\n"
    "32 27 0:50 / /mnt/share rw - nfs4 server:/export rw\n"
    "34 27 8:2 /home /srv/home-bind rw - ext4 /dev/sda2 rw\n"
    "35 27 7:0 / /snap/core/1 ro - squashfs /dev/loop0 ro\n"
    "36 27 0:61 / /home/ana/remote rw - fuse.sshfs ana@host: rw\n"
    "37 27 8:1 / /boot/efi rw - vfat /dev/sda1 rw\n"
    "39 23 0:33 / /sys/fs/cgroup/memory rw - cgroup cgroup rw,memory\n"
    "this line is not a mount\n"
    "40 27 8:3 / /mnt/share rw - ext4 /dev/sda3 rw\n";

MountEntry entry(const std::string& line) {
    const auto entries = MountTable::parse(line);
    if (entries.size() != 1)
        qFatal("bad sample line %s", line.c_str());
    return entries[0];
}

QStringList mountPoints(const std::vector<MountEntry>& entries) {
    QStringList out;
    for (const MountEntry& e : entries)
        out << QString::fromStdString(e.mountPoint);
    return out;
}

} // namespace

class MountTableTest : public QObject {
    Q_OBJECT

    FixtureTree m_fs;
    MountSystemPaths m_paths;

    // A block device: its sysfs folder, the /sys/dev/block link, /sys/class/block/NAME/dev.
    void device(const std::string& numbers, const std::string& folder, const char* removable) {
        const std::string dir = "sys/devices/" + folder;
        m_fs.makeFolder(dir);
        m_fs.writeText(dir.substr(0, dir.rfind('/')) + "/removable", removable);
        m_fs.symlink(m_fs.fullPath(dir), "sys/dev/block/" + numbers);
        m_fs.writeText("sys/class/block/" + dir.substr(dir.rfind('/') + 1) + "/dev",
                       numbers + "\n");
    }

private slots:
    void initTestCase() {
        const std::string usb =
            "pci0000:00/0000:00:14.0/usb2/2-1/2-1:1.0/host6/target6:0:0/6:0:0:0/";
        device("8:17", usb + "block/sdb/sdb1", "0\n");
        device("8:33", usb + "block/sdc/sdc1", "0\n");
        device("8:2", "pci0000:00/0000:00:17.0/ata1/host0/target0:0:0/0:0:0:0/block/sda/sda2",
               "0\n");
        device("8:3", "pci0000:00/0000:00:17.0/ata1/host0/target0:0:0/0:0:0:0/block/sda/sda3",
               "0\n");
        device("179:1", "platform/mmc0/mmc0:0001/block/mmcblk0/mmcblk0p1", "1\n");
        // Encrypted and LVM volumes: device-mapper devices over the disks in slaves/.
        device("253:0", "virtual/block/dm-0", "0\n");
        device("253:1", "virtual/block/dm-1", "0\n");
        device("253:2", "virtual/block/dm-2", "0\n");
        m_fs.symlink(m_fs.fullPath("sys/devices/" + usb + "block/sdb/sdb1"),
                     "sys/devices/virtual/block/dm-0/slaves/sdb1");
        m_fs.symlink(m_fs.fullPath("sys/devices/pci0000:00/0000:00:17.0/ata1/host0/target0:0:0/"
                                   "0:0:0:0/block/sda/sda3"),
                     "sys/devices/virtual/block/dm-1/slaves/sda3");
        m_fs.symlink(m_fs.fullPath("sys/devices/virtual/block/dm-0"),
                     "sys/devices/virtual/block/dm-2/slaves/dm-0");
        m_fs.writeText("dev/dm-0", "");
        m_fs.symlink("../dm-0", "dev/mapper/luks-usb");
        m_fs.writeText("udev/b8:17", "S:disk/by-uuid/AAAA-1111\nE:ID_FS_UUID=AAAA-1111\n"
                                     "E:ID_FS_LABEL=USB_STICK\nE:ID_FS_LABEL_ENC=USB\\x20STICK\n");
        m_fs.writeText("udev/b8:33", "E:ID_FS_UUID=5e1f-btrfs\n");
        m_paths.sysRoot = m_fs.fullPath("sys");
        m_paths.devRoot = m_fs.fullPath("dev");
        m_paths.udevData = m_fs.fullPath("udev");
    }

    void parsesFieldsAndEscapes() {
        const auto entries = MountTable::parse(kSample);
        QCOMPARE(entries.size(), std::size_t(11)); // the malformed line is skipped
        const MountEntry& disk = entries[2];
        QCOMPARE(disk.mountID, 30);
        QCOMPARE(disk.parentID, 27);
        QCOMPARE(disk.major, 8u);
        QCOMPARE(disk.minor, 17u);
        QCOMPARE(disk.mountPoint, std::string("/run/media/ana/My Disk"));
        QCOMPARE(disk.fsType, std::string("vfat")); // after the optional fields
        QCOMPARE(disk.source, std::string("/dev/sdb1"));
        QCOMPARE(entries[5].root, std::string("/home"));
        QCOMPARE(MountTable::unescape("a\\011b\\012c\\134d\\040"), std::string("a\tb\nc\\d "));
        QCOMPARE(MountTable::unescape("trailing\\04 \\999"), std::string("trailing\\04 \\999"));
    }

    void keepsOnlyUserVolumesInTableOrder() {
        // "/" is This Computer; pseudo file systems, /proc, /sys, /snap, /boot/efi and
        // /run (outside /run/media) are hidden; the later mount on /mnt/share wins.
        const auto volumes = MountTable::userVolumes(MountTable::parse(kSample));
        QCOMPARE(mountPoints(volumes), (QStringList{"/run/media/ana/My Disk", "/srv/home-bind",
                                                    "/home/ana/remote", "/mnt/share"}));
        QCOMPARE(volumes.back().fsType, std::string("ext4"));

        // Bind mounts of single files (container host files) are not volumes.
        m_fs.writeFile("hosts", 10);
        m_fs.makeFolder("realdir");
        const std::string text = "50 27 8:2 /etc/hosts " + m_fs.fullPath("hosts") +
                                 " rw - ext4 /dev/sda2 rw\n51 27 8:2 / " +
                                 m_fs.fullPath("realdir") + " rw - ext4 /dev/sda2 rw\n";
        QCOMPARE(mountPoints(MountTable::userVolumes(MountTable::parse(text))),
                 QStringList{QString::fromStdString(m_fs.fullPath("realdir"))});
    }

    void kindsFollowTheDeviceStack_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<ScanSourceKind>("kind");
        const auto external = ScanSourceKind::externalVolume;
        const auto internal = ScanSourceKind::internalVolume;
        const auto network = ScanSourceKind::networkVolume;
        QTest::newRow("usb") << "1 2 8:17 / /m rw - vfat /dev/sdb1 rw" << external;
        QTest::newRow("removable card")
            << "1 2 179:1 / /m rw - exfat /dev/mmcblk0p1 rw" << external;
        QTest::newRow("ata") << "1 2 8:2 /home /m rw - ext4 /dev/sda2 rw" << internal;
        QTest::newRow("luks on usb")
            << "1 2 253:0 / /m rw - ext4 /dev/mapper/luks-usb rw" << external;
        QTest::newRow("luks on ata")
            << "1 2 253:1 / /m rw - ext4 /dev/mapper/luks-int rw" << internal;
        QTest::newRow("lvm on luks on usb")
            << "1 2 253:2 / /m rw - ext4 /dev/mapper/vg-lv rw" << external;
        QTest::newRow("btrfs on usb") << "1 2 0:45 / /m rw - btrfs /dev/sdc1 rw" << external;
        QTest::newRow("btrfs in luks on usb")
            << "1 2 0:46 / /m rw - btrfs /dev/mapper/luks-usb rw" << external;
        QTest::newRow("btrfs, unknown device")
            << "1 2 0:47 / /m rw - btrfs /dev/nvme0n1p2 rw" << internal;
        QTest::newRow("fuse") << "1 2 0:48 / /m rw - fuse.portal portal rw" << internal;
        QTest::newRow("nfs") << "1 2 0:50 / /m rw - nfs4 server:/export rw" << network;
        QTest::newRow("sshfs") << "1 2 0:61 / /m rw - fuse.sshfs ana@host: rw" << network;
        QTest::newRow("smb3") << "1 2 0:62 / /m rw - smb3 //nas/share rw" << network;
    }

    void kindsFollowTheDeviceStack() {
        QFETCH(QString, line);
        QFETCH(ScanSourceKind, kind);
        QVERIFY(MountTable::kindOf(entry(line.toStdString()), m_paths) == kind);
    }

    void identityTellsFileSystemsApart() {
        auto identity = [&](const char* line) {
            return MountTable::fileSystemIdentity(entry(line), m_paths);
        };
        const std::string stick = identity("1 2 8:17 / /m rw - vfat /dev/sdb1 rw");
        QVERIFY(stick.find("AAAA-1111") != std::string::npos);
        QCOMPARE(MountTable::labelOf(entry("1 2 8:17 / /m rw - vfat /dev/sdb1 rw"), m_paths),
                 std::optional<std::string>("USB STICK"));
        // btrfs gets new anonymous numbers on every mount; its UUID stays.
        QCOMPARE(identity("1 2 0:45 / /m rw - btrfs /dev/sdc1 rw"),
                 identity("7 2 0:98 / /x rw - btrfs /dev/sdc1 rw"));
        QVERIFY(identity("1 2 0:45 / /m rw - btrfs /dev/sdc1 rw") !=
                identity("1 2 0:45 /@home /m rw - btrfs /dev/sdc1 rw"));
        // Without a UUID: device and source; without a device: type and source.
        QVERIFY(identity("1 2 8:2 / /m rw - ext4 /dev/sda2 rw") !=
                identity("1 2 8:2 / /m rw - ext4 /dev/sdz9 rw"));
        QCOMPARE(identity("1 2 0:50 / /m rw - nfs4 server:/export rw"),
                 identity("1 2 0:51 / /m rw - nfs4 server:/export rw"));
        QVERIFY(identity("1 2 0:50 / /m rw - nfs4 server:/export rw") !=
                identity("1 2 0:50 / /m rw - nfs4 other:/export rw"));
    }

    void byLabelAndByUuidNamesWithoutUdev() {
        m_fs.makeFolder("dev/disk/by-label");
        if (::mknod(m_fs.fullPath("dev/disk/by-label/Backup\\x20Drive").c_str(), S_IFBLK | 0600,
                    makedev(8, 3)) != 0)
            SKIP_OR_FAIL_QTEST("creating a block device node needs root");
        m_fs.makeFolder("dev/disk/by-uuid");
        QCOMPARE(::mknod(m_fs.fullPath("dev/disk/by-uuid/0123-ABCD").c_str(), S_IFBLK | 0600,
                         makedev(8, 3)),
                 0);
        const MountEntry e = entry("1 2 8:3 / /m rw - ext4 /dev/sda3 rw");
        QCOMPARE(MountTable::labelOf(e, m_paths), std::optional<std::string>("Backup Drive"));
        QVERIFY(MountTable::fileSystemIdentity(e, m_paths).find("0123-ABCD") != std::string::npos);
        QVERIFY(!MountTable::labelOf(entry("1 2 8:2 / /m rw - ext4 /dev/sda2 rw"), m_paths));
    }

    void realTableAndCapacity() {
        const auto capacity = volumeCapacity(m_fs.root());
        QVERIFY(capacity && capacity->total > 0);
        QVERIFY(capacity->available >= 0 && capacity->available <= capacity->total);
        QVERIFY(!volumeCapacity(m_fs.fullPath("missing")));
        const auto table = MountTable::read(); // this process's own table
        QVERIFY(std::any_of(table.begin(), table.end(),
                            [](const MountEntry& e) { return e.mountPoint == "/"; }));
    }
};

QTEST_GUILESS_MAIN(MountTableTest)
#include "MountTableTest.moc"
