#pragma once
// Finds likely junk in a scanned tree: logs, crash reports, saved application state,
// caches, developer-tool caches and leftovers of uninstalled applications.
//
// Two rule sets run over the same tree: one for a `Library` folder in the home
// folder, and one for the places Linux programs use ($XDG_CACHE_HOME, $XDG_STATE_HOME,
// ~/.var/app, /var/crash, ...). Only direct children of known folders become items
// (the log folders are looked into two levels deep), so a run touches a handful of
// folders, never the whole tree.
//
// A classifier is built for one run and discarded. It reads names, kinds, children and
// modification dates of the tree and nothing on disk: which applications are gone
// comes in as `orphans`, computed beforehand by `findOrphans` from the platform's
// answers for `candidateBundleIDs`. Ages are in seconds, dates in seconds since 1970.
// Threads: call `classify` and `candidateBundleIDs` where the tree is not being
// patched (the main thread in the desktop program).

#include "core/junk/InstalledApplications.h"
#include "core/junk/JunkCategory.h"
#include "core/model/FileNode.h"
#include "core/model/Types.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace ringfold {

/// Where the junk lives for one user. Absolute paths without a trailing "/".
struct JunkPlaces {
    std::string home;
    std::string cacheHome;  // $XDG_CACHE_HOME, default home/.cache
    std::string configHome; // $XDG_CONFIG_HOME, default home/.config
    std::string dataHome;   // $XDG_DATA_HOME, default home/.local/share
    std::string stateHome;  // $XDG_STATE_HOME, default home/.local/state
    std::string crashReports = "/var/crash";

    /// The default places of a home folder, ignoring the environment.
    static JunkPlaces forHome(const std::string& home);
    /// The places of the current user: $HOME (or the password database) and the XDG
    /// variables; relative XDG values are ignored, as the base-directory rules ask.
    static JunkPlaces fromEnvironment();
};

class JunkClassifier {
public:
    using InstallationQuery = std::function<Installation(const std::string& id)>;

    /// Identifiers whose applications are gone, in the two senses the rules need.
    struct Orphans {
        /// No application at all: no desktop entry and no Flatpak installation.
        std::unordered_set<std::string> bundleIDs;
        /// No Flatpak installation. Only Flatpak keeps data in ~/.var/app, so a native
        /// program of the same identifier does not keep that folder alive.
        std::unordered_set<std::string> flatpakIDs;
    };

    JunkPlaces places;
    /// The moment the run started, seconds since 1970.
    Timestamp now = 0;
    /// Crash and diagnostic reports older than this are high confidence.
    double diagnosticReportsMaxAge = 30 * 86400.0;
    /// Caches and build products older than this are listed.
    double cachesDerivedDataMaxAge = 14 * 86400.0;
    Orphans orphans;

    /// The items in rule order. Nothing when the tree holds none of the known places.
    std::vector<JunkItem> classify(const FileNode& root) const;

    /// The node at an absolute path, walking down from the root by exact,
    /// case-sensitive names; null when the path is not in the tree.
    static FileNode* findNode(const FileNode& root, std::string_view path);
    /// The first child with exactly this name; null when none.
    static FileNode* childNamed(const FileNode& folder, std::string_view name);
    /// Confidence of an item found in Library/Logs, from its name alone: rotated
    /// ("system.log.0") and compressed ("app.log.gz") logs are high, the rest medium.
    static JunkConfidence logNameConfidence(std::string_view name);
    /// The same for a file in the Linux log folders, where anything that is not named
    /// like a log is left alone (empty). Also rotated there: "Xorg.0.log.old", and
    /// compressed rotations such as "app.log.1.gz" or ".xz"/".zst" ones.
    static std::optional<JunkConfidence> linuxLogConfidence(std::string_view name);
    /// Not empty, not starting with ".", a letter first and at least one ".".
    static bool looksLikeBundleID(std::string_view name);
    /// A reverse-DNS application ID as desktop entries and Flatpak use them: at least
    /// three "."-separated parts of ASCII letters, digits, "_" and "-", each starting
    /// with a letter or "_" ("org.gnome.Maps"; not "gtk-3.0" or "mimeapps.list").
    static bool looksLikeApplicationID(std::string_view name);
    /// Seconds in a whole number of days, as the settings give the two ages.
    static double daysToSeconds(int days) { return days * 24.0 * 3600.0; }

    /// Names that may name an application, in tree order, duplicates kept: the
    /// identifier-like children of Library/Containers and Library/Caches, and the
    /// folders named by an application ID in ~/.var/app and in the cache, config and
    /// data folders.
    static std::vector<std::string> candidateBundleIDs(const FileNode& root,
                                                       const JunkPlaces& places);
    /// Asks `installation` once per distinct candidate. Slow (one platform query per
    /// candidate): callers run it away from the main thread.
    static Orphans findOrphans(const std::vector<std::string>& candidates,
                               const InstallationQuery& installation);

private:
    bool isOlder(const FileNode& node, double limit) const;
    bool isOrphan(std::string_view name) const;
    bool isOrphanedAppFolder(const FileNode& node, bool flatpakData) const;
    void addLibraryItems(const FileNode& root, std::vector<JunkItem>& out) const;
    void addLinuxItems(const FileNode& root, std::vector<JunkItem>& out) const;
    void addLinuxLogs(const FileNode& root, std::vector<JunkItem>& out) const;
    void addLinuxCaches(const FileNode& root, std::vector<JunkItem>& out) const;
    void addLinuxOrphans(const FileNode& root, std::vector<JunkItem>& out) const;
};

} // namespace ringfold
