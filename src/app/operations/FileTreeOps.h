#pragma once
// The tree walks of moving and copying on disk, on folder descriptors and
// names (the *at system calls), so that renamed or replaced parent folders cannot
// redirect them. Every function returns 0 or an errno value. Blocking; callers make
// one call per item from one thread.

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace ringfold {

class FileTreeOps {
public:
    /// Owns one descriptor.
    class Fd {
    public:
        explicit Fd(int fd = -1) : m_fd(fd) {}
        ~Fd();
        Fd(const Fd&) = delete;
        Fd& operator=(const Fd&) = delete;
        int get() const { return m_fd; }
        explicit operator bool() const { return m_fd >= 0; }
        void reset(int fd);
        int release() {
            int fd = m_fd;
            m_fd = -1;
            return fd;
        }

    private:
        int m_fd;
    };

    /// What a copy read from each source entry (by device and inode): its size and
    /// modification and change times, so that a move removes only what it copied
    /// unchanged. The change time catches a rewrite of the same size within one tick
    /// of a coarse modification time (2 s on FAT), or one whose time was set back.
    struct Fingerprint {
        off_t size;
        timespec mtime;
        timespec ctime;
    };
    using Manifest = std::map<std::pair<dev_t, ino_t>, Fingerprint>;

    static int openDirectory(int dir, const char* name);
    /// The entry names of an open folder, without "." and "..".
    static int entryNames(int dirFd, std::vector<std::string>& out);
    /// Copies one item (recursively) to a new name, which must not exist, with its owner
    /// where permitted, extended attributes, modes and times; holes of sparse files stay
    /// holes, and names of one file inside the item stay names of one file. `created`
    /// tells whether the new top-level entry was made, so the caller can remove it.
    /// `copied`, when given, receives every source entry as it was copied. `onBytes`,
    /// when given, hears of the file data written, a few MiB at a time.
    static int copyEntry(int srcDir, const char* srcName, int dstDir, const char* dstName,
                         bool& created, Manifest* copied = nullptr,
                         const std::function<void(std::int64_t bytes)>& onBytes = {});
    /// Removes an item and everything in it. `ownCopy`: the item is a partial copy of
    /// ours, whose folders may carry read-only bits copied from the source.
    static int removeTree(int dir, const char* name, bool ownCopy);
    /// Removes from the source of a finished copy only the entries `copied` holds and
    /// that are unchanged since (same inode, size, modification and change times);
    /// whatever is new or changed stays, with the folders holding it. Each entry that
    /// is not a folder is first renamed aside within its folder and checked again
    /// there, so that one put in its place meanwhile (an editor's save by rename) is
    /// never the one unlinked. Goes on past failures. Returns how many entries stayed;
    /// `firstError` the first failure's errno (or ENOTEMPTY when entries stayed only
    /// because they were new or changed).
    static int removeCopied(int dir, const char* name, const Manifest& copied, int& firstError);
    /// Compares a copy with its source: same kinds, names, link targets and bytes. A
    /// difference reads as EIO. With `copied`, the copy's record, source entries that
    /// are new or changed since they were copied are left out of the comparison.
    static int verifyTree(int srcDir, const char* srcName, int dstDir, const char* dstName,
                          const Manifest* copied = nullptr);
    /// Whether the whole item can be removed once it is copied, so that a move across
    /// file systems does not stop half-way through deleting it. Refused: a folder we may
    /// not read and change (EACCES); an immutable or append-only entry, or the item in
    /// such a folder (EPERM); an entry of another user's in a sticky folder not ours,
    /// unless we hold CAP_FOWNER (EPERM); anything mounted inside, another file system
    /// (`device`) or a bind mount (EBUSY). `blocker` receives the first refused entry's
    /// path relative to the item's folder ("item/sub/file").
    static int checkRemovable(int dir, const char* name, dev_t device,
                              std::string* blocker = nullptr);
    /// Appends the item's path and those of everything in it, relative to `dir`
    /// ("proj", "proj/sub", "proj/sub/a.txt"), in walk order.
    static int listTree(int dir, const char* name, std::vector<std::string>& paths);
};

} // namespace ringfold
