// Trash, move and copy on real files in temporary folders, with the tree, the map and
// the cleanup list following the successes only.
//
// The move across file systems needs a second file system: running as root, the test
// enters a private mount namespace at start-up (before any thread exists) and mounts
// small tmpfs instances there, invisible to the rest of the machine. Otherwise those
// cases are skipped with a message.
#include "app/operations/FileOperations.h"
#include "app/operations/FileTransfer.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "core/junk/JunkClassifier.h"
#include "core/model/Tree.h"
#include "core/scan/ScanEngine.h"
#include "support/FixtureTree.h"

#include <QCoreApplication>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

#include <cerrno>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ringfold;

namespace {

bool g_privateMounts = false;

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

bool exists(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

// A scanned fixture: real files on disk and the tree a scan built from them, shown
// in a map with an empty cleanup list.
struct Scanned {
    test::FixtureTree files;
    ScanResult result;
    ChartViewModel chart;
    CleanupListStore cleanup;
    FileOperations ops{chart, cleanup};

    void scan() {
        ScanEngine::Options o;
        o.threads = 2;
        o.diagnostics = stderr;
        ScanEngine engine(ScanSourceKind::favoriteFolder, 2, o);
        result = *engine.scan(files.root());
        chart.setRoot(result.root, result.accounting, false);
    }
    NodePtr node(const std::string& rel) {
        FileNode* n = JunkClassifier::findNode(*result.root, files.fullPath(rel));
        return n ? n->shared() : nullptr;
    }
    std::string path(const std::string& rel) const { return files.fullPath(rel); }
    // Trashes into a home trash under the fixture ("data/Trash").
    FileOperations::Outcome trash(const std::vector<NodePtr>& items) {
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(path("data")));
        auto outcome = ops.moveToTrash(items);
        qunsetenv("XDG_DATA_HOME");
        return outcome;
    }
};

// A tmpfs of `size` in a fresh folder, in this process's private mount namespace.
class ScratchMount {
public:
    explicit ScratchMount(const char* size) {
        char templ[] = "/tmp/ringfold-mnt-XXXXXX";
        if (!g_privateMounts || !::mkdtemp(templ))
            return;
        m_path = templ;
        const std::string options = std::string("size=") + size + ",mode=0755";
        m_mounted = ::mount("ringfold-test", templ, "tmpfs", 0, options.c_str()) == 0;
    }
    ~ScratchMount() {
        if (m_mounted)
            ::umount2(m_path.c_str(), MNT_DETACH);
        if (!m_path.empty())
            ::rmdir(m_path.c_str());
    }
    bool ok() const { return m_mounted; }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    bool m_mounted = false;
};

} // namespace

class FileOperationsTest : public QObject {
    Q_OBJECT

private slots:
    void trashLandsInTheHomeTrashWithItsInfo() {
        Scanned s;
        s.files.writeFile("docs/report 100% \xC3\xBC.txt", 20000, 'r');
        s.files.writeFile("docs/keep.txt", 100);
        s.scan();
        const std::string dataHome = s.path("data"); // does not exist yet

        NodePtr report = s.node("docs/report 100% \xC3\xBC.txt");
        NodePtr docs = s.node("docs");
        QVERIFY(report && docs);
        s.cleanup.add(report);
        const auto docsAllocated = docs->allocatedSize();
        const auto rootAllocated = s.result.root->allocatedSize();
        const auto reportAllocated = report->allocatedSize();
        const auto revision = s.chart.treeRevision();

        const auto outcome = s.trash({report});

        QVERIFY(outcome.errors.empty());
        QCOMPARE(outcome.reclaimedBytes, reportAllocated);
        QVERIFY(!exists(s.path("docs/report 100% \xC3\xBC.txt")));
        QCOMPARE(readAll(dataHome + "/Trash/files/report 100% \xC3\xBC.txt"),
                 std::string(20000, 'r'));
        const std::string info =
            readAll(dataHome + "/Trash/info/report 100% \xC3\xBC.txt.trashinfo");
        QVERIFY2(info.rfind("[Trash Info]\n", 0) == 0, info.c_str());
        // Escaped like a URL, so that a restore brings back the exact name.
        const std::string encodedPath = s.files.root() + "/docs/report%20100%25%20%C3%BC.txt";
        QVERIFY2(info.find("\nPath=" + encodedPath + "\n") != std::string::npos, info.c_str());
        QVERIFY2(info.find("\nDeletionDate=") != std::string::npos, info.c_str());

        QVERIFY(report->parent() == nullptr);
        QVERIFY(JunkClassifier::childNamed(*docs, "report 100% \xC3\xBC.txt") == nullptr);
        QCOMPARE(docs->allocatedSize(), docsAllocated - reportAllocated);
        QCOMPARE(s.result.root->allocatedSize(), rootAllocated - reportAllocated);
        QCOMPARE(s.chart.spaceAccounting()->enumeratedAllocatedSize,
                 rootAllocated - reportAllocated);
        QCOMPARE(s.chart.treeRevision(), revision + 1);
        QVERIFY(s.cleanup.isEmpty());
    }

