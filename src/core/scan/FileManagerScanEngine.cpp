#include "core/scan/FileManagerScanEngine.h"

#include "core/model/Tree.h"
#include "core/scan/CloudStatusDetector.h"
#include "core/scan/DirectoryReader.h"

#include <chrono>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <vector>

namespace ringfold {

namespace {

// Frames nearest the bottom of the walk that keep their folder open.
constexpr std::size_t kOpenFrames = 32;

struct Frame {
    FileNode* node = nullptr;
    FileNode* next = nullptr; // next child to visit
    Fd fd;                    // closed while more than kOpenFrames frames lie below
    dev_t dev = 0;
    ino_t ino = 0;
    CloudScope cloud;
    std::int64_t logical = 0;
    std::int64_t allocated = 0;
    bool hadError = false;
    bool denied = false; // listed, but its entries could not be read
    // Children that were not entered (files, skipped and unreadable folders) and their
    // allocated bytes: what this folder adds to the progress figures. Entered subfolders
    // report for themselves.
    std::int64_t ownItems = 0;
    std::int64_t ownAllocated = 0;
};

// stat of the scan target, following a final symlink (a favourite folder may be one),
// also beyond PATH_MAX.
int statTarget(const std::string& path, struct stat* st) {
    if (path.size() < PATH_MAX)
        return ::stat(path.c_str(), st);
    const auto slash = path.rfind('/');
    Fd dir(openDirectory(path.substr(0, slash)));
    if (!dir.valid())
        return -1;
    return ::fstatat(dir.get(), path.c_str() + slash + 1, st, 0);
}

} // namespace

FileManagerScanEngine::FileManagerScanEngine(Config config) : m_config(std::move(config)) {}

std::optional<ScanResult> FileManagerScanEngine::scan(const std::string& url, std::stop_token stop,
                                                      ScanProgress* progress) {
    const auto start = std::chrono::steady_clock::now();
    const std::string rootPath = standardizePath(url);
    auto tree = Tree::create();
    NodeAllocator alloc(*tree);
    DirectoryReader reader;
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
    auto pathOf = [&](std::size_t depth) { // of stack[depth]
        std::string path = rootPath;
        for (std::size_t i = 1; i <= depth; ++i) {
            if (path.back() != '/')
                path += '/';
            path += stack[i].node->name();
        }
        return path;
    };
    auto lastNoted = std::chrono::steady_clock::time_point{};
    auto noteCurrentFolder = [&] {
        const auto now = std::chrono::steady_clock::now();
        if (progress && now - lastNoted >= std::chrono::milliseconds(50)) {
            lastNoted = now;
            progress->setCurrentFolder(pathOf(stack.size() - 1));
        }
    };

    // Lists a folder that is open at `fd`: its entries become its children at once and
    // are filled in as the walk visits them.
    auto enter = [&](FileNode* folder, Fd fd, const struct stat& st, CloudScope cloud) {
        if (m_config.beforeFolderRead)
            m_config.beforeFolderRead(*folder);
        Frame f;
        f.node = folder;
        f.dev = st.st_dev;
        f.ino = st.st_ino;
        f.cloud = cloud;
        Tree::ChildChain children(folder);
        if (reader.list(fd.get(), stop, [&](const char* name, std::uint64_t) {
                children.append(alloc.create(name));
            }) != 0) {
            f.hadError = true;
            ++restricted;
        }
        f.next = children.front();
        tree->attach(folder, children, nullptr);
        f.fd = std::move(fd);
        stack.push_back(std::move(f));
        if (stack.size() > kOpenFrames)
            stack[stack.size() - 1 - kOpenFrames].fd.reset();
        noteCurrentFolder();
    };

    // The root.
    FileNode* root = nullptr;
    {
        ++items;
        NodeInit init;
        const std::string name = rootDisplayName(rootPath);
        init.name = name;
        init.isHidden = name.front() == '.';
        struct stat st {};
        if (statTarget(rootPath, &st) != 0) {
            ++restricted;
            init.isRestricted = true;
            root = alloc.create(init);
        } else {
            init.isDirectory = S_ISDIR(st.st_mode);
            init.modificationDate = st.st_mtim.tv_sec;
            init.cloudStatus = CloudStatusDetector::status(
                CloudStatusDetector::linuxFlags(name, S_ISREG(st.st_mode)), rootPath, cloudRoots);
            if (!init.isDirectory) {
                init.logicalSize = st.st_size;
                init.allocatedSize = static_cast<std::int64_t>(st.st_blocks) * 512;
            }
            root = alloc.create(init);
            if (init.isDirectory) {
                Fd fd(openDirectory(rootPath));
                if (fd.valid()) {
                    enter(root, std::move(fd), st, CloudScope::ofFolder(rootPath, cloudRoots));
                } else {
                    ++restricted;
                    root->setRestricted(true);
                }
            }
        }
        tree->setUrl(root, rootPath);
    }

    bool cancelled = false;
    while (!stack.empty()) {
        if (stop.stop_requested()) {
            cancelled = true;
            break;
        }
        Frame& top = stack.back();
        if (FileNode* child = top.next) {
            top.next = child->nextSibling();
            const char* name = child->nameCString();
            NodeInit init;
            struct stat st {};
            if (::fstatat(top.fd.get(), name, &st, AT_SYMLINK_NOFOLLOW) != 0) {
                if (errno == EACCES) {
                    // Listed but not searchable: nothing in it can be read.
                    top.denied = true;
                    top.next = nullptr;
                    continue;
                }
                ++items;
                ++restricted;
                ++top.ownItems;
                init.isRestricted = true;
                Tree::setAttributes(child, init);
                continue;
            }
            ++items;
            init.isDirectory = S_ISDIR(st.st_mode);
            init.isHidden = name[0] == '.';
            init.modificationDate = st.st_mtim.tv_sec;
            init.cloudStatus =
                top.cloud.status(CloudStatusDetector::linuxFlags(name, S_ISREG(st.st_mode)));
            bool leaf = !init.isDirectory;
            if (init.isDirectory) {
                leaf =
                    (skipPaths && stack.size() == 1 &&
                     skipPaths->count(childPath(rootPath, name))) ||
                    (rootDevice && foldDeviceID(major(st.st_dev), minor(st.st_dev)) != *rootDevice);
            }
            if (leaf) {
                // Files, and folders on another device or skipped by name with their
                // entry's own sizes.
                init.logicalSize = st.st_size;
                init.allocatedSize = static_cast<std::int64_t>(st.st_blocks) * 512;
                Tree::setAttributes(child, init);
                child->setExcluded(init.isDirectory);
                top.logical = addBytes(top.logical, init.logicalSize);
                top.allocated = addBytes(top.allocated, init.allocatedSize);
                ++top.ownItems;
                top.ownAllocated = addBytes(top.ownAllocated, init.allocatedSize);
                continue;
            }
            Tree::setAttributes(child, init);
            Fd fd(openSubdirectory(top.fd.get(), name));
            if (!fd.valid()) {
                ++restricted;
                ++top.ownItems;
                child->setRestricted(true);
                continue;
            }
            CloudScope scope = top.cloud.child(name, cloudRoots);
            enter(child, std::move(fd), st, scope); // invalidates `top`
            continue;
        }

        // Folder finished: settle it and hand its sizes to its parent.
        Frame done = std::move(stack.back());
        stack.pop_back();
        FileNode* node = done.node;
        if (done.denied) {
            while (FileNode* c = node->firstChild())
                tree->detach(c);
            ++restricted;
            node->setRestricted(true);
            done.logical = done.allocated = 0;
        } else if (done.hadError && !node->hasChildren()) {
            node->setRestricted(true);
        }
        node->setLogicalSize(done.logical);
        node->setAllocatedSize(done.allocated);
        if (progress)
            progress->addFolder(done.ownItems + 1, done.ownAllocated);
        if (stack.empty())
            break;
        Frame& parent = stack.back();
        parent.logical = addBytes(parent.logical, done.logical);
        parent.allocated = addBytes(parent.allocated, done.allocated);
        if (!parent.fd.valid()) {
            // Back up through "..", which is the parent unless the tree was moved
            // meanwhile; then by its path.
            Fd up(::openat(done.fd.get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            struct stat st {};
            if (!up.valid() || ::fstat(up.get(), &st) != 0 || st.st_dev != parent.dev ||
                st.st_ino != parent.ino)
                up.reset(openDirectory(pathOf(stack.size() - 1)));
            if (!up.valid() && parent.next) {
                // Its remaining entries can't be reached any more.
                parent.hadError = true;
                ++restricted;
                for (FileNode* c = parent.next; c; c = c->nextSibling())
                    c->setRestricted(true);
                parent.next = nullptr;
            }
            parent.fd = std::move(up);
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
