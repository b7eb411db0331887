#include "app/viewmodels/BiggestFilesViewModel.h"
#include "core/model/TreeMutator.h"
#include "support/MemoryTree.h"

#include <QSignalSpy>
#include <QTest>

using namespace ringfold;
using ringfold::test::MemoryTree;

class BiggestFilesViewModelTest : public QObject {
    Q_OBJECT

private slots:
    void rebuildPublishesTheLargestFilesOnce() {
        MemoryTree t;
        FileNode* a = t.folder(t.root(), "a");
        FileNode* b = t.folder(a, "b");
        FileNode* f = t.file(b, "f.bin", 900, {.logical = 1000});
        FileNode* g = t.file(t.root(), "g.bin", 500);
        t.file(a, "small", 10);
        t.totalFolders();

        BiggestFilesViewModel vm;
        QSignalSpy spy(&vm, &BiggestFilesViewModel::entriesChanged);
        vm.rebuild(t.rootPtr(), 2);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(vm.entries().size(), std::size_t(2));
        const auto& first = vm.entries()[0];
        QCOMPARE(first.id, f->id());
        QCOMPARE(first.node.get(), f);
        QCOMPARE(first.relativePath, std::string("a/b"));
        QCOMPARE(first.allocatedSize, qint64(900));
        QCOMPARE(first.logicalSize, qint64(1000));
        QCOMPARE(vm.entries()[1].node.get(), g);
        QCOMPARE(vm.entries()[1].relativePath, std::string());

        vm.rebuild(t.rootPtr(), 2); // nothing changed
        QCOMPARE(spy.count(), 1);

        // After a file operation the list follows the tree.
        TreeMutator::remove(*f);
        vm.rebuild(t.rootPtr(), 2);
        QCOMPARE(spy.count(), 2);
        QCOMPARE(vm.entries()[0].node.get(), g);
        QCOMPARE(vm.entries()[1].allocatedSize, qint64(10));
    }

    void emptyWithoutRootOrWithoutALimit() {
        MemoryTree t;
        t.file(t.root(), "x", 5);
        t.totalFolders();
        BiggestFilesViewModel vm;
        QSignalSpy spy(&vm, &BiggestFilesViewModel::entriesChanged);
        vm.rebuild(nullptr, 200);
        QCOMPARE(spy.count(), 0);
        vm.rebuild(t.rootPtr(), 200);
        QCOMPARE(vm.entries().size(), std::size_t(1));
        vm.rebuild(t.rootPtr(), 0);
        QVERIFY(vm.entries().empty());
        QCOMPARE(spy.count(), 2);
        vm.rebuild(t.rootPtr(), 1);
        vm.rebuild(nullptr, 1);
        QVERIFY(vm.entries().empty());
        QCOMPARE(spy.count(), 4);
    }

    void entriesKeepTheirTreeAlive() {
        BiggestFilesViewModel vm;
        {
            MemoryTree t;
            FileNode* d = t.folder(t.root(), "dir");
            t.file(d, "kept.bin", 77);
            t.totalFolders();
            vm.rebuild(t.rootPtr(), 10);
        }
        QCOMPARE(vm.entries().size(), std::size_t(1));
        QCOMPARE(vm.entries()[0].node->name(), std::string_view("kept.bin"));
        QCOMPARE(vm.entries()[0].node->parent()->name(), std::string_view("dir"));
    }
};

QTEST_GUILESS_MAIN(BiggestFilesViewModelTest)
#include "BiggestFilesViewModelTest.moc"
