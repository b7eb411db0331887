#pragma once
// The kinds of junk the classifier recognises and how safe an item is to remove.
// Plain value types, usable from any thread.

#include "core/model/FileNode.h"

#include <array>
#include <optional>
#include <string_view>

namespace ringfold {

/// Kinds of junk, in the order the System Junk panel shows its groups.
enum class JunkCategory {
    appLogs,
    diagnosticReports,
    savedAppState,
    appCaches,
    thumbnails,
    xcodeDerivedData,
    xcodeDeviceSupport,
    coreSimulatorCaches,
    developerCaches,
    orphanedAppSupport
};

inline constexpr std::array<JunkCategory, 10> kAllJunkCategories = {
    JunkCategory::appLogs,
    JunkCategory::diagnosticReports,
    JunkCategory::savedAppState,
    JunkCategory::appCaches,
    JunkCategory::thumbnails,
    JunkCategory::xcodeDerivedData,
    JunkCategory::xcodeDeviceSupport,
    JunkCategory::coreSimulatorCaches,
    JunkCategory::developerCaches,
    JunkCategory::orphanedAppSupport};

/// The raw value: the case name ("appLogs").
const char* rawValue(JunkCategory c);
std::optional<JunkCategory> junkCategoryFromRawValue(std::string_view raw);
/// The group title ("App Logs").
const char* displayName(JunkCategory c);

/// How safe an item is to remove; `high` is the smallest, comparisons follow the
/// declaration order.
enum class JunkConfidence { high, medium, orphaned };

/// "High", "Medium", "Orphaned".
const char* label(JunkConfidence c);

/// One junk candidate: a node of the scanned tree (shared, so it keeps its tree
/// alive) with its kind and confidence.
struct JunkItem {
    NodePtr node;
    JunkCategory category = JunkCategory::appLogs;
    JunkConfidence confidence = JunkConfidence::medium;
};

} // namespace ringfold
