// The rules for the places Linux programs use: XDG cache and state folders, developer
// caches, crash reports and per-application data of uninstalled programs.
#include "JunkFixture.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace ringfold {
namespace {

using namespace testing;

const std::string kHome = "/home/ann";

TEST(LinuxRules, CachesThumbnailsAndDeveloperCaches) {
    SyntheticTree t("/home/ann");
    t.addFolder(".cache/thumbnails", kNow); // fresh, still listed
    t.addFolder(".cache/old-app", kNow - 15 * kDay);
    t.addFolder(".cache/at-limit", kNow - 14 * kDay);
    t.addFolder(".cache/fresh-app", kNow - kDay);
    t.addFolder(".cache/undated");
    t.addFolder(".cache/pip", kNow - 400 * kDay); // a developer cache, listed once
    t.addFolder(".cache/go-build", kNow);
    t.addFolder(".cache/bazel");
    t.addFolder(".npm/_cacache");
    t.addFolder(".npm/_logs");
    t.addFolder(".cargo/registry/cache");
    t.addFolder(".cargo/registry/src");
    t.addFolder(".m2/repository");
    t.addFolder(".ccache");

    const std::vector<std::string> expected = {
        "/home/ann/.cache/thumbnails thumbnails High",
        "/home/ann/.cache/old-app appCaches Medium",
        "/home/ann/.cache/pip developerCaches Medium",
        "/home/ann/.npm/_cacache developerCaches Medium",
        "/home/ann/.cargo/registry/cache developerCaches Medium",
        "/home/ann/.m2/repository developerCaches Medium",
        "/home/ann/.cache/go-build developerCaches Medium",
        "/home/ann/.ccache developerCaches Medium",
        "/home/ann/.cache/bazel developerCaches Medium",
    };
    EXPECT_EQ(described(classifier(kHome).classify(*t.root())), expected);
}

TEST(LinuxRules, LogsTwoLevelsDeepAndCrashReports) {
    SyntheticTree t("/");
    t.add("home/ann/.local/state/app.log");
    t.add("home/ann/.local/state/app.log.1");
    t.add("home/ann/.local/state/history"); // not a log
    t.add("home/ann/.local/state/wireplumber/wp.log.2.gz");
    t.add("home/ann/.local/state/wireplumber/wp.log.gz");
    t.add("home/ann/.local/state/a/b/too-deep.log");
    t.addFolder("home/ann/.local/state/folder.log"); // folders are not log files
    t.add("home/ann/.local/share/xorg/Xorg.0.log");
    t.add("home/ann/.local/share/xorg/Xorg.0.log.old");
    t.add("home/ann/.xsession-errors.old");
    t.add("home/ann/.xsession-errors");
    t.add("var/crash/_usr_bin_app.1000.crash", kNow - 31 * kDay);
    t.add("var/crash/_usr_bin_other.0.crash", kNow - 30 * kDay);
    t.add("var/crash/_usr_bin_undated.0.crash");
    t.add("var/crash/_usr_bin_app.1000.upload", kNow - 90 * kDay);

    const std::vector<std::string> expected = {
        "/home/ann/.local/state/app.log appLogs Medium",
        "/home/ann/.local/state/app.log.1 appLogs High",
        "/home/ann/.local/state/wireplumber/wp.log.gz appLogs High",
        "/home/ann/.local/share/xorg/Xorg.0.log appLogs Medium",
        "/home/ann/.xsession-errors.old appLogs High",
        "/var/crash/_usr_bin_app.1000.crash diagnosticReports High",
        "/var/crash/_usr_bin_other.0.crash diagnosticReports Medium",
        "/var/crash/_usr_bin_undated.0.crash diagnosticReports Medium",
    };
    EXPECT_EQ(described(classifier(kHome).classify(*t.root())), expected);
}

TEST(LinuxRules, OrphanedApplicationData) {
    SyntheticTree t("/home/ann");
    t.addFolder(".var/app/org.gone.Player");
    t.addFolder(".var/app/org.here.Editor");
    t.addFolder(".cache/org.gone.Player", kNow);
    t.addFolder(".cache/org.here.Editor", kNow);
    t.addFolder(".config/org.gone.Player");
    t.addFolder(".config/autostart");
    t.addFolder(".config/7z.conf");
    t.addFolder(".local/share/org.gone.Player");
    t.addFolder(".local/share/applications");

    const auto c = classifier(kHome);
    const std::vector<std::string> candidates = {"org.gone.Player", "org.here.Editor",
                                                 "org.gone.Player", "org.here.Editor",
                                                 "org.gone.Player", "org.gone.Player"};
    EXPECT_EQ(JunkClassifier::candidateBundleIDs(*t.root(), c.places), candidates);
    EXPECT_TRUE(c.classify(*t.root()).empty());

    const std::vector<std::string> expected = {
        "/home/ann/.cache/org.gone.Player orphanedAppSupport Orphaned",
        "/home/ann/.var/app/org.gone.Player orphanedAppSupport Orphaned",
        "/home/ann/.config/org.gone.Player orphanedAppSupport Orphaned",
        "/home/ann/.local/share/org.gone.Player orphanedAppSupport Orphaned",
    };
    EXPECT_EQ(described(classifier(kHome, {"org.gone.Player", "autostart"}).classify(*t.root())),
              expected);
}

TEST(LinuxRules, XdgVariablesMoveTheCacheAndStateFolders) {
    ::setenv("HOME", "/home/ann", 1);
    ::setenv("XDG_CACHE_HOME", "/fast/cache/", 1);
    ::setenv("XDG_STATE_HOME", "relative/state", 1); // ignored: not absolute
    ::unsetenv("XDG_CONFIG_HOME");
    ::setenv("XDG_DATA_HOME", "", 1);
    const JunkPlaces p = JunkPlaces::fromEnvironment();
    ::unsetenv("XDG_CACHE_HOME");
    ::unsetenv("XDG_STATE_HOME");
    ::unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(p.home, "/home/ann");
    EXPECT_EQ(p.cacheHome, "/fast/cache");
    EXPECT_EQ(p.stateHome, "/home/ann/.local/state");
    EXPECT_EQ(p.configHome, "/home/ann/.config");
    EXPECT_EQ(p.dataHome, "/home/ann/.local/share");

    SyntheticTree t("/");
    t.addFolder("fast/cache/thumbnails");
    t.addFolder("fast/cache/pip");
    t.addFolder("home/ann/.cache/thumbnails"); // not the cache folder any more
    JunkClassifier c = classifier(kHome);
    c.places = p;
    const std::vector<std::string> expected = {
        "/fast/cache/thumbnails thumbnails High",
        "/fast/cache/pip developerCaches Medium",
    };
    EXPECT_EQ(described(c.classify(*t.root())), expected);
}

TEST(LinuxRules, BothRuleSetsRunOnOneTree) {
    SyntheticTree t("/home/ann");
    t.add("Library/Logs/system.log.0", kNow);
    t.addFolder(".cache/thumbnails");
    const auto items = classifier(kHome).classify(*t.root());
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0].category, JunkCategory::appLogs);
    EXPECT_EQ(items[1].category, JunkCategory::thumbnails);
    // Items keep the tree alive on their own.
    EXPECT_EQ(items[1].node->url(), "/home/ann/.cache/thumbnails");
}

} // namespace
} // namespace ringfold
