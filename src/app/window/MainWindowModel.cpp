#include "app/window/MainWindowModel.h"

#include "app/coordination/AppState.h"
#include "app/coordination/ScanCoordinator.h"
#include "app/viewmodels/BiggestFilesViewModel.h"
#include "app/viewmodels/CategoriesViewModel.h"
#include "app/viewmodels/FileListViewModel.h"
#include "app/viewmodels/SystemJunkViewModel.h"
#include "app/window/SavedScans.h"
#include "core/model/Tree.h"
#include "core/model/ByteFormat.h"

#include <QFile>
#include <QStringList>

#include <algorithm>

namespace ringfold {

MainWindowModel::MainWindowModel(AppState& app, QObject* parent)
    : MainWindowModel(app, Options{}, parent) {}

MainWindowModel::MainWindowModel(AppState& app, Options options, QObject* parent)
    : QObject(parent), m_app(app), m_fileList(std::make_unique<FileListViewModel>()),
      m_biggestFiles(std::make_unique<BiggestFilesViewModel>()),
      m_categories(std::make_unique<CategoriesViewModel>()),
      m_systemJunk(options.systemJunk ? std::move(options.systemJunk)
                                      : std::make_unique<SystemJunkViewModel>()),
      m_coordinator(
          std::make_unique<ScanCoordinator>(app.sidebar(), app.chart(), app.cleanupList())),
      m_fileOperations(std::make_unique<FileOperations>(app.chart(), app.cleanupList())),
      m_savedScans(std::make_unique<SavedScans>(app, *m_coordinator)) {
    SidebarViewModel& sidebar = app.sidebar();
    ChartViewModel& chart = app.chart();
    SettingsStore& settings = app.settings();

    // Directly, not queued: the coordinator no longer clears and restores the
    // selection, so every change it sees is one the user made.
    connect(&sidebar, &SidebarViewModel::selectedSourceIDChanged, m_coordinator.get(),
            &ScanCoordinator::handleSelectionChange);
    connect(&sidebar, &SidebarViewModel::selectedSourceIDChanged, this,
            &MainWindowModel::detailChanged);
    connect(&sidebar, &SidebarViewModel::scanningSourceIDChanged, this,
            &MainWindowModel::detailChanged);

    connect(&chart, &ChartViewModel::rootNodeChanged, this, &MainWindowModel::rebuildFromRoot);
    connect(&chart, &ChartViewModel::focusedNodeChanged, this, &MainWindowModel::updateFileList);
    connect(&settings, &SettingsStore::smallerObjectsThresholdPercentChanged, this,
            &MainWindowModel::updateFileList);
    connect(&settings, &SettingsStore::groupHiddenItemsChanged, this,
            &MainWindowModel::updateFileList);
    connect(&settings, &SettingsStore::sortFoldersToTopChanged, this,
            &MainWindowModel::updateFileList);
    connect(&settings, &SettingsStore::biggestFilesLimitChanged, this, [this] {
        m_biggestFiles->rebuild(m_app.chart().rootNode(), m_app.settings().biggestFilesLimit());
    });
    connect(&settings, &SettingsStore::diagnosticReportsAgeDaysChanged, this,
            &MainWindowModel::classifyJunk);
    connect(&settings, &SettingsStore::cacheStalenessAgeDaysChanged, this,
            &MainWindowModel::classifyJunk);

    connect(this, &MainWindowModel::operationFinished, this, &MainWindowModel::applyOperationResult,
            Qt::QueuedConnection);
    FileOperations* ops = m_fileOperations.get();
    connect(ops, &FileOperations::progressChanged, this, &MainWindowModel::operationStatusChanged);
    connect(ops, &FileOperations::runningChanged, this, &MainWindowModel::operationStatusChanged);
    connect(ops, &FileOperations::finished, this,
            [this](FileOperations::Kind kind, const FileOperations::Outcome& outcome) {
                emit operationFinished(OperationResult{kind, outcome, m_runningReportsReclaimed});
            });

    m_savedScans->setOperationRunning([this] { return operationRunning(); });
    connect(m_savedScans.get(), &SavedScans::savingChanged, this,
            &MainWindowModel::operationStatusChanged);
    connect(&sidebar, &SidebarViewModel::savedScansChanged, this, &MainWindowModel::detailChanged);

    // A second window opens on the map as it is.
    if (chart.rootNode())
        rebuildFromRoot();
    updateFileList();
}

MainWindowModel::~MainWindowModel() = default;

void MainWindowModel::start() {
    m_coordinator->handleSelectionChange();
}

bool MainWindowModel::showsDriveGallery() const {
    return !m_app.sidebar().selectedSourceID();
}

bool MainWindowModel::showsScanOverlay() const {
    const auto scanning = m_app.sidebar().scanningSourceID();
    return scanning && scanning == m_app.sidebar().selectedSourceID();
}

bool MainWindowModel::showsSavedScan() const {
    const SidebarViewModel& sidebar = m_app.sidebar();
    const auto id = sidebar.selectedSourceID();
    const ScanSource* source = id ? sidebar.source(*id) : nullptr;
    return source && source->kind == ScanSourceKind::savedScan;
}

bool MainWindowModel::canStartOperation() const {
    return !operationRunning() && !m_savedScans->saving();
}

namespace {

// Nodes of a saved scan name files that may not be on this computer at all.
std::vector<NodePtr> withoutRecords(std::vector<NodePtr> nodes) {
    std::erase_if(nodes, [](const NodePtr& n) { return !n || n->tree().isRecord(); });
    return nodes;
}

} // namespace

void MainWindowModel::setActivePanel(Panel panel) {
    if (m_activePanel == panel)
        return;
    m_activePanel = panel;
    emit activePanelChanged();
}

void MainWindowModel::setSelectedNode(NodePtr node) {
    if (m_selectedNode == node)
        return;
    m_selectedNode = std::move(node);
    // One selection for the whole window: the map marks what the lists and the preview
    // show, whichever of them chose it.
    ChartViewModel& chart = m_app.chart();
    chart.setMapSelectionID(m_selectedNode ? std::optional(m_selectedNode->id()) : std::nullopt);
    emit selectedNodeChanged();
}

void MainWindowModel::showDriveGallery() {
    m_app.sidebar().setSelectedSourceID(std::nullopt);
}

void MainWindowModel::scanStartupDiskForJunk() {
    m_app.sidebar().setSelectedSourceID(m_app.sidebar().thisComputer().id);
    setActivePanel(Panel::systemJunk);
}

void MainWindowModel::rescanSelectedSource() {
    if (const auto selected = m_app.sidebar().selectedSourceID(); selected && !showsSavedScan())
        m_coordinator->rescan(*selected);
}

void MainWindowModel::cancelScan() {
    m_app.sidebar().cancelScan();
}

// --- The map's root and the settings -------------------------------------------------

void MainWindowModel::rebuildFromRoot() {
    const NodePtr& root = m_app.chart().rootNode();
    // The selection belonged to the tree that was just replaced.
    setSelectedNode(nullptr);
    m_biggestFiles->rebuild(root, m_app.settings().biggestFilesLimit());
    m_categories->update(root);
    classifyJunk();
}

void MainWindowModel::updateFileList() {
    const SettingsStore& settings = m_app.settings();
    m_fileList->update(m_app.chart().focusedNode(), settings.smallerObjectsThresholdPercent(),
                       settings.groupHiddenItems(), settings.sortFoldersToTop());
}

void MainWindowModel::classifyJunk() {
    const SettingsStore& settings = m_app.settings();
    m_systemJunk->classify(m_app.chart().rootNode(), m_app.cleanupList(),
                           settings.diagnosticReportsAgeDays(), settings.cacheStalenessAgeDays());
}

void MainWindowModel::refreshAfterTreeChange() {
    const NodePtr& root = m_app.chart().rootNode();
    // A selected item that was trashed or moved away is in no list any more; keeping it
    // would leave the preview on a file that is gone and point Delete at it again.
    const FileNode* n = m_selectedNode.get();
    while (n && n != root.get())
        n = n->parent();
    if (!n)
        setSelectedNode(nullptr);
    // The sidebar's "indexed" size follows the tree the operation changed.
    SidebarViewModel& sidebar = m_app.sidebar();
    if (const auto id = sidebar.selectedSourceID(); id && root)
        if (const ScanSource* s = sidebar.source(*id); s && s->lastScanDate)
            sidebar.recordScan(*id, *s->lastScanDate, root->allocatedSize(), s->lastScanWasRestricted);
    m_fileList->setRevision(m_fileList->revision() + 1);
    m_fileList->recompute();
    m_biggestFiles->rebuild(root, m_app.settings().biggestFilesLimit());
    m_categories->update(root);
}

// --- Sheets and file operations ------------------------------------------------------

void MainWindowModel::setActiveSheet(std::optional<Sheet> sheet) {
    if (!sheet && !m_activeSheet)
        return;
    m_activeSheet = std::move(sheet);
    emit activeSheetChanged();
}

void MainWindowModel::requestTrashOfCleanupList() {
    if (!canStartOperation())
        return;
    std::vector<NodePtr> nodes = withoutRecords(FileOperations::trashableItems(m_app.cleanupList()));
    if (!nodes.empty())
        setActiveSheet(Sheet{Sheet::Kind::trash, std::move(nodes)});
}

void MainWindowModel::deleteCommand() {
    if (m_selectedNode && !m_app.cleanupList().contains(*m_selectedNode))
        m_app.cleanupList().add(m_selectedNode);
    requestTrashOfCleanupList();
}

void MainWindowModel::requestTrash(const NodePtr& node) {
    if (node && canStartOperation() && m_app.cleanupList().canAdd(*node))
        setActiveSheet(Sheet{Sheet::Kind::trash, {node}});
}

void MainWindowModel::requestMoveOfCleanupList() {
    std::vector<NodePtr> nodes = withoutRecords(m_app.cleanupList().items());
    if (canStartOperation() && !nodes.empty())
        setActiveSheet(Sheet{Sheet::Kind::move, std::move(nodes)});
}

void MainWindowModel::requestMove(const NodePtr& node) {
    if (node && canStartOperation() && !node->tree().isRecord())
        setActiveSheet(Sheet{Sheet::Kind::move, {node}});
}

void MainWindowModel::showInfo(const NodePtr& node) {
    if (node)
        setActiveSheet(Sheet{Sheet::Kind::itemInfo, {node}});
}

void MainWindowModel::dismissSheet() {
    setActiveSheet(std::nullopt);
}

void MainWindowModel::confirmTrash() {
    if (!m_activeSheet || m_activeSheet->kind != Sheet::Kind::trash || !canStartOperation())
        return;
    std::vector<NodePtr> nodes = std::move(m_activeSheet->nodes);
    setActiveSheet(std::nullopt);
    begin(m_fileOperations->moveToTrash(std::move(nodes)), true);
}

std::vector<NodePtr> MainWindowModel::confirmMove() {
    if (!m_activeSheet || m_activeSheet->kind != Sheet::Kind::move)
        return {};
    std::vector<NodePtr> nodes = std::move(m_activeSheet->nodes);
    setActiveSheet(std::nullopt);
    return nodes;
}

void MainWindowModel::moveTo(std::vector<NodePtr> nodes, const QString& folder) {
    transfer(Operation::move, std::move(nodes), folder);
}

void MainWindowModel::copyCleanupListTo(const QString& folder) {
    copyTo(m_app.cleanupList().items(), folder);
}

void MainWindowModel::copyTo(std::vector<NodePtr> nodes, const QString& folder) {
    transfer(Operation::copy, std::move(nodes), folder);
}

QString MainWindowModel::unnamableFolderMessage() {
    return QStringLiteral("This folder's path has bytes that aren't valid text, so it can't be "
                          "told apart from a folder with a similar name. Rename it or choose "
                          "another folder.");
}

void MainWindowModel::transfer(Operation operation, std::vector<NodePtr> nodes,
                               const QString& folder) {
    nodes = withoutRecords(std::move(nodes));
    if (nodes.empty() || folder.isEmpty() || !canStartOperation())
        return;
    // The folder chooser hands over text: bytes that are not UTF-8 came back as
    // U+FFFD, and encoding that names another folder, or none. Better refused than a
    // move into a look-alike.
    if (folder.contains(QChar::ReplacementCharacter)) {
        m_operationErrors = {OperationError{QUuid::createUuid(), folder, unnamableFolderMessage()}};
        m_showingErrorAlert = true;
        emit operationErrorsChanged();
        return;
    }
    const std::string bytes = QFile::encodeName(folder).toStdString();
    begin(operation == Operation::move ? m_fileOperations->moveTo(std::move(nodes), bytes)
                                       : m_fileOperations->copyTo(std::move(nodes), bytes),
          false);
}

void MainWindowModel::removeDownloadOfCleanupList() {
    std::vector<NodePtr> nodes = withoutRecords(FileOperations::downloadedItems(m_app.cleanupList()));
    if (!nodes.empty() && canStartOperation())
        begin(m_fileOperations->removeDownload(std::move(nodes)), true);
}

void MainWindowModel::removeDownload(const NodePtr& node) {
    if (node && !node->tree().isRecord() && canStartOperation())
        begin(m_fileOperations->removeDownload({node}), false);
}

void MainWindowModel::begin(bool started, bool reportsReclaimed) {
    if (!started)
        return;
    m_runningReportsReclaimed = reportsReclaimed;
    m_cancelledSummary.clear();
}

namespace {

QString doneText(MainWindowModel::Operation operation) {
    switch (operation) {
    case MainWindowModel::Operation::trash:
        return QStringLiteral("moved to the Trash");
    case MainWindowModel::Operation::move:
        return QStringLiteral("moved");
    case MainWindowModel::Operation::copy:
        return QStringLiteral("copied");
    case MainWindowModel::Operation::removeDownload:
        return QStringLiteral("evicted");
    }
    return {};
}

QString runningText(MainWindowModel::Operation operation) {
    switch (operation) {
    case MainWindowModel::Operation::trash:
        return QStringLiteral("Moving to Trash");
    case MainWindowModel::Operation::move:
        return QStringLiteral("Moving");
    case MainWindowModel::Operation::copy:
        return QStringLiteral("Copying");
    case MainWindowModel::Operation::removeDownload:
        return QStringLiteral("Removing download of");
    }
    return {};
}

QString bytes(std::int64_t n) {
    return QString::fromStdString(formatFileStyle(n));
}

} // namespace

QString MainWindowModel::operationStatus() const {
    if (!operationRunning())
        return m_cancelledSummary;
    const FileOperations::Progress p = m_fileOperations->progress();
    QString text = QStringLiteral("%1 \u201C%2\u201D (%3 of %4)")
                       .arg(runningText(m_fileOperations->kind()), p.currentItem)
                       .arg(std::min(p.itemsDone + 1, p.itemsTotal))
                       .arg(p.itemsTotal);
    if (p.bytesTotal > 0)
        text += QStringLiteral(" \u2014 %1 of %2").arg(bytes(p.bytesDone), bytes(p.bytesTotal));
    return text;
}

void MainWindowModel::dismissOperationStatus() {
    if (m_cancelledSummary.isEmpty())
        return;
    m_cancelledSummary.clear();
    emit operationStatusChanged();
}

void MainWindowModel::applyOperationResult(const OperationResult& result) {
    const FileOperations::Outcome& outcome = result.outcome;
    if (outcome.notStarted > 0) {
        const int total = outcome.succeeded + int(outcome.errors.size()) + outcome.notStarted;
        m_cancelledSummary =
            QStringLiteral("Cancelled: %1 of %2 %3 %4; the rest were left as they were.")
                .arg(outcome.succeeded)
                .arg(total)
                .arg(total == 1 ? QStringLiteral("item") : QStringLiteral("items"))
                .arg(doneText(result.operation));
        emit operationStatusChanged();
    }
    // Not only on successes: a move that stopped half-way took part of its item
    // out of the tree too.
    if (outcome.treeChanged)
        refreshAfterTreeChange();
    if (!outcome.errors.empty()) {
        m_operationErrors = outcome.errors;
        m_showingErrorAlert = true;
        emit operationErrorsChanged();
    }
    if (result.reportsReclaimed && outcome.reclaimedBytes >= kCoffeeMomentBytes &&
        !m_coffeeMomentShownThisSession) {
        m_coffeeMomentShownThisSession = true;
        m_coffeeMomentBytes = outcome.reclaimedBytes;
        emit coffeeMomentBytesChanged();
    }
}

QString MainWindowModel::errorAlertTitle() {
    return QStringLiteral("Some items couldn't be processed");
}

QString MainWindowModel::errorAlertMessage() const {
    QStringList lines;
    for (const OperationError& error : m_operationErrors)
        lines << error.alertLine();
    return lines.join(QLatin1Char('\n'));
}

void MainWindowModel::dismissErrorAlert() {
    if (!m_showingErrorAlert)
        return;
    m_showingErrorAlert = false;
    emit operationErrorsChanged();
}

void MainWindowModel::dismissCoffeeMoment() {
    if (!m_coffeeMomentBytes)
        return;
    m_coffeeMomentBytes.reset();
    emit coffeeMomentBytesChanged();
}

} // namespace ringfold
