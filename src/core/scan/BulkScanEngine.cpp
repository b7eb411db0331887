#include "core/scan/BulkScanEngine.h"

#include "core/model/Tree.h"
#include "core/scan/CloudStatusDetector.h"
#include "core/scan/DirectoryReader.h"
#include "core/scan/SharedStorageTracker.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

namespace ringfold {

namespace {

// Entries per stretch of a folder that one worker stats at a time. Smaller folders
// are read by one worker from start to end.
constexpr std::uint32_t kStretchEntries = 4096;

// One folder of the walk, from the moment its parent lists it until its whole subtree
// is linked. `pending` counts the job's own read plus every unfinished subfolder; the
// worker that brings it to zero finishes the folder.
struct DirJob {
    DirJob* parent = nullptr;
    FileNode* node = nullptr;
    CloudScope cloud;
    std::atomic<std::int32_t> pending{1};
    std::atomic<DirJob*> doneHead{nullptr}; // finished subfolders, newest first
    DirJob* nextDone = nullptr;
    FileNode* tail = nullptr; // last linked child
    std::int64_t logical = 0;
    std::int64_t allocated = 0;
    std::int64_t restricted = 0;
    bool anyShared = false;

    void reset() {
        parent = nullptr;
        node = nullptr;
        cloud = {};
        pending.store(1, std::memory_order_relaxed);
        doneHead.store(nullptr, std::memory_order_relaxed);
        nextDone = nullptr;
        tail = nullptr;
        logical = allocated = restricted = 0;
        anyShared = false;
    }
};

// Jobs of one scan, handed out and taken back; all of them go with the pool, whatever
// state the scan ended in.
class JobPool {
public:
    DirJob* acquire() {
        DirJob* job = nullptr;
        {
            std::lock_guard lock(m_mutex);
            if (m_free.empty()) {
                m_blocks.push_back(std::make_unique<std::array<DirJob, kBlock>>());
                for (DirJob& j : *m_blocks.back())
                    m_free.push_back(&j);
            }
            job = m_free.back();
            m_free.pop_back();
        }
        job->reset();
        return job;
    }
    void recycle(DirJob* job) {
        std::lock_guard lock(m_mutex);
        m_free.push_back(job);
    }

private:
    static constexpr std::size_t kBlock = 256;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<std::array<DirJob, kBlock>>> m_blocks;
    std::vector<DirJob*> m_free;
};

// Nodes of a folder's entries that sit next to each other in the arena, in directory
// order; `start` is the position of the first of them in the folder.
struct Run {
    FileNode* first = nullptr;
    std::uint32_t start = 0;
    std::uint32_t count = 0;
};

// What statting one stretch found.
struct StretchResult {
    std::int64_t logical = 0;
    std::int64_t allocated = 0;
    std::int64_t skipped = 0;
    bool anyShared = false;
    bool denied = false; // listed, but its entries could not be statted
};

enum EntryKind : std::uint8_t { dropped, leaf, subfolder };

// One folder between its listing and its finish. Its entries are statted in inode
// order (which keeps the file system's inode table reads together, as du does) in
// stretches of kStretchEntries; a folder of one stretch is done by the worker that
// lists it, a bigger one is shared by the workers that stat it, and the last of them
// finishes it. Per entry this costs 9 bytes besides the node, until the folder is done.
struct Listing {
    DirJob* job = nullptr;
    Fd fd;
    std::vector<Run> runs;
    std::uint32_t total = 0;
    std::vector<std::uint64_t> order; // (inode - lowest) << positionBits | position
    std::uint64_t positionMask = 0;
    std::vector<std::uint8_t> kinds; // EntryKind per position
    std::vector<StretchResult> results;
    std::atomic<std::uint32_t> remaining{0};

