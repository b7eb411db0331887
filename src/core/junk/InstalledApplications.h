#pragma once
// Answers "is an application with this identifier installed?" the freedesktop way:
// a desktop entry `<id>.desktop` in one of the `applications` folders (user and
// system data folders, Flatpak exports, Snap's desktop folder), or a Flatpak
// installation `<id>` in the user's or the system's Flatpak folder. The identifier
// is taken as it is, case and all, like a bundle identifier.
//
// Plain file-system lookups (a few stat calls per question), no Qt. The locations
// are read from the environment once, by whoever builds the object; afterwards the
// object is read-only and may be used from any thread.

#include <string>
#include <vector>

namespace ringfold {

/// How an application with a given identifier is installed, if at all. A Flatpak
/// installation wins over a desktop entry (Flatpak exports one of its own).
enum class Installation { none, desktopEntry, flatpak };

class InstalledApplications {
public:
    struct Locations {
        /// Folders holding desktop entries, in lookup order.
        std::vector<std::string> applicationFolders;
        /// Folders whose subfolders are installed Flatpak applications.
        std::vector<std::string> flatpakAppFolders;

        /// $XDG_DATA_HOME and $XDG_DATA_DIRS (with their defaults), the user and
        /// system Flatpak installations ($FLATPAK_USER_DIR, $FLATPAK_SYSTEM_DIR,
        /// default ~/.local/share/flatpak and /var/lib/flatpak) and
        /// /var/lib/snapd/desktop/applications.
        static Locations fromEnvironment();
    };

    explicit InstalledApplications(Locations locations) : m_locations(std::move(locations)) {}

    Installation installation(const std::string& id) const;
    bool isInstalled(const std::string& id) const { return installation(id) != Installation::none; }
    const Locations& locations() const { return m_locations; }

private:
    Locations m_locations;
};

} // namespace ringfold
