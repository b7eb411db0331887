#include "CommandLine.h"

#include <QCommandLineParser>
#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace ringfold {

CommandLine::Outcome CommandLine::parse(int argc, const char* const* argv, CommandLine& out,
                                        QString& error) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows where the space on your disks goes, as a sunburst or a treemap."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption screenshot(
        QStringLiteral("screenshot"),
        QStringLiteral("Scan PATH, save a PNG of the window once its map is painted, and "
                       "exit\n(without PATH: the drive gallery)."),
        QStringLiteral("FILE"));
    const QCommandLineOption view(QStringLiteral("view"),
                                  QStringLiteral("Map mode: sunburst (default) or treemap."),
                                  QStringLiteral("MODE"));
    const QCommandLineOption theme(QStringLiteral("theme"),
                                   QStringLiteral("Palette for this run: light or dark."),
                                   QStringLiteral("THEME"));
    const QCommandLineOption size(QStringLiteral("size"),
                                  QStringLiteral("Window size, e.g. 1100x720."),
                                  QStringLiteral("WxH"));
    const QCommandLineOption file(
        {QStringLiteral("f"), QStringLiteral("file")},
        QStringLiteral("Open a scan saved by ringfold-scan -o, ncdu -o or gdu -o."),
        QStringLiteral("FILE"));
    parser.addOptions({screenshot, view, theme, size, file});
    parser.addPositionalArgument(QStringLiteral("PATH"),
                                 QStringLiteral("A folder to open and scan at once (not saved "
                                                "among the favourites)."),
                                 QStringLiteral("[PATH]"));

    if (!parser.parse(arguments)) {
        error = parser.errorText();
        return Outcome::usageError;
    }
    if (parser.isSet(help)) {
        std::fputs(qPrintable(parser.helpText().replace(QStringLiteral("<executable_name>"),
                                                        QStringLiteral("ringfold"))),
                   stdout);
        return Outcome::exitSuccess;
    }
    if (parser.isSet(version)) {
        std::printf("%s %s\n", qPrintable(QCoreApplication::applicationName()),
                    qPrintable(QCoreApplication::applicationVersion()));
        return Outcome::exitSuccess;
    }

    if (parser.isSet(view)) {
        const QString v = parser.value(view);
        if (v == QLatin1String("sunburst"))
            out.view = VisualizationMode::sunburst;
        else if (v == QLatin1String("treemap"))
            out.view = VisualizationMode::treemap;
        else {
            error = QStringLiteral("--view takes sunburst or treemap, not '%1'").arg(v);
            return Outcome::usageError;
        }
    }
    if (parser.isSet(theme)) {
        const QString t = parser.value(theme);
        if (t == QLatin1String("light"))
            out.theme = ColorScheme::light;
        else if (t == QLatin1String("dark"))
            out.theme = ColorScheme::dark;
        else {
            error = QStringLiteral("--theme takes light or dark, not '%1'").arg(t);
            return Outcome::usageError;
        }
    }
    if (parser.isSet(size)) {
        static const QRegularExpression pattern(QStringLiteral("^(\\d{2,5})x(\\d{2,5})$"));
        const auto match = pattern.match(parser.value(size));
        const int w = match.hasMatch() ? match.captured(1).toInt() : 0;
        const int h = match.hasMatch() ? match.captured(2).toInt() : 0;
        if (w < 760 || h < 560 || w > 8192 || h > 8192) {
            error = QStringLiteral("--size takes WIDTHxHEIGHT of at least 760x560, not '%1'")
                        .arg(parser.value(size));
            return Outcome::usageError;
        }
        out.size = QSize(w, h);
    }

    const QStringList positional = parser.positionalArguments();
    if (positional.size() > 1) {
        error = QStringLiteral("one PATH at most");
        return Outcome::usageError;
    }
    if (!positional.isEmpty()) {
        // The last argument that decodes to PATH is PATH: options come first or are
        // joined to their values, and decoding may have replaced bytes.
        QByteArray path = QFile::encodeName(positional.first());
        for (int i = argc - 1; i > 0; --i) {
            if (QString::fromLocal8Bit(argv[i]) == positional.first()) {
                path = QByteArray(argv[i]);
                break;
            }
        }
        struct stat st {};
        if (::stat(path.constData(), &st) != 0) {
            // A folder that exists but can't be reached (no search permission on the
            // way, a symlink loop) needs another fix than a mistyped one: say which.
            const int err = errno;
            error = err == ENOENT
                        ? QStringLiteral("%1: no such folder").arg(positional.first())
                        : QStringLiteral("%1: %2").arg(positional.first(),
                                                       QString::fromLocal8Bit(std::strerror(err)));
            return Outcome::usageError;
        }
        if (!S_ISDIR(st.st_mode)) {
            error = QStringLiteral("%1: not a folder").arg(positional.first());
            return Outcome::usageError;
        }
        out.path = path.toStdString();
    }
    if (parser.isSet(file)) {
        if (out.path) {
            error = QStringLiteral("give either PATH or -f FILE, not both");
            return Outcome::usageError;
        }
        const QByteArray bytes = QFile::encodeName(parser.value(file));
        struct stat st {};
        if (::stat(bytes.constData(), &st) != 0 || S_ISDIR(st.st_mode)) {
            error = QStringLiteral("%1: %2").arg(
                parser.value(file), S_ISDIR(st.st_mode) ? QStringLiteral("a folder, not a saved scan")
                                                        : QString::fromLocal8Bit(std::strerror(errno)));
            return Outcome::usageError;
        }
        out.savedScan = bytes.toStdString();
    }
    if (parser.isSet(screenshot))
        out.screenshotFile = parser.value(screenshot);
    return Outcome::run;
}

} // namespace ringfold
