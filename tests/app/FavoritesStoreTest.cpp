// The favourites file: exact bytes, identities across save and load, silent handling
// of bad files, and the default set, all on real files under a temporary home.

#include "app/stores/FavoritesStore.h"
#include "app/stores/FavoritesJson.h"
#include "app/viewmodels/SidebarViewModel.h"

#include "AppTestSupport.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace ringfold;
using apptest::readAll;
using apptest::writeBytes;

namespace {

Uuid uuid(const char* text) {
    return *Uuid::parse(text);
}

// Options that list no volumes: an empty mount table in `folder`.
SidebarViewModel::Options noVolumes(const QString& folder) {
    const QString emptyMountInfo = folder + "/mountinfo";
    if (!apptest::writeFile(emptyMountInfo, 0))
        qFatal("cannot write %s", qPrintable(emptyMountInfo));
    SidebarViewModel::Options o;
    o.mountInfoPath = emptyMountInfo.toStdString();
    o.watchVolumes = false;
    return o;
}

} // namespace

class FavoritesStoreTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;

    QString home() const { return m_home->path(); }

private slots:
    void init() {
        // Each case gets its own home, data and config folders (no user-dirs.dirs, so
        // the standard folders are the plain ~/Desktop, ~/Documents, ...).
        m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(m_home->isValid());
        qputenv("HOME", home().toLocal8Bit());
        qputenv("XDG_DATA_HOME", (home() + "/data").toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", (home() + "/config").toLocal8Bit());
    }

    void fileHasTheExactFormat() {
        FavoritesStore store(home() + "/f/favorites.json");
        store.save({makeFavoriteSource(uuid("0f8e3c1a-5b2d-4e6f-9a7b-1c2d3e4f5a6b"),
                                       "/home/ana/Music", "Music"),
                    makeFavoriteSource(uuid("A1B2C3D4-E5F6-4A7B-8C9D-0E1F2A3B4C5D"),
                                       "/srv/a \"b\"\\c", "Über\tName")});
        const QByteArray expected = "[\n"
                                    "  {\n"
                                    "    \"displayName\" : \"Music\",\n"
                                    "    \"id\" : \"0F8E3C1A-5B2D-4E6F-9A7B-1C2D3E4F5A6B\",\n"
                                    "    \"path\" : \"\\/home\\/ana\\/Music\"\n"
                                    "  },\n"
                                    "  {\n"
                                    "    \"displayName\" : \"\xC3\x9C"
                                    "ber\\tName\",\n"
                                    "    \"id\" : \"A1B2C3D4-E5F6-4A7B-8C9D-0E1F2A3B4C5D\",\n"
                                    "    \"path\" : \"\\/srv\\/a \\\"b\\\"\\\\c\"\n"
                                    "  }\n"
                                    "]";
        QCOMPARE(readAll(store.filePath()), expected);
        QCOMPARE(encodeFavorites({}), QByteArray("[\n\n]"));
        QCOMPARE(encodeJsonString("a\x01\n/"), std::string("\"a\\u0001\\n\\/\""));
    }

    void identitiesAndNamesSurviveSaveAndLoad() {
        FavoritesStore store(home() + "/favorites.json");
        std::vector<ScanSource> saved{
            makeFavoriteSource(Uuid::generate(), (home() + "/gone/away").toStdString(), "Gone"),
            makeFavoriteSource(Uuid::generate(), "/tmp/x y/ß", "x \"quoted\" / name")};
        store.save(saved);
        const auto loaded = FavoritesStore(store.filePath()).load();
        // The first folder never existed: only defaults are checked against the disk.
        QCOMPARE(loaded.size(), std::size_t(2));
        for (std::size_t i = 0; i < loaded.size(); ++i) {
            QVERIFY(loaded[i].id == saved[i].id);
            QCOMPARE(loaded[i].url, saved[i].url);
            QCOMPARE(loaded[i].displayName, saved[i].displayName);
            QVERIFY(loaded[i].kind == ScanSourceKind::favoriteFolder);
            QVERIFY(!loaded[i].lastScanDate && !loaded[i].volumeTotalCapacity);
        }
    }

    void badFilesLoadAsNothing_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("not json") << QByteArray("[{\"id\": ");
        QTest::newRow("object at top") << QByteArray("{\"id\":\"x\"}");
        QTest::newRow("bad uuid") << QByteArray(
            R"([{"displayName":"a","id":"not-a-uuid","path":"/a"}])");
        QTest::newRow("missing path")
            << QByteArray(R"([{"displayName":"a","id":"0F8E3C1A-5B2D-4E6F-9A7B-1C2D3E4F5A6B"}])");
        QTest::newRow("number name") << QByteArray(
            R"([{"displayName":1,"id":"0F8E3C1A-5B2D-4E6F-9A7B-1C2D3E4F5A6B","path":"/a"}])");
    }

    void badFilesLoadAsNothing() {
        QFETCH(QByteArray, content);
        const QString path = home() + "/favorites.json";
        QVERIFY(writeBytes(path, content));
        QVERIFY(FavoritesStore(path).load().empty());
        QCOMPARE(readAll(path), content);
    }

    void lowerCaseAndEscapedInputIsAccepted() {
        const QString path = home() + "/favorites.json";
        QVERIFY(writeBytes(path, R"([{"path":"\/data","displayName":"D",)"
                                 R"("id":"0f8e3c1a-5b2d-4e6f-9a7b-1c2d3e4f5a6b"}])"));
        const auto loaded = FavoritesStore(path).load();
        QCOMPARE(loaded.size(), std::size_t(1));
        QCOMPARE(loaded[0].url, std::string("/data"));
        QCOMPARE(loaded[0].id.toString(), std::string("0F8E3C1A-5B2D-4E6F-9A7B-1C2D3E4F5A6B"));
    }

    void corruptFileStaysUntouchedUntilTheFavouritesChange() {
        FavoritesStore probe;
        QVERIFY(writeBytes(probe.filePath(), "garbage"));

        SidebarViewModel model(nullptr, noVolumes(home()));
        QVERIFY(model.favorites().empty());
        QCOMPARE(readAll(probe.filePath()), QByteArray("garbage"));

        model.addFavorite((home() + "/Projects").toStdString());
        const auto loaded = probe.load();
        QCOMPARE(loaded.size(), std::size_t(1));
        QCOMPARE(loaded[0].displayName, std::string("Projects"));
    }

    void defaultLocationFollowsXdgDataHome() {
        QCOMPARE(FavoritesStore::defaultFilePath(), home() + "/data/Ringfold/favorites.json");
        QVERIFY(!QFileInfo::exists(home() + "/data/Ringfold"));
        FavoritesStore store;
        QVERIFY(QFileInfo(home() + "/data/Ringfold").isDir());
        QVERIFY(!store.fileExists());

        qputenv("XDG_DATA_HOME", "relative/ignored");
        QCOMPARE(FavoritesStore::defaultFilePath(),
                 home() + "/.local/share/Ringfold/favorites.json");
        qunsetenv("XDG_DATA_HOME");
        QCOMPARE(FavoritesStore::defaultFilePath(),
                 home() + "/.local/share/Ringfold/favorites.json");
    }

    void defaultsAreHomeThenExistingStandardFolders() {
        QVERIFY(apptest::makeDir(home() + "/Music"));
        QVERIFY(apptest::makeDir(home() + "/Documents"));
        QVERIFY(apptest::makeDir(home() + "/Videos"));
        QVERIFY(apptest::writeFile(home() + "/Desktop", 3)); // a file, not a folder
        const auto defaults = FavoritesStore(home() + "/fav.json").defaultFavorites();
        QStringList names;
        QStringList paths;
        for (const ScanSource& s : defaults) {
            names << QString::fromStdString(s.displayName);
            paths << QString::fromStdString(s.url);
            QVERIFY(s.kind == ScanSourceKind::favoriteFolder);
        }
        const QString homeName = QFileInfo(home()).fileName();
        QCOMPARE(names, (QStringList{homeName, "Documents", "Videos", "Music"}));
        QCOMPARE(paths.first(), home());
        QCOMPARE(paths.last(), home() + "/Music");
        QVERIFY(defaults[0].id != defaults[1].id);
    }

    void firstStartSavesTheDefaultsAtOnce() {
        QVERIFY(apptest::makeDir(home() + "/Downloads"));
        QString file;
        std::vector<Uuid> ids;
        {
            SidebarViewModel model(nullptr, noVolumes(home()));
            file = model.favoritesStore().filePath();
            QCOMPARE(model.favorites().size(), std::size_t(2));
            for (const auto& f : model.favorites())
                ids.push_back(f.id);
        }
        QVERIFY(QFileInfo::exists(file));
        // A restart loads the same favourites with the same identities.
        SidebarViewModel again(nullptr, noVolumes(home()));
        QCOMPARE(again.favorites().size(), std::size_t(2));
        QVERIFY(again.favorites()[0].id == ids[0]);
        QVERIFY(again.favorites()[1].id == ids[1]);
        QCOMPARE(again.favorites()[1].displayName, std::string("Downloads"));
    }

    void writeErrorsAreSilentAndKeepTheOldFile() {
        // The "folder" of the file is a plain file, so nothing can be written there.
        QVERIFY(apptest::writeFile(home() + "/blocker", 1));
        FavoritesStore blocked(home() + "/blocker/favorites.json");
        blocked.save({makeFavoriteSource(Uuid::generate(), "/a", "a")});
        QVERIFY(!blocked.fileExists());
        QVERIFY(blocked.load().empty());
    }
};

QTEST_GUILESS_MAIN(FavoritesStoreTest)
#include "FavoritesStoreTest.moc"
