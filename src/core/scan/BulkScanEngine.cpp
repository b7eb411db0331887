#include "core/scan/BulkScanEngine.h"

#include "core/model/Tree.h"
#include "core/scan/CloudStatusDetector.h"
#include "core/scan/DirectoryReader.h"
#include "core/scan/SharedStorageTracker.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace ringfold {

namespace {

// One folder of the walk, from the moment its parent lists it until its whole subtree
// is linked. `pending` counts the job's own read plus every unfinished subfolder; the
// worker that brings it to zero finishes the folder.
struct DirJob {
    DirJob* parent = nullptr;
    FileNode* node = nullptr;
    std::string path;
    std::atomic<std::int32_t> pending{1};
    std::atomic<DirJob*> doneHead{nullptr}; // finished subfolders, newest first
    DirJob* nextDone = nullptr;
    FileNode* tail = nullptr; // last linked child
    std::int64_t logical = 0;
    std::int64_t allocated = 0;
    std::int64_t restricted = 0;
    bool anyShared = false;
};

class ScanRun {
public:
    ScanRun(const BulkScanEngine::Config& config, std::shared_ptr<Tree> tree,
            std::stop_token stop, ScanProgress* progress)
        : m_config(config), m_tree(std::move(tree)), m_stop(std::move(stop)),
          m_progress(progress) {}

    std::int64_t run(DirJob* root, int threads);

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
    void worker();
    void process(DirJob* job, NodeAllocator& alloc, DirectoryReader& reader);
    void release(DirJob* job);
    void push(std::vector<DirJob*>& jobs);
    bool inCloudRoot(const std::string& folder) const;

    const BulkScanEngine::Config& m_config;
    std::shared_ptr<Tree> m_tree;
    std::stop_token m_stop;
    ScanProgress* m_progress;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::vector<DirJob*> m_stack;
    bool m_finished = false;
};

bool ScanRun::inCloudRoot(const std::string& folder) const {
    // Every root ends in "/", and names hold no "/", so a root is a prefix of
    // folder + "/" + name exactly when it is a prefix of folder + "/".
    for (const auto& root : cloudRoots) {
        if (root.size() > folder.size() + 1)
            continue;
        if (root.compare(0, root.size() - 1, folder, 0, root.size() - 1) == 0 &&
            (root.size() - 1 == folder.size() || folder[root.size() - 1] == '/'))
            return true;
    }
    return false;
}

std::int64_t ScanRun::run(DirJob* root, int threads) {
    m_stack.push_back(root);
    std::vector<std::jthread> pool;
    pool.reserve(static_cast<std::size_t>(threads));
    for (int i = 0; i < threads; ++i)
        pool.emplace_back([this] { worker(); });
    pool.clear(); // joins
    return root->restricted;
}

void ScanRun::worker() {
    NodeAllocator alloc(*m_tree);
    DirectoryReader reader;
    for (;;) {
        DirJob* job = nullptr;
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return !m_stack.empty() || m_finished; });
            if (m_stack.empty())
                return;
            job = m_stack.back();
            m_stack.pop_back();
        }
        process(job, alloc, reader);
    }
}

void ScanRun::push(std::vector<DirJob*>& jobs) {
    {
        std::lock_guard lock(m_mutex);
        // Reversed, so the stack hands them out in directory order.
        m_stack.insert(m_stack.end(), jobs.rbegin(), jobs.rend());
    }
    if (jobs.size() > 1)
        m_wake.notify_all();
    else
        m_wake.notify_one();
}

