// Preferences loading, write-through and change signals, against real INI files.

#include "app/stores/SettingsStore.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace ringfold;

class SettingsStoreTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    int m_fileNo = 0;

    // A fresh settings file, optionally pre-filled with raw values.
    std::unique_ptr<QSettings> freshSettings(const QVariantMap& stored = {}) {
        const QString path = m_dir.filePath(QStringLiteral("s%1.conf").arg(++m_fileNo));
        {
            QSettings writer(path, QSettings::IniFormat);
            for (auto it = stored.begin(); it != stored.end(); ++it)
                writer.setValue(it.key(), it.value());
        }
        return std::make_unique<QSettings>(path, QSettings::IniFormat);
    }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        // The program's own store lands under XDG_CONFIG_HOME; keep it in the sandbox.
        qputenv("XDG_CONFIG_HOME", m_dir.filePath(QStringLiteral("config")).toLocal8Bit());
    }

    void freshStoreHasDefaultsAndWritesNothing() {
        auto s = freshSettings();
        SettingsStore store(s.get());
        QCOMPARE(store.appearanceMode(), AppearanceMode::system);
        QCOMPARE(store.allowDeletingHiddenFiles(), false);
        QCOMPARE(store.smallerObjectsThresholdPercent(), 0.0);
        QCOMPARE(store.groupHiddenItems(), true);
        QCOMPARE(store.biggestFilesLimit(), 200);
        QCOMPARE(store.diagnosticReportsAgeDays(), 30);
        QCOMPARE(store.cacheStalenessAgeDays(), 14);
        QCOMPARE(store.sortFoldersToTop(), true);
        QCOMPARE(store.fdaOnboardingDismissed(), false);
        QVERIFY(s->allKeys().isEmpty());
        QCOMPARE(store.previewPaneWidth(), 200.0);
    }

    void storedValuesWinOverDefaultsEvenWhenFalseOrZero() {
        auto s = freshSettings({{"appearanceMode", "dark"},
                                {"allowDeletingHiddenFiles", true},
                                {"groupHiddenItems", false},
                                {"biggestFilesLimit", 5},
                                {"diagnosticReportsAgeDays", 0},
                                {"cacheStalenessAgeDays", 400},
                                {"sortFoldersToTop", false},
                                {"fdaOnboardingDismissed", true},
                                {"smallerObjectsThresholdPercent", 0.005}});
        SettingsStore store(s.get());
        QCOMPARE(store.appearanceMode(), AppearanceMode::dark);
        QCOMPARE(store.allowDeletingHiddenFiles(), true);
        QCOMPARE(store.groupHiddenItems(), false);
        QCOMPARE(store.biggestFilesLimit(), 5); // below the stepper's floor, kept
        QCOMPARE(store.diagnosticReportsAgeDays(), 0);
        QCOMPARE(store.cacheStalenessAgeDays(), 400);
        QCOMPARE(store.sortFoldersToTop(), false);
        QCOMPARE(store.fdaOnboardingDismissed(), true);
        QCOMPARE(store.smallerObjectsThresholdPercent(), 0.005);
    }

    void valuesOfTheWrongTypeReadThroughConversions() {
        auto s = freshSettings({{"appearanceMode", "Dark"},
                                {"biggestFilesLimit", "lots"},
                                {"diagnosticReportsAgeDays", "12.9"},
                                {"cacheStalenessAgeDays", ""},
                                {"groupHiddenItems", "maybe"},
                                {"sortFoldersToTop", "1"},
                                {"allowDeletingHiddenFiles", "yes"},
                                {"previewPaneWidth", "wide"}});
        SettingsStore store(s.get());
        QCOMPARE(store.appearanceMode(), AppearanceMode::system); // raw values are case-sensitive
        QCOMPARE(store.biggestFilesLimit(), 0);
        QCOMPARE(store.diagnosticReportsAgeDays(), 12);
        QCOMPARE(store.cacheStalenessAgeDays(), 0);
        QCOMPARE(store.groupHiddenItems(), false); // present, so no default
        QCOMPARE(store.sortFoldersToTop(), true);
        QCOMPARE(store.allowDeletingHiddenFiles(), true);
        QCOMPARE(store.previewPaneWidth(), 200.0);
    }

    void thresholdRule_data() {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<double>("loaded");
        QTest::addColumn<bool>("keyKept");
        QTest::newRow("zero") << QVariant(0.0) << 0.0 << true;
        QTest::newRow("half percent") << QVariant(0.005) << 0.005 << true;
        QTest::newRow("slider top") << QVariant(0.05) << 0.05 << true;
        QTest::newRow("just above") << QVariant(0.0501) << 0.0 << false;
        QTest::newRow("negative") << QVariant(-0.001) << 0.0 << false;
        QTest::newRow("whole percent") << QVariant(3.0) << 0.0 << false;
        QTest::newRow("text") << QVariant("small") << 0.0 << false;
        QTest::newRow("nan") << QVariant("nan") << 0.0 << false;
    }

    void thresholdRule() {
        QFETCH(QVariant, stored);
        QFETCH(double, loaded);
        QFETCH(bool, keyKept);
        auto s = freshSettings({{"smallerObjectsThresholdPercent", stored}});
        SettingsStore store(s.get());
        QCOMPARE(store.smallerObjectsThresholdPercent(), loaded);
        QCOMPARE(s->contains("smallerObjectsThresholdPercent"), keyKept);
    }

    void assignmentsWriteThroughAndSignalOnlyRealChanges() {
        auto s = freshSettings();
        SettingsStore store(s.get());
        QSignalSpy limit(&store, &SettingsStore::biggestFilesLimitChanged);
        QSignalSpy mode(&store, &SettingsStore::appearanceModeChanged);
        QSignalSpy threshold(&store, &SettingsStore::smallerObjectsThresholdPercentChanged);
        QSignalSpy grouped(&store, &SettingsStore::groupHiddenItemsChanged);

        store.setBiggestFilesLimit(350);
        store.setAppearanceMode(AppearanceMode::light);
        store.setSmallerObjectsThresholdPercent(0.042);
        QCOMPARE(limit.count(), 1);
        QCOMPARE(mode.count(), 1);
        QCOMPARE(threshold.count(), 1);
        QCOMPARE(s->value("biggestFilesLimit").toInt(), 350);
        QCOMPARE(s->value("appearanceMode").toString(), QStringLiteral("light"));

        // Equal values still reach the store (the key comes back) but signal nothing.
        s->remove("groupHiddenItems");
        s->remove("biggestFilesLimit");
        store.setGroupHiddenItems(true);
        store.setBiggestFilesLimit(350);
        QCOMPARE(grouped.count(), 0);
        QCOMPARE(limit.count(), 1);
        QVERIFY(s->contains("groupHiddenItems"));
        QCOMPARE(s->value("biggestFilesLimit").toInt(), 350);

        // Each property signals its own change only.
        QSignalSpy dismissed(&store, &SettingsStore::fdaOnboardingDismissedChanged);
        QSignalSpy sorted(&store, &SettingsStore::sortFoldersToTopChanged);
        store.setFdaOnboardingDismissed(true);
        store.setCacheStalenessAgeDays(21);
        store.setDiagnosticReportsAgeDays(7);
        QCOMPARE(dismissed.count(), 1);
        QCOMPARE(sorted.count(), 0);
        QCOMPARE(s->value("diagnosticReportsAgeDays").toInt(), 7);
        // The pane width is window state stored beside the preferences.
        store.setPreviewPaneWidth(312.5);

        // A new store over the same file sees everything, the 4.2 % threshold included.
        const QString file = s->fileName();
        s.reset();
        QSettings reread(file, QSettings::IniFormat);
        SettingsStore again(&reread);
        QCOMPARE(again.biggestFilesLimit(), 350);
        QCOMPARE(again.appearanceMode(), AppearanceMode::light);
        QCOMPARE(again.smallerObjectsThresholdPercent(), 0.042);
        QCOMPARE(again.groupHiddenItems(), true);
        QCOMPARE(again.cacheStalenessAgeDays(), 21);
        QCOMPARE(again.previewPaneWidth(), 312.5);
    }

    void programStoreLivesInTheUsersConfigFolder() {
        {
            SettingsStore store;
            store.setSortFoldersToTop(false);
        }
        const QString file = m_dir.filePath(QStringLiteral("config/Ringfold/Ringfold.conf"));
        QVERIFY2(QFile::exists(file), qPrintable(file));
        QSettings direct(file, QSettings::IniFormat);
        QCOMPARE(direct.value("sortFoldersToTop").toBool(), false);
        SettingsStore reloaded;
        QCOMPARE(reloaded.sortFoldersToTop(), false);
    }
};

QTEST_GUILESS_MAIN(SettingsStoreTest)
#include "SettingsStoreTest.moc"
