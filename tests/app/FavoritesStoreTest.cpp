// The favourites file: exact bytes, identities across save and load, silent handling
// of bad files, the default set, and how the sources model keeps it.

#include "app/stores/FavoritesStore.h"
#include "app/stores/FavoritesJson.h"
#include "app/viewmodels/SidebarViewModel.h"

#include "AppTestSupport.h"

#include <QTest>

using namespace ringfold;
using apptest::readAll;
using ringfold::test::FixtureTree;

class FavoritesStoreTest : public QObject {
    Q_OBJECT

    std::unique_ptr<FixtureTree> m_home;

    QString path(const char* rel) const { return QString::fromStdString(m_home->fullPath(rel)); }

    // A sources model that lists no volumes, over the default favourites file.
    std::unique_ptr<SidebarViewModel> sidebar() {
        SidebarViewModel::Options o;
        o.mountInfoPath = m_home->fullPath("no-mountinfo");
        o.watchVolumes = false;
        return std::make_unique<SidebarViewModel>(nullptr, o);
    }

private slots:
    void init() {
        m_home = std::make_unique<FixtureTree>();
        qputenv("HOME", m_home->root().c_str());
        qputenv("XDG_DATA_HOME", m_home->fullPath("data").c_str());
        qputenv("XDG_CONFIG_HOME", m_home->fullPath("config").c_str());
    }

    void fileHasTheExactFormat() {
        FavoritesStore store(path("f/favorites.json"));
        store.save({makeFavoriteSource(*Uuid::parse("0f8e3c1a-5b2d-4e6f-9a7b-1c2d3e4f5a6b"),
                                       "/srv/a \"b\"\\c", "\u00DCber\tName")});
        QCOMPARE(readAll(store.filePath()),
                 QByteArray("[\n"
                            "  {\n"
                            "    \"displayName\" : \"\u00DCber\\tName\",\n"
                            "    \"id\" : \"0F8E3C1A-5B2D-4E6F-9A7B-1C2D3E4F5A6B\",\n"
                            "    \"path\" : \"\\/srv\\/a \\\"b\\\"\\\\c\"\n"
                            "  }\n"
                            "]"));
        QCOMPARE(encodeFavorites({}), QByteArray("[\n\n]"));
        QCOMPARE(encodeJsonString("a\x01\n/"), std::string("\"a\\u0001\\n\\/\""));
    }

    void identitiesAndNamesSurviveSaveAndLoad() {
        FavoritesStore store(path("favorites.json"));
        // The first folder never existed: only defaults are checked against the disk.
        const std::vector<ScanSource> saved{
            makeFavoriteSource(Uuid::generate(), m_home->fullPath("gone/away"), "Gone"),
            makeFavoriteSource(Uuid::generate(), "/tmp/x y/ß", "x \"quoted\" / name")};
        store.save(saved);
        QVERIFY(FavoritesStore(store.filePath()).load() == saved);

        // A file that cannot be written (its folder is a file) fails silently.
        m_home->writeFile("blocker", 1);
        FavoritesStore blocked(path("blocker/favorites.json"));
        blocked.save(saved);
        QVERIFY(!blocked.fileExists() && blocked.load().empty());
    }

    void badFilesLoadAsNothingAndStayUntouched() {
        const QString file = path("favorites.json");
        for (const char* content :
             {"[{\"id\": ", "{\"id\":\"x\"}", // not JSON, not an array
              R"([{"displayName":"a","id":"not-a-uuid","path":"/a"}])",
              R"([{"displayName":"a","id":"0F8E3C1A-5B2D-4E6F-9A7B-1C2D3E4F5A6B"}])",
              R"([{"displayName":1,"id":"0F8E3C1A-5B2D-4E6F-9A7B-1C2D3E4F5A6B","path":"/a"}])"}) {
            m_home->writeText("favorites.json", content);
            QVERIFY2(FavoritesStore(file).load().empty(), content);
            QCOMPARE(readAll(file), QByteArray(content));
        }
    }

    void defaultsAreHomeThenExistingStandardFolders() {
        QCOMPARE(FavoritesStore::defaultFilePath(), path("data/Ringfold/favorites.json"));
        m_home->makeFolder("Music");
        m_home->makeFolder("Documents");
        m_home->makeFolder("Videos");
        m_home->writeFile("Desktop", 3); // a file, not a folder
        QStringList names;
        for (const ScanSource& s : FavoritesStore(path("fav.json")).defaultFavorites())
            names << QString::fromStdString(s.url);
        QCOMPARE(names, (QStringList{QString::fromStdString(m_home->root()), path("Documents"),
                                     path("Videos"), path("Music")}));
    }

    void theSourcesModelKeepsTheFile() {
        m_home->makeFolder("Downloads");
        const std::vector<ScanSource> first = sidebar()->favorites();
        QCOMPARE(first.size(), std::size_t(2));   // home and Downloads, saved at once
        QVERIFY(sidebar()->favorites() == first); // a restart keeps the identities
        auto model = sidebar();
        model->addFavorite(m_home->fullPath("Projects"));
        // The same folder, spelt differently, is already a favourite: nothing is saved.
        const QString file = path("data/Ringfold/favorites.json");
        QVERIFY(QFile::remove(file));
        model->addFavorite(m_home->fullPath("Projects/"), "Other name");
        model->addFavorite(m_home->fullPath("Downloads/../Projects"));
        QVERIFY(!QFile::exists(file));
        model->setSelectedSourceID(model->favorites()[2].id);
        model->removeFavorite(model->favorites()[0].id); // not selected
        model->removeFavorite(model->selectedSourceID().value());
        QVERIFY(!model->selectedSourceID());
        QCOMPARE(FavoritesStore().load().size(), std::size_t(1));
        model->resetFavoritesAndScanRecords();
        QCOMPARE(FavoritesStore().load().size(), std::size_t(2));

        // An unreadable file means no favourites, and stays until they change.
        m_home->writeText("data/Ringfold/favorites.json", "garbage");
        model = sidebar();
        QVERIFY(model->favorites().empty());
        QCOMPARE(readAll(file), QByteArray("garbage"));
        model->addFavorite(m_home->fullPath("Projects"));
        QCOMPARE(FavoritesStore().load().size(), std::size_t(1));
    }
};

QTEST_GUILESS_MAIN(FavoritesStoreTest)
#include "FavoritesStoreTest.moc"
