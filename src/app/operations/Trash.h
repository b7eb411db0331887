#pragma once
// Moving items to the desktop's Trash, as the freedesktop.org Trash specification
// describes it (the home trash under $XDG_DATA_HOME/Trash, or $topdir/.Trash-$uid on
// other file systems), through QFile::moveToTrash. Items are only ever renamed into
// the trash, with a .trashinfo file recording where they came from; nothing is
// deleted. Blocking; main thread.

#include <QString>

#include <optional>

namespace ringfold {

class Trash {
public:
    /// Moves the item at `path` to the trash. Returns the system's description of
    /// the failure, or nothing on success.
    static std::optional<QString> moveToTrash(const QString& path);
};

} // namespace ringfold
