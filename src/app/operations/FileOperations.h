#pragma once
// Carries out Move to Trash, Move to…, Copy to… and Remove Download for a list of
// nodes of the current tree, one item at a time: a failure becomes one
// OperationError (the system's message) and the others go on; nothing that succeeded
// is rolled back. After each success that changed the disk the tree is patched in
// place (TreeMutator), the map's accounting is refreshed, its treeRevision goes up by
// one, the map's focus leaves a removed folder and the node leaves the cleanup list.
// Byte counts are signed allocated bytes.
//
// Threads: main thread only; the disk calls block it, which keeps the tree, the map
// and the cleanup list consistent without locks.

#include "app/operations/OperationError.h"
#include "core/model/FileNode.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace ringfold {

class ChartViewModel;
class CleanupListStore;

class FileOperations : public QObject {
    Q_OBJECT

public:
    // The node lists are taken by value: callers may pass the cleanup list's own
    // items, which shrink as items succeed.
    struct Outcome {
        std::vector<OperationError> errors;
        /// Allocated bytes freed: trash (zeroed duplicates count 0) and evictions.
        std::int64_t reclaimedBytes = 0;
        int succeeded = 0;
    };
    /// Evicts the local copy of a cloud file; returns the failure's description.
    using Evictor = std::function<std::optional<QString>(const std::string& path)>;

    FileOperations(ChartViewModel& chart, CleanupListStore& cleanupList, QObject* parent = nullptr);

    Outcome moveToTrash(std::vector<NodePtr> nodes);
    /// Moves each node to `folder` + "/" + its name; an existing item there is an error.
    /// `folder` is the path's bytes, as every path here.
    Outcome moveTo(std::vector<NodePtr> nodes, const std::string& folder);
    /// Copies each node to `folder` + "/" + its name; the tree and the list stay as they are.
    Outcome copyTo(std::vector<NodePtr> nodes, const std::string& folder);
    /// Evicts each node's local copy; on success the node becomes a placeholder.
    Outcome removeDownload(std::vector<NodePtr> nodes);

    /// The cleanup-list items the bar's "Move to Trash" acts on (not cloud placeholders).
    static std::vector<NodePtr> trashableItems(const CleanupListStore& list);
    /// The cleanup-list items the bar's "Remove Download" acts on (downloaded cloud files).
    static std::vector<NodePtr> downloadedItems(const CleanupListStore& list);

    /// No cloud provider can evict files on this platform yet.
    static QString evictionUnsupportedMessage();
    void setEvictor(Evictor evictor) { m_evictor = std::move(evictor); }

signals:
    /// After a trash, move or eviction batch: the file list, biggest files and
    /// categories recompute from the map's root.
    void dependentViewsNeedRefresh();

private:
    using DiskStep = std::function<std::optional<QString>(const FileNode& node)>;
    Outcome removeEach(const std::vector<NodePtr>& nodes, const DiskStep& step,
                       bool countReclaimed);
    void moveFocusOutOf(const FileNode& node);

    ChartViewModel& m_chart;
    CleanupListStore& m_cleanupList;
    Evictor m_evictor;
};

} // namespace ringfold