    void trashKeepsGoingPastAFailedItem() {
        Scanned s;
        s.files.writeFile("a.bin", 4096);
        s.files.writeFile("vanished.bin", 4096);
        s.files.writeFile("c.bin", 4096);
        s.scan();
        for (const char* name : {"a.bin", "vanished.bin", "c.bin"})
            s.cleanup.add(s.node(name));
        s.files.remove("vanished.bin"); // gone since the scan
        const auto revision = s.chart.treeRevision();
        QSignalSpy refreshed(&s.ops, &FileOperations::dependentViewsNeedRefresh);

        const auto outcome = s.trash(s.cleanup.items());

        QCOMPARE(outcome.errors.size(), std::size_t(1));
        QCOMPARE(outcome.errors[0].nodeName, QStringLiteral("vanished.bin"));
        QCOMPARE(outcome.errors[0].message, QStringLiteral("No such file or directory"));
        QCOMPARE(outcome.errors[0].alertLine(),
                 QStringLiteral("vanished.bin: No such file or directory"));
        QCOMPARE(outcome.succeeded, 2);
        QVERIFY(exists(s.path("data/Trash/files/a.bin")) &&
                exists(s.path("data/Trash/files/c.bin")));
        QCOMPARE(s.chart.treeRevision(), revision + 2);
        QCOMPARE(s.cleanup.count(), std::size_t(1));
        QCOMPARE(s.cleanup.items()[0]->name(), std::string_view("vanished.bin"));
        QVERIFY(s.node("vanished.bin") != nullptr);
        QVERIFY(s.node("a.bin") == nullptr && s.node("c.bin") == nullptr);
        QCOMPARE(refreshed.count(), 1);
    }

    void trashFixesTheFocusAndSkipsItemsThatWentWithTheirFolder() {
        Scanned s;
        s.files.writeFile("outer/inner/deep/file.txt", 10);
        s.files.writeFile("folder/inside.txt", 10);
        s.scan();
        s.chart.focus(s.node("outer/inner/deep"));
        const auto historyBefore = s.chart.history().size();
        s.cleanup.add(s.node("folder"));
        s.cleanup.add(s.node("folder/inside.txt"));
        s.cleanup.add(s.node("outer/inner"));
        const auto outcome = s.trash(s.cleanup.items());
        QVERIFY(outcome.errors.empty());
        QCOMPARE(outcome.succeeded, 2); // inside.txt went with its folder
        QVERIFY(s.cleanup.isEmpty());
        QVERIFY(exists(s.path("data/Trash/files/folder/inside.txt")));
        QCOMPARE(s.chart.focusedNode(), s.node("outer"));
        // The focus fix-up is not a navigation: back/forward stay as the user left them.
        QCOMPARE(s.chart.history().size(), historyBefore);
    }

