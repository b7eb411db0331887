#include "app/viewmodels/CategoriesViewModel.h"
#include "core/model/TreeMutator.h"
#include "support/MemoryTree.h"

#include <QSignalSpy>
#include <QTest>

using namespace ringfold;
using ringfold::test::MemoryTree;

class CategoriesViewModelTest : public QObject {
    Q_OBJECT

private slots:
    void updatePublishesTotalsAndSummaries() {
        MemoryTree t;
        FileNode* music = t.folder(t.root(), "Music");
        t.file(music, "a.mp3", 300);
        FileNode* b = t.file(music, "b.flac", 100);
        t.file(t.root(), "notes.md", 100);
        t.totalFolders();

        CategoriesViewModel vm;
        QSignalSpy total(&vm, &CategoriesViewModel::totalBytesChanged);
        QSignalSpy summaries(&vm, &CategoriesViewModel::summariesChanged);
        vm.update(t.rootPtr());
        QCOMPARE(vm.totalBytes(), qint64(500));
        QCOMPARE(total.count(), 1);
        QCOMPARE(summaries.count(), 1);
        QCOMPARE(vm.summaries().size(), std::size_t(2));
        QCOMPARE(vm.summaries()[0].category, FileCategory::audio);
        QCOMPARE(vm.summaries()[0].fileCount, qint64(2));
        QCOMPARE(vm.summaries()[0].fraction, 0.8);
        QCOMPARE(vm.summaries()[0].topFiles.size(), std::size_t(2));
        QCOMPARE(vm.summaries()[1].category, FileCategory::documents);

        vm.update(t.rootPtr());
        QCOMPARE(total.count(), 1);
        QCOMPARE(summaries.count(), 1);

        // A trashed file disappears from the totals and the top list.
        TreeMutator::remove(*b);
        vm.update(t.rootPtr());
        QCOMPARE(vm.totalBytes(), qint64(400));
        QCOMPARE(total.count(), 2);
        QCOMPARE(summaries.count(), 2);
        QCOMPARE(vm.summaries()[0].topFiles.size(), std::size_t(1));
        QCOMPARE(vm.summaries()[0].fraction, 0.75);
    }

    void summariesChangeEvenWhenTheTotalDoesNot() {
        MemoryTree t;
        FileNode* f = t.file(t.root(), "x.zip", 10);
        t.totalFolders();
        CategoriesViewModel vm;
        QSignalSpy total(&vm, &CategoriesViewModel::totalBytesChanged);
        QSignalSpy summaries(&vm, &CategoriesViewModel::summariesChanged);
        vm.update(nullptr);
        QCOMPARE(total.count(), 0);
        QCOMPARE(summaries.count(), 0);

        vm.update(t.rootPtr());
        f->setAllocatedSize(10); // same bytes, new scan of the same shape
        MemoryTree other;
        other.file(other.root(), "y.zip", 10);
        other.totalFolders();
        vm.update(other.rootPtr());
        QCOMPARE(total.count(), 1);
        QCOMPARE(summaries.count(), 2);

        vm.update(nullptr);
        QVERIFY(vm.summaries().empty());
        QCOMPARE(vm.totalBytes(), qint64(0));
        QCOMPARE(total.count(), 2);
    }
};

QTEST_GUILESS_MAIN(CategoriesViewModelTest)
#include "CategoriesViewModelTest.moc"
