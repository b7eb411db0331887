// Real mounts seen by the watcher. The test process moves itself into a private mount
// namespace before Qt starts (unshare needs a single-threaded process), so its tmpfs
// mounts never leak to the host. Without root the mount cases are skipped.

#include "app/platform/VolumeWatcher.h"
#include "app/viewmodels/SidebarViewModel.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

using namespace ringfold;

namespace {

QString g_namespaceProblem; // empty when the private namespace is ready

void enterPrivateMountNamespace() {
    if (::geteuid() != 0) {
        g_namespaceProblem = QStringLiteral("mounting needs root");
        return;
    }
    if (::unshare(CLONE_NEWNS) != 0 ||
        ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        g_namespaceProblem = QStringLiteral("no private mount namespace: %1")
                                 .arg(QString::fromLocal8Bit(std::strerror(errno)));
}

bool mountTmpfs(const QString& dir) {
    return ::mount("ringfold-test", dir.toLocal8Bit().constData(), "tmpfs", 0, "size=1m") == 0;
}

bool bindMount(const QString& from, const QString& to) {
    return ::mount(from.toLocal8Bit().constData(), to.toLocal8Bit().constData(), nullptr, MS_BIND,
                   nullptr) == 0;
}

bool unmount(const QString& dir) {
    return ::umount(dir.toLocal8Bit().constData()) == 0;
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
            QSKIP(qPrintable(QStringLiteral("skipping real mounts: ") + g_namespaceProblem));
    }

    void everyMountAndUnmountCallsOnceOnTheMainThread() {
        int calls = 0;
        bool offMainThread = false;
        VolumeWatcher watcher([&] {
            ++calls;
            offMainThread |= QThread::currentThread() != qApp->thread();
        });
        QVERIFY(watcher.isWatching());
        settle(300); // a quiet table gives no calls
        QCOMPARE(calls, 0);
        QTemporaryDir dir;
        QVERIFY(mountTmpfs(dir.path()));
        QCOMPARE(calls, 0); // delivered from the event loop, never inside mount()
        QTRY_COMPARE(calls, 1);
        settle(200);
        QCOMPARE(calls, 1);

        QVERIFY(unmount(dir.path()));
        QTRY_COMPARE(calls, 2);

        // Two changes in quick succession are two calls, not one.
        QTemporaryDir other;
        QVERIFY(mountTmpfs(dir.path()));
        QVERIFY(mountTmpfs(other.path()));
        QTRY_COMPARE(calls, 4);
        QVERIFY(unmount(dir.path()));
        QVERIFY(unmount(other.path()));
        QTRY_COMPARE(calls, 6);
        settle(200);
        QCOMPARE(calls, 6);
        QVERIFY(!offMainThread);
    }

    void sidebarFollowsABindMountOfARealFileSystem() {
        // tmpfs is a pseudo file system and never listed; a bind mount of a folder of
        // the disk is, under its mount point's name.
        QTemporaryDir dir;
        QVERIFY(QDir().mkpath(dir.filePath("src")) && QDir().mkpath(dir.filePath("Shelf")));
        SidebarViewModel model(std::make_unique<FavoritesStore>(dir.filePath("fav.json")));
        QSignalSpy volumes(&model, &SidebarViewModel::volumesChanged);
        const std::string point = dir.filePath("Shelf").toStdString();
        auto listed = [&] {
            for (const ScanSource& v : model.volumes())
                if (v.url == point)
                    return &v;
            return static_cast<const ScanSource*>(nullptr);
        };
        QVERIFY(!listed());
        QVERIFY(bindMount(dir.filePath("src"), dir.filePath("Shelf")));
        QTRY_VERIFY(listed() != nullptr);
        QCOMPARE(listed()->displayName, std::string("Shelf"));
        QVERIFY(listed()->kind != ScanSourceKind::networkVolume);
        QVERIFY(listed()->volumeTotalCapacity && *listed()->volumeTotalCapacity > 0);
        const Uuid id = listed()->id;
        model.recordScan(id, 1700000000, 4096, true);

        QVERIFY(unmount(dir.filePath("Shelf")));
        QTRY_VERIFY(listed() == nullptr);
        QVERIFY(bindMount(dir.filePath("src"), dir.filePath("Shelf")));
        QTRY_VERIFY(listed() != nullptr);
        QVERIFY(listed()->id == id);
        QCOMPARE(listed()->lastScanAllocatedSize, std::optional<std::int64_t>(4096));
        QVERIFY(!listed()->lastScanWasRestricted);
        QVERIFY(unmount(dir.filePath("Shelf")));
        QTRY_VERIFY(listed() == nullptr);
        QCOMPARE(volumes.count(), 5); // two mounts, two unmounts, one recorded scan
    }
};

int main(int argc, char** argv) {
    enterPrivateMountNamespace();
    QCoreApplication app(argc, argv);
    VolumeWatcherTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "VolumeWatcherTest.moc"
