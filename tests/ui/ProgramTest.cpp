// The ringfold program itself: usage errors exit 2 with a message, and --screenshot of
// a fixture tree in both map modes and both themes gives a window-sized PNG with the
// theme's lightness and more than a handful of colours (kept under the build folder).

#include "support/FixtureTree.h"

#include <QDir>
#include <QImage>
#include <QProcess>
#include <QSet>
#include <QTest>

class ProgramTest : public QObject {
    Q_OBJECT

    ringfold::test::FixtureTree m_fx;

    // Exit status (-1 for a crash or a hang) and standard error of one run.
    std::pair<int, QByteArray> run(const QStringList& args) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("QT_QPA_PLATFORM", "offscreen");
        env.insert("XDG_CONFIG_HOME", QString::fromStdString(m_fx.fullPath("config")));
        env.insert("XDG_DATA_HOME", QString::fromStdString(m_fx.fullPath("data")));
        p.setProcessEnvironment(env);
        p.start(RINGFOLD_GUI_BINARY, args);
        const bool done = p.waitForFinished(60000) && p.exitStatus() == QProcess::NormalExit;
        return {done ? p.exitCode() : -1, p.readAllStandardError()};
    }

private slots:
    void initTestCase() {
        m_fx.writeFiles({{"tree/photos/a.jpg", 300000},
                         {"tree/photos/b.jpg", 120000},
                         {"tree/code/main.cpp", 8000},
                         {"tree/notes.txt", 500}});
    }

    void usageErrors_data() {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("message");
        const QString file = QString::fromStdString(m_fx.fullPath("tree/notes.txt"));
        QTest::newRow("missing") << QStringList{"/nonexistent/x"} << "no such folder";
        QTest::newRow("file") << QStringList{file} << "not a folder";
        QTest::newRow("view") << QStringList{"--view", "pie", "/tmp"} << "--view takes";
        QTest::newRow("unknown") << QStringList{"--bogus"} << "bogus";
    }
    void usageErrors() {
        QFETCH(QStringList, args);
        QFETCH(QString, message);
        const auto [status, err] = run(args);
        QCOMPARE(status, 2);
        QVERIFY2(err.contains(message.toUtf8()), err.constData());
    }

    void screenshots() {
        QDir().mkpath(RINGFOLD_TEST_OUTPUT);
        for (const char* view : {"sunburst", "treemap"}) {
            for (const char* theme : {"light", "dark"}) {
                const QString file =
                    QStringLiteral(RINGFOLD_TEST_OUTPUT "/window-%1-%2.png").arg(view, theme);
                QFile::remove(file);
                const auto [status, err] =
                    run({"--screenshot", file, "--view", view, "--theme", theme, "--size",
                         "1000x700", QString::fromStdString(m_fx.fullPath("tree"))});
                QCOMPARE(status, 0);
                QVERIFY2(err.contains("scan ") && err.contains("saved"), err.constData());
                const QImage image(file);
                QCOMPARE(image.size(), QSize(1000, 700));
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
    }
};

QTEST_MAIN(ProgramTest)
#include "ProgramTest.moc"
