#include "core/model/TreeMutator.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

namespace ringfold {
namespace {

constexpr std::int64_t MB = 1000000;

std::vector<FileNode*> childrenOf(const FileNode* folder) {
    return {folder->children().begin(), folder->children().end()};
}

// root/{a/{b/{x 10 MB, y 1 MB}, z 2 MB}, w 4 MB}: every case mutates a fresh copy.
class TreeMutatorTest : public ::testing::Test {
protected:
    test::MemoryTree t;
    FileNode* a = t.folder(t.root(), "a");
    FileNode* b = t.folder(a, "b");
    FileNode* x = t.file(b, "x", 10 * MB, {.logical = 10 * MB + 7});
    FileNode* y = t.file(b, "y", 1 * MB, {.logical = 900000});
    FileNode* z = t.file(a, "z", 2 * MB);
    FileNode* w = t.file(t.root(), "w", 4 * MB);
    FileNode* root = t.root();
    void SetUp() override { t.totalFolders(); }
};

TEST_F(TreeMutatorTest, RemovedFileLeavesEveryAncestorAndItsFolder) {
    TreeMutator::remove(*x);
    EXPECT_EQ(b->allocatedSize(), 1 * MB);
    EXPECT_EQ(a->allocatedSize(), 3 * MB);
    EXPECT_EQ(root->allocatedSize(), 7 * MB);
    EXPECT_EQ(root->logicalSize(), 7 * MB - 100000);
    EXPECT_EQ(childrenOf(b), std::vector<FileNode*>{y});
    EXPECT_EQ(x->parent(), nullptr);
    EXPECT_EQ(x->allocatedSize(), 10 * MB); // the cut-out node keeps its own values
}

TEST_F(TreeMutatorTest, RemovedFolderIsSubtractedOnceAndKeepsItsSubtree) {
    TreeMutator::remove(*b);
    EXPECT_EQ(a->allocatedSize(), 2 * MB);
    EXPECT_EQ(root->allocatedSize(), 6 * MB);
    EXPECT_EQ(b->allocatedSize(), 11 * MB);
    EXPECT_EQ(childrenOf(b), (std::vector<FileNode*>{x, y}));
    EXPECT_EQ(x->parent(), b);
}

TEST_F(TreeMutatorTest, SharedStorageNodeTakesOnlyLogicalBytes) {
    y->setSharesStorage(true); // a first holder: shares storage but keeps its size
    TreeMutator::remove(*y);
    EXPECT_EQ(b->allocatedSize(), 11 * MB);
    EXPECT_EQ(root->logicalSize(), 16 * MB + 7);
    EXPECT_EQ(b->childCount(), 1u);
}

TEST_F(TreeMutatorTest, RootAndDetachedNodesAreLeftAlone) {
    TreeMutator::remove(*root);
    EXPECT_EQ(root->childCount(), 2u);
    TreeMutator::remove(*z);
    TreeMutator::remove(*z); // already detached
    EXPECT_EQ(root->allocatedSize(), 15 * MB);
}

TEST_F(TreeMutatorTest, RemovesTheVeryNodeNotANamesake) {
    FileNode* same[] = {t.file(root, "same", 1), t.file(root, "same", 2)};
    TreeMutator::remove(*same[1]);
    EXPECT_EQ(childrenOf(root), (std::vector<FileNode*>{a, w, same[0]}));
}

TEST_F(TreeMutatorTest, EvictionMakesAPlaceholderAndFreesItsAllocationUpTheChain) {
    x->setCloudStatus(CloudStatus::cloudDownloaded);
    x->setSharesStorage(true); // eviction ignores shared storage
    TreeMutator::markEvicted(*x);
    EXPECT_EQ(x->cloudStatus(), CloudStatus::cloudPlaceholder);
    EXPECT_EQ(x->allocatedSize(), 0);
    EXPECT_EQ(x->logicalSize(), 10 * MB + 7);
    EXPECT_EQ(b->allocatedSize(), 1 * MB);
    EXPECT_EQ(root->allocatedSize(), 7 * MB);
    EXPECT_EQ(root->logicalSize(), 17 * MB - 100000 + 7);
    EXPECT_EQ(x->parent(), b);
}

} // namespace
} // namespace ringfold
