#pragma once
// Dropping the last reference to a tree unmaps its arena, which for millions of nodes
// takes long enough to stall the GUI; these helpers hand the reference to a pool
// thread instead.
//
// Threads: call from any thread; the release happens on Qt's global thread pool.

#include "core/model/FileNode.h"

namespace ringfold {

/// Takes `node` (leaving it empty) and drops it on a background thread.
void releaseInBackground(NodePtr&& node);

} // namespace ringfold
