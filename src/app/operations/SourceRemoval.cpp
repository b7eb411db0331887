#include "app/operations/SourceRemoval.h"

#include "app/operations/FolderWalk.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <set>
#include <string>
#include <unistd.h>

namespace ringfold {

namespace {

// Renames within one folder without replacing an entry of that name. Where the file
// system lacks RENAME_NOREPLACE, `toOwnName` (a name only we use) allows a checked
// plain rename; a name someone else may take is claimed with link(), or not at all.
int renameNoReplace(int dir, const char* from, const char* to, bool toOwnName) {
    if (::renameat2(dir, from, dir, to, RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        return errno;
    if (toOwnName) {
        struct stat st {};
        if (::fstatat(dir, to, &st, AT_SYMLINK_NOFOLLOW) == 0)
            return EEXIST;
        return ::renameat(dir, from, dir, to) == 0 ? 0 : errno;
    }
    if (::linkat(dir, from, dir, to, 0) != 0)
        return errno;
    return ::unlinkat(dir, from, 0) == 0 ? 0 : errno;
}

// Unlinks `name` (not a folder) if it is still the entry the copy read. It is renamed
// aside first, so that nothing can take its place between the check and the unlink,
// and checked again under the private name (the rename itself sets the change time,
// so that is left out there). Anything else goes back under its name; should the name
// have been taken again meanwhile, it stays under the private name rather than
// replace the newer entry. Returns 0 when removed or already gone, ENOTEMPTY when it
// stays because it changed, or the failure's errno.
int unlinkIfAsCopied(int dir, const char* name, const CopyManifest& copied) {
    static std::atomic<unsigned> serial{0};
    std::string aside;
    int e = EEXIST;
    for (int attempt = 0; attempt < 100 && e == EEXIST; ++attempt) {
        aside = ".ringfold-removing-" + std::to_string(::getpid()) + "-" + std::to_string(serial++);
        e = renameNoReplace(dir, name, aside.c_str(), true);
    }
    if (e)
        return e == ENOENT ? 0 : e;
    struct stat now {};
    if (::fstatat(dir, aside.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
        copied.matches(now, false)) {
        if (::unlinkat(dir, aside.c_str(), 0) == 0)
            return 0;
        e = errno;
    }
    (void)renameNoReplace(dir, aside.c_str(), name, false);
    return e ? e : ENOTEMPTY;
}

} // namespace

int SourceRemoval::removeCopied(int dir, const char* name, const CopyManifest& copied,
                                int& firstError) {
    struct Remove : FolderWalk::Hooks {
        const CopyManifest& copied;
        int kept = 0, firstError = 0;
        // Files with another name still to come, whose change time we have just set.
        std::set<std::pair<dev_t, ino_t>> unlinkedOnce{};
        bool unchanged(const struct stat& s) const {
            return copied.matches(s, !unlinkedOnce.count({s.st_dev, s.st_ino}));
        }
        int stays(int error) {
            ++kept;
            if (!firstError || firstError == ENOTEMPTY)
                firstError = error;
            return 0;
        }
        int enter(int, int, const char*, const char*, const struct stat& s) {
            return unchanged(s) ? 0 : (stays(ENOTEMPTY), FolderWalk::kSkipFolder);
        }
        int leaf(int parent, int, const char* n, const struct stat& s) {
            if (!unchanged(s))
                return stays(ENOTEMPTY);
            if (s.st_nlink > 1)
                unlinkedOnce.insert({s.st_dev, s.st_ino});
            const int e = unlinkIfAsCopied(parent, n, copied);
            return e ? stays(e) : 0;
        }
        int left(int parent, int, const char* n) {
            if (::unlinkat(parent, n, AT_REMOVEDIR) == 0 || errno == ENOENT)
                return 0;
            // A folder kept for what stays inside it is not one more item.
            return errno == ENOTEMPTY || errno == EEXIST ? 0 : stays(errno);
        }
    } hooks{{}, copied};
    hooks.vanishedIsFine = true;
    struct stat st {};
    if (::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? 0 : (firstError = errno, 1);
    if (S_ISDIR(st.st_mode)) {
        if (hooks.unchanged(st)) {
            if (const int e = FolderWalk::walk(dir, name, -1, name, st, hooks))
                hooks.stays(e);
        } else {
            hooks.stays(ENOTEMPTY);
        }
    } else {
        hooks.leaf(dir, -1, name, st);
    }
    firstError = hooks.firstError;
    return hooks.kept;
}

} // namespace ringfold
