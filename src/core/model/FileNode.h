#pragma once
// One file or folder of a scanned tree.
//
// Nodes live in the arena of their Tree (see Tree.h) and are never allocated or
// freed one by one. The record is packed: links to parent, first child and next
// sibling are 32-bit indices into the tree's arena, the name is a 32-bit
// reference into the tree's name pool, the modification date is 32-bit seconds,
// and the identity is derived from the arena chunk the node sits in. Derived
// values (kind label, location) are computed on demand.
//
// Threads: during a bulk scan one node is written by several scanner threads, one
// after another, never two at once: the thread that lists a folder creates its
// entries' nodes, the thread that stats a stretch of those entries fills them in (a
// huge folder's stretches go to different threads), a folder's sizes and child list
// are set by whichever thread finishes its subtree last, and a file's shared-storage
// flag may be set by the thread that meets a second holder of its data, under the
// storage tracker's lock. Each hand-over passes through an atomic counter or a lock.
// After the scan the whole tree belongs to one thread (the GUI's main thread) and is
// read and patched there without locks.

#include "core/model/Types.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace ringfold {

class Tree;
class FileNode;

/// A strong reference to a node: keeps the node's whole tree alive.
using NodePtr = std::shared_ptr<FileNode>;

class FileNode {
public:
    FileNode(const FileNode&) = delete;
    FileNode& operator=(const FileNode&) = delete;

    /// Process-wide unique identity (positive, increasing in allocation order per arena chunk).
    NodeID id() const;
    /// The item's own name; for the root of a scan, the scanned folder's display name.
    std::string_view name() const;
    const char* nameCString() const;
    bool isDirectory() const { return m_flags & kDirectory; }
    /// "Folder" for folders, the upper-cased extension for files that have one, else "File".
    std::string kindLabel() const;

    std::int64_t logicalSize() const { return m_logicalSize; }
    std::int64_t allocatedSize() const { return m_allocatedSize; }
    void setLogicalSize(std::int64_t v) { m_logicalSize = v; }
    void setAllocatedSize(std::int64_t v) { m_allocatedSize = v; }

    CloudStatus cloudStatus() const {
        return static_cast<CloudStatus>((m_flags >> kCloudShift) & kCloudMask);
    }
    void setCloudStatus(CloudStatus s) {
        m_flags = (m_flags & ~(kCloudMask << kCloudShift)) |
                  (static_cast<std::uint32_t>(s) << kCloudShift);
    }
    bool isHidden() const { return m_flags & kHidden; }
    void setHidden(bool v) { setFlag(kHidden, v); }
    bool isRestricted() const { return m_flags & kRestricted; }
    void setRestricted(bool v) { setFlag(kRestricted, v); }
    bool sharesStorage() const { return m_flags & kShares; }
    void setSharesStorage(bool v) { setFlag(kShares, v); }
    /// A folder the scan did not enter: another file system, or a pseudo file system
    /// under "/". Its sizes say nothing about what it holds.
    bool isExcluded() const { return m_flags & kExcluded; }
    void setExcluded(bool v) { setFlag(kExcluded, v); }

    /// Content modification date in seconds since 1970; absent when unknown. Dates are
    /// kept to the second within 1970-2106; earlier ones read as 1970.
    std::optional<Timestamp> modificationDate() const {
        if (!(m_flags & kHasDate))
            return std::nullopt;
        return static_cast<Timestamp>(m_modified);
    }
    void setModificationDate(std::optional<Timestamp> t);

    /// The containing folder; null for a root and for a node cut out of its parent.
    FileNode* parent() const;
    FileNode* firstChild() const;
    FileNode* nextSibling() const;
    bool hasChildren() const { return m_firstChild != kNone; }
    std::size_t childCount() const;

    class ChildIterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = FileNode*;
        using difference_type = std::ptrdiff_t;
        using pointer = FileNode* const*;
        using reference = FileNode*;
        ChildIterator() = default;
        explicit ChildIterator(FileNode* n) : m_node(n) {}
        FileNode* operator*() const { return m_node; }
        ChildIterator& operator++() {
            m_node = m_node->nextSibling();
            return *this;
        }
        ChildIterator operator++(int) {
            auto old = *this;
            ++*this;
            return old;
        }
        friend bool operator==(const ChildIterator&, const ChildIterator&) = default;

    private:
        FileNode* m_node = nullptr;
    };
    struct ChildRange {
        FileNode* first;
        ChildIterator begin() const { return ChildIterator(first); }
        ChildIterator end() const { return ChildIterator(); }
        bool empty() const { return first == nullptr; }
    };
    /// The children in their stored order (files first, then subfolders as their scans
    /// finished). The order carries no meaning; views sort for themselves.
    ChildRange children() const { return ChildRange{firstChild()}; }

    Tree& tree() const;
    /// A strong reference that keeps this node's tree alive.
    NodePtr shared() const;

    /// Absolute path of the item on disk, derived from the parent chain and cached.
    /// A detached node without a cached location reads as "/" + name.
    std::string url() const;

    /// Size text for rows: "no extra space" for a zeroed duplicate, else the formatted
    /// allocated size.
    std::string sizeLabel() const;
    /// Help text of size cells for zeroed duplicates; absent otherwise.
    std::optional<std::string> sharedStorageNote() const;

private:
    friend class Tree;
    friend class NodeAllocator;
    FileNode() = default;

    static constexpr std::uint32_t kNone = 0xFFFFFFFFu;
    static constexpr std::uint32_t kDirectory = 1u << 0;
    static constexpr std::uint32_t kCloudShift = 1;
    static constexpr std::uint32_t kCloudMask = 3u;
    static constexpr std::uint32_t kHidden = 1u << 3;
    static constexpr std::uint32_t kRestricted = 1u << 4;
    static constexpr std::uint32_t kShares = 1u << 5;
    static constexpr std::uint32_t kHasDate = 1u << 6;
    static constexpr std::uint32_t kExcluded = 1u << 7;

    void setFlag(std::uint32_t bit, bool v) { m_flags = v ? (m_flags | bit) : (m_flags & ~bit); }

    std::int64_t m_logicalSize = 0;
    std::int64_t m_allocatedSize = 0;
    std::uint32_t m_modified = 0; // seconds since 1970, valid when kHasDate
    std::uint32_t m_name = 0;     // reference into the tree's name pool
    std::uint32_t m_parent = kNone;
    std::uint32_t m_firstChild = kNone;
    std::uint32_t m_nextSibling = kNone;
    std::uint32_t m_flags = 0;
};

// The record is the largest thing in memory; keep it at 40 bytes.
static_assert(sizeof(FileNode) == 40, "FileNode record grew: check the memory budget");

/// The process-wide identity counter. Reserves `count` consecutive identities and
/// returns the first; the first identity of a run is 1.
NodeID reserveNodeIDs(std::int64_t count);
/// One identity, for callers outside the arena (never reused, never colliding with nodes).
NodeID nextNodeID();

/// The text after the last "." of a name, when that dot is neither the first nor the
/// last character ("a.tar.gz" -> "gz", ".profile" -> "", "notes." -> ""). Used by the
/// kind labels and the file categories alike.
std::string_view pathExtension(std::string_view name);

} // namespace ringfold
