#include "core/model/Tree.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <vector>

namespace ringfold {

struct Tree::NodeChunk {
    Tree* tree;
    NodeID firstID;
    std::uint32_t chunkNo;
    FileNode* nodes() {
        return reinterpret_cast<FileNode*>(reinterpret_cast<char*>(this) + kChunkHeaderBytes);
    }
};
static_assert(sizeof(void*) == 8, "the arena layout assumes 64-bit pointers");

struct Tree::NameBlock {
    char bytes[kNameBlockBytes];
};

namespace {

constexpr std::size_t kChunkMapBytes =
    Tree::kChunkHeaderBytes + std::size_t(Tree::kNodesPerChunk) * sizeof(FileNode);

std::size_t pageRound(std::size_t n) {
    constexpr std::size_t page = 4096;
    return (n + page - 1) / page * page;
}

// Maps a chunk aligned to kChunkAlign: over-map, then trim both ends.
void* mapAlignedChunk() {
    const std::size_t span = Tree::kChunkAlign * 2;
    void* raw = ::mmap(nullptr, span, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED)
        throw std::bad_alloc();
    auto base = reinterpret_cast<std::uintptr_t>(raw);
    auto aligned = (base + Tree::kChunkAlign - 1) & ~(std::uintptr_t(Tree::kChunkAlign) - 1);
    std::size_t keep = pageRound(kChunkMapBytes);
    if (aligned > base)
        ::munmap(raw, aligned - base);
    std::uintptr_t tail = aligned + keep;
    std::uintptr_t end = base + span;
    if (end > tail)
        ::munmap(reinterpret_cast<void*>(tail), end - tail);
    return reinterpret_cast<void*>(aligned);
}

} // namespace

template <typename T> Tree::ChunkTable<T>::~ChunkTable() {
    for (auto& b : m_blocks)
        delete[] b.load(std::memory_order_relaxed);
}

template <typename T> std::uint32_t Tree::ChunkTable<T>::add(T* chunk) {
    // Slots are claimed before they are filled; readers only ask for indices that
    // were handed out to them through a node or name reference, which happens after
    // the store below.
    std::uint32_t i = m_count.fetch_add(1, std::memory_order_relaxed);
    if (i / kBlock >= kBlock)
        throw std::bad_alloc();
    auto& slot = m_blocks[i / kBlock];
    auto* block = slot.load(std::memory_order_acquire);
    if (!block) {
        auto* fresh = new std::atomic<T*>[kBlock];
        for (std::size_t k = 0; k < kBlock; ++k)
            fresh[k].store(nullptr, std::memory_order_relaxed);
        if (slot.compare_exchange_strong(block, fresh, std::memory_order_acq_rel))
            block = fresh;
        else
            delete[] fresh;
    }
    block[i % kBlock].store(chunk, std::memory_order_release);
    return i;
}

std::shared_ptr<Tree> Tree::create() {
    return std::shared_ptr<Tree>(new Tree());
}

Tree::~Tree() {
    std::uint32_t n = m_nodeChunks.size();
    for (std::uint32_t i = 0; i < n; ++i)
        if (auto* c = m_nodeChunks.at(i))
            ::munmap(c, pageRound(kChunkMapBytes));
    std::uint32_t m = m_nameBlocks.size();
    for (std::uint32_t i = 0; i < m; ++i)
        std::free(m_nameBlocks.at(i));
}

Tree::NodeChunk* Tree::newNodeChunk(std::uint32_t& chunkNo) {
    auto* chunk = static_cast<NodeChunk*>(mapAlignedChunk());
    chunk->tree = this;
    chunk->firstID = reserveNodeIDs(kNodesPerChunk);
    chunkNo = m_nodeChunks.add(chunk);
    chunk->chunkNo = chunkNo;
    return chunk;
}

Tree::NameBlock* Tree::newNameBlock(std::uint32_t& blockNo) {
    auto* block = static_cast<NameBlock*>(std::malloc(sizeof(NameBlock)));
    if (!block)
        throw std::bad_alloc();
    blockNo = m_nameBlocks.add(block);
    if (blockNo >= (1u << 14))
        throw std::bad_alloc(); // name references hold 14 bits of block number
    return block;
}

FileNode* Tree::nodeAt(std::uint32_t index) const {
    if (index == FileNode::kNone)
        return nullptr;
    NodeChunk* c = m_nodeChunks.at(index / kNodesPerChunk);
    return c->nodes() + index % kNodesPerChunk;
}

static Tree::NodeChunk* chunkOf(const FileNode* node) {
    auto addr = reinterpret_cast<std::uintptr_t>(node);
    return reinterpret_cast<Tree::NodeChunk*>(addr & ~(std::uintptr_t(Tree::kChunkAlign) - 1));
}

std::uint32_t Tree::indexOf(const FileNode* node) {
    NodeChunk* c = chunkOf(node);
    auto slot = static_cast<std::uint32_t>(node - c->nodes());
    return c->chunkNo * kNodesPerChunk + slot;
}

Tree& Tree::treeOf(const FileNode* node) {
    return *chunkOf(node)->tree;
}

NodeID Tree::idOf(const FileNode* node) {
    NodeChunk* c = chunkOf(node);
    return c->firstID + (node - c->nodes());
}

const char* Tree::nameAt(std::uint32_t ref) const {
    return m_nameBlocks.at(ref >> 18)->bytes + (ref & (kNameBlockBytes - 1));
}

FileNode* Tree::linkChildren(FileNode* parent, std::span<FileNode* const> children,
                             FileNode* tail) {
    if (!tail)
        for (FileNode* c = parent->firstChild(); c; c = c->nextSibling())
            tail = c;
    if (children.empty())
        return tail;
    const std::uint32_t parentIndex = indexOf(parent);
    for (FileNode* child : children) {
        std::uint32_t ci = indexOf(child);
        child->m_parent = parentIndex;
        child->m_nextSibling = FileNode::kNone;
        if (tail)
            tail->m_nextSibling = ci;
        else
            parent->m_firstChild = ci;
        tail = child;
    }
    return tail;
}

void Tree::appendChild(FileNode* parent, FileNode* child) {
    FileNode* one[] = {child};
    linkChildren(parent, one);
}

void Tree::detach(FileNode* node) {
    FileNode* parent = node->parent();
    if (!parent)
        return;
    const std::uint32_t self = indexOf(node);
    if (parent->m_firstChild == self) {
        parent->m_firstChild = node->m_nextSibling;
    } else {
        for (FileNode* c = parent->firstChild(); c; c = c->nextSibling()) {
            if (c->m_nextSibling == self) {
                c->m_nextSibling = node->m_nextSibling;
                break;
            }
        }
    }
    node->m_nextSibling = FileNode::kNone;
    node->m_parent = FileNode::kNone;
}

std::string Tree::url(const FileNode* node) const {
    std::lock_guard lock(m_urlMutex);
    auto known = [this](const FileNode* n) -> const std::string* {
        const std::uint32_t i = indexOf(n);
        if (auto it = m_pinnedUrls.find(i); it != m_pinnedUrls.end())
            return &it->second;
        if (auto it = m_urls.find(i); it != m_urls.end())
            return &it->second;
        return nullptr;
    };
    if (const std::string* own = known(node))
        return *own;
    // Walk up to the nearest node with a known location (iteratively: trees can be
    // tens of thousands of levels deep), then build the path once.
    std::vector<const FileNode*> chain{node};
    const std::string* base = nullptr;
    std::size_t length = 0;
    for (const FileNode* n = node; !base;) {
        length += n->name().size() + 1;
        const FileNode* p = n->parent();
        if (!p)
            break;
        base = known(p);
        if (!base)
            chain.push_back(p);
        n = p;
    }
    std::string path;
    path.reserve(length + (base ? base->size() : 0));
    if (base)
        path = *base;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        if (path.empty() || path.back() != '/')
            path += '/';
        path += (*it)->name();
    }
    if (!base)
        return path; // detached (or below a detached ancestor): not cached
    const std::size_t cost = path.size() + sizeof(std::string) + 32;
    if (cost > kUrlCacheBytes)
        return path;
    if (m_urlBytes + cost > kUrlCacheBytes) {
        m_urls.clear();
        m_urlBytes = 0;
    }
    m_urls.emplace(indexOf(node), path);
    m_urlBytes += cost;
    return path;
}

