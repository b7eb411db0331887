// The System Junk view model: when it classifies, what it publishes, what it
// pre-selects, and that a superseded run publishes nothing. The orphan lookups are
// driven by hand through promises, except in the last case, which runs the
// platform's lookups against desktop entries in a temporary data folder.
#include "app/viewmodels/SystemJunkViewModel.h"
#include "app/stores/CleanupListStore.h"
#include "core/junk/SyntheticTree.h"
#include "support/FixtureTree.h"

#include <QCoreApplication>
#include <QPromise>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace ringfold;
using ringfold::testing::SyntheticTree;

namespace {

constexpr Timestamp kNow = 1'700'000'000;
constexpr Timestamp kDay = 86400;

// Hands out one promise per lookup, so a test decides when and how each ends.
struct ManualLookup {
    std::vector<std::vector<std::string>> requests;
    std::vector<std::shared_ptr<QPromise<SystemJunkViewModel::IDSet>>> promises;

    SystemJunkViewModel::OrphanLookup function() {
        return [this](std::vector<std::string> candidates) {
            requests.push_back(std::move(candidates));
            auto p = std::make_shared<QPromise<SystemJunkViewModel::IDSet>>();
            p->start();
            promises.push_back(p);
            return p->future();
        };
    }
    void answer(std::size_t i, SystemJunkViewModel::IDSet orphans) {
        promises.at(i)->addResult(std::move(orphans));
        promises.at(i)->finish();
    }
};

std::unique_ptr<SyntheticTree> homeTree() {
    auto t = std::make_unique<SyntheticTree>("/home/ann");
    t->add(".local/state/app.log.1", kNow, 4000);                    // appLogs high
    t->add(".local/state/app.log", kNow, 500);                       // appLogs medium
    t->addFolder(".cache/thumbnails", kNow, 70000);                  // thumbnails high
    t->addFolder(".cache/old-tool", kNow - 10 * kDay, 3000);         // appCaches at 7 days only
    t->addFolder(".cache/org.gone.App", kNow, 900);                  // orphan candidate
    t->add(".local/state/.hidden.log.2", kNow, 100000, false, true); // high but hidden
    return t;
}

SystemJunkViewModel::PlacesProvider places() {
    return [] { return JunkPlaces::forHome("/home/ann"); };
}

// A view model on hand-driven lookups, an empty cleanup list and the home tree.
struct Harness {
    ManualLookup lookup;
    SystemJunkViewModel vm{lookup.function(), places(), [] { return kNow; }};
    CleanupListStore list;
    std::unique_ptr<SyntheticTree> tree = homeTree();

    void classify(int logDays, int cacheDays) {
        vm.classify(tree->shared(), list, logDays, cacheDays);
    }
    // A first run at the default ages, with no orphans, published.
    bool firstRun() {
        classify(30, 14);
        lookup.answer(0, {});
        return QTest::qWaitFor([this] { return !vm.groups().empty(); });
    }
};

std::vector<JunkCategory> categories(const SystemJunkViewModel& vm) {
    std::vector<JunkCategory> out;
    for (const auto& g : vm.groups())
        out.push_back(g.category);
    return out;
}

} // namespace

class SystemJunkViewModelTest : public QObject {
    Q_OBJECT

private slots:
    void classifiesOncePerRootAndSettingsAndPreselects() {
        Harness h;
        auto& [lookup, vm, list, t] = h;
        h.classify(30, 14);
        h.classify(30, 14);
        QCOMPARE(lookup.requests.size(), std::size_t(1));
        QCOMPARE(lookup.requests[0], std::vector<std::string>{"org.gone.App"});
        QVERIFY(vm.isClassifying());
        QVERIFY(vm.groups().empty()); // nothing before the lookups end

        QSignalSpy groupsChanged(&vm, &SystemJunkViewModel::groupsChanged);
        lookup.answer(0, {"org.gone.App"});
        QTRY_COMPARE(groupsChanged.count(), 1);
        QVERIFY(!vm.isClassifying());
        QCOMPARE(categories(vm),
                 (std::vector<JunkCategory>{JunkCategory::appLogs, JunkCategory::thumbnails,
                                            JunkCategory::orphanedAppSupport}));
        QCOMPARE(vm.groups()[0].items.size(), std::size_t(3));
        QCOMPARE(vm.groups()[0].totalSize(), std::int64_t(104500));
        // Hidden high-confidence items count in the total but are not pre-selected.
        QCOMPARE(vm.highConfidenceTotal(), std::int64_t(4000 + 70000 + 100000));
        std::vector<std::string> listed;
        for (const NodePtr& n : list.items())
            listed.emplace_back(n->name());
        QCOMPARE(listed, (std::vector<std::string>{"app.log.1", "thumbnails"}));
        // The same tree and settings again: still no second run.
        h.classify(30, 14);
        QCOMPARE(lookup.requests.size(), std::size_t(1));
    }

