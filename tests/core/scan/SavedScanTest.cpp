// Scans written as ncdu JSON exports and read back: our own files, ncdu's, and input
// that must be refused.

#include "ScanTestSupport.h"
#include "core/io/NcduExport.h"
#include "core/io/NcduImport.h"
#include "support/ChildProcess.h"
#include "support/Privileges.h"

namespace ringfold {
namespace {

using namespace test;

// Reads back what `write` puts into a temporary file.
NcduImport readBack(const std::function<void(std::FILE*)>& write, std::stop_token stop = {},
                    ScanProgress* progress = nullptr) {
    std::FILE* f = std::tmpfile();
    write(f);
    std::rewind(f);
    NcduImport r = NcduImport::read(f, stop, progress);
    std::fclose(f);
    return r;
}
NcduImport roundTrip(const FileNode& root) {
    return readBack([&](std::FILE* f) { EXPECT_TRUE(writeNcduExport(root, f)); });
}

// The first difference between two trees (names, kinds, sizes, marks, dates, child
// order), walked side by side without recursion; empty when they are the same.
std::string treeDifference(const FileNode* a, const FileNode* b) {
    if (a->url() != b->url())
        return "root paths differ: " + b->url();
    std::vector<std::pair<const FileNode*, const FileNode*>> stack{{a, b}};
    while (!stack.empty()) {
        auto [x, y] = stack.back();
        stack.pop_back();
        if (!x || !y)
            return "child counts differ";
        if (x->name() != y->name() || x->isDirectory() != y->isDirectory() ||
            x->logicalSize() != y->logicalSize() || x->allocatedSize() != y->allocatedSize() ||
            x->isRestricted() != y->isRestricted() || x->isExcluded() != y->isExcluded() ||
            x->sharesStorage() != y->sharesStorage() || x->isHidden() != y->isHidden() ||
            x->modificationDate() != y->modificationDate())
            return "differs at " + std::string(x->name());
        const FileNode *cx = x->firstChild(), *cy = y->firstChild();
        for (; cx || cy;
             cx = cx ? cx->nextSibling() : nullptr, cy = cy ? cy->nextSibling() : nullptr)
            stack.emplace_back(cx, cy);
    }
    return "";
}

TEST(SavedScan, RoundTripKeepsTheTreeByteForByte) {
    FixtureTree fx;
    fx.chmod("", 0755);
    for (const char* name : {"new\nline", "quote\"d", "back\\slash", "ctl\x01\x1f\x7f",
                             "bad\xff\xfe utf8", "\xc3\xa9t\xc3\xa9", ".hidden", "tab\there"})
        fx.writeFile(std::string("odd/") + name, 3000);
    fx.writeFiles({{"data/big", 100000}, {"locked/secret", 5000}});
    fx.hardLink("data/big", "odd/link");
    fx.chmod("locked", 0);
    bool dropped = false;
    const std::string failures = runUnprivileged(
        [&] {
            Scanned s = scanWith(Backend::bulk, fx.root());
            NcduImport back = roundTrip(*s.root());
            if (!back.result)
                return back.error;
            const FileNode* r = back.result->root.get();
            std::string failed = treeDifference(s.root(), r);
            if (!at(r, "locked")->isRestricted() ||
                back.result->accounting.restrictedPathCount != 1)
                failed += " lost the restricted mark";
            if (back.counts.items != s.items || back.counts.sharedStreams != 1)
                failed += " counts " + std::to_string(back.counts.items);
            return failed;
        },
        dropped);
    if (!dropped)
        SKIP_OR_FAIL_GTEST("could not scan as an unprivileged user: " + failures);
    EXPECT_EQ(failures, "");
}

TEST(SavedScan, DeepTreesAndExcludedFoldersSurvive) {
    MemoryTree m("deep");
    FileNode* n = m.root();
    for (int i = 0; i < 200000; ++i)
        n = m.folder(n, "d");
    m.file(n, "leaf", 4096);
    m.folder(m.root(), "mnt")->setExcluded(true);
    m.totalFolders();
    NcduExportInfo info;
    info.timestamp = 1700000000;
    auto write = [&](std::FILE* f) { writeNcduExport(*m.root(), f, info); };
    ScanProgress progress;
    NcduImport back = readBack(write, {}, &progress);
    ASSERT_TRUE(back.result) << back.error;
    EXPECT_EQ(treeDifference(m.root(), back.result->root.get()), "");
    EXPECT_EQ(std::tuple(back.counts.items, progress.itemCount(), back.timestamp),
              std::tuple(200003, 200003, std::optional<Timestamp>(1700000000)));
    std::stop_source stop;
    stop.request_stop();
    NcduImport stopped = readBack(write, stop.get_token());
    EXPECT_TRUE(stopped.cancelled && !stopped.result);
}

TEST(SavedScan, ReadsNcduAndGduExportsWithTheTotalsOfALiveScan) {
    FixtureTree fx;
    fx.writeFiles({{"a/one", 70000}, {"a/b/two", 5000}, {"c/three", 1}, {"empty-file", 0}});
    fx.makeFolder("empty");
    fx.hardLink("a/one", "c/one-again");
    fx.hardLink("a/one", "one-thrice");
    fx.symlink("a/one", "sym");
    Scanned live = scanWith(Backend::bulk, fx.root());
    FixtureTree elsewhere;
    const std::string file = elsewhere.fullPath("scan.json");
    // ncdu writes every name of a hard-linked file with its link count; gdu marks only
    // the names after the first it met.
    for (const std::vector<std::string>& writer :
         {std::vector<std::string>{"ncdu", "-0", "-o", file, fx.root()},
          std::vector<std::string>{"gdu", "-n", "-p", "-o", file, fx.root()}}) {
        if (::access(("/usr/bin/" + writer[0]).c_str(), X_OK) != 0)
            SKIP_OR_FAIL_GTEST(writer[0] + " is not installed"); // the test's packages have it
        CommandResult written = runCommand(writer);
        ASSERT_EQ(written.exitCode, 0) << written.err;
        std::FILE* f = std::fopen(file.c_str(), "rb");
        NcduImport loaded = NcduImport::read(f);
        std::fclose(f);
        ASSERT_TRUE(loaded.result) << writer[0] << ": " << loaded.error << " at " << loaded.errorOffset;
        const FileNode *l = loaded.result->root.get(), *s = live.root();
        EXPECT_EQ(std::tuple(l->allocatedSize(), l->logicalSize(), loaded.counts.items, l->url()),
                  std::tuple(s->allocatedSize(), s->logicalSize(), live.items, fx.root()))
            << writer[0];
        EXPECT_EQ(sumsMismatch(l), "") << writer[0];
    }
}

TEST(SavedScan, MalformedInputIsRefusedWithItsOffset) {
    const std::string head = R"([1,2,{"progname":"x"},[{"name":"/r"},)";
    const std::vector<std::pair<std::string, std::size_t>> cases = {
        // text, offset
        {"", 0},
        {head + R"({"name":"f","asize":1)", head.size() + 21}, // truncated
        {R"([2,0,{},[{"name":"/r"}]])", 1},                    // version
        {std::string(1000000, '['), 1},                        // deep arrays
        {R"([1,2,{"x":)" + std::string(100, '[') + "]]", 74},  // deep metadata
        {head + R"({"name":"f","asize":99999999999999999999}]])", head.size() + 20},
        {head + R"({"name":"f","dsize":9223372036854775808}]])", head.size() + 20},
        {head + R"({"name":"f","asize":-1}]])", head.size() + 20},
        {head + R"({"name":"f\x"}]])", head.size() + 10},                  // bad escape
        {head + R"({"name":"a/b"}]])", head.size() + 13},                  // not a file name
        {head + R"({"asize":1}]])", head.size() + 10},                     // no name
        {head + "{\"name\":\"" + std::string(70 << 20, 'n') + "\"}]]", 0}, // huge name
    };
    for (const auto& [text, offset] : cases) {
        NcduImport r = readBack([&](std::FILE* f) { std::fwrite(text.data(), 1, text.size(), f); });
        const std::string shown = text.substr(0, 60);
        EXPECT_TRUE(!r.result && !r.error.empty()) << shown;
        if (offset)
            EXPECT_EQ(r.errorOffset, offset) << shown << ": " << r.error;
        else
            EXPECT_LE(r.errorOffset, text.size()) << shown;
    }
}

} // namespace
} // namespace ringfold
