#include "core/scan/ScanSupport.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <vector>

namespace ringfold {

std::uint32_t foldDeviceID(unsigned major, unsigned minor) {
    return (std::uint32_t(major & 0xFFFu) << 20) | (minor & 0xFFFFFu);
}

std::optional<std::uint32_t> defaultDeviceID(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0)
        return std::nullopt;
    return foldDeviceID(major(st.st_dev), minor(st.st_dev));
}

std::string standardizePath(std::string_view path) {
    std::string abs;
    if (path.empty() || path.front() != '/') {
        std::vector<char> buf(4096);
        while (!::getcwd(buf.data(), buf.size())) {
            if (errno != ERANGE)
                break;
            buf.resize(buf.size() * 2);
        }
        abs = buf.data();
        abs += '/';
    }
    abs += path;
    std::vector<std::string_view> parts;
    std::string_view rest = abs;
    while (!rest.empty()) {
        auto slash = rest.find('/');
        std::string_view part = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
        if (part.empty() || part == ".")
            continue;
        if (part == "..") {
            if (!parts.empty())
                parts.pop_back();
            continue;
        }
        parts.push_back(part);
    }
    std::string out;
    for (auto p : parts) {
        out += '/';
        out += p;
    }
    return out.empty() ? "/" : out;
}

bool isFileSystemRoot(const std::string& path) { return standardizePath(path) == "/"; }

std::set<std::string> systemRootSkipPaths(const std::string& root) {
    std::string base = standardizePath(root);
    if (base.back() != '/')
        base += '/';
    return {base + "proc", base + "sys", base + "dev", base + "run"};
}

SpaceAccounting makeSpaceAccounting(const std::string& path, const FileNode& root,
                                    std::int64_t restrictedCount) {
    SpaceAccounting a;
    struct statvfs vfs {};
    if (::statvfs(path.c_str(), &vfs) == 0) {
        a.volumeTotalCapacity = static_cast<std::int64_t>(vfs.f_blocks) * vfs.f_frsize;
        a.volumeAvailableCapacity = static_cast<std::int64_t>(vfs.f_bavail) * vfs.f_frsize;
    }
    a.enumeratedAllocatedSize = root.allocatedSize();
    a.restrictedPathCount = restrictedCount;
    return a;
}

std::string rootDisplayName(const std::string& standardizedPath) {
    if (standardizedPath == "/")
        return "/";
    return standardizedPath.substr(standardizedPath.rfind('/') + 1);
}

std::string childPath(std::string_view parent, std::string_view name) {
    std::string p;
    p.reserve(parent.size() + name.size() + 1);
    p += parent;
    if (p.empty() || p.back() != '/')
        p += '/';
    p += name;
    return p;
}

} // namespace ringfold
