#pragma once
// The portable back-end, used for network volumes: one thread walks the tree depth
// first, listing each folder with getdents64 and reading each item with fstatat
// relative to its folder. It counts hard links in full each time they are met and
// keeps the directory entry's own sizes for folders it does not enter.
//
// Memory: a node and its name per item, nothing else per item; locations are
// derived from the tree when asked for. The walk keeps its own stack (no recursion);
// only the deepest frames keep their folder open, and a shallower folder is reopened
// through ".." of the folder below it (checked against its device and inode), so a
// deep chain costs the same per level however deep it is.

#include "core/scan/ScanBackend.h"
#include "core/scan/ScanSupport.h"

#include <cstdio>
#include <functional>
#include <string>

namespace ringfold {

class FileManagerScanEngine : public ScanBackend {
public:
    struct Config {
        DeviceIDProvider deviceIDProvider = defaultDeviceID;
        SystemRootTest isSystemRoot = isFileSystemRoot;
        std::string homePath;
        std::FILE* diagnostics = stdout;
        /// Called before each folder is read; whatever it throws leaves scan().
        std::function<void(const FileNode& folder)> beforeFolderRead;
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
