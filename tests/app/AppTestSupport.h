#pragma once
// Helpers shared by the Qt tests: a real scan of a fixture tree (tests/support/
// FixtureTree builds them), and lookups of scanned nodes by relative path.

#include "core/model/FileNode.h"
#include "core/model/ScanResult.h"
#include "core/scan/ScanEngine.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <cstdio>
#include <optional>
#include <string>

namespace ringfold::apptest {

inline QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
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
