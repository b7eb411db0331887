#include "support/MemoryTree.h"

#include <vector>

namespace ringfold::test {

MemoryTree::MemoryTree(std::string_view rootName)
    : m_tree(Tree::create()), m_alloc(*m_tree),
      m_root(m_alloc.create(init(rootName, true, 0, {}))) {
    m_tree->setUrl(m_root, "/" + std::string(rootName));
}

void MemoryTree::setRootPath(std::string path) {
    m_tree->setUrl(m_root, std::move(path));
}

FileNode* MemoryTree::folderAt(std::string_view relativePath) {
    FileNode* node = m_root;
    while (!relativePath.empty()) {
        const std::size_t slash = relativePath.find('/');
        const std::string_view name = relativePath.substr(0, slash);
        relativePath = slash == std::string_view::npos ? "" : relativePath.substr(slash + 1);
        if (name.empty())
            continue;
        FileNode* next = nullptr;
        for (FileNode* child : node->children())
            if (child->isDirectory() && child->name() == name) {
                next = child;
                break;
            }
        node = next ? next : folder(node, name);
    }
    return node;
}

FileNode* MemoryTree::add(FileNode* parent, const NodeInit& init) {
    FileNode* n = m_alloc.create(init);
    FileNode* one[] = {n};
    FileNode*& tail = m_tails[parent]; // null until the first child: linkChildren then walks
    tail = m_tree->linkChildren(parent, one, tail);
    return n;
}

NodeInit MemoryTree::init(std::string_view name, bool directory, std::int64_t allocatedSize,
                          const NodeOptions& o) {
    return {.name = name,
            .isDirectory = directory,
            .logicalSize = o.logical.value_or(allocatedSize),
            .allocatedSize = allocatedSize,
            .cloudStatus = o.cloud,
            .isHidden = o.hidden,
            .sharesStorage = o.sharesStorage,
            .modificationDate = o.modified};
}

std::int64_t MemoryTree::totalFolders() {
    // Breadth-first order lists every child after its parent; walk it backwards.
    std::vector<FileNode*> order{m_root};
    for (std::size_t i = 0; i < order.size(); ++i)
        for (FileNode* c : order[i]->children())
            order.push_back(c);
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        if (!(*it)->isDirectory())
            continue;
        std::int64_t allocated = 0, logical = 0;
        for (FileNode* c : (*it)->children())
            allocated += c->allocatedSize(), logical += c->logicalSize();
        (*it)->setAllocatedSize(allocated);
        (*it)->setLogicalSize(logical);
    }
    return m_root->allocatedSize();
}

} // namespace ringfold::test
