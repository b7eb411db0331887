// The start-up screens as a launch brings them up, for an ordinary user whose home
// folder may be closed to them: the access onboarding only when the home folder can't
// be listed and the user hasn't turned it away for good, and the relocation notice
// instead of it for an AppImage run from where it was downloaded.

#include "ui/StartupNotices.h"
#include "app/stores/SettingsStore.h"
#include "support/FixtureTree.h"
#include "support/Privileges.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <QThreadPool>

#include <unistd.h>

using namespace ringfold;

namespace {

// Acts as `uid` (effective ids only) until destroyed, then as root again.
struct ActingAs {
    explicit ActingAs(uid_t uid) {
        if (::setegid(uid) != 0 || ::seteuid(uid) != 0)
            qFatal("cannot act as %u", unsigned(uid));
    }
    ~ActingAs() {
        if (::seteuid(0) != 0 || ::setegid(0) != 0)
            qFatal("cannot return to root");
    }
};

} // namespace

class StartupNoticesTest : public QObject {
    Q_OBJECT

private slots:
    void onboardingOnlyWhereItApplies() {
        if (::geteuid() != 0)
            SKIP_OR_FAIL_QTEST("needs root to check as another user");
        test::FixtureTree fx;
        fx.writeFiles({{"open/Documents/a", 1}, {"shut/Documents/a", 1}});
        fx.chmod("", 0755);
        fx.chmod("open", 0755);
        fx.chmod("shut", 0700); // root's: closed to the ordinary user
        QSettings file(QString::fromStdString(fx.fullPath("settings.conf")), QSettings::IniFormat);
        SettingsStore settings(&file);
        const uid_t nobody = 65534;
        const struct {
            const char* name;
            const char* home;
            uid_t user;
            bool dismissed;
            const char* appImage;
            const char* shows; // null: nothing
        } cases[] = {
            {"home closed", "shut", nobody, false, nullptr, "ringfold::AccessOnboarding"},
            {"home open", "open", nobody, false, nullptr, nullptr},
            {"root reads it", "shut", 0, false, nullptr, nullptr},
            {"dismissed", "shut", nobody, true, nullptr, nullptr},
            {"downloaded AppImage", "shut", nobody, false, "/tmp/Ringfold.AppImage",
             "ringfold::RelocationNotice"},
        };
        const QByteArray home = qgetenv("HOME");
        for (const auto& c : cases) {
            settings.setFdaOnboardingDismissed(c.dismissed);
            qputenv("HOME", QByteArray::fromStdString(fx.fullPath(c.home)));
            if (c.appImage)
                qputenv("APPIMAGE", c.appImage);
            else
                qunsetenv("APPIMAGE");
            QWidget window;
            {
                ActingAs user(c.user);
                runStartupChecks(&window, settings);
                QThreadPool::globalInstance()->waitForDone(); // the folder check
            }
            QCoreApplication::processEvents(); // its answer, posted to the GUI thread
            const auto dialogs = window.findChildren<QDialog*>();
            QVERIFY2(dialogs.size() == (c.shows ? 1 : 0), c.name);
            if (c.shows)
                QCOMPARE(dialogs[0]->metaObject()->className(), c.shows);
        }
        qputenv("HOME", home);
        qunsetenv("APPIMAGE");

        // Turned away once, it stays away.
        settings.setFdaOnboardingDismissed(false);
        AccessOnboarding onboarding(settings);
        auto* buttons = onboarding.findChild<QDialogButtonBox*>();
        for (QAbstractButton* b : buttons->buttons())
            if (buttons->buttonRole(b) == QDialogButtonBox::RejectRole) // continue without
                b->click();
        QVERIFY(settings.fdaOnboardingDismissed());
        QVERIFY(!onboarding.findChild<QPushButton*>(QStringLiteral("scanAsAdministrator")));

        // Outside a sandbox it also offers the administrator's scan, which dismisses it too.
        settings.setFdaOnboardingDismissed(false);
        int asked = 0;
        AccessOnboarding offering(settings, [&asked] { ++asked; });
        auto* admin = offering.findChild<QPushButton*>(QStringLiteral("scanAsAdministrator"));
        QVERIFY(admin);
        admin->click();
        QVERIFY(asked == 1 && settings.fdaOnboardingDismissed());
    }
};

QTEST_MAIN(StartupNoticesTest)
#include "StartupNoticesTest.moc"
