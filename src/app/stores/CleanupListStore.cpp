#include "app/stores/CleanupListStore.h"

#include "app/stores/SettingsStore.h"
#include "core/model/Tree.h"

#include <algorithm>

namespace ringfold {

CleanupListStore::CleanupListStore(const SettingsStore* settings, QObject* parent)
    : QObject(parent), m_settings(settings) {}

bool CleanupListStore::hiddenAllowed() const {
    return m_settings && m_settings->allowDeletingHiddenFiles();
}

bool CleanupListStore::canAdd(const FileNode& node) const {
    return (!node.isHidden() || hiddenAllowed()) && !node.tree().isRecord();
}

void CleanupListStore::add(const NodePtr& node) {
    if (!node || !canAdd(*node) || contains(node->id()))
        return;
    m_includedIDs.insert(node->id());
    m_items.push_back(node);
    emit includedIDsChanged();
    emit itemsChanged();
}

void CleanupListStore::remove(const FileNode& node) {
    remove(node.id());
}

void CleanupListStore::remove(NodeID id) {
    if (m_includedIDs.erase(id) == 0)
        return;
    emit includedIDsChanged();
    const auto before = m_items.size();
    std::erase_if(m_items, [id](const NodePtr& n) { return n->id() == id; });
    if (m_items.size() != before)
        emit itemsChanged();
}

void CleanupListStore::toggle(const NodePtr& node) {
    if (!node)
        return;
    if (contains(node->id()))
        remove(node->id());
    else
        add(node);
}

void CleanupListStore::clear() {
    const bool hadIDs = !m_includedIDs.empty();
    const bool hadItems = !m_items.empty();
    m_items.clear();
    m_includedIDs.clear();
    if (hadIDs)
        emit includedIDsChanged();
    if (hadItems)
        emit itemsChanged();
}

void CleanupListStore::addPreselected(const std::vector<NodePtr>& nodes) {
    bool changed = false;
    for (const NodePtr& node : nodes) {
        if (!node || node->isHidden() || node->tree().isRecord() ||
            !m_includedIDs.insert(node->id()).second)
            continue;
        m_items.push_back(node);
        changed = true;
    }
    if (changed) {
        emit includedIDsChanged();
        emit itemsChanged();
    }
}

void CleanupListStore::removeItems(const Tree& tree) {
    const auto removed = std::erase_if(m_items, [&](const NodePtr& node) {
        if (&node->tree() != &tree)
            return false;
        m_includedIDs.erase(node->id());
        return true;
    });
    if (removed != 0) {
        emit includedIDsChanged();
        emit itemsChanged();
    }
}

CleanupListStore::SelectionState
CleanupListStore::selectionState(const std::vector<FileNode*>& nodes) const {
    const bool hidden = hiddenAllowed();
    std::size_t eligible = 0;
    std::size_t listed = 0;
    for (const FileNode* node : nodes) {
        if (!node || (node->isHidden() && !hidden))
            continue;
        ++eligible;
        if (contains(node->id()))
            ++listed;
    }
    if (eligible == 0 || listed == 0)
        return SelectionState::off;
    return listed == eligible ? SelectionState::on : SelectionState::mixed;
}

std::int64_t CleanupListStore::trashTotal() const {
    std::int64_t total = 0;
    for (const NodePtr& n : m_items)
        if (n->cloudStatus() != CloudStatus::cloudPlaceholder)
            total += n->allocatedSize();
    return total;
}

std::int64_t CleanupListStore::removeDownloadTotal() const {
    std::int64_t total = 0;
    for (const NodePtr& n : m_items)
        if (n->cloudStatus() == CloudStatus::cloudDownloaded)
            total += n->allocatedSize();
    return total;
}

std::int64_t CleanupListStore::moveCopyTotal() const {
    std::int64_t total = 0;
    for (const NodePtr& n : m_items)
        total += n->logicalSize();
    return total;
}

} // namespace ringfold
