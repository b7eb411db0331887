// Navigation state of the map over an in-memory tree: root/A/B/C/deep, root/D/d

#include "app/viewmodels/ChartViewModel.h"
#include "core/model/TreeMutator.h"
#include "support/MemoryTree.h"

#include <QTest>

#include <functional>

using namespace ringfold;
using ringfold::test::MemoryTree;

class ChartViewModelTest : public QObject {
    Q_OBJECT

    std::optional<MemoryTree> m_tree;
    NodePtr m_root, m_a, m_b, m_c, m_d;
    SpaceAccounting m_accounting{1000000, 400000, 0, 2};

    // "root A [B]": the nodes' names, the one at `marked` in brackets.
    template <typename Nodes> static QString names(const Nodes& nodes, int marked = -1) {
        QStringList out;
        for (const auto& n : nodes)
            out << QString::fromStdString(std::string(n->name()));
        if (marked >= 0)
            out[marked] = "[" + out[marked] + "]";
        return out.join(' ');
    }

private slots:
    void init() {
        MemoryTree& t = m_tree.emplace();
        FileNode* c = t.folder(t.folder(t.folder(t.root(), "A"), "B"), "C");
        t.file(c, "deep", 40000);
        t.file(t.folder(t.root(), "D"), "d", 70000);
        m_accounting.enumeratedAllocatedSize = t.totalFolders();
        m_root = t.rootPtr();
        m_c = c->shared();
        m_b = c->parent()->shared();
        m_a = m_b->parent()->shared();
        m_d = t.root()->firstChild()->nextSibling()->shared();
    }

    // Each step sets every property before it signals (a slot sees the end state),
    // signals each changed property once, and leaves mode, highlight and revision to
    // the views. The history column marks the focused entry.
    void navigationSteps() {
        ChartViewModel vm;
        vm.setVisualizationMode(VisualizationMode::treemap);
        vm.setHighlightedNodeID(m_d->id());
        vm.setTreeRevision(7);
        vm.setShowFreeSpace(true);
        vm.setMapSelectionID(m_a->id());
        // Everything an observer can read, to compare what a slot saw with the end state.
        auto snapshot = [&] {
            return std::make_tuple(vm.rootNode(), vm.focusedNode(), vm.spaceAccounting(),
                                   vm.isVolumeRootedSource(), vm.showFreeSpace(),
                                   vm.mapSelectionID(), vm.history(), vm.historyIndex());
        };
        QStringList fired;
        std::vector<decltype(snapshot())> seen;
        using VM = ChartViewModel;
        // clang-format off
        for (const auto& [name, signal] : std::vector<std::pair<QString, void (VM::*)()>>{
                 {"root", &VM::rootNodeChanged}, {"focus", &VM::focusedNodeChanged},
                 {"accounting", &VM::spaceAccountingChanged}, {"free", &VM::showFreeSpaceChanged},
                 {"volume", &VM::isVolumeRootedSourceChanged}, {"history", &VM::historyChanged},
                 {"selection", &VM::mapSelectionIDChanged}, {"index", &VM::historyIndexChanged}})
            // clang-format on
            connect(&vm, signal, this, [&, name] {
                fired << name;
                seen.push_back(snapshot());
            });

        const QString moved = "focus history index";
        const std::vector<std::tuple<const char*, std::function<void()>, QString, QString>> steps{
            {"new root", [&] { vm.setRoot(m_root, m_accounting, true); },
             "root accounting volume free selection " + moved, "[root]"},
            {"up at the root", [&] { vm.goUp(); }, "", "[root]"},
            {"focus A", [&] { vm.focus(m_a); }, moved, "root [A]"},
            {"focus B", [&] { vm.focus(m_b.get()); }, moved, "root A [B]"},
            {"back", [&] { vm.goBack(); }, "focus index", "root [A] B"},
            {"back", [&] { vm.goBack(); }, "focus index", "[root] A B"},
            {"back at the start", [&] { vm.goBack(); }, "", "[root] A B"},
            {"forward", [&] { vm.goForward(); }, "focus index", "root [A] B"},
            {"focus drops forward", [&] { vm.focus(m_d); }, moved, "root A [D]"},
            {"focus again", [&] { vm.focus(m_d.get()); }, "", "root A [D]"},
            {"forward at the end", [&] { vm.goForward(); }, "", "root A [D]"},
            {"focus C", [&] { vm.focus(m_c); }, moved, "root A D [C]"},
            {"up is recorded", [&] { vm.goUp(); }, moved, "root A D C [B]"},
            {"refresh, same tree", [&] { vm.refreshAccounting(); }, "", "root A D C [B]"},
            {"trash D, refresh",
             [&] {
                 SpaceAccounting expected = m_accounting;
                 expected.enumeratedAllocatedSize -= m_d->allocatedSize();
                 TreeMutator::remove(*m_d);
                 vm.refreshAccounting();
                 QVERIFY(vm.spaceAccounting() == expected);
             },
             "accounting", "root A D C [B]"},
            {"same root", [&] { vm.setRoot(m_root, m_accounting, true); }, "accounting " + moved,
             "[root]"},
            {"same root again", [&] { vm.setRoot(m_root, m_accounting, true); }, "", "[root]"},
            {"no figures to refresh",
             [&] {
                 vm.setRoot(m_root, std::nullopt, true);
                 vm.refreshAccounting();
             },
             "accounting", "[root]"},
            {"clear", [&] { vm.clearRoot(); }, "root volume " + moved, ""},
        };
        for (const auto& [what, run, expected, history] : steps) {
            fired.clear();
            seen.clear();
            run();
            QStringList wanted = expected.split(' ', Qt::SkipEmptyParts);
            wanted.sort();
            fired.sort();
            QCOMPARE(fired, wanted);
            for (const auto& state : seen)
                QVERIFY2(state == snapshot(), what);
            QCOMPARE(names(vm.history(), vm.historyIndex()), history);
            QVERIFY(vm.history().empty() ? !vm.focusedNode()
                                         : vm.focusedNode() == vm.history()[vm.historyIndex()]);
        }
        QVERIFY(vm.visualizationMode() == VisualizationMode::treemap && vm.treeRevision() == 7 &&
                vm.highlightedNodeID() == m_d->id());

        QVERIFY(vm.breadcrumbs().empty());
        vm.setRoot(m_root, std::nullopt, false);
        vm.focus(m_c);
        QCOMPARE(names(vm.breadcrumbs()), QStringLiteral("root A B C"));
        TreeMutator::remove(*m_b); // trashed: the focused folder shows as itself alone
        QCOMPARE(names(vm.breadcrumbs()), QStringLiteral("C"));
        vm.focus(m_b);
        vm.goUp(); // up from the detached folder goes nowhere
        QCOMPARE(vm.focusedNode(), m_b);
        std::weak_ptr<FileNode> watch = m_root; // and clearing keeps nothing of the tree
        vm.clearRoot();
        seen.clear(); // what the slots saw
        m_root = m_a = m_b = m_c = m_d = nullptr;
        m_tree.reset();
        QVERIFY(watch.expired());
    }
};

QTEST_GUILESS_MAIN(ChartViewModelTest)
#include "ChartViewModelTest.moc"
