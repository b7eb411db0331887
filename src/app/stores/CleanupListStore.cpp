#include "app/stores/CleanupListStore.h"

#include "app/stores/SettingsStore.h"

#include <QDir>
#include <QString>

#include <algorithm>

namespace ringfold {

namespace {

std::string standardizedPath(const std::string& path) {
    return QDir::cleanPath(QString::fromStdString(path)).toStdString();
}

// True when `path` is `base` itself or lies beneath it. The separator check keeps
// "/Volumes/DataBackup" out of "/Volumes/Data".
bool isAtOrUnder(const std::string& path, const std::string& base) {
    if (base == "/")
        return !path.empty() && path.front() == '/';
    if (path.size() < base.size() || path.compare(0, base.size(), base) != 0)
        return false;
    return path.size() == base.size() || path[base.size()] == '/';
}

} // namespace

CleanupListStore::CleanupListStore(const SettingsStore* settings, QObject* parent)
    : QObject(parent), m_settings(settings) {}

bool CleanupListStore::hiddenAllowed() const {
    return m_settings && m_settings->allowDeletingHiddenFiles();
}

bool CleanupListStore::canAdd(const FileNode& node) const {
    return !node.isHidden() || hiddenAllowed();
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
        if (!node || node->isHidden() || !m_includedIDs.insert(node->id()).second)
            continue;
        m_items.push_back(node);
        changed = true;
    }
    if (changed) {
        emit includedIDsChanged();
        emit itemsChanged();
    }
}

void CleanupListStore::removeItems(const std::string& path) {
    const std::string base = standardizedPath(path);
    std::vector<NodePtr> kept;
    kept.reserve(m_items.size());
    bool removed = false;
    for (NodePtr& node : m_items) {
        if (isAtOrUnder(standardizedPath(node->url()), base)) {
            m_includedIDs.erase(node->id());
            removed = true;
        } else {
            kept.push_back(std::move(node));
        }
    }
    m_items = std::move(kept);
    if (removed) {
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
