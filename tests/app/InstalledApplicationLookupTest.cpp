// Orphan lookups against desktop entries and Flatpak installations laid out in
// temporary XDG data folders named by the environment.
#include "app/platform/InstalledApplicationLookup.h"
#include "support/FixtureTree.h"

#include <QTest>

using namespace ringfold;
using IDs = std::unordered_set<std::string>;

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
              "home/flatpak/exports/share/applications/org.user.Flat"})
            f.writeFile(std::string(entry) + ".desktop", 10);
        for (const char* folder :
             {"usr/applications/org.folder.Only.desktop", "home/flatpak/app/org.user.Flat",
              "sys-flatpak/app/org.sys.Flat"})
            f.makeFolder(folder);
        setenv("HOME", f.fullPath("no-home"));
        setenv("XDG_DATA_HOME", f.fullPath("home"));
        setenv("XDG_DATA_DIRS",
               "relative/usr:" + f.fullPath("usr-local") + ":" + f.fullPath("usr"));
        setenv("FLATPAK_SYSTEM_DIR", f.fullPath("sys-flatpak"));
        qunsetenv("FLATPAK_USER_DIR");
    }

    void answersFromEveryFolderOfTheEnvironment() {
        const auto entry = Installation::desktopEntry, none = Installation::none;
        const auto flatpak = Installation::flatpak;
        // clang-format off
        const std::pair<const char*, Installation> cases[] = {
            {"org.user.Editor", entry}, {"org.local.Tool", entry}, {"org.system.Viewer", entry},
            {"org.user.Flat", flatpak}, {"org.sys.Flat", flatpak}, {"org.folder.Only", none},
            {"org.user.editor", none}, /* case matters */ {"org.not.Listed", none}, {"..", none},
            {"../usr/applications/org.system.Viewer", none}};
        // clang-format on
        for (const auto& [id, expected] : cases)
            QVERIFY2(InstalledApplicationLookup::installation(id) == expected, id);
    }

    void findsOrphansOnThePool() {
        auto future = InstalledApplicationLookup::findOrphans(
            {"org.system.Viewer", "org.gone.App", "org.sys.Flat", "org.gone.App"});
        QCOMPARE(future.results().size(), 1);
        QVERIFY((future.result().bundleIDs == IDs{"org.gone.App"}));
        QVERIFY((future.result().flatpakIDs == IDs{"org.gone.App", "org.system.Viewer"}));
        // No candidates: empty sets, not a missing result that would stall the panel.
        QCOMPARE(InstalledApplicationLookup::findOrphans({}).results().size(), 1);
    }
};

QTEST_GUILESS_MAIN(InstalledApplicationLookupTest)
#include "InstalledApplicationLookupTest.moc"
