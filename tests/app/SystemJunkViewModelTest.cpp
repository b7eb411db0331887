// The System Junk view model: when it classifies, what it publishes and pre-selects,
// and that a superseded, cancelled or abandoned run publishes nothing. The orphan
// lookups are driven by hand through promises, except in the last case.
#include "app/viewmodels/SystemJunkViewModel.h"
#include "app/stores/CleanupListStore.h"
#include "core/junk/JunkFixture.h"

#include <QPromise>
#include <QTest>

using namespace ringfold;
using namespace ringfold::test;
using Orphans = SystemJunkViewModel::Orphans;
using Names = std::vector<std::string>;

namespace {

// Every group's category and first item, in the order shown.
Names shown(const SystemJunkViewModel& vm) {
    Names out;
    for (const auto& group : vm.groups())
        out.push_back(std::string(rawValue(group.category)) + " " +
                      std::string(group.items.front().node->name()));
    return out;
}

struct Harness {
    std::vector<std::shared_ptr<QPromise<Orphans>>> runs; // one lookup per run, ended by hand
    SystemJunkViewModel::OrphanLookup lookup = [this](std::vector<std::string>) {
        runs.push_back(std::make_shared<QPromise<Orphans>>());
        runs.back()->start();
        return runs.back()->future();
    };
    SystemJunkViewModel vm{lookup, [] { return JunkPlaces::forHome("/home/ann"); },
                           [] { return kNow; }};
    CleanupListStore list;
    JunkTree tree{"/home/ann"};

    Harness() {
        tree.add(".local/state/app.log.1", kNow, 4000);             // high
        tree.add(".local/state/app.log", kNow, 500);                // medium
        tree.add(".local/state/.hidden.log.2", kNow, 100000, true); // high but hidden
        tree.add(".cache/thumbnails/a.png", kNow, 70000);           // high
        tree.add(".cache/old-tool/", kNow - 10 * kDay);             // listed at 7 days only
        tree.add(".cache/org.gone.App/", kNow);                     // orphan candidate
        tree.totalFolders();
    }
    void answer(std::size_t run, const std::unordered_set<std::string>& gone = {}) {
        runs.at(run)->addResult(Orphans{gone, gone});
        runs.at(run)->finish();
    }
    void classify(int cacheDays, const JunkTree* t = nullptr) {
        vm.classify((t ? *t : tree).rootPtr(), list, 30, cacheDays);
    }
};

} // namespace

class SystemJunkViewModelTest : public QObject {
    Q_OBJECT

private slots:
    void classifiesOncePerRootAndSettingsAndPreselects() {
        Harness h;
        h.classify(14);
        h.classify(14);
        QCOMPARE(h.runs.size(), std::size_t(1));
        QVERIFY(h.vm.isClassifying() && h.vm.groups().empty()); // nothing before the lookups
        h.answer(0, {"org.gone.App"});
        QTRY_COMPARE(shown(h.vm), (Names{"appLogs app.log.1", "thumbnails thumbnails",
                                         "orphanedAppSupport org.gone.App"}));
        QVERIFY(!h.vm.isClassifying());
        // Hidden high items count in the total but are not pre-selected; orphans never are.
        QCOMPARE(h.vm.highConfidenceTotal(), std::int64_t(4000 + 70000 + 100000));
        QCOMPARE(names(h.list.items()), (Names{"app.log.1", "thumbnails"}));

        h.list.remove(*h.list.items()[0]); // unticked by the user ...
        h.classify(7);
        h.answer(1);
        QTRY_COMPARE(shown(h.vm),
                     (Names{"appLogs app.log.1", "appCaches old-tool", "thumbnails thumbnails"}));
        QCOMPARE(h.list.count(), std::size_t(2)); // ... and back after the settings changed
    }

    void supersededCancelledAndAbandonedRunsPublishNothing() {
        Harness h;
        JunkTree other("/home/ann");
        other.add(".xsession-errors.old", kNow, 10, true);
        h.classify(14);
        h.classify(14, &other);
        QVERIFY(h.runs[0]->future().isCanceled());
        h.answer(0, {"org.gone.App"});
        QTest::qWait(20);
        QVERIFY(h.vm.groups().empty());
        h.answer(1);
        QTRY_COMPARE(shown(h.vm), Names{"appLogs .xsession-errors.old"});
        QVERIFY(h.vm.highConfidenceTotal() == 10 && h.list.isEmpty()); // hidden: not pre-selected

        // A root of none cancels the run, clears everything and forgets the last run.
        h.classify(7);
        h.vm.classify(nullptr, h.list, 30, 7);
        QVERIFY(h.runs[2]->future().isCanceled() && !h.vm.isClassifying() &&
                h.vm.groups().empty() && h.vm.highConfidenceTotal() == 0);
        h.classify(14, &other);
        QCOMPARE(h.runs.size(), std::size_t(4));

        auto gone = std::make_unique<SystemJunkViewModel>(
            h.lookup, [] { return JunkPlaces::forHome("/home/ann"); }, [] { return kNow; });
        gone->classify(h.tree.rootPtr(), h.list, 30, 14);
        gone.reset();
        h.answer(4);
        QTest::qWait(20);
        QVERIFY(h.list.isEmpty());
    }

    // The default lookups and folders come from the environment (XDG variables that
    // are not absolute are ignored).
    void platformLookupsOfTheEnvironment() {
        FixtureTree files;
        files.writeFile("data/applications/org.here.Editor.desktop", 10);
        for (auto [v, rel] :
             {std::pair{"HOME", "home"}, {"XDG_DATA_HOME", "data"}, {"XDG_CACHE_HOME", "cache/"}})
            qputenv(v, QByteArray::fromStdString(files.fullPath(rel)));
        qputenv("XDG_STATE_HOME", "cache");
        qunsetenv("XDG_CONFIG_HOME");
        JunkTree t(files.root());
        t.addAll("home/.config/org.here.Editor/ home/.config/org.gone.Player/ cache/thumbnails/"
                 " home/.local/state/x.log.1");
        SystemJunkViewModel vm;
        CleanupListStore list;
        vm.classify(t.rootPtr(), list, 30, 14);
        QTRY_COMPARE(shown(vm), (Names{"appLogs x.log.1", "thumbnails thumbnails",
                                       "orphanedAppSupport org.gone.Player"}));
    }
};

QTEST_GUILESS_MAIN(SystemJunkViewModelTest)
#include "SystemJunkViewModelTest.moc"
