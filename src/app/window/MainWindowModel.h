#pragma once
// Everything the main window decides, without a widget: it owns the window's models
// (the folder list, biggest files, categories and system junk view models, the scan
// coordinator and the file operations) on top of the program-wide AppState, and keeps
// them in step with the map and the settings. It holds which panel is active, which
// sheet is open, the errors of the last file operation for the one alert, and the
// once-per-launch "coffee moment" after a large cleanup. The desktop window presents
// this state and forwards user actions to it; it decides nothing of its own.
//
// When the map's root changes (a scan finished, a cached tree is shown, the map was
// cleared) the biggest files list, the category summaries and the junk
// classification are rebuilt from the whole tree. File operations run on their own
// worker, one at a time, with a status line while they run; their results arrive as
// the queued signal `operationFinished`: the derived lists are refreshed (folder list
// revision and rows, then biggest files, then categories), errors open the alert and
// a reclaim of at least 1 GiB shows the coffee moment once.
//
// Threads: main thread only. Sizes are signed allocated bytes.

#include "app/operations/FileOperations.h"
#include "app/operations/OperationError.h"
#include "core/model/FileNode.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace ringfold {

class AppState;
class BiggestFilesViewModel;
class CategoriesViewModel;
class FileListViewModel;
class SavedScans;
class ScanCoordinator;
class SystemJunkViewModel;

class MainWindowModel : public QObject {
    Q_OBJECT

public:
    enum class Panel { folder, biggestFiles, categories, systemJunk };

    /// The sheet over the window: a trash or move confirmation for its nodes, or the
    /// information sheet of its one node.
    struct Sheet {
        enum class Kind { trash, move, itemInfo };
        Kind kind;
        std::vector<NodePtr> nodes;
    };

    using Operation = FileOperations::Kind;
    /// What a finished file operation hands back to the window.
    struct OperationResult {
        Operation operation = Operation::trash;
        FileOperations::Outcome outcome;
        /// Trash and the bar's Remove Download count toward the coffee moment; a move,
        /// a copy and a row's Remove Download do not.
        bool reportsReclaimed = false;
    };

    /// Reclaiming at least this much in one operation shows the coffee moment.
    static constexpr std::int64_t kCoffeeMomentBytes = std::int64_t(1) << 30;

    struct Options {
        /// Null means the platform's lookups and the current user's folders.
        std::unique_ptr<SystemJunkViewModel> systemJunk;
    };

    explicit MainWindowModel(AppState& app, QObject* parent = nullptr);
    MainWindowModel(AppState& app, Options options, QObject* parent = nullptr);
    ~MainWindowModel() override;

    AppState& app() { return m_app; }
    FileListViewModel& fileList() { return *m_fileList; }
    BiggestFilesViewModel& biggestFiles() { return *m_biggestFiles; }
    CategoriesViewModel& categories() { return *m_categories; }
    SystemJunkViewModel& systemJunk() { return *m_systemJunk; }
    ScanCoordinator& coordinator() { return *m_coordinator; }
    FileOperations& fileOperations() { return *m_fileOperations; }
    SavedScans& savedScans() { return *m_savedScans; }

    /// What the window runs when it first appears: the coordinator's selection check.
    void start();

    /// No source selected: the drive gallery instead of the map and panels.
    bool showsDriveGallery() const;
    /// The selected source is being scanned: the scanning overlay with its Cancel.
    bool showsScanOverlay() const;
    /// The selected source is a saved scan: a record, so file operations, Rescan and
    /// Show in File Manager are off (savedScanReason() says why).
    bool showsSavedScan() const;

    Panel activePanel() const { return m_activePanel; }
    void setActivePanel(Panel panel);
    /// The node of the preview pane, Get Info and Reveal, which the map marks too (its
    /// mapSelectionID follows); cleared when the root changes and when a file operation
    /// takes it out of the tree.
    const NodePtr& selectedNode() const { return m_selectedNode; }
    void setSelectedNode(NodePtr node);

    // Commands of the toolbar, the gallery and the overlay.
    void showDriveGallery();
    /// Selects the startup disk and switches to the System Junk panel.
    void scanStartupDiskForJunk();
    void rescanSelectedSource();
    /// The overlay's Cancel: stops the scan and returns to the gallery.
    void cancelScan();

