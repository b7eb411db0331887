#include "core/analysis/CategorySummarizer.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace ringfold {
namespace {

using test::MemoryTree;
using test::NodeOptions;

constexpr std::int64_t MB = 1000 * 1000;

const CategorySummary* find(const CategoryReport& r, FileCategory c) {
    for (const auto& s : r.summaries)
        if (s.category == c)
            return &s;
    return nullptr;
}

TEST(CategorySummarizer, ThirtyPhotosKeepTheTwentyFiveLargest) {
    MemoryTree t;
    FileNode* pics = t.folder(t.root(), "Pictures");
    for (int i = 1; i <= 30; ++i)
        t.file(pics, "IMG_" + std::to_string(i) + (i % 2 ? ".jpg" : ".JPG"), i * MB);
    t.totalFolders();

    const CategoryReport r = CategorySummarizer::summarize(*t.root());
    ASSERT_EQ(r.summaries.size(), 1u);
    const CategorySummary& s = r.summaries[0];
    EXPECT_EQ(s.category, FileCategory::photos);
    EXPECT_EQ(s.fileCount, 30);
    EXPECT_EQ(s.allocatedSize, 465 * MB);
    EXPECT_EQ(r.totalBytes, 465 * MB);
    EXPECT_DOUBLE_EQ(s.fraction, 1.0);
    ASSERT_EQ(s.topFiles.size(), 25u);
    for (std::size_t i = 0; i < 25; ++i)
        EXPECT_EQ(s.topFiles[i]->allocatedSize(), static_cast<std::int64_t>(30 - i) * MB);
}

TEST(CategorySummarizer, PackagesCountAsOneItemAndOtherFoldersAreEntered) {
    MemoryTree t;
    FileNode* apps = t.folder(t.root(), "Applications");
    FileNode* foo = t.folder(apps, "Foo.app");
    FileNode* contents = t.folder(foo, "Contents");
    t.file(contents, "icon.png", 100 * MB);
    t.file(contents, "Foo", 400 * MB);
    FileNode* lib = t.folder(t.root(), "Photos Library.photoslibrary");
    t.file(lib, "a.jpg", 50 * MB);
    FileNode* project = t.folder(t.root(), "project.d");
    t.file(project, "main.cpp", 1 * MB);
    t.file(project, "Makefile", 2 * MB);
    t.file(t.root(), ".hidden.pdf", 3 * MB, NodeOptions{.hidden = true});
    t.file(t.root(), "cloud.pdf", 0, NodeOptions{.cloud = CloudStatus::cloudPlaceholder});
    t.totalFolders();

    const CategoryReport r = CategorySummarizer::summarize(*t.root());
    // Package contents count nowhere (no photos); the photo library and the Makefile are
    // "other"; hidden and placeholder items count too. Largest category first.
    std::vector<std::tuple<FileCategory, std::int64_t, std::int64_t>> got;
    double fractions = 0;
    for (const auto& s : r.summaries) {
        got.emplace_back(s.category, s.fileCount, s.allocatedSize);
        fractions += s.fraction;
    }
    const decltype(got) expected = {{FileCategory::applications, 1, 500 * MB},
                                    {FileCategory::other, 2, 52 * MB},
                                    {FileCategory::documents, 2, 3 * MB},
                                    {FileCategory::developer, 1, 1 * MB}};
    EXPECT_EQ(got, expected);
    ASSERT_EQ(r.summaries[0].topFiles.size(), 1u);
    EXPECT_EQ(r.summaries[0].topFiles[0].get(), foo);
    EXPECT_EQ(r.totalBytes, 556 * MB);
    EXPECT_NEAR(fractions, 1.0, 1e-12);
    EXPECT_DOUBLE_EQ(r.summaries[0].fraction, 500.0 / 556.0);
}

TEST(CategorySummarizer, ZeroBytesGiveZeroFractionsAndTiesKeepTheFirstItems) {
    MemoryTree t;
    t.folder(t.root(), "nothing here");
    EXPECT_TRUE(CategorySummarizer::summarize(*t.root()).summaries.empty());
    for (int i = 0; i < 30; ++i)
        t.file(t.root(), "f" + std::to_string(i) + ".txt", 0);
    t.file(t.root(), "song.mp3", 0);
    t.totalFolders();
    const CategoryReport r = CategorySummarizer::summarize(*t.root());
    ASSERT_EQ(r.summaries.size(), 2u);
    EXPECT_EQ(r.totalBytes, 0);
    for (const auto& s : r.summaries)
        EXPECT_EQ(s.fraction, 0.0);
    const CategorySummary* docs = find(r, FileCategory::documents);
    ASSERT_NE(docs, nullptr);
    EXPECT_EQ(docs->fileCount, 30);
    ASSERT_EQ(docs->topFiles.size(), 25u);
    EXPECT_EQ(docs->topFiles.front()->name(), "f0.txt");
    EXPECT_EQ(docs->topFiles.back()->name(), "f24.txt");
}

TEST(CategorySummarizer, WalksVeryDeepTreesWithoutRecursion) {
    MemoryTree t;
    FileNode* dir = t.root();
    for (int i = 0; i < 20000; ++i) {
        dir = t.folder(dir, "level");
        t.file(dir, "x.log", 1);
    }
    t.totalFolders();
    const CategoryReport r = CategorySummarizer::summarize(*t.root());
    ASSERT_EQ(r.summaries.size(), 1u);
    EXPECT_EQ(r.summaries[0].category, FileCategory::system);
    EXPECT_EQ(r.summaries[0].fileCount, 20000);
}

} // namespace
} // namespace ringfold
