// ringfold-scan --junk on a home folder built on disk: the listing in both formats,
// with orphans decided by the desktop entries of a temporary data folder.
#include "MiniJson.h"
#include "support/ChildProcess.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <utime.h>

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
    test::CommandResult scan(const std::string& format) {
        return test::runCommand(
            {"env", "-u", "XDG_CACHE_HOME", "-u", "XDG_CONFIG_HOME", "-u", "XDG_STATE_HOME",
             "HOME=" + f.fullPath("home"), "XDG_DATA_HOME=" + f.fullPath("data"),
             "XDG_DATA_DIRS=" + f.fullPath("none"), RINGFOLD_SCAN_BINARY, "--no-progress", "--junk",
             "--format=" + format, f.fullPath("home")});
    }
    test::FixtureTree f;
};

TEST_F(JunkOption, JsonListsCategoryConfidenceSizeAndPath) {
    const auto r = scan("json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto report = test::Json::parse(r.out);
    const auto& junk = report["junk"];
    ASSERT_EQ(junk.type, test::Json::Type::array);
    std::vector<std::string> found;
    for (const auto& item : junk.items)
        found.push_back(item["category"].text + " " + item["confidence"].text + " " +
                        item["path"].text);
    const std::string home = f.fullPath("home");
    EXPECT_EQ(found, (std::vector<std::string>{
                         "appLogs high " + home + "/.local/state/tool/tool.log.1",
                         "thumbnails high " + home + "/.cache/thumbnails",
                         "developerCaches medium " + home + "/.cache/pip",
                         "orphanedAppSupport orphaned " + home + "/.config/org.gone.Player",
                     }));
    // A folder's size is the sum of what it holds.
    EXPECT_EQ(junk.items[1]["allocatedSize"].integer(),
              f.allocatedSizeOf("home/.cache/thumbnails/large/a.png"));
    EXPECT_TRUE(report.has("top")); // the usual report is still all there
}

TEST_F(JunkOption, TextAddsAJunkSection) {
    const auto r = scan("text");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("\nJunk ("), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Developer Caches"), std::string::npos);
    EXPECT_NE(r.out.find(f.fullPath("home") + "/.config/org.gone.Player\n"), std::string::npos);
    EXPECT_EQ(r.out.find("org.here.Editor"), std::string::npos);
}

TEST_F(JunkOption, NothingFoundOutsideTheHomeFolder) {
    const auto r = test::runCommand({"env", "HOME=" + f.fullPath("home"), RINGFOLD_SCAN_BINARY,
                                     "--no-progress", "--junk", f.fullPath("data")});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("\nJunk: none found\n"), std::string::npos) << r.out;
}

} // namespace
} // namespace ringfold
