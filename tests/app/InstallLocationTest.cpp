// Where the program lives: a table of the places it is found on Linux. The access
// check behind the onboarding is tested with the start-up screens (StartupNoticesTest).

#include "app/window/InstallLocation.h"

#include <QTest>

using namespace ringfold;

class InstallLocationTest : public QObject {
    Q_OBJECT

private slots:
    void classification() {
        const std::string home = "/home/ann";
        const auto buildTree = [](const std::string& dir) {
            return dir == "/home/ann/src/rf/build";
        };
        const struct {
            const char* path;
            bool appImage;
            InstallLocation expected;
        } cases[] = {
            {"/home/ann/Downloads/Ringfold.AppImage", true, InstallLocation::diskImage},
            {"/tmp/Ringfold.AppImage", true, InstallLocation::diskImage},
            {"/home/ann/Downloads/ringfold", false, InstallLocation::other},
            {"/tmp/.mount_RingfoXyz/usr/bin/ringfold", false, InstallLocation::translocated},
            {"/home/ann/src/rf/build/bin/ringfold", false, InstallLocation::developmentBuild},
            {"/usr/bin/ringfold", false, InstallLocation::applications},
            {"/opt/ringfold/bin/ringfold", false, InstallLocation::applications},
            {"/app/bin/ringfold", false, InstallLocation::applications},
            {"/home/ann/Applications/Ringfold.AppImage", true, InstallLocation::applications},
            {"/home/ann/.local/bin/ringfold", false, InstallLocation::applications},
            {"/home/annex/.local/bin/ringfold", false, InstallLocation::other},
        };
        for (const auto& c : cases)
            QVERIFY2(classifyInstallLocation(c.path, home, c.appImage, buildTree) == c.expected,
                     c.path);
    }
};

QTEST_GUILESS_MAIN(InstallLocationTest)
#include "InstallLocationTest.moc"
