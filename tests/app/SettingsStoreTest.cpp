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
    void loading() {
        // key, stored text, loaded value, whether the key stays in the file
        const QString limit = "biggestFilesLimit", threshold = "smallerObjectsThresholdPercent";
        // clang-format off
        const std::vector<std::tuple<QString, QString, QString, bool>> cases{
            {"groupHiddenItems", "false", "false", true}, // present: the default true loses
            {"groupHiddenItems", "maybe", "false", true}, {"sortFoldersToTop", "1", "true", true},
            {limit, "5", "5", true}, /* below the stepper, kept */ {limit, "lots", "0", true},
            {limit, "99999999999", "2147483647", true},
            {"diagnosticReportsAgeDays", "12.9", "12", true},
            {"appearanceMode", "Dark", "system", true}, // raw values are case-sensitive
            // Thresholds outside what the sliders offer are dropped for good.
            {threshold, "0.005", "0.005", true}, {threshold, "0.05", "0.05", true},
            {threshold, "0.0501", "0", false}, {threshold, "-0.001", "0", false},
            {threshold, "nan", "0", false}};
        // clang-format on
        for (const auto& [key, stored, loaded, kept] : cases) {
            auto s = settingsFile((key + "=" + stored).toStdString());
            SettingsStore store(s.get());
            const QVariant value = key == "appearanceMode" ? rawValue(store.appearanceMode())
                                                           : store.property(qPrintable(key));
            QVERIFY2(value.toString() == loaded && s->contains(key) == kept, qPrintable(stored));
        }
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
        store.setPreviewPaneWidth(312.5);
        // Equal values still reach the store (the key comes back) but signal nothing.
        store.setGroupHiddenItems(true);
        store.setBiggestFilesLimit(350);
        QVERIFY(limit.count() == 1 && grouped.count() == 0 && s->contains("groupHiddenItems"));

        // A new store over the same file sees everything, the 4.2 % threshold included.
        QSettings reread(s->fileName(), QSettings::IniFormat);
        SettingsStore again(&reread);
        QCOMPARE(again.biggestFilesLimit(), 350);
        QCOMPARE(again.appearanceMode(), AppearanceMode::light);
        QCOMPARE(again.smallerObjectsThresholdPercent(), 0.042);
        QCOMPARE(again.previewPaneWidth(), 312.5);
    }
};

QTEST_GUILESS_MAIN(SettingsStoreTest)
#include "SettingsStoreTest.moc"
