#include "app/operations/FileOperations.h"

#include "app/operations/FileOperationsJob.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "core/model/TreeMutator.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace ringfold {

namespace {

QString nameOf(const FileNode& node) {
    return QString::fromUtf8(node.name().data(), qsizetype(node.name().size()));
}

} // namespace

FileOperations::FileOperations(ChartViewModel& chart, CleanupListStore& cleanupList,
                               QObject* parent)
    : QObject(parent), m_chart(chart), m_cleanupList(cleanupList),
      m_evictor([](const std::string&) { return std::optional(evictionUnsupportedMessage()); }),
      m_mover([](const std::string& source, const std::string& destination,
                 FileTransfer::Report* report) {
          return FileTransfer::move(source, destination, report);
      }) {
    m_progressTimer.setInterval(100);
    connect(&m_progressTimer, &QTimer::timeout, this, &FileOperations::progressChanged);
}

FileOperations::~FileOperations() {
    if (m_job)
        m_job->cancelled = true;
    if (m_worker.joinable())
        m_worker.join();
}

QString FileOperations::evictionUnsupportedMessage() {
    return QStringLiteral("Removing the download isn't supported for this file.");
}

bool FileOperations::moveToTrash(std::vector<NodePtr> nodes) {
    return start(Kind::trash, std::move(nodes), {});
}

bool FileOperations::moveTo(std::vector<NodePtr> nodes, const std::string& folder) {
    return start(Kind::move, std::move(nodes), folder);
}

bool FileOperations::copyTo(std::vector<NodePtr> nodes, const std::string& folder) {
    return start(Kind::copy, std::move(nodes), folder);
}

bool FileOperations::removeDownload(std::vector<NodePtr> nodes) {
    return start(Kind::removeDownload, std::move(nodes), {});
}

FileOperations::Progress FileOperations::progress() const {
    Progress p;
    if (!m_job)
        return p;
    p.itemsTotal = int(m_job->items.size());
    p.itemsDone = m_job->itemsDone;
    p.bytesTotal = m_job->bytesTotal;
    p.bytesDone = std::min(m_job->bytesDone.load(), p.bytesTotal);
    const int current = m_job->current;
    if (current < p.itemsTotal)
        p.currentItem = m_job->items[std::size_t(current)].displayName;
    return p;
}

void FileOperations::cancel() {
    if (m_job)
        m_job->cancelled = true;
}

bool FileOperations::start(Kind kind, std::vector<NodePtr> nodes, std::string folder) {
    if (m_job)
        return false;
    auto job = std::make_shared<Job>();
    job->kind = kind;
    job->folder = std::move(folder);
    job->evictor = m_evictor;
    job->mover = m_mover;
    std::unordered_map<const FileNode*, int> indexOf;
    for (NodePtr& node : nodes) {
        if (!node || indexOf.count(node.get()))
            continue;
        Job::Item item;
        item.path = node->url();
        item.name = std::string(node->name());
        item.displayName = nameOf(*node);
        if (!isInMap(*node))
            item.refusal = QStringLiteral("It is no longer in the scan on show: an earlier "
                                          "operation moved it or the folder that held it.");
        const bool countsLogical = kind == Kind::move || kind == Kind::copy;
        item.bytes = countsLogical ? node->logicalSize() : node->allocatedSize();
        indexOf[node.get()] = int(job->items.size());
        item.node = std::move(node);
        job->items.push_back(std::move(item));
    }
    if (job->items.empty())
        return false;
    // A trashed or moved folder takes the batch's items inside it along; a copy makes
    // each item's own copy.
    const bool nests = kind == Kind::trash || kind == Kind::move;
    for (Job::Item& item : job->items) {
        if (item.refusal)
            continue;
        std::string within = item.name;
        for (const FileNode* a = item.node->parent(); nests && a; a = a->parent()) {
            within = std::string(a->name()) + '/' + within;
            if (auto it = indexOf.find(a); it != indexOf.end()) {
                item.holder = it->second;
                item.pathInHolder = std::move(within);
                break;
            }
        }
        if (item.holder < 0)
            job->bytesTotal += item.bytes;
    }

    m_kind = kind;
    m_job = job;
    m_outcome = Outcome{};
    // Results are posted to this object, so they run on the main thread in order. The
    // destructor joins the worker, so `this` outlives it; what is still queued then
    // goes with the object.
    auto post = [this](std::function<void()> work) {
        QMetaObject::invokeMethod(this, std::move(work), Qt::QueuedConnection);
    };
    m_worker = std::jthread([this, job, post] {
        const int notStarted = job->run([&](ItemResult result) {
            post([this, result = std::move(result)] { apply(result); });
        });
        post([this, notStarted] {
            m_outcome.notStarted = notStarted;
            end();
        });
    });
    m_progressTimer.start();
    emit runningChanged();
    emit progressChanged();
    return true;
}

