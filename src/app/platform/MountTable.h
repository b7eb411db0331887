#pragma once
// The system's mount table as read from /proc/self/mountinfo, and the rules that turn
// it into the volumes a user would call drives: pseudo and hidden mounts left out,
// each kept mount classed as internal, external (removable or USB-backed block
// device, also through device-mapper and md layers) or network (by file system
// type), named by its file system label or its mount point's last component, and
// told apart from another file system mounted at the same place later.
//
// The sysfs, /dev and udev database locations are parameters so the rules can be
// checked against sample trees. Threads: any thread. Everything here except
// volumeCapacity() reads only sysfs, devtmpfs and /run, which never wait on a disk or
// a server; volumeCapacity() may hang on a dead network mount.

#include "core/model/Types.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ringfold {

/// One line of mountinfo, with the octal escapes (\040 and friends) decoded.
struct MountEntry {
    int mountID = 0;
    int parentID = 0;
    unsigned major = 0;
    unsigned minor = 0;
    std::string root;       // the mounted folder of the file system ("/" for whole)
    std::string mountPoint; // where it is mounted
    std::string fsType;     // e.g. "ext4", "nfs4", "fuse.sshfs"
    std::string source;     // e.g. "/dev/sda1", "server:/export"
    friend bool operator==(const MountEntry&, const MountEntry&) = default;
};

/// Where the system keeps the facts the volume rules read.
struct MountSystemPaths {
    std::string sysRoot = "/sys";
    std::string devRoot = "/dev";
    /// udev's per-device property files ("b8:17" holds "E:ID_FS_UUID=...").
    std::string udevData = "/run/udev/data";
};

/// A block device number.
struct DeviceNumber {
    unsigned major = 0;
    unsigned minor = 0;
    friend bool operator==(const DeviceNumber&, const DeviceNumber&) = default;
};

class MountTable {
public:
    /// Parses mountinfo text; malformed lines are skipped.
    static std::vector<MountEntry> parse(std::string_view text);
    /// The current table of this process's mount namespace (empty when unreadable).
    static std::vector<MountEntry> read(const std::string& path = "/proc/self/mountinfo");
    /// Decodes the kernel's \ooo escapes of spaces, tabs, newlines and backslashes.
    static std::string unescape(std::string_view field);

    /// True for a mount a user would see as a drive: not a pseudo file system and not
    /// under /proc, /sys, /dev, /snap, /boot/efi or /run (but /run/media is kept).
    static bool isUserVisible(const MountEntry& entry);
    static bool isNetworkFileSystem(std::string_view fsType);
    /// The block device holding the file system: the mount's own numbers, or for the
    /// anonymous numbers (major 0) that btrfs reports, the device named by the source.
    static std::optional<DeviceNumber> blockDeviceOf(const MountEntry& entry,
                                                     const MountSystemPaths& paths = {});
    /// network by file system type; external when the block device, or any device it
    /// is layered on (an encrypted or LVM volume's slaves), is removable or hangs off
    /// USB; internal otherwise.
    static ScanSourceKind kindOf(const MountEntry& entry, const MountSystemPaths& paths = {});
    /// The label of the mount's file system, when it has one.
    static std::optional<std::string> labelOf(const MountEntry& entry,
                                              const MountSystemPaths& paths = {});
    /// Tells this file system (and the folder of it that is mounted) from any other:
    /// its UUID when udev or /dev/disk/by-uuid knows it, else its device numbers and
    /// source. Two sticks that get the same device and mount point differ here.
    static std::string fileSystemIdentity(const MountEntry& entry,
                                          const MountSystemPaths& paths = {});
    /// The user-visible mounts in table order, one per mount point (the last mount on
    /// a point hides earlier ones), without "/" and without mounts of plain files
    /// (looked for on local disk file systems only, where it cannot block).
    static std::vector<MountEntry> userVolumes(const std::vector<MountEntry>& table);
};

/// Total and available bytes of the file system holding `path` (statvfs); none when
/// it cannot be read. May block for as long as the file system's server is away.
struct VolumeCapacity {
    std::int64_t total = 0;
    std::int64_t available = 0;
};
std::optional<VolumeCapacity> volumeCapacity(const std::string& path);

} // namespace ringfold
