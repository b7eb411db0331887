#include "support/FixtureTree.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace ringfold::test {

namespace {

[[noreturn]] void fail(const char* what, std::string_view rel) {
    throw std::runtime_error(std::string("fixture: ") + what + " '" + std::string(rel) +
                             "': " + std::strerror(errno));
}

std::vector<std::string> splitPath(std::string_view rel) {
    std::vector<std::string> parts;
    while (!rel.empty()) {
        auto slash = rel.find('/');
        std::string_view part = rel.substr(0, slash);
        if (!part.empty())
            parts.emplace_back(part);
        if (slash == std::string_view::npos)
            break;
        rel.remove_prefix(slash + 1);
    }
    return parts;
}

constexpr int kDirFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

// Closes a descriptor when it goes out of scope.
struct Fd {
    int fd = -1;
    explicit Fd(int f) : fd(f) {}
    ~Fd() {
        if (fd >= 0)
            ::close(fd);
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
};

void writeAll(int fd, const char* data, std::size_t n, std::string_view rel) {
    while (n > 0) {
        ssize_t w = ::write(fd, data, n);
        if (w < 0) {
            if (errno == EINTR)
                continue;
            fail("write", rel);
        }
        data += w;
        n -= static_cast<std::size_t>(w);
    }
}

void writeData(int fd, std::int64_t size, char fill, std::string_view rel) {
    std::string chunk(static_cast<std::size_t>(std::min<std::int64_t>(size, 1 << 20)), fill);
    while (size > 0) {
        auto n = static_cast<std::size_t>(std::min<std::int64_t>(size, std::int64_t(chunk.size())));
        writeAll(fd, chunk.data(), n, rel);
        size -= static_cast<std::int64_t>(n);
    }
}

} // namespace

FixtureTree::FixtureTree() {
    const char* tmp = std::getenv("TMPDIR");
    std::string base = (tmp && *tmp) ? tmp : "/tmp";
    std::string templ = base + "/ringfold-fixture-XXXXXX";
    std::vector<char> buf(templ.begin(), templ.end());
    buf.push_back('\0');
    if (!::mkdtemp(buf.data()))
        fail("mkdtemp", templ);
    m_root = buf.data();
}

FixtureTree::~FixtureTree() {
    removeAll();
}

std::string FixtureTree::fullPath(std::string_view rel) const {
    if (rel.empty())
        return m_root;
    return m_root + "/" + std::string(rel);
}

int FixtureTree::openParent(std::string_view rel, bool create, std::string& leaf) const {
    auto parts = splitPath(rel);
    if (parts.empty()) {
        errno = EINVAL;
        fail("empty path", rel);
    }
    leaf = parts.back();
    parts.pop_back();
    int fd = ::open(m_root.c_str(), kDirFlags);
    if (fd < 0)
        fail("open root", m_root);
    for (const auto& part : parts) {
        if (create && ::mkdirat(fd, part.c_str(), 0755) != 0 && errno != EEXIST) {
            int saved = errno;
            ::close(fd);
            errno = saved;
            fail("mkdir", rel);
        }
        int next = ::openat(fd, part.c_str(), kDirFlags);
        int saved = errno;
        ::close(fd);
        if (next < 0) {
            errno = saved;
            fail("open folder on the way to", rel);
        }
        fd = next;
    }
    return fd;
}

void FixtureTree::makeFolder(std::string_view rel) {
    std::string leaf;
    Fd dir(openParent(rel, true, leaf));
    if (::mkdirat(dir.fd, leaf.c_str(), 0755) != 0 && errno != EEXIST)
        fail("mkdir", rel);
}

void FixtureTree::writeFile(std::string_view rel, std::int64_t size, char fill) {
    std::string leaf;
    Fd dir(openParent(rel, true, leaf));
    Fd f(::openat(dir.fd, leaf.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (f.fd < 0)
        fail("create", rel);
    writeData(f.fd, size, fill, rel);
}

void FixtureTree::sparseFile(std::string_view rel, std::int64_t logicalSize,
                             std::int64_t dataBytes) {
    std::string leaf;
    Fd dir(openParent(rel, true, leaf));
    Fd f(::openat(dir.fd, leaf.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (f.fd < 0)
        fail("create", rel);
    writeData(f.fd, dataBytes, 's', rel);
    if (::ftruncate(f.fd, logicalSize) != 0)
        fail("ftruncate", rel);
}

void FixtureTree::hardLink(std::string_view existingRel, std::string_view newRel) {
    std::string oldLeaf, newLeaf;
    Fd oldDir(openParent(existingRel, false, oldLeaf));
    Fd newDir(openParent(newRel, true, newLeaf));
    if (::linkat(oldDir.fd, oldLeaf.c_str(), newDir.fd, newLeaf.c_str(), 0) != 0)
        fail("link", newRel);
}

void FixtureTree::symlink(std::string_view target, std::string_view rel) {
    std::string leaf;
    Fd dir(openParent(rel, true, leaf));
    if (::symlinkat(std::string(target).c_str(), dir.fd, leaf.c_str()) != 0)
        fail("symlink", rel);
}

void FixtureTree::fifo(std::string_view rel) {
    std::string leaf;
    Fd dir(openParent(rel, true, leaf));
    if (::mkfifoat(dir.fd, leaf.c_str(), 0644) != 0)
        fail("mkfifo", rel);
}

void FixtureTree::chmod(std::string_view rel, mode_t mode) {
    if (splitPath(rel).empty()) {
        if (::chmod(m_root.c_str(), mode) != 0)
            fail("chmod", m_root);
        return;
    }
    std::string leaf;
    Fd dir(openParent(rel, false, leaf));
    if (::fchmodat(dir.fd, leaf.c_str(), mode, 0) != 0)
        fail("chmod", rel);
}

void FixtureTree::remove(std::string_view rel) {
    std::string leaf;
    Fd dir(openParent(rel, false, leaf));
    if (::unlinkat(dir.fd, leaf.c_str(), 0) != 0 &&
        !(errno == EISDIR && ::unlinkat(dir.fd, leaf.c_str(), AT_REMOVEDIR) == 0))
        fail("remove", rel);
}

std::string FixtureTree::deepChain(std::string_view rel, int depth, std::string_view segment) {
    makeFolder(rel);
    std::string leaf;
    int fd = openParent(std::string(rel) + "/x", false, leaf);
    const std::string seg(segment);
    std::string path(rel);
    path.reserve(path.size() + static_cast<std::size_t>(depth) * (seg.size() + 1));
    for (int i = 0; i < depth; ++i) {
        if (::mkdirat(fd, seg.c_str(), 0755) != 0 && errno != EEXIST) {
            ::close(fd);
            fail("mkdir in chain", rel);
        }
        int next = ::openat(fd, seg.c_str(), kDirFlags);
        ::close(fd);
        if (next < 0)
            fail("open in chain", rel);
        fd = next;
        path += '/';
        path += seg;
    }
    ::close(fd);
    return path;
}

std::int64_t FixtureTree::allocatedSizeOf(std::string_view rel) const {
    struct stat st {};
    if (splitPath(rel).empty()) {
        if (::lstat(m_root.c_str(), &st) != 0)
            fail("stat", m_root);
    } else {
        std::string leaf;
        Fd dir(openParent(rel, false, leaf));
        if (::fstatat(dir.fd, leaf.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0)
            fail("stat", rel);
    }
    return static_cast<std::int64_t>(st.st_blocks) * 512;
}

std::int64_t FixtureTree::logicalSizeOf(std::string_view rel) const {
    struct stat st {};
    if (splitPath(rel).empty()) {
        if (::lstat(m_root.c_str(), &st) != 0)
            fail("stat", m_root);
    } else {
        std::string leaf;
        Fd dir(openParent(rel, false, leaf));
        if (::fstatat(dir.fd, leaf.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0)
            fail("stat", rel);
    }
    return static_cast<std::int64_t>(st.st_size);
}

void FixtureTree::removeAll() {
    // Depth first without recursion and with one descriptor at a time: climb back up
    // through "..", so chains deeper than PATH_MAX come apart too. Every folder gets
    // its permissions back before it is opened, in case a test locked it.
    struct Level {
        std::string name; // of this folder inside its parent
        std::vector<std::string> subfolders;
    };
    ::chmod(m_root.c_str(), 0700);
    int fd = ::open(m_root.c_str(), kDirFlags);
    if (fd < 0)
        return;
    std::vector<Level> stack;
    auto enter = [&](int dirfd, std::string name) {
        Level level{std::move(name), {}};
        int dupfd = ::dup(dirfd);
        if (DIR* d = dupfd >= 0 ? ::fdopendir(dupfd) : nullptr) {
            while (dirent* e = ::readdir(d)) {
                const char* n = e->d_name;
                if (n[0] == '.' && (n[1] == '\0' || (n[1] == '.' && n[2] == '\0')))
                    continue;
                struct stat st {};
                if (::fstatat(dirfd, n, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode))
                    level.subfolders.emplace_back(n);
                else
                    ::unlinkat(dirfd, n, 0);
            }
            ::closedir(d);
        } else if (dupfd >= 0) {
            ::close(dupfd);
        }
        stack.push_back(std::move(level));
    };
    enter(fd, "");
    while (!stack.empty()) {
        Level& top = stack.back();
        if (!top.subfolders.empty()) {
            std::string sub = std::move(top.subfolders.back());
            top.subfolders.pop_back();
            ::fchmodat(fd, sub.c_str(), 0700, 0);
            int next = ::openat(fd, sub.c_str(), kDirFlags | O_NOFOLLOW);
            if (next < 0)
                continue;
            ::close(fd);
            fd = next;
            enter(fd, std::move(sub));
            continue;
        }
        std::string name = std::move(top.name);
        stack.pop_back();
        if (stack.empty())
            break;
        int parent = ::openat(fd, "..", kDirFlags);
        ::close(fd);
        if (parent < 0)
            return;
        fd = parent;
        ::unlinkat(fd, name.c_str(), AT_REMOVEDIR);
    }
    ::close(fd);
    ::rmdir(m_root.c_str());
}

} // namespace ringfold::test