void FileOperations::apply(const ItemResult& result) {
    const Job::Item& item = m_job->items[std::size_t(result.index)];
    FileNode& node = *item.node;
    if (result.error) {
        m_outcome.errors.push_back(
            OperationError{QUuid::createUuid(), item.displayName, *result.error});
        if (!result.leftBehind.empty())
            keepWhatIsLeft(node, result.leftBehind);
        return;
    }
    ++m_outcome.succeeded;
    switch (m_kind) {
    case Kind::copy:
        return;
    case Kind::removeDownload:
        m_outcome.reclaimedBytes += node.allocatedSize();
        TreeMutator::markEvicted(node);
        m_outcome.treeChanged = true;
        m_chart.refreshAccounting();
        m_chart.bumpTreeRevision();
        m_cleanupList.remove(node);
        return;
    case Kind::trash:
    case Kind::move:
        break;
    }
    if (result.wentWithHolder) { // the tree and the total already lost it with its folder
        --m_outcome.succeeded;
        m_cleanupList.remove(node);
        return;
    }
    moveFocusOutOf(node);
    TreeMutator::remove(node);
    m_outcome.treeChanged = true;
    m_chart.refreshAccounting();
    m_chart.bumpTreeRevision();
    m_cleanupList.remove(node);
    if (m_kind == Kind::trash && !node.sharesStorage())
        m_outcome.reclaimedBytes += node.allocatedSize();
}

// The source of a half-finished move keeps only what is still on disk: every node
// whose path is not among `leftBehind` (relative to the node's folder) leaves the
// tree, and the cleanup list forgets it and what it held.
void FileOperations::keepWhatIsLeft(FileNode& node, const std::vector<std::string>& leftBehind) {
    const std::unordered_set<std::string> present(leftBehind.begin(), leftBehind.end());
    std::vector<FileNode*> gone;
    std::vector<std::pair<FileNode*, std::string>> folders{{&node, std::string(node.name())}};
    while (!folders.empty()) {
        auto [folder, path] = std::move(folders.back());
        folders.pop_back();
        for (FileNode* child : folder->children()) {
            std::string childPath = path + '/' + std::string(child->name());
            if (!present.count(childPath))
                gone.push_back(child);
            else if (child->isDirectory())
                folders.emplace_back(child, std::move(childPath));
        }
    }
    if (gone.empty())
        return;
    const std::unordered_set<const FileNode*> cut(gone.begin(), gone.end());
    std::vector<NodePtr> listed;
    for (const NodePtr& item : m_cleanupList.items())
        for (const FileNode* a = item.get(); a; a = a->parent())
            if (cut.count(a)) {
                listed.push_back(item);
                break;
            }
    for (const NodePtr& item : listed)
        m_cleanupList.remove(*item);
    for (FileNode* g : gone) {
        moveFocusOutOf(*g);
        TreeMutator::remove(*g);
    }
    m_outcome.treeChanged = true;
    m_chart.refreshAccounting();
    m_chart.bumpTreeRevision();
}

void FileOperations::end() {
    if (m_worker.joinable())
        m_worker.join();
    m_progressTimer.stop();
    m_job.reset();
    Outcome outcome = std::move(m_outcome);
    m_outcome = Outcome{};
    emit runningChanged();
    emit finished(m_kind, outcome);
}

bool FileOperations::isInMap(const FileNode& node) const {
    const FileNode* root = m_chart.rootNode().get();
    const FileNode* n = &node;
    while (n && n != root)
        n = n->parent();
    return n != nullptr;
}

void FileOperations::moveFocusOutOf(const FileNode& node) {
    const NodePtr& focused = m_chart.focusedNode();
    for (const FileNode* f = focused.get(); f; f = f->parent()) {
        if (f == &node) {
            FileNode* parent = node.parent();
            // Not a navigation of the user's: the history stays as it was.
            m_chart.setFocusedNode(parent ? parent->shared() : m_chart.rootNode());
            return;
        }
    }
}

std::vector<NodePtr> FileOperations::trashableItems(const CleanupListStore& list) {
    std::vector<NodePtr> out;
    for (const NodePtr& n : list.items())
        if (n->cloudStatus() != CloudStatus::cloudPlaceholder)
            out.push_back(n);
    return out;
}

std::vector<NodePtr> FileOperations::downloadedItems(const CleanupListStore& list) {
    std::vector<NodePtr> out;
    for (const NodePtr& n : list.items())
        if (n->cloudStatus() == CloudStatus::cloudDownloaded)
            out.push_back(n);
    return out;
}

} // namespace ringfold
