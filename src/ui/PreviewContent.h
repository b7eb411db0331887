#pragma once
// The live preview of one file, read off the GUI thread: a picture scaled to fit, or
// the first 256 KiB of a text file, or nothing (the pane then shows the icon and the
// facts). Only regular files are opened, never through a symbolic link, so a FIFO or
// a device can't block the reader.
//
// Threads: load() runs on any thread; the result is plain data.

#include <QImage>
#include <QSize>
#include <QString>

#include <string>

namespace ringfold {

struct PreviewContent {
    enum class Kind { none, image, text };
    Kind kind = Kind::none;
    QImage image;
    QString text;

    static constexpr qint64 kTextBytes = 256 * 1024;

    /// Reads `path` (bytes) for a preview that fits `box` (device pixels).
    static PreviewContent load(const std::string& path, QSize box);
};

/// "Folder", the desktop's description of the file's type by its extension, the
/// extension in capitals followed by " File" when the desktop has none, or "File".
QString kindDescription(const std::string& name, bool isDirectory);

} // namespace ringfold
