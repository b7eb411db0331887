#include "app/coordination/ScanCoordinator.h"

#include "app/coordination/TreeRelease.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "app/viewmodels/SidebarViewModel.h"
#include "core/io/SavedScanBackend.h"
#include "core/model/Tree.h"
#include "core/scan/ScanEngine.h"

#include <QDateTime>
#include <QMetaObject>

namespace ringfold {

namespace {

bool isVolumeRooted(ScanSourceKind kind) {
    return kind != ScanSourceKind::favoriteFolder && kind != ScanSourceKind::savedScan;
}

} // namespace

ScanCoordinator::ScanCoordinator(SidebarViewModel& sidebar, ChartViewModel& chart,
                                 CleanupListStore& cleanup, QObject* parent)
    : QObject(parent), m_sidebar(sidebar), m_chart(chart), m_cleanup(cleanup) {
    // The sources model only names the scanning source; whoever clears or replaces
    // that name (the overlay's Cancel, the settings reset) thereby stops the scan.
    connect(&m_sidebar, &SidebarViewModel::scanningSourceIDChanged, this, [this] {
        if (m_currentSerial != 0 && m_sidebar.scanningSourceID() != m_currentSource)
            stopCurrentScan();
    });
    connect(&m_sidebar, &SidebarViewModel::volumeVanished, this, &ScanCoordinator::dropCachedTree);
}

ScanCoordinator::~ScanCoordinator() {
    // Ask every scan to stop before joining any, so they wind down together. Joining
    // here, before QObject's destructor, keeps `this` valid for a thread that is still
    // posting its outcome; the posted calls die with the object.
    for (auto& [serial, thread] : m_threads)
        thread.request_stop();
    m_threads.clear();
}

void ScanCoordinator::handleSelectionChange() {
    const std::optional<Uuid> selected = m_sidebar.selectedSourceID();
    const ScanSource* source = selected ? m_sidebar.source(*selected) : nullptr;
    if (!source) {
        // Nothing selected, or the selected volume or favourite has gone away.
        if (m_sidebar.scanningSourceID() || selected)
            m_sidebar.cancelScan();
        NodePtr old = m_chart.rootNode();
        m_chart.clearRoot();
        releaseInBackground(std::move(old));
        return;
    }

    const auto cached = m_scanCache.find(*selected);
    if (cached == m_scanCache.end()) {
        startScan(ScanSource(*source)); // a copy: observers may change the sources model
        return;
    }
    // Observers of the calls below may change the sources model; keep copies.
    const CachedScan entry = cached->second;
    const ScanSource shown = *source;
    // Stop the running scan without the sources model's cancel, which would clear the
    // selection that brought us here and make every observer see it flicker.
    if (const auto scanning = m_sidebar.scanningSourceID()) {
        stopCurrentScan();
        m_sidebar.finishScan(*scanning);
    }
    showTree(shown, entry.root, entry.accounting);
}

void ScanCoordinator::rescan(const Uuid& id) {
    m_sidebar.clearLastScan(id);
    if (const auto cached = m_scanCache.find(id); cached != m_scanCache.end()) {
        m_replacedTrees[id].push_back(cached->second.root);
        m_scanCache.erase(cached);
    }
    emit scanCacheChanged();
    if (m_sidebar.selectedSourceID() == id)
        handleSelectionChange();
    else
        m_sidebar.setSelectedSourceID(id);
}

void ScanCoordinator::scanAsAdministrator(const Uuid& id) {
    const ScanSource* source = m_sidebar.source(id);
    if (!source || source->kind == ScanSourceKind::savedScan)
        return;
    if (m_sidebar.selectedSourceID() != id)
        m_sidebar.setSelectedSourceID(id); // shows the cached tree or starts a plain scan
    if (const ScanSource* selected = m_sidebar.source(id))
        startScan(ScanSource(*selected), true); // stops that plain scan
}

void ScanCoordinator::setElevation(std::vector<std::string> command, std::string scanner) {
    m_elevationCommand = std::move(command);
    m_scanner = std::move(scanner);
}

void ScanCoordinator::startScan(const ScanSource& source, bool elevated) {
    stopCurrentScan();
    const std::uint64_t serial = m_nextSerial++;
    auto progress = std::make_shared<ScanProgress>();
    std::unique_ptr<ScanEngine> engine;
    if (elevated) {
        engine = std::make_unique<ScanEngine>(
            std::make_unique<ElevatedScanBackend>(m_elevationCommand, m_scanner));
    } else if (source.kind == ScanSourceKind::savedScan) {
        engine = std::make_unique<ScanEngine>(std::make_unique<SavedScanBackend>());
    } else if (m_backendFactory) {
        engine = std::make_unique<ScanEngine>(m_backendFactory(source, m_diagnostics));
    } else {
        ScanEngine::Options options;
        options.diagnostics = m_diagnostics;
        engine = std::make_unique<ScanEngine>(source.kind, activeProcessorCount(), options);
    }

    std::jthread thread([this, serial, source, progress, elevated,
                         engine = std::move(engine)](std::stop_token stop) {
        Outcome outcome;
        outcome.serial = serial;
        outcome.source = source;
        outcome.elevated = elevated;
        try {
            outcome.result = engine->scan(source.url, stop, progress.get());
            if (auto* saved = dynamic_cast<SavedScanBackend*>(&engine->backend()))
                outcome.madeAt = saved->lastTimestamp();
        } catch (const std::exception& e) {
            outcome.error = e.what();
        } catch (...) {
            outcome.error = "unknown error";
        }
        // A scan stopped after its last check still counts as cancelled: whoever
        // stopped it has moved on, and its tree must not be cached as current. The
        // tree is dropped here, off the main thread.
        outcome.cancelled = stop.stop_requested();
        if (outcome.cancelled)
            outcome.result.reset();
        else if (!outcome.result && outcome.error.empty())
            outcome.error = "the scanner returned no result";
        QMetaObject::invokeMethod(
            this, [this, outcome = std::move(outcome)]() mutable { scanEnded(std::move(outcome)); },
            Qt::QueuedConnection);
    });
    m_threads.emplace(serial, std::move(thread));
    m_currentSerial = serial;
    m_currentSource = source.id;
    m_progress = std::move(progress);
    m_sidebar.beginScan(source.id);
    emit scanActivityChanged();
}

void ScanCoordinator::stopCurrentScan() {
    if (m_currentSerial == 0)
        return;
    if (const auto it = m_threads.find(m_currentSerial); it != m_threads.end())
        it->second.request_stop();
    m_currentSerial = 0;
    m_currentSource.reset();
    m_progress.reset();
    emit scanActivityChanged();
}

void ScanCoordinator::scanEnded(Outcome outcome) {
    // The thread's last act was posting this outcome, so the join is immediate.
    m_threads.erase(outcome.serial);
    const Uuid id = outcome.source.id;
    // A stopped scan may share its source with the scan that replaced it (a rescan
    // while scanning); only the current scan may end the sources model's scan state.
    const bool current = outcome.serial == m_currentSerial;
    if (current) {
        m_currentSerial = 0;
        m_currentSource.reset();
        m_progress.reset();
    }
    auto finish = [&] {
        if (current)
            m_sidebar.finishScan(id);
        emit scanActivityChanged();
    };
    if (!outcome.result) {
        if (!outcome.cancelled && m_diagnostics) {
            std::fprintf(m_diagnostics, "[ScanCoordinator] scan failed: %s\n",
                         outcome.error.c_str());
            std::fflush(m_diagnostics);
        }
        finish();
        if (outcome.cancelled)
            return;
        emit scanFailed(id, QString::fromStdString(outcome.error), outcome.elevated);
        // A refused administrator's scan of a source with no tree yet falls back to
        // the scan the user's own rights allow.
        if (outcome.elevated && current && m_sidebar.selectedSourceID() == id &&
            !m_scanCache.count(id) && !m_sidebar.scanningSourceID())
            handleSelectionChange();
        return;
    }

    // The administrator's tree replaces the one shown until now, whose cleanup-list
    // items then go, as after a rescan.
    if (const auto cached = m_scanCache.find(id); outcome.elevated && cached != m_scanCache.end())
        m_replacedTrees[id].push_back(cached->second.root);
    CachedScan entry;
    entry.date = outcome.madeAt.value_or(QDateTime::currentSecsSinceEpoch());
    entry.root = std::move(outcome.result->root);
    entry.accounting = outcome.result->accounting;
    outcome.result.reset();
    m_scanCache[id] = entry;
    emit scanCacheChanged();

    m_sidebar.recordScan(id, entry.date, entry.root->allocatedSize(), entry.root->isRestricted());
    if (m_sidebar.selectedSourceID() == id)
        showTree(outcome.source, entry.root, entry.accounting);
    finish();
}

void ScanCoordinator::showTree(const ScanSource& source, NodePtr root,
                               const SpaceAccounting& accounting) {
    // Items of a tree this one replaces point at nodes no view shows any more. Items
    // of other trees stay, even under the same path: "/" holds every other drive.
    if (const auto replaced = m_replacedTrees.find(source.id); replaced != m_replacedTrees.end()) {
        for (const std::weak_ptr<FileNode>& weak : replaced->second) {
            if (NodePtr tree = weak.lock()) {
                m_cleanup.removeItems(tree->tree());
                releaseInBackground(std::move(tree));
            }
        }
        m_replacedTrees.erase(replaced);
    }
    NodePtr old = m_chart.rootNode();
    m_chart.setRoot(std::move(root), accounting, isVolumeRooted(source.kind));
    releaseInBackground(std::move(old));
}

void ScanCoordinator::dropCachedTree(const Uuid& id) {
    const auto cached = m_scanCache.find(id);
    if (cached == m_scanCache.end())
        return;
    NodePtr root = std::move(cached->second.root);
    m_scanCache.erase(cached);
    releaseInBackground(std::move(root));
    emit scanCacheChanged();
}

} // namespace ringfold
