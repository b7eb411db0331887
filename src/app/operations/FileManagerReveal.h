#pragma once
// "Show in File Manager": asks the desktop's file manager to open a window with the
// item selected, through the org.freedesktop.FileManager1 D-Bus interface
// (ShowItems), when a service of that name is running or can be started on the
// session bus. Otherwise it opens the item's parent folder with the injected folder
// opener; the default one starts `xdg-open FOLDER` detached, since this layer has no
// QtGui (and so no QDesktopServices).
//
// Main thread. The D-Bus call is asynchronous: reveal returns at once, and an error
// reply still falls back to opening the folder.

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <functional>

namespace ringfold {

class FileManagerReveal : public QObject {
    Q_OBJECT

public:
    /// Opens a folder in some file manager; returns whether it could be started.
    using FolderOpener = std::function<bool(const QString& folderPath)>;

    static constexpr const char* kService = "org.freedesktop.FileManager1";
    static constexpr const char* kPath = "/org/freedesktop/FileManager1";

    explicit FileManagerReveal(QObject* parent = nullptr);
    FileManagerReveal(QDBusConnection bus, FolderOpener opener, QObject* parent = nullptr);

    /// Shows the item at an absolute path. Returns false only when neither the file
    /// manager service nor the folder opener could be reached.
    bool reveal(const QString& path);

    /// Whether the file manager service is on the bus now or can be activated.
    bool serviceAvailable() const;

    /// The default opener: `xdg-open FOLDER`, detached.
    static bool openWithXdgOpen(const QString& folderPath);

signals:
    /// The request went to the fallback opener (for diagnostics and tests).
    void fellBackToFolder(const QString& folderPath);

private:
    bool openParent(const QString& path);

    QDBusConnection m_bus;
    FolderOpener m_opener;
};

} // namespace ringfold
