#include "app/operations/RemovabilityCheck.h"

#include "app/operations/FolderWalk.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <vector>

namespace ringfold {

namespace {

// CAP_FOWNER lifts the sticky folder rule (root holds it unless it was dropped).
bool mayRemoveOthersFiles() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    if (::syscall(SYS_capget, &header, data) != 0)
        return ::geteuid() == 0;
    return (data[CAP_TO_INDEX(CAP_FOWNER)].effective & CAP_TO_MASK(CAP_FOWNER)) != 0;
}

} // namespace

int RemovabilityCheck::checkRemovable(int dir, const char* name, dev_t device,
                                      std::string* blocker) {
    struct Check : FolderWalk::Hooks {
        dev_t device;
        uid_t me = ::geteuid();
        bool mayOverride = mayRemoveOthersFiles();
        std::vector<std::string> path;     // from the item down to the current folder
        std::vector<struct statx> folders; // the item's folder, then the item's own
        std::string* blocker;

        int refuse(const char* n, int error) {
            if (blocker) {
                blocker->clear();
                for (const auto& p : path)
                    blocker->append(p).push_back('/');
                blocker->append(n);
            }
            return error;
        }
        // What stands in the way of unlinking `n` from the current folder.
        int entry(int parent, const char* n) {
            struct statx x {};
            if (::statx(parent, n, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                        STATX_TYPE | STATX_MODE | STATX_UID, &x) != 0)
                return refuse(n, errno);
            const struct statx& folder = folders.back();
            if (x.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND))
                return refuse(n, EPERM);
            if ((x.stx_attributes & STATX_ATTR_MOUNT_ROOT) ||
                makedev(x.stx_dev_major, x.stx_dev_minor) != device)
                return refuse(n, EBUSY);
            if ((folder.stx_mode & S_ISVTX) && !mayOverride && x.stx_uid != me &&
                folder.stx_uid != me)
                return refuse(n, EPERM);
            if (S_ISDIR(x.stx_mode)) {
                // Its entries go first: it must be ours to list and change.
                if (::faccessat(parent, n, R_OK | W_OK | X_OK, 0) != 0)
                    return refuse(n, errno);
                folders.push_back(x);
            }
            return 0;
        }
        int enter(int parent, int, const char* n, const char*, const struct stat&) {
            if (int e = entry(parent, n))
                return e;
            path.emplace_back(n);
            return 0;
        }
        int leaf(int parent, int, const char* n, const struct stat&) { return entry(parent, n); }
        int left(int, int, const char*) {
            path.pop_back();
            folders.pop_back();
            return 0;
        }
    } hooks;
    hooks.device = device;
    hooks.blocker = blocker;
    struct statx parent {};
    if (::statx(dir, "", AT_EMPTY_PATH, STATX_TYPE | STATX_MODE | STATX_UID, &parent) != 0)
        return errno;
    // An immutable or append-only folder keeps its entries.
    if (parent.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND))
        return hooks.refuse(name, EPERM);
    hooks.folders.push_back(parent);
    struct stat st {};
    if (::fstatat(dir, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (!S_ISDIR(st.st_mode))
        return hooks.entry(dir, name);
    return FolderWalk::walk(dir, name, -1, name, st, hooks);
}

} // namespace ringfold
