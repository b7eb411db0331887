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

} // namespace ringfold
