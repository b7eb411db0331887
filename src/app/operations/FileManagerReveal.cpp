#include "app/operations/FileManagerReveal.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFileInfo>
#include <QProcess>
#include <QUrl>

namespace ringfold {

FileManagerReveal::FileManagerReveal(QObject* parent)
    : FileManagerReveal(QDBusConnection::sessionBus(), &FileManagerReveal::openWithXdgOpen,
                        parent) {}

FileManagerReveal::FileManagerReveal(QDBusConnection bus, FolderOpener opener, QObject* parent)
    : QObject(parent), m_bus(std::move(bus)), m_opener(std::move(opener)) {}

bool FileManagerReveal::serviceAvailable() const {
    if (!m_bus.isConnected())
        return false;
    const QString service = QString::fromLatin1(kService);
    QDBusConnectionInterface* bus = m_bus.interface();
    if (!bus)
        return false;
    if (bus->isServiceRegistered(service).value())
        return true;
    const QDBusReply<QStringList> activatable = bus->call(QStringLiteral("ListActivatableNames"));
    return activatable.isValid() && activatable.value().contains(service);
}

bool FileManagerReveal::reveal(const QString& path) {
    if (!serviceAvailable())
        return openParent(path);
    QDBusMessage call = QDBusMessage::createMethodCall(
        QString::fromLatin1(kService), QString::fromLatin1(kPath),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)} << QString();
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, path](QDBusPendingCallWatcher* w) {
                if (w->isError())
                    openParent(path);
                w->deleteLater();
            });
    return true;
}

bool FileManagerReveal::openParent(const QString& path) {
    const QString folder = QFileInfo(path).absolutePath();
    emit fellBackToFolder(folder);
    return m_opener && m_opener(folder);
}

bool FileManagerReveal::openWithXdgOpen(const QString& folderPath) {
    return QProcess::startDetached(QStringLiteral("xdg-open"), {folderPath});
}

} // namespace ringfold
