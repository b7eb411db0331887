#include "app/viewmodels/FileListViewModel.h"
#include "app/viewmodels/FileRowSorter.h"
#include "support/MemoryTree.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace ringfold;
using ringfold::test::MemoryTree;
using ringfold::test::NodeOptions;

namespace {

constexpr std::int64_t MB = 1000 * 1000;
constexpr std::int64_t GiB = 1073741824;
using Key = FileSortDescriptor::Key;

QString nameOf(const FileNode* n) {
    return QString::fromUtf8(n->name().data(), static_cast<qsizetype>(n->name().size()));
}

QStringList names(const std::vector<FileNode*>& nodes) {
    QStringList out;
    for (const FileNode* n : nodes)
        out << nameOf(n);
    return out;
}

QStringList listed(const FileListViewModel& vm) {
    return names(vm.displayRows());
}

} // namespace

class FileListViewModelTest : public QObject {
    Q_OBJECT

private slots:
    void listsEveryChildBySizeWithoutAThreshold() {
        MemoryTree t;
        t.file(t.root(), "b", 20);
        t.folder(t.root(), "empty");
        t.file(t.root(), "a", 50);
        t.file(t.root(), "c", 20);
        t.totalFolders();

        FileListViewModel vm;
        vm.update(t.rootPtr(), 0.0, true, false);
        QCOMPARE(listed(vm), QStringList({"a", "b", "c", "empty"}));
        QVERIFY(vm.smallerNodes().empty());
        QVERIFY(vm.hiddenNodes().empty());
        QCOMPARE(vm.lastFocusedNode().get(), t.root());
    }

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
        QCOMPARE(listed(vm), QStringList({"big", "small"}));
        QCOMPARE(names(vm.hiddenNodes()), QStringList({".one"}));
        // The 3 MB hidden child is over 2 % and stays out of the hidden group, but it
        // is below the threshold; smaller nodes keep the folder's order.
        QCOMPARE(names(vm.smallerNodes()), QStringList({".three", "tiny"}));
        QCOMPARE(vm.smallerNodesSize(), 4 * MB);
        QCOMPARE(vm.hiddenNodesSize(), 1 * MB);

