#pragma once
// The cleanup list: the nodes the user marked for a bulk file operation, in the order
// they were marked, and the set of their ids for O(1) membership tests by every row's
// checkbox. Both are kept in step by every operation. The store holds strong
// references, so marked nodes (and their trees) stay alive across a rescan until the
// scan coordinator drops the replaced tree's items. Totals are signed byte counts computed on
// demand.
//
// Threads: main thread only.

#include "core/model/FileNode.h"

#include <QObject>

#include <cstdint>
#include <unordered_set>
#include <vector>

namespace ringfold {

class SettingsStore;

class CleanupListStore : public QObject {
    Q_OBJECT

public:
    /// State of a header or group checkbox over several nodes.
    enum class SelectionState { off, on, mixed };

    /// `settings` supplies allowDeletingHiddenFiles (not owned; may be null, which
    /// reads as "off").
    explicit CleanupListStore(const SettingsStore* settings = nullptr, QObject* parent = nullptr);

    /// Start-up creates the list before the settings; they are attached afterwards.
    void setSettings(const SettingsStore* settings) { m_settings = settings; }

    const std::vector<NodePtr>& items() const { return m_items; }
    const std::unordered_set<NodeID>& includedIDs() const { return m_includedIDs; }
    bool contains(NodeID id) const { return m_includedIDs.count(id) != 0; }
    bool contains(const FileNode& node) const { return contains(node.id()); }
    bool isEmpty() const { return m_items.empty(); }
    std::size_t count() const { return m_items.size(); }

    /// False for a hidden node while hidden items may not be deleted, and for any node
    /// of a saved scan: its row shows a lock instead of a checkbox.
    bool canAdd(const FileNode& node) const;

    /// Appends the node unless it is refused by canAdd or its id is already listed.
    void add(const NodePtr& node);
    /// Drops every entry with the node's id; nothing happens when it is not listed.
    void remove(const FileNode& node);
    void remove(NodeID id);
    /// What a row's checkbox does: remove when listed, else add.
    void toggle(const NodePtr& node);
    void clear();
    /// The system junk pre-selection: appends each node that is not hidden and not yet
    /// listed, with one notification for the whole batch.
    void addPreselected(const std::vector<NodePtr>& nodes);
    /// Drops every item whose node belongs to `tree` (a tree a rescan replaced).
    /// Items of other trees keep their order, whatever their paths.
    void removeItems(const Tree& tree);

    /// off when no eligible node is listed (or there is none), on when all are, else
    /// mixed. Hidden nodes are eligible only while hidden items may be deleted.
    SelectionState selectionState(const std::vector<FileNode*>& nodes) const;

    /// Allocated bytes of items that are not cloud placeholders ("To Trash").
    std::int64_t trashTotal() const;
    /// Allocated bytes of downloaded cloud items ("To free via Remove Download").
    std::int64_t removeDownloadTotal() const;
    /// Logical bytes of all items ("To Move/Copy").
    std::int64_t moveCopyTotal() const;

signals:
    void itemsChanged();
    void includedIDsChanged();

private:
    bool hiddenAllowed() const;

    const SettingsStore* m_settings;
    std::vector<NodePtr> m_items;
    std::unordered_set<NodeID> m_includedIDs;
};

} // namespace ringfold
