#pragma once
// The removal of a moved item's source once its copy on another file system is
// complete and verified: only the entries the copy took, and only while they are as
// it took them, so that whatever was saved into the item or changed meanwhile stays.
// Works on folder descriptors and names; entry counts are entries, not bytes.
// Blocking; callers make one call per item from one thread.

#include "app/operations/CopyManifest.h"

namespace ringfold {

class SourceRemoval {
public:
    /// Removes from the source of a finished copy only the entries `copied` holds and
    /// that are unchanged since (same inode, size, modification and change times);
    /// whatever is new or changed stays, with the folders holding it. Each entry that
    /// is not a folder is first renamed aside within its folder and checked again
    /// there, so that one put in its place meanwhile (an editor's save by rename) is
    /// never the one unlinked. Goes on past failures. Returns how many entries stayed;
    /// `firstError` the first failure's errno (or ENOTEMPTY when entries stayed only
    /// because they were new or changed).
    static int removeCopied(int dir, const char* name, const CopyManifest& copied, int& firstError);
};

} // namespace ringfold
