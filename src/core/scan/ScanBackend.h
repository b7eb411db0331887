#pragma once
// The contract of a scan back-end: walk the tree under a folder and return it.
//
// A back-end never fails because of the file system: unreadable folders and items
// become restricted nodes and are counted. The only way out without a result is
// cancellation through `stop`, tested at every folder and entry; then nothing is
// returned and everything the scan built is released.

#include "core/model/ScanResult.h"
#include "core/scan/ScanProgress.h"

#include <optional>
#include <stop_token>
#include <string>

namespace ringfold {

class ScanBackend {
public:
    virtual ~ScanBackend() = default;
    /// Scans the folder at `path`. `progress`, when given, is updated as the scan goes.
    virtual std::optional<ScanResult> scan(const std::string& path, std::stop_token stop = {},
                                           ScanProgress* progress = nullptr) = 0;
};

} // namespace ringfold
