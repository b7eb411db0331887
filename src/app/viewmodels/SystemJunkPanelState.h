#pragma once
// The System Junk panel's own state and rules, kept apart from the widgets: the sort
// column and direction, the confidence legend, the header, group and item checkboxes
// with what a click on each does, and shift-click ranges. Checkboxes read and change
// the cleanup list; an item is eligible when its node is not hidden, or hidden while
// hidden items may be deleted (CleanupListStore::canAdd).
//
// Threads: main thread only (like the cleanup list it changes).

#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/SystemJunkViewModel.h"

#include <QString>

#include <optional>
#include <vector>

namespace ringfold {

enum class JunkSortKey { name, size, modified, confidence };

class SystemJunkPanelState {
public:
    using Group = SystemJunkViewModel::CategoryGroup;
    using CheckState = CleanupListStore::SelectionState;

    bool showConfidenceLegend() const { return m_showConfidenceLegend; }
    void toggleConfidenceLegend() { m_showConfidenceLegend = !m_showConfidenceLegend; }

    JunkSortKey sortKey() const { return m_sortKey; }
    bool sortAscending() const { return m_sortAscending; }
    /// The direction a column starts in: Name, Confidence and Modified ascending,
    /// Size descending.
    static bool initialAscending(JunkSortKey key);
    /// The current column flips its direction; another column becomes current in its
    /// initial direction.
    void clickColumnHeader(JunkSortKey key);
    /// Whether `a` comes before `b` under a key and direction. Missing dates count as
    /// the distant past; names compare by code point after canonical composition.
    static bool comesBefore(const JunkItem& a, const JunkItem& b, JunkSortKey key, bool ascending);
    /// The group's items in display order (a stable sort, so ties keep classifier order).
    std::vector<JunkItem> displayedItems(const Group& group) const;

    /// Over all groups: off, on, or mixed.
    static CheckState headerState(const std::vector<Group>& groups, const CleanupListStore& list);
    /// On removes every eligible item; off or mixed adds every eligible item that is
    /// not hidden and not yet listed, in group and item order.
    static void clickHeaderCheckbox(const std::vector<Group>& groups, CleanupListStore& list);
    /// On when the group has an eligible item and all its eligible items are listed.
    static bool groupChecked(const Group& group, const CleanupListStore& list);
    static void clickGroupCheckbox(const Group& group, CleanupListStore& list);
    /// Toggles the item, except a hidden one while hidden items may not be deleted.
    static void clickItemCheckbox(const JunkItem& item, CleanupListStore& list);

    /// A click on a row. With Shift, and the previously clicked item shown in the same
    /// group, adds every item between the two (both included, display order) that is
    /// not hidden and not yet listed, removing nothing; otherwise toggles like the
    /// checkbox (also when the previous click was in another group). The clicked item
    /// becomes the anchor of the next range.
    void clickItemRow(const JunkItem& item, const Group& group, bool shift, CleanupListStore& list);
    std::optional<NodeID> lastClickedJunkNodeID() const { return m_lastClickedJunkNodeID; }

    /// "Found **<bytes>** of logs, caches, and old data that's likely safe to remove"
    /// (the amount in bold).
    static QString foundSummary(std::int64_t highConfidenceTotal);
    /// "1 item", "3 items".
    static QString itemCountLabel(std::size_t count);
    /// The legend line of a confidence tier.
    static QString legendText(JunkConfidence confidence);

private:
    static std::vector<FileNode*> eligibleNodes(const std::vector<JunkItem>& items,
                                                const CleanupListStore& list);

    bool m_showConfidenceLegend = false;
    JunkSortKey m_sortKey = JunkSortKey::size;
    bool m_sortAscending = false;
    std::optional<NodeID> m_lastClickedJunkNodeID;
};

} // namespace ringfold