    void clear() {
        job = nullptr;
        fd.reset();
        runs.clear();
        total = 0;
        order.clear();
        kinds.clear();
        results.clear();
    }
    void add(FileNode* node) {
        if (!runs.empty() && runs.back().first + runs.back().count == node)
            ++runs.back().count;
        else
            runs.push_back({node, total, 1});
        ++total;
    }
    FileNode* nodeAt(std::uint32_t position) const {
        auto it = std::upper_bound(runs.begin(), runs.end(), position,
                                   [](std::uint32_t p, const Run& r) { return p < r.start; });
        --it;
        return it->first + (position - it->start);
    }
    std::uint32_t positionAt(std::uint32_t i) const {
        return order.empty() ? i : static_cast<std::uint32_t>(order[i] & positionMask);
    }
    // Sorts the positions by the inode numbers the nodes hold until they are statted;
    // leaves directory order when the numbers spread too far to pack.
    void sortByInode() {
        if (total < 2)
            return;
        std::uint64_t low = ~std::uint64_t(0), high = 0;
        for (const Run& r : runs)
            for (std::uint32_t i = 0; i < r.count; ++i) {
                const auto inode = static_cast<std::uint64_t>(r.first[i].logicalSize());
                low = std::min(low, inode);
                high = std::max(high, inode);
            }
        const int positionBits = std::bit_width(total - 1);
        if (std::bit_width(high - low) + positionBits > 64)
            return;
        positionMask = (std::uint64_t(1) << positionBits) - 1;
        order.resize(total);
        for (const Run& r : runs)
            for (std::uint32_t i = 0; i < r.count; ++i)
                order[r.start + i] = (static_cast<std::uint64_t>(r.first[i].logicalSize()) - low)
                                         << positionBits |
                                     (r.start + i);
        std::sort(order.begin(), order.end());
    }
};

struct Work {
    DirJob* job = nullptr;            // a folder to read, or
    std::shared_ptr<Listing> listing; // a stretch of a listed folder to stat
    std::uint32_t stretch = 0;
};

// A folder a worker reads next, with its descriptor when it already has one.
struct Next {
    DirJob* job = nullptr;
    Fd fd;
};

class ScanRun {
public:
    ScanRun(const BulkScanEngine::Config& config, std::shared_ptr<Tree> tree, std::stop_token stop,
            ScanProgress* progress)
        : m_config(config), m_tree(std::move(tree)), m_stop(std::move(stop)), m_progress(progress) {
    }

    /// Runs the workers until the root job is finished or the scan failed; then
    /// rethrows a worker's exception.
    void run(DirJob* root, int threads);
    DirJob* newJob() { return m_jobs.acquire(); }
    bool stopped() const {
        return m_failed.load(std::memory_order_relaxed) || m_stop.stop_requested();
    }

    std::string rootPath;
    std::vector<std::string> cloudRoots;
    std::optional<std::set<std::string>> skipPaths;
    std::optional<std::uint32_t> rootDevice;
    std::uint32_t fallbackDevice = 0;
    SharedStorageTracker tracker;
    std::atomic<std::int64_t> items{0};
    std::atomic<std::int64_t> mountSkipped{0};
    std::atomic<std::int64_t> folders{0};
    std::atomic<int> activeReads{0};
    std::atomic<int> peakReads{0};

private:
    struct Worker {
        explicit Worker(Tree& tree) : alloc(tree) {}
        NodeAllocator alloc;
        DirectoryReader reader;
        Listing listing; // reused for folders of one stretch
        std::chrono::steady_clock::time_point lastNoted{};
    };

    void work();
    Next readFolder(Worker& w, DirJob* job, Fd fd);
    Next statStretch(Listing& l, std::uint32_t index);
    Next finishFolder(Listing& l);
    void restrict(DirJob* job);
    void release(DirJob* job);
    void push(std::vector<Work>& work);
    void fail(std::exception_ptr error);
    std::string pathOf(const DirJob* job) const;
    void noteCurrentFolder(Worker& w, const DirJob* job);

