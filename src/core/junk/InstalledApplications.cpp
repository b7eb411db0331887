#include "core/junk/InstalledApplications.h"

#include <cstdlib>
#include <pwd.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace ringfold {

namespace {

std::string absoluteVariable(const char* name) {
    const char* v = std::getenv(name);
    return v && v[0] == '/' ? std::string(v) : std::string();
}

std::string homeFolder() {
    if (const char* h = std::getenv("HOME"); h && h[0] == '/')
        return h;
    if (const passwd* pw = ::getpwuid(::getuid()); pw && pw->pw_dir)
        return pw->pw_dir;
    return "/";
}

std::vector<std::string> dataDirs() {
    std::vector<std::string> out;
    const char* v = std::getenv("XDG_DATA_DIRS");
    std::string_view list = v && *v ? std::string_view(v) : "/usr/local/share:/usr/share";
    while (!list.empty()) {
        const std::size_t colon = list.find(':');
        const std::string_view dir = list.substr(0, colon);
        if (!dir.empty() && dir[0] == '/') // relative entries are invalid, skip them
            out.emplace_back(dir);
        list = colon == std::string_view::npos ? std::string_view() : list.substr(colon + 1);
    }
    return out;
}

bool exists(const std::string& path, bool wantDirectory) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0)
        return false;
    return wantDirectory ? S_ISDIR(st.st_mode) : S_ISREG(st.st_mode);
}

} // namespace

InstalledApplications::Locations InstalledApplications::Locations::fromEnvironment() {
    const std::string home = homeFolder();
    std::string dataHome = absoluteVariable("XDG_DATA_HOME");
    if (dataHome.empty())
        dataHome = home + "/.local/share";
    std::string flatpakUser = absoluteVariable("FLATPAK_USER_DIR");
    if (flatpakUser.empty())
        flatpakUser = dataHome + "/flatpak";
    std::string flatpakSystem = absoluteVariable("FLATPAK_SYSTEM_DIR");
    if (flatpakSystem.empty())
        flatpakSystem = "/var/lib/flatpak";

    Locations l;
    l.applicationFolders.push_back(dataHome + "/applications");
    for (const std::string& dir : dataDirs())
        l.applicationFolders.push_back(dir + "/applications");
    l.applicationFolders.push_back(flatpakUser + "/exports/share/applications");
    l.applicationFolders.push_back(flatpakSystem + "/exports/share/applications");
    l.applicationFolders.push_back("/var/lib/snapd/desktop/applications");
    l.flatpakAppFolders.push_back(flatpakUser + "/app");
    l.flatpakAppFolders.push_back(flatpakSystem + "/app");
    return l;
}

Installation InstalledApplications::installation(const std::string& id) const {
    // A folder name is one path component; anything else is no identifier.
    if (id.empty() || id == "." || id == ".." || id.find('/') != std::string::npos ||
        id.find('\0') != std::string::npos)
        return Installation::none;
    for (const std::string& folder : m_locations.flatpakAppFolders)
        if (exists(folder + "/" + id, true))
            return Installation::flatpak;
    for (const std::string& folder : m_locations.applicationFolders)
        if (exists(folder + "/" + id + ".desktop", false))
            return Installation::desktopEntry;
    return Installation::none;
}

} // namespace ringfold
