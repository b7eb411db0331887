#include "app/operations/FileTreeOps.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

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

// Owner where allowed (quietly: only root may give files away), then the permission
// bits (set-id bits only when the owner could be kept), then the times.
int applyMetadata(int fd, const struct stat& st) {
    const bool ownerKept = ::fchown(fd, st.st_uid, st.st_gid) == 0;
    mode_t mode = st.st_mode & 07777;
    if (!ownerKept)
        mode &= ~mode_t(S_ISUID | S_ISGID);
    if (::fchmod(fd, mode) != 0)
        return errno;
    const timespec times[2] = {st.st_atim, st.st_mtim};
    return ::futimens(fd, times) == 0 ? 0 : errno;
}

int writeAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        data += n;
        size -= std::size_t(n);
    }
    return 0;
}

int copyContents(int in, int out) {
    bool fallback = false;
    std::int64_t total = 0;
    while (!fallback) {
        ssize_t n = ::copy_file_range(in, nullptr, out, nullptr, std::size_t(1) << 30, 0);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            if (total == 0 && (errno == EXDEV || errno == ENOSYS || errno == EINVAL ||
                               errno == EOPNOTSUPP || errno == EBADF || errno == EPERM)) {
                fallback = true;
                break;
            }
            return errno;
        }
        if (n == 0)
            return 0;
        total += n;
    }
    std::vector<char> buffer(std::size_t(1) << 20);
    for (;;) {
        ssize_t n = ::read(in, buffer.data(), buffer.size());
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (n == 0)
            return 0;
        if (int e = writeAll(out, buffer.data(), std::size_t(n)))
            return e;
    }
}

