#pragma once
// Reads an ncdu JSON export (ours, ncdu's or gdu's) into a tree of the same kind a
// scan builds, as the file streams in: no document of the whole file is kept.
//
// Folder totals are the sums of their contents (a folder's own entry size is left
// out, as in a scan); data shared through hard links (entries with the same device
// and inode that say they have more than one link) is counted once, the first entry
// keeping its size, as the scanner does. Hostile input ends with a message naming the
// byte offset: nesting is bounded and followed without recursion, numbers must be
// whole and fit, and the parser's working memory is capped. Memory beyond the tree
// grows only with the depth of the tree and the number of hard-linked files.

#include "core/model/ScanResult.h"
#include "core/scan/ScanBackend.h"
#include "core/scan/ScanProgress.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <stop_token>
#include <string>

namespace ringfold {

struct NcduImport {
    /// Set when the file was read completely; absent on an error.
    std::optional<ScanResult> result;
    ScanCounts counts;
    /// Why the file was rejected, and at which byte.
    std::string error;
    std::uint64_t errorOffset = 0;
    /// True when `stop` ended the reading; `error` then says so too.
    bool cancelled = false;
    /// When the scan was made, from the file's metadata, if it says.
    std::optional<Timestamp> timestamp;

    /// "<source>: byte N: <error>", the message of a refused file.
    std::string describeError(const std::string& source) const {
        return source + ": byte " + std::to_string(errorOffset) + ": " + error;
    }

    /// Folders nested deeper than this are rejected.
    static constexpr std::size_t kMaxDepth = std::size_t(1) << 20;
    /// Bytes the parser may hold at once: one name or key, plus 8 or so per open level.
    static constexpr std::size_t kParserMemory = std::size_t(64) << 20;

    /// Reads `in` to its end. `stop` is tested and `progress` (items and allocated
    /// bytes read so far) updated every few thousand entries.
    static NcduImport read(std::FILE* in, std::stop_token stop = {},
                           ScanProgress* progress = nullptr);
};

} // namespace ringfold
