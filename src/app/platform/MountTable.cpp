#include "app/platform/MountTable.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace ringfold {

namespace {

constexpr std::array<std::string_view, 21> kPseudoTypes{
    "proc",     "sysfs",       "devtmpfs", "tmpfs",     "overlay", "squashfs",   "autofs",
    "efivarfs", "binfmt_misc", "mqueue",   "debugfs",   "tracefs", "securityfs", "pstore",
    "bpf",      "fusectl",     "configfs", "hugetlbfs", "nsfs",    "devpts",     "ramfs"};

constexpr std::array<std::string_view, 15> kNetworkTypes{
    "nfs",      "nfs4",      "cifs",   "smb3",     "smbfs",      "9p",          "afs",
    "ceph",     "glusterfs", "lustre", "virtiofs", "fuse.sshfs", "fuse.rclone", "fuse.gvfsd-fuse",
    "fuse.s3fs"};

constexpr std::array<std::string_view, 5> kHiddenTrees{"/proc", "/sys", "/dev", "/snap",
                                                       "/boot/efi"};

bool isAtOrUnder(std::string_view path, std::string_view base) {
    return path.substr(0, base.size()) == base &&
           (path.size() == base.size() || path[base.size()] == '/');
}

std::vector<std::string_view> splitFields(std::string_view line) {
    std::vector<std::string_view> fields;
    std::size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && line[i] == ' ')
            ++i;
        const std::size_t start = i;
        while (i < line.size() && line[i] != ' ')
            ++i;
        if (i > start)
            fields.push_back(line.substr(start, i - start));
    }
    return fields;
}

template <typename T> bool parseNumber(std::string_view text, T& out, int base = 10) {
    auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), out, base);
    return !text.empty() && ec == std::errc() && ptr == text.data() + text.size();
}

std::string readSmallFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string canonical(const std::string& path) {
    char buf[PATH_MAX];
    return ::realpath(path.c_str(), buf) ? std::string(buf) : std::string();
}

// by-label link names escape unsafe bytes as \xHH (udev's encoding).
std::string decodeUdevName(std::string_view name) {
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i) {
        unsigned value = 0;
        if (name[i] == '\\' && i + 3 < name.size() && name[i + 1] == 'x' &&
            parseNumber(name.substr(i + 2, 2), value, 16)) {
            out.push_back(static_cast<char>(value));
            i += 3;
        } else {
            out.push_back(name[i]);
        }
    }
    return out;
}

bool readsOne(const std::string& path) {
    const std::string text = readSmallFile(path);
    return !text.empty() && text[0] == '1';
}

std::string numbers(DeviceNumber dev) {
    return std::to_string(dev.major) + ":" + std::to_string(dev.minor);
}

std::optional<DeviceNumber> parseDeviceNumber(std::string_view text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.remove_suffix(1);
    const std::size_t colon = text.find(':');
    DeviceNumber dev;
    if (colon == std::string_view::npos || !parseNumber(text.substr(0, colon), dev.major) ||
        !parseNumber(text.substr(colon + 1), dev.minor))
        return std::nullopt;
    return dev;
}

std::string lastComponent(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// One "E:KEY=value" property of a block device from udev's database.
std::optional<std::string> udevProperty(const MountSystemPaths& paths, DeviceNumber dev,
                                        std::string_view key) {
    const std::string text = readSmallFile(paths.udevData + "/b" + numbers(dev));
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t eol = rest.find('\n');
        const std::string_view line = rest.substr(0, eol);
        rest = eol == std::string_view::npos ? std::string_view() : rest.substr(eol + 1);
        if (line.size() > key.size() + 3 && line.substr(0, 2) == "E:" &&
            line.substr(2, key.size()) == key && line[2 + key.size()] == '=')
            return std::string(line.substr(3 + key.size()));
    }
    return std::nullopt;
}

