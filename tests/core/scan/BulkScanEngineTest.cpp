#include "core/scan/BulkScanEngine.h"

#include "ScanTestSupport.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>

#include <set>

namespace ringfold {
namespace {

using test::at;
using test::bulkConfig;
using test::child;
using test::FixtureTree;

struct Scanned {
    std::optional<ScanResult> result;
    BulkScanEngine::Stats stats;
    std::string diagnostics;
    const FileNode* root() const { return result->root.get(); }
};

Scanned scanBulk(const std::string& path, int threads = 4,
                 BulkScanEngine::Config config = bulkConfig()) {
    std::FILE* diag = std::tmpfile();
    config.maxConcurrentDirScans = threads;
    config.diagnostics = diag;
    BulkScanEngine engine(config);
    Scanned s;
    s.result = engine.scan(path);
    s.stats = engine.lastStats();
    s.diagnostics = test::readAll(diag);
    std::fclose(diag);
    return s;
}

// Every test builds its own tree on disk.
class BulkScan : public ::testing::Test {
protected:
    FixtureTree fx;
};

TEST_F(BulkScan, DuplicatesKeepNoBlocksAndEveryHolderSharesStorage) {
    fx.writeFiles({{"f/one", 4096}, {"f/plain", 10000}, {"orig.bin", 4096}, {"sub/empty.txt", 0}});
    fx.hardLink("f/one", "f/two");
    // The root's own files are claimed before any subfolder is read, so the copy
    // deep down is the duplicate whatever the thread timing.
    fx.hardLink("orig.bin", "sub/only/dup.bin");
    auto s = scanBulk(fx.root());
    ASSERT_TRUE(s.result);
    const FileNode* f = at(s.root(), "f");
    FileNode* one = child(f, "one");
    FileNode* two = child(f, "two");
    ASSERT_TRUE(one && two);
    const std::int64_t blocks = fx.allocatedSizeOf("f/one");
    ASSERT_GT(blocks, 0);
    EXPECT_EQ(f->allocatedSize(), blocks + fx.allocatedSizeOf("f/plain"));
    EXPECT_EQ(f->logicalSize(), 4096 + 4096 + 10000); // logical sizes are all kept
    // Whichever came first keeps the blocks; both say they share storage.
    EXPECT_EQ(std::min(one->allocatedSize(), two->allocatedSize()), 0);
    EXPECT_EQ(std::max(one->allocatedSize(), two->allocatedSize()), blocks);
    EXPECT_TRUE(one->sharesStorage() && two->sharesStorage());
    EXPECT_FALSE(child(f, "plain")->sharesStorage());
    EXPECT_FALSE(f->sharesStorage());

    const FileNode* orig = at(s.root(), "orig.bin");
    const FileNode* dup = at(s.root(), "sub/only/dup.bin");
    ASSERT_TRUE(orig && dup);
    EXPECT_EQ(orig->allocatedSize(), fx.allocatedSizeOf("orig.bin"));
    EXPECT_TRUE(orig->sharesStorage());
    EXPECT_EQ(dup->logicalSize(), 4096);
    EXPECT_EQ(dup->sizeLabel(), "no extra space");
    // A folder holding only a zeroed duplicate is empty and shares storage.
    for (const char* rel : {"sub/only/dup.bin", "sub/only", "sub"}) {
        EXPECT_EQ(at(s.root(), rel)->allocatedSize(), 0) << rel;
        EXPECT_TRUE(at(s.root(), rel)->sharesStorage()) << rel;
    }
    EXPECT_FALSE(s.root()->sharesStorage());
    EXPECT_EQ(s.stats.sharedStreams, 2);
    EXPECT_EQ(s.stats.itemCount, 10);

    std::vector<std::int64_t> numbers;
    EXPECT_TRUE(test::matchesPattern(s.diagnostics,
                                     "[BulkScanEngine] scan complete: # items in #.#s, 0 cloud "
                                     "IPC queries, 0 restricted, 0 mount-skipped, 2 shared "
                                     "streams\n",
                                     &numbers))
        << s.diagnostics;
    ASSERT_FALSE(numbers.empty());
    EXPECT_EQ(numbers[0], 10);
}

TEST_F(BulkScan, ThreeNamesInThreeFoldersCountOneStreamOnce) {
    fx.writeFiles({{"a/x", 8192}, {"c/own", 3000}});
    fx.hardLink("a/x", "b/y");
    fx.hardLink("a/x", "c/z");
    auto s = scanBulk(fx.root(), 3);
    ASSERT_TRUE(s.result);
    const std::int64_t blocks = fx.allocatedSizeOf("a/x");
    EXPECT_EQ(s.root()->allocatedSize(), blocks + fx.allocatedSizeOf("c/own"));
    EXPECT_EQ(s.root()->logicalSize(), 3 * 8192 + 3000);
    int keepers = 0;
    for (const char* rel : {"a/x", "b/y", "c/z"}) {
        FileNode* n = at(s.root(), rel);
        ASSERT_NE(n, nullptr) << rel;
        EXPECT_TRUE(n->sharesStorage()) << rel;
        EXPECT_EQ(n->logicalSize(), 8192) << rel;
        if (n->allocatedSize() == blocks)
            ++keepers;
        else
            EXPECT_EQ(n->allocatedSize(), 0) << rel;
    }
    EXPECT_EQ(keepers, 1);
    EXPECT_EQ(s.stats.sharedStreams, 1); // streams met twice or more, not extra holders
    EXPECT_EQ(test::sumsMismatch(s.root()), "");
}

TEST_F(BulkScan, SparseFileCountsOnlyItsAllocatedBlocks) {
    fx.sparseFile("disk.img", 64LL << 20, 4096);
    auto s = scanBulk(fx.root());
    ASSERT_TRUE(s.result);
    const FileNode* img = child(s.root(), "disk.img");
    ASSERT_NE(img, nullptr);
    EXPECT_EQ(img->logicalSize(), 64LL << 20);
    EXPECT_EQ(img->allocatedSize(), fx.allocatedSizeOf("disk.img"));
    EXPECT_LT(img->allocatedSize(), img->logicalSize());
    EXPECT_EQ(img->kindLabel(), "IMG");
    // A hole is not a cloud placeholder.
    EXPECT_EQ(img->cloudStatus(), CloudStatus::notApplicable);
    EXPECT_EQ(s.root()->allocatedSize(), img->allocatedSize());
}

TEST_F(BulkScan, SymlinksAndFifosAreLeavesNeverFollowedOrOpened) {
    fx.fifo("pipe");
    fx.writeFile("target/big", 100000);
    fx.symlink("target", "link-to-dir");
    fx.symlink("target/big", "link-to-file");
    fx.symlink("loop2", "loop1");
    fx.symlink("loop1", "loop2");
    fx.symlink(".", "self");
    auto s = scanBulk(fx.root());
    ASSERT_TRUE(s.result);
    std::int64_t allocated = fx.allocatedSizeOf("target/big");
    std::int64_t logical = 100000;
    for (const char* name : {"link-to-dir", "link-to-file", "loop1", "loop2", "self", "pipe"}) {
        const FileNode* n = child(s.root(), name);
        ASSERT_NE(n, nullptr) << name;
        EXPECT_FALSE(n->isDirectory()) << name;
        EXPECT_FALSE(n->hasChildren()) << name;
        EXPECT_EQ(n->logicalSize(), fx.logicalSizeOf(name)) << name;
        EXPECT_EQ(n->allocatedSize(), fx.allocatedSizeOf(name)) << name;
        allocated += n->allocatedSize();
        logical += n->logicalSize();
    }
    EXPECT_EQ(s.root()->allocatedSize(), allocated);
    EXPECT_EQ(s.root()->logicalSize(), logical);
    EXPECT_EQ(s.stats.itemCount, 1 + 2 + 5 + 1);
    EXPECT_EQ(child(s.root(), "pipe")->kindLabel(), "File");
}

TEST_F(BulkScan, OddNamesArriveByteForByte) {
    const std::vector<std::string> names = {"with space", "new\nline",      "bad\xff\xfe utf8",
                                            "tab\there",  "\xc3\xbcnicode", "-dash",
                                            "*star?",     " leading"};
    for (const auto& n : names)
        fx.writeFile(n, 100);
    fx.writeFile("dir with\nnewline/inner \xff", 50);
    auto s = scanBulk(fx.root());
    ASSERT_TRUE(s.result);
    for (const auto& n : names) {
        const FileNode* node = child(s.root(), n);
        ASSERT_NE(node, nullptr) << n;
        EXPECT_EQ(node->logicalSize(), 100);
        EXPECT_EQ(node->url(), fx.root() + "/" + n);
    }
    const FileNode* inner = at(s.root(), "dir with\nnewline/inner \xff");
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->url(), fx.root() + "/dir with\nnewline/inner \xff");
    EXPECT_EQ(s.stats.itemCount, 1 + std::int64_t(names.size()) + 2);
}

TEST_F(BulkScan, AppleDoubleEntriesAreNeitherShownNorCounted) {
    fx.writeFiles({{"._meta", 5000},
                   {"._dir/inside", 5000},
                   {"._", 10},
                   {"keep", 100},
                   {"x._y", 100},
                   {"._also/._nested", 10},
                   {"only/._a", 4096}});
    auto s = scanBulk(fx.root());
    ASSERT_TRUE(s.result);
    std::set<std::string> names;
    for (FileNode* c : s.root()->children())
        names.emplace(c->name());
    EXPECT_EQ(names, (std::set<std::string>{"keep", "x._y", "only"}));
    const FileNode* only = child(s.root(), "only");
    EXPECT_FALSE(only->hasChildren());
    EXPECT_FALSE(only->isRestricted());
    EXPECT_EQ(only->allocatedSize(), 0);
    EXPECT_EQ(s.stats.itemCount, 4);
    EXPECT_EQ(s.root()->allocatedSize(), fx.allocatedSizeOf("keep") + fx.allocatedSizeOf("x._y"));
}

TEST_F(BulkScan, ThousandSubfoldersAllArriveWithBoundedConcurrentReads) {
    for (int i = 0; i < 1000; ++i)
        fx.writeFile("f" + std::to_string(i) + "/data", i % 7 == 0 ? 5000 : 0);
    auto s = scanBulk(fx.root(), 8);
    ASSERT_TRUE(s.result);
    std::set<std::string> names;
    for (FileNode* c : s.root()->children()) {
        EXPECT_TRUE(c->isDirectory());
        EXPECT_EQ(c->childCount(), 1u);
        names.emplace(c->name());
    }
    EXPECT_EQ(names.size(), 1000u);
    EXPECT_LE(s.stats.peakConcurrentReads, 8);
    EXPECT_GE(s.stats.peakConcurrentReads, 1);
    EXPECT_EQ(s.stats.folders, 1001);
    EXPECT_EQ(s.stats.itemCount, 2001);
    EXPECT_EQ(test::sumsMismatch(s.root()), "");
}

TEST_F(BulkScan, ChainOfThreeThousandLevels) {
    const std::string deepest = fx.deepChain("chain", 3000);
    fx.writeFile(deepest + "/bottom.bin", 5000);
    auto s = scanBulk(fx.root(), 2);
    ASSERT_TRUE(s.result);
    EXPECT_EQ(s.result->accounting.restrictedPathCount, 0);
    const FileNode* n = child(s.root(), "chain");
    int depth = 0;
    while (n && child(n, "d")) {
        n = child(n, "d");
        ++depth;
    }
    EXPECT_EQ(depth, 3000);
    const FileNode* bottom = child(n, "bottom.bin");
    ASSERT_NE(bottom, nullptr);
    EXPECT_EQ(bottom->url(), fx.root() + "/" + deepest + "/bottom.bin");
    EXPECT_EQ(s.root()->allocatedSize(), fx.allocatedSizeOf(deepest + "/bottom.bin"));
    EXPECT_EQ(s.root()->logicalSize(), 5000);
    EXPECT_EQ(s.stats.itemCount, 1 + 1 + 3000 + 1);
    EXPECT_EQ(test::sumsMismatch(s.root()), "");
}

TEST_F(BulkScan, FilesBeyondPathMaxAreFoundAndCounted) {
    const std::string seg(240, 'p');
    std::string rel = "long";
    for (int i = 0; i < 20; ++i) {
        rel += "/" + seg;
        if (i == 9)
            fx.writeFile(rel + "/middle.txt", 3000);
    }
    fx.writeFile(rel + "/end.txt", 7000);
    ASSERT_GT(fx.fullPath(rel).size(), std::size_t(PATH_MAX));
    auto s = scanBulk(fx.root());
    ASSERT_TRUE(s.result);
    EXPECT_EQ(s.result->accounting.restrictedPathCount, 0);
    EXPECT_EQ(s.root()->logicalSize(), 10000);
    EXPECT_EQ(s.root()->allocatedSize(),
              fx.allocatedSizeOf(rel + "/end.txt") +
                  fx.allocatedSizeOf(rel.substr(0, 5 + 10 * 241) + "/middle.txt"));
    const FileNode* end = at(s.root(), rel + "/end.txt");
    ASSERT_NE(end, nullptr);
    EXPECT_EQ(end->url(), fx.fullPath(rel + "/end.txt"));
}

TEST_F(BulkScan, ChildrenListFilesBeforeFolders) {
    for (int i = 0; i < 30; ++i) {
        const std::string n = std::to_string(i);
        fx.writeFile("mix/file" + n, 10);
        fx.writeFile("mix/dir" + n + "/inner", 10);
        fx.makeFolder("mix/emptydir" + n);
    }
    auto s = scanBulk(fx.root(), 4);
    ASSERT_TRUE(s.result);
    test::forEachNode(s.root(), [](const FileNode* folder) {
        bool folderSeen = false;
        for (FileNode* c : folder->children()) {
            if (c->isDirectory())
                folderSeen = true;
            else
                EXPECT_FALSE(folderSeen) << c->name() << " comes after a folder";
        }
    });
    EXPECT_EQ(at(s.root(), "mix")->childCount(), 90u);
}

TEST_F(BulkScan, TwoScansGiveDisjointIncreasingIds) {
    for (int i = 0; i < 50; ++i)
        fx.writeFile("d" + std::to_string(i % 5) + "/f" + std::to_string(i), 10);
    auto first = scanBulk(fx.root());
    auto second = scanBulk(fx.root());
    ASSERT_TRUE(first.result && second.result);
    NodeID max1 = 0, min2 = std::numeric_limits<NodeID>::max();
    std::set<NodeID> ids1;
    test::forEachNode(first.root(), [&](const FileNode* n) {
        max1 = std::max(max1, n->id());
        EXPECT_TRUE(ids1.insert(n->id()).second);
    });
    test::forEachNode(second.root(), [&](const FileNode* n) { min2 = std::min(min2, n->id()); });
    EXPECT_GT(min2, max1);
    EXPECT_EQ(ids1.size(), 56u);
}

TEST_F(BulkScan, PseudoFileSystemsAndOtherDevicesAreEmptyLeaves) {
    fx.writeFiles(
        {{"proc/cpuinfo", 5000}, {"run/lock", 5000}, {"home/me/notes", 5000}, {"top", 5000}});
    auto config = bulkConfig();
    config.isSystemRoot = [](const std::string&) { return true; };
    auto s = scanBulk(fx.root(), 2, config);
    ASSERT_TRUE(s.result);
    for (const char* name : {"proc", "run"}) {
        const FileNode* n = child(s.root(), name);
        ASSERT_NE(n, nullptr) << name;
        EXPECT_TRUE(n->isDirectory() && !n->hasChildren() && !n->isRestricted()) << name;
        EXPECT_EQ(n->allocatedSize(), 0) << name;
    }
    EXPECT_NE(at(s.root(), "home/me/notes"), nullptr);
    EXPECT_EQ(s.stats.mountSkipped, 2);
    EXPECT_NE(s.diagnostics.find(", 2 mount-skipped, "), std::string::npos) << s.diagnostics;
    EXPECT_EQ(s.root()->allocatedSize(),
              fx.allocatedSizeOf("home/me/notes") + fx.allocatedSizeOf("top"));

    // The root on another device than everything below it: no folder is entered.
    config = bulkConfig();
    config.deviceIDProvider = [](const std::string&) { return std::optional<std::uint32_t>(1); };
    auto other = scanBulk(fx.root(), 2, config);
    ASSERT_TRUE(other.result);
    EXPECT_EQ(other.stats.mountSkipped, 3);
    EXPECT_FALSE(child(other.root(), "home")->hasChildren());
    EXPECT_EQ(other.root()->allocatedSize(), fx.allocatedSizeOf("top"));
    // Without a known root device nothing is skipped.
    config.deviceIDProvider = [](const std::string&) { return std::optional<std::uint32_t>(); };
    auto all = scanBulk(fx.root(), 2, config);
    EXPECT_EQ(all.stats.mountSkipped, 0);
    EXPECT_NE(at(all.root(), "proc/cpuinfo"), nullptr);
}

TEST_F(BulkScan, EmptyFolderAndVolumeFiguresOfTheCleanedUpPath) {
    fx.writeFile("x", 12345);
    fx.makeFolder("empty");
    auto s = scanBulk(fx.root() + "/./", 1);
    ASSERT_TRUE(s.result);
    EXPECT_EQ(s.root()->url(), fx.root());
    const FileNode* empty = child(s.root(), "empty");
    ASSERT_NE(empty, nullptr);
    EXPECT_TRUE(empty->isDirectory());
    EXPECT_FALSE(empty->hasChildren() || empty->isRestricted());
    EXPECT_EQ(empty->allocatedSize(), 0);
    EXPECT_EQ(empty->logicalSize(), 0);
    EXPECT_EQ(s.stats.itemCount, 3);
    const auto& a = s.result->accounting;
    EXPECT_EQ(a.enumeratedAllocatedSize, fx.allocatedSizeOf("x"));
    EXPECT_EQ(a.enumeratedAllocatedSize, s.root()->allocatedSize());
    EXPECT_EQ(a.restrictedPathCount, 0);
    EXPECT_GT(a.volumeTotalCapacity, 0);
    EXPECT_GE(a.volumeTotalCapacity, a.volumeAvailableCapacity);
    auto e = scanBulk(fx.fullPath("empty"), 1); // an empty scan root
    ASSERT_TRUE(e.result);
    EXPECT_TRUE(e.root()->isDirectory() && !e.root()->hasChildren());
    EXPECT_EQ(e.stats.itemCount, 1);
}

} // namespace
} // namespace ringfold