    void trashOnAnotherFileSystemNeverDeletes() {
        ScratchMount mnt("4m");
        if (!mnt.ok())
            QSKIP("needs root to mount a tmpfs in a private mount namespace");
        test::FixtureTree home;
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(home.fullPath("data")));
        const std::string file = mnt.path() + "/elsewhere.txt";
        { std::ofstream(file) << "keep me"; }
        ScanEngine::Options o;
        o.diagnostics = stderr;
        auto result = ScanEngine(ScanSourceKind::externalVolume, 2, o).scan(mnt.path());
        QVERIFY(result);
        ChartViewModel chart;
        chart.setRoot(result->root, result->accounting, true);
        CleanupListStore list;
        FileOperations ops(chart, list);
        NodePtr node = JunkClassifier::findNode(*result->root, file)->shared();
        const auto outcome = ops.moveToTrash({node});
        qunsetenv("XDG_DATA_HOME");
        // The home trash is on another file system, so the item goes to the volume's own
        // trash folder, or stays where it is; it is never copied and deleted.
        const std::string volumeTrash =
            mnt.path() + "/.Trash-" + std::to_string(::getuid()) + "/files/elsewhere.txt";
        if (outcome.errors.empty()) {
            QCOMPARE(readAll(volumeTrash), std::string("keep me"));
            QVERIFY(!exists(file));
        } else {
            qInfo("trash refused on the other file system: %s",
                  qPrintable(outcome.errors[0].alertLine()));
            QCOMPARE(readAll(file), std::string("keep me"));
            QVERIFY(node->parent() != nullptr);
        }
        QVERIFY(!exists(home.fullPath("data/Trash/files/elsewhere.txt")));
    }

    void moveNeverOverwrites() {
        Scanned s;
        s.files.writeFile("src/same.txt", 10, 's');
        s.files.writeFile("src/other.txt", 10, 'o');
        s.files.makeFolder("src/samedir");
        s.files.writeFile("dest/same.txt", 5, 'd');
        s.files.makeFolder("dest/samedir");
        s.scan();
        const auto revision = s.chart.treeRevision();
        const auto outcome =
            s.ops.moveTo({s.node("src/same.txt"), s.node("src/samedir"), s.node("src/other.txt")},
                         QString::fromStdString(s.path("dest")));
        QCOMPARE(outcome.errors.size(), std::size_t(2));
        QCOMPARE(outcome.errors[0].message, QStringLiteral("File exists"));
        QCOMPARE(outcome.errors[1].nodeName, QStringLiteral("samedir"));
        QCOMPARE(readAll(s.path("dest/same.txt")), std::string(5, 'd'));
        QCOMPARE(readAll(s.path("src/same.txt")), std::string(10, 's'));
        QCOMPARE(readAll(s.path("dest/other.txt")), std::string(10, 'o'));
        QVERIFY(s.node("src/same.txt") && s.node("src/samedir") && !s.node("src/other.txt"));
        QCOMPARE(s.chart.treeRevision(), revision + 1);
        // A copy refuses the same way.
        QCOMPARE(FileTransfer::copy(s.path("src/same.txt"), s.path("dest/same.txt")), EEXIST);
        QCOMPARE(readAll(s.path("dest/same.txt")), std::string(5, 'd'));
    }

    void moveWithinOneFileSystemPatchesTheTree() {
        Scanned s;
        s.files.writeFile("project/a/one.dat", 30000, '1');
        s.files.symlink("a/one.dat", "project/link");
        s.files.makeFolder("archive");
        s.scan();
        NodePtr project = s.node("project");
        s.cleanup.add(project);
        const auto rootLogical = s.result.root->logicalSize();
        const auto outcome = s.ops.moveTo({project}, QString::fromStdString(s.path("archive")));
        QVERIFY(outcome.errors.empty());
        QCOMPARE(outcome.reclaimedBytes, std::int64_t(0));
        QCOMPARE(readAll(s.path("archive/project/a/one.dat")), std::string(30000, '1'));
        QCOMPARE(readAll(s.path("archive/project/link")), std::string(30000, '1'));
        QVERIFY(!exists(s.path("project")));
        QCOMPARE(s.result.root->logicalSize(), rootLogical - project->logicalSize());
        QVERIFY(s.cleanup.isEmpty());
    }

    void moveAcrossFileSystemsKeepsDataIdentical() {
        ScratchMount mnt("16m");
        if (!mnt.ok())
            QSKIP("needs root to mount a tmpfs in a private mount namespace");
        Scanned s;
        s.files.writeFile("tree/big.bin", 3 * 1024 * 1024 + 17, 'b');
        s.files.writeFile("tree/sub/small.txt", 5, 's');
        s.files.writeFile("tree/sub/empty", 0);
        s.files.symlink("../big.bin", "tree/sub/to-big");
        s.files.symlink("/nonexistent/target", "tree/dangling");
        s.files.fifo("tree/pipe");
        s.files.chmod("tree/sub/small.txt", 0640);
        const timespec old[2] = {{1'000'000'000, 0}, {1'000'000'000, 123}};
        QCOMPARE(::utimensat(AT_FDCWD, s.path("tree/sub/small.txt").c_str(), old, 0), 0);
        s.files.chmod("tree/sub", 0750);
        s.scan();

        const auto outcome = s.ops.moveTo({s.node("tree")}, QString::fromStdString(mnt.path()));
        QVERIFY2(outcome.errors.empty(),
                 outcome.errors.empty() ? "" : qPrintable(outcome.errors[0].alertLine()));
        const std::string moved = mnt.path() + "/tree";
        QVERIFY(!exists(s.path("tree")));
        QVERIFY(s.node("tree") == nullptr);
        QCOMPARE(readAll(moved + "/big.bin"), std::string(3 * 1024 * 1024 + 17, 'b'));
        QCOMPARE(readAll(moved + "/sub/small.txt"), std::string(5, 's'));
        QVERIFY(exists(moved + "/sub/empty"));
        char target[256] = {};
        QCOMPARE(::readlink((moved + "/sub/to-big").c_str(), target, sizeof target - 1),
                 ssize_t(10));
        QCOMPARE(std::string(target), std::string("../big.bin"));
        QVERIFY(::readlink((moved + "/dangling").c_str(), target, sizeof target - 1) > 0);
        struct stat st {};
        QCOMPARE(::lstat((moved + "/pipe").c_str(), &st), 0);
        QVERIFY(S_ISFIFO(st.st_mode));
        QCOMPARE(::lstat((moved + "/sub/small.txt").c_str(), &st), 0);
        QCOMPARE(st.st_mode & 07777, mode_t(0640));
        QCOMPARE(st.st_mtim.tv_sec, time_t(1'000'000'000));
        QCOMPARE(st.st_mtim.tv_nsec, long(123));
        QCOMPARE(::lstat((moved + "/sub").c_str(), &st), 0);
        QCOMPARE(st.st_mode & 07777, mode_t(0750));
    }

    void moveAcrossFileSystemsThatRunsOutOfSpaceKeepsTheSource() {
        ScratchMount mnt("1m");
        if (!mnt.ok())
            QSKIP("needs root to mount a tmpfs in a private mount namespace");
        Scanned s;
        s.files.writeFile("tree/a.txt", 100, 'a');
        s.files.writeFile("tree/z-big.bin", 2 * 1024 * 1024, 'z');
        s.files.writeFile("fits.txt", 1000, 'f');
        s.scan();
        s.cleanup.add(s.node("tree"));
        s.cleanup.add(s.node("fits.txt"));

        const auto outcome = s.ops.moveTo(s.cleanup.items(), QString::fromStdString(mnt.path()));
        QCOMPARE(outcome.errors.size(), std::size_t(1));
        QCOMPARE(outcome.errors[0].nodeName, QStringLiteral("tree"));
        QCOMPARE(outcome.errors[0].message, QStringLiteral("No space left on device"));
        QVERIFY(!exists(mnt.path() + "/tree")); // the partial copy is gone
        QCOMPARE(readAll(s.path("tree/a.txt")), std::string(100, 'a'));
        QCOMPARE(readAll(s.path("tree/z-big.bin")), std::string(2 * 1024 * 1024, 'z'));
        QCOMPARE(readAll(mnt.path() + "/fits.txt"), std::string(1000, 'f'));
        QVERIFY(s.node("tree") != nullptr);
        QCOMPARE(s.cleanup.count(), std::size_t(1));

        // A copy that runs out of space leaves nothing behind either.
        QCOMPARE(FileTransfer::copy(s.path("tree"), mnt.path() + "/copy"), ENOSPC);
        QVERIFY(!exists(mnt.path() + "/copy"));
    }

    void moveIntoItselfIsRefused() {
        test::FixtureTree files;
        files.writeFile("box/inner/x", 3);
        QCOMPARE(FileTransfer::move(files.fullPath("box"), files.fullPath("box/inner/box")),
                 EINVAL);
        QCOMPARE(FileTransfer::copy(files.fullPath("box"), files.fullPath("box/inner/box")),
                 EINVAL);
        QVERIFY(exists(files.fullPath("box/inner/x")));
        QVERIFY(!exists(files.fullPath("box/inner/box")));
    }

    void copyKeepsLinksModesAndTimesAndChangesNoState() {
        Scanned s;
        s.files.writeFile("photos/2020/a.jpg", 50000, 'j');
        s.files.symlink("2020", "photos/latest");
        s.files.chmod("photos/2020/a.jpg", 0604);
        const timespec when[2] = {{1'500'000'000, 0}, {1'500'000'000, 0}};
        QCOMPARE(::utimensat(AT_FDCWD, s.path("photos/2020").c_str(), when, 0), 0);
        s.files.writeFile("backup/notes.txt", 1, 'n');
        s.files.writeFile("notes.txt", 7, 'x');
        s.scan();
        s.cleanup.add(s.node("photos"));
        const auto revision = s.chart.treeRevision();
        const auto rootAllocated = s.result.root->allocatedSize();

        const auto outcome = s.ops.copyTo({s.node("photos"), s.node("notes.txt")},
                                          QString::fromStdString(s.path("backup")));
        QCOMPARE(outcome.errors.size(), std::size_t(1));
        QCOMPARE(outcome.errors[0].nodeName, QStringLiteral("notes.txt"));
        QCOMPARE(readAll(s.path("backup/notes.txt")), std::string(1, 'n'));
        QCOMPARE(readAll(s.path("backup/photos/2020/a.jpg")), std::string(50000, 'j'));
        QCOMPARE(readAll(s.path("photos/2020/a.jpg")), std::string(50000, 'j'));
        struct stat st {};
        QCOMPARE(::lstat(s.path("backup/photos/latest").c_str(), &st), 0);
        QVERIFY(S_ISLNK(st.st_mode));
        QCOMPARE(::lstat(s.path("backup/photos/2020/a.jpg").c_str(), &st), 0);
        QCOMPARE(st.st_mode & 07777, mode_t(0604));
        QCOMPARE(::lstat(s.path("backup/photos/2020").c_str(), &st), 0);
        QCOMPARE(st.st_mtim.tv_sec, time_t(1'500'000'000));

        QCOMPARE(s.chart.treeRevision(), revision);
        QCOMPARE(s.result.root->allocatedSize(), rootAllocated);
        QCOMPARE(s.cleanup.count(), std::size_t(1));
    }

    void removeDownloadIsRefusedOrPatchesTheTree() {
        Scanned s;
        s.files.writeFile("docs/cloud.dat", 8192);
        s.scan();
        NodePtr n = s.node("docs/cloud.dat");
        const auto unsupported = s.ops.removeDownload({n}); // no evictor, not a cloud file
        QCOMPARE(unsupported.errors.size(), std::size_t(1));
        QCOMPARE(unsupported.errors[0].message,
                 QStringLiteral("Removing the download isn't supported for this file."));
        QCOMPARE(n->cloudStatus(), CloudStatus::notApplicable);
        QVERIFY(exists(s.path("docs/cloud.dat")));

        n->setCloudStatus(CloudStatus::cloudDownloaded);
        s.cleanup.add(n);
        QCOMPARE(FileOperations::downloadedItems(s.cleanup).size(), std::size_t(1));
        std::vector<std::string> evicted;
        s.ops.setEvictor([&](const std::string& path) -> std::optional<QString> {
            evicted.push_back(path);
            return std::nullopt;
        });
        const auto allocated = n->allocatedSize();
        const auto rootAllocated = s.result.root->allocatedSize();
        const auto outcome = s.ops.removeDownload(FileOperations::downloadedItems(s.cleanup));
        QVERIFY(outcome.errors.empty());
        QCOMPARE(evicted, std::vector<std::string>{s.path("docs/cloud.dat")});
        QCOMPARE(outcome.reclaimedBytes, allocated);
        QCOMPARE(n->cloudStatus(), CloudStatus::cloudPlaceholder);
        QCOMPARE(n->allocatedSize(), std::int64_t(0));
        QCOMPARE(s.result.root->allocatedSize(), rootAllocated - allocated);
        QVERIFY(s.node("docs/cloud.dat") != nullptr);
        QVERIFY(s.cleanup.isEmpty());
        QVERIFY(FileOperations::trashableItems(s.cleanup).empty());
    }
};

int main(int argc, char** argv) {
    // Private mounts must be set up while the process has a single thread.
    if (::geteuid() == 0 && ::unshare(CLONE_NEWNS) == 0)
        g_privateMounts = ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    QCoreApplication app(argc, argv);
    FileOperationsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "FileOperationsTest.moc"
