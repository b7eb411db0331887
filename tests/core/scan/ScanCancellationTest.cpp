// Cancellation and concurrent change of the tree under a running scan, for both
// back-ends. These run under ThreadSanitizer in CI, so the fixtures stay modest.

#include "core/scan/BulkScanEngine.h"
#include "core/scan/FileManagerScanEngine.h"

#include "ScanTestSupport.h"
#include "support/FixtureTree.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <unistd.h>

namespace ringfold {
namespace {

using test::FixtureTree;
using Clock = std::chrono::steady_clock;

constexpr int kWideFolders = 20, kWideFiles = 20, kChainDepth = 1000;

struct CancelOutcome {
    bool returnedResult = true;
    bool stopRequested = false;
    double secondsAfterRequest = 0;
};

// Runs `scan` on this thread while another thread requests a stop as soon as the scan
// has finished a few folders. On a busy machine the canceller may not run before a
// scan of this small tree is over, so that is tried a few times.
template <typename ScanFn> CancelOutcome cancelDuringScan(ScanFn scan) {
    CancelOutcome out;
    for (int attempt = 0; attempt < 5 && !out.stopRequested; ++attempt) {
        std::stop_source stop;
        ScanProgress progress;
        std::atomic<bool> finished{false};
        std::atomic<Clock::rep> requestedAt{0};
        std::thread canceller([&] {
            while (!finished.load() && progress.folderCount() < 3)
                std::this_thread::yield();
            if (!finished.load()) {
                requestedAt.store(Clock::now().time_since_epoch().count());
                stop.request_stop();
            }
        });
        auto result = scan(stop.get_token(), &progress);
        const auto end = Clock::now();
        finished.store(true);
        canceller.join();
        out.returnedResult = result.has_value();
        out.stopRequested = stop.stop_requested();
        out.secondsAfterRequest = std::chrono::duration<double>(
                                      end - Clock::time_point(Clock::duration(requestedAt.load())))
                                      .count();
    }
    return out;
}

// Built once for the suite, since creating entries is the slow part here: a few
// hundred files, and a chain of 1,000 folders with 200-character names. Every folder
// of the chain lies far beyond PATH_MAX and is reached through dozens of openat
// stretches, so a single-threaded scan runs for a good fraction of a second on any
// machine and the stop request always lands in the middle of it.
class ScanCancellation : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_tree = new FixtureTree();
        for (int d = 0; d < kWideFolders; ++d) {
            const std::string folder = "d" + std::to_string(d) + "/";
            for (int f = 0; f < kWideFiles; ++f)
                s_tree->writeFile(folder + "f" + std::to_string(f), 0);
        }
        s_tree->deepChain("chain", kChainDepth, std::string(200, 'c'));
    }
    static void TearDownTestSuite() {
        delete s_tree;
        s_tree = nullptr;
    }
    static FixtureTree* s_tree;
};
FixtureTree* ScanCancellation::s_tree = nullptr;

TEST_F(ScanCancellation, BulkScanStopsPromptlyAndReturnsNothing) {
    // Declared before the engine, which writes to it until it is destroyed.
    struct Closer {
        void operator()(std::FILE* f) const { std::fclose(f); }
    };
    std::unique_ptr<std::FILE, Closer> diag(std::tmpfile());
    BulkScanEngine engine(test::bulkConfig(1, diag.get()));
    auto out = cancelDuringScan(
        [&](std::stop_token t, ScanProgress* p) { return engine.scan(s_tree->root(), t, p); });
    ASSERT_TRUE(out.stopRequested) << "the scan kept finishing before it could be cancelled";
    EXPECT_FALSE(out.returnedResult);
    EXPECT_LT(out.secondsAfterRequest, 0.5);
    EXPECT_EQ(test::readAll(diag.get()), "") << "a cancelled scan prints no closing line";

    // The engine is usable again afterwards and sees the whole tree.
    auto again = engine.scan(s_tree->root());
    ASSERT_TRUE(again);
    EXPECT_EQ(again->root->childCount(), std::size_t(kWideFolders) + 1);
    EXPECT_EQ(engine.lastStats().itemCount,
              1 + kWideFolders + kWideFolders * kWideFiles + 1 + kChainDepth);
    EXPECT_TRUE(test::readAll(diag.get()).starts_with("[BulkScanEngine] scan complete: "));
}

TEST_F(ScanCancellation, EnumerationScanStopsPromptlyOrAtOnceWhenAskedBeforehand) {
    FileManagerScanEngine engine(test::enumerationConfig());
    auto out = cancelDuringScan(
        [&](std::stop_token t, ScanProgress* p) { return engine.scan(s_tree->root(), t, p); });
    ASSERT_TRUE(out.stopRequested) << "the scan kept finishing before it could be cancelled";
    EXPECT_FALSE(out.returnedResult);
    EXPECT_LT(out.secondsAfterRequest, 0.5);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_FALSE(engine.scan(s_tree->root(), stop.get_token()));
    EXPECT_FALSE(BulkScanEngine(test::bulkConfig(2)).scan(s_tree->root(), stop.get_token()));
}

TEST(ScanUnderChange, EntriesDeletedDuringTheScanLeaveAConsistentTree) {
    FixtureTree fx;
    constexpr int kFolders = 40, kFiles = 50;
    for (int d = 0; d < kFolders; ++d)
        for (int f = 0; f < kFiles; ++f)
            fx.writeFile("d" + std::to_string(d) + "/f" + std::to_string(f), 1000);
    ScanProgress progress;
    std::atomic<bool> done{false};
    std::atomic<int> deleted{0};
    std::thread deleter([&] {
        while (!done.load() && progress.folderCount() < 1)
            std::this_thread::yield();
        // From the last folders backwards, the ones the scan reaches late.
        for (int d = kFolders - 1; d >= 0 && !done.load(); --d) {
            const std::string folder = fx.fullPath("d" + std::to_string(d));
            for (int f = 0; f < kFiles; ++f)
                if (::unlink((folder + "/f" + std::to_string(f)).c_str()) == 0)
                    ++deleted;
            ::rmdir(folder.c_str());
        }
    });
    BulkScanEngine engine(test::bulkConfig(2));
    auto r = engine.scan(fx.root(), {}, &progress);
    done.store(true);
    deleter.join();
    ASSERT_TRUE(r);
    const FileNode* root = r->root.get();
    EXPECT_EQ(test::sumsMismatch(root), "");
    EXPECT_EQ(test::nodeCount(root), engine.lastStats().itemCount);
    // Every file still in the tree was counted with its full size.
    std::int64_t files = 0;
    test::forEachNode(root, [&](const FileNode* n) {
        if (!n->isDirectory()) {
            ++files;
            EXPECT_EQ(n->logicalSize(), 1000);
        }
    });
    EXPECT_EQ(root->logicalSize(), files * 1000);
    EXPECT_LE(files, kFolders * kFiles);
    EXPECT_EQ(r->accounting.enumeratedAllocatedSize, root->allocatedSize());

    // The same for the enumeration back-end over what is left.
    FileManagerScanEngine enumeration(test::enumerationConfig());
    auto e = enumeration.scan(fx.root());
    ASSERT_TRUE(e);
    EXPECT_EQ(test::sumsMismatch(e->root.get()), "");
    EXPECT_EQ(e->root->logicalSize(), (kFolders * kFiles - deleted.load()) * 1000LL);
}

} // namespace
} // namespace ringfold
