#pragma once
// Shared by the junk rule tests: a classifier for a fixed home and clock, and a
// one-line description per found item so whole result lists compare at once.

#include "SyntheticTree.h"

#include "core/junk/JunkClassifier.h"

#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace ringfold::testing {

inline constexpr Timestamp kNow = 1'700'000'000;
inline constexpr Timestamp kDay = 86400;

inline JunkClassifier classifier(const std::string& home,
                                 std::unordered_set<std::string> orphans = {}) {
    JunkClassifier c;
    c.places = JunkPlaces::forHome(home);
    c.now = kNow;
    c.diagnosticReportsMaxAge = JunkClassifier::daysToSeconds(30);
    c.cachesDerivedDataMaxAge = JunkClassifier::daysToSeconds(14);
    c.orphanedBundleIDs = std::move(orphans);
    return c;
}

inline std::vector<std::string> described(const std::vector<JunkItem>& items) {
    std::vector<std::string> out;
    for (const auto& i : items)
        out.push_back(i.node->url() + " " + rawValue(i.category) + " " + label(i.confidence));
    return out;
}

} // namespace ringfold::testing
