#include "app/operations/FileTransfer.h"

#include "app/operations/CopyManifest.h"
#include "app/operations/CopyVerification.h"
#include "app/operations/FolderWalk.h"
#include "app/operations/RemovabilityCheck.h"
#include "app/operations/SourceRemoval.h"
#include "app/operations/TreeCopy.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace ringfold {

namespace {

using Fd = FolderWalk::Fd;

struct PathParts {
    std::string parent;
    std::string name;
};

std::optional<PathParts> splitPath(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    const std::size_t slash = path.rfind('/');
    PathParts p;
    if (slash == std::string::npos) {
        p.parent = ".";
        p.name = path;
    } else {
        p.parent = slash == 0 ? "/" : path.substr(0, slash);
        p.name = path.substr(slash + 1);
    }
    if (p.name.empty() || p.name == "." || p.name == "..")
        return std::nullopt;
    return p;
}

// A folder cannot go into itself or one of its own subfolders. Compared by device and
// inode while walking up from the destination, so that another path to the same
// folder (a bind mount, a symbolic link in the path) is caught too.
bool isInside(int destinationParent, const struct stat& source) {
    Fd at(::openat(destinationParent, ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat here {};
    if (!at || ::fstat(at.get(), &here) != 0)
        return false;
    for (int level = 0; level < 1 << 16; ++level) {
        if (here.st_dev == source.st_dev && here.st_ino == source.st_ino)
            return true;
        Fd up(::openat(at.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        struct stat above {};
        if (!up || ::fstat(up.get(), &above) != 0)
            return false;
        if (above.st_dev == here.st_dev && above.st_ino == here.st_ino)
            return false; // the root
        at.reset(up.release());
        here = above;
    }
    return false;
}

// renameat2 without RENAME_NOREPLACE support (some network and FUSE file systems):
// claim the name first with an operation that fails on an existing entry.
int renameClaimingName(const std::string& src, const std::string& dst, const struct stat& st) {
    if (S_ISDIR(st.st_mode)) {
        if (::mkdir(dst.c_str(), 0700) != 0)
            return errno;
        if (::rename(src.c_str(), dst.c_str()) == 0) // replaces only our empty folder
            return 0;
        const int e = errno;
        ::rmdir(dst.c_str());
        return e;
    }
    if (::link(src.c_str(), dst.c_str()) == 0) {
        if (::unlink(src.c_str()) == 0)
            return 0;
        const int e = errno;
        ::unlink(dst.c_str());
        return e;
    }
    if (errno != EPERM && errno != EOPNOTSUPP && errno != EMLINK)
        return errno;
    Fd claim(::open(dst.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!claim)
        return errno;
    if (::rename(src.c_str(), dst.c_str()) == 0)
        return 0;
    const int e = errno;
    ::unlink(dst.c_str());
    return e;
}

struct Endpoints {
    PathParts src, dst;
    Fd srcParent, dstParent;
    struct stat st {};
};

int prepare(const std::string& source, const std::string& destination, Endpoints& ep) {
    auto s = splitPath(source);
    auto d = splitPath(destination);
    if (!s || !d)
        return EINVAL;
    ep.src = *s;
    ep.dst = *d;
    ep.srcParent.reset(::open(ep.src.parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!ep.srcParent)
        return errno;
    ep.dstParent.reset(::open(ep.dst.parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!ep.dstParent)
        return errno;
    if (::fstatat(ep.srcParent.get(), ep.src.name.c_str(), &ep.st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (S_ISDIR(ep.st.st_mode) && isInside(ep.dstParent.get(), ep.st))
        return EINVAL;
    return 0;
}

int copyInto(Endpoints& ep, FileTransfer::Report* report, CopyManifest* copied = nullptr) {
    bool created = false;
    static const std::function<void(std::int64_t)> none;
    int e = TreeCopy::copyEntry(ep.srcParent.get(), ep.src.name.c_str(), ep.dstParent.get(),
                                   ep.dst.name.c_str(), created, copied,
                                   report ? report->onBytes : none);
    if (e && created)
        TreeCopy::removeTree(ep.dstParent.get(), ep.dst.name.c_str(), true);
    return e;
}

} // namespace

int FileTransfer::copy(const std::string& source, const std::string& destination, Report* report) {
    Endpoints ep;
    if (int e = prepare(source, destination, ep))
        return e;
    return copyInto(ep, report);
}

int FileTransfer::move(const std::string& source, const std::string& destination, Report* report) {
    Endpoints ep;
    if (int e = prepare(source, destination, ep))
        return e;
    const char* src = ep.src.name.c_str();
    const char* dst = ep.dst.name.c_str();
    if (::renameat2(ep.srcParent.get(), src, ep.dstParent.get(), dst, RENAME_NOREPLACE) == 0)
        return 0;
    int e = errno;
    if (e == EINVAL || e == ENOSYS || e == EOPNOTSUPP)
        e = renameClaimingName(source, destination, ep.st);
    if (e != EXDEV)
        return e;

    if (int check = RemovabilityCheck::checkRemovable(ep.srcParent.get(), src, ep.st.st_dev,
                                                report ? &report->blocker : nullptr))
        return check;
    if (::faccessat(ep.srcParent.get(), ".", W_OK | X_OK, 0) != 0)
        return errno;
    CopyManifest copied;
    if (int failed = copyInto(ep, report, &copied))
        return failed;
    if (int differs =
            CopyVerification::verifyTree(ep.srcParent.get(), src, ep.dstParent.get(), dst, &copied)) {
        TreeCopy::removeTree(ep.dstParent.get(), dst, true);
        return differs;
    }
    // Only what was copied and is unchanged goes: a file saved into the folder or
    // changed meanwhile stays in the source, and the move reports it.
    int firstError = 0;
    const int left = SourceRemoval::removeCopied(ep.srcParent.get(), src, copied, firstError);
    if (left == 0)
        return 0;
    if (report) {
        report->entriesLeft = left;
        report->leftBehind.clear();
        (void)FolderWalk::listTree(ep.srcParent.get(), src, report->leftBehind);
    }
    return firstError;
}

std::string FileTransfer::message(int error) {
    return std::system_category().message(error);
}

} // namespace ringfold