void Tree::setUrl(const FileNode* node, std::string path) {
    std::lock_guard lock(m_urlMutex);
    m_pinnedUrls[indexOf(node)] = std::move(path);
}

std::size_t Tree::urlCacheBytes() const {
    std::lock_guard lock(m_urlMutex);
    return m_urlBytes;
}

Tree::ChildChain::ChildChain(const FileNode* parent) : m_parent(Tree::indexOf(parent)) {}

void Tree::ChildChain::append(FileNode* child) {
    child->m_parent = m_parent;
    child->m_nextSibling = FileNode::kNone;
    if (m_tail)
        m_tail->m_nextSibling = Tree::indexOf(child);
    else
        m_head = child;
    m_tail = child;
}

FileNode* Tree::attach(FileNode* parent, ChildChain& chain, FileNode* tail) {
    if (chain.empty())
        return tail;
    if (tail)
        tail->m_nextSibling = indexOf(chain.m_head);
    else
        parent->m_firstChild = indexOf(chain.m_head);
    FileNode* last = chain.m_tail;
    chain.m_head = chain.m_tail = nullptr;
    return last;
}

NodePtr Tree::share(const FileNode* node) {
    return NodePtr(shared_from_this(), const_cast<FileNode*>(node));
}

std::size_t Tree::arenaBytes() const {
    return std::size_t(m_nodeChunks.size()) * pageRound(kChunkMapBytes) +
           std::size_t(m_nameBlocks.size()) * sizeof(NameBlock);
}

