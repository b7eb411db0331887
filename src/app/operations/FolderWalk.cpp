#include "app/operations/FolderWalk.h"

#include <cstring>
#include <dirent.h>
#include <unistd.h>

namespace ringfold {

FolderWalk::Fd::~Fd() {
    if (m_fd >= 0)
        ::close(m_fd);
}

void FolderWalk::Fd::reset(int fd) {
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = fd;
}

int FolderWalk::openDirectory(int dir, const char* name) {
    return ::openat(dir, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

int FolderWalk::entryNames(int dirFd, std::vector<std::string>& out) {
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

int FolderWalk::Cursor::down(int from, const char* name) {
    struct stat here {};
    if (::fstat(from, &here) != 0)
        return errno;
    Fd next(openDirectory(from, name));
    if (!next)
        return errno;
    m_above.push_back({here.st_dev, here.st_ino});
    m_fd.reset(next.release());
    return 0;
}

int FolderWalk::Cursor::up() {
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

int FolderWalk::listTree(int dir, const char* name, std::vector<std::string>& paths) {
    struct stat st {};
    if (::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    paths.emplace_back(name);
    if (!S_ISDIR(st.st_mode))
        return 0;
    struct List : Hooks {
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
    return walk(dir, name, -1, name, st, hooks);
}

} // namespace ringfold
