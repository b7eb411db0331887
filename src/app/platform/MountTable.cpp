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

ScanSourceKind MountTable::kindOf(const MountEntry& entry, const MountSystemPaths& paths) {
    if (isNetworkFileSystem(entry.fsType))
        return ScanSourceKind::networkVolume;
    if (entry.major == 0) // no backing block device (fuse, btrfs subvolume views, ...)
        return ScanSourceKind::internalVolume;
    const std::string link =
        paths.sysDevBlock + "/" + std::to_string(entry.major) + ":" + std::to_string(entry.minor);
    const std::string device = canonical(link);
    if (device.empty())
        return ScanSourceKind::internalVolume;
    if (device.find("/usb") != std::string::npos)
        return ScanSourceKind::externalVolume;
    // A partition has no "removable" of its own; its disk (the parent folder) has.
    if (readsOne(device + "/removable") || readsOne(device + "/../removable"))
        return ScanSourceKind::externalVolume;
    return ScanSourceKind::internalVolume;
}

std::optional<std::string> MountTable::labelOf(const MountEntry& entry,
                                               const MountSystemPaths& paths) {
    if (entry.major == 0 && entry.minor == 0)
        return std::nullopt;
    DIR* dir = ::opendir(paths.diskByLabel.c_str());
    if (!dir)
        return std::nullopt;
    std::string label;
    const dev_t wanted = makedev(entry.major, entry.minor);
    while (dirent* d = ::readdir(dir)) {
        const std::string_view name = d->d_name;
        if (name == "." || name == "..")
            continue;
        struct stat st {};
        if (::stat((paths.diskByLabel + "/" + d->d_name).c_str(), &st) == 0 &&
            S_ISBLK(st.st_mode) && st.st_rdev == wanted) {
            label = decodeUdevName(name);
            break;
        }
    }
    ::closedir(dir);
    if (label.empty())
        return std::nullopt;
    return label;
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
    // Bind mounts of single files (container DNS and host files) are not volumes.
    std::erase_if(volumes, [](const MountEntry& v) {
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