void ScanRun::process(DirJob* job, NodeAllocator& alloc, DirectoryReader& reader) {
    if (m_stop.stop_requested()) {
        release(job);
        return;
    }
    if (m_progress)
        m_progress->setCurrentFolder(job->path);

    const bool cloud = inCloudRoot(job->path);
    std::vector<FileNode*> files;
    std::vector<DirJob*> subfolders;
    std::int64_t logical = 0, allocated = 0, skipped = 0;
    bool anyShared = false;

    int now = activeReads.fetch_add(1, std::memory_order_relaxed) + 1;
    int peak = peakReads.load(std::memory_order_relaxed);
    while (now > peak && !peakReads.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
    }

    int err = 0;
    auto status = reader.read(
        job->path, m_stop,
        [&](const BulkEntry& e) {
            NodeInit init;
            init.name = e.name;
            init.isHidden = e.name.front() == '.';
            init.cloudStatus = (e.flags & kDatalessFlag) ? CloudStatus::cloudPlaceholder
                               : cloud                   ? CloudStatus::cloudDownloaded
                                                         : CloudStatus::notApplicable;
            init.modificationDate = e.modificationDate;
            if (e.objType == ObjectType::directory) {
                init.isDirectory = true;
                std::string path = childPath(job->path, e.name);
                bool skip = (skipPaths && skipPaths->count(path)) ||
                            (rootDevice && e.deviceID != *rootDevice);
                FileNode* node = alloc.create(init);
                if (skip) {
                    ++skipped;
                    files.push_back(node);
                } else {
                    auto* sub = new DirJob;
                    sub->parent = job;
                    sub->node = node;
                    sub->path = std::move(path);
                    subfolders.push_back(sub);
                }
                return;
            }
            init.logicalSize = e.logicalSize;
            init.allocatedSize = e.allocatedSize;
            FileNode* node = alloc.create(init);
            if (e.allocatedSize > 0) {
                std::uint32_t device = e.deviceID ? e.deviceID : fallbackDevice;
                std::uint64_t stream = e.cloneID ? e.cloneID : (e.linkCount >= 2 ? e.fileID : 0);
                if (stream && !tracker.claim(device, stream, node)) {
                    node->setAllocatedSize(0);
                    node->setSharesStorage(true);
                    anyShared = true;
                }
            }
            logical += node->logicalSize();
            allocated += node->allocatedSize();
            files.push_back(node);
        },
        &err);
    activeReads.fetch_sub(1, std::memory_order_relaxed);

    if (status == DirectoryReader::Status::cancelled) {
        for (DirJob* s : subfolders)
            delete s;
        release(job);
        return;
    }
    if (status != DirectoryReader::Status::ok) {
        // Unreadable: a restricted folder with nothing in it. Whatever was listed
        // before a failed read is dropped.
        for (DirJob* s : subfolders)
            delete s;
        job->node->setRestricted(true);
        job->restricted = 1;
        items.fetch_add(1, std::memory_order_relaxed);
        folders.fetch_add(1, std::memory_order_relaxed);
        if (m_progress)
            m_progress->addFolder(1, 0);
        release(job);
        return;
    }

    job->tail = m_tree->linkChildren(job->node, files, nullptr);
    job->logical = logical;
    job->allocated = allocated;
    job->anyShared = anyShared;
    items.fetch_add(static_cast<std::int64_t>(files.size()) + 1, std::memory_order_relaxed);
    folders.fetch_add(1, std::memory_order_relaxed);
    if (skipped)
        mountSkipped.fetch_add(skipped, std::memory_order_relaxed);
    if (m_progress)
        m_progress->addFolder(static_cast<std::int64_t>(files.size()) + 1, allocated);

    if (!subfolders.empty()) {
        job->pending.fetch_add(static_cast<std::int32_t>(subfolders.size()),
                               std::memory_order_relaxed);
        push(subfolders);
    }
    release(job);
}

void ScanRun::release(DirJob* job) {
    // Finishing a folder may finish its parent, and so on up: a loop, not recursion,
    // because trees can be thousands of levels deep.
    while (job && job->pending.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        DirJob* done = job->doneHead.exchange(nullptr, std::memory_order_acquire);
        DirJob* ordered = nullptr; // reverse into completion order
        while (done) {
            DirJob* next = done->nextDone;
            done->nextDone = ordered;
            ordered = done;
            done = next;
        }
        const bool keep = !m_stop.stop_requested();
        std::vector<FileNode*> subnodes;
        while (ordered) {
            DirJob* next = ordered->nextDone;
            if (keep) {
                FileNode* n = ordered->node;
                job->logical += n->logicalSize();
                job->allocated += n->allocatedSize();
                job->restricted += ordered->restricted;
                job->anyShared = job->anyShared || n->sharesStorage();
                subnodes.push_back(n);
            }
            delete ordered;
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
    std::string name = rootDisplayName(path);
    init.name = name;
    init.isDirectory = true;
    init.isHidden = name.size() > 1 && name.front() == '.';
    auto self = statPath(path);
    std::uint32_t flags = 0;
    if (self) {
        init.modificationDate = self->modificationDate;
        flags = self->flags;
    }
    init.cloudStatus = CloudStatusDetector::status(flags, path, run.cloudRoots);
    NodeAllocator alloc(*tree);
    auto* rootJob = new DirJob;
    rootJob->node = alloc.create(init);
    rootJob->path = path;
    tree->setUrl(rootJob->node, path);

    const std::int64_t restricted = run.run(rootJob, m_config.maxConcurrentDirScans);
    FileNode* root = rootJob->node;
    delete rootJob;

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
