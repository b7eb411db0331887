#pragma once
// The tree operations of moving and copying on disk, under the one name their callers
// use (FileTreeOps::copyEntry, FileTreeOps::Fd). Each job is a class of its own, with
// its contract in its header:
//   FolderWalk         the descriptor-bound walk the others run on; Fd, listTree
//   TreeCopy           copying an item (copyEntry) and removing a copy (removeTree)
//   CopyVerification   comparing a copy with its source byte for byte (verifyTree)
//   RemovabilityCheck  whether a move may remove its source once copied (checkRemovable)
//   SourceRemoval      removing only what a copy took unchanged (removeCopied)
//   CopyManifest       the record of what a copy took (FileTreeOps::Manifest)
// All of them work on folder descriptors and names (the *at system calls), so that
// renamed or replaced parent folders cannot redirect them. Every function returns 0 or
// an errno value. Blocking; callers make one call per item from one thread.

#include "app/operations/CopyManifest.h"
#include "app/operations/CopyVerification.h"
#include "app/operations/FolderWalk.h"
#include "app/operations/RemovabilityCheck.h"
#include "app/operations/SourceRemoval.h"
#include "app/operations/TreeCopy.h"

namespace ringfold {

// The bases bring their static functions and types (no two share a name), so that
// FileTreeOps::copyEntry and the rest read the same at every caller.
class FileTreeOps : public FolderWalk,
                    public TreeCopy,
                    public CopyVerification,
                    public RemovabilityCheck,
                    public SourceRemoval {
public:
    using Manifest = CopyManifest;
};

} // namespace ringfold
