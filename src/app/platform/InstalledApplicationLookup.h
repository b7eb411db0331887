#pragma once
// The orphan lookups of the junk classifier, off the main thread: for each candidate
// folder name, whether an application with that identifier (desktop-entry ID or
// Flatpak ID) is installed. The locations are read from the environment on the
// calling thread; the file-system checks run on the global thread pool at high
// priority, since the user is waiting for the System Junk panel.

#include "core/junk/InstalledApplications.h"

#include <QFuture>

#include <string>
#include <unordered_set>
#include <vector>

namespace ringfold {

class InstalledApplicationLookup {
public:
    using IDSet = std::unordered_set<std::string>;

    /// The candidates with no installed application, as a set. The future finishes
    /// on a pool thread; watch it with a QFutureWatcher to continue on the main thread.
    static QFuture<IDSet> orphanedBundleIDs(std::vector<std::string> candidates);
    /// The same with explicit locations (tests, or a caller that already has them).
    static QFuture<IDSet> orphanedBundleIDs(std::vector<std::string> candidates,
                                            InstalledApplications::Locations locations);
    /// One synchronous question, with the locations of the current environment.
    static bool isInstalled(const std::string& id);
};

} // namespace ringfold
