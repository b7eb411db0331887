// The cleanup list over two real scans of one fixture:
//   Data/a, Data/sub/b, .hidden, photo.nextcloud (a cloud placeholder), synced.bin

#include "app/stores/CleanupListStore.h"
#include "app/stores/SettingsStore.h"
#include "core/model/Tree.h"

#include "AppTestSupport.h"
#include "support/FixtureTree.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace ringfold;
using S = CleanupListStore::SelectionState;

class CleanupListStoreTest : public QObject {
    Q_OBJECT

    test::FixtureTree m_fx;
    QTemporaryDir m_dir;
    std::unique_ptr<QSettings> m_qsettings;
    std::unique_ptr<SettingsStore> m_settings;
    NodePtr m_root;

    NodePtr node(const char* relative, const NodePtr& root = {}) {
        NodePtr n = apptest::findShared(root ? root : m_root, QString::fromLatin1(relative));
        if (!n)
            qFatal("fixture node %s missing", relative);
        return n;
    }
    static QStringList names(const CleanupListStore& store) {
        QStringList out;
        for (const NodePtr& n : store.items())
            out << QString::fromStdString(std::string(n->name()));
        return out;
    }
    NodePtr scan() { return apptest::scanFolder(QString::fromStdString(m_fx.root()))->root; }

private slots:
    void initTestCase() {
        m_fx.writeFiles({{"Data/a", 8192},
                         {"Data/sub/b", 4096},
                         {".hidden", 100},
                         {"photo.nextcloud", 0},
                         {"synced.bin", 12288}});
    }

    void init() {
        m_root = scan();
        m_qsettings = std::make_unique<QSettings>(m_dir.filePath("s.conf"), QSettings::IniFormat);
        m_qsettings->clear();
        m_settings = std::make_unique<SettingsStore>(m_qsettings.get());
    }

    void addRemoveAndToggleKeepItemsAndIdsInStep() {
        CleanupListStore store(m_settings.get());
        QSignalSpy items(&store, &CleanupListStore::itemsChanged);
        QSignalSpy ids(&store, &CleanupListStore::includedIDsChanged);
        const NodePtr a = node("Data/a");
        for (const NodePtr& n : {a, a->shared(), node("synced.bin")})
            store.add(n);
        QCOMPARE(names(store), (QStringList{"a", "synced.bin"}));
        QCOMPARE(store.includedIDs().size(), std::size_t(2));
        QCOMPARE(items.count(), 2);
        QCOMPARE(ids.count(), 2);

        store.remove(*node("Data/sub/b")); // not listed: no notification
        QCOMPARE(items.count() + ids.count(), 4);
        store.toggle(a);
        QVERIFY(!store.contains(*a));
        store.toggle(a);
        QCOMPARE(names(store), (QStringList{"synced.bin", "a"}));

        store.clear();
        QVERIFY(store.isEmpty() && store.includedIDs().empty());
        const int before = items.count();
        store.clear();
        QCOMPARE(items.count(), before);
    }

    void hiddenItemsNeedTheSettingButAreNeverPreselected() {
        CleanupListStore store(m_settings.get());
        const NodePtr hidden = node(".hidden");
        store.toggle(hidden);
        QVERIFY(store.isEmpty() && !store.canAdd(*hidden));
        QVERIFY(store.selectionState({hidden.get()}) == S::off); // not eligible

        m_settings->setAllowDeletingHiddenFiles(true);
        store.add(node("Data/a"));
        QSignalSpy items(&store, &CleanupListStore::itemsChanged);
        store.addPreselected({hidden, node("Data/a"), node("synced.bin"), node("synced.bin")});
        QCOMPARE(names(store), (QStringList{"a", "synced.bin"}));
        QCOMPARE(items.count(), 1);
        store.toggle(hidden);
        QCOMPARE(names(store), (QStringList{"a", "synced.bin", ".hidden"}));
    }

    void totalsFollowCloudStatus() {
        CleanupListStore store(m_settings.get());
        const NodePtr placeholder = node("photo.nextcloud");
        QVERIFY(placeholder->cloudStatus() == CloudStatus::cloudPlaceholder);
        placeholder->setLogicalSize(500); // stands for 500 bytes in the cloud
        store.add(placeholder);
        QCOMPARE(store.trashTotal() + store.removeDownloadTotal(), 0);
        QCOMPARE(store.moveCopyTotal(), 500);

        const NodePtr synced = node("synced.bin");
        synced->setCloudStatus(CloudStatus::cloudDownloaded);
        const NodePtr a = node("Data/a");
        store.add(synced);
        store.add(a);
        QCOMPARE(store.trashTotal(), synced->allocatedSize() + a->allocatedSize());
        QCOMPARE(store.removeDownloadTotal(), synced->allocatedSize());
        QCOMPARE(store.moveCopyTotal(), 500 + 12288 + 8192);
    }

    void removingATreesItemsKeepsOtherTreesAtTheSamePaths() {
        CleanupListStore store(m_settings.get());
        NodePtr other = scan();
        store.add(node("Data/sub/b"));
        store.add(node("Data/a", other));
        store.add(node("Data", m_root));
        store.add(node("synced.bin", other));
        QSignalSpy items(&store, &CleanupListStore::itemsChanged);
        store.removeItems(m_root->tree());
        QCOMPARE(names(store), (QStringList{"a", "synced.bin"}));
        QCOMPARE(store.includedIDs().size(), std::size_t(2));
        QCOMPARE(items.count(), 1);
        store.removeItems(m_root->tree()); // nothing left of it
        QCOMPARE(items.count(), 1);

        // Listed nodes keep their tree alive after everyone else let go of it.
        std::weak_ptr<FileNode> watch = other;
        other.reset();
        QVERIFY(!watch.expired());
        QCOMPARE(store.items().front()->url(), m_fx.fullPath("Data/a"));
        store.clear();
        QVERIFY(watch.expired());
    }

    void selectionStateOfAGroup() {
        CleanupListStore store(m_settings.get());
        const NodePtr a = node("Data/a");
        const NodePtr b = node("Data/sub/b");
        const std::vector<FileNode*> group{a.get(), b.get(), node(".hidden").get()};
        QVERIFY(store.selectionState({}) == S::off);
        QVERIFY(store.selectionState(group) == S::off);
        store.add(a);
        QVERIFY(store.selectionState(group) == S::mixed);
        store.add(b);
        QVERIFY(store.selectionState(group) == S::on); // the hidden node is not eligible
        m_settings->setAllowDeletingHiddenFiles(true);
        QVERIFY(store.selectionState(group) == S::mixed);
    }
};

QTEST_GUILESS_MAIN(CleanupListStoreTest)
#include "CleanupListStoreTest.moc"
