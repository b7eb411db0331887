// The cleanup list over a real scanned tree:
//   Volumes/Data/a, Volumes/Data/sub/b, Volumes/DataBackup/b, Volumes/.hidden,
//   Volumes/photo.nextcloud (a cloud placeholder), Volumes/synced.bin

#include "app/stores/CleanupListStore.h"
#include "app/stores/SettingsStore.h"

#include "AppTestSupport.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace ringfold;
using apptest::findShared;

class CleanupListStoreTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<QSettings> m_qsettings;
    std::unique_ptr<SettingsStore> m_settings;
    NodePtr m_root;

    NodePtr node(const char* relative) {
        NodePtr n = findShared(m_root, QString::fromLatin1(relative));
        if (!n)
            qFatal("fixture node %s missing", relative);
        return n;
    }

    QStringList itemNames(const CleanupListStore& store) {
        QStringList out;
        for (const NodePtr& n : store.items())
            out << QString::fromStdString(std::string(n->name()));
        return out;
    }

private slots:
    void init() {
        QVERIFY(apptest::writeFile(m_dir.filePath("Volumes/Data/a"), 8192));
        QVERIFY(apptest::writeFile(m_dir.filePath("Volumes/Data/sub/b"), 4096));
        QVERIFY(apptest::writeFile(m_dir.filePath("Volumes/DataBackup/b"), 4096));
        QVERIFY(apptest::writeFile(m_dir.filePath("Volumes/.hidden"), 100));
        QVERIFY(apptest::writeFile(m_dir.filePath("Volumes/photo.nextcloud"), 0));
        QVERIFY(apptest::writeFile(m_dir.filePath("Volumes/synced.bin"), 12288));
        auto result = apptest::scanFolder(m_dir.path());
        QVERIFY(result);
        m_root = result->root;
        m_qsettings =
            std::make_unique<QSettings>(m_dir.filePath("settings.conf"), QSettings::IniFormat);
        m_qsettings->clear();
        m_settings = std::make_unique<SettingsStore>(m_qsettings.get());
    }

    void addRemoveAndToggleKeepItemsAndIdsInStep() {
        CleanupListStore store(m_settings.get());
        QSignalSpy items(&store, &CleanupListStore::itemsChanged);
        QSignalSpy ids(&store, &CleanupListStore::includedIDsChanged);
        const NodePtr a = node("Volumes/Data/a");
        const NodePtr b = node("Volumes/DataBackup/b");

        store.add(a);
        store.add(a);
        store.add(a->shared()); // another reference to the same node
        store.add(b);
        QCOMPARE(itemNames(store), (QStringList{"a", "b"}));
        QCOMPARE(store.includedIDs().size(), std::size_t(2));
        QCOMPARE(items.count(), 2);
        QCOMPARE(ids.count(), 2);

        store.remove(*node("Volumes/Data/sub/b")); // not listed: no notification
        QCOMPARE(items.count(), 2);
        QCOMPARE(ids.count(), 2);

        store.toggle(a);
        QCOMPARE(itemNames(store), QStringList{"b"});
        QVERIFY(!store.contains(*a));
        store.toggle(a);
        QCOMPARE(itemNames(store), (QStringList{"b", "a"}));
        QVERIFY(store.contains(a->id()));

        store.clear();
        QVERIFY(store.isEmpty() && store.includedIDs().empty());
        const int before = items.count();
        store.clear();
        QCOMPARE(items.count(), before);
    }

    void hiddenItemsNeedTheSetting() {
        CleanupListStore store(m_settings.get());
        const NodePtr hidden = node("Volumes/.hidden");
        QVERIFY(hidden->isHidden());
        QVERIFY(!store.canAdd(*hidden));
        store.add(hidden);
        store.toggle(hidden);
        QVERIFY(store.isEmpty());

        m_settings->setAllowDeletingHiddenFiles(true);
        QVERIFY(store.canAdd(*hidden));
        store.toggle(hidden);
        QCOMPARE(itemNames(store), QStringList{".hidden"});

        CleanupListStore withoutSettings;
        withoutSettings.add(hidden);
        QVERIFY(withoutSettings.isEmpty());
    }

    void preselectionSkipsHiddenAndListedNodes() {
        m_settings->setAllowDeletingHiddenFiles(true); // pre-selection ignores the setting
        CleanupListStore store(m_settings.get());
        store.add(node("Volumes/Data/a"));
        QSignalSpy items(&store, &CleanupListStore::itemsChanged);
        store.addPreselected({node("Volumes/.hidden"), node("Volumes/Data/a"),
                              node("Volumes/synced.bin"), node("Volumes/synced.bin")});
        QCOMPARE(itemNames(store), (QStringList{"a", "synced.bin"}));
        QCOMPARE(items.count(), 1);
        store.addPreselected({node("Volumes/Data/a")});
        QCOMPARE(items.count(), 1);
    }

    void totalsFollowCloudStatus() {
        CleanupListStore store(m_settings.get());
        const NodePtr placeholder = node("Volumes/photo.nextcloud");
        QVERIFY(placeholder->cloudStatus() == CloudStatus::cloudPlaceholder);
        placeholder->setLogicalSize(500); // the placeholder stands for 500 bytes in the cloud
        const NodePtr synced = node("Volumes/synced.bin");
        synced->setCloudStatus(CloudStatus::cloudDownloaded);
        const NodePtr a = node("Volumes/Data/a");

        store.add(placeholder);
        QCOMPARE(store.trashTotal(), 0);
        QCOMPARE(store.removeDownloadTotal(), 0);
        QCOMPARE(store.moveCopyTotal(), 500);

        store.add(synced);
        store.add(a);
        QCOMPARE(store.trashTotal(), synced->allocatedSize() + a->allocatedSize());
        QCOMPARE(store.removeDownloadTotal(), synced->allocatedSize());
        QCOMPARE(store.moveCopyTotal(), 500 + 12288 + 8192);
        QVERIFY(synced->allocatedSize() >= 12288);
    }

    void removeItemsUnderAPathStopsAtTheSeparator() {
        CleanupListStore store(m_settings.get());
        store.add(node("Volumes/DataBackup/b"));
        store.add(node("Volumes/Data/a"));
        store.add(node("Volumes/synced.bin"));
        store.add(node("Volumes/Data/sub/b"));
        store.add(node("Volumes/Data"));
        QSignalSpy items(&store, &CleanupListStore::itemsChanged);

        const std::string data = m_dir.filePath("Volumes/Data").toStdString();
        store.removeItems(data + "/sub/../");
        QCOMPARE(itemNames(store), (QStringList{"b", "synced.bin"}));
        QCOMPARE(store.items().front()->url(),
                 m_dir.filePath("Volumes/DataBackup/b").toStdString());
        QCOMPARE(store.includedIDs().size(), std::size_t(2));
        QVERIFY(!store.contains(*node("Volumes/Data/a")));
        QCOMPARE(items.count(), 1);

        store.removeItems(m_dir.filePath("Volumes/Dat").toStdString()); // a prefix, not a folder
        QCOMPARE(items.count(), 1);
        QCOMPARE(store.count(), std::size_t(2));

        store.removeItems(m_dir.path().toStdString());
        QVERIFY(store.isEmpty() && store.includedIDs().empty());
    }

    void selectionStateOfAGroup() {
        CleanupListStore store(m_settings.get());
        const NodePtr a = node("Volumes/Data/a");
        const NodePtr b = node("Volumes/DataBackup/b");
        const NodePtr hidden = node("Volumes/.hidden");
        using S = CleanupListStore::SelectionState;
        QVERIFY(store.selectionState({}) == S::off);
        QVERIFY(store.selectionState({a.get(), b.get(), hidden.get()}) == S::off);
        store.add(a);
        QVERIFY(store.selectionState({a.get(), b.get(), hidden.get()}) == S::mixed);
        store.add(b);
        // The hidden node is not eligible while hidden items are locked.
        QVERIFY(store.selectionState({a.get(), b.get(), hidden.get()}) == S::on);
        QVERIFY(store.selectionState({hidden.get()}) == S::off);
        m_settings->setAllowDeletingHiddenFiles(true);
        QVERIFY(store.selectionState({a.get(), b.get(), hidden.get()}) == S::mixed);
    }

    void listedNodesOutliveTheirTree() {
        CleanupListStore store(m_settings.get());
        store.add(node("Volumes/Data/sub/b"));
        std::weak_ptr<FileNode> watch = m_root;
        m_root.reset();
        QVERIFY(!watch.expired());
        QCOMPARE(QString::fromStdString(store.items().front()->url()),
                 m_dir.filePath("Volumes/Data/sub/b"));
        store.clear();
        QVERIFY(watch.expired());
    }
};

QTEST_GUILESS_MAIN(CleanupListStoreTest)
#include "CleanupListStoreTest.moc"
