#pragma once
// Moving items to the desktop's trash as the freedesktop.org Trash specification
// describes it: the home trash under $XDG_DATA_HOME/Trash for items on the same file
// system, otherwise $topdir/.Trash/$uid or $topdir/.Trash-$uid on the item's own file
// system. Items are only ever renamed into the trash, never copied or deleted, and
// the .trashinfo file is complete on disk before the item moves, so a file manager
// can always restore it. Paths are bytes. Blocking.
//
// Written here rather than taken from QFile::moveToTrash or GIO's g_file_trash: both
// report success on a full disk while leaving an empty .trashinfo behind, Qt 6.4
// loops forever on an unwritable info folder or a long name, and GIO 2.74 refuses
// every top-folder trash on file systems it deems internal.

#include <QString>

#include <optional>
#include <string>

namespace ringfold {

class Trash {
public:
    /// Moves the item at `path` to the trash. Returns the failure's description, or
    /// nothing on success.
    static std::optional<QString> moveToTrash(const std::string& path);

    /// The Path value of a .trashinfo file: every byte outside the URL's unreserved
    /// characters and "/" as %XX, so that any name (newlines, invalid UTF-8) survives.
    static std::string escapePath(const std::string& path);
};

} // namespace ringfold
