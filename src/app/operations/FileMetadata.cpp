#include "app/operations/FileMetadata.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace ringfold {

namespace {

// One end of an attribute copy: an open descriptor, or else a path whose last
// component is not followed.
struct Target {
    int fd = -1;
    std::string path;

    ssize_t list(char* out, std::size_t size) const {
        return fd >= 0 ? ::flistxattr(fd, out, size) : ::llistxattr(path.c_str(), out, size);
    }
    ssize_t get(const char* name, char* out, std::size_t size) const {
        return fd >= 0 ? ::fgetxattr(fd, name, out, size)
                       : ::lgetxattr(path.c_str(), name, out, size);
    }
    int set(const char* name, const std::vector<char>& value) const {
        const int r = fd >= 0 ? ::fsetxattr(fd, name, value.data(), value.size(), 0)
                              : ::lsetxattr(path.c_str(), name, value.data(), value.size(), 0);
        return r == 0 ? 0 : errno;
    }
    void remove(const char* name) const {
        (void)(fd >= 0 ? ::fremovexattr(fd, name) : ::lremovexattr(path.c_str(), name));
    }
};

// A name list or a value, which may grow between asking for its size and reading it.
template <typename Read> int readGrowing(std::vector<char>& buffer, Read read) {
    for (int attempt = 0; attempt < 8; ++attempt) {
        const ssize_t size = read(nullptr, 0);
        if (size < 0)
            return errno;
        buffer.resize(std::size_t(size) + 64);
        const ssize_t n = read(buffer.data(), buffer.size());
        if (n >= 0) {
            buffer.resize(std::size_t(n));
            return 0;
        }
        if (errno != ERANGE)
            return errno;
    }
    return ERANGE;
}

constexpr const char* kAccessAcl = "system.posix_acl_access";
constexpr const char* kDefaultAcl = "system.posix_acl_default";

// Losing an attribute passes where `mv` lets it pass: the destination holds no such
// attributes at all (EOPNOTSUPP, which is also ENOTSUP here), or it is one of the
// system's labels (security.*, trusted.*) that we are not permitted to read or set, or
// that the destination's security policy does not know (EINVAL): a new entry gets the
// destination's own label then. Any other failure, on user data or an ACL, fails the
// copy rather than silently widening or narrowing who may read the file.
bool mayLose(std::string_view name, int error) {
    if (error == EOPNOTSUPP)
        return true;
    const bool label = name.starts_with("security.") || name.starts_with("trusted.");
    return label && (error == EPERM || error == EACCES || error == EINVAL);
}

int copyAttributes(const Target& from, const Target& to) {
    std::vector<char> names, value;
    if (int e = readGrowing(names, [&](char* b, std::size_t n) { return from.list(b, n); }))
        return e == EOPNOTSUPP ? 0 : e;
    bool accessAcl = false, defaultAcl = false;
    for (std::size_t at = 0; at < names.size(); at += std::strlen(names.data() + at) + 1) {
        const char* name = names.data() + at;
        accessAcl = accessAcl || std::strcmp(name, kAccessAcl) == 0;
        defaultAcl = defaultAcl || std::strcmp(name, kDefaultAcl) == 0;
        int e = readGrowing(value, [&](char* b, std::size_t n) { return from.get(name, b, n); });
        if (e == ENODATA) // removed since it was listed
            continue;
        if (!e)
            e = to.set(name, value);
        if (e && !mayLose(name, e))
            return e;
    }
    // A new entry inherits the default ACL of the folder it was made in; the source's
    // permissions are its mode alone when it has no ACL, as the copy's must be.
    if (!accessAcl)
        to.remove(kAccessAcl);
    if (!defaultAcl)
        to.remove(kDefaultAcl);
    return 0;
}

} // namespace

int FileMetadata::apply(int src, int dst, const struct stat& st) {
    // Before the attributes: a change of owner drops file capabilities (security.capability).
    const bool ownerKept = ::fchown(dst, st.st_uid, st.st_gid) == 0;
    if (int e = copyAttributes(Target{src, {}}, Target{dst, {}}))
        return e;
    mode_t mode = st.st_mode & 07777;
    if (!ownerKept)
        mode &= ~mode_t(S_ISUID | S_ISGID);
    if (::fchmod(dst, mode) != 0)
        return errno;
    const timespec times[2] = {st.st_atim, st.st_mtim};
    return ::futimens(dst, times) == 0 ? 0 : errno;
}

int FileMetadata::copyAttributesAt(int srcDir, const char* srcName, int dstDir,
                                   const char* dstName) {
    // The l* calls take paths; the folders' descriptors keep them pinned to the walk.
    const auto at = [](int dir, const char* name) {
        return "/proc/self/fd/" + std::to_string(dir) + "/" + name;
    };
    const int e = copyAttributes(Target{-1, at(srcDir, srcName)}, Target{-1, at(dstDir, dstName)});
    return e == ENOENT ? 0 : e; // no /proc: links and devices lose their (rare) attributes
}

} // namespace ringfold
