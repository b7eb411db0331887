// Preferences loading, write-through and change signals, against real INI files.

#include "app/stores/SettingsStore.h"

#include "support/FixtureTree.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTest>

using namespace ringfold;
using ringfold::test::FixtureTree;

class SettingsStoreTest : public QObject {
    Q_OBJECT

    FixtureTree m_dir;
    int m_fileNo = 0;

    // A settings file holding `ini` lines under [General], as a previous run left it.
    std::unique_ptr<QSettings> settingsFile(const std::string& ini = "") {
        const std::string name = "s" + std::to_string(++m_fileNo) + ".conf";
        m_dir.writeText(name, "[General]\n" + ini + "\n");
        return std::make_unique<QSettings>(QString::fromStdString(m_dir.fullPath(name)),
                                           QSettings::IniFormat);
    }

private slots:
    void loading_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("loaded");
        QTest::addColumn<bool>("keyKept");
        auto row = [](const char* key, const char* stored, const char* loaded, bool kept = true) {
            QTest::newRow(qPrintable(QStringLiteral("%1=%2").arg(key, stored)))
                << key << stored << loaded << kept;
        };
        row("groupHiddenItems", "false", "false"); // present, so the default true loses
        row("groupHiddenItems", "maybe", "false");
        row("sortFoldersToTop", "1", "true");
        row("biggestFilesLimit", "5", "5"); // below the stepper, kept
        row("biggestFilesLimit", "99999999999", "2147483647");
        row("biggestFilesLimit", "lots", "0");
        row("diagnosticReportsAgeDays", "12.9", "12");
        row("appearanceMode", "Dark", "system"); // raw values are case-sensitive
        // Thresholds outside what the sliders offer are dropped for good.
        row("smallerObjectsThresholdPercent", "0.005", "0.005");
        row("smallerObjectsThresholdPercent", "0.05", "0.05");
        row("smallerObjectsThresholdPercent", "0.0501", "0", false);
        row("smallerObjectsThresholdPercent", "-0.001", "0", false);
        row("smallerObjectsThresholdPercent", "nan", "0", false);
    }

    void loading() {
        QFETCH(QString, key);
        QFETCH(QString, stored);
        QFETCH(QString, loaded);
        QFETCH(bool, keyKept);
        auto s = settingsFile((key + "=" + stored).toStdString());
        SettingsStore store(s.get());
        const QVariant value = key == "appearanceMode" ? rawValue(store.appearanceMode())
                                                       : store.property(qPrintable(key));
        QCOMPARE(value.toString(), loaded);
        QCOMPARE(s->contains(key), keyKept);
    }

    void assignmentsWriteThroughAndSignalOnlyRealChanges() {
        auto s = settingsFile("previewPaneWidth=wide");
        SettingsStore store(s.get());
        QCOMPARE(s->allKeys(), QStringList{"previewPaneWidth"}); // loading writes nothing
        QCOMPARE(store.previewPaneWidth(), 200.0);
        QSignalSpy limit(&store, &SettingsStore::biggestFilesLimitChanged);
        QSignalSpy grouped(&store, &SettingsStore::groupHiddenItemsChanged);
        store.setBiggestFilesLimit(350);
        store.setAppearanceMode(AppearanceMode::light);
        store.setSmallerObjectsThresholdPercent(0.042);
        store.setCacheStalenessAgeDays(21);
        store.setPreviewPaneWidth(312.5);
        // Equal values still reach the store (the key comes back) but signal nothing.
        store.setGroupHiddenItems(true);
        store.setBiggestFilesLimit(350);
        QCOMPARE(limit.count(), 1);
        QCOMPARE(grouped.count(), 0);
        QVERIFY(s->contains("groupHiddenItems"));

        // A new store over the same file sees everything, the 4.2 % threshold included.
        QSettings reread(s->fileName(), QSettings::IniFormat);
        SettingsStore again(&reread);
        QCOMPARE(again.biggestFilesLimit(), 350);
        QCOMPARE(again.appearanceMode(), AppearanceMode::light);
        QCOMPARE(again.smallerObjectsThresholdPercent(), 0.042);
        QCOMPARE(again.cacheStalenessAgeDays(), 21);
        QCOMPARE(again.previewPaneWidth(), 312.5);
    }
};

QTEST_GUILESS_MAIN(SettingsStoreTest)
#include "SettingsStoreTest.moc"
