#pragma once
// Copying an item on disk, on folder descriptors and names, and removing a copy that
// could not be finished. File data goes through FileData (holes stay holes), owners,
// attributes, modes and times through FileMetadata, names of one file through
// LinkTracker. Byte counts are the file data written. Every function returns 0 or an
// errno value. Blocking; callers make one call per item from one thread.

#include "app/operations/CopyManifest.h"

#include <cstdint>
#include <functional>

namespace ringfold {

class TreeCopy {
public:
    /// Copies one item (recursively) to a new name, which must not exist, with its owner
    /// where permitted, extended attributes, modes and times; holes of sparse files stay
    /// holes, and names of one file inside the item stay names of one file. `created`
    /// tells whether the new top-level entry was made, so the caller can remove it.
    /// `copied`, when given, receives every source entry as it was copied. `onBytes`,
    /// when given, hears of the file data written, a few MiB at a time.
    static int copyEntry(int srcDir, const char* srcName, int dstDir, const char* dstName,
                         bool& created, CopyManifest* copied = nullptr,
                         const std::function<void(std::int64_t bytes)>& onBytes = {});
    /// Removes an item and everything in it. `ownCopy`: the item is a partial copy of
    /// ours, whose folders may carry read-only bits copied from the source.
    static int removeTree(int dir, const char* name, bool ownCopy);
};

} // namespace ringfold
