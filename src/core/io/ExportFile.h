#pragma once
// Where a saved scan is written: a temporary file beside the target, synced and
// renamed over it once the whole export is in, so that a failed or interrupted write
// never leaves half a file behind nor destroys an earlier one. "-" is standard
// output, and a pipe or device is written directly.
//
// Threads: one instance on one thread; several may run at once (the umask is read,
// never set).

#include "core/io/NcduExport.h"

#include <cstdio>
#include <optional>
#include <string>

namespace ringfold {

class ExportFile {
public:
    ExportFile() = default;
    ExportFile(const ExportFile&) = delete;
    ExportFile& operator=(const ExportFile&) = delete;
    /// Removes the temporary file unless the export was finished.
    ~ExportFile();

    /// Opened before a scan, so that an hour's scan does not end in "cannot write".
    std::optional<std::string> open(const std::string& target);
    bool isOpen() const { return m_file != nullptr; }
    bool toStandardOutput() const { return m_target == "-"; }
    /// Writes the tree under `root` and puts the file in place.
    std::optional<std::string> write(const FileNode& root, const NcduExportInfo& info);

private:
    std::string m_target;
    std::string m_temporary;
    std::FILE* m_file = nullptr; // null again once written
    unsigned m_mode = 0644;
};

} // namespace ringfold
