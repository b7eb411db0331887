// The Linux rules on the home folder of an ordinary desktop user, built on disk,
// scanned for real and checked against real desktop entries and Flatpak installs:
// exactly the junk is listed, and none of the settings beside it.
#include "JunkFixture.h"
#include "core/scan/ScanEngine.h"

#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>

namespace ringfold::test {
namespace {

// What the desktop and its programs keep, and a cleanup must never touch: the exact
// listing below leaves out every one of them and every folder holding one.
const auto kKeep = words(R"(
    .config/dconf/user .config/gtk-3.0/bookmarks .config/gtk-3.0/settings.ini .config/pulse/cookie
    .config/autostart/org.example.Sync.desktop .config/fontconfig/fonts.conf .config/kdeglobals
    .config/mimeapps.list .config/user-dirs.dirs .config/monitors.xml .config/QtProject.conf
    .config/org.example.Editor/settings.json .local/share/applications/org.example.Editor.desktop
    .local/share/recently-used.xbel .local/share/keyrings/login.keyring .local/share/Trash/files/a
    .local/share/Trash/info/a.trashinfo .local/share/gvfs-metadata/home .local/state/lesshst
    .local/share/flatpak/app/org.example.Flat/current/metadata .local/state/wireplumber/default
    .var/app/org.example.Flat/config/settings.ini .cache/fontconfig/0123-le64.cache-8
    .cache/gstreamer-1.0/registry.x86_64.bin .cache/event-sound-cache.tdb.0123.x86_64-pc-linux-gnu
    .config/org.gone.Player.conf .xsession-errors .bashrc Documents/notes.txt)");
const auto kJunk = words(R"(
    .cache/thumbnails/normal/0123.png .cache/mozilla/firefox/x.default-esr/cache2/entries/F00D
    .cache/pip/http/a/b .cache/org.gone.Player/cover.jpg .config/org.gone.Player/config.toml
    .local/share/org.gone.Player/library.db .local/share/xorg/Xorg.0.log
    .local/share/xorg/Xorg.0.log.old .local/state/tool/tool.log .local/state/tool/tool.log.1
    .var/app/org.example.Editor/data/recent .xsession-errors.old)");

TEST(DesktopHome, ListsTheJunkAndNoneOfTheSettings) {
    FixtureTree f;
    for (const auto* list : {&kKeep, &kJunk})
        for (const std::string& path : *list)
            f.writeFile("ann/" + path, 100);
    const Timestamp now = std::time(nullptr);
    for (const char* stale : {"ann/.cache/mozilla", "ann/.cache/pip"}) {
        const timespec times[2] = {{now - 20 * kDay, 0}, {now - 20 * kDay, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, f.fullPath(stale).c_str(), times, 0), 0) << stale;
    }
    const std::string home = f.fullPath("ann");
    const auto scanned = ScanEngine(ScanSourceKind::favoriteFolder, 2, {2, nullptr}).scan(home);
    ASSERT_TRUE(scanned);

    JunkClassifier c = classifier(home);
    c.now = now;
    const InstalledApplications apps(
        {{home + "/.local/share/applications"}, {home + "/.local/share/flatpak/app"}});
    c.orphans =
        JunkClassifier::findOrphans(JunkClassifier::candidateBundleIDs(*scanned->root, c.places),
                                    [&](const std::string& id) { return apps.installation(id); });
    const auto items = c.classify(*scanned->root);

    std::vector<std::string> listed = described(items);
    for (std::string& line : listed)
        line.erase(0, home.size() + 1);
    std::sort(listed.begin(), listed.end());
    const std::string gone = " orphanedAppSupport Orphaned";
    // clang-format off
    EXPECT_EQ(listed, (std::vector<std::string>{
        ".cache/mozilla appCaches Medium", ".cache/org.gone.Player" + gone,
        ".cache/pip developerCaches Medium", ".cache/thumbnails thumbnails High",
        ".config/org.gone.Player" + gone, ".local/share/org.gone.Player" + gone,
        ".local/share/xorg/Xorg.0.log appLogs Medium",
        ".local/share/xorg/Xorg.0.log.old appLogs High",
        ".local/state/tool/tool.log appLogs Medium", ".local/state/tool/tool.log.1 appLogs High",
        ".var/app/org.example.Editor" + gone, // only Flatpak uses ~/.var/app
        ".xsession-errors.old appLogs High"}));
    // clang-format on
}

} // namespace
} // namespace ringfold::test
