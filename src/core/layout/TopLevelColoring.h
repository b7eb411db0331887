#pragma once
// Which hue a laid-out segment gets. Colours follow the tree root's top-level items
// (its visible children at or above the smaller-objects share, largest first), so a
// folder keeps its hue however deep the user drills in. Computed once per layout from
// the laid-out node by walking up to the tree root. Main thread.

#include "core/model/FileNode.h"

#include <unordered_map>
#include <vector>

namespace ringfold {

class TopLevelColoring {
public:
    /// `threshold` is the smaller-objects fraction (0.005 = 0.5 %).
    TopLevelColoring(const FileNode& laidOut, double threshold);

    const FileNode& treeRoot() const { return *m_treeRoot; }
    /// The laid-out node is the tree root.
    bool isRootLevel() const { return m_rootLevel; }
    /// max(number of top-level items, 1).
    int topCount() const { return m_topCount; }
    /// Top-level index of the laid-out node's ancestor under the tree root (itself when
    /// it is a child of the root); 0 when that ancestor is not a top-level item.
    int nodeTopIndex() const { return m_nodeTopIndex; }
    /// Top-level index of a child of the tree root; 0 when it is not a top-level item.
    int topIndexOf(const FileNode* rootChild) const;

private:
    void buildIndex() const;

    const FileNode* m_treeRoot = nullptr;
    bool m_rootLevel = false;
    int m_topCount = 1;
    int m_nodeTopIndex = 0;
    // A root-level layout of a huge root needs only the count, so the sort and the
    // index are built on the first lookup.
    mutable std::vector<FileNode*> m_top;
    mutable std::unordered_map<const FileNode*, int> m_index;
    mutable bool m_indexed = false;
};

} // namespace ringfold
