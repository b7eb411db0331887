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
    "31 27 0:40 / /run/user/1000/doc rw - fuse.portal portal rw\n"
    "32 27 0:50 / /mnt/share rw - nfs4 server:/export rw\n"
    "34 27 8:2 /home /srv/home-bind rw - ext4 /dev/sda2 rw\n"
    "35 27 7:0 / /snap/core/1 ro - ext4 /dev/loop0 ro\n"
    "37 27 8:1 / /boot/efi rw - vfat /dev/sda1 rw\n"
    "this line is not a mount\n"
    "40 27 8:3 / /mnt/share rw - ext4 /dev/sda3 rw\n";

// One mount from the fields after the ids, up to the source: "8:17 / /m rw - vfat /dev/sdb1".
MountEntry entry(const std::string& fields) {
    return MountTable::parse("1 2 " + fields + " rw").at(0);
}

std::vector<std::string> mountPoints(const std::vector<MountEntry>& entries) {
    std::vector<std::string> out;
    for (const MountEntry& e : entries)
        out.push_back(e.mountPoint);
    return out;
}

} // namespace

class MountTableTest : public QObject {
    Q_OBJECT

    FixtureTree m_fs;
    MountSystemPaths m_paths;

    // A block device as sysfs shows it: devices/... (a partition's disk holds "removable"),
    // dev/block/MAJ:MIN, class/block/NAME/dev, and a mapped device's slaves/.
    void device(const std::string& numbers, const std::string& folder,
                const std::vector<std::string>& slaves = {}, const char* removable = "0\n") {
        const std::string dir = "sys/devices/" + folder;
        m_fs.makeFolder(dir);
        m_fs.writeText(dir.substr(0, dir.rfind('/')) + "/removable", removable);
        m_fs.symlink(m_fs.fullPath(dir), "sys/dev/block/" + numbers);
        m_fs.writeText("sys/class/block/" + dir.substr(dir.rfind('/') + 1) + "/dev", numbers);
        for (const std::string& slave : slaves)
            m_fs.symlink(m_fs.fullPath("sys/devices/" + slave),
                         dir + "/slaves/" + slave.substr(slave.rfind('/') + 1));
    }

private slots:
    void initTestCase() {
        device("8:17", "pci0/usb2/2-1/block/sdb/sdb1");
        device("8:33", "pci0/usb2/2-2/block/sdc/sdc1");
        device("8:2", "pci0/ata1/block/sda/sda2");
        device("8:3", "pci0/ata1/block/sda/sda3");
        device("179:1", "platform/mmc0/block/mmcblk0/mmcblk0p1", {}, "1\n");
        device("253:0", "virtual/block/dm-0", {"pci0/usb2/2-1/block/sdb/sdb1"});
        device("253:1", "virtual/block/dm-1", {"pci0/ata1/block/sda/sda3"});
        device("253:2", "virtual/block/dm-2", {"virtual/block/dm-0"}); // LVM in LUKS
        m_fs.writeText("dev/dm-0", "");
        m_fs.symlink("../dm-0", "dev/mapper/luks-usb");
        m_fs.writeText("udev/b8:17", "S:disk/by-uuid/AAAA-1111\nE:ID_FS_LABEL=USB_STICK\n"
                                     "E:ID_FS_LABEL_ENC=USB\\x20STICK\n");
        m_fs.writeText("udev/b8:33", "E:ID_FS_UUID=5e1f-btrfs\n");
        m_paths = {m_fs.fullPath("sys"), m_fs.fullPath("dev"), m_fs.fullPath("udev")};
    }

    void parsesAndKeepsOnlyUserVolumes() {
        const auto entries = MountTable::parse(kSample);
        QCOMPARE(entries.size(), std::size_t(9)); // the malformed line is skipped
        QVERIFY(entries[2] == (MountEntry{30, 27, 8, 17, "/", "/run/media/ana/My Disk", "vfat",
                                          "/dev/sdb1"})); // after the optional fields
        QCOMPARE(MountTable::unescape("a\\011b\\012c\\134d\\040"), std::string("a\tb\nc\\d "));
        QCOMPARE(MountTable::unescape("trailing\\04 \\999"), std::string("trailing\\04 \\999"));
        // "/" is This Computer; pseudo file systems, /proc, /sys, /snap, /boot/efi and
        // /run (outside /run/media) are hidden; the later mount on /mnt/share wins.
        const auto volumes = MountTable::userVolumes(entries);
        QVERIFY(mountPoints(volumes) == (std::vector<std::string>{"/run/media/ana/My Disk",
                                                                  "/srv/home-bind", "/mnt/share"}));
        QCOMPARE(volumes.back().fsType, std::string("ext4"));

        // Bind mounts of single files (container host files) are not volumes.
        m_fs.writeFile("hosts", 10);
        m_fs.makeFolder("dir");
        const auto binds = MountTable::parse("1 2 8:2 /etc/hosts " + m_fs.fullPath("hosts") +
                                             " rw - ext4 /dev/sda2 rw\n1 2 8:2 / " +
                                             m_fs.fullPath("dir") + " rw - ext4 /dev/sda2 rw\n");
        QVERIFY(mountPoints(MountTable::userVolumes(binds)) ==
                std::vector<std::string>{m_fs.fullPath("dir")});
    }

