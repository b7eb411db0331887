#include "core/scan/FileManagerScanEngine.h"

#include "ScanTestSupport.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>

#include <climits>
#include <set>

namespace ringfold {
namespace {

using test::at;
using test::child;
using test::enumerationConfig;
using test::FixtureTree;

// A tree without hard links, where both back-ends must agree on every figure.
void buildMixedTree(FixtureTree& fx) {
    fx.writeFiles({{"docs/report.pdf", 123456},
                   {"docs/notes.txt", 10},
                   {"docs/deeper/a/b/c.bin", 70000},
                   {".hidden/config", 300},
                   {"empty-file", 0}});
    fx.makeFolder("empty-folder");
    fx.sparseFile("vm/disk.img", 32LL << 20, 8192);
    fx.symlink("docs", "docs-link");
    fx.fifo("pipe");
    fx.writeFile("odd name\n\xff", 999);
    for (int i = 0; i < 40; ++i)
        fx.writeFile("many/f" + std::to_string(i), i * 100);
}

TEST(EnumerationScan, FindsEverythingAndStoresEveryLocation) {
    FixtureTree fx;
    buildMixedTree(fx);
    std::FILE* diag = std::tmpfile();
    FileManagerScanEngine engine(enumerationConfig(diag));
    auto r = engine.scan(fx.root());
    const std::string line = test::readAll(diag);
    std::fclose(diag);
    ASSERT_TRUE(r);
    const FileNode* root = r->root.get();
    EXPECT_EQ(engine.lastItemCount(), test::nodeCount(root));
    EXPECT_EQ(test::sumsMismatch(root), "");
    const FileNode* c = at(root, "docs/deeper/a/b/c.bin");
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->url(), fx.fullPath("docs/deeper/a/b/c.bin"));
    EXPECT_EQ(c->allocatedSize(), fx.allocatedSizeOf("docs/deeper/a/b/c.bin"));
    EXPECT_TRUE(child(root, ".hidden")->isHidden());
    EXPECT_FALSE(child(root, "docs")->isHidden());
    EXPECT_FALSE(root->isHidden());
    const FileNode* link = child(root, "docs-link");
    ASSERT_NE(link, nullptr);
    EXPECT_FALSE(link->isDirectory());
    EXPECT_FALSE(link->hasChildren());
    EXPECT_NE(child(root, "pipe"), nullptr);
    EXPECT_NE(child(root, "odd name\n\xff"), nullptr);
    std::vector<std::int64_t> numbers;
    EXPECT_TRUE(test::matchesPattern(line,
                                     "[FileManagerScanEngine] scan complete: # items in #.#s, "
                                     "0 cloud IPC queries, 0 restricted\n",
                                     &numbers))
        << line;
    ASSERT_FALSE(numbers.empty());
    EXPECT_EQ(numbers[0], engine.lastItemCount());
}

TEST(EnumerationScan, SkippedFoldersKeepTheirOwnEntrySizes) {
    FixtureTree fx;
    fx.writeFiles({{"proc/x", 5000}, {"sys/y", 5000}, {"keep/z", 5000}});
    auto config = enumerationConfig();
    config.isSystemRoot = [](const std::string&) { return true; };
    FileManagerScanEngine engine(config);
    auto r = engine.scan(fx.root());
    ASSERT_TRUE(r);
    for (const char* name : {"proc", "sys"}) {
        const FileNode* n = child(r->root.get(), name);
        ASSERT_NE(n, nullptr) << name;
        EXPECT_FALSE(n->hasChildren()) << name;
        EXPECT_EQ(n->allocatedSize(), fx.allocatedSizeOf(name)) << name;
        EXPECT_EQ(n->logicalSize(), fx.logicalSizeOf(name)) << name;
    }
    EXPECT_NE(at(r->root.get(), "keep/z"), nullptr);
}

TEST(EnumerationScan, HardLinksInFullAppleDoubleDroppedPathsBeyondPathMaxCounted) {
    FixtureTree fx;
    fx.writeFiles({{"a/x", 8192}, {"only/._a", 4096}, {"only/._b/c", 4096}});
    fx.hardLink("a/x", "b/y");
    std::string rel = "long";
    for (int i = 0; i < 25; ++i)
        rel += "/" + std::string(200, 'q');
    fx.writeFile(rel + "/end.txt", 7000);
    ASSERT_GT(fx.fullPath(rel).size(), std::size_t(PATH_MAX));
    FileManagerScanEngine engine(enumerationConfig());
    auto r = engine.scan(fx.root());
    ASSERT_TRUE(r);
    const FileNode* root = r->root.get();
    // Hard links are counted in full each time and share nothing.
    EXPECT_EQ(at(root, "b")->allocatedSize(), fx.allocatedSizeOf("a/x"));
    EXPECT_EQ(at(root, "a")->allocatedSize(), fx.allocatedSizeOf("a/x"));
    EXPECT_FALSE(at(root, "b/y")->sharesStorage());
    // A folder of nothing but AppleDouble entries is empty.
    const FileNode* only = child(root, "only");
    ASSERT_NE(only, nullptr);
    EXPECT_FALSE(only->hasChildren() || only->isRestricted());
    EXPECT_EQ(only->allocatedSize(), 0);
    EXPECT_EQ(r->accounting.restrictedPathCount, 0);
    EXPECT_NE(at(root, rel + "/end.txt"), nullptr);
    EXPECT_EQ(root->logicalSize(), 2 * 8192 + 7000);
    EXPECT_EQ(engine.lastItemCount(), 1 + 2 + 2 + 1 + 25 + 1 + 1);
}

// Both back-ends walk the same tree without hard links: every node must match.
TEST(BackendAgreement, BulkAndEnumerationTotalsMatchWithoutHardLinks) {
    FixtureTree fx;
    buildMixedTree(fx);
    BulkScanEngine bulk(test::bulkConfig(3));
    FileManagerScanEngine enumeration(enumerationConfig());
    auto b = bulk.scan(fx.root());
    auto e = enumeration.scan(fx.root());
    ASSERT_TRUE(b && e);
    EXPECT_EQ(b->root->allocatedSize(), e->root->allocatedSize());
    EXPECT_EQ(b->root->logicalSize(), e->root->logicalSize());
    EXPECT_EQ(bulk.lastStats().itemCount, enumeration.lastItemCount());
    EXPECT_EQ(b->accounting.enumeratedAllocatedSize, e->accounting.enumeratedAllocatedSize);
    EXPECT_EQ(b->accounting.volumeTotalCapacity, e->accounting.volumeTotalCapacity);
    // Node by node, matched by location.
    std::map<std::string, const FileNode*> byPath;
    test::forEachNode(e->root.get(), [&](const FileNode* n) { byPath[n->url()] = n; });
    std::int64_t matched = 0;
    test::forEachNode(b->root.get(), [&](const FileNode* n) {
        auto it = byPath.find(n->url());
        ASSERT_NE(it, byPath.end()) << n->url();
        const FileNode* o = it->second;
        EXPECT_EQ(n->isDirectory(), o->isDirectory()) << n->url();
        EXPECT_EQ(n->allocatedSize(), o->allocatedSize()) << n->url();
        EXPECT_EQ(n->logicalSize(), o->logicalSize()) << n->url();
        EXPECT_EQ(n->childCount(), o->childCount()) << n->url();
        EXPECT_EQ(n->isHidden(), o->isHidden()) << n->url();
        EXPECT_EQ(n->kindLabel(), o->kindLabel()) << n->url();
        EXPECT_EQ(n->modificationDate(), o->modificationDate()) << n->url();
        ++matched;
    });
    EXPECT_EQ(matched, std::int64_t(byPath.size()));
}

// The live figures a progress display polls must end at the scan's own totals, each
// item and each byte counted once, whichever back-end ran.
TEST(BackendAgreement, ProgressFiguresEndAtTheScanTotals) {
    FixtureTree fx;
    buildMixedTree(fx);
    fx.writeFile("docs/deeper/a/b/more", 5000);
    BulkScanEngine bulk(test::bulkConfig(2));
    FileManagerScanEngine enumeration(enumerationConfig());
    for (ScanBackend* engine : std::initializer_list<ScanBackend*>{&bulk, &enumeration}) {
        ScanProgress progress;
        auto r = engine->scan(fx.root(), {}, &progress);
        ASSERT_TRUE(r);
        std::int64_t items = 0, folders = 0;
        test::forEachNode(r->root.get(), [&](const FileNode* n) {
            ++items;
            folders += n->isDirectory();
        });
        EXPECT_EQ(progress.itemCount(), items);
        EXPECT_EQ(progress.allocatedBytes(), r->root->allocatedSize());
        EXPECT_EQ(progress.folderCount(), folders);
    }
}

// A favourite folder can be reached through a symlink (say ~/Data -> /srv/data); the
// scan walks the folder it points to, whichever back-end runs it.
TEST(BackendAgreement, ASymlinkedScanTargetIsWalkedByBothBackEnds) {
    FixtureTree fx;
    fx.writeFiles({{"real/a.bin", 6000}, {"real/sub/b.bin", 9000}});
    fx.symlink("real", "alias");
    BulkScanEngine bulk(test::bulkConfig(2));
    FileManagerScanEngine enumeration(enumerationConfig());
    auto b = bulk.scan(fx.fullPath("alias"));
    auto e = enumeration.scan(fx.fullPath("alias"));
    ASSERT_TRUE(b && e);
    for (const auto* r : {&*b, &*e}) {
        EXPECT_TRUE(r->root->isDirectory());
        EXPECT_EQ(r->root->logicalSize(), 15000);
        EXPECT_EQ(r->root->childCount(), 2u);
        EXPECT_EQ(r->root->name(), "alias");
        EXPECT_EQ(r->root->url(), fx.fullPath("alias"));
    }
    EXPECT_EQ(b->root->allocatedSize(), e->root->allocatedSize());
    EXPECT_EQ(bulk.lastStats().itemCount, enumeration.lastItemCount());
}

} // namespace
} // namespace ringfold
