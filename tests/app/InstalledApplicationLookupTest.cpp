// Orphan lookups against desktop entries and Flatpak installations laid out in
// temporary XDG data folders.
#include "app/platform/InstalledApplicationLookup.h"
#include "support/FixtureTree.h"

#include <QCoreApplication>
#include <QFutureWatcher>
#include <QSignalSpy>
#include <QTest>

using namespace ringfold;

class InstalledApplicationLookupTest : public QObject {
    Q_OBJECT

    std::unique_ptr<test::FixtureTree> m_files;

private slots:
    void init() {
        m_files = std::make_unique<test::FixtureTree>();
        auto& f = *m_files;
        f.writeFile("home/applications/org.user.Editor.desktop", 10);
        f.writeFile("usr-local/applications/org.local.Tool.desktop", 10);
        f.writeFile("usr/applications/org.system.Viewer.desktop", 10);
        f.makeFolder("usr/applications/org.folder.NotAnEntry.desktop"); // a folder, not an entry
        f.writeFile("home/flatpak/exports/share/applications/org.userexport.App.desktop", 10);
        f.makeFolder("home/flatpak/app/org.flat.User/current");
        f.makeFolder("system-flatpak/app/org.flat.System/current");
        f.writeFile("system-flatpak/exports/share/applications/org.sysexport.App.desktop", 10);
        f.writeFile("elsewhere/applications/org.hidden.Elsewhere.desktop", 10);
        qputenv("HOME", QByteArray::fromStdString(f.fullPath("no-home")));
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(f.fullPath("home")));
        qputenv("XDG_DATA_DIRS",
                QByteArray::fromStdString(f.fullPath("usr-local") + ":" + f.fullPath("usr")));
        qputenv("FLATPAK_SYSTEM_DIR", QByteArray::fromStdString(f.fullPath("system-flatpak")));
        qunsetenv("FLATPAK_USER_DIR");
    }

    void cleanup() {
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_DATA_DIRS");
        qunsetenv("FLATPAK_SYSTEM_DIR");
        m_files.reset();
    }

    void findsEntriesInEveryApplicationsFolder() {
        for (const char* id : {"org.user.Editor", "org.local.Tool", "org.system.Viewer",
                               "org.userexport.App", "org.sysexport.App"})
            QVERIFY2(InstalledApplicationLookup::isInstalled(id), id);
        // Identifiers are taken as they are: case matters, and nothing but a whole name
        // of an entry file counts.
        for (const char* id :
             {"org.user.editor", "org.user", "org.folder.NotAnEntry", "org.hidden.Elsewhere",
              "../usr/applications/org.system.Viewer", "", "..", "org.gone.App"})
            QVERIFY2(!InstalledApplicationLookup::isInstalled(id), id);
    }

    void flatpakInstallationsCount() {
        QVERIFY(InstalledApplicationLookup::isInstalled("org.flat.User"));
        QVERIFY(InstalledApplicationLookup::isInstalled("org.flat.System"));
        // $FLATPAK_USER_DIR replaces the user installation under the data folder.
        qputenv("FLATPAK_USER_DIR", QByteArray::fromStdString(m_files->fullPath("other-flatpak")));
        QVERIFY(!InstalledApplicationLookup::isInstalled("org.flat.User"));
        QVERIFY(!InstalledApplicationLookup::isInstalled("org.userexport.App"));
        qunsetenv("FLATPAK_USER_DIR");
    }

    void relativeAndEmptyDataDirsFallBack() {
        qputenv("XDG_DATA_DIRS",
                "relative/usr:" + QByteArray::fromStdString(m_files->fullPath("usr")));
        QVERIFY(InstalledApplicationLookup::isInstalled("org.system.Viewer"));
        QVERIFY(!InstalledApplicationLookup::isInstalled("org.local.Tool"));
        qputenv("XDG_DATA_DIRS", "");
        const auto locations = InstalledApplications::Locations::fromEnvironment();
        const auto& folders = locations.applicationFolders;
        QVERIFY(std::find(folders.begin(), folders.end(), "/usr/share/applications") !=
                folders.end());
        QVERIFY(std::find(folders.begin(), folders.end(), "/usr/local/share/applications") !=
                folders.end());
        // An unset data home falls back to ~/.local/share.
        qunsetenv("XDG_DATA_HOME");
        const auto fallback = InstalledApplications::Locations::fromEnvironment();
        QCOMPARE(fallback.applicationFolders.front(),
                 m_files->fullPath("no-home") + "/.local/share/applications");
    }

    void lookupReturnsTheOrphansThroughAFuture() {
        const std::vector<std::string> candidates = {"org.user.Editor", "org.gone.App",
                                                     "org.flat.System", "org.gone.App",
                                                     "com.Removed.Thing"};
        QFutureWatcher<InstalledApplicationLookup::IDSet> watcher;
        QSignalSpy finished(&watcher, &QFutureWatcherBase::finished);
        watcher.setFuture(InstalledApplicationLookup::orphanedBundleIDs(candidates));
        QVERIFY(finished.wait(5000));
        QCOMPARE(watcher.future().resultCount(), 1);
        QVERIFY((watcher.result() ==
                 InstalledApplicationLookup::IDSet{"org.gone.App", "com.Removed.Thing"}));
        // No candidates: an empty set, not a missing result.
        auto empty = InstalledApplicationLookup::orphanedBundleIDs({});
        empty.waitForFinished();
        QCOMPARE(empty.resultCount(), 1);
        QVERIFY(empty.result().empty());
    }
};

QTEST_GUILESS_MAIN(InstalledApplicationLookupTest)
#include "InstalledApplicationLookupTest.moc"