    void kindAndIdentityFollowTheDeviceStack() {
        const auto ext = ScanSourceKind::externalVolume, in = ScanSourceKind::internalVolume;
        const std::vector<std::pair<const char*, ScanSourceKind>> cases{
            {"8:17 / /m rw - vfat /dev/sdb1", ext},             // USB
            {"179:1 / /m rw - exfat /dev/mmcblk0p1", ext},      // removable card
            {"8:2 /home /m rw - ext4 /dev/sda2", in},           // SATA
            {"253:0 / /m rw - ext4 /dev/mapper/luks-usb", ext}, // LUKS on USB
            {"253:1 / /m rw - ext4 /dev/mapper/luks-int", in},  // LUKS on SATA
            {"253:2 / /m rw - ext4 /dev/mapper/vg-lv", ext},    // LVM in LUKS on USB
            {"0:45 / /m rw - btrfs /dev/sdc1", ext},            // anonymous numbers
            {"0:46 / /m rw - btrfs /dev/mapper/luks-usb", ext}, // ... through a link
            {"0:50 / /m rw - nfs4 server:/export", ScanSourceKind::networkVolume}};
        for (const auto& [line, kind] : cases)
            QVERIFY2(MountTable::kindOf(entry(line), m_paths) == kind, line);

        // Pairs of mounts, and whether they show the same folder of the same file system.
        const std::vector<std::tuple<const char*, const char*, bool>> pairs{
            // btrfs gets new anonymous numbers on every mount; its UUID stays.
            {"0:45 / /m rw - btrfs /dev/sdc1", "0:98 / /x rw - btrfs /dev/sdc1", true},
            {"0:45 / /m rw - btrfs /dev/sdc1", "0:45 /@home /m rw - btrfs /dev/sdc1", false},
            // Without a UUID: device and source; without a device: type and source.
            {"8:2 / /m rw - ext4 /dev/sda2", "8:2 / /m rw - ext4 /dev/sdz9", false},
            {"0:50 / /m rw - nfs4 server:/e", "0:51 / /m rw - nfs4 server:/e", true},
            {"0:50 / /m rw - nfs4 server:/e", "0:50 / /m rw - nfs4 other:/e", false}};
        for (const auto& [a, b, same] : pairs)
            QVERIFY2((MountTable::fileSystemIdentity(entry(a), m_paths) ==
                      MountTable::fileSystemIdentity(entry(b), m_paths)) == same,
                     b);
        QCOMPARE(MountTable::labelOf(entry("8:17 / /m rw - vfat /dev/sdb1"), m_paths),
                 std::optional<std::string>("USB STICK"));

        // Without udev's database: the names of /dev/disk/by-label and by-uuid.
        auto node = [&](const char* rel) {
            return ::mknod(m_fs.fullPath(rel).c_str(), S_IFBLK | 0600, makedev(8, 3)) == 0;
        };
        m_fs.makeFolder("dev/disk/by-label");
        m_fs.makeFolder("dev/disk/by-uuid");
        if (!node("dev/disk/by-label/Backup\\x20Drive") || !node("dev/disk/by-uuid/0123-ABCD"))
            SKIP_OR_FAIL_QTEST("creating a block device node needs root");
        const MountEntry e = entry("8:3 / /m rw - ext4 /dev/sda3");
        QCOMPARE(MountTable::labelOf(e, m_paths), std::optional<std::string>("Backup Drive"));
        QVERIFY(MountTable::fileSystemIdentity(e, m_paths).find("0123-ABCD") != std::string::npos);
    }
};

QTEST_GUILESS_MAIN(MountTableTest)
#include "MountTableTest.moc"
