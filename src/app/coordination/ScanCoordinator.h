#pragma once
// Connects the selected source to the scanner and the map. Shows a cached result at
// once, or starts a scan of the source on a background thread through the core's
// ScanEngine. At most one scan is current: the coordinator holds the stop handle of
// every scan thread and stops the current one when another starts, when a cached
// tree is shown instead, or when the sources model stops naming its source as the
// one being scanned (the user's Cancel). A finished scan is cached per source
// identity for the coordinator's life, recorded in the sources model, and, if its
// source is still selected, handed to the map after the cleanup list has dropped
// the items of the tree it replaces. Replaced trees are released on a pool thread.
//
// Diagnostics: the back-ends' closing lines and "[ScanCoordinator] scan failed:
// <reason>" for a scan that ended without a tree for any reason but cancellation go
// to one stream, standard output unless set otherwise.
//
// Threads: the coordinator and everything it touches live on the main thread. Each
// scan runs on its own std::jthread, which only uses its own engine, its copy of the
// source and its ScanProgress, and posts its outcome back to the main thread; nothing
// else is shared. Destruction stops and joins every scan thread.

#include "core/model/FileNode.h"
#include "core/model/ScanResult.h"
#include "core/model/Types.h"
#include "core/scan/ScanBackend.h"
#include "core/scan/ScanProgress.h"

#include <QObject>

#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

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
    /// Makes the back-end for one scan of `source` (called on the main thread); its
    /// closing line goes to `diagnostics`. The default is ScanEngine's choice by kind.
    using BackendFactory = std::function<std::unique_ptr<ScanBackend>(const ScanSource& source,
                                                                      std::FILE* diagnostics)>;

    ScanCoordinator(SidebarViewModel& sidebar, ChartViewModel& chart, CleanupListStore& cleanup,
                    QObject* parent = nullptr);
    ~ScanCoordinator() override;

    /// Reacts to the current selection: cached tree, new scan, or empty map. Returns at
    /// once.
    void handleSelectionChange();
    /// Forgets the source's record and cached tree and scans it again (selecting it
    /// first when it is not selected; the selection change then starts the scan).
    void rescan(const Uuid& id);
    /// Scans the source again with the administrator's rights: the elevation command
    /// runs the command-line scanner, whose export is read into the tree. The source
    /// is selected first; its current tree stays until the new one is in, and stays
    /// for good when the helper is refused or fails (scanFailed says why). Not for
    /// saved scans.
    void scanAsAdministrator(const Uuid& id);
    /// The command that runs a program as the administrator ("pkexec") and the
    /// scanner it runs (an absolute path).
    void setElevation(std::vector<std::string> command, std::string scanner);

    const std::map<Uuid, CachedScan>& scanCache() const { return m_scanCache; }
    /// Progress of the current scan for an overlay to poll; null when none runs.
    std::shared_ptr<const ScanProgress> currentProgress() const { return m_progress; }
    /// True while any scan thread, current or stopped, has not reported back yet.
    bool hasPendingScans() const { return !m_threads.empty(); }
    /// Where diagnostic lines go; null silences them.
    void setDiagnostics(std::FILE* out) { m_diagnostics = out; }
    void setBackendFactory(BackendFactory factory) { m_backendFactory = std::move(factory); }

signals:
    void scanCacheChanged();
    /// A scan started or ended, so currentProgress() may differ.
    void scanActivityChanged();
    /// A scan ended without a tree for another reason than being stopped: a saved
    /// scan that can't be read, an administrator's scan that was refused.
    void scanFailed(const ringfold::Uuid& id, const QString& message, bool elevated);

private:
    struct Outcome {
        std::uint64_t serial = 0;
        ScanSource source;
        std::optional<ScanResult> result;
        /// When the scan was made, if not now: a saved scan's own date.
        std::optional<Timestamp> madeAt;
        bool cancelled = false;
        bool elevated = false;
        std::string error;
    };

    void startScan(const ScanSource& source, bool elevated = false);
    /// Stops the current scan's thread; its late outcome is then ignored.
    void stopCurrentScan();
    void scanEnded(Outcome outcome);
    void showTree(const ScanSource& source, NodePtr root, const SpaceAccounting& accounting);
    /// A volume went away: its cached tree shows what is no longer there.
    void dropCachedTree(const Uuid& id);

    SidebarViewModel& m_sidebar;
    ChartViewModel& m_chart;
    CleanupListStore& m_cleanup;
    std::map<Uuid, CachedScan> m_scanCache;
    // Trees dropped from the cache by a rescan, held weakly: their cleanup-list items
    // go when the source's next tree is shown. A tree that has died has no items left.
    std::map<Uuid, std::vector<std::weak_ptr<FileNode>>> m_replacedTrees;

    std::FILE* m_diagnostics = stdout;
    BackendFactory m_backendFactory;
    std::vector<std::string> m_elevationCommand{"pkexec"};
    std::string m_scanner = "ringfold-scan";
    std::uint64_t m_nextSerial = 1;
    std::uint64_t m_currentSerial = 0; // 0: no scan is current
    std::optional<Uuid> m_currentSource;
    std::shared_ptr<ScanProgress> m_progress;
    // Declared last so that it is destroyed first: each jthread's destructor stops and
    // joins its scan while everything the scan might post to is still intact.
    std::map<std::uint64_t, std::jthread> m_threads;
};

} // namespace ringfold
