#pragma once
// Moving and copying items on disk without ever losing or overwriting data.
//
// - Nothing is overwritten: an existing destination name is an error (EEXIST), and
//   names are claimed atomically (renameat2 RENAME_NOREPLACE, O_EXCL, mkdir, link),
//   so a file that appears meanwhile is never replaced.
// - A move is a rename where possible. Across file systems the whole item is copied,
//   the copy is compared with the source byte for byte, and only then are the source
//   entries that were copied and are still unchanged (inode, size, modification and
//   change times) removed, each checked again once it is renamed aside so that nothing
//   put in its place is unlinked; any failure before that point removes the partial
//   copy and leaves the source as it was.
// - A copy is recursive, keeps symbolic links as links, keeps permission bits,
//   modification times and (where allowed) owners; a failure removes the partial copy.
//
// Errors are errno values; `message` turns them into the system's text
// ("Permission denied"). Blocking calls, one item at a time from one thread; the
// desktop program makes them on its file-operation worker.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ringfold {

class FileTransfer {
public:
    /// What one move or copy reports beside its errno value.
    struct Report {
        /// Called as file data is written, with the bytes just written.
        std::function<void(std::int64_t bytes)> onBytes;
        /// A move across file systems whose copy is complete and verified but whose
        /// source could not all be removed: how many entries stayed there, and their
        /// paths relative to the source's folder ("proj", "proj/new.txt", ...).
        int entriesLeft = 0;
        std::vector<std::string> leftBehind;
        /// A move refused before copying anything because part of the source could
        /// not be removed afterwards: that entry's path relative to the source's
        /// folder ("proj/sub/locked.txt").
        std::string blocker;
    };

    /// Moves `source` to the new path `destination` (whose folder must exist).
    /// Returns 0 or an errno value. When the source's removal after a verified copy
    /// across file systems leaves something behind (new or changed entries: ENOTEMPTY;
    /// or the first removal failure), the complete copy stays at the destination, what
    /// is left of the source stays too, the error is returned and `report` (when
    /// given) says what stayed.
    static int move(const std::string& source, const std::string& destination,
                    Report* report = nullptr);
    /// Copies `source` (file, link or folder) to the new path `destination`.
    static int copy(const std::string& source, const std::string& destination,
                    Report* report = nullptr);
    /// The system's description of an errno value.
    static std::string message(int error);
};

} // namespace ringfold
