#pragma once
// Asked before a move across file systems copies anything: whether the source could
// then be removed whole, so that the move is refused up front rather than left
// half-done by entries the removal would stop at. Walks the item on folder descriptors
// and names and stops at the first entry in the way. Returns 0 or an errno value.
// Blocking; callers make one call per item from one thread.

#include <string>
#include <sys/types.h>

namespace ringfold {

class RemovabilityCheck {
public:
    /// Whether the whole item can be removed once it is copied, so that a move across
    /// file systems does not stop half-way through deleting it. Refused: a folder we may
    /// not read and change (EACCES); an immutable or append-only entry, or the item in
    /// such a folder (EPERM); an entry of another user's in a sticky folder not ours,
    /// unless we hold CAP_FOWNER (EPERM); anything mounted inside, another file system
    /// (`device`) or a bind mount (EBUSY). `blocker` receives the first refused entry's
    /// path relative to the item's folder ("item/sub/file").
    static int checkRemovable(int dir, const char* name, dev_t device,
                              std::string* blocker = nullptr);
};

} // namespace ringfold
