#include "core/scan/DirectoryReader.h"

#include "core/scan/CloudStatusDetector.h"
#include "core/scan/ScanSupport.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace ringfold {

namespace {

constexpr std::size_t kBufferBytes = 262144;
constexpr std::size_t kMaxPooled = 32;

// Idle read buffers, reused across folders and scans instead of allocated per folder.
class BufferPool {
public:
    char* take() {
        {
            std::lock_guard lock(m_mutex);
            if (!m_free.empty()) {
                char* b = m_free.back();
                m_free.pop_back();
                return b;
            }
        }
        auto* b = static_cast<char*>(std::aligned_alloc(64, kBufferBytes));
        if (!b)
            throw std::bad_alloc();
        return b;
    }
    void give(char* b) {
        {
            std::lock_guard lock(m_mutex);
            if (m_free.size() < kMaxPooled) {
                m_free.push_back(b);
                return;
            }
        }
        std::free(b);
    }
    ~BufferPool() {
        for (char* b : m_free)
            std::free(b);
    }

private:
    std::mutex m_mutex;
    std::vector<char*> m_free;
};

BufferPool& pool() {
    static BufferPool p;
    return p;
}

constexpr unsigned kStatxFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
constexpr unsigned kStatxMask =
    STATX_TYPE | STATX_MODE | STATX_NLINK | STATX_INO | STATX_SIZE | STATX_BLOCKS | STATX_MTIME;

ObjectType typeOf(unsigned mode) {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return ObjectType::regular;
    case S_IFDIR:
        return ObjectType::directory;
    case S_IFBLK:
        return ObjectType::blockDevice;
    case S_IFCHR:
        return ObjectType::charDevice;
    case S_IFLNK:
        return ObjectType::symlink;
    case S_IFSOCK:
        return ObjectType::socket;
    case S_IFIFO:
        return ObjectType::fifo;
    default:
        return ObjectType::none;
    }
}

void fromStatx(const struct statx& sx, std::string_view name, BulkEntry& out) {
    out.name = name;
    out.objType = (sx.stx_mask & STATX_TYPE) ? typeOf(sx.stx_mode) : ObjectType::none;
    out.logicalSize =
        (sx.stx_mask & STATX_SIZE)
            ? static_cast<std::int64_t>(std::min<std::uint64_t>(sx.stx_size, INT64_MAX))
            : 0;
    if (sx.stx_mask & STATX_BLOCKS) {
        out.allocatedSize = static_cast<std::int64_t>(sx.stx_blocks) * 512;
        out.allocatedSizeEstimated = false;
    } else if (out.objType == ObjectType::regular) {
        out.allocatedSize = out.logicalSize;
        out.allocatedSizeEstimated = true;
    } else {
        out.allocatedSize = 0;
        out.allocatedSizeEstimated = false;
    }
    if (sx.stx_mask & STATX_MTIME)
        out.modificationDate = sx.stx_mtime.tv_sec;
    else
        out.modificationDate.reset();
    out.fileID = (sx.stx_mask & STATX_INO) ? sx.stx_ino : 0;
    out.linkCount = (sx.stx_mask & STATX_NLINK) ? sx.stx_nlink : 0;
    out.deviceID = foldDeviceID(sx.stx_dev_major, sx.stx_dev_minor);
    out.cloneID = 0;
    out.flags = CloudStatusDetector::linuxFlags(name, out.objType == ObjectType::regular);
}

} // namespace

int openDirectory(const std::string& path) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOCTTY;
    if (path.size() < PATH_MAX)
        return ::open(path.c_str(), flags);
    // Too long for one call: walk it in stretches that each fit, relative to the
    // folder reached so far. Never more than two descriptors at once.
    int dirfd = AT_FDCWD;
    std::size_t pos = 0;
    while (path.size() - pos >= PATH_MAX) {
        std::size_t limit = pos + PATH_MAX - 1;
        std::size_t cut = path.rfind('/', limit);
        if (cut == std::string::npos || cut <= pos) {
            if (dirfd != AT_FDCWD)
                ::close(dirfd);
            errno = ENAMETOOLONG;
            return -1;
        }
        std::string stretch = path.substr(pos, cut - pos);
        if (stretch.empty())
            stretch = "/";
        int next = ::openat(dirfd, stretch.c_str(), flags);
        int saved = errno;
        if (dirfd != AT_FDCWD)
            ::close(dirfd);
        if (next < 0) {
            errno = saved;
            return -1;
        }
        dirfd = next;
        pos = cut + 1;
    }
    int fd = ::openat(dirfd, path.c_str() + pos, flags);
    int saved = errno;
    if (dirfd != AT_FDCWD)
        ::close(dirfd);
    errno = saved;
    return fd;
}

int openSubdirectory(int dirfd, const char* name) {
    return ::openat(dirfd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY);
}

void Fd::reset(int fd) {
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = fd;
}

std::optional<BulkEntry> statPath(const std::string& path) {
    struct statx sx {};
    if (::statx(AT_FDCWD, path.c_str(), kStatxFlags, kStatxMask, &sx) != 0)
        return std::nullopt;
    BulkEntry e;
    std::string_view name = path;
    if (auto slash = name.rfind('/'); slash != std::string_view::npos && name.size() > 1)
        name = name.substr(slash + 1);
    fromStatx(sx, name, e);
    e.name = {};
    return e;
}

int statEntry(int dirfd, const char* name, BulkEntry& out) {
    struct statx sx;
    if (::statx(dirfd, name, kStatxFlags, kStatxMask, &sx) != 0)
        return errno;
    fromStatx(sx, name, out);
    return 0;
}

std::int64_t blockSizeOf(int dirfd) {
    struct statvfs vfs {};
    if (::fstatvfs(dirfd, &vfs) != 0 || vfs.f_bsize == 0)
        return 0;
    return static_cast<std::int64_t>(vfs.f_bsize);
}

DirectoryReader::DirectoryReader() : m_buffer(pool().take()) {}
DirectoryReader::~DirectoryReader() {
    pool().give(m_buffer);
}

long DirectoryReader::fill(int fd) {
    return ::syscall(SYS_getdents64, fd, m_buffer, kBufferBytes);
}

} // namespace ringfold
