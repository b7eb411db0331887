// The ringfold program itself: its usage errors, and --screenshot of a fixture tree in
// both map modes and both themes, which must give a window-sized PNG with the palette's
// lightness and more than a handful of colours.

#include "support/FixtureTree.h"

#include <QImage>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

class ProgramTest : public QObject {
    Q_OBJECT

    ringfold::test::FixtureTree m_fx;
    QTemporaryDir m_state;

    int run(const QStringList& args, QByteArray* err = nullptr) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("QT_QPA_PLATFORM", "offscreen");
        env.insert("XDG_CONFIG_HOME", m_state.filePath("config"));
        env.insert("XDG_DATA_HOME", m_state.filePath("data"));
        p.setProcessEnvironment(env);
        p.start(RINGFOLD_GUI_BINARY, args);
        if (!p.waitForFinished(60000))
            return -1;
        if (err)
            *err = p.readAllStandardError();
        return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    }

private slots:
    void initTestCase() {
        m_fx.writeFiles({{"tree/photos/a.jpg", 300000}, {"tree/photos/b.jpg", 120000},
                         {"tree/code/main.cpp", 8000}, {"tree/notes.txt", 500}});
    }

    void usageErrors_data() {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("message");
        const QString file = QString::fromStdString(m_fx.fullPath("tree/notes.txt"));
        QTest::newRow("missing") << QStringList{"/nonexistent/x"} << "no such folder";
        QTest::newRow("file") << QStringList{file} << "not a folder";
        QTest::newRow("view") << QStringList{"--view", "pie", "/tmp"} << "--view takes";
        QTest::newRow("size") << QStringList{"--size", "10x10", "/tmp"} << "--size takes";
        QTest::newRow("unknown") << QStringList{"--bogus"} << "bogus";
    }
    void usageErrors() {
        QFETCH(QStringList, args);
        QFETCH(QString, message);
        QByteArray err;
        QCOMPARE(run(args, &err), 2);
        QVERIFY2(err.contains(message.toUtf8()), err.constData());
    }

    void screenshots() {
        const QString out = QStringLiteral(RINGFOLD_TEST_OUTPUT);
        QDir().mkpath(out);
        QHash<QString, QImage> shots;
        for (const char* view : {"sunburst", "treemap"}) {
            for (const char* theme : {"light", "dark"}) {
                const QString file = out + QStringLiteral("/window-%1-%2.png").arg(view, theme);
                QFile::remove(file);
                QByteArray err;
                QCOMPARE(run({"--screenshot", file, "--view", view, "--theme", theme, "--size",
                              "1000x700", QString::fromStdString(m_fx.fullPath("tree"))},
                             &err),
                         0);
                QVERIFY2(err.contains("scan ") && err.contains("saved"), err.constData());
                QImage image(file);
                QCOMPARE(image.size(), QSize(1000, 700));
                QSet<QRgb> colours;
                qint64 lightness = 0;
                for (int y = 0; y < image.height(); y += 3)
                    for (int x = 0; x < image.width(); x += 3) {
                        colours.insert(image.pixel(x, y));
                        lightness += QColor(image.pixel(x, y)).lightness();
                    }
                const qint64 mean = lightness / ((image.height() / 3 + 1) * (image.width() / 3 + 1));
                QVERIFY2(colours.size() >= 40, qPrintable(file));
                QVERIFY2(theme[0] == 'l' ? mean > 160 : mean < 100, qPrintable(file));
                shots.insert(QString::fromLatin1(view) + theme, image);
            }
        }
        QVERIFY(shots["sunburstlight"] != shots["treemaplight"]);
    }
};

QTEST_MAIN(ProgramTest)
#include "ProgramTest.moc"
