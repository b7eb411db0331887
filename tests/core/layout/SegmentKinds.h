#pragma once
// What both layout engines' tests share: one word per laid-out segment (its name, or
// what aggregate it is) to compare orders, and the matchers they compare values with.
#include "core/layout/MapColor.h"
#include "core/layout/MapSegment.h"
#include "core/model/DisplayGrouping.h"
#include "support/MemoryTree.h"

#include <gmock/gmock.h>

namespace ringfold::test {

using Names = std::vector<std::string>;
using Values = std::vector<double>;
using ::testing::DoubleNear;
using ::testing::Pointwise;

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