// The name of the entry of a /dev/disk/by-* folder that is the device `dev`.
std::optional<std::string> diskLinkName(const std::string& folder, DeviceNumber dev) {
    DIR* dir = ::opendir(folder.c_str());
    if (!dir)
        return std::nullopt;
    std::optional<std::string> found;
    const dev_t wanted = makedev(dev.major, dev.minor);
    while (dirent* d = ::readdir(dir)) {
        const std::string_view name = d->d_name;
        if (name == "." || name == "..")
            continue;
        struct stat st {};
        if (::stat((folder + "/" + d->d_name).c_str(), &st) == 0 && S_ISBLK(st.st_mode) &&
            st.st_rdev == wanted) {
            found = decodeUdevName(name);
            break;
        }
    }
    ::closedir(dir);
    return found;
}

// A device-mapper or md device (LUKS, LVM, RAID) lists the devices it is built on in
// slaves/; the stack is followed down to the real disks.
bool onRemovableHardware(const std::string& device, int depth) {
    if (device.empty() || depth > 8)
        return false;
    if (device.find("/usb") != std::string::npos)
        return true;
    // A partition has no "removable" of its own; its disk (the parent folder) has.
    if (readsOne(device + "/removable") || readsOne(device + "/../removable"))
        return true;
    const std::string slaves = device + "/slaves";
    DIR* dir = ::opendir(slaves.c_str());
    if (!dir)
        return false;
    bool removable = false;
    while (dirent* d = ::readdir(dir)) {
        const std::string_view name = d->d_name;
        if (name != "." && name != ".." &&
            onRemovableHardware(canonical(slaves + "/" + d->d_name), depth + 1)) {
            removable = true;
            break;
        }
    }
    ::closedir(dir);
    return removable;
}

} // namespace

std::string MountTable::unescape(std::string_view field) {
    std::string out;
    out.reserve(field.size());
    for (std::size_t i = 0; i < field.size(); ++i) {
        unsigned value = 0;
        if (field[i] == '\\' && i + 3 < field.size() &&
            parseNumber(field.substr(i + 1, 3), value, 8) && value < 256) {
            out.push_back(static_cast<char>(value));
            i += 3;
        } else {
            out.push_back(field[i]);
        }
    }
    return out;
}

std::vector<MountEntry> MountTable::parse(std::string_view text) {
    // 36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 - ext3 /dev/root rw,errors=continue
    std::vector<MountEntry> entries;
    while (!text.empty()) {
        const std::size_t eol = text.find('\n');
        const std::string_view line = text.substr(0, eol);
        text = eol == std::string_view::npos ? std::string_view() : text.substr(eol + 1);

        const auto fields = splitFields(line);
        const auto dash = std::find(fields.begin(), fields.end(), std::string_view("-"));
        if (fields.size() < 6 || dash == fields.end() || dash - fields.begin() < 6 ||
            fields.end() - dash < 3)
            continue;
        MountEntry e;
        const std::string_view dev = fields[2];
        const std::size_t colon = dev.find(':');
        if (!parseNumber(fields[0], e.mountID) || !parseNumber(fields[1], e.parentID) ||
            colon == std::string_view::npos || !parseNumber(dev.substr(0, colon), e.major) ||
            !parseNumber(dev.substr(colon + 1), e.minor))
            continue;
        e.root = unescape(fields[3]);
        e.mountPoint = unescape(fields[4]);
        e.fsType = unescape(dash[1]);
        e.source = unescape(dash[2]);
        entries.push_back(std::move(e));
    }
    return entries;
}

std::vector<MountEntry> MountTable::read(const std::string& path) {
    return parse(readSmallFile(path));
}

bool MountTable::isNetworkFileSystem(std::string_view fsType) {
    return std::find(kNetworkTypes.begin(), kNetworkTypes.end(), fsType) != kNetworkTypes.end();
}

bool MountTable::isUserVisible(const MountEntry& entry) {
    const std::string_view type = entry.fsType;
    if (std::find(kPseudoTypes.begin(), kPseudoTypes.end(), type) != kPseudoTypes.end() ||
        type.substr(0, 6) == "cgroup")
        return false;
    const std::string_view point = entry.mountPoint;
    for (std::string_view hidden : kHiddenTrees)
        if (isAtOrUnder(point, hidden))
            return false;
    // Desktops mount removable drives under /run/media; the rest of /run is runtime state.
    return !isAtOrUnder(point, "/run") || isAtOrUnder(point, "/run/media");
}

