#include "app/platform/InstalledApplicationLookup.h"

#include <QPromise>
#include <QThread>
#include <QThreadPool>

#include <memory>

namespace ringfold {

QFuture<InstalledApplicationLookup::Orphans>
InstalledApplicationLookup::findOrphans(std::vector<std::string> candidates) {
    return findOrphans(std::move(candidates), InstalledApplications::Locations::fromEnvironment());
}

QFuture<InstalledApplicationLookup::Orphans>
InstalledApplicationLookup::findOrphans(std::vector<std::string> candidates,
                                        InstalledApplications::Locations locations) {
    auto promise = std::make_shared<QPromise<Orphans>>();
    QFuture<Orphans> future = promise->future();
    promise->start();
    QThreadPool::globalInstance()->start(
        [promise, candidates = std::move(candidates), locations = std::move(locations)]() mutable {
            const InstalledApplications apps(std::move(locations));
            Orphans orphans = JunkClassifier::findOrphans(candidates, [&](const std::string& id) {
                // A superseded run need not finish its questions.
                if (promise->isCanceled())
                    return Installation::flatpak;
                return apps.installation(id);
            });
            if (!promise->isCanceled())
                promise->addResult(std::move(orphans));
            promise->finish();
        },
        QThread::HighPriority);
    return future;
}

Installation InstalledApplicationLookup::installation(const std::string& id) {
    return InstalledApplications(InstalledApplications::Locations::fromEnvironment())
        .installation(id);
}

} // namespace ringfold
