#pragma once
// Carries out Move to Trash, Move to…, Copy to… and Remove Download for a list of
// nodes of the current tree, one item at a time on a worker thread: a failure becomes
// one OperationError and the others go on; nothing that succeeded is rolled back.
//
// The tree, the map and the cleanup list belong to the main thread, so the worker
// only ever sees paths (taken on the main thread before it starts) and posts each
// item's result back. There, after each success that changed the disk, the tree is
// patched in place (TreeMutator), the map's accounting is refreshed, its treeRevision
// goes up by one, the map's focus leaves a removed folder and the node leaves the
// cleanup list. A move that copied an item but could not remove all of its source
// leaves the node with what is still on disk. Byte counts are signed.
//
// A node's path is only as good as its place in the map's tree: a node an earlier
// operation cut out (or one of a tree the map no longer shows) is refused, since its
// cached path may now name something else. An item listed inside another item of the
// same batch goes with it; when that one moved only in part, the inner item is not
// moved on its own to the top of the destination.
//
// One operation at a time; cancel() stops it between items and the outcome says how
// many were not started.

#include "app/operations/FileTransfer.h"
#include "app/operations/OperationError.h"
#include "core/model/FileNode.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace ringfold {

class ChartViewModel;
class CleanupListStore;

class FileOperations : public QObject {
    Q_OBJECT

public:
    enum class Kind { trash, move, copy, removeDownload };

    struct Outcome {
        std::vector<OperationError> errors;
        /// Allocated bytes freed: trash (zeroed duplicates count 0) and evictions.
        std::int64_t reclaimedBytes = 0;
        int succeeded = 0;
        /// Items left untouched because the operation was cancelled.
        int notStarted = 0;
        /// The tree was patched (a success, or what a half-finished move took away):
        /// the file list, biggest files and categories must recompute from the root.
        bool treeChanged = false;
    };
    /// How far the running operation is: bytes are allocated bytes for trash and
    /// evictions, logical bytes for moves and copies.
    struct Progress {
        int itemsDone = 0;
        int itemsTotal = 0;
        std::int64_t bytesDone = 0;
        std::int64_t bytesTotal = 0;
        /// The name of the item being worked on.
        QString currentItem;
    };
    /// Evicts the local copy of a cloud file; returns the failure's description.
    /// Called on the worker thread.
    using Evictor = std::function<std::optional<QString>(const std::string& path)>;
    /// Moves one item; FileTransfer::move unless replaced (a test changes the source
    /// while it is copied). Called on the worker thread.
    using Mover = std::function<int(const std::string& source, const std::string& destination,
                                    FileTransfer::Report* report)>;

    FileOperations(ChartViewModel& chart, CleanupListStore& cleanupList, QObject* parent = nullptr);
    /// Cancels a running operation and waits for its current item.
    ~FileOperations() override;

    // Each starts an operation and returns at once; `finished` follows. Nothing starts
    // (false) while another operation runs or when there is no node. The node lists
    // are taken by value: callers may pass the cleanup list's own items.
    bool moveToTrash(std::vector<NodePtr> nodes);
    /// Moves each node to `folder` + "/" + its name; an existing item there is an error.
    /// `folder` is the path's bytes, as every path here.
    bool moveTo(std::vector<NodePtr> nodes, const std::string& folder);
    /// Copies each node to `folder` + "/" + its name; the tree and the list stay as they are.
    bool copyTo(std::vector<NodePtr> nodes, const std::string& folder);
    /// Evicts each node's local copy; on success the node becomes a placeholder.
    bool removeDownload(std::vector<NodePtr> nodes);

    bool isRunning() const { return m_job != nullptr; }
    /// The running operation's kind (the last one's once it ended).
    Kind kind() const { return m_kind; }
    Progress progress() const;
    /// Stops the running operation before its next item.
    void cancel();

    /// The cleanup-list items the bar's "Move to Trash" acts on (not cloud placeholders).
    static std::vector<NodePtr> trashableItems(const CleanupListStore& list);
    /// The cleanup-list items the bar's "Remove Download" acts on (downloaded cloud files).
    static std::vector<NodePtr> downloadedItems(const CleanupListStore& list);

    /// No cloud provider can evict files on this platform yet.
    static QString evictionUnsupportedMessage();
    void setEvictor(Evictor evictor) { m_evictor = std::move(evictor); }
    void setMover(Mover mover) { m_mover = std::move(mover); }

signals:
    void runningChanged();
    /// A few times a second while an operation runs.
    void progressChanged();
    void finished(ringfold::FileOperations::Kind kind,
                  const ringfold::FileOperations::Outcome& outcome);

private:
    struct Job;
    struct ItemResult;
    bool start(Kind kind, std::vector<NodePtr> nodes, std::string folder);
    void apply(const ItemResult& result);
    void end();
    void moveFocusOutOf(const FileNode& node);
    void keepWhatIsLeft(FileNode& node, const std::vector<std::string>& leftBehind);
    bool isInMap(const FileNode& node) const;
    void dropDetachedCleanupItems();

    ChartViewModel& m_chart;
    CleanupListStore& m_cleanupList;
    Evictor m_evictor;
    Mover m_mover;
    Kind m_kind = Kind::trash;
    std::shared_ptr<Job> m_job;
    Outcome m_outcome;
    std::jthread m_worker;
    QTimer m_progressTimer;
};

} // namespace ringfold
