#pragma once
// Helpers shared by the Qt tests (with the fixture builders): app state, fake scan
// back-ends, real scans of fixture trees, and scanned nodes by path or by name.

#include "app/coordination/AppState.h"
#include "core/model/FileNode.h"
#include "core/model/ScanResult.h"
#include "core/scan/ScanBackend.h"
#include "core/scan/ScanEngine.h"
#include "support/FixtureTree.h"
#include "support/MemoryTree.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>

#include <cstdio>
#include <functional>
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

/// Application state with its favourites in `favorites`, the mount table `mountInfo`
/// and no volume watching.
inline std::unique_ptr<AppState> makeAppState(QSettings* settings, const QString& favorites,
                                              const std::string& mountInfo) {
    return std::make_unique<AppState>(
        AppState::Options{std::make_unique<FavoritesStore>(favorites),
                          {.mountInfoPath = mountInfo, .systemPaths = {}, .watchVolumes = false},
                          settings});
}

/// A back-end factory whose scans run `run` instead of reading the disk.
using ScanFunction =
    std::function<std::optional<ScanResult>(const std::string&, std::stop_token, ScanProgress*)>;
inline auto fakeBackends(ScanFunction run) {
    struct Fake : ScanBackend {
        ScanFunction f;
        std::optional<ScanResult> scan(const std::string& path, std::stop_token stop,
                                       ScanProgress* progress) override {
            return f(path, stop, progress);
        }
    };
    return [run](const ScanSource&, std::FILE*) -> std::unique_ptr<ScanBackend> {
        auto fake = std::make_unique<Fake>();
        fake->f = run;
        return fake;
    };
}

/// A real scan of a folder with the bulk back-end.
inline std::optional<ScanResult> scanFolder(const QString& path) {
    ScanEngine::Options options;
    options.threads = 2;
    options.diagnostics = quietDiagnostics();
    ScanEngine engine(ScanSourceKind::favoriteFolder, 2, options);
    return engine.scan(path.toStdString());
}

/// The nodes' names, in order.
inline QStringList names(const std::vector<NodePtr>& nodes) {
    QStringList out;
    for (const NodePtr& n : nodes)
        out << QString::fromStdString(std::string(n->name()));
    return out;
}

/// The node at `relative` ("a/b/c") under `root`, or null.
inline NodePtr findShared(const NodePtr& root, const QString& relative) {
    FileNode* n = test::at(root.get(), relative.toStdString());
    return n ? n->shared() : NodePtr();
}

} // namespace ringfold::apptest
