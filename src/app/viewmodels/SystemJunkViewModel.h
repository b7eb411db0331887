#pragma once
// The System Junk panel's data: runs the junk classifier over the current tree when
// the tree or one of the two age settings changes, groups the items by category (in
// category order), totals the high-confidence bytes, and pre-selects every
// high-confidence item that is not hidden in the cleanup list.
//
// A run has one suspension point: the installed-application lookups for the orphan
// rules, which run on the thread pool. Everything else, including publishing the
// groups and the pre-selection, happens on the main thread. A new run (or a root of
// none) cancels the previous one, and a cancelled run publishes nothing. The run
// holds the root it classifies, so its tree stays alive until the run ends. The
// running lookup's watcher belongs to the view model alone (`m_pending`), which deletes
// it when the run is superseded or has published.
//
// Threads: main thread only. Sizes are signed allocated bytes.

#include "core/junk/JunkClassifier.h"

#include <QFuture>
#include <QObject>
#include <QPointer>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

template <typename T> class QFutureWatcher;

namespace ringfold {

class CleanupListStore;

class SystemJunkViewModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(
        qint64 highConfidenceTotal READ highConfidenceTotal NOTIFY highConfidenceTotalChanged)

public:
    struct CategoryGroup {
        JunkCategory category;
        std::vector<JunkItem> items; // classifier order
        /// Allocated bytes of the group's items.
        std::int64_t totalSize() const;
    };

    using Orphans = JunkClassifier::Orphans;
    /// Starts the installed-application lookups for the candidates; the future's one
    /// result says which of them are orphans.
    using OrphanLookup = std::function<QFuture<Orphans>(std::vector<std::string>)>;
    using PlacesProvider = std::function<JunkPlaces()>;
    using Clock = std::function<Timestamp()>;

    /// The platform's lookups, the current user's folders and the system clock.
    explicit SystemJunkViewModel(QObject* parent = nullptr);
    SystemJunkViewModel(OrphanLookup lookup, PlacesProvider places, Clock clock,
                        QObject* parent = nullptr);
    ~SystemJunkViewModel() override;

    /// The only entry point, called after every change of the tree or of the two
    /// settings. Returns at once; a new classification finishes later on the main
    /// thread. Nothing happens when the root and both day counts are the ones of the
    /// last call.
    void classify(const NodePtr& root, CleanupListStore& cleanupList, int diagnosticAgeDays,
                  int cacheStalenessAgeDays);

    const std::vector<CategoryGroup>& groups() const { return m_groups; }
    std::int64_t highConfidenceTotal() const { return m_highConfidenceTotal; }
    /// Whether a classification is waiting for its lookups.
    bool isClassifying() const { return m_pending != nullptr; }

signals:
    void groupsChanged();
    void highConfidenceTotalChanged();
    /// isClassifying changed: a run started, or the last one ended or was dropped.
    void classifyingChanged();

private:
    void cancelPending();
    void finish(const NodePtr& root, const Orphans& orphans, double diagnosticMaxAge,
                double cacheMaxAge, const JunkPlaces& places);
    void setHighConfidenceTotal(std::int64_t total);

    OrphanLookup m_lookup;
    PlacesProvider m_places;
    Clock m_clock;

    std::vector<CategoryGroup> m_groups;
    std::int64_t m_highConfidenceTotal = 0;
    std::optional<NodeID> m_lastClassifiedRootID;
    std::optional<int> m_lastDiagnosticAgeDays;
    std::optional<int> m_lastCacheStalenessAgeDays;
    // Not parented: this pointer is the watcher's only owner.
    std::unique_ptr<QFutureWatcher<Orphans>> m_pending;
    // Tells a finished run's queued notification from the current run's.
    std::uint64_t m_run = 0;
    QPointer<CleanupListStore> m_cleanupList;
};

} // namespace ringfold
