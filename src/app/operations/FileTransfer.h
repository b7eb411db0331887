#pragma once
// Moving and copying items on disk without ever losing or overwriting data.
//
// - Nothing is overwritten: an existing destination name is an error (EEXIST), and
//   names are claimed atomically (renameat2 RENAME_NOREPLACE, O_EXCL, mkdir, link),
//   so a file that appears meanwhile is never replaced.
// - A move is a rename where possible. Across file systems the whole item is copied,
//   the copy is compared with the source byte for byte, and only then are the source
//   entries that were copied and are still unchanged (inode, size, modification time)
//   removed; any failure before that point removes the partial copy and leaves the
//   source as it was.
// - A copy is recursive, keeps symbolic links as links, keeps permission bits,
//   modification times and (where allowed) owners; a failure removes the partial copy.
//
// Errors are errno values; `message` turns them into the system's text
// ("Permission denied"). Blocking calls; the desktop program makes them on the main
// thread, one item at a time. Not covered: extended attributes and ACLs are not
// copied, and hard links inside a copied folder become separate files.

#include <string>

namespace ringfold {

class FileTransfer {
public:
    /// Moves `source` to the new path `destination` (whose folder must exist).
    /// Returns 0 or an errno value. When the source's removal after a verified copy
    /// across file systems leaves something behind (new or changed entries: ENOTEMPTY;
    /// or the first removal failure), the complete copy stays at the destination, what
    /// is left of the source stays too, and the error is returned.
    static int move(const std::string& source, const std::string& destination);
    /// Copies `source` (file, link or folder) to the new path `destination`.
    static int copy(const std::string& source, const std::string& destination);
    /// The system's description of an errno value.
    static std::string message(int error);
};

} // namespace ringfold
