#include "core/model/FileNode.h"

#include "core/model/ByteFormat.h"
#include "core/model/Tree.h"

#include <atomic>
#include <cctype>

namespace ringfold {

namespace {
std::atomic<NodeID> g_nodeCounter{0};
}

NodeID reserveNodeIDs(std::int64_t count) {
    // One read-modify-write: concurrent scanners never share an identity, and later
    // reservations always get larger ones.
    return g_nodeCounter.fetch_add(count, std::memory_order_acq_rel) + 1;
}

NodeID nextNodeID() { return reserveNodeIDs(1); }

std::string_view pathExtension(std::string_view name) {
    auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size())
        return {};
    return name.substr(dot + 1);
}

NodeID FileNode::id() const { return Tree::idOf(this); }

const char* FileNode::nameCString() const { return tree().nameAt(m_name); }

std::string_view FileNode::name() const { return nameCString(); }

std::string FileNode::kindLabel() const {
    if (isDirectory())
        return "Folder";
    auto ext = pathExtension(name());
    if (ext.empty())
        return "File";
    std::string label(ext);
    for (char& c : label)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return label;
}

void FileNode::setModificationDate(std::optional<Timestamp> t) {
    if (!t) {
        m_flags &= ~kHasDate;
        m_modified = 0;
        return;
    }
    Timestamp v = *t;
    if (v < 0)
        v = 0;
    if (v > Timestamp(0xFFFFFFFFu))
        v = Timestamp(0xFFFFFFFFu);
    m_modified = static_cast<std::uint32_t>(v);
    m_flags |= kHasDate;
}

FileNode* FileNode::parent() const { return tree().nodeAt(m_parent); }
FileNode* FileNode::firstChild() const { return tree().nodeAt(m_firstChild); }
FileNode* FileNode::nextSibling() const { return tree().nodeAt(m_nextSibling); }

std::size_t FileNode::childCount() const {
    std::size_t n = 0;
    for (FileNode* c = firstChild(); c; c = c->nextSibling())
        ++n;
    return n;
}

Tree& FileNode::tree() const { return Tree::treeOf(this); }

NodePtr FileNode::shared() const { return tree().share(this); }

std::string FileNode::url() const { return tree().url(this); }

std::string FileNode::sizeLabel() const {
    if (sharesStorage() && allocatedSize() == 0)
        return "no extra space";
    return formatByteCount(allocatedSize());
}

std::optional<std::string> FileNode::sharedStorageNote() const {
    if (!(sharesStorage() && allocatedSize() == 0))
        return std::nullopt;
    return formatByteCount(logicalSize()) +
           " of content, stored on disk only once. Another copy of the same data is holding "
           "that space, so deleting this one on its own frees nothing. Delete every copy and "
           "the space comes back.";
}

} // namespace ringfold
