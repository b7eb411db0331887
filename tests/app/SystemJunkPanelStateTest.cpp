// The System Junk panel's rules without widgets: sorting, the three kinds of
// checkbox and shift-click ranges, against a real cleanup list and settings store.
#include "app/viewmodels/SystemJunkPanelState.h"
#include "app/stores/SettingsStore.h"
#include "core/junk/JunkFixture.h"
#include "core/model/ByteFormat.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace ringfold;
using Panel = SystemJunkPanelState;
using CheckState = Panel::CheckState;
using Names = std::vector<std::string>;

namespace {

struct Fixture {
    test::JunkTree tree{"/home/ann"};
    QTemporaryDir dir;
    QSettings settings{dir.filePath("settings.ini"), QSettings::IniFormat};
    SettingsStore store{&settings};
    CleanupListStore list{&store};
    std::vector<Panel::Group> groups{{JunkCategory::appLogs, {}}, {JunkCategory::appCaches, {}}};

    void item(int group, const std::string& path, std::int64_t size, std::optional<Timestamp> date,
              JunkConfidence c, bool hidden = false) {
        groups[group].items.push_back({tree.add(path, date, size, hidden)->shared(), {}, c});
    }
    Fixture() {
        item(0, "logs/b.log.1", 300, 200, JunkConfidence::high);
        item(0, "logs/a.log", 100, std::nullopt, JunkConfidence::medium);
        item(0, "logs/C.log.2", 900, 100, JunkConfidence::high);
        item(0, "logs/.h.log.3", 50, 300, JunkConfidence::high, true);
        item(1, "cache/x", 10, 5, JunkConfidence::medium);
        item(1, "cache/y", 20, 6, JunkConfidence::orphaned);
    }
    Names listed() const { return test::names(list.items()); }
    Names shown(const Panel& panel) const { return test::names(panel.displayedItems(groups[0])); }
    CheckState header() const { return Panel::headerState(groups, list); }
};

} // namespace

class SystemJunkPanelStateTest : public QObject {
    Q_OBJECT

private slots:
    void sortsByEveryColumnStartingInItsOwnDirection() {
        Fixture f;
        Panel panel;
        const std::pair<JunkSortKey, Names> clicks[] = {
            {JunkSortKey::name, {".h.log.3", "C.log.2", "a.log", "b.log.1"}}, // code points
            {JunkSortKey::name, {"b.log.1", "a.log", "C.log.2", ".h.log.3"}},
            {JunkSortKey::size, {"C.log.2", "b.log.1", "a.log", ".h.log.3"}},
            {JunkSortKey::modified, {"a.log", "C.log.2", "b.log.1", ".h.log.3"}},   // undated first
            {JunkSortKey::confidence, {"b.log.1", "C.log.2", ".h.log.3", "a.log"}}, // stable
            {JunkSortKey::confidence, {"a.log", "b.log.1", "C.log.2", ".h.log.3"}}};
        for (const auto& [key, expected] : clicks) {
            panel.clickColumnHeader(key);
            QCOMPARE(f.shown(panel), expected);
        }
    }

    void headerGroupAndItemCheckboxes() {
        Fixture f;
        QCOMPARE(f.header(), CheckState::off);
        const Panel::Group onlyHidden{JunkCategory::appLogs, {f.groups[0].items[3]}};
        QVERIFY(!Panel::groupChecked(onlyHidden, f.list)); // nothing to tick: never on
        Panel::clickGroupCheckbox(f.groups[1], f.list);
        QVERIFY(Panel::groupChecked(f.groups[1], f.list) &&
                !Panel::groupChecked(f.groups[0], f.list));
        QCOMPARE(f.header(), CheckState::mixed);
        Panel::clickHeaderCheckbox(f.groups, f.list); // mixed: add the rest, never hidden
        QCOMPARE(f.listed(), (Names{"x", "y", "b.log.1", "a.log", "C.log.2"}));
        QCOMPARE(f.header(), CheckState::on); // the hidden item does not count ...
        const JunkItem& hidden = f.groups[0].items[3];
        Panel::clickItemCheckbox(hidden, f.list);
        QVERIFY(!f.list.contains(*hidden.node));
        f.store.setAllowDeletingHiddenFiles(true);
        QCOMPARE(f.header(), CheckState::mixed); // ... until it may be deleted
        QVERIFY(!Panel::groupChecked(f.groups[0], f.list));
        Panel::clickItemCheckbox(hidden, f.list);
        QCOMPARE(f.header(), CheckState::on);
        Panel::clickHeaderCheckbox(f.groups, f.list); // on: remove all
        QVERIFY(f.list.isEmpty());

        // The header's total and the groups' counts.
        const QString amount = QString::fromStdString(formatByteCount(2'500'000));
        QVERIFY(Panel::foundSummary(2'500'000).startsWith("Found **" + amount + "** of "));
        QCOMPARE(Panel::itemCountLabel(1), QStringLiteral("1 item"));
        QCOMPARE(Panel::itemCountLabel(0), QStringLiteral("0 items"));
    }

    void shiftClickAddsTheDisplayedRange() {
        Fixture f;
        Panel panel; // size descending: C.log.2, b.log.1, a.log, .h.log.3
        const auto& g = f.groups[0];
        panel.clickItemRow(g.items[3], g, false, f.list); // hidden: no toggle, but the anchor
        QCOMPARE(panel.lastClickedJunkNodeID(), g.items[3].node->id());
        panel.clickItemRow(g.items[1], g, false, f.list);
        panel.clickItemRow(g.items[2], g, true, f.list); // from a.log up to C.log.2
        QCOMPARE(f.listed(), (Names{"a.log", "C.log.2", "b.log.1"}));
        panel.clickItemRow(g.items[3], g, true, f.list); // never removes, skips the hidden end
        QCOMPARE(f.list.count(), std::size_t(3));
        // With the anchor in another group, Shift-click toggles like the checkbox.
        panel.clickItemRow(f.groups[1].items[0], f.groups[1], true, f.list);
        panel.clickItemRow(g.items[0], g, true, f.list);
        QCOMPARE(f.listed(), (Names{"a.log", "C.log.2", "x"}));
    }
};

QTEST_GUILESS_MAIN(SystemJunkPanelStateTest)
#include "SystemJunkPanelStateTest.moc"
