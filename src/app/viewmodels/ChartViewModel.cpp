#include "app/viewmodels/ChartViewModel.h"

#include <algorithm>

namespace ringfold {

ChartViewModel::ChartViewModel(QObject* parent) : QObject(parent) {}

void ChartViewModel::setRoot(NodePtr root, std::optional<SpaceAccounting> accounting,
                             bool isVolumeRooted) {
    Navigation next;
    next.focus = root;
    next.accounting = accounting;
    next.isVolumeRooted = isVolumeRooted;
    if (root) {
        next.history.assign(1, root);
        next.historyIndex = 0;
    }
    next.root = std::move(root);
    apply(std::move(next));
}

void ChartViewModel::clearRoot() {
    apply(Navigation{});
}

void ChartViewModel::focus(const NodePtr& node) {
    if (!node || (m_focusedNode && m_focusedNode == node))
        return;
    Navigation next = navigation();
    const auto last = static_cast<int>(next.history.size()) - 1;
    if (next.historyIndex < last)
        next.history.erase(next.history.begin() + (next.historyIndex + 1), next.history.end());
    next.history.push_back(node);
    next.historyIndex = static_cast<int>(next.history.size()) - 1;
    next.focus = node;
    apply(std::move(next));
}

void ChartViewModel::goUp() {
    if (!m_focusedNode || m_focusedNode == m_rootNode)
        return;
    if (FileNode* parent = m_focusedNode->parent())
        focus(parent->shared());
}

void ChartViewModel::goBack() {
    if (!canGoBack())
        return;
    Navigation next = navigation();
    next.focus = next.history[static_cast<std::size_t>(--next.historyIndex)];
    apply(std::move(next));
}

void ChartViewModel::goForward() {
    if (!canGoForward())
        return;
    Navigation next = navigation();
    next.focus = next.history[static_cast<std::size_t>(++next.historyIndex)];
    apply(std::move(next));
}

void ChartViewModel::refreshAccounting() {
    if (!m_rootNode || !m_spaceAccounting)
        return;
    SpaceAccounting next = *m_spaceAccounting;
    next.enumeratedAllocatedSize = m_rootNode->allocatedSize();
    setSpaceAccounting(next);
}

std::vector<FileNode*> ChartViewModel::breadcrumbs() const {
    std::vector<FileNode*> path;
    if (!m_focusedNode || !m_rootNode)
        return path;
    for (FileNode* n = m_focusedNode.get(); n; n = n->parent()) {
        path.push_back(n);
        if (n == m_rootNode.get())
            break;
    }
    if (path.back() != m_rootNode.get())
        return {m_focusedNode.get()};
    std::reverse(path.begin(), path.end());
    return path;
}

void ChartViewModel::setShowFreeSpace(bool value) {
    if (m_showFreeSpace == value)
        return;
    m_showFreeSpace = value;
    emit showFreeSpaceChanged();
}

void ChartViewModel::setVisualizationMode(VisualizationMode mode) {
    if (m_visualizationMode == mode)
        return;
    m_visualizationMode = mode;
    emit visualizationModeChanged();
}

void ChartViewModel::setTreeRevision(std::int64_t revision) {
    if (m_treeRevision == revision)
        return;
    m_treeRevision = revision;
    emit treeRevisionChanged();
}

void ChartViewModel::setHighlightedNodeID(std::optional<NodeID> id) {
    if (m_highlightedNodeID == id)
        return;
    m_highlightedNodeID = id;
    emit highlightedNodeIDChanged();
}

void ChartViewModel::setMapSelectionID(std::optional<NodeID> id) {
    if (m_mapSelectionID == id)
        return;
    m_mapSelectionID = id;
    emit mapSelectionIDChanged();
}

void ChartViewModel::setFocusedNode(NodePtr node) {
    if (m_focusedNode == node)
        return;
    m_focusedNode = std::move(node);
    emit focusedNodeChanged();
}

void ChartViewModel::setSpaceAccounting(std::optional<SpaceAccounting> accounting) {
    if (m_spaceAccounting == accounting)
        return;
    m_spaceAccounting = accounting;
    emit spaceAccountingChanged();
}

ChartViewModel::Navigation ChartViewModel::navigation() const {
    return {m_rootNode,      m_focusedNode,    m_spaceAccounting, m_isVolumeRootedSource,
            m_showFreeSpace, m_mapSelectionID, m_history,         m_historyIndex};
}

void ChartViewModel::apply(Navigation next) {
    const bool root = m_rootNode != next.root;
    const bool focus = m_focusedNode != next.focus;
    const bool accounting = m_spaceAccounting != next.accounting;
    const bool volumeRooted = m_isVolumeRootedSource != next.isVolumeRooted;
    const bool freeSpace = m_showFreeSpace != next.showFreeSpace;
    const bool selection = m_mapSelectionID != next.mapSelection;
    const bool history = m_history != next.history;
    const bool index = m_historyIndex != next.historyIndex;

    m_rootNode = std::move(next.root);
    m_focusedNode = std::move(next.focus);
    m_spaceAccounting = next.accounting;
    m_isVolumeRootedSource = next.isVolumeRooted;
    m_showFreeSpace = next.showFreeSpace;
    m_mapSelectionID = next.mapSelection;
    m_history = std::move(next.history);
    m_historyIndex = next.historyIndex;

    if (root)
        emit rootNodeChanged();
    if (focus)
        emit focusedNodeChanged();
    if (accounting)
        emit spaceAccountingChanged();
    if (volumeRooted)
        emit isVolumeRootedSourceChanged();
    if (freeSpace)
        emit showFreeSpaceChanged();
    if (selection)
        emit mapSelectionIDChanged();
    if (history)
        emit historyChanged();
    if (index)
        emit historyIndexChanged();
}

} // namespace ringfold