        vm.update(t.rootPtr(), 0.04, false, false);
        QVERIFY(vm.hiddenNodes().empty());
        QCOMPARE(names(vm.smallerNodes()), QStringList({".one", ".three", "tiny"}));
    }

    void hiddenGroupingLimits() {
        MemoryTree big;
        big.file(big.root(), ".gig", GiB, NodeOptions{.hidden = true});
        big.file(big.root(), ".under", GiB - 1, NodeOptions{.hidden = true});
        big.file(big.root(), "data", 1000 * GiB);
        big.totalFolders();
        FileListViewModel vm;
        vm.update(big.rootPtr(), 0.0, true, false);
        QCOMPARE(listed(vm), QStringList({"data", ".gig"}));
        QCOMPARE(names(vm.hiddenNodes()), QStringList({".under"}));

        // A folder without bytes groups every small hidden child.
        MemoryTree zero;
        zero.file(zero.root(), ".a", 0, NodeOptions{.hidden = true});
        zero.file(zero.root(), "b", 0);
        zero.folder(zero.root(), ".c", NodeOptions{.hidden = true});
        zero.totalFolders();
        vm.update(zero.rootPtr(), 0.5, true, false);
        QCOMPARE(names(vm.hiddenNodes()), QStringList({".a", ".c"}));
        QCOMPARE(listed(vm), QStringList({"b"}));
        QVERIFY(vm.smallerNodes().empty());
    }

    void foldersOnTopKeepTheirOwnOrder() {
        MemoryTree t;
        t.file(t.root(), "bigfile", 500);
        FileNode* small = t.folder(t.root(), "smalldir");
        t.file(small, "x", 10);
        FileNode* big = t.folder(t.root(), "bigdir");
        t.file(big, "y", 300);
        t.file(t.root(), "smallfile", 5);
        t.totalFolders();

        FileListViewModel vm;
        vm.update(t.rootPtr(), 0.0, true, true);
        QCOMPARE(listed(vm), QStringList({"bigdir", "smalldir", "bigfile", "smallfile"}));
        vm.setSortOrder({{Key::name, true}});
        QCOMPARE(listed(vm), QStringList({"bigdir", "smalldir", "bigfile", "smallfile"}));
        vm.update(t.rootPtr(), 0.0, true, false);
        QCOMPARE(listed(vm), QStringList({"bigdir", "bigfile", "smalldir", "smallfile"}));
        QVERIFY(!vm.lastSortFoldersToTop());
    }

    void namesSortLikeAFileManager() {
        MemoryTree t;
        for (const char* n : {"file10", "File2", "file1", "banana", "Apple", "file02b"})
            t.file(t.root(), n, 1);
        t.totalFolders();
        FileListViewModel vm;
        vm.update(t.rootPtr(), 0.0, true, false);
        vm.setSortOrder({{Key::name, true}});
        QCOMPARE(listed(vm),
                 QStringList({"Apple", "banana", "file1", "File2", "file02b", "file10"}));
        vm.setSortOrder({{Key::name, false}});
        QCOMPARE(listed(vm),
                 QStringList({"file10", "file02b", "File2", "file1", "banana", "Apple"}));
        QVERIFY(FileRowSorter::compareNames("a", "A") == 0);
        QVERIFY(FileRowSorter::compareNames("x9", "x10") < 0);
    }

    void kindThenNameAndUndatedRowsAsOldest() {
        MemoryTree t;
        t.file(t.root(), "b.txt", 1, NodeOptions{.modified = 2000});
        t.file(t.root(), "a.pdf", 2, NodeOptions{.modified = 1000});
        t.file(t.root(), "undated.txt", 3);
        t.file(t.root(), "a.txt", 4, NodeOptions{.modified = 3000});
        t.folder(t.root(), "dir", NodeOptions{.modified = 500});
        t.totalFolders();
        FileListViewModel vm;
        vm.update(t.rootPtr(), 0.0, true, false);

        vm.setSortOrder({{Key::kind, true}, {Key::name, true}});
        QCOMPARE(listed(vm), QStringList({"dir", "a.pdf", "a.txt", "b.txt", "undated.txt"}));
        vm.setSortOrder({{Key::modified, true}});
        QCOMPARE(listed(vm), QStringList({"undated.txt", "dir", "a.pdf", "b.txt", "a.txt"}));
        vm.setSortOrder({{Key::modified, false}});
        QCOMPARE(listed(vm), QStringList({"a.txt", "b.txt", "a.pdf", "dir", "undated.txt"}));
        // Equal under every descriptor: the folder's order stands.
        vm.setSortOrder({{Key::kind, false}});
        QCOMPARE(listed(vm), QStringList({"b.txt", "undated.txt", "a.txt", "a.pdf", "dir"}));
    }

    void notifiesOnlyRealChanges() {
        MemoryTree t;
        FileNode* a = t.file(t.root(), "a", 10);
        t.file(t.root(), "b", 20);
        t.totalFolders();
        FileListViewModel vm;
        QSignalSpy rows(&vm, &FileListViewModel::displayRowsChanged);
        QSignalSpy smaller(&vm, &FileListViewModel::smallerNodesChanged);
        QSignalSpy hidden(&vm, &FileListViewModel::hiddenNodesChanged);
        QSignalSpy order(&vm, &FileListViewModel::sortOrderChanged);
        QSignalSpy revision(&vm, &FileListViewModel::revisionChanged);

        vm.update(t.rootPtr(), 0.0, true, false);
        QCOMPARE(rows.count(), 1);
        QCOMPARE(smaller.count(), 0);
        QCOMPARE(hidden.count(), 0);
        vm.update(t.rootPtr(), 0.0, true, false);
        QCOMPARE(rows.count(), 1);

        // Re-assigning the same order re-reads the tree without announcing a new order.
        a->setAllocatedSize(30);
        vm.setSortOrder(vm.sortOrder());
        QCOMPARE(order.count(), 0);
        QCOMPARE(rows.count(), 2);
        QCOMPARE(listed(vm), QStringList({"a", "b"}));
        vm.setSortOrder({{Key::size, true}});
        QCOMPARE(order.count(), 1);

        vm.update(t.rootPtr(), 0.7, true, false); // 20 < 21: b becomes a smaller object
        QCOMPARE(smaller.count(), 1);
        QCOMPARE(rows.count(), 4);

        vm.setRevision(1);
        vm.setRevision(1);
        QCOMPARE(revision.count(), 1);
    }

    void releasedFolderYieldsEmptyLists() {
        FileListViewModel vm;
        QSignalSpy rows(&vm, &FileListViewModel::displayRowsChanged);
        {
            MemoryTree t;
            t.file(t.root(), "a", 10);
            t.file(t.root(), ".h", 0, NodeOptions{.hidden = true});
            t.totalFolders();
            vm.update(t.rootPtr(), 0.0, true, false);
            QCOMPARE(vm.displayRows().size(), std::size_t(1));
            QCOMPARE(vm.hiddenNodes().size(), std::size_t(1));
        } // the only owner of the tree goes away
        QVERIFY(!vm.lastFocusedNode());
        QVERIFY(vm.displayRows().empty());
        QVERIFY(vm.hiddenNodes().empty());
        QCOMPARE(vm.hiddenNodesSize(), 0);
        vm.recompute();
        QVERIFY(vm.displayRows().empty());

        // A new tree is listed and announced.
        MemoryTree next;
        next.file(next.root(), "z", 1);
        next.totalFolders();
        vm.update(next.rootPtr(), 0.0, true, false);
        QCOMPARE(listed(vm), QStringList({"z"}));
        QCOMPARE(rows.count(), 2);

        vm.update(nullptr, 0.0, true, false);
        QVERIFY(vm.displayRows().empty());
        QCOMPARE(rows.count(), 3);
    }

    void recomputesAHundredThousandChildren() {
        MemoryTree t;
        FileNode* big = t.folder(t.root(), "big");
        for (int i = 0; i < 100000; ++i)
            t.file(big, "file" + std::to_string((i * 7919) % 100000) + ".dat", (i * 31) % 5000,
                   NodeOptions{.modified = i % 3 ? std::optional<Timestamp>(i) : std::nullopt});
        t.totalFolders();
        FileListViewModel vm;
        NodePtr folder = big->shared();

        QElapsedTimer timer;
        timer.start();
        vm.update(folder, 0.0, true, true);
        const qint64 bySize = timer.nsecsElapsed();
        QCOMPARE(vm.displayRows().size(), std::size_t(100000));
        for (std::size_t i = 1; i < vm.displayRows().size(); ++i)
            QVERIFY(vm.displayRows()[i - 1]->allocatedSize() >=
                    vm.displayRows()[i]->allocatedSize());

        timer.restart();
        vm.setSortOrder({{Key::name, true}});
        const qint64 byName = timer.nsecsElapsed();
        QCOMPARE(nameOf(vm.displayRows()[0]), QStringLiteral("file0.dat"));
        QCOMPARE(nameOf(vm.displayRows()[1]), QStringLiteral("file1.dat"));
        QCOMPARE(nameOf(vm.displayRows()[99999]), QStringLiteral("file99999.dat"));
        qInfo("recompute of 100,000 children: by size %.1f ms, by name %.1f ms", bySize / 1e6,
              byName / 1e6);
    }
};

QTEST_GUILESS_MAIN(FileListViewModelTest)
#include "FileListViewModelTest.moc"
