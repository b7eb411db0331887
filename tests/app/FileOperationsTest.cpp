// Trash, move and copy on real files; the tree, map and cleanup list follow successes
// only. A second file system is a tmpfs in a private mount namespace, entered at start-up
// while the process has one thread: root only (see SKIP_OR_FAIL_QTEST).
#include "app/operations/CopyManifest.h"
#include "app/operations/CopyVerification.h"
#include "app/operations/FileOperations.h"
#include "app/operations/FileTransfer.h"
#include "app/operations/FolderWalk.h"
#include "app/operations/RemovabilityCheck.h"
#include "app/operations/SourceRemoval.h"
#include "app/operations/Trash.h"
#include "app/operations/TreeCopy.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "core/junk/JunkClassifier.h"
#include "core/scan/ScanEngine.h"
#include "support/ChildProcess.h"
#include "support/FixtureTree.h"
#include "support/Privileges.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>

#include <atomic>
#include <thread>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <grp.h>
#include <linux/fs.h>
#include <map>
#include <sched.h>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

using namespace ringfold;
namespace fs = std::filesystem;

namespace {

bool g_privateMounts = false;

std::string readAll(const std::string& path) {
    std::ostringstream s;
    s << std::ifstream(path, std::ios::binary).rdbuf();
    return s.str();
}

// A tmpfs of `size` in this process's private mount namespace; empty path when none.
struct ScratchMount {
    std::string path;
    explicit ScratchMount(const std::string& size) {
        char templ[] = "/tmp/ringfold-mnt-XXXXXX";
        if (g_privateMounts && ::mkdtemp(templ))
            path = templ;
        if (!path.empty() && ::mount("rf", templ, "tmpfs", 0, ("size=" + size).c_str()) != 0)
            ::rmdir(std::exchange(path, "").c_str());
    }
    ~ScratchMount() {
        if (!path.empty() && ::umount2(path.c_str(), MNT_DETACH) == 0)
            ::rmdir(path.c_str());
    }
};

// Real files on disk, the tree a scan built from them, shown in a map with an empty
// cleanup list.
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
        result = *ScanEngine(ScanSourceKind::favoriteFolder, 2, o).scan(files.root());
        chart.setRoot(result.root, result.accounting, false);
    }
    NodePtr node(const std::string& rel) {
        FileNode* n = JunkClassifier::findNode(*result.root, files.fullPath(rel));
        return n ? n->shared() : nullptr;
    }
    std::string path(const std::string& rel) const { return files.fullPath(rel); }
    // Operations run on a worker and report on the event loop: waits for the outcome.
    FileOperations::Outcome wait(bool started) {
        std::optional<FileOperations::Outcome> out;
        const auto c = QObject::connect(&ops, &FileOperations::finished,
                                        [&](auto, const FileOperations::Outcome& o) { out = o; });
        if (started)
            (void)QTest::qWaitFor([&] { return out.has_value(); }, 120'000);
        QObject::disconnect(c);
        return out.value_or(FileOperations::Outcome{});
    }
    // Into the home trash "data/share/Trash" of this fixture, made on first use.
    FileOperations::Outcome trash(const std::vector<NodePtr>& items) {
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(path("data/share")));
        auto outcome = wait(ops.moveToTrash(items));
        qunsetenv("XDG_DATA_HOME");
        return outcome;
    }
};

// Runs `fn` in a child as uid and gid 65534 and returns its answer.
std::string asNobody(const std::function<std::string()>& fn) {
    int pipeFds[2];
    if (::pipe(pipeFds) != 0)
        return "no pipe";
    const pid_t child = ::fork();
    if (child == 0) {
        const bool dropped =
            ::setgroups(0, nullptr) == 0 && ::setgid(65534) == 0 && ::setuid(65534) == 0;
        const std::string answer = dropped ? fn() : "still privileged";
        ::_exit(::write(pipeFds[1], answer.data(), answer.size()) < 0);
    }
    ::close(pipeFds[1]);
    std::string answer(4096, '\0');
    const ssize_t n = ::read(pipeFds[0], answer.data(), answer.size());
    ::close(pipeFds[0]);
    ::waitpid(child, nullptr, 0);
    return answer.substr(0, std::size_t(std::max<ssize_t>(n, 0)));
}

// A POSIX ACL in the kernel's attribute form (little-endian): owner rw, user 65534 r,
// group r, mask r, others nothing.
const std::string kAcl("\2\0\0\0"
                       "\1\0\6\0\xff\xff\xff\xff"
                       "\2\0\4\0\xfe\xff\0\0"
                       "\4\0\4\0\xff\xff\xff\xff"
                       "\x10\0\4\0\xff\xff\xff\xff"
                       "\x20\0\0\0\xff\xff\xff\xff",
                       44);

