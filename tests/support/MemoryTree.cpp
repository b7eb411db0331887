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
    auto tail = m_tails.find(parent);
    m_tails[parent] =
        m_tree->linkChildren(parent, one, tail == m_tails.end() ? nullptr : tail->second);
    return n;
}

FileNode* MemoryTree::folder(FileNode* parent, std::string_view name, NodeOptions options) {
    NodeInit init;
    init.name = name;
    init.isDirectory = true;
    init.isHidden = options.hidden;
    init.cloudStatus = options.cloud;
    init.modificationDate = options.modified;
    return add(parent, init);
}

FileNode* MemoryTree::file(FileNode* parent, std::string_view name, std::int64_t allocatedSize,
                           NodeOptions options) {
    NodeInit init;
    init.name = name;
    init.allocatedSize = allocatedSize;
    init.logicalSize = options.logical.value_or(allocatedSize);
    init.isHidden = options.hidden;
    init.cloudStatus = options.cloud;
    init.modificationDate = options.modified;
    return add(parent, init);
}

std::int64_t MemoryTree::totalFolders() {
    // Reverse pre-order visits every child before its parent.
    std::vector<FileNode*> order;
    std::vector<FileNode*> stack{m_root};
    while (!stack.empty()) {
        FileNode* n = stack.back();
        stack.pop_back();
        order.push_back(n);
        for (FileNode* c : n->children())
            stack.push_back(c);
    }
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        FileNode* n = *it;
        if (!n->isDirectory())
            continue;
        std::int64_t allocated = 0;
        std::int64_t logical = 0;
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
