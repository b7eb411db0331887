// The program as a whole: usage errors exit 2 with a message; --screenshot of a fixture
// tree in both map modes and themes, also on a screen of pixel ratio 2, gives a
// window-sized PNG with the theme's lightness and more than a handful of colours (kept
// under the build folder); and the "system" appearance follows a stand-in settings
// portal on the private bus of dbus-run-session.

#include "app/stores/SettingsStore.h"
#include "support/FixtureTree.h"
#include "ui/Appearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QTest>

#include <cerrno>
#include <cstring>
#include <tuple>

using namespace ringfold;

class FakePortal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public slots:
    QDBusVariant Read(const QString&, const QString& key) { // nested, like the portal's
        const QVariant value = key == "color-scheme" ? QVariant(1u) : QVariant(true);
        return QDBusVariant(QVariant::fromValue(QDBusVariant(value)));
    }
};

class ProgramTest : public QObject {
    Q_OBJECT

    test::FixtureTree m_fx;

    // Exit status (-1 for a crash or a hang) and standard error of one run.
    std::pair<int, QByteArray> run(const QStringList& args, int scale = 1) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("QT_SCALE_FACTOR", QString::number(scale));
        p.setProcessEnvironment(env);
        p.start(RINGFOLD_GUI_BINARY, args);
        const bool done = p.waitForFinished(60000) && p.exitStatus() == QProcess::NormalExit;
        return {done ? p.exitCode() : -1, p.readAllStandardError()};
    }

private slots:
    void initTestCase() {
        m_fx.writeFiles({{"tree/photos/a.jpg", 300000}, {"tree/photos/b.jpg", 120000}});
        m_fx.writeFiles({{"tree/code/main.cpp", 8000}, {"tree/notes.txt", 500}});
        m_fx.symlink("loop", "loop"); // exists, but never leads anywhere (as root too)
        qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(m_fx.fullPath("config")));
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(m_fx.fullPath("data")));
    }

    void usageErrors() {
        const QString file = QString::fromStdString(m_fx.fullPath("tree/notes.txt"));
        const QString loop = QString::fromStdString(m_fx.fullPath("loop"));
        for (const auto& [args, message] :
             {std::pair{QStringList{"/nonexistent/x"}, "no such folder"},
              {QStringList{file}, "not a folder"},
              {QStringList{loop}, std::strerror(ELOOP)},
              {QStringList{"--view", "pie", "/tmp"}, "--view takes"},
              {QStringList{"--bogus"}, "bogus"}}) {
            const auto [status, err] = run(args);
            QVERIFY2(status == 2 && err.contains(message), err.constData());
        }
    }

    void screenshots() {
        QDir().mkpath(RINGFOLD_TEST_OUTPUT);
        for (auto [view, theme, scale] : {std::tuple{"sunburst", "light", 1},
                                          {"treemap", "dark", 1},
                                          {"sunburst", "dark", 2},
                                          {"treemap", "light", 2}}) {
            const QString file = QStringLiteral(RINGFOLD_TEST_OUTPUT "/window-%1-%2-x%3.png")
                                     .arg(view, theme)
                                     .arg(scale);
            QFile::remove(file);
            const auto [status, err] =
                run({"--screenshot", file, "--view", view, "--theme", theme, "--size", "1000x700",
                     QString::fromStdString(m_fx.fullPath("tree"))},
                    scale);
            QVERIFY2(status == 0 && err.contains("scan ") && err.contains("saved"),
                     err.constData());
            const QImage image(file);
            QCOMPARE(image.size(), QSize(1000, 700) * scale);
            QSet<QRgb> colours;
            qint64 lightness = 0, samples = 0;
            for (int y = 0; y < image.height(); y += 3)
                for (int x = 0; x < image.width(); x += 3, ++samples) {
                    colours.insert(image.pixel(x, y));
                    lightness += QColor(image.pixel(x, y)).lightness();
                }
            QVERIFY2(colours.size() >= 40, qPrintable(file));
            QVERIFY2(theme[0] == 'l' ? lightness / samples > 160 : lightness / samples < 100,
                     qPrintable(file));
        }
    }

    void systemAppearanceFollowsThePortal() {
        // The portal on a connection of its own, as if it were another process.
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "portal");
        QVERIFY2(bus.isConnected(), "needs a session bus: run under dbus-run-session");
        FakePortal portal; // prefers dark
        const QString path = "/org/freedesktop/portal/desktop";
        QVERIFY(bus.registerObject(path, &portal, QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService("org.freedesktop.portal.Desktop"));

        QSettings store(QString::fromStdString(m_fx.fullPath("s.conf")), QSettings::IniFormat);
        SettingsStore settings(&store);
        Appearance appearance(settings);
        QTRY_VERIFY(qApp->palette().color(QPalette::Window).lightness() < 128);
        QDBusMessage changed =
            QDBusMessage::createSignal(path, "org.freedesktop.portal.Settings", "SettingChanged");
        changed << "org.freedesktop.appearance"
                << "color-scheme" << QVariant::fromValue(QDBusVariant(2u)); // prefers light
        QVERIFY(bus.send(changed));
        QTRY_COMPARE(appearance.scheme(), ColorScheme::light);
        settings.setAppearanceMode(AppearanceMode::dark); // a fixed choice wins
        QVERIFY(qApp->palette().color(QPalette::Window).lightness() < 128);
    }
};

QTEST_MAIN(ProgramTest)
#include "ProgramTest.moc"
