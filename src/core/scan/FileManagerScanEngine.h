#pragma once
// The portable back-end, used for network volumes: one thread walks the tree with
// opendir/readdir and one lstat per item on full paths. It stores every node's
// location, counts hard links in full each time they are met, and keeps the
// directory entry's own sizes for folders it does not enter. The walk keeps its own
// stack (no recursion) and holds no folder open while it descends.

#include "core/scan/ScanBackend.h"
#include "core/scan/ScanSupport.h"

#include <cstdio>
#include <string>

namespace ringfold {

class FileManagerScanEngine : public ScanBackend {
public:
    struct Config {
        DeviceIDProvider deviceIDProvider = defaultDeviceID;
        SystemRootTest isSystemRoot = isFileSystemRoot;
        std::string homePath;
        std::FILE* diagnostics = stdout;
    };

    explicit FileManagerScanEngine(Config config);
    std::optional<ScanResult> scan(const std::string& path, std::stop_token stop = {},
                                   ScanProgress* progress = nullptr) override;
    std::int64_t lastItemCount() const { return m_itemCount; }
    /// No shared streams: this back-end counts hard links in full each time.
    ScanCounts lastCounts() const override { return {m_itemCount, 0}; }

private:
    Config m_config;
    std::int64_t m_itemCount = 0;
};

} // namespace ringfold
