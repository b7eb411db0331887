// What the panels summarise from a whole tree: the biggest files and the categories.
#include "core/analysis/BiggestFiles.h"
#include "core/analysis/CategorySummarizer.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace ringfold {
namespace {

using test::MemoryTree;

constexpr std::int64_t MB = 1000 * 1000;

std::vector<std::string> namesAndPaths(const std::vector<BiggestFileEntry>& entries) {
    std::vector<std::string> out;
    for (const auto& e : entries)
        out.push_back(std::string(e.node->name()) + "@" + e.relativePath);
    return out;
}

TEST(BiggestFiles, OnlyFilesLargestFirstFirstMetOnTiesAsASnapshot) {
    MemoryTree t;
    FileNode* a = t.folder(t.root(), "a");
    FileNode* deep = t.file(t.folder(a, "b"), "deep.bin", 700, {.logical = 650});
    t.file(t.root(), "top.txt", 500);
    t.file(a, "mid.log", 500); // met before top.txt although stored deeper
    t.file(t.root(), "small", 1);
    t.folder(t.root(), "empty");
    t.totalFolders();

    const auto entries = BiggestFiles::find(*t.root(), 200);
    EXPECT_EQ(namesAndPaths(entries),
              (std::vector<std::string>{"deep.bin@a/b", "mid.log@a", "top.txt@", "small@"}));
    EXPECT_EQ(entries[0].id, deep->id());
    EXPECT_EQ(entries[0].logicalSize, 650);
    deep->setAllocatedSize(1); // a later change of the tree does not reach built entries
    EXPECT_EQ(entries[0].allocatedSize, 700);
    EXPECT_TRUE(BiggestFiles::find(*t.root(), 0).empty());
    EXPECT_TRUE(BiggestFiles::find(*t.root(), -5).empty());
    EXPECT_FALSE(BiggestFiles::find(*t.root(), INT64_MAX).empty()); // a hand-edited setting
    EXPECT_EQ(BiggestFiles::relativePath(*deep, *a), "b");
    t.tree()->detach(a); // the path stops at a detached ancestor
    EXPECT_EQ(BiggestFiles::relativePath(*deep, *t.root()), "a/b");
}

TEST(BiggestFiles, AnyCutOffMatchesAFullSortOfTheFiles) {
    MemoryTree t;
    std::vector<std::int64_t> sizes;
    FileNode* dir = t.root();
    for (int i = 0; i < 300; ++i) {
        if (i % 37 == 0)
            dir = t.folder(t.root(), "d" + std::to_string(i));
        sizes.push_back((i * 7919) % 101); // many ties
        t.file(dir, "f" + std::to_string(i), sizes.back());
    }
    t.totalFolders();
    std::sort(sizes.rbegin(), sizes.rend());
    for (std::int64_t limit : {1, 17, 299, 300, 1000}) {
        const auto entries = BiggestFiles::find(*t.root(), limit);
        ASSERT_EQ(entries.size(), std::min<std::size_t>(limit, 300)) << limit;
        for (std::size_t i = 0; i < entries.size(); ++i)
            ASSERT_EQ(entries[i].allocatedSize, sizes[i]) << "limit " << limit << " at " << i;
    }
}

TEST(CategorySummarizer, PackagesCountAsOneItemAndOtherFoldersAreEntered) {
    MemoryTree t;
    FileNode* foo = t.folder(t.folder(t.root(), "Applications"), "Foo.app");
    FileNode* contents = t.folder(foo, "Contents");
    t.file(contents, "icon.png", 100 * MB);
    t.file(contents, "Foo", 400 * MB);
    t.file(t.folder(t.root(), "Photos Library.photoslibrary"), "a.jpg", 50 * MB);
    FileNode* project = t.folder(t.root(), "project.d");
    t.file(project, "main.cpp", 1 * MB);
    t.file(project, "Makefile", 2 * MB);
    t.file(t.root(), ".hidden.pdf", 3 * MB, {.hidden = true});
    t.file(t.root(), "cloud.pdf", 0, {.cloud = CloudStatus::cloudPlaceholder});
    t.totalFolders();

    const CategoryReport r = CategorySummarizer::summarize(*t.root());
    // Package contents count nowhere (no photos); the photo library and the Makefile are
    // "other"; hidden and placeholder items count too. Largest category first.
    std::vector<std::tuple<FileCategory, std::int64_t, std::int64_t>> got;
    for (const auto& s : r.summaries)
        got.emplace_back(s.category, s.fileCount, s.allocatedSize);
    const decltype(got) expected = {{FileCategory::applications, 1, 500 * MB},
                                    {FileCategory::other, 2, 52 * MB},
                                    {FileCategory::documents, 2, 3 * MB},
                                    {FileCategory::developer, 1, 1 * MB}};
    EXPECT_EQ(got, expected);
    EXPECT_EQ(r.summaries[0].topFiles.at(0).get(), foo);
    EXPECT_EQ(r.totalBytes, 556 * MB);
    EXPECT_DOUBLE_EQ(r.summaries[0].fraction, 500.0 / 556.0);
}

// 30 photos of 1..30 MB and 30 empty documents: the 25 largest, ties in tree order.
TEST(CategorySummarizer, KeepsTheTwentyFiveLargestAndZeroBytesGiveZeroFractions) {
    MemoryTree t;
    EXPECT_TRUE(CategorySummarizer::summarize(*t.root()).summaries.empty());
    for (int i = 1; i <= 30; ++i) {
        t.file(t.root(), "IMG_" + std::to_string(i) + (i % 2 ? ".jpg" : ".JPG"), i * MB);
        t.file(t.root(), "f" + std::to_string(i) + ".txt", 0);
    }
    t.totalFolders();
    const CategoryReport r = CategorySummarizer::summarize(*t.root());
    ASSERT_EQ(r.summaries.size(), 2u);
    const CategorySummary& photos = r.summaries[0];
    EXPECT_EQ(photos.fileCount, 30);
    EXPECT_EQ(photos.allocatedSize, 465 * MB);
    EXPECT_DOUBLE_EQ(photos.fraction, 1.0);
    ASSERT_EQ(photos.topFiles.size(), 25u);
    EXPECT_EQ(photos.topFiles.back()->allocatedSize(), 6 * MB);
    const CategorySummary& docs = r.summaries[1];
    EXPECT_EQ(docs.fraction, 0.0);
    ASSERT_EQ(docs.topFiles.size(), 25u);
    EXPECT_EQ(docs.topFiles.back()->name(), "f25.txt");
}

TEST(Analysis, WalksVeryDeepTreesWithoutRecursion) {
    MemoryTree t;
    FileNode* dir = t.root();
    for (int i = 0; i < 20000; ++i)
        t.file(dir = t.folder(dir, "d"), "x.log", 1);
    t.file(dir, "bottom.log", 42);
    t.totalFolders();
    EXPECT_EQ(BiggestFiles::find(*t.root(), 1).at(0).relativePath.size(), 20000u * 2 - 1);
    EXPECT_EQ(CategorySummarizer::summarize(*t.root()).summaries.at(0).fileCount, 20001);
}

} // namespace
} // namespace ringfold
