// ringfold-scan --junk on a home folder built on disk: the listing in both formats,
// with orphans decided by the desktop entries of a temporary data folder.
#include "support/ChildProcess.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ringfold {
namespace {

class JunkOption : public ::testing::Test {
protected:
    void SetUp() override {
        f.writeFiles({{"home/.cache/thumbnails/large/a.png", 5000},
                      {"home/.cache/pip/http/x", 7000},
                      {"home/.local/state/tool/tool.log.1", 3000},
                      {"home/.local/state/tool/settings.ini", 10}});
        f.makeFolder("home/.config/org.gone.Player");
        f.makeFolder("home/.config/org.here.Editor");
        f.writeFile("data/applications/org.here.Editor.desktop", 10);
    }
    test::CommandResult scan(const std::string& format, const std::string& folder = "home") {
        auto r = test::runCommand(
            {"env", "-u", "XDG_CACHE_HOME", "-u", "XDG_CONFIG_HOME", "-u", "XDG_STATE_HOME",
             "HOME=" + f.fullPath("home"), "XDG_DATA_HOME=" + f.fullPath("data"),
             "XDG_DATA_DIRS=" + f.fullPath("none"), RINGFOLD_SCAN_BINARY, "--no-progress", "--junk",
             "--format=" + format, f.fullPath(folder)});
        EXPECT_EQ(r.exitCode, 0) << r.err;
        return r;
    }
    test::FixtureTree f;
};

TEST_F(JunkOption, ListsCategoryConfidenceSizeAndPathInBothFormats) {
    const auto report = nlohmann::json::parse(scan("json").out);
    const auto& junk = report["junk"];
    std::vector<std::string> found;
    for (const auto& item : junk)
        found.push_back(item["category"].get<std::string>() + " " +
                        item["confidence"].get<std::string>() + " " +
                        item["path"].get<std::string>());
    const std::string home = f.fullPath("home");
    EXPECT_EQ(found, (std::vector<std::string>{
                         "appLogs high " + home + "/.local/state/tool/tool.log.1",
                         "thumbnails high " + home + "/.cache/thumbnails",
                         "developerCaches medium " + home + "/.cache/pip",
                         "orphanedAppSupport orphaned " + home + "/.config/org.gone.Player",
                     }));
    EXPECT_EQ(junk[1]["allocatedSize"], f.allocatedSizeOf("home/.cache/thumbnails/large/a.png"));
    EXPECT_TRUE(report.contains("top"));

    // The text report adds a section, or says none was found outside the home folder.
    const std::string out = scan("text").out;
    EXPECT_NE(out.find("\nJunk ("), std::string::npos) << out;
    EXPECT_NE(out.find("Developer Caches"), std::string::npos);
    EXPECT_NE(out.find(f.fullPath("home") + "/.config/org.gone.Player\n"), std::string::npos);
    EXPECT_EQ(out.find("org.here.Editor"), std::string::npos);
    EXPECT_NE(scan("text", "data").out.find("\nJunk: none found\n"), std::string::npos);
}

} // namespace
} // namespace ringfold
