#include "core/scan/FileManagerScanEngine.h"

#include "core/model/Tree.h"
#include "core/scan/CloudStatusDetector.h"
#include "core/scan/DirectoryReader.h"

#include <chrono>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <vector>

namespace ringfold {

namespace {

struct Frame {
    FileNode* node;
    std::string path;
    std::vector<std::string> names;
    std::size_t next = 0;
    std::vector<FileNode*> children;
    std::int64_t logical = 0;
    std::int64_t allocated = 0;
    bool hadError = false;
    // Children that were not entered (files, skipped and unreadable folders) and their
    // allocated bytes: what this folder adds to the progress figures. Entered subfolders
    // report for themselves.
    std::int64_t ownItems = 0;
    std::int64_t ownAllocated = 0;
};

// lstat that also reaches items whose full path is longer than PATH_MAX, through a
// descriptor of their folder.
int lstatAnyLength(const std::string& path, struct stat* st) {
    if (path.size() < PATH_MAX)
        return ::lstat(path.c_str(), st);
    const auto slash = path.rfind('/');
    int dirfd = openDirectory(path.substr(0, slash));
    if (dirfd < 0)
        return -1;
    int rc = ::fstatat(dirfd, path.c_str() + slash + 1, st, AT_SYMLINK_NOFOLLOW);
    int saved = errno;
    ::close(dirfd);
    errno = saved;
    return rc;
}

// Lists a folder's names (without "." and ".."), closing it before returning.
// Returns false when it cannot be opened; `hadError` reports a failure mid-way.
bool listFolder(const std::string& path, std::vector<std::string>& names, bool& hadError) {
    int fd = openDirectory(path);
    DIR* dir = fd >= 0 ? ::fdopendir(fd) : nullptr;
    if (!dir) {
        if (fd >= 0)
            ::close(fd);
        return false;
    }
    for (;;) {
        errno = 0;
        dirent* d = ::readdir(dir);
        if (!d) {
            if (errno != 0)
                hadError = true;
            break;
        }
        const char* n = d->d_name;
        if (n[0] == '.' && (n[1] == '\0' || (n[1] == '.' && n[2] == '\0')))
            continue;
        names.emplace_back(n);
    }
    ::closedir(dir);
    return true;
}

} // namespace

FileManagerScanEngine::FileManagerScanEngine(Config config) : m_config(std::move(config)) {}

std::optional<ScanResult> FileManagerScanEngine::scan(const std::string& url,
                                                      std::stop_token stop,
                                                      ScanProgress* progress) {
    const auto start = std::chrono::steady_clock::now();
    const std::string rootPath = standardizePath(url);
    auto tree = Tree::create();
    NodeAllocator alloc(*tree);
    std::int64_t restricted = 0;
    std::int64_t items = 0;

    const auto rootDevice =
        m_config.deviceIDProvider ? m_config.deviceIDProvider(rootPath) : std::nullopt;
    std::optional<std::set<std::string>> skipPaths;
    if (m_config.isSystemRoot && m_config.isSystemRoot(rootPath))
        skipPaths = systemRootSkipPaths(rootPath);
    const auto cloudRoots = CloudStatusDetector::cloudRoots(
        m_config.homePath.empty() ? CloudStatusDetector::homeFolder() : m_config.homePath);

    std::vector<Frame> stack;

    // Builds the node of one item; pushes a frame when it is a folder to enter.
    auto visit = [&](const std::string& path, std::string_view name, bool isRoot) -> FileNode* {
        ++items;
        NodeInit init;
        init.name = name;
        struct stat st {};
        // The scan target itself may be reached through a symlink; it is walked like
        // the folder it points to. Below it, links are items of their own.
        const int rc = isRoot && path.size() < PATH_MAX ? ::stat(path.c_str(), &st)
                                                        : lstatAnyLength(path, &st);
        if (rc != 0) {
            ++restricted;
            init.isRestricted = true;
            FileNode* n = alloc.create(init);
            tree->setUrl(n, path);
            return n;
        }
        const bool isDir = S_ISDIR(st.st_mode);
        init.isDirectory = isDir;
        init.isHidden = !isRoot && name.front() == '.';
        init.modificationDate = st.st_mtim.tv_sec;
        init.cloudStatus = CloudStatusDetector::status(
            CloudStatusDetector::linuxFlags(name, S_ISREG(st.st_mode)), path, cloudRoots);
        if (!isDir) {
            init.logicalSize = st.st_size;
            init.allocatedSize = static_cast<std::int64_t>(st.st_blocks) * 512;
            FileNode* n = alloc.create(init);
            tree->setUrl(n, path);
            return n;
        }
        if (!isRoot) {
            bool skip = skipPaths && skipPaths->count(path);
            if (!skip && rootDevice)
                skip = foldDeviceID(major(st.st_dev), minor(st.st_dev)) != *rootDevice;
            if (skip) {
                init.logicalSize = st.st_size;
                init.allocatedSize = static_cast<std::int64_t>(st.st_blocks) * 512;
                FileNode* n = alloc.create(init);
                tree->setUrl(n, path);
                return n;
            }
        }
        FileNode* n = alloc.create(init);
        tree->setUrl(n, path);
        Frame f{n, path, {}, 0, {}, 0, 0, false, 0, 0};
        if (!listFolder(path, f.names, f.hadError)) {
            ++restricted;
            n->setRestricted(true);
            return n;
        }
        if (f.hadError)
            ++restricted;
        if (progress)
            progress->setCurrentFolder(path);
        stack.push_back(std::move(f));
        return n;
    };

    FileNode* root = visit(rootPath, rootDisplayName(rootPath), true);
    bool cancelled = false;
    while (!stack.empty()) {
        if (stop.stop_requested()) {
            cancelled = true;
            break;
        }
        Frame& top = stack.back();
        if (top.next < top.names.size()) {
            const std::string& name = top.names[top.next++];
            if (name.starts_with("._"))
                continue;
            std::string path = childPath(top.path, name);
            const std::size_t depth = stack.size();
            FileNode* child = visit(path, name, false);
            // `top` may have moved if visit pushed a frame.
            Frame& owner = stack[depth - 1];
            owner.children.push_back(child);
            if (stack.size() == depth) { // not entered: its sizes are final
                owner.logical += child->logicalSize();
                owner.allocated += child->allocatedSize();
                ++owner.ownItems;
                owner.ownAllocated += child->allocatedSize();
            }
            continue;
        }
        // Folder finished: link it and hand its sizes to its parent frame.
        Frame done = std::move(stack.back());
        stack.pop_back();
        if (done.hadError && done.children.empty())
            done.node->setRestricted(true);
        tree->linkChildren(done.node, done.children);
        done.node->setLogicalSize(done.logical);
        done.node->setAllocatedSize(done.allocated);
        if (progress)
            progress->addFolder(done.ownItems + 1, done.ownAllocated);
        if (!stack.empty()) {
            stack.back().logical += done.logical;
            stack.back().allocated += done.allocated;
        }
    }
    m_itemCount = items;
    if (cancelled || stop.stop_requested())
        return std::nullopt;

    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (m_config.diagnostics) {
        std::fprintf(m_config.diagnostics,
                     "[FileManagerScanEngine] scan complete: %lld items in %.1fs, %d cloud IPC "
                     "queries, %lld restricted\n",
                     static_cast<long long>(items), seconds, 0, static_cast<long long>(restricted));
        std::fflush(m_config.diagnostics);
    }
    ScanResult result;
    result.accounting = makeSpaceAccounting(rootPath, *root, restricted);
    result.root = tree->share(root);
    return result;
}

} // namespace ringfold
