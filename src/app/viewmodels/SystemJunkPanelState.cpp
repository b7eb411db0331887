#include "app/viewmodels/SystemJunkPanelState.h"

#include "core/model/ByteFormat.h"

#include <algorithm>
#include <limits>

namespace ringfold {

namespace {

QList<uint> scalars(const FileNode& node) {
    const QString name = QString::fromUtf8(node.name().data(), qsizetype(node.name().size()));
    return name.normalized(QString::NormalizationForm_C).toUcs4();
}

Timestamp dateOrDistantPast(const FileNode& node) {
    return node.modificationDate().value_or(std::numeric_limits<Timestamp>::min());
}

} // namespace

bool SystemJunkPanelState::initialAscending(JunkSortKey key) {
    return key != JunkSortKey::size;
}

void SystemJunkPanelState::clickColumnHeader(JunkSortKey key) {
    if (key == m_sortKey) {
        m_sortAscending = !m_sortAscending;
        return;
    }
    m_sortKey = key;
    m_sortAscending = initialAscending(key);
}

bool SystemJunkPanelState::comesBefore(const JunkItem& a, const JunkItem& b, JunkSortKey key,
                                       bool ascending) {
    const FileNode& x = ascending ? *a.node : *b.node;
    const FileNode& y = ascending ? *b.node : *a.node;
    switch (key) {
    case JunkSortKey::name: {
        const QList<uint> sx = scalars(x), sy = scalars(y);
        return std::lexicographical_compare(sx.begin(), sx.end(), sy.begin(), sy.end());
    }
    case JunkSortKey::size:
        return x.allocatedSize() < y.allocatedSize();
    case JunkSortKey::modified:
        return dateOrDistantPast(x) < dateOrDistantPast(y);
    case JunkSortKey::confidence:
        return ascending ? a.confidence < b.confidence : b.confidence < a.confidence;
    }
    return false;
}

std::vector<JunkItem> SystemJunkPanelState::displayedItems(const Group& group) const {
    std::vector<JunkItem> items = group.items;
    std::stable_sort(items.begin(), items.end(), [this](const JunkItem& a, const JunkItem& b) {
        return comesBefore(a, b, m_sortKey, m_sortAscending);
    });
    return items;
}

std::vector<FileNode*> SystemJunkPanelState::eligibleNodes(const std::vector<JunkItem>& items,
                                                           const CleanupListStore& list) {
    std::vector<FileNode*> out;
    for (const JunkItem& item : items)
        if (list.canAdd(*item.node))
            out.push_back(item.node.get());
    return out;
}

SystemJunkPanelState::CheckState SystemJunkPanelState::headerState(const std::vector<Group>& groups,
                                                                   const CleanupListStore& list) {
    std::vector<FileNode*> nodes;
    for (const Group& g : groups)
        for (const JunkItem& item : g.items)
            nodes.push_back(item.node.get());
    return list.selectionState(nodes);
}

void SystemJunkPanelState::clickHeaderCheckbox(const std::vector<Group>& groups,
                                               CleanupListStore& list) {
    const bool on = headerState(groups, list) == CheckState::on;
    for (const Group& g : groups) {
        for (const JunkItem& item : g.items) {
            if (!list.canAdd(*item.node))
                continue;
            if (on)
                list.remove(*item.node);
            else if (!item.node->isHidden() && !list.contains(*item.node))
                list.add(item.node);
        }
    }
}

bool SystemJunkPanelState::groupChecked(const Group& group, const CleanupListStore& list) {
    const auto eligible = eligibleNodes(group.items, list);
    return !eligible.empty() && std::all_of(eligible.begin(), eligible.end(),
                                            [&](FileNode* n) { return list.contains(*n); });
}

void SystemJunkPanelState::clickGroupCheckbox(const Group& group, CleanupListStore& list) {
    const bool turnOn = !groupChecked(group, list);
    for (const JunkItem& item : group.items) {
        if (!list.canAdd(*item.node))
            continue;
        if (!turnOn)
            list.remove(*item.node);
        else if (!item.node->isHidden() && !list.contains(*item.node))
            list.add(item.node);
    }
}

void SystemJunkPanelState::clickItemCheckbox(const JunkItem& item, CleanupListStore& list) {
    if (!list.canAdd(*item.node))
        return;
    list.toggle(item.node);
}

void SystemJunkPanelState::clickItemRow(const JunkItem& item, const Group& group, bool shift,
                                        CleanupListStore& list) {
    const std::vector<JunkItem> shown = displayedItems(group);
    auto indexOf = [&shown](NodeID id) -> std::optional<std::size_t> {
        for (std::size_t i = 0; i < shown.size(); ++i)
            if (shown[i].node->id() == id)
                return i;
        return std::nullopt;
    };
    const auto anchor = m_lastClickedJunkNodeID ? indexOf(*m_lastClickedJunkNodeID) : std::nullopt;
    const auto clicked = indexOf(item.node->id());
    if (shift && anchor && clicked) {
        const auto [from, to] = std::minmax(*anchor, *clicked);
        for (std::size_t i = from; i <= to; ++i) {
            const NodePtr& n = shown[i].node;
            if (!n->isHidden() && !list.contains(*n))
                list.add(n);
        }
    } else {
        clickItemCheckbox(item, list);
    }
    m_lastClickedJunkNodeID = item.node->id();
}

QString SystemJunkPanelState::foundSummary(std::int64_t highConfidenceTotal) {
    return QStringLiteral("Found **") +
           QString::fromStdString(formatByteCount(highConfidenceTotal)) +
           QStringLiteral("** of logs, caches, and old data that's likely safe to remove");
}

QString SystemJunkPanelState::itemCountLabel(std::size_t count) {
    return QString::number(qulonglong(count)) +
           (count == 1 ? QStringLiteral(" item") : QStringLiteral(" items"));
}

QString SystemJunkPanelState::legendText(JunkConfidence confidence) {
    switch (confidence) {
    case JunkConfidence::high:
        return QStringLiteral("Very safe to remove — pre-selected by default");
    case JunkConfidence::medium:
        return QStringLiteral("Safe but has a one-time regeneration cost — not pre-selected");
    case JunkConfidence::orphaned:
        return QStringLiteral("Leftovers from uninstalled apps — review before removing");
    }
    return {};
}

} // namespace ringfold
