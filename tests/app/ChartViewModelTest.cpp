// Navigation state of the map over an in-memory tree:
//   root/A/B/C/deep, root/A/a, root/D/d, root/top

#include "app/viewmodels/ChartViewModel.h"
#include "core/model/TreeMutator.h"

#include "support/MemoryTree.h"

#include <QSignalSpy>
#include <QTest>

#include <functional>

using namespace ringfold;
using ringfold::test::MemoryTree;

namespace {

// Everything an observer can read, to compare what a slot saw with the end state.
auto snapshot(const ChartViewModel& vm) {
    return std::make_tuple(vm.rootNode(), vm.focusedNode(), vm.spaceAccounting(),
                           vm.isVolumeRootedSource(), vm.showFreeSpace(), vm.mapSelectionID(),
                           vm.history(), vm.historyIndex());
}

} // namespace

class ChartViewModelTest : public QObject {
    Q_OBJECT

    std::optional<MemoryTree> m_tree;
    NodePtr m_root, m_a, m_b, m_c, m_d;
    SpaceAccounting m_accounting{1000000, 400000, 0, 2};

    QString names(const std::vector<FileNode*>& nodes) {
        QStringList out;
        for (FileNode* n : nodes)
            out << QString::fromStdString(std::string(n->name()));
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
        m_tree.emplace();
        MemoryTree& t = *m_tree;
        FileNode* a = t.folder(t.root(), "A");
        FileNode* b = t.folder(a, "B");
        FileNode* c = t.folder(b, "C");
        t.file(c, "deep", 40000);
        t.file(a, "a", 9000);
        FileNode* d = t.folder(t.root(), "D");
        t.file(d, "d", 70000);
        t.file(t.root(), "top", 5000);
        m_accounting.enumeratedAllocatedSize = t.totalFolders();
        m_root = t.rootPtr();
        m_a = a->shared();
        m_b = b->shared();
        m_c = c->shared();
        m_d = d->shared();
    }

    // Each step sets every property before it signals, signals each changed property
    // exactly once, and leaves mode, highlight and revision to the views.
    void operationsSignalOnceAfterSettingEverything() {
        ChartViewModel vm;
        vm.setVisualizationMode(VisualizationMode::treemap);
        vm.setHighlightedNodeID(m_d->id());
        vm.setTreeRevision(7);
        vm.setShowFreeSpace(true);
        vm.setMapSelectionID(m_a->id());

        const std::vector<std::pair<const char*, void (ChartViewModel::*)()>> signalList{
            {"root", &ChartViewModel::rootNodeChanged},
            {"focus", &ChartViewModel::focusedNodeChanged},
            {"accounting", &ChartViewModel::spaceAccountingChanged},
            {"volume", &ChartViewModel::isVolumeRootedSourceChanged},
            {"free", &ChartViewModel::showFreeSpaceChanged},
            {"selection", &ChartViewModel::mapSelectionIDChanged},
            {"history", &ChartViewModel::historyChanged},
            {"index", &ChartViewModel::historyIndexChanged},
            {"mode", &ChartViewModel::visualizationModeChanged},
            {"highlight", &ChartViewModel::highlightedNodeIDChanged},
            {"revision", &ChartViewModel::treeRevisionChanged}};
        QStringList fired;
        std::vector<decltype(snapshot(vm))> seen;
        for (const auto& [name, signal] : signalList)
            connect(&vm, signal, this, [&, name = QString(name)] {
                fired << name;
                seen.push_back(snapshot(vm));
            });

        const std::vector<std::tuple<const char*, std::function<void()>, QString>> steps{
            {"new root", [&] { vm.setRoot(m_root, m_accounting, true); },
             "root focus accounting volume free selection history index"},
            {"focus A", [&] { vm.focus(m_a); }, "focus history index"},
            {"focus B", [&] { vm.focus(m_b.get()); }, "focus history index"},
            {"back", [&] { vm.goBack(); }, "focus index"},
            {"forward", [&] { vm.goForward(); }, "focus index"},
            {"focus again", [&] { vm.focus(m_b); }, ""},
            {"same root, deeper history", [&] { vm.setRoot(m_root, m_accounting, true); },
             "focus history index"},
            {"same root again", [&] { vm.setRoot(m_root, m_accounting, true); }, ""},
            {"clear", [&] { vm.clearRoot(); }, "root focus accounting volume history index"},
            {"clear again", [&] { vm.clearRoot(); }, ""},
        };
        for (const auto& [what, run, expected] : steps) {
            fired.clear();
            seen.clear();
            run();
            QStringList wanted = expected.split(' ', Qt::SkipEmptyParts);
            wanted.sort();
            fired.sort();
            QCOMPARE(fired, wanted);
            for (const auto& state : seen)
                QVERIFY2(state == snapshot(vm), what);
        }
        QVERIFY(!vm.spaceAccounting() && !vm.isVolumeRootedSource() && vm.historyIndex() == -1);
        QVERIFY(vm.visualizationMode() == VisualizationMode::treemap);
        QCOMPARE(vm.highlightedNodeID(), std::optional<NodeID>(m_d->id()));
        QCOMPARE(vm.treeRevision(), 7);
    }

