#pragma once
// Storage of a whole tree by file category: bytes and item counts per category and
// each category's 25 largest items.
//
// Files count by their extension; a folder whose extension marks a package (Foo.app)
// counts as one item of its own total size and is not entered; every other folder is
// entered and counts nowhere itself. One iterative pass (trees may be thousands of
// levels deep); top lists stay unsorted during the walk. Bytes are allocated sizes.
// Main thread (reads the tree without locks).

#include "core/model/FileCategory.h"
#include "core/model/FileNode.h"

#include <cstdint>
#include <vector>

namespace ringfold {

inline constexpr std::size_t kCategoryTopFileCount = 25;

struct CategorySummary {
    FileCategory category = FileCategory::other;
    std::int64_t allocatedSize = 0;
    std::int64_t fileCount = 0;
    /// At most 25 of the largest items, largest first; they keep their tree alive.
    std::vector<NodePtr> topFiles;
    /// Share of the categorised total; 0 when the total is below one byte.
    double fraction = 0.0;

    friend bool operator==(const CategorySummary&, const CategorySummary&) = default;
};

struct CategoryReport {
    /// One per category holding at least one item, largest first.
    std::vector<CategorySummary> summaries;
    std::int64_t totalBytes = 0;
};

class CategorySummarizer {
public:
    static CategoryReport summarize(const FileNode& root);
};

} // namespace ringfold
