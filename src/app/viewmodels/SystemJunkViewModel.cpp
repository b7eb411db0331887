#include "app/viewmodels/SystemJunkViewModel.h"

#include "app/platform/InstalledApplicationLookup.h"
#include "app/stores/CleanupListStore.h"

#include <QFutureWatcher>

#include <algorithm>
#include <ctime>

namespace ringfold {

std::int64_t SystemJunkViewModel::CategoryGroup::totalSize() const {
    std::int64_t total = 0;
    for (const JunkItem& item : items)
        total += item.node->allocatedSize();
    return total;
}

SystemJunkViewModel::SystemJunkViewModel(QObject* parent)
    : SystemJunkViewModel(
          [](std::vector<std::string> candidates) {
              return InstalledApplicationLookup::findOrphans(std::move(candidates));
          },
          &JunkPlaces::fromEnvironment, [] { return Timestamp(std::time(nullptr)); }, parent) {}

SystemJunkViewModel::SystemJunkViewModel(OrphanLookup lookup, PlacesProvider places, Clock clock,
                                         QObject* parent)
    : QObject(parent), m_lookup(std::move(lookup)), m_places(std::move(places)),
      m_clock(std::move(clock)) {}

SystemJunkViewModel::~SystemJunkViewModel() {
    cancelPending();
}

void SystemJunkViewModel::cancelPending() {
    if (!m_pending)
        return;
    // The lookups may still finish on the pool, but their result goes nowhere: the
    // watcher is gone, and a notification it had already queued carries an old run.
    m_pending->future().cancel();
    m_pending.reset();
}

void SystemJunkViewModel::classify(const NodePtr& root, CleanupListStore& cleanupList,
                                   int diagnosticAgeDays, int cacheStalenessAgeDays) {
    const bool wasClassifying = isClassifying();
    if (!root) {
        cancelPending();
        if (wasClassifying)
            emit classifyingChanged();
        if (!m_groups.empty()) {
            m_groups.clear();
            emit groupsChanged();
        }
        setHighConfidenceTotal(0);
        m_lastClassifiedRootID.reset();
        m_lastDiagnosticAgeDays.reset();
        m_lastCacheStalenessAgeDays.reset();
        return;
    }
    if (m_lastClassifiedRootID == root->id() && m_lastDiagnosticAgeDays == diagnosticAgeDays &&
        m_lastCacheStalenessAgeDays == cacheStalenessAgeDays)
        return;
    m_lastClassifiedRootID = root->id();
    m_lastDiagnosticAgeDays = diagnosticAgeDays;
    m_lastCacheStalenessAgeDays = cacheStalenessAgeDays;

    const JunkPlaces places = m_places();
    std::vector<std::string> candidates = JunkClassifier::candidateBundleIDs(*root, places);

    cancelPending();
    m_cleanupList = &cleanupList;
    const double diagnosticMaxAge = JunkClassifier::daysToSeconds(diagnosticAgeDays);
    const double cacheMaxAge = JunkClassifier::daysToSeconds(cacheStalenessAgeDays);
    m_pending = std::make_unique<QFutureWatcher<Orphans>>();
    const std::uint64_t run = ++m_run;
    // Queued, so the slot never runs inside the watcher's own signal and may delete it.
    connect(
        m_pending.get(), &QFutureWatcherBase::finished, this,
        [this, run, root, diagnosticMaxAge, cacheMaxAge, places] {
            if (run != m_run || !m_pending)
                return;
            const auto watcher = std::move(m_pending); // deleted when this run is published
            const QFuture<Orphans> future = watcher->future();
            if (!future.isCanceled() && future.resultCount() != 0)
                finish(root, future.result(), diagnosticMaxAge, cacheMaxAge, places);
            emit classifyingChanged();
        },
        Qt::QueuedConnection);
    m_pending->setFuture(m_lookup(std::move(candidates)));
    if (!wasClassifying)
        emit classifyingChanged();
}

void SystemJunkViewModel::finish(const NodePtr& root, const Orphans& orphans,
                                 double diagnosticMaxAge, double cacheMaxAge,
                                 const JunkPlaces& places) {
    JunkClassifier classifier;
    classifier.places = places;
    classifier.now = m_clock();
    classifier.diagnosticReportsMaxAge = diagnosticMaxAge;
    classifier.cachesDerivedDataMaxAge = cacheMaxAge;
    classifier.orphans = orphans;
    const std::vector<JunkItem> items = classifier.classify(*root);

    std::vector<CategoryGroup> groups;
    for (JunkCategory category : kAllJunkCategories) {
        CategoryGroup group{category, {}};
        for (const JunkItem& item : items)
            if (item.category == category)
                group.items.push_back(item);
        if (!group.items.empty())
            groups.push_back(std::move(group));
    }
    auto sameItems = [](const CategoryGroup& a, const CategoryGroup& b) {
        if (a.category != b.category || a.items.size() != b.items.size())
            return false;
        for (std::size_t i = 0; i < a.items.size(); ++i)
            if (a.items[i].node != b.items[i].node ||
                a.items[i].confidence != b.items[i].confidence)
                return false;
        return true;
    };
    const bool changed =
        !std::equal(groups.begin(), groups.end(), m_groups.begin(), m_groups.end(), sameItems);
    m_groups = std::move(groups);
    if (changed)
        emit groupsChanged();

    std::int64_t high = 0;
    std::vector<NodePtr> preselected;
    for (const JunkItem& item : items) {
        if (item.confidence != JunkConfidence::high)
            continue;
        high += item.node->allocatedSize();
        preselected.push_back(item.node);
    }
    setHighConfidenceTotal(high);
    // Runs on every classification, so an item the user unticked comes back after the
    // tree or the settings changed. The store skips hidden and already listed nodes.
    if (m_cleanupList)
        m_cleanupList->addPreselected(preselected);
}

void SystemJunkViewModel::setHighConfidenceTotal(std::int64_t total) {
    if (m_highConfidenceTotal == total)
        return;
    m_highConfidenceTotal = total;
    emit highConfidenceTotalChanged();
}

} // namespace ringfold
