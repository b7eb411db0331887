// The System Junk panel's rules without widgets: sorting, the three kinds of
// checkbox and shift-click ranges, against a real cleanup list and settings store.
#include "app/viewmodels/SystemJunkPanelState.h"
#include "app/stores/CleanupListStore.h"
#include "app/stores/SettingsStore.h"
#include "core/junk/SyntheticTree.h"
#include "core/model/ByteFormat.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace ringfold;
using ringfold::testing::SyntheticTree;
using Group = SystemJunkPanelState::Group;
using CheckState = SystemJunkPanelState::CheckState;

namespace {

struct Fixture {
    SyntheticTree tree{"/home/ann"};
    QTemporaryDir dir;
    QSettings settings{dir.filePath("settings.ini"), QSettings::IniFormat};
    SettingsStore store{&settings};
    CleanupListStore list{&store};
    std::vector<Group> groups;

    JunkItem item(const std::string& path, std::int64_t size, std::optional<Timestamp> date,
                  JunkConfidence c, bool hidden = false) {
        FileNode* n = tree.add(path, date, size, false, hidden);
        return JunkItem{n->shared(), JunkCategory::appLogs, c};
    }
    Fixture() {
        Group logs{JunkCategory::appLogs, {}};
        logs.items.push_back(item("logs/b.log.1", 300, 200, JunkConfidence::high));
        logs.items.push_back(item("logs/a.log", 100, std::nullopt, JunkConfidence::medium));
        logs.items.push_back(item("logs/C.log.2", 900, 100, JunkConfidence::high));
        logs.items.push_back(item("logs/.h.log.3", 50, 300, JunkConfidence::high, true));
        Group caches{JunkCategory::appCaches, {}};
        caches.items.push_back(item("cache/x", 10, 5, JunkConfidence::medium));
        caches.items.push_back(item("cache/y", 20, 6, JunkConfidence::orphaned));
        groups = {logs, caches};
    }
    std::vector<std::string> names(const std::vector<JunkItem>& items) {
        std::vector<std::string> out;
        for (const auto& i : items)
            out.emplace_back(i.node->name());
        return out;
    }
    std::vector<std::string> listed() {
        std::vector<std::string> out;
        for (const auto& n : list.items())
            out.emplace_back(n->name());
        return out;
    }
};

using Names = std::vector<std::string>;

} // namespace

class SystemJunkPanelStateTest : public QObject {
    Q_OBJECT

private slots:
    void sortsByEveryColumnStartingInItsOwnDirection() {
        Fixture f;
        SystemJunkPanelState panel;
        const auto shown = [&] { return f.names(panel.displayedItems(f.groups[0])); };
        QCOMPARE(panel.sortKey(), JunkSortKey::size);
        QVERIFY(!panel.sortAscending());
        QCOMPARE(shown(), (Names{"C.log.2", "b.log.1", "a.log", ".h.log.3"}));
        panel.clickColumnHeader(JunkSortKey::name);
        QVERIFY(panel.sortAscending());
        // Code point order: "." < "C" < "a" < "b".
        QCOMPARE(shown(), (Names{".h.log.3", "C.log.2", "a.log", "b.log.1"}));
        panel.clickColumnHeader(JunkSortKey::name);
        QVERIFY(!panel.sortAscending());
        QCOMPARE(shown(), (Names{"b.log.1", "a.log", "C.log.2", ".h.log.3"}));
        panel.clickColumnHeader(JunkSortKey::size);
        QVERIFY(!panel.sortAscending());
        QVERIFY(SystemJunkPanelState::initialAscending(JunkSortKey::modified));
        QVERIFY(SystemJunkPanelState::initialAscending(JunkSortKey::confidence));
        panel.clickColumnHeader(JunkSortKey::modified);
        // A missing date is the distant past.
        QCOMPARE(shown(), (Names{"a.log", "C.log.2", "b.log.1", ".h.log.3"}));
        panel.clickColumnHeader(JunkSortKey::confidence);
        // Ties keep the classifier's order.
        QCOMPARE(shown(), (Names{"b.log.1", "C.log.2", ".h.log.3", "a.log"}));
        panel.clickColumnHeader(JunkSortKey::confidence);
        QCOMPARE(shown(), (Names{"a.log", "b.log.1", "C.log.2", ".h.log.3"}));
    }

    void headerCheckboxFollowsEligibleItems() {
        Fixture f;
        QCOMPARE(SystemJunkPanelState::headerState(f.groups, f.list), CheckState::off);
        SystemJunkPanelState::clickHeaderCheckbox(f.groups, f.list);
        QCOMPARE(f.listed(), (Names{"b.log.1", "a.log", "C.log.2", "x", "y"}));
        QCOMPARE(SystemJunkPanelState::headerState(f.groups, f.list), CheckState::on);
        SystemJunkPanelState::clickItemCheckbox(f.groups[1].items[0], f.list);
        QCOMPARE(SystemJunkPanelState::headerState(f.groups, f.list), CheckState::mixed);
        SystemJunkPanelState::clickHeaderCheckbox(f.groups, f.list); // mixed: add the rest
        QCOMPARE(SystemJunkPanelState::headerState(f.groups, f.list), CheckState::on);
        SystemJunkPanelState::clickHeaderCheckbox(f.groups, f.list); // on: remove all
        QVERIFY(f.list.isEmpty());
    }

