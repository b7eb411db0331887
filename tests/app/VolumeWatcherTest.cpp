// Real mounts seen by the watcher, in a private mount namespace entered before Qt
// starts (unshare needs a single-threaded process) so nothing leaks to the host.

#include "app/platform/VolumeWatcher.h"
#include "app/viewmodels/SidebarViewModel.h"

#include "support/FixtureTree.h"
#include "support/Privileges.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace ringfold;
using ringfold::test::FixtureTree;

namespace {

bool g_namespaceReady = false;

bool mountTmpfs(const std::string& dir, const char* source = "ringfold-test") {
    return ::mount(source, dir.c_str(), "tmpfs", 0, "size=1m") == 0;
}

} // namespace

class VolumeWatcherTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        if (!g_namespaceReady)
            SKIP_OR_FAIL_QTEST("mounting in a private mount namespace needs root");
    }

    void everyMountAndUnmountCallsOnceOnTheMainThread() {
        FixtureTree fs;
        for (const char* folder : {"a", "b", "src", "Shelf"})
            fs.makeFolder(folder);
        const std::string a = fs.fullPath("a"), b = fs.fullPath("b"), shelf = fs.fullPath("Shelf");
        int calls = 0;
        bool offMainThread = false;
        VolumeWatcher watcher([&] {
            ++calls;
            offMainThread |= QThread::currentThread() != qApp->thread();
        });
        QTest::qWait(200); // a quiet table gives no calls
        QVERIFY(mountTmpfs(a));
        QCOMPARE(calls, 0); // delivered from the event loop, never inside mount()
        QTRY_COMPARE(calls, 1);
        QVERIFY(::umount(a.c_str()) == 0);
        QTRY_COMPARE(calls, 2);
        // Two changes in quick succession are two calls, not one.
        QVERIFY(mountTmpfs(a) && mountTmpfs(b));
        QTRY_COMPARE(calls, 4);
        QVERIFY(::umount(a.c_str()) == 0 && ::umount(b.c_str()) == 0);
        QTRY_COMPARE(calls, 6);
        // The kernel hands a freed mount id to the next mount: an unmount and a mount
        // between two reads of the table are still two changes.
        QVERIFY(mountTmpfs(a, "first"));
        QTRY_COMPARE(calls, 7);
        QVERIFY(::umount(a.c_str()) == 0 && mountTmpfs(b, "second"));
        QTRY_COMPARE(calls, 9);
        QVERIFY(::umount(b.c_str()) == 0);
        QTest::qWait(200);
        QCOMPARE(calls, 10);
        QVERIFY(!offMainThread);

        // The sources model lists a bind mount of a folder of the disk (never a tmpfs).
        SidebarViewModel model(
            std::make_unique<FavoritesStore>(QString::fromStdString(fs.fullPath("fav.json"))));
        auto last = [&] { return model.volumes().empty() ? ScanSource() : model.volumes().back(); };
        QVERIFY(::mount(fs.fullPath("src").c_str(), shelf.c_str(), nullptr, MS_BIND, nullptr) == 0);
        QTRY_COMPARE(last().url, shelf);
        QCOMPARE(last().displayName, std::string("Shelf"));
        QTRY_VERIFY(last().volumeTotalCapacity > 0); // read off the main thread
        QVERIFY(::umount(shelf.c_str()) == 0);
        QTRY_VERIFY(last().url != shelf);
    }
};

int main(int argc, char** argv) {
    g_namespaceReady = ::geteuid() == 0 && ::unshare(CLONE_NEWNS) == 0 &&
                       ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    QCoreApplication app(argc, argv);
    VolumeWatcherTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "VolumeWatcherTest.moc"
