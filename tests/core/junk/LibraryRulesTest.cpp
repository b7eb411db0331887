// The rules for a home folder that holds a Library folder, and the log-name rule.
#include "JunkFixture.h"

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

TEST(LibraryRules, EveryKnownFolderOfTheLibrary) {
    JunkTree t("/Users");
    const std::string lib = "ann/Library/";
    t.addAll("Logs/MyApp/ Logs/system.log.0@0 Logs/install.log@0 Caches/undated/"
             " Caches/com.old.Cache/@15 Caches/com.atlimit.Cache/@14 Caches/com.gone.App/@0"
             " Containers/.hidden/ Containers/7zip.tool/ Containers/MyContainer/"
             " Containers/\xC3\x84pp.tool/ Containers/com.gone.App/"
             " Developer/Xcode/DerivedData/Old-abc/@20 Developer/Xcode/DerivedData/New-def/@0"
             " Developer/CoreSimulator/Caches/fresh.bin Developer/CoreSimulator/Caches/dyld/@0",
             lib);
    t.addAll("at-limit.ips@30 future.ips@-0.01 undated.ips", lib + "Logs/DiagnosticReports/");
    t.add(lib + "Logs/DiagnosticReports/past-limit.ips", kNow - 30 * kDay - 1);
    t.addAll("com.a.savedState/ Foo.savedstate/ notes.txt", lib + "Saved Application State/");
    t.addAll("16.4/ 17.1/@0", lib + "Developer/Xcode/iOS DeviceSupport/");
    t.addAll("17.0/@0", lib + "Developer/Xcode/tvOS DeviceSupport/");

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
        p + "Logs/DiagnosticReports/future.ips diagnosticReports Medium",
        p + "Logs/DiagnosticReports/undated.ips diagnosticReports Medium",
        p + "Logs/DiagnosticReports/past-limit.ips diagnosticReports High",
        p + "Saved Application State/com.a.savedState savedAppState High",
        p + "Caches/com.old.Cache appCaches Medium",
        p + "Caches/com.gone.App " + gone,
        p + "Containers/com.gone.App " + gone,
        p + "Developer/Xcode/DerivedData/Old-abc xcodeDerivedData Medium",
        p + "Developer/Xcode/iOS DeviceSupport/16.4 xcodeDeviceSupport Medium",
        p + "Developer/Xcode/iOS DeviceSupport/17.1 xcodeDeviceSupport Medium",
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

    // A tree that does not hold this home's Library yields nothing.
    EXPECT_TRUE(classifier("/Users/bob", {ids, ids}).classify(*t.root()).empty());
    const FileNode& below = *t.folderAt(lib + "Logs");
    EXPECT_TRUE(classifier(kHome, {ids, ids}).classify(below).empty());
    EXPECT_TRUE(JunkClassifier::candidateBundleIDs(below, JunkPlaces::forHome(kHome)).empty());
}

} // namespace
} // namespace ringfold::test
