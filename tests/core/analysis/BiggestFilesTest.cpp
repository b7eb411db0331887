#include "core/analysis/BiggestFiles.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace ringfold {
namespace {

using test::MemoryTree;

std::vector<std::string> names(const std::vector<BiggestFileEntry>& entries) {
    std::vector<std::string> out;
    for (const auto& e : entries)
        out.emplace_back(e.node->name());
    return out;
}

TEST(BiggestFiles, ListsOnlyFilesLargestFirstWithTheirPaths) {
    MemoryTree t;
    FileNode* a = t.folder(t.root(), "a");
    FileNode* b = t.folder(a, "b");
    FileNode* deep = t.file(b, "deep.bin", 700, {.logical = 650});
    t.file(t.root(), "top.txt", 300);
    t.file(a, "mid.log", 500);
    t.folder(t.root(), "empty");
    t.totalFolders();

    const auto entries = BiggestFiles::find(*t.root(), 200);
    ASSERT_EQ(names(entries), (std::vector<std::string>{"deep.bin", "mid.log", "top.txt"}));
    EXPECT_EQ(entries[0].id, deep->id());
    EXPECT_EQ(entries[0].logicalSize, 650);
    std::vector<std::string> paths;
    for (const auto& e : entries)
        paths.push_back(e.relativePath);
    EXPECT_EQ(paths, (std::vector<std::string>{"a/b", "a", ""}));

    // Sizes are a snapshot: a later change of the tree does not reach built entries.
    deep->setAllocatedSize(1);
    EXPECT_EQ(entries[0].allocatedSize, 700);
}

TEST(BiggestFiles, TheLimitKeepsTheLargestAndFirstMetOnTies) {
    MemoryTree t;
    t.file(t.root(), "big", 9);
    FileNode* x = t.folder(t.root(), "x");
    t.file(x, "inside", 5); // met before "after" although stored deeper
    t.file(t.root(), "after", 5);
    t.file(t.root(), "small", 1);
    t.totalFolders();

    EXPECT_EQ(names(BiggestFiles::find(*t.root(), 2)), (std::vector<std::string>{"big", "inside"}));
    EXPECT_EQ(names(BiggestFiles::find(*t.root(), 3)),
              (std::vector<std::string>{"big", "inside", "after"}));
    EXPECT_TRUE(BiggestFiles::find(*t.root(), 0).empty());
    EXPECT_TRUE(BiggestFiles::find(*t.root(), -5).empty());
    EXPECT_EQ(BiggestFiles::find(*t.root(), INT64_MAX).size(), 4u); // a hand-edited setting
}

TEST(BiggestFiles, AnyCutOffMatchesAFullSortOfTheFiles) {
    MemoryTree t;
    std::vector<std::int64_t> sizes;
    FileNode* dir = t.root();
    for (int i = 0; i < 300; ++i) {
        if (i % 37 == 0)
            dir = t.folder(t.root(), "d" + std::to_string(i));
        const std::int64_t size = (i * 7919) % 101; // many ties
        sizes.push_back(size);
        t.file(dir, "f" + std::to_string(i), size);
    }
    t.totalFolders();
    std::sort(sizes.rbegin(), sizes.rend());
    for (std::int64_t limit : {1, 2, 17, 100, 299, 300, 1000}) {
        const auto entries = BiggestFiles::find(*t.root(), limit);
        ASSERT_EQ(entries.size(), std::min<std::size_t>(limit, 300)) << limit;
        for (std::size_t i = 0; i < entries.size(); ++i)
            ASSERT_EQ(entries[i].allocatedSize, sizes[i]) << "limit " << limit << " at " << i;
    }
}

TEST(BiggestFiles, WalksVeryDeepTreesWithoutRecursion) {
    MemoryTree t;
    FileNode* dir = t.root();
    for (int i = 0; i < 20000; ++i)
        dir = t.folder(dir, "d");
    t.file(dir, "bottom", 42);
    t.totalFolders();
    const auto entries = BiggestFiles::find(*t.root(), 10);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].relativePath.size(), 20000u * 2 - 1);
}

TEST(BiggestFiles, RelativePathStopsAtTheRootOrADetachedAncestor) {
    MemoryTree t;
    FileNode* a = t.folder(t.root(), "a");
    FileNode* b = t.folder(a, "b");
    FileNode* f = t.file(b, "f", 1);
    EXPECT_EQ(BiggestFiles::relativePath(*f, *t.root()), "a/b");
    EXPECT_EQ(BiggestFiles::relativePath(*f, *a), "b");
    t.tree()->detach(a);
    EXPECT_EQ(BiggestFiles::relativePath(*f, *t.root()), "a/b");
    EXPECT_EQ(BiggestFiles::relativePath(*b, *t.root()), "a");
}

} // namespace
} // namespace ringfold
