#pragma once
// The system's mount table as read from /proc/self/mountinfo, and the rules that turn
// it into the volumes a user would call drives: pseudo and hidden mounts left out,
// each kept mount classed as internal, external (removable or USB-backed block
// device) or network (by file system type), named by its file system label or its
// mount point's last component, with capacities in bytes from statvfs.
//
// The sysfs and /dev locations are parameters so the rules can be checked against
// sample trees. Threads: pure functions and plain file reads, any thread.

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
    std::string sysDevBlock = "/sys/dev/block";
    std::string diskByLabel = "/dev/disk/by-label";
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
    /// network by file system type; external when the backing block device is
    /// removable or hangs off USB; internal otherwise.
    static ScanSourceKind kindOf(const MountEntry& entry, const MountSystemPaths& paths = {});
    /// The label of the mount's block device, when it has one.
    static std::optional<std::string> labelOf(const MountEntry& entry,
                                              const MountSystemPaths& paths = {});
    /// The user-visible mounts in table order, one per mount point (the last mount on
    /// a point hides earlier ones), without "/" and without mounts of plain files.
    static std::vector<MountEntry> userVolumes(const std::vector<MountEntry>& table);
};

/// Total and available bytes of the file system holding `path` (statvfs); none when
/// it cannot be read.
struct VolumeCapacity {
    std::int64_t total = 0;
    std::int64_t available = 0;
};
std::optional<VolumeCapacity> volumeCapacity(const std::string& path);

} // namespace ringfold
