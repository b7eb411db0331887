#pragma once
// The file behind -f: reading a saved scan (-o writes through ExportFile).

#include "core/model/ScanResult.h"
#include "core/scan/ScanBackend.h"

#include <cstdio>
#include <optional>
#include <string>

namespace ringfold::cli {

/// Reads the saved scan in `file` ("-": standard input). Returns an error message
/// naming the file and the byte where reading stopped, or nothing on success.
std::optional<std::string> loadSavedScan(const std::string& file, std::optional<ScanResult>& result,
                                         ScanCounts& counts);

} // namespace ringfold::cli
