// Orphan lookups against desktop entries and Flatpak installations laid out in
// temporary XDG data folders named by the environment.
#include "app/platform/InstalledApplicationLookup.h"
#include "support/FixtureTree.h"

#include <QTest>

using namespace ringfold;

class InstalledApplicationLookupTest : public QObject {
    Q_OBJECT

    test::FixtureTree f;
    void setenv(const char* name, const std::string& value) {
        qputenv(name, QByteArray::fromStdString(value));
    }

private slots:
    void initTestCase() {
        for (const char* entry :
             {"home/applications/org.user.Editor", "usr-local/applications/org.local.Tool",
              "usr/applications/org.system.Viewer", "elsewhere/applications/org.not.Listed",
              "home/flatpak/exports/share/applications/org.user.Flat",
              "system-flatpak/exports/share/applications/org.system.Flat"})
            f.writeFile(std::string(entry) + ".desktop", 10);
        f.makeFolder("usr/applications/org.folder.Only.desktop"); // a folder, not an entry
        f.makeFolder("home/flatpak/app/org.user.Flat/current");
        f.makeFolder("system-flatpak/app/org.system.Flat/current");
        setenv("HOME", f.fullPath("no-home"));
        setenv("XDG_DATA_HOME", f.fullPath("home"));
        setenv("XDG_DATA_DIRS",
               "relative/usr:" + f.fullPath("usr-local") + ":" + f.fullPath("usr"));
        setenv("FLATPAK_SYSTEM_DIR", f.fullPath("system-flatpak"));
        qunsetenv("FLATPAK_USER_DIR");
    }

    void answersFromEveryFolderOfTheEnvironment() {
        const std::pair<const char*, Installation> cases[] = {
            {"org.user.Editor", Installation::desktopEntry},
            {"org.local.Tool", Installation::desktopEntry},
            {"org.system.Viewer", Installation::desktopEntry},
            {"org.user.Flat", Installation::flatpak},
            {"org.system.Flat", Installation::flatpak},
            {"org.user.editor", Installation::none}, // case matters
            {"org.folder.Only", Installation::none},
            {"org.not.Listed", Installation::none},
            {"../usr/applications/org.system.Viewer", Installation::none},
            {"..", Installation::none}};
        for (const auto& [id, expected] : cases)
            QVERIFY2(InstalledApplicationLookup::installation(id) == expected, id);
        // $FLATPAK_USER_DIR replaces the user installation under the data folder.
        setenv("FLATPAK_USER_DIR", f.fullPath("other-flatpak"));
        QVERIFY(InstalledApplicationLookup::installation("org.user.Flat") == Installation::none);
        qunsetenv("FLATPAK_USER_DIR");
    }

    void emptyDataDirsFallBackToTheDefaults() {
        setenv("XDG_DATA_DIRS", "");
        qunsetenv("XDG_DATA_HOME");
        const auto folders = InstalledApplications::Locations::fromEnvironment().applicationFolders;
        QCOMPARE(folders.front(), f.fullPath("no-home") + "/.local/share/applications");
        for (const char* dir : {"/usr/local/share/applications", "/usr/share/applications"})
            QVERIFY2(std::find(folders.begin(), folders.end(), dir) != folders.end(), dir);
    }

    void findsOrphansOnThePool() {
        InstalledApplications::Locations locations{{f.fullPath("usr/applications")},
                                                   {f.fullPath("system-flatpak/app")}};
        auto future = InstalledApplicationLookup::findOrphans(
            {"org.system.Viewer", "org.gone.App", "org.system.Flat", "org.gone.App"}, locations);
        future.waitForFinished();
        QCOMPARE(future.resultCount(), 1);
        const auto& orphans = future.result();
        QVERIFY((orphans.bundleIDs == std::unordered_set<std::string>{"org.gone.App"}));
        QVERIFY((orphans.flatpakIDs ==
                 std::unordered_set<std::string>{"org.gone.App", "org.system.Viewer"}));
        // No candidates: empty sets, not a missing result that would stall the panel.
        QCOMPARE(InstalledApplicationLookup::findOrphans({}).results().size(), 1);
    }
};

QTEST_GUILESS_MAIN(InstalledApplicationLookupTest)
#include "InstalledApplicationLookupTest.moc"
