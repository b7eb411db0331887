#pragma once
// The files behind -f and -o: reading a saved scan, and writing one so that a failed
// or interrupted run never leaves half a file behind nor destroys an earlier one.

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

/// Where -o writes: a temporary file beside the target, renamed over it once the whole
/// export is written ("-": standard output, written directly). Opened before a scan so
/// that an hour's scan does not end in "cannot write".
class ExportFile {
public:
    ExportFile() = default;
    ExportFile(const ExportFile&) = delete;
    ExportFile& operator=(const ExportFile&) = delete;
    /// Removes the temporary file unless the export was finished.
    ~ExportFile();

    std::optional<std::string> open(const std::string& target);
    bool isOpen() const { return m_file != nullptr; }
    bool toStandardOutput() const { return m_target == "-"; }
    /// Writes the tree under `root` and puts the file in place.
    std::optional<std::string> write(const FileNode& root);

private:
    std::string m_target;
    std::string m_temporary;
    std::FILE* m_file = nullptr; // null again once written
    unsigned m_mode = 0644;
};

} // namespace ringfold::cli
