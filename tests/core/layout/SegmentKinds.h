#pragma once
// One word per laid-out segment (its name, or what aggregate it is) to compare orders.
#include "core/layout/MapSegment.h"

namespace ringfold::test {

using Names = std::vector<std::string>;

inline Names kindsOf(const std::vector<MapSegment>& segs, int onlyDepth = 0) {
    Names out;
    for (const auto& s : segs)
        if (onlyDepth == 0 || s.depth == onlyDepth)
            out.push_back(s.isGroupedSmallerObjects ? "smaller"
                          : s.isHiddenAggregate     ? "hidden"
                          : s.isInaccessibleSpace   ? "inaccessible"
                          : s.isFreeSpace           ? "free"
                                                    : std::string(s.node->name()));
    return out;
}

} // namespace ringfold::test
