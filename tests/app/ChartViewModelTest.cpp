// Navigation state of the map over a real scanned tree:
//   root/A/B/C/deep.bin, root/A/a.bin, root/D/d.bin, root/top.bin

#include "app/viewmodels/ChartViewModel.h"
#include "core/model/TreeMutator.h"

#include "AppTestSupport.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace ringfold;
using apptest::findShared;

class ChartViewModelTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    NodePtr m_root;
    NodePtr m_a, m_b, m_c, m_d;
    SpaceAccounting m_accounting;

    QString names(const std::vector<FileNode*>& nodes) {
        QStringList out;
        for (FileNode* n : nodes)
            out << (n == m_root.get() ? QStringLiteral("root")
                                      : QString::fromStdString(std::string(n->name())));
        return out.join(QLatin1Char('/'));
    }

    QString historyNames(const ChartViewModel& vm) {
        std::vector<FileNode*> nodes;
        for (const NodePtr& n : vm.history())
            nodes.push_back(n.get());
        return names(nodes);
    }

private slots:
    void init() {
        QVERIFY(apptest::writeFile(m_dir.filePath("A/B/C/deep.bin"), 40000));
        QVERIFY(apptest::writeFile(m_dir.filePath("A/a.bin"), 9000));
        QVERIFY(apptest::writeFile(m_dir.filePath("D/d.bin"), 70000));
        QVERIFY(apptest::writeFile(m_dir.filePath("top.bin"), 5000));
        auto result = apptest::scanFolder(m_dir.path());
        QVERIFY(result);
        m_root = result->root;
        m_accounting = result->accounting;
        m_a = findShared(m_root, "A");
        m_b = findShared(m_root, "A/B");
        m_c = findShared(m_root, "A/B/C");
        m_d = findShared(m_root, "D");
        QVERIFY(m_a && m_b && m_c && m_d);
    }

    void setRootStartsAFreshHistory() {
        ChartViewModel vm;
        vm.setVisualizationMode(VisualizationMode::treemap);
        vm.setHighlightedNodeID(m_d->id());
        vm.setTreeRevision(7);
        vm.setShowFreeSpace(true);
        vm.setMapSelectionID(m_a->id());
        QSignalSpy rootSpy(&vm, &ChartViewModel::rootNodeChanged);
        QSignalSpy modeSpy(&vm, &ChartViewModel::visualizationModeChanged);
        QSignalSpy freeSpy(&vm, &ChartViewModel::showFreeSpaceChanged);

        vm.setRoot(m_root, m_accounting, true);
        QCOMPARE(vm.rootNode(), m_root);
        QCOMPARE(vm.focusedNode(), m_root);
        QCOMPARE(vm.historyIndex(), 0);
        QCOMPARE(historyNames(vm), QStringLiteral("root"));
        QVERIFY(!vm.canGoBack() && !vm.canGoForward());
        QVERIFY(!vm.showFreeSpace());
        QVERIFY(!vm.mapSelectionID());
        QVERIFY(vm.isVolumeRootedSource());
        QVERIFY(vm.spaceAccounting() == m_accounting);
        // Mode, highlight and revision belong to the views, not to the tree.
        QVERIFY(vm.visualizationMode() == VisualizationMode::treemap);
        QCOMPARE(vm.highlightedNodeID(), std::optional<NodeID>(m_d->id()));
        QCOMPARE(vm.treeRevision(), 7);
        QCOMPARE(rootSpy.count(), 1);
        QCOMPARE(modeSpy.count(), 0);
        QCOMPARE(freeSpy.count(), 1);

        // The same root again: nothing observable changes.
        QSignalSpy focusSpy(&vm, &ChartViewModel::focusedNodeChanged);
        QSignalSpy accountingSpy(&vm, &ChartViewModel::spaceAccountingChanged);
        vm.setRoot(m_root, m_accounting, true);
        QCOMPARE(rootSpy.count(), 1);
        QCOMPARE(focusSpy.count(), 0);
        QCOMPARE(accountingSpy.count(), 0);
    }

    void backForwardAndFocusDiscardingTheForwardHistory() {
        ChartViewModel vm;
        vm.setRoot(m_root, m_accounting, false);
        vm.focus(m_a);
        vm.focus(m_b);
        QCOMPARE(historyNames(vm), QStringLiteral("root/A/B"));
        vm.goBack();
        vm.goBack();
        QCOMPARE(vm.focusedNode(), m_root);
        QCOMPARE(vm.historyIndex(), 0);
        QVERIFY(!vm.canGoBack() && vm.canGoForward());
        vm.goBack(); // at the start: nothing
        QCOMPARE(vm.historyIndex(), 0);
        vm.goForward();
        QCOMPARE(vm.focusedNode(), m_a);
        vm.focus(m_d);
        QCOMPARE(historyNames(vm), QStringLiteral("root/A/D"));
        QCOMPARE(vm.historyIndex(), 2);
        QVERIFY(!vm.canGoForward());
        vm.goForward();
        QCOMPARE(vm.focusedNode(), m_d);

        // Focusing the focused node, in either form, changes nothing.
        QSignalSpy history(&vm, &ChartViewModel::historyChanged);
        QSignalSpy focus(&vm, &ChartViewModel::focusedNodeChanged);
        QSignalSpy index(&vm, &ChartViewModel::historyIndexChanged);
        vm.focus(m_d);
        vm.focus(m_d.get());
        QCOMPARE(history.count() + focus.count() + index.count(), 0);
        QCOMPARE(historyNames(vm), QStringLiteral("root/A/D"));
    }

    void goUpIsRecordedAndStopsAtTheRoot() {
        ChartViewModel vm;
        vm.setRoot(m_root, m_accounting, false);
        vm.goUp();
        QCOMPARE(vm.history().size(), std::size_t(1));
        vm.focus(m_a);
        vm.focus(m_b);
        vm.goBack(); // at A, B ahead
        vm.focus(m_b);
        vm.goUp();
        QCOMPARE(vm.focusedNode(), m_a);
        QCOMPARE(historyNames(vm), QStringLiteral("root/A/B/A"));
        QVERIFY(!vm.canGoForward());
    }

    void breadcrumbsRunFromRootToFocus() {
        ChartViewModel vm;
        QVERIFY(vm.breadcrumbs().empty());
        vm.setRoot(m_root, m_accounting, false);
        QCOMPARE(names(vm.breadcrumbs()), QStringLiteral("root"));
        vm.focus(m_c);
        QCOMPARE(names(vm.breadcrumbs()), QStringLiteral("root/A/B/C"));

        // A folder cut out of the tree (trashed) shows as itself alone.
        TreeMutator::remove(*m_b);
        QCOMPARE(names(vm.breadcrumbs()), QStringLiteral("C"));
        QCOMPARE(vm.breadcrumbs().size(), std::size_t(1));
        QCOMPARE(vm.breadcrumbs().front(), m_c.get());
        // Up from the detached folder itself goes nowhere.
        vm.focus(m_b);
        vm.goUp();
        QCOMPARE(vm.focusedNode(), m_b);
        QCOMPARE(vm.history().size(), std::size_t(3));
    }

    void refreshAccountingFollowsTheRoot() {
        ChartViewModel vm;
        vm.refreshAccounting(); // nothing to refresh
        QVERIFY(!vm.spaceAccounting());

        vm.setRoot(m_root, m_accounting, true);
        const std::int64_t before = vm.spaceAccounting()->enumeratedAllocatedSize;
        const std::int64_t removed = m_d->allocatedSize();
        QVERIFY(removed > 0);
        QSignalSpy spy(&vm, &ChartViewModel::spaceAccountingChanged);
        vm.refreshAccounting(); // unchanged tree: same figures, no signal
        QCOMPARE(spy.count(), 0);

        TreeMutator::remove(*m_d);
        vm.refreshAccounting();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(vm.spaceAccounting()->enumeratedAllocatedSize, m_root->allocatedSize());
        QCOMPARE(vm.spaceAccounting()->enumeratedAllocatedSize, before - removed);
        QCOMPARE(vm.spaceAccounting()->volumeTotalCapacity, m_accounting.volumeTotalCapacity);
        QCOMPARE(vm.spaceAccounting()->restrictedPathCount, m_accounting.restrictedPathCount);

        // Without figures there is nothing to refresh.
        ChartViewModel bare;
        bare.setRoot(m_root, std::nullopt, false);
        bare.refreshAccounting();
        QVERIFY(!bare.spaceAccounting());
    }

    void plainAssignmentsSignalOnlyRealChanges() {
        ChartViewModel vm;
        QSignalSpy revision(&vm, &ChartViewModel::treeRevisionChanged);
        QSignalSpy highlight(&vm, &ChartViewModel::highlightedNodeIDChanged);
        QSignalSpy selection(&vm, &ChartViewModel::mapSelectionIDChanged);
        vm.bumpTreeRevision();
        vm.setTreeRevision(1);
        vm.setHighlightedNodeID(std::nullopt);
        vm.setHighlightedNodeID(-5);
        vm.setHighlightedNodeID(-5);
        vm.setMapSelectionID(3);
        vm.setMapSelectionID(3);
        QCOMPARE(revision.count(), 1);
        QCOMPARE(highlight.count(), 1);
        QCOMPARE(selection.count(), 1);
    }

    void clearRootDropsTheTreeAndItsHistory() {
        ChartViewModel vm;
        vm.setRoot(m_root, m_accounting, true);
        vm.focus(m_c);
        std::weak_ptr<FileNode> watch = m_root;
        vm.clearRoot();
        QVERIFY(!vm.rootNode() && !vm.focusedNode());
        QVERIFY(vm.history().empty());
        QCOMPARE(vm.historyIndex(), -1);
        // Only the test's own references keep the tree now.
        m_root = m_a = m_b = m_c = m_d = nullptr;
        QVERIFY(watch.expired());
    }
};

QTEST_GUILESS_MAIN(ChartViewModelTest)
#include "ChartViewModelTest.moc"
