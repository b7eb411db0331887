#pragma once
// The default back-end: reads every folder with getdents64 + fd-relative statx and
// scans folders concurrently on a pool of threads.
//
// Threads: `maxConcurrentDirScans` worker threads share one stack of folder paths
// (never descriptors: at most one folder is open per worker), so the whole scan never
// reads more than that many folders at once and never holds more than two
// descriptors per worker. Each folder's files are built by the worker that reads it;
// a finished subfolder is linked into its parent only when its whole subtree is done,
// by whichever worker finishes last, so no node is written by two threads.
//
// Order of children: files (and folders that were not entered) in directory order,
// then subfolders in the order their scans finished.

#include "core/scan/ScanBackend.h"
#include "core/scan/ScanSupport.h"

#include <cstdio>
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
