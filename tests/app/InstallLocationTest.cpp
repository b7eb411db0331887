// Where the program lives (a table of the places it is found on Linux), and the
// access check behind the onboarding, run as an ordinary user against a home folder
// that user may or may not read.

#include "app/window/InstallLocation.h"
#include "support/FixtureTree.h"
#include "support/Privileges.h"

#include <QTest>

#include <sys/wait.h>
#include <unistd.h>

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

    void filesWalledOffOnlyWhenHomeCannotBeListed() {
        if (::geteuid() != 0)
            SKIP_OR_FAIL_QTEST("needs root to check as another user");
        test::FixtureTree fx;
        fx.writeFiles({{"open/Documents/a", 1}, {"shut/Documents/a", 1}});
        fx.chmod("open", 0755);
        fx.chmod("shut", 0700); // root's: closed to the ordinary user
        auto walledOffFor = [](uid_t uid, const std::string& home) {
            const pid_t child = ::fork();
            if (child == 0) {
                if (::setresgid(uid, uid, uid) != 0 || ::setresuid(uid, uid, uid) != 0)
                    ::_exit(3);
                ::_exit(filesAreWalledOff(home) ? 1 : 0);
            }
            int status = 0;
            ::waitpid(child, &status, 0);
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        };
        fx.chmod("", 0755);
        QCOMPARE(walledOffFor(65534, fx.fullPath("open")), 0);
        QCOMPARE(walledOffFor(65534, fx.fullPath("shut")), 1);
        QCOMPARE(walledOffFor(0, fx.fullPath("shut")), 0);
    }
};

QTEST_GUILESS_MAIN(InstallLocationTest)
#include "InstallLocationTest.moc"
