#pragma once
// Connects the selected source to the scanner and the map. Shows a cached result at
// once, or starts a scan of the source on a background thread through the core's
// ScanEngine; at most one scan is current (starting one stops the previous through
// the sources model's stop handle). A finished scan is cached per source identity
// for the coordinator's life, recorded in the sources model, and, if its source is
// still selected, handed to the map after the cleanup list has dropped items of the
// replaced tree. Replaced trees are released on a pool thread. Failures other than
// cancellation print "[ScanCoordinator] scan failed: <reason>" to standard output.
//
// Threads: the coordinator and everything it touches live on the main thread. Each
// scan runs on its own std::jthread, which only reads its copy of the source, writes
// its ScanProgress and posts its outcome back to the main thread; nothing else is
// shared. Destruction stops and joins every scan thread.

#include "core/model/FileNode.h"
#include "core/model/ScanResult.h"
#include "core/model/Types.h"
#include "core/scan/ScanProgress.h"

#include <QObject>

#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace ringfold {

class SidebarViewModel;
class ChartViewModel;
class CleanupListStore;

/// One finished scan: when it finished (seconds since 1970), its tree, its figures.
struct CachedScan {
    Timestamp date = 0;
    NodePtr root;
    SpaceAccounting accounting;
};

class ScanCoordinator : public QObject {
    Q_OBJECT

public:
    ScanCoordinator(SidebarViewModel& sidebar, ChartViewModel& chart, CleanupListStore& cleanup,
                    QObject* parent = nullptr);
    ~ScanCoordinator() override;

    /// Reacts to the current selection: cached tree, new scan, or empty map. Returns at
    /// once.
    void handleSelectionChange();
    /// Forgets the source's record and cached tree and scans it again (selecting it
    /// first when it is not selected; the selection change then starts the scan).
    void rescan(const Uuid& id);

    const std::map<Uuid, CachedScan>& scanCache() const { return m_scanCache; }
    /// Progress of the current scan for an overlay to poll; null when none runs.
    std::shared_ptr<const ScanProgress> currentProgress() const;
    /// True while any scan thread, current or cancelled, has not reported back yet.
    bool hasPendingScans() const { return !m_threads.empty(); }
    /// Where the back-ends write their closing lines (standard output by default).
    void setScanDiagnostics(std::FILE* out) { m_diagnostics = out; }

signals:
    void scanCacheChanged();
    /// A scan started or ended, so currentProgress() may differ.
    void scanActivityChanged();

private:
    struct Outcome {
        std::uint64_t serial = 0;
        ScanSource source;
        std::optional<ScanResult> result;
        bool cancelled = false;
        std::string error;
    };

    void startScan(const ScanSource& source);
    void scanEnded(Outcome outcome);
    void showTree(const ScanSource& source, NodePtr root, const SpaceAccounting& accounting);
    void reapThread(std::uint64_t serial);
    /// A volume went away: its cached tree shows what is no longer there.
    void dropCachedTree(const Uuid& id);

    SidebarViewModel& m_sidebar;
    ChartViewModel& m_chart;
    CleanupListStore& m_cleanup;
    std::map<Uuid, CachedScan> m_scanCache;

    std::FILE* m_diagnostics = stdout;
    std::uint64_t m_nextSerial = 1;
    std::uint64_t m_currentSerial = 0; // the scan the sources model knows as running
    std::map<std::uint64_t, std::jthread> m_threads;
    std::optional<Uuid> m_progressSource;
    std::shared_ptr<ScanProgress> m_progress;
};

} // namespace ringfold
