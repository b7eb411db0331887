#pragma once
// Live figures of a running scan, written by the scanner threads and polled by
// whoever shows progress. Counters are relaxed atomics bumped once per folder, so
// polling costs the scan nothing; the current folder is updated only when its lock
// is free, never waited for.

#include <atomic>
#include <cstdint>
#include <climits>
#include <mutex>
#include <string>
#include <string_view>

namespace ringfold {

class ScanProgress {
public:
    /// Items (files and folders) built so far.
    std::int64_t itemCount() const { return m_items.load(std::memory_order_relaxed); }
    /// Allocated bytes of the files counted so far.
    std::int64_t allocatedBytes() const { return m_allocated.load(std::memory_order_relaxed); }
    /// Folders read so far.
    std::int64_t folderCount() const { return m_folders.load(std::memory_order_relaxed); }
    /// Path of a folder being read right now (empty before the first).
    std::string currentFolder() const;

    // Scanner side.
    void addFolder(std::int64_t items, std::int64_t allocated) {
        m_items.fetch_add(items, std::memory_order_relaxed);
        // Held at INT64_MAX like the tree's own sums.
        std::int64_t now = m_allocated.load(std::memory_order_relaxed), sum;
        do {
            if (__builtin_add_overflow(now, allocated, &sum))
                sum = INT64_MAX;
        } while (!m_allocated.compare_exchange_weak(now, sum, std::memory_order_relaxed));
        m_folders.fetch_add(1, std::memory_order_relaxed);
    }
    void setCurrentFolder(std::string_view path);

private:
    std::atomic<std::int64_t> m_items{0};
    std::atomic<std::int64_t> m_allocated{0};
    std::atomic<std::int64_t> m_folders{0};
    mutable std::mutex m_mutex;
    std::string m_current;
};

} // namespace ringfold
