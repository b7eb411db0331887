// The rules for a home folder that holds a Library folder, the log-name rule and the
// lookup of nodes by location.
#include "JunkFixture.h"

#include <gtest/gtest.h>

namespace ringfold::test {
namespace {

const std::string kHome = "/Users/ann";

TEST(LogNameRule, RotatedAndCompressedLogsAreHighEverythingElseMedium) {
    for (const char* name :
         {"system.log.0", "system.log.+3", "system.log.-3", "app.log.gz", "app.log.bz2",
          "a.b.log.12", ".log.7", "x.log.9223372036854775807", "x.log.-9223372036854775808"})
        EXPECT_EQ(JunkClassifier::logNameConfidence(name), JunkConfidence::high) << name;
    for (const char* name :
         {"install.log", "x.log.", "x.log.1a", "x.1.log", "MyApp", "x.log.+", "x.log.+-3",
          "x.LOG.1", "x.log.gz.1", "x.log.9223372036854775808", "x.log. 1", "Xorg.0.log.old"})
        EXPECT_EQ(JunkClassifier::logNameConfidence(name), JunkConfidence::medium) << name;
}

TEST(FindNode, WalksDownFromRootsAtOrAboveTheTarget) {
    JunkTree t("/Users");
    FileNode* logs = t.folderAt("ann/Library/Logs");
    EXPECT_EQ(JunkClassifier::findNode(*t.root(), "/Users/ann/Library/Logs"), logs);
    EXPECT_EQ(JunkClassifier::findNode(*t.root(), "//Users//ann/Library/Logs/"), logs);
    EXPECT_EQ(JunkClassifier::findNode(*t.root(), "/Users"), t.root());
    for (const char* missing : {"/Users/ann/library/Logs", "/Users/bob", "/Volumes/ann/Library"})
        EXPECT_EQ(JunkClassifier::findNode(*t.root(), missing), nullptr) << missing;
    EXPECT_EQ(JunkClassifier::findNode(*logs, "/Users/ann"), nullptr); // root below the target

    JunkTree slash("/");
    FileNode* lib = slash.folderAt("Users/ann/Library");
    EXPECT_EQ(JunkClassifier::findNode(*slash.root(), "/Users/ann/Library"), lib);
    EXPECT_EQ(JunkClassifier::findNode(*slash.root(), "/"), slash.root());
}

TEST(LibraryRules, TreeWithoutTheHomeLibraryYieldsNothing) {
    const auto c = classifier(kHome, {{"com.example.App"}, {"com.example.App"}});
    for (const char* root : {"/Volumes/Backup/Users/ann", "/Users/ann/Documents"}) {
        JunkTree t(root);
        t.add("Library/Logs/system.log.0", kNow);
        t.add("Library/Containers/com.example.App/");
        EXPECT_TRUE(c.classify(*t.root()).empty()) << root;
        EXPECT_TRUE(JunkClassifier::candidateBundleIDs(*t.root(), c.places).empty()) << root;
    }
}

TEST(LibraryRules, EveryKnownFolderOfTheLibrary) {
    JunkTree t("/Users");
    const std::string lib = "ann/Library/";
    for (const char* path :
         {"Logs/MyApp/", "Saved Application State/com.a.savedState/",
          "Saved Application State/Foo.savedstate/", "Saved Application State/notes.txt",
          "Caches/undated/", "Containers/.hidden/", "Containers/7zip.tool/",
          "Containers/MyContainer/", "Containers/\xC3\x84pp.tool/", "Containers/com.gone.App/",
          "Developer/Xcode/iOS DeviceSupport/16.4/", "Developer/CoreSimulator/Caches/fresh.bin"})
        t.add(lib + path);
    for (const auto& [path, age] : std::vector<std::pair<std::string, Timestamp>>{
             {"Logs/system.log.0", 0},
             {"Logs/install.log", 0},
             {"Logs/DiagnosticReports/at-limit.ips", 30 * kDay},
             {"Logs/DiagnosticReports/past-limit.ips", 30 * kDay + 1},
             {"Logs/DiagnosticReports/future.ips", -500},
             {"Caches/com.old.Cache/", 15 * kDay},
             {"Caches/com.atlimit.Cache/", 14 * kDay},
             {"Caches/com.gone.App/", 0}, // an orphan even though it is fresh
             {"Developer/Xcode/DerivedData/Old-abc/", 20 * kDay},
             {"Developer/Xcode/DerivedData/New-def/", 0},
             {"Developer/Xcode/tvOS DeviceSupport/17.0/", 0},
             {"Developer/CoreSimulator/Caches/dyld/", 0}})
        t.add(lib + path, kNow - age);
    t.add(lib + "Logs/DiagnosticReports/undated.ips");

    const std::vector<std::string> candidates = {"\xC3\x84pp.tool", "com.gone.App", "com.old.Cache",
                                                 "com.atlimit.Cache", "com.gone.App"};
    EXPECT_EQ(JunkClassifier::candidateBundleIDs(*t.root(), JunkPlaces::forHome(kHome)),
              candidates);

    const std::string p = "/Users/" + lib;
    const std::string gone = "orphanedAppSupport Orphaned";
    std::vector<std::string> expected = {
        p + "Logs/MyApp appLogs Medium",
        p + "Logs/system.log.0 appLogs High",
        p + "Logs/install.log appLogs Medium",
        p + "Logs/DiagnosticReports/at-limit.ips diagnosticReports Medium",
        p + "Logs/DiagnosticReports/past-limit.ips diagnosticReports High",
        p + "Logs/DiagnosticReports/future.ips diagnosticReports Medium",
        p + "Logs/DiagnosticReports/undated.ips diagnosticReports Medium",
        p + "Saved Application State/com.a.savedState savedAppState High",
        p + "Caches/com.old.Cache appCaches Medium",
        p + "Caches/com.gone.App " + gone,
        p + "Containers/com.gone.App " + gone,
        p + "Developer/Xcode/DerivedData/Old-abc xcodeDerivedData Medium",
        p + "Developer/Xcode/iOS DeviceSupport/16.4 xcodeDeviceSupport Medium",
        p + "Developer/Xcode/tvOS DeviceSupport/17.0 xcodeDeviceSupport Medium",
        p + "Developer/CoreSimulator/Caches/fresh.bin coreSimulatorCaches High",
        p + "Developer/CoreSimulator/Caches/dyld coreSimulatorCaches High",
    };
    // Names that are no candidates stay out even when the orphan set holds them.
    const std::unordered_set<std::string> ids = {"com.gone.App", "7zip.tool", "MyContainer",
                                                 ".hidden"};
    EXPECT_EQ(described(classifier(kHome, {ids, ids}).classify(*t.root())), expected);
    // Without orphans the leftovers and the fresh cache of the gone application drop out.
    std::erase_if(expected, [&](const std::string& s) { return s.ends_with(gone); });
    EXPECT_EQ(described(classifier(kHome).classify(*t.root())), expected);
}

} // namespace
} // namespace ringfold::test
