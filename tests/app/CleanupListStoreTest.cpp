// The cleanup list over two real scans of one fixture:
//   Data/a, Data/sub/b, .hidden, photo.nextcloud (a cloud placeholder), synced.bin

#include "app/stores/CleanupListStore.h"
#include "app/stores/SettingsStore.h"
#include "core/model/Tree.h"

#include "AppTestSupport.h"

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
    std::unique_ptr<CleanupListStore> m_store;
    NodePtr m_root;

    NodePtr scan() { return apptest::scanFolder(QString::fromStdString(m_fx.root()))->root; }
    NodePtr node(const char* relative, const NodePtr& root = {}) {
        return apptest::findShared(root ? root : m_root, QString::fromLatin1(relative));
    }
    QStringList names() const { return apptest::names(m_store->items()); }

private slots:
    void initTestCase() {
        m_fx.writeFiles({{"Data/a", 8192}, {"Data/sub/b", 4096}, {".hidden", 100}});
        m_fx.writeFiles({{"photo.nextcloud", 0}, {"synced.bin", 12288}});
    }

    void init() {
        m_root = scan();
        m_qsettings = std::make_unique<QSettings>(m_dir.filePath("s.conf"), QSettings::IniFormat);
        m_qsettings->clear();
        m_settings = std::make_unique<SettingsStore>(m_qsettings.get());
        m_store = std::make_unique<CleanupListStore>(m_settings.get());
    }

    void addRemoveToggleAndPreselectKeepItemsIdsAndGroupStatesInStep() {
        QSignalSpy items(m_store.get(), &CleanupListStore::itemsChanged);
        QSignalSpy ids(m_store.get(), &CleanupListStore::includedIDsChanged);
        const NodePtr a = node("Data/a");
        for (const NodePtr& n : {a, a->shared(), node("synced.bin")})
            m_store->add(n);
        QCOMPARE(names(), (QStringList{"a", "synced.bin"}));
        QCOMPARE(m_store->includedIDs().size(), std::size_t(2));
        m_store->remove(*node("Data/sub/b")); // not listed: no notification
        QCOMPARE(items.count() + ids.count(), 4);
        m_store->toggle(a);
        m_store->toggle(a);
        QCOMPARE(names(), (QStringList{"synced.bin", "a"}));

        // A hidden node needs the setting, to be listed and to count in a group; the
        // pre-selection never takes it.
        const NodePtr hidden = node(".hidden");
        const std::vector<FileNode*> group{a.get(), node("Data/sub/b").get(), hidden.get()};
        QVERIFY(m_store->selectionState({}) == S::off &&
                m_store->selectionState({hidden.get(), group[1]}) == S::off);
        QVERIFY(m_store->selectionState(group) == S::mixed);
        m_store->toggle(hidden);
        m_store->addPreselected({hidden, a, node("Data/sub/b"), node("Data/sub/b")});
        QVERIFY(!m_store->canAdd(*hidden) && m_store->selectionState(group) == S::on);
        m_settings->setAllowDeletingHiddenFiles(true);
        QVERIFY(m_store->selectionState(group) == S::mixed);
        m_store->addPreselected({hidden});
        m_store->toggle(hidden);
        QCOMPARE(names(), (QStringList{"synced.bin", "a", "b", ".hidden"}));
        QVERIFY(m_store->selectionState(group) == S::on);
        QCOMPARE(items.count(), 6);

        m_store->clear();
        QVERIFY(m_store->isEmpty() && m_store->includedIDs().empty());
        m_store->clear();
        QCOMPARE(items.count(), 7);
    }

    void totalsFollowCloudStatus() {
        const NodePtr placeholder = node("photo.nextcloud");
        QVERIFY(placeholder->cloudStatus() == CloudStatus::cloudPlaceholder);
        placeholder->setLogicalSize(500); // stands for 500 bytes in the cloud
        m_store->add(placeholder);
        QCOMPARE(m_store->trashTotal() + m_store->removeDownloadTotal(), 0);
        QCOMPARE(m_store->moveCopyTotal(), 500);

        const NodePtr synced = node("synced.bin");
        synced->setCloudStatus(CloudStatus::cloudDownloaded);
        m_store->add(synced);
        m_store->add(node("Data/a"));
        QCOMPARE(m_store->trashTotal(), synced->allocatedSize() + node("Data/a")->allocatedSize());
        QCOMPARE(m_store->removeDownloadTotal(), synced->allocatedSize());
        QCOMPARE(m_store->moveCopyTotal(), 500 + 12288 + 8192);
    }

    void removingATreesItemsKeepsOtherTreesAtTheSamePaths() {
        NodePtr other = scan();
        for (const NodePtr& n :
             {node("Data/sub/b"), node("Data/a", other), node("Data"), node("synced.bin", other)})
            m_store->add(n);
        QSignalSpy items(m_store.get(), &CleanupListStore::itemsChanged);
        m_store->removeItems(m_root->tree());
        m_store->removeItems(m_root->tree()); // nothing left of it
        QCOMPARE(names(), (QStringList{"a", "synced.bin"}));
        QCOMPARE(m_store->includedIDs().size(), std::size_t(2));
        QCOMPARE(items.count(), 1);

        // Listed nodes keep their tree alive after everyone else let go of it.
        std::weak_ptr<FileNode> watch = other;
        other.reset();
        QVERIFY(!watch.expired() && m_store->items().front()->url() == m_fx.fullPath("Data/a"));
        m_store->clear();
        QVERIFY(watch.expired());
    }
};

QTEST_GUILESS_MAIN(CleanupListStoreTest)
#include "CleanupListStoreTest.moc"
