#pragma once
// Back-ends that build the tree from a saved scan rather than from the disk: a file
// written by `ringfold-scan -o`, `ncdu -o` or `gdu -o`, or the export streamed by a
// scanner running as another user (the administrator) in a child process.
//
// Unlike the disk back-ends these can fail: an unreadable or malformed file, a helper
// that was refused or died. They throw std::runtime_error with a message fit to show;
// cancellation still returns nothing.
//
// Threads: scan() runs on the caller's thread (a scan thread) and blocks there.

#include "core/scan/ScanBackend.h"

#include <optional>
#include <string>
#include <vector>

namespace ringfold {

/// Reads the saved scan at the path it is asked to scan.
class SavedScanBackend : public ScanBackend {
public:
    std::optional<ScanResult> scan(const std::string& file, std::stop_token stop = {},
                                   ScanProgress* progress = nullptr) override;
    ScanCounts lastCounts() const override { return m_counts; }
    /// When the file says the scan was made.
    std::optional<Timestamp> lastTimestamp() const { return m_timestamp; }

private:
    ScanCounts m_counts;
    std::optional<Timestamp> m_timestamp;
};

/// Runs `command... scanner -o - --no-progress PATH` (the command being, say,
/// pkexec) and reads the export it writes to standard output. Stopping closes the
/// pipe and signals the helper: a helper running as root can't be signalled by us,
/// but `ringfold-scan -o -` stops by itself when its reader goes away.
class ElevatedScanBackend : public ScanBackend {
public:
    ElevatedScanBackend(std::vector<std::string> command, std::string scanner);
    std::optional<ScanResult> scan(const std::string& path, std::stop_token stop = {},
                                   ScanProgress* progress = nullptr) override;
    ScanCounts lastCounts() const override { return m_counts; }

private:
    std::vector<std::string> m_command;
    std::string m_scanner;
    ScanCounts m_counts;
};

} // namespace ringfold
