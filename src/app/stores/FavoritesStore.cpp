#include "app/stores/FavoritesStore.h"

#include "app/stores/FavoritesJson.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace ringfold {

namespace {

void createFolderFor(const QString& filePath) {
    QDir().mkpath(QFileInfo(filePath).absolutePath()); // a failure shows up as a failed save
}

std::string lastPathComponent(const QString& path) {
    const QString clean = QDir::cleanPath(path);
    if (clean == QLatin1String("/"))
        return "/";
    return QFile::encodeName(clean.section(QLatin1Char('/'), -1)).toStdString();
}

} // namespace

ScanSource makeFavoriteSource(Uuid id, std::string path, std::string displayName) {
    ScanSource s;
    s.id = id;
    s.url = std::move(path);
    s.displayName = std::move(displayName);
    s.kind = ScanSourceKind::favoriteFolder;
    return s;
}

QString FavoritesStore::defaultFilePath() {
    QString base = qEnvironmentVariable("XDG_DATA_HOME");
    // The XDG rules ignore relative values.
    if (base.isEmpty() || !QDir::isAbsolutePath(base)) {
        const QString home = QDir::homePath();
        base = home.isEmpty() || home == QLatin1String("/")
                   ? QDir::tempPath()
                   : home + QStringLiteral("/.local/share");
    }
    return base + QStringLiteral("/Ringfold/favorites.json");
}

FavoritesStore::FavoritesStore() : FavoritesStore(defaultFilePath()) {}

FavoritesStore::FavoritesStore(QString filePath) : m_filePath(std::move(filePath)) {
    createFolderFor(m_filePath);
}

bool FavoritesStore::fileExists() const {
    return QFileInfo::exists(m_filePath);
}

std::vector<ScanSource> FavoritesStore::load() const {
    QFile file(m_filePath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const auto entries = decodeFavorites(file.readAll());
    if (!entries)
        return {};
    std::vector<ScanSource> sources;
    sources.reserve(entries->size());
    for (const FavoriteEntry& e : *entries)
        sources.push_back(makeFavoriteSource(e.id, e.path, e.displayName));
    return sources;
}

void FavoritesStore::save(const std::vector<ScanSource>& favorites) const {
    std::vector<FavoriteEntry> entries;
    entries.reserve(favorites.size());
    for (const ScanSource& s : favorites)
        entries.push_back({s.id, s.url, s.displayName});
    createFolderFor(m_filePath);
    // QSaveFile writes a temporary file beside the target and renames it over the old
    // one, so a crash mid-write never leaves a truncated list.
    QSaveFile file(m_filePath);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(encodeFavorites(entries));
    file.commit();
}

std::vector<ScanSource> FavoritesStore::defaultFavorites() const {
    QStringList candidates{QDir::homePath()};
    for (auto location : {QStandardPaths::DesktopLocation, QStandardPaths::DocumentsLocation,
                          QStandardPaths::DownloadLocation, QStandardPaths::MoviesLocation,
                          QStandardPaths::MusicLocation, QStandardPaths::PicturesLocation}) {
        const QString path = QStandardPaths::writableLocation(location);
        if (!path.isEmpty())
            candidates << path;
    }
    std::vector<ScanSource> favorites;
    QStringList kept;
    for (const QString& candidate : candidates) {
        const QString path = QDir::cleanPath(candidate);
        // user-dirs.dirs may point a folder at the home folder itself; list it once. A
        // name Qt could not decode names no folder here and is left out by the test.
        if (kept.contains(path) || !QFileInfo(path).isDir())
            continue;
        kept << path;
        favorites.push_back(
            makeFavoriteSource(Uuid::generate(), QFile::encodeName(path).toStdString(),
                               lastPathComponent(path)));
    }
    return favorites;
}

} // namespace ringfold
