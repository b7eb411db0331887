#include "app/viewmodels/FileListViewModel.h"

#include "app/viewmodels/FileRowSorter.h"
#include "core/model/DisplayGrouping.h"

#include <algorithm>
#include <unordered_set>

namespace ringfold {

namespace {

const std::vector<FileNode*> kNoRows;

std::int64_t sumAllocated(const std::vector<FileNode*>& nodes) {
    std::int64_t sum = 0;
    for (const FileNode* n : nodes)
        sum += n->allocatedSize();
    return sum;
}

bool sameOwner(const std::weak_ptr<FileNode>& a, const std::weak_ptr<FileNode>& b) {
    return !a.owner_before(b) && !b.owner_before(a);
}

} // namespace

FileListViewModel::FileListViewModel(QObject* parent)
    : QObject(parent), m_sortOrder{FileSortDescriptor{}} {}

FileListViewModel::~FileListViewModel() = default;

void FileListViewModel::setSortOrder(std::vector<FileSortDescriptor> order) {
    const bool changed = order != m_sortOrder;
    m_sortOrder = std::move(order);
    if (changed)
        emit sortOrderChanged();
    recompute();
}

void FileListViewModel::setRevision(qint64 revision) {
    if (revision == m_revision)
        return;
    m_revision = revision;
    emit revisionChanged();
}

const std::vector<FileNode*>& FileListViewModel::displayRows() const {
    return rowsAlive() ? m_displayRows : kNoRows;
}

const std::vector<FileNode*>& FileListViewModel::smallerNodes() const {
    return rowsAlive() ? m_smallerNodes : kNoRows;
}

const std::vector<FileNode*>& FileListViewModel::hiddenNodes() const {
    return rowsAlive() ? m_hiddenNodes : kNoRows;
}

std::int64_t FileListViewModel::smallerNodesSize() const {
    return sumAllocated(smallerNodes());
}

std::int64_t FileListViewModel::hiddenNodesSize() const {
    return sumAllocated(hiddenNodes());
}

void FileListViewModel::update(const NodePtr& focused, double thresholdPercent,
                               bool groupHiddenItems, bool sortFoldersToTop) {
    m_lastFocusedNode = focused;
    m_lastThresholdPercent = thresholdPercent;
    m_lastGroupHiddenItems = groupHiddenItems;
    m_lastSortFoldersToTop = sortFoldersToTop;
    recompute();
}

void FileListViewModel::recompute() {
    const NodePtr folder = m_lastFocusedNode.lock();
    std::vector<FileNode*> rows;
    std::vector<FileNode*> smaller;
    std::vector<FileNode*> hidden;
    if (folder) {
        const bool groupHidden = m_lastGroupHiddenItems;
        const double threshold = m_lastThresholdPercent;
        for (FileNode* c : folder->children()) {
            if (groupHidden && isGroupedHidden(*c, *folder))
                hidden.push_back(c);
            else if (isSmallerObject(*c, *folder, threshold))
                smaller.push_back(c);
            else
                rows.push_back(c);
        }
        const FileRowSorter sorter(m_sortOrder);
        if (m_lastSortFoldersToTop) {
            auto firstFile = std::stable_partition(rows.begin(), rows.end(),
                                                   [](FileNode* n) { return n->isDirectory(); });
            std::vector<FileNode*> folders(rows.begin(), firstFile);
            std::vector<FileNode*> files(firstFile, rows.end());
            sorter.sort(folders);
            sorter.sort(files);
            rows = std::move(folders);
            rows.insert(rows.end(), files.begin(), files.end());
        } else {
            sorter.sort(rows);
        }
    }

    // Rows of a released tree compare equal by address to nothing that is alive, but a
    // new tree may reuse the addresses: a change of owner always counts as a change.
    std::weak_ptr<FileNode> owner = folder;
    const bool sameTree = sameOwner(owner, m_rowsOwner) && rowsAlive();
    const bool rowsChanged = !(sameTree || rows.empty()) || rows != displayRows();
    const bool smallerChanged = !(sameTree || smaller.empty()) || smaller != smallerNodes();
    const bool hiddenChanged = !(sameTree || hidden.empty()) || hidden != hiddenNodes();
    m_displayRows = std::move(rows);
    m_smallerNodes = std::move(smaller);
    m_hiddenNodes = std::move(hidden);
    m_rowsOwner = std::move(owner);
    if (rowsChanged)
        emit displayRowsChanged();
    if (smallerChanged)
        emit smallerNodesChanged();
    if (hiddenChanged)
        emit hiddenNodesChanged();
}

} // namespace ringfold
