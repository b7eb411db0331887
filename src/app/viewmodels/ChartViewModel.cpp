#include "app/viewmodels/ChartViewModel.h"

#include <algorithm>

namespace ringfold {

ChartViewModel::ChartViewModel(QObject* parent) : QObject(parent) {}

void ChartViewModel::setRoot(NodePtr root, std::optional<SpaceAccounting> accounting,
                             bool isVolumeRooted) {
    NodePtr focus = root;
    setRootNode(std::move(root));
    setSpaceAccounting(accounting);
    setIsVolumeRootedSource(isVolumeRooted);
    setShowFreeSpace(false);
    setMapSelectionID(std::nullopt);
    if (focus)
        m_history.assign(1, focus);
    else
        m_history.clear();
    emit historyChanged();
    setHistoryIndex(focus ? 0 : -1);
    setFocusedNode(std::move(focus));
}

void ChartViewModel::clearRoot() {
    setRootNode(nullptr);
    setMapSelectionID(std::nullopt);
    if (!m_history.empty()) {
        m_history.clear();
        emit historyChanged();
    }
    setHistoryIndex(-1);
    setFocusedNode(nullptr);
}

void ChartViewModel::focus(const NodePtr& node) {
    if (!node || (m_focusedNode && m_focusedNode == node))
        return;
    const auto last = static_cast<int>(m_history.size()) - 1;
    if (m_historyIndex < last)
        m_history.erase(m_history.begin() + (m_historyIndex + 1), m_history.end());
    m_history.push_back(node);
    emit historyChanged();
    setHistoryIndex(static_cast<int>(m_history.size()) - 1);
    setFocusedNode(node);
}

void ChartViewModel::goUp() {
    if (!m_focusedNode || m_focusedNode == m_rootNode)
        return;
    if (FileNode* parent = m_focusedNode->parent())
        focus(parent->shared());
}

void ChartViewModel::goBack() {
    if (m_historyIndex <= 0)
        return;
    setHistoryIndex(m_historyIndex - 1);
    setFocusedNode(m_history[static_cast<std::size_t>(m_historyIndex)]);
}

void ChartViewModel::goForward() {
    if (!canGoForward())
        return;
    setHistoryIndex(m_historyIndex + 1);
    setFocusedNode(m_history[static_cast<std::size_t>(m_historyIndex)]);
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

void ChartViewModel::setRootNode(NodePtr node) {
    if (m_rootNode == node)
        return;
    m_rootNode = std::move(node);
    emit rootNodeChanged();
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

void ChartViewModel::setIsVolumeRootedSource(bool value) {
    if (m_isVolumeRootedSource == value)
        return;
    m_isVolumeRootedSource = value;
    emit isVolumeRootedSourceChanged();
}

void ChartViewModel::setHistoryIndex(int index) {
    if (m_historyIndex == index)
        return;
    m_historyIndex = index;
    emit historyIndexChanged();
}

} // namespace ringfold
