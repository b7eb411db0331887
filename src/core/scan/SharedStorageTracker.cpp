#include "core/scan/SharedStorageTracker.h"

#include "core/model/FileNode.h"

namespace ringfold {

std::size_t SharedStorageTracker::shardIndex(std::uint32_t deviceID, std::uint64_t streamID) {
    std::uint64_t h = streamID + std::uint64_t(deviceID) * 0x9E3779B97F4A7C15ull;
    h = (h ^ (h >> 30)) * 0xBF58476D1CE4E5B9ull;
    h = (h ^ (h >> 27)) * 0x94D049BB133111EBull;
    return static_cast<std::size_t>((h ^ (h >> 31)) & 31u);
}

bool SharedStorageTracker::claim(std::uint32_t deviceID, std::uint64_t streamID, FileNode* node) {
    LockedShard& shard = m_shards[shardIndex(deviceID, streamID)];
    std::lock_guard lock(shard.mutex);
    auto [it, inserted] = shard.state.firstSeen.try_emplace(Key{deviceID, streamID}, node);
    if (inserted)
        return true;
    FileNode* first = it->second;
    if (!first->sharesStorage()) {
        first->setSharesStorage(true);
        ++shard.state.duplicateStreams;
    }
    return false;
}

std::int64_t SharedStorageTracker::totalDuplicateStreams() const {
    std::int64_t total = 0;
    for (const auto& shard : m_shards) {
        std::lock_guard lock(shard.mutex);
        total += shard.state.duplicateStreams;
    }
    return total;
}

} // namespace ringfold
