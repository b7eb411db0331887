#include "core/scan/SharedStorageTracker.h"

#include "core/model/Tree.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace ringfold {
namespace {

struct Nodes {
    std::shared_ptr<Tree> tree = Tree::create();
    NodeAllocator alloc{*tree};
    FileNode* make(std::int64_t allocated = 4096) {
        NodeInit init;
        init.name = "n";
        init.allocatedSize = allocated;
        init.logicalSize = allocated;
        return alloc.create(init);
    }
};

// The shard mix written out step by step, independently of the tracker's code.
std::size_t referenceShard(std::uint32_t deviceID, std::uint64_t streamID) {
    std::uint64_t h = streamID;
    h += static_cast<std::uint64_t>(deviceID) * 0x9E3779B97F4A7C15ull; // wraps
    h ^= h >> 30;
    h *= 0xBF58476D1CE4E5B9ull;
    h ^= h >> 27;
    h *= 0x94D049BB133111EBull;
    h ^= h >> 31;
    return static_cast<std::size_t>(h & 31u);
}

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
}

TEST(SharedStorageTracker, DistinctStreamsAndDevicesAreDistinctKeys) {
    Nodes n;
    SharedStorageTracker tracker;
    EXPECT_TRUE(tracker.claim(1, 100, n.make()));
    EXPECT_TRUE(tracker.claim(1, 101, n.make()));
    EXPECT_TRUE(tracker.claim(2, 100, n.make())); // same stream number, other device
    EXPECT_EQ(tracker.totalDuplicateStreams(), 0);
    EXPECT_FALSE(tracker.claim(2, 100, n.make()));
    EXPECT_FALSE(tracker.claim(1, 100, n.make()));
    EXPECT_EQ(tracker.totalDuplicateStreams(), 2);
}

TEST(SharedStorageTracker, ShardSelectionIsTheSplitMixFinaliserBitForBit) {
    EXPECT_EQ(SharedStorageTracker::shardIndex(1, 0), referenceShard(1, 0));
    EXPECT_EQ(SharedStorageTracker::shardIndex(1, 0), 15u);
    EXPECT_EQ(SharedStorageTracker::shardIndex(0, 0), 0u);
    EXPECT_EQ(SharedStorageTracker::shardIndex(0xFFFFFFFFu, ~0ull), 3u); // overflow wraps
    EXPECT_EQ(SharedStorageTracker::shardIndex(2, 0), 20u);
    EXPECT_EQ(SharedStorageTracker::shardIndex(1, 1), 1u);
    std::vector<int> perShard(SharedStorageTracker::kShardCount, 0);
    for (std::uint32_t dev = 0; dev < 8; ++dev) {
        for (std::uint64_t s = 0; s < 512; ++s) {
            const std::uint64_t stream = s * 0x10001ull + (std::uint64_t(dev) << 40);
            const auto shard = SharedStorageTracker::shardIndex(dev, stream);
            ASSERT_EQ(shard, referenceShard(dev, stream)) << dev << "/" << stream;
            ++perShard[shard];
        }
    }
    // Consecutive inode numbers must spread over every shard.
    for (int count : perShard)
        EXPECT_GT(count, 0);
}

TEST(SharedStorageTracker, ConcurrentClaimsElectExactlyOneFirstHolderPerStream) {
    Nodes n;
    SharedStorageTracker tracker;
    constexpr int kThreads = 4, kStreams = 2000;
    std::vector<std::vector<FileNode*>> nodes(kThreads);
    for (auto& v : nodes)
        for (int s = 0; s < kStreams; ++s)
            v.push_back(n.make());
    std::vector<int> firsts(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int s = 0; s < kStreams; ++s)
                if (tracker.claim(9, static_cast<std::uint64_t>(s),
                                  nodes[static_cast<std::size_t>(t)][static_cast<std::size_t>(s)]))
                    ++firsts[static_cast<std::size_t>(t)];
        });
    }
    for (auto& th : threads)
        th.join();
    int total = 0;
    for (int f : firsts)
        total += f;
    EXPECT_EQ(total, kStreams);
    EXPECT_EQ(tracker.totalDuplicateStreams(), kStreams);
}

} // namespace
} // namespace ringfold
