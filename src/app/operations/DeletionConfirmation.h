#pragma once
// The texts of the sheet that confirms a move to the Trash or to another folder:
// title, subtitle, confirm button and the size shown beside each item. Byte counts
// go through the program's one byte-count formatter (formatByteCount). Built on the
// main thread from nodes of the current tree; the sheet itself only draws these.

#include "core/model/FileNode.h"

#include <QString>

#include <vector>

namespace ringfold {

struct DeletionConfirmation {
    enum class Kind { trash, move };

    Kind kind = Kind::trash;
    QString title;
    QString subtitle;
    QString confirmLabel;
    std::vector<NodePtr> items;

    /// The size text beside one item: the node's size label (allocated size, or "no
    /// extra space" for a zeroed duplicate) when trashing, its logical size when moving.
    QString sizeLabel(const FileNode& node) const;

    static DeletionConfirmation forTrash(std::vector<NodePtr> nodes);
    static DeletionConfirmation forMove(std::vector<NodePtr> nodes);
};

} // namespace ringfold
