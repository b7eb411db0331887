#include "core/io/ImportedTreeBuilder.h"

#include "core/scan/ScanSupport.h"

#include <string_view>
#include <sys/sysmacros.h>

namespace ringfold {

ImportedTreeBuilder::ImportedTreeBuilder() : m_tree(Tree::create()) {
    m_alloc.emplace(*m_tree);
}

std::optional<std::string> ImportedTreeBuilder::add(const ImportedEntry& e) {
    const bool isRoot = m_stack.empty();
    if (isRoot && (m_root || !e.isFolder))
        return "an entry outside the root folder";
    const std::string_view name = e.name;
    if (name.empty() || name.find('\0') != name.npos ||
        (!isRoot && (name == "." || name == ".." || name.find('/') != name.npos)))
        return "an entry name that cannot be a file name";

    NodeInit init;
    init.name = name;
    if (isRoot) { // the scanned path; the node shows its last component
        std::string_view p = name;
        while (p.size() > 1 && p.back() == '/')
            p.remove_suffix(1);
        const auto slash = p.rfind('/');
        init.name = slash == p.npos || p.size() == 1 ? p : p.substr(slash + 1);
    }
    init.isDirectory = e.isFolder;
    init.isHidden = init.name.front() == '.';
    init.isRestricted = e.restricted;
    init.sharesStorage = e.sharesStorage;
    init.modificationDate = e.modificationDate;
    if (e.cloudStatus <= 2)
        init.cloudStatus = static_cast<CloudStatus>(e.cloudStatus);
    if (!e.isFolder) { // a folder's size is its contents'
        init.logicalSize = e.logicalSize;
        init.allocatedSize = e.allocatedSize;
    }
    FileNode* n = m_alloc->create(init);
    n->setExcluded(e.excluded);
    ++m_items;
    m_restricted += e.restricted;
    const std::uint64_t dev = e.device ? *e.device : (isRoot ? 0 : m_stack.back().device);
    if (isRoot) {
        m_root = n;
        m_tree->setUrl(n, std::string(name));
    }
    if (e.isFolder) {
        m_stack.push_back(Frame{n, Tree::ChildChain(n), dev});
        m_stack.back().sharedMark = e.sharesStorage;
        return std::nullopt;
    }
    if (e.sharesStorage && e.allocatedSize > 0)
        ++m_sharedFirsts; // our own files: the first holder of data that has copies
    const bool linked = e.inode && (e.hardLinked || e.linkCount >= 2);
    if (e.countedElsewhere && e.allocatedSize > 0) {
        n->setAllocatedSize(0);
        n->setSharesStorage(true);
        ++m_sharedFirsts; // one more stream met again
    } else if (linked && e.allocatedSize > 0 &&
               !m_tracker.claim(foldDeviceID(major(dev), minor(dev)), *e.inode, n)) {
        n->setAllocatedSize(0);
        n->setSharesStorage(true);
    }
    addToFolder(n);
    return std::nullopt;
}

void ImportedTreeBuilder::addToFolder(FileNode* n) {
    Frame& f = m_stack.back();
    f.chain.append(n);
    f.logical = addBytes(f.logical, n->logicalSize());
    f.allocated = addBytes(f.allocated, n->allocatedSize());
}

bool ImportedTreeBuilder::close() {
    Frame f = m_stack.back();
    m_stack.pop_back();
    // The first holder of hard-linked data learns that it shares only when a later link
    // turns up, so the marks are read once all of the folder's entries are in.
    bool anyShared = false;
    for (FileNode* c = f.chain.front(); c; c = c->nextSibling())
        anyShared = anyShared || c->sharesStorage();
    const bool hasChildren = !f.chain.empty();
    m_tree->attach(f.node, f.chain, nullptr);
    f.node->setLogicalSize(f.logical);
    f.node->setAllocatedSize(f.allocated);
    if (f.sharedMark || (f.allocated == 0 && hasChildren && anyShared))
        f.node->setSharesStorage(true);
    if (m_stack.empty())
        return true;
    addToFolder(f.node);
    return false;
}

ScanResult ImportedTreeBuilder::finish(ScanCounts& counts) {
    m_alloc.reset(); // settles the tree's node count
    counts.items = m_items;
    counts.sharedStreams = m_tracker.totalDuplicateStreams() + m_sharedFirsts;
    ScanResult r;
    r.accounting.enumeratedAllocatedSize = m_root->allocatedSize();
    r.accounting.restrictedPathCount = m_restricted;
    r.root = m_tree->share(m_root);
    return r;
}

} // namespace ringfold
