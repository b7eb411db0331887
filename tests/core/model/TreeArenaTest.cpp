#include "core/model/ByteFormat.h"
#include "core/model/TreeMutator.h"

#include "SyntheticTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <utility>
#include <thread>

namespace ringfold {
namespace {

using test::SyntheticTree;

std::vector<NodeID> allIds(const FileNode* root) {
    std::vector<NodeID> ids;
    std::vector<const FileNode*> stack{root};
    while (!stack.empty()) {
        const FileNode* n = stack.back();
        stack.pop_back();
        ids.push_back(n->id());
        for (FileNode* c : n->children())
            stack.push_back(c);
    }
    return ids;
}

TEST(NodeIdentity, TreesBuiltOneAfterAnotherHaveDisjointIncreasingIds) {
    SyntheticTree first;
    FileNode* r1 = first.folder("r", {first.file("a", 1), first.file("b", 2)});
    SyntheticTree second;
    FileNode* r2 = second.folder("r", {second.file("a", 1), second.file("b", 2)});
    const auto [min1, max1] = std::ranges::minmax(allIds(r1));
    EXPECT_GT(min1, 0);
    EXPECT_GT(std::ranges::min(allIds(r2)), max1);
    // Within one allocator, ids follow creation order.
    FileNode* x = second.file("x", 0);
    FileNode* y = second.file("y", 0);
    EXPECT_EQ(y->id(), x->id() + 1);
    // An id taken outside the arena never collides with any node's.
    EXPECT_GT(nextNodeID(), y->id());
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
                NodeInit init;
                init.name = name;
                mine.push_back(alloc.create(init));
            }
        });
    for (auto& th : threads)
        th.join();
    std::set<NodeID> ids;
    for (const auto& nodes : made)
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            ids.insert(nodes[i]->id());
            ASSERT_EQ(nodes[i]->name(), "n" + std::to_string(i));
            ASSERT_EQ(&nodes[i]->tree(), tree.get());
        }
    EXPECT_EQ(ids.size(), std::size_t(kThreads) * kPerThread);
    EXPECT_EQ(tree->nodeCount(), std::size_t(kThreads) * kPerThread);
}

TEST(TreeArena, LinksAcrossChunksKeepOrderAndParents) {
    SyntheticTree t;
    FileNode* root = t.folder("root", {});
    std::vector<FileNode*> kids;
    for (int i = 0; i < 40000; ++i)
        kids.push_back(t.file("f" + std::to_string(i), i));
    FileNode* tail = t.tree->linkChildren(root, std::span<FileNode* const>(kids.data(), 20000));
    tail = t.tree->linkChildren(root, std::span<FileNode* const>(kids.data() + 20000, 19999), tail);
    t.tree->appendChild(root, kids.back()); // walks the list to find the tail
    ASSERT_EQ(root->childCount(), kids.size());
    std::size_t i = 0;
    for (FileNode* c : root->children()) {
        ASSERT_EQ(c, kids[i]) << i;
        ASSERT_EQ(c->parent(), root);
        ++i;
    }
    EXPECT_EQ(t.tree->nodeAt(Tree::indexOf(kids[30000])), kids[30000]);
}

TEST(TreeArena, NodeCutOutStaysValidWhileANodePtrHoldsTheTree) {
    NodePtr held;
    std::weak_ptr<Tree> weakTree;
    {
        SyntheticTree t;
        FileNode* leaf = t.file("leaf.bin", 4096, 5000);
        FileNode* mid = t.folder("mid", {leaf, t.file("other", 1)});
        FileNode* root = t.folder("root", {mid});
        t.tree->setUrl(root, "/data/root");
        held = mid->shared();
        weakTree = t.tree;
        TreeMutator::remove(*mid);
        EXPECT_EQ(root->allocatedSize(), 0);
    }
    ASSERT_FALSE(weakTree.expired()) << "a NodePtr must keep its tree alive";
    EXPECT_EQ(held->name(), "mid");
    EXPECT_EQ(held->parent(), nullptr);
    EXPECT_EQ(held->allocatedSize(), 4097);
    ASSERT_EQ(held->childCount(), 2u);
    EXPECT_EQ(held->firstChild()->name(), "leaf.bin");
    EXPECT_EQ(held->firstChild()->logicalSize(), 5000);
    EXPECT_EQ(held->firstChild()->parent(), held.get());
    held.reset();
    EXPECT_TRUE(weakTree.expired());
}

TEST(NodeUrl, ThreeLevelsDownIsTheRootPathWithTheNamesAndIsCached) {
    SyntheticTree t;
    FileNode* c = t.file("c.txt", 1);
    FileNode* b = t.folder("b b", {c});
    FileNode* a = t.folder("a", {b});
    FileNode* root = t.folder("ignored name", {a});
    t.tree->setUrl(root, "/home/me/scan");
    EXPECT_EQ(c->url(), "/home/me/scan/a/b b/c.txt");
    EXPECT_EQ(b->url(), "/home/me/scan/a/b b");
    // Cached: cutting b out afterwards does not change what c reports.
    TreeMutator::remove(*b);
    EXPECT_EQ(c->url(), "/home/me/scan/a/b b/c.txt");
}

