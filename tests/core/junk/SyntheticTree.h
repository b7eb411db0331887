#pragma once
// Builds small in-memory trees rooted at an absolute path, for the junk rules, which
// read only names, children and dates of a scanned tree.

#include "core/model/FileNode.h"
#include "core/model/Tree.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace ringfold::testing {

class SyntheticTree {
public:
    explicit SyntheticTree(const std::string& rootPath) : m_tree(Tree::create()), m_alloc(*m_tree) {
        const auto slash = rootPath.find_last_of('/');
        const std::string name = rootPath == "/" ? "/" : rootPath.substr(slash + 1);
        NodeInit init;
        init.name = name;
        init.isDirectory = true;
        m_root = m_alloc.create(init);
        m_tree->setUrl(m_root, rootPath);
        m_folders[""] = m_root;
    }

    FileNode* root() const { return m_root; }
    NodePtr shared() const { return m_tree->share(m_root); }

    /// Adds a file (or, with `directory`, a folder) at a path relative to the root,
    /// creating the folders on the way; every ancestor's sizes grow by `size`.
    FileNode* add(const std::string& relative, std::optional<Timestamp> date = std::nullopt,
                  std::int64_t size = 1000, bool directory = false, bool hidden = false) {
        const auto slash = relative.find_last_of('/'); // npos + 1 == 0
        FileNode* parent = slash == std::string::npos ? m_root : folder(relative.substr(0, slash));
        const std::string name = relative.substr(slash + 1);
        NodeInit init;
        init.name = name;
        init.isDirectory = directory;
        init.logicalSize = size;
        init.allocatedSize = size;
        init.isHidden = hidden;
        init.modificationDate = date;
        FileNode* n = m_alloc.create(init);
        m_tree->appendChild(parent, n);
        for (FileNode* a = parent; a; a = a->parent()) {
            a->setAllocatedSize(a->allocatedSize() + size);
            a->setLogicalSize(a->logicalSize() + size);
        }
        if (directory)
            m_folders[relative] = n;
        return n;
    }
    FileNode* addFolder(const std::string& relative, std::optional<Timestamp> date = std::nullopt,
                        std::int64_t size = 0) {
        return add(relative, date, size, true);
    }

    FileNode* folder(const std::string& relative) {
        if (auto it = m_folders.find(relative); it != m_folders.end())
            return it->second;
        return addFolder(relative);
    }

private:
    std::shared_ptr<Tree> m_tree;
    NodeAllocator m_alloc;
    FileNode* m_root = nullptr;
    std::map<std::string, FileNode*> m_folders;
};

} // namespace ringfold::testing
