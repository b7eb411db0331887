#include "core/model/DisplayGrouping.h"

#include <algorithm>

namespace ringfold {

std::shared_ptr<const DisplayChild::Aggregate>
DisplayChild::makeAggregate(NodeID id, std::vector<FileNode*> members) {
    auto a = std::make_shared<Aggregate>();
    a->id = id;
    for (FileNode* m : members) {
        a->allocatedSize += m->allocatedSize();
        a->logicalSize += m->logicalSize();
    }
    a->members = std::move(members);
    return a;
}

DisplayChild DisplayChild::hidden(const FileNode& parent, std::vector<FileNode*> members) {
    return DisplayChild(Kind::hiddenAggregate, nullptr,
                        makeAggregate(hiddenAggregateID(parent.id()), std::move(members)));
}

DisplayChild DisplayChild::smallerObjects(const FileNode& parent, std::vector<FileNode*> members) {
    return DisplayChild(Kind::smallerObjectsAggregate, nullptr,
                        makeAggregate(smallerObjectsAggregateID(parent.id()), std::move(members)));
}

static bool groupedHidden(const FileNode& child, std::int64_t parentAllocated) {
    if (!child.isHidden())
        return false;
    const std::int64_t size = child.allocatedSize();
    if (size >= kHiddenGroupingLimit)
        return false;
    return parentAllocated < 1 ||
           static_cast<double>(size) < kHiddenGroupingShare * static_cast<double>(parentAllocated);
}

bool isGroupedHidden(const FileNode& child, const FileNode& parent) {
    return groupedHidden(child, parent.allocatedSize());
}

bool isSmallerObject(const FileNode& child, const FileNode& parent, double threshold) {
    return static_cast<double>(child.allocatedSize()) <
           threshold * static_cast<double>(parent.allocatedSize());
}

std::vector<DisplayChild> displayChildren(const FileNode& folder, bool groupHidden) {
    std::vector<DisplayChild> out;
    if (!groupHidden) {
        for (FileNode* c : folder.children())
            out.push_back(DisplayChild::forNode(c));
        return out;
    }
    const std::int64_t parentAllocated = folder.allocatedSize();
    std::vector<FileNode*> hidden;
    for (FileNode* c : folder.children()) {
        if (groupedHidden(*c, parentAllocated))
            hidden.push_back(c);
        else
            out.push_back(DisplayChild::forNode(c));
    }
    if (!hidden.empty())
        out.push_back(DisplayChild::hidden(folder, std::move(hidden)));
    return out;
}

VisibleChildren splitHiddenChildren(const FileNode& folder, bool groupHidden) {
    VisibleChildren out;
    const std::int64_t parentAllocated = folder.allocatedSize();
    for (FileNode* c : folder.children()) {
        if (groupHidden && groupedHidden(*c, parentAllocated)) {
            out.hasHidden = true;
            out.hiddenAllocated += c->allocatedSize();
        } else {
            out.nodes.push_back(c);
        }
    }
    return out;
}

void sortBySizeDescending(std::vector<FileNode*>& nodes) {
    std::stable_sort(nodes.begin(), nodes.end(), [](const FileNode* a, const FileNode* b) {
        return a->allocatedSize() > b->allocatedSize();
    });
}

} // namespace ringfold
