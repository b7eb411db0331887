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

void writeData(int fd, std::int64_t size, char fill, std::string_view rel) {
    const std::string chunk(static_cast<std::size_t>(std::min<std::int64_t>(size, 1 << 20)), fill);
    while (size > 0) {
        ssize_t w = ::write(fd, chunk.data(), std::min(chunk.size(), std::size_t(size)));
        if (w < 0 && errno != EINTR)
            fail("write", rel);
        size -= std::max<ssize_t>(w, 0);
    }
}

} // namespace

FixtureTree::FixtureTree()
    : FixtureTree(std::getenv("TMPDIR") && *std::getenv("TMPDIR") ? std::getenv("TMPDIR")
                                                                   : "/tmp") {}

FixtureTree::FixtureTree(const std::string& base) {
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
    leaf = parts.empty() ? "." : parts.back();
    if (!parts.empty())
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

template <typename Op>
void FixtureTree::inFolderOf(std::string_view rel, bool create, const char* what, Op op) const {
    std::string leaf;
    Fd dir(openParent(rel, create, leaf));
    if (!op(dir.fd, leaf.c_str()))
        fail(what, rel);
}

void FixtureTree::makeFolder(std::string_view rel) {
    inFolderOf(rel, true, "mkdir", [](int dir, const char* name) {
        return ::mkdirat(dir, name, 0755) == 0 || errno == EEXIST;
    });
}

int FixtureTree::create(std::string_view rel) {
    int fd = -1;
    inFolderOf(rel, true, "create", [&](int dir, const char* name) {
        fd = ::openat(dir, name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        return fd >= 0;
    });
    return fd;
}

void FixtureTree::writeFile(std::string_view rel, std::int64_t size, char fill) {
    Fd f(create(rel));
    writeData(f.fd, size, fill, rel);
}

void FixtureTree::writeFiles(
    std::initializer_list<std::pair<std::string_view, std::int64_t>> files) {
    for (const auto& [rel, size] : files)
        writeFile(rel, size);
}

void FixtureTree::sparseFile(std::string_view rel, std::int64_t logicalSize,
                             std::int64_t dataBytes) {
    Fd f(create(rel));
    writeData(f.fd, dataBytes, 's', rel);
    if (::ftruncate(f.fd, logicalSize) != 0)
        fail("ftruncate", rel);
}

void FixtureTree::hardLink(std::string_view existingRel, std::string_view newRel) {
    std::string oldLeaf;
    Fd oldDir(openParent(existingRel, false, oldLeaf));
    inFolderOf(newRel, true, "link", [&](int dir, const char* name) {
        return ::linkat(oldDir.fd, oldLeaf.c_str(), dir, name, 0) == 0;
    });
}

void FixtureTree::symlink(std::string_view target, std::string_view rel) {
    inFolderOf(rel, true, "symlink", [t = std::string(target)](int dir, const char* name) {
        return ::symlinkat(t.c_str(), dir, name) == 0;
    });
}

void FixtureTree::fifo(std::string_view rel) {
    inFolderOf(rel, true, "mkfifo",
               [](int dir, const char* name) { return ::mkfifoat(dir, name, 0644) == 0; });
}

void FixtureTree::chmod(std::string_view rel, mode_t mode) {
    inFolderOf(rel, false, "chmod",
               [&](int dir, const char* name) { return ::fchmodat(dir, name, mode, 0) == 0; });
}

void FixtureTree::remove(std::string_view rel) {
    inFolderOf(rel, false, "remove", [](int dir, const char* name) {
        return ::unlinkat(dir, name, 0) == 0 ||
               (errno == EISDIR && ::unlinkat(dir, name, AT_REMOVEDIR) == 0);
    });
}

std::string FixtureTree::deepChain(std::string_view rel, int depth, std::string_view segment) {
    // makeFolder walks and creates the components one at a time, so one call builds it.
    std::string path(rel);
    for (int i = 0; i < depth; ++i)
        (path += '/') += segment;
    makeFolder(path);
    return path;
}

struct stat FixtureTree::statOf(std::string_view rel) const {
    struct stat st {};
    inFolderOf(rel, false, "stat", [&](int dir, const char* name) {
        return ::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) == 0;
    });
    return st;
}

std::int64_t FixtureTree::allocatedSizeOf(std::string_view rel) const {
    return static_cast<std::int64_t>(statOf(rel).st_blocks) * 512;
}

std::int64_t FixtureTree::logicalSizeOf(std::string_view rel) const {
    return static_cast<std::int64_t>(statOf(rel).st_size);
}

namespace {

// Empties the folder open as `fd` and returns a descriptor of it again. Only one
// descriptor is open at a time, coming back up through "..", so chains deeper than
// PATH_MAX or the descriptor limit come apart too. Every folder gets its permissions
// back before it is opened, in case a test locked it.
int emptyFolder(int fd) {
    std::vector<std::string> subfolders;
    if (DIR* d = ::fdopendir(::dup(fd))) {
        while (dirent* e = ::readdir(d)) {
            const std::string_view n = e->d_name;
            struct stat st {};
            if (n == "." || n == "..")
                continue;
            if (::fstatat(fd, e->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode))
                subfolders.emplace_back(n);
            else
                ::unlinkat(fd, e->d_name, 0);
        }
        ::closedir(d);
    }
    for (const auto& sub : subfolders) {
        ::fchmodat(fd, sub.c_str(), 0700, 0);
        int child = ::openat(fd, sub.c_str(), kDirFlags | O_NOFOLLOW);
        if (child < 0)
            continue;
        ::close(fd);
        child = emptyFolder(child);
        fd = child < 0 ? -1 : ::openat(child, "..", kDirFlags);
        ::close(child);
        if (fd < 0)
            return -1;
        ::unlinkat(fd, sub.c_str(), AT_REMOVEDIR);
    }
    return fd;
}

} // namespace

void FixtureTree::removeAll() {
    ::chmod(m_root.c_str(), 0700);
    if (int fd = ::open(m_root.c_str(), kDirFlags); fd >= 0)
        ::close(emptyFolder(fd));
    ::rmdir(m_root.c_str());
}

} // namespace ringfold::test
