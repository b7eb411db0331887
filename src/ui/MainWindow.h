#pragma once
// The main window: the sources sidebar beside the detail area, which shows the drive
// gallery while nothing is selected and otherwise the map under its breadcrumb bar
// with the panels below it, and the scanning overlay over it while the selected
// source is scanned. The toolbar and the menus carry the commands (map mode,
// smaller-objects threshold, free space, rescan, navigation, panels, favourites,
// Show in File Manager) to the window model; the
// mouse's back and forward buttons move through the map's history anywhere in the
// window. It decides nothing itself: MainWindowModel does.
//
// Threads: GUI thread only.

#include <QMainWindow>

class QAction;
class QLabel;
class QSlider;
class QSplitter;
class QStackedWidget;

namespace ringfold {

class BreadcrumbView;
class ChartView;
class CleanupListBar;
class PreviewPane;
class SavedScanCommands;
class SettingsView;
class SheetPresenter;
class DriveGalleryView;
class FileManagerReveal;
class MainWindowModel;
class PanelStack;
class ScanOverlay;
class SidebarView;

class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(MainWindowModel& model, QWidget* parent = nullptr);
    ~MainWindow() override;

    MainWindowModel& model() { return m_model; }
    SidebarView* sidebar() const { return m_sidebar; }
    DriveGalleryView* gallery() const { return m_gallery; }
    BreadcrumbView* breadcrumb() const { return m_breadcrumb; }
    ChartView* chartView() const { return m_chart; }
    ScanOverlay* overlay() const { return m_overlay; }
    CleanupListBar* cleanupBar() const { return m_cleanupBar; }
    SavedScanCommands* savedScanCommands() const { return m_savedScanCommands; }
    SheetPresenter* sheets() const { return m_sheets; }
    /// The one settings window, made on first use.
    SettingsView* showSettings();
    /// Where the panels (folder list, biggest files, categories, junk) sit, under the map.
    QWidget* panelArea() const { return m_panelArea; }
    PanelStack* panels() const { return m_panels; }
    PreviewPane* previewPane() const { return m_preview; }
    /// Where the preview pane sits, right of the map and the panels.
    QWidget* previewArea() const { return m_previewArea; }
    /// True while the detail area shows the map page rather than the gallery.
    bool showsMap() const;
    QSlider* thresholdSlider() const { return m_threshold; }
    QLabel* thresholdLabel() const { return m_thresholdLabel; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void buildActions();
    void buildToolBar();
    void buildMenus();
    void buildCentral();
    void updateDetail();
    void updateCommands();
    void updateThreshold();
    void addFavoriteWithChooser();
    void revealSelection();

    MainWindowModel& m_model;
    FileManagerReveal* m_reveal;
    bool m_started = false;

    SidebarView* m_sidebar = nullptr;
    QSplitter* m_splitter = nullptr;
    QStackedWidget* m_detailStack = nullptr;
    DriveGalleryView* m_gallery = nullptr;
    QWidget* m_mapPage = nullptr;
    BreadcrumbView* m_breadcrumb = nullptr;
    ChartView* m_chart = nullptr;
    QWidget* m_panelArea = nullptr;
    PanelStack* m_panels = nullptr;
    QWidget* m_previewArea = nullptr;
    CleanupListBar* m_cleanupBar = nullptr;
    SheetPresenter* m_sheets = nullptr;
    SettingsView* m_settingsView = nullptr;
    PreviewPane* m_preview = nullptr;
    ScanOverlay* m_overlay = nullptr;
    SavedScanCommands* m_savedScanCommands = nullptr;

    QAction* m_backToGallery = nullptr;
    QAction* m_home = nullptr;
    QAction* m_sunburst = nullptr;
    QAction* m_treemap = nullptr;
    QAction* m_freeSpace = nullptr;
    QAction* m_rescan = nullptr;
    QAction* m_addFavorite = nullptr;
    QAction* m_showInFileManager = nullptr;
    QAction* m_goUp = nullptr;
    QAction* m_goRoot = nullptr;
    QAction* m_goBack = nullptr;
    QAction* m_goForward = nullptr;
    QSlider* m_threshold = nullptr;
    QLabel* m_thresholdLabel = nullptr;
};

} // namespace ringfold
