#include "core/analysis/CategorySummarizer.h"

#include <algorithm>
#include <array>

namespace ringfold {

namespace {

struct Accumulator {
    bool used = false;
    std::int64_t bytes = 0;
    std::int64_t count = 0;
    std::vector<FileNode*> top;

    void add(FileNode* item) {
        used = true;
        bytes += item->allocatedSize();
        ++count;
        if (top.size() < kCategoryTopFileCount) {
            top.push_back(item);
            return;
        }
        auto smallest = std::min_element(top.begin(), top.end(), [](auto* a, auto* b) {
            return a->allocatedSize() < b->allocatedSize();
        });
        if ((*smallest)->allocatedSize() < item->allocatedSize())
            *smallest = item;
    }
};

} // namespace

CategoryReport CategorySummarizer::summarize(const FileNode& root) {
    std::array<Accumulator, kAllFileCategories.size()> acc;

    std::vector<FileNode*> stack;
    stack.push_back(root.firstChild());
    std::string ext;
    while (!stack.empty()) {
        FileNode* n = stack.back();
        if (!n) {
            stack.pop_back();
            continue;
        }
        stack.back() = n->nextSibling();
        ext = lowercasedExtension(n->name());
        if (n->isDirectory() && !isPackageExtension(ext)) {
            if (FileNode* first = n->firstChild())
                stack.push_back(first);
            continue;
        }
        acc[static_cast<std::size_t>(categoryForExtension(ext))].add(n);
    }

    CategoryReport report;
    for (const Accumulator& a : acc)
        report.totalBytes += a.bytes;
    const NodePtr hold = root.shared();
    for (std::size_t i = 0; i < acc.size(); ++i) {
        Accumulator& a = acc[i];
        if (!a.used)
            continue;
        std::stable_sort(a.top.begin(), a.top.end(),
                         [](auto* x, auto* y) { return x->allocatedSize() > y->allocatedSize(); });
        CategorySummary s;
        s.category = kAllFileCategories[i];
        s.allocatedSize = a.bytes;
        s.fileCount = a.count;
        s.topFiles.reserve(a.top.size());
        for (FileNode* f : a.top)
            s.topFiles.push_back(NodePtr(hold, f));
        s.fraction = report.totalBytes < 1
                         ? 0.0
                         : static_cast<double>(a.bytes) / static_cast<double>(report.totalBytes);
        report.summaries.push_back(std::move(s));
    }
    std::stable_sort(report.summaries.begin(), report.summaries.end(),
                     [](const CategorySummary& x, const CategorySummary& y) {
                         return x.allocatedSize > y.allocatedSize;
                     });
    return report;
}

} // namespace ringfold
