// "Show in File Manager" against a stand-in org.freedesktop.FileManager1 service, and
// the fallback to opening the parent folder without one. The test always runs itself
// again under dbus-run-session (package dbus-bin), so it has a private session bus of
// its own, away from a desktop's real file manager, wherever it runs.
#include "app/operations/FileManagerReveal.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QSignalSpy>
#include <QTest>

#include <cstdlib>
#include <unistd.h>
#include <vector>

using namespace ringfold;

namespace {

// What a file manager does with ShowItems, reduced to remembering the call.
class StandInFileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QStringList lastUris;

public slots:
    void ShowItems(const QStringList& uris, const QString& /*startupId*/) { lastUris = uris; }
};

} // namespace

class FileManagerRevealTest : public QObject {
    Q_OBJECT

    std::vector<QString> m_opened;
    FileManagerReveal reveal() {
        m_opened.clear();
        return FileManagerReveal(QDBusConnection::sessionBus(), [this](const QString& folder) {
            m_opened.push_back(folder);
            return true;
        });
    }

private slots:
    void initTestCase() {
        QVERIFY2(QDBusConnection::sessionBus().isConnected(),
                 "no private session bus: is dbus-run-session (package dbus-bin) installed?");
    }

    void showsTheItemThroughTheService() {
        // The stand-in owns the name on a connection of its own, as a file manager would.
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "standin");
        StandInFileManager standIn;
        const QString path = FileManagerReveal::kPath, service = FileManagerReveal::kService;
        QVERIFY(bus.registerObject(path, &standIn, QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(service));
        auto r = reveal();
        QVERIFY(r.serviceAvailable());
        QVERIFY(r.reveal(QStringLiteral("/home/ann/My Files/100% done.txt")));
        QTRY_COMPARE(standIn.lastUris,
                     QStringList{QStringLiteral("file:///home/ann/My%20Files/100%25%20done.txt")});
        QVERIFY(m_opened.empty());
        QDBusConnection::disconnectFromBus("standin"); // gives the name up
    }

    void opensTheParentFolderWithoutAService() {
        auto r = reveal();
        QTRY_VERIFY(!r.serviceAvailable()); // the previous owner may still be leaving
        QSignalSpy fellBack(&r, &FileManagerReveal::fellBackToFolder);
        QVERIFY(r.reveal(QStringLiteral("/home/ann/Documents/report.pdf")));
        QCOMPARE(m_opened, std::vector<QString>{QStringLiteral("/home/ann/Documents")});
        QCOMPARE(fellBack.count(), 1);
        FileManagerReveal failing(QDBusConnection::sessionBus(),
                                  [](const QString&) { return false; });
        QVERIFY(!failing.reveal(QStringLiteral("/x/y"))); // an opener that cannot start
    }
};

int main(int argc, char** argv) {
    constexpr const char* kMarker = "RINGFOLD_REVEAL_TEST_BUS";
    if (!std::getenv(kMarker)) {
        ::setenv(kMarker, "1", 1);
        std::vector<char*> args = {const_cast<char*>("dbus-run-session"), const_cast<char*>("--")};
        args.insert(args.end(), argv, argv + argc);
        args.push_back(nullptr);
        ::execvp("dbus-run-session", args.data());
        // No dbus-run-session: never fall back to a desktop's bus; initTestCase fails.
        ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
    QCoreApplication app(argc, argv);
    FileManagerRevealTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "FileManagerRevealTest.moc"