int copyRegular(int srcDir, const char* srcName, int dstDir, const char* dstName,
                const struct stat& st, bool& created) {
    Fd in(::openat(srcDir, srcName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!in)
        return errno;
    Fd out(::openat(dstDir, dstName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!out)
        return errno;
    created = true;
    if (int e = copyContents(in.get(), out.get()))
        return e;
    if (int e = applyMetadata(out.get(), st))
        return e;
    // Network file systems report write errors as late as close.
    return ::close(out.release()) == 0 ? 0 : errno;
}

int copyDirectory(int srcDir, const char* srcName, int dstDir, const char* dstName,
                  const struct stat& st, bool& created) {
    Fd src(FileTreeOps::openDirectory(srcDir, srcName));
    if (!src)
        return errno;
    std::vector<std::string> names;
    if (int e = FileTreeOps::entryNames(src.get(), names))
        return e;
    // Owner-writable while filling it; the source's bits are applied at the end.
    if (::mkdirat(dstDir, dstName, 0700) != 0)
        return errno;
    created = true;
    Fd dst(FileTreeOps::openDirectory(dstDir, dstName));
    if (!dst)
        return errno;
    for (const std::string& name : names) {
        bool childCreated = false;
        if (int e = FileTreeOps::copyEntry(src.get(), name.c_str(), dst.get(), name.c_str(),
                                           childCreated))
            return e;
    }
    return applyMetadata(dst.get(), st);
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
    const timespec times[2] = {st.st_atim, st.st_mtim};
    return ::utimensat(dstDir, dstName, times, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

int copySpecial(int dstDir, const char* dstName, const struct stat& st, bool& created) {
    if (::mknodat(dstDir, dstName, (st.st_mode & S_IFMT) | 0600, st.st_rdev) != 0)
        return errno;
    created = true;
    (void)::fchownat(dstDir, dstName, st.st_uid, st.st_gid, AT_SYMLINK_NOFOLLOW);
    if (::fchmodat(dstDir, dstName, st.st_mode & 0777, 0) != 0)
        return errno;
    const timespec times[2] = {st.st_atim, st.st_mtim};
    return ::utimensat(dstDir, dstName, times, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

} // namespace

int FileTreeOps::copyEntry(int srcDir, const char* srcName, int dstDir, const char* dstName,
                           bool& created) {
    struct stat st {};
    if (::fstatat(srcDir, srcName, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (S_ISREG(st.st_mode))
        return copyRegular(srcDir, srcName, dstDir, dstName, st, created);
    if (S_ISDIR(st.st_mode))
        return copyDirectory(srcDir, srcName, dstDir, dstName, st, created);
    if (S_ISLNK(st.st_mode))
        return copySymlink(srcDir, srcName, dstDir, dstName, st, created);
    return copySpecial(dstDir, dstName, st, created);
}

namespace {

// Opens the folder `name` in `dir` and calls `visit(folderFd, childName)` for each
// entry until one returns an error, which is passed on.
template <typename Visit> int forEachChild(int dir, const char* name, Visit&& visit) {
    FileTreeOps::Fd fd(FileTreeOps::openDirectory(dir, name));
    if (!fd)
        return errno;
    std::vector<std::string> names;
    if (int e = FileTreeOps::entryNames(fd.get(), names))
        return e;
    for (const std::string& child : names)
        if (int e = visit(fd.get(), child.c_str()))
            return e;
    return 0;
}

} // namespace

// Removes an item and everything in it. `ownCopy`: the item is a partial copy of
// ours, whose folders may carry read-only bits copied from the source.
int FileTreeOps::removeTree(int dir, const char* name, bool ownCopy) {
    struct stat st {};
    if (::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? 0 : errno;
    if (S_ISDIR(st.st_mode)) {
        if (ownCopy && (st.st_mode & 0700) != 0700)
            (void)::fchmodat(dir, name, (st.st_mode & 07777) | 0700, 0);
        if (int e = forEachChild(dir, name, [ownCopy](int fd, const char* child) {
                return removeTree(fd, child, ownCopy);
            }))
            return e;
        return ::unlinkat(dir, name, AT_REMOVEDIR) == 0 ? 0 : errno;
    }
    return ::unlinkat(dir, name, 0) == 0 ? 0 : errno;
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

} // namespace

// Compares a copy with its source: same kinds, names, link targets and bytes.
// A difference reads as EIO.
int FileTreeOps::verifyTree(int srcDir, const char* srcName, int dstDir, const char* dstName) {
    struct stat a {
    }, b{};
    if (::fstatat(srcDir, srcName, &a, AT_SYMLINK_NOFOLLOW) != 0 ||
        ::fstatat(dstDir, dstName, &b, AT_SYMLINK_NOFOLLOW) != 0)
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
        char ta[PATH_MAX + 1], tb[PATH_MAX + 1];
        ssize_t na = ::readlinkat(srcDir, srcName, ta, PATH_MAX);
        ssize_t nb = ::readlinkat(dstDir, dstName, tb, PATH_MAX);
        if (na < 0 || nb < 0)
            return errno;
        return na == nb && std::memcmp(ta, tb, std::size_t(na)) == 0 ? 0 : EIO;
    }
    if (S_ISDIR(a.st_mode)) {
        Fd da(FileTreeOps::openDirectory(srcDir, srcName)),
            db(FileTreeOps::openDirectory(dstDir, dstName));
        if (!da || !db)
            return errno;
        std::vector<std::string> na, nb;
        if (int e = FileTreeOps::entryNames(da.get(), na))
            return e;
        if (int e = FileTreeOps::entryNames(db.get(), nb))
            return e;
        if (na.size() != nb.size())
            return EIO;
        for (const std::string& name : na)
            if (int e = verifyTree(da.get(), name.c_str(), db.get(), name.c_str()))
                return e;
    }
    return 0;
}

// Whether the whole source can be removed once it is copied, so that a move across
// file systems does not stop half-way through deleting it: folders readable and
// writable, no other file system mounted inside.
int FileTreeOps::checkRemovable(int dir, const char* name, dev_t device) {
    struct stat st {};
    if (::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (!S_ISDIR(st.st_mode))
        return 0;
    if (st.st_dev != device)
        return EBUSY;
    if (::faccessat(dir, name, R_OK | W_OK | X_OK, 0) != 0)
        return errno;
    return forEachChild(dir, name, [device](int fd, const char* child) {
        return checkRemovable(fd, child, device);
    });
}

} // namespace ringfold
