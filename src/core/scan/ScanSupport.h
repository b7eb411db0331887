#pragma once
// What both scan back-ends share: the device and system-root probes, the paths a
// scan of "/" leaves out, lexical path clean-up and the volume figures of a scan.

#include "core/model/FileNode.h"
#include "core/model/Types.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace ringfold {

using DeviceIDProvider = std::function<std::optional<std::uint32_t>(const std::string& path)>;
using SystemRootTest = std::function<bool(const std::string& path)>;

/// dev_t folded to 32 bits (12-bit major, 20-bit minor), as the tracker keys use it.
std::uint32_t foldDeviceID(unsigned major, unsigned minor);
/// Device of the object at `path` (following a final symlink); nothing when unreadable.
std::optional<std::uint32_t> defaultDeviceID(const std::string& path);
/// True when the cleaned-up path is "/".
bool isFileSystemRoot(const std::string& path);
/// Absolute, with "." and ".." resolved lexically, duplicate and trailing slashes dropped.
std::string standardizePath(std::string_view path);
/// Pseudo file systems a scan of "/" does not enter: /proc, /sys, /dev, /run.
std::set<std::string> systemRootSkipPaths(const std::string& root);
/// Volume total and free bytes from statvfs (zeros when it fails), the root's allocated
/// size and the restricted count.
SpaceAccounting makeSpaceAccounting(const std::string& path, const FileNode& root,
                                    std::int64_t restrictedCount);
/// The display name of a scanned folder: its last path component, "/" for the root.
std::string rootDisplayName(const std::string& standardizedPath);
/// "/" + name under the root, else path + "/" + name.
std::string childPath(std::string_view parent, std::string_view name);

/// a + b for byte counts, held at INT64_MAX instead of wrapping: the logical sizes of
/// large sparse files can add up to more than 2^63 bytes.
inline std::int64_t addBytes(std::int64_t a, std::int64_t b) {
    std::int64_t sum;
    if (__builtin_add_overflow(a, b, &sum))
        return b > 0 ? std::numeric_limits<std::int64_t>::max()
                     : std::numeric_limits<std::int64_t>::min();
    return sum;
}

} // namespace ringfold
