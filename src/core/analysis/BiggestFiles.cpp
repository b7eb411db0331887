#include "core/analysis/BiggestFiles.h"

#include <algorithm>

namespace ringfold {

namespace {

// A min-heap on allocated size that only moves an entry past a strictly larger one,
// so the walk order decides between equal sizes.
class BoundedMinHeap {
public:
    // No reserve: the limit comes from the settings file and may be far larger than
    // the tree; the heap never holds more nodes than the tree has files.
    explicit BoundedMinHeap(std::size_t capacity) : m_capacity(capacity) {}

    void offer(FileNode* f) {
        if (m_nodes.size() < m_capacity) {
            m_nodes.push_back(f);
            siftUp(m_nodes.size() - 1);
        } else if (size(0) < f->allocatedSize()) {
            m_nodes[0] = f;
            siftDown(0);
        }
    }

    std::vector<FileNode*>& nodes() { return m_nodes; }

private:
    std::int64_t size(std::size_t i) const { return m_nodes[i]->allocatedSize(); }

    void siftUp(std::size_t i) {
        while (i > 0) {
            const std::size_t parent = (i - 1) / 2;
            if (!(size(i) < size(parent)))
                break;
            std::swap(m_nodes[i], m_nodes[parent]);
            i = parent;
        }
    }

    void siftDown(std::size_t i) {
        const std::size_t n = m_nodes.size();
        for (;;) {
            const std::size_t left = 2 * i + 1;
            if (left >= n)
                break;
            std::size_t smallest = left;
            if (left + 1 < n && size(left + 1) < size(left))
                smallest = left + 1;
            if (!(size(smallest) < size(i)))
                break;
            std::swap(m_nodes[i], m_nodes[smallest]);
            i = smallest;
        }
    }

    std::size_t m_capacity;
    std::vector<FileNode*> m_nodes;
};

} // namespace

std::string BiggestFiles::relativePath(const FileNode& node, const FileNode& root) {
    std::vector<std::string_view> names;
    for (const FileNode* p = node.parent(); p && p != &root; p = p->parent())
        names.push_back(p->name());
    std::string path;
    for (auto it = names.rbegin(); it != names.rend(); ++it) {
        if (!path.empty())
            path += '/';
        path += *it;
    }
    return path;
}

std::vector<BiggestFileEntry> BiggestFiles::find(const FileNode& root, std::int64_t limit) {
    std::vector<BiggestFileEntry> entries;
    if (limit < 1)
        return entries;
    BoundedMinHeap heap(static_cast<std::size_t>(limit));

    // Each stack slot is the next sibling still to visit at one level of the walk.
    std::vector<FileNode*> stack;
    stack.push_back(root.firstChild());
    while (!stack.empty()) {
        FileNode* n = stack.back();
        if (!n) {
            stack.pop_back();
            continue;
        }
        stack.back() = n->nextSibling();
        if (n->isDirectory()) {
            if (FileNode* first = n->firstChild())
                stack.push_back(first);
        } else {
            heap.offer(n);
        }
    }

    auto& nodes = heap.nodes();
    std::stable_sort(nodes.begin(), nodes.end(), [](const FileNode* a, const FileNode* b) {
        return a->allocatedSize() > b->allocatedSize();
    });
    entries.reserve(nodes.size());
    const NodePtr hold = root.shared();
    for (FileNode* f : nodes) {
        BiggestFileEntry e;
        e.id = f->id();
        e.node = NodePtr(hold, f);
        e.relativePath = relativePath(*f, root);
        e.allocatedSize = f->allocatedSize();
        e.logicalSize = f->logicalSize();
        entries.push_back(std::move(e));
    }
    return entries;
}

} // namespace ringfold
