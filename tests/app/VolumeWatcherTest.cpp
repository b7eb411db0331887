// Real mounts seen by the watcher. The test process moves itself into a private mount
// namespace before Qt starts (unshare needs a single-threaded process), so its mounts
// never leak to the host. Without root the cases are skipped (failed where root
// tests are required).

#include "app/platform/VolumeWatcher.h"
#include "app/viewmodels/SidebarViewModel.h"

#include "support/FixtureTree.h"
#include "support/Privileges.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QThread>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

using namespace ringfold;
using ringfold::test::FixtureTree;

namespace {

QString g_namespaceProblem; // empty when the private namespace is ready

void enterPrivateMountNamespace() {
    if (::geteuid() != 0)
        g_namespaceProblem = QStringLiteral("mounting needs root");
    else if (::unshare(CLONE_NEWNS) != 0 ||
             ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        g_namespaceProblem = QStringLiteral("no private mount namespace: %1")
                                 .arg(QString::fromLocal8Bit(std::strerror(errno)));
}

bool mountTmpfs(const std::string& dir, const char* source = "ringfold-test") {
    return ::mount(source, dir.c_str(), "tmpfs", 0, "size=1m") == 0;
}

bool bindMount(const std::string& from, const std::string& to) {
    return ::mount(from.c_str(), to.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

bool unmount(const std::string& dir) {
    return ::umount(dir.c_str()) == 0;
}

// Lets the event loop run for a while so that stray extra calls would show up.
void settle(int ms) {
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

} // namespace

class VolumeWatcherTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        if (!g_namespaceProblem.isEmpty())
            SKIP_OR_FAIL_QTEST(QStringLiteral("real mounts: ") + g_namespaceProblem);
    }

    void everyMountAndUnmountCallsOnceOnTheMainThread() {
        FixtureTree fs;
        fs.makeFolder("a");
        fs.makeFolder("b");
        const std::string a = fs.fullPath("a"), b = fs.fullPath("b");
        int calls = 0;
        bool offMainThread = false;
        VolumeWatcher watcher([&] {
            ++calls;
            offMainThread |= QThread::currentThread() != qApp->thread();
        });
        QVERIFY(watcher.isWatching());
        settle(200); // a quiet table gives no calls
        QCOMPARE(calls, 0);
        QVERIFY(mountTmpfs(a));
        QCOMPARE(calls, 0); // delivered from the event loop, never inside mount()
        QTRY_COMPARE(calls, 1);
        QVERIFY(unmount(a));
        QTRY_COMPARE(calls, 2);

        // Two changes in quick succession are two calls, not one.
        QVERIFY(mountTmpfs(a) && mountTmpfs(b));
        QTRY_COMPARE(calls, 4);
        QVERIFY(unmount(a) && unmount(b));
        QTRY_COMPARE(calls, 6);

        // The kernel hands a freed mount id to the next mount: an unmount and a mount
        // between two reads of the table are still two changes.
        QVERIFY(mountTmpfs(a, "first"));
        QTRY_COMPARE(calls, 7);
        QVERIFY(unmount(a) && mountTmpfs(b, "second"));
        QTRY_COMPARE(calls, 9);
        QVERIFY(unmount(b));
        QTRY_COMPARE(calls, 10);
        settle(200);
        QCOMPARE(calls, 10);
        QVERIFY(!offMainThread);
    }

    void sidebarFollowsABindMountOfARealFileSystem() {
        // tmpfs is a pseudo file system and never listed; a bind mount of a folder of
        // the disk is, under its mount point's name.
        FixtureTree fs;
        fs.makeFolder("src");
        fs.makeFolder("Shelf");
        const std::string point = fs.fullPath("Shelf");
        SidebarViewModel model(
            std::make_unique<FavoritesStore>(QString::fromStdString(fs.fullPath("fav.json"))));
        auto listed = [&]() -> const ScanSource* {
            for (const ScanSource& v : model.volumes())
                if (v.url == point)
                    return &v;
            return nullptr;
        };
        QVERIFY(!listed());
        QVERIFY(bindMount(fs.fullPath("src"), point));
        QTRY_VERIFY(listed() != nullptr);
        QCOMPARE(listed()->displayName, std::string("Shelf"));
        QVERIFY(listed()->kind != ScanSourceKind::networkVolume);
        QTRY_VERIFY(listed()->volumeTotalCapacity > 0); // read off the main thread
        const Uuid id = listed()->id;
        model.recordScan(id, 1700000000, 4096, true);

        QVERIFY(unmount(point));
        QTRY_VERIFY(listed() == nullptr);
        QVERIFY(bindMount(fs.fullPath("src"), point));
        QTRY_VERIFY(listed() != nullptr);
        QVERIFY(listed()->id == id);
        QCOMPARE(listed()->lastScanAllocatedSize, std::optional<std::int64_t>(4096));
        QVERIFY(!listed()->lastScanWasRestricted);
        QVERIFY(unmount(point));
        QTRY_VERIFY(listed() == nullptr);
    }
};

int main(int argc, char** argv) {
    enterPrivateMountNamespace();
    QCoreApplication app(argc, argv);
    VolumeWatcherTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "VolumeWatcherTest.moc"
