#include "ui/PreviewContent.h"

#include <QFile>
#include <QImageReader>
#include <QMimeDatabase>
#include <QStringDecoder>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ringfold {

namespace {

QString extensionOf(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0 || dot + 1 == name.size())
        return {};
    return QString::fromUtf8(name.data() + dot + 1, qsizetype(name.size() - dot - 1));
}

} // namespace

QString kindDescription(const std::string& name, bool isDirectory) {
    if (isDirectory)
        return QStringLiteral("Folder");
    const QString extension = extensionOf(name);
    if (extension.isEmpty())
        return QStringLiteral("File");
    const QMimeType type = QMimeDatabase().mimeTypeForFile(QStringLiteral("x.") + extension,
                                                           QMimeDatabase::MatchExtension);
    if (!type.isDefault() && !type.comment().isEmpty())
        return type.comment();
    return extension.toUpper() + QStringLiteral(" File");
}

PreviewContent PreviewContent::load(const std::string& path, QSize box) {
    PreviewContent out;
    const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return out;
    struct stat st {};
    QFile file;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) ||
        !file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return out;
    }
    const std::size_t slash = path.rfind('/');
    const QString name = QFile::decodeName(QByteArray::fromStdString(path.substr(slash + 1)));
    const QMimeType type = QMimeDatabase().mimeTypeForFileNameAndData(name, file.peek(4096));
    if (type.name().startsWith(QStringLiteral("image/"))) {
        QImageReader reader(&file);
        reader.setAutoTransform(true);
        const QSize size = reader.size();
        // Decode no more pixels than the box shows: a 100-megapixel photo stays cheap.
        if (size.isValid() && (size.width() > box.width() || size.height() > box.height()))
            reader.setScaledSize(size.scaled(box, Qt::KeepAspectRatio));
        out.image = reader.read();
        if (!out.image.isNull())
            out.kind = Kind::image;
        return out;
    }
    if (type.inherits(QStringLiteral("text/plain"))) {
        QStringDecoder utf8(QStringDecoder::Utf8);
        out.text = utf8(file.read(kTextBytes));
        out.kind = Kind::text;
    }
    return out;
}

} // namespace ringfold
