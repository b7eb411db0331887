// ringfold-scan as a user runs it: the built binary on fixture trees, its exit codes,
// what goes to standard output and what to standard error.
#include "support/ChildProcess.h"
#include "support/FixtureTree.h"
#include "support/Privileges.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <set>
#include <sys/statvfs.h>
#include <tuple>
#include <unistd.h>

namespace ringfold {
namespace {

using nlohmann::json;
using test::CommandResult;
using test::FixtureTree;

const std::string kBinary = RINGFOLD_SCAN_BINARY;

CommandResult scanCommand(std::vector<std::string> args) {
    args.insert(args.begin(), kBinary);
    return test::runCommand(args, std::chrono::seconds(60));
}

// The parser throws on bad syntax and on strings that are not valid UTF-8.
json parseReport(const CommandResult& r) {
    EXPECT_EQ(r.exitCode, 0) << r.err;
    return json::parse(r.out);
}

const json& topItem(const json& report, const std::string& name) {
    for (const json& item : report["top"])
        if (item["name"] == name)
            return item;
    throw std::runtime_error(name + " is not in the top list");
}

TEST(ScanCommand, BadInputExitsTwoWithOneLineOnStandardError) {
    FixtureTree fx;
    fx.writeFile("plain.txt", 10);
    const std::string root = fx.root();
    // clang-format off
    const std::vector<std::vector<std::string>> cases = {
        {fx.fullPath("missing")}, {fx.fullPath("plain.txt")}, {"--bogus", root}, {"-x", root},
        {"--top", "-1", root}, {"--top=abc", root}, {"--top=", root}, {"--threads", "0", root},
        {"--threads=2000", root}, {"--format=xml", root}, {"--backend=fast", root},
        {root, root}, {}, {root, "--top"}};
    // clang-format on
    for (const auto& args : cases) {
        auto r = scanCommand(args);
        const std::string shown = args.empty() ? "(none)" : args.front() + " ...";
        EXPECT_EQ(r.exitCode, 2) << shown << r.err;
        EXPECT_EQ(r.out, "") << shown;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << shown << r.err;
        EXPECT_TRUE(r.err.starts_with("ringfold-scan: ")) << shown << r.err;
    }
    auto help = scanCommand({"--help"});
    EXPECT_TRUE(help.exitCode == 0 && help.out.starts_with("Usage: ringfold-scan")) << help.out;
}

// root/{big.bin, mid.bin, docs/{a, b/c, hard-link -> big.bin}, empty/, small0..small11}
class ScanCommandReport : public ::testing::Test {
protected:
    void SetUp() override {
        fx.writeFiles(
            {{"big.bin", 300000}, {"mid.bin", 120000}, {"docs/a", 50000}, {"docs/b/c", 70000}});
        fx.hardLink("big.bin", "docs/hard-link");
        fx.makeFolder("empty");
        for (int i = 0; i < 12; ++i)
            fx.writeFile("small" + std::to_string(i), 100 * (i + 1));
    }
    std::int64_t allocated() const { // each stream once: the hard link adds nothing
        std::int64_t total = 0;
        for (const char* f : {"big.bin", "mid.bin", "docs/a", "docs/b/c"})
            total += fx.allocatedSizeOf(f);
        for (int i = 0; i < 12; ++i)
            total += fx.allocatedSizeOf("small" + std::to_string(i));
        return total;
    }
    FixtureTree fx;
};

TEST_F(ScanCommandReport, JsonHasEveryKeyTheFixturesNumbersAndTheLargestItems) {
    auto r = scanCommand({"--format=json", "--no-progress", fx.root() + "/docs/../"});
    json j = parseReport(r);
    EXPECT_EQ(j.size(), 11u);        // the keys checked below, no "junk" without --junk
    EXPECT_EQ(j["path"], fx.root()); // cleaned up
    EXPECT_EQ(j["items"],
              1 + 14 + 1 + 1 + 1 + 1 + 1 + 1); // root, files, docs, a, b, c, link, empty
    EXPECT_EQ(j["allocatedSize"], allocated());
    EXPECT_EQ(j["logicalSize"], 300000 * 2 + 120000 + 50000 + 70000 + 100 * 78);
    EXPECT_EQ(j["restrictedPathCount"], 0);
    EXPECT_EQ(j["rootRestricted"], false);
    EXPECT_EQ(j["sharedStreams"], 1);
    struct statvfs vfs {};
    ASSERT_EQ(::statvfs(fx.root().c_str(), &vfs), 0);
    EXPECT_EQ(j["volumeTotalCapacity"], std::int64_t(vfs.f_blocks) * std::int64_t(vfs.f_frsize));
    EXPECT_GT(j["volumeAvailableCapacity"], 0);
    EXPECT_TRUE(j["seconds"].is_number());

    ASSERT_EQ(j["top"].size(), 10u); // 16 children, 10 by default
    EXPECT_TRUE(std::ranges::is_sorted(j["top"], std::greater<>(), [](const json& i) {
        return i["allocatedSize"].get<std::int64_t>();
    }));
    EXPECT_EQ(topItem(j, "docs")["isDirectory"], true);
    EXPECT_EQ(topItem(j, "docs")["logicalSize"], 50000 + 70000 + 300000);
    const json& mid = topItem(j, "mid.bin");
    EXPECT_EQ(mid["isDirectory"], false);
    EXPECT_EQ(mid["allocatedSize"], fx.allocatedSizeOf("mid.bin"));
    EXPECT_EQ(mid["logicalSize"], 120000);
    for (int n : {0, 3}) { // --top keeps the largest
        const json few =
            parseReport(scanCommand({"--format=json", "--top", std::to_string(n), fx.root()}));
        EXPECT_EQ(few["top"], json(std::vector<json>(j["top"].begin(), j["top"].begin() + n)));
    }
}

TEST_F(ScanCommandReport, DiagnosticsGoToStandardErrorAndTheEnumerationCountsLinksInFull) {
    auto bulk = scanCommand({"--format=json", fx.root()});
    EXPECT_NE(bulk.err.find("[BulkScanEngine] scan complete: "), std::string::npos) << bulk.err;
    EXPECT_NE(bulk.err.find(", 1 shared streams\n"), std::string::npos) << bulk.err;

    auto enumeration = scanCommand({"--format=json", "--backend=enumeration", fx.root()});
    EXPECT_NE(enumeration.err.find("[FileManagerScanEngine] scan complete: "), std::string::npos);
    const json e = parseReport(enumeration);
    EXPECT_EQ(e["allocatedSize"], allocated() + fx.allocatedSizeOf("docs/hard-link"));
    EXPECT_EQ(e["sharedStreams"], 0);
    EXPECT_EQ(e["items"], parseReport(bulk)["items"]);

    auto text = scanCommand({fx.root()});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_TRUE(text.out.starts_with(fx.root() + "\n")) << text.out;
    EXPECT_NE(text.out.find("\nLargest items:\n"), std::string::npos);
    EXPECT_NE(text.out.find("  Shared       1 streams counted once\n"), std::string::npos);
    for (const auto* r : {&bulk, &enumeration, &text})
        EXPECT_EQ(r->out.find("scan complete"), std::string::npos);
}

TEST(ScanCommand, OddNamesStayValidJsonAndInvalidUtf8KeepsItsBytes) {
    FixtureTree fx;
    fx.writeFiles({{"quote\"back\\slash", 300},
                   {"new\nline\ttab", 200},
                   {"bad\xff\xfe", 100},
                   {"\xc3\xa9t\xc3\xa9", 50}});
    const json j = parseReport(scanCommand({"--format=json", fx.root()}));
    std::set<std::string> names;
    for (const json& item : j["top"])
        names.insert(item["name"].get<std::string>() + "|" + item.value("nameBytes", ""));
    EXPECT_EQ(names, (std::set<std::string>{"quote\"back\\slash|", "new\nline\ttab|",
                                            "bad\xef\xbf\xbd\xef\xbf\xbd|626164fffe",
                                            "\xc3\xa9t\xc3\xa9|"}));
}

TEST(ScanCommand, UnreadableFolderIsCountedAsRestricted) {
    FixtureTree fx;
    fx.chmod("", 0755);
    fx.writeFiles({{"open/a", 4000}, {"locked/b", 4000}});
    fx.chmod("locked", 0);
    std::vector<std::string> argv;
    if (::geteuid() == 0) {
        // Root reads everything: drop to "nobody", who must be able to reach the binary.
        argv = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
        auto probe = argv;
        probe.insert(probe.end(), {kBinary, "--help"});
        if (auto p = test::runCommand(probe); p.exitCode != 0)
            SKIP_OR_FAIL_GTEST("setpriv is missing, or uid 65534 cannot reach " + kBinary + ": " +
                               p.err);
    }
    argv.insert(argv.end(), {kBinary, "--format=json", fx.root()});
    auto r = test::runCommand(argv);
    const json j = parseReport(r);
    EXPECT_EQ(j["restrictedPathCount"], 1);
    EXPECT_EQ(j["allocatedSize"], fx.allocatedSizeOf("open/a"));
    EXPECT_EQ(j["logicalSize"], 4000);
    EXPECT_EQ(topItem(j, "locked")["allocatedSize"], 0);
    EXPECT_NE(r.err.find(", 1 restricted, "), std::string::npos) << r.err;
}

// The signal is pending before the tool starts: a shell with it blocked sends it to
// itself and execs the tool, which inherits the mask and the pending signal. The tool
// unblocks it after installing its handler, before the scan's first folder; one that
// ignored it would finish the scan and print a report.
TEST(ScanCommand, SignalStopsTheScanWith128PlusItsNumberAndNoReport) {
    FixtureTree fx;
    fx.writeFiles({{"a", 100}, {"sub/b", 100}});
    for (const auto& [signal, name, status] :
         {std::tuple{SIGINT, "INT", 130}, {SIGTERM, "TERM", 143}}) {
        auto r = test::runCommand({"sh", "-c",
                                   std::string("kill -s ") + name + " $$ && exec \"$0\" \"$@\"",
                                   kBinary, "--format=json", fx.root()},
                                  std::chrono::seconds(20), {signal});
        EXPECT_EQ(r.exitCode, status) << name << r.err;
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, "ringfold-scan: interrupted\n") << name;
    }
}

} // namespace
} // namespace ringfold