std::optional<DeviceNumber> MountTable::blockDeviceOf(const MountEntry& entry,
                                                      const MountSystemPaths& paths) {
    if (entry.major != 0)
        return DeviceNumber{entry.major, entry.minor};
    // The source names the device node, perhaps through a link (/dev/mapper/x is a
    // link to /dev/dm-0); sysfs knows the numbers of every block device by name.
    const std::string_view source = entry.source;
    if (source.substr(0, 5) != "/dev/")
        return std::nullopt;
    std::string node = canonical(paths.devRoot + std::string(source.substr(4)));
    if (node.empty())
        node = entry.source;
    return parseDeviceNumber(
        readSmallFile(paths.sysRoot + "/class/block/" + lastComponent(node) + "/dev"));
}

ScanSourceKind MountTable::kindOf(const MountEntry& entry, const MountSystemPaths& paths) {
    if (isNetworkFileSystem(entry.fsType))
        return ScanSourceKind::networkVolume;
    const auto dev = blockDeviceOf(entry, paths);
    if (!dev) // no block device at all (fuse, virtual file systems)
        return ScanSourceKind::internalVolume;
    const std::string device = canonical(paths.sysRoot + "/dev/block/" + numbers(*dev));
    return onRemovableHardware(device, 0) ? ScanSourceKind::externalVolume
                                          : ScanSourceKind::internalVolume;
}

std::optional<std::string> MountTable::labelOf(const MountEntry& entry,
                                               const MountSystemPaths& paths) {
    const auto dev = blockDeviceOf(entry, paths);
    if (!dev)
        return std::nullopt;
    std::string label;
    if (const auto encoded = udevProperty(paths, *dev, "ID_FS_LABEL_ENC"))
        label = decodeUdevName(*encoded);
    else if (const auto linked = diskLinkName(paths.devRoot + "/disk/by-label", *dev))
        label = *linked;
    if (label.empty())
        return std::nullopt;
    return label;
}

std::string MountTable::fileSystemIdentity(const MountEntry& entry, const MountSystemPaths& paths) {
    // The mounted folder is part of it: two bind mounts of one disk show different trees.
    const std::string folder = " " + entry.root;
    if (const auto dev = blockDeviceOf(entry, paths)) {
        std::optional<std::string> uuid = udevProperty(paths, *dev, "ID_FS_UUID");
        if (!uuid)
            uuid = diskLinkName(paths.devRoot + "/disk/by-uuid", *dev);
        if (uuid && !uuid->empty())
            return "uuid " + *uuid + folder;
        return "device " + numbers(*dev) + " " + entry.source + folder;
    }
    // Without a block device the numbers are handed out afresh on every mount, so only
    // the type and source (server:/export, the fuse helper's name) say which it is.
    return entry.fsType + " " + entry.source + folder;
}

std::vector<MountEntry> MountTable::userVolumes(const std::vector<MountEntry>& table) {
    std::vector<MountEntry> volumes;
    for (const MountEntry& e : table) {
        if (e.mountPoint == "/" || !isUserVisible(e))
            continue;
        // A later mount on the same point covers the earlier one.
        std::erase_if(volumes, [&](const MountEntry& v) { return v.mountPoint == e.mountPoint; });
        volumes.push_back(e);
    }
    // Bind mounts of single files (container DNS and host files) are not volumes. A
    // network or fuse file system answers stat through its server, which may be gone,
    // so only mounts of local disk file systems, whose root is in memory, are looked at.
    std::erase_if(volumes, [](const MountEntry& v) {
        if (isNetworkFileSystem(v.fsType) || v.fsType.starts_with("fuse"))
            return false;
        struct stat st {};
        return ::stat(v.mountPoint.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
    });
    return volumes;
}

std::optional<VolumeCapacity> volumeCapacity(const std::string& path) {
    struct statvfs vfs {};
    if (::statvfs(path.c_str(), &vfs) != 0)
        return std::nullopt;
    VolumeCapacity c;
    c.total = static_cast<std::int64_t>(vfs.f_blocks) * static_cast<std::int64_t>(vfs.f_frsize);
    c.available = static_cast<std::int64_t>(vfs.f_bavail) * static_cast<std::int64_t>(vfs.f_frsize);
    return c;
}

} // namespace ringfold
