#include "app/platform/InstalledApplicationLookup.h"

#include "core/junk/JunkClassifier.h"

#include <QPromise>
#include <QThread>
#include <QThreadPool>

#include <memory>

namespace ringfold {

QFuture<InstalledApplicationLookup::IDSet>
InstalledApplicationLookup::orphanedBundleIDs(std::vector<std::string> candidates) {
    return orphanedBundleIDs(std::move(candidates),
                             InstalledApplications::Locations::fromEnvironment());
}

QFuture<InstalledApplicationLookup::IDSet>
InstalledApplicationLookup::orphanedBundleIDs(std::vector<std::string> candidates,
                                              InstalledApplications::Locations locations) {
    auto promise = std::make_shared<QPromise<IDSet>>();
    QFuture<IDSet> future = promise->future();
    promise->start();
    QThreadPool::globalInstance()->start(
        [promise, candidates = std::move(candidates), locations = std::move(locations)]() mutable {
            const InstalledApplications apps(std::move(locations));
            IDSet orphans =
                JunkClassifier::orphanedBundleIDsFrom(candidates, [&](const std::string& id) {
                    // A superseded run need not finish its questions.
                    if (promise->isCanceled())
                        return true;
                    return apps.isInstalled(id);
                });
            if (!promise->isCanceled())
                promise->addResult(std::move(orphans));
            promise->finish();
        },
        QThread::HighPriority);
    return future;
}

bool InstalledApplicationLookup::isInstalled(const std::string& id) {
    return InstalledApplications(InstalledApplications::Locations::fromEnvironment())
        .isInstalled(id);
}

} // namespace ringfold
