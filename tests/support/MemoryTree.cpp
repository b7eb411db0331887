#include "support/MemoryTree.h"

#include <vector>

namespace ringfold::test {

MemoryTree::MemoryTree(std::string_view rootName) : m_tree(Tree::create()), m_alloc(*m_tree) {
    NodeInit init;
    init.name = rootName;
    init.isDirectory = true;
    m_root = m_alloc.create(init);
    m_tree->setUrl(m_root, "/" + std::string(rootName));
}

FileNode* MemoryTree::add(FileNode* parent, const NodeInit& init) {
    FileNode* n = m_alloc.create(init);
    FileNode* one[] = {n};
    FileNode*& tail = m_tails[parent]; // null until the first child: linkChildren then walks
    tail = m_tree->linkChildren(parent, one, tail);
    return n;
}

FileNode* MemoryTree::folder(FileNode* parent, std::string_view name, NodeOptions options) {
    return add(parent, init(name, true, 0, options));
}

FileNode* MemoryTree::file(FileNode* parent, std::string_view name, std::int64_t allocatedSize,
                           NodeOptions options) {
    return add(parent, init(name, false, allocatedSize, options));
}

NodeInit MemoryTree::init(std::string_view name, bool directory, std::int64_t allocatedSize,
                          const NodeOptions& options) {
    NodeInit init;
    init.name = name;
    init.isDirectory = directory;
    init.allocatedSize = allocatedSize;
    init.logicalSize = options.logical.value_or(allocatedSize);
    init.isHidden = options.hidden;
    init.cloudStatus = options.cloud;
    init.modificationDate = options.modified;
    init.sharesStorage = options.sharesStorage;
    return init;
}

std::int64_t MemoryTree::totalFolders() {
    // Breadth-first order lists every child after its parent; walk it backwards.
    std::vector<FileNode*> order{m_root};
    for (std::size_t i = 0; i < order.size(); ++i)
        for (FileNode* c : order[i]->children())
            order.push_back(c);
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        FileNode* n = *it;
        if (!n->isDirectory())
            continue;
        std::int64_t allocated = 0, logical = 0;
        for (FileNode* c : n->children()) {
            allocated += c->allocatedSize();
            logical += c->logicalSize();
        }
        n->setAllocatedSize(allocated);
        n->setLogicalSize(logical);
    }
    return m_root->allocatedSize();
}

} // namespace ringfold::test
