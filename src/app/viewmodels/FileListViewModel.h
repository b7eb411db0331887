#pragma once
// The rows of the folder panel: the children of the folder the map is focused on, in
// the user's sort order (optionally folders first), plus the two groups the display
// grouping takes out of the list (children below the smaller-objects share, small
// hidden children), each in the folder's child order. Sizes are allocated bytes.
//
// The model never owns the tree: the focused folder is held weakly, and the rows point
// into the tree that the map holds. Once that tree is released the row lists read as
// empty, and the next `recompute` publishes the empty lists.
//
// Threads: main thread only. Each observed property has its own change signal,
// emitted only when the value really changes.

#include "core/model/FileNode.h"

#include <QObject>

#include <cstdint>
#include <memory>
#include <vector>

namespace ringfold {

/// One column the table sorts by, and its direction.
struct FileSortDescriptor {
    enum class Key {
        name,     // locale-aware, case-insensitive, digit runs by value
        kind,     // the kind label, compared like names
        modified, // seconds since 1970; undated items count as 0
        size      // allocated bytes
    };
    Key key = Key::size;
    bool ascending = false;
    friend bool operator==(const FileSortDescriptor&, const FileSortDescriptor&) = default;
};

class FileListViewModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 revision READ revision WRITE setRevision NOTIFY revisionChanged)

public:
    explicit FileListViewModel(QObject* parent = nullptr);
    ~FileListViewModel() override;

    /// First descriptor primary; by default size, largest first.
    const std::vector<FileSortDescriptor>& sortOrder() const { return m_sortOrder; }
    /// Stores the descriptors and recomputes, even when they are unchanged.
    void setSortOrder(std::vector<FileSortDescriptor> order);

    /// Bumped by the owner so that views re-read the rows after the tree changed.
    qint64 revision() const { return m_revision; }
    void setRevision(qint64 revision);

    const std::vector<FileNode*>& displayRows() const;
    const std::vector<FileNode*>& smallerNodes() const;
    const std::vector<FileNode*>& hiddenNodes() const;
    /// Allocated bytes of the two group rows.
    std::int64_t smallerNodesSize() const;
    std::int64_t hiddenNodesSize() const;

    /// The folder last listed; null once it has been released.
    NodePtr lastFocusedNode() const { return m_lastFocusedNode.lock(); }
    double lastThresholdPercent() const { return m_lastThresholdPercent; }
    bool lastGroupHiddenItems() const { return m_lastGroupHiddenItems; }
    bool lastSortFoldersToTop() const { return m_lastSortFoldersToTop; }

    /// Lists `focused` (or nothing) with the given settings: `thresholdPercent` is the
    /// smaller-objects fraction (0.01 = 1 %).
    void update(const NodePtr& focused, double thresholdPercent, bool groupHiddenItems,
                bool sortFoldersToTop);
    /// Lists again with the values of the last `update`.
    void recompute();

signals:
    void sortOrderChanged();
    void revisionChanged();
    void displayRowsChanged();
    void smallerNodesChanged();
    void hiddenNodesChanged();

private:
    bool rowsAlive() const { return !m_rowsOwner.expired(); }

    std::vector<FileSortDescriptor> m_sortOrder;
    qint64 m_revision = 0;
    std::vector<FileNode*> m_displayRows;
    std::vector<FileNode*> m_smallerNodes;
    std::vector<FileNode*> m_hiddenNodes;
    // The folder the row lists were built from: they are valid while its tree lives.
    std::weak_ptr<FileNode> m_rowsOwner;

    std::weak_ptr<FileNode> m_lastFocusedNode;
    double m_lastThresholdPercent = 0.0;
    bool m_lastGroupHiddenItems = false;
    bool m_lastSortFoldersToTop = false;
};

} // namespace ringfold
