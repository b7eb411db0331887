#include "app/operations/CopyVerification.h"

#include "app/operations/FolderWalk.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace ringfold {

namespace {

using Fd = FolderWalk::Fd;

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

int CopyVerification::verifyTree(int srcDir, const char* srcName, int dstDir, const char* dstName,
                                 const CopyManifest* copied) {
    struct stat a {};
    if (::fstatat(srcDir, srcName, &a, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (!S_ISDIR(a.st_mode))
        return verifyLeaf(srcDir, srcName, dstDir, dstName, a);
    // With the copy's record, what appeared or changed in the source since it was
    // copied is left out: the move keeps it in the source.
    struct Verify : FolderWalk::Hooks {
        const CopyManifest* copied;
        bool leftOut(const struct stat& s) const { return copied && !copied->matches(s); }
        int enter(int, int dParent, const char*, const char* dName, const struct stat& s) {
            if (leftOut(s))
                return FolderWalk::kSkipFolder;
            struct stat b {};
            if (::fstatat(dParent, dName, &b, AT_SYMLINK_NOFOLLOW) != 0)
                return errno;
            return S_ISDIR(b.st_mode) ? 0 : EIO;
        }
        int names(int, int dFd, std::vector<std::string>& children) {
            std::vector<std::string> made;
            if (int e = FolderWalk::entryNames(dFd, made))
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
    return FolderWalk::walk(srcDir, srcName, dstDir, dstName, a, hooks);
}

} // namespace ringfold
