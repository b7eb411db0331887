#include "cli/JunkReport.h"

#include "cli/JsonWriter.h"
#include "core/junk/InstalledApplications.h"
#include "core/model/ByteFormat.h"

#include <cstdio>

namespace ringfold::cli {

namespace {

const char* rawConfidence(JunkConfidence c) {
    switch (c) {
    case JunkConfidence::high:
        return "high";
    case JunkConfidence::medium:
        return "medium";
    case JunkConfidence::orphaned:
        return "orphaned";
    }
    return "medium";
}

} // namespace

std::vector<JunkItem> findJunk(const FileNode& root, const JunkPlaces& places, Timestamp now) {
    const InstalledApplications apps(InstalledApplications::Locations::fromEnvironment());
    JunkClassifier classifier;
    classifier.places = places;
    classifier.now = now;
    classifier.diagnosticReportsMaxAge = JunkClassifier::daysToSeconds(30);
    classifier.cachesDerivedDataMaxAge = JunkClassifier::daysToSeconds(14);
    classifier.orphans = JunkClassifier::findOrphans(
        JunkClassifier::candidateBundleIDs(root, places),
        [&apps](const std::string& id) { return apps.installation(id); });
    return classifier.classify(root);
}

std::string junkTextReport(const std::vector<JunkItem>& items) {
    if (items.empty())
        return "\nJunk: none found\n";
    std::int64_t high = 0, total = 0;
    for (const JunkItem& item : items) {
        total += item.node->allocatedSize();
        if (item.confidence == JunkConfidence::high)
            high += item.node->allocatedSize();
    }
    std::string out = "\nJunk (" + formatBinary(total) + " in " + std::to_string(items.size()) +
                      (items.size() == 1 ? " item, " : " items, ") + formatBinary(high) +
                      " high confidence):\n";
    char line[128];
    for (const JunkItem& item : items) {
        std::snprintf(line, sizeof line, "  %-22s %-9s %11s  ", displayName(item.category),
                      label(item.confidence), formatBinary(item.node->allocatedSize()).c_str());
        std::string path = item.node->url();
        for (char& ch : path)
            if (static_cast<unsigned char>(ch) < 0x20)
                ch = '?';
        out += line + path + "\n";
    }
    return out;
}

void writeJunk(JsonWriter& json, const std::vector<JunkItem>& items) {
    json.beginArray();
    for (const JunkItem& item : items) {
        json.beginObject();
        json.key("category").string(rawValue(item.category));
        json.key("confidence").string(rawConfidence(item.confidence));
        json.key("allocatedSize").integer(item.node->allocatedSize());
        json.pathMember("path", item.node->url());
        json.endObject();
    }
    json.endArray();
}

} // namespace ringfold::cli
