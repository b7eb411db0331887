// The Linux rules on in-memory trees: log and application names, crash reports and
// cache ages. Leftovers are checked on a real home folder (DesktopHomeTest).
#include "JunkFixture.h"

namespace ringfold::test {
namespace {

const std::string kHome = "/home/ann";
constexpr auto high = JunkConfidence::high;
constexpr auto medium = JunkConfidence::medium;

TEST(LinuxRules, NamesOfLogsAndOfApplications) {
    const std::pair<const char*, std::optional<JunkConfidence>> cases[] = {
        {"app.log", medium},      {"app.log.1", high},         {"Xorg.0.log.old", high},
        {"app.log.gz", high},     {"app.log.2.gz", high},      {"app.log.3.zst", high},
        {"app.log.old.xz", high}, {"history", std::nullopt},   {"app.old", std::nullopt},
        {"log.gz", std::nullopt}, {"app.log.1a", std::nullopt}};
    for (const auto& [name, expected] : cases)
        EXPECT_EQ(JunkClassifier::linuxLogConfidence(name), expected) << name;
    for (const char* id : {"org.gnome.Maps", "net._86box._86Box", "io.github.my-app.Tool2"})
        EXPECT_TRUE(JunkClassifier::looksLikeApplicationID(id)) << id;
    for (const char* name :
         {"gtk-3.0", "gstreamer-1.0", "kde.org", "mimeapps.list", "org..x.y", "org.x.y.",
          "_org.x.y", "9org.x.y", "org.x.2y", "org.x.\xC3\xA4pp", ""})
        EXPECT_FALSE(JunkClassifier::looksLikeApplicationID(name)) << name;
}

TEST(LinuxRules, LogsCrashReportsAndCacheAges) {
    JunkTree t("/");
    t.addAll(".local/state/app.log.1 .local/state/tool/app.log .local/state/a/b/too-deep.log"
             " .local/state/folder.log/ .xsession-errors .xsession-errors.old .cache/a-old/@15"
             " .cache/b-limit/@14 .cache/pip/@400 .cache/thumbnails/@0 .cache/undated/",
             "home/ann/");
    t.addAll("a-old.crash@31 b-limit.crash@30 c-old.upload@90 undated.crash", "var/crash/");

    const std::vector<std::string> expected = {
        "/home/ann/.local/state/app.log.1 appLogs High",
        "/home/ann/.local/state/tool/app.log appLogs Medium",
        "/home/ann/.xsession-errors.old appLogs High",
        "/var/crash/a-old.crash diagnosticReports High",
        "/var/crash/b-limit.crash diagnosticReports Medium",
        "/var/crash/undated.crash diagnosticReports Medium",
        "/home/ann/.cache/a-old appCaches Medium",
        "/home/ann/.cache/thumbnails thumbnails High",
        "/home/ann/.cache/pip developerCaches Medium", // once, not also as an old cache
    };
    EXPECT_EQ(described(classifier(kHome).classify(*t.root())), expected);
}

} // namespace
} // namespace ringfold::test