    void backForwardAndFocusDiscardingTheForwardHistory() {
        ChartViewModel vm;
        vm.setRoot(m_root, m_accounting, false);
        vm.focus(m_a);
        vm.focus(m_b);
        vm.goBack();
        vm.goBack();
        QCOMPARE(vm.focusedNode(), m_root);
        QVERIFY(!vm.canGoBack() && vm.canGoForward());
        vm.goBack(); // at the start: nothing
        QCOMPARE(vm.historyIndex(), 0);
        vm.goForward();
        QCOMPARE(vm.focusedNode(), m_a);
        vm.focus(m_d);
        QCOMPARE(historyNames(vm), QStringLiteral("root/A/D"));
        QCOMPARE(vm.historyIndex(), 2);
        QVERIFY(!vm.canGoForward());
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
    }

    void breadcrumbsAndAFolderCutOutOfTheTree() {
        ChartViewModel vm;
        QVERIFY(vm.breadcrumbs().empty());
        vm.setRoot(m_root, m_accounting, false);
        vm.focus(m_c);
        QCOMPARE(names(vm.breadcrumbs()), QStringLiteral("root/A/B/C"));

        TreeMutator::remove(*m_b); // trashed: the focused folder shows as itself alone
        QCOMPARE(names(vm.breadcrumbs()), QStringLiteral("C"));
        vm.focus(m_b);
        vm.goUp(); // up from the detached folder goes nowhere
        QCOMPARE(vm.focusedNode(), m_b);
    }

    void refreshAccountingFollowsTheRoot() {
        ChartViewModel vm;
        vm.refreshAccounting(); // nothing to refresh
        QVERIFY(!vm.spaceAccounting());
        vm.setRoot(m_root, m_accounting, true);
        QSignalSpy spy(&vm, &ChartViewModel::spaceAccountingChanged);
        vm.refreshAccounting(); // unchanged tree: same figures, no signal
        QCOMPARE(spy.count(), 0);

        const std::int64_t removed = m_d->allocatedSize();
        TreeMutator::remove(*m_d);
        vm.refreshAccounting();
        QCOMPARE(spy.count(), 1);
        SpaceAccounting expected = m_accounting;
        expected.enumeratedAllocatedSize -= removed;
        QVERIFY(vm.spaceAccounting() == expected);

        vm.setRoot(m_root, std::nullopt, false); // without figures nothing to refresh
        vm.refreshAccounting();
        QVERIFY(!vm.spaceAccounting());
    }

    void clearRootLeavesNoReferenceToTheTree() {
        ChartViewModel vm;
        vm.setRoot(m_root, m_accounting, true);
        vm.focus(m_c);
        std::weak_ptr<FileNode> watch = m_root;
        vm.clearRoot();
        m_root = m_a = m_b = m_c = m_d = nullptr;
        m_tree.reset();
        QVERIFY(watch.expired());
    }
};

QTEST_GUILESS_MAIN(ChartViewModelTest)
#include "ChartViewModelTest.moc"
