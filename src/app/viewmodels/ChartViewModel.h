#pragma once
// What the map shows and where the user is in the tree: the scanned root, the focused
// folder, the volume figures of the scan, the visualisation mode, hover and click
// selection, and a linear navigation history (oldest first) with back and forward.
// The root and every history entry are strong references, so the model keeps the
// current tree alive; whoever replaces the root releases the old one off the main
// thread. Sizes are signed byte counts; node ids are NodeID (aggregates negative).
//
// Threads: main thread only. Every property has its own change signal, emitted only
// when the value really changes. An operation that changes several properties sets
// them all before it emits, once per changed property, so an observer never sees a
// new root beside an old focus or history.

#include "core/model/FileNode.h"
#include "core/model/Types.h"

#include <QObject>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace ringfold {

enum class VisualizationMode { sunburst, treemap };
/// Every mode, in the order the mode picker lists them.
inline constexpr std::array<VisualizationMode, 2> allVisualizationModes{VisualizationMode::sunburst,
                                                                        VisualizationMode::treemap};

class ChartViewModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(
        bool isVolumeRootedSource READ isVolumeRootedSource NOTIFY isVolumeRootedSourceChanged)
    Q_PROPERTY(
        bool showFreeSpace READ showFreeSpace WRITE setShowFreeSpace NOTIFY showFreeSpaceChanged)
    Q_PROPERTY(
        qint64 treeRevision READ treeRevision WRITE setTreeRevision NOTIFY treeRevisionChanged)
    Q_PROPERTY(int historyIndex READ historyIndex NOTIFY historyIndexChanged)

public:
    explicit ChartViewModel(QObject* parent = nullptr);

    const NodePtr& rootNode() const { return m_rootNode; }
    const NodePtr& focusedNode() const { return m_focusedNode; }
    const std::optional<SpaceAccounting>& spaceAccounting() const { return m_spaceAccounting; }
    bool isVolumeRootedSource() const { return m_isVolumeRootedSource; }
    bool showFreeSpace() const { return m_showFreeSpace; }
    VisualizationMode visualizationMode() const { return m_visualizationMode; }
    std::int64_t treeRevision() const { return m_treeRevision; }
    std::optional<NodeID> highlightedNodeID() const { return m_highlightedNodeID; }
    std::optional<NodeID> mapSelectionID() const { return m_mapSelectionID; }
    const std::vector<NodePtr>& history() const { return m_history; }
    int historyIndex() const { return m_historyIndex; }

    bool canGoBack() const { return m_historyIndex >= 1; }
    bool canGoForward() const { return m_historyIndex < static_cast<int>(m_history.size()) - 1; }

    /// Installs a new tree: history [root], focus on the root, free space off, map
    /// selection cleared; mode, highlight and revision stay.
    void setRoot(NodePtr root, std::optional<SpaceAccounting> accounting, bool isVolumeRooted);
    /// Empties the map (no root, focus, figures, history or map selection; free space
    /// off): the window then shows the drive gallery. The caller releases the old root.
    void clearRoot();

    /// Navigates to a folder and records it, discarding the forward history. Focusing
    /// the focused node again changes nothing.
    void focus(const NodePtr& node);
    void focus(FileNode* node) { focus(node ? node->shared() : NodePtr()); }
    /// Focuses the parent of the focused folder (recorded like any other navigation);
    /// nothing at the root or for a node cut out of the tree.
    void goUp();
    void goBack();
    void goForward();
    /// After the tree changed in place: the enumerated size follows the root's current
    /// allocated size; capacities and restricted count stay. Nothing without a root or
    /// without figures.
    void refreshAccounting();
    /// Root first, focused folder last; only the focused node when it is no longer
    /// under the root; empty without a root or focus.
    std::vector<FileNode*> breadcrumbs() const;

    void setShowFreeSpace(bool value);
    void setVisualizationMode(VisualizationMode mode);
    void setTreeRevision(std::int64_t revision);
    /// Shorthand for whoever patched the tree in place: treeRevision + 1.
    void bumpTreeRevision() { setTreeRevision(m_treeRevision + 1); }
    void setHighlightedNodeID(std::optional<NodeID> id);
    void setMapSelectionID(std::optional<NodeID> id);

signals:
    void rootNodeChanged();
    void focusedNodeChanged();
    void spaceAccountingChanged();
    void isVolumeRootedSourceChanged();
    void showFreeSpaceChanged();
    void visualizationModeChanged();
    void treeRevisionChanged();
    void highlightedNodeIDChanged();
    void mapSelectionIDChanged();
    void historyChanged();
    void historyIndexChanged();

public:
    /// Moves the focus without recording a navigation: for when the focused folder
    /// left the tree (trashed or moved) and the map must show what is still there.
    void setFocusedNode(NodePtr node);

private:
    // The properties that navigation and a new tree change together.
    struct Navigation {
        NodePtr root;
        NodePtr focus;
        std::optional<SpaceAccounting> accounting;
        bool isVolumeRooted = false;
        bool showFreeSpace = false;
        std::optional<NodeID> mapSelection;
        std::vector<NodePtr> history;
        int historyIndex = -1;
    };
    Navigation navigation() const;
    /// Installs all of `next`, then signals each property that changed.
    void apply(Navigation next);
    void setSpaceAccounting(std::optional<SpaceAccounting> accounting);

    NodePtr m_rootNode;
    NodePtr m_focusedNode;
    std::optional<SpaceAccounting> m_spaceAccounting;
    bool m_isVolumeRootedSource = false;
    bool m_showFreeSpace = false;
    VisualizationMode m_visualizationMode = VisualizationMode::sunburst;
    std::int64_t m_treeRevision = 0;
    std::optional<NodeID> m_highlightedNodeID;
    std::optional<NodeID> m_mapSelectionID;
    std::vector<NodePtr> m_history;
    int m_historyIndex = -1;
};

} // namespace ringfold
