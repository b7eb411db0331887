#pragma once
// The contract of a scan back-end: walk the tree under a folder and return it.
//
// A back-end never fails because of the file system: unreadable folders and items
// become restricted nodes and are counted. The only way out without a result is
// cancellation through `stop`, tested at every folder and entry; then nothing is
// returned and everything the scan built is released.

#include "core/model/ScanResult.h"
#include "core/scan/ScanProgress.h"

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>

namespace ringfold {

/// Figures of a finished scan that its result does not carry.
struct ScanCounts {
    /// Entries the tree holds, the root included.
    std::int64_t items = 0;
    /// Data streams met again through another name and counted only once.
    std::int64_t sharedStreams = 0;
};

class ScanBackend {
public:
    virtual ~ScanBackend() = default;
    /// Scans the folder at `path`. `progress`, when given, is updated as the scan goes.
    virtual std::optional<ScanResult> scan(const std::string& path, std::stop_token stop = {},
                                           ScanProgress* progress = nullptr) = 0;
    /// The counts of the last scan (of a cancelled one, as far as it got); zeros
    /// before the first. Read it only once scan() has returned.
    virtual ScanCounts lastCounts() const { return {}; }
};

} // namespace ringfold
