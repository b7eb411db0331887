#pragma once
// Text and JSON reports of a finished scan.

#include "core/junk/JunkClassifier.h"
#include "core/model/ScanResult.h"
#include "core/scan/ScanBackend.h"

#include <string>
#include <vector>

namespace ringfold::cli {

struct ReportData {
    std::string path;
    const ScanResult* result = nullptr;
    ScanCounts counts;
    double seconds = 0;
    int top = 10;
    /// The --junk listing; null when it was not asked for.
    const std::vector<JunkItem>* junk = nullptr;
};

std::string textReport(const ReportData& data);
/// One JSON object (see JsonWriter for how names that are not UTF-8 come out).
std::string jsonReport(const ReportData& data);

} // namespace ringfold::cli
