#pragma once
// The --junk listing of ringfold-scan: the junk classifier's items under the scanned
// tree (category, confidence, allocated size, path), with orphans decided by the
// installed desktop entries and Flatpak applications. Core only, no Qt.

#include "core/junk/JunkClassifier.h"
#include "core/model/FileNode.h"

#include <string>
#include <vector>

namespace ringfold::cli {

/// Classifies the tree for the current user (folders from the environment, ages of
/// 30 and 14 days as the program's defaults, `now` in seconds since 1970).
std::vector<JunkItem> findJunk(const FileNode& root, const JunkPlaces& places, Timestamp now);

/// A "Junk" section for the text report, sizes in binary units.
std::string junkTextReport(const std::vector<JunkItem>& items);
class JsonWriter;
/// A JSON array of {"category", "confidence", "allocatedSize", "path"}.
void writeJunk(JsonWriter& json, const std::vector<JunkItem>& items);

} // namespace ringfold::cli
