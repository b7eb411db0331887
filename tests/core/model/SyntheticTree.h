#pragma once
// Small in-memory trees for model tests: files with given sizes, and folders whose
// sizes are the sums of the children they are built from.

#include "core/model/Tree.h"

#include <memory>
#include <string_view>
#include <vector>

namespace ringfold::test {

struct SyntheticTree {
    std::shared_ptr<Tree> tree = Tree::create();
    NodeAllocator alloc{*tree};

    FileNode* file(std::string_view name, std::int64_t allocated, std::int64_t logical = -1,
                   bool hidden = false) {
        NodeInit init;
        init.name = name;
        init.allocatedSize = allocated;
        init.logicalSize = logical < 0 ? allocated : logical;
        init.isHidden = hidden;
        return alloc.create(init);
    }

    FileNode* folder(std::string_view name, const std::vector<FileNode*>& children,
                     bool hidden = false) {
        NodeInit init;
        init.name = name;
        init.isDirectory = true;
        init.isHidden = hidden;
        for (FileNode* c : children) {
            init.allocatedSize += c->allocatedSize();
            init.logicalSize += c->logicalSize();
        }
        FileNode* f = alloc.create(init);
        tree->linkChildren(f, children);
        return f;
    }

    static std::vector<FileNode*> childrenOf(const FileNode* folder) {
        return {folder->children().begin(), folder->children().end()};
    }
};

} // namespace ringfold::test
