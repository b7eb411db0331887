#include "ui/BiggestFilesModel.h"

#include "app/viewmodels/BiggestFilesViewModel.h"
#include "app/viewmodels/ChartViewModel.h"

#include <QFile>

namespace ringfold {

BiggestFilesModel::BiggestFilesModel(BiggestFilesViewModel& list, ChartViewModel& chart,
                                     CleanupListStore& cleanup, QObject* parent)
    : NodeTableModel(cleanup, parent), m_list(list), m_chart(chart) {
    connect(&list, &BiggestFilesViewModel::entriesChanged, this, &BiggestFilesModel::sync);
    sync();
}

void BiggestFilesModel::sync() {
    const auto& entries = m_list.entries();
    std::vector<FileNode*> rows;
    rows.reserve(entries.size());
    m_entryIndex.clear();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        rows.push_back(entries[i].node.get());
        m_entryIndex.emplace(entries[i].node.get(), i);
    }
    // Entries of a tree that is no longer the map's (none yet after a new scan) list
    // under their own first node, so that the next tree's list resets the table.
    NodePtr owner = m_chart.rootNode();
    if (!entries.empty() && &entries.front().node->tree() != (owner ? &owner->tree() : nullptr))
        owner = entries.front().node;
    setRows(std::move(rows), owner);
}

const BiggestFileEntry* BiggestFilesModel::entryOf(const FileNode& node) const {
    const auto it = m_entryIndex.find(&node);
    return it == m_entryIndex.end() ? nullptr : &m_list.entries()[it->second];
}

int BiggestFilesModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : BadgeColumn + 1;
}

QVariant BiggestFilesModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::DisplayRole) {
        switch (section) {
        case NameColumn:
            return tr("Name");
        case PathColumn:
            return tr("Path");
        case KindColumn:
            return tr("Kind");
        case LogicalSizeColumn:
            return tr("Logical Size");
        case AllocatedSizeColumn:
            return tr("Allocated Size");
        default:
            return {};
        }
    }
    if (role == Qt::TextAlignmentRole &&
        (section == LogicalSizeColumn || section == AllocatedSizeColumn))
        return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

QVariant BiggestFilesModel::nodeData(const FileNode& node, int, int column, int role) const {
    const BiggestFileEntry* entry = entryOf(node);
    if (!entry)
        return {};
    switch (column) {
    case NameColumn:
        return nameData(node, role);
    case PathColumn:
        if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
            return QFile::decodeName(QByteArray::fromStdString(entry->relativePath));
        if (role == Qt::ForegroundRole)
            return secondaryForeground();
        break;
    case KindColumn:
        if (role == Qt::DisplayRole)
            return QString::fromStdString(node.kindLabel());
        break;
    case LogicalSizeColumn:
    case AllocatedSizeColumn:
        if (role == Qt::DisplayRole)
            return sizeText(column == LogicalSizeColumn ? entry->logicalSize
                                                        : entry->allocatedSize);
        if (role == Qt::TextAlignmentRole)
            return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        break;
    default:
        break;
    }
    return {};
}

} // namespace ringfold
