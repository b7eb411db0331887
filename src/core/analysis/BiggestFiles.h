#pragma once
// The largest files of a whole tree, for the biggest-files panel.
//
// One depth-first pass over the tree (children in stored order, folders descended
// into and never listed) with a min-heap bounded by the limit, so memory stays
// proportional to the limit and time is O(n log limit). Among files of equal size the
// ones met first in the walk stay. The walk is iterative: trees may be thousands of
// levels deep. Sizes in bytes. Main thread (reads the tree without locks).

#include "core/model/FileNode.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ringfold {

struct BiggestFileEntry {
    NodeID id = 0;
    /// The file; keeps its tree alive.
    NodePtr node;
    /// Names of the folders strictly between the root and the file, joined with "/";
    /// empty for a file directly under the root.
    std::string relativePath;
    /// Sizes when the list was built.
    std::int64_t allocatedSize = 0;
    std::int64_t logicalSize = 0;

    friend bool operator==(const BiggestFileEntry&, const BiggestFileEntry&) = default;
};

class BiggestFiles {
public:
    /// The `limit` largest files under `root`, largest first; empty when `limit` < 1.
    static std::vector<BiggestFileEntry> find(const FileNode& root, std::int64_t limit);
    /// Folder names between `root` (excluded) and `node` (excluded), outermost first.
    static std::string relativePath(const FileNode& node, const FileNode& root);
};

} // namespace ringfold
