// The rules for a home folder that holds a Library folder, the log-name rule and the
// lookup of nodes by location.
#include "SyntheticTree.h"

#include "core/junk/JunkClassifier.h"

#include <gtest/gtest.h>

#include <utility>

namespace ringfold {
namespace {

using testing::SyntheticTree;

constexpr Timestamp kNow = 1'700'000'000;
constexpr double kDay = 86400.0;

JunkClassifier classifier(std::unordered_set<std::string> orphans = {}) {
    JunkClassifier c;
    c.places = JunkPlaces::forHome("/Users/ann");
    c.now = kNow;
    c.diagnosticReportsMaxAge = 30 * kDay;
    c.cachesDerivedDataMaxAge = 14 * kDay;
    c.orphanedBundleIDs = std::move(orphans);
    return c;
}

struct Found {
    std::string name;
    JunkCategory category;
    JunkConfidence confidence;
    friend bool operator==(const Found&, const Found&) = default;
    friend std::ostream& operator<<(std::ostream& os, const Found& f) {
        return os << f.name << "/" << rawValue(f.category) << "/" << label(f.confidence);
    }
};

std::vector<Found> found(const std::vector<JunkItem>& items) {
    std::vector<Found> out;
    for (const auto& i : items)
        out.push_back({std::string(i.node->name()), i.category, i.confidence});
    return out;
}

TEST(LogNameRule, RotatedAndCompressedLogsAreHighEverythingElseMedium) {
    const std::pair<const char*, JunkConfidence> cases[] = {
        {"system.log.0", JunkConfidence::high},
        {"system.log.+3", JunkConfidence::high},
        {"system.log.-3", JunkConfidence::high},
        {"app.log.gz", JunkConfidence::high},
        {"app.log.bz2", JunkConfidence::high},
        {"a.b.log.12", JunkConfidence::high},
        {".log.7", JunkConfidence::high},
        {"install.log", JunkConfidence::medium},
        {"x.log.", JunkConfidence::medium},
        {"x.log.1a", JunkConfidence::medium},
        {"x.1.log", JunkConfidence::medium},
        {"MyApp", JunkConfidence::medium},
        {"x.log.+", JunkConfidence::medium},
        {"x.log.+-3", JunkConfidence::medium},
        {"x.LOG.1", JunkConfidence::medium},
        {"x.log.gz.1", JunkConfidence::medium},
        {"x.log.9223372036854775807", JunkConfidence::high},
        {"x.log.-9223372036854775808", JunkConfidence::high},
        {"x.log.9223372036854775808", JunkConfidence::medium},
        {"x.log. 1", JunkConfidence::medium},
    };
    for (const auto& [name, expected] : cases)
        EXPECT_EQ(JunkClassifier::logNameConfidence(name), expected) << name;
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
    const auto c = classifier({"com.example.App"});
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
    t.add("Library/Logs/MyApp/deep.log.1", kNow - 100 * 86400);
    t.add("Library/Logs/DiagnosticReports/undated.ips");
    t.add("Library/Logs/DiagnosticReports/at-limit.ips", kNow - 30 * 86400);
    t.add("Library/Logs/DiagnosticReports/past-limit.ips", kNow - 30 * 86400 - 1);
    t.add("Library/Logs/DiagnosticReports/future.ips", kNow + 500);

    const std::vector<Found> expected = {
        {"system.log.0", JunkCategory::appLogs, JunkConfidence::high},
        {"install.log", JunkCategory::appLogs, JunkConfidence::medium},
        {"MyApp", JunkCategory::appLogs, JunkConfidence::medium},
        {"undated.ips", JunkCategory::diagnosticReports, JunkConfidence::medium},
        {"at-limit.ips", JunkCategory::diagnosticReports, JunkConfidence::medium},
        {"past-limit.ips", JunkCategory::diagnosticReports, JunkConfidence::high},
        {"future.ips", JunkCategory::diagnosticReports, JunkConfidence::medium},
    };
    EXPECT_EQ(found(classifier().classify(*t.root())), expected);
}

TEST(LibraryRules, SavedStateCachesAndDeveloperFolders) {
    SyntheticTree t("/Users/ann");
    t.addFolder("Library/Saved Application State/com.a.savedState");
    t.addFolder("Library/Saved Application State/Foo.savedstate");
    t.add("Library/Saved Application State/notes.txt");
    t.addFolder("Library/Caches/com.old.Cache", kNow - 15 * 86400);
    t.addFolder("Library/Caches/com.fresh.Cache", kNow - 86400);
    t.addFolder("Library/Caches/com.atlimit.Cache", kNow - 14 * 86400);
    t.addFolder("Library/Caches/undated");
    t.addFolder("Library/Developer/Xcode/DerivedData/Old-abc", kNow - 20 * 86400);
    t.addFolder("Library/Developer/Xcode/DerivedData/New-def", kNow);
    t.addFolder("Library/Developer/Xcode/tvOS DeviceSupport/17.0", kNow);
    t.addFolder("Library/Developer/Xcode/iOS DeviceSupport/16.4");
    t.addFolder("Library/Developer/Xcode/iOS DeviceSupport/17.1", kNow);
    t.addFolder("Library/Developer/CoreSimulator/Caches/dyld", kNow);
    t.add("Library/Developer/CoreSimulator/Caches/fresh.bin");

    const std::vector<Found> expected = {
        {"com.a.savedState", JunkCategory::savedAppState, JunkConfidence::high},
        {"com.old.Cache", JunkCategory::appCaches, JunkConfidence::medium},
        {"Old-abc", JunkCategory::xcodeDerivedData, JunkConfidence::medium},
        {"16.4", JunkCategory::xcodeDeviceSupport, JunkConfidence::medium},
        {"17.1", JunkCategory::xcodeDeviceSupport, JunkConfidence::medium},
        {"17.0", JunkCategory::xcodeDeviceSupport, JunkConfidence::medium},
        {"dyld", JunkCategory::coreSimulatorCaches, JunkConfidence::high},
        {"fresh.bin", JunkCategory::coreSimulatorCaches, JunkConfidence::high},
    };
    EXPECT_EQ(found(classifier().classify(*t.root())), expected);
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
    const auto c = classifier();
    EXPECT_EQ(JunkClassifier::candidateBundleIDs(*t.root(), c.places), candidates);
    EXPECT_TRUE(c.classify(*t.root()).empty()) << "an empty orphan set lists no leftovers";

    // Even names that are not candidates stay out when the set happens to hold them.
    const auto withOrphans = classifier({"com.gone.App", "7zip.tool", "MyContainer", ".hidden"});
    const std::vector<Found> expected = {
        {"com.gone.App", JunkCategory::orphanedAppSupport, JunkConfidence::orphaned},
        {"com.gone.App", JunkCategory::orphanedAppSupport, JunkConfidence::orphaned},
    };
    EXPECT_EQ(found(withOrphans.classify(*t.root())), expected);
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
    EXPECT_TRUE(JunkClassifier::orphanedBundleIDsFrom({}, [](const std::string&) {
                    return false;
                }).empty());
}

TEST(JunkCategories, RawValuesRoundTripInPanelOrder) {
    EXPECT_EQ(kAllJunkCategories.front(), JunkCategory::appLogs);
    EXPECT_EQ(kAllJunkCategories.back(), JunkCategory::orphanedAppSupport);
    for (JunkCategory c : kAllJunkCategories)
        EXPECT_EQ(junkCategoryFromRawValue(rawValue(c)), c);
    EXPECT_STREQ(displayName(JunkCategory::thumbnails), "Thumbnails");
    EXPECT_STREQ(displayName(JunkCategory::developerCaches), "Developer Caches");
    EXPECT_LT(JunkConfidence::high, JunkConfidence::medium);
    EXPECT_LT(JunkConfidence::medium, JunkConfidence::orphaned);
}

} // namespace
} // namespace ringfold
