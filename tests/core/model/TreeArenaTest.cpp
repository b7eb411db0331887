#include "core/model/ByteFormat.h"
#include "core/model/TreeMutator.h"
#include "support/MemoryTree.h"

#include <gtest/gtest.h>

#include <algorithm>
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

TEST(NodeIdentity, TreesBuiltOneAfterAnotherHaveDisjointIncreasingIds) {
    MemoryTree first;
    FileNode* a = first.file(first.root(), "a", 1);
    MemoryTree second;
    FileNode* x = second.file(second.root(), "x", 0);
    FileNode* y = second.file(second.root(), "y", 0);
    EXPECT_GT(first.root()->id(), 0);
    EXPECT_GT(second.root()->id(), a->id());
    EXPECT_EQ(y->id(), x->id() + 1);  // creation order within one allocator
    EXPECT_GT(nextNodeID(), y->id()); // an id taken outside the arena never collides
}

TEST(NodeIdentity, ManyThreadsAllocatingInOneTreeNeverShareAnId) {
    auto tree = Tree::create();
    constexpr int kThreads = 4, kPerThread = 20000; // crosses several arena chunks
    std::vector<std::vector<FileNode*>> made(kThreads);
    std::vector<std::thread> threads;
    for (auto& mine : made)
        threads.emplace_back([&tree, &mine] {
            NodeAllocator alloc(*tree);
            for (int i = 0; i < kPerThread; ++i) {
                const std::string name = "n" + std::to_string(i);
                mine.push_back(named(alloc, name));
            }
        });
    for (auto& th : threads)
        th.join();
    std::set<NodeID> ids;
    for (const auto& nodes : made)
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            ids.insert(nodes[i]->id());
            ASSERT_EQ(nodes[i]->name(), "n" + std::to_string(i));
        }
    EXPECT_EQ(ids.size(), std::size_t(kThreads) * kPerThread);
    EXPECT_EQ(tree->nodeCount(), std::size_t(kThreads) * kPerThread);
}

TEST(TreeArena, LinksAcrossChunksKeepOrderAndParents) {
    MemoryTree t;
    NodeAllocator alloc(*t.tree());
    std::vector<FileNode*> kids;
    for (int i = 0; i < 40000; ++i)
        kids.push_back(named(alloc, "f" + std::to_string(i)));
    FileNode* root = t.root();
    FileNode* tail = t.tree()->linkChildren(root, std::span(kids.data(), 20000));
    t.tree()->linkChildren(root, std::span(kids.data() + 20000, 19999), tail);
    t.tree()->appendChild(root, kids.back()); // walks the list to find the tail
    ASSERT_EQ(root->childCount(), kids.size());
    std::size_t i = 0;
    for (FileNode* c : root->children()) {
        ASSERT_EQ(c, kids[i++]);
        ASSERT_EQ(c->parent(), root);
    }
    EXPECT_EQ(t.tree()->nodeAt(Tree::indexOf(kids[30000])), kids[30000]);
}

TEST(TreeArena, NodeCutOutStaysValidWhileANodePtrHoldsTheTree) {
    NodePtr held;
    std::weak_ptr<Tree> weakTree;
    {
        MemoryTree t;
        FileNode* mid = t.folder(t.root(), "mid");
        t.file(mid, "leaf.bin", 4096, {.logical = 5000});
        t.file(mid, "other", 1);
        t.totalFolders();
        held = mid->shared();
        weakTree = t.tree();
        TreeMutator::remove(*mid);
        EXPECT_EQ(t.root()->allocatedSize(), 0);
    }
    ASSERT_FALSE(weakTree.expired()) << "a NodePtr must keep its tree alive";
    EXPECT_EQ(held->parent(), nullptr);
    EXPECT_EQ(held->allocatedSize(), 4097);
    ASSERT_EQ(held->childCount(), 2u);
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

TEST(NodeUrl, VeryDeepChainDoesNotRecurse) {
    // Every ancestor caches its own path, so memory grows with depth squared: 5,000
    // levels is deep enough to overflow a recursive walk under the sanitizers.
    MemoryTree t;
    FileNode* node = t.root();
    for (int i = 0; i < 5000; ++i)
        node = t.folder(node, "d");
    t.tree()->setUrl(t.root(), "/top");
    const std::string url = t.file(node, "leaf", 1)->url();
    EXPECT_EQ(url.size(), 4 + 5000 * 2 + 5);
    EXPECT_TRUE(url.ends_with("/d/d/leaf"));
}

TEST(NodeFields, KindLabelDatesAndIndependentFlagBits) {
    MemoryTree t;
    EXPECT_EQ(t.folder(t.root(), "Photos.app")->kindLabel(), "Folder");
    for (const auto& [name, kind] : {std::pair{"Makefile", "File"},
                                     {"archive.tar.gz", "GZ"},
                                     {".profile", "File"},
                                     {"notes.", "File"},
                                     {"Mixed.TxT", "TXT"}})
        EXPECT_EQ(t.file(t.root(), name, 0)->kindLabel(), kind) << name;

    FileNode* n = t.file(t.root(), "dated", 1);
    EXPECT_EQ(n->modificationDate(), std::nullopt);
    n->setModificationDate(-5);
    EXPECT_EQ(n->modificationDate(), 0); // clamped at the epoch
    n->setCloudStatus(CloudStatus::cloudDownloaded);
    n->setSharesStorage(true);
    EXPECT_EQ(n->cloudStatus(), CloudStatus::cloudDownloaded);
    EXPECT_TRUE(n->sharesStorage());
    EXPECT_FALSE(n->isHidden() || n->isRestricted() || n->isDirectory());
}

TEST(SizeLabel, OnlyAZeroedDuplicateSaysNoExtraSpaceAndGetsANote) {
    MemoryTree t;
    FileNode* copy = t.file(t.root(), "copy", 0, {.logical = 4000, .sharesStorage = true});
    FileNode* holder = t.file(t.root(), "first", 4096, {.logical = 4000, .sharesStorage = true});
    FileNode* empty = t.file(t.root(), "empty", 0);
    EXPECT_EQ(copy->sizeLabel(), "no extra space");
    ASSERT_TRUE(copy->sharedStorageNote().has_value());
    EXPECT_TRUE(copy->sharedStorageNote()->starts_with(formatByteCount(4000) + " of content"));
    EXPECT_EQ(holder->sizeLabel(), formatByteCount(4096));
    EXPECT_EQ(empty->sizeLabel(), "Zero KB");
    EXPECT_EQ(holder->sharedStorageNote(), std::nullopt);
    EXPECT_EQ(empty->sharedStorageNote(), std::nullopt);

    setByteCountFormatter([](std::int64_t bytes) { return "<" + std::to_string(bytes) + ">"; });
    const std::string replaced = holder->sizeLabel();
    setByteCountFormatter(nullptr);
    EXPECT_EQ(replaced, "<4096>");
}

} // namespace
} // namespace ringfold
