// The rules for a home folder that holds a Library folder, the log-name rule and the
// lookup of nodes by location.
#include "JunkFixture.h"

#include <gtest/gtest.h>

namespace ringfold {
namespace {

using namespace testing;

const std::string kHome = "/Users/ann";

TEST(LogNameRule, RotatedAndCompressedLogsAreHighEverythingElseMedium) {
    for (const char* name : {"system.log.0", "system.log.+3", "system.log.-3", "app.log.gz",
                             "app.log.bz2", "a.b.log.12", ".log.7", "x.log.9223372036854775807",
                             "x.log.-9223372036854775808"})
        EXPECT_EQ(JunkClassifier::logNameConfidence(name), JunkConfidence::high) << name;
    for (const char* name : {"install.log", "x.log.", "x.log.1a", "x.1.log", "MyApp", "x.log.+",
                             "x.log.+-3", "x.LOG.1", "x.log.gz.1", "x.log.9223372036854775808",
                             "x.log. 1"})
        EXPECT_EQ(JunkClassifier::logNameConfidence(name), JunkConfidence::medium) << name;
}

TEST(FindNode, WalksDownFromRootsAtOrAboveTheTarget) {
    SyntheticTree t("/Users");
    FileNode* logs = t.addFolder("ann/Library/Logs");
    EXPECT_EQ(JunkClassifier::findNode(*t.root(), "/Users/ann/Library/Logs"), logs);
    EXPECT_EQ(JunkClassifier::findNode(*t.root(), "//Users//ann/Library/Logs/"), logs);
    EXPECT_EQ(JunkClassifier::findNode(*t.root(), "/Users"), t.root());
    EXPECT_EQ(JunkClassifier::findNode(*t.root(), "/Users/ann/library/Logs"), nullptr);
    EXPECT_EQ(JunkClassifier::findNode(*t.root(), "/Users/bob"), nullptr);
    EXPECT_EQ(JunkClassifier::findNode(*t.root(), "/Volumes/ann/Library"), nullptr);
    // A root below the target never finds it.
    EXPECT_EQ(JunkClassifier::findNode(*logs, "/Users/ann"), nullptr);

    SyntheticTree slash("/");
    FileNode* lib = slash.addFolder("Users/ann/Library");
    EXPECT_EQ(JunkClassifier::findNode(*slash.root(), "/Users/ann/Library"), lib);
    EXPECT_EQ(JunkClassifier::findNode(*slash.root(), "/"), slash.root());
}

TEST(LibraryRules, TreeWithoutTheHomeLibraryYieldsNothing) {
    SyntheticTree other("/Volumes/Backup");
    other.add("Users/ann/Library/Logs/system.log.0", kNow);
    other.add("Users/ann/Library/Containers/com.example.App/x", kNow);
    const auto c = classifier(kHome, {"com.example.App"});
    EXPECT_TRUE(c.classify(*other.root()).empty());
    EXPECT_TRUE(JunkClassifier::candidateBundleIDs(*other.root(), c.places).empty());

    SyntheticTree inside("/Users/ann/Documents");
    inside.add("Library/Logs/system.log.0", kNow);
    EXPECT_TRUE(c.classify(*inside.root()).empty());
}

TEST(LibraryRules, LogsAndDiagnosticReports) {
    SyntheticTree t("/Users/ann");
    t.add("Library/Logs/system.log.0", kNow);
    t.add("Library/Logs/install.log", kNow);
    t.addFolder("Library/Logs/MyApp", kNow);
    t.add("Library/Logs/MyApp/deep.log.1", kNow - 100 * kDay);
    t.add("Library/Logs/DiagnosticReports/undated.ips");
    t.add("Library/Logs/DiagnosticReports/at-limit.ips", kNow - 30 * kDay);
    t.add("Library/Logs/DiagnosticReports/past-limit.ips", kNow - 30 * kDay - 1);
    t.add("Library/Logs/DiagnosticReports/future.ips", kNow + 500);

    const std::vector<std::string> expected = {
        "/Users/ann/Library/Logs/system.log.0 appLogs High",
        "/Users/ann/Library/Logs/install.log appLogs Medium",
        "/Users/ann/Library/Logs/MyApp appLogs Medium",
        "/Users/ann/Library/Logs/DiagnosticReports/undated.ips diagnosticReports Medium",
        "/Users/ann/Library/Logs/DiagnosticReports/at-limit.ips diagnosticReports Medium",
        "/Users/ann/Library/Logs/DiagnosticReports/past-limit.ips diagnosticReports High",
        "/Users/ann/Library/Logs/DiagnosticReports/future.ips diagnosticReports Medium",
    };
    EXPECT_EQ(described(classifier(kHome).classify(*t.root())), expected);
}

TEST(LibraryRules, SavedStateCachesAndDeveloperFolders) {
    SyntheticTree t("/Users/ann");
    t.addFolder("Library/Saved Application State/com.a.savedState");
    t.addFolder("Library/Saved Application State/Foo.savedstate");
    t.add("Library/Saved Application State/notes.txt");
    t.addFolder("Library/Caches/com.old.Cache", kNow - 15 * kDay);
    t.addFolder("Library/Caches/com.fresh.Cache", kNow - 86400);
    t.addFolder("Library/Caches/com.atlimit.Cache", kNow - 14 * kDay);
    t.addFolder("Library/Caches/undated");
    t.addFolder("Library/Developer/Xcode/DerivedData/Old-abc", kNow - 20 * kDay);
    t.addFolder("Library/Developer/Xcode/DerivedData/New-def", kNow);
    t.addFolder("Library/Developer/Xcode/tvOS DeviceSupport/17.0", kNow);
    t.addFolder("Library/Developer/Xcode/iOS DeviceSupport/16.4");
    t.addFolder("Library/Developer/Xcode/iOS DeviceSupport/17.1", kNow);
    t.addFolder("Library/Developer/CoreSimulator/Caches/dyld", kNow);
    t.add("Library/Developer/CoreSimulator/Caches/fresh.bin");

    const std::string lib = "/Users/ann/Library/";
    const std::vector<std::string> expected = {
        lib + "Saved Application State/com.a.savedState savedAppState High",
        lib + "Caches/com.old.Cache appCaches Medium",
        lib + "Developer/Xcode/DerivedData/Old-abc xcodeDerivedData Medium",
        lib + "Developer/Xcode/iOS DeviceSupport/16.4 xcodeDeviceSupport Medium",
        lib + "Developer/Xcode/iOS DeviceSupport/17.1 xcodeDeviceSupport Medium",
        lib + "Developer/Xcode/tvOS DeviceSupport/17.0 xcodeDeviceSupport Medium",
        lib + "Developer/CoreSimulator/Caches/dyld coreSimulatorCaches High",
        lib + "Developer/CoreSimulator/Caches/fresh.bin coreSimulatorCaches High",
    };
    EXPECT_EQ(described(classifier(kHome).classify(*t.root())), expected);
}

TEST(LibraryRules, OrphansComeOnlyFromTheOrphanSet) {
    SyntheticTree t("/Users");
    t.addFolder("ann/Library/Caches/com.gone.App", kNow); // modified today
    t.addFolder("ann/Library/Caches/com.here.App", kNow);
    t.addFolder("ann/Library/Containers/com.gone.App");
    t.addFolder("ann/Library/Containers/.hidden");
    t.addFolder("ann/Library/Containers/7zip.tool");
    t.addFolder("ann/Library/Containers/MyContainer");
    t.addFolder("ann/Library/Containers/\xC3\x84pp.tool"); // "Äpp.tool"

    const std::vector<std::string> candidates = {"com.gone.App", "\xC3\x84pp.tool", "com.gone.App",
                                                 "com.here.App"};
    const auto c = classifier(kHome);
    EXPECT_EQ(JunkClassifier::candidateBundleIDs(*t.root(), c.places), candidates);
    EXPECT_TRUE(c.classify(*t.root()).empty()) << "an empty orphan set lists no leftovers";

    // Even names that are not candidates stay out when the set happens to hold them.
    const auto withOrphans =
        classifier(kHome, {"com.gone.App", "7zip.tool", "MyContainer", ".hidden"});
    const std::vector<std::string> expected = {
        "/Users/ann/Library/Caches/com.gone.App orphanedAppSupport Orphaned",
        "/Users/ann/Library/Containers/com.gone.App orphanedAppSupport Orphaned",
    };
    EXPECT_EQ(described(withOrphans.classify(*t.root())), expected);
}

TEST(OrphanLookup, AsksOncePerNameAndKeepsTheUninstalled) {
    std::vector<std::string> asked;
    const auto orphans = JunkClassifier::orphanedBundleIDsFrom({"com.a", "com.b", "com.a", "org.c"},
                                                               [&](const std::string& id) {
                                                                   asked.push_back(id);
                                                                   return id == "com.b";
                                                               });
    EXPECT_EQ(orphans, (std::unordered_set<std::string>{"com.a", "org.c"}));
    EXPECT_EQ(asked, (std::vector<std::string>{"com.a", "com.b", "org.c"}));
    const auto none = [](const std::string&) { return false; };
    EXPECT_TRUE(JunkClassifier::orphanedBundleIDsFrom({}, none).empty());
}

TEST(JunkCategories, RawValuesRoundTripInPanelOrder) {
    EXPECT_EQ(kAllJunkCategories.front(), JunkCategory::appLogs);
    EXPECT_EQ(kAllJunkCategories.back(), JunkCategory::orphanedAppSupport);
    for (JunkCategory c : kAllJunkCategories)
        EXPECT_EQ(junkCategoryFromRawValue(rawValue(c)), c);
    EXPECT_LT(JunkConfidence::high, JunkConfidence::medium);
    EXPECT_LT(JunkConfidence::medium, JunkConfidence::orphaned);
}

} // namespace
} // namespace ringfold
