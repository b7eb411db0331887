// What only the bulk back-end does: count shared data once, bound its reads, order
// children, and stay consistent while the tree changes under it.

#include "core/scan/BulkScanEngine.h"

#include "ScanTestSupport.h"

#include <atomic>
#include <thread>

namespace ringfold {
namespace {

using namespace test;

TEST(BulkScan, SharedDataCountsOnceAndEveryHolderSharesStorage) {
    FixtureTree fx;
    fx.writeFiles({{"orig.bin", 4096}, {"c/own", 3000}});
    // Far apart in one folder of several stretches, which different workers stat.
    for (int i = 0; i < 9000; ++i)
        fx.writeFile("wide/f" + std::to_string(i), 0);
    fx.writeFile("wide/a-first", 8192);
    fx.hardLink("wide/a-first", "wide/z-second");
    fx.hardLink("wide/a-first", "c/third");
    // The root's own files are claimed before any subfolder is read, so the copy deep
    // down is the duplicate whatever the thread timing.
    fx.hardLink("orig.bin", "sub/only/dup.bin");
    auto s = scanWith(Backend::bulk, fx.root());
    ASSERT_TRUE(s.result);
    const std::int64_t blocks = fx.allocatedSizeOf("wide/a-first");
    EXPECT_EQ(s.root()->allocatedSize(),
              blocks + fx.allocatedSizeOf("c/own") + fx.allocatedSizeOf("orig.bin"));
    EXPECT_EQ(s.root()->logicalSize(), 3 * 8192 + 3000 + 2 * 4096); // every name's
    int keepers = 0;
    for (const char* rel : {"wide/a-first", "wide/z-second", "c/third"}) {
        const FileNode* n = at(s.root(), rel);
        ASSERT_NE(n, nullptr) << rel;
        EXPECT_TRUE(n->sharesStorage()) << rel;
        keepers += n->allocatedSize() == blocks;
        EXPECT_TRUE(n->allocatedSize() == blocks || n->allocatedSize() == 0) << rel;
    }
    EXPECT_EQ(keepers, 1);
    EXPECT_TRUE(at(s.root(), "orig.bin")->sharesStorage());
    EXPECT_EQ(at(s.root(), "sub/only/dup.bin")->sizeLabel(), "no extra space");
    // A folder holding only a zeroed duplicate is empty and shares storage, up the tree.
    for (const char* rel : {"sub/only", "sub"})
        EXPECT_TRUE(at(s.root(), rel)->allocatedSize() == 0 && at(s.root(), rel)->sharesStorage())
            << rel;
    EXPECT_FALSE(s.root()->sharesStorage());
    EXPECT_EQ(test::sumsMismatch(s.root()), "");
    EXPECT_NE(s.diagnostics.find(", 2 shared streams\n"), std::string::npos) << s.diagnostics;

    // The enumeration back-end counts every name in full.
    auto e = scanWith(Backend::enumeration, fx.root());
    ASSERT_TRUE(e.result);
    EXPECT_EQ(at(e.root(), "c")->allocatedSize(), fx.allocatedSizeOf("c/own") + blocks);
    EXPECT_FALSE(at(e.root(), "c/third")->sharesStorage());
}

TEST(BulkScan, ThousandSubfoldersBoundedReadsAndFilesFirst) {
    FixtureTree fx;
    for (int i = 0; i < 1000; ++i)
        fx.writeFile("f" + std::to_string(i) + "/data", i % 7 == 0 ? 5000 : 0);
    for (int i = 0; i < 30; ++i)
        fx.writeFile("file" + std::to_string(i), 10);
    test::ScanSetup setup;
    BulkScanEngine engine(test::configFor<BulkScanEngine::Config>(setup, nullptr));
    auto r = engine.scan(fx.root());
    ASSERT_TRUE(r);
    const auto stats = engine.lastStats();
    EXPECT_EQ(r->root->childCount(), 1030u);
    EXPECT_LE(stats.peakConcurrentReads, setup.threads);
    EXPECT_EQ(stats.folders, 1001);
    EXPECT_EQ(stats.itemCount, 2031);
    EXPECT_EQ(test::sumsMismatch(r->root.get()), "");
    bool folderSeen = false;
    for (FileNode* c : r->root->children()) {
        folderSeen = folderSeen || c->isDirectory();
        EXPECT_TRUE(c->isDirectory() || !folderSeen) << c->name() << " comes after a folder";
    }
}

TEST(BulkScan, EntriesDeletedDuringTheScanLeaveAConsistentTree) {
    FixtureTree fx;
    constexpr int kFolders = 40, kFiles = 50;
    for (int d = 0; d < kFolders; ++d)
        for (int f = 0; f < kFiles; ++f)
            fx.writeFile("d" + std::to_string(d) + "/f" + std::to_string(f), 1000);
    ScanProgress progress;
    std::atomic<bool> done{false};
    std::thread deleter([&] {
        while (!done.load() && progress.folderCount() < 1)
            std::this_thread::yield();
        for (int d = kFolders - 1; d >= 0 && !done.load(); --d) {
            const std::string folder = fx.fullPath("d" + std::to_string(d));
            for (int f = 0; f < kFiles; ++f)
                ::unlink((folder + "/f" + std::to_string(f)).c_str());
            ::rmdir(folder.c_str());
        }
    });
    test::ScanSetup setup;
    setup.threads = 2;
    setup.progress = &progress;
    auto s = scanWith(Backend::bulk, fx.root(), setup);
    done.store(true);
    deleter.join();
    ASSERT_TRUE(s.result);
    EXPECT_EQ(test::sumsMismatch(s.root()), "");
    EXPECT_EQ(test::nodeCount(s.root()), s.items);
    std::int64_t files = 0;
    test::forEachNode(s.root(), [&](const FileNode* n) {
        files += !n->isDirectory();
        EXPECT_TRUE(n->isDirectory() || n->logicalSize() == 1000) << n->name();
    });
    EXPECT_EQ(s.root()->logicalSize(), files * 1000);
}

} // namespace
} // namespace ringfold
