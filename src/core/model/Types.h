#pragma once
// Small value types shared by the whole program: cloud state, scan sources and
// the volume figures of one scan. Sizes are signed 64-bit byte counts.

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace ringfold {

using NodeID = std::int64_t;
/// Seconds since 1970-01-01 UTC.
using Timestamp = std::int64_t;

enum class CloudStatus : std::uint8_t { notApplicable, cloudPlaceholder, cloudDownloaded };

enum class ScanSourceKind : std::uint8_t {
    internalVolume,
    externalVolume,
    networkVolume,
    favoriteFolder,
    /// A scan read back from a file (an ncdu JSON export): a record, not the disk.
    savedScan
};

const char* toString(CloudStatus status);
const char* toString(ScanSourceKind kind);

/// A 128-bit identity, printed in the canonical upper-case 8-4-4-4-12 form.
struct Uuid {
    std::array<std::uint8_t, 16> bytes{};
    static Uuid generate();
    static std::optional<Uuid> parse(const std::string& text);
    std::string toString() const;
    bool isNull() const;
    friend bool operator==(const Uuid&, const Uuid&) = default;
    friend auto operator<=>(const Uuid&, const Uuid&) = default;
};

/// A place the user can scan: a volume or a favourite folder, or a saved scan.
struct ScanSource {
    Uuid id;
    std::string url; // absolute path of the folder or volume root; of a saved scan, its file
    std::string displayName;
    ScanSourceKind kind = ScanSourceKind::favoriteFolder;
    std::optional<Timestamp> lastScanDate;
    std::optional<std::int64_t> lastScanAllocatedSize;
    std::optional<std::int64_t> volumeAvailableCapacity;
    std::optional<std::int64_t> volumeTotalCapacity;
    bool lastScanWasRestricted = false;
    friend bool operator==(const ScanSource&, const ScanSource&) = default;
};

/// Volume figures of one scan. Capacities are 0 when they could not be read.
struct SpaceAccounting {
    std::int64_t volumeTotalCapacity = 0;
    std::int64_t volumeAvailableCapacity = 0;
    std::int64_t enumeratedAllocatedSize = 0;
    std::int64_t restrictedPathCount = 0;
    friend bool operator==(const SpaceAccounting&, const SpaceAccounting&) = default;
};

} // namespace ringfold
