#pragma once
// Builds a tree from entries that arrive in depth-first order, as a saved scan lists
// them: a folder is opened, its entries follow, then it is closed. Folder totals are
// the sums of their contents (a folder's own entry size is left out, as in a scan);
// hard links (entries with the same device and inode that say they have more than one
// link) are counted once, the first keeping its size, as the scanner does.
//
// Memory beyond the tree: one record per open folder and one per hard-linked file.

#include "core/model/ScanResult.h"
#include "core/model/Tree.h"
#include "core/scan/ScanBackend.h"
#include "core/scan/SharedStorageTracker.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ringfold {

/// One entry of a saved scan, as read.
struct ImportedEntry {
    std::string name; // the full path for the root
    bool isFolder = false;
    std::int64_t logicalSize = 0, allocatedSize = 0;
    std::optional<std::uint64_t> device, inode;
    std::uint64_t linkCount = 0;
    bool hardLinked = false; // said to share its inode, link count or not
    /// A name whose data another name of the file already counts, whatever comes
    /// before or after it (gdu marks only such names).
    bool countedElsewhere = false;
    bool restricted = false, excluded = false, sharesStorage = false;
    std::optional<Timestamp> modificationDate;
    std::uint64_t cloudStatus = 0;
};

class ImportedTreeBuilder {
public:
    ImportedTreeBuilder();
    /// Adds a file, or opens a folder that the entries after it belong to. The first
    /// entry is the root folder. Returns why the entry cannot be taken.
    std::optional<std::string> add(const ImportedEntry& entry);
    /// Closes the innermost open folder; true when that was the root.
    bool close();
    std::size_t depth() const { return m_stack.size(); }
    /// The finished tree; call once, after the root was closed.
    ScanResult finish(ScanCounts& counts);

private:
    struct Frame {
        FileNode* node;
        Tree::ChildChain chain;
        std::uint64_t device;
        std::int64_t logical = 0, allocated = 0;
        bool sharedMark = false;
    };
    void addToFolder(FileNode* n);

    std::shared_ptr<Tree> m_tree;
    std::optional<NodeAllocator> m_alloc;
    FileNode* m_root = nullptr;
    std::vector<Frame> m_stack;
    SharedStorageTracker m_tracker;
    std::int64_t m_items = 0, m_restricted = 0, m_sharedFirsts = 0;
};

} // namespace ringfold
