#pragma once
// The orphan lookups of the junk classifier, off the main thread: for each candidate
// folder name, how an application with that identifier (desktop-entry ID or Flatpak
// ID) is installed, if at all. The locations are read from the environment on the
// calling thread; the file-system checks run on the global thread pool at high
// priority, since the user is waiting for the System Junk panel.

#include "core/junk/JunkClassifier.h"

#include <QFuture>

#include <string>
#include <vector>

namespace ringfold {

class InstalledApplicationLookup {
public:
    using Orphans = JunkClassifier::Orphans;

    /// The orphans among the candidates. The future finishes on a pool thread with one
    /// result; watch it with a QFutureWatcher to continue on the main thread.
    static QFuture<Orphans> findOrphans(std::vector<std::string> candidates);
    /// The same with explicit locations (tests, or a caller that already has them).
    static QFuture<Orphans> findOrphans(std::vector<std::string> candidates,
                                        InstalledApplications::Locations locations);
    /// One synchronous question, with the locations of the current environment.
    static Installation installation(const std::string& id);
};

} // namespace ringfold
