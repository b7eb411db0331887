#pragma once
// In-place patches of a scanned tree after a file operation succeeded on disk, so the
// views recompute from the changed tree without a rescan. Main thread only.

namespace ringfold {

class FileNode;

class TreeMutator {
public:
    /// Cuts the node out of its parent and takes its sizes off every ancestor (no
    /// allocated bytes when it shares storage). The node and its subtree stay valid
    /// while the tree lives. Does nothing for a root or an already detached node.
    static void remove(FileNode& node);
    /// A downloaded cloud file became a placeholder: its allocated size goes to 0 and
    /// comes off every ancestor; its logical size stays.
    static void markEvicted(FileNode& node);
};

} // namespace ringfold
