#include "support/FixtureTree.h"

#include "support/ChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>
#include <vector>

namespace ringfold::test {

namespace {

constexpr int kDirFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

[[noreturn]] void fail(const char* what, std::string_view rel) {
    throw std::runtime_error(std::string("fixture: ") + what + " '" + std::string(rel) +
                             "': " + std::strerror(errno));
}

// A descriptor closed when it goes out of scope.
struct Fd {
    int fd;
    ~Fd() { fd < 0 || ::close(fd); }
};

// Opens the folder holding the last component of `rel` under `root` (creating the
// folders on the way when `create`) and sets `leaf` to that last name.
int openParent(const std::string& root, std::string_view rel, bool create, std::string& leaf) {
    std::vector<std::string> parts;
    for (std::size_t i = 0, j; i <= rel.size(); i = j + 1)
        if ((j = std::min(rel.find('/', i), rel.size())) > i)
            parts.emplace_back(rel.substr(i, j - i));
    leaf = parts.empty() ? "." : parts.back();
    int fd = ::open(root.c_str(), kDirFlags);
    for (std::size_t i = 0; i + 1 < parts.size() && fd >= 0; ++i) {
        if (create)
            ::mkdirat(fd, parts[i].c_str(), 0755); // an existing folder is fine; openat tells
        const Fd parent{fd};
        fd = ::openat(parent.fd, parts[i].c_str(), kDirFlags);
    }
    if (fd < 0)
        fail("open the folders on the way to", rel);
    return fd;
}

// Runs op(folder descriptor, last name) in the folder holding `rel`; throws naming `what`
// when op returns false.
template <typename Op>
void inFolderOf(const std::string& root, std::string_view rel, bool create, const char* what,
                Op op) {
    std::string leaf;
    const Fd dir{openParent(root, rel, create, leaf)};
    if (!op(dir.fd, leaf.c_str()))
        fail(what, rel);
}

// Creates or truncates a regular file and writes `size` bytes of `fill` into it.
int createFile(const std::string& root, std::string_view rel, std::int64_t size, char fill) {
    int fd = -1;
    inFolderOf(root, rel, true, "create", [&](int dir, const char* name) {
        return (fd = ::openat(dir, name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)) >= 0;
    });
    const std::string chunk(static_cast<std::size_t>(std::min<std::int64_t>(size, 1 << 20)), fill);
    for (ssize_t w = 0; size > 0; size -= std::max<ssize_t>(w, 0))
        if ((w = ::write(fd, chunk.data(), std::min(chunk.size(), std::size_t(size)))) < 0 &&
            errno != EINTR)
            fail("write", rel);
    return fd;
}

} // namespace

FixtureTree::FixtureTree()
    : FixtureTree(std::getenv("TMPDIR") && *std::getenv("TMPDIR") ? std::getenv("TMPDIR")
                                                                   : "/tmp") {}

FixtureTree::FixtureTree(const std::string& base) {
    std::string templ = base + "/ringfold-fixture-XXXXXX";
    if (!::mkdtemp(templ.data()))
        fail("mkdtemp", templ);
    m_root = templ;
}

// chmod and rm walk with openat, so trees deeper than PATH_MAX come apart too, and
// folders a test locked get their permissions back first.
FixtureTree::~FixtureTree() {
    try {
        runCommand({"chmod", "-R", "u+rwx", m_root});
        runCommand({"rm", "-rf", m_root});
    } catch (const std::exception&) {
    }
}

void FixtureTree::makeFolder(std::string_view rel) {
    inFolderOf(m_root, rel, true, "mkdir", [](int dir, const char* name) {
        return ::mkdirat(dir, name, 0755) == 0 || errno == EEXIST;
    });
}

void FixtureTree::writeFile(std::string_view rel, std::int64_t size, char fill) {
    const Fd f{createFile(m_root, rel, size, fill)};
}

void FixtureTree::writeText(std::string_view rel, std::string_view content) {
    const Fd f{createFile(m_root, rel, 0, 0)};
    if (::write(f.fd, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
        fail("write", rel);
}

void FixtureTree::sparseFile(std::string_view rel, std::int64_t logicalSize,
                             std::int64_t dataBytes) {
    const Fd f{createFile(m_root, rel, dataBytes, 's')};
    if (::ftruncate(f.fd, logicalSize) != 0)
        fail("ftruncate", rel);
}

void FixtureTree::hardLink(std::string_view existingRel, std::string_view newRel) {
    std::string oldLeaf;
    const Fd oldDir{openParent(m_root, existingRel, false, oldLeaf)};
    inFolderOf(m_root, newRel, true, "link", [&](int dir, const char* name) {
        return ::linkat(oldDir.fd, oldLeaf.c_str(), dir, name, 0) == 0;
    });
}

void FixtureTree::symlink(std::string_view target, std::string_view rel) {
    inFolderOf(m_root, rel, true, "symlink", [t = std::string(target)](int dir, const char* name) {
        return ::symlinkat(t.c_str(), dir, name) == 0;
    });
}

void FixtureTree::fifo(std::string_view rel) {
    inFolderOf(m_root, rel, true, "mkfifo",
               [](int dir, const char* name) { return ::mkfifoat(dir, name, 0644) == 0; });
}

void FixtureTree::chmod(std::string_view rel, mode_t mode) {
    inFolderOf(m_root, rel, false, "chmod",
               [&](int dir, const char* name) { return ::fchmodat(dir, name, mode, 0) == 0; });
}

void FixtureTree::remove(std::string_view rel) {
    inFolderOf(m_root, rel, false, "remove", [](int dir, const char* name) {
        return ::unlinkat(dir, name, 0) == 0 ||
               (errno == EISDIR && ::unlinkat(dir, name, AT_REMOVEDIR) == 0);
    });
}

std::string FixtureTree::deepChain(std::string_view rel, int depth, std::string_view segment) {
    std::string path(rel); // makeFolder creates the components one at a time
    for (int i = 0; i < depth; ++i)
        (path += '/') += segment;
    makeFolder(path);
    return path;
}

struct stat FixtureTree::statOf(std::string_view rel) const {
    struct stat st {};
    inFolderOf(m_root, rel, false, "stat", [&](int dir, const char* name) {
        return ::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) == 0;
    });
    return st;
}

} // namespace ringfold::test
