#include "app/viewmodels/FileListViewModel.h"
#include "support/MemoryTree.h"

#include <QSignalSpy>
#include <QTest>

using namespace ringfold;
using ringfold::test::MemoryTree;
using ringfold::test::NodeOptions;

namespace {

constexpr std::int64_t MB = 1000 * 1000;
using Key = FileSortDescriptor::Key;

QStringList names(const std::vector<FileNode*>& nodes) {
    QStringList out;
    for (const FileNode* n : nodes)
        out << QString::fromUtf8(n->name().data(), qsizetype(n->name().size()));
    return out;
}

} // namespace

class FileListViewModelTest : public QObject {
    Q_OBJECT

private slots:
    void sortsByEveryColumnWithFoldersOnTopAndStableTies() {
        MemoryTree t;
        t.file(t.root(), "b.txt", 1, NodeOptions{.modified = 2000});
        t.file(t.root(), "a.pdf", 2, NodeOptions{.modified = 1000});
        t.file(t.root(), "undated.txt", 3);
        t.file(t.root(), "a.txt", 4, NodeOptions{.modified = 3000});
        t.file(t.folder(t.root(), "dir", NodeOptions{.modified = 500}), "x", 10);
        MemoryTree digits;
        for (const char* n : {"file10", "File2", "file1", "banana", "Apple", "file02b"})
            digits.file(digits.root(), n, 1);
        t.totalFolders();
        digits.totalFolders();

        using Case =
            std::tuple<const MemoryTree*, std::vector<FileSortDescriptor>, bool, QStringList>;
        const std::vector<Case> cases = {
            {&t, {{Key::size, false}}, false, {"dir", "a.txt", "undated.txt", "a.pdf", "b.txt"}},
            {&t, {{Key::name, true}}, false, {"a.pdf", "a.txt", "b.txt", "dir", "undated.txt"}},
            {&t, {{Key::name, true}}, true, {"dir", "a.pdf", "a.txt", "b.txt", "undated.txt"}},
            // clang-format off
            {&t, {{Key::kind, true}, {Key::name, true}}, false,
             {"dir", "a.pdf", "a.txt", "b.txt", "undated.txt"}},
            // Undated rows count as the oldest.
            {&t, {{Key::modified, true}}, false, {"undated.txt", "dir", "a.pdf", "b.txt", "a.txt"}},
            {&t, {{Key::modified, false}}, false, {"a.txt", "b.txt", "a.pdf", "dir", "undated.txt"}},
            // Equal under every descriptor: the folder's order stands.
            {&t, {{Key::kind, false}}, false, {"b.txt", "undated.txt", "a.txt", "a.pdf", "dir"}},
            // Case-insensitive, digit runs by value.
            {&digits, {{Key::name, true}}, false,
             {"Apple", "banana", "file1", "File2", "file02b", "file10"}}};
        // clang-format on
        for (const auto& [tree, order, foldersOnTop, rows] : cases) {
            FileListViewModel vm;
            vm.update(tree->rootPtr(), 0.0, true, foldersOnTop);
            vm.setSortOrder(order);
            QCOMPARE(names(vm.displayRows()), rows);
            QVERIFY(vm.smallerNodes().empty() && vm.hiddenNodes().empty()); // threshold 0
        }
    }

    // Which child is small or hidden enough is DisplayGrouping's (tested in the core);
    // here, how the two groups and the rows share the children.
    void groupsHiddenAndSmallerChildrenLikeTheMap() {
        MemoryTree t;
        t.file(t.root(), ".one", 1 * MB, NodeOptions{.hidden = true});
        t.file(t.root(), "big", 90 * MB);
        t.file(t.root(), ".three", 3 * MB, NodeOptions{.hidden = true});
        t.file(t.root(), "tiny", 1 * MB);
        t.file(t.root(), "small", 5 * MB);
        t.totalFolders(); // 100 MB
        FileListViewModel vm;
        vm.update(t.rootPtr(), 0.04, true, false);
        QCOMPARE(names(vm.displayRows()) + names(vm.hiddenNodes()),
                 QStringList({"big", "small", ".one"}));
        // Over 2 % keeps .three out of the hidden group, but it is below the threshold.
        QCOMPARE(names(vm.smallerNodes()), QStringList({".three", "tiny"}));
        QCOMPARE(vm.smallerNodesSize() + vm.hiddenNodesSize(), 5 * MB);
        vm.update(t.rootPtr(), 0.04, false, false);
        QVERIFY(vm.hiddenNodes().empty());
        QCOMPARE(names(vm.smallerNodes()), QStringList({".one", ".three", "tiny"}));
    }

    void notifiesRealChangesAndEmptiesWithItsTree() {
        FileListViewModel vm;
        QSignalSpy rows(&vm, &FileListViewModel::displayRowsChanged);
        QSignalSpy order(&vm, &FileListViewModel::sortOrderChanged);
        {
            MemoryTree t;
            FileNode* a = t.file(t.root(), "a", 10);
            t.file(t.root(), "b", 20);
            t.file(t.root(), ".h", 0, NodeOptions{.hidden = true});
            t.totalFolders();
            vm.update(t.rootPtr(), 0.0, true, false);
            vm.update(t.rootPtr(), 0.0, true, false);
            QCOMPARE(rows.count(), 1);
            // The same order again re-reads the tree without announcing a new order.
            a->setAllocatedSize(30);
            vm.setSortOrder(vm.sortOrder());
            QCOMPARE(names(vm.displayRows()), QStringList({"a", "b"}));
            QCOMPARE(rows.count() + order.count(), 2);
        } // the only owner of the tree goes away
        QVERIFY(!vm.lastFocusedNode() && vm.displayRows().empty() && vm.hiddenNodes().empty() &&
                vm.hiddenNodesSize() == 0);
        vm.recompute(); // already read as empty: nothing new to announce
        vm.update(nullptr, 0.0, true, false);
        QCOMPARE(rows.count(), 2);
    }
};

QTEST_GUILESS_MAIN(FileListViewModelTest)
#include "FileListViewModelTest.moc"
