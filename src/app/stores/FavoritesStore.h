#pragma once
// Persists the favourite folders as "favorites.json" in $XDG_DATA_HOME/Ringfold
// (~/.local/share/Ringfold when the variable is unset): a pretty-printed JSON array of
// {"displayName", "id", "path"} objects in list order, and supplies the default set
// for a first start and for a reset. The file format is fixed byte for byte (see
// FavoritesJson.h) so that files stay identical across versions. File errors are
// silent: an unreadable or malformed file loads as no favourites and is left as it is
// until the next save; a failed write leaves the previous file.
//
// Threads: main thread only; reads and writes are synchronous and small.

#include "core/model/Types.h"

#include <QString>

#include <vector>

namespace ringfold {

class FavoritesStore {
public:
    /// The favourites file in the per-user data folder (created if missing).
    FavoritesStore();
    /// A store on an explicit file; its folder is created if missing.
    explicit FavoritesStore(QString filePath);

    /// $XDG_DATA_HOME/Ringfold/favorites.json, or under ~/.local/share, or under the
    /// temporary folder when there is no home.
    static QString defaultFilePath();

    const QString& filePath() const { return m_filePath; }
    bool fileExists() const;

    std::vector<ScanSource> load() const;
    void save(const std::vector<ScanSource>& favorites) const;
    /// The home folder, then those of Desktop, Documents, Downloads, Videos, Music and
    /// Pictures that exist, each with a fresh identity and named by its last component.
    std::vector<ScanSource> defaultFavorites() const;

private:
    QString m_filePath;
};

/// A favourite folder source (kind favoriteFolder, no records, no capacities).
ScanSource makeFavoriteSource(Uuid id, std::string path, std::string displayName);

} // namespace ringfold
