#include "app/operations/DeletionConfirmation.h"

#include "core/model/ByteFormat.h"

#include <cstdint>

namespace ringfold {

namespace {

QString bytes(std::int64_t count) {
    return QString::fromStdString(formatByteCount(count));
}

QString itemCount(std::size_t k) {
    return QString::number(qulonglong(k)) +
           (k == 1 ? QStringLiteral(" item") : QStringLiteral(" items"));
}

} // namespace

QString DeletionConfirmation::sizeLabel(const FileNode& node) const {
    if (kind == Kind::move)
        return bytes(node.logicalSize());
    return QString::fromStdString(node.sizeLabel());
}

DeletionConfirmation DeletionConfirmation::forTrash(std::vector<NodePtr> nodes) {
    DeletionConfirmation c;
    c.kind = Kind::trash;
    std::int64_t total = 0;
    bool anyShared = false;
    for (const NodePtr& n : nodes) {
        total += n->allocatedSize();
        anyShared = anyShared || n->sharesStorage();
    }
    c.title = QStringLiteral("Move ") + itemCount(nodes.size()) + QStringLiteral(" to Trash?");
    if (total == 0)
        c.subtitle = QStringLiteral(
            "None of these items free space on their own. Each one holds the same data as "
            "another copy on this disk, so the space only comes back once every copy is gone.");
    else if (anyShared)
        c.subtitle = QStringLiteral("This will reclaim up to ") + bytes(total) +
                     QStringLiteral(". Some of these items hold the same data as another copy "
                                    "on this disk; that part of the space only comes back if "
                                    "you delete every copy.");
    else
        c.subtitle =
            QStringLiteral("This will reclaim ") + bytes(total) + QStringLiteral(" of disk space.");
    c.confirmLabel = QStringLiteral("Move to Trash");
    c.items = std::move(nodes);
    return c;
}

DeletionConfirmation DeletionConfirmation::forMove(std::vector<NodePtr> nodes) {
    DeletionConfirmation c;
    c.kind = Kind::move;
    std::int64_t total = 0;
    for (const NodePtr& n : nodes)
        total += n->logicalSize();
    c.title =
        QStringLiteral("Move ") + itemCount(nodes.size()) + QStringLiteral(" to a new location?");
    c.subtitle = bytes(total) + QStringLiteral(" of data will be transferred.");
    c.confirmLabel = QStringLiteral("Move\u2026");
    c.items = std::move(nodes);
    return c;
}

} // namespace ringfold
