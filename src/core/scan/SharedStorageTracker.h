#pragma once
// Counts every shared data stream (hard links; clones where a platform reports them)
// once per scan. The first node to claim a (device, stream) key keeps its allocated
// size; later claimants are duplicates. Called concurrently by all scanner threads:
// 32 shards, each with its own mutex, one lock per call and never two at once.

#include <array>
#include <cstdint>
#include <mutex>
#include <unordered_map>

namespace ringfold {

class FileNode;

class SharedStorageTracker {
public:
    static constexpr std::size_t kShardCount = 32;

    struct Key {
        std::uint32_t deviceID = 0;
        std::uint64_t streamID = 0;
        friend bool operator==(const Key&, const Key&) = default;
    };

    /// SplitMix64's finaliser over both fields; the low five bits pick the shard.
    static std::size_t shardIndex(std::uint32_t deviceID, std::uint64_t streamID);

    /// True for the first claim of the key. On a repeat claim the first holder is
    /// marked as sharing storage (its size stays) and false is returned.
    bool claim(std::uint32_t deviceID, std::uint64_t streamID, FileNode* node);
    /// Keys claimed at least twice, over all shards.
    std::int64_t totalDuplicateStreams() const;

private:
    struct KeyHash {
        std::size_t operator()(const Key& k) const {
            return std::hash<std::uint64_t>()(k.streamID ^ (std::uint64_t(k.deviceID) << 40));
        }
    };
    struct Shard {
        std::unordered_map<Key, FileNode*, KeyHash> firstSeen;
        std::int64_t duplicateStreams = 0;
    };
    struct alignas(64) LockedShard {
        mutable std::mutex mutex;
        Shard state;
    };
    std::array<LockedShard, kShardCount> m_shards;
};

} // namespace ringfold
