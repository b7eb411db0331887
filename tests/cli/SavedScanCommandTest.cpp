// ringfold-scan -o and -f: a saved scan gives the report of the live scan, through a
// file or a pipe, and a bad one ends with exit 2 and where it went wrong.
#include "support/ChildProcess.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace ringfold {
namespace {

using nlohmann::json;
using test::CommandResult;
using test::FixtureTree;

const std::string kBinary = RINGFOLD_SCAN_BINARY;

CommandResult run(std::vector<std::string> args) {
    args.insert(args.begin(), kBinary);
    return test::runCommand(args, std::chrono::seconds(60));
}

// The report without what differs between runs: timing and the volume's figures.
json stable(const CommandResult& r) {
    EXPECT_EQ(r.exitCode, 0) << r.err;
    json j = json::parse(r.out);
    for (const char* key : {"seconds", "volumeTotalCapacity", "volumeAvailableCapacity"})
        j.erase(key);
    return j;
}

TEST(SavedScanCommand, ASavedScanReportsLikeTheLiveOneThroughFilesAndPipes) {
    FixtureTree fx, out;
    fx.writeFiles({{"a/one", 70000}, {"a/b/two", 5000}, {"three", 300}});
    fx.hardLink("a/one", "again");
    fx.writeFile("odd\nname\xff", 1000);
    const std::string file = out.fullPath("scan.json");
    const json live = stable(run({"--format=json", fx.root()}));
    EXPECT_EQ(stable(run({"--format=json", "-o", file, fx.root()})), live);
    EXPECT_EQ(stable(run({"--format=json", "-f", file})), live);
    const std::string pipe =
        kBinary + " -o - '" + fx.root() + "' | " + kBinary + " --format=json -f -";
    EXPECT_EQ(stable(test::runCommand({"sh", "-c", pipe})), live);
}

TEST(SavedScanCommand, BadSavedScansExitTwoNamingTheByte) {
    FixtureTree fx;
    fx.writeText("truncated.json", R"([1,2,{},[{"name":"/x"},{"name":"f")");
    fx.writeText("version.json", R"([3,0,{},[{"name":"/x"}]])");
    fx.writeFile("dir/f", 10);
    struct Case {
        std::vector<std::string> args;
        std::string says;
    };
    const std::vector<Case> cases = {
        {{"-f", fx.fullPath("truncated.json")}, "byte 34: "},
        {{"-f", fx.fullPath("version.json")}, "byte 1: unsupported format version 3"},
        {{"-f", fx.fullPath("missing.json")}, "cannot read"},
        {{"-f", fx.fullPath("dir")}, "byte 0: "},
        {{"-f", fx.fullPath("version.json"), fx.root()}, "not both"},
        {{"-o", fx.fullPath("none/x.json"), fx.root()}, "cannot write"},
        {{"-f"}, "needs a value"},
    };
    for (const Case& c : cases) {
        CommandResult r = run(c.args);
        EXPECT_EQ(r.exitCode, 2) << c.says;
        EXPECT_EQ(r.out, "") << c.says;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
    }
}

} // namespace
} // namespace ringfold