FileNode* NodeAllocator::create(std::string_view name) {
    if (m_nextNode == m_chunkEnd) {
        flushCount();
        std::uint32_t chunkNo = 0;
        Tree::NodeChunk* chunk = m_tree->newNodeChunk(chunkNo);
        m_nextNode = chunk->nodes();
        m_chunkEnd = m_nextNode + Tree::kNodesPerChunk;
        m_nextIndex = chunkNo * Tree::kNodesPerChunk;
    }
    // The name first: if its block cannot be had, no half-made node is left behind.
    const std::uint32_t ref = internName(name);
    FileNode* n = new (m_nextNode) FileNode();
    ++m_nextNode;
    ++m_nextIndex;
    n->m_name = ref;
    ++m_created;
    return n;
}

FileNode* NodeAllocator::create(const NodeInit& init) {
    FileNode* n = create(init.name);
    Tree::setAttributes(n, init);
    return n;
}

void Tree::setAttributes(FileNode* n, const NodeInit& init) {
    n->m_logicalSize = init.logicalSize;
    n->m_allocatedSize = init.allocatedSize;
    std::uint32_t flags = 0;
    if (init.isDirectory)
        flags |= FileNode::kDirectory;
    flags |= static_cast<std::uint32_t>(init.cloudStatus) << FileNode::kCloudShift;
    if (init.isHidden)
        flags |= FileNode::kHidden;
    if (init.isRestricted)
        flags |= FileNode::kRestricted;
    if (init.sharesStorage)
        flags |= FileNode::kShares;
    n->m_flags = flags;
    n->setModificationDate(init.modificationDate);
}

std::uint32_t NodeAllocator::internName(std::string_view name) {
    if (name.size() >= Tree::kNameBlockBytes)
        name = name.substr(0, Tree::kNameBlockBytes - 1);
    const std::size_t need = name.size() + 1;
    if (static_cast<std::size_t>(m_nameEnd - m_nameNext) < need) {
        std::uint32_t blockNo = 0;
        Tree::NameBlock* block = m_tree->newNameBlock(blockNo);
        m_nameNext = block->bytes;
        m_nameEnd = block->bytes + Tree::kNameBlockBytes;
        m_nameRef = blockNo << 18;
    }
    std::memcpy(m_nameNext, name.data(), name.size());
    m_nameNext[name.size()] = '\0';
    std::uint32_t ref = m_nameRef;
    m_nameRef += static_cast<std::uint32_t>(need);
    m_nameNext += need;
    return ref;
}

} // namespace ringfold