    void hiddenItemsCountOnlyWhileTheSettingAllowsThem() {
        Fixture f;
        const JunkItem& hidden = f.groups[0].items[3];
        SystemJunkPanelState::clickItemCheckbox(hidden, f.list);
        QVERIFY(f.list.isEmpty());

        f.store.setAllowDeletingHiddenFiles(true);
        SystemJunkPanelState::clickHeaderCheckbox(f.groups, f.list);
        // The header never adds hidden items, so it stays mixed until one is ticked.
        QCOMPARE(f.list.count(), std::size_t(5));
        QCOMPARE(SystemJunkPanelState::headerState(f.groups, f.list), CheckState::mixed);
        QVERIFY(!SystemJunkPanelState::groupChecked(f.groups[0], f.list));
        SystemJunkPanelState::clickItemCheckbox(hidden, f.list);
        QVERIFY(f.list.contains(*hidden.node));
        QCOMPARE(SystemJunkPanelState::headerState(f.groups, f.list), CheckState::on);
        SystemJunkPanelState::clickHeaderCheckbox(f.groups, f.list);
        QVERIFY(f.list.isEmpty());
    }

    void groupCheckbox() {
        Fixture f;
        QVERIFY(!SystemJunkPanelState::groupChecked(f.groups[1], f.list));
        SystemJunkPanelState::clickGroupCheckbox(f.groups[1], f.list);
        QCOMPARE(f.listed(), (Names{"x", "y"}));
        QVERIFY(SystemJunkPanelState::groupChecked(f.groups[1], f.list));
        QVERIFY(!SystemJunkPanelState::groupChecked(f.groups[0], f.list));
        SystemJunkPanelState::clickGroupCheckbox(f.groups[1], f.list);
        QVERIFY(f.list.isEmpty());
        // A group whose only item is hidden (and not allowed) is never on.
        Group onlyHidden{JunkCategory::appLogs, {f.groups[0].items[3]}};
        SystemJunkPanelState::clickGroupCheckbox(onlyHidden, f.list);
        QVERIFY(!SystemJunkPanelState::groupChecked(onlyHidden, f.list));
        QVERIFY(f.list.isEmpty());
    }

    void shiftClickAddsTheDisplayedRange() {
        Fixture f;
        SystemJunkPanelState panel; // size descending: C.log.2, b.log.1, a.log, .h.log.3
        const auto& g = f.groups[0];
        panel.clickItemRow(g.items[3], g, false, f.list); // hidden: no toggle, but the anchor
        QCOMPARE(panel.lastClickedJunkNodeID(), g.items[3].node->id());
        QVERIFY(f.list.isEmpty());
        panel.clickItemRow(g.items[1], g, false, f.list); // a.log toggled on
        QCOMPARE(f.listed(), (Names{"a.log"}));
        panel.clickItemRow(g.items[2], g, true, f.list); // from a.log up to C.log.2
        QCOMPARE(f.listed(), (Names{"a.log", "C.log.2", "b.log.1"}));
        // A range never removes; the hidden end is skipped.
        panel.clickItemRow(g.items[3], g, true, f.list);
        QCOMPARE(f.list.count(), std::size_t(3));
        // With the anchor in another group, Shift-click toggles like the checkbox.
        panel.clickItemRow(f.groups[1].items[0], f.groups[1], true, f.list);
        QCOMPARE(f.list.count(), std::size_t(4));
        panel.clickItemRow(g.items[0], g, true, f.list);
        QVERIFY(!f.list.contains(*g.items[0].node));
    }

    void texts() {
        QCOMPARE(
            SystemJunkPanelState::foundSummary(2'500'000),
            QStringLiteral("Found **") + QString::fromStdString(formatByteCount(2'500'000)) +
                QStringLiteral("** of logs, caches, and old data that's likely safe to remove"));
        QCOMPARE(SystemJunkPanelState::itemCountLabel(1), QStringLiteral("1 item"));
        QCOMPARE(SystemJunkPanelState::itemCountLabel(0), QStringLiteral("0 items"));
        QCOMPARE(SystemJunkPanelState::legendText(JunkConfidence::orphaned),
                 QStringLiteral("Leftovers from uninstalled apps — review before removing"));
    }
};

QTEST_GUILESS_MAIN(SystemJunkPanelStateTest)
#include "SystemJunkPanelStateTest.moc"