TEST(NodeUrl, DetachedNodesAndTheFileSystemRoot) {
    SyntheticTree t;
    EXPECT_EQ(t.file("loose.dat", 1)->url(), "/loose.dat");
    FileNode* etc = t.folder("etc", {t.file("hosts", 1)});
    FileNode* root = t.folder("/", {etc, t.folder("f", {t.file("x", 1)})});
    t.tree->setUrl(root, "/");
    EXPECT_EQ(etc->firstChild()->url(), "/etc/hosts"); // no double slash
    FileNode* f = etc->nextSibling();
    TreeMutator::remove(*f); // before anything was cached
    EXPECT_EQ(f->url(), "/f");
}

TEST(NodeUrl, VeryDeepChainDoesNotRecurse) {
    SyntheticTree t;
    FileNode* node = t.file("leaf", 1);
    // Every ancestor caches its own path, so memory grows with depth squared: 5,000
    // levels is deep enough to overflow a recursive walk under the sanitizers.
    constexpr int kDepth = 5000;
    for (int i = 0; i < kDepth; ++i)
        node = t.folder("d", {node});
    t.tree->setUrl(node, "/top");
    FileNode* leaf = node;
    while (leaf->hasChildren())
        leaf = leaf->firstChild();
    std::string url = leaf->url();
    // The outermost "d" is the root itself, pinned at "/top".
    EXPECT_EQ(url.size(),
              std::string("/top").size() + (kDepth - 1) * 2 + std::string("/leaf").size());
    EXPECT_TRUE(url.ends_with("/d/d/leaf"));
}

TEST(KindLabel, FolderUpperCasedExtensionOrFile) {
    SyntheticTree t;
    auto label = [&](std::string_view name, bool dir) {
        NodeInit init;
        init.name = name;
        init.isDirectory = dir;
        return t.alloc.create(init)->kindLabel();
    };
    EXPECT_EQ(label("Photos.app", true), "Folder");
    const std::pair<const char*, const char*> files[] = {
        {"Makefile", "File"}, {"archive.tar.gz", "GZ"}, {".profile", "File"},
        {"notes.", "File"},   {"Mixed.TxT", "TXT"}};
    for (const auto& [name, kind] : files)
        EXPECT_EQ(label(name, false), kind) << name;
}

TEST(NodeFields, DatesClampAtTheEpochAndFlagBitsStayIndependent) {
    SyntheticTree t;
    FileNode* n = t.file("dated", 1);
    EXPECT_EQ(n->modificationDate(), std::nullopt);
    n->setModificationDate(-5);
    EXPECT_EQ(n->modificationDate(), 0);
    n->setCloudStatus(CloudStatus::cloudDownloaded);
    n->setSharesStorage(true);
    EXPECT_EQ(n->cloudStatus(), CloudStatus::cloudDownloaded);
    EXPECT_TRUE(n->sharesStorage());
    EXPECT_FALSE(n->isHidden() || n->isRestricted() || n->isDirectory());
}

TEST(SizeLabel, ZeroedDuplicateSaysNoExtraSpaceAndExplainsItself) {
    SyntheticTree t;
    NodeInit dup;
    dup.name = "copy";
    dup.logicalSize = 4000;
    dup.allocatedSize = 0;
    dup.sharesStorage = true;
    FileNode* copy = t.alloc.create(dup);
    EXPECT_EQ(copy->sizeLabel(), "no extra space");
    auto note = copy->sharedStorageNote();
    ASSERT_TRUE(note.has_value());
    EXPECT_EQ(*note, formatByteCount(4000) +
                         " of content, stored on disk only once. Another copy of the same data is "
                         "holding that space, so deleting this one on its own frees nothing. "
                         "Delete every copy and the space comes back.");

    NodeInit first = dup;
    first.name = "first";
    first.allocatedSize = 4096;
    FileNode* holder = t.alloc.create(first);
    EXPECT_EQ(holder->sizeLabel(), formatByteCount(4096));
    EXPECT_EQ(holder->sharedStorageNote(), std::nullopt);

    FileNode* plain = t.file("empty", 0);
    EXPECT_EQ(plain->sizeLabel(), "Zero KB"); // zero is spelled out
    EXPECT_EQ(plain->sharedStorageNote(), std::nullopt);
}

TEST(SizeLabel, GoesThroughTheReplaceableFormatter) {
    SyntheticTree t;
    FileNode* f = t.file("f", 12345);
    setByteCountFormatter([](std::int64_t bytes) { return "<" + std::to_string(bytes) + ">"; });
    const std::string replaced = f->sizeLabel();
    setByteCountFormatter(nullptr);
    EXPECT_EQ(replaced, "<12345>");
    EXPECT_EQ(f->sizeLabel(), formatFileStyle(12345));
}

} // namespace
} // namespace ringfold