std::string xattrOf(const std::string& path, const std::string& name) {
    char value[256];
    const ssize_t n = ::lgetxattr(path.c_str(), name.c_str(), value, sizeof value);
    return n < 0 ? "(none)" : std::string(value, std::size_t(n));
}

// What the .trashinfo files of `trash` record: the percent-decoded Path of each complete
// one, mapped to the item's name in files/ ("(missing)" when nothing is there).
std::map<std::string, std::string> trashRecords(const std::string& trash) {
    std::map<std::string, std::string> out;
    for (const auto& entry : fs::directory_iterator(trash + "/info")) {
        const std::string info = readAll(entry.path()), key = "[Trash Info]\nPath=";
        std::string path = "(incomplete)";
        if (info.starts_with(key) && info.find("\nDeletionDate=") != std::string::npos) {
            path.clear();
            for (auto i = key.size(); info[i] != '\n'; ++i) {
                path +=
                    info[i] == '%' ? char(std::stoi(info.substr(i + 1, 2), nullptr, 16)) : info[i];
                i += info[i] == '%' ? 2 : 0;
            }
        }
        const std::string name = trash + "/files/" + entry.path().stem().string();
        out[path] =
            fs::is_symlink(name) || fs::exists(name) ? entry.path().stem().string() : "(missing)";
    }
    return out;
}

} // namespace

class FileOperationsTest : public QObject {
    Q_OBJECT

private slots:
    // Each success patches the tree, the map and the list; a failure stops nothing.
    void trashLandsInTheHomeTrashAndPatchesTreeMapListAndFocus() {
        Scanned s;
        const std::string name = "report 100% \xC3\xBC.txt";
        s.files.writeFile("docs/" + name, 20000, 'r');
        s.files.writeFile("outer/inner/deep/file.txt", 10);
        s.files.writeFile("vanished.bin", 10);
        s.scan();
        NodePtr report = s.node("docs/" + name), docs = s.node("docs");
        s.chart.focus(s.node("outer/inner/deep"));
        const auto historyBefore = s.chart.history().size();
        for (const char* rel : {"vanished.bin", "outer/inner", "outer/inner/deep"})
            s.cleanup.add(s.node(rel));
        s.cleanup.add(report);
        s.files.remove("vanished.bin"); // gone since the scan
        const auto reportAllocated = report->allocatedSize(), docsAllocated = docs->allocatedSize();
        const auto rootAllocated = s.result.root->allocatedSize();
        const auto innerAllocated = s.node("outer/inner")->allocatedSize();
        const auto revision = s.chart.treeRevision();

        const auto outcome = s.trash(s.cleanup.items());
        QCOMPARE(outcome.errors.size(), std::size_t(1));
        QCOMPARE(outcome.errors[0].alertLine(),
                 QStringLiteral("vanished.bin: No such file or directory"));
        QVERIFY(outcome.succeeded == 2 && outcome.treeChanged); // deep went with its folder
        QCOMPARE(readAll(s.path("data/share/Trash/files/" + name)), std::string(20000, 'r'));
        QVERIFY(fs::exists(s.path("data/share/Trash/files/inner/deep/file.txt")));
        const std::string info = readAll(s.path("data/share/Trash/info/" + name + ".trashinfo"));
        // Escaped like a URL, so that a restore brings back the exact name.
        QVERIFY2(info.starts_with("[Trash Info]\nPath=" + s.files.root() +
                                  "/docs/report%20100%25%20%C3%BC.txt\nDeletionDate="),
                 info.c_str());
        QVERIFY(report->parent() == nullptr);
        QCOMPARE(s.result.root->allocatedSize(), rootAllocated - reportAllocated - innerAllocated);
        QCOMPARE(docs->allocatedSize(), docsAllocated - reportAllocated);
        QCOMPARE(s.chart.spaceAccounting()->enumeratedAllocatedSize,
                 s.result.root->allocatedSize());
        QCOMPARE(s.chart.treeRevision(), revision + 2);
        QCOMPARE(s.cleanup.items(), std::vector<NodePtr>{s.node("vanished.bin")}); // it stays
        QCOMPARE(s.chart.focusedNode(), s.node("outer"));
        QCOMPARE(s.chart.history().size(), historyBefore); // a fix-up, not a navigation
    }

