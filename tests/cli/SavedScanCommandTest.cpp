// ringfold-scan -o and -f: a saved scan gives the report of the live scan, through a
// file or a pipe, and a bad one ends with exit 2 and where it went wrong.
#include "support/ChildProcess.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace ringfold {
namespace {

using namespace test;

const std::string kBinary = RINGFOLD_SCAN_BINARY;

CommandResult run(std::vector<std::string> args) {
    args.insert(args.begin(), kBinary);
    return runCommand(args, std::chrono::seconds(60));
}

// The report without what differs between runs: timing and the volume's figures.
nlohmann::json stable(const CommandResult& r) {
    EXPECT_EQ(r.exitCode, 0) << r.err;
    auto j = nlohmann::json::parse(r.out);
    for (const char* key : {"seconds", "volumeTotalCapacity", "volumeAvailableCapacity"})
        j.erase(key);
    return j;
}

TEST(SavedScanCommand, ASavedScanReportsLikeTheLiveOneThroughFilesAndPipes) {
    FixtureTree fx, out;
    fx.writeFiles({{"a/one", 70000}, {"a/b/two", 5000}, {"three", 300}, {"odd\nname\xff", 1}});
    fx.hardLink("a/one", "again");
    const std::string file = out.fullPath("scan.json");
    const auto live = stable(run({"--format=json", fx.root()}));
    EXPECT_EQ(stable(run({"--format=json", "-o", file, fx.root()})), live);
    EXPECT_EQ(stable(run({"--format=json", "-f", file})), live);
    const std::string pipe =
        kBinary + " -o - '" + fx.root() + "' | " + kBinary + " --format=json -f -";
    EXPECT_EQ(stable(runCommand({"sh", "-c", pipe})), live);
}

TEST(SavedScanCommand, BadSavedScansExitTwoNamingTheByte) {
    FixtureTree fx;
    fx.writeText("truncated.json", R"([1,2,{},[{"name":"/x"},{"name":"f")");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"-f", fx.fullPath("truncated.json")}, "truncated.json': byte 34: "},
        {{"-f", fx.fullPath("missing.json")}, "cannot read"},
        {{"-f", fx.fullPath("truncated.json"), fx.root()}, "not both"},
        {{"-o", fx.fullPath("none/x.json"), fx.root()}, "cannot write"},
    };
    for (const auto& [args, says] : cases) {
        CommandResult r = run(args);
        EXPECT_EQ(r.exitCode, 2) << says;
        EXPECT_EQ(r.out, "") << says;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_NE(r.err.find(says), std::string::npos) << r.err;
    }
}

} // namespace
} // namespace ringfold
