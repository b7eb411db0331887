#include "app/operations/FileOperations.h"

#include "app/operations/FileTransfer.h"
#include "app/operations/Trash.h"
#include "app/stores/CleanupListStore.h"
#include "app/viewmodels/ChartViewModel.h"
#include "core/model/TreeMutator.h"

#include <unordered_set>

namespace ringfold {

namespace {

QString nameOf(const FileNode& node) {
    return QString::fromUtf8(node.name().data(), qsizetype(node.name().size()));
}

std::string destinationFor(const std::string& folder, const FileNode& node) {
    std::string path = folder;
    if (path.empty() || path.back() != '/')
        path += '/';
    path += node.name();
    return path;
}

std::optional<QString> transferResult(int error) {
    if (error == 0)
        return std::nullopt;
    return QString::fromStdString(FileTransfer::message(error));
}

} // namespace

FileOperations::FileOperations(ChartViewModel& chart, CleanupListStore& cleanupList,
                               QObject* parent)
    : QObject(parent), m_chart(chart), m_cleanupList(cleanupList),
      m_evictor([](const std::string&) { return std::optional(evictionUnsupportedMessage()); }) {}

QString FileOperations::evictionUnsupportedMessage() {
    return QStringLiteral("Removing the download isn't supported for this file.");
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

FileOperations::Outcome FileOperations::removeEach(const std::vector<NodePtr>& nodes,
                                                   const DiskStep& step, bool countReclaimed) {
    Outcome outcome;
    std::unordered_set<const FileNode*> removed;
    auto insideRemoved = [&removed](const FileNode& node) {
        for (const FileNode* a = node.parent(); a; a = a->parent())
            if (removed.count(a))
                return true;
        return false;
    };
    for (const NodePtr& node : nodes) {
        if (!node)
            continue;
        // Went with a folder of the same batch: nothing left to do on disk.
        if (insideRemoved(*node)) {
            m_cleanupList.remove(*node);
            continue;
        }
        if (auto failure = step(*node)) {
            outcome.errors.push_back(OperationError{QUuid::createUuid(), nameOf(*node), *failure});
            continue;
        }
        ++outcome.succeeded;
        removed.insert(node.get());
        moveFocusOutOf(*node);
        TreeMutator::remove(*node);
        m_chart.refreshAccounting();
        m_chart.bumpTreeRevision();
        m_cleanupList.remove(*node);
        if (countReclaimed && !node->sharesStorage())
            outcome.reclaimedBytes += node->allocatedSize();
    }
    emit dependentViewsNeedRefresh();
    return outcome;
}

FileOperations::Outcome FileOperations::moveToTrash(std::vector<NodePtr> nodes) {
    return removeEach(
        nodes, [](const FileNode& node) { return Trash::moveToTrash(node.url()); }, true);
}

FileOperations::Outcome FileOperations::moveTo(std::vector<NodePtr> nodes,
                                               const std::string& folder) {
    return removeEach(
        nodes,
        [&folder](const FileNode& node) {
            return transferResult(FileTransfer::move(node.url(), destinationFor(folder, node)));
        },
        false);
}

FileOperations::Outcome FileOperations::copyTo(std::vector<NodePtr> nodes,
                                               const std::string& folder) {
    Outcome outcome;
    for (const NodePtr& node : nodes) {
        if (!node)
            continue;
        if (auto failure =
                transferResult(FileTransfer::copy(node->url(), destinationFor(folder, *node))))
            outcome.errors.push_back(OperationError{QUuid::createUuid(), nameOf(*node), *failure});
        else
            ++outcome.succeeded;
    }
    return outcome;
}

FileOperations::Outcome FileOperations::removeDownload(std::vector<NodePtr> nodes) {
    Outcome outcome;
    for (const NodePtr& node : nodes) {
        if (!node)
            continue;
        if (auto failure = m_evictor(node->url())) {
            outcome.errors.push_back(OperationError{QUuid::createUuid(), nameOf(*node), *failure});
            continue;
        }
        ++outcome.succeeded;
        outcome.reclaimedBytes += node->allocatedSize();
        TreeMutator::markEvicted(*node);
        m_chart.refreshAccounting();
        m_chart.bumpTreeRevision();
        m_cleanupList.remove(*node);
    }
    emit dependentViewsNeedRefresh();
    return outcome;
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
