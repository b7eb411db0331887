#include "cli/SavedScanFile.h"

#include "core/io/NcduImport.h"

#include <cerrno>
#include <cstring>

namespace ringfold::cli {

std::optional<std::string> loadSavedScan(const std::string& file, std::optional<ScanResult>& result,
                                         ScanCounts& counts) {
    std::FILE* in = file == "-" ? stdin : std::fopen(file.c_str(), "rb");
    if (!in)
        return "cannot read '" + file + "': " + std::strerror(errno);
    NcduImport r = NcduImport::read(in);
    if (in != stdin)
        std::fclose(in);
    if (!r.result)
        return r.describeError(file == "-" ? std::string("standard input") : "'" + file + "'");
    result = std::move(r.result);
    counts = r.counts;
    return std::nullopt;
}

} // namespace ringfold::cli
