#pragma once
// The arena that owns one scanned tree: every FileNode and every name of one scan.
//
// Nodes are carved from 1 MiB-aligned chunks of 16,384 records (mapped with mmap, so
// releasing a tree returns a handful of mappings to the system), names from 256 KiB
// pool blocks. A chunk header records its tree, its number and the first node identity
// it hands out, so a node finds its tree and its identity from its own address.
//
// Ownership is per tree: hold a std::shared_ptr<Tree> (or a NodePtr, which aliases
// it) and every node of the tree stays valid, including nodes cut out of their
// parent. Each scanner thread allocates through its own NodeAllocator; the chunk
// tables may be read while other threads add chunks.

#include "core/model/FileNode.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

namespace ringfold {

/// The stored fields of a new node.
struct NodeInit {
    std::string_view name;
    bool isDirectory = false;
    std::int64_t logicalSize = 0;
    std::int64_t allocatedSize = 0;
    CloudStatus cloudStatus = CloudStatus::notApplicable;
    bool isHidden = false;
    bool isRestricted = false;
    bool sharesStorage = false;
    std::optional<Timestamp> modificationDate;
};

class Tree : public std::enable_shared_from_this<Tree> {
public:
    static constexpr std::uint32_t kNodesPerChunk = 16384;
    static constexpr std::size_t kChunkAlign = std::size_t(1) << 20;
    static constexpr std::size_t kChunkHeaderBytes = 64;
    static constexpr std::size_t kNameBlockBytes = std::size_t(1) << 18;

    static std::shared_ptr<Tree> create();
    ~Tree();
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    /// The node at an arena index; null for the "none" index.
    FileNode* nodeAt(std::uint32_t index) const;
    static std::uint32_t indexOf(const FileNode* node);
    static Tree& treeOf(const FileNode* node);
    static NodeID idOf(const FileNode* node);
    const char* nameAt(std::uint32_t ref) const;

    /// Appends `children` (in order) after the parent's existing children and points
    /// their parent links at it. The children must have no parent yet. `tail`, when
    /// given, is the parent's current last child (saves walking the list). Returns the
    /// new last child.
    FileNode* linkChildren(FileNode* parent, std::span<FileNode* const> children,
                           FileNode* tail = nullptr);
    void appendChild(FileNode* parent, FileNode* child);
    /// Cuts a node out of its parent's child list and clears its parent link. Its
    /// subtree is left as it is.
    void detach(FileNode* node);

    /// The node's location: a pinned one, else derived from the parent chain. Derived
    /// locations are cached per node, but only within kUrlCacheBytes: a cache that kept
    /// every ancestor's path would grow with the square of the depth.
    std::string url(const FileNode* node) const;
    /// Pins a node's location (the scanners do this for the root).
    void setUrl(const FileNode* node, std::string path);
    /// Bytes held by derived locations (pinned ones not included).
    std::size_t urlCacheBytes() const;
    static constexpr std::size_t kUrlCacheBytes = std::size_t(1) << 20;

    /// A tree read from a saved scan is a record: its paths name files on the computer
    /// that was scanned, which may not be this one, so nothing may act on them.
    bool isRecord() const { return m_record; }
    void setRecord(bool record) { m_record = record; }

    /// Sets every stored field of `init` but the name on an existing node.
    static void setAttributes(FileNode* node, const NodeInit& init);

    /// Children gathered for one folder before they are attached to it in O(1). Each
    /// node gets its parent link when appended; until the chain is attached, the folder
    /// does not list these nodes.
    class ChildChain {
    public:
        explicit ChildChain(const FileNode* parent);
        /// `child` must not be in any child list or chain.
        void append(FileNode* child);
        FileNode* front() const { return m_head; }
        FileNode* back() const { return m_tail; }
        bool empty() const { return m_head == nullptr; }

    private:
        friend class Tree;
        std::uint32_t m_parent;
        FileNode* m_head = nullptr;
        FileNode* m_tail = nullptr;
    };
    /// Appends the chain after `tail` (the folder's current last child, or null when it
    /// has none) and empties it. Returns the folder's new last child.
    FileNode* attach(FileNode* parent, ChildChain& chain, FileNode* tail);

    NodePtr share(const FileNode* node);

    /// Nodes allocated by allocators that have finished or moved to a new chunk.
    std::size_t nodeCount() const { return m_nodeCount.load(std::memory_order_relaxed); }
    /// Bytes of node chunks and name blocks in use.
    std::size_t arenaBytes() const;

private:
    friend class NodeAllocator;
    Tree() = default;

    template <typename T> class ChunkTable {
    public:
        static constexpr std::size_t kBlock = 1024;
        ~ChunkTable();
        std::uint32_t add(T* chunk);
        T* at(std::uint32_t i) const {
            auto* block = m_blocks[i / kBlock].load(std::memory_order_acquire);
            return block[i % kBlock].load(std::memory_order_acquire);
        }
        std::uint32_t size() const { return m_count.load(std::memory_order_acquire); }

    private:
        std::atomic<std::atomic<T*>*> m_blocks[kBlock] = {};
        std::atomic<std::uint32_t> m_count{0};
    };

    struct NameBlock;

public:
    struct NodeChunk; // header at the start of each mapping (internal)

private:
    NodeChunk* newNodeChunk(std::uint32_t& chunkNo);
    NameBlock* newNameBlock(std::uint32_t& blockNo);

    ChunkTable<NodeChunk> m_nodeChunks;
    ChunkTable<NameBlock> m_nameBlocks;
    std::atomic<std::size_t> m_nodeCount{0};

    mutable std::mutex m_urlMutex;
    std::unordered_map<std::uint32_t, std::string> m_pinnedUrls;
    mutable std::unordered_map<std::uint32_t, std::string> m_urls;
    mutable std::size_t m_urlBytes = 0;
    bool m_record = false;
};

/// Allocates nodes and names for one thread. Cheap to create; holds the current chunk
/// and name block of its thread and leaves their tails unused when destroyed.
class NodeAllocator {
public:
    explicit NodeAllocator(Tree& tree) : m_tree(&tree) {}
    ~NodeAllocator() { flushCount(); }
    NodeAllocator(const NodeAllocator&) = delete;
    NodeAllocator& operator=(const NodeAllocator&) = delete;
    FileNode* create(const NodeInit& init);
    /// A node with only its name; the scanners fill in the rest once they know it.
    FileNode* create(std::string_view name);
    Tree& tree() const { return *m_tree; }

private:
    std::uint32_t internName(std::string_view name);
    void flushCount() {
        // Counted per allocator: a shared counter bumped per node costs the
        // scanner threads a contended cache line each.
        m_tree->m_nodeCount.fetch_add(m_created, std::memory_order_relaxed);
        m_created = 0;
    }

    Tree* m_tree;
    FileNode* m_nextNode = nullptr;
    FileNode* m_chunkEnd = nullptr;
    std::uint32_t m_nextIndex = 0;
    char* m_nameNext = nullptr;
    char* m_nameEnd = nullptr;
    std::uint32_t m_nameRef = 0;
    std::size_t m_created = 0;
};

} // namespace ringfold
