#include "app/operations/TreeCopy.h"

#include "app/operations/FileData.h"
#include "app/operations/FileMetadata.h"
#include "app/operations/FolderWalk.h"
#include "app/operations/LinkTracker.h"

#include <cerrno>
#include <climits>
#include <cstddef>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace ringfold {

namespace {

using Fd = FolderWalk::Fd;

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

// What FileMetadata::apply gives an open file, for an entry that cannot be opened for
// it (a symbolic link, a fifo, a device): owner where permitted, extended attributes,
// permission bits (a link has none of its own) and times.
int applyAt(int srcDir, const char* srcName, int dstDir, const char* dstName,
            const struct stat& st) {
    (void)::fchownat(dstDir, dstName, st.st_uid, st.st_gid, AT_SYMLINK_NOFOLLOW);
    if (int e = FileMetadata::copyAttributesAt(srcDir, srcName, dstDir, dstName))
        return e;
    if (!S_ISLNK(st.st_mode) && ::fchmodat(dstDir, dstName, st.st_mode & 0777, 0) != 0)
        return errno;
    const timespec times[2] = {st.st_atim, st.st_mtim};
    return ::utimensat(dstDir, dstName, times, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
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
    return applyAt(srcDir, srcName, dstDir, dstName, st);
}

int copySpecial(int srcDir, const char* srcName, int dstDir, const char* dstName,
                const struct stat& st, bool& created) {
    if (::mknodat(dstDir, dstName, (st.st_mode & S_IFMT) | 0600, st.st_rdev) != 0)
        return errno;
    created = true;
    return applyAt(srcDir, srcName, dstDir, dstName, st);
}

// Any entry that is not a folder.
int copyLeaf(int srcDir, const char* srcName, int dstDir, const char* dstName,
             const struct stat& st, bool& created, FileData& data) {
    if (S_ISREG(st.st_mode))
        return copyRegular(srcDir, srcName, dstDir, dstName, st, created, data);
    if (S_ISLNK(st.st_mode))
        return copySymlink(srcDir, srcName, dstDir, dstName, st, created);
    return copySpecial(srcDir, srcName, dstDir, dstName, st, created);
}

void record(CopyManifest* copied, const struct stat& s) {
    if (copied)
        copied->record(s);
}

} // namespace

int TreeCopy::copyEntry(int srcDir, const char* srcName, int dstDir, const char* dstName,
                        bool& created, CopyManifest* copied,
                        const std::function<void(std::int64_t)>& onBytes) {
    struct stat st {};
    if (::fstatat(srcDir, srcName, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    record(copied, st);
    ByteProgress progress(onBytes);
    FileData data(progress);
    if (!S_ISDIR(st.st_mode)) {
        const int e = copyLeaf(srcDir, srcName, dstDir, dstName, st, created, data);
        progress.flush();
        return e;
    }
    struct Copy : FolderWalk::Hooks {
        bool& created;
        CopyManifest* copied;
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
            bool made = false;
            const int e = copyLeaf(sParent, name, dParent, name, st, made, data);
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
    const int e = FolderWalk::walk(srcDir, srcName, dstDir, dstName, st, hooks);
    progress.flush();
    return e;
}

int TreeCopy::removeTree(int dir, const char* name, bool ownCopy) {
    struct stat st {};
    if (::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? 0 : errno;
    if (!S_ISDIR(st.st_mode))
        return ::unlinkat(dir, name, 0) == 0 ? 0 : errno;
    struct Remove : FolderWalk::Hooks {
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
    return FolderWalk::walk(dir, name, -1, name, st, hooks);
}

} // namespace ringfold
