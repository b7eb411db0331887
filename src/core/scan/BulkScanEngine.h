#pragma once
// The default back-end: reads every folder with getdents64 + fd-relative statx and
// scans folders concurrently on a pool of threads.
//
// Threads: `maxConcurrentDirScans` worker threads share one stack of work: folders to
// read, and stretches of a huge folder's entries to stat, so a folder of a million
// files keeps every thread busy. Queued folders are kept as a link to their parent
// job and a node, never as a path or a descriptor: a worker builds the path when it
// takes one. The worker that finishes a folder goes straight on with its first
// subfolder, opened relative to the folder's descriptor, so a deep chain costs the
// same per level however deep it is. A worker holds at most two descriptors, plus one
// per huge folder whose stretches are still being statted.
//
// A finished subfolder is linked into its parent only when its whole subtree is done,
// by whichever worker finishes last. An exception on any worker (std::bad_alloc, say)
// stops all of them and is rethrown from scan() on the calling thread.
//
// Order of children: files (and folders that were not entered) in directory order,
// then subfolders in the order their scans finished.

#include "core/scan/ScanBackend.h"
#include "core/scan/ScanSupport.h"

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace ringfold {

class BulkScanEngine : public ScanBackend {
public:
    struct Config {
        /// Worker threads; at least 1.
        int maxConcurrentDirScans = 1;
        DeviceIDProvider deviceIDProvider = defaultDeviceID;
        SystemRootTest isSystemRoot = isFileSystemRoot;
        /// Home folder whose cloud roots apply; empty for the current user's.
        std::string homePath;
        /// Further cloud-root prefixes (each ending in "/") a platform layer knows of.
        std::vector<std::string> extraCloudRoots;
        /// Where the closing diagnostic line goes; null for nowhere.
        std::FILE* diagnostics = stdout;
        /// Called on a worker before each folder is read. Whatever it throws fails the
        /// scan like any other exception on a worker (tests inject failures with it).
        std::function<void(const FileNode& folder)> beforeFolderRead;
    };

    /// Figures of the last scan for tests and tuning.
    struct Stats {
        int peakConcurrentReads = 0;
        std::int64_t folders = 0;
        std::int64_t mountSkipped = 0;
        std::int64_t sharedStreams = 0;
        std::int64_t itemCount = 0;
    };

    explicit BulkScanEngine(Config config);
    std::optional<ScanResult> scan(const std::string& path, std::stop_token stop = {},
                                   ScanProgress* progress = nullptr) override;
    Stats lastStats() const { return m_stats; }
    ScanCounts lastCounts() const override { return {m_stats.itemCount, m_stats.sharedStreams}; }

private:
    Config m_config;
    Stats m_stats;
};

} // namespace ringfold
