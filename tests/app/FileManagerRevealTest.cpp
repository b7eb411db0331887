// "Show in File Manager" against a stand-in org.freedesktop.FileManager1 service on a
// private session bus, and the fallback to opening the parent folder without one.
//
// Without a session bus the test runs itself again under dbus-run-session, which
// starts a private bus for the run; without dbus-run-session it skips.
#include "app/operations/FileManagerReveal.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QSignalSpy>
#include <QTest>

#include <cstdlib>
#include <unistd.h>
#include <vector>

using namespace ringfold;

namespace {

const char* kReexecMarker = "RINGFOLD_REVEAL_TEST_BUS";

// What a file manager does with ShowItems, reduced to remembering the call.
class StandInFileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QStringList lastUris;
    QString lastStartupId;
    int calls = 0;

public slots:
    void ShowItems(const QStringList& uris, const QString& startupId) {
        lastUris = uris;
        lastStartupId = startupId;
        ++calls;
    }
};

} // namespace

class FileManagerRevealTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void showsTheItemThroughTheService();
    void opensTheParentFolderWithoutAService();

private:
    std::vector<QString> m_opened;
    FileManagerReveal::FolderOpener recordingOpener() {
        return [this](const QString& folder) {
            m_opened.push_back(folder);
            return true;
        };
    }
};

void FileManagerRevealTest::initTestCase() {
    if (!QDBusConnection::sessionBus().isConnected())
        QSKIP("no session bus (and dbus-run-session could not provide one)");
}

void FileManagerRevealTest::showsTheItemThroughTheService() {
    // The stand-in owns the name on a connection of its own, as a separate file
    // manager process would.
    QDBusConnection standInBus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("standin"));
    StandInFileManager standIn;
    QVERIFY(standInBus.registerObject(QString::fromLatin1(FileManagerReveal::kPath), &standIn,
                                      QDBusConnection::ExportAllSlots));
    QVERIFY(standInBus.registerService(QString::fromLatin1(FileManagerReveal::kService)));

    m_opened.clear();
    FileManagerReveal reveal(QDBusConnection::sessionBus(), recordingOpener());
    QVERIFY(reveal.serviceAvailable());
    QVERIFY(reveal.reveal(QStringLiteral("/home/ann/My Files/100% done.txt")));
    QTRY_COMPARE(standIn.calls, 1);
    QCOMPARE(standIn.lastUris,
             QStringList{QStringLiteral("file:///home/ann/My%20Files/100%25%20done.txt")});
    QCOMPARE(standIn.lastStartupId, QString());
    QVERIFY(m_opened.empty());

    standInBus.unregisterService(QString::fromLatin1(FileManagerReveal::kService));
    standInBus.unregisterObject(QString::fromLatin1(FileManagerReveal::kPath));
    QDBusConnection::disconnectFromBus(QStringLiteral("standin"));
}

void FileManagerRevealTest::opensTheParentFolderWithoutAService() {
    m_opened.clear();
    FileManagerReveal reveal(QDBusConnection::sessionBus(), recordingOpener());
    QTRY_VERIFY(!reveal.serviceAvailable()); // the previous owner may still be leaving
    QSignalSpy fellBack(&reveal, &FileManagerReveal::fellBackToFolder);
    QVERIFY(reveal.reveal(QStringLiteral("/home/ann/Documents/report.pdf")));
    QCOMPARE(m_opened, std::vector<QString>{QStringLiteral("/home/ann/Documents")});
    QCOMPARE(fellBack.count(), 1);

    // An opener that cannot start reports the failure.
    FileManagerReveal failing(QDBusConnection::sessionBus(), [](const QString&) { return false; });
    QVERIFY(!failing.reveal(QStringLiteral("/x/y")));
}

int main(int argc, char** argv) {
    // A private bus keeps the stand-in away from a real desktop session's file manager.
    if (!std::getenv(kReexecMarker)) {
        ::setenv(kReexecMarker, "1", 1);
        std::vector<char*> args = {const_cast<char*>("dbus-run-session"), const_cast<char*>("--")};
        for (int i = 0; i < argc; ++i)
            args.push_back(argv[i]);
        args.push_back(nullptr);
        ::execvp("dbus-run-session", args.data());
        // No dbus-run-session: carry on; initTestCase skips without a bus.
        ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
    QCoreApplication app(argc, argv);
    FileManagerRevealTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "FileManagerRevealTest.moc"
