// The rules for the places Linux programs use, on in-memory trees: log names, crash
// reports, cache ages, the XDG variables and which folders count as leftovers.
#include "JunkFixture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

namespace ringfold::test {
namespace {

const std::string kHome = "/home/ann";
constexpr auto high = JunkConfidence::high;
constexpr auto medium = JunkConfidence::medium;

TEST(LinuxRules, LogNames) {
    const std::pair<const char*, std::optional<JunkConfidence>> cases[] = {
        {"app.log", medium},      {"app.log.1", high},         {"Xorg.0.log.old", high},
        {"app.log.gz", high},     {"app.log.2.gz", high},      {"app.log.3.zst", high},
        {"app.log.old.xz", high}, {"history", std::nullopt},   {"app.old", std::nullopt},
        {"log.gz", std::nullopt}, {"app.log.1a", std::nullopt}};
    for (const auto& [name, expected] : cases)
        EXPECT_EQ(JunkClassifier::linuxLogConfidence(name), expected) << name;
}

TEST(LinuxRules, ApplicationIDs) {
    for (const char* id : {"org.gnome.Maps", "net._86box._86Box", "io.github.my-app.Tool2"})
        EXPECT_TRUE(JunkClassifier::looksLikeApplicationID(id)) << id;
    for (const char* name :
         {"gtk-3.0", "gstreamer-1.0", "kde.org", "mimeapps.list", "org..x.y", "org.x.y.",
          "_org.x.y", "9org.x.y", "org.x.2y", "org.x.\xC3\xA4pp", ""})
        EXPECT_FALSE(JunkClassifier::looksLikeApplicationID(name)) << name;
}

TEST(LinuxRules, LogsCrashReportsAndCacheAges) {
    JunkTree t("/");
    t.add("home/ann/.local/state/app.log.1");
    t.add("home/ann/.local/state/tool/app.log");
    t.add("home/ann/.local/state/a/b/too-deep.log");
    t.add("home/ann/.local/state/folder.log/"); // folders are not log files
    t.add("home/ann/.xsession-errors");
    t.add("home/ann/.xsession-errors.old");
    for (const auto& [name, age] : std::map<std::string, Timestamp>{
             {"a-old.crash", 31 * kDay}, {"b-limit.crash", 30 * kDay}, {"c-old.upload", 90 * kDay}})
        t.add("var/crash/_usr_bin_" + name, kNow - age);
    t.add("var/crash/_usr_bin_undated.crash");
    for (const auto& [name, days] : std::map<std::string, Timestamp>{
             {"a-old/", 15}, {"b-limit/", 14}, {"pip/", 400}, {"thumbnails/", 0}})
        t.add("home/ann/.cache/" + name, kNow - days * kDay);
    t.add("home/ann/.cache/undated/");

    const std::vector<std::string> expected = {
        "/home/ann/.local/state/app.log.1 appLogs High",
        "/home/ann/.local/state/tool/app.log appLogs Medium",
        "/home/ann/.xsession-errors.old appLogs High",
        "/var/crash/_usr_bin_a-old.crash diagnosticReports High",
        "/var/crash/_usr_bin_b-limit.crash diagnosticReports Medium",
        "/var/crash/_usr_bin_undated.crash diagnosticReports Medium",
        "/home/ann/.cache/a-old appCaches Medium",
        "/home/ann/.cache/thumbnails thumbnails High",
        "/home/ann/.cache/pip developerCaches Medium", // once, not also as an old cache
    };
    EXPECT_EQ(described(classifier(kHome).classify(*t.root())), expected);
}

TEST(LinuxRules, XdgVariablesMoveTheCacheFolder) {
    ::setenv("HOME", "/home/ann", 1);
    ::setenv("XDG_CACHE_HOME", "/fast/cache/", 1);
    ::setenv("XDG_STATE_HOME", "relative/state", 1); // ignored: not absolute
    ::setenv("XDG_DATA_HOME", "", 1);
    ::unsetenv("XDG_CONFIG_HOME");
    const JunkPlaces p = JunkPlaces::fromEnvironment();
    for (const char* v : {"XDG_CACHE_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME"})
        ::unsetenv(v);
    EXPECT_EQ(p.stateHome, "/home/ann/.local/state");
    EXPECT_EQ(p.configHome, "/home/ann/.config");
    EXPECT_EQ(p.dataHome, "/home/ann/.local/share");

    JunkTree t("/");
    t.add("fast/cache/thumbnails/");
    t.add("home/ann/.cache/thumbnails/"); // not the cache folder any more
    JunkClassifier c = classifier(kHome);
    c.places = p;
    EXPECT_EQ(described(c.classify(*t.root())),
              std::vector<std::string>{"/fast/cache/thumbnails thumbnails High"});
}

// Which folders of uninstalled applications are listed, with the platform's answers
// faked per identifier.
TEST(LinuxRules, LeftoversOfUninstalledApplications) {
    JunkTree t(kHome);
    for (const char* path :
         {".var/app/org.native.App/", ".var/app/org.flat.App/", ".var/app/org.gone.App/",
          ".config/org.native.App/", ".config/org.gone.App/", ".config/gtk-3.0/",
          ".config/org.gone.App.conf", ".local/share/org.flat.App/", ".local/share/org.gone.App/"})
        t.add(path);
    t.add(".cache/org.gone.App/", kNow);
    t.add(".cache/org.gone.App.x86_64", kNow); // a file, whatever its name says

    const std::map<std::string, Installation> installed = {
        {"org.native.App", Installation::desktopEntry}, {"org.flat.App", Installation::flatpak}};
    std::vector<std::string> asked;
    const auto orphans = JunkClassifier::findOrphans(
        JunkClassifier::candidateBundleIDs(*t.root(), JunkPlaces::forHome(kHome)),
        [&](const std::string& id) {
            asked.push_back(id);
            return installed.count(id) ? installed.at(id) : Installation::none;
        });
    EXPECT_EQ(asked, (std::vector<std::string>{"org.native.App", "org.flat.App", "org.gone.App"}));

    const std::string gone = " orphanedAppSupport Orphaned";
    const std::vector<std::string> expected = {
        kHome + "/.cache/org.gone.App" + gone, kHome + "/.var/app/org.native.App" + gone,
        kHome + "/.var/app/org.gone.App" + gone, kHome + "/.config/org.gone.App" + gone,
        kHome + "/.local/share/org.gone.App" + gone};
    EXPECT_EQ(described(classifier(kHome, orphans).classify(*t.root())), expected);
}

} // namespace
} // namespace ringfold::test
