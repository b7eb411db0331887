#pragma once
// The product of one scan: the root (which keeps its whole tree alive) and the
// volume figures.

#include "core/model/FileNode.h"
#include "core/model/Types.h"

namespace ringfold {

struct ScanResult {
    NodePtr root;
    SpaceAccounting accounting;
};

} // namespace ringfold
