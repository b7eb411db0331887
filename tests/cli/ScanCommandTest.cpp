// ringfold-scan as a user runs it: the built binary on fixture trees, its exit codes,
// what goes to standard output and what to standard error.

#include "MiniJson.h"
#include "support/ChildProcess.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <set>
#include <sys/statvfs.h>
#include <unistd.h>

namespace ringfold {
namespace {

using test::CommandResult;
using test::FixtureTree;
using test::Json;

const std::string kBinary = RINGFOLD_SCAN_BINARY;

CommandResult scanCommand(std::vector<std::string> args) {
    args.insert(args.begin(), kBinary);
    return test::runCommand(args, std::chrono::seconds(60));
}

std::size_t lineCount(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

bool isValidUtf8(const std::string& s) {
    for (std::size_t i = 0; i < s.size();) {
        auto b = static_cast<unsigned char>(s[i]);
        std::size_t n = b < 0x80         ? 1
                        : (b >> 5) == 6  ? 2
                        : (b >> 4) == 14 ? 3
                        : (b >> 3) == 30 ? 4
                                         : 0;
        if (n == 0 || i + n > s.size() || (n == 2 && b < 0xC2) || b > 0xF4)
            return false;
        for (std::size_t k = 1; k < n; ++k)
            if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80)
                return false;
        i += n;
    }
    return true;
}

Json parseReport(const CommandResult& r) {
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(isValidUtf8(r.out)) << "the report is not valid UTF-8";
    return Json::parse(r.out);
}

// The entry called `name` in the report's top list.
const Json& topItem(const Json& report, const std::string& name) {
    for (const Json& item : report["top"].items)
        if (item["name"].text == name)
            return item;
    throw std::runtime_error(name + " is not in the top list");
}

TEST(ScanCommandErrors, BadInputExitsTwoWithOneLineOnStandardError) {
    FixtureTree fx;
    fx.writeFile("plain.txt", 10);
    const std::vector<std::vector<std::string>> cases = {
        {fx.fullPath("missing")},      {fx.fullPath("plain.txt")},
        {"--bogus", fx.root()},        {"-x", fx.root()},
        {"--top", "-1", fx.root()},    {"--top=abc", fx.root()},
        {"--top=", fx.root()},         {"--threads", "0", fx.root()},
        {"--threads=2000", fx.root()}, {"--threads=1.5", fx.root()},
        {"--format=xml", fx.root()},   {"--backend=fast", fx.root()},
        {fx.root(), fx.root()},        {},
        {fx.root(), "--top"},
    };
    for (const auto& args : cases) {
        std::string shown;
        for (const auto& a : args)
            shown += "[" + a + "] ";
        auto r = scanCommand(args);
        EXPECT_EQ(r.exitCode, 2) << shown << r.err;
        EXPECT_EQ(r.out, "") << shown;
        EXPECT_EQ(lineCount(r.err), 1u) << shown << r.err;
        EXPECT_TRUE(r.err.starts_with("ringfold-scan: ")) << shown << r.err;
    }
}

TEST(ScanCommandErrors, HelpGoesToStandardOutputAndSucceeds) {
    auto r = scanCommand({"--help"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_TRUE(r.out.starts_with("Usage: ringfold-scan")) << r.out;
    EXPECT_EQ(r.err, "");
}

// root/{big.bin 300000, mid.bin 120000, docs/{a 50000, b/c 70000}, link -> big.bin
//       (hard link), empty/, 12 small files}
void buildReportTree(FixtureTree& fx) {
    fx.writeFiles(
        {{"big.bin", 300000}, {"mid.bin", 120000}, {"docs/a", 50000}, {"docs/b/c", 70000}});
    fx.hardLink("big.bin", "docs/hard-link");
    fx.makeFolder("empty");
    for (int i = 0; i < 12; ++i)
        fx.writeFile("small" + std::to_string(i), 100 * (i + 1));
}

std::int64_t expectedAllocated(const FixtureTree& fx) {
    std::int64_t total = fx.allocatedSizeOf("big.bin") + fx.allocatedSizeOf("mid.bin") +
                         fx.allocatedSizeOf("docs/a") + fx.allocatedSizeOf("docs/b/c");
    for (int i = 0; i < 12; ++i)
        total += fx.allocatedSizeOf("small" + std::to_string(i));
    return total;
}

TEST(ScanCommandJson, ReportHasEveryKeyAndTheFixturesNumbers) {
    FixtureTree fx;
    buildReportTree(fx);
    // The reported path is the cleaned-up absolute one.
    auto r = scanCommand({"--format=json", "--no-progress", fx.root() + "/docs/../"});
    Json j = parseReport(r);
    ASSERT_EQ(j.type, Json::Type::object); // a missing key below throws and fails the test
    std::set<std::string> keys;
    for (const auto& member : j.members)
        EXPECT_TRUE(keys.insert(member.first).second) << "duplicate key " << member.first;

    EXPECT_EQ(j["path"].text, fx.root());
    // root, 2 + 12 files, docs, a, b, c, the link, empty
    EXPECT_EQ(j["items"].integer(), 1 + 14 + 1 + 1 + 1 + 1 + 1 + 1);
    EXPECT_EQ(j["allocatedSize"].integer(), expectedAllocated(fx));
    std::int64_t logical = 300000 * 2 + 120000 + 50000 + 70000;
    for (int i = 0; i < 12; ++i)
        logical += 100 * (i + 1);
    EXPECT_EQ(j["logicalSize"].integer(), logical);
    EXPECT_EQ(j["restrictedPathCount"].integer(), 0);
    EXPECT_EQ(j["sharedStreams"].integer(), 1);
    struct statvfs vfs {};
    ASSERT_EQ(::statvfs(fx.root().c_str(), &vfs), 0);
    EXPECT_EQ(j["volumeTotalCapacity"].integer(),
              static_cast<std::int64_t>(vfs.f_blocks) * static_cast<std::int64_t>(vfs.f_frsize));
    EXPECT_GT(j["volumeAvailableCapacity"].integer(), 0);
    EXPECT_GE(j["seconds"].real(), 0.0);
    EXPECT_LT(j["seconds"].real(), 60.0);

    const Json& top = j["top"];
    ASSERT_EQ(top.type, Json::Type::array);
    ASSERT_EQ(top.items.size(), 10u); // 16 children, 10 by default
    std::int64_t previous = INT64_MAX;
    for (const Json& item : top.items) {
        const std::int64_t size = item["allocatedSize"].integer();
        EXPECT_LE(size, previous) << "top list not sorted by allocated size";
        previous = size;
        EXPECT_EQ(item["isDirectory"].type, Json::Type::boolean);
        EXPECT_EQ(item["logicalSize"].type, Json::Type::number);
        EXPECT_EQ(item["name"].type, Json::Type::string);
    }
    // The file and folder entries against the fixture.
    EXPECT_TRUE(topItem(j, "docs")["isDirectory"].boolean);
    EXPECT_EQ(topItem(j, "docs")["logicalSize"].integer(), 50000 + 70000 + 300000);
    const Json& mid = topItem(j, "mid.bin");
    EXPECT_FALSE(mid["isDirectory"].boolean);
    EXPECT_EQ(mid["allocatedSize"].integer(), fx.allocatedSizeOf("mid.bin"));
    EXPECT_EQ(mid["logicalSize"].integer(), 120000);
}

TEST(ScanCommandJson, TopLimitsTheList) {
    FixtureTree fx;
    buildReportTree(fx);
    auto three = parseReport(scanCommand({"--format=json", "--top", "3", fx.root()}));
    ASSERT_EQ(three["top"].items.size(), 3u);
    auto all = parseReport(scanCommand({"--format=json", "--top=100", fx.root()}));
    EXPECT_EQ(all["top"].items.size(), 16u);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(three["top"].items[i]["allocatedSize"].integer(),
                  all["top"].items[i]["allocatedSize"].integer());
    auto none = parseReport(scanCommand({"--format=json", "--top", "0", fx.root()}));
    EXPECT_EQ(none["top"].type, Json::Type::array);
    EXPECT_TRUE(none["top"].items.empty());
}

TEST(ScanCommandJson, OddNamesAreValidJsonStrings) {
    FixtureTree fx;
    fx.writeFiles({{"quote\"back\\slash", 300},
                   {"new\nline\ttab", 200},
                   {"bad\xff\xfe", 100},
                   {"\xc3\xa9t\xc3\xa9", 50}});
    auto j = parseReport(scanCommand({"--format=json", fx.root()}));
    std::set<std::string> names;
    for (const Json& item : j["top"].items)
        names.insert(item["name"].text);
    EXPECT_EQ(names, (std::set<std::string>{"quote\"back\\slash", "new\nline\ttab",
                                            "bad\xef\xbf\xbd\xef\xbf\xbd", "\xc3\xa9t\xc3\xa9"}));
}

TEST(ScanCommandOutput, ClosingLineGoesToStandardErrorOnly) {
    FixtureTree fx;
    buildReportTree(fx);
    auto bulk = scanCommand({"--format=json", fx.root()});
    EXPECT_EQ(bulk.exitCode, 0);
    EXPECT_NE(bulk.err.find("[BulkScanEngine] scan complete: "), std::string::npos) << bulk.err;
    EXPECT_EQ(bulk.out.find("scan complete"), std::string::npos);
    EXPECT_NE(bulk.err.find(", 1 shared streams\n"), std::string::npos) << bulk.err;

    auto enumeration = scanCommand({"--format=json", "--backend=enumeration", fx.root()});
    EXPECT_EQ(enumeration.exitCode, 0);
    EXPECT_NE(enumeration.err.find("[FileManagerScanEngine] scan complete: "), std::string::npos)
        << enumeration.err;
    EXPECT_EQ(enumeration.out.find("scan complete"), std::string::npos);
    Json e = Json::parse(enumeration.out);
    // Counted in full each time by this back-end.
    EXPECT_EQ(e["allocatedSize"].integer(),
              expectedAllocated(fx) + fx.allocatedSizeOf("docs/hard-link"));
    EXPECT_EQ(e["sharedStreams"].integer(), 0);

    auto text = scanCommand({fx.root()});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_TRUE(text.out.starts_with(fx.root() + "\n")) << text.out;
    EXPECT_NE(text.out.find("Largest items:"), std::string::npos);
    EXPECT_NE(text.err.find("[BulkScanEngine] scan complete: "), std::string::npos);
}

TEST(ScanCommandOutput, UnreadableFolderIsCountedAsRestricted) {
    FixtureTree fx;
    fx.chmod("", 0755);
    fx.writeFiles({{"open/a", 4000}, {"locked/b", 4000}});
    fx.chmod("locked", 0);
    std::vector<std::string> argv;
    if (::geteuid() == 0) {
        // Root reads everything: drop to "nobody", who must be able to reach the binary.
        const std::vector<std::string> drop = {"setpriv", "--reuid=65534", "--regid=65534",
                                               "--clear-groups"};
        std::vector<std::string> probe = drop;
        probe.insert(probe.end(), {kBinary, "--help"});
        auto p = test::runCommand(probe);
        if (p.exitCode != 0)
            GTEST_SKIP() << "setpriv missing, or " << kBinary
                         << " is not reachable by uid 65534: " << p.err;
        argv = drop;
    }
    argv.insert(argv.end(), {kBinary, "--format=json", fx.root()});
    auto r = test::runCommand(argv);
    Json j = parseReport(r);
    EXPECT_EQ(j["restrictedPathCount"].integer(), 1);
    EXPECT_EQ(j["allocatedSize"].integer(), fx.allocatedSizeOf("open/a"));
    EXPECT_EQ(j["logicalSize"].integer(), 4000);
    EXPECT_EQ(topItem(j, "locked")["allocatedSize"].integer(), 0);
    EXPECT_NE(r.err.find(", 1 restricted, "), std::string::npos) << r.err;
}

TEST(ScanCommandSignals, InterruptDuringAScanExits130WithNothingOnStandardOutput) {
    FixtureTree fx;
    // Folders nested far beyond PATH_MAX with long names: every folder is reached
    // through many openat stretches, so a single-threaded scan of this small fixture
    // takes long enough to be interrupted.
    fx.deepChain("chain", 2000, std::string(200, 'n'));
    ASSERT_GT(fx.fullPath("chain").size(), 0u);
    test::ChildProcess child;
    child.start({kBinary, "--threads", "1", "--progress", "--format=json", fx.root()});
    // The progress line appears only once the scan is under way and its handler set.
    if (!child.waitForOutput(" items, ", std::chrono::seconds(20))) {
        auto r = child.finish();
        GTEST_SKIP() << "the scan finished before it could be interrupted (exit " << r.exitCode
                     << ")";
    }
    ASSERT_EQ(::kill(child.pid(), SIGINT), 0);
    auto r = child.finish(std::chrono::seconds(20));
    if (r.exitCode == 0)
        GTEST_SKIP() << "the scan finished before the interrupt arrived";
    EXPECT_FALSE(r.timedOut);
    EXPECT_EQ(r.exitCode, 130) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_NE(r.err.find("ringfold-scan: interrupted\n"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("scan complete"), std::string::npos) << r.err;
}

} // namespace
} // namespace ringfold
