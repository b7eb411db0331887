#pragma once
// Writes a scanned tree as an ncdu JSON export (format 1.2), the interchange format
// that ncdu and gdu read with -f.
//
// Names are bytes: quotes, backslashes and control characters are escaped, every other
// byte (invalid UTF-8 included) is written as it is, as ncdu does, so a name comes back
// byte for byte. Folders carry no size of their own (this program counts a folder as
// the sum of its contents), so any reader totals them to the same figures. The tree
// keeps no inode numbers: copies of shared data are written as the tree holds them,
// the first holder with its size and the others with none, marked "rf_shared"; readers
// that do not know the key still get the totals right.
//
// The walk follows the tree's own links (no stack, no recursion), so memory stays
// constant however deep or wide the tree is. Call it on the thread that owns the tree.

#include "core/model/FileNode.h"
#include "core/model/Types.h"

#include <cstdio>
#include <optional>
#include <string>

namespace ringfold {

struct NcduExportInfo {
    std::string progname = "ringfold";
    std::string progver;
    /// When the scan was made; nothing to leave the field out.
    std::optional<Timestamp> timestamp;
};

/// Writes the subtree under `root` (its name written as its full path). Returns false
/// when writing fails (errno tells why).
bool writeNcduExport(const FileNode& root, std::FILE* out, const NcduExportInfo& info = {});

} // namespace ringfold
