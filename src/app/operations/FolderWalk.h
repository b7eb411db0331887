#pragma once
// The walk that every tree operation runs on: a folder tree (and, for copy and verify,
// its mirror) visited on folder descriptors and names (the *at system calls), so that
// renamed or replaced parent folders cannot redirect it. It holds a fixed number of
// descriptors at any depth: only the current folder is open. Going down opens a child
// by name; going back up reopens ".." and checks that it is the folder that was left
// (device and inode), so a folder moved away meanwhile stops the walk instead of
// sending it elsewhere. The names still to visit are kept per level, so depth costs
// memory for names, not descriptors or stack.
//
// Every function returns 0 or an errno value. Blocking; a walk belongs to the thread
// that runs it, and walks share nothing.

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace ringfold {

class FolderWalk {
public:
    /// Owns one descriptor.
    class Fd {
    public:
        explicit Fd(int fd = -1) : m_fd(fd) {}
        ~Fd();
        Fd(const Fd&) = delete;
        Fd& operator=(const Fd&) = delete;
        int get() const { return m_fd; }
        explicit operator bool() const { return m_fd >= 0; }
        void reset(int fd);
        int release() {
            int fd = m_fd;
            m_fd = -1;
            return fd;
        }

    private:
        int m_fd;
    };

    static int openDirectory(int dir, const char* name);
    /// The entry names of an open folder, without "." and "..".
    static int entryNames(int dirFd, std::vector<std::string>& out);
    /// Appends the item's path and those of everything in it, relative to `dir`
    /// ("proj", "proj/sub", "proj/sub/a.txt"), in walk order.
    static int listTree(int dir, const char* name, std::vector<std::string>& paths);

    // Hooks (dst descriptors are -1 without a mirror):
    //   enter(srcParent, dstParent, srcName, dstName, st) before a folder is opened;
    //   names(srcFd, dstFd, children) once its entries are listed;
    //   leaf(srcParent, dstParent, name, st) for every entry that is not a folder;
    //   leave(srcFd, dstFd, st) when its entries are done, still inside it;
    //   left(srcParent, dstParent, name) after it was left.
    // A walk's hooks derive from these and replace the ones they need.
    struct Hooks {
        /// An entry gone between the listing of its folder and its turn is passed over.
        bool vanishedIsFine = false;
        int enter(int, int, const char*, const char*, const struct stat&) { return 0; }
        int names(int, int, std::vector<std::string>&) { return 0; }
        int leaf(int, int, const char*, const struct stat&) { return 0; }
        int leave(int, int, const struct stat&) { return 0; }
        int left(int, int, const char*) { return 0; }
    };
    /// An enter hook's answer for a folder to leave out, with everything in it.
    static constexpr int kSkipFolder = -1;

    /// Walks the folder `srcName` of `srcDir` (`rootStat` describes it) and, unless
    /// `dstDir` is -1, its mirror `dstName` of `dstDir`. Stops at the first failure of
    /// a hook or of the walk itself (ESTALE: a folder moved away meanwhile).
    template <typename H>
    static int walk(int srcDir, const char* srcName, int dstDir, const char* dstName,
                    const struct stat& rootStat, H& h);

private:
    struct Identity {
        dev_t dev;
        ino_t ino;
    };

    // The one open folder of one side of a walk, and the identities of those above it.
    class Cursor {
    public:
        int fd() const { return m_fd.get(); }
        int down(int from, const char* name);
        int up();

    private:
        Fd m_fd;
        std::vector<Identity> m_above;
    };

    struct Level {
        std::string name;
        std::vector<std::string> children;
        std::size_t next = 0;
        struct stat st {};
    };
};

template <typename H>
int FolderWalk::walk(int srcDir, const char* srcName, int dstDir, const char* dstName,
                     const struct stat& rootStat, H& h) {
    const bool mirrored = dstDir >= 0;
    Cursor src, dst;
    std::vector<Level> levels;
    auto enter = [&](int sParent, int dParent, const char* sName, const char* dName,
                     const struct stat& st) -> int {
        if (int e = h.enter(sParent, dParent, sName, dName, st))
            return e;
        if (int e = src.down(sParent, sName))
            return e;
        if (mirrored)
            if (int e = dst.down(dParent, dName))
                return e;
        Level level{sName, {}, 0, st};
        if (int e = entryNames(src.fd(), level.children))
            return e;
        if (int e = h.names(src.fd(), mirrored ? dst.fd() : -1, level.children))
            return e;
        levels.push_back(std::move(level));
        return 0;
    };
    if (int e = enter(srcDir, dstDir, srcName, dstName, rootStat))
        return e;
    while (!levels.empty()) {
        Level& top = levels.back();
        const int dFd = mirrored ? dst.fd() : -1;
        if (top.next < top.children.size()) {
            const std::string child = top.children[top.next++];
            struct stat st {};
            if (::fstatat(src.fd(), child.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
                if (errno == ENOENT && h.vanishedIsFine)
                    continue;
                return errno;
            }
            const int e = S_ISDIR(st.st_mode)
                              ? enter(src.fd(), dFd, child.c_str(), child.c_str(), st)
                              : h.leaf(src.fd(), dFd, child.c_str(), st);
            if (e && e != kSkipFolder)
                return e;
            continue;
        }
        if (int e = h.leave(src.fd(), dFd, top.st))
            return e;
        const std::string name = std::move(top.name);
        levels.pop_back();
        int sParent = srcDir, dParent = dstDir;
        if (!levels.empty()) {
            if (int e = src.up())
                return e;
            if (mirrored)
                if (int e = dst.up())
                    return e;
            sParent = src.fd();
            dParent = mirrored ? dst.fd() : -1;
        }
        if (int e = h.left(sParent, dParent, name.c_str()))
            return e;
    }
    return 0;
}

} // namespace ringfold
