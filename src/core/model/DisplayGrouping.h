#pragma once
// How a folder's children are grouped for display: small hidden items fold into one
// "Hidden items" aggregate, and children below a share of the folder into one
// "Smaller objects" aggregate. Display only: the tree is never changed. The map
// engines and the file list decide membership with these same two tests, so a list
// and a map of one folder never disagree. All comparisons use allocated sizes.
//
// Entries point at nodes of the folder's tree; whoever asks holds that tree alive.

#include "core/model/FileNode.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace ringfold {

inline constexpr std::int64_t kHiddenGroupingLimit = 1073741824; // 1 GiB
inline constexpr double kHiddenGroupingShare = 0.02;

/// Identities of a folder's two aggregates; negative for every non-negative folder id.
constexpr NodeID hiddenAggregateID(NodeID parent) {
    return static_cast<NodeID>(~(static_cast<std::uint64_t>(parent) << 8));
}
constexpr NodeID smallerObjectsAggregateID(NodeID parent) {
    return static_cast<NodeID>(~((static_cast<std::uint64_t>(parent) << 8) | 1u));
}

class DisplayChild {
public:
    enum class Kind : std::uint8_t { node, hiddenAggregate, smallerObjectsAggregate };

    /// The members of an aggregate, in the folder's child order, with their sums.
    struct Aggregate {
        NodeID id = 0;
        std::vector<FileNode*> members;
        std::int64_t allocatedSize = 0;
        std::int64_t logicalSize = 0;
    };
    using HiddenAggregate = Aggregate;
    using SmallerObjectsAggregate = Aggregate;

    static DisplayChild forNode(FileNode* node) { return DisplayChild(Kind::node, node, nullptr); }
    static DisplayChild hidden(const FileNode& parent, std::vector<FileNode*> members);
    static DisplayChild smallerObjects(const FileNode& parent, std::vector<FileNode*> members);

    Kind kind() const { return m_kind; }
    bool isNode() const { return m_kind == Kind::node; }
    /// The node of a `node` entry; null for aggregates.
    FileNode* node() const { return m_node; }
    /// The aggregate of an aggregate entry; null for nodes.
    const Aggregate* aggregate() const { return m_aggregate.get(); }

    NodeID id() const { return m_node ? m_node->id() : m_aggregate->id; }
    std::int64_t allocatedSize() const {
        return m_node ? m_node->allocatedSize() : m_aggregate->allocatedSize;
    }
    std::int64_t logicalSize() const {
        return m_node ? m_node->logicalSize() : m_aggregate->logicalSize;
    }

private:
    DisplayChild(Kind k, FileNode* n, std::shared_ptr<const Aggregate> a)
        : m_kind(k), m_node(n), m_aggregate(std::move(a)) {}
    static std::shared_ptr<const Aggregate> makeAggregate(NodeID id,
                                                          std::vector<FileNode*> members);

    Kind m_kind;
    FileNode* m_node;
    std::shared_ptr<const Aggregate> m_aggregate;
};

/// A hidden child below 1 GiB and below 2 % of its folder (any share when the folder
/// has no allocated size) is grouped.
bool isGroupedHidden(const FileNode& child, const FileNode& parent);
/// A child strictly below `threshold` (a fraction) of its folder's allocated size.
bool isSmallerObject(const FileNode& child, const FileNode& parent, double threshold);

/// A folder's children split for a map: the ones that stay their own entries (child
/// order), and the allocated total of the hidden ones grouped away.
struct VisibleChildren {
    std::vector<FileNode*> nodes;
    std::int64_t hiddenAllocated = 0;
    bool hasHidden = false;
};
VisibleChildren splitHiddenChildren(const FileNode& folder, bool groupHidden);

/// The folder's children as display entries: nodes in child order, then one hidden
/// items aggregate last when `groupHidden` found members. Never builds the
/// smaller-objects aggregate: consumers decide that after sorting.
std::vector<DisplayChild> displayChildren(const FileNode& folder, bool groupHidden);

/// Sorts node entries by allocated size, largest first, keeping child order for ties.
void sortBySizeDescending(std::vector<FileNode*>& nodes);

} // namespace ringfold
