// The System Junk view model: when it classifies, what it publishes and pre-selects,
// and that a superseded, cancelled or abandoned run publishes nothing. The orphan
// lookups are driven by hand through promises, except in the last case.
#include "app/viewmodels/SystemJunkViewModel.h"
#include "app/stores/CleanupListStore.h"
#include "core/junk/JunkFixture.h"
#include "support/FixtureTree.h"

#include <QPromise>
#include <QSignalSpy>
#include <QTest>

using namespace ringfold;
using namespace ringfold::test;
using Orphans = SystemJunkViewModel::Orphans;
using Names = std::vector<std::string>;
using Categories = std::vector<JunkCategory>;

namespace {

struct Harness {
    std::vector<std::shared_ptr<QPromise<Orphans>>> lookups; // one per run, ended by hand
    SystemJunkViewModel::OrphanLookup lookup = [this](std::vector<std::string> candidates) {
        lookups.push_back(std::make_shared<QPromise<Orphans>>());
        lookups.back()->start();
        requests.push_back(std::move(candidates));
        return lookups.back()->future();
    };
    std::vector<Names> requests;
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
        lookups.at(run)->addResult(Orphans{gone, gone});
        lookups.at(run)->finish();
    }
    void classify(int cacheDays, const JunkTree* t = nullptr) {
        vm.classify((t ? *t : tree).rootPtr(), list, 30, cacheDays);
    }
    Categories categories() const {
        Categories out;
        for (const auto& g : vm.groups())
            out.push_back(g.category);
        return out;
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
        QCOMPARE(h.requests, std::vector<Names>{{"org.gone.App"}});
        QVERIFY(h.vm.isClassifying() && h.vm.groups().empty()); // nothing before the lookups
        QSignalSpy groupsChanged(&h.vm, &SystemJunkViewModel::groupsChanged);
        h.answer(0, {"org.gone.App"});
        QTRY_COMPARE(groupsChanged.count(), 1);
        QVERIFY(!h.vm.isClassifying());
        QCOMPARE(h.categories(), (Categories{JunkCategory::appLogs, JunkCategory::thumbnails,
                                             JunkCategory::orphanedAppSupport}));
        QCOMPARE(h.vm.groups()[0].totalSize(), std::int64_t(104500));
        // Hidden high items count in the total but are not pre-selected; orphans never are.
        QCOMPARE(h.vm.highConfidenceTotal(), std::int64_t(4000 + 70000 + 100000));
        QCOMPARE(names(h.list.items()), (Names{"app.log.1", "thumbnails"}));

        h.list.remove(*h.list.items()[0]); // unticked by the user ...
        h.classify(7);
        h.answer(1);
        QTRY_COMPARE(h.categories(), (Categories{JunkCategory::appLogs, JunkCategory::appCaches,
                                                 JunkCategory::thumbnails}));
        QCOMPARE(h.list.count(), std::size_t(2)); // ... and back after the settings changed
    }

    void supersededCancelledAndAbandonedRunsPublishNothing() {
        Harness h;
        JunkTree other("/home/ann");
        other.add(".xsession-errors.old", kNow, 10, true);
        h.classify(14);
        h.classify(14, &other);
        QVERIFY(h.lookups[0]->future().isCanceled());
        QSignalSpy groupsChanged(&h.vm, &SystemJunkViewModel::groupsChanged);
        h.answer(0, {"org.gone.App"});
        QTest::qWait(20);
        QCOMPARE(groupsChanged.count(), 0);
        h.answer(1);
        QTRY_COMPARE(groupsChanged.count(), 1);
        QCOMPARE(h.vm.highConfidenceTotal(), std::int64_t(10));
        QVERIFY(h.list.isEmpty()); // hidden

        // A root of none cancels the run, clears everything and forgets the last run.
        h.classify(7);
        h.vm.classify(nullptr, h.list, 30, 7);
        QVERIFY(h.lookups[2]->future().isCanceled() && !h.vm.isClassifying());
        QVERIFY(h.vm.groups().empty() && h.vm.highConfidenceTotal() == 0);
        h.classify(14, &other);
        QCOMPARE(h.requests.size(), std::size_t(4));

        auto gone = std::make_unique<SystemJunkViewModel>(
            h.lookup, [] { return JunkPlaces::forHome("/home/ann"); }, [] { return kNow; });
        gone->classify(h.tree.rootPtr(), h.list, 30, 14);
        gone.reset();
        h.answer(4);
        QTest::qWait(20);
        QVERIFY(h.list.isEmpty());
    }

    void platformLookupsOfTheEnvironment() {
        FixtureTree files;
        files.writeFile("data/applications/org.here.Editor.desktop", 10);
        const std::string home = files.fullPath("home");
        qputenv("HOME", QByteArray::fromStdString(home));
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(files.fullPath("data")));
        for (const char* v : {"XDG_DATA_DIRS", "FLATPAK_SYSTEM_DIR", "FLATPAK_USER_DIR"})
            qputenv(v, QByteArray::fromStdString(files.fullPath("none")));
        qunsetenv("XDG_CONFIG_HOME");
        JunkTree t(home);
        for (const char* path : {".config/org.here.Editor/", ".config/org.gone.Player/"})
            t.add(path);
        SystemJunkViewModel vm;
        CleanupListStore list;
        vm.classify(t.rootPtr(), list, 30, 14);
        QTRY_VERIFY(!vm.groups().empty());
        QCOMPARE(vm.groups()[0].items.size(), std::size_t(1));
        QCOMPARE(vm.groups()[0].items[0].node->url(), home + "/.config/org.gone.Player");
    }
};

QTEST_GUILESS_MAIN(SystemJunkViewModelTest)
#include "SystemJunkViewModelTest.moc"