    // Names no text conversion survives: each item is recorded byte for byte before it
    // moves, and the look-alike valid-UTF-8 neighbour of an invalid name stays put.
    void trashRecordsEveryNameExactly() {
        Scanned s;
        const std::string invalid = "odd/a\xff.txt", lookalike = "odd/a\xEF\xBF\xBD.txt",
                          newline = "odd/a\nb", longName = "odd/" + std::string(250, 'n');
        s.files.writeFiles({{invalid, 5}, {lookalike, 7}, {newline, 3}, {longName, 1}});
        s.files.symlink("/nonexistent/target", "odd/dangling");
        s.scan();
        const auto outcome =
            s.trash({s.node(invalid), s.node(newline), s.node(longName), s.node("odd/dangling")});
        QVERIFY(outcome.errors.empty());
        QCOMPARE(readAll(s.path(lookalike)), std::string(7, 'x'));
        QVERIFY(s.node(lookalike) && !s.node(invalid) && !fs::exists(s.path(invalid)));
        struct stat st {};
        for (const char* rel : {"data", "data/share", "data/share/Trash/info"})
            QVERIFY(::stat(s.path(rel).c_str(), &st) == 0 && (st.st_mode & 07777) == 0700);
        // Each decoded Path is the item's own path, byte for byte, and the item is in
        // files/ under the name of its record (a long one cut so the record's name fits).
        // This check stands for a restore of the invalid name: trash-cli decodes Path as
        // UTF-8 and brings it back as the look-alike.
        const std::string trash = s.path("data/share/Trash");
        QCOMPARE(trashRecords(trash),
                 (std::map<std::string, std::string>{{s.path(invalid), "a\xff.txt"},
                                                     {s.path(newline), "a\nb"},
                                                     {s.path(longName), std::string(245, 'n')},
                                                     {s.path("odd/dangling"), "dangling"}}));
        QCOMPARE(readAll(trash + "/files/a\xff.txt"), std::string(5, 'x'));

        if (test::runCommand({"sh", "-c", "command -v trash-restore"}).exitCode != 0)
            SKIP_OR_FAIL_QTEST("trash-restore (trash-cli) is not installed");
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(s.path("data/share")));
        std::string failures;
        for (const std::string& rel : {newline, longName})
            failures +=
                test::runCommand({"sh", "-c", "echo 0 | trash-restore \"$1\"", "sh", s.path(rel)})
                    .err;
        qunsetenv("XDG_DATA_HOME");
        QVERIFY2(fs::exists(s.path(longName)), failures.c_str());
        QCOMPARE(readAll(s.path(newline)), std::string(3, 'x'));
    }

    // The trash on another file system: only folders that are this user's alone, and
    // a failed record leaves the item where it was with nothing half-written.
    void trashRefusesUnsafeFoldersAndFailsWithoutLosingTheItem() {
        ScratchMount mnt("1m");
        if (mnt.path.empty())
            SKIP_OR_FAIL_QTEST("needs root to mount a tmpfs in a private mount namespace");
        test::FixtureTree home;
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(home.fullPath("share")));
        const std::string item = mnt.path + "/item", mine = mnt.path + "/.Trash-0";
        const auto trashItem = [&] {
            std::ofstream(item) << "keep";
            return Trash::moveToTrash(item).value_or(QString());
        };
        const std::vector<std::function<void()>> unsafe = {
            [&] { QCOMPARE(::mkdir(mine.c_str(), 0777) + ::chmod(mine.c_str(), 0777), 0); },
            [&] { QCOMPARE(::mkdir(mine.c_str(), 0700) + ::chown(mine.c_str(), 65534, 0), 0); },
            [&] { QCOMPARE(::symlink(home.root().c_str(), mine.c_str()), 0); },
        };
        // Not sticky, so not a shared trash: .Trash-0 is the only candidate.
        QCOMPARE(::mkdir((mnt.path + "/.Trash").c_str(), 0777), 0);
        for (const auto& makeUnsafe : unsafe) {
            makeUnsafe();
            QVERIFY(trashItem().startsWith(QStringLiteral("This disk has no trash folder")));
            QCOMPARE(readAll(item), std::string("keep"));
            QVERIFY(fs::remove(mine));
        }
        QCOMPARE(trashItem(), QString());
        QCOMPARE(trashRecords(mine), (std::map<std::string, std::string>{{"item", "item"}}));
        QCOMPARE(::chmod((mnt.path + "/.Trash").c_str(), 01777), 0);
        QCOMPARE(trashItem(), QString());
        QCOMPARE(trashRecords(mnt.path + "/.Trash/0").size(), std::size_t(1));

        std::ofstream(item) << "full";
        std::ofstream(mnt.path + "/fill") << std::string(2 << 20, 'x'); // stops when full
        QVERIFY(Trash::moveToTrash(item).value_or(QString()).endsWith(
            QStringLiteral("No space left on device")));
        QCOMPARE(readAll(item), std::string("full"));
        QCOMPARE(trashRecords(mnt.path + "/.Trash/0").size(), std::size_t(1));
        fs::remove(mnt.path + "/fill");

        // A disk that can't hold a trash folder says why, not that it is unsafe.
        fs::remove_all(mine);
        fs::remove_all(mnt.path + "/.Trash");
        QCOMPARE(::mount(nullptr, mnt.path.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
        QCOMPARE(Trash::moveToTrash(item).value_or(QString()),
                 QStringLiteral("This disk's trash folder can't be made or opened: Read-only "
                                "file system"));
        QCOMPARE(readAll(item), std::string("full"));

        // An ordinary user whose own info folder is read-only.
        home.makeFolder("share/Trash/files");
        home.makeFolder("share/Trash/info");
        home.writeText("mine.txt", "mine");
        QCOMPARE(::lchown(home.root().c_str(), 65534, 65534), 0);
        for (const auto& entry : fs::recursive_directory_iterator(home.root()))
            QCOMPARE(::lchown(entry.path().c_str(), 65534, 65534), 0);
        home.chmod("share/Trash/info", 0500);
        const std::string failure = asNobody([&] {
            return Trash::moveToTrash(home.fullPath("mine.txt")).value_or("").toStdString();
        });
        qunsetenv("XDG_DATA_HOME");
        QVERIFY2(failure.ends_with("Permission denied"), failure.c_str());
        QCOMPARE(readAll(home.fullPath("mine.txt")), std::string("mine"));
    }

    void moveAndCopyPatchTheTreeOrNotButNeverOverwriteNorGoIntoThemselves() {
        Scanned s;
        s.files.writeFile("src/same.txt", 10, 's');
        s.files.writeFile("src/other.txt", 10, 'o');
        s.files.makeFolder("src/samedir");
        s.files.writeFile("dest/same.txt", 5, 'd');
        s.files.makeFolder("dest/samedir");
        s.scan();
        NodePtr other = s.node("src/other.txt");
        s.cleanup.add(other);
        const auto rootLogical = s.result.root->logicalSize();
        const auto revision = s.chart.treeRevision();
        // A copy changes no state (modes, times and links: see the move across file systems).
        QVERIFY(s.wait(s.ops.copyTo({other}, s.path("dest/samedir"))).errors.empty());
        QCOMPARE(readAll(s.path("dest/samedir/other.txt")), std::string(10, 'o'));
        QVERIFY(s.chart.treeRevision() == revision && s.cleanup.count() == 1);
        const auto outcome = s.wait(
            s.ops.moveTo({s.node("src/same.txt"), s.node("src/samedir"), other}, s.path("dest")));
        QCOMPARE(outcome.reclaimedBytes, std::int64_t(0)); // a move frees nothing on this disk
        QCOMPARE(s.result.root->logicalSize(), rootLogical - 10);
        QVERIFY(s.cleanup.isEmpty());
        QCOMPARE(outcome.errors.size(), std::size_t(2));
        QCOMPARE(outcome.errors[0].message, QStringLiteral("File exists"));
        QCOMPARE(outcome.errors[1].nodeName, QStringLiteral("samedir"));
        QCOMPARE(readAll(s.path("dest/other.txt")), std::string(10, 'o'));
        QVERIFY(s.node("src/same.txt") && s.node("src/samedir") && !s.node("src/other.txt"));
        QCOMPARE(FileTransfer::copy(s.path("src/same.txt"), s.path("dest/same.txt")), EEXIST);
        QCOMPARE(readAll(s.path("dest/same.txt")), std::string(5, 'd'));
        for (auto op : {&FileTransfer::move, &FileTransfer::copy})
            QCOMPARE(op(s.path("dest"), s.path("dest/samedir/dest"), nullptr), EINVAL);
        QVERIFY(!fs::exists(s.path("dest/samedir/dest")));
    }

    // One tmpfs of 8 MiB: a tree of every kind of entry moves over intact (with its
    // attributes, ACLs, links and a 64 MiB sparse file that fits only as one), then an
    // item that does not fit fails, leaves no partial copy and keeps its source.
    void moveAcrossFileSystemsKeepsDataIdenticalOrTheSource() {
        ScratchMount mnt("8m");
        if (mnt.path.empty())
            SKIP_OR_FAIL_QTEST("needs root to mount a tmpfs in a private mount namespace");
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
        s.files.sparseFile("tree/sparse.bin", 64 << 20, 4096);
        FolderWalk::Fd sparse(::open(s.path("tree/sparse.bin").c_str(), O_WRONLY | O_CLOEXEC));
        QCOMPARE(::pwrite(sparse.get(), "mid", 3, 40 << 20), ssize_t(3));
        s.files.writeFile("tree/links/a/one", 5000, 'l');
        s.files.hardLink("tree/links/a/one", "tree/links/b/c/two");
        s.files.writeFile("tree/acl/file", 10);
        const std::string &acl = kAcl, user("v\0\xff", 3);
        const std::vector<std::pair<std::string, std::string>> attributes = {
            {"/sub/small.txt", "user.origin"},
            {"/acl", "system.posix_acl_access"},
            {"/acl", "system.posix_acl_default"},
            {"/acl/file", "system.posix_acl_access"}};
        for (const auto& [rel, name] : attributes) {
            const std::string& value = name.starts_with("user.") ? user : acl;
            QCOMPARE(::setxattr(s.path("tree" + rel).c_str(), name.c_str(), value.data(),
                                value.size(), 0),
                     0);
        }
        s.files.writeFile("huge/a.txt", 100, 'a');
        s.files.writeFile("huge/z.bin", 6 * 1024 * 1024, 'z');
        s.scan();

        // The same folder under another path (a bind mount) is still the folder itself.
        const std::string alias = mnt.path + "/alias";
        QVERIFY(::mkdir(alias.c_str(), 0700) == 0 &&
                ::mount(s.path("tree").c_str(), alias.c_str(), nullptr, MS_BIND, nullptr) == 0);
        for (auto op : {&FileTransfer::move, &FileTransfer::copy})
            QCOMPARE(op(s.path("tree"), alias + "/sub/tree", nullptr), EINVAL);
        QVERIFY(::umount2(alias.c_str(), MNT_DETACH) == 0 && ::rmdir(alias.c_str()) == 0);
        QVERIFY(!fs::exists(s.path("tree/sub/tree")));

        auto outcome = s.wait(s.ops.moveTo({s.node("tree"), s.node("huge")}, mnt.path));
        QCOMPARE(outcome.errors.size(), std::size_t(1));
        QCOMPARE(outcome.errors[0].alertLine(), QStringLiteral("huge: No space left on device"));
        const std::string moved = mnt.path + "/tree";
        QVERIFY(!fs::exists(s.path("tree")) && s.node("tree") == nullptr);
        QCOMPARE(readAll(moved + "/big.bin"), std::string(3 * 1024 * 1024 + 17, 'b'));
        QCOMPARE(readAll(moved + "/sub/empty"), std::string());
        QCOMPARE(fs::read_symlink(moved + "/sub/to-big"), "../big.bin");
        QCOMPARE(fs::read_symlink(moved + "/dangling"), "/nonexistent/target");
        struct stat st {};
        const auto statOf = [&](const char* rel) {
            return ::lstat((moved + rel).c_str(), &st) == 0;
        };
        QVERIFY(statOf("/pipe") && S_ISFIFO(st.st_mode));
        QVERIFY(statOf("/sub") && (st.st_mode & 07777) == 0750);
        QVERIFY(statOf("/sub/small.txt") && (st.st_mode & 07777) == 0640);
        QCOMPARE(st.st_mtim.tv_sec, time_t(1'000'000'000));
        QCOMPARE(st.st_mtim.tv_nsec, long(123));
        for (const auto& [rel, name] : attributes)
            QCOMPARE(xattrOf(moved + rel, name), name.starts_with("user.") ? user : acl);
        QVERIFY(statOf("/sparse.bin") && st.st_size == 64 << 20 && st.st_blocks < 2048);
        QVERIFY(statOf("/links/b/c/two") && st.st_nlink == 2);
        const ino_t linked = st.st_ino;
        QVERIFY(statOf("/links/a/one") && st.st_ino == linked);
        QVERIFY(!fs::exists(mnt.path + "/huge")); // the partial copy is gone
        QCOMPARE(readAll(s.path("huge/z.bin")), std::string(6 * 1024 * 1024, 'z'));
        QVERIFY(s.node("huge") != nullptr);
        QCOMPARE(FileTransfer::copy(s.path("huge"), mnt.path + "/copy"), ENOSPC);
        QVERIFY(!fs::exists(mnt.path + "/copy"));
    }

    // Cancel stops before the next item: the one under way finishes, the rest stay.
    void cancelStopsBetweenItems() {
        Scanned s;
        s.files.writeFiles({{"a", 1}, {"b", 2}, {"c", 3}});
        s.files.makeFolder("dest");
        s.scan();
        std::atomic<bool> entered{false}, release{false};
        s.ops.setMover(
            [&](const std::string& from, const std::string& to, FileTransfer::Report* r) {
                entered = true;
                while (!release)
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                return FileTransfer::move(from, to, r);
            });
        QVERIFY(s.ops.moveTo({s.node("a"), s.node("b"), s.node("c")}, s.path("dest")));
        QVERIFY(s.ops.isRunning() && !s.ops.moveTo({s.node("c")}, s.path("dest")));
        QTRY_VERIFY(entered.load());
        s.ops.cancel();
        release = true;
        const auto outcome = s.wait(true);
        QCOMPARE(std::pair(outcome.succeeded, outcome.notStarted), std::pair(1, 2));
        QVERIFY(fs::exists(s.path("dest/a")) && !s.node("a") && s.node("b") && s.node("c"));
    }

    // A file saved into a folder while it is copied to another file system stays in the
    // source; the item's error says where the copy is, and the tree keeps only what is left.
    void moveChangedDuringTheCopyKeepsTheNewFileAndSaysSo() {
        ScratchMount mnt("8m");
        if (mnt.path.empty())
            SKIP_OR_FAIL_QTEST("needs root to mount a tmpfs in a private mount namespace");
        Scanned s;
        s.files.writeFiles({{"proj/a.txt", 1000}, {"proj/sub/b.txt", 2000}});
        s.scan();
        s.cleanup.add(s.node("proj/sub/b.txt"));
        s.chart.setFocusedNode(s.node("proj/sub"));
        const auto projLogical = s.node("proj")->logicalSize();
        bool saved = false;
        s.ops.setMover(
            [&](const std::string& from, const std::string& to, FileTransfer::Report* r) {
                r->onBytes = [&, count = r->onBytes](std::int64_t n) {
                    count(n);
                    if (!std::exchange(saved, true))
                        s.files.writeText("proj/sub/new.txt", "saved meanwhile");
                };
                return FileTransfer::move(from, to, r);
            });
        const auto outcome = s.wait(s.ops.moveTo({s.node("proj")}, mnt.path));
        QVERIFY(saved);
        QCOMPARE(outcome.errors.size(), std::size_t(1));
        QCOMPARE(
            outcome.errors[0].alertLine(),
            QString::fromStdString("proj: copied to " + mnt.path +
                                   "/proj; 1 item could not be "
                                   "removed from the source: added or changed during the move"));
        QCOMPARE(readAll(mnt.path + "/proj/sub/b.txt"), std::string(2000, 'x'));
        QCOMPARE(readAll(s.path("proj/sub/new.txt")), std::string("saved meanwhile"));
        QVERIFY(!fs::exists(s.path("proj/a.txt")) && !fs::exists(s.path("proj/sub/b.txt")));
        QVERIFY(s.node("proj/sub") && !s.node("proj/a.txt") && !s.node("proj/sub/b.txt"));
        QCOMPARE(s.node("proj")->logicalSize(), projLogical - 3000);
        QVERIFY(s.cleanup.isEmpty() && s.chart.focusedNode() == s.node("proj/sub"));
    }

    // A move that stops half-way: the items listed inside it follow what became of them
    // rather than being moved on their own, and a node it took out of the tree is
    // refused later instead of being acted on through its old path.
    void halfMovedItemsAreFollowedAndWhatTheyTookIsRefused() {
        Scanned s;
        s.files.writeFiles({{"proj/a.txt", 10}, {"proj/sub/b.txt", 20}, {"proj/sub/c.txt", 30}});
        s.files.makeFolder("dest");
        s.scan();
        const NodePtr a = s.node("proj/a.txt");
        int moves = 0;
        s.ops.setMover([&](const std::string&, const std::string&, FileTransfer::Report* r) {
            ++moves; // as across file systems when b.txt can't be removed
            fs::remove(s.path("proj/a.txt"));
            fs::remove(s.path("proj/sub/c.txt"));
            r->entriesLeft = 1;
            r->leftBehind = {"proj", "proj/sub", "proj/sub/b.txt"};
            return EPERM;
        });
        auto outcome = s.wait(s.ops.moveTo(
            {s.node("proj"), a, s.node("proj/sub"), s.node("proj/sub/b.txt")}, s.path("dest")));
        QVERIFY(moves == 1 && outcome.treeChanged && outcome.succeeded == 0);
        QCOMPARE(outcome.errors.size(), std::size_t(3)); // a.txt went with proj
        QCOMPARE(outcome.errors[2].alertLine(),
                 QStringLiteral("b.txt: not moved: it stayed in the source with what is left "
                                "of \u201Cproj\u201D"));
        QVERIFY(!s.node("proj/a.txt") && !s.node("proj/sub/c.txt") && s.node("proj/sub/b.txt"));

        s.files.writeText("proj/a.txt", "new"); // another file under the old name
        outcome = s.wait(s.ops.moveTo({a}, s.path("dest")));
        QVERIFY(moves == 1 && !outcome.treeChanged && outcome.errors.size() == 1);
        QVERIFY(outcome.errors[0].message.startsWith("It is no longer in the scan on show"));
        QCOMPARE(readAll(s.path("proj/a.txt")), std::string("new"));
    }

    // What changes between the copy of a move and the source's removal stays in the
    // source: a file that grew, one rewritten at the same size with its time set back
    // (as within one tick of a coarse clock), new files. Both names of a file go.
    void moveRemovesOnlyWhatItCopiedUnchanged() {
        test::FixtureTree f;
        f.writeFiles({{"src/same.txt", 10}, {"src/grown.txt", 10}, {"src/sub/same.txt", 10}});
        f.writeFile("src/rewritten.txt", 10);
        f.hardLink("src/same.txt", "src/sub/link");
        FolderWalk::Fd root(::open(f.root().c_str(), O_DIRECTORY | O_CLOEXEC));
        CopyManifest copied;
        bool created = false;
        std::int64_t bytes = 0;
        QCOMPARE(TreeCopy::copyEntry(root.get(), "src", root.get(), "dst", created, &copied,
                                        [&](std::int64_t written) { bytes += written; }),
                 0);
        QCOMPARE(bytes, std::int64_t(40));
        std::ofstream(f.fullPath("src/grown.txt"), std::ios::app) << "more";
        struct stat before {};
        QCOMPARE(::stat(f.fullPath("src/rewritten.txt").c_str(), &before), 0);
        f.writeFile("src/rewritten.txt", 10, 'n');
        const timespec times[2] = {before.st_atim, before.st_mtim};
        QCOMPARE(::utimensat(root.get(), "src/rewritten.txt", times, 0), 0);
        f.writeFiles({{"src/sub/new.txt", 1}, {"src/newdir/new.txt", 1}});
        int firstError = 0;
        QCOMPARE(SourceRemoval::removeCopied(root.get(), "src", copied, firstError), 4);
        QCOMPARE(firstError, ENOTEMPTY);
        std::vector<std::string> left;
        for (const auto& entry : fs::recursive_directory_iterator(f.fullPath("src")))
            left.push_back(fs::relative(entry.path(), f.root()).string());
        std::sort(left.begin(), left.end());
        QCOMPARE(left,
                 (std::vector<std::string>{"src/grown.txt", "src/newdir", "src/newdir/new.txt",
                                           "src/rewritten.txt", "src/sub", "src/sub/new.txt"}));
    }

    // What the removal would stop at refuses the move before anything is copied, and the
    // check names it. A sticky folder binds ordinary users only, so that case runs as one.
    void moveAcrossFileSystemsIsRefusedUpFrontByWhatCannotBeRemoved() {
        ScratchMount mnt("1m");
        if (mnt.path.empty())
            SKIP_OR_FAIL_QTEST("needs root to mount a tmpfs in a private mount namespace");
        test::FixtureTree f;
        f.writeFiles({{"imm/sub/locked.txt", 1}, {"bound/in/target.txt", 1}, {"other.txt", 2}});
        f.writeFile("shared/drop/theirs.txt", 1);
        f.chmod("shared/drop", 01777);
        QVERIFY(::chown(f.root().c_str(), 65534, 0) == 0 &&
                ::chown(f.fullPath("shared").c_str(), 65534, 0) == 0);
        FolderWalk::Fd locked(::open(f.fullPath("imm/sub/locked.txt").c_str(), O_RDONLY));
        int flags = 0;
        QCOMPARE(::ioctl(locked.get(), FS_IOC_GETFLAGS, &flags), 0);
        flags |= FS_IMMUTABLE_FL;
        QCOMPARE(::ioctl(locked.get(), FS_IOC_SETFLAGS, &flags), 0);
        const std::shared_ptr<void> undo(nullptr, [&](void*) {
            flags &= ~FS_IMMUTABLE_FL;
            ::ioctl(locked.get(), FS_IOC_SETFLAGS, &flags);
            ::umount2(f.fullPath("bound/in/target.txt").c_str(), MNT_DETACH);
        });
        QVERIFY(::mount(f.fullPath("other.txt").c_str(), f.fullPath("bound/in/target.txt").c_str(),
                        nullptr, MS_BIND, nullptr) == 0);
        struct Case {
            std::string item, blocker;
            int error;
            bool asNobody;
        };
        for (const Case& c : {Case{"imm", "imm/sub/locked.txt", EPERM, false},
                              Case{"bound", "bound/in/target.txt", EBUSY, false},
                              Case{"shared", "shared/drop/theirs.txt", EPERM, true}}) {
            const auto attempt = [&] {
                FolderWalk::Fd dir(::open(f.root().c_str(), O_DIRECTORY | O_CLOEXEC));
                struct stat st {};
                std::string blocker = "(none)";
                ::fstatat(dir.get(), c.item.c_str(), &st, AT_SYMLINK_NOFOLLOW);
                const int check =
                    RemovabilityCheck::checkRemovable(dir.get(), c.item.c_str(), st.st_dev, &blocker);
                const int move = FileTransfer::move(f.fullPath(c.item), mnt.path + "/" + c.item);
                return std::to_string(check) + " " + std::to_string(move) + " " + blocker;
            };
            const std::string e = std::to_string(c.error);
            QCOMPARE(c.asNobody ? asNobody(attempt) : attempt(), e + " " + e + " " + c.blocker);
            QVERIFY(fs::is_empty(mnt.path) && fs::exists(f.fullPath(c.blocker)));
        }
    }

    // Depth costs no descriptors: 2,000 nested folders under a limit of 256.
    void deepFoldersCopyAndMoveAcrossFileSystemsWithFewDescriptors() {
        ScratchMount mnt("64m");
        if (mnt.path.empty())
            SKIP_OR_FAIL_QTEST("needs root to mount a tmpfs in a private mount namespace");
        test::FixtureTree files;
        files.writeText(files.deepChain("top", 2000) + "/leaf.txt", "bottom");
        rlimit old{};
        ::getrlimit(RLIMIT_NOFILE, &old);
        const rlimit low{256, old.rlim_max};
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &low), 0);
        const int copied = FileTransfer::copy(files.fullPath("top"), mnt.path + "/copy");
        const int moved = FileTransfer::move(files.fullPath("top"), mnt.path + "/moved");
        ::setrlimit(RLIMIT_NOFILE, &old);
        QCOMPARE(copied, 0);
        QCOMPARE(moved, 0);
        QVERIFY(!fs::exists(files.fullPath("top")));
        for (const char* name : {"/copy", "/moved"}) {
            FolderWalk::Fd dir(::open((mnt.path + name).c_str(), O_DIRECTORY | O_CLOEXEC));
            for (int level = 0; level < 2000 && dir; ++level)
                dir.reset(::openat(dir.get(), "d", O_DIRECTORY | O_CLOEXEC));
            FolderWalk::Fd leaf(dir ? ::openat(dir.get(), "leaf.txt", O_RDONLY) : -1);
            char text[16] = {};
            QVERIFY2(leaf && ::read(leaf.get(), text, sizeof text) == 6, name);
            QCOMPARE(std::string(text), std::string("bottom"));
        }
    }

    void removeDownloadIsRefusedOrPatchesTheTree() {
        Scanned s;
        s.files.writeFile("docs/cloud.dat", 8192);
        s.scan();
        NodePtr n = s.node("docs/cloud.dat");
        QCOMPARE(
            s.wait(s.ops.removeDownload({n})).errors.at(0).message, // no evictor, no cloud file
            FileOperations::evictionUnsupportedMessage());

        n->setCloudStatus(CloudStatus::cloudDownloaded);
        s.cleanup.add(n);
        std::vector<std::string> evicted;
        s.ops.setEvictor([&](const std::string& path) -> std::optional<QString> {
            evicted.push_back(path);
            return std::nullopt;
        });
        const auto allocated = n->allocatedSize();
        const auto rootAllocated = s.result.root->allocatedSize();
        const auto outcome =
            s.wait(s.ops.removeDownload(FileOperations::downloadedItems(s.cleanup)));
        QVERIFY(outcome.errors.empty());
        QCOMPARE(evicted, std::vector<std::string>{s.path("docs/cloud.dat")});
        QCOMPARE(outcome.reclaimedBytes, allocated);
        QCOMPARE(n->cloudStatus(), CloudStatus::cloudPlaceholder);
        QCOMPARE(s.result.root->allocatedSize(), rootAllocated - allocated);
        QVERIFY(s.cleanup.isEmpty() && s.node("docs/cloud.dat") != nullptr);
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
