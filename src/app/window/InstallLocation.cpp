#include "app/window/InstallLocation.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ringfold {

namespace {

std::string parentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos || slash == 0 ? std::string("/") : path.substr(0, slash);
}

std::string environment(const char* name) {
    const char* v = std::getenv(name);
    return v ? v : "";
}

} // namespace

InstallLocation
classifyInstallLocation(const std::string& path, const std::string& home, bool appImage,
                        const std::function<bool(const std::string&)>& hasBuildCache) {
    std::string h = home;
    while (h.size() > 1 && h.back() == '/')
        h.pop_back();
    if (appImage && (path.starts_with("/tmp/") || path.starts_with(h + "/Downloads/")))
        return InstallLocation::diskImage;
    if (path.find("/.mount_") != std::string::npos)
        return InstallLocation::translocated;
    const std::string folder = parentOf(path);
    if (hasBuildCache(folder) || hasBuildCache(parentOf(folder)))
        return InstallLocation::developmentBuild;
    for (const char* prefix : {"/usr/", "/opt/", "/app/", "/snap/"})
        if (path.starts_with(prefix))
            return InstallLocation::applications;
    if (path.starts_with(h + "/Applications/") || path.starts_with(h + "/.local/"))
        return InstallLocation::applications;
    return InstallLocation::other;
}

InstallLocation currentInstallLocation() {
    std::string path = environment("APPIMAGE");
    const bool appImage = !path.empty();
    if (!appImage) {
        char exe[PATH_MAX];
        const ssize_t n = ::readlink("/proc/self/exe", exe, sizeof exe);
        path.assign(exe, n > 0 ? std::size_t(n) : 0);
    }
    return classifyInstallLocation(path, environment("HOME"), appImage, [](const std::string& dir) {
        struct stat st {};
        return ::stat((dir + "/CMakeCache.txt").c_str(), &st) == 0;
    });
}

bool showsRelocationNotice(InstallLocation location) {
    return location == InstallLocation::diskImage || location == InstallLocation::translocated;
}

bool filesAreWalledOff(const std::string& home) {
    for (const char* sub : {"", "/Documents", "/Downloads"}) {
        DIR* dir = ::opendir((home + sub).c_str());
        if (!dir) {
            if (errno == EACCES || errno == EPERM)
                return true;
            continue; // a missing standard folder says nothing
        }
        errno = 0;
        const bool listed = ::readdir(dir) != nullptr || errno == 0;
        const int error = errno;
        ::closedir(dir);
        if (!listed && (error == EACCES || error == EPERM))
            return true;
    }
    return false;
}

bool runsInSandbox() {
    return std::getenv("FLATPAK_ID") || std::getenv("SNAP") || ::access("/.flatpak-info", F_OK) == 0;
}

} // namespace ringfold
