// What both back-ends must do alike, each case run on each back-end.

#include "core/scan/ScanEngine.h"

#include "ScanTestSupport.h"

#include <atomic>
#include <climits>
#include <fstream>
#include <linux/magic.h>
#include <map>
#include <sys/vfs.h>

namespace ringfold {
namespace {

using namespace test;

const std::string kLongFile = [] {
    std::string rel = "long";
    for (int i = 0; i < 20; ++i)
        rel += "/" + std::string(240, 'p');
    return rel + "/end.txt";
}();

// One tree for the whole run, without hard links (the back-ends count those apart).
const FixtureTree& mixedTree() {
    static FixtureTree fx;
    static const bool built = [] {
        // clang-format off
        fx.writeFiles({{"docs/report.pdf", 123456}, {"docs/deeper/a/b/c.bin", 70000},
                       {".hidden/config", 300}, {"empty-file", 0}, {"._meta", 5000},
                       {"only/._a", 4096}, {"x._y", 10}, {"odd name\n\xff", 999},
                       {"wide/sub/inner", 5}});
        // clang-format on
        fx.writeFile(kLongFile, 7000);
        fx.makeFolder("empty-folder");
        fx.sparseFile("vm/disk.img", 32LL << 20, 8192);
        fx.symlink("docs", "docs-link");
        fx.symlink("loop2", "loop1");
        fx.symlink("loop1", "loop2");
        fx.fifo("pipe");
        // More entries than one worker stats at a time.
        for (int i = 0; i < 9000; ++i)
            fx.writeFile("wide/f" + std::to_string(i), i % 50);
        return true;
    }();
    (void)built;
    return fx;
}

class BackendScan : public ::testing::TestWithParam<Backend> {
protected:
    bool bulk() const { return GetParam() == Backend::bulk; }
};

TEST_P(BackendScan, FindsEverythingWithConsistentSumsAndOneClosingLine) {
    const FixtureTree& fx = mixedTree();
    ScanProgress progress;
    ScanSetup setup;
    setup.progress = &progress;
    auto s = scanWith(GetParam(), fx.root(), setup);
    ASSERT_TRUE(s.result);
    const FileNode* root = s.root();
    EXPECT_EQ(s.items, test::nodeCount(root));
    EXPECT_EQ(test::sumsMismatch(root), "");
    EXPECT_EQ(progress.itemCount(), s.items);
    EXPECT_EQ(progress.allocatedBytes(), root->allocatedSize());
    EXPECT_EQ(s.result->accounting.enumeratedAllocatedSize, root->allocatedSize());
    EXPECT_EQ(s.result->accounting.restrictedPathCount, 0);
    EXPECT_GT(s.result->accounting.volumeTotalCapacity, 0);

    EXPECT_TRUE(!at(root, "._meta") && at(root, "x._y") && !at(root, "only")->hasChildren());
    EXPECT_TRUE(at(root, ".hidden")->isHidden());
    EXPECT_FALSE(at(root, "docs")->isHidden() || root->isHidden());
    for (const char* name : {"docs-link", "loop1", "pipe", "vm/disk.img"}) {
        const FileNode* n = at(root, name);
        ASSERT_NE(n, nullptr) << name;
        EXPECT_FALSE(n->isDirectory() || n->hasChildren()) << name;
        EXPECT_EQ(n->allocatedSize(), fx.allocatedSizeOf(name)) << name;
        EXPECT_EQ(n->logicalSize(), fx.logicalSizeOf(name)) << name;
    }
    EXPECT_EQ(at(root, "vm/disk.img")->kindLabel(), "IMG");
    for (const std::string& rel :
         {std::string("docs/deeper/a/b/c.bin"), std::string("odd name\n\xff"), kLongFile}) {
        const FileNode* n = at(root, rel);
        ASSERT_NE(n, nullptr) << rel;
        EXPECT_EQ(n->url(), fx.fullPath(rel));
    }
    EXPECT_EQ(at(root, "wide")->childCount(), 9001u);
    EXPECT_EQ(at(root, "wide/sub/inner")->logicalSize(), 5);

    long long items = 0;
    double seconds = 0;
    int tail = 0;
    EXPECT_EQ(std::sscanf(s.diagnostics.c_str(),
                          "[%*[A-Za-z]] scan complete: %lld items in %lfs, %n", &items, &seconds,
                          &tail),
              2)
        << s.diagnostics;
    EXPECT_EQ(items, s.items);
    EXPECT_EQ(s.diagnostics.substr(std::size_t(tail)),
              bulk() ? "0 cloud IPC queries, 0 restricted, 0 mount-skipped, 0 shared streams\n"
                     : "0 cloud IPC queries, 0 restricted\n");
    EXPECT_EQ(s.diagnostics.find(bulk() ? "[BulkScanEngine]" : "[FileManagerScanEngine]"), 0u);
}

TEST_P(BackendScan, ScanRootsDotNamedSymlinkedOrEmpty) {
    FixtureTree fx;
    fx.writeFiles({{".config/a", 10}, {"real/b", 20}});
    fx.symlink("real", "alias");
    fx.makeFolder("empty");
    auto dot = scanWith(GetParam(), fx.fullPath(".config"));
    ASSERT_TRUE(dot.result);
    EXPECT_TRUE(dot.root()->isHidden());
    // A favourite folder may be a symlink: the folder it points to is walked.
    auto alias = scanWith(GetParam(), fx.fullPath("alias"));
    ASSERT_TRUE(alias.result);
    EXPECT_EQ(alias.root()->name(), "alias");
    EXPECT_FALSE(alias.root()->isHidden());
    EXPECT_EQ(alias.root()->url(), fx.fullPath("alias"));
    EXPECT_EQ(alias.root()->logicalSize(), 20);
    auto empty = scanWith(GetParam(), fx.fullPath("empty") + "/./");
    EXPECT_TRUE(empty.items == 1 && !empty.root()->hasChildren() &&
                empty.root()->logicalSize() == 0);
    EXPECT_EQ(empty.root()->url(), fx.fullPath("empty"));
}

// Peak resident memory in KiB (after resetting the peak), or -1 where that can't be done.
long residentPeakKiB(bool reset) {
    if (reset && !(std::ofstream("/proc/self/clear_refs") << "5" << std::flush))
        return -1;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:"))
            return std::stol(line.substr(6));
    return -1;
}

TEST_P(BackendScan, DeepChainsCostTheSamePerLevelAndLocationsStayBounded) {
    // Long names make a per-level copy of the path show: it would need 400 MB here.
    constexpr int kDepth = 4000;
    const std::string seg(50, 'd');
    FixtureTree fx;
    const std::string deepest = fx.deepChain("chain", kDepth, seg);
    fx.writeFile(deepest + "/bottom.bin", 5000);
    [[maybe_unused]] const long before = residentPeakKiB(true);
    auto s = scanWith(GetParam(), fx.root());
    [[maybe_unused]] const long after = residentPeakKiB(false);
    ASSERT_TRUE(s.result);
    EXPECT_EQ(s.items, 1 + 1 + kDepth + 1);
    EXPECT_EQ(test::sumsMismatch(s.root()), "");
    std::vector<const FileNode*> chain;
    for (const FileNode* n = at(s.root(), "chain"); n; n = at(n, seg))
        chain.push_back(n);
    ASSERT_EQ(chain.size(), std::size_t(kDepth) + 1);
    const FileNode* bottom = at(chain.back(), "bottom.bin");
    ASSERT_NE(bottom, nullptr);
    EXPECT_EQ(bottom->url(), fx.fullPath(deepest + "/bottom.bin"));
    for (std::size_t i = 0; i < chain.size(); i += 97)
        EXPECT_EQ(chain[i]->url().size(), fx.root().size() + 6 + (seg.size() + 1) * i);
    EXPECT_LE(s.root()->tree().urlCacheBytes(), Tree::kUrlCacheBytes);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // A path kept per level would take hundreds of MiB here.
    if (before > 0 && after > 0) {
        EXPECT_LT(after - before, 32 * 1024) << "KiB of peak memory for " << kDepth << " levels";
    }
#endif
}

TEST_P(BackendScan, LogicalSizesBeyondInt64HoldAtTheMaximum) {
    // ext4 caps a file at 16 TiB; a tmpfs takes sparse files of up to 2^63 - 1 bytes.
    struct statfs sf {};
    if (::statfs("/dev/shm", &sf) != 0 || sf.f_type != TMPFS_MAGIC || ::access("/dev/shm", W_OK))
        GTEST_SKIP() << "needs a writable tmpfs at /dev/shm";
    FixtureTree fx("/dev/shm");
    for (int i = 0; i < 3; ++i)
        fx.sparseFile("huge/f" + std::to_string(i), 1LL << 62, 0);
    fx.writeFile("small", 10);
    ScanProgress progress;
    ScanSetup setup;
    setup.progress = &progress;
    auto s = scanWith(GetParam(), fx.root(), setup);
    ASSERT_TRUE(s.result);
    EXPECT_EQ(at(s.root(), "huge")->logicalSize(), INT64_MAX);
    EXPECT_EQ(s.root()->logicalSize(), INT64_MAX);
    EXPECT_EQ(test::sumsMismatch(s.root()), "");
    EXPECT_EQ(s.root()->allocatedSize(), fx.allocatedSizeOf("small"));
    EXPECT_EQ(progress.allocatedBytes(), s.root()->allocatedSize());
}

TEST_P(BackendScan, AFailureOrAStopInsideTheScanEndsItWithoutAResult) {
    FixtureTree fx;
    for (int d = 0; d < 24; ++d)
        fx.writeFile("d" + std::to_string(d) + "/sub/f", 10);
    std::atomic<bool> armed{true};
    ScanSetup setup;
    setup.threads = 4;
    setup.beforeFolderRead = [&](const FileNode& folder) {
        if (armed && folder.name() == "d17")
            throw std::bad_alloc();
    };
    std::FILE* diag = std::tmpfile();
    ScanEngine engine(test::makeBackend(GetParam(), setup, diag));
    EXPECT_THROW(engine.scan(fx.root()), std::bad_alloc); // on this thread, whichever ran it
    EXPECT_EQ(test::readAll(diag), "") << "a failed scan prints no closing line";
    armed = false;
    auto again = engine.scan(fx.root());
    ASSERT_TRUE(again);
    EXPECT_EQ(again->root->childCount(), 24u);
    std::fclose(diag);

    std::stop_source stop;
    std::atomic<int> read{0};
    setup.stop = stop.get_token();
    setup.beforeFolderRead = [&](const FileNode&) {
        if (++read == 5)
            stop.request_stop();
    };
    auto s = scanWith(GetParam(), fx.root(), setup);
    EXPECT_FALSE(s.result);
    EXPECT_EQ(s.diagnostics, "") << "a cancelled scan prints no closing line";
    EXPECT_LE(read.load(), 5 + setup.threads) << "folders were still read after the stop";
}

TEST_P(BackendScan, PseudoFileSystemsAndOtherDevicesAreNotEntered) {
    FixtureTree fx;
    fx.writeFiles(
        {{"proc/cpuinfo", 5000}, {"run/lock", 5000}, {"home/notes", 5000}, {"top", 5000}});
    ScanSetup setup;
    setup.isSystemRoot = [](const std::string&) { return true; };
    auto s = scanWith(GetParam(), fx.root(), setup);
    ASSERT_TRUE(s.result);
    for (const char* name : {"proc", "run"}) {
        const FileNode* n = at(s.root(), name);
        ASSERT_NE(n, nullptr) << name;
        EXPECT_TRUE(n->isDirectory() && !n->hasChildren() && !n->isRestricted()) << name;
        // The bulk scanner gives such a folder nothing; the other its entry's own sizes.
        EXPECT_EQ(n->allocatedSize(), bulk() ? 0 : fx.allocatedSizeOf(name)) << name;
    }
    EXPECT_NE(at(s.root(), "home/notes"), nullptr);
    if (bulk()) {
        EXPECT_NE(s.diagnostics.find(", 2 mount-skipped, "), std::string::npos) << s.diagnostics;
    }
    // The root on another device than everything below it.
    ScanSetup other;
    other.deviceID = [](const std::string&) { return std::optional<std::uint32_t>(1); };
    auto o = scanWith(GetParam(), fx.root(), other);
    ASSERT_TRUE(o.result);
    EXPECT_FALSE(at(o.root(), "home")->hasChildren());
    EXPECT_NE(at(o.root(), "top"), nullptr);
}

INSTANTIATE_TEST_SUITE_P(BothBackends, BackendScan,
                         ::testing::Values(Backend::bulk, Backend::enumeration), test::backendName);

TEST(BackendAgreement, BothBuildTheSameTreeWhenNothingIsHardLinked) {
    auto describe = [](Backend backend) { // location -> what both must agree on
        auto s = scanWith(backend, mixedTree().root());
        std::map<std::string, std::string> nodes;
        test::forEachNode(s.root(), [&](const FileNode* n) {
            nodes[n->url()] = std::to_string(n->isDirectory()) + std::to_string(n->isHidden()) +
                              " " + std::to_string(n->allocatedSize()) + " " +
                              std::to_string(n->logicalSize()) + " " +
                              std::to_string(n->childCount()) + " " +
                              std::to_string(n->modificationDate().value_or(-1));
        });
        EXPECT_EQ(s.items, std::int64_t(nodes.size()));
        return nodes;
    };
    EXPECT_TRUE(describe(Backend::bulk) == describe(Backend::enumeration));
}

} // namespace
} // namespace ringfold
