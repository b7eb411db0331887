#pragma once
// What a copy carries over besides the data: owner, extended attributes (POSIX ACLs
// are extended attributes too), permission bits and times. Every function returns 0
// or an errno value.

#include <sys/stat.h>

namespace ringfold {

class FileMetadata {
public:
    /// Onto an open file or folder `dst` from its open source `src` (described by `st`):
    /// the owner where permitted (quietly: only root gives files away), the extended
    /// attributes, then the permission bits (set-id bits only when the owner was kept),
    /// then the times. The attributes come before the bits because an ACL rewrites the
    /// group bits.
    static int apply(int src, int dst, const struct stat& st);

    /// The extended attributes of an entry that cannot be opened for them (a symbolic
    /// link, a fifo, a device), by name in its folder, without following it.
    static int copyAttributesAt(int srcDir, const char* srcName, int dstDir, const char* dstName);
};

} // namespace ringfold