    void changedAgeSettingReclassifies() {
        Harness h;
        auto& [lookup, vm, list, t] = h;
        QVERIFY(h.firstRun());
        QCOMPARE(categories(vm),
                 (std::vector<JunkCategory>{JunkCategory::appLogs, JunkCategory::thumbnails}));

        h.classify(30, 7);
        QCOMPARE(lookup.requests.size(), std::size_t(2));
        lookup.answer(1, {});
        QTRY_COMPARE(vm.groups().size(), std::size_t(3));
        QCOMPARE(categories(vm),
                 (std::vector<JunkCategory>{JunkCategory::appLogs, JunkCategory::appCaches,
                                            JunkCategory::thumbnails}));
        QCOMPARE(vm.groups()[1].items[0].node->name(), std::string_view("old-tool"));
    }

    void supersededRunPublishesNothing() {
        ManualLookup lookup;
        SystemJunkViewModel vm(lookup.function(), places(), [] { return kNow; });
        CleanupListStore list;
        auto first = homeTree();
        SyntheticTree second("/home/ann");
        second.add(".xsession-errors.old", kNow, 10);
        vm.classify(first->shared(), list, 30, 14);
        vm.classify(second.shared(), list, 30, 14);
        QVERIFY(lookup.promises[0]->isCanceled());

        QSignalSpy groupsChanged(&vm, &SystemJunkViewModel::groupsChanged);
        lookup.answer(0, {"org.gone.App"});
        QTest::qWait(20);
        QCOMPARE(groupsChanged.count(), 0);
        QVERIFY(list.isEmpty());
        lookup.answer(1, {});
        QTRY_COMPARE(groupsChanged.count(), 1);
        QCOMPARE(vm.groups().size(), std::size_t(1));
        QCOMPARE(vm.groups()[0].items[0].node->name(), std::string_view(".xsession-errors.old"));
        // Hidden (leading dot) and high: counted, not listed.
        QCOMPARE(vm.highConfidenceTotal(), std::int64_t(10));
    }

    void noRootClearsEverythingAndForgetsTheLastRun() {
        Harness h;
        auto& [lookup, vm, list, t] = h;
        QVERIFY(h.firstRun());

        h.classify(30, 7);                 // starts a run ...
        vm.classify(nullptr, list, 30, 7); // ... that this cancels
        QVERIFY(lookup.promises[1]->isCanceled());
        QVERIFY(vm.groups().empty());
        QCOMPARE(vm.highConfidenceTotal(), std::int64_t(0));
        QVERIFY(!vm.isClassifying());

        h.classify(30, 14);
        QCOMPARE(lookup.requests.size(), std::size_t(3));
    }

    void uncheckedHighItemComesBackOnTheNextRun() {
        Harness h;
        auto& [lookup, vm, list, t] = h;
        QVERIFY(h.firstRun());
        QCOMPARE(list.count(), std::size_t(2));
        list.remove(*list.items()[0]);
        QCOMPARE(list.count(), std::size_t(1));
        h.classify(31, 14);
        lookup.answer(1, {});
        QTRY_COMPARE(list.count(), std::size_t(2));
    }

    void platformLookupFindsOrphans() {
        test::FixtureTree files;
        files.writeFile("data/applications/org.here.Editor.desktop", 10);
        const std::string home = files.fullPath("home");
        qputenv("HOME", QByteArray::fromStdString(home));
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(files.fullPath("data")));
        qputenv("XDG_DATA_DIRS", QByteArray::fromStdString(files.fullPath("none")));
        qputenv("FLATPAK_SYSTEM_DIR", QByteArray::fromStdString(files.fullPath("none")));
        qunsetenv("XDG_CACHE_HOME");
        qunsetenv("XDG_CONFIG_HOME");

        SyntheticTree t(home);
        t.addFolder(".var/app/org.here.Editor");
        t.addFolder(".var/app/org.gone.Player");
        t.addFolder(".config/org.gone.Player");
        SystemJunkViewModel vm; // the platform's lookups and the environment's folders
        CleanupListStore list;
        vm.classify(t.shared(), list, 30, 14);
        QTRY_VERIFY(!vm.groups().empty());
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_DATA_DIRS");
        qunsetenv("FLATPAK_SYSTEM_DIR");

        QCOMPARE(vm.groups().size(), std::size_t(1));
        const auto& items = vm.groups()[0].items;
        QCOMPARE(items.size(), std::size_t(2));
        QCOMPARE(items[0].node->url(), home + "/.var/app/org.gone.Player");
        QCOMPARE(items[1].node->url(), home + "/.config/org.gone.Player");
        QVERIFY(list.isEmpty()); // orphans are never pre-selected
    }
};

QTEST_GUILESS_MAIN(SystemJunkViewModelTest)
#include "SystemJunkViewModelTest.moc"
