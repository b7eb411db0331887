#include "core/scan/ScanEngine.h"

#include "core/scan/BulkScanEngine.h"
#include "core/scan/FileManagerScanEngine.h"

#include <algorithm>
#include <thread>

namespace ringfold {

int activeProcessorCount() {
    return std::max(1u, std::thread::hardware_concurrency());
}

int defaultScanThreads(int processors) {
    return std::clamp(processors * 8, 8, 64);
}

ScanEngine::ScanEngine(ScanSourceKind kind, int processors)
    : ScanEngine(kind, processors, Options{}) {}

ScanEngine::ScanEngine(ScanSourceKind kind, int processors, Options options) {
    if (kind == ScanSourceKind::networkVolume) {
        FileManagerScanEngine::Config c;
        c.diagnostics = options.diagnostics;
        m_backend = std::make_unique<FileManagerScanEngine>(c);
    } else {
        BulkScanEngine::Config c;
        c.maxConcurrentDirScans =
            options.threads > 0 ? options.threads : defaultScanThreads(std::max(1, processors));
        c.diagnostics = options.diagnostics;
        m_backend = std::make_unique<BulkScanEngine>(c);
    }
}

ScanEngine::ScanEngine(std::unique_ptr<ScanBackend> backend) : m_backend(std::move(backend)) {}

std::optional<ScanResult> ScanEngine::scan(const std::string& path, std::stop_token stop,
                                           ScanProgress* progress) {
    return m_backend->scan(path, std::move(stop), progress);
}

} // namespace ringfold
