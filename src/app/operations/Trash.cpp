#include "app/operations/Trash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>

#include <cerrno>
#include <sys/stat.h>
#include <system_error>

namespace ringfold {

namespace {

// Qt 6.4 writes the Path key of the .trashinfo file unescaped, while the freedesktop
// trash format (and every file manager restoring from it) wants it escaped like a
// URL: a name with a space or a "%" would come back under a wrong name. Rewrite the
// key when it holds the raw original path (or, in a $topdir trash, the raw path
// relative to the top folder).
void escapeTrashInfoPath(const QString& trashedFile, const QByteArray& originalPath) {
    const QFileInfo trashed(trashedFile);
    const QString infoPath = QDir::cleanPath(trashed.absolutePath() + QStringLiteral("/../info/") +
                                             trashed.fileName() + QStringLiteral(".trashinfo"));
    QFile info(infoPath);
    if (!info.open(QIODevice::ReadOnly))
        return;
    QList<QByteArray> lines = info.readAll().split('\n');
    info.close();
    bool changed = false;
    for (QByteArray& line : lines) {
        if (!line.startsWith("Path="))
            continue;
        const QByteArray raw = line.mid(5);
        const bool isRaw = raw == originalPath || (!raw.startsWith('/') && !raw.isEmpty() &&
                                                   originalPath.endsWith("/" + raw));
        const QByteArray escaped = QUrl::toPercentEncoding(QString::fromLocal8Bit(raw), "/");
        if (isRaw && escaped != raw) {
            line = "Path=" + escaped;
            changed = true;
        }
    }
    if (!changed)
        return;
    // Replace the file in one step, so a reader never sees half of it.
    QSaveFile out(infoPath);
    if (out.open(QIODevice::WriteOnly)) {
        out.write(lines.join('\n'));
        out.commit();
    }
}

} // namespace

std::optional<QString> Trash::moveToTrash(const QString& path) {
    // QFile::moveToTrash gives up when $XDG_DATA_HOME is missing instead of creating
    // the home trash in it.
    const QString dataHome = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (!dataHome.isEmpty())
        QDir().mkpath(dataHome);

    // Report a vanished item in the system's words (QFile would only say that the
    // trash could not be used).
    struct stat st {};
    if (::lstat(QFile::encodeName(path).constData(), &st) != 0)
        return QString::fromStdString(std::system_category().message(errno));

    QFile file(path);
    if (file.moveToTrash()) {
        // QFile now names the item's place in the trash.
        escapeTrashInfoPath(file.fileName(), QFile::encodeName(QFileInfo(path).absoluteFilePath()));
        return std::nullopt;
    }
    QString message = file.errorString();
    if (message.isEmpty() || message == QLatin1String("Unknown error"))
        message = QStringLiteral("The item couldn't be moved to the Trash.");
    return message;
}

} // namespace ringfold
