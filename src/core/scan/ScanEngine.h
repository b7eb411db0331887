#pragma once
// The one entry point for scanning a source: picks the back-end by the source's kind
// (the portable walk for network volumes, the bulk scanner for everything else) and
// returns its result unchanged.

#include "core/model/Types.h"
#include "core/scan/ScanBackend.h"

#include <cstdio>
#include <memory>

namespace ringfold {

/// Worker threads for the bulk scanner on a machine with `processors` processors.
/// Folder reads block on the disk far more than they compute, so more threads than
/// processors pay on a cold cache (see the README's measurements).
int defaultScanThreads(int processors);
/// std::thread::hardware_concurrency(), at least 1.
int activeProcessorCount();

class ScanEngine {
public:
    struct Options {
        /// Worker threads of the bulk scanner; 0 picks defaultScanThreads.
        int threads = 0;
        std::FILE* diagnostics = stdout;
    };

    ScanEngine(ScanSourceKind kind, int activeProcessorCount);
    ScanEngine(ScanSourceKind kind, int activeProcessorCount, Options options);
    explicit ScanEngine(std::unique_ptr<ScanBackend> backend);

    std::optional<ScanResult> scan(const std::string& path, std::stop_token stop = {},
                                   ScanProgress* progress = nullptr);
    ScanBackend& backend() { return *m_backend; }
    ScanCounts lastCounts() const { return m_backend->lastCounts(); }

private:
    std::unique_ptr<ScanBackend> m_backend;
};

} // namespace ringfold