    const std::optional<Sheet>& activeSheet() const { return m_activeSheet; }
    /// The bar's Move to Trash: the trash sheet for the list's items that are not
    /// cloud placeholders; nothing when there are none.
    void requestTrashOfCleanupList();
    /// The Delete command: adds the selected node to the list if it is missing, then
    /// as requestTrashOfCleanupList.
    void deleteCommand();
    /// A row's Move to Trash; refused for a node the cleanup list would refuse.
    void requestTrash(const NodePtr& node);
    void requestMoveOfCleanupList();
    void requestMove(const NodePtr& node);
    void showInfo(const NodePtr& node);
    void showInfoForSelection() { showInfo(m_selectedNode); }
    void dismissSheet();
    /// Trashes the trash sheet's nodes (the sheet closes first); nothing for another sheet.
    void confirmTrash();
    /// Closes the move sheet and hands back its nodes for the folder chooser; then
    /// moveTo, or nothing when the chooser is cancelled.
    std::vector<NodePtr> confirmMove();
    /// Moves or copies into the folder the chooser returned. A path the chooser could
    /// not give exactly (it holds U+FFFD) is refused with one error in the alert.
    void moveTo(std::vector<NodePtr> nodes, const QString& folder);
    void copyCleanupListTo(const QString& folder);
    void copyTo(std::vector<NodePtr> nodes, const QString& folder);
    static QString unnamableFolderMessage();
    void removeDownloadOfCleanupList();
    void removeDownload(const NodePtr& node);

    bool operationRunning() const { return m_fileOperations->isRunning(); }
    /// No operation runs and no save reads the tree: a new operation may start.
    bool canStartOperation() const;
    /// Stops the running file operation before its next item.
    void cancelOperation() { m_fileOperations->cancel(); }
    /// What the running operation is doing ("Moving “proj” (2 of 5) — 1.2 GB of 3 GB"),
    /// or what a cancelled one did; empty otherwise.
    QString operationStatus() const;
    void dismissOperationStatus();

    const std::vector<OperationError>& operationErrors() const { return m_operationErrors; }
    bool showingErrorAlert() const { return m_showingErrorAlert; }
    static QString errorAlertTitle();
    /// One line per error: name, ": ", message.
    QString errorAlertMessage() const;
    void dismissErrorAlert();
    /// The amount the coffee-moment banner shows; none when it is not shown.
    std::optional<std::int64_t> coffeeMomentBytes() const { return m_coffeeMomentBytes; }
    void dismissCoffeeMoment();

signals:
    /// showsDriveGallery or showsScanOverlay may have changed.
    void detailChanged();
    void activePanelChanged();
    void selectedNodeChanged();
    void activeSheetChanged();
    /// The errors or the alert's visibility changed.
    void operationErrorsChanged();
    void coffeeMomentBytesChanged();
    /// operationRunning or operationStatus changed.
    void operationStatusChanged();
    /// A file operation ended. Connected queued to the window's own handling, so it
    /// may be emitted from any thread.
    void operationFinished(const ringfold::MainWindowModel::OperationResult& result);

private:
    void rebuildFromRoot();
    void updateFileList();
    void classifyJunk();
    void refreshAfterTreeChange();
    void applyOperationResult(const OperationResult& result);
    void setActiveSheet(std::optional<Sheet> sheet);
    void begin(bool started, bool reportsReclaimed);
    void transfer(Operation operation, std::vector<NodePtr> nodes, const QString& folder);

    AppState& m_app;
    // Created in this order; destroyed in reverse, so the coordinator's scan threads
    // are joined before anything they report to goes away.
    std::unique_ptr<FileListViewModel> m_fileList;
    std::unique_ptr<BiggestFilesViewModel> m_biggestFiles;
    std::unique_ptr<CategoriesViewModel> m_categories;
    std::unique_ptr<SystemJunkViewModel> m_systemJunk;
    std::unique_ptr<ScanCoordinator> m_coordinator;
    std::unique_ptr<FileOperations> m_fileOperations;
    std::unique_ptr<SavedScans> m_savedScans;

    Panel m_activePanel = Panel::folder;
    NodePtr m_selectedNode;
    std::optional<Sheet> m_activeSheet;
    std::vector<OperationError> m_operationErrors;
    bool m_showingErrorAlert = false;
    std::optional<std::int64_t> m_coffeeMomentBytes;
    bool m_coffeeMomentShownThisSession = false;
    bool m_runningReportsReclaimed = false;
    QString m_cancelledSummary;
};

} // namespace ringfold
