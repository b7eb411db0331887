// The rules for the places Linux programs keep logs, caches and per-application data.
#include "core/junk/JunkClassifier.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <utility>

namespace ringfold {

namespace {

// Download and build caches of developer tools, each listed as one item. Paths are
// relative to the home folder, or to $XDG_CACHE_HOME for the ones the tools keep there.
struct DeveloperCache {
    bool inCacheHome;
    const char* path;
};
constexpr DeveloperCache kDeveloperCaches[] = {{true, "pip"},
                                               {false, ".npm/_cacache"},
                                               {true, "yarn"},
                                               {false, ".cargo/registry/cache"},
                                               {false, ".gradle/caches"},
                                               {false, ".m2/repository"},
                                               {true, "go-build"},
                                               {false, ".ccache"},
                                               {true, "ccache"},
                                               {true, "bazel"}};

std::string trimmed(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

// The base-directory rules: a variable that is unset, empty or relative is ignored.
std::string xdgDirectory(const char* variable, const std::string& fallback) {
    const char* value = std::getenv(variable);
    if (value && value[0] == '/')
        return trimmed(value);
    return fallback;
}

bool isCacheHomeDeveloperCache(std::string_view name) {
    for (const DeveloperCache& c : kDeveloperCaches)
        if (c.inCacheHome && name == c.path)
            return true;
    return false;
}

} // namespace

JunkPlaces JunkPlaces::forHome(const std::string& home) {
    JunkPlaces p;
    p.home = trimmed(home);
    const std::string base = p.home == "/" ? std::string() : p.home;
    p.cacheHome = base + "/.cache";
    p.configHome = base + "/.config";
    p.dataHome = base + "/.local/share";
    p.stateHome = base + "/.local/state";
    return p;
}

JunkPlaces JunkPlaces::fromEnvironment() {
    std::string home;
    if (const char* h = std::getenv("HOME"); h && h[0] == '/')
        home = h;
    else if (const passwd* pw = ::getpwuid(::getuid()); pw && pw->pw_dir)
        home = pw->pw_dir;
    else
        home = "/";
    JunkPlaces p = forHome(home);
    p.cacheHome = xdgDirectory("XDG_CACHE_HOME", p.cacheHome);
    p.configHome = xdgDirectory("XDG_CONFIG_HOME", p.configHome);
    p.dataHome = xdgDirectory("XDG_DATA_HOME", p.dataHome);
    p.stateHome = xdgDirectory("XDG_STATE_HOME", p.stateHome);
    return p;
}

void JunkClassifier::addLinuxItems(const FileNode& root, std::vector<JunkItem>& out) const {
    addLinuxLogs(root, out);
    addLinuxCaches(root, out);
    addLinuxOrphans(root, out);
}

void JunkClassifier::addLinuxLogs(const FileNode& root, std::vector<JunkItem>& out) const {
    auto addLog = [&](const FileNode* file) {
        if (file->isDirectory())
            return;
        if (const auto confidence = linuxLogConfidence(file->name()))
            out.push_back(JunkItem{file->shared(), JunkCategory::appLogs, *confidence});
    };
    // Programs keep their logs directly in these folders or one level down
    // (~/.local/state/<program>/<name>.log).
    for (const std::string& folderPath : {places.stateHome, places.dataHome + "/xorg"}) {
        const FileNode* folder = findNode(root, folderPath);
        if (!folder)
            continue;
        for (const FileNode* child : folder->children()) {
            if (child->isDirectory()) {
                for (const FileNode* grandchild : child->children())
                    addLog(grandchild);
            } else {
                addLog(child);
            }
        }
    }
    if (const FileNode* old = findNode(root, places.home + "/.xsession-errors.old"))
        out.push_back(JunkItem{old->shared(), JunkCategory::appLogs, JunkConfidence::high});

    if (const FileNode* crash = findNode(root, places.crashReports)) {
        for (const FileNode* report : crash->children()) {
            const std::string_view name = report->name();
            if (name.size() < 6 || name.substr(name.size() - 6) != ".crash")
                continue;
            out.push_back(JunkItem{report->shared(), JunkCategory::diagnosticReports,
                                   isOlder(*report, diagnosticReportsMaxAge)
                                       ? JunkConfidence::high
                                       : JunkConfidence::medium});
        }
    }
}

void JunkClassifier::addLinuxCaches(const FileNode& root, std::vector<JunkItem>& out) const {
    if (const FileNode* cache = findNode(root, places.cacheHome)) {
        for (const FileNode* child : cache->children()) {
            const std::string_view name = child->name();
            if (name == "thumbnails") {
                // Regenerated on demand by every file manager.
                out.push_back(
                    JunkItem{child->shared(), JunkCategory::thumbnails, JunkConfidence::high});
            } else if (isCacheHomeDeveloperCache(name)) {
                continue; // listed below as a developer cache
            } else if (isOrphanedAppFolder(*child, false)) {
                out.push_back(JunkItem{child->shared(), JunkCategory::orphanedAppSupport,
                                       JunkConfidence::orphaned});
            } else if (isOlder(*child, cachesDerivedDataMaxAge)) {
                out.push_back(
                    JunkItem{child->shared(), JunkCategory::appCaches, JunkConfidence::medium});
            }
        }
    }
    for (const DeveloperCache& c : kDeveloperCaches) {
        const std::string path = (c.inCacheHome ? places.cacheHome : places.home) + "/" + c.path;
        if (const FileNode* n = findNode(root, path))
            out.push_back(
                JunkItem{n->shared(), JunkCategory::developerCaches, JunkConfidence::medium});
    }
}

// Only a folder named by an application ID is an application's data: the files beside
// them (mimeapps.list, user-dirs.dirs, monitors.xml, recently-used.xbel) are the
// desktop's own settings, whatever their names look like.
bool JunkClassifier::isOrphanedAppFolder(const FileNode& node, bool flatpakData) const {
    if (!node.isDirectory() || !looksLikeApplicationID(node.name()))
        return false;
    const auto& ids = flatpakData ? orphans.flatpakIDs : orphans.bundleIDs;
    return ids.count(std::string(node.name())) > 0;
}

void JunkClassifier::addLinuxOrphans(const FileNode& root, std::vector<JunkItem>& out) const {
    // ~/.cache was handled with the caches; its orphans keep their place there.
    const std::pair<std::string, bool> folders[] = {
        {places.home + "/.var/app", true}, {places.configHome, false}, {places.dataHome, false}};
    for (const auto& [path, flatpakData] : folders) {
        const FileNode* folder = findNode(root, path);
        if (!folder)
            continue;
        for (const FileNode* child : folder->children())
            if (isOrphanedAppFolder(*child, flatpakData))
                out.push_back(JunkItem{child->shared(), JunkCategory::orphanedAppSupport,
                                       JunkConfidence::orphaned});
    }
}

} // namespace ringfold
