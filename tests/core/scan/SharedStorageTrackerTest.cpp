#include "core/scan/SharedStorageTracker.h"

#include "core/model/Tree.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace ringfold {
namespace {

struct Nodes {
    std::shared_ptr<Tree> tree = Tree::create();
    NodeAllocator alloc{*tree};
    FileNode* make() {
        NodeInit init;
        init.name = "n";
        init.allocatedSize = init.logicalSize = 4096;
        return alloc.create(init);
    }
};

TEST(SharedStorageTracker, ThreeClaimsOfOneStreamAreFirstThenDuplicates) {
    Nodes n;
    SharedStorageTracker tracker;
    FileNode* first = n.make();
    FileNode* second = n.make();
    FileNode* third = n.make();
    EXPECT_TRUE(tracker.claim(5, 77, first));
    EXPECT_FALSE(first->sharesStorage()) << "a single holder shares nothing yet";
    EXPECT_EQ(tracker.totalDuplicateStreams(), 0);
    EXPECT_FALSE(tracker.claim(5, 77, second));
    EXPECT_FALSE(tracker.claim(5, 77, third));
    EXPECT_EQ(tracker.totalDuplicateStreams(), 1);
    EXPECT_TRUE(first->sharesStorage());
    EXPECT_EQ(first->allocatedSize(), 4096); // the tracker never touches sizes
    // The caller marks the later claimants itself.
    EXPECT_FALSE(second->sharesStorage());
    // Another stream, or the same stream number on another device, is another key.
    EXPECT_TRUE(tracker.claim(5, 78, n.make()));
    EXPECT_TRUE(tracker.claim(6, 77, n.make()));
    EXPECT_EQ(tracker.totalDuplicateStreams(), 1);
}

TEST(SharedStorageTracker, ConcurrentClaimsElectExactlyOneFirstHolderPerStream) {
    Nodes n;
    SharedStorageTracker tracker;
    constexpr std::size_t kThreads = 4, kStreams = 2000;
    std::vector<FileNode*> nodes(kThreads * kStreams);
    for (auto& node : nodes)
        node = n.make();
    std::atomic<std::size_t> firsts{0};
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (std::size_t s = 0; s < kStreams; ++s)
                firsts += tracker.claim(9, s, nodes[t * kStreams + s]) ? 1 : 0;
        });
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(firsts.load(), kStreams);
    EXPECT_EQ(tracker.totalDuplicateStreams(), std::int64_t(kStreams));
}

} // namespace
} // namespace ringfold
