#pragma once
// Decides the cloud state of an item from its flags word and its absolute path,
// without asking any cloud service. Stateless; safe from any thread.

#include "core/model/Types.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ringfold {

/// Bit 30 of the flags word: the item's data is not stored locally.
inline constexpr std::uint32_t kDatalessFlag = 0x40000000u;

class CloudStatusDetector {
public:
    /// The two cloud-root prefixes under a home folder, each ending in "/".
    static std::vector<std::string> cloudRoots(std::string_view homePath);
    /// The current user's home folder ($HOME, else the password database).
    static std::string homeFolder();

    static CloudStatus status(std::uint32_t flags, std::string_view path,
                              const std::vector<std::string>& cloudRoots);

    /// The flags word of a file on Linux: bit 30 for the placeholders we recognise
    /// (virtual files of Nextcloud and ownCloud in suffix mode).
    static std::uint32_t linuxFlags(std::string_view name, bool isRegularFile);
};

/// Where a folder stands against the cloud roots, so that its entries get their
/// cloud status without anyone building their full paths (on a deep tree that would
/// cost time and memory in the square of the depth). Gives the same answers as
/// CloudStatusDetector::status on folder + "/" + name.
class CloudScope {
public:
    CloudScope() = default;
    /// The scope of the folder at the absolute, cleaned-up `path`. At most 64 roots.
    static CloudScope ofFolder(std::string_view path, const std::vector<std::string>& roots);
    /// The scope of the subfolder `name`.
    CloudScope child(std::string_view name, const std::vector<std::string>& roots) const;
    /// The status of an entry of this folder with flags word `flags`.
    CloudStatus status(std::uint32_t flags) const {
        return (flags & kDatalessFlag) ? CloudStatus::cloudPlaceholder
               : m_inside              ? CloudStatus::cloudDownloaded
                                       : CloudStatus::notApplicable;
    }

private:
    bool m_inside = false;          // folder + "/" begins with a root
    std::uint64_t m_above = 0;      // bit i: root i is longer than folder + "/" and begins with it
    std::size_t m_prefixLength = 0; // length of folder + "/"
};

} // namespace ringfold
