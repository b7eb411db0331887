#include "core/model/TreeMutator.h"

#include "SyntheticTree.h"

#include <gtest/gtest.h>

namespace ringfold {
namespace {

using test::SyntheticTree;

constexpr std::int64_t MB = 1000000;

// root/{a/{b/{x(10 MB), y(1 MB)}, z(2 MB)}, w(4 MB)}
struct Fixture {
    SyntheticTree t;
    FileNode* x = t.file("x", 10 * MB, 10 * MB + 7);
    FileNode* y = t.file("y", 1 * MB, 900000);
    FileNode* b = t.folder("b", {x, y});
    FileNode* z = t.file("z", 2 * MB);
    FileNode* a = t.folder("a", {b, z});
    FileNode* w = t.file("w", 4 * MB);
    FileNode* root = t.folder("root", {a, w});
};

TEST(TreeMutatorRemove, TakesTheFileOffEveryAncestorAndOutOfItsFolder) {
    Fixture f;
    TreeMutator::remove(*f.x);
    EXPECT_EQ(f.b->allocatedSize(), 1 * MB);
    EXPECT_EQ(f.b->logicalSize(), 900000);
    EXPECT_EQ(f.a->allocatedSize(), 3 * MB);
    EXPECT_EQ(f.root->allocatedSize(), 7 * MB);
    EXPECT_EQ(f.root->logicalSize(), 7 * MB - 100000);
    EXPECT_EQ(SyntheticTree::childrenOf(f.b), std::vector<FileNode*>{f.y});
    EXPECT_EQ(f.x->parent(), nullptr);
    // The cut-out node keeps its own values; siblings elsewhere are untouched.
    EXPECT_EQ(f.x->allocatedSize(), 10 * MB);
    EXPECT_EQ(f.z->allocatedSize(), 2 * MB);
    EXPECT_EQ(f.w->allocatedSize(), 4 * MB);
}

TEST(TreeMutatorRemove, SharedStorageNodeTakesOnlyLogicalBytes) {
    Fixture f;
    f.y->setSharesStorage(true); // a first holder: shares storage but keeps its size
    TreeMutator::remove(*f.y);
    EXPECT_EQ(f.b->allocatedSize(), 11 * MB);
    EXPECT_EQ(f.root->allocatedSize(), 17 * MB);
    EXPECT_EQ(f.root->logicalSize(), 16 * MB + 7);
    EXPECT_EQ(f.b->childCount(), 1u);
}

TEST(TreeMutatorRemove, RootAndDetachedNodesAreLeftAlone) {
    Fixture f;
    TreeMutator::remove(*f.root);
    EXPECT_EQ(f.root->allocatedSize(), 17 * MB);
    EXPECT_EQ(f.root->childCount(), 2u);
    TreeMutator::remove(*f.z);
    TreeMutator::remove(*f.z); // second time: already detached
    EXPECT_EQ(f.root->allocatedSize(), 15 * MB);
    EXPECT_EQ(f.a->allocatedSize(), 11 * MB);
}

TEST(TreeMutatorRemove, FolderIsSubtractedOnceAndItsSubtreeStaysIntact) {
    Fixture f;
    TreeMutator::remove(*f.b);
    EXPECT_EQ(f.a->allocatedSize(), 2 * MB);
    EXPECT_EQ(f.root->allocatedSize(), 6 * MB);
    EXPECT_EQ(f.b->allocatedSize(), 11 * MB);
    EXPECT_EQ(SyntheticTree::childrenOf(f.b), (std::vector<FileNode*>{f.x, f.y}));
    EXPECT_EQ(f.x->parent(), f.b);
    EXPECT_EQ(SyntheticTree::childrenOf(f.a), std::vector<FileNode*>{f.z});
}

TEST(TreeMutatorRemove, RemovesTheVeryNodeNotANamesake) {
    SyntheticTree t;
    FileNode* first = t.file("same", 1);
    FileNode* middle = t.file("same", 2);
    FileNode* last = t.file("same", 4);
    FileNode* root = t.folder("root", {first, middle, last});
    TreeMutator::remove(*middle);
    EXPECT_EQ(SyntheticTree::childrenOf(root), (std::vector<FileNode*>{first, last}));
    EXPECT_EQ(root->allocatedSize(), 5);
    TreeMutator::remove(*last);
    TreeMutator::remove(*first);
    EXPECT_FALSE(root->hasChildren());
    EXPECT_EQ(root->allocatedSize(), 0);
}

TEST(TreeMutatorEvict, BecomesAPlaceholderAndFreesItsAllocationUpTheChain) {
    Fixture f;
    f.x->setCloudStatus(CloudStatus::cloudDownloaded);
    f.x->setSharesStorage(true); // eviction ignores shared storage
    TreeMutator::markEvicted(*f.x);
    EXPECT_EQ(f.x->cloudStatus(), CloudStatus::cloudPlaceholder);
    EXPECT_EQ(f.x->allocatedSize(), 0);
    EXPECT_EQ(f.x->logicalSize(), 10 * MB + 7);
    EXPECT_EQ(f.b->allocatedSize(), 1 * MB);
    EXPECT_EQ(f.root->allocatedSize(), 7 * MB);
    EXPECT_EQ(f.root->logicalSize(), 17 * MB - 100000 + 7);
    EXPECT_EQ(f.x->parent(), f.b);
}

} // namespace
} // namespace ringfold
