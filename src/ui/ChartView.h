#pragma once
// The interactive map in the middle of the main window: the focused folder as a
// sunburst or a treemap, with hover and selection emphasis, checkmarks on cleanup-list
// items, callouts, the hub, and two information cards for the grey segments.
//
// Layout runs only when the size, the focused folder, the mode, the tree revision,
// the free-space choice or one of the two grouping settings changes, and then lazily
// before the next paint or hit test; the segments stay cached until then. The map
// itself is painted once into a picture at the device pixel ratio; hover and
// selection repaint over that picture without a new layout. Clicks select, Ctrl+click
// shows the item in the file manager, double clicks drill into folders, the hub goes
// up (or toggles free space on a volume's root).
//
// Main thread only.

#include "core/layout/MapSegment.h"

#include <QImage>
#include <QPixmap>
#include <QWidget>

#include <functional>
#include <memory>
#include <vector>

namespace ringfold {

class ChartViewModel;
class CleanupListStore;
class SettingsStore;
class FileNode;
class FileManagerReveal;
class MapInfoCard;
struct MapScene;
enum class VisualizationMode;

class ChartView : public QWidget {
    Q_OBJECT

public:
    ChartView(ChartViewModel& model, CleanupListStore& cleanup, SettingsStore& settings,
              QWidget* parent = nullptr);
    ~ChartView() override;

    /// Shows an item in the file manager (Ctrl+click). The default asks the desktop's
    /// file manager over D-Bus; tests install their own.
    using RevealHandler = std::function<void(const FileNode&)>;
    void setRevealHandler(RevealHandler handler);

    /// The cached segments, laid out first if a listed change is pending.
    const std::vector<MapSegment>& segments();
    /// How many times a layout engine ran.
    int layoutCount() const { return m_layoutCount; }

    struct Hit {
        int index = -1; // into segments(), -1 for none
        bool hub = false;
    };
    Hit hitTest(QPointF point);

    bool showingInaccessibleInfo() const { return m_showingInaccessibleInfo; }
    FileNode* hiddenInfoParent() const { return m_hiddenInfoParent.get(); }
    MapInfoCard* inaccessibleCard() const { return m_inaccessibleCard; }
    MapInfoCard* hiddenItemsCard() const { return m_hiddenCard; }

signals:
    /// The user selected an item in the map (a plain click): the list and preview attach here.
    void fileSelected(ringfold::FileNode* node);
    /// Emitted at the end of every paint; segmentCount is the number of cached segments drawn.
    void mapPainted(int segmentCount);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool event(QEvent* event) override;

private:
    void layoutChanged();
    void focusChanged();
    void modeChanged();
    void ensureLayout();
    void invalidatePicture();
    void rebuildPicture(const MapScene& scene, bool withOverlay);
    static void paintOverlay(QPainter& painter, const MapScene& scene, VisualizationMode mode);
    MapScene scene() const;

    void click(const Hit& hit, Qt::KeyboardModifiers modifiers);
    void closeCards();
    void updateCards();
    void reveal(const FileNode& node);
    QString toolTipAt(QPointF point);

    ChartViewModel& m_model;
    CleanupListStore& m_cleanup;
    SettingsStore& m_settings;
    RevealHandler m_reveal;
    std::unique_ptr<FileManagerReveal> m_fileManager;

    std::vector<MapSegment> m_segments;
    VisualizationMode m_segmentsMode{}; // the mode m_segments were laid out in
    QSize m_cachedSize;
    bool m_layoutPending = false;
    int m_layoutCount = 0;
    QImage m_picture; // the map without hover and selection, reused while the size holds
    bool m_pictureValid = false;
    QImage m_frame; // a new picture with its overlay, shown by the paint that drew it

    bool m_showingInaccessibleInfo = false;
    NodePtr m_hiddenInfoParent;
    const FileNode* m_hiddenCardFolder = nullptr; // what the hidden card now lists
    MapInfoCard* m_inaccessibleCard;
    MapInfoCard* m_hiddenCard;
};

} // namespace ringfold
