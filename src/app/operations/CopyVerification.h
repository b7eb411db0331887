#pragma once
// The comparison of a finished copy with its source before a move removes the source:
// both trees walked side by side on folder descriptors and names, regular files read
// from both in 256 KiB blocks and compared byte for byte. Returns 0 or an errno value;
// a difference reads as EIO. Blocking; callers make one call per item from one thread.

#include "app/operations/CopyManifest.h"

namespace ringfold {

class CopyVerification {
public:
    /// Compares a copy with its source: same kinds, names, link targets and bytes. A
    /// difference reads as EIO. With `copied`, the copy's record, source entries that
    /// are new or changed since they were copied are left out of the comparison.
    static int verifyTree(int srcDir, const char* srcName, int dstDir, const char* dstName,
                          const CopyManifest* copied = nullptr);
};

} // namespace ringfold
