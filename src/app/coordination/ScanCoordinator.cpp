#include "app/coordination/ScanCoordinator.h"

#include "app/coordination/TreeRelease.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "app/viewmodels/SidebarViewModel.h"
#include "core/model/ScanResult.h"
#include "core/scan/ScanEngine.h"

#include <QDateTime>
#include <QMetaObject>

#include <cstdio>

namespace ringfold {

namespace {

bool isVolumeRooted(ScanSourceKind kind) {
    return kind != ScanSourceKind::favoriteFolder;
}

} // namespace

ScanCoordinator::ScanCoordinator(SidebarViewModel& sidebar, ChartViewModel& chart,
                                 CleanupListStore& cleanup, QObject* parent)
    : QObject(parent), m_sidebar(sidebar), m_chart(chart), m_cleanup(cleanup) {
    connect(&m_sidebar, &SidebarViewModel::volumeVanished, this, &ScanCoordinator::dropCachedTree);
}

ScanCoordinator::~ScanCoordinator() {
    // Joining here, before QObject's destructor, keeps `this` valid for any thread
    // still posting its outcome; the posted calls die with the object.
    for (auto& [serial, thread] : m_threads)
        thread.request_stop();
    m_threads.clear();
}

std::shared_ptr<const ScanProgress> ScanCoordinator::currentProgress() const {
    if (!m_progress || m_sidebar.scanningSourceID() != m_progressSource)
        return nullptr;
    return m_progress;
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
    if (cached != m_scanCache.end()) {
        if (m_sidebar.scanningSourceID()) {
            m_sidebar.cancelScan(); // clears the selection as well
            m_sidebar.setSelectedSourceID(selected);
        }
        // The sidebar may have changed under the calls above; copy what we need.
        const CachedScan entry = cached->second;
        const ScanSource current = *m_sidebar.source(*selected);
        showTree(current, entry.root, entry.accounting);
        return;
    }
    startScan(*source);
}

void ScanCoordinator::rescan(const Uuid& id) {
    m_sidebar.clearLastScan(id);
    m_scanCache.erase(id);
    emit scanCacheChanged();
    if (m_sidebar.selectedSourceID() == id)
        handleSelectionChange();
    else
        m_sidebar.setSelectedSourceID(id);
}

void ScanCoordinator::startScan(const ScanSource& source) {
    const std::uint64_t serial = m_nextSerial++;
    auto progress = std::make_shared<ScanProgress>();
    ScanEngine::Options options;
    options.diagnostics = m_diagnostics;

    std::jthread thread([this, serial, source, progress, options](std::stop_token stop) {
        Outcome outcome;
        outcome.serial = serial;
        outcome.source = source;
        try {
            ScanEngine engine(source.kind, activeProcessorCount(), options);
            outcome.result = engine.scan(source.url, stop, progress.get());
        } catch (const std::exception& e) {
            outcome.error = e.what();
        } catch (...) {
            outcome.error = "unknown error";
        }
        // A scan stopped after its last check still counts as cancelled: whoever
        // stopped it has moved on, and its tree must not be cached as current.
        outcome.cancelled = stop.stop_requested();
        if (outcome.cancelled)
            outcome.result.reset();
        else if (!outcome.result && outcome.error.empty())
            outcome.error = "the scanner returned no result";
        QMetaObject::invokeMethod(
            this, [this, outcome = std::move(outcome)]() mutable { scanEnded(std::move(outcome)); },
            Qt::QueuedConnection);
    });
    m_sidebar.beginScan(source.id, thread.get_stop_source());
    m_currentSerial = serial;
    m_threads.emplace(serial, std::move(thread));
    m_progressSource = source.id;
    m_progress = std::move(progress);
    emit scanActivityChanged();
}

void ScanCoordinator::reapThread(std::uint64_t serial) {
    // The thread's last act was posting this outcome, so the join is immediate.
    m_threads.erase(serial);
}

void ScanCoordinator::scanEnded(Outcome outcome) {
    reapThread(outcome.serial);
    const Uuid id = outcome.source.id;
    // A replaced scan may share its source with the scan that replaced it (a rescan
    // while scanning); only the current scan may end the sources model's scan state.
    auto finish = [&] {
        if (outcome.serial == m_currentSerial)
            m_sidebar.finishScan(id);
    };
    if (!outcome.result) {
        if (!outcome.cancelled) {
            std::fprintf(stdout, "[ScanCoordinator] scan failed: %s\n", outcome.error.c_str());
            std::fflush(stdout);
        }
        finish();
        emit scanActivityChanged();
        return;
    }

    CachedScan entry;
    entry.date = QDateTime::currentSecsSinceEpoch();
    entry.root = std::move(outcome.result->root);
    entry.accounting = outcome.result->accounting;
    outcome.result.reset();
    m_scanCache[id] = entry;
    emit scanCacheChanged();

    m_sidebar.recordScan(id, entry.date, entry.root->allocatedSize(), entry.root->isRestricted());
    if (m_sidebar.selectedSourceID() == id) {
        m_cleanup.removeItems(outcome.source.url);
        showTree(outcome.source, entry.root, entry.accounting);
    }
    finish();
    emit scanActivityChanged();
}

void ScanCoordinator::showTree(const ScanSource& source, NodePtr root,
                               const SpaceAccounting& accounting) {
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
