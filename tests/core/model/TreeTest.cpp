#include "core/model/ByteFormat.h"
#include "core/model/TreeMutator.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <thread>

namespace ringfold {
namespace {

using test::MemoryTree;

FileNode* named(NodeAllocator& alloc, const std::string& name) {
    NodeInit init;
    init.name = name;
    return alloc.create(init);
}

TEST(NodeIdentity, ManyThreadsAllocatingInOneTreeNeverShareAnId) {
    auto tree = Tree::create();
    constexpr int kThreads = 4, kPerThread = 20000; // crosses several arena chunks
    std::vector<std::vector<FileNode*>> made(kThreads);
    {
        std::vector<std::jthread> threads;
        for (auto& mine : made)
            threads.emplace_back([&tree, &mine] {
                NodeAllocator alloc(*tree);
                for (int i = 0; i < kPerThread; ++i)
                    mine.push_back(named(alloc, "n" + std::to_string(i)));
            });
    }
    std::set<NodeID> ids;
    for (const auto& nodes : made)
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            ids.insert(nodes[i]->id());
            ASSERT_EQ(nodes[i]->name(), "n" + std::to_string(i));
        }
    EXPECT_EQ(ids.size(), tree->nodeCount());
    EXPECT_EQ(ids.size(), std::size_t(kThreads) * kPerThread);
    EXPECT_GT(nextNodeID(), *ids.rbegin()); // an id taken outside the arena never collides
}

TEST(TreeArena, NodeCutOutStaysValidWhileANodePtrHoldsTheTree) {
    NodePtr held;
    std::weak_ptr<Tree> weakTree;
    {
        MemoryTree t;
        FileNode* mid = t.folder(t.root(), "mid");
        t.file(mid, "leaf.bin", 4096, {.logical = 5000});
        t.totalFolders();
        held = mid->shared();
        weakTree = t.tree();
        TreeMutator::remove(*mid);
    }
    ASSERT_FALSE(weakTree.expired()) << "a NodePtr must keep its tree alive";
    EXPECT_EQ(held->firstChild()->logicalSize(), 5000);
    EXPECT_EQ(held->firstChild()->parent(), held.get());
    held.reset();
    EXPECT_TRUE(weakTree.expired());
}

TEST(NodeUrl, RootPathPlusNamesCachedOnceReadAndDetachedNodesStandAlone) {
    MemoryTree t("ignored name");
    FileNode* b = t.folder(t.folder(t.root(), "a"), "b b");
    FileNode* c = t.file(b, "c.txt", 1);
    FileNode* f = t.folder(t.root(), "f");
    t.tree()->setUrl(t.root(), "/home/me/scan");
    EXPECT_EQ(c->url(), "/home/me/scan/a/b b/c.txt");
    TreeMutator::remove(*b); // cached: c still reports where it was
    EXPECT_EQ(c->url(), "/home/me/scan/a/b b/c.txt");
    TreeMutator::remove(*f); // detached before anything was cached
    EXPECT_EQ(f->url(), "/f");

    MemoryTree fsRoot("/");
    FileNode* hosts = fsRoot.file(fsRoot.folder(fsRoot.root(), "etc"), "hosts", 1);
    fsRoot.tree()->setUrl(fsRoot.root(), "/");
    EXPECT_EQ(hosts->url(), "/etc/hosts"); // no double slash
}

// 5,000 levels is deep enough to overflow a recursive walk under the sanitizers.
TEST(NodeUrl, VeryDeepChainDoesNotRecurse) {
    MemoryTree t;
    FileNode* node = t.root();
    for (int i = 0; i < 5000; ++i)
        node = t.folder(node, "d");
    t.tree()->setUrl(t.root(), "/top");
    const std::string url = t.file(node, "leaf", 1)->url();
    EXPECT_EQ(url.size(), 4 + 5000 * 2 + 5);
}

TEST(NodeFields, KindLabelDatesAndIndependentFlagBits) {
    MemoryTree t;
    EXPECT_EQ(t.folder(t.root(), "Photos.app")->kindLabel(), "Folder");
    // clang-format off
    for (auto [name, kind] : {std::pair{"Makefile", "File"}, {"a.tar.gz", "GZ"}, {".x", "File"},
                              {"x.", "File"}, {"M.TxT", "TXT"}})
        // clang-format on
        EXPECT_EQ(t.file(t.root(), name, 0)->kindLabel(), kind) << name;
    FileNode* n = t.file(t.root(), "dated", 1);
    n->setModificationDate(-5);
    EXPECT_EQ(n->modificationDate(), 0); // clamped at the epoch
    n->setCloudStatus(CloudStatus::cloudDownloaded);
    n->setSharesStorage(true); // packed bits: neither disturbs another
    EXPECT_TRUE(n->sharesStorage() && n->cloudStatus() == CloudStatus::cloudDownloaded);
    EXPECT_FALSE(n->isHidden() || n->isRestricted() || n->isDirectory());
}

TEST(SizeLabel, OnlyAZeroedDuplicateSaysNoExtraSpaceAndGetsANote) {
    MemoryTree t;
    FileNode* copy = t.file(t.root(), "copy", 0, {.logical = 4000, .sharesStorage = true});
    FileNode* holder = t.file(t.root(), "first", 4096, {.logical = 4000, .sharesStorage = true});
    FileNode* empty = t.file(t.root(), "empty", 0);
    EXPECT_EQ(copy->sizeLabel(), "no extra space");
    EXPECT_TRUE(copy->sharedStorageNote().value_or("").starts_with(formatByteCount(4000)));
    EXPECT_EQ(holder->sizeLabel(), formatByteCount(4096));
    EXPECT_EQ(empty->sizeLabel(), "Zero KB");
    EXPECT_FALSE(holder->sharedStorageNote() || empty->sharedStorageNote());
    setByteCountFormatter([](std::int64_t bytes) { return "<" + std::to_string(bytes) + ">"; });
    const std::string replaced = holder->sizeLabel();
    setByteCountFormatter(nullptr);
    EXPECT_EQ(replaced, "<4096>");
}

// Both formatters at their unit boundaries; the magnitude of INT64_MIN does not fit an
// int64_t, so the extremes must not take it.
TEST(ByteFormat, FileStyleAndBinaryAtUnitBoundariesAndTheExtremes) {
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min(), kMax = -(kMin + 1);
    // clang-format off
    const std::tuple<std::int64_t, const char*, const char*> cases[] = {
        {0, "Zero KB", "0 B"}, {1, "1 byte", "1 B"}, {999, "999 bytes", "999 B"},
        {1023, "1 KB", "1023 B"}, {-1024, "-1 KB", "-1.00 KiB"}, {999499, "999 KB", "976 KiB"},
        {999500, "1 MB", "976 KiB"}, {1572864, "1.6 MB", "1.50 MiB"},
        {12340000000, "12.34 GB", "11.5 GiB"}, {kMax, "9.22 EB", "8.00 EiB"},
        {kMin, "-9.22 EB", "-8.00 EiB"}};
    // clang-format on
    for (const auto& [bytes, file, binary] : cases) {
        EXPECT_EQ(formatFileStyle(bytes), file) << bytes;
        EXPECT_EQ(formatBinary(bytes), binary) << bytes;
    }
}

constexpr std::int64_t MB = 1000000;

std::vector<FileNode*> childrenOf(const FileNode* folder) {
    return {folder->children().begin(), folder->children().end()};
}

// root/{a/{b/{x 10 MB, y 1 MB}, z 2 MB}, w 4 MB}, built afresh for each case.
class TreeMutatorTest : public ::testing::Test {
protected:
    MemoryTree t;
    FileNode* root = t.root();
    FileNode* a = t.folder(root, "a");
    FileNode* b = t.folder(a, "b");
    FileNode* x = t.file(b, "x", 10 * MB, {.logical = 10 * MB + 7});
    FileNode* y = t.file(b, "y", 1 * MB, {.logical = 900000});
    FileNode* z = t.file(a, "z", 2 * MB);
    FileNode* w = t.file(root, "w", 4 * MB);
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
}

TEST_F(TreeMutatorTest, RootDetachedNodesAndNamesakesAreLeftAlone) {
    TreeMutator::remove(*root);
    EXPECT_EQ(root->childCount(), 2u);
    FileNode* namesake = t.file(root, "z", 0);
    TreeMutator::remove(*z);
    TreeMutator::remove(*z); // already detached
    EXPECT_EQ(root->allocatedSize(), 15 * MB);
    EXPECT_EQ(childrenOf(root), (std::vector<FileNode*>{a, w, namesake}));
}

TEST_F(TreeMutatorTest, EvictionMakesAPlaceholderAndFreesItsAllocationUpTheChain) {
    x->setCloudStatus(CloudStatus::cloudDownloaded);
    x->setSharesStorage(true); // eviction ignores shared storage
    TreeMutator::markEvicted(*x);
    EXPECT_EQ(x->cloudStatus(), CloudStatus::cloudPlaceholder);
    EXPECT_EQ(x->allocatedSize(), 0);
    EXPECT_EQ(x->logicalSize(), 10 * MB + 7);
    EXPECT_EQ(root->allocatedSize(), 7 * MB);
    EXPECT_EQ(root->logicalSize(), 17 * MB - 100000 + 7);
    EXPECT_EQ(x->parent(), b);
}

} // namespace
} // namespace ringfold
