#pragma once
// Builds small trees in memory for tests of code that only reads the tree (layout,
// summaries, view models): no files on disk. Folders get their sizes from
// `totalFolders()`, the sum of their children, as the scanners do.

#include "core/model/Tree.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace ringfold::test {

struct NodeOptions {
    bool hidden = false;
    CloudStatus cloud = CloudStatus::notApplicable;
    /// Defaults to the allocated size.
    std::optional<std::int64_t> logical = std::nullopt;
    std::optional<Timestamp> modified = std::nullopt;
    bool sharesStorage = false;
};

class MemoryTree {
public:
    explicit MemoryTree(std::string_view rootName = "root");

    FileNode* root() const { return m_root; }
    NodePtr rootPtr() const { return m_tree->share(m_root); }
    const std::shared_ptr<Tree>& tree() const { return m_tree; }

    /// Places the root at an absolute path (by default "/" + its name); call it before
    /// asking any node for its location.
    void setRootPath(std::string path);
    /// The folder at a "/"-separated path below the root, appending the missing ones.
    FileNode* folderAt(std::string_view relativePath);

    /// Appends a folder (size 0 until `totalFolders`) or a file to `parent`.
    FileNode* folder(FileNode* parent, std::string_view name, NodeOptions options = {}) {
        return add(parent, init(name, true, 0, options));
    }
    FileNode* file(FileNode* parent, std::string_view name, std::int64_t allocatedSize,
                   NodeOptions options = {}) {
        return add(parent, init(name, false, allocatedSize, options));
    }

    /// Sets every folder's sizes to the sums over its children (iterative, so deep
    /// chains are fine). Returns the root's allocated size.
    std::int64_t totalFolders();

private:
    FileNode* add(FileNode* parent, const NodeInit& init);
    static NodeInit init(std::string_view name, bool directory, std::int64_t allocatedSize,
                         const NodeOptions& options);

    std::shared_ptr<Tree> m_tree;
    NodeAllocator m_alloc;
    FileNode* m_root = nullptr;
    std::unordered_map<FileNode*, FileNode*> m_tails;
};

/// Follows a "/"-separated chain of names from `root`; null when a step is missing.
inline FileNode* at(const FileNode* root, std::string_view rel) {
    auto* n = const_cast<FileNode*>(root);
    for (std::string_view rest = rel; n && !rest.empty();) {
        const auto name = rest.substr(0, rest.find('/'));
        rest.remove_prefix(std::min(rest.size(), name.size() + 1));
        FileNode* c = n->firstChild();
        while (c && c->name() != name)
            c = c->nextSibling();
        n = c;
    }
    return n;
}

} // namespace ringfold::test