    const BulkScanEngine::Config& m_config;
    std::shared_ptr<Tree> m_tree;
    std::stop_token m_stop;
    ScanProgress* m_progress;
    JobPool m_jobs;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::vector<Work> m_stack;
    bool m_finished = false;
    std::atomic<bool> m_failed{false};
    std::exception_ptr m_error;
};

void ScanRun::run(DirJob* root, int threads) {
    m_stack.push_back(Work{root, nullptr, 0});
    {
        std::vector<std::jthread> pool;
        pool.reserve(static_cast<std::size_t>(threads));
        for (int i = 0; i < threads; ++i)
            pool.emplace_back([this] { work(); });
    } // joins
    m_stack.clear();
    if (m_error)
        std::rethrow_exception(m_error);
}

void ScanRun::fail(std::exception_ptr error) {
    {
        std::lock_guard lock(m_mutex);
        if (!m_error)
            m_error = std::move(error);
        m_failed.store(true, std::memory_order_relaxed);
        m_finished = true;
    }
    m_wake.notify_all();
}

void ScanRun::work() {
    try {
        Worker w(*m_tree);
        for (;;) {
            Work item;
            {
                std::unique_lock lock(m_mutex);
                m_wake.wait(lock, [this] { return !m_stack.empty() || m_finished; });
                if (m_finished)
                    return;
                item = std::move(m_stack.back());
                m_stack.pop_back();
            }
            Next next = item.listing ? statStretch(*item.listing, item.stretch)
                                     : readFolder(w, item.job, Fd());
            item.listing.reset();
            while (next.job)
                next = readFolder(w, next.job, std::move(next.fd));
        }
    } catch (...) {
        fail(std::current_exception());
    }
}

void ScanRun::push(std::vector<Work>& work) {
    if (work.empty())
        return;
    {
        std::lock_guard lock(m_mutex);
        // Reversed, so the stack hands them out in order.
        m_stack.insert(m_stack.end(), std::make_move_iterator(work.rbegin()),
                       std::make_move_iterator(work.rend()));
    }
    if (work.size() > 1)
        m_wake.notify_all();
    else
        m_wake.notify_one();
    work.clear();
}

std::string ScanRun::pathOf(const DirJob* job) const {
    std::vector<const DirJob*> up;
    for (const DirJob* j = job; j->parent; j = j->parent)
        up.push_back(j);
    std::string path = rootPath;
    for (auto it = up.rbegin(); it != up.rend(); ++it) {
        if (path.back() != '/')
            path += '/';
        path += (*it)->node->name();
    }
    return path;
}

void ScanRun::noteCurrentFolder(Worker& w, const DirJob* job) {
    // Building a path costs its depth, so it is built only as often as anyone could
    // read it.
    if (!m_progress)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (now - w.lastNoted < std::chrono::milliseconds(50))
        return;
    w.lastNoted = now;
    m_progress->setCurrentFolder(pathOf(job));
}

Next ScanRun::readFolder(Worker& w, DirJob* job, Fd fd) {
    if (stopped()) {
        release(job);
        return {};
    }
    if (m_config.beforeFolderRead)
        m_config.beforeFolderRead(*job->node);
    if (!fd.valid())
        fd.reset(openDirectory(pathOf(job)));
    if (!fd.valid()) {
        restrict(job);
        return {};
    }
    noteCurrentFolder(w, job);

    const int now = activeReads.fetch_add(1, std::memory_order_relaxed) + 1;
    int peak = peakReads.load(std::memory_order_relaxed);
    while (now > peak && !peakReads.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
    }
    struct Done {
        std::atomic<int>& active;
        ~Done() { active.fetch_sub(1, std::memory_order_relaxed); }
    } done{activeReads};

    // List: every name becomes a node at once, so a huge folder costs its nodes and
    // nothing per entry besides.
    Listing& l = w.listing;
    l.clear();
    l.job = job;
    // Until it is statted, a node holds its inode number where its size goes.
    const int err = w.reader.list(fd.get(), m_stop, [&](const char* name, std::uint64_t inode) {
        FileNode* node = w.alloc.create(name);
        node->setLogicalSize(static_cast<std::int64_t>(inode));
        l.add(node);
    });
    if (err != 0) {
        // Whatever was listed before a failed read is dropped.
        l.clear();
        restrict(job);
        return {};
    }
    if (stopped()) {
        l.clear();
        release(job);
        return {};
    }
    l.fd = std::move(fd);
    l.sortByInode();
    l.kinds.assign(l.total, dropped);
    const std::uint32_t n =
        std::max<std::uint32_t>(1, (l.total + kStretchEntries - 1) / kStretchEntries);
    l.results.resize(n);
    l.remaining.store(n, std::memory_order_relaxed);
    if (n == 1)
        return statStretch(l, 0);

    // Shared with the other workers; the last one to finish a stretch finishes it.
    auto shared = std::make_shared<Listing>();
    shared->job = l.job;
    shared->fd = std::move(l.fd);
    shared->runs = std::move(l.runs);
    shared->total = l.total;
    shared->order = std::move(l.order);
    shared->positionMask = l.positionMask;
    shared->kinds = std::move(l.kinds);
    shared->results = std::move(l.results);
    shared->remaining.store(n, std::memory_order_relaxed);
    l.clear();
    std::vector<Work> rest;
    rest.reserve(n - 1);
    for (std::uint32_t i = 1; i < n; ++i)
        rest.push_back(Work{nullptr, shared, i});
    push(rest);
    return statStretch(*shared, 0);
}

Next ScanRun::statStretch(Listing& l, std::uint32_t index) {
    StretchResult& r = l.results[index];
    const DirJob* job = l.job;
    const int dirfd = l.fd.get();
    const std::uint32_t end = std::min(l.total, (index + 1) * kStretchEntries);
    std::int64_t blockSize = -1; // asked for only when a size was estimated
    BulkEntry e;
    for (std::uint32_t i = index * kStretchEntries; i < end; ++i) {
        if (stopped())
            break;
        const std::uint32_t position = l.positionAt(i);
        FileNode* node = l.nodeAt(position);
        const char* name = node->nameCString();
        if (const int err = statEntry(dirfd, name, e); err != 0) {
            if (err == EACCES) {
                // Listed but not searchable: nothing in it can be read.
                r.denied = true;
                break;
            }
            continue; // deleted since it was listed: left out
        }
        NodeInit init;
        init.isHidden = name[0] == '.';
        init.cloudStatus = job->cloud.status(e.flags);
        init.modificationDate = e.modificationDate;
        if (e.objType == ObjectType::directory) {
            init.isDirectory = true;
            Tree::setAttributes(node, init);
            const bool skip =
                (skipPaths && !job->parent && skipPaths->count(childPath(rootPath, e.name))) ||
                (rootDevice && e.deviceID != *rootDevice);
            r.skipped += skip;
            l.kinds[position] = skip ? leaf : subfolder;
            node->setExcluded(skip);
            continue;
        }
        if (e.allocatedSizeEstimated && e.allocatedSize >= 1) {
            if (blockSize < 0)
                blockSize = blockSizeOf(dirfd);
            if (blockSize > 0)
                e.allocatedSize = addBytes(e.allocatedSize, blockSize - 1) / blockSize * blockSize;
        }
        init.logicalSize = e.logicalSize;
        init.allocatedSize = e.allocatedSize;
        Tree::setAttributes(node, init);
        if (e.allocatedSize > 0) {
            const std::uint32_t device = e.deviceID ? e.deviceID : fallbackDevice;
            const std::uint64_t stream = e.cloneID ? e.cloneID : (e.linkCount >= 2 ? e.fileID : 0);
            if (stream && !tracker.claim(device, stream, node)) {
                node->setAllocatedSize(0);
                node->setSharesStorage(true);
                r.anyShared = true;
            }
        }
        r.logical = addBytes(r.logical, node->logicalSize());
        r.allocated = addBytes(r.allocated, node->allocatedSize());
        l.kinds[position] = leaf;
    }
    if (l.remaining.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return {};
    return finishFolder(l);
}

Next ScanRun::finishFolder(Listing& l) {
    DirJob* job = l.job;
    if (stopped()) {
        l.fd.reset();
        release(job);
        return {};
    }
    bool denied = false;
    for (const StretchResult& r : l.results)
        denied = denied || r.denied;
    if (denied) {
        l.fd.reset();
        restrict(job);
        return {};
    }
    std::int64_t skipped = 0;
    for (const StretchResult& r : l.results) {
        job->logical = addBytes(job->logical, r.logical);
        job->allocated = addBytes(job->allocated, r.allocated);
        job->anyShared = job->anyShared || r.anyShared;
        skipped += r.skipped;
    }
    // The children in directory order: files and folders not entered now, the
    // subfolders once their scans finish.
    Tree::ChildChain leaves(job->node), subfolders(job->node);
    std::int64_t own = 0;
    for (const Run& run : l.runs)
        for (std::uint32_t i = 0; i < run.count; ++i) {
            const std::uint8_t kind = l.kinds[run.start + i];
            if (kind == leaf) {
                ++own;
                leaves.append(run.first + i);
            } else if (kind == subfolder) {
                subfolders.append(run.first + i);
            }
        }
    job->tail = m_tree->attach(job->node, leaves, nullptr);
    items.fetch_add(own + 1, std::memory_order_relaxed);
    folders.fetch_add(1, std::memory_order_relaxed);
    if (skipped)
        mountSkipped.fetch_add(skipped, std::memory_order_relaxed);
    if (m_progress)
        m_progress->addFolder(own + 1, job->allocated);

    // Jobs for all subfolders before any is handed out: once one runs, its node's
    // sibling link may be rewritten.
    std::vector<Work> subs;
    for (FileNode* n = subfolders.front(); n;
         n = n == subfolders.back() ? nullptr : n->nextSibling()) {
        DirJob* sub = newJob();
        sub->parent = job;
        sub->node = n;
        sub->cloud = job->cloud.child(n->name(), cloudRoots);
        subs.push_back(Work{sub, nullptr, 0});
    }
    Next next;
    if (!subs.empty()) {
        job->pending.fetch_add(static_cast<std::int32_t>(subs.size()), std::memory_order_relaxed);
        // Go on with the first subfolder here, opened relative to this folder: no path
        // to build or resolve, however deep the tree.
        next.job = subs.front().job;
        next.fd.reset(openSubdirectory(l.fd.get(), next.job->node->nameCString()));
        subs.erase(subs.begin());
        push(subs);
    }
    l.clear();
    release(job);
    if (next.job && !next.fd.valid()) {
        // Not by its path instead: it may have been swapped for a symlink meanwhile.
        restrict(next.job);
        return {};
    }
    return next;
}

void ScanRun::restrict(DirJob* job) {
    // Unreadable: a restricted folder with nothing in it.
    job->node->setRestricted(true);
    job->restricted = 1;
    items.fetch_add(1, std::memory_order_relaxed);
    folders.fetch_add(1, std::memory_order_relaxed);
    if (m_progress)
        m_progress->addFolder(1, 0);
    release(job);
}

void ScanRun::release(DirJob* job) {
    // Finishing a folder may finish its parent, and so on up: a loop, not recursion,
    // because trees can be thousands of levels deep.
    std::vector<FileNode*> subnodes;
    while (job && job->pending.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        DirJob* done = job->doneHead.exchange(nullptr, std::memory_order_acquire);
        DirJob* ordered = nullptr; // reverse into completion order
        while (done) {
            DirJob* next = done->nextDone;
            done->nextDone = ordered;
            ordered = done;
            done = next;
        }
        const bool keep = !stopped();
        subnodes.clear();
        while (ordered) {
            DirJob* next = ordered->nextDone;
            if (keep) {
                FileNode* n = ordered->node;
                job->logical = addBytes(job->logical, n->logicalSize());
                job->allocated = addBytes(job->allocated, n->allocatedSize());
                job->restricted += ordered->restricted;
                job->anyShared = job->anyShared || n->sharesStorage();
                subnodes.push_back(n);
            }
            m_jobs.recycle(ordered);
            ordered = next;
        }
        FileNode* node = job->node;
        if (keep) {
            job->tail = m_tree->linkChildren(node, subnodes, job->tail);
            node->setLogicalSize(job->logical);
            node->setAllocatedSize(job->allocated);
            if (job->allocated == 0 && job->tail && job->anyShared)
                node->setSharesStorage(true);
        }
        DirJob* parent = job->parent;
        if (!parent) {
            {
                std::lock_guard lock(m_mutex);
                m_finished = true;
            }
            m_wake.notify_all();
            return;
        }
        DirJob* head = parent->doneHead.load(std::memory_order_relaxed);
        do {
            job->nextDone = head;
        } while (!parent->doneHead.compare_exchange_weak(head, job, std::memory_order_release,
                                                         std::memory_order_relaxed));
        job = parent;
    }
}

} // namespace

BulkScanEngine::BulkScanEngine(Config config) : m_config(std::move(config)) {
    if (m_config.maxConcurrentDirScans < 1)
        m_config.maxConcurrentDirScans = 1;
}

std::optional<ScanResult> BulkScanEngine::scan(const std::string& url, std::stop_token stop,
                                               ScanProgress* progress) {
    const auto start = std::chrono::steady_clock::now();
    const std::string path = standardizePath(url);
    auto tree = Tree::create();
    ScanRun run(m_config, tree, stop, progress);

    run.rootPath = path;
    run.rootDevice = m_config.deviceIDProvider ? m_config.deviceIDProvider(path) : std::nullopt;
    run.fallbackDevice = run.rootDevice.value_or(0);
    if (m_config.isSystemRoot && m_config.isSystemRoot(path))
        run.skipPaths = systemRootSkipPaths(path);
    run.cloudRoots = CloudStatusDetector::cloudRoots(
        m_config.homePath.empty() ? CloudStatusDetector::homeFolder() : m_config.homePath);
    run.cloudRoots.insert(run.cloudRoots.end(), m_config.extraCloudRoots.begin(),
                          m_config.extraCloudRoots.end());

    // The root: its own attributes come from one statx of the path.
    NodeInit init;
    const std::string name = rootDisplayName(path);
    init.name = name;
    init.isDirectory = true;
    init.isHidden = name.front() == '.';
    std::uint32_t flags = 0;
    if (auto self = statPath(path)) {
        init.modificationDate = self->modificationDate;
        flags = self->flags;
    }
    init.cloudStatus = CloudStatusDetector::status(flags, path, run.cloudRoots);
    FileNode* root = nullptr;
    {
        NodeAllocator alloc(*tree);
        root = alloc.create(init);
    }
    tree->setUrl(root, path);
    DirJob* rootJob = run.newJob();
    rootJob->node = root;
    rootJob->cloud = CloudScope::ofFolder(path, run.cloudRoots);

    run.run(rootJob, m_config.maxConcurrentDirScans); // rethrows a worker's failure
    const std::int64_t restricted = rootJob->restricted;

    m_stats.peakConcurrentReads = run.peakReads.load();
    m_stats.folders = run.folders.load();
    m_stats.mountSkipped = run.mountSkipped.load();
    m_stats.sharedStreams = run.tracker.totalDuplicateStreams();
    m_stats.itemCount = run.items.load();
    if (stop.stop_requested())
        return std::nullopt;

    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (m_config.diagnostics) {
        std::fprintf(m_config.diagnostics,
                     "[BulkScanEngine] scan complete: %lld items in %.1fs, %d cloud IPC queries, "
                     "%lld restricted, %lld mount-skipped, %lld shared streams\n",
                     static_cast<long long>(m_stats.itemCount), seconds, 0,
                     static_cast<long long>(restricted),
                     static_cast<long long>(m_stats.mountSkipped),
                     static_cast<long long>(m_stats.sharedStreams));
        std::fflush(m_config.diagnostics);
    }
    ScanResult result;
    result.accounting = makeSpaceAccounting(path, *root, restricted);
    result.root = tree->share(root);
    return result;
}

} // namespace ringfold
