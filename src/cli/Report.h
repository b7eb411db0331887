#pragma once
// Text and JSON reports of a finished scan.

#include "core/model/ScanResult.h"

#include <cstdint>
#include <string>

namespace ringfold::cli {

struct ReportData {
    std::string path;
    const ScanResult* result = nullptr;
    std::int64_t items = 0;
    std::int64_t sharedStreams = 0;
    double seconds = 0;
    int top = 10;
};

std::string textReport(const ReportData& data);
std::string jsonReport(const ReportData& data);
/// A JSON string literal; bytes that are not valid UTF-8 become U+FFFD.
std::string jsonString(std::string_view text);

} // namespace ringfold::cli
