#pragma once
// Byte counts as the user reads them. Every size label of the core goes through
// formatByteCount, so the desktop program can install its platform formatter once
// (setByteCountFormatter) and the command-line tool can keep the built-in one.

#include <cstdint>
#include <string>

namespace ringfold {

using ByteCountFormatter = std::string (*)(std::int64_t bytes);

/// The current formatter (file style: decimal units, zero spelled out).
std::string formatByteCount(std::int64_t bytes);
/// Replaces the formatter; pass nullptr to restore the built-in one. Call before
/// other threads format sizes.
void setByteCountFormatter(ByteCountFormatter formatter);

/// Built-in file-style text: "Zero KB", "1 byte", "532 bytes", "4 KB", "1.5 MB", "12.34 GB".
std::string formatFileStyle(std::int64_t bytes);
/// Binary units for terminals: "0 B", "532 B", "4.0 KiB", "1.50 GiB".
std::string formatBinary(std::int64_t bytes);

} // namespace ringfold
