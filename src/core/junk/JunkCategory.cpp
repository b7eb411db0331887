#include "core/junk/JunkCategory.h"

namespace ringfold {

const char* rawValue(JunkCategory c) {
    switch (c) {
    case JunkCategory::appLogs:
        return "appLogs";
    case JunkCategory::diagnosticReports:
        return "diagnosticReports";
    case JunkCategory::savedAppState:
        return "savedAppState";
    case JunkCategory::appCaches:
        return "appCaches";
    case JunkCategory::thumbnails:
        return "thumbnails";
    case JunkCategory::xcodeDerivedData:
        return "xcodeDerivedData";
    case JunkCategory::xcodeDeviceSupport:
        return "xcodeDeviceSupport";
    case JunkCategory::coreSimulatorCaches:
        return "coreSimulatorCaches";
    case JunkCategory::developerCaches:
        return "developerCaches";
    case JunkCategory::orphanedAppSupport:
        return "orphanedAppSupport";
    }
    return "appLogs";
}

std::optional<JunkCategory> junkCategoryFromRawValue(std::string_view raw) {
    for (JunkCategory c : kAllJunkCategories)
        if (raw == rawValue(c))
            return c;
    return std::nullopt;
}

const char* displayName(JunkCategory c) {
    switch (c) {
    case JunkCategory::appLogs:
        return "App Logs";
    case JunkCategory::diagnosticReports:
        return "Diagnostic Reports";
    case JunkCategory::savedAppState:
        return "Saved App State";
    case JunkCategory::appCaches:
        return "App Caches";
    case JunkCategory::thumbnails:
        return "Thumbnails";
    case JunkCategory::xcodeDerivedData:
        return "Xcode DerivedData";
    case JunkCategory::xcodeDeviceSupport:
        return "Xcode Device Support";
    case JunkCategory::coreSimulatorCaches:
        return "CoreSimulator Caches";
    case JunkCategory::developerCaches:
        return "Developer Caches";
    case JunkCategory::orphanedAppSupport:
        return "Orphaned App Support";
    }
    return "App Logs";
}

const char* label(JunkConfidence c) {
    switch (c) {
    case JunkConfidence::high:
        return "High";
    case JunkConfidence::medium:
        return "Medium";
    case JunkConfidence::orphaned:
        return "Orphaned";
    }
    return "Medium";
}

} // namespace ringfold
