#pragma once
// The pane right of the map for the selected node: its icon and name, Show in File
// Manager, Quick Preview and Get Info, a live preview (read on a worker thread), the
// kind, size, date and path, and a note when its data is shared with another copy.
// Its left edge is a divider that sets the pane's width (120 to 600), kept in the
// settings under "previewPaneWidth".
//
// Threads: GUI thread; file contents are read on Qt's thread pool.

#include "core/model/FileNode.h"

#include <QWidget>

#include <functional>

class QLabel;
class QPlainTextEdit;
class QStackedWidget;
class QTimer;
class QToolButton;

namespace ringfold {

class SettingsStore;
class WrapAnywhereLabel;

class PreviewPane : public QWidget {
    Q_OBJECT

public:
    struct Actions {
        std::function<void(const NodePtr&)> reveal, quickPreview, getInfo;
    };
    PreviewPane(SettingsStore& settings, Actions actions, QWidget* parent = nullptr);

    void setNode(NodePtr node);
    const NodePtr& node() const { return m_node; }
    /// The texts of the fact rows, "Kind", "Size", "Modified", "Path" (tests and
    /// accessibility).
    QString factText(const QString& label) const;
    bool showsSharedNote() const;
    /// Whether the live preview shows a picture or text (false: icon and facts only).
    bool showsLivePreview() const;
    /// The width the user gave the pane (the window may squeeze it down to kMinWidth).
    int paneWidth() const { return m_width; }
    QSize sizeHint() const override;
    static constexpr int kMinWidth = 120;
    static constexpr int kMaxWidth = 600;

signals:
    /// The live preview for the current node was loaded (or found to have none).
    void previewLoaded();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void rebuild();
    void loadPreview();
    QSize previewBox() const;
    void setPaneWidth(int width, bool persist);

    SettingsStore& m_settings;
    Actions m_actions;
    NodePtr m_node;
    quint64 m_generation = 0;
    QWidget* m_divider = nullptr;
    QStackedWidget* m_pages = nullptr;
    QLabel* m_icon = nullptr;
    WrapAnywhereLabel* m_name = nullptr;
    QToolButton* m_info = nullptr;
    QToolButton* m_reveal = nullptr;
    QToolButton* m_look = nullptr;
    QStackedWidget* m_preview = nullptr;
    QLabel* m_image = nullptr;
    QSize m_imageBox; // the box the shown picture was scaled to (device pixels)
    QTimer* m_rescale = nullptr;
    QPlainTextEdit* m_text = nullptr;
    QLabel* m_bigIcon = nullptr;
    QWidget* m_facts = nullptr;
    QWidget* m_shared = nullptr;
    int m_width = 200;
    int m_dragBase = -1;
    int m_dragStartX = 0;
};

} // namespace ringfold
