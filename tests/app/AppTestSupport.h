#pragma once
// Helpers shared by the Qt tests: fixture trees written into a temporary folder, a
// real scan of such a tree, and lookups of scanned nodes by relative path.

#include "core/model/FileNode.h"
#include "core/model/ScanResult.h"
#include "core/scan/ScanEngine.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>

#include <cstdio>
#include <optional>
#include <string>

namespace ringfold::apptest {

/// Writes `data` (folders created as needed). Returns false on failure.
inline bool writeBytes(const QString& path, const QByteArray& data) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(data) == data.size();
}

inline bool writeFile(const QString& path, qint64 bytes, char fill = 'x') {
    return writeBytes(path, QByteArray(bytes, fill));
}

inline QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
}

inline bool makeDir(const QString& path) {
    return QDir().mkpath(path);
}

/// `folders` subfolders of `root`, each holding `filesPerFolder` small files.
inline bool writeManyFiles(const QString& root, int folders, int filesPerFolder) {
    for (int d = 0; d < folders; ++d)
        for (int f = 0; f < filesPerFolder; ++f)
            if (!writeFile(QStringLiteral("%1/d%2/f%3").arg(root).arg(d).arg(f), 10))
                return false;
    return true;
}

/// The back-ends print a closing line per scan; tests keep standard output quiet.
inline std::FILE* quietDiagnostics() {
    static std::FILE* devNull = std::fopen("/dev/null", "w");
    return devNull;
}

/// A real scan of a folder with the bulk back-end.
inline std::optional<ScanResult> scanFolder(const QString& path) {
    ScanEngine::Options options;
    options.threads = 2;
    options.diagnostics = quietDiagnostics();
    ScanEngine engine(ScanSourceKind::favoriteFolder, 2, options);
    return engine.scan(path.toStdString());
}

/// The node at `relative` ("a/b/c") under `root`, or null.
inline FileNode* find(FileNode* root, const QString& relative) {
    FileNode* node = root;
    for (const QString& part : relative.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        FileNode* next = nullptr;
        for (FileNode* child : node->children())
            if (QString::fromUtf8(child->name().data(), qsizetype(child->name().size())) == part)
                next = child;
        if (!next)
            return nullptr;
        node = next;
    }
    return node;
}

inline NodePtr findShared(const NodePtr& root, const QString& relative) {
    FileNode* n = find(root.get(), relative);
    return n ? n->shared() : NodePtr();
}

} // namespace ringfold::apptest
