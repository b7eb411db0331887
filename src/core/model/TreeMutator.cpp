#include "core/model/TreeMutator.h"

#include "core/model/FileNode.h"
#include "core/model/Tree.h"

namespace ringfold {

void TreeMutator::remove(FileNode& node) {
    FileNode* parent = node.parent();
    if (!parent)
        return;
    node.tree().detach(&node);
    const std::int64_t allocated = node.sharesStorage() ? 0 : node.allocatedSize();
    const std::int64_t logical = node.logicalSize();
    for (FileNode* a = parent; a; a = a->parent()) {
        a->setAllocatedSize(a->allocatedSize() - allocated);
        a->setLogicalSize(a->logicalSize() - logical);
    }
}

void TreeMutator::markEvicted(FileNode& node) {
    const std::int64_t delta = node.allocatedSize();
    node.setCloudStatus(CloudStatus::cloudPlaceholder);
    node.setAllocatedSize(0);
    for (FileNode* a = node.parent(); a; a = a->parent())
        a->setAllocatedSize(a->allocatedSize() - delta);
}

} // namespace ringfold
