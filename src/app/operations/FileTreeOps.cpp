#include "app/operations/FileTreeOps.h"

#include "app/operations/FileData.h"
#include "app/operations/FileMetadata.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <set>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <utility>

namespace ringfold {

FileTreeOps::Fd::~Fd() {
    if (m_fd >= 0)
        ::close(m_fd);
}

void FileTreeOps::Fd::reset(int fd) {
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = fd;
}

using Fd = FileTreeOps::Fd;

int FileTreeOps::openDirectory(int dir, const char* name) {
    return ::openat(dir, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// The entry names of an open folder, without "." and "..".
int FileTreeOps::entryNames(int dirFd, std::vector<std::string>& out) {
    int copy = ::fcntl(dirFd, F_DUPFD_CLOEXEC, 0);
    if (copy < 0)
        return errno;
    DIR* d = ::fdopendir(copy);
    if (!d) {
        int e = errno;
        ::close(copy);
        return e;
    }
    ::rewinddir(d);
    errno = 0;
    while (dirent* e = ::readdir(d)) {
        if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0)
            out.emplace_back(e->d_name);
        errno = 0;
    }
    const int err = errno;
    ::closedir(d);
    return err;
}

namespace {

int copyRegular(int srcDir, const char* srcName, int dstDir, const char* dstName,
                const struct stat& st, bool& created, FileData& data) {
    Fd in(::openat(srcDir, srcName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!in)
        return errno;
    Fd out(::openat(dstDir, dstName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!out)
        return errno;
    created = true;
    if (int e = data.copy(in.get(), out.get(), st))
        return e;
    if (int e = FileMetadata::apply(in.get(), out.get(), st))
        return e;
    // Network file systems report write errors as late as close.
    return ::close(out.release()) == 0 ? 0 : errno;
}

int copySymlink(int srcDir, const char* srcName, int dstDir, const char* dstName,
                const struct stat& st, bool& created) {
    std::vector<char> target(std::size_t(st.st_size > 0 ? st.st_size : PATH_MAX) + 1);
    for (;;) {
        ssize_t n = ::readlinkat(srcDir, srcName, target.data(), target.size());
        if (n < 0)
            return errno;
        if (std::size_t(n) < target.size()) {
            target[std::size_t(n)] = '\0';
            break;
        }
        target.resize(target.size() * 2); // the link grew since it was examined
    }
    if (::symlinkat(target.data(), dstDir, dstName) != 0)
        return errno;
    created = true;
    (void)::fchownat(dstDir, dstName, st.st_uid, st.st_gid, AT_SYMLINK_NOFOLLOW);
    if (int e = FileMetadata::copyAttributesAt(srcDir, srcName, dstDir, dstName))
        return e;
    const timespec times[2] = {st.st_atim, st.st_mtim};
    return ::utimensat(dstDir, dstName, times, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

int copySpecial(int srcDir, const char* srcName, int dstDir, const char* dstName,
                const struct stat& st, bool& created) {
    if (::mknodat(dstDir, dstName, (st.st_mode & S_IFMT) | 0600, st.st_rdev) != 0)
        return errno;
    created = true;
    (void)::fchownat(dstDir, dstName, st.st_uid, st.st_gid, AT_SYMLINK_NOFOLLOW);
    if (int e = FileMetadata::copyAttributesAt(srcDir, srcName, dstDir, dstName))
        return e;
    if (::fchmodat(dstDir, dstName, st.st_mode & 0777, 0) != 0)
        return errno;
    const timespec times[2] = {st.st_atim, st.st_mtim};
    return ::utimensat(dstDir, dstName, times, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

// A walk of a folder tree (and, for copy and verify, of its mirror) that holds a fixed
// number of descriptors at any depth: only the current folder is open. Going down opens
// a child by name; going back up reopens ".." and checks that it is the folder that was
// left (device and inode), so a folder moved away meanwhile stops the walk instead of
// sending it elsewhere. The names still to visit are kept per level.
struct Identity {
    dev_t dev;
    ino_t ino;
};

class Cursor {
public:
    int fd() const { return m_fd.get(); }
    int down(int from, const char* name) {
        struct stat here {};
        if (::fstat(from, &here) != 0)
            return errno;
        Fd next(FileTreeOps::openDirectory(from, name));
        if (!next)
            return errno;
        m_above.push_back({here.st_dev, here.st_ino});
        m_fd.reset(next.release());
        return 0;
    }
    int up() {
        Fd parent(::openat(m_fd.get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        struct stat st {};
        if (!parent || ::fstat(parent.get(), &st) != 0)
            return errno;
        if (st.st_dev != m_above.back().dev || st.st_ino != m_above.back().ino)
            return ESTALE;
        m_above.pop_back();
        m_fd.reset(parent.release());
        return 0;
    }

private:
    Fd m_fd;
    std::vector<Identity> m_above;
};

struct Level {
    std::string name;
    std::vector<std::string> children;
    std::size_t next = 0;
    struct stat st {};
};

// Hooks (dst descriptors are -1 without a mirror):
//   enter(srcParent, dstParent, srcName, dstName, st) before a folder is opened;
//   names(srcFd, dstFd, children) once its entries are listed;
//   leaf(srcParent, dstParent, name, st) for every entry that is not a folder;
//   leave(srcFd, dstFd, st) when its entries are done, still inside it;
//   left(srcParent, dstParent, name) after it was left.
// An enter hook's answer for a folder to leave out, with everything in it.
constexpr int kSkipFolder = -1;

template <typename Hooks>
int walkFolders(int srcDir, const char* srcName, int dstDir, const char* dstName,
                const struct stat& rootStat, Hooks& h) {
    const bool mirrored = dstDir >= 0;
    Cursor src, dst;
    std::vector<Level> levels;
    auto enter = [&](int sParent, int dParent, const char* sName, const char* dName,
                     const struct stat& st) -> int {
        if (int e = h.enter(sParent, dParent, sName, dName, st))
            return e;
        if (int e = src.down(sParent, sName))
            return e;
        if (mirrored)
            if (int e = dst.down(dParent, dName))
                return e;
        Level level{sName, {}, 0, st};
        if (int e = FileTreeOps::entryNames(src.fd(), level.children))
            return e;
        if (int e = h.names(src.fd(), mirrored ? dst.fd() : -1, level.children))
            return e;
        levels.push_back(std::move(level));
        return 0;
    };
    if (int e = enter(srcDir, dstDir, srcName, dstName, rootStat))
        return e;
    while (!levels.empty()) {
        Level& top = levels.back();
        const int dFd = mirrored ? dst.fd() : -1;
        if (top.next < top.children.size()) {
            const std::string child = top.children[top.next++];
            struct stat st {};
            if (::fstatat(src.fd(), child.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
                if (errno == ENOENT && h.vanishedIsFine)
                    continue;
                return errno;
            }
            const int e = S_ISDIR(st.st_mode)
                              ? enter(src.fd(), dFd, child.c_str(), child.c_str(), st)
                              : h.leaf(src.fd(), dFd, child.c_str(), st);
            if (e && e != kSkipFolder)
                return e;
            continue;
        }
        if (int e = h.leave(src.fd(), dFd, top.st))
            return e;
        const std::string name = std::move(top.name);
        levels.pop_back();
        int sParent = srcDir, dParent = dstDir;
        if (!levels.empty()) {
            if (int e = src.up())
                return e;
            if (mirrored)
                if (int e = dst.up())
                    return e;
            sParent = src.fd();
            dParent = mirrored ? dst.fd() : -1;
        }
        if (int e = h.left(sParent, dParent, name.c_str()))
            return e;
    }
    return 0;
}

struct NoHooks {
    bool vanishedIsFine = false;
    int enter(int, int, const char*, const char*, const struct stat&) { return 0; }
    int names(int, int, std::vector<std::string>&) { return 0; }
    int leaf(int, int, const char*, const struct stat&) { return 0; }
    int leave(int, int, const struct stat&) { return 0; }
    int left(int, int, const char*) { return 0; }
};

void record(FileTreeOps::Manifest* copied, const struct stat& s) {
    if (copied)
        (*copied)[{s.st_dev, s.st_ino}] = FileTreeOps::Fingerprint{s.st_size, s.st_mtim, s.st_ctim};
}

int copyLeaf(int sParent, int dParent, const char* name, const struct stat& st, FileData& data) {
    bool made = false;
    if (S_ISREG(st.st_mode))
        return copyRegular(sParent, name, dParent, name, st, made, data);
    if (S_ISLNK(st.st_mode))
        return copySymlink(sParent, name, dParent, name, st, made);
    return copySpecial(sParent, name, dParent, name, st, made);
}

// The names of one file inside a copied folder become names of one copy. The first
// copy of every file with more than one name is remembered as a folder and a name under
// the copy's root; the folders are kept as a parent-linked table, filled only on the way
// to such a file, so that memory follows the linked files, not the tree. Reaching the
// first copy again opens its folders one by one from the root: two descriptors at any
// depth.
class LinkTracker {
public:
    LinkTracker(int dstDir, const char* dstName) : m_dstDir(dstDir), m_dstName(dstName) {}

    void enter(const char* name) {
        m_path.emplace_back(name);
        m_index.push_back(-1);
    }
    void leave() {
        m_path.pop_back();
        m_index.pop_back();
    }

    // Makes `name` in `dParent` a link to an earlier copy of the same file; false when
    // this is the file's first name here, or the link cannot be made (too many links,
    // a file system without them), so that the caller copies it.
    bool link(const struct stat& st, int dParent, const char* name) {
        const auto it = m_first.find({st.st_dev, st.st_ino});
        if (it == m_first.end())
            return false;
        Fd folder(FileTreeOps::openDirectory(m_dstDir, m_dstName));
        std::vector<const std::string*> chain;
        for (int i = it->second.folder; i >= 0; i = m_folders[std::size_t(i)].parent)
            chain.push_back(&m_folders[std::size_t(i)].name);
        for (auto c = chain.rbegin(); folder && c != chain.rend(); ++c)
            folder.reset(FileTreeOps::openDirectory(folder.get(), (*c)->c_str()));
        return folder && ::linkat(folder.get(), it->second.name.c_str(), dParent, name, 0) == 0;
    }
    // The copy just made of `name` in the current folder is the one to link to from now
    // on (after a failed link too: a full file is not linked to again and again).
    void copied(const struct stat& st, const char* name) {
        if (st.st_nlink > 1)
            m_first[{st.st_dev, st.st_ino}] = {currentFolder(), name};
    }

private:
    struct Folder {
        int parent;
        std::string name;
    };
    struct Place {
        int folder; // into m_folders; -1 is the copy's root
        std::string name;
    };
    int currentFolder() {
        for (std::size_t i = 0; i < m_index.size(); ++i) {
            if (m_index[i] < 0) {
                m_folders.push_back({i == 0 ? -1 : m_index[i - 1], m_path[i]});
                m_index[i] = int(m_folders.size()) - 1;
            }
        }
        return m_index.empty() ? -1 : m_index.back();
    }

    int m_dstDir;
    const char* m_dstName;
    std::vector<std::string> m_path; // below the root, down to the current folder
    std::vector<int> m_index;        // each level's row in m_folders, -1 until needed
    std::vector<Folder> m_folders;
    std::map<std::pair<dev_t, ino_t>, Place> m_first;
};

} // namespace

int FileTreeOps::copyEntry(int srcDir, const char* srcName, int dstDir, const char* dstName,
                           bool& created, Manifest* copied,
                           const std::function<void(std::int64_t)>& onBytes) {
    struct stat st {};
    if (::fstatat(srcDir, srcName, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    record(copied, st);
    ByteProgress progress(onBytes);
    FileData data(progress);
    if (!S_ISDIR(st.st_mode)) {
        int e = 0;
        if (S_ISREG(st.st_mode))
            e = copyRegular(srcDir, srcName, dstDir, dstName, st, created, data);
        else if (S_ISLNK(st.st_mode))
            e = copySymlink(srcDir, srcName, dstDir, dstName, st, created);
        else
            e = copySpecial(srcDir, srcName, dstDir, dstName, st, created);
        progress.flush();
        return e;
    }
    struct Copy : NoHooks {
        bool& created;
        Manifest* copied;
        FileData& data;
        LinkTracker links;
        int depth = 0;
        int enter(int, int dParent, const char*, const char* dName, const struct stat& st) {
            record(copied, st);
            // Owner-writable while filling it; the source's bits are applied at the end.
            if (::mkdirat(dParent, dName, 0700) != 0)
                return errno;
            created = true;
            if (depth++ > 0)
                links.enter(dName);
            return 0;
        }
        int leaf(int sParent, int dParent, const char* name, const struct stat& st) {
            record(copied, st);
            if (st.st_nlink > 1 && links.link(st, dParent, name))
                return 0;
            const int e = copyLeaf(sParent, dParent, name, st, data);
            if (!e)
                links.copied(st, name);
            return e;
        }
        // Last, so that the folder's default ACL is not inherited by the copies inside.
        int leave(int sFd, int dFd, const struct stat& st) {
            return FileMetadata::apply(sFd, dFd, st);
        }
        int left(int, int, const char*) {
            if (--depth > 0)
                links.leave();
            return 0;
        }
    } hooks{{}, created, copied, data, LinkTracker(dstDir, dstName)};
    const int e = walkFolders(srcDir, srcName, dstDir, dstName, st, hooks);
    progress.flush();
    return e;
}

// Removes an item and everything in it. `ownCopy`: the item is a partial copy of
// ours, whose folders may carry read-only bits copied from the source.
int FileTreeOps::removeTree(int dir, const char* name, bool ownCopy) {
    struct stat st {};
    if (::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? 0 : errno;
    if (!S_ISDIR(st.st_mode))
        return ::unlinkat(dir, name, 0) == 0 ? 0 : errno;
    struct Remove : NoHooks {
        bool ownCopy;
        int enter(int parent, int, const char* n, const char*, const struct stat& s) {
            if (ownCopy && (s.st_mode & 0700) != 0700)
                (void)::fchmodat(parent, n, (s.st_mode & 07777) | 0700, 0);
            return 0;
        }
        int leaf(int parent, int, const char* n, const struct stat&) {
            return ::unlinkat(parent, n, 0) == 0 || errno == ENOENT ? 0 : errno;
        }
        int left(int parent, int, const char* n) {
            return ::unlinkat(parent, n, AT_REMOVEDIR) == 0 ? 0 : errno;
        }
    } hooks;
    hooks.ownCopy = ownCopy;
    hooks.vanishedIsFine = true;
    return walkFolders(dir, name, -1, name, st, hooks);
}

namespace {

bool sameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// The entry is one a copy recorded and has not changed since: same inode, and for
// anything but a folder the same size and times. The change time is left out where
// we changed it ourselves: renaming or unlinking a name of a file sets it.
bool asCopied(const FileTreeOps::Manifest& copied, const struct stat& s, bool withCtime = true) {
    const auto it = copied.find({s.st_dev, s.st_ino});
    if (it == copied.end())
        return false;
    const FileTreeOps::Fingerprint& f = it->second;
    return S_ISDIR(s.st_mode) || (f.size == s.st_size && sameTime(f.mtime, s.st_mtim) &&
                                  (!withCtime || sameTime(f.ctime, s.st_ctim)));
}

// Renames within one folder without replacing an entry of that name. Where the file
// system lacks RENAME_NOREPLACE, `toOwnName` (a name only we use) allows a checked
// plain rename; a name someone else may take is claimed with link(), or not at all.
int renameNoReplace(int dir, const char* from, const char* to, bool toOwnName) {
    if (::renameat2(dir, from, dir, to, RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        return errno;
    if (toOwnName) {
        struct stat st {};
        if (::fstatat(dir, to, &st, AT_SYMLINK_NOFOLLOW) == 0)
            return EEXIST;
        return ::renameat(dir, from, dir, to) == 0 ? 0 : errno;
    }
    if (::linkat(dir, from, dir, to, 0) != 0)
        return errno;
    return ::unlinkat(dir, from, 0) == 0 ? 0 : errno;
}

// Unlinks `name` (not a folder) if it is still the entry the copy read. It is renamed
// aside first, so that nothing can take its place between the check and the unlink,
// and checked again under the private name (the rename itself sets the change time,
// so that is left out there). Anything else goes back under its name; should the name
// have been taken again meanwhile, it stays under the private name rather than
// replace the newer entry. Returns 0 when removed or already gone, ENOTEMPTY when it
// stays because it changed, or the failure's errno.
int unlinkIfAsCopied(int dir, const char* name, const FileTreeOps::Manifest& copied) {
    static std::atomic<unsigned> serial{0};
    std::string aside;
    int e = EEXIST;
    for (int attempt = 0; attempt < 100 && e == EEXIST; ++attempt) {
        aside = ".ringfold-removing-" + std::to_string(::getpid()) + "-" + std::to_string(serial++);
        e = renameNoReplace(dir, name, aside.c_str(), true);
    }
    if (e)
        return e == ENOENT ? 0 : e;
    struct stat now {};
    if (::fstatat(dir, aside.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
        asCopied(copied, now, false)) {
        if (::unlinkat(dir, aside.c_str(), 0) == 0)
            return 0;
        e = errno;
    }
    (void)renameNoReplace(dir, aside.c_str(), name, false);
    return e ? e : ENOTEMPTY;
}

} // namespace

int FileTreeOps::removeCopied(int dir, const char* name, const Manifest& copied, int& firstError) {
    struct Remove : NoHooks {
        const Manifest& copied;
        int kept = 0, firstError = 0;
        // Files with another name still to come, whose change time we have just set.
        std::set<std::pair<dev_t, ino_t>> unlinkedOnce{};
        bool unchanged(const struct stat& s) const {
            return asCopied(copied, s, !unlinkedOnce.count({s.st_dev, s.st_ino}));
        }
        int stays(int error) {
            ++kept;
            if (!firstError || firstError == ENOTEMPTY)
                firstError = error;
            return 0;
        }
        int enter(int, int, const char*, const char*, const struct stat& s) {
            return unchanged(s) ? 0 : (stays(ENOTEMPTY), kSkipFolder);
        }
        int leaf(int parent, int, const char* n, const struct stat& s) {
            if (!unchanged(s))
                return stays(ENOTEMPTY);
            if (s.st_nlink > 1)
                unlinkedOnce.insert({s.st_dev, s.st_ino});
            const int e = unlinkIfAsCopied(parent, n, copied);
            return e ? stays(e) : 0;
        }
        int left(int parent, int, const char* n) {
            if (::unlinkat(parent, n, AT_REMOVEDIR) == 0 || errno == ENOENT)
                return 0;
            // A folder kept for what stays inside it is not one more item.
            return errno == ENOTEMPTY || errno == EEXIST ? 0 : stays(errno);
        }
    } hooks{{}, copied};
    hooks.vanishedIsFine = true;
    struct stat st {};
    if (::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? 0 : (firstError = errno, 1);
    if (S_ISDIR(st.st_mode)) {
        if (hooks.unchanged(st)) {
            if (const int e = walkFolders(dir, name, -1, name, st, hooks))
                hooks.stays(e);
        } else {
            hooks.stays(ENOTEMPTY);
        }
    } else {
        hooks.leaf(dir, -1, name, st);
    }
    firstError = hooks.firstError;
    return hooks.kept;
}

namespace {

int readFull(int fd, char* data, std::size_t size, std::size_t& got) {
    got = 0;
    while (got < size) {
        ssize_t n = ::read(fd, data + got, size - got);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (n == 0)
            break;
        got += std::size_t(n);
    }
    return 0;
}

// Compares one entry that is not a folder with its copy.
int verifyLeaf(int srcDir, const char* srcName, int dstDir, const char* dstName,
               const struct stat& a) {
    struct stat b {};
    if (::fstatat(dstDir, dstName, &b, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if ((a.st_mode & S_IFMT) != (b.st_mode & S_IFMT))
        return EIO;
    if (S_ISREG(a.st_mode)) {
        if (a.st_size != b.st_size)
            return EIO;
        Fd fa(::openat(srcDir, srcName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        Fd fb(::openat(dstDir, dstName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        if (!fa || !fb)
            return errno;
        std::vector<char> ba(std::size_t(1) << 18), bb(std::size_t(1) << 18);
        for (;;) {
            std::size_t na = 0, nb = 0;
            if (int e = readFull(fa.get(), ba.data(), ba.size(), na))
                return e;
            if (int e = readFull(fb.get(), bb.data(), bb.size(), nb))
                return e;
            if (na != nb || std::memcmp(ba.data(), bb.data(), na) != 0)
                return EIO;
            if (na == 0)
                return 0;
        }
    }
    if (S_ISLNK(a.st_mode)) {
        std::vector<char> ta(PATH_MAX + 1), tb(PATH_MAX + 1);
        ssize_t na = ::readlinkat(srcDir, srcName, ta.data(), PATH_MAX);
        ssize_t nb = ::readlinkat(dstDir, dstName, tb.data(), PATH_MAX);
        if (na < 0 || nb < 0)
            return errno;
        return na == nb && std::memcmp(ta.data(), tb.data(), std::size_t(na)) == 0 ? 0 : EIO;
    }
    return 0;
}

} // namespace

// Compares a copy with its source: same kinds, names, link targets and bytes.
// A difference reads as EIO.
int FileTreeOps::verifyTree(int srcDir, const char* srcName, int dstDir, const char* dstName,
                            const Manifest* copied) {
    struct stat a {};
    if (::fstatat(srcDir, srcName, &a, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (!S_ISDIR(a.st_mode))
        return verifyLeaf(srcDir, srcName, dstDir, dstName, a);
    // With the copy's record, what appeared or changed in the source since it was
    // copied is left out: the move keeps it in the source.
    struct Verify : NoHooks {
        const Manifest* copied;
        bool leftOut(const struct stat& s) const { return copied && !asCopied(*copied, s); }
        int enter(int, int dParent, const char*, const char* dName, const struct stat& s) {
            if (leftOut(s))
                return kSkipFolder;
            struct stat b {};
            if (::fstatat(dParent, dName, &b, AT_SYMLINK_NOFOLLOW) != 0)
                return errno;
            return S_ISDIR(b.st_mode) ? 0 : EIO;
        }
        int names(int, int dFd, std::vector<std::string>& children) {
            std::vector<std::string> made;
            if (int e = FileTreeOps::entryNames(dFd, made))
                return e;
            std::sort(children.begin(), children.end());
            std::sort(made.begin(), made.end());
            if (copied) // every copy has its source; new source entries are left out
                return std::includes(children.begin(), children.end(), made.begin(), made.end())
                           ? 0
                           : EIO;
            return children == made ? 0 : EIO;
        }
        int leaf(int sParent, int dParent, const char* name, const struct stat& st) {
            return leftOut(st) ? 0 : verifyLeaf(sParent, name, dParent, name, st);
        }
    } hooks;
    hooks.copied = copied;
    hooks.vanishedIsFine = copied != nullptr;
    return walkFolders(srcDir, srcName, dstDir, dstName, a, hooks);
}

namespace {

// CAP_FOWNER lifts the sticky folder rule (root holds it unless it was dropped).
bool mayRemoveOthersFiles() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (::syscall(SYS_capget, &header, data) != 0)
        return ::geteuid() == 0;
    return (data[CAP_TO_INDEX(CAP_FOWNER)].effective & CAP_TO_MASK(CAP_FOWNER)) != 0;
}

} // namespace

// Asked before anything is copied, so that a move is refused whole rather than left
// half-done by entries the removal would stop at.
int FileTreeOps::checkRemovable(int dir, const char* name, dev_t device, std::string* blocker) {
    struct Check : NoHooks {
        dev_t device;
        uid_t me = ::geteuid();
        bool mayOverride = mayRemoveOthersFiles();
        std::vector<std::string> path;     // from the item down to the current folder
        std::vector<struct statx> folders; // the item's folder, then the item's own
        std::string* blocker;

        int refuse(const char* n, int error) {
            if (blocker) {
                blocker->clear();
                for (const auto& p : path)
                    blocker->append(p).push_back('/');
                blocker->append(n);
            }
            return error;
        }
        // What stands in the way of unlinking `n` from the current folder.
        int entry(int parent, const char* n) {
            struct statx x {};
            if (::statx(parent, n, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                        STATX_TYPE | STATX_MODE | STATX_UID, &x) != 0)
                return refuse(n, errno);
            const struct statx& folder = folders.back();
            if (x.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND))
                return refuse(n, EPERM);
            if ((x.stx_attributes & STATX_ATTR_MOUNT_ROOT) ||
                makedev(x.stx_dev_major, x.stx_dev_minor) != device)
                return refuse(n, EBUSY);
            if ((folder.stx_mode & S_ISVTX) && !mayOverride && x.stx_uid != me &&
                folder.stx_uid != me)
                return refuse(n, EPERM);
            if (S_ISDIR(x.stx_mode)) {
                // Its entries go first: it must be ours to list and change.
                if (::faccessat(parent, n, R_OK | W_OK | X_OK, 0) != 0)
                    return refuse(n, errno);
                folders.push_back(x);
            }
            return 0;
        }
        int enter(int parent, int, const char* n, const char*, const struct stat&) {
            if (int e = entry(parent, n))
                return e;
            path.emplace_back(n);
            return 0;
        }
        int leaf(int parent, int, const char* n, const struct stat&) { return entry(parent, n); }
        int left(int, int, const char*) {
            path.pop_back();
            folders.pop_back();
            return 0;
        }
    } hooks;
    hooks.device = device;
    hooks.blocker = blocker;
    struct statx parent {};
    if (::statx(dir, "", AT_EMPTY_PATH, STATX_TYPE | STATX_MODE | STATX_UID, &parent) != 0)
        return errno;
    // An immutable or append-only folder keeps its entries.
    if (parent.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND))
        return hooks.refuse(name, EPERM);
    hooks.folders.push_back(parent);
    struct stat st {};
    if (::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (!S_ISDIR(st.st_mode))
        return hooks.entry(dir, name);
    return walkFolders(dir, name, -1, name, st, hooks);
}

int FileTreeOps::listTree(int dir, const char* name, std::vector<std::string>& paths) {
    struct stat st {};
    if (::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    paths.emplace_back(name);
    if (!S_ISDIR(st.st_mode))
        return 0;
    struct List : NoHooks {
        std::vector<std::string>& paths;
        std::vector<std::string> folders; // the open folders' relative paths
        int enter(int, int, const char* n, const char*, const struct stat&) {
            if (!folders.empty())
                paths.push_back(folders.back() + '/' + n);
            folders.push_back(paths.back());
            return 0;
        }
        int leaf(int, int, const char* n, const struct stat&) {
            paths.push_back(folders.back() + '/' + n);
            return 0;
        }
        int left(int, int, const char*) {
            folders.pop_back();
            return 0;
        }
    } hooks{{}, paths, {}};
    hooks.vanishedIsFine = true;
    return walkFolders(dir, name, -1, name, st, hooks);
}

} // namespace ringfold
